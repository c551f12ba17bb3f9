#pragma once
// The exports taken from the cataloguing client and not yet delivered. Each waits as one small
// file in the program folder's Outbox/, written durably before the workfile it came from is
// deleted, and removed only once its records are on the disk in the destination (and uploaded,
// with an FTP server set). A bib id saved again while it waits keeps its one entry.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "app/engine/ExportOptions.h"
#include "config/Outcome.h"
#include "config/SharedRoutines.h"

namespace tesselex {

// An append to the destination under way: recorded before the first byte is written, so that
// after a crash the file can be told complete, or cut back and the export done again.
struct PendingAppend {
    std::filesystem::path File;
    std::uintmax_t LengthBefore = 0;  // the file's length before the append (0: none or replaced)
    std::uintmax_t Bytes = 0;         // how many bytes the append adds
    std::uint64_t Hash = 0;           // ContentHash of those bytes
    bool Replaces = false;            // the export empties the file first ("clear")
    bool operator==(const PendingAppend&) const = default;
};

struct OutboxEntry {
    std::u16string BibId;
    DateTime SavedAt;       // when the workfile was taken
    // The options in force at the save; the request is built from them, and from the request
    // table in force, when the export is sent. None: an entry of an older program version, which
    // goes with the options in force when it is sent.
    std::optional<ExportOptions> Options;
    int Attempts = 0;        // failed tries so far
    long long NextTry = 0;   // SecondsOf the engine's clock; 0: at once
    bool Failed = false;     // a failure no retry cures: it waits for the cataloguer
    std::u16string LastReason;
    std::optional<PendingAppend> Append;
    bool Saved = false;  // the records are in the destination; only the upload is still due
    std::uint64_t Sequence = 0;  // arrival order, for entries saved in the same second
    bool operator==(const OutboxEntry&) const = default;
};

struct OutboxContents {
    std::vector<OutboxEntry> Entries;  // oldest first
    std::vector<std::filesystem::path> Unreadable;  // entry files that do not read as entries
};

class Outbox {
  public:
    explicit Outbox(std::filesystem::path folder);
    const std::filesystem::path& Folder() const { return folder_; }

    // Every entry, oldest first, but those whose file `known` names (read already). A missing
    // folder is an empty outbox.
    [[nodiscard]] Outcome<OutboxContents> Read(
        const std::set<std::filesystem::path>& known = {});
    // The file of the bib id's entry.
    std::filesystem::path EntryFile(std::u16string_view bibId) const;
    // Writes the entry, replacing the one of its bib id, and returns once it is on the disk. A
    // new entry (Sequence 0) is numbered after every entry read or put so far.
    [[nodiscard]] Done Put(OutboxEntry& entry);
    // Removes the bib id's entry and returns once the removal is on the disk.
    [[nodiscard]] Done Remove(std::u16string_view bibId);

  private:
    std::filesystem::path folder_;
    std::uint64_t lastSequence_ = 0;
};

// The order of the queue: saved earlier, or in the same second and numbered earlier.
bool SavedBefore(const OutboxEntry& a, const OutboxEntry& b);

// The entry as the text of its file, and back (nullopt for a text that is not an entry).
std::string EntryText(const OutboxEntry& entry);
std::optional<OutboxEntry> ParseEntry(std::string_view text);

// A date and time as seconds since 1 January 1970 on the same clock, for back-off arithmetic.
long long SecondsOf(const DateTime& at);
// How long to wait after the given number of failed tries: 15 s, doubling, at most 5 minutes.
long long RetryDelaySeconds(int attempts);
// True when a later try may succeed where this one failed: no connection, time-out, an empty
// reply, HTTP 408, 429 and 5xx, a full disk or quota. Not a server that refused the upload (the
// log-in, the path, an untrusted certificate or host key): its settings must change first.
bool Retryable(const Fault& fault);

// FNV-1a over the bytes: tells a complete append from another file's tail after a crash.
std::uint64_t ContentHash(std::string_view bytes);

enum class AppendState {
    NotMade,   // the file holds what it held before (nothing, or the old bytes)
    Complete,  // the file ends with exactly the bytes of the append
    Torn,      // something else: cut back to the old length and export again
};
// What a crash left of the append.
AppendState CheckAppend(const PendingAppend& append);

}  // namespace tesselex
