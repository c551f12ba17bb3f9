#include "tests/app/engine/EngineFixture.h"

#include <QSettings>
#include <QStandardPaths>
#include <QString>
#include <cstdlib>

#include "config/SharedRoutines.h"
#include "config/Utf.h"
#include "tests/support/Digits.h"
#include "tests/support/TestData.h"

namespace tesselex::test {

std::string BuildRecord(const std::vector<std::pair<std::string, std::string>>& fields, char type) {
    std::string directory;
    std::string body;
    for (const auto& [tag, data] : fields) {
        const std::string field = data + '\x1E';
        directory += tag + Digits(field.size(), 4) + Digits(body.size(), 5);
        body += field;
    }
    const std::size_t base = 24 + directory.size() + 1;
    const std::size_t length = base + body.size() + 1;
    return Digits(length, 5) + 'n' + type + "  a22" + Digits(base, 5) + "1n 4500" + directory +
           '\x1E' + body + '\x1D';
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

EngineFixture::EngineFixture() : server_(SourceDir() / "data") {}

void EngineFixture::SetUp() {
    home_ = dir_ / "home";
    std::filesystem::create_directories(home_);
    // QSettings's own default for the user's settings, to put back at the end.
    settingsPath_ = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    homeEnv_.emplace("TESSELEX_HOME", home_.string());
    configEnv_.emplace("XDG_CONFIG_HOME", (dir_ / "config").string());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       QString::fromStdString((dir_ / "config").string()));
    workfile_ = dir_ / "hold.wrk";
    destination_ = dir_ / "out.mrc";
    server_.Start();
    WriteBytes(home_ / "export.url",
               "[InternetShortcut]\r\nURL=" + server_.Address("/config") + "\r\n");
    WriteBytes(home_ / "cat.ini", "[Preferences]\r\nHoldWorkFile=" + workfile_.string() + "\r\n");
    settings_ = std::make_unique<Settings>(dir_ / "settings.ini");
    settings_->StoreSetting(SettingKey::Destination, PathToText(destination_));
}

void EngineFixture::TearDown() {
    engine_.reset();
    server_.Stop();
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsPath_);
    configEnv_.reset();
    homeEnv_.reset();
}

ExportEngine& EngineFixture::StartUp(EngineSeams seams) {
    if (!seams.Now) {
        seams.Now = [this] { return now_; };
    }
    if (!seams.Ask.Message) {
        seams.Ask.Message = [this](const std::u16string& title, const std::u16string& text) {
            messages_.emplace_back(title, text);
        };
    }
    engine_ = std::make_unique<ExportEngine>(*settings_, std::move(seams));
    engine_->SetListener({[this](const EngineState& state) { states_.push_back(state); },
                          [this](const StatusLine& line) { lines_.push_back(line); },
                          [this](const ExportReport& report) { reports_.push_back(report); }});
    engine_->Start();
    return *engine_;
}

std::string EngineFixture::SampleReply(const std::string& holdings) const {
    return server_.ExportReply(bibId_, holdings);
}

std::string EngineFixture::Delivered() const {
    return std::filesystem::exists(destination_) ? ReadBytes(destination_) : std::string();
}

std::vector<std::string> EngineFixture::ExportRequests() const {
    std::vector<std::string> result;
    for (const std::string& target : server_.Requests()) {
        if (target.starts_with("/export")) {
            result.push_back(target);
        }
    }
    return result;
}

std::string EngineFixture::ReadLog(bool errors) const {
    const auto file =
        errors ? engine_->Log().ErrorLogPath(now_) : engine_->Log().ExportLogPath(now_);
    return std::filesystem::exists(file) ? ReadBytes(file) : std::string();
}

}  // namespace tesselex::test
