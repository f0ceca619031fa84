#include "core/profile/BIniProfile.h"
#include "core/profile/BProfile.h"

#include "bench/BenchFile.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#if defined(QD_BENCH_GLIB)
# include <glib.h>
#endif
#if defined(QD_BENCH_QT)
# include <QSettings>
# include <QString>
#endif
#if defined(QD_BENCH_SIMPLEINI)
# define SI_CONVERT_ICU // the only one of its converters that is whole everywhere
# include <SimpleIni.h>
#endif

// One section of keys with numbers, in a UTF-16 file for the library and in UTF-8 for the others.
// Peers read what they hold in memory; the library also makes sure each time that it is still what
// the file holds: one at rest, or one that was changed just now, whose time says nothing yet. A
// write is one value put into the file. A fill begins with an empty file and asks for each key with
// a default: the library writes it at once, peers write all of them at the end.

namespace {

constexpr const char* kFileName = "qd-bench.ini";

std::string KeyName(std::int64_t index)
{
    return "MeasuredValue" + std::to_string(index);
}

std::string Lines(std::int64_t count)
{
    std::string text = "[Probe]\n";
    for (std::int64_t index = 0; index < count; ++index)
        text.append(KeyName(index)).append("=").append(std::to_string(index)).append("\n");
    return text;
}

void WriteNarrow(const BenchFile& file, std::int64_t count)
{
    std::ofstream(file.Narrow(), std::ios::binary) << Lines(count);
}

// `edition` tells the content from that of other ones: in a comment at the end, so that who
// compares finds out last.
void WriteWide(const BenchFile& file, std::int64_t count, char edition = '0')
{
    std::string bytes = "\xFF\xFE";
    for (const char character : Lines(count) + ";" + edition + "\n") {
        if (character == '\n')
            bytes.append("\r\0", 2);
        bytes.append(1, character).push_back('\0');
    }
    std::ofstream(file.Narrow(), std::ios::binary) << bytes;
}

BProfile Open(const BenchFile& file)
{
    BProfile profile(file.Wide(), ProfileReadWrite);
    profile.SetSection(QD_W("Probe"));
    return profile;
}

// The key that the next of many writes changes.
std::int64_t NextKey(benchmark::State& state, std::int64_t& round)
{
    return ++round * 7919 % state.range(0);
}

void ReadAll(BProfile& profile, std::int64_t count)
{
    for (int index = 0; index < count; ++index) {
        if (profile.ReadInt(index, QD_W("MeasuredValue"), -1) != index)
            std::abort();
    }
}

void BM_TextProfileRead(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteWide(file, state.range(0));
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // the file comes to rest
    BProfile profile = Open(file);
    for (auto _ : state)
        ReadAll(profile, state.range(0));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_TextProfileReadYoung(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteWide(file, state.range(0));
    BProfile profile = Open(file);
    char edition = '0';
    for (auto _ : state) {
        state.PauseTiming();
        edition ^= 1;
        WriteWide(file, state.range(0), edition);
        state.ResumeTiming();
        ReadAll(profile, state.range(0));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Parsed anew each time, as after a change by another process.
void BM_TextProfileLoad(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteWide(file, state.range(0));
    BProfile profile = Open(file);
    const int opened = ::open(file.Narrow().c_str(), O_WRONLY | O_CLOEXEC);
    constexpr off_t behind = 3 * 2; // the edition, CR and LF
    const off_t place = ::lseek(opened, 0, SEEK_END) - behind;
    char edition = '0';
    for (auto _ : state) {
        edition ^= 1;
        if (::pwrite(opened, &edition, 1, place) != 1)
            std::abort();
        benchmark::DoNotOptimize(profile.ReadInt(QD_W("MeasuredValue0"), -1));
    }
    ::close(opened);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_TextProfileWrite(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteWide(file, state.range(0));
    BProfile profile = Open(file);
    std::int64_t round = 0;
    for (auto _ : state) {
        const int index = static_cast<int>(NextKey(state, round));
        if (!profile.WriteInt(index, QD_W("MeasuredValue"), static_cast<int>(round)))
            std::abort();
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_TextProfileFill(benchmark::State& state)
{
    const BenchFile file(kFileName);
    for (auto _ : state) {
        BProfile profile(file.Wide(), ProfileNew);
        profile.SetSection(QD_W("Probe"));
        for (int index = 0; index < state.range(0); ++index) {
            if (profile.ReadInt(index, QD_W("MeasuredValue"), index) != index)
                std::abort();
        }
        state.PauseTiming();
        BProfile stored = Open(file);
        ReadAll(stored, state.range(0));
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// What the file system asks for a write: the same bytes in a new file, moved over the old one.
void BM_TextProfileWrite_BareCopy(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteWide(file, state.range(0));
    std::ifstream stream(file.Narrow(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    const std::string sibling = file.Narrow() + ".tmp";
    for (auto _ : state) {
        std::FILE* const copy = std::fopen(sibling.c_str(), "wb");
        if (copy == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), copy) != bytes.size() ||
            std::fclose(copy) != 0 || std::rename(sibling.c_str(), file.Narrow().c_str()) != 0)
            std::abort();
    }
    state.SetItemsProcessed(state.iterations());
}

// What the system asks for telling whether a file is the same: once for each key that is read, as
// each is to be what the file holds. No peer that reads; the least that we can take.
void BM_TextProfileRead_Stat(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteWide(file, state.range(0));
    const std::string path = file.Narrow();
    for (auto _ : state) {
        for (std::int64_t index = 0; index < state.range(0); ++index) {
            struct stat status;
            if (::stat(path.c_str(), &status) != 0 || status.st_size == 0)
                std::abort();
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The same of a file that was just changed: its bytes are asked for once, too, as nothing but they
// tell what it holds now.
void BM_TextProfileReadYoung_Stat(benchmark::State& state)
{
    const BenchFile file(kFileName);
    const std::string path = file.Narrow();
    std::string bytes;
    for (auto _ : state) {
        state.PauseTiming();
        WriteWide(file, state.range(0));
        state.ResumeTiming();
        struct stat status;
        const int opened = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (opened < 0 || ::fstat(opened, &status) != 0)
            std::abort();
        bytes.resize(static_cast<std::size_t>(status.st_size));
        if (::read(opened, bytes.data(), bytes.size()) != status.st_size || ::close(opened) != 0)
            std::abort();
        for (std::int64_t index = 0; index < state.range(0); ++index) {
            if (::stat(path.c_str(), &status) != 0 || status.st_size == 0)
                std::abort();
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

#if defined(QD_BENCH_GLIB)
GKeyFile* LoadKeyFile(const BenchFile& file)
{
    GKeyFile* const keys = g_key_file_new();
    if (!g_key_file_load_from_file(keys, file.Narrow().c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr))
        std::abort();
    return keys;
}

// Also the peer of reading a young file: it never looks whether the file changed.
void BM_TextProfileRead_GKeyFile(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteNarrow(file, state.range(0));
    GKeyFile* const keys = LoadKeyFile(file);
    for (auto _ : state) {
        for (std::int64_t index = 0; index < state.range(0); ++index) {
            if (g_key_file_get_int64(keys, "Probe", KeyName(index).c_str(), nullptr) != index)
                std::abort();
        }
    }
    g_key_file_free(keys);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_TextProfileLoad_GKeyFile(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteNarrow(file, state.range(0));
    for (auto _ : state)
        g_key_file_free(LoadKeyFile(file));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_TextProfileFill_GKeyFile(benchmark::State& state)
{
    const BenchFile file(kFileName);
    for (auto _ : state) {
        GKeyFile* const keys = g_key_file_new();
        for (std::int64_t index = 0; index < state.range(0); ++index) {
            const std::string key = KeyName(index);
            if (!g_key_file_has_key(keys, "Probe", key.c_str(), nullptr))
                g_key_file_set_int64(keys, "Probe", key.c_str(), index);
        }
        if (!g_key_file_save_to_file(keys, file.Narrow().c_str(), nullptr))
            std::abort();
        g_key_file_free(keys);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_TextProfileWrite_GKeyFile(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteNarrow(file, state.range(0));
    GKeyFile* const keys = LoadKeyFile(file);
    std::int64_t round = 0;
    for (auto _ : state) {
        g_key_file_set_int64(keys, "Probe", KeyName(NextKey(state, round)).c_str(), round);
        if (!g_key_file_save_to_file(keys, file.Narrow().c_str(), nullptr))
            std::abort();
    }
    g_key_file_free(keys);
    state.SetItemsProcessed(state.iterations());
}
#endif

#if defined(QD_BENCH_QT)
void BM_TextProfileRead_QSettings(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteNarrow(file, state.range(0));
    QSettings settings(QString::fromStdString(file.Narrow()), QSettings::IniFormat);
    settings.beginGroup("Probe");
    for (auto _ : state) {
        for (std::int64_t index = 0; index < state.range(0); ++index) {
            if (settings.value(QString::fromStdString(KeyName(index))).toInt() != index)
                std::abort();
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_TextProfileFill_QSettings(benchmark::State& state)
{
    const BenchFile file(kFileName);
    for (auto _ : state) {
        std::filesystem::remove(file.Path());
        QSettings settings(QString::fromStdString(file.Narrow()), QSettings::IniFormat);
        settings.beginGroup("Probe");
        for (std::int64_t index = 0; index < state.range(0); ++index) {
            const QString key = QString::fromStdString(KeyName(index));
            if (!settings.contains(key))
                settings.setValue(key, static_cast<int>(index));
        }
        settings.sync();
        if (settings.status() != QSettings::NoError)
            std::abort();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_TextProfileWrite_QSettings(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteNarrow(file, state.range(0));
    QSettings settings(QString::fromStdString(file.Narrow()), QSettings::IniFormat);
    settings.beginGroup("Probe");
    std::int64_t round = 0;
    for (auto _ : state) {
        settings.setValue(QString::fromStdString(KeyName(NextKey(state, round))),
                          static_cast<int>(round));
        settings.sync();
    }
    state.SetItemsProcessed(state.iterations());
}
#endif

#if defined(QD_BENCH_SIMPLEINI)
void BM_TextProfileRead_SimpleIni(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteNarrow(file, state.range(0));
    CSimpleIniA ini;
    ini.LoadFile(file.Narrow().c_str());
    for (auto _ : state) {
        for (std::int64_t index = 0; index < state.range(0); ++index) {
            if (ini.GetLongValue("Probe", KeyName(index).c_str()) != index)
                std::abort();
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_TextProfileLoad_SimpleIni(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteNarrow(file, state.range(0));
    for (auto _ : state) {
        CSimpleIniA ini;
        ini.LoadFile(file.Narrow().c_str());
        benchmark::DoNotOptimize(ini.GetLongValue("Probe", "MeasuredValue0"));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_TextProfileFill_SimpleIni(benchmark::State& state)
{
    const BenchFile file(kFileName);
    for (auto _ : state) {
        CSimpleIniA ini;
        for (std::int64_t index = 0; index < state.range(0); ++index) {
            const std::string key = KeyName(index);
            if (ini.GetValue("Probe", key.c_str()) == nullptr)
                ini.SetLongValue("Probe", key.c_str(), index);
        }
        if (ini.SaveFile(file.Narrow().c_str()) < 0)
            std::abort();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// In place, so that whoever reads meanwhile may see half of it.
void BM_TextProfileWrite_SimpleIni(benchmark::State& state)
{
    const BenchFile file(kFileName);
    WriteNarrow(file, state.range(0));
    CSimpleIniA ini;
    ini.LoadFile(file.Narrow().c_str());
    std::int64_t round = 0;
    for (auto _ : state) {
        ini.SetLongValue("Probe", KeyName(NextKey(state, round)).c_str(), round);
        if (ini.SaveFile(file.Narrow().c_str()) < 0)
            std::abort();
    }
    state.SetItemsProcessed(state.iterations());
}
#endif

#define QD_SIZES ArgName("keys")->RangeMultiplier(10)->Range(100, 10000)
BENCHMARK(BM_TextProfileRead)->QD_SIZES;
BENCHMARK(BM_TextProfileReadYoung)->QD_SIZES;
BENCHMARK(BM_TextProfileRead_Stat)->QD_SIZES;
BENCHMARK(BM_TextProfileReadYoung_Stat)->QD_SIZES;
BENCHMARK(BM_TextProfileLoad)->QD_SIZES;
BENCHMARK(BM_TextProfileWrite)->QD_SIZES->UseRealTime();
BENCHMARK(BM_TextProfileWrite_BareCopy)->QD_SIZES->UseRealTime();
BENCHMARK(BM_TextProfileFill)->QD_SIZES->UseRealTime()->Unit(benchmark::kMillisecond);
#if defined(QD_BENCH_GLIB)
BENCHMARK(BM_TextProfileRead_GKeyFile)->QD_SIZES;
BENCHMARK(BM_TextProfileRead_GKeyFile)->Name("BM_TextProfileReadYoung_GKeyFile")->QD_SIZES;
BENCHMARK(BM_TextProfileFill_GKeyFile)->QD_SIZES->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TextProfileLoad_GKeyFile)->QD_SIZES;
BENCHMARK(BM_TextProfileWrite_GKeyFile)->QD_SIZES->UseRealTime();
#endif
#if defined(QD_BENCH_QT)
BENCHMARK(BM_TextProfileRead_QSettings)->QD_SIZES;
BENCHMARK(BM_TextProfileFill_QSettings)->QD_SIZES->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TextProfileWrite_QSettings)->QD_SIZES->UseRealTime();
#endif
#if defined(QD_BENCH_SIMPLEINI)
BENCHMARK(BM_TextProfileRead_SimpleIni)->QD_SIZES;
BENCHMARK(BM_TextProfileFill_SimpleIni)->QD_SIZES->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TextProfileLoad_SimpleIni)->QD_SIZES;
BENCHMARK(BM_TextProfileWrite_SimpleIni)->QD_SIZES->UseRealTime();
#endif

} // namespace
