// The outbox's entries, one small UTF-8 file each ("key=value" lines), replaced durably.

#include "app/engine/Outbox.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <system_error>

#include "app/engine/DurableFile.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

constexpr std::string_view kExtension = ".entry";

// A value stays on its line whatever it holds.
std::string OneLine(std::string value) {
    std::replace_if(value.begin(), value.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return value;
}

template <typename Number>
bool ParseNumber(std::string_view text, Number& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

std::string TimeText(const DateTime& at) {
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", at.Year, at.Month, at.Day,
                  at.Hour, at.Minute, at.Second);
    return text;
}

bool ParseTime(std::string_view text, DateTime& at) {
    return text.size() == 19 && ParseNumber(text.substr(0, 4), at.Year) &&
           ParseNumber(text.substr(5, 2), at.Month) && ParseNumber(text.substr(8, 2), at.Day) &&
           ParseNumber(text.substr(11, 2), at.Hour) && ParseNumber(text.substr(14, 2), at.Minute) &&
           ParseNumber(text.substr(17, 2), at.Second);
}

}  // namespace

bool SavedBefore(const OutboxEntry& a, const OutboxEntry& b) {
    const long long at = SecondsOf(a.SavedAt);
    const long long bt = SecondsOf(b.SavedAt);
    return at != bt ? at < bt : a.Sequence < b.Sequence;
}

Outbox::Outbox(std::filesystem::path folder) : folder_(std::move(folder)) {}

std::filesystem::path Outbox::EntryFile(std::u16string_view bibId) const {
    // Letters and digits name the file as they are; anything else by its number, so that no
    // bib id can reach outside the folder or clash with another.
    std::string name;
    for (const char16_t c : bibId) {
        if ((c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z')) {
            name += static_cast<char>(c);
        } else {
            char code[8];
            std::snprintf(code, sizeof code, "_%04X", static_cast<unsigned>(c));
            name += code;
        }
    }
    return folder_ / (name + std::string(kExtension));
}

Outcome<OutboxContents> Outbox::Read(const std::set<std::filesystem::path>& known) {
    OutboxContents contents;
    std::error_code ec;
    if (!std::filesystem::exists(folder_, ec)) {
        return contents;
    }
    std::filesystem::directory_iterator files(folder_, ec);
    if (ec) {
        return SystemFault(ec.value());
    }
    for (const auto& file : files) {
        if (file.path().extension() != kExtension || known.count(file.path()) != 0) {
            continue;  // a ".part" left by a crash mid-write: its entry is still the old one
        }
        std::ifstream in(file.path(), std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(in)), {});
        std::optional<OutboxEntry> entry = in.bad() ? std::nullopt : ParseEntry(text);
        if (entry) {
            lastSequence_ = std::max(lastSequence_, entry->Sequence);
            contents.Entries.push_back(std::move(*entry));
        } else {
            contents.Unreadable.push_back(file.path());
        }
    }
    std::sort(contents.Entries.begin(), contents.Entries.end(), SavedBefore);
    return contents;
}

Done Outbox::Put(OutboxEntry& entry) {
    std::error_code ec;
    const bool created = std::filesystem::create_directories(folder_, ec);
    if (ec) {
        return SystemFault(ec.value());
    }
    if (created) {
        // The new folder's own name must be on the disk too.
        if (Done synced = SyncFolder(folder_.parent_path()); !synced) {
            return synced;
        }
    }
    if (entry.Sequence == 0) {
        entry.Sequence = ++lastSequence_;
    } else {
        lastSequence_ = std::max(lastSequence_, entry.Sequence);
    }
    return ReplaceFile(EntryFile(entry.BibId), EntryText(entry));
}

Done Outbox::Remove(std::u16string_view bibId) {
    std::error_code ec;
    if (!std::filesystem::remove(EntryFile(bibId), ec) && ec) {
        return SystemFault(ec.value());
    }
    return SyncFolder(folder_);
}

std::string EntryText(const OutboxEntry& entry) {
    std::string text;
    const auto line = [&text](std::string_view key, std::string value) {
        text.append(key).append("=").append(OneLine(std::move(value))).append("\n");
    };
    line("bibid", TextToUtf8(entry.BibId));
    line("saved", TimeText(entry.SavedAt));
    line("sequence", std::to_string(entry.Sequence));
    if (entry.Options) {
        const ExportOptions& o = *entry.Options;
        line("opt-code", std::to_string(static_cast<int>(o.Code)));
        line("opt-authorities", std::to_string(static_cast<int>(o.Authorities)));
        line("opt-holdings", std::to_string(static_cast<int>(o.Holdings)));
        line("opt-charset", std::to_string(static_cast<int>(o.Charset)));
        line("opt-change035", o.Change035 ? "1" : "0");
        line("opt-isbn", o.IsbnNoHyphens ? "1" : "0");
        line("opt-oneatatime", o.OneAtATime ? "1" : "0");
        line("opt-subjects", TextToUtf8(o.Subjects));
        line("opt-libraries", TextToUtf8(o.Libraries));
        line("opt-destination", TextToUtf8(o.Destination));
    }
    line("attempts", std::to_string(entry.Attempts));
    line("next", std::to_string(entry.NextTry));
    line("failed", entry.Failed ? "1" : "0");
    line("reason", TextToUtf8(entry.LastReason));
    line("delivered", entry.Saved ? "1" : "0");
    if (entry.Append) {
        line("append-file", TextToUtf8(PathToText(entry.Append->File)));
        line("append-length", std::to_string(entry.Append->LengthBefore));
        line("append-bytes", std::to_string(entry.Append->Bytes));
        line("append-hash", std::to_string(entry.Append->Hash));
        line("append-replaces", entry.Append->Replaces ? "1" : "0");
    }
    return text;
}

