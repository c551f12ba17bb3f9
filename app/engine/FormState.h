#pragma once
// The main window's state as plain values: the controls the export cycle reads and writes,
// with their names and request tags, in the order they stand on the form. The window only binds
// widgets to these; the headless program runs the cycle on them alone.

#include <string>
#include <string_view>
#include <vector>

#include "app/engine/ExportReport.h"

namespace tesselex {

enum class ControlKind { TextBox, CheckBox, ComboBox, Button, Timer };

struct Control {
    std::u16string_view Name;
    std::u16string_view Tag;  // "" for controls that take no part in the request
    ControlKind Kind = ControlKind::TextBox;
    bool Enabled = true;
};

struct TextBox : Control {
    std::u16string Text;
};

struct CheckBox : Control {
    std::u16string_view Caption;
    int Value = 0;  // 0 or 1
    std::u16string ToolTipText;
};

struct ComboBox : Control {
    std::vector<std::u16string_view> Items;
    int ListIndex = -1;
    // The chosen item's text ("" when nothing is chosen).
    std::u16string Text() const;
};

struct Button : Control {
    std::u16string_view Caption;
};

struct Timer : Control {
    int Interval = 1000;
};

struct MenuItem {
    std::u16string_view Name;
    std::u16string_view Caption;
    bool Checked = false;
};

struct FormState {
    FormState();

    // Form order: the request is built in this order.
    ComboBox cmb003;
    TextBox txtBibId;
    ComboBox cmbAuth;
    ComboBox cmbHold;
    ComboBox cmbChars;
    CheckBox Chk035;
    CheckBox ChkISBN;
    TextBox TxtSubj;
    TextBox TxtSigler;
    // Untagged controls.
    TextBox TxtFile;
    TextBox TxtDest;
    CheckBox ChkClear;
    Button Command1;
    Timer Timer1;
    MenuItem ArkivLoggaAllt;
    MenuItem ArkivLoggaFel;

    // Every control, in form order.
    std::vector<const Control*> Controls() const;
};

// The form's options in the export's own words; a choice not made reads as the first.
ExportOptions OptionsOf(const FormState& form);

// Shown beside ChkClear while an FTP server is set.
inline constexpr std::u16string_view ClearDisabledByFtpText =
    u"Denna inställning kan endast göras om FTP inte används. Vid vidarebefordran med FTP "
    u"skickas alltid en post i taget.";

}  // namespace tesselex
