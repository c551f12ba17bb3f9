// Record import, export and reading a stream of records, on records shaped like real ones
// (a leader, control fields, twenty-odd data fields of a few subfields each).
#include <benchmark/benchmark.h>

#include <sstream>
#include <string>

#include "config/CodePage.h"
#include "config/Strings.h"
#include "marc/MarcObject.h"
#include "marc/MarcObjectFields.h"
#include "marc/RecordReader.h"

namespace {

using tesselex::MarcObject;

std::u16string SampleRecord() {
    MarcObject record;
    const std::u16string sf(1, char16_t{31});
    auto* fields = record.MarcFields().get();
    fields->Add(1, u"", u"", u"ocm12345678", false, false);
    fields->Add(5, u"", u"", u"20120121010617.0", false, false);
    fields->Add(8, u"", u"", u"110824r20122011meu     d     000 1 eng  ", true, false);
    fields->Add(20, u" ", u" ", sf + u"a9781410442345" + sf + u"q(hardcover)", false, false);
    fields->Add(100, u"1", u" ", sf + u"aStrindberg, August," + sf + u"d1849-1912.", false, false);
    fields->Add(245, u"1", u"4",
                sf + u"aThe red room :" + sf + u"bscenes of artistic and literary life /" + sf +
                    u"cAugust Strindberg.",
                false, false);
    fields->Add(260, u" ", u" ", sf + u"aLondon :" + sf + u"bDent,", false, false);
    fields->Add(300, u" ", u" ", sf + u"a334 p. ;" + sf + u"c19 cm.", false, false);
    for (int i = 0; i < 8; ++i) {
        fields->Add(500, u" ", u" ",
                    sf + u"aA note of some length about the edition, number " +
                        tesselex::FormatNumber(i, 1) + u".",
                    false, false);
        fields->Add(
            650, u" ", u"0",
            sf + u"aSwedish fiction" + sf + u"y19th century" + sf + u"vTranslations into English.",
            false, false);
    }
    return record.Export(2, 0);
}

void BM_Import(benchmark::State& state) {
    const std::u16string iso = SampleRecord();
    MarcObject record;
    for (auto _ : state) {
        record.Import(iso);
        benchmark::DoNotOptimize(record.FieldCount());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(iso.size()));
}
BENCHMARK(BM_Import);

void BM_Export(benchmark::State& state) {
    MarcObject record;
    record.Import(SampleRecord());
    for (auto _ : state) {
        benchmark::DoNotOptimize(record.Export(static_cast<int>(state.range(0)), 1));
    }
}
BENCHMARK(BM_Export)->Arg(2)->Arg(3);

void BM_ReadStream(benchmark::State& state) {
    const std::string one = tesselex::TextToAnsi(SampleRecord());
    std::string all;
    for (int i = 0; i < 1000; ++i) {
        all += one;
    }
    for (auto _ : state) {
        std::istringstream in(all);
        tesselex::RecordReader reader(in);
        std::string_view bytes;
        std::uint64_t offset = 0;
        int count = 0;
        while (reader.Next(bytes, offset)) {
            ++count;
        }
        benchmark::DoNotOptimize(count);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(all.size()));
}
BENCHMARK(BM_ReadStream);

}  // namespace
BENCHMARK_MAIN();
