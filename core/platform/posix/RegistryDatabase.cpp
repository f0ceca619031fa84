#include "core/platform/posix/RegistryDatabase.h"

#include <algorithm>
#include <list>
#include <mutex>
#include <pthread.h>
#include <utility>

// One connection a process and file, behind one lock. A connection for each thread would let
// readers go side by side, but a read takes three microseconds, mostly for locks, and a fraction of
// one while nobody writes (see RegistryCache.cpp); the registry holds settings, not data.
//
// Before each write and each opening of a key it is asked whether the file that is open is still
// the one at its place: what is written to a deleted file is lost for everybody. A key remembers
// its file for the same reason. Reading does without that look, which takes half as long as the
// read.
namespace platform {

namespace {

// One for all databases, so that none is in use when the process forks.
constinit std::mutex g_lock;

// Never destroyed, as keys may be used until the very end.
std::list<RegistryDatabase>& Databases()
{
    static auto& databases = *std::make_unique<std::list<RegistryDatabase>>().release();
    return databases;
}

} // namespace

RegistryDatabase& RegistryDatabase::At(const std::string& location)
{
    static const struct Closing {
        Closing() { ::pthread_atfork(&BeforeFork, &AfterFork, &AfterFork); }
        ~Closing()
        {
            const std::lock_guard lock(g_lock);
            CloseAll();
        }
    } closing;

    const std::lock_guard lock(g_lock);
    std::list<RegistryDatabase>& all = Databases();
    const auto found = std::ranges::find(all, location, &RegistryDatabase::m_location);
    return found != all.end() ? *found : all.emplace_back(location);
}

RegistryDatabase::RegistryDatabase(std::string location)
    : m_location(std::move(location))
{}

std::optional<RegistryDatabase::Key> RegistryDatabase::OpenKey(const Key* parent,
                                                               std::span<const RegistryName> names)
{
    const std::lock_guard lock(g_lock);
    if (parent != nullptr ? !Has(*parent) : !IsOpen(FileAt(m_location)))
        return std::nullopt;
    const FileIdentity file = m_connection->File();
    std::int64_t key = parent != nullptr ? parent->number : RegistryConnection::kRoot;
    if (!Descend(key, names)) {
        m_connection.reset();
        return std::nullopt;
    }
    if (names.empty())
        return Key{file, key};
    const auto make = [&] {
        const auto isAdded = [&](const RegistryName& name) {
            const std::optional<std::int64_t> added = m_connection->AddKey(key, name);
            key = added.value_or(key);
            return added.has_value();
        };
        // Another process may have made some meanwhile.
        return Descend(key, names) && std::ranges::all_of(names, isAdded);
    };
    const bool isMade = CanWrite(file) && Commit(make);
    return isMade ? std::optional(Key{file, key}) : std::nullopt;
}

bool RegistryDatabase::ReadText(const Key& key, WideView foldedName, WideText& text)
{
    const std::lock_guard lock(g_lock);
    const bool isOpen = m_connection && m_connection->File() == key.file;
    if (!isOpen && !Has(key))
        return false;
    const bool isRead = m_connection->ReadText(key.number, foldedName, text);
    LetGoUnless(isRead || !m_connection->HasFailed());
    return isRead;
}

bool RegistryDatabase::WriteValue(const Key& key, const RegistryName& name, ERegistryType type,
                                  const void* data, std::size_t size)
{
    const std::lock_guard lock(g_lock);
    return Has(key) && CanWrite(key.file) &&
           Commit([&] { return m_connection->WriteValue(key.number, name, type, data, size); });
}

void RegistryDatabase::CloseAll() noexcept
{
    for (RegistryDatabase& database : Databases())
        database.m_connection.reset();
}

void RegistryDatabase::BeforeFork() noexcept
{
    g_lock.lock();
    CloseAll();
}

void RegistryDatabase::AfterFork() noexcept
{
    g_lock.unlock();
}

// Whether there is a connection, to `file` if it is still at the location, else to the one that is.
bool RegistryDatabase::IsOpen(const std::optional<FileIdentity>& file)
{
    if (!file)
        return false;
    if (m_connection && m_connection->File() == *file)
        return true;
    m_connection.reset();
    m_connection = RegistryConnection::Open(m_location);
    return m_connection != nullptr;
}

// Whether the connection, to `file`, takes writes. SQLite goes back to reading alone for good when
// it fails to open a file for both; that may have passed.
bool RegistryDatabase::CanWrite(const FileIdentity& file)
{
    if (!m_connection->IsReadOnly())
        return true;
    m_connection.reset();
    return IsOpen(file) && m_connection->File() == file && !m_connection->IsReadOnly();
}

// Whether the file of the key is at the location, and open. A file that was deleted would take what
// is written and keep it from everybody.
bool RegistryDatabase::Has(const Key& key)
{
    const std::optional<FileIdentity> file = FileAt(m_location);
    return file == key.file && IsOpen(file) && m_connection->File() == key.file;
}

// Has `work` done whole, or not at all.
template <class Work>
bool RegistryDatabase::Commit(Work work)
{
    bool isDone = false, isBusy = false;
    {
        RegistryConnection::Transaction transaction(*m_connection);
        isDone = transaction.IsOpen() && work() && transaction.Commit();
        isBusy = m_connection->IsBusy();
    }
    LetGoUnless(isDone || isBusy);
    return isDone;
}

// A connection that failed goes: it may keep a lock for good that it could not give back. Not one
// that only had to wait for others.
void RegistryDatabase::LetGoUnless(bool isGood) noexcept
{
    if (!isGood)
        m_connection.reset();
}

// Follows `names` as far as there are keys, and takes those off. False when it cannot be told.
bool RegistryDatabase::Descend(std::int64_t& key, std::span<const RegistryName>& names)
{
    while (!names.empty()) {
        const std::optional<std::int64_t> found = m_connection->FindKey(key, names.front().folded);
        if (!found)
            return !m_connection->HasFailed();
        key = *found;
        names = names.subspan(1);
    }
    return true;
}

} // namespace platform
