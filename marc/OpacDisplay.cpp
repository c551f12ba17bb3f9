#include "marc/OpacDisplay.h"

#include "config/CfgClass.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "marc/MarcObjectFields.h"

namespace tesselex {

namespace {

constexpr char16_t RemovedChar = 28;

bool Contains(std::u16string_view text, std::u16string_view what) {
    // An empty text is found everywhere, as the system's InStr finds it.
    return text.find(what) != std::u16string_view::npos;
}

// The keys of one tag's section, always read under the three-digit tag.
class TagKeys {
  public:
    TagKeys(const CfgClass& config, std::u16string tagText)
        : config_(config), prefix_(std::move(tagText) + u"\\") {}

    std::u16string operator()(std::u16string_view key) const {
        return config_.Item(prefix_ + std::u16string(key))->Value;
    }

  private:
    const CfgClass& config_;
    std::u16string prefix_;
};

// The indicator tests: each one that applies replaces the result of the earlier ones.
bool IsShown(const TagKeys& keys, MarcObjectField& field) {
    const std::u16string ind1 = field.Indicator(1);
    const std::u16string ind2 = field.Indicator(2);
    bool shown = true;
    if (const auto set = keys(u"DisplayIf1"); !set.empty()) {
        shown = Contains(set, ind1);
    }
    if (const auto set = keys(u"DisplayIf2"); !set.empty()) {
        shown = Contains(set, ind2);
    }
    if (const auto set = keys(u"DoNotDisplayIf1"); !set.empty()) {
        shown = !Contains(set, ind1);
    }
    if (const auto set = keys(u"DoNotDisplayIf2"); !set.empty()) {
        shown = !Contains(set, ind2);
    }
    return shown;
}

std::u16string CaptionFor(const TagKeys& keys, MarcObjectField& field,
                          const std::u16string& caption) {
    const std::u16string ind1 = field.Indicator(1);
    const std::u16string ind2 = field.Indicator(2);
    for (const std::u16string& key : {u"I" + ind1 + ind2, u"I" + ind1 + u"?", u"I?" + ind2}) {
        if (auto value = keys(key); !value.empty()) {
            return value;
        }
    }
    return caption;
}

// The link template of a subfield filled in, or "" when no link is made.
std::u16string LinkFor(const TagKeys& keys, MarcObjectField& field, char16_t code,
                       const std::u16string& ownText) {
    std::u16string link = Trim(keys(u"href " + std::u16string(1, code)));
    if (link.empty()) {
        return link;
    }
    const std::size_t marker = link.find(u"!!$");
    if (marker != std::u16string::npos) {
        if (marker + 3 >= link.size()) {
            return {};
        }
        const char16_t other = link[marker + 3];
        const std::u16string value = field.Subfields()->Field(other)->Value();
        if (value.empty()) {
            return {};
        }
        return ReplaceAll(link, link.substr(marker, 4), UrlEncode(value));
    }
    return ReplaceAll(link, u"!!SELF!", UrlEncode(ownText));
}

// The text of one field as the configuration asks for it.
std::u16string FieldLine(const TagKeys& keys, MarcObjectField& field, bool links) {
    const std::u16string wanted = keys(u"Fields");
    if (wanted.empty()) {
        return {};
    }
    if (wanted == u"*") {
        std::u16string whole = field.Value();
        if (whole.find(char16_t{31}) != std::u16string::npos) {
            whole = field.GetFieldContents();
        }
        return whole;
    }
    std::u16string line;
    char16_t previous = 0;
    for (const auto& subfield : *field.Subfields()) {
        const char16_t code = subfield->Fieldname;
        if (wanted.find(code) != std::u16string::npos) {
            const std::u16string value = subfield->Value();
            std::u16string text = value;
            const std::u16string enclosure = Trim(keys(u"Encl " + std::u16string(1, code)));
            if (enclosure.size() == 2) {
                text = enclosure.substr(0, 1) + text + enclosure.substr(1, 1);
            }
            if (links) {
                if (const std::u16string link = LinkFor(keys, field, code, value); !link.empty()) {
                    text = link + text + u"</a>";
                }
            }
            if (line.empty()) {
                line = text;
            } else {
                std::u16string separator = keys(std::u16string{previous, code});
                if (separator.empty()) {
                    separator = u" ";
                }
                line += separator;
                line += text;
                if (Contains(separator, u"(")) {
                    line += u')';
                }
                if (Contains(separator, u"[")) {
                    line += u']';
                }
                if (Contains(separator, u"{")) {
                    line += u'}';
                }
            }
        }
        previous = code;
    }
    return line;
}

}  // namespace

std::vector<OpacRow> BuildOpacRows(const CfgClass* config, const MarcObjectFields& fields,
                                   bool links) {
    std::vector<OpacRow> rows;
    if (config == nullptr || config->Itemcount() == 0 || config->SectionCount() == 0) {
        return rows;
    }
    // Every shown line is appended behind its tag text; a line already found there is a
    // duplicate and is not shown again.
    std::u16string running;
    for (int s = 1; s <= config->SectionCount(); ++s) {
        const long long number = ValInteger(config->Section(s));
        if (number < 0 || number > MarcObjectFields::MaxTag ||
            !fields.TagExists(static_cast<int>(number))) {
            continue;
        }
        const int tag = static_cast<int>(number);
        const std::u16string tagText = FormatNumber(tag, 3);
        const TagKeys keys(*config, tagText);
        const std::u16string caption = keys(u"Caption");
        const bool blankBefore = !keys(u"BlankBefore").empty();
        bool produced = false;
        const int occurrences = fields.TagOcc(tag);
        for (int occ = 1; occ <= occurrences; ++occ) {
            const auto field = fields.Field(tag, occ);
            if (tag > 8 && !IsShown(keys, *field)) {
                continue;
            }
            std::u16string line = FieldLine(keys, *field, links);
            std::erase(line, RemovedChar);
            if (line.empty()) {
                continue;
            }
            const std::u16string key = tagText + line;
            if (Contains(running, key)) {
                continue;
            }
            running += key;
            if (!produced && blankBefore && !rows.empty()) {
                rows.push_back(OpacRow{true, false, {}, {}});
            }
            OpacRow row;
            row.first = !produced;
            if (row.first) {
                row.caption = CaptionFor(keys, *field, caption);
            }
            row.text = std::move(line);
            rows.push_back(std::move(row));
            produced = true;
        }
        if (produced && !keys(u"BlankAfter").empty()) {
            rows.push_back(OpacRow{true, false, {}, {}});
        }
    }
    return rows;
}

std::u16string OpacRowsToHtml(const CfgClass& config, const std::vector<OpacRow>& rows) {
    std::u16string html = config.Item(u"HTML\\BibRecordBorder")->Value;
    if (html.empty()) {
        html = u"<TABLE Border=0>";
    }
    for (const OpacRow& row : rows) {
        if (row.blank) {
            html += u"<tr><td>&nbsp;</td><td>&nbsp;</td></tr>";
        } else if (row.first) {
            html += u"<TR><TD valign=top><b>" + row.caption + u"</b></TD><TD>" + row.text +
                    u"</TD></TR>\r\n";
        } else {
            html += u"<TR><TD>&nbsp;</TD><TD>" + row.text + u"</TD></TR>\r\n";
        }
    }
    html += u"</TABLE>";
    return html;
}

}  // namespace tesselex
