// tesselex-sample-server: the sample export server on 127.0.0.1, for the demo and for trying
// the program out. Prints its address, then one line per request, until asked to end (Ctrl+C,
// SIGTERM, or the console's Ctrl+Break).

#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <thread>

#include "app/sampleserver/SampleExportServer.h"
#include "config/StopRequest.h"

namespace {

void PrintUsage(std::ostream& out) {
    out << "Usage: tesselex-sample-server [--data DIR] [--port N] [--delay-ms N]\n"
           "  --data DIR  folder with ConfigURL.TXT, sample-bib.mrc, sample-holdings.mrc\n"
           "              (default: the project's data folder)\n"
           "  --port N    port on 127.0.0.1 (default 0: chosen by the system)\n"
           "  --delay-ms N  hold every /export reply N milliseconds (a slow server)\n"
           "Prints \"http://127.0.0.1:PORT\" on its first line; the request table is at\n"
           "/config, the records at /export?bibid=N. Ends on Ctrl+C or SIGTERM.\n";
}

}  // namespace

int main(int argc, char** argv) {
    std::string data = TESSELEX_SAMPLE_DATA_DIR;
    int port = 0;
    int delayMs = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if ((arg == "--data" || arg == "--port" || arg == "--delay-ms") && i + 1 < argc) {
            const std::string value = argv[++i];
            if (arg == "--data") {
                data = value;
            } else if (arg == "--delay-ms") {
                delayMs = std::atoi(value.c_str());
            } else {
                port = std::atoi(value.c_str());
            }
        } else if (arg == "--help" || arg == "-h") {
            PrintUsage(std::cout);
            return 0;
        } else {
            PrintUsage(std::cerr);
            return 2;
        }
    }

    tesselex::InstallStopHandler();
    try {
        tesselex::SampleExportServer server(data);
        server.SetRequestObserver(
            [](const std::string& target) { std::cout << "request: " << target << std::endl; });
        server.SetExportDelay(std::chrono::milliseconds(delayMs));
        server.Start(port);
        std::cout << server.Address("") << std::endl;
        while (!tesselex::StopRequested()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        server.Stop();
    } catch (const std::exception& e) {
        std::cerr << "tesselex-sample-server: " << e.what() << '\n';
        return 1;
    }
    return 0;
}
