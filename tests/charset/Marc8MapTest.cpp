// The MARC-8 maps shipped in data/charmaps/, and the forward map against an independent
// MARC-8 converter (yaz-marcdump) on the real records of ../shared/testdata/marc.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "charset/CharacterClass.h"
#include "config/CodePage.h"
#include "config/Utf.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

namespace fs = std::filesystem;

fs::path CharmapPath(const char* name) {
    return test::SourceDir() / "data" / "charmaps" / name;
}

class ShippedMapTest : public ::testing::Test {
  protected:
    void SetUp() override {
        forward_.Load(PathToText(CharmapPath("MARC8.txt")));
        reverse_.Load(PathToText(CharmapPath("MARC8-reverse.txt")));
        ASSERT_GT(forward_.CharacterCount().value_or(0), 150);
        ASSERT_GT(reverse_.CharacterCount().value_or(0), 25);
    }
    std::u16string Forward(std::string_view marc8) const {
        std::u16string text = AnsiToText(marc8);
        forward_.Map(text);
        return text;
    }

    CharacterClass forward_;
    CharacterClass reverse_;
};

TEST_F(ShippedMapTest, ForwardMapConvertsLettersMarksAndSetEscapes) {
    EXPECT_EQ(Forward("Caf\xE2"
                      "e au lait"),
              u"Cafe\u0301 au lait");
    EXPECT_EQ(Forward("\xA5sop \xB5"
                      "ble \xA1\xF0"
                      "odz\xB1"),
              u"\u00C6sop \u00E6ble \u0141o\u0327dz\u0142");
    EXPECT_EQ(Forward("\x1F"
                      "aTitle\x1E"),
              u"\u001FaTitle\u001E");
    EXPECT_EQ(Forward("a\x1B(Bb\x1BsZ"), u"abZ");
    EXPECT_EQ(Forward("\x88The\x89 end"), u"\u0098The\u009C end");
    // The double tilde's second half has no Unicode value of its own.
    EXPECT_EQ(Forward("\xFAng\xFBo."), u"n\u0360go.");
    // An escape to a set this map does not hold is passed through, not repeated.
    EXPECT_EQ(Forward("\x1B(Nab"), u"\u001B(Nab");
    EXPECT_FALSE(forward_.ReverseDiacritics());
}

TEST_F(ShippedMapTest, ReverseMapPutsMarksBackInFront) {
    std::u16string text = u"Cafe\u0301 Lo\u0308we n\u0360go";
    reverse_.Map(text);
    EXPECT_EQ(TextToAnsi(text),
              "Caf\xE2"
              "e L\xE8owe \xFAngo");
    // And the forward map undoes it.
    forward_.Map(text);
    EXPECT_EQ(text, u"Cafe\u0301 Lo\u0308we n\u0360go");
}

TEST(Marc8GeneratorTest, CommittedMapsMatchTheGenerator) {
    TESSELEX_REQUIRE_SHARED_TESTDATA();
    test::TempDir dir;
    const std::string command = "/usr/bin/python3 '" +
                                (test::SourceDir() / "scripts" / "make-charmaps").string() +
                                "' --out '" + dir.Path().string() + "' >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    for (const char* name : {"MARC8.txt", "MARC8-reverse.txt"}) {
        EXPECT_EQ(test::ReadBytes(dir / name), test::ReadBytes(CharmapPath(name)))
            << name << " differs from what scripts/make-charmaps generates";
    }
}

// --- Real records against yaz ---------------------------------------------------------------

struct Field {
    std::string tag;
    std::string data;  // without its terminator
};

