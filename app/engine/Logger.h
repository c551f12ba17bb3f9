#pragma once
// Status lines and the daily logs. Every outcome of an export becomes a numbered status line
// handed to the status sink (the CLI prints it; the window lists it and sets the tray tip) and,
// depending on two switches, a line in the day's export or error log under <app>/Logs.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "config/SharedRoutines.h"

namespace tesselex {

enum class Severity { Info, Error };

struct StatusLine {
    int Number = 0;        // counted from 1 since start-up
    DateTime At;           // when it was shown
    Severity Level = Severity::Info;  // an error: the window shows the error image and beeps
    std::u16string Text;   // the message (also the tray tip)
    bool IsError() const { return Level == Severity::Error; }
};

// "001. \tHH:MM:SS\ttext": the status list's columns as one line, as the CLI prints it.
std::u16string FormatStatusLine(const StatusLine& line);
// "001.": the status list's first column.
std::u16string StatusNumber(const StatusLine& line);

using StatusSink = std::function<void(const StatusLine&)>;
using Clock = std::function<DateTime()>;

class Logger {
  public:
    Logger(std::filesystem::path programFolder, Clock clock);

    void SetStatusSink(StatusSink sink) { sink_ = std::move(sink); }
    void SetLogAll(bool on) { logAll_ = on; }
    void SetLogErrors(bool on) { logErrors_ = on; }
    bool LogAll() const { return logAll_; }
    bool LogErrors() const { return logErrors_; }
    int StatusCount() const { return statusCounter_; }

    void ShowStatus(std::u16string_view message, bool isError);
    // Appends the log line: an error goes to the error log when error logging is on, otherwise
    // to the export log when export logging is on. The message is replaced by the full line.
    // The first write that fails shows one error status line; the next after a success again.
    void WriteLog(std::u16string& message, bool isError);
    // Status line and log line together, as every export outcome is reported.
    void Report(std::u16string_view message, bool isError);

    std::filesystem::path LogFolder() const { return programFolder_ / "Logs"; }
    std::filesystem::path ExportLogPath(const DateTime& at) const;
    std::filesystem::path ErrorLogPath(const DateTime& at) const;

  private:
    std::filesystem::path programFolder_;
    Clock clock_;
    StatusSink sink_;
    bool logAll_ = false;
    bool logErrors_ = false;
    int statusCounter_ = 0;
    bool writeFailing_ = false;
};

// "YYYY-MM-DD HH:MM:SS", "HH:MM:SS" and "YYMMDD".
std::u16string FormatDateTime(const DateTime& at);
std::u16string FormatTime(const DateTime& at);
std::u16string FormatLogDate(const DateTime& at);

}  // namespace tesselex
