#include "core/profile/BBinProfile.h"

#include "bench/BenchFile.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#if defined(QD_BENCH_QT)
# include <QDataStream>
# include <QFile>
# include <QHash>
# include <QSaveFile>
# include <QString>
# include <QVariant>
#endif
#if defined(QD_BENCH_SQLITE)
# include "bench/profile/BenchDatabase.h"

# include <unordered_map>
# include <variant>
#endif

// Settings of an application: sections of 100 keys; of four values one each is a number, a double,
// a text and a block of 24 bytes. What was loaded ends outside the measurement.

namespace {

constexpr const char* kFileName = "qd-bench-profile";

constexpr int kKeysInSection = 100;
constexpr int kBlockSize = 24;

std::string SectionName(std::int64_t index)
{
    return "section" + std::to_string(index / kKeysInSection);
}

std::string KeyName(std::int64_t index)
{
    return "measuredvalue" + std::to_string(index % kKeysInSection);
}

std::string MappedKey(std::int64_t index)
{
    std::string key = "[";
    key += SectionName(index);
    key += ']';
    key += KeyName(index);
    return key;
}

std::string TextValue(std::int64_t index)
{
    return "Probe number " + std::to_string(index);
}

/// Saves when it is asked to.
class SavedProfile : public BBinProfile {
public:
    using BBinProfile::BBinProfile;
    [[nodiscard]] bool Save() const { return Write(); }
};

void Fill(BBinProfile& profile, std::int64_t count)
{
    char block[kBlockSize] = {};
    for (std::int64_t index = 0; index < count; ++index) {
        profile.SetSection(BString(SectionName(index).c_str()));
        const WString key = BString(KeyName(index).c_str());
        switch (index % 4) {
        case 0: profile.WriteInt(key, static_cast<int>(index)); break;
        case 1: profile.WriteDouble(key, static_cast<double>(index) / 3); break;
        case 2: profile.WriteString(key, BString(TextValue(index).c_str())); break;
        default: profile.WriteMem(key, block, sizeof block); break;
        }
    }
}

void Count(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_BinProfileSave(benchmark::State& state)
{
    const BenchFile file(kFileName);
    SavedProfile profile(file.Wide(), ProfileNew);
    Fill(profile, state.range(0));
    for (auto _ : state) {
        if (!profile.Save())
            state.SkipWithError("not saved");
    }
    Count(state);
}

// With 10 values: opening a small one.
void BM_BinProfileLoad(benchmark::State& state)
{
    const BenchFile file(kFileName);
    {
        BBinProfile profile(file.Wide(), ProfileNew);
        Fill(profile, state.range(0));
    }
    for (auto _ : state) {
        std::optional<BBinProfile> profile(std::in_place, file.Wide(), ProfileReadOnly);
        if (!profile->ExistsSection(QD_W("section0")))
            state.SkipWithError("not loaded");
        state.PauseTiming();
        profile.reset();
        state.ResumeTiming();
    }
    Count(state);
}

#define QD_SIZES Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond)
BENCHMARK(BM_BinProfileSave)->Arg(10)->QD_SIZES;
BENCHMARK(BM_BinProfileLoad)->Arg(10)->QD_SIZES;

#if defined(QD_BENCH_QT)
QVariant QtValue(std::int64_t index)
{
    switch (index % 4) {
    case 0: return static_cast<int>(index);
    case 1: return static_cast<double>(index) / 3;
    case 2: return QString::fromStdString(TextValue(index));
    default: return QByteArray(kBlockSize, 0);
    }
}

QHash<QString, QVariant> QtValues(std::int64_t count)
{
    QHash<QString, QVariant> values;
    for (std::int64_t index = 0; index < count; ++index)
        values.insert(QString::fromStdString(MappedKey(index)), QtValue(index));
    return values;
}

bool Save(const QHash<QString, QVariant>& values, const std::string& path)
{
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QDataStream stream(&file);
    stream << values;
    return file.flush();
}

void BM_BinProfileSave_QDataStream(benchmark::State& state)
{
    const BenchFile file(kFileName);
    const QHash<QString, QVariant> values = QtValues(state.range(0));
    for (auto _ : state) {
        if (!Save(values, file.Narrow()))
            state.SkipWithError("not saved");
    }
    Count(state);
}

void BM_BinProfileLoad_QDataStream(benchmark::State& state)
{
    const BenchFile file(kFileName);
    if (!Save(QtValues(state.range(0)), file.Narrow()))
        state.SkipWithError("not saved");
    for (auto _ : state) {
        QFile stored(QString::fromStdString(file.Narrow()));
        QHash<QString, QVariant> values;
        if (stored.open(QIODevice::ReadOnly)) {
            QDataStream stream(&stored);
            stream >> values;
        }
        if (values.size() != state.range(0))
            state.SkipWithError("not loaded");
        state.PauseTiming();
        values.clear();
        state.ResumeTiming();
    }
    Count(state);
}

// Beside the old file, synchronised and moved over it, as ours.
void BM_BinProfileSave_QDataStreamSafe(benchmark::State& state)
{
    const BenchFile file(kFileName);
    const QHash<QString, QVariant> values = QtValues(state.range(0));
    for (auto _ : state) {
        QSaveFile saved(QString::fromStdString(file.Narrow()));
        bool isSaved = saved.open(QIODevice::WriteOnly);
        QDataStream stream(&saved);
        stream << values;
        isSaved = isSaved && saved.commit();
        if (!isSaved)
            state.SkipWithError("not saved");
    }
    Count(state);
}

BENCHMARK(BM_BinProfileSave_QDataStream)->Arg(10)->QD_SIZES;
BENCHMARK(BM_BinProfileSave_QDataStreamSafe)->Arg(10)->QD_SIZES;
BENCHMARK(BM_BinProfileLoad_QDataStream)->Arg(10)->QD_SIZES;
#endif

#if defined(QD_BENCH_SQLITE)
class Database {
public:
    explicit Database(const std::string& path)
    {
        if (sqlite3_open(path.c_str(), &m_database) != SQLITE_OK)
            std::abort();
        RunSql(m_database,
               "CREATE TABLE IF NOT EXISTS settings(name TEXT PRIMARY KEY, value) WITHOUT ROWID");
    }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database() { sqlite3_close(m_database); }

    void Save(std::int64_t count)
    {
        RunSql(m_database, "BEGIN; DELETE FROM settings");
        sqlite3_stmt* insert = PrepareSql(m_database, "INSERT INTO settings VALUES(?, ?)");
        const char block[kBlockSize] = {};
        for (std::int64_t index = 0; index < count; ++index) {
            const std::string name = MappedKey(index);
            sqlite3_bind_text(insert, 1, name.c_str(), -1, SQLITE_TRANSIENT);
            switch (index % 4) {
            case 0: sqlite3_bind_int64(insert, 2, index); break;
            case 1: sqlite3_bind_double(insert, 2, static_cast<double>(index) / 3); break;
            case 2:
                sqlite3_bind_text(insert, 2, TextValue(index).c_str(), -1, SQLITE_TRANSIENT);
                break;
            default: sqlite3_bind_blob(insert, 2, block, kBlockSize, SQLITE_STATIC); break;
            }
            sqlite3_step(insert);
            sqlite3_reset(insert);
        }
        sqlite3_finalize(insert);
        RunSql(m_database, "COMMIT");
    }

    using Values = std::unordered_map<std::string, std::variant<std::int64_t, double, std::string>>;

    Values Load()
    {
        Values values;
        sqlite3_stmt* select = PrepareSql(m_database, "SELECT name, value FROM settings");
        while (sqlite3_step(select) == SQLITE_ROW)
            values.emplace(Bytes(select, 0), Value(select));
        sqlite3_finalize(select);
        return values;
    }

private:
    static std::string Bytes(sqlite3_stmt* row, int column)
    {
        const auto* const start = static_cast<const char*>(sqlite3_column_blob(row, column));
        return {start, start + sqlite3_column_bytes(row, column)};
    }
    static Values::mapped_type Value(sqlite3_stmt* row)
    {
        switch (sqlite3_column_type(row, 1)) {
        case SQLITE_INTEGER: return std::int64_t{sqlite3_column_int64(row, 1)};
        case SQLITE_FLOAT: return sqlite3_column_double(row, 1);
        default: return Bytes(row, 1);
        }
    }

    sqlite3* m_database = nullptr;
};

void BM_BinProfileSave_SQLite(benchmark::State& state)
{
    const BenchFile file(kFileName);
    Database database(file.Narrow());
    for (auto _ : state)
        database.Save(state.range(0));
    Count(state);
}

void BM_BinProfileLoad_SQLite(benchmark::State& state)
{
    const BenchFile file(kFileName);
    Database(file.Narrow()).Save(state.range(0));
    for (auto _ : state) {
        Database::Values values = Database(file.Narrow()).Load();
        if (values.size() != static_cast<std::size_t>(state.range(0)))
            state.SkipWithError("not loaded");
        state.PauseTiming();
        values.clear();
        state.ResumeTiming();
    }
    Count(state);
}

BENCHMARK(BM_BinProfileSave_SQLite)->QD_SIZES;
BENCHMARK(BM_BinProfileLoad_SQLite)->QD_SIZES;
#endif

} // namespace
