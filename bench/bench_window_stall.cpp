// The longest stall of the window's event loop while the export server holds its reply (10 s
// by default): a 5 ms timer runs on the window's thread during one fetch through the window,
// and the longest gap between its ticks is printed. Offscreen, sample export server on
// 127.0.0.1, a fresh program folder and settings.
// Usage: bench_window_stall [REPLY_SECONDS]

#include <unistd.h>
#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "app/engine/Settings.h"
#include "app/gui/EngineController.h"
#include "app/gui/frmMain.h"
#include "app/sampleserver/SampleExportServer.h"

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const int replySeconds = argc > 1 ? std::atoi(argv[1]) : 10;
    const std::filesystem::path dir =
        std::filesystem::temp_directory_path() / ("tesselex-stall-" + std::to_string(getpid()));
    std::filesystem::create_directories(dir / "home");
    std::filesystem::permissions(dir, std::filesystem::perms::owner_all);
    setenv("TESSELEX_HOME", (dir / "home").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", dir.c_str(), 1);
    QApplication app(argc, argv);

    tesselex::SampleExportServer server(TESSELEX_SOURCE_DATA);
    server.Start();
    server.SetExportDelay(std::chrono::seconds(replySeconds));
    std::ofstream(dir / "home" / "export.url")
        << "[InternetShortcut]\r\nURL=" << server.Address("/config") << "\r\n";
    tesselex::gui::ControllerOptions options;
    const std::filesystem::path ini = dir / "settings.ini";
    (void)tesselex::Settings(ini).StoreSetting(u"Destination", (dir / "out.mrc").u16string());
    options.MakeSettings = [ini] { return std::make_unique<tesselex::Settings>(ini); };
    options.Ask.Message = [](const QString&, const QString&) {};
    tesselex::gui::EngineController controller(options);
    tesselex::gui::frmMain window(controller);
    window.show();
    QSignalSpy started(&controller, &tesselex::gui::EngineController::started);
    controller.Start();
    if (!QTest::qWaitFor([&] { return started.count() > 0; }, 20000)) {
        std::fprintf(stderr, "bench_window_stall: start-up did not finish\n");
        return 1;
    }

    auto* bibId = window.findChild<QLineEdit*>(QStringLiteral("txtBibId"));
    auto* fetch = window.findChild<QPushButton*>(QStringLiteral("Command1"));
    QTest::keyClicks(bibId, QString::fromStdString(server.BibIds().front()));
    if (!QTest::qWaitFor([&] { return fetch->isEnabled(); }, 20000)) {
        std::fprintf(stderr, "bench_window_stall: the fetch button stayed disabled\n");
        return 1;
    }

    QElapsedTimer clock;
    qint64 last = 0;
    qint64 longest = 0;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        const qint64 now = clock.elapsed();
        longest = std::max(longest, now - last);
        last = now;
    });
    QSignalSpy busy(&controller, &tesselex::gui::EngineController::busyChanged);
    clock.start();
    ticker.start(5);
    fetch->click();
    const bool finished =
        QTest::qWaitFor([&] { return busy.count() >= 2; }, (replySeconds + 30) * 1000);
    const qint64 total = clock.elapsed();
    ticker.stop();
    std::printf(
        "reply held %d s; fetch took %.1f s; longest event-loop gap %lld ms "
        "(timer interval 5 ms)\n",
        replySeconds, static_cast<double>(total) / 1000.0, static_cast<long long>(longest));
    server.Stop();
    std::filesystem::remove_all(dir);
    return finished ? 0 : 1;
}
