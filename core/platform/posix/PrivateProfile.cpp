#include "core/platform/PrivateProfile.h"

#include "core/platform/ByteOrderMark.h"
#include "core/platform/FileReplacement.h"
#include "core/platform/WideText.h"
#include "core/platform/posix/Descriptor.h"
#include "core/platform/posix/FileLock.h"
#include "core/platform/posix/IniText.h"
#include "core/platform/posix/NativePath.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <list>
#include <mutex>
#include <new>
#include <numeric>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <variant>

namespace platform {

struct ProfileUpdate::State {
    WideText path;
    Descriptor lock;
};

namespace {

static_assert(std::endian::native == std::endian::little, "units are read as they stand");

enum class EEncoding { Ansi, Utf16Little, Utf16Big };

constexpr std::int64_t kSecond = 1'000'000'000;

std::int64_t Nanoseconds(const timespec& time)
{
    return time.tv_sec * kSecond + time.tv_nsec;
}

timespec Now()
{
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

// Tells one content of a file from another.
struct Stamp {
    Stamp() = default;
    explicit Stamp(const struct stat& status)
        : device(status.st_dev)
        , file(status.st_ino)
        , size(status.st_size)
        , modified(Nanoseconds(status.st_mtim))
        , changed(Nanoseconds(status.st_ctim))
    {}
    bool operator==(const Stamp&) const = default;

    dev_t device = 0;
    ino_t file = 0;
    off_t size = 0;
    std::int64_t modified = 0;
    std::int64_t changed = 0;
};

// Whether the file's times have moved on, so that a later change would show. Most file systems tell
// times apart that are a clock tick apart, some only whole seconds or pairs of them.
bool IsSettled(const Stamp& stamp)
{
    constexpr std::int64_t tick = kSecond / 50;
    const std::int64_t latest = std::max(stamp.modified, stamp.changed);
    const bool isCoarse = stamp.modified % kSecond == 0;
    return Nanoseconds(Now()) - latest > (isCoarse ? 2 * kSecond : tick);
}

struct Profile {
    EEncoding encoding = EEncoding::Ansi;
    std::variant<IniText<char>, IniText<WChar>> text{std::in_place_index<0>, std::string()};
};

void SwapBytes(WideText& units)
{
    for (WChar& unit : units)
        unit = static_cast<WChar>(unit << 8 | unit >> 8);
}

Profile Parse(std::string bytes)
{
    Profile profile;
    if (bytes.starts_with(kUtf16Mark))
        profile.encoding = EEncoding::Utf16Little;
    else if (bytes.starts_with(kUtf16BigMark))
        profile.encoding = EEncoding::Utf16Big;
    if (profile.encoding == EEncoding::Ansi) {
        profile.text.emplace<0>(std::move(bytes));
        return profile;
    }
    // An odd last byte is none.
    WideText units(bytes.size() / sizeof(WChar) - 1, 0);
    bytes.copy(reinterpret_cast<char*>(units.data()), units.size() * sizeof(WChar),
               kUtf16Mark.size());
    if (profile.encoding == EEncoding::Utf16Big)
        SwapBytes(units);
    profile.text.emplace<1>(std::move(units));
    return profile;
}

bool Write(std::FILE* stream, const void* data, std::size_t size)
{
    return std::fwrite(data, 1, size, stream) == size;
}

bool Write(std::FILE* stream, const Profile& profile)
{
    const auto length = [](const auto& text) { return text.Whole().size(); };
    if (std::visit(length, profile.text) > IniText<char>::kMostUnits)
        return false;
    if (profile.encoding == EEncoding::Ansi) {
        const std::string& text = std::get<0>(profile.text).Whole();
        return Write(stream, text.data(), text.size());
    }
    const WideText& units = std::get<1>(profile.text).Whole();
    const std::size_t size = units.size() * sizeof(WChar);
    if (profile.encoding == EEncoding::Utf16Little)
        return Write(stream, kUtf16Mark.data(), kUtf16Mark.size()) &&
               Write(stream, units.data(), size);
    WideText swapped = units;
    SwapBytes(swapped);
    return Write(stream, kUtf16BigMark.data(), kUtf16BigMark.size()) &&
           Write(stream, swapped.data(), size);
}

std::optional<std::string> ReadAll(int file, std::size_t size)
{
    std::string bytes(size, '\0');
    std::size_t count = 0;
    while (count < size) {
        const ssize_t read = ::read(file, bytes.data() + count, size - count);
        if (read < 0 && errno == EINTR)
            continue;
        if (read < 0)
            return std::nullopt;
        if (read == 0)
            break;
        count += static_cast<std::size_t>(read);
    }
    bytes.resize(count);
    return bytes;
}

struct ParsedFile {
    WideText path; // as callers name it
    std::string nativePath;
    Stamp stamp;
    bool isSettled = false; // the stamp tells whether the file is still the same
    Profile profile;
};

enum class ELoad { Missing, Failed, Loaded };

ELoad Load(ParsedFile& parsed)
{
    // A pipe must not keep the caller waiting.
    const Descriptor file(::open(parsed.nativePath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file.IsOpen())
        return errno == ENOENT || errno == ENOTDIR ? ELoad::Missing : ELoad::Failed;
    struct stat before = {}, after = {};
    if (::fstat(file.Get(), &before) != 0 || !S_ISREG(before.st_mode) ||
        before.st_size > static_cast<off_t>(IniText<char>::kMostUnits))
        return ELoad::Failed;
    std::optional<std::string> bytes =
        ReadAll(file.Get(), static_cast<std::size_t>(before.st_size));
    if (!bytes || ::fstat(file.Get(), &after) != 0)
        return ELoad::Failed;
    parsed.stamp = Stamp(before);
    parsed.isSettled = parsed.stamp == Stamp(after) && IsSettled(parsed.stamp);
    parsed.profile = Parse(std::move(*bytes));
    return ELoad::Loaded;
}

bool IsCurrent(const ParsedFile& parsed)
{
    struct stat status = {};
    return parsed.isSettled && ::stat(parsed.nativePath.c_str(), &status) == 0 &&
           parsed.stamp == Stamp(status);
}

// The file gets a time of its own, finer than the system's ticks: no later change shows the same.
bool Save(ParsedFile& parsed)
{
    FileReplacement replacement(parsed.path.c_str(), FileReplacement::ESync::No);
    std::FILE* const stream = replacement.Stream();
    if (stream == nullptr || !Write(stream, parsed.profile) || std::fflush(stream) != 0)
        return false;
    const timespec now = Now();
    const timespec times[] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, now};
    ::futimens(::fileno(stream), times);
    struct stat status = {};
    if (!replacement.Commit())
        return false;
    parsed.isSettled = ::stat(parsed.nativePath.c_str(), &status) == 0 &&
                       Nanoseconds(status.st_mtim) == Nanoseconds(now);
    parsed.stamp = Stamp(status);
    return true;
}

/// The profiles that were used last.
class ParsedFiles {
public:
    // Never destroyed: objects that go when the process ends may still read settings.
    static ParsedFiles& Instance()
    {
        static ParsedFiles& instance = *new ParsedFiles;
        return instance;
    }

    [[nodiscard]] std::unique_lock<std::mutex> Lock() { return std::unique_lock(m_lock); }

    /// The profile as the file has it now, good until the lock is given back; `state` tells why it
    /// is null.
    ParsedFile* Get(WideView path, ELoad& state)
    {
        std::list<ParsedFile> taken = Take(path, state);
        if (state != ELoad::Loaded)
            return nullptr;
        Keep(taken);
        return &m_files.front();
    }

    /// The same, taken out: who changes it and fails lets it go. One that is missing is empty.
    std::list<ParsedFile> Take(WideView path, ELoad& state)
    {
        std::list<ParsedFile> taken;
        const auto found = std::ranges::find(m_files, path, &ParsedFile::path);
        if (found != m_files.end()) {
            taken.splice(taken.begin(), m_files, found);
        } else {
            taken.emplace_front();
            taken.front().path = path;
            taken.front().nativePath = ToNativePath(taken.front().path.c_str());
        }
        const bool isCurrent = IsCurrent(taken.front());
        state = isCurrent ? ELoad::Loaded : Load(taken.front());
        if (state == ELoad::Missing)
            taken.front().profile = Profile();
        return taken;
    }

    void Keep(std::list<ParsedFile>& taken)
    {
        constexpr std::size_t most = 8;
        m_files.splice(m_files.begin(), taken);
        if (m_files.size() > most)
            m_files.pop_back();
    }

private:
    std::mutex m_lock;
    std::list<ParsedFile> m_files; // the latest first; guarded by m_lock
};

// What `read` gives for the profile's text; none when there is no profile, or too little memory.
template <class Read>
std::optional<WideText> FromProfile(const WChar* path, Read read) noexcept
try {
    ParsedFiles& files = ParsedFiles::Instance();
    const std::unique_lock lock = files.Lock();
    ELoad state = ELoad::Missing;
    const ParsedFile* const parsed = files.Get(path, state);
    if (parsed == nullptr)
        return std::nullopt;
    return std::visit(read, parsed->profile.text);
} catch (const std::bad_alloc&) {
    return std::nullopt;
}

// `change` answers whether the text is another one then.
template <class Change>
bool ChangeProfile(const WideText& path, Change change) noexcept
try {
    ParsedFiles& files = ParsedFiles::Instance();
    const std::unique_lock lock = files.Lock();
    ELoad state = ELoad::Missing;
    std::list<ParsedFile> taken = files.Take(path, state);
    if (state == ELoad::Failed)
        return false;
    ParsedFile& parsed = taken.front();
    // Intended: a file that is missing is made even when nothing stands in it.
    if (std::visit(change, parsed.profile.text) || state == ELoad::Missing) {
        if (!Save(parsed))
            return false;
    } else if (::access(parsed.nativePath.c_str(), W_OK) != 0) {
        return false;
    }
    files.Keep(taken);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

std::size_t CopyText(WideView text, WChar* buffer, std::size_t room)
{
    if (room == 0)
        return 0;
    const std::size_t length = text.copy(buffer, room - 1);
    buffer[length] = 0;
    return length;
}

std::size_t CopyList(WideView list, WChar* buffer, std::size_t room)
{
    // Intended: one that just fits answers as one that was cut.
    if (list.empty() || list.size() + 1 < room || room < 2)
        return CopyText(list, buffer, room);
    const std::size_t length = list.copy(buffer, room - 2);
    buffer[length] = buffer[length + 1] = 0;
    return length;
}

WideView WithoutQuotes(WideView value)
{
    const bool isQuoted = value.size() > 1 && value.front() == value.back() &&
                          (value.front() == u'"' || value.front() == u'\'');
    return isQuoted ? value.substr(1, value.size() - 2) : value;
}

WideView WithoutTrailingBlanks(const WChar* text)
{
    const WideView view = text != nullptr ? text : u"";
    return view.substr(0, view.find_last_not_of(u' ') + 1);
}

int HexDigit(WChar unit)
{
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    const int letter = (unit | 0x20) - u'a';
    return letter >= 0 && letter < 6 && unit < 0x80 ? letter + 10 : -1;
}

// The byte at `index` of hexadecimal digits, below 0 when there is none.
int HexByte(WideView digits, std::size_t index)
{
    const int high = HexDigit(digits[2 * index]);
    const int low = HexDigit(digits[2 * index + 1]);
    return high < 0 || low < 0 ? -1 : high << 4 | low;
}

void AppendByte(WideText& digits, unsigned char byte)
{
    constexpr WideView hex = u"0123456789ABCDEF";
    digits.push_back(hex[byte >> 4]);
    digits.push_back(hex[byte & 15]);
}

bool DecodeBlock(WideView digits, unsigned char* data, std::size_t size)
{
    if (digits.size() != 2 * size + 2)
        return false;
    unsigned int sum = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const int byte = HexByte(digits, i);
        if (byte < 0)
            return false;
        data[i] = static_cast<unsigned char>(byte);
        sum += data[i];
    }
    return HexByte(digits, size) == static_cast<int>(sum & 0xFF);
}

WideText EncodeBlock(const unsigned char* data, std::size_t size)
{
    WideText digits;
    digits.reserve(2 * size + 2);
    for (std::size_t i = 0; i < size; ++i)
        AppendByte(digits, data[i]);
    AppendByte(digits, std::accumulate(data, data + size, static_cast<unsigned char>(0)));
    return digits;
}

// Held by whoever changes files in the folder of this one, as the file itself is replaced. None
// when nothing can be locked. All must choose the same one, so only a right that is missing, never
// another failure, leads to the next choice.
Descriptor OpenForLock(const std::string& nativePath)
{
    const std::optional<std::string> target = ResolveLinks(nativePath);
    if (!target)
        return {};
    constexpr int flags = O_RDONLY | O_CLOEXEC;
    const std::string folder = FolderOf(*target);
    Descriptor file(::open(folder.empty() ? "." : folder.c_str(), flags | O_DIRECTORY));
    if (file.IsOpen() || errno != EACCES)
        return file;
    // A folder that may not be read can take new files all the same: one that stays there.
    const std::string lock = folder + ".qd.lock";
    file = Descriptor(::open(lock.c_str(), flags | O_NONBLOCK));
    if (file.IsOpen() || errno != ENOENT)
        return file;
    file = Descriptor(::open(lock.c_str(), flags | O_NONBLOCK | O_CREAT, 0444));
    if (file.IsOpen() || (errno != EACCES && errno != EROFS))
        return file;
    // When it takes none, the file stays the same one.
    return Descriptor(::open(target->c_str(), flags | O_NONBLOCK));
}

// False while someone else holds it. On a file system without locks updates go on without.
bool Lock(const Descriptor& file)
{
    constexpr int waitMs = 10'000;
    const ELocked locked = LockFile(file, EFileLock::Alone, waitMs);
    return locked == ELocked::Yes || locked == ELocked::Unsupported;
}

} // namespace

std::size_t ReadProfileText(const WChar* path, const WChar* section, const WChar* key,
                            const WChar* fallback, WChar* buffer, std::size_t room) noexcept
{
    const std::optional<WideText> found = FromProfile(path, [&](const auto& text) {
        return key != nullptr ? text.Find(section, key) : text.Keys(section, room);
    });
    if (!found)
        return CopyText(WithoutTrailingBlanks(fallback), buffer, room);
    return key != nullptr ? CopyText(WithoutQuotes(*found), buffer, room)
                          : CopyList(*found, buffer, room);
}

std::size_t ReadProfileSection(const WChar* path, const WChar* section, WChar* buffer,
                               std::size_t room) noexcept
{
    const std::optional<WideText> found =
        FromProfile(path, [&](const auto& text) { return text.Lines(section, room); });
    return CopyList(found ? *found : WideView(), buffer, room);
}

std::size_t ReadProfileSectionNames(const WChar* path, WChar* buffer, std::size_t room) noexcept
{
    const std::optional<WideText> found =
        FromProfile(path, [&](const auto& text) { return std::optional(text.Sections(room)); });
    return CopyList(found ? *found : WideView(), buffer, room);
}

bool ReadProfileBlock(const WChar* path, const WChar* section, const WChar* key, void* data,
                      unsigned int size) noexcept
{
    const std::optional<WideText> found =
        FromProfile(path, [&](const auto& text) { return text.Find(section, key); });
    return found && DecodeBlock(*found, static_cast<unsigned char*>(data), size);
}

ProfileUpdate::ProfileUpdate(const WChar* path) noexcept
{
    try {
        auto state = std::make_unique<State>();
        state->path = path;
        state->lock = OpenForLock(ToNativePath(path));
        if (state->lock.IsOpen() && Lock(state->lock))
            m_state = std::move(state);
    } catch (const std::bad_alloc&) {
        // nothing can be written then
    }
}

ProfileUpdate::~ProfileUpdate()
{
    // Closing would not do: a process that was forked meanwhile has the lock, too.
    if (m_state)
        UnlockFile(m_state->lock);
}

bool ProfileUpdate::SetText(const WChar* section, const WChar* key, const WChar* value) noexcept
{
    const WideView sectionName(section), keyName(key);
    return m_state && ChangeProfile(m_state->path, [&](auto& text) {
               return value != nullptr ? text.Set(sectionName, keyName, value)
                                       : text.RemoveKey(sectionName, keyName);
           });
}

bool ProfileUpdate::ExchangeText(const WChar* section, const WChar* key, const WChar* expected,
                                 const WChar* value) noexcept
{
    return m_state && ChangeProfile(m_state->path, [&](auto& text) {
               const std::optional<WideText> found = text.Find(section, key);
               return WithoutQuotes(found ? *found : WideView()) == expected &&
                      text.Set(section, key, value);
           });
}

bool ProfileUpdate::SetBlock(const WChar* section, const WChar* key, const void* data,
                             unsigned int size) noexcept
try {
    if (data == nullptr)
        return SetText(section, key, nullptr);
    return SetText(section, key,
                   EncodeBlock(static_cast<const unsigned char*>(data), size).c_str());
} catch (const std::bad_alloc&) {
    return false;
}

bool ProfileUpdate::RemoveSection(const WChar* section) noexcept
{
    return m_state &&
           ChangeProfile(m_state->path, [&](auto& text) { return text.RemoveSection(section); });
}

} // namespace platform
