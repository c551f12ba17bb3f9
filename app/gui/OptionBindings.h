#pragma once
// The one table between the window's option widgets and the engine's options: a user's edit of
// a bound widget is sent as its option's value, and the options the engine reports are shown in
// the same widgets (with their signals blocked, so showing is never taken for an edit).

#include <QObject>
#include <functional>
#include <utility>
#include <vector>

#include "app/engine/ExportOptions.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
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
    void Show(const ExportOptions& options);

  private:
    enum class Kind { Check, Choice, Text };
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
};

// The option's value as the options hold it.
OptionValue ValueOf(const ExportOptions& options, Option option);
// The value of a choice option for the index of its list (the order of its enumeration).
OptionValue ChoiceValue(Option option, int index);

}  // namespace tesselex::gui
