// A character map printed through the Qt page output: the pages the layout asks for arrive in
// a real PDF document.

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QPrinterInfo>
#include <string>

#include "app/print/QtPageOutput.h"
#include "charset/CharacterClass.h"
#include "config/Strings.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

// Fontconfig keeps its font cache until the process ends; LeakSanitizer would report that
// cache, which is the system library's and not ours, as a leak of every test here.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}

namespace tesselex {
namespace {

class QtPageOutputTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        static int argc = 1;
        static char name[] = "app_print_tests";
        static char* argv[] = {name, nullptr};
        static QGuiApplication app(argc, argv);
    }

    static QString PdfPath(const test::TempDir& dir) {
        return QString::fromStdString((dir / "map.pdf").string());
    }

    // Pages of a PDF as Qt writes them: one "/Type /Page" object each ("/Pages" is the tree).
    static int PageCount(const std::string& pdf) {
        const std::string page = "/Type /Page";
        int count = 0;
        for (std::size_t at = pdf.find(page); at != std::string::npos;
             at = pdf.find(page, at + 1)) {
            const std::size_t next = at + page.size();
            count += (next < pdf.size() && pdf[next] == 's') ? 0 : 1;
        }
        return count;
    }

    // A map of n entry lines; with the empty slot 0 the listing has n + 1 lines.
    static CharacterClass MapOf(int n) {
        std::u16string text;
        for (int i = 0; i < n; ++i) {
            text += u"&H" + FromAscii(std::to_string(0x100 + i)) + u"=41 # entry\r\n";
        }
        CharacterClass map;
        map.LoadFromString(text, false);
        return map;
    }
};

TEST_F(QtPageOutputTest, FiftyOneLinesMakeAPage) {
    struct Case {
        int entries;
        int pages;
    };
    for (const Case c : {Case{10, 1}, Case{50, 1}, Case{51, 2}, Case{120, 3}}) {
        SCOPED_TRACE(c.entries);
        test::TempDir dir;
        {
            auto out = QtPageOutput::ForPdf(PdfPath(dir));
            MapOf(c.entries).PrintCharacterMap(*out, u"Courier", u"Arial", u"Arial");
        }
        const std::string pdf = test::ReadBytes(dir / "map.pdf");
        ASSERT_EQ(pdf.rfind("%PDF-", 0), 0u);
        EXPECT_EQ(PageCount(pdf), c.pages);
    }
}

TEST_F(QtPageOutputTest, TextHeightIsInTwips) {
    test::TempDir dir;
    auto out = QtPageOutput::ForPdf(PdfPath(dir));
    out->SetFont(u"Courier", 12);
    // A 12-point line is 240 twips of type plus leading; device units would be far off (a
    // 1200 dpi printer has 10 times as many).
    const std::int32_t height = out->TextHeight(u"W");
    EXPECT_GT(height, 200);
    EXPECT_LT(height, 400);
}

TEST_F(QtPageOutputTest, WithoutAPrinterTheMapGoesToThePdf) {
    if (!QPrinterInfo::defaultPrinter().isNull()) {
        GTEST_SKIP() << "this machine has a default printer";
    }
    test::TempDir dir;
    auto out = QtPageOutput::ForDefaultPrinter(PdfPath(dir));
    EXPECT_TRUE(out->IsPdf());
}

}  // namespace
}  // namespace tesselex
