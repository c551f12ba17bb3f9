#pragma once
// The request table every export's address is built from. It is the export server's reply to
// the address export.url names, and that reply is also the server's notice. While the server
// cannot be asked, the copy kept from its last good reply (ConfigURL.last in the program folder)
// stands in, else the local ConfigURL.TXT; while no table is known at all it is fetched again,
// with back-off, so that exports waiting for it go once the server is back, without a restart.

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "config/CfgClass.h"
#include "config/MessageSink.h"
#include "config/Outcome.h"

namespace tesselex {

// The file of that name in the folder whatever the letter case of the name on disk (as the
// system's own file system matches names); the name as given when there is none.
std::filesystem::path FileInFolder(const std::filesystem::path& folder, std::u16string_view name);

class RequestTable {
  public:
    // A usable reply's body, or why there is none.
    using TextFetch = std::function<Outcome<std::u16string>(std::u16string_view address)>;
    // `now` gives seconds on the engine's clock (SecondsOf).
    RequestTable(std::filesystem::path programFolder, TextFetch fetch, MessageSink messages,
                 std::function<long long()> now);

    enum class Source { Server, Kept, Local };
    struct Loaded {
        Source From = Source::Local;
        Done Fetched;  // how the server's fetch went (a fault also for no address)
    };
    // Loads the table for the address ("": the local file only) and, when none is known,
    // starts the refetch's back-off.
    Loaded Load(std::u16string_view address);
    // While no table is known and an address is set, fetches it again once the back-off allows;
    // true when the table came now. Its failures are not told again: Load told the first.
    bool Refetch();

    bool Known() const;  // it names a baseURL
    const CfgClass& Table() const { return *table_; }
    const std::u16string& Address() const { return address_; }
    // The server's reply at the last fetch ("" when it gave none).
    const std::u16string& Notice() const { return notice_; }

  private:
    Loaded LoadFrom();

    std::filesystem::path folder_;
    TextFetch fetch_;
    MessageSink messages_;
    std::function<long long()> now_;
    std::unique_ptr<CfgClass> table_;
    std::u16string address_;
    std::u16string notice_;
    // The refetch while none is known: failures in a row, next try.
    int failures_ = 0;
    long long nextTry_ = 0;
};

}  // namespace tesselex
