#include "tests/support/export/ExportSandbox.h"

#ifndef _WIN32
#include <stdexcept>
#include <sys/wait.h>
#endif

#include <QSettings>
#include <QStandardPaths>
#include <cstdio>

#include "config/Utf.h"
#include "tests/support/IsoRecord.h"
#include "tests/support/TestData.h"

namespace tesselex::test {

#ifdef _WIN32
namespace {

// The cataloguing client's workfile value where the program reads it; an invalid value removes it.
QSettings ClientSettings() {
    return QSettings(QString::fromStdU16String(NativeSettingsKey(u"VoyagerCat", true)),
                     QSettings::NativeFormat);
}
const QString kClientWorkfile = QStringLiteral("Preferences/HoldWorkFile");
void SetClientWorkfile(const QVariant& value) {
    value.isValid() ? ClientSettings().setValue(kClientWorkfile, value)
                    : ClientSettings().remove(kClientWorkfile);
}

}  // namespace
#endif

std::string BuildRecord(const std::vector<std::pair<std::string, std::string>>& fields, char type) {
    return IsoBytes(fields, std::string("00000n") + type + "  a22000001n 4500");
}

std::string HoldingsRecord(const std::string& link) {
    std::vector<std::pair<std::string, std::string>> fields;
    if (!link.empty()) {
        fields.emplace_back("004", link);
    }
    fields.emplace_back("852",
                        "  \x1F"
                        "bTes");
    return BuildRecord(fields);
}

void PlaceFile(const std::filesystem::path& path, const std::string& bytes) {
    std::filesystem::path aside = path;
    aside += ".part";
    WriteBytes(aside, bytes);
    std::filesystem::rename(aside, path);
}

CliResult RunCliScript(const std::string& script) {
#ifdef _WIN32
    (void)script;
    return {-1, std::string(kNoShell)};
#else
    const std::string command = std::string("CLI='") + TESSELEX_CLI_PATH + "'; " + script;
    CliResult result;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return result;
    }
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
        result.Out.append(buffer, n);
    }
    const int status = pclose(pipe);
    result.Status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
#endif
}

ExportSandbox::ExportSandbox()
    : home_(dir_ / "home"),
      homeEnv_("TESSELEX_HOME", home_.string()),
      configEnv_("XDG_CONFIG_HOME", (dir_ / "config").string()),
      runtimeEnv_("XDG_RUNTIME_DIR", (dir_ / "run").string()),
      policyEnv_("TESSELEX_POLICY_FILE", (dir_ / "policy.conf").string()),
      // QSettings's own default for the user's settings, to put back at the end.
      settingsPath_(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)),
      workfile_(dir_ / "hold.wrk"),
      destination_(dir_ / "out.mrc"),
      server_(SourceDir() / "data") {
    std::filesystem::create_directories(home_);
    std::filesystem::create_directories(dir_ / "run");
    std::filesystem::permissions(dir_ / "run", std::filesystem::perms::owner_all);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       QString::fromStdString((dir_ / "config").string()));
    server_.Start();
    WriteBytes(home_ / "export.url",
               "[InternetShortcut]\r\nURL=" + server_.Address("/config") + "\r\n");
#ifdef _WIN32
    clientBefore_ = ClientSettings().value(kClientWorkfile);
#endif
    NameClientWorkfile(workfile_);
    settings_ = std::make_unique<Settings>(dir_ / "settings.ini");
    if (!settings_->StoreSetting(SettingKey::Destination, PathToText(destination_))) {
        throw std::runtime_error("the sandbox's settings file cannot be written");
    }
}

ExportSandbox::~ExportSandbox() {
    server_.Stop();
#ifdef _WIN32
    SetClientWorkfile(clientBefore_);
#endif
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsPath_);
}

void ExportSandbox::NameClientWorkfile(const std::filesystem::path& workfile) {
#ifdef _WIN32
    SetClientWorkfile(workfile.empty() ? QVariant()
                                       : QVariant(QString::fromStdWString(workfile.native())));
#else
    if (workfile.empty()) {
        std::filesystem::remove(home_ / "cat.ini");
    } else {
        WriteBytes(home_ / "cat.ini",
                   "[Preferences]\r\nHoldWorkFile=" + workfile.string() + "\r\n");
    }
#endif
}

std::string ExportSandbox::SampleReply(const std::string& holdings) const {
    return server_.ExportReply(bibId_, holdings);
}

std::string ExportSandbox::Delivered() const {
    return std::filesystem::exists(destination_) ? ReadBytes(destination_) : std::string();
}

std::vector<std::string> ExportSandbox::ExportRequests() const {
    std::vector<std::string> result;
    for (const std::string& target : server_.Requests()) {
        if (target.starts_with("/export")) {
            result.push_back(target);
        }
    }
    return result;
}

}  // namespace tesselex::test
