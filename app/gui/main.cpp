// tesselex: the export client on the desktop. Without an argument it sits in the notification
// area; with any argument it shows its window at once. A second start shows the running one.

#include <QApplication>
#include <cstring>
#include <iostream>

#include "app/Version.h"
#include "app/gui/AppIcons.h"
#include "app/gui/MainProgram.h"
#include "app/gui/SessionEnd.h"
#include "app/gui/StopSignals.h"

int main(int argc, char** argv) {
    // Answered before any display is opened, so that it works on a machine without one.
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::cout << "tesselex " << tesselex::kVersion << '\n';
        return 0;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tesselex"));
    QApplication::setWindowIcon(tesselex::gui::AppIcon());
    // The window hides instead of closing; only "Avsluta", the end of the session and the end
    // signals end the program.
    QApplication::setQuitOnLastWindowClosed(false);

    tesselex::gui::ProgramOptions options;
    options.Arguments = QApplication::arguments().mid(1);
    options.Controller.Ask = tesselex::gui::DesktopPrompts();
    options.Controller.DisplayConfig = tesselex::gui::DefaultDisplayConfig();
    options.Controller.MachinePolicy = tesselex::Policy::Machine();
    tesselex::gui::MainProgram program(std::move(options));
    if (!program.Start()) {
        return 0;
    }
    const auto session = tesselex::gui::EndWithTheSession(program);
    tesselex::gui::StopSignals stop;
    QObject::connect(&stop, &tesselex::gui::StopSignals::stopRequested, &program,
                     &tesselex::gui::MainProgram::Quit);
    QObject::connect(&program, &tesselex::gui::MainProgram::finished, &app,
                     [] { QApplication::exit(0); });
    return QApplication::exec();
}
