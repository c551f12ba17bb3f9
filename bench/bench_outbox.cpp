// What the outbox adds to one export: the entry written durably before the workfile goes, the
// pending append recorded, the destination flushed, the entry removed (each flush included).

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "app/engine/DurableFile.h"
#include "app/engine/Outbox.h"

namespace {

void BM_OutboxPerExport(benchmark::State& state) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / "tesselex-bench-outbox";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    const std::filesystem::path destination = folder / "export.mrc";
    const std::string record(1800, 'x');
    tesselex::Outbox box(folder / "Outbox");
    long n = 0;
    for (auto _ : state) {
        tesselex::OutboxEntry entry;
        entry.BibId = u"1251588" + std::u16string(1, static_cast<char16_t>(u'0' + n++ % 10));
        entry.SavedAt = {2026, 11, 24, 10, 42, 5};
        entry.Request = u"http://127.0.0.1:8080/export?bibid=" + entry.BibId;
        bool ok = box.Put(entry).Ok();  // before the workfile is deleted
        entry.Append = tesselex::PendingAppend{destination, 0, record.size(),
                                               tesselex::ContentHash(record), false};
        ok = ok && box.Put(entry).Ok();  // before the first byte is appended
        std::ofstream(destination, std::ios::binary | std::ios::app) << record;
        ok = ok && tesselex::SyncFile(destination).Ok() && box.Remove(entry.BibId).Ok();
        if (!ok) {
            state.SkipWithError("an outbox write failed");
            break;
        }
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(BM_OutboxPerExport)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
