#include <charconv>
#include <filesystem>
#include <system_error>

#include <cstdio>
#include <iostream>

#include "app/cli/MarcTools.h"
#include "config/Platform.h"
#include "marc/RecordReader.h"

namespace tesselex::cli {

namespace {

int ParseNumber(const std::string& option, const std::string& text) {
    int value = 0;
    const char* first = text.data();
    const char* last = text.data() + text.size();
    const auto [end, ec] = std::from_chars(first, last, value);
    if (ec != std::errc() || end != last || text.empty()) {
        throw ToolError(option + " needs a whole number, not '" + text + "'");
    }
    return value;
}

}  // namespace

MarcOptions ParseMarcOptions(MarcTool tool, const std::vector<std::string>& args) {
    MarcOptions options;
    const bool recordOptions = tool != MarcTool::Check;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        auto value = [&]() -> const std::string& {
            if (i + 1 >= args.size()) {
                throw ToolError(arg + " needs a value");
            }
            return args[++i];
        };
        if (arg == "-" || arg.empty() || arg[0] != '-') {
            options.files.push_back(arg);
        } else if (recordOptions && arg == "--utf8-source") {
            options.utf8Source = true;
        } else if (recordOptions && arg == "--charmap") {
            options.charmap = value();
        } else if (tool == MarcTool::Dump && arg == "--display") {
            options.display = value();
        } else if (tool == MarcTool::Dump && arg == "--html") {
            options.html = true;
        } else if (tool == MarcTool::Convert && arg == "--encoding") {
            options.encoding = ParseNumber(arg, value());
        } else if (tool == MarcTool::Convert && arg == "--normalization") {
            options.normalization = ParseNumber(arg, value());
        } else {
            throw ToolError("unknown option '" + arg + "' (see tesselex-cli marc --help)");
        }
    }
    const std::size_t wanted = tool == MarcTool::Convert ? 2 : 1;
    if (options.files.size() != wanted) {
        throw ToolError(tool == MarcTool::Convert ? "convert needs IN and OUT"
                                                  : "needs exactly one FILE");
    }
    if (options.html && options.display.empty()) {
        throw ToolError("--html needs --display CONFIG");
    }
    return options;
}

std::string ResolveToolFile(const std::string& name, const char* what) {
    std::error_code ec;
    const std::filesystem::path given(name);
    if (std::filesystem::is_regular_file(given, ec)) {
        return std::filesystem::absolute(given, ec).string();
    }
    if (std::filesystem::is_regular_file(ResolveInProgramFolder(given), ec)) {
        return name;
    }
    throw ToolError(std::string(what) + " '" + name + "' not found");
}

ToolInput::ToolInput() = default;
ToolInput::ToolInput(ToolInput&&) noexcept = default;
ToolInput::~ToolInput() = default;

ToolInput OpenToolInput(const std::string& name) {
    ToolInput input;
    if (name == "-") {
        input.reader = std::make_unique<RecordReader>(std::cin);
        return input;
    }
    std::error_code ec;
    const std::filesystem::path path(name);
    if (!std::filesystem::exists(path, ec)) {
        throw ToolError("cannot open '" + name + "': no such file");
    }
    if (std::filesystem::is_directory(path, ec)) {
        throw ToolError("cannot read '" + name + "': it is a folder");
    }
    input.reader = std::make_unique<RecordReader>(path);
    if (!input.reader->IsOpen()) {
        throw ToolError("cannot open '" + name + "': not readable");
    }
    const auto size = std::filesystem::file_size(path, ec);
    input.size = ec ? 0 : size;
    return input;
}

void CheckReadError(const ToolInput& input, const std::string& name) {
    if (input.reader->Failed()) {
        throw ToolError("read error in '" + name + "' after byte " +
                        std::to_string(input.reader->Position()));
    }
}

std::string Printable(std::string_view bytes, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size() && i < count; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte >= 32 && byte < 127 && byte != '\\') {
            text += static_cast<char>(byte);
        } else {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02X", byte);
            text += hex;
        }
    }
    return text;
}

void ReportRefused(std::string_view tool, std::uint64_t number, std::uint64_t offset, int refused) {
    std::cerr << "tesselex-cli marc " << tool << ": record " << number << " at byte " << offset
              << ": " << refused
              << " field(s) refused (over 1500 fields, over 128 subfields, or a subfield code "
                 "outside the code page)\n";
}

}  // namespace tesselex::cli
