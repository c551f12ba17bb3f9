#pragma once
// The command groups of tesselex-cli. Each group parses its own arguments and answers with the
// process exit status: 0 success, 1 a check found bad records, 2 a usage or input error.

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "app/engine/ExportEngine.h"

namespace tesselex::cli {

// tesselex-cli marc dump|convert|check ... (args: everything after "marc").
int RunMarcCommand(const std::vector<std::string>& args);
void PrintMarcHelp(std::ostream& out);

// tesselex-cli watch|fetch|request|settings ... (args: everything after the command).
bool IsEngineCommand(const std::string& command);
int RunEngineCommand(const std::string& command, const std::vector<std::string>& args);
void PrintEngineHelp(std::ostream& out);

// tesselex-cli outbox [retry | drop BIBID] (args: everything after "outbox").
int RunOutboxCommand(const std::vector<std::string>& args);

// tesselex-cli ftp test [--trust] (args: everything after "ftp"): 0 logged in and listed, 1 not.
int RunFtpCommand(const std::vector<std::string>& args);

// tesselex-cli server test [--trust] [ADDRESS] (args: everything after "server"): 0 the https
// export server is trusted, 1 not (or not reached), 2 a usage error or not an https address.
int RunServerCommand(const std::vector<std::string>& args);

// The engine's messages (a missing workfile name, a failed save of the old settings) go to
// stderr; its one question, the old-style save's, is never asked here.
EngineSeams CliSeams();

// Status lines go to stdout as the window lists them; counts the errors among them.
class StatusPrinter {
  public:
    explicit StatusPrinter(ExportEngine& engine);
    int Errors() const { return errors_; }

  private:
    int errors_ = 0;
};

}  // namespace tesselex::cli
