#include "app/engine/Policy.h"

#include <QUrl>

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <system_error>

#include "app/engine/EngineMessages.h"
#include "app/engine/QtText.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

// Why a value cannot be used; nothing when it can.
using Check = std::optional<std::u16string> (*)(std::u16string_view value);

std::optional<std::u16string> AnyText(std::u16string_view) {
    return std::nullopt;
}

std::optional<std::u16string> OneOf(std::u16string_view value,
                                    std::initializer_list<std::u16string_view> choices,
                                    bool ignoreCase) {
    for (const std::u16string_view choice : choices) {
        if (ignoreCase ? EqualsNoCase(value, choice) : value == choice) {
            return std::nullopt;
        }
    }
    std::u16string list;
    for (const std::u16string_view choice : choices) {
        list += (list.empty() ? u"" : u", ") +
                (choice.empty() ? std::u16string(u"\"\"") : std::u16string(choice));
    }
    return PolicyChoicesText(list);
}

// The program compares "Yes" exactly: a "yes" would quietly mean No.
std::optional<std::u16string> YesOrNo(std::u16string_view value) {
    return OneOf(value, {SettingYes, SettingNo}, false);
}
// The request table's choices are matched without regard to case, as the program reads them.
std::optional<std::u16string> CharsetChoice(std::u16string_view value) {
    return OneOf(value, {u"ISO-8859-1", u"UTF-8"}, true);
}
std::optional<std::u16string> ComposeChoice(std::u16string_view value) {
    return OneOf(value, {u"", u"composelatin1", u"compose", u"decompose"}, true);
}
std::optional<std::u16string> PlacementChoice(std::u16string_view value) {
    return OneOf(value, {u"interleaved", u"after", u"none"}, true);
}
std::optional<std::u16string> Code003Choice(std::u16string_view value) {
    return OneOf(value, {u"SE-TESL", u"TESSEL"}, false);
}
std::optional<std::u16string> ProtocolChoice(std::u16string_view value) {
    return OneOf(value, {u"ftp", u"ftps", u"ftps-implicit", u"sftp"}, false);
}

// "host", "host:port", "[v6]:port", a bare IPv6 address, optionally after a scheme; empty: no
// FTP at all.
std::optional<std::u16string> FtpServer(std::u16string_view value) {
    const std::u16string text = Trim(value);
    const bool bareV6 = std::count(text.begin(), text.end(), u':') > 1 &&
                        text.find(u'[') == std::u16string::npos &&
                        text.find(u"://") == std::u16string::npos;
    if (text.empty() || bareV6) {
        return std::nullopt;
    }
    const QString withScheme = text.find(u"://") == std::u16string::npos
                                   ? QStringLiteral("ftp://") + ToQString(std::u16string_view(text))
                                   : ToQString(std::u16string_view(text));
    const QUrl url(withScheme, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty() || url.port() == 0) {
        return PolicyNoServerText();
    }
    return std::nullopt;
}

std::optional<std::u16string> HttpAddress(std::u16string_view value) {
    const std::u16string address = Trim(value);
    const QUrl url(ToQString(std::u16string_view(address)), QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != QStringLiteral("http") && scheme != QStringLiteral("https")) ||
        url.host().isEmpty() || url.port() == 0) {
        return u"ingen giltig http- eller https-adress (port 1–65535)";
    }
    return std::nullopt;
}

// What an administrator may set, and how each is checked. The password would be readable by
// every user of the machine, and the last bib id is the cataloguer's own work, not a choice.
Check CheckFor(SettingKey key) {
    switch (key) {
        case SettingKey::Clear:
        case SettingKey::ISBNDehyphenate:
        case SettingKey::Change035:
        case SettingKey::Logging:
        case SettingKey::LogErrors:
            return YesOrNo;
        case SettingKey::Charset:
            return CharsetChoice;
        case SettingKey::Compose:
            return ComposeChoice;
        case SettingKey::Holdtype:
        case SettingKey::Authtype:
            return PlacementChoice;
        case SettingKey::String003:
            return Code003Choice;
        case SettingKey::FTPServer:
            return FtpServer;
        case SettingKey::FTPProtocol:
            return ProtocolChoice;
        case SettingKey::Destination:
        case SettingKey::Libraries:
        case SettingKey::Subjects:
        case SettingKey::FTPUser:
        case SettingKey::FTPDirectory:
        case SettingKey::FTPFilename:
        case SettingKey::FTPTrust:  // a server's pinned fingerprint, set once for every PC
            return AnyText;
        case SettingKey::FTPPassword:
        case SettingKey::LastBibId:
            break;
    }
    return nullptr;
}

// Blanks, tabs and a Windows line end around a name or value are not part of it.
std::u16string Blankless(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(u" \t\r");
    if (first == std::u16string_view::npos) {
        return {};
    }
    return std::u16string(text.substr(first, text.find_last_not_of(u" \t\r") - first + 1));
}

}  // namespace

Policy::Policy(const Values& values, std::u16string source) : source_(std::move(source)) {
    for (const auto& [name, value] : values) {
        if (EqualsNoCase(name, PolicyServerAddress)) {
            if (auto why = HttpAddress(value)) {
                problems_.push_back(PolicyNotUsedMessage(PolicyServerAddress, value, *why));
            } else {
                serverAddress_ = Trim(value);
            }
            continue;
        }
        const std::optional<SettingKey> key = FindSettingKey(name);
        if (!key) {
            problems_.push_back(PolicyUnknownMessage(name, source_));
            continue;
        }
        const Check check = CheckFor(*key);
        if (check == nullptr) {
            problems_.push_back(
                PolicyNotUsedMessage(SettingName(*key), value, PolicyPersonalOnlyText()));
        } else if (auto why = check(value)) {
            problems_.push_back(PolicyNotUsedMessage(SettingName(*key), value, *why));
        } else {
            values_[static_cast<std::size_t>(*key)] = value;
        }
    }
}

const std::u16string* Policy::Value(SettingKey key) const {
    const auto& value = values_[static_cast<std::size_t>(key)];
    return value ? &*value : nullptr;
}

Policy Policy::FromFile(const std::filesystem::path& file) {
    const std::u16string source = PathToText(file);
    std::error_code ec;
    if (!std::filesystem::exists(file, ec)) {
        return Policy({}, source);
    }
    std::ifstream in(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (!in && !in.eof()) {
        Policy unread({}, source);
        unread.problems_.push_back(PolicyUnreadableMessage(source));
        return unread;
    }
    Values values;
    std::vector<std::u16string> badLines;
    std::u16string text = Utf8ToText(bytes);
    if (!text.empty() && text.front() == u'\xFEFF') {
        text.erase(0, 1);
    }
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find(u'\n', start);
        if (end == std::u16string::npos) {
            end = text.size();
        }
        const std::u16string line = Blankless(std::u16string_view(text).substr(start, end - start));
        start = end + 1;
        if (line.empty() || line.front() == u'#' || line.front() == u';' || line.front() == u'[') {
            continue;
        }
        const std::size_t equals = line.find(u'=');
        if (equals == std::u16string::npos) {
            badLines.push_back(line);
            continue;
        }
        values.emplace_back(Blankless(std::u16string_view(line).substr(0, equals)),
                            Blankless(std::u16string_view(line).substr(equals + 1)));
    }
    Policy policy(values, source);
    for (const std::u16string& line : badLines) {
        policy.problems_.push_back(PolicyBadLineMessage(line, source));
    }
    return policy;
}

}  // namespace tesselex
