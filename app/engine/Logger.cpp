#include "app/engine/Logger.h"

#include "app/engine/DurableFile.h"
#include "config/CodePage.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {

std::u16string FormatDateTime(const DateTime& at) {
    return FormatNumber(at.Year, 4) + u"-" + FormatNumber(at.Month, 2) + u"-" +
           FormatNumber(at.Day, 2) + u" " + FormatTime(at);
}

std::u16string FormatTime(const DateTime& at) {
    return FormatNumber(at.Hour, 2) + u":" + FormatNumber(at.Minute, 2) + u":" +
           FormatNumber(at.Second, 2);
}

std::u16string FormatLogDate(const DateTime& at) {
    return FormatNumber(at.Year % 100, 2) + FormatNumber(at.Month, 2) + FormatNumber(at.Day, 2);
}

Logger::Logger(std::filesystem::path programFolder, Clock clock)
    : programFolder_(std::move(programFolder)), clock_(std::move(clock)) {}

std::filesystem::path Logger::ExportLogPath(const DateTime& at) const {
    return LogFolder() / TextToPath(u"Log" + FormatLogDate(at) + u".TXT");
}

std::filesystem::path Logger::ErrorLogPath(const DateTime& at) const {
    return LogFolder() / TextToPath(u"Error" + FormatLogDate(at) + u".TXT");
}

std::u16string StatusNumber(const StatusLine& line) {
    return FormatNumber(line.Number, 3) + u".";
}

std::u16string FormatStatusLine(const StatusLine& line) {
    return StatusNumber(line) + u" \t" + FormatTime(line.At) + u"\t" + line.Text;
}

void Logger::ShowStatus(std::u16string_view message, bool isError) {
    ++statusCounter_;
    const StatusLine line{statusCounter_, clock_(), isError ? Severity::Error : Severity::Info,
                          std::u16string(message)};
    if (sink_) {
        sink_(line);
    }
}

void Logger::WriteLog(std::u16string& message, bool isError) {
    const DateTime now = clock_();
    std::filesystem::path file;
    if (isError && logErrors_) {
        file = ErrorLogPath(now);
    } else if (logAll_) {
        file = ExportLogPath(now);
    }
    message = u"TESSELEX " + FormatDateTime(now) + u": " + message;
    if (file.empty()) {
        return;
    }
    // A line that cannot be written is dropped whole, never left torn. One status line tells of
    // it; the lines after it that fail the same way would only repeat it.
    const Done written = AppendToFile(file, TextToAnsi(message) + "\r\n");
    if (written) {
        writeFailing_ = false;
    } else if (!writeFailing_) {
        writeFailing_ = true;
        ShowStatus(
            u"Loggfilen " + PathToText(file) + u" kunde inte skrivas: " + written.Reason() + u".",
            true);
    }
}

void Logger::Report(std::u16string_view message, bool isError) {
    ShowStatus(message, isError);
    std::u16string line(message);
    WriteLog(line, isError);
}

}  // namespace tesselex
