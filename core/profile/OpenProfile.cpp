#include "core/profile/OpenProfile.h"

#include "core/file/BFile.h"
#include "core/platform/WChar.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BProfile.h"

#include <utility>

class ProfileOpener {
public:
    static SP<BProfileBase> Open(const WString& path, BProblem& problem)
    {
        const SP<BBinProfile> binary = new BBinProfile(path, ProfileReadOnly);
        // What could not be read may be either kind, and is not to be taken for an empty one.
        if (binary->m_isUnread) {
            problem = binary->Problem();
            return {};
        }
        if (binary->IsValid())
            return binary.Get();
        return new BProfile(path, ProfileReadOnly);
    }
};

SP<BProfileBase> OpenProfile(WString path)
{
    BProblem ignored;
    return OpenProfile(std::move(path), ignored);
}

SP<BProfileBase> OpenProfile(WString path, BProblem& problem)
{
    problem = {};
    if (BFile(path, QD_W("rb")) != nullptr)
        return ProfileOpener::Open(path, problem);
    problem = BProblem::OfSystem();
    problem.path = path;
    return {};
}
