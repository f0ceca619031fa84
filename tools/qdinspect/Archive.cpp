#include "core/archive/Encoding.h"
#include "core/archive/ObjectHeader.h"
#include "core/archive/RecordDirectory.h"
#include "core/base/BlockReader.h"

#include "tools/qdinspect/Inspectors.h"
#include "tools/qdinspect/Report.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

// An archive's file as a list of its records.
//
// `BArchive` itself is of no use here: it wants to know the document's class beforehand, and gives
// nothing of a file that has one broken record. So the file's header is read here, and each
// object's by the function that builds the archive's directory. Payloads belong to classes that
// are not known here, and are passed over.

namespace {

constexpr int kOldestFormat = 2;
constexpr int kNewestFormat = 8;

struct FileHeader {
    std::string documentClass;
    int documentVersion = 0;
    std::string archiveClass;
    int formatVersion = 0;
};

std::optional<std::string> ReadText(BlockReader& file)
{
    const std::optional<std::uint64_t> size = NArchive::EndOfText(file, 0);
    const char* const text = size ? file.Peek(*size) : nullptr;
    if (text == nullptr)
        return std::nullopt;
    file.MoveTo(file.Position() + *size);
    return std::string(NArchive::TextAt(text));
}

bool ReadPart(BlockReader& file, std::string& className, int& version)
{
    std::optional<std::string> text = ReadText(file);
    if (!text || file.Left() < sizeof version)
        return false;
    className = std::move(*text);
    return file.Read(&version, sizeof version);
}

bool InspectHeader(BlockReader& file, FileHeader& header, Report& report)
{
    if (!ReadPart(file, header.documentClass, header.documentVersion)) {
        report.DamageAt(file.Position()) << "no document class and version\n";
        return false;
    }
    report.Line() << "document " << Quoted(header.documentClass) << " version "
                  << header.documentVersion << '\n';
    const std::uint64_t start = file.Position();
    if (!ReadPart(file, header.archiveClass, header.formatVersion)) {
        report.DamageAt(file.Position()) << "no archive class and format version\n";
        return false;
    }
    report.Line() << "written by " << Quoted(header.archiveClass) << " version "
                  << header.formatVersion << '\n';
    const bool isKnown = header.archiveClass == "class BArchive" ||
                         header.archiveClass == "BArchive"; // without the keyword in old files
    if (!isKnown || header.formatVersion < kOldestFormat || header.formatVersion > kNewestFormat) {
        report.DamageAt(start) << "no format that can be read\n";
        return false;
    }
    return true;
}

void TellBrokenRecord(const BlockReader& file, std::uint64_t start,
                      const NArchive::ObjectHeader& header, Report& report)
{
    if (!file.IsGood()) {
        report.DamageAt(start) << "the file cannot be read\n";
    } else if (file.Position() == start) {
        report.DamageAt(start) << "no whole object header\n";
    } else {
        report.DamageAt(start) << "object " << Quoted(header.indexText) << " of class "
                               << Quoted(header.className) << " wants " << header.payloadSize
                               << " bytes, " << file.Left() << " are left\n";
    }
}

} // namespace

void InspectArchive(BlockReader& file, Report& report)
{
    report.Line() << "archive\n";
    FileHeader document;
    if (!InspectHeader(file, document, report))
        return;
    std::uint64_t count = 0;
    for (; file.Left() != 0; ++count) { // until one is broken: nothing tells where the next begins
        const std::uint64_t start = file.Position();
        NArchive::ObjectHeader header;
        if (!NArchive::ReadObjectHeader(file, document.formatVersion, header)) {
            TellBrokenRecord(file, start, header, report);
            break;
        }
        report.Line() << "at " << start << ": object " << Quoted(header.indexText) << " of class "
                      << Quoted(header.className) << " version " << header.version << ", "
                      << header.payloadSize << " bytes";
        if (!header.label.empty())
            report.Line() << ", label " << Quoted(header.label);
        report.Line() << '\n';
        if (!NArchive::IndexOfText(header.indexText))
            report.DamageAt(start) << Quoted(header.indexText) << " is no index\n";
        file.MoveTo(file.Position() + header.payloadSize);
    }
    report.Line() << count << " whole records\n";
}
