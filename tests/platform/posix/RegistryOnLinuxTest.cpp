#include "core/base/BError.h"
#include "core/base/ErrorCodes.h"
#include "core/platform/Registry.h"
#include "core/profile/BConfigRegistry.h"

#include "tests/FileBytes.h"
#include "tests/Process.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/posix/SystemCalls.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

// The same file as another program has it.
class OtherProgram {
public:
    explicit OtherProgram(const fs::path& path) { ::sqlite3_open(path.c_str(), &m_database); }
    ~OtherProgram() { ::sqlite3_close(m_database); }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    // The last column of the last row that `sql` gives; "<error>" when it fails.
    std::string Run(const std::string& sql)
    {
        std::string answer;
        const auto keep = [](void* kept, int count, char** columns, char**) {
            *static_cast<std::string*>(kept) = columns[count - 1];
            return 0;
        };
        const int result = ::sqlite3_exec(m_database, sql.c_str(), keep, &answer, nullptr);
        return result == SQLITE_OK ? answer : "<error>";
    }

private:
    sqlite3* m_database = nullptr;
};

constexpr int kValueCount = 100;

bool WriteValues(int writer)
{
    BConfigRegistry config(QD_W("made\\by\\whoever\\comes\\first"));
    for (int value = writer; value < writer + kValueCount; ++value) {
        if (config.WriteInt(WString::FromInt(value), value) != 0)
            return false;
    }
    return true;
}

// Opens a key, writes and reads: 0 when all of it succeeds, else the code of the failure.
int Use()
{
    try {
        BConfigRegistry config(QD_W("Software\\Probe"));
        WString text;
        const int code = config.WriteString(QD_W("v"), QD_W("x"));
        return code != 0 ? code : config.ReadString(QD_W("v"), text);
    } catch (const BError& error) {
        return error.Error();
    }
}

// What `Use` gives in a process of its own with these variables, null for none.
bool Gives(int code, const char* registry, const char* config, const char* home)
{
    return Held(StartProcess([=] {
        const std::pair<const char*, const char*> variables[] = {
            {"QD_REGISTRY", registry}, {"XDG_CONFIG_HOME", config}, {"HOME", home}};
        for (const auto& [name, value] : variables)
            value != nullptr ? ::setenv(name, value, 1) : ::unsetenv(name);
        return Use() == code;
    }));
}

bool g_unlockFails = false;

int FailToUnlockOnce(int file, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    auto* const lock = va_arg(arguments, struct flock*);
    va_end(arguments);
    if (command == F_SETLK && lock->l_type == F_UNLCK && std::exchange(g_unlockFails, false)) {
        errno = ENOLCK;
        return -1;
    }
    return ::fcntl(file, command, lock);
}

// A registry of its own for each test.
class RegistryOnLinux : public testing::Test {
protected:
    RegistryOnLinux() { ::setenv("QD_REGISTRY", m_path.c_str(), 1); }
    ~RegistryOnLinux() override { ::unsetenv("QD_REGISTRY"); }

    const TemporaryFolder m_folder;
    const fs::path m_path = m_folder / "registry.db";
};

} // namespace

TEST_F(RegistryOnLinux, LosesNothingThatProcessesAndThreadsWrite)
{
    BConfigRegistry before(QD_W("before")); // what is open when a process forks stays good
    EXPECT_EQ(before.WriteInt(QD_W("v"), 1), 0);
    const pid_t processes[] = {StartProcess([] { return WriteValues(0); }),
                               StartProcess([] { return WriteValues(kValueCount); })};
    std::thread thread([] { EXPECT_TRUE(WriteValues(2 * kValueCount)); });
    EXPECT_TRUE(WriteValues(3 * kValueCount));
    thread.join();
    for (const pid_t process : processes)
        EXPECT_TRUE(Held(process));
    const BConfigRegistry config(QD_W("made\\by\\whoever\\comes\\first"));
    int read = -1;
    for (int value = 0; value < 4 * kValueCount; ++value) {
        EXPECT_EQ(config.ReadInt(WString::FromInt(value), read), 0);
        EXPECT_EQ(read, value);
    }
    EXPECT_EQ(before.ReadInt(QD_W("v"), read), 0);
    OtherProgram other(m_path);
    EXPECT_EQ(other.Run("SELECT max(CAST(name AS TEXT)) FROM registry_key"), "whoever");
    EXPECT_EQ(other.Run("SELECT max(CAST(data AS TEXT)) FROM registry_value"), "99");
    EXPECT_EQ(other.Run("SELECT count(*) FROM registry_key"), "6");
    EXPECT_EQ(other.Run("PRAGMA journal_mode"), "wal");
}

