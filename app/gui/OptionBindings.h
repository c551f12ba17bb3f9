#pragma once
// The one table between the window's option widgets and the engine's options: a user's edit of
// a bound widget is sent as its option's value, and the options the engine reports are shown in
// the same widgets (with their signals blocked, so showing is never taken for an edit).

#include <QObject>
#include <functional>
#include <utility>
#include <vector>

#include "app/engine/ExportOptions.h"
#include "app/engine/Policy.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QString;
class QWidget;

namespace tesselex::gui {

class OptionBindings {
  public:
    using Send = std::function<void(Option, const OptionValue&)>;
    explicit OptionBindings(Send send) : send_(std::move(send)) {}
    // The widgets' connections hold this table.
    OptionBindings(const OptionBindings&) = delete;
    OptionBindings& operator=(const OptionBindings&) = delete;

    // A read-only line only shows its option.
    void Bind(QCheckBox* box, Option option);
    void Bind(QComboBox* box, Option option);
    void Bind(QLineEdit* edit, Option option);
    // A button that opens the option's dialog: only locked with it.
    void BindOpener(QWidget* button, Option option) { Add(button, option, Kind::Opener); }
    // Options the administrator's policy sets are shown greyed, with the reason as tooltip.
    void SetPolicy(const Policy& policy) { policy_ = policy; }
    void Show(const ExportOptions& options);

  private:
    enum class Kind { Check, Choice, Text, Opener };
    struct Binding {
        QWidget* Widget;
        Option Bound;
        Kind Shape;
    };
    void Add(QWidget* widget, Option option, Kind kind) {
        table_.push_back({widget, option, kind});
    }

    Send send_;
    std::vector<Binding> table_;
    Policy policy_;
};

// The tooltip of a setting the administrator set.
QString AdministratorSetText();
// Whether the policy sets the setting the option is stored in.
bool LockedBy(const Policy& policy, Option option);

// The option's value as the options hold it.
OptionValue ValueOf(const ExportOptions& options, Option option);
// The value of a choice option for the index of its list (the order of its enumeration).
OptionValue ChoiceValue(Option option, int index);

}  // namespace tesselex::gui
