// Placeholder until the record tools land; replaced by the record tools' own file.
#include <iostream>

#include "app/cli/Commands.h"

namespace tesselex::cli {

int RunMarcCommand(const std::vector<std::string>&) {
    std::cerr << "tesselex-cli: the record tools are not built yet\n";
    return 2;
}

void PrintMarcHelp(std::ostream& out) { out << "  marc ...      record tools (not built yet)\n"; }

}  // namespace tesselex::cli
