#include "core/language/BLanguageMap.h"
#include "core/platform/WideText.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <string>
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

void BM_LanguageImport(benchmark::State& state)
{
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "qd-bench.lng";
    {
        BLanguageMap map;
        Fill(map, Entries(state.range(0), kSeparators[state.range(1)]));
        if (map.ExportMapFile(path.string<WChar>().c_str()) != 0)
            std::abort();
    }
    const WString name = path.string<WChar>().c_str();
    for (auto _ : state) {
        BLanguageMap map;
        WString log;
        if (map.ImportMapFile(name, &log, false, true) != 0)
            state.SkipWithError("not imported");
        state.PauseTiming(); // what the import takes, without the end of the map
        map.Clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    std::filesystem::remove(path);
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

#if defined(QD_BENCH_QT)
void BM_LanguageTranslate_QHash(benchmark::State& state)
{
    const std::vector<Entry> entries = Entries(state.range(0), "_");
    QHash<QString, QString> map;
    for (const Entry& entry : entries)
        map.insert(QString::fromUtf16(entry.key.c_str()), QString::fromUtf16(entry.text.c_str()));
    Ask(state, Questions<QString>(entries), [&map](const QString& key) { return map.value(key); });
}
BENCHMARK(BM_LanguageTranslate_QHash)->Arg(1000)->Arg(30000)->Arg(1000000);
#endif

BENCHMARK(BM_LanguageImport)
    ->ArgNames({"entries", "hasUnderscore"})
    ->ArgsProduct({{1000, 10000, 100000}, {0, 1}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LanguageTranslate)->Arg(1000)->Arg(30000)->Arg(1000000);
BENCHMARK(BM_LanguageTranslate_StdMap)->Arg(1000)->Arg(30000)->Arg(1000000);

} // namespace
