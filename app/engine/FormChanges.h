#pragma once
// What changed on the form since a window last showed it. The engine changes its form state in
// many places (a poll puts a bib id in txtBibId, start-up fills every control, an FTP server
// locks ChkClear); a window follows it by applying just these changes, one widget at a time.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/engine/FormState.h"

namespace tesselex {

enum class FormAspect { Text, Value, ListIndex, Enabled, ToolTip, Checked, Rows };

struct FormChange {
    std::u16string_view Control;  // "txtBibId", "ChkClear", "ArkivLoggaFel"; "Grid" for rows
    FormAspect Aspect = FormAspect::Text;
    std::u16string Text;  // Text and ToolTip
    int Number = 0;       // Value, ListIndex; Enabled and Checked as 0 or 1
    std::shared_ptr<const std::vector<DisplayField>> Rows;  // Rows: the last export's fields
    bool operator==(const FormChange& other) const;
};

using FormChangeSink = std::function<void(const FormChange&)>;

// Every aspect of every control a window shows, in form order.
std::vector<FormChange> FormAspects(const FormState& form);

// Remembers what was last taken as shown and tells the differences.
class FormPublisher {
  public:
    // The changes since the form was last taken as shown (everything the first time), in form
    // order with the rows last; the form is then taken as shown.
    std::vector<FormChange> Changes(const FormState& form, const std::vector<DisplayField>& rows);
    void TakeAsShown(const FormState& form, const std::vector<DisplayField>& rows);

  private:
    std::optional<std::vector<FormChange>> aspects_;
    std::vector<DisplayField> rows_;
};

}  // namespace tesselex
