#include "app/engine/RequestTable.h"

#include <system_error>
#include <utility>

#include "app/engine/DurableFile.h"
#include "app/engine/Outbox.h"
#include "config/CodePage.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {

std::filesystem::path FileInFolder(const std::filesystem::path& folder, std::u16string_view name) {
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
        if (EqualsNoCase(entry.path().filename().u16string(), name)) {
            return entry.path();
        }
    }
    return folder / TextToPath(name);
}

RequestTable::RequestTable(std::filesystem::path programFolder, TextFetch fetch,
                           MessageSink messages, std::function<long long()> now)
    : folder_(std::move(programFolder)),
      fetch_(std::move(fetch)),
      messages_(std::move(messages)),
      now_(std::move(now)),
      table_(std::make_unique<CfgClass>(messages_)) {}

RequestTable::Loaded RequestTable::Load(std::u16string_view address) {
    address_ = std::u16string(address);
    failures_ = 0;
    nextTry_ = 0;
    Loaded loaded = LoadFrom();
    if (!Known() && !address_.empty()) {
        failures_ = 1;
        nextTry_ = now_() + RetryDelaySeconds(1);
    }
    return loaded;
}

bool RequestTable::Refetch() {
    if (Known() || address_.empty()) {
        return false;
    }
    const long long now = now_();
    if (now < nextTry_ && nextTry_ - now <= RetryDelaySeconds(1000)) {
        return false;
    }
    (void)LoadFrom();
    if (Known()) {
        failures_ = 0;
        nextTry_ = 0;
        return true;
    }
    ++failures_;
    nextTry_ = now + RetryDelaySeconds(failures_);
    return false;
}

bool RequestTable::Known() const {
    return !table_->Item(u"baseURL")->Value.empty();
}

RequestTable::Loaded RequestTable::LoadFrom() {
    Loaded loaded;
    const Outcome<std::u16string> notice =
        address_.empty() ? Outcome<std::u16string>(Fault{FaultKind::NoConnection, u"no address"})
                         : fetch_(address_);
    notice_ = notice ? notice.Value() : std::u16string();
    loaded.Fetched = notice ? Done{} : Done{notice.Failure()};
    table_ = std::make_unique<CfgClass>(messages_);
    table_->LoadFromString(notice_);
    const std::filesystem::path kept = folder_ / "ConfigURL.last";
    if (Known()) {
        // Kept for a start while the server is away; a failed write only loses that.
        (void)ReplaceFile(kept, TextToAnsi(notice_));
        loaded.From = Source::Server;
        return loaded;
    }
    std::error_code ec;
    if (!address_.empty() && std::filesystem::is_regular_file(kept, ec)) {
        table_ = std::make_unique<CfgClass>(messages_);
        table_->Load(PathToText(kept));
        if (Known()) {
            loaded.From = Source::Kept;
            return loaded;
        }
    }
    table_ = std::make_unique<CfgClass>(messages_);
    table_->Load(PathToText(FileInFolder(folder_, u"ConfigURL.TXT")));
    loaded.From = Source::Local;
    return loaded;
}

}  // namespace tesselex
