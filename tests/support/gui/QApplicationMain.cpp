// The main of the test programs that drive real widgets: GoogleTest runs inside a QApplication.
// Widgets need the application object for the whole run, and it must be gone before the
// program's static objects are: a static one crashes at exit in Qt's own clean-up. Without a
// platform named the tests run offscreen, also when the build lists them on a machine without a
// display.

#include <gtest/gtest.h>

#include <QApplication>

// Fontconfig keeps its font cache until the process ends; that cache is the system library's
// and not ours, so LeakSanitizer is told to leave it alone.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
#ifdef _WIN32
    // The offscreen platform on Windows finds fonts only in Qt's font folder. Wine passes no
    // variable named QT_... to a program, so the test run names the folder under another name.
    if (qEnvironmentVariableIsEmpty("QT_QPA_FONTDIR")) {
        qputenv("QT_QPA_FONTDIR", qgetenv("TESSELEX_TEST_FONTDIR"));
    }
#endif
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
