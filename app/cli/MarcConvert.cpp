// tesselex-cli marc convert: every record imported into a record object and exported again.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "app/cli/MarcTools.h"
#include "app/cli/Progress.h"
#include "config/CodePage.h"
#include "config/Utf.h"
#include "marc/MarcObject.h"
#include "marc/RecordReader.h"

namespace tesselex::cli {

namespace {

// Output gathered into large writes: one stream call per record would dominate the run time.
class BlockWriter {
  public:
    static constexpr std::size_t BlockSize = std::size_t{1} << 20;

    explicit BlockWriter(const std::string& name) : name_(name) {
        if (name == "-") {
            out_ = &std::cout;
        } else {
            file_.open(name, std::ios::binary | std::ios::trunc);
            if (!file_.is_open()) {
                throw ToolError("cannot write '" + name + "'");
            }
            out_ = &file_;
        }
        buffer_.reserve(BlockSize + (BlockSize >> 2));
    }

    // An 8-bit string written as its bytes, converted straight into the block.
    void Append(std::u16string_view text) {
        const std::size_t at = buffer_.size();
        buffer_.resize(at + text.size());
        char* out = buffer_.data() + at;
        const char16_t* in = text.data();
        const char16_t* const last = in + text.size();
        // Runs of ASCII, by far the most of any record, are narrowed four units at a time.
        constexpr std::uint64_t NotAscii = 0xFF80FF80FF80FF80ULL;
        while (in != last) {
            if (last - in >= 4) {
                std::uint64_t word = 0;
                std::memcpy(&word, in, sizeof word);
                if ((word & NotAscii) == 0) {
                    for (int k = 0; k < 4; ++k) {
                        out[k] = static_cast<char>(in[k]);
                    }
                    in += 4;
                    out += 4;
                    continue;
                }
            }
            *out++ = static_cast<char>(*in < 0x80 ? *in : CharToAnsi(*in));
            ++in;
        }
        if (buffer_.size() >= BlockSize) {
            Flush();
        }
    }

    void Close() {
        Flush();
        out_->flush();
        if (file_.is_open()) {
            file_.close();
        }
        if (!*out_ || (file_.is_open() && !file_)) {
            throw ToolError("write error on '" + name_ + "'");
        }
    }

  private:
    void Flush() {
        out_->write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        buffer_.clear();
        if (!*out_) {
            throw ToolError("write error on '" + name_ + "'");
        }
    }

    std::string name_;
    std::ofstream file_;
    std::ostream* out_ = nullptr;
    std::string buffer_;
};

// The code page's characters of all 256 bytes, looked up once instead of per byte.
class ByteDecoder {
  public:
    ByteDecoder() {
        for (std::size_t byte = 0; byte < table_.size(); ++byte) {
            table_[byte] = AnsiToChar(static_cast<unsigned char>(byte));
        }
    }
    void Decode(std::string_view bytes, std::u16string& text) const {
        text.resize(bytes.size());
        char16_t* out = text.data();
        const char* in = bytes.data();
        const char* const last = in + bytes.size();
        // ASCII bytes are their own characters: eight at a time when a word holds only those.
        while (last - in >= 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, in, sizeof word);
            if ((word & 0x8080808080808080ULL) == 0) {
                for (int k = 0; k < 8; ++k) {
                    out[k] = static_cast<char16_t>(static_cast<unsigned char>(in[k]));
                }
            } else {
                for (int k = 0; k < 8; ++k) {
                    out[k] = table_[static_cast<unsigned char>(in[k])];
                }
            }
            in += 8;
            out += 8;
        }
        for (; in != last; ++in) {
            *out++ = table_[static_cast<unsigned char>(*in)];
        }
    }

  private:
    std::array<char16_t, 256> table_{};
};

}  // namespace

int RunConvert(const MarcOptions& options) {
    const std::string& inName = options.files[0];
    const std::string& outName = options.files[1];
    ToolInput input = OpenToolInput(inName);
    std::error_code ec;
    if (inName != "-" && outName != "-" && std::filesystem::equivalent(inName, outName, ec)) {
        throw ToolError("IN and OUT are the same file");
    }

    MarcObject record;
    record.SourceIsUTF8 = options.utf8Source;
    if (!options.charmap.empty()) {
        record.SetCharacterMap(Utf8ToText(ResolveToolFile(options.charmap, "character map")));
    }
    BlockWriter writer(outName);
    Progress progress("converting", input.size);

    std::uint64_t read = 0;
    std::uint64_t written = 0;
    std::uint64_t dropped = 0;
    std::uint64_t refused = 0;  // records written without some of their fields
    std::string_view bytes;
    std::uint64_t offset = 0;
    std::u16string text;
    const ByteDecoder decoder;
    while (input.reader->Next(bytes, offset)) {
        ++read;
        // A piece too short for a leader (typically a line end after the last record) has no
        // record in it.
        if (bytes.size() < 24) {
            ++dropped;
            continue;
        }
        decoder.Decode(bytes, text);
        record.Import(text);
        if (record.RefusedFields() > 0) {
            ++refused;
            ReportRefused("convert", read, offset, record.RefusedFields());
        }
        writer.Append(record.Export(options.encoding, options.normalization));
        ++written;
        progress.Update(input.reader->Position(), read);
    }
    progress.Finish();
    CheckReadError(input, inName);
    writer.Close();
    std::cerr << "tesselex-cli marc convert: " << read << " records read, " << written
              << " written, " << dropped << " dropped, " << refused << " with refused fields\n";
    return 0;
}

}  // namespace tesselex::cli
