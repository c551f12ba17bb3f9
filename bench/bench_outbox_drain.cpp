// How long 100 exports saved while the export server was away take to go out once it is back:
// the engine (its clock driven here) against the sample export server on loopback. Prints the
// wait on the engine's clock until the next try and the real time of the delivery itself.

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "app/engine/ExportEngine.h"
#include "app/engine/Settings.h"
#include "app/sampleserver/SampleExportServer.h"
#include "config/Utf.h"

namespace {

std::string Record(const std::string& bibId, char type) {
    const std::string field = bibId + '\x1E';
    const std::string directory = "001" + std::string(4 - std::to_string(field.size()).size(), '0') +
                                  std::to_string(field.size()) + "00000";
    const std::size_t base = 24 + directory.size() + 1;
    const std::size_t length = base + field.size() + 1;
    char leader[32];
    std::snprintf(leader, sizeof leader, "%05zun%c  a22%05zu1n 4500", length, type, base);
    return leader + directory + '\x1E' + field + '\x1D';
}

}  // namespace

int main() {
    using namespace tesselex;
    const std::filesystem::path dir =
        std::filesystem::temp_directory_path() / "tesselex-bench-outbox-drain";
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir / "home");
    SampleExportServer server(TESSELEX_SOURCE_DATA);
    server.Start();
    const int port = server.Port();
    std::ofstream(dir / "home" / "export.url")
        << "[InternetShortcut]\r\nURL=" << server.Address("/config") << "\r\n";
    Settings settings(dir / "settings.ini");
    (void)settings.StoreSetting(SettingKey::Destination, PathToText(dir / "out.mrc"));
    const std::filesystem::path workfile = dir / "hold.wrk";
    long long now = SecondsOf({2026, 11, 25, 10, 0, 0});
    EngineSeams seams;
    seams.ProgramFolder = dir / "home";
    seams.Now = [&now] { return DateTimeOf(now); };
    seams.VoyagerWorkFile = [&workfile](std::u16string_view) { return PathToText(workfile); };
    ExportEngine engine(settings, seams);
    engine.Start();
    server.Stop();
    for (int i = 0; i < 100; ++i) {
        const std::string id = std::to_string(400001 + i);
        server.SetReply(id, Record(id, 'a') + Record(id, 'x'));
        std::ofstream(workfile, std::ios::binary) << Record(id, 'x').replace(24, 3, "004");
        ++now;
        engine.Poll();
    }
    server.Start(port);
    const long long back = now;
    const auto start = std::chrono::steady_clock::now();
    while (!engine.Waiting().empty() && now - back < 600) {
        ++now;
        engine.Poll();
    }
    const double ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    std::printf("waiting after the outage: 100; still waiting: %zu\n", engine.Waiting().size());
    std::printf("engine-clock wait from the server's return to the last delivery: %lld s\n",
                now - back);
    std::printf("real time of the polls that delivered them: %.0f ms (%.2f ms per export)\n", ms,
                ms / 100);
    std::filesystem::remove_all(dir);
    return engine.Waiting().empty() ? 0 : 1;
}
