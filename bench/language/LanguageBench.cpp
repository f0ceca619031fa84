#include "core/language/BLanguageMap.h"
#include "core/platform/WideText.h"

#include "bench/BenchFile.h"
#include "bench/ColdJob.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#if defined(QD_BENCH_QT)
# include <QHash>
# include <QString>
#endif

namespace {

using platform::WideText;

struct Entry {
    WideText key, defaultText, text;
};

WideText Widen(const std::string& text)
{
    return {text.begin(), text.end()};
}

// `separator` stands in every key; with "" all keys are plain.
std::vector<Entry> Entries(std::int64_t count, const std::string& separator)
{
    std::vector<Entry> entries;
    std::mt19937 random(1);
    for (std::int64_t index = 0; index < count; ++index) {
        const std::string number = std::to_string(index);
        entries.push_back({Widen("$IDS" + separator + "Message" + number),
                           Widen("The probe has reached position " + number),
                           Widen("Der Taster hat die Position " + number + " erreicht")});
    }
    for (std::size_t left = entries.size(); left > 1; --left)
        std::swap(entries[left - 1], entries[random() % left]);
    return entries;
}

void Fill(BLanguageMap& map, const std::vector<Entry>& entries)
{
    for (const auto& [key, defaultText, text] : entries)
        map.Add(key.c_str(), defaultText.c_str(), text.c_str(), false, true);
}

const char* const kSeparators[] = {"", "_"};

// The file is made by another process, so that the import is the first that this one does.
template <class Import>
void MeasureImport(benchmark::State& state, Import import)
{
    const BenchFile file("language");
    InChild([&] {
        BLanguageMap map;
        Fill(map, Entries(state.range(0), kSeparators[state.range(1)]));
        if (map.ExportMapFile(file.Wide()) != 0)
            std::abort();
    });
    const auto map = ColdJob(state).Run(state.range(0), [&] { return import(file); });
    for (const Entry& entry : Entries(state.range(0), kSeparators[state.range(1)])) {
        if (WideText(map->Translate(entry.key.c_str()).CStr()) != entry.text)
            state.SkipWithError("not imported");
    }
}

void BM_LanguageImport(benchmark::State& state)
{
    MeasureImport(state, [](const BenchFile& file) {
        auto map = std::make_unique<BLanguageMap>();
        WString log;
        if (map->ImportMapFile(file.Wide(), &log, false, true) != 0)
            std::abort();
        return map;
    });
}

/// Keys and their pairs of texts, cut from the lines at tabs, without any check.
class PlainMap {
public:
    explicit PlainMap(const std::filesystem::path& path)
    {
        WideText units(std::filesystem::file_size(path) / sizeof(WChar), QD_W(' '));
        std::ifstream file(path, std::ios::binary);
        file.read(reinterpret_cast<char*>(units.data()),
                  static_cast<std::streamsize>(units.size() * sizeof(WChar)));
        for (std::size_t start = 1; start < units.size();) { // behind the byte order mark
            const std::size_t key = units.find(QD_W('\t'), start);
            const std::size_t text = units.find(QD_W('\t'), key + 1);
            const std::size_t end = units.find(QD_W('\r'), text + 1);
            m_texts.emplace(units.substr(start, key - start),
                            std::pair(units.substr(key + 1, text - key - 1),
                                      units.substr(text + 1, end - text - 1)));
            start = end + 2;
        }
    }

    [[nodiscard]] WString Translate(const WideText& key) const
    {
        const auto found = m_texts.find(key);
        return found != m_texts.end() ? found->second.second.c_str() : QD_W("");
    }

private:
    std::map<WideText, std::pair<WideText, WideText>> m_texts;
};

void BM_LanguageImport_StdMap(benchmark::State& state)
{
    MeasureImport(state,
                  [](const BenchFile& file) { return std::make_unique<PlainMap>(file.Path()); });
}

// The keys in another order than they were added in, and texts of their own.
template <class Text>
std::vector<Text> Questions(const std::vector<Entry>& entries)
{
    std::vector<Text> questions;
    for (const Entry& entry : entries) {
#if defined(QD_BENCH_QT)
        if constexpr (std::is_same_v<Text, QString>) {
            questions.push_back(QString::fromUtf16(entry.key.c_str()));
            continue;
        } else
#endif
            questions.push_back(Text(entry.key.c_str()));
    }
    std::mt19937 random(2);
    for (std::size_t left = questions.size(); left > 1; --left)
        std::swap(questions[left - 1], questions[random() % left]);
    return questions;
}

template <class Text, class Look>
void Ask(benchmark::State& state, const std::vector<Text>& questions, Look look)
{
    for (auto _ : state) {
        for (const Text& question : questions) {
            Text answer = look(question);
            benchmark::DoNotOptimize(answer);
            if (answer == Text()) // the texts are checked where they are imported
                state.SkipWithError("not found");
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_LanguageTranslate(benchmark::State& state)
{
    const std::vector<Entry> entries = Entries(state.range(0), "_");
    BLanguageMap map;
    Fill(map, entries);
    Ask(state, Questions<WString>(entries),
        [&map](const WString& key) { return map.Translate(key); });
}

void BM_LanguageTranslate_StdMap(benchmark::State& state)
{
    const std::vector<Entry> entries = Entries(state.range(0), "_");
    std::map<WideText, WideText> map;
    for (const Entry& entry : entries)
        map.emplace(entry.key, entry.text);
    Ask(state, Questions<WideText>(entries),
        [&map](const WideText& key) { return map.find(key)->second; });
}

void KeyCounts(benchmark::internal::Benchmark* bench)
{
    bench->ArgName("keys")->Arg(1'000)->Arg(10'000)->Arg(100'000);
}

#if defined(QD_BENCH_QT)
void BM_LanguageTranslate_QHash(benchmark::State& state)
{
    const std::vector<Entry> entries = Entries(state.range(0), "_");
    QHash<QString, QString> map;
    for (const Entry& entry : entries)
        map.insert(QString::fromUtf16(entry.key.c_str()), QString::fromUtf16(entry.text.c_str()));
    Ask(state, Questions<QString>(entries), [&map](const QString& key) { return map.value(key); });
}
BENCHMARK(BM_LanguageTranslate_QHash)->Apply(KeyCounts);
#endif

void ImportSizes(benchmark::internal::Benchmark* bench)
{
    bench->ArgNames({"lines", "underscores"})->ArgsProduct({{1'000, 10'000, 100'000}, {0, 1}});
    bench->Iterations(1)->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_LanguageImport)->Apply(ImportSizes);
BENCHMARK(BM_LanguageImport_StdMap)->Apply(ImportSizes);
BENCHMARK(BM_LanguageTranslate)->Apply(KeyCounts);
BENCHMARK(BM_LanguageTranslate_StdMap)->Apply(KeyCounts);

} // namespace
