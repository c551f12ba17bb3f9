#pragma once
// The full display of a record from a display configuration: which fields are shown, under
// which caption, with which subfields, punctuation and links. One engine builds the rows;
// the table, HTML and one-line forms are drawn from them.

#include <string>
#include <vector>

namespace tesselex {

class CfgClass;
class MarcObjectFields;

struct OpacRow {
    bool blank = false;  // an empty spacer row (BlankBefore / BlankAfter)
    bool first = false;  // the tag's first row: it carries the caption
    std::u16string caption;
    std::u16string text;
};

// The rows of the display. With links, subfields with an "href" template become HTML links.
// No configuration, or one without items or sections, gives no rows.
std::vector<OpacRow> BuildOpacRows(const CfgClass* config, const MarcObjectFields& fields,
                                   bool links);

// The HTML table of the rows, opened by the configuration's "HTML\BibRecordBorder".
std::u16string OpacRowsToHtml(const CfgClass& config, const std::vector<OpacRow>& rows);

}  // namespace tesselex
