#pragma once
// The export application without its window: start-up, the poll of the holdings workfile, the
// fetch from the export server, delivery, the export options and the old-style settings save.
// A front end sets options and asks for exports in the engine's own terms and follows it through
// EngineListener. Errors never escape a call: each poll, export and start-up step reports.

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>
#include <vector>

#include "app/engine/ExportOptions.h"
#include "app/engine/ExportReport.h"
#include "app/engine/Exporter.h"
#include "app/engine/FileLock.h"
#include "app/engine/Logger.h"
#include "app/engine/WorkfileWatcher.h"
#include "app/engine/OutboxRunner.h"
#include "app/engine/RequestTable.h"
#include "app/engine/SettingKeys.h"
#include "config/MessageSink.h"

namespace tesselex {

class CfgClass;
class MarcObject;
class Settings;

// What tests and other front ends replace. Empty members take the real thing.
struct EngineSeams {
    std::filesystem::path ProgramFolder;  // the program folder (TESSELEX_HOME or beside the exe)
    Clock Now;                            // local time
    std::function<std::u16string(std::u16string_view)> Fetch;  // whole-reply HTTP fetch
    std::function<std::u16string()> LoginName;
    // The cataloguing client's per-user workfile value, given what was found before.
    std::function<std::u16string(std::u16string_view fallback)> VoyagerWorkFile;
    // Deletes the workfile, as std::filesystem::remove does.
    std::function<bool(const std::filesystem::path&, std::error_code&)> RemoveFile;
    // The engine's modal questions and messages.
    EnginePrompts Ask;
    // The display configuration the readable view of exported records is made from ("" for the
    // built-in one).
    std::u16string DisplayConfig;
};

// One export as it travels: what to fetch and with which options, and when it was saved.
struct ExportJob {
    std::u16string BibId;
    DateTime SavedAt;
    ExportOptions Options;
};

// Where QueueExport put an export.
enum class Queued {
    New,         // a new entry in the outbox
    Again,       // the bib id waited already: it keeps its place
    HandedOver,  // another program sends the outbox: it sends this one too
};

class ExportEngine {
  public:
    explicit ExportEngine(Settings& settings, EngineSeams seams = {});
    ~ExportEngine();
    ExportEngine(const ExportEngine&) = delete;
    ExportEngine& operator=(const ExportEngine&) = delete;

    void SetListener(EngineListener listener);
    // Start-up: request table, old settings file, workfile, settings, Logs folder.
    void Start();
    // Takes the watch lock of the workfile, and keeps it (taken again for another workfile when
    // start-up runs again). Held: another program watches it, and this one takes nothing from it
    // (said once in an error status line); FileSystem: the lock cannot be made, said in an error
    // status line, and the workfile is watched unguarded. Poll takes it too; a program that wants
    // to refuse to run beside another watcher asks first.
    [[nodiscard]] Done Watch();
    // One poll: the workfile (while this program watches it) and the waiting exports (while it
    // holds the outbox); nothing while an export runs.
    void Poll();
    // A manual export of the bib id ("Ingen aktiv post!" for one that is not above 0).
    ExportReport Export(std::u16string_view bibId);
    // The front end's bib id field; CanExport follows it.
    void SetBibId(std::u16string_view bibId);
    // Stores the option's setting at once, so the next request and the next start-up see it.
    // A value of another type than the option's, or a locked option, changes nothing.
    void SetOption(Option option, const OptionValue& value);
    // Stores the five FTP settings and adjusts the one-at-a-time option.
    void SetFtp(const FtpSettings& ftp);
    // Writes export.url and runs start-up again.
    void SetServerAddress(std::u16string_view address);
    void SetLogging(LogChoice choice);
    // Writes the old-style Config.TXT (after asking) and runs start-up again.
    void SaveOldSettings();
    // The request address an export of the bib id would send.
    std::u16string RequestFor(std::u16string_view bibId) const;

    const EngineState& State() const { return state_; }
    const FtpSettings& Ftp() const { return ftp_; }
    // The address of the request table named by export.url (the server address dialog's text).
    const std::u16string& ServerAddress() const { return requestTable_.Address(); }
    // The reply of that address at start-up (the server's notice).
    const std::u16string& ServerNotice() const { return requestTable_.Notice(); }
    // Status lines and the logs; a front end may show a line of its own through it.
    Logger& Log() { return log_; }

    // The exports waiting in the outbox (program folder, Outbox/), oldest first.
    const std::vector<OutboxEntry>& Waiting() const;
    // Tries the given waiting exports now (every one when none is given), oldest first;
    // answers how many still wait, or Held when another program sends the outbox.
    [[nodiscard]] Outcome<std::size_t> RetryWaiting(const std::vector<std::u16string>& bibIds = {});
    // Gives up the bib id's waiting export (BadData when it does not wait, Held when another
    // program sends the outbox).
    [[nodiscard]] Done DropWaiting(std::u16string_view bibId);

