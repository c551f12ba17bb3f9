// ISO 2709 import of arbitrary bytes, export in every encoding and normalisation, and the
// round trip: importing an export and exporting it again gives the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "fuzz/FuzzText.h"
#include "marc/MarcObject.h"
#include "marc/MarcObjectField.h"
#include "marc/MarcObjectFields.h"

namespace {

using tesselex::MarcObject;

// Characters every conversion keeps as they are.
bool IsAscii(std::u16string_view text) {
    for (const char16_t c : text) {
        if (c >= 0x80) {
            return false;
        }
    }
    return true;
}

int NumericTag(const std::u16string& tag) {
    int number = 0;
    for (const char16_t c : tag) {
        if (c < u'0' || c > u'9') {
            break;
        }
        number = number * 10 + (c - u'0');
    }
    return number;
}

// The round trip is stable except where a documented rule makes each pass add to the record:
// - a field past 008 without subfield delimiters is imported as a bare value, but exported
//   with its two (blank) indicators in front, which the next import keeps as text;
// - a field up to 008 with subfield delimiters is imported as a data field, but exported as a
//   bare value without its indicators, so the next import takes two characters as them;
// - the UTF-8 conversion (3) ends a field's text at a NUL, field terminator included, so the
//   exported record no longer holds the fields that followed;
// - every conversion (all encodings but 2, as held) converts a field's text with its
//   indicators and may drop, expand or replace characters past ASCII: a shifted subfield
//   delimiter, a blank left at the edge of a subfield value (which Import trims), a UTF-8
//   control field (which Import does not decode) or a VRLIN code (another character set
//   than Import reads) all change the next pass. For these the assertion holds where the
//   record's text is ASCII, which every conversion keeps as it is.
bool RoundTripHolds(const MarcObject& record, int encoding) {
    for (const auto& field : *record.MarcFields()) {
        const int tag = NumericTag(field->Tag());
        const std::u16string text = field->Indicator(1) + field->Indicator(2) + field->Value();
        if (encoding != 2 && !IsAscii(text)) {
            return false;
        }
        if (encoding == 3 && text.find(u'\0') != std::u16string::npos) {
            return false;
        }
        // Import decides by the whole text: a delimiter among the indicators counts too.
        const bool delimited = text.find(u'\x1f') != std::u16string::npos;
        if (tag > 8 && !delimited && text.find_first_not_of(u' ') != std::u16string::npos) {
            return false;
        }
        if (tag > 0 && tag <= 8 && delimited) {
            return false;
        }
    }
    return true;
}

void CheckRoundTrip(const MarcObject& record, int encoding, int normalization) {
    const std::u16string first = record.Export(encoding, normalization);
    MarcObject again;
    // A UTF-8 export is read back as UTF-8, as the program reads its own UTF-8 files.
    again.SourceIsUTF8 = encoding == 3;
    again.Import(first);
    const std::u16string second = again.Export(encoding, normalization);
    if (second != first && RoundTripHolds(record, encoding) && RoundTripHolds(again, encoding)) {
        std::fprintf(stderr, "round trip differs: encoding %d normalization %d\n", encoding,
                     normalization);
        for (const std::u16string* text : {&first, &second}) {
            for (const char16_t c : *text) {
                std::fprintf(stderr, c >= 0x20 && c < 0x7f ? "%c" : "\\x%02x", c);
            }
            std::fputc('\n', stderr);
        }
        tesselex::fuzz::Fail();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::u16string input = tesselex::fuzz::Bytes8(tesselex::fuzz::View(data, size));
    // Both readings of the data fields: as 8-bit text and as UTF-8.
    for (const bool utf8 : {false, true}) {
        MarcObject record;
        record.SourceIsUTF8 = utf8;
        record.Import(input);
        for (int encoding = 0; encoding <= 5; ++encoding) {
            if (encoding == 3) {
                for (int normalization = 0; normalization <= 3; ++normalization) {
                    CheckRoundTrip(record, encoding, normalization);
                }
            } else {
                CheckRoundTrip(record, encoding, 0);
            }
        }
    }
    return 0;
}
