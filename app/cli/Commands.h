#pragma once
// The command groups of tesselex-cli. Each group parses its own arguments and answers with the
// process exit status: 0 success, 1 a check found bad records, 2 a usage or input error.

#include <iosfwd>
#include <string>
#include <vector>

namespace tesselex::cli {

// tesselex-cli marc dump|convert|check ... (args: everything after "marc").
int RunMarcCommand(const std::vector<std::string>& args);
void PrintMarcHelp(std::ostream& out);

// tesselex-cli watch|fetch|request|settings ... (args: everything after the command).
bool IsEngineCommand(const std::string& command);
int RunEngineCommand(const std::string& command, const std::vector<std::string>& args);
void PrintEngineHelp(std::ostream& out);

}  // namespace tesselex::cli
