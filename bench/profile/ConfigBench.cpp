#include "core/platform/WideText.h"
#include "core/profile/BConfigRegistry.h"

#include "bench/BenchFile.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#if defined(QD_BENCH_QT)
# include <QSettings>
# include <QString>
# include <QTemporaryDir>
#endif
#if defined(QD_BENCH_SQLITE)
# include "bench/profile/BenchDatabase.h"
#endif

// One value at a time among `values` of them in one node, in random order. Each write is through
// when it returns: another process reads it.

namespace {

template <class Text>
Text Widen(const std::string& text)
{
    const platform::WideText units(text.begin(), text.end());
#if defined(QD_BENCH_QT)
    if constexpr (std::is_same_v<Text, QString>)
        return QString::fromUtf16(units.c_str());
    else
#endif
        return Text(units.c_str());
}

template <class Text>
std::vector<Text> Names(std::int64_t count)
{
    std::vector<Text> names;
    for (std::int64_t index = 0; index < count; ++index)
        names.push_back(Widen<Text>("Probe head " + std::to_string(index)));
    std::mt19937 random(1);
    for (std::size_t left = names.size(); left > 1; --left)
        std::swap(names[left - 1], names[random() % left]);
    return names;
}

// `use(name, number)` with the names in turn.
template <class Text, class Use>
void UseInTurn(benchmark::State& state, const std::vector<Text>& names, Use use)
{
    std::size_t next = 0;
    int number = 0;
    for (auto _ : state) {
        if (!use(names[next], ++number)) {
            state.SkipWithError("failed");
            break;
        }
        next = next + 1 < names.size() ? next + 1 : 0;
    }
    state.SetItemsProcessed(state.iterations());
}

// The user's own registry stays as it is but for this key, which off Windows is in a file of its
// own if `QD_REGISTRY` says so.
constexpr const WChar* kPath = QD_W("Software\\qd.core benchmark");

void Fill(BConfig& config, const std::vector<WString>& names)
{
    for (const WString& name : names)
        config.WriteInt(name, 0);
}

void Sizes(benchmark::internal::Benchmark* bench)
{
    bench->ArgName("values")->Arg(10)->Arg(1'000)->Arg(10'000);
}

void BM_ConfigWrite(benchmark::State& state)
{
    const std::vector<WString> names = Names<WString>(state.range(0));
    BConfigRegistry config(kPath);
    Fill(config, names);
    UseInTurn(state, names,
              [&](const WString& name, int number) { return config.WriteInt(name, number) == 0; });
}

void BM_ConfigRead(benchmark::State& state)
{
    const std::vector<WString> names = Names<WString>(state.range(0));
    BConfigRegistry config(kPath);
    Fill(config, names);
    UseInTurn(state, names, [&](const WString& name, int) {
        int value = -1;
        return config.ReadInt(name, value) == 0 && value == 0;
    });
}

// A read that follows a write of another value, as in use.
void BM_ConfigWriteAndRead(benchmark::State& state)
{
    const std::vector<WString> names = Names<WString>(state.range(0));
    BConfigRegistry config(kPath);
    Fill(config, names);
    UseInTurn(state, names, [&](const WString& name, int number) {
        int value = 0;
        return config.WriteInt(names.front(), number) == 0 && config.ReadInt(name, value) == 0;
    });
}

void BM_ConfigOpen(benchmark::State& state)
{
    for (auto _ : state)
        BConfigRegistry config(kPath);
}

#if defined(QD_BENCH_QT)

QString File(const QTemporaryDir& folder)
{
    return folder.filePath("settings.ini");
}

void Fill(QSettings& settings, const std::vector<QString>& names)
{
    for (const QString& name : names)
        settings.setValue(name, 0);
    settings.sync();
}

void BM_ConfigWrite_QSettings(benchmark::State& state)
{
    const QTemporaryDir folder;
    const std::vector<QString> names = Names<QString>(state.range(0));
    QSettings settings(File(folder), QSettings::IniFormat);
    Fill(settings, names);
    UseInTurn(state, names, [&](const QString& name, int number) {
        settings.setValue(name, number);
        settings.sync();
        return settings.status() == QSettings::NoError;
    });
}

// From the memory of the process: what others write is not seen.
void BM_ConfigRead_QSettings(benchmark::State& state)
{
    const QTemporaryDir folder;
    const std::vector<QString> names = Names<QString>(state.range(0));
    QSettings settings(File(folder), QSettings::IniFormat);
    Fill(settings, names);
    UseInTurn(state, names, [&](const QString& name, int) {
        bool isNumber = false;
        return settings.value(name).toInt(&isNumber) == 0 && isNumber;
    });
}

// As up to date as ours.
void BM_ConfigReadCurrent_QSettings(benchmark::State& state)
{
    const QTemporaryDir folder;
    const std::vector<QString> names = Names<QString>(state.range(0));
    QSettings settings(File(folder), QSettings::IniFormat);
    Fill(settings, names);
    UseInTurn(state, names, [&](const QString& name, int) {
        bool isNumber = false;
        settings.sync();
        return settings.value(name).toInt(&isNumber) == 0 && isNumber;
    });
}

BENCHMARK(BM_ConfigWrite_QSettings)->Apply(Sizes)->UseRealTime();
BENCHMARK(BM_ConfigRead_QSettings)->Apply(Sizes);
BENCHMARK(BM_ConfigReadCurrent_QSettings)->Apply(Sizes);
#endif

#if defined(QD_BENCH_SQLITE)

// The database that suits best: a table by name, a log, and statements that are made once.
class Database {
public:
    explicit Database(const std::vector<WString>& names)
    {
        if (sqlite3_open(m_file.Narrow().c_str(), &m_database) != SQLITE_OK)
            std::abort();
        RunSql(
            m_database,
            "PRAGMA encoding = 'UTF-16le'; PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;"
            "CREATE TABLE settings (name TEXT PRIMARY KEY, value INTEGER) WITHOUT ROWID; BEGIN");
        m_write = PrepareSql(m_database, "INSERT OR REPLACE INTO settings VALUES (?, ?)");
        m_read = PrepareSql(m_database, "SELECT value FROM settings WHERE name = ?");
        for (const WString& name : names)
            Write(name, 0);
        RunSql(m_database, "COMMIT");
    }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database()
    {
        sqlite3_finalize(m_write);
        sqlite3_finalize(m_read);
        sqlite3_close(m_database);
    }