TEST_F(RegistryOnLinux, SeesWhatAnotherProgramWrites)
{
    BConfigRegistry config(QD_W("Software\\Probe"));
    ASSERT_EQ(config.WriteInt(QD_W("v"), 1), 0);
    OtherProgram other(m_path);
    EXPECT_EQ(other.Run("SELECT length(data) FROM registry_value"), "4"); // two units
    const std::string set = "UPDATE registry_value SET data = ";
    const std::pair<std::string, int> steps[] = {
        {"", 1},
        {set + "x'32000000'", 2}, // "2"
        {"PRAGMA wal_checkpoint(RESTART)", 2},
        {"BEGIN; " + set + "x'33000000'", 2},
        {"COMMIT", 3},
        {"BEGIN; " + set + "x'34000000'; ROLLBACK", 3},
        {"DELETE FROM registry_value", 0},
    };
    for (const auto& [sql, value] : steps) {
        SCOPED_TRACE(sql);
        ASSERT_NE(other.Run(sql), "<error>");
        for (int reads = 0; reads < 2; ++reads) {
            int number = 0;
            EXPECT_EQ(config.ReadInt(QD_W("V"), number) == 0, value != 0);
            EXPECT_EQ(number, value);
        }
    }
    other.Run("CREATE TRIGGER no INSERT ON registry_key BEGIN SELECT RAISE(FAIL, ''); END");
    EXPECT_THROW(config.Child(QD_W("new")), BError);
}

TEST_F(RegistryOnLinux, FailsWhileTheDatabaseIsLocked)
{
    BConfigRegistry config(QD_W("Software\\Probe"));
    ASSERT_EQ(config.WriteInt(QD_W("v"), 1), 0);
    OtherProgram other(m_path);
    ASSERT_EQ(other.Run("BEGIN EXCLUSIVE"), "");
    const SystemCalls fasterTime;
    EXPECT_EQ(config.WriteInt(QD_W("v"), 2), kErrorGeneral);
    EXPECT_THROW(config.Child(QD_W("new")), BError);
    ASSERT_EQ(other.Run("COMMIT"), "");
    EXPECT_EQ(Use(), 0);
}

// SQLite keeps the lock that it failed to give back for as long as the connection lives.
TEST_F(RegistryOnLinux, WritesAgainAfterAFailedUnlock)
{
    ASSERT_EQ(Use(), 0);
    EXPECT_TRUE(Held(StartProcess([] {
        static sqlite3_vfs impatient = *::sqlite3_vfs_find(nullptr);
        impatient.xSleep = [](sqlite3_vfs*, int microseconds) { return microseconds; };
        ::sqlite3_vfs_register(&impatient, 1);
        impatient.xSetSystemCall(&impatient, "fcntl",
                                 reinterpret_cast<sqlite3_syscall_ptr>(&FailToUnlockOnce));
        BConfigRegistry config(QD_W("Software\\Probe"));
        const int before = config.WriteInt(QD_W("v"), 1);
        g_unlockFails = true;
        config.WriteInt(QD_W("v"), 2); // may fail
        return before == 0 && !g_unlockFails && config.WriteInt(QD_W("v"), 3) == 0;
    })));
}

