// tesselex-cli outbox: the exports waiting in the program folder's Outbox/, tried again or given
// up. Trying and dropping are for the program that holds the outbox only: beside a running
// watcher they are refused, so that no two programs work on the same entries at once.

#include <iostream>

#include "app/cli/Commands.h"
#include "app/engine/ExportEngine.h"
#include "app/engine/Settings.h"
#include "config/Platform.h"
#include "config/Utf.h"

namespace tesselex::cli {
namespace {

std::string Line(const OutboxEntry& entry) {
    std::string state;
    if (entry.Failed) {
        state = "failed";
    } else if (entry.Saved) {
        state = "saved, upload due";
    } else if (entry.Attempts > 0) {
        state = "next " + TextToUtf8(FormatDateTime(DateTimeOf(entry.NextTry)));
    } else {
        state = "not yet tried";
    }
    return TextToUtf8(entry.BibId) + '\t' + TextToUtf8(FormatDateTime(entry.SavedAt)) + '\t' +
           std::to_string(entry.Attempts) + " tries\t" + state + '\t' +
           TextToUtf8(entry.LastReason);
}

int List() {
    const std::filesystem::path folder = ProgramFolder() / "Outbox";
    Outbox outbox(folder);
    const Outcome<OutboxContents> read = outbox.Read();
    if (!read) {
        std::cerr << "tesselex-cli: " << TextToUtf8(PathToText(folder))
                  << " cannot be read: " << TextToUtf8(read.Reason()) << '\n';
        return 1;
    }
    for (const OutboxEntry& entry : read.Value().Entries) {
        std::cout << Line(entry) << '\n';
    }
    for (const std::filesystem::path& file : read.Value().Unreadable) {
        std::cerr << "tesselex-cli: not an outbox entry: " << TextToUtf8(PathToText(file)) << '\n';
    }
    if (read.Value().Entries.empty()) {
        std::cerr << "tesselex-cli: no export waits\n";
    }
    return 0;
}

}  // namespace

int RunOutboxCommand(const std::vector<std::string>& args) {
    if (args.empty()) {
        return List();
    }
    const bool retry = args.size() == 1 && args[0] == "retry";
    const bool drop = args.size() == 2 && args[0] == "drop";
    if (!retry && !drop) {
        std::cerr << "tesselex-cli: outbox [retry | drop BIBID] (see --help)\n";
        return 2;
    }
    Settings settings;
    ExportEngine engine(settings, CliSeams());
    StatusPrinter printer(engine);
    engine.Start();
    const auto refused = [](const Fault& held) {
        std::cerr << "tesselex-cli: another TESSELEX program (process " << held.Code
                  << ") sends the waiting exports; it retries them, and its window can try "
                     "them now or remove one\n";
        return 1;
    };
    if (retry) {
        const Outcome<std::size_t> left = engine.RetryWaiting();
        if (!left) {
            return refused(left.Failure());
        }
        return left.Value() > 0 ? 1 : 0;
    }
    if (const Done dropped = engine.DropWaiting(Utf8ToText(args[1])); !dropped) {
        if (dropped.Kind() == FaultKind::Held) {
            return refused(dropped.Failure());
        }
        if (dropped.Kind() == FaultKind::BadData) {
            std::cerr << "tesselex-cli: no export of " << args[1] << " waits\n";
            return 2;
        }
        std::cerr << "tesselex-cli: the export of " << args[1]
                  << " could not be removed: " << TextToUtf8(dropped.Reason()) << '\n';
        return 1;
    }
    return 0;
}

}  // namespace tesselex::cli
