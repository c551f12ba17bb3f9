// tesselex-cli: the headless program. It shares the export engine and the settings with the
// window, and carries the record tools.

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "app/Version.h"
#include "app/cli/Commands.h"

namespace {

void PrintHelp(std::ostream& out) {
    out << "Usage: tesselex-cli COMMAND [ARGS...]\n"
           "       tesselex-cli --version\n\n";
    tesselex::cli::PrintEngineHelp(out);
    out << '\n';
    tesselex::cli::PrintMarcHelp(out);
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty() || args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
        PrintHelp(args.empty() ? std::cerr : std::cout);
        return args.empty() ? 2 : 0;
    }
    if (args[0] == "--version") {
        std::cout << "tesselex-cli " << tesselex::kVersion << '\n';
        return 0;
    }
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    try {
        if (args[0] == "marc") {
            return tesselex::cli::RunMarcCommand(rest);
        }
        if (args[0] == "ftp") {
            return tesselex::cli::RunFtpCommand(rest);
        }
        if (args[0] == "server") {
            return tesselex::cli::RunServerCommand(rest);
        }
        if (tesselex::cli::IsEngineCommand(args[0])) {
            return tesselex::cli::RunEngineCommand(args[0], rest);
        }
        std::cerr << "tesselex-cli: unknown command '" << args[0] << "' (see --help)\n";
        return 2;
    } catch (const std::exception& e) {
        std::cerr << "tesselex-cli: " << e.what() << '\n';
        return 2;
    }
}