TEST_F(RegistryOnLinux, WritesOnceItMayAgain)
{
    ASSERT_EQ(Use(), 0);
    fs::permissions(m_folder / "", fs::perms{0777});
    for (const auto& each : fs::directory_iterator(m_folder / ""))
        [[maybe_unused]] const int isTheirs = ::chown(each.path().c_str(), 65534, 65534);
    EXPECT_TRUE(HoldsForNobody([this] {
        fs::permissions(m_path, fs::perms{0444});
        if (::access(m_path.c_str(), W_OK) == 0)
            return true; // nobody's superior
        BConfigRegistry config(QD_W("Software\\Probe"));
        const bool isRefused = config.WriteInt(QD_W("v"), 1) == kErrorGeneral;
        fs::permissions(m_path, fs::perms{0644});
        int value = 0;
        return isRefused && config.WriteInt(QD_W("v"), 2) == 0 &&
               config.ReadInt(QD_W("v"), value) == 0 && value == 2;
    }));
    // What the log got while the file could only be read stays when a process is killed.
    EXPECT_TRUE(HoldsForNobody([this] {
        for (const char* name : {"registry.db", "registry.db-wal", "registry.db-shm"}) {
            WriteFileBytes(m_folder / name, FileBytes(m_folder / name));
            fs::permissions(m_folder / name, fs::perms{0444});
        }
        fs::permissions(m_path, fs::perms{0644});
        return Use() == 0;
    }));
}

TEST_F(RegistryOnLinux, FailsOnceItsFileIsGone)
{
    for (const bool isReplaced : {true, false}) {
        SCOPED_TRACE(isReplaced);
        BConfigRegistry old(QD_W("other\\key"));
        ASSERT_EQ(old.WriteInt(QD_W("v"), 1), 0);
        ASSERT_EQ(OtherProgram(m_path).Run("PRAGMA wal_checkpoint(TRUNCATE)"), "0");
        const auto expectRefusal = [&old] {
            EXPECT_EQ(old.WriteInt(QD_W("v"), 2), kErrorGeneral);
            EXPECT_THROW(old.Child(QD_W("new")), BError);
        };
        WriteFileBytes(m_folder / "copy", FileBytes(m_path)); // where the key has the same number
        if (isReplaced)
            fs::rename(m_folder / "copy", m_path);
        else
            fs::remove(m_path);
        expectRefusal();
        EXPECT_EQ(fs::exists(m_path), isReplaced);
        EXPECT_TRUE(Held(StartProcess([] { return true; }))); // which closes the connection
        expectRefusal();
        EXPECT_EQ(fs::exists(m_path), isReplaced);
        EXPECT_EQ(Use(), 0); // in the new file
        expectRefusal();
        int value = 0;
        EXPECT_EQ(old.ReadInt(QD_W("v"), value), kErrorGeneral);
        EXPECT_EQ(OtherProgram(m_path).Run("SELECT count(*) FROM registry_key"),
                  isReplaced ? "4" : "2");
    }
}

TEST_F(RegistryOnLinux, StartsAfreshWhileAnotherProgramHasAFileThatIsGone)
{
    ASSERT_EQ(Use(), 0);
    OtherProgram holder(m_path);
    ASSERT_EQ(holder.Run("SELECT count(*) FROM registry_key"), "2");
    EXPECT_TRUE(Held(StartProcess([this] {
        BConfigRegistry old(QD_W("old")); // stays in the log
        return old.WriteInt(QD_W("v"), 1) == 0 && fs::remove(m_path) && Use() == 0;
    })));
    EXPECT_EQ(OtherProgram(m_path).Run("SELECT count(*) FROM registry_key"), "2");
}