  private:
    // Every export, polled or manual: fetch, check, deliver, display; then the report goes out.
    // An export from the outbox notes its writes there, and says when it was saved when late.
    struct FromOutbox {
        std::u16string Late;  // follows the destination in the saved line ("" on time)
    };
    ExportReport RunExport(const ExportJob& job, const FromOutbox* waiting = nullptr);
    // The exporter's steps, each outcome said in a status line and the report; an exception is
    // the caller's to report.
    void FetchAndDeliver(ExportReport& report, const ExportJob& job, const FromOutbox* waiting);
    [[nodiscard]] Outcome<std::u16string> Save(const std::vector<std::u16string>& records,
                                               const ExportJob& job, const FromOutbox* waiting);
    [[nodiscard]] Done Upload(std::u16string_view local, std::u16string_view bibId);
    // The workfile's part of a poll: taken once written, its export queued, the file removed.
    void TakeWorkfile();
    // Whether this program may take the workfile now: it holds the watch lock, or no lock can
    // be made at all. A watcher that ended leaves its lock to the next poll here.
    bool MayTakeWorkfile();
    // The outbox (OutboxCalls.cpp): the export written to it before its workfile goes, the due
    // ones tried at each poll. Only the program holding the outbox's lock reads the earlier
    // run's entries, repairs their appends and sends them; another hands its exports over.
    // Answers whether this program holds the outbox.
    bool ResumeOutbox();
    [[nodiscard]] Outcome<Queued> QueueExport(const ExportJob& job);
    void RunWaiting();
    // A manual export: through the outbox, tried at once.
    ExportReport ExportNow(const std::u16string& bibId);
    [[nodiscard]] Done TryWaiting(const OutboxEntry& entry, bool late, ExportReport* report);
    void AfterTry(const OutboxEntry& entry, const Done& outcome);
    // TryWaiting and AfterTry as the runner takes them.
    Attempt Trying(ExportReport* report);
    AfterAttempt Tried();
    ExportJob JobNow(std::u16string_view bibId) const;
    // Sends the state when it differs from the last one sent.
    void NotifyState();
    bool AskYesNo(const std::u16string& question) const;
    void Message(const std::u16string& title, const std::u16string& text) const;
    // Message as the sink of every configuration text and record the engine loads.
    MessageSink Messages();
    // Stores a setting; a write that fails shows an error status line.
    void Store(SettingKey key, std::u16string_view value);
    void Store(std::u16string_view key, std::u16string_view value);
    void ReportSettingsNotSaved();
    void LoadConfig();
    // Loads the request table for the address export.url (or the policy) names, saying where
    // it came from when not from the server.
    void FetchRequestTable();
    // While no request table is known it is fetched again, with back-off.
    void EnsureRequestTable();
    void MigrateOldSettings();
    void FindWorkfile();
    void ReadSettings();
    void RunStep(void (ExportEngine::*step)());
    // Parses each kept record once: its grid rows and readable view go into the report.
    void Display(std::vector<std::u16string> records, Characters charset, ExportReport& report);
    // With an FTP server set, one-at-a-time is on and locked.
    void UpdateOneAtATime(bool stored);
    MarcObject& Record();
    // The bib id the workfile's 004 links to ("" without one); a fault when the record model
    // cannot read the workfile at all.
    [[nodiscard]] Outcome<std::u16string> WorkfileBibId(std::u16string_view contents);
    // A usable reply's body; no reply, an error status or an empty reply is the fault.
    [[nodiscard]] Outcome<std::u16string> FetchText(std::u16string_view address) const;
    // The record fetch: no reply at all is the fault (a seam's reply counts as an answer).
    [[nodiscard]] Outcome<HttpReply> FetchRecords(std::u16string_view address) const;
    // The error status and log line for a fetch that brought nothing to deliver.
    Fault ReportFailedFetch(const Fault& fault, std::u16string_view bibId);
    // The program folder's file of that name whatever the letter case of the name on disk (as
    // the system's own file system matches names); the name as given when there is none.
    std::filesystem::path ProgramFile(std::u16string_view name) const;

    Settings& settings_;
    EngineSeams seams_;
    std::filesystem::path programFolder_;
    EngineState state_;
    Logger log_;
    Exporter exporter_;
    std::unique_ptr<CfgClass> mainConfig_;
    std::unique_ptr<MarcObject> record_;
    RequestTable requestTable_;
    FtpSettings ftp_;
    WorkfileWatcher watcher_;
    std::unique_ptr<OutboxRunner> outbox_;
    std::optional<std::vector<OutboxEntry>> waitingSent_;
    // The process that sends the outbox while another program does (0: unknown or this one).
    long long outboxHolder_ = 0;
    EngineListener listener_;
    std::optional<EngineState> sent_;
};

}  // namespace tesselex
