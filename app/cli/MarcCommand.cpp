// tesselex-cli marc dump|convert|check: the record tools.
#include <iostream>

#include "app/cli/Commands.h"
#include "app/cli/MarcTools.h"

namespace tesselex::cli {

void PrintMarcHelp(std::ostream& out) {
    out << "Record tools (ISO 2709 files of concatenated records, '-' for stdin/stdout):\n"
           "  marc dump FILE [--utf8-source] [--charmap MAP] [--display CONFIG [--html]]\n"
           "      Each record as text: 'LDR leader', then one line per field: the tag, for\n"
           "      data fields the two indicators, then the value with each subfield as\n"
           "      $ + code + text; a blank line between records. With --display, the full\n"
           "      display rows (caption TAB text) from the display configuration CONFIG, or\n"
           "      with --html the display as an HTML table.\n"
           "  marc convert IN OUT [--encoding N] [--normalization N] [--utf8-source]\n"
           "                      [--charmap MAP]\n"
           "      Reads every record of IN and writes it again to OUT in encoding N:\n"
           "      0/1 cleaned to the code page, 2 unchanged (default), 3 UTF-8,\n"
           "      4 Latin-1, 5 VRLIN. Normalization for UTF-8: 0 compose to Latin-1,\n"
           "      1 NFC, 2 NFD, other none (default). A summary goes to stderr.\n"
           "      dump and convert name on stderr every record some of whose fields could\n"
           "      not be held in full (over 1500 fields: kept but not indexed; over 128\n"
           "      subfields or a subfield code outside the code page: the field is lost).\n"
           "  marc check FILE\n"
           "      Checks that the first five characters of every record state its length;\n"
           "      lists the bad records. Exit status 1 when any record is bad.\n"
           "  --utf8-source   decode the data fields of the input from UTF-8\n"
           "  --charmap MAP   pass the input through a character map (file name, looked up\n"
           "                  in the working folder, then in the program folder, then among\n"
           "                  the installed character maps)\n"
           "Exit status: 0 done, 1 bad records found by check, 2 usage or input error.\n";
}

int RunMarcCommand(const std::vector<std::string>& args) {
    if (args.empty()) {
        std::cerr << "tesselex-cli: marc needs dump, convert or check (see tesselex-cli marc "
                     "--help)\n";
        return 2;
    }
    const std::string& tool = args[0];
    if (tool == "--help" || tool == "-h" || tool == "help") {
        PrintMarcHelp(std::cout);
        return 0;
    }
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    for (const std::string& arg : rest) {
        if (arg == "--help" || arg == "-h") {
            PrintMarcHelp(std::cout);
            return 0;
        }
    }
    try {
        if (tool == "dump") {
            return RunDump(ParseMarcOptions(MarcTool::Dump, rest), std::cout);
        }
        if (tool == "convert") {
            return RunConvert(ParseMarcOptions(MarcTool::Convert, rest));
        }
        if (tool == "check") {
            return RunCheck(ParseMarcOptions(MarcTool::Check, rest), std::cout);
        }
        std::cerr << "tesselex-cli: unknown marc tool '" << tool << "' (see tesselex-cli marc "
                  << "--help)\n";
        return 2;
    } catch (const ToolError& e) {
        std::cerr << "tesselex-cli marc " << tool << ": " << e.what() << '\n';
        return 2;
    } catch (const std::exception& e) {
        std::cerr << "tesselex-cli marc " << tool << ": " << e.what() << '\n';
        return 2;
    }
}

}  // namespace tesselex::cli