TEST_F(RegistryOnLinux, FailsOnADatabaseThatIsNone)
{
    const std::string garbage(5000, 'g');
    WriteFileBytes(m_folder / "garbage", garbage);
    ASSERT_EQ(OtherProgram(m_folder / "later").Run("PRAGMA user_version = 2"), "");
    for (const std::string& place : {(m_folder / "garbage").native(), (m_folder / "later").native(),
                                     (m_folder / "").native(), "/dev/full"s, "/dev/null/x"s})
        EXPECT_TRUE(Gives(kErrorGeneral, place.c_str(), nullptr, nullptr)) << place;
    EXPECT_EQ(FileBytes(m_folder / "garbage"), garbage);
    // What each write or read would execute, and further tables, which nothing looks at.
    const std::pair<std::string, int> additions[] = {
        {"CREATE VIEW names AS SELECT CAST(name AS TEXT) FROM registry_key", 0},
        {"CREATE INDEX i ON registry_key (hex(name))", kErrorGeneral},
        {"CREATE TRIGGER t AFTER INSERT ON registry_key BEGIN SELECT 1; END", kErrorGeneral},
        {"ALTER TABLE registry_value RENAME TO v; CREATE VIEW registry_value AS SELECT * FROM v",
         kErrorGeneral}};
    for (const auto& [sql, code] : additions) {
        const std::string place = m_folder / "added.db";
        fs::remove(place);
        EXPECT_TRUE(Gives(0, place.c_str(), nullptr, nullptr));
        EXPECT_EQ(OtherProgram(place).Run(sql), "");
        EXPECT_TRUE(Gives(code, place.c_str(), nullptr, nullptr)) << sql;
    }
    // One that becomes whole again is used again.
    WriteFileBytes(m_path, garbage);
    EXPECT_EQ(Use(), kErrorGeneral);
    fs::remove(m_path);
    EXPECT_EQ(Use(), 0);
}

TEST_F(RegistryOnLinux, PutsNothingIntoADamagedPage)
{
    ASSERT_TRUE(Gives(0, m_path.c_str(), nullptr, nullptr));
    OtherProgram other(m_path);
    ASSERT_NE(other.Run("PRAGMA wal_checkpoint(TRUNCATE)"), "<error>");
    const std::size_t size = std::stoul(other.Run("PRAGMA page_size"));
    for (const char* table : {"registry_value", "sqlite_autoindex_registry_key_1"}) {
        const std::size_t page = std::stoul(
            other.Run("SELECT rootpage FROM sqlite_master WHERE name = '"s + table + "'"));
        const std::string whole = FileBytes(m_path);
        std::string damaged = whole;
        damaged.replace((page - 1) * size + 8, 2, 2, '\0'); // where its first row stands
        WriteFileBytes(m_path, damaged);
        EXPECT_TRUE(Held(StartProcess([] { return Use() != 0 && Use() != 0; }))) << table;
        EXPECT_EQ(FileBytes(m_path), damaged) << table;
        WriteFileBytes(m_path, whole);
    }
}

TEST_F(RegistryOnLinux, TakesNoMemoryForARowThatCannotBe)
{
    const std::string damaged =
        FileBytes(GoldenFile("../../fuzz/seeds/registry/row-that-claims-4-gib"));
    ASSERT_FALSE(damaged.empty());
    for (const bool isMapped : {false, true}) {
        WriteFileBytes(m_path, damaged);
        EXPECT_TRUE(Held(StartProcess([isMapped] {
            const sqlite3_int64 mapped = isMapped ? 1 << 20 : 0;
            ::sqlite3_shutdown();
            if (::sqlite3_config(SQLITE_CONFIG_MMAP_SIZE, mapped, mapped) != SQLITE_OK)
                return false;
            ::sqlite3_memory_highwater(1);
            return Use() != 0 && ::sqlite3_memory_highwater(0) < 1 << 20;
        }))) << isMapped;
    }
}

TEST_F(RegistryOnLinux, StandsWhereTheEnvironmentSays)
{
    const std::string named = m_folder / "new/named.db", config = m_folder / "config";
    const std::string home = m_folder / "home";
    EXPECT_TRUE(Gives(0, named.c_str(), config.c_str(), home.c_str()));
    EXPECT_TRUE(fs::exists(named) && !fs::exists(config));
    EXPECT_TRUE(Gives(0, nullptr, config.c_str(), home.c_str()));
    EXPECT_TRUE(fs::exists(config + "/qd.core/registry.db") && !fs::exists(home));
    EXPECT_EQ(fs::status(config).permissions(), fs::perms::owner_all);
    EXPECT_TRUE(Gives(0, "", "relative", home.c_str()));
    EXPECT_TRUE(fs::exists(home + "/.config/qd.core/registry.db"));
    EXPECT_TRUE(Gives(kErrorGeneral, nullptr, nullptr, nullptr));
}
