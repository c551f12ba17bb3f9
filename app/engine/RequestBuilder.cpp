#include "app/engine/RequestBuilder.h"

#include "app/engine/FormState.h"
#include "config/CfgClass.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

std::u16string Lookup(const CfgClass& urlConfig, std::u16string_view key) {
    return urlConfig.Item(key)->Value;
}

void AddTextBox(std::u16string& address, const TextBox& box, const CfgClass& urlConfig) {
    const std::u16string name = Lookup(urlConfig, std::u16string(box.Tag) + u"\\name");
    if (name.empty()) {
        return;
    }
    std::u16string value = box.Text;
    if (value.empty()) {
        value = Lookup(urlConfig, name + u"\\default");
    }
    if (!value.empty()) {
        AddParameter(address, name, UrlEncode(value));
    }
}

void AddPiece(std::u16string& address, std::u16string_view tag, int number,
              const CfgClass& urlConfig) {
    const std::u16string piece =
        Lookup(urlConfig, std::u16string(tag) + u" " + FormatNumber(number, 1) + u"\\name");
    if (!piece.empty()) {
        AddParameter(address, piece, u"");
    }
}

}  // namespace

std::u16string BuildRequest(const FormState& form, const CfgClass& urlConfig) {
    std::u16string address = Lookup(urlConfig, u"baseURL");
    for (const Control* control : form.Controls()) {
        if (control->Tag.empty()) {
            continue;
        }
        switch (control->Kind) {
            case ControlKind::TextBox:
                AddTextBox(address, static_cast<const TextBox&>(*control), urlConfig);
                break;
            case ControlKind::CheckBox:
                AddPiece(address, control->Tag, static_cast<const CheckBox&>(*control).Value,
                         urlConfig);
                break;
            case ControlKind::ComboBox:
                AddPiece(address, control->Tag, static_cast<const ComboBox&>(*control).ListIndex,
                         urlConfig);
                break;
            default:
                break;
        }
    }
    return address;
}

void AddParameter(std::u16string& address, std::u16string_view name, std::u16string_view value) {
    const std::u16string_view separator = (!address.empty() && address.back() == u'?') ? u"" : u"&";
    if (!value.empty()) {
        address.append(separator).append(name).append(u"=").append(value);
    } else if (name.find(u'=') != std::u16string_view::npos) {
        address.append(separator).append(name);
    }
}

}  // namespace tesselex
