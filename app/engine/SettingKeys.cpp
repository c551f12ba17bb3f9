#include "app/engine/SettingKeys.h"

#include "config/Strings.h"

namespace tesselex {

const std::array<SettingKeyInfo, SettingKeyCount>& SettingKeys() {
    static const std::array<SettingKeyInfo, SettingKeyCount> keys{{
        {SettingKey::Destination, u"Destination", "destination file pattern (&USER&, %YYMMDD%)"},
        {SettingKey::Libraries, u"Libraries", "library codes separated by blanks"},
        {SettingKey::Subjects, u"Subjects", "subject choices per library code"},
        {SettingKey::Clear, u"Clear", "Yes/No: empty the destination before each export"},
        {SettingKey::ISBNDehyphenate, u"ISBNDehyphenate", "Yes/No: ISBN without hyphens"},
        {SettingKey::Change035, u"Change035", "Yes/No: rewrite 035$9 to 035$a"},
        {SettingKey::Charset, u"Charset", "ISO-8859-1 or UTF-8"},
        {SettingKey::Compose, u"Compose", "\"\", composelatin1, compose or decompose"},
        {SettingKey::Holdtype, u"Holdtype", "holdings records: interleaved, after or none"},
        {SettingKey::Authtype, u"Authtype", "authority records: interleaved, after or none"},
        {SettingKey::String003, u"String003", "the 003 choice: SE-TESL or TESSEL"},
        {SettingKey::FTPServer, u"FTPServer", "FTP server (host or host:port); empty: no FTP"},
        {SettingKey::FTPProtocol, u"FTPProtocol", "ftp (default), ftps, ftps-implicit or sftp"},
        {SettingKey::FTPUser, u"FTPUser", "FTP user"},
        {SettingKey::FTPPassword, u"FTPPassword", "FTP password"},
        {SettingKey::FTPDirectory, u"FTPDirectory", "FTP directory"},
        {SettingKey::FTPFilename, u"FTPFilename", "remote file name pattern (|%MMDDHHMMSS%.mrc)"},
        {SettingKey::FTPTrust, u"FTPTrust",
         "trusted servers: PROTOCOL://HOST:PORT FINGERPRINT; ... (ftp/server test --trust)"},
        {SettingKey::Logging, u"Logging", "Yes/No: log every export"},
        {SettingKey::LogErrors, u"LogErrors", "Yes/No: log errors to the error log"},
        {SettingKey::LastBibId, u"LastBibId", "last exported bib id"},
    }};
    return keys;
}

std::u16string_view SettingName(SettingKey key) {
    for (const auto& info : SettingKeys()) {
        if (info.Key == key) {
            return info.Name;
        }
    }
    return {};
}

std::optional<SettingKey> FindSettingKey(std::u16string_view name) {
    for (const auto& info : SettingKeys()) {
        if (EqualsNoCase(info.Name, name)) {
            return info.Key;
        }
    }
    return std::nullopt;
}

}  // namespace tesselex