// A minimal ISO 2709 reader: fields by the directory; an empty result for anything malformed.
std::vector<Field> SplitRecord(const std::string& record) {
    if (record.size() < 25) {
        return {};
    }
    auto number = [&](std::size_t at, std::size_t width) -> long {
        long value = 0;
        for (std::size_t k = at; k < at + width; ++k) {
            if (k >= record.size() || record[k] < '0' || record[k] > '9') {
                return -1;
            }
            value = value * 10 + (record[k] - '0');
        }
        return value;
    };
    // Only records whose length is right: both readers must see the same records.
    if (number(0, 5) != static_cast<long>(record.size())) {
        return {};
    }
    const long base = number(12, 5);
    if (base < 25 || static_cast<std::size_t>(base) > record.size() || (base - 25) % 12 != 0 ||
        record[static_cast<std::size_t>(base) - 1] != '\x1E') {
        return {};
    }
    std::vector<Field> fields;
    for (std::size_t at = 24; at + 12 < static_cast<std::size_t>(base); at += 12) {
        const long length = number(at + 3, 4);
        const long start = number(at + 7, 5);
        const std::size_t from = static_cast<std::size_t>(base) + static_cast<std::size_t>(start);
        if (length < 1 || start < 0 || from + static_cast<std::size_t>(length) > record.size() ||
            record[from + static_cast<std::size_t>(length) - 1] != '\x1E') {
            return {};
        }
        fields.push_back(
            {record.substr(at, 3), record.substr(from, static_cast<std::size_t>(length) - 1)});
    }
    return fields;
}

// One field as the line output shows it: tag, indicators, " $a data" per subfield.
std::u16string LineOf(const std::string& tag, const std::u16string& text) {
    std::u16string line = Utf8ToText(tag);
    if (tag < "010") {
        return line + u" " + text;
    }
    line += u" " + text.substr(0, 2) + u" ";
    const std::u16string body = text.size() > 2 ? text.substr(2) : std::u16string{};
    bool first = true;
    std::size_t at = body.find(u'\x1F');
    while (at != std::u16string::npos) {
        const std::size_t next = body.find(u'\x1F', at + 1);
        const std::u16string sub =
            body.substr(at + 1, next == std::u16string::npos ? next : next - at - 1);
        line += (first ? u"$" : u" $") + sub.substr(0, 1) + u" " +
                (sub.size() > 1 ? sub.substr(1) : u"");
        first = false;
        at = next;
    }
    return line;
}

std::string RunYaz(const fs::path& file) {
    const std::string command =
        "yaz-marcdump -f MARC-8 -t UTF-8 -o line '" + file.string() + "' 2>/dev/null";
    std::string output;
    if (FILE* pipe = popen(command.c_str(), "r")) {
        char buffer[65536];
        std::size_t n = 0;
        while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) {
            output.append(buffer, n);
        }
        pclose(pipe);
    }
    return output;
}

// Records of the line output: groups of lines separated by an empty line; leader first.
std::vector<std::vector<std::string>> YazRecords(const std::string& output) {
    std::vector<std::vector<std::string>> records(1);
    std::size_t at = 0;
    while (at < output.size()) {
        std::size_t end = output.find('\n', at);
        if (end == std::string::npos) {
            end = output.size();
        }
        const std::string line = output.substr(at, end - at);
        if (!line.empty() && (line[0] == '(' || line[0] == '<')) {
            // A warning about the record, not a field.
        } else if (line.empty()) {
            if (!records.back().empty()) {
                records.emplace_back();
            }
        } else {
            records.back().push_back(line);
        }
        at = end + 1;
    }
    if (records.back().empty()) {
        records.pop_back();
    }
    return records;
}

bool IsMark(unsigned char byte) {
    return byte >= 0xE0 && byte <= 0xFE;
}

// Why a field may differ from the other converter by the map's own rules, or "" if it may not.
std::string ExpectedCause(const std::string& raw, const CharacterClass& map) {
    const std::size_t n = raw.size();
    for (char byte : raw) {
        // Characters the map has no entry for pass through; the other converter drops them.
        if (map.FirstCharIndex(static_cast<unsigned char>(byte)) == 0) {
            return "byte outside the basic and extended Latin sets";
        }
    }
    for (std::size_t k = 0; k < n; ++k) {
        if (raw[k] == '\x1B') {
            const std::string next = raw.substr(k + 1, 2);
            if (next != "(B" && next != ",B" && next.substr(0, 1) != "s" && next != ")E" &&
                next != "-E") {
                return "escape to another character set";
            }
        }
    }
    for (std::size_t k = 0; k < n; ++k) {
        const auto byte = static_cast<unsigned char>(raw[k]);
        if (IsMark(byte) && k + 2 >= n) {
            return "mark before the last character";
        }
        if (IsMark(byte) && IsMark(static_cast<unsigned char>(raw[k + 1]))) {
            return "stacked marks";
        }
    }
    return "";
}

