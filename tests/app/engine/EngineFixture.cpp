#include "tests/app/engine/EngineFixture.h"

#include "app/engine/Outbox.h"
#include "tests/support/TestData.h"

namespace tesselex::test {

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
                          [this](const ExportReport& report) { reports_.push_back(report); },
                          [this](const std::vector<OutboxEntry>& entries) { waiting_ = entries; }});
    engine_->Start();
    return *engine_;
}

void EngineFixture::PollAfter(long long seconds) {
    now_ = DateTimeOf(SecondsOf(now_) + seconds);
    engine_->Poll();
}

std::string EngineFixture::ReadLog(bool errors) const {
    const auto file =
        errors ? engine_->Log().ErrorLogPath(now_) : engine_->Log().ExportLogPath(now_);
    return std::filesystem::exists(file) ? ReadBytes(file) : std::string();
}

}  // namespace tesselex::test
