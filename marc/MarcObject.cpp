#include "config/EmptyOnFailure.h"
#include "marc/MarcObject.h"

#include <algorithm>
#include <climits>

#include "charset/CharacterClass.h"
#include "config/CfgClass.h"
#include "config/Error.h"
#include "config/Platform.h"
#include "config/Strings.h"
#include "config/Utf.h"
#include "marc/MarcObjectFields.h"
#include "marc/TextScan.h"

namespace tesselex {

namespace {

constexpr char16_t FieldTerminator = 30;
constexpr char16_t RecordTerminator = 29;
constexpr char16_t SubfieldDelimiter = 31;
constexpr char16_t HeldBackslash = 20;
constexpr char16_t OldDelimiter = 19;

constexpr std::size_t LeaderLength = 24;
constexpr std::size_t EntryLength = 12;

// The leading number of a piece of record text, as the system reads numbers; the common case of
// plain digits is read directly because Import does it for every directory entry.
long long NumberAt(std::u16string_view text) {
    long long value = 0;
    for (const char16_t ch : text) {
        if (ch < u'0' || ch > u'9') {
            return ValInteger(text);
        }
        value = value * 10 + (ch - u'0');
    }
    return value;
}

// Decimal with at least `digits` digits; a larger number keeps all its digits.
void AppendNumber(std::u16string& out, long long value, int digits) {
    if (value < 0) {
        out += FormatNumber(value, digits);
        return;
    }
    int width = 1;
    for (long long rest = value / 10; rest > 0; rest /= 10) {
        ++width;
    }
    width = std::max(width, digits);
    const std::size_t at = out.size();
    out.resize(at + static_cast<std::size_t>(width));
    for (std::size_t pos = at + static_cast<std::size_t>(width); pos > at; value /= 10) {
        out[--pos] = static_cast<char16_t>(u'0' + value % 10);
    }
}

// One directory entry: tag, length and start. Numbers that fit their width (the normal case)
// are written in one go; wider ones keep all their digits.
void AppendEntry(std::u16string& directory, long long tag, long long length, long long start) {
    if (tag < 0 || tag > 999 || length > 9999 || start > 99999) {
        AppendNumber(directory, tag, 3);
        AppendNumber(directory, length, 4);
        AppendNumber(directory, start, 5);
        return;
    }
    char16_t entry[EntryLength];
    auto put = [&entry](std::size_t end, std::size_t width, long long value) {
        for (std::size_t pos = end; pos > end - width; value /= 10) {
            entry[--pos] = static_cast<char16_t>(u'0' + value % 10);
        }
    };
    put(3, 3, tag);
    put(7, 4, length);
    put(12, 5, start);
    directory.append(entry, EntryLength);
}

// Overwrites the characters at a 0-based position with the number; a number wider than its
// place replaces exactly that place and pushes the rest to the right.
void WriteNumberAt(std::u16string& record, std::size_t at, std::size_t width, long long value) {
    if (record.size() < at + width) {
        return;
    }
    std::u16string number;
    AppendNumber(number, value, static_cast<int>(width));
    record.replace(at, width, number);
}

void ReplaceChar(std::u16string& text, char16_t from, char16_t to) {
    for (char16_t& ch : text) {
        if (ch == from) {
            ch = to;
        }
    }
}

int NumericTag(const MarcObjectField& field) {
    return static_cast<int>(NumberAt(field.Tag()));
}

}  // namespace

MarcObject::MarcObject()
    : fields_(std::make_shared<MarcObjectFields>()),
      charClass_(std::make_shared<CharacterClass>()) {
    fields_->Field(0, 1)->SetValue(DefaultLeader);
}

MarcObject::~MarcObject() = default;

std::u16string MarcObject::Leader() const {
    return fields_->Field(0, 1)->Value();
}

void MarcObject::SetLeader(std::u16string_view value) {
    if (value.size() == LeaderLength) {
        fields_->Field(0, 1)->SetValue(value);
    }
}

void MarcObject::SetLeaderValue(int position, std::u16string_view toValue) {
    fields_->Field(0, 1)->SetFieldValue(position, toValue);
}

std::u16string MarcObject::GetLeaderValue(int position, int length) const {
    return fields_->Field(0, 1)->GetFieldValue(position, length).value_or(std::u16string());
}

namespace {

// The typed accessors go through the first field of the collection, which is the leader.
std::u16string FirstFieldValue(const MarcObjectFields& fields, int position) {
    return fields.FieldByNum(1)->GetFieldValue(position, 1).value_or(std::u16string());
}

void SetFirstFieldValue(const MarcObjectFields& fields, int position, std::u16string_view value) {
    if (!value.empty()) {
        fields.FieldByNum(1)->SetFieldValue(position, value.substr(0, 1));
    }
}

}  // namespace

std::u16string MarcObject::RecordType() const {
    return FirstFieldValue(*fields_, 7);
}
void MarcObject::SetRecordType(std::u16string_view value) {
    SetFirstFieldValue(*fields_, 7, value);
}
std::u16string MarcObject::BibLevel() const {
    return FirstFieldValue(*fields_, 8);
}
void MarcObject::SetBibLevel(std::u16string_view value) {
    SetFirstFieldValue(*fields_, 8, value);
}
std::u16string MarcObject::CharacterSet() const {
    return FirstFieldValue(*fields_, 10);
}
void MarcObject::SetCharacterSet(std::u16string_view value) {
    SetFirstFieldValue(*fields_, 10, value);
}

void MarcObject::SetCharacterMap(std::u16string_view charmap) {
    charClass_ = std::make_shared<CharacterClass>();
    if (!charmap.empty()) {
        const std::filesystem::path path = ResolveInProgramFolder(TextToPath(charmap));
        charClass_->Load(PathToText(path));
        characterMap_ = std::u16string(charmap);
    }
}

void MarcObject::GetCharacterMap(std::u16string_view) {}

int MarcObject::FieldCount() const {
    return fields_->Count();
}

void MarcObject::Import(std::u16string_view record) {
    fields_->Clear();
    refusedFields_ = 0;
    const std::u16string_view leader =
        record.size() >= LeaderLength ? record.substr(0, LeaderLength) : std::u16string_view();
    fields_->Field(0, 1)->SetValue(leader);

    const bool mapping = charClass_->CharacterCount().value_or(0) > 0;

    // Where the directory ends and the data begins: the base address, falling back to the
    // first field terminator when it cannot be right.
    const std::size_t firstTerminator = record.find(FieldTerminator);
    const bool hasTerminator = firstTerminator != std::u16string_view::npos;
    const long long terminatorPos = hasTerminator ? static_cast<long long>(firstTerminator) + 1 : 0;
    const long long base = record.size() >= 25 ? NumberAt(record.substr(12, 5)) : 0;

    std::u16string_view directory;
    if (record.size() >= 25) {
        long long directoryLength = -1;
        if (base != 0) {
            directoryLength = base - 25;
        } else if (hasTerminator) {
            directoryLength = terminatorPos - 25;
        }
        if (directoryLength >= 1) {
            directory = record.substr(24, static_cast<std::size_t>(directoryLength));
        }
    }

    std::u16string_view data;
    if (record.size() >= LeaderLength) {
        long long dataBase = base;
        if (dataBase >= static_cast<long long>(record.size()) || dataBase < 25) {
            dataBase = hasTerminator ? terminatorPos : -1;
        }
        if (dataBase >= 0 && dataBase <= static_cast<long long>(record.size())) {
            data = record.substr(static_cast<std::size_t>(dataBase));
        }
    }

    // The pieces of the data between field terminators are taken in directory order; the
    // lengths and offsets of the directory are not trusted. Once the data runs out, later
    // entries repeat the last piece.
    const std::size_t entries = directory.size() / EntryLength;
    std::size_t cursor = 0;
    bool dataLeft = true;
    // The entry's text is a view of the data, copied only when a rule changes it. An entry
    // beyond the data repeats the previous entry's text as those rules left it, and the rules
    // apply to it again.
    std::u16string_view text;
    std::u16string owned;
    auto own = [&]() {
        if (text.data() != owned.data() || text.size() != owned.size()) {
            owned.assign(text);
            text = owned;
        }
    };
    bool hasOldDelimiter = false;
    // Repeating the last text is how a directory longer than its data is read; a crafted
    // record with a huge directory and a long last field would make that repetition exhaust
    // memory and time, so the repeated text may add up to the record's own length, or the
    // longest length a record can state (99999) for a small record, at most. Entries past that
    // are counted as refused, like any other field the record cannot hold.
    constexpr std::size_t kLongestStatedLength = 99999;
    std::size_t repeatBudget = std::max(record.size(), kLongestStatedLength);
    auto addEntry = [&](int tag) {
        if (tag >= 6 && tag <= 8) {
            fields_->Add(tag, u"", u"", text, true, false);
        } else if (text.size() > 2) {
            if (text.find(SubfieldDelimiter) == std::u16string_view::npos) {
                fields_->Add(tag, u"", u"", text, false, false);
            } else {
                if (hasOldDelimiter) {
                    own();
                    ReplaceChar(owned, OldDelimiter, SubfieldDelimiter);
                }
                if (SourceIsUTF8) {
                    own();
                    owned = charClass_->UCS2String(owned);
                    text = owned;
                }
                fields_->Add(tag, text.substr(0, 1), text.substr(1, 1), text.substr(2), false,
                             false);
            }
        }
    };
    for (std::size_t i = 0; i < entries; ++i) {
        const int tag = static_cast<int>(NumberAt(directory.substr(i * EntryLength, 3)));
        // Finding the end of the piece and noting the characters the rules below change is
        // one pass over the text.
        bool hasBackslash = false;
        hasOldDelimiter = false;
        if (dataLeft) {
            const char16_t* const first = data.data() + cursor;
            const char16_t* const last = data.data() + data.size();
            bool special = false;
            const char16_t* const p =
                textscan::FindNoting(first, last, FieldTerminator, u'\\', OldDelimiter, special);
            if (p == last) {
                dataLeft = false;
            } else {
                text = std::u16string_view(first, static_cast<std::size_t>(p - first));
                cursor += text.size() + 1;
                hasBackslash = special && textscan::Contains(text, u'\\');
                hasOldDelimiter = special && textscan::Contains(text, OldDelimiter);
            }
        }
        if (!dataLeft) {
            if (text.size() > repeatBudget) {
                refusedFields_ += static_cast<int>(std::min<std::size_t>(entries - i, INT_MAX));
                break;
            }
            repeatBudget -= text.size();
        }
        if (mapping || !dataLeft) {
            // A mapped or repeated text is looked at again as it now stands.
            if (mapping) {
                own();
                charClass_->Map(owned);
                text = owned;
            }
            hasBackslash = text.find(u'\\') != std::u16string_view::npos;
            hasOldDelimiter = text.find(OldDelimiter) != std::u16string_view::npos;
        }
        if (hasBackslash) {
            own();
            ReplaceChar(owned, u'\\', HeldBackslash);
        }
        // A field beyond what the collection can index (too many fields, more subfields than
        // a field indexes, a code outside the code page after UTF-8 decoding) is a malformed
        // record, not an error: the field is kept as far as the collection keeps it, and
        // counted so the caller can say so.
        try {
            addEntry(tag);
        } catch (const Error&) {
            ++refusedFields_;
        }
    }
}

std::u16string MarcObject::Export(int encoding, int normalization) const {
    std::u16string leader;
    std::u16string directory;
    std::u16string data;
    directory.reserve(static_cast<std::size_t>(fields_->Count()) * EntryLength);
    data.reserve(2048);
    // Encodings without a conversion append straight into the data area.
    const bool converting = encoding == 0 || encoding == 1 || (encoding >= 3 && encoding <= 5);
    std::u16string text;
    std::u16string value;
    for (const auto& field : *fields_) {
        const int tag = NumericTag(*field);
        const std::size_t start = data.size();
        std::u16string& out = converting ? text : data;
        if (converting) {
            text.clear();
        }
        if (tag > 8) {
            value = field->Value();
            if (value.find_first_not_of(u' ') != std::u16string::npos) {
                out += field->Indicator(1);
                out += field->Indicator(2);
                out += value;
            }
        } else if (tag > 0) {
            out += field->Value();
        }
        const std::size_t from = converting ? 0 : start;
        if (out.size() > from) {
            // Value shows character 20 as a backslash in subfield values, but not where it
            // stands as an indicator or a subfield code.
            if (textscan::Contains(std::u16string_view(out).substr(from), HeldBackslash)) {
                std::replace(out.begin() + static_cast<std::ptrdiff_t>(from), out.end(),
                             HeldBackslash, u'\\');
            }
            out += FieldTerminator;
        }
        if (converting) {
            switch (encoding) {
                case 0:
                case 1:
                    text = charClass_->CleanString(text);
                    break;
                case 3:
                    text = charClass_->UTF8String(text, normalization);
                    break;
                case 4:
                    text = charClass_->NarrowString(text);
                    break;
                default:
                    text = charClass_->VRLINString(charClass_->CleanString(text));
                    break;
            }
        }
        const std::size_t length = converting ? text.size() : data.size() - start;
        if (length > 0 && tag > 0) {
            AppendEntry(directory, tag, static_cast<long long>(length),
                        static_cast<long long>(start));
            if (converting) {
                data += text;
            }
        } else {
            data.resize(start);
            if (tag == 0 && field->FixedLength() > 0) {
                leader = field->Value();
                if (leader.size() >= 10 && encoding == 3) {
                    leader[9] = u'a';
                } else if (leader.size() >= 10 && encoding == 0) {
                    leader[9] = u' ';
                }
            }
        }
    }
    std::u16string record;
    record.reserve(leader.size() + directory.size() + data.size() + 2);
    record += leader;
    record += directory;
    record += FieldTerminator;
    record += data;
    record += RecordTerminator;
    const auto total = static_cast<long long>(record.size());
    const auto base = static_cast<long long>(directory.size()) + 25;
    WriteNumberAt(record, 0, 5, total);
    // The base address sits behind the record length, which may have grown by a digit.
    WriteNumberAt(record, 12 + (record.size() - static_cast<std::size_t>(total)), 5, base);
    return record;
}

std::u16string MarcObject::PubDate() const {
    if (!fields_->TagExists(8)) {
        return {};
    }
    const std::u16string value = fields_->Field(8, 1)->Value();
    return value.size() > 16 ? value.substr(7, 8) : std::u16string();
}

namespace {

std::shared_ptr<CfgClass> LoadConfig(std::u16string_view fileName, std::u16string& keptPath,
                                     const MessageSink& messages) {
    auto config = std::make_shared<CfgClass>(messages);
    const std::filesystem::path path = ResolveInProgramFolder(TextToPath(fileName));
    keptPath = PathToText(path);
    // A faulty configuration (a section given twice) keeps what was read before the fault.
    EmptyOnFailure([&] { config->Load(keptPath); });
    return config;
}

}  // namespace

void MarcObject::OPACConfigFile(std::u16string_view fileName) {
    opacConfig_ = LoadConfig(fileName, opacConfigPath_, messages_);
}

void MarcObject::OPACConfigFileBrief(std::u16string_view fileName) {
    briefConfig_ = LoadConfig(fileName, briefConfigPath_, messages_);
}

std::u16string MarcObject::MainEntry() const {
    const int tag = fields_->MainEntryTag();
    if (tag <= 0 || !fields_->TagExists(tag)) {
        return {};
    }
    return fields_->Field(tag, 1)->GetFieldContents();
}

}  // namespace tesselex
