#include "app/engine/FormChanges.h"

namespace tesselex {
namespace {

FormChange Aspect(const Control& control, FormAspect aspect, std::u16string text, int number) {
    FormChange change;
    change.Control = control.Name;
    change.Aspect = aspect;
    change.Text = std::move(text);
    change.Number = number;
    return change;
}

void AddText(std::vector<FormChange>& out, const TextBox& box) {
    out.push_back(Aspect(box, FormAspect::Text, box.Text, 0));
    out.push_back(Aspect(box, FormAspect::Enabled, {}, box.Enabled ? 1 : 0));
}

void AddCheck(std::vector<FormChange>& out, const CheckBox& box) {
    out.push_back(Aspect(box, FormAspect::Value, {}, box.Value));
    out.push_back(Aspect(box, FormAspect::Enabled, {}, box.Enabled ? 1 : 0));
    out.push_back(Aspect(box, FormAspect::ToolTip, box.ToolTipText, 0));
}

void AddCombo(std::vector<FormChange>& out, const ComboBox& box) {
    out.push_back(Aspect(box, FormAspect::ListIndex, {}, box.ListIndex));
    out.push_back(Aspect(box, FormAspect::Enabled, {}, box.Enabled ? 1 : 0));
}

void AddMenu(std::vector<FormChange>& out, const MenuItem& item) {
    FormChange change;
    change.Control = item.Name;
    change.Aspect = FormAspect::Checked;
    change.Number = item.Checked ? 1 : 0;
    out.push_back(std::move(change));
}

}  // namespace

bool FormChange::operator==(const FormChange& other) const {
    return Control == other.Control && Aspect == other.Aspect && Text == other.Text &&
           Number == other.Number;
}

std::vector<FormChange> FormAspects(const FormState& form) {
    std::vector<FormChange> out;
    AddCombo(out, form.cmb003);
    AddText(out, form.txtBibId);
    AddCombo(out, form.cmbAuth);
    AddCombo(out, form.cmbHold);
    AddCombo(out, form.cmbChars);
    AddCheck(out, form.Chk035);
    AddCheck(out, form.ChkISBN);
    AddText(out, form.TxtSubj);
    AddText(out, form.TxtSigler);
    AddText(out, form.TxtFile);
    AddText(out, form.TxtDest);
    AddCheck(out, form.ChkClear);
    out.push_back(Aspect(form.Command1, FormAspect::Enabled, {}, form.Command1.Enabled ? 1 : 0));
    out.push_back(Aspect(form.Timer1, FormAspect::Enabled, {}, form.Timer1.Enabled ? 1 : 0));
    AddMenu(out, form.ArkivLoggaAllt);
    AddMenu(out, form.ArkivLoggaFel);
    return out;
}

std::vector<FormChange> FormPublisher::Changes(const FormState& form,
                                               const std::vector<DisplayField>& rows) {
    std::vector<FormChange> now = FormAspects(form);
    std::vector<FormChange> changes;
    for (std::size_t i = 0; i < now.size(); ++i) {
        if (!aspects_ || !((*aspects_)[i] == now[i])) {
            changes.push_back(now[i]);
        }
    }
    if (!aspects_ || rows != rows_) {
        FormChange change;
        change.Control = u"Grid";
        change.Aspect = FormAspect::Rows;
        change.Rows = std::make_shared<const std::vector<DisplayField>>(rows);
        changes.push_back(std::move(change));
        rows_ = rows;
    }
    aspects_ = std::move(now);
    return changes;
}

void FormPublisher::TakeAsShown(const FormState& form, const std::vector<DisplayField>& rows) {
    aspects_ = FormAspects(form);
    rows_ = rows;
}

}  // namespace tesselex
