#include "app/engine/FormState.h"

namespace tesselex {
namespace {

void Name(Control& control, std::u16string_view name, std::u16string_view tag, ControlKind kind) {
    control.Name = name;
    control.Tag = tag;
    control.Kind = kind;
}

template <typename Choice>
Choice ChoiceOf(const ComboBox& box) {
    return static_cast<Choice>(box.ListIndex < 0 ? 0 : box.ListIndex);
}

}  // namespace

ExportOptions OptionsOf(const FormState& form) {
    ExportOptions options;
    options.Code = ChoiceOf<Code003>(form.cmb003);
    options.Authorities = ChoiceOf<Placement>(form.cmbAuth);
    options.Holdings = ChoiceOf<Placement>(form.cmbHold);
    options.Charset = ChoiceOf<Characters>(form.cmbChars);
    options.Change035 = form.Chk035.Value == 1;
    options.IsbnNoHyphens = form.ChkISBN.Value == 1;
    options.Subjects = form.TxtSubj.Text;
    options.Libraries = form.TxtSigler.Text;
    options.Destination = form.TxtDest.Text;
    options.OneAtATime = form.ChkClear.Value == 1;
    options.OneAtATimeLocked = !form.ChkClear.Enabled;
    options.LockedReason = form.ChkClear.ToolTipText;
    return options;
}

std::u16string ComboBox::Text() const {
    if (ListIndex < 0 || static_cast<std::size_t>(ListIndex) >= Items.size()) {
        return {};
    }
    return std::u16string(Items[static_cast<std::size_t>(ListIndex)]);
}

FormState::FormState() {
    Name(cmb003, u"cmb003", u"f003", ControlKind::ComboBox);
    cmb003.Items = {u"SE-TESL", u"TESSEL"};
    Name(txtBibId, u"txtBibId", u"bibid", ControlKind::TextBox);
    Name(cmbAuth, u"cmbAuth", u"auth", ControlKind::ComboBox);
    cmbAuth.Items = {u"Referenser (9XX)", u"Separata", u"Inga"};
    Name(cmbHold, u"cmbHold", u"holdings", ControlKind::ComboBox);
    cmbHold.Items = {u"Sammanslaget med bib-post", u"Separat", u"Inget"};
    Name(cmbChars, u"cmbChars", u"charset", ControlKind::ComboBox);
    cmbChars.Items = {u"ISO-8859-1 (Latin 1)", u"UTF-8 (Latin 1 prekomponerad)",
                      u"UTF-8 Prekomponerad", u"UTF-8 Dekomponerad"};
    Name(Chk035, u"Chk035", u"change035", ControlKind::CheckBox);
    Chk035.Caption = u"&Ändra 035$9 till 035$a";
    Name(ChkISBN, u"ChkISBN", u"isbn", ControlKind::CheckBox);
    ChkISBN.Caption = u"&ISBN utan bindestreck";
    Name(TxtSubj, u"TxtSubj", u"subjects", ControlKind::TextBox);
    Name(TxtSigler, u"TxtSigler", u"locations", ControlKind::TextBox);
    Name(TxtFile, u"TxtFile", u"", ControlKind::TextBox);
    Name(TxtDest, u"TxtDest", u"", ControlKind::TextBox);
    Name(ChkClear, u"ChkClear", u"", ControlKind::CheckBox);
    ChkClear.Caption = u"&Spara en post i taget";
    Name(Command1, u"Command1", u"", ControlKind::Button);
    Command1.Caption = u"&Hämta post";
    Command1.Enabled = false;
    Name(Timer1, u"Timer1", u"", ControlKind::Timer);
    ArkivLoggaAllt.Name = u"ArkivLoggaAllt";
    ArkivLoggaAllt.Caption = u"Logga &export";
    ArkivLoggaFel.Name = u"ArkivLoggaFel";
    ArkivLoggaFel.Caption = u"&Logga fel";
}

std::vector<const Control*> FormState::Controls() const {
    return {&cmb003,  &txtBibId,  &cmbAuth, &cmbHold, &cmbChars, &Chk035,   &ChkISBN,
            &TxtSubj, &TxtSigler, &TxtFile, &TxtDest, &ChkClear, &Command1, &Timer1};
}

}  // namespace tesselex
