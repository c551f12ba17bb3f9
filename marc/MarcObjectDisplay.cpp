// The display members of the record: full display as a table and as HTML, the one-line brief
// display, the sort key and the main entry.
#include <algorithm>

#include "config/CfgClass.h"
#include "config/Strings.h"
#include "marc/MarcObject.h"
#include "marc/MarcObjectFields.h"
#include "marc/OpacDisplay.h"

namespace tesselex {

std::optional<DisplayTable> MarcObject::OPACDisplay() const {
    const auto rows = BuildOpacRows(opacConfig_.get(), *fields_, false);
    if (rows.empty()) {
        return std::nullopt;
    }
    DisplayTable table;
    table.reserve(rows.size());
    for (const OpacRow& row : rows) {
        table.push_back(DisplayRow{row.caption, row.text});
    }
    return table;
}

std::u16string MarcObject::OPACDisplayHTML() const {
    if (!opacConfig_ || opacConfig_->Itemcount() == 0 || opacConfig_->SectionCount() == 0) {
        return {};
    }
    return OpacRowsToHtml(*opacConfig_, BuildOpacRows(opacConfig_.get(), *fields_, true));
}

namespace {

// Pieces joined into one sentence-like line: ". " between them, only a blank when the piece
// before already ends in a full stop, question or exclamation mark.
void AppendPiece(std::u16string& line, std::u16string_view piece) {
    const std::u16string trimmed = Trim(piece);
    if (trimmed.empty()) {
        return;
    }
    if (!line.empty()) {
        const char16_t last = line.back();
        line += (last == u'.' || last == u'?' || last == u'!') ? u" " : u". ";
    }
    line += trimmed;
}

}  // namespace

std::u16string MarcObject::ShortDisplay() const {
    std::u16string line;
    const auto rows = BuildOpacRows(briefConfig_.get(), *fields_, false);
    if (briefConfig_ && briefConfig_->Itemcount() > 0) {
        for (const OpacRow& row : rows) {
            if (!row.blank) {
                AppendPiece(line, row.text);
            }
        }
        return line;
    }
    AppendPiece(line, MainEntry());
    if (fields_->TagExists(245)) {
        const auto title = fields_->Field(245, 1);
        AppendPiece(line, title->SelectFieldsFrom(u"ab"));
    }
    return line;
}

std::u16string MarcObject::SortString() const {
    std::u16string key;
    if (opacConfigPath_.empty() || !opacConfig_) {
        return key;
    }
    const CfgClass& config = *opacConfig_;
    // An element without its tag key adds nothing, so the loop ends at the last element that
    // has one: a mistyped count of a billion must not keep the display busy.
    long long lastTagged = 0;
    for (int i = 1; i <= config.Itemcount(); ++i) {
        const std::u16string itemKey = config.Item(i)->Key;
        if (StartsWithNoCase(itemKey, u"Sort\\Tag ")) {
            lastTagged = std::max(lastTagged, ValInteger(std::u16string_view(itemKey).substr(9)));
        }
    }
    const long long count = std::min(ValInteger(config.Item(u"Sort\\Count")->Value), lastTagged);
    for (long long n = 1; n <= count; ++n) {
        const std::u16string number = FromAscii(std::to_string(n));
        const long long tag = ValInteger(config.Item(u"Sort\\Tag " + number)->Value);
        if (tag < 0 || tag > MarcObjectFields::MaxTag ||
            !fields_->TagExists(static_cast<int>(tag))) {
            continue;
        }
        const auto field = fields_->Field(static_cast<int>(tag), 1);
        const std::u16string codes = config.Item(u"Sort\\Subfields " + number)->Value;
        std::u16string element;
        for (const auto& subfield : *field->Subfields()) {
            if (codes.find(subfield->Fieldname) == std::u16string::npos) {
                continue;
            }
            // Only the first chosen subfield is upper-cased: the key files by its first word.
            if (element.empty()) {
                element = ToUpper(subfield->Value());
            } else {
                element += subfield->Value();
            }
        }
        const long long filing = ValInteger(config.Item(u"Sort\\FilingIndicator " + number)->Value);
        if (filing > 0) {
            const long long skip = ValInteger(field->Indicator(static_cast<int>(filing)));
            if (skip > 0) {
                element.erase(0, static_cast<std::size_t>(skip));
            }
        }
        if (config.Item(u"Sort\\Merge " + number)->IsTrue()) {
            key += element;
        } else {
            key = std::move(element);
        }
    }
    return StripChars(key, u" ");
}

}  // namespace tesselex
