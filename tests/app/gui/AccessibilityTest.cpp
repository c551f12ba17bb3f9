// Every control a keyboard reaches has a name a screen reader can say: the main window and each
// dialog it opens, walked through the accessibility interface as an assistive tool sees them.

#include <QAccessible>
#include <functional>

#include "dialogs/FrmSubjects.h"
#include "dialogs/frmFTP.h"
#include "dialogs/frmOutbox.h"
#include "dialogs/frmURL.h"
#include "tests/app/gui/GuiFixture.h"

namespace tesselex::test {
namespace {

class AccessibilityTest : public GuiFixture {};

TEST_F(AccessibilityTest, EveryControlAKeyboardReachesHasAName) {
    gui::EngineController controller(Options());
    const std::pair<const char*, std::function<std::unique_ptr<QWidget>()>> windows[] = {
        {"main window", [&] { return std::make_unique<gui::frmMain>(controller); }},
        {"subjects", [] { return std::make_unique<FrmSubjects>(); }},
        {"server address", [] { return std::make_unique<frmURL>(QString()); }},
        {"FTP", [] { return std::make_unique<frmFTP>(); }},
        {"waiting exports", [] { return std::make_unique<frmOutbox>(); }},
    };
    for (const auto& [name, make] : windows) {
        const std::unique_ptr<QWidget> window = make();
        window->show();
        for (QWidget* widget : window->findChildren<QWidget*>()) {
            if ((widget->focusPolicy() & Qt::TabFocus) && widget->isVisibleTo(window.get())) {
                QAccessibleInterface* seen = QAccessible::queryAccessibleInterface(widget);
                EXPECT_FALSE(seen == nullptr || seen->text(QAccessible::Name).trimmed().isEmpty())
                    << name << ": " << widget->objectName().toStdString();
            }
        }
    }
}

}  // namespace
}  // namespace tesselex::test
