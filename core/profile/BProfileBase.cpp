#include "core/profile/BProfileBase.h"

#include "core/profile/MadeText.h"

BProfileBase::~BProfileBase() = default;

WString BProfileBase::IndexedKey(const WString& key, int index)
{
    return Made(key + Made(WString::FromInt(index)));
}
