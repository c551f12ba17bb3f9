// tesselex-cli watch|fetch|request|settings: the export application without its window. The
// commands share the engine and the per-user settings with the window.

#include <atomic>
#include <chrono>
#include <iostream>
#include <optional>
#include <thread>

#include "app/cli/Commands.h"
#include "app/engine/ExportEngine.h"
#include "app/engine/Settings.h"
#include "config/MessageSink.h"
#include "config/StopRequest.h"
#include "config/Utf.h"

namespace tesselex::cli {
namespace {

int Usage(const std::string& message) {
    std::cerr << "tesselex-cli: " << message << " (see --help)\n";
    return 2;
}

int Watch(const std::vector<std::string>& args) {
    bool once = false;
    for (const std::string& arg : args) {
        if (arg == "--once") {
            once = true;
        } else {
            return Usage("watch: unknown argument '" + arg + "'");
        }
    }
    Settings settings;
    ExportEngine engine(settings, CliSeams());
    StatusPrinter printer(engine);
    // Ctrl+C, SIGTERM (or the console's Ctrl+Break) end the loop between polls.
    InstallStopHandler();
    engine.Start();
    const std::u16string& workfileText = engine.State().Workfile;
    if (const Done watching = engine.Watch(); !watching && watching.Kind() == FaultKind::Held) {
        std::cerr << "tesselex-cli: another TESSELEX program already watches '"
                  << TextToUtf8(workfileText) << "' (process " << watching.Failure().Code
                  << "); two watchers would deliver a holdings record twice\n";
        return 1;
    }
    std::cerr << "tesselex-cli: watching '" << TextToUtf8(workfileText) << "'"
              << (once ? " once" : " every second (Ctrl+C ends)") << '\n';
    while (!StopRequested()) {
        engine.Poll();
        if (once) {
            break;
        }
        for (int tick = 0; tick < 10 && !StopRequested(); ++tick) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
    // A single poll is a script's check: it fails when an error was shown or an export waits.
    return once && (printer.Errors() > 0 || !engine.Waiting().empty()) ? 1 : 0;
}

int Fetch(const std::vector<std::string>& args) {
    if (args.size() > 1) {
        return Usage("fetch takes at most one bib id");
    }
    Settings settings;
    ExportEngine engine(settings, CliSeams());
    StatusPrinter printer(engine);
    engine.Start();
    (void)engine.Export(args.empty() ? engine.State().BibId : Utf8ToText(args[0]));
    return printer.Errors() > 0 ? 1 : 0;
}

int Request(const std::vector<std::string>& args) {
    if (args.size() != 1) {
        return Usage("request takes one bib id");
    }
    Settings settings;
    ExportEngine engine(settings, CliSeams());
    engine.Start();
    std::cout << TextToUtf8(engine.RequestFor(Utf8ToText(args[0]))) << '\n';
    return 0;
}

std::optional<SettingKey> KnownKey(const std::string& name) {
    auto key = FindSettingKey(Utf8ToText(name));
    if (!key) {
        std::cerr << "tesselex-cli: unknown setting '" << name
                  << "' (tesselex-cli settings list shows the keys)\n";
    }
    return key;
}

int SettingsCommand(const std::vector<std::string>& args) {
    Settings settings;
    const std::string action = args.empty() ? std::string() : args[0];
    const Policy& policy = settings.MachinePolicy();
    if (action == "list" && args.size() == 1) {
        for (const std::u16string& problem : policy.Problems()) {
            std::cerr << "tesselex-cli: " << TextToUtf8(problem) << '\n';
        }
        for (const SettingKeyInfo& info : SettingKeys()) {
            const std::u16string value = settings.Setting(info.Key);
            // The password never shows on a screen someone may be looking at
            // (docs/behaviour.md).
            const bool masked = info.Key == SettingKey::FTPPassword && !value.empty();
            std::cout << TextToUtf8(info.Name) << '=' << (masked ? "********" : TextToUtf8(value))
                      << (settings.IsLocked(info.Key) ? " (policy)" : "") << '\n';
        }
        if (policy.ServerAddress()) {
            std::cout << TextToUtf8(PolicyServerAddress) << '='
                      << TextToUtf8(*policy.ServerAddress()) << " (policy)\n";
        }
        return 0;
    }
    const bool showSecret = args.size() == 3 && args[2] == "--show-secret";
    if (action == "get" && (args.size() == 2 || showSecret)) {
        const auto key = KnownKey(args[1]);
        if (!key) {
            return 2;
        }
        if (*key == SettingKey::FTPPassword && !showSecret) {
            std::cerr << "tesselex-cli: the FTP password is shown only with "
                         "'settings get FTPPassword --show-secret'\n";
            return 2;
        }
        std::cout << TextToUtf8(settings.Setting(*key)) << '\n';
        return 0;
    }
    if (action == "set" && args.size() == 3) {
        const auto key = KnownKey(args[1]);
        if (!key) {
            return 2;
        }
        if (settings.IsLocked(*key)) {
            std::cerr << "tesselex-cli: " << args[1]
                      << " is set by the administrator for every user of this machine ("
                      << TextToUtf8(policy.Source()) << ") and cannot be changed here\n";
            return 1;
        }
        if (!settings.StoreSetting(*key, Utf8ToText(args[2]))) {
            std::cerr << "tesselex-cli: the settings file " << TextToUtf8(settings.FileName())
                      << " could not be written; it keeps its previous settings\n";
            return 1;
        }
        return 0;
    }
    return Usage("settings list | get KEY [--show-secret] | set KEY VALUE");
}

}  // namespace

EngineSeams CliSeams() {
    EngineSeams seams;
    seams.Ask.Message = WriteMessageToStderr;
    return seams;
}

StatusPrinter::StatusPrinter(ExportEngine& engine) {
    EngineListener listener;
    listener.Status = [this](const StatusLine& line) {
        std::cout << TextToUtf8(FormatStatusLine(line)) << std::endl;
        if (line.IsError()) {
            ++errors_;
        }
    };
    engine.SetListener(std::move(listener));
}

bool IsEngineCommand(const std::string& command) {
    return command == "watch" || command == "fetch" || command == "request" ||
           command == "settings" || command == "outbox";
}

int RunEngineCommand(const std::string& command, const std::vector<std::string>& args) {
    if (command == "watch") {
        return Watch(args);
    }
    if (command == "fetch") {
        return Fetch(args);
    }
    if (command == "request") {
        return Request(args);
    }
    if (command == "outbox") {
        return RunOutboxCommand(args);
    }
    return SettingsCommand(args);
}

void PrintEngineHelp(std::ostream& out) {
    out << "Export commands (program folder: $TESSELEX_HOME, else beside the executable, or\n"
           "~/.local/share/TESSELEX when installed; it holds export.url, ConfigURL.TXT,\n"
           "Config.TXT and Logs/):\n"
           "  watch [--once]         start up, then poll the holdings workfile once a second and\n"
           "                         export the record its 004 names; --once polls once and\n"
           "                         exits. Waiting exports are retried as the window does.\n"
           "                         SIGINT/SIGTERM end it between polls. Status lines\n"
           "                         go to stdout. Exit status 1 when another TESSELEX\n"
           "                         program already watches the same workfile, or when\n"
           "                         --once showed an error status line or left an export\n"
           "                         waiting.\n"
           "  fetch [BIBID]          fetch and deliver BIBID now (default: the last bib id);\n"
           "                         exit status 1 when an error status line was shown.\n"
           "                         Beside a running watcher of the same program folder\n"
           "                         the export is handed to it (an outbox entry it sends)\n"
           "  request BIBID          print the request address a fetch of BIBID would send\n"
           "  settings list          every setting with its value (the FTP password as ********)\n"
           "  settings get KEY [--show-secret]\n"
           "                         one setting (keys are matched without regard to case);\n"
           "                         FTPPassword only with --show-secret\n"
           "  settings set KEY VALUE change one setting, e.g. Destination, FTPServer, Logging\n"
           "  outbox                 the exports waiting in the program folder's Outbox/:\n"
           "                         bib id, saved at, tries, next try or 'failed', reason\n"
           "  outbox retry           try every waiting export now; exit status 1 when any\n"
           "                         still waits, or when another TESSELEX program sends\n"
           "                         the outbox (retry and drop are then its to do)\n"
           "  outbox drop BIBID      give up the bib id's waiting export\n"
           "  ftp test [--trust]     connect with the FTP settings in force: the protocol, the\n"
           "                         server's certificate or host-key fingerprint and whether\n"
           "                         it is trusted, then (trusted only) log in and list\n"
           "                         FTPDirectory; --trust first stores the fingerprint seen\n"
           "  server test [--trust] [ADDRESS]\n"
           "                         connect to the https export server in force (or ADDRESS):\n"
           "                         its key's fingerprint and whether a fetch trusts it;\n"
           "                         --trust pins the key seen (in FTPTrust as https://HOST:PORT)\n"
           "\n"
           "Settings keys:\n";
    for (const SettingKeyInfo& info : SettingKeys()) {
        std::string name = TextToUtf8(info.Name);
        name.resize(18, ' ');
        out << "  " << name << ' ' << info.Meaning << '\n';
    }
}

}  // namespace tesselex::cli