TEST(Marc8RealDataTest, AgreesWithAnIndependentConverter) {
    TESSELEX_REQUIRE_SHARED_TESTDATA();
    if (std::system("command -v yaz-marcdump >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "yaz-marcdump is not installed";
    }
    CharacterClass map;
    map.Load(PathToText(CharmapPath("MARC8.txt")));
    test::TempDir dir;

    std::size_t compared = 0;
    std::size_t agreed = 0;
    std::size_t records = 0;
    std::size_t notComparable = 0;
    std::map<std::string, std::size_t> expected;
    std::vector<std::string> defects;
    for (const auto& item : fs::directory_iterator(test::SharedTestData() / "marc")) {
        const std::string bytes = test::ReadBytes(item.path());
        // The MARC-8 records (leader position 10 blank) that are well formed.
        std::vector<std::vector<Field>> chosen;
        std::string selected;
        std::size_t start = 0;
        while (start < bytes.size()) {
            std::size_t end = bytes.find('\x1D', start);
            if (end == std::string::npos) {
                break;
            }
            const std::string record = bytes.substr(start, end - start + 1);
            start = end + 1;
            std::vector<Field> fields = SplitRecord(record);
            if (record.size() > 24 && record[9] == ' ' && !fields.empty()) {
                chosen.push_back(std::move(fields));
                selected += record;
            }
        }
        if (chosen.empty()) {
            continue;
        }
        const fs::path file = dir / item.path().filename();
        test::WriteBytes(file, selected);
        const auto yaz = YazRecords(RunYaz(file));
        ASSERT_EQ(yaz.size(), chosen.size()) << item.path();
        for (std::size_t r = 0; r < chosen.size(); ++r) {
            ++records;
            const auto& fields = chosen[r];
            const auto& lines = yaz[r];
            for (std::size_t f = 0; f < fields.size(); ++f) {
                if (fields[f].tag < "010" && fields[f].data.find('\x1F') != std::string::npos) {
                    // A control field with subfields: the line output reshapes it.
                    ++notComparable;
                    continue;
                }
                std::u16string text = AnsiToText(fields[f].data);
                map.Map(text);
                const std::u16string ours = LineOf(fields[f].tag, text);
                const std::u16string theirs =
                    f + 1 < lines.size() ? Utf8ToText(lines[f + 1]) : std::u16string{};
                ++compared;
                if (ours == theirs) {
                    ++agreed;
                    continue;
                }
                const std::string cause = ExpectedCause(fields[f].data, map);
                if (!cause.empty()) {
                    ++expected[cause];
                } else if (defects.size() < 20) {
                    defects.push_back(item.path().filename().string() + " " + fields[f].tag +
                                      "\n  ours:   " + TextToUtf8(ours) +
                                      "\n  theirs: " + TextToUtf8(theirs));
                } else {
                    defects.emplace_back();
                }
            }
        }
    }
    std::cout << "MARC-8 records: " << records << ", fields compared: " << compared
              << ", identical: " << agreed << " ("
              << (compared != 0
                      ? 100.0 * static_cast<double>(agreed) / static_cast<double>(compared)
                      : 0.0)
              << " %), not comparable: " << notComparable << "\n";
    for (const auto& [cause, count] : expected) {
        std::cout << "  expected difference, " << cause << ": " << count << "\n";
    }
    EXPECT_GT(records, 100u);
    EXPECT_TRUE(defects.empty()) << defects.size() << " unexplained differences, first: "
                                 << (defects.empty() ? "" : defects.front());
    for (std::size_t k = 0; k < defects.size() && k < 20; ++k) {
        std::cout << defects[k] << "\n";
    }
}

}  // namespace
}  // namespace tesselex
