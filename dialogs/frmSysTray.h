#pragma once
// The program's icon in the notification area with its pop-up menu. It only reports: mouse
// notifications become the five events below and a menu item's click becomes MenuClick; the
// main form decides what they do.
//
// The menu is also the icon's context menu, so the platform opens it on a right click by itself
// (SysTrayMouseDown(2) is still raised); ShowMenu opens it at the cursor on demand.

#include <QIcon>
#include <QObject>
#include <QString>
#include <memory>
#include <vector>

class QAction;
class QMenu;
class QSystemTrayIcon;

namespace tesselex {

class frmSysTray : public QObject {
    Q_OBJECT

  public:
    // The icon starts with the application's window icon and display name as its tool tip; it
    // is not shown until Show().
    explicit frmSysTray(QObject* parent = nullptr);
    ~frmSysTray() override;
    frmSysTray(const frmSysTray&) = delete;
    frmSysTray& operator=(const frmSysTray&) = delete;

    QString ToolTip() const;
    void SetToolTip(const QString& text);
    QIcon IconHandle() const;
    void SetIconHandle(const QIcon& icon);

    // Menu items keep the index AddMenuItem gave them until they are removed; indices are not
    // reused. An index that names no item throws std::out_of_range.
    int AddMenuItem(const QString& caption, const QString& tag, bool isDefault = false);
    void EnableMenuItem(int index, bool enabled);
    void RemoveMenuItem(int index);
    // The default item is shown bold; -1 when there is none (setting -1 clears it).
    int DefaultMenuIndex() const { return defaultIndex_; }
    void SetDefaultMenuIndex(int index);
    void ShowMenu();
    QMenu* Menu() const { return menu_.get(); }

    // Adds the icon to the notification area, or removes it.
    void Show();
    void Hide();
    // A notification balloon from the icon.
    void ShowMessage(const QString& title, const QString& text, bool isError);

    // The shell's mouse message number (512-518), as the icon reports it; other numbers are
    // ignored.
    void HandleShellMessage(int message);

  signals:
    void SysTrayMouseDown(int button);
    void SysTrayMouseUp(int button);
    void SysTrayMouseMove();
    void SysTrayDoubleClick(int button);
    void MenuClick(const QString& tag, int index);

  private:
    QAction* ItemAt(int index) const;

    std::unique_ptr<QMenu> menu_;
    QSystemTrayIcon* icon_;
    std::vector<QAction*> items_;  // by index; nullptr for a removed item
    int defaultIndex_ = -1;
};

}  // namespace tesselex
