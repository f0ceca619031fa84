#include "core/profile/BProfileBase.h"

BProfileBase::~BProfileBase() = default;

WString BProfileBase::IndexedKey(const WString& key, int index)
{
    return key + WString::FromInt(index);
}
