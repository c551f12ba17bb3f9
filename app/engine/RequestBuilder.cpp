#include "app/engine/RequestBuilder.h"

#include "app/engine/ExportOptions.h"
#include "config/CfgClass.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

std::u16string Lookup(const CfgClass& urlConfig, std::u16string_view key) {
    return urlConfig.Item(key)->Value;
}

// A text piece: the table's name for the tag, with the value or else the table's default.
void AddText(std::u16string& address, std::u16string_view tag, std::u16string_view text,
             const CfgClass& urlConfig) {
    const std::u16string name = Lookup(urlConfig, std::u16string(tag) + u"\\name");
    if (name.empty()) {
        return;
    }
    std::u16string value(text);
    if (value.empty()) {
        value = Lookup(urlConfig, name + u"\\default");
    }
    if (!value.empty()) {
        AddParameter(address, name, UrlEncode(value));
    }
}

// A choice piece: the table's whole parameter for the tag and the choice's number.
void AddPiece(std::u16string& address, std::u16string_view tag, int number,
              const CfgClass& urlConfig) {
    const std::u16string piece =
        Lookup(urlConfig, std::u16string(tag) + u" " + FormatNumber(number, 1) + u"\\name");
    if (!piece.empty()) {
        AddParameter(address, piece, u"");
    }
}

}  // namespace

std::u16string BuildRequest(const ExportOptions& options, std::u16string_view bibId,
                            const CfgClass& urlConfig) {
    std::u16string address = Lookup(urlConfig, u"baseURL");
    AddPiece(address, u"f003", static_cast<int>(options.Code), urlConfig);
    AddText(address, u"bibid", bibId, urlConfig);
    AddPiece(address, u"auth", static_cast<int>(options.Authorities), urlConfig);
    AddPiece(address, u"holdings", static_cast<int>(options.Holdings), urlConfig);
    AddPiece(address, u"charset", static_cast<int>(options.Charset), urlConfig);
    AddPiece(address, u"change035", options.Change035 ? 1 : 0, urlConfig);
    AddPiece(address, u"isbn", options.IsbnNoHyphens ? 1 : 0, urlConfig);
    AddText(address, u"subjects", options.Subjects, urlConfig);
    AddText(address, u"locations", options.Libraries, urlConfig);
    return address;
}

void AddParameter(std::u16string& address, std::u16string_view name, std::u16string_view value) {
    const std::u16string_view separator = (!address.empty() && address.back() == u'?') ? u"" : u"&";
    if (!value.empty()) {
        address.append(separator).append(name).append(u"=").append(value);
    } else if (name.find(u'=') != std::u16string_view::npos) {
        address.append(separator).append(name);
    }
}

}  // namespace tesselex
