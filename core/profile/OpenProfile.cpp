#include "core/profile/OpenProfile.h"

#include "core/file/BFile.h"
#include "core/platform/WChar.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BProfile.h"

SP<BProfileBase> OpenProfile(WString path)
{
    if (BFile(path, QD_W("rb")) == nullptr)
        return {};
    SP<BProfileBase> binary = new BBinProfile(path, ProfileReadOnly);
    if (binary->IsValid())
        return binary;
    return new BProfile(path, ProfileReadOnly);
}
