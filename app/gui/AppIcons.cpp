#include "app/gui/AppIcons.h"

#include <QFont>
#include <QPainter>
#include <QPixmap>

namespace tesselex::gui {
namespace {

QIcon Badge(const QColor& fill, const QString& text) {
    QIcon icon;
    for (int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(fill);
        painter.setPen(Qt::NoPen);
        const qreal radius = size / 5.0;
        painter.drawRoundedRect(QRectF(0.5, 0.5, size - 1.0, size - 1.0), radius, radius);
        QFont font = painter.font();
        font.setBold(true);
        font.setPixelSize(size * 2 / 3);
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(QRect(0, 0, size, size), Qt::AlignCenter, text);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

}  // namespace

QIcon AppIcon() {
    return Badge(QColor(0x1F, 0x5F, 0x99), QStringLiteral("T"));
}

QIcon ErrorIcon() {
    return Badge(QColor(0xC6, 0x28, 0x28), QStringLiteral("!"));
}

}  // namespace tesselex::gui
