// The input is a file of any kind, to which qdinspect does all that it can.
//
// A file differs in nothing from itself, and what was recovered or converted is whole.

#define main InspectMain            // libFuzzer, or what stands in for it, has a main program
#include "tools/qdinspect/Main.cpp" // for the commands behind the command line
#undef main

#include "fuzz/Target.h"
#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <streambuf>
#include <string>

namespace {

// Takes the output, and lets it be.
class Nowhere : public std::streambuf {
protected:
    int_type overflow(int_type unit) override { return traits_type::not_eof(unit); }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

class Files {
public:
    Files()
    {
        std::cout.rdbuf(&m_nowhere);
        std::cerr.rdbuf(&m_nowhere);
    }
    ~Files()
    {
        std::cout.rdbuf(m_out);
        std::cerr.rdbuf(m_err);
    }

    int Run(ECommand command, Options options = {}) const
    {
        options.command = command;
        options.path = Name("input");
        return Inspect(options);
    }

    // A file that is made is of the kind that it should be, and whole unless it is a mere copy in
    // another encoding, or has texts that stand twice.
    void Make(ECommand command, EKind kind, Options options = {}) const
    {
        options.newPath = Name("new");
        const int code = Run(command, options);
        if (code != kNothing) {
            Require(std::filesystem::exists(m_folder / "new"));
            Options made;
            made.command = ECommand::Check;
            made.kind = kind;
            made.path = options.newPath;
            const int madeCode = Inspect(made);
            const bool isCopy = command == ECommand::Convert && options.newKind == EKind::Unknown;
            const bool mayTell = isCopy || kind == EKind::Language;
            Require(madeCode == kWhole || (mayTell && madeCode == kDamaged));
        }
        Require(std::filesystem::remove(m_folder / "new") == (code != kNothing));
    }

    [[nodiscard]] std::string Name(const char* name) const { return TextOf(m_folder / name); }
    void Write(const std::string& bytes) const { WriteFileBytes(m_folder / "input", bytes); }

private:
    TemporaryFolder m_folder;
    Nowhere m_nowhere;
    std::streambuf* m_out = std::cout.rdbuf();
    std::streambuf* m_err = std::cerr.rdbuf();
};

template <class T>
Options With(T Options::*member, T value)
{
    Options options;
    options.*member = value;
    return options;
}

void ConvertToOther(const Files& files, EKind kind)
{
    const bool isText = kind == EKind::TextProfile;
    if (const EKind other = isText ? EKind::BinaryProfile : EKind::TextProfile;
        isText || kind == EKind::BinaryProfile)
        files.Make(ECommand::Convert, other, With(&Options::newKind, other));
}

constexpr std::size_t kCommands = 8;

void Run(const Files& files, EKind kind, std::size_t command)
{
    const auto tellsTheSame = [&](ECommand other, const Options& options = {}) {
        Require(files.Run(other, options) == files.Run(ECommand::Check));
    };
    switch (command) {
    case 0: tellsTheSame(ECommand::Show); break;
    case 1: tellsTheSame(ECommand::Show, With(&Options::showsAll, true)); break;
    case 2: tellsTheSame(ECommand::Export); break;
    case 3: tellsTheSame(ECommand::Export, With(&Options::asPage, true)); break;
    case 4:
        Require(files.Run(ECommand::Diff, With(&Options::newPath, files.Name("input"))) !=
                kDamaged);
        break;
    case 5: files.Make(ECommand::Recover, kind); break;
    case 6: files.Make(ECommand::Convert, kind); break;
    default: ConvertToOther(files, kind);
    }
    if (kind == EKind::Language)
        static_cast<void>(files.Run(ECommand::Lint));
}

EKind KindOf(const std::string& path)
{
    BlockReader file(platform::OpenStream(WideOf(PathOf(path)).c_str(), QD_W("rb")));
    const EKind kind = KindOf(file);
    return kind != EKind::Unknown ? kind : KindInAnyEncoding(file);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Files files;
    const HeapBound bound(size);
    const std::string input(data, data + size);
    files.Write(input);
    const EKind kind = KindOf(files.Name("input"));
    for (const std::size_t command : Turns(input, kCommands))
        Run(files, kind, command);
    for (const std::size_t turn : Turns(input, Kinds().size())) { // also what it is not
        const EKind other = std::next(Kinds().begin(), static_cast<std::ptrdiff_t>(turn))->second;
        static_cast<void>(files.Run(ECommand::Check, With(&Options::kind, other)));
    }
    return 0;
}
