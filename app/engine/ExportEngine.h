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

#include "app/engine/Delivery.h"
#include "app/engine/ExportOptions.h"
#include "app/engine/ExportReport.h"
#include "app/engine/Logger.h"
#include "app/engine/OutboxRunner.h"
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

class ExportEngine {
  public:
    explicit ExportEngine(Settings& settings, EngineSeams seams = {});
    ~ExportEngine();
    ExportEngine(const ExportEngine&) = delete;
    ExportEngine& operator=(const ExportEngine&) = delete;

    void SetListener(EngineListener listener);
    // Start-up: request table, old settings file, workfile, settings, Logs folder.
    void Start();
    // One poll of the workfile; nothing while an export runs.
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
    const std::u16string& ServerAddress() const { return shortcutAddress_; }
    // The reply of that address at start-up (the server's notice).
    const std::u16string& ServerNotice() const { return serverNotice_; }
    // Status lines and the logs; a front end may show a line of its own through it.
    Logger& Log() { return log_; }

    // The exports waiting in the outbox (program folder, Outbox/), oldest first.
    const std::vector<OutboxEntry>& Waiting() const;
    // Tries the given waiting exports now (every one when none is given), oldest first;
    // answers how many still wait.
    std::size_t RetryWaiting(const std::vector<std::u16string>& bibIds = {});
    // Gives up the bib id's waiting export (BadData when it does not wait).
    [[nodiscard]] Done DropWaiting(std::u16string_view bibId);

  private:
    // Every export, polled or manual: fetch, check, deliver, display; then the report goes out.
    // A waiting export brings its request and the outbox's hooks.
    struct Waited {
        std::u16string Request;
        SaveJournal Journal;
        std::function<Done()> Saved;
    };
    ExportReport RunExport(const Waited* waited = nullptr);
    // Fetch, check and deliver into the report; an exception is the caller's to report.
    void FetchAndDeliver(ExportReport& report, const Waited* waited);
    // The workfile's part of a poll: taken once written, its export queued, the file removed.
    void TakeWorkfile();
    // The outbox (OutboxCalls.cpp): the export written to it before its workfile goes, the due
    // ones tried at each poll. The earlier run's entries are read and their appends repaired
    // before the first try, not at start-up: only a program that goes on to export may cut a
    // file back, and one that merely starts beside a running watcher never does.
    void ResumeOutbox();
    // Answers whether the bib id's entry is new; nullopt when it cannot be written (reported).
    std::optional<bool> QueueExport(std::u16string_view bibId);
    void RunWaiting();
    // A manual export: through the outbox, tried at once.
    ExportReport ExportNow(const std::u16string& bibId);
    [[nodiscard]] Done TryWaiting(const OutboxEntry& entry, bool late, const AttemptHooks& hooks,
                                  ExportReport* report);
    void AfterTry(const OutboxEntry& entry, const Done& outcome);
    // TryWaiting and AfterTry as the runner takes them.
    Attempt Trying(ExportReport* report);
    AfterAttempt Tried();
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
    void FetchRequestTable();
    void MigrateOldSettings();
    void FindWorkfile();
    void ReadSettings();
    void RunStep(void (ExportEngine::*step)());
    // Parses each kept record once: its grid rows and readable view go into the report.
    void Display(std::vector<std::u16string> records, ExportReport& report);
    // With an FTP server set, one-at-a-time is on and locked.
    void UpdateOneAtATime(bool stored);
    MarcObject& Record();
    // The bib id the workfile's 004 links to ("" without one); a fault when the record model
    // cannot read the workfile at all.
    [[nodiscard]] Outcome<std::u16string> WorkfileBibId(std::u16string_view contents);
    // False while the workfile's record is incomplete and its size changed less than 5 s ago.
    bool WorkfileSettled(std::u16string_view contents);
    // Deletes the workfile. One that cannot be deleted is reported and false is answered, so
    // that it is exported once; true when it is that same workfile again.
    bool RemoveWorkfile(const std::filesystem::path& workfile, std::u16string_view contents);
    std::u16string Fetch(std::u16string_view address) const;
    // The record fetch, telling how it failed (a seam's reply counts as an answer).
    FetchResult FetchRecords(std::u16string_view address) const;
    // The error status and log line for a fetch that brought nothing to deliver.
    Fault ReportFailedFetch(const FetchResult& reply, std::u16string_view bibId);
    // The program folder's file of that name whatever the letter case of the name on disk (as
    // the system's own file system matches names); the name as given when there is none.
    std::filesystem::path ProgramFile(std::u16string_view name) const;

    Settings& settings_;
    EngineSeams seams_;
    std::filesystem::path programFolder_;
    EngineState state_;
    Logger log_;
    Delivery delivery_;
    std::unique_ptr<CfgClass> mainConfig_;
    std::unique_ptr<CfgClass> urlConfig_;
    std::unique_ptr<MarcObject> record_;
    std::u16string serverNotice_;
    std::u16string shortcutAddress_;
    FtpSettings ftp_;
    // The size of an incomplete workfile and when it was first seen at that size (seconds).
    std::optional<std::pair<std::size_t, long long>> unsettled_;
    // Size, time and content hash of the last workfile that could not be deleted.
    using WorkfileIdentity = std::tuple<std::size_t, std::filesystem::file_time_type, std::size_t>;
    std::optional<WorkfileIdentity> undeletable_;
    std::unique_ptr<OutboxRunner> outbox_;
    std::optional<std::vector<OutboxEntry>> waitingSent_;
    bool resumed_ = false;
    EngineListener listener_;
    std::optional<EngineState> sent_;
};

// "Post 0 ..." as a bad record of a reply is logged: the record counter it names is never set.
std::u16string BadRecordMessage();

}  // namespace tesselex
