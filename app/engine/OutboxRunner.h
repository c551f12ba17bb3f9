#pragma once
// Which waiting export is tried next, and what a try's outcome does to its entry, as a mail queue
// does it: among the entries that are due the oldest goes first; a failure of one record backs
// off that record only and the next one goes; a failure of the server (no connection, time-out)
// backs off the whole queue once, so an outage makes no storm of retries. An entry no retry can
// cure stands aside for the cataloguer. The try itself (fetch, save, upload) is the caller's.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/engine/FileLock.h"
#include "app/engine/Outbox.h"

namespace tesselex {

// One try of the entry's export: Done once its records are in the destination (and uploaded).
// `late` is true unless the try comes right after the save that made the entry. While it works
// it tells the runner what it writes (NoteAppend, NoteSaved), so that a crash at any moment can
// be repaired.
using Attempt = std::function<Done(const OutboxEntry& entry, bool late)>;
// Told after each try: the entry as it now stands and the try's outcome.
using AfterAttempt = std::function<void(const OutboxEntry& entry, const Done& outcome)>;

class OutboxRunner {
  public:
    // `now` gives the engine's clock in seconds (SecondsOf); the lock is that file.
    OutboxRunner(Outbox outbox, std::filesystem::path lockFile, std::function<long long()> now);

    // What Hold found.
    struct Holding {
        bool Holder = false;  // this program reads, repairs and sends the outbox
        long long Other = 0;  // else the process that does (0: unknown)
        Done LockMade;        // a lock that cannot be made at all: this program sends unguarded
        std::vector<Fault> Unreadable;  // what the first read could not read or repair
    };
    // Takes the outbox's lock (a file beside it) when this program does not hold it yet and
    // answers whether it holds it. The holder reads the outbox an earlier run left once, repairs
    // it (Resume), and then takes in what other programs hand over (Adopt); a program that
    // cannot have the lock only looks (Look). Without any lock at all this program still
    // sends: its exports must not wait unseen.
    [[nodiscard]] Holding Hold();
    // Reads the outbox an earlier run left and repairs its interrupted appends: a complete one
    // counts as saved, a torn one is cut back so the export is made again. Answers what could
    // not be read or repaired; those entries are left as they are. Only the holder of the
    // outbox's lock may call it: a repair cuts files back.
    [[nodiscard]] std::vector<Fault> Resume();
    // Reads the entries as they stand, repairing nothing: what a program that does not hold the
    // outbox shows.
    void Look();
    // Takes in the entries other programs handed over since the last read (new entry files).
    void Adopt();
    // Records a new export (answers true), or the bib id's waiting one again with the options
    // now in force, in its old place (answers false).
    [[nodiscard]] Outcome<bool> Add(std::u16string_view bibId, const DateTime& savedAt,
                                    const ExportOptions& options);
    // Tries every entry that may go now, oldest first, until the server fails.
    void RunDue(const Attempt& attempt, const AfterAttempt& after);
    // Tries the bib id's entry now, whatever its back-off or failure; a bib id that does not
    // wait is a BadData fault.
    [[nodiscard]] Done RunNow(std::u16string_view bibId, const Attempt& attempt,
                              const AfterAttempt& after);
    [[nodiscard]] Done Drop(std::u16string_view bibId);
    // During a try of the bib id's entry: the append about to be made, noted on the disk before
    // its first byte is written (a fault stops the save).
    [[nodiscard]] Done NoteAppend(std::u16string_view bibId, const PendingAppend& append);
    // During a try: the records are on the disk; only the upload is still due.
    [[nodiscard]] Done NoteSaved(std::u16string_view bibId);

    // Oldest first.
    const std::vector<OutboxEntry>& Entries() const { return entries_; }
    const OutboxEntry* Find(std::u16string_view bibId) const;

  private:
    OutboxEntry* FindEntry(std::u16string_view bibId);
    // The try and its outcome: removed when done, else backed off or marked failed.
    [[nodiscard]] Done Run(OutboxEntry& entry, const Attempt& attempt, const AfterAttempt& after);
    [[nodiscard]] Done Repair(OutboxEntry& entry);
    bool Due(const OutboxEntry& entry) const;

    Outbox outbox_;
    std::filesystem::path lockFile_;
    FileLock lock_;
    bool unguarded_ = false;  // no lock can be made: this program sends without
    bool resumed_ = false;    // the earlier run's entries are read and repaired
    std::function<long long()> now_;
    std::vector<OutboxEntry> entries_;
    std::uint64_t fresh_ = 0;  // the Sequence of the entry added last, tried on time
    // The whole queue's back-off after failures of the server: failures in a row, next try.
    int queueFailures_ = 0;
    long long queueNextTry_ = 0;
};

// True for a failure of the server or of the way to it, which says nothing about one record:
// no connection, a time-out, a full destination, a refused upload.
bool ServerFault(const Fault& fault);

// The local time the given SecondsOf stands for.
DateTime DateTimeOf(long long seconds);

}  // namespace tesselex
