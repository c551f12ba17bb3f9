// Loading and querying configuration text at sizes far beyond real request tables, to show that
// loading stays linear (items per second should hold steady as the text grows), and the cost of
// URL encoding and date patterns per call.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "config/CfgClass.h"
#include "config/CodePage.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace {

using namespace tesselex;

// `sections` sections of `perSection` keys each, CR LF lines.
std::u16string ConfigText(int sections, int perSection) {
    std::u16string text;
    for (int s = 0; s < sections; ++s) {
        text += u"[Section" + FormatNumber(s, 1) + u"]\r\n";
        for (int k = 0; k < perSection; ++k) {
            text += u"Nyckel" + FormatNumber(k, 3) + u"=värde " + FormatNumber(s * k, 1) + u"\r\n";
        }
    }
    return text;
}

void BM_LoadFromString(benchmark::State& state) {
    const int items = static_cast<int>(state.range(0));
    const std::u16string text = ConfigText(items / 100, 100);
    for (auto _ : state) {
        CfgClass cfg;
        cfg.LoadFromString(text);
        benchmark::DoNotOptimize(cfg.Item(1));
    }
    state.SetItemsProcessed(state.iterations() * items);
}
BENCHMARK(BM_LoadFromString)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_LoadFile(benchmark::State& state) {
    const int items = static_cast<int>(state.range(0));
    const Outcome<std::filesystem::path> file = NewTempFile(u"bench");
    if (!file || !WriteFileContents(file.Value(), ConfigText(items / 100, 100))) {
        state.SkipWithError("the configuration file could not be written");
        return;
    }
    const std::filesystem::path& path = file.Value();
    for (auto _ : state) {
        CfgClass cfg;
        cfg.Load(PathToText(path));
        benchmark::DoNotOptimize(cfg.Item(1));
    }
    state.SetItemsProcessed(state.iterations() * items);
    std::filesystem::remove(path);
}
BENCHMARK(BM_LoadFile)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_ItemLookup(benchmark::State& state) {
    CfgClass cfg;
    cfg.LoadFromString(ConfigText(100, 100));
    int i = 0;
    for (auto _ : state) {
        const std::u16string key =
            u"SECTION" + FormatNumber(i % 100, 1) + u"\\nyckel" + FormatNumber(i % 100, 3);
        benchmark::DoNotOptimize(cfg.Item(key));
        ++i;
    }
}
BENCHMARK(BM_ItemLookup);

void BM_UrlEncode(benchmark::State& state) {
    const std::u16string text = u"Ämnesord för svenska bibliotek: 650 & 651 / SAB-rubriker";
    for (auto _ : state) {
        benchmark::DoNotOptimize(UrlEncode(text));
    }
}
BENCHMARK(BM_UrlEncode);

void BM_ExpandDatePatterns(benchmark::State& state) {
    const DateTime at{2026, 3, 3, 14, 5, 9};
    for (auto _ : state) {
        benchmark::DoNotOptimize(ExpandDatePatterns(u"|%MMDDHHMMSS%.mrc", at));
    }
}
BENCHMARK(BM_ExpandDatePatterns);

}  // namespace

BENCHMARK_MAIN();
