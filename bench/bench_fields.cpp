// Building a record's fields and looking every occurrence up again. Growth from 100 to 1000
// fields should be close to tenfold for both a record of (mostly) distinct tags and a record
// of one repeated tag.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "config/EmptyOnFailure.h"
#include "config/Error.h"
#include "marc/MarcObjectFields.h"

namespace {

using tesselex::MarcObjectFields;

const std::u16string kValue = u"\\aSubject heading\\xGeneral subdivision\\2sao";

// Tags 1..999 in turn: distinct up to 999 fields.
int DistinctTag(int i) {
    return i % MarcObjectFields::MaxTag + 1;
}

void LookUpAll(const MarcObjectFields& fields, const std::vector<int>& tags) {
    for (int tag : tags) {
        const int count = fields.TagOcc(tag);
        for (int occ = 1; occ <= count; ++occ) {
            benchmark::DoNotOptimize(fields.Field(tag, occ));
        }
    }
}

void BM_AddAndLookUpDistinctTags(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    std::vector<int> tags;
    for (int i = 0; i < n && i < MarcObjectFields::MaxTag; ++i) {
        tags.push_back(DistinctTag(i));
    }
    for (auto _ : state) {
        MarcObjectFields fields;
        for (int i = 0; i < n; ++i) {
            fields.Add(DistinctTag(i), u"", u"0", kValue);
        }
        LookUpAll(fields, tags);
    }
    state.SetItemsProcessed(state.iterations() * n);
}

void BM_AddAndLookUpRepeatedTag(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::vector<int> tags = {650};
    for (auto _ : state) {
        MarcObjectFields fields;
        for (int i = 0; i < n; ++i) {
            fields.Add(650, u"", u"0", kValue);
        }
        LookUpAll(fields, tags);
    }
    state.SetItemsProcessed(state.iterations() * n);
}

// The occurrences of the repeated tag looked up last to first.
void BM_LookUpRepeatedTagBackwards(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    MarcObjectFields fields;
    for (int i = 0; i < n; ++i) {
        fields.Add(650, u"", u"0", kValue);
    }
    for (auto _ : state) {
        for (int occ = n; occ >= 1; --occ) {
            benchmark::DoNotOptimize(fields.Field(650, occ));
        }
    }
    state.SetItemsProcessed(state.iterations() * n);
}

// What an import followed by an export does with each field: add it from record text, then
// read its indicators and text form back.
void BM_ImportExportRoundTrip(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    for (auto _ : state) {
        MarcObjectFields fields;
        for (int i = 0; i < n; ++i) {
            fields.Add(DistinctTag(i), u"1", u"0", kValue);
        }
        for (const auto& field : fields) {
            benchmark::DoNotOptimize(field->Indicator(1));
            benchmark::DoNotOptimize(field->Indicator(2));
            benchmark::DoNotOptimize(field->Value());
        }
    }
    state.SetItemsProcessed(state.iterations() * n);
}

// A malformed record with more fields than the index holds: every field past the limit is
// refused by the index (and kept), which must cost no more than adding it.
void BM_AddPastTheIndexLimit(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    for (auto _ : state) {
        MarcObjectFields fields;
        for (int i = 0; i < n; ++i) {
            tesselex::EmptyOnFailure([&] { fields.Add(650, u"", u"0", kValue); });
        }
        benchmark::DoNotOptimize(fields.Count());
    }
    state.SetItemsProcessed(state.iterations() * n);
}

BENCHMARK(BM_AddAndLookUpDistinctTags)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(BM_AddAndLookUpRepeatedTag)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(BM_LookUpRepeatedTagBackwards)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(BM_ImportExportRoundTrip)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(BM_AddPastTheIndexLimit)->Arg(1500)->Arg(3000)->Arg(15000);

}  // namespace

BENCHMARK_MAIN();
