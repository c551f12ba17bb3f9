#include "dialogs/frmURL.h"

#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace tesselex {

frmURL::frmURL(const QString& currentAddress, QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("URL till TESSEL applikationsserver för postexport"));

    lblInf_ = new QLabel(QStringLiteral("URL till TESSEL postexportserver. Ändra endast på "
                                        "uppmaning från TESSEL!"),
                         this);
    lblInf_->setObjectName(QStringLiteral("LblInf"));
    lblInf_->setWordWrap(true);

    txtURL_ = new QLineEdit(this);
    txtURL_->setObjectName(QStringLiteral("TxtURL"));
    txtURL_->setAccessibleName(lblInf_->text());
    txtURL_->installEventFilter(this);
    connect(txtURL_, &QLineEdit::textChanged, this, &frmURL::RemoveLineBreaks);
    txtURL_->setText(currentAddress);
    txtURL_->setCursorPosition(0);

    command1_ = new QPushButton(QStringLiteral("&Ok"), this);
    command1_->setObjectName(QStringLiteral("Command1"));
    command2_ = new QPushButton(QStringLiteral("&Avbryt"), this);
    command2_->setObjectName(QStringLiteral("Command2"));
    command3_ = new QPushButton(QStringLiteral("&Kopiera från urklipp"), this);
    command3_->setObjectName(QStringLiteral("Command3"));
    for (QPushButton* button : {command1_, command2_, command3_}) {
        button->setAutoDefault(false);
    }
    command1_->setDefault(true);
    connect(command1_, &QPushButton::clicked, this, &QDialog::accept);
    connect(command2_, &QPushButton::clicked, this, &QDialog::reject);
    connect(command3_, &QPushButton::clicked, this, &frmURL::CopyFromClipboard);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(command3_);
    buttons->addStretch();
    buttons->addWidget(command1_);
    buttons->addWidget(command2_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblInf_);
    layout->addWidget(txtURL_);
    layout->addStretch();
    layout->addLayout(buttons);
    resize(560, sizeHint().height());
}

QString frmURL::Address() const {
    return txtURL_->text().remove(QStringLiteral("\r\n"));
}

void frmURL::Lock(const QString& reason) {
    txtURL_->setEnabled(false);
    txtURL_->setToolTip(reason);
    command1_->setEnabled(false);
    command3_->setEnabled(false);
    command2_->setDefault(true);
}

bool frmURL::eventFilter(QObject* watched, QEvent* event) {
    if (watched == txtURL_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void frmURL::RemoveLineBreaks() {
    QString text = txtURL_->text();
    const int cursor = txtURL_->cursorPosition();
    const int breaksBeforeCursor = static_cast<int>(text.left(cursor).count(QLatin1Char('\r')) +
                                                    text.left(cursor).count(QLatin1Char('\n')));
    text.remove(QLatin1Char('\r')).remove(QLatin1Char('\n'));
    if (text != txtURL_->text()) {
        // Changing the text changes it again; the second round finds nothing to remove.
        txtURL_->setText(text);
        txtURL_->setCursorPosition(cursor - breaksBeforeCursor);
    }
}

void frmURL::CopyFromClipboard() {
    txtURL_->setText(QApplication::clipboard()->text());
}

}  // namespace tesselex
