#include "core/profile/BProfileBase.h"

#include "core/platform/FormatText.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BProfile.h"
#include "core/profile/MadeText.h"

BProfileBase::~BProfileBase() = default;

// No slot of its own and no field: both are the application's classes', too.
BProblem BProfileBase::Problem() const
{
    if (const auto* const text = dynamic_cast<const BProfile*>(this))
        return text->Problem();
    const auto* const binary = dynamic_cast<const BBinProfile*>(this);
    return binary != nullptr ? binary->Problem() : BProblem();
}

WString BProfileBase::IndexedKey(const WString& key, int index)
{
    WChar digits[platform::kIntegerTextRoom];
    platform::IntegerText(index, 10, digits);
    return Made(key + digits);
}
