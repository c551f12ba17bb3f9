#include "app/gui/OptionBindings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QSignalBlocker>
#include <type_traits>
#include <variant>

#include "app/gui/GuiText.h"

namespace tesselex::gui {

OptionValue ValueOf(const ExportOptions& options, Option option) {
    switch (option) {
        case Option::Code003:
            return options.Code;
        case Option::Authorities:
            return options.Authorities;
        case Option::Holdings:
            return options.Holdings;
        case Option::Characters:
            return options.Charset;
        case Option::Change035:
            return options.Change035;
        case Option::IsbnNoHyphens:
            return options.IsbnNoHyphens;
        case Option::Subjects:
            return options.Subjects;
        case Option::Libraries:
            return options.Libraries;
        case Option::Destination:
            return options.Destination;
        case Option::OneAtATime:
            return options.OneAtATime;
    }
    return false;
}

QString AdministratorSetText() {
    return QStringLiteral("Inställd av administratören");
}

bool LockedBy(const Policy& policy, Option option) {
    switch (option) {
        case Option::Code003:
            return policy.Locks(SettingKey::String003);
        case Option::Authorities:
            return policy.Locks(SettingKey::Authtype);
        case Option::Holdings:
            return policy.Locks(SettingKey::Holdtype);
        case Option::Characters:
            return policy.Locks(SettingKey::Charset) || policy.Locks(SettingKey::Compose);
        case Option::Change035:
            return policy.Locks(SettingKey::Change035);
        case Option::IsbnNoHyphens:
            return policy.Locks(SettingKey::ISBNDehyphenate);
        case Option::Subjects:
            return policy.Locks(SettingKey::Subjects);
        case Option::Libraries:
            return policy.Locks(SettingKey::Libraries);
        case Option::Destination:
            return policy.Locks(SettingKey::Destination);
        case Option::OneAtATime:
            return policy.Locks(SettingKey::Clear);
    }
    return false;
}

OptionValue ChoiceValue(Option option, int index) {
    switch (option) {
        case Option::Code003:
            return static_cast<Code003>(index);
        case Option::Authorities:
        case Option::Holdings:
            return static_cast<Placement>(index);
        case Option::Characters:
            return static_cast<Characters>(index);
        case Option::Change035:
        case Option::IsbnNoHyphens:
        case Option::OneAtATime:
        case Option::Subjects:
        case Option::Libraries:
        case Option::Destination:
            break;
    }
    return index != 0;
}

void OptionBindings::Bind(QCheckBox* box, Option option) {
    Add(box, option, Kind::Check);
    QObject::connect(box, &QCheckBox::clicked, box,
                     [this, option](bool checked) { send_(option, checked); });
}

void OptionBindings::Bind(QComboBox* box, Option option) {
    Add(box, option, Kind::Choice);
    QObject::connect(box, &QComboBox::activated, box,
                     [this, option](int index) { send_(option, ChoiceValue(option, index)); });
}

void OptionBindings::Bind(QLineEdit* edit, Option option) {
    Add(edit, option, Kind::Text);
    if (!edit->isReadOnly()) {
        QObject::connect(edit, &QLineEdit::textEdited, edit, [this, option](const QString& text) {
            send_(option, std::u16string(ToText(text)));
        });
    }
}

void OptionBindings::Show(const ExportOptions& options) {
    for (const Binding& binding : table_) {
        const QSignalBlocker blocked(binding.Widget);
        const OptionValue value = ValueOf(options, binding.Bound);
        switch (binding.Shape) {
            case Kind::Check:
                static_cast<QCheckBox*>(binding.Widget)->setChecked(std::get<bool>(value));
                break;
            case Kind::Choice:
                static_cast<QComboBox*>(binding.Widget)
                    ->setCurrentIndex(std::visit(
                        [](auto v) {
                            if constexpr (std::is_enum_v<decltype(v)>) {
                                return static_cast<int>(v);
                            } else {
                                return -1;
                            }
                        },
                        value));
                break;
            case Kind::Text:
                if (auto* edit = static_cast<QLineEdit*>(binding.Widget);
                    edit->text() != Q(std::get<std::u16string>(value))) {
                    edit->setText(Q(std::get<std::u16string>(value)));
                }
                break;
            case Kind::Opener:
                break;
        }
        if (LockedBy(policy_, binding.Bound)) {
            binding.Widget->setEnabled(false);
            binding.Widget->setToolTip(AdministratorSetText());
        } else if (binding.Bound == Option::OneAtATime) {
            // An FTP server locks the option; the reason is shown beside it.
            binding.Widget->setEnabled(!options.OneAtATimeLocked);
            binding.Widget->setToolTip(Q(options.LockedReason));
        }
    }
}

}  // namespace tesselex::gui
