// tesselex-cli marc dump: each record as text, or as its full display.
#include <iostream>
#include <ostream>

#include "app/cli/MarcTools.h"
#include "app/cli/Progress.h"
#include "config/CodePage.h"
#include "config/Utf.h"
#include "marc/MarcObject.h"
#include "marc/MarcObjectFields.h"
#include "marc/RecordReader.h"

namespace tesselex::cli {

namespace {

constexpr char16_t SubfieldDelimiter = 31;

// One line per field: the tag, the indicators of a data field, the value with each subfield
// as "$" + code + text. A field without subfields is written as its bare value.
void DumpFields(const MarcObject& record, std::ostream& out) {
    out << "LDR " << TextToUtf8(record.Leader()) << '\n';
    for (const auto& field : *record.MarcFields()) {
        const int tag = MarcObjectFields::TagNumber(field->Tag());
        if (tag == 0) {
            continue;
        }
        std::u16string value = field->Value();
        const bool dataField = value.find(SubfieldDelimiter) != std::u16string::npos;
        std::u16string line = field->Tag();
        line += u' ';
        if (dataField) {
            line += field->Indicator(1);
            line += field->Indicator(2);
            line += u' ';
            for (char16_t& ch : value) {
                if (ch == SubfieldDelimiter) {
                    ch = u'$';
                }
            }
        }
        line += value;
        out << TextToUtf8(line) << '\n';
    }
}

void DumpDisplay(const MarcObject& record, bool html, std::ostream& out) {
    if (html) {
        out << TextToUtf8(record.OPACDisplayHTML()) << '\n';
        return;
    }
    if (const auto table = record.OPACDisplay()) {
        for (const auto& row : *table) {
            out << TextToUtf8(row[0]) << '\t' << TextToUtf8(row[1]) << '\n';
        }
    }
}

}  // namespace

int RunDump(const MarcOptions& options, std::ostream& out) {
    const std::string& name = options.files[0];
    ToolInput input = OpenToolInput(name);
    MarcObject record;
    record.SourceIsUTF8 = options.utf8Source;
    if (!options.charmap.empty()) {
        record.SetCharacterMap(Utf8ToText(ResolveToolFile(options.charmap, "character map")));
    }
    if (!options.display.empty()) {
        record.OPACConfigFile(
            Utf8ToText(ResolveToolFile(options.display, "display configuration")));
    }
    Progress progress("dumping", input.size);
    std::string_view bytes;
    std::uint64_t offset = 0;
    std::uint64_t count = 0;
    std::uint64_t refused = 0;
    while (input.reader->Next(bytes, offset)) {
        // A piece too short for a leader (a line end after the last record) holds no record.
        if (bytes.size() < 24) {
            continue;
        }
        record.Import(AnsiToText(bytes));
        if (count > 0) {
            out << '\n';
        }
        ++count;
        if (record.RefusedFields() > 0) {
            ++refused;
            ReportRefused("dump", count, offset, record.RefusedFields());
        }
        if (options.display.empty()) {
            DumpFields(record, out);
        } else {
            DumpDisplay(record, options.html, out);
        }
        progress.Update(input.reader->Position(), count);
    }
    progress.Finish();
    CheckReadError(input, name);
    out.flush();
    if (refused > 0) {
        std::cerr << "tesselex-cli marc dump: " << count << " records, " << refused
                  << " with refused fields\n";
    }
    return 0;
}

}  // namespace tesselex::cli
