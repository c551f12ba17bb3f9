// Placeholder until the export engine lands; replaced by the engine commands' own file.
#include <iostream>

#include "app/cli/Commands.h"

namespace tesselex::cli {

bool IsEngineCommand(const std::string&) { return false; }

int RunEngineCommand(const std::string&, const std::vector<std::string>&) { return 2; }

void PrintEngineHelp(std::ostream& out) { out << "  (export commands not built yet)\n"; }

}  // namespace tesselex::cli
