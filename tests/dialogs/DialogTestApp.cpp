#include "tests/dialogs/DialogTestApp.h"

#include <gtest/gtest.h>

#include <QPushButton>
#include <QTest>
#include <QTimer>

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

}  // namespace tesselex::test
