// tesselex-cli marc convert: every record imported into a record object and exported again.
#include <cstdio>
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

    void Append(std::string_view bytes) {
        buffer_.append(bytes);
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
    std::string_view bytes;
    std::uint64_t offset = 0;
    std::u16string text;
    std::string outBytes;
    while (input.reader->Next(bytes, offset)) {
        ++read;
        // A piece too short for a leader (typically a line end after the last record) has no
        // record in it.
        if (bytes.size() < 24) {
            ++dropped;
            continue;
        }
        text.resize(bytes.size());
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            text[i] = AnsiToChar(static_cast<unsigned char>(bytes[i]));
        }
        record.Import(text);
        const std::u16string exported = record.Export(options.encoding, options.normalization);
        outBytes.resize(exported.size());
        for (std::size_t i = 0; i < exported.size(); ++i) {
            outBytes[i] = static_cast<char>(CharToAnsi(exported[i]));
        }
        writer.Append(outBytes);
        ++written;
        progress.Update(input.reader->Position(), read);
    }
    progress.Finish();
    CheckReadError(input, inName);
    writer.Close();
    std::cerr << "tesselex-cli marc convert: " << read << " records read, " << written
              << " written, " << dropped << " dropped\n";
    return 0;
}

}  // namespace tesselex::cli
