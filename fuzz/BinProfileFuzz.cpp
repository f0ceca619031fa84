// The input is the file of a binary profile.
//
// What it held is what was saved and read again, and a value is of one type alone.

#include "core/profile/BBinProfile.h"
#include "core/profile/BVariant.h"

#include "fuzz/Target.h"
#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

class SavedProfile : public BBinProfile {
public:
    using BBinProfile::BBinProfile;
    [[nodiscard]] bool SaveAll() const { return Write(); }
};

// How many of the readers find a value of their type under the key.
int CountOfTypes(BBinProfile& profile, const WChar* key)
{
    char block[4];
    bool isBlock = false;
    for (const unsigned int size : {0U, 4U})
        isBlock = profile.ReadMem(key, block, size) || isBlock;
    const bool isText =
        profile.ReadString(key, QD_W("0")).Equal(profile.ReadString(key, QD_W("1")));
    const bool isNumber = profile.ReadInt(key, 0) == profile.ReadInt(key, 1);
    const double real = profile.ReadDouble(key, 0);
    const bool isReal = real != 0 || profile.ReadDouble(key, 1) != 1;
    const bool isBoolean = profile.ReadBoolean(key, false) == profile.ReadBoolean(key, true);
    return isBlock + isText + isNumber + isReal + isBoolean;
}

std::string LoadAndSave(const TemporaryFolder& folder, const WString& path)
{
    SavedProfile profile(path, ProfileReadWrite);
    for (const WChar* key : {QD_W("a"), QD_W("width")})
        Require(CountOfTypes(profile, key) <= 1);
    static_cast<void>(profile.Problem().Text());
    Require(profile.SaveAll());
    return FileBytes(folder / "p");
}

// A value and those behind it, as an application keeps them in files of its own. They are in the
// stream as they were written.
void TryVariants(const TemporaryFolder& folder)
{
    const platform::Stream stream = platform::OpenStream(folder.Path("p"), QD_W("rb"));
    const platform::Stream copy = platform::OpenStream(folder.Path("copy"), QD_W("w+b"));
    Require(platform::Seek(stream.get(), 4));
    std::vector<std::uint32_t> types;
    while (const SP<BVariant> value = LoadVariant(stream.get())) {
        value->Save(copy.get());
        types.push_back(value->Type());
    }
    std::rewind(copy.get());
    for (const std::uint32_t type : types) {
        const SP<BVariant> value = LoadVariant(copy.get());
        Require(value && value->Type() == type);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TemporaryFolder folder;
    static const WString path = folder.Path("p");
    const HeapBound bound(size);
    WriteFileBytes(folder / "p", std::string(data, data + size));
    TryVariants(folder);
    const std::string saved = LoadAndSave(folder, path);
    Require(!IsNew(saved) || LoadAndSave(folder, path) == saved);
    return 0;
}
