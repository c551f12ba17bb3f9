// The MARC-8 maps shipped in data/charmaps/, and the forward map against an independent
// MARC-8 converter (yaz-marcdump) on the real records of ../shared/testdata/marc.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <stdexcept>
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

std::u16string CharmapPath(const char* name) {
    return PathToText(test::SourceDir() / "data" / "charmaps" / name);
}

TEST(ShippedMapTest, ConvertsLettersMarksAndSetEscapesBothWays) {
    CharacterClass forward;
    CharacterClass reverse;
    forward.Load(CharmapPath("MARC8.txt"));
    reverse.Load(CharmapPath("MARC8-reverse.txt"));
    ASSERT_GT(forward.CharacterCount().value_or(0), 150);
    // Marks, ANSEL letters, delimiters, escapes to these sets, the double tilde (whose second
    // half has no value of its own); an escape to another set passes through, not repeated.
    std::u16string text = AnsiToText(
        "Caf\342e \245sop \265ble \241\360odz\261 \037a\036\033(Bb\033s \372ng\373o "
        "\210The\211 \033(N");
    forward.Map(text);
    EXPECT_EQ(text,
              u"Cafe\u0301 \u00C6sop \u00E6ble \u0141o\u0327dz\u0142 \037a\036b n\u0360go "
              u"\u0098The\u009C \033(N");
    text = u"Cafe\u0301 Lo\u0308we n\u0360go";
    reverse.Map(text);
    EXPECT_EQ(TextToAnsi(text), "Caf\342e L\350owe \372ngo");
    forward.Map(text);
    EXPECT_EQ(text, u"Cafe\u0301 Lo\u0308we n\u0360go");
}

TEST(Marc8GeneratorTest, CommittedMapsMatchTheGenerator) {
#ifdef _WIN32
    GTEST_SKIP() << "the map generator is a build-host script";
#endif
    TESSELEX_REQUIRE_SHARED_TESTDATA();
    test::TempDir dir;
    const std::string command = "/usr/bin/python3 '" +
                                (test::SourceDir() / "scripts" / "make-charmaps").string() +
                                "' --out '" + dir.Path().string() + "' >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    for (const char* name : {"MARC8.txt", "MARC8-reverse.txt"}) {
        EXPECT_EQ(test::ReadBytes(dir / name), test::ReadBytes(TextToPath(CharmapPath(name))))
            << name << " differs from what scripts/make-charmaps generates";
    }
}

// --- Real records against yaz ---------------------------------------------------------------

// The fields of a well-formed ISO 2709 record as tag + data (terminator cut); none for a record
// whose length or directory is off.
std::vector<std::string> Fields(const std::string& record) {
    std::vector<std::string> fields;
    try {
        const std::size_t base = std::stoul(record.substr(12, 5));
        if (std::stoul(record.substr(0, 5)) != record.size() || base < 25 || base > record.size()) {
            return {};
        }
        for (std::size_t at = 24; at + 12 < base; at += 12) {
            const std::size_t length = std::stoul(record.substr(at + 3, 4));
            const std::string data =
                record.substr(base + std::stoul(record.substr(at + 7, 5)), length);
            if (length == 0 || data.size() != length || data.back() != '\x1E') {
                return {};
            }
            fields.push_back(record.substr(at, 3) + data.substr(0, length - 1));
        }
    } catch (const std::logic_error&) {  // not a number, or past the end
        return {};
    }
    return fields;
}

// The records of a file, each with its terminator.
std::vector<std::string_view> Records(std::string_view bytes) {
    std::vector<std::string_view> records;
    for (std::size_t end = bytes.find('\x1D'); end != std::string_view::npos;
         end = bytes.find('\x1D')) {
        records.push_back(bytes.substr(0, end + 1));
        bytes.remove_prefix(end + 1);
    }
    return records;
}

// Why a field (tag and data) may differ from the other converter by the map's own rules or
// the other converter's reshaping, or "" if it may not.
std::string ExpectedCause(std::string_view raw, const CharacterClass& map) {
    if (raw.substr(0, 3) < "010" && raw.find('\x1F') != std::string_view::npos) {
        return "control field with subfields, reshaped by the other converter";
    }
    auto isMark = [](char byte) { return static_cast<unsigned char>(byte) >= 0xE0; };
    for (std::size_t k = 0; k < raw.size(); ++k) {
        // Bytes the map has no entry for pass through; the other converter drops them.
        if (map.FirstCharIndex(static_cast<unsigned char>(raw[k])) == 0) {
            return "byte outside the basic and extended Latin sets";
        }
        const std::string_view next = raw.substr(k + 1, 2);
        if (raw[k] == '\x1B' && next != "(B" && next != ",B" && next.substr(0, 1) != "s" &&
            next != ")E" && next != "-E") {
            return "escape to another character set";
        }
        if (isMark(raw[k]) && k + 2 >= raw.size()) {
            return "mark before the last character";
        }
        if (isMark(raw[k]) && isMark(raw[k + 1])) {
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
    // The well-formed MARC-8 records (leader position 10 blank) of every file, in one file.
    std::string selected;
    for (const auto& item : fs::directory_iterator(test::SharedTestData() / "marc")) {
        const std::string bytes = test::ReadBytes(item.path());
        for (std::string_view record : Records(bytes)) {
            if (!Fields(std::string(record)).empty() && record[9] == ' ') {
                selected += record;
            }
        }
    }
    test::TempDir dir;
    test::WriteBytes(dir / "marc8.mrc", selected);
    const std::string command = "yaz-marcdump -f MARC-8 -t UTF-8 -o marc '" +
                                (dir / "marc8.mrc").string() + "' >'" +
                                (dir / "utf8.mrc").string() + "' 2>/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    const std::string converted = test::ReadBytes(dir / "utf8.mrc");
    CharacterClass map;
    map.Load(CharmapPath("MARC8.txt"));
    const auto ours = Records(selected);
    const auto theirs = Records(converted);
    ASSERT_EQ(theirs.size(), ours.size());
    std::size_t compared = 0, agreed = 0;
    std::map<std::string, std::size_t> expected;
    std::vector<std::string> defects;
    for (std::size_t r = 0; r < ours.size(); ++r) {
        const auto fields = Fields(std::string(ours[r]));
        const auto other = Fields(std::string(theirs[r]));
        ASSERT_EQ(other.size(), fields.size()) << "record " << r + 1;
        for (std::size_t f = 0; f < fields.size(); ++f, ++compared) {
            std::u16string text = AnsiToText(fields[f]);
            map.Map(text);
            if (text == Utf8ToText(other[f])) {
                ++agreed;
            } else if (const std::string cause = ExpectedCause(fields[f], map); !cause.empty()) {
                ++expected[cause];
            } else {
                defects.push_back("record " + std::to_string(r + 1) +
                                  "\n  ours:   " + TextToUtf8(text) + "\n  theirs: " + other[f]);
            }
        }
    }
    std::cout << "MARC-8 records: " << ours.size() << ", fields: " << compared
              << ", identical: " << agreed << " ("
              << 100.0 * static_cast<double>(agreed) / static_cast<double>(compared) << " %)\n";
    for (const auto& [cause, count] : expected) {
        std::cout << "  expected difference, " << cause << ": " << count << "\n";
    }
    EXPECT_GT(ours.size(), 100u);
    EXPECT_TRUE(defects.empty()) << defects.size() << " unexplained differences, first: "
                                 << (defects.empty() ? "" : defects.front());
}

}  // namespace
}  // namespace tesselex
