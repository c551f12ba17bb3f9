#pragma once
// The one builder of hand-made ISO 2709 records for every test folder: the directory, base
// address and record length are worked out from the field texts, so each test states only what
// it is about (and breaks the rest on purpose).

#include <string>
#include <utility>
#include <vector>

#include "config/CodePage.h"
#include "config/Strings.h"

namespace tesselex::test {

inline const std::u16string FT(1, char16_t{30});
inline const std::u16string RT(1, char16_t{29});
inline const std::u16string SF(1, char16_t{31});

// A record of (tag, text without terminator) fields behind the leader; base address and record
// length filled in.
inline std::u16string Iso(const std::vector<std::pair<std::u16string, std::u16string>>& fields,
                          std::u16string leader = u"00000nam  2200000 a 4500") {
    std::u16string directory;
    std::u16string data;
    for (const auto& [tag, text] : fields) {
        directory += tag + FormatNumber(static_cast<long long>(text.size() + 1), 4) +
                     FormatNumber(static_cast<long long>(data.size()), 5);
        data += text + FT;
    }
    std::u16string record = leader + directory + FT + data + RT;
    record.replace(0, 5, FormatNumber(static_cast<long long>(record.size()), 5));
    record.replace(12, 5, FormatNumber(static_cast<long long>(directory.size() + 25), 5));
    return record;
}

// The same record as bytes, for files and server replies: (tag, bytes without terminator).
inline std::string IsoBytes(const std::vector<std::pair<std::string, std::string>>& fields,
                            const std::string& leader = "00000nam  2200000 a 4500") {
    std::vector<std::pair<std::u16string, std::u16string>> texts;
    for (const auto& [tag, bytes] : fields) {
        texts.emplace_back(AnsiToText(tag), AnsiToText(bytes));
    }
    return TextToAnsi(Iso(texts, AnsiToText(leader)));
}

}  // namespace tesselex::test