    bool Write(const WString& name, int value)
    {
        sqlite3_bind_text16(m_write, 1, name.CStr(), -1, SQLITE_STATIC);
        sqlite3_bind_int(m_write, 2, value);
        return sqlite3_step(m_write) == SQLITE_DONE && sqlite3_reset(m_write) == SQLITE_OK;
    }

    int Read(const WString& name)
    {
        sqlite3_bind_text16(m_read, 1, name.CStr(), -1, SQLITE_STATIC);
        const int value = sqlite3_step(m_read) == SQLITE_ROW ? sqlite3_column_int(m_read, 0) : -1;
        sqlite3_reset(m_read);
        return value;
    }

private:
    const BenchFile m_file{"settings"};
    sqlite3* m_database = nullptr;
    sqlite3_stmt* m_write = nullptr;
    sqlite3_stmt* m_read = nullptr;
};

void BM_ConfigWrite_SQLite(benchmark::State& state)
{
    const std::vector<WString> names = Names<WString>(state.range(0));
    Database database(names);
    UseInTurn(state, names,
              [&](const WString& name, int number) { return database.Write(name, number); });
}

void BM_ConfigRead_SQLite(benchmark::State& state)
{
    const std::vector<WString> names = Names<WString>(state.range(0));
    Database database(names);
    UseInTurn(state, names, [&](const WString& name, int) { return database.Read(name) == 0; });
}

BENCHMARK(BM_ConfigWrite_SQLite)->Apply(Sizes)->UseRealTime();
BENCHMARK(BM_ConfigRead_SQLite)->Apply(Sizes);
#endif

BENCHMARK(BM_ConfigWrite)->Apply(Sizes)->UseRealTime();
BENCHMARK(BM_ConfigRead)->Apply(Sizes);
BENCHMARK(BM_ConfigWriteAndRead)->Apply(Sizes)->UseRealTime();
BENCHMARK(BM_ConfigOpen)->UseRealTime();

} // namespace