std::optional<OutboxEntry> ParseEntry(std::string_view text) {
    std::map<std::string, std::string, std::less<>> values;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) {
            return std::nullopt;  // a line cut short: not an entry this program wrote
        }
        values.emplace(line.substr(0, equals), line.substr(equals + 1));
    }
    const auto text16 = [&values](std::string_view key) { return Utf8ToText(values[std::string(key)]); };
    const auto flag = [&values](std::string_view key, bool& value) {
        const std::string& f = values[std::string(key)];
        value = f == "1";
        return f == "0" || f == "1";
    };
    OutboxEntry entry;
    entry.BibId = text16("bibid");
    entry.LastReason = text16("reason");
    bool ok = !entry.BibId.empty() && ParseTime(values["saved"], entry.SavedAt) &&
              ParseNumber(values["sequence"], entry.Sequence) &&
              ParseNumber(values["attempts"], entry.Attempts) &&
              ParseNumber(values["next"], entry.NextTry) && flag("failed", entry.Failed) &&
              flag("delivered", entry.Saved);
    if (ok && values.count("append-file") != 0) {
        PendingAppend append;
        append.File = TextToPath(text16("append-file"));
        ok = ParseNumber(values["append-length"], append.LengthBefore) &&
             ParseNumber(values["append-bytes"], append.Bytes) &&
             ParseNumber(values["append-hash"], append.Hash) &&
             flag("append-replaces", append.Replaces);
        entry.Append = append;
    }
    if (ok && values.count("opt-code") != 0) {
        ExportOptions o;
        int code = 0;
        int authorities = 0;
        int holdings = 0;
        int charset = 0;
        ok = ParseNumber(values["opt-code"], code) && code >= 0 && code <= 1 &&
             ParseNumber(values["opt-authorities"], authorities) && authorities >= 0 &&
             authorities <= 2 && ParseNumber(values["opt-holdings"], holdings) && holdings >= 0 &&
             holdings <= 2 && ParseNumber(values["opt-charset"], charset) && charset >= 0 &&
             charset <= 3 && flag("opt-change035", o.Change035) &&
             flag("opt-isbn", o.IsbnNoHyphens) && flag("opt-oneatatime", o.OneAtATime);
        o.Code = static_cast<Code003>(code);
        o.Authorities = static_cast<Placement>(authorities);
        o.Holdings = static_cast<Placement>(holdings);
        o.Charset = static_cast<Characters>(charset);
        o.Subjects = text16("opt-subjects");
        o.Libraries = text16("opt-libraries");
        o.Destination = text16("opt-destination");
        entry.Options = std::move(o);
    }
    return ok ? std::optional<OutboxEntry>(std::move(entry)) : std::nullopt;
}

long long SecondsOf(const DateTime& at) {
    // Days from the civil date (proleptic Gregorian), as in Howard Hinnant's algorithm.
    const int y = at.Year - (at.Month <= 2 ? 1 : 0);
    const int era = (y >= 0 ? y : y - 399) / 400;
    const int yoe = y - era * 400;
    const int mp = (at.Month + 9) % 12;
    const int doy = (153 * mp + 2) / 5 + at.Day - 1;
    const int doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    const long long days = static_cast<long long>(era) * 146097 + doe - 719468;
    return days * 86400 + at.Hour * 3600 + at.Minute * 60 + at.Second;
}

long long RetryDelaySeconds(int attempts) {
    constexpr long long kFirst = 15;
    constexpr long long kLongest = 300;
    long long delay = kFirst;
    for (int i = 1; i < attempts && delay < kLongest; ++i) {
        delay *= 2;
    }
    return std::min(delay, kLongest);
}

bool Retryable(const Fault& fault) {
    switch (fault.Kind) {
    case FaultKind::NoConnection:
    case FaultKind::TimedOut:
    case FaultKind::EmptyReply:
    case FaultKind::NoSpace:
    case FaultKind::Held:
        return true;
    case FaultKind::HttpStatus:
        return fault.Code == 408 || fault.Code == 429 || fault.Code >= 500;
    case FaultKind::Refused:  // log-in, path or trust: the settings must change first
    case FaultKind::FileSystem:
    case FaultKind::BadData:
        return false;
    }
    return false;
}

std::uint64_t ContentHash(std::string_view bytes) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char c : bytes) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    return hash;
}

AppendState CheckAppend(const PendingAppend& append) {
    std::error_code ec;
    const std::uintmax_t size = std::filesystem::file_size(append.File, ec);
    if (ec) {
        return AppendState::NotMade;  // no file: nothing of the append reached the disk
    }
    const std::uintmax_t start = append.Replaces ? 0 : append.LengthBefore;
    if (size == start + append.Bytes) {
        std::ifstream in(append.File, std::ios::binary);
        in.seekg(static_cast<std::streamoff>(start));
        std::string tail(static_cast<std::size_t>(append.Bytes), '\0');
        in.read(tail.data(), static_cast<std::streamsize>(tail.size()));
        if (in && ContentHash(tail) == append.Hash) {
            return AppendState::Complete;
        }
    }
    // A replacement is renamed into place whole, so anything else is the old file.
    return append.Replaces || size <= append.LengthBefore ? AppendState::NotMade
                                                          : AppendState::Torn;
}

}  // namespace tesselex
