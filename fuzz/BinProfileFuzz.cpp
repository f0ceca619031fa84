// The input is the file of a binary profile.

#include "core/profile/BBinProfile.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

class SavedProfile : public BBinProfile {
public:
    using BBinProfile::BBinProfile;
    [[nodiscard]] bool Save() const { return Write(); }
};

std::string LoadAndSave(const TemporaryFolder& folder)
{
    SavedProfile profile(folder.Path("p"), ProfileReadWrite);
    for (const WChar* key : {QD_W("a"), QD_W("width")}) {
        const WString text = profile.ReadString(key, WString());
        if (profile.ReadInt(key, 1) != 1 && !text.IsEmpty()) // of one type only
            std::abort();
    }
    if (!profile.Save())
        std::abort();
    return FileBytes(folder / "p");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TemporaryFolder folder;
    WriteFileBytes(folder / "p", std::string(data, data + size));
    const std::string saved = LoadAndSave(folder);
    if (LoadAndSave(folder) != saved)
        std::abort();
    return 0;
}
