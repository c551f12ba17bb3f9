#include "tests/dialogs/DialogTestApp.h"

#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <QTimer>

// Fontconfig keeps its font cache until the process ends; that cache is the system library's
// and not ours, so LeakSanitizer is told to leave it alone.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}

namespace tesselex::test {

int ExecWhile(QDialog& dialog, const std::function<void()>& whileOpen) {
    QTimer::singleShot(0, &dialog, whileOpen);
    QTimer guard;
    guard.setSingleShot(true);
    QObject::connect(&guard, &QTimer::timeout, &dialog, [&dialog] {
        ADD_FAILURE() << "the dialog was still open";
        dialog.reject();
    });
    guard.start(5000);
    return dialog.exec();
}

void Click(QWidget& parent, const QString& buttonName) {
    auto* button = parent.findChild<QPushButton*>(buttonName);
    ASSERT_NE(button, nullptr) << buttonName.toStdString();
    QTest::mouseClick(button, Qt::LeftButton);
}

QWidget* EditCurrentCell(QAbstractItemView& view) {
    QTest::keyClick(&view, Qt::Key_F2);
    return view.indexWidget(view.currentIndex());
}

}  // namespace tesselex::test

// Widgets need the application object for the whole run, and it must be gone before the
// program's static objects are: a static one crashes at exit in Qt's own clean-up. Without a
// platform named the tests run offscreen, also when the build lists them on a machine without
// a display.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
