#pragma once
// Running a modal dialog while a test works it, and clicking its buttons. The test
// program's main (tests/support/gui/QApplicationMain.cpp) creates the application object.

#include <QDialog>
#include <QString>
#include <functional>

class QWidget;

namespace tesselex::test {

// Runs dialog.exec() and, once its event loop runs, whileOpen (which must close the dialog).
// A dialog left open is rejected after a few seconds so a failing test cannot hang.
int ExecWhile(QDialog& dialog, const std::function<void()>& whileOpen);

// Clicks the named child button of a widget.
void Click(QWidget& parent, const QString& buttonName);

}  // namespace tesselex::test
