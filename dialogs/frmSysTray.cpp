#include "dialogs/frmSysTray.h"

#include <QAction>
#include <QApplication>
#include <QCursor>
#include <QMenu>
#include <QSystemTrayIcon>
#include <stdexcept>
#include <string>

#include "dialogs/TrayEvent.h"

namespace tesselex {

frmSysTray::frmSysTray(QObject* parent)
    : QObject(parent), menu_(std::make_unique<QMenu>()), icon_(new QSystemTrayIcon(this)) {
    icon_->setIcon(QApplication::windowIcon());
    icon_->setToolTip(QApplication::applicationDisplayName());
    icon_->setContextMenu(menu_.get());
    connect(icon_, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                for (int message : ShellMessagesForActivation(reason)) {
                    HandleShellMessage(message);
                }
            });
}

frmSysTray::~frmSysTray() {
    icon_->hide();
    icon_->setContextMenu(nullptr);
}

QString frmSysTray::ToolTip() const {
    return icon_->toolTip();
}

void frmSysTray::SetToolTip(const QString& text) {
    icon_->setToolTip(text);
}

QIcon frmSysTray::IconHandle() const {
    return icon_->icon();
}

void frmSysTray::SetIconHandle(const QIcon& icon) {
    icon_->setIcon(icon);
}

int frmSysTray::AddMenuItem(const QString& caption, const QString& tag, bool isDefault) {
    const int index = static_cast<int>(items_.size());
    QAction* action = menu_->addAction(caption);
    connect(action, &QAction::triggered, this, [this, tag, index] { emit MenuClick(tag, index); });
    items_.push_back(action);
    if (isDefault) {
        SetDefaultMenuIndex(index);
    }
    return index;
}

void frmSysTray::EnableMenuItem(int index, bool enabled) {
    ItemAt(index)->setEnabled(enabled);
}

void frmSysTray::RemoveMenuItem(int index) {
    QAction* action = ItemAt(index);
    if (index == defaultIndex_) {
        SetDefaultMenuIndex(-1);
    }
    menu_->removeAction(action);
    delete action;
    items_[static_cast<std::size_t>(index)] = nullptr;
}

void frmSysTray::SetDefaultMenuIndex(int index) {
    QAction* next = index == -1 ? nullptr : ItemAt(index);
    if (defaultIndex_ != -1) {
        QAction* previous = ItemAt(defaultIndex_);
        QFont font = previous->font();
        font.setBold(false);
        previous->setFont(font);
    }
    if (next != nullptr) {
        // Bold by hand as well: not every style marks the menu's default action.
        QFont font = next->font();
        font.setBold(true);
        next->setFont(font);
    }
    menu_->setDefaultAction(next);
    defaultIndex_ = index;
}

void frmSysTray::ShowMenu() {
    menu_->popup(QCursor::pos());
}

void frmSysTray::Show() {
    icon_->show();
}

void frmSysTray::Hide() {
    icon_->hide();
}

void frmSysTray::ShowMessage(const QString& title, const QString& text, bool isError) {
    icon_->showMessage(title, text,
                       isError ? QSystemTrayIcon::Critical : QSystemTrayIcon::Information);
}

void frmSysTray::HandleShellMessage(int message) {
    const std::optional<TrayEvent> event = TrayEventForMessage(message);
    if (!event) {
        return;
    }
    switch (event->kind) {
        case TrayEventKind::MouseDown:
            emit SysTrayMouseDown(event->button);
            break;
        case TrayEventKind::MouseUp:
            emit SysTrayMouseUp(event->button);
            break;
        case TrayEventKind::MouseMove:
            emit SysTrayMouseMove();
            break;
        case TrayEventKind::DoubleClick:
            emit SysTrayDoubleClick(event->button);
            break;
    }
}

QAction* frmSysTray::ItemAt(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= items_.size() ||
        items_[static_cast<std::size_t>(index)] == nullptr) {
        throw std::out_of_range("frmSysTray: no menu item " + std::to_string(index));
    }
    return items_[static_cast<std::size_t>(index)];
}

}  // namespace tesselex
