#include "core/profile/BProfileBase.h"

#include "core/platform/FormatText.h"
#include "core/profile/MadeText.h"

BProfileBase::~BProfileBase() = default;

WString BProfileBase::IndexedKey(const WString& key, int index)
{
    WChar digits[platform::kIntegerTextRoom];
    platform::IntegerText(index, 10, digits);
    return Made(key + digits);
}
