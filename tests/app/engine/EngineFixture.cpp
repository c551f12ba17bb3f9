#include "tests/app/engine/EngineFixture.h"

#include <QSettings>
#include <QString>
#include <cstdlib>

#include "config/SharedRoutines.h"
#include "config/Utf.h"
#include "tests/support/TestData.h"

namespace tesselex::test {
namespace {

std::string Digits(std::size_t value, std::size_t width) {
    std::string text = std::to_string(value);
    return std::string(width > text.size() ? width - text.size() : 0, '0') + text;
}

}  // namespace

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
                        "bTes\x1F"
                        "hQA76");
    return BuildRecord(fields);
}

EngineFixture::EngineFixture() : server_(SourceDir() / "data") {}

void EngineFixture::SetUp() {
    home_ = dir_ / "home";
    std::filesystem::create_directories(home_);
    std::filesystem::create_directories(dir_ / "config");
    setenv("TESSELEX_HOME", home_.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (dir_ / "config").c_str(), 1);
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
    previousSink_ = SetMessageSink([this](const std::u16string& title, const std::u16string& text) {
        messages_.emplace_back(title, text);
    });
}

void EngineFixture::TearDown() {
    SetMessageSink(previousSink_);
    engine_.reset();
    server_.Stop();
}

ExportEngine& EngineFixture::StartUp() {
    engine_ = std::make_unique<ExportEngine>(*settings_);
    engine_->Log().SetStatusSink([this](const StatusLine& line) { lines_.push_back(line); });
    engine_->LoadConfig();
    return *engine_;
}

void EngineFixture::WriteWorkfile(const std::string& bytes) {
    WriteBytes(workfile_, bytes);
}

bool EngineFixture::WasDelivered() const {
    return std::filesystem::exists(destination_);
}

std::string EngineFixture::Delivered() const {
    return WasDelivered() ? ReadBytes(destination_) : std::string();
}

std::vector<std::string> EngineFixture::ExportRequests() const {
    std::vector<std::string> result;
    for (const std::string& target : server_.Requests()) {
        if (target.rfind("/export", 0) == 0) {
            result.push_back(target);
        }
    }
    return result;
}

std::vector<std::u16string> EngineFixture::StatusMessages() const {
    std::vector<std::u16string> result;
    for (const StatusLine& line : lines_) {
        result.push_back(line.Message);
    }
    return result;
}

std::string EngineFixture::ErrorLog() const {
    const auto file = engine_->Log().ErrorLogPath(LocalNow());
    return std::filesystem::exists(file) ? ReadBytes(file) : std::string();
}

std::string EngineFixture::ExportLog() const {
    const auto file = engine_->Log().ExportLogPath(LocalNow());
    return std::filesystem::exists(file) ? ReadBytes(file) : std::string();
}

}  // namespace tesselex::test
