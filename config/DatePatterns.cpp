// Date patterns in file names ("|%MMDDHHMMSS%.mrc") and the local clock they read.
//
// Inside a pattern, runs of one letter (either case) stand for a part of the date and time:
// YYYY and YY the year, M and MM the month (the minutes when the last part before them was an
// hour), D and DD the day, H and HH the hour, N and NN the minutes, S and SS the seconds; the
// doubled forms are zero-padded to two digits. Every other character, and runs of other
// lengths (MMM, Y), stands for itself, so a pattern never loses text it does not understand.

#include <ctime>

#include "config/SharedRoutines.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

enum class Part { None, Year, Month, Day, Hour, Minute, Second };

std::u16string Digits(int value, std::size_t run) {
    return FormatNumber(value, run >= 2 ? 2 : 1);
}

std::u16string FormatPattern(std::u16string_view pattern, const DateTime& at) {
    std::u16string out;
    Part last = Part::None;
    std::size_t i = 0;
    while (i < pattern.size()) {
        const char16_t letter = ToUpperChar(pattern[i]);
        std::size_t run = 1;
        while (i + run < pattern.size() && ToUpperChar(pattern[i + run]) == letter) {
            ++run;
        }
        const std::u16string_view literal = pattern.substr(i, run);
        i += run;
        // One- and two-letter runs are date parts; longer runs stand for themselves.
        const auto part = [&](int value, Part which) {
            if (run <= 2) {
                out += Digits(value, run);
                last = which;
            } else {
                out += literal;
            }
        };
        switch (letter) {
            case u'Y':
                if (run == 4) {
                    out += FormatNumber(at.Year, 4);
                    last = Part::Year;
                } else if (run == 2) {
                    out += FormatNumber(((at.Year % 100) + 100) % 100, 2);
                    last = Part::Year;
                } else {
                    out += literal;
                }
                break;
            case u'M':
                if (last == Part::Hour) {
                    part(at.Minute, Part::Minute);
                } else {
                    part(at.Month, Part::Month);
                }
                break;
            case u'D':
                part(at.Day, Part::Day);
                break;
            case u'H':
                part(at.Hour, Part::Hour);
                break;
            case u'N':
                part(at.Minute, Part::Minute);
                break;
            case u'S':
                part(at.Second, Part::Second);
                break;
            default:
                out += literal;
                break;
        }
    }
    return out;
}

}  // namespace

DateTime LocalNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &now);
#else
    localtime_r(&now, &local);
#endif
    return DateTime{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                    local.tm_hour,        local.tm_min,     local.tm_sec};
}

std::u16string ExpandDatePatterns(std::u16string_view text) {
    return ExpandDatePatterns(text, LocalNow());
}

std::u16string ExpandDatePatterns(std::u16string_view text, const DateTime& at) {
    std::u16string result(text);
    std::size_t from = 0;
    for (;;) {
        const std::size_t open = result.find(u'%', from);
        if (open == std::u16string::npos) {
            break;
        }
        const std::size_t close = result.find(u'%', open + 1);
        if (close == std::u16string::npos) {
            // A lone "%" stays as it is; the expansion ends here.
            break;
        }
        const std::u16string expanded =
            FormatPattern(std::u16string_view(result).substr(open + 1, close - open - 1), at);
        result.replace(open, close - open + 1, expanded);
        // The expansion holds no "%", so going on behind it is the same as starting over.
        from = open + expanded.size();
    }
    return result;
}

}  // namespace tesselex
