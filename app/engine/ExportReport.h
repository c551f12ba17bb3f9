#pragma once
// What the engine tells a front end: the state it shows (options, bib id, workfile), status
// lines, and the report of each export. Typed notifications, delivered on the engine's thread;
// a front end on another thread queues them to its own.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/engine/ExportOptions.h"
#include "app/engine/Logger.h"
#include "app/engine/Outbox.h"
#include "config/Outcome.h"

namespace tesselex {

// One field of an exported record as the record display lists it.
struct DisplayField {
    std::u16string Tag;  // three digits
    std::u16string Indicator1;
    std::u16string Indicator2;
    std::u16string Value;
    bool operator==(const DisplayField&) const = default;
};

// One record of a reply that passed the check, parsed once on the engine's thread.
struct KeptRecord {
    std::u16string Bytes;             // the server's bytes, one char16_t per byte
    std::vector<DisplayField> Rows;   // the record grid's rows
    std::u16string Html;              // the readable view (the engine's display configuration)
};

// The outcome of one export, whether it came from a poll, a manual fetch or a retry.
struct ExportReport {
    std::u16string BibId;
    std::u16string Request;                 // the address asked
    std::vector<KeptRecord> Records;        // every well-formed record, in reply order
    std::optional<std::u16string> SavedTo;  // the destination file the records went into
    std::optional<Done> Upload;             // set when an FTP server is set and a save was made
    std::vector<Fault> Failures;            // each failure, with its reason, in order
    bool Delivered() const { return SavedTo.has_value() && (!Upload || Upload->Ok()); }
};

// Everything a front end shows of the engine besides status lines and reports.
struct EngineState {
    ExportOptions Options;
    LogChoice Logging;
    std::u16string BibId;     // the bib id a manual export would fetch
    std::u16string Workfile;  // the watched holdings workfile ("" when none is known)
    bool CanExport = false;   // a bib id is there to fetch
    bool Busy = false;        // an export is under way
    bool operator==(const EngineState&) const = default;
};

// The engine's notifications. Empty members are not called.
struct EngineListener {
    std::function<void(const EngineState&)> StateChanged;
    std::function<void(const StatusLine&)> Status;
    std::function<void(const ExportReport&)> Exported;
    // The exports waiting in the outbox, oldest first, whenever they change.
    std::function<void(const std::vector<OutboxEntry>&)> WaitingChanged;
};

// The engine's modal questions. Empty members answer yes and show nothing.
struct EnginePrompts {
    std::function<bool(const std::u16string& question)> AskYesNo;
    std::function<void(const std::u16string& title, const std::u16string& text)> Message;
};

}  // namespace tesselex
