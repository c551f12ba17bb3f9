// Throughput of the character conversions over a few MB of record text: the shipped MARC-8 map,
// UTF-8 out with each normalisation, and UTF-8 in. Figures are MB of input per second.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "charset/CharacterClass.h"
#include "config/CodePage.h"
#include "config/Utf.h"

namespace {

using tesselex::CharacterClass;

constexpr std::size_t kTextBytes = 4 * 1024 * 1024;

// MARC-8 field text with marks, ANSEL letters and delimiters, repeated to the wanted size.
std::u16string Marc8Text() {
    const std::string sample =
        "\x1F"
        "aDe la solitude \xE1"
        "a la communaut\xE2"
        "e /\x1F"
        "cby Paul Tournier ; "
        "transl. \xA1\xF0"
        "od\xE2z, \xB5"
        "ble \xB2"
        "ster\x1E"
        "10\x1F"
        "aSm\xE5"
        "aland "
        "hist\xE2"
        "orica, 1962.\x1E";
    std::string bytes;
    while (bytes.size() < kTextBytes) {
        bytes += sample;
    }
    return tesselex::AnsiToText(bytes);
}

// Unicode record text: Latin letters, composed and decomposed marks, some CJK.
std::u16string UnicodeText() {
    const std::u16string sample =
        u"\u001FaDe la solitude \u00E0 la communaut\u00E9 /\u001FcLo\u0308we, \u0141\u00F3d\u017A"
        u" \u4E2D\u6587 \u00C6ble, Sm\u00E5land \u1E69 e\u0301t\u00E9.\u001E";
    std::u16string text;
    while (text.size() * 2 < kTextBytes) {
        text += sample;
    }
    return text;
}

CharacterClass& Marc8Map() {
    static CharacterClass map = [] {
        CharacterClass loaded;
        // The shipped map, found from this file's place in the source tree.
        const auto root = std::filesystem::path(__FILE__).parent_path().parent_path();
        loaded.Load(tesselex::PathToText(root / "data" / "charmaps" / "MARC8.txt"));
        return loaded;
    }();
    return map;
}

void BM_MapMarc8(benchmark::State& state) {
    const CharacterClass& map = Marc8Map();
    const std::u16string source = Marc8Text().substr(0, static_cast<std::size_t>(state.range(0)));
    if (map.CharacterCount().value_or(0) < 100) {
        state.SkipWithError("MARC-8 map not found");
        return;
    }
    for (auto _ : state) {
        std::u16string text = source;
        map.Map(text);
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(source.size()));
    state.SetComplexityN(state.range(0));
}
// 512 KB to 4 MB: the fitted complexity shows Map stays linear in the text length.
BENCHMARK(BM_MapMarc8)
    ->RangeMultiplier(2)
    ->Range(512 << 10, 4 << 20)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);

void BM_Utf8String(benchmark::State& state) {
    CharacterClass cc;
    const std::u16string source = UnicodeText();
    const auto normalization = static_cast<std::int32_t>(state.range(0));
    for (auto _ : state) {
        std::u16string text = source;
        benchmark::DoNotOptimize(cc.UTF8String(text, normalization).data());
    }
    // Bytes of UTF-16 input.
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(source.size() * 2));
}
BENCHMARK(BM_Utf8String)->Arg(0)->Arg(1)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);

void BM_Ucs2String(benchmark::State& state) {
    CharacterClass cc;
    std::u16string unicode = UnicodeText();
    const std::u16string utf8 = cc.UTF8String(unicode, 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(cc.UCS2String(utf8).data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(utf8.size()));
}
BENCHMARK(BM_Ucs2String)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
