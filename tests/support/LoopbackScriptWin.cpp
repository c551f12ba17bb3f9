// Starts a test script from a Windows test process under Wine (LoopbackScript.h): Wine runs the
// Linux Python when asked for a Unix program, hands it no process handle, and a Windows pipe has
// no Unix end it could use; a loopback socket has one. One end of a connected pair becomes the
// script's standard input and output: its first line comes on it, and shutting down this end ends
// the script. A test process that dies closes the socket too.

#include <winsock2.h>

#include <stdexcept>
#include <string_view>
#include <vector>

#include "tests/support/LoopbackScript.h"

namespace tesselex::test {
namespace {

// A file name converted by one of Wine's own kernel32 exports (absent on Windows proper) between
// its Unix and Windows forms; the export allocates the result on the process heap.
template <typename To, typename From>
std::basic_string<To> WineName(const char* convert, const std::basic_string<From>& name) {
    using Convert = To* (*)(const From*);
    const auto address = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), convert);
    if (address == nullptr) {
        throw std::runtime_error("loopback script: needs Wine to run the system's Python");
    }
    To* converted = reinterpret_cast<Convert>(reinterpret_cast<void*>(address))(name.c_str());
    if (converted == nullptr) {
        throw std::runtime_error(std::string("loopback script: ") + convert + " failed");
    }
    std::basic_string<To> result(converted);
    HeapFree(GetProcessHeap(), 0, converted);
    return result;
}

// One argument of a command line in quotes. The arguments here (Unix paths, the test's user and
// password) hold no quote, so the Windows rules for splitting it again need no escapes.
std::wstring Quoted(std::string_view argument) {
    if (argument.find('"') != std::string_view::npos) {
        throw std::runtime_error("loopback script: a quote in an argument");
    }
    return L"\"" + std::wstring(argument.begin(), argument.end()) + L"\"";
}

// A connected pair of loopback sockets; false when none can be made.
bool SocketPair(SOCKET (&pair)[2]) {
    pair[0] = pair[1] = INVALID_SOCKET;
    const SOCKET listening = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int length = sizeof address;
    if (listening != INVALID_SOCKET &&
        bind(listening, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        listen(listening, 1) == 0 &&
        getsockname(listening, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
        pair[0] = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        if (connect(pair[0], reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
            pair[1] = accept(listening, nullptr, nullptr);
        }
    }
    closesocket(listening);
    if (pair[1] == INVALID_SOCKET) {
        closesocket(pair[0]);
        return false;
    }
    return true;
}

// Reads from the socket until a line end, the end of the stream or `timeoutMs` without a byte.
std::string ReadLine(SOCKET socket, int timeoutMs) {
    std::string line;
    char buffer[64];
    while (line.find('\n') == std::string::npos) {
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(socket, &readable);
        timeval wait{timeoutMs / 1000, (timeoutMs % 1000) * 1000};
        if (select(0, &readable, nullptr, nullptr, &wait) <= 0) {
            break;
        }
        const int got = recv(socket, buffer, sizeof buffer, 0);
        if (got <= 0) {
            break;
        }
        line.append(buffer, static_cast<std::size_t>(got));
    }
    return line;
}

}  // namespace

struct LoopbackScript::Process {
    SOCKET control = INVALID_SOCKET;  // this end of the script's standard input and output
};

LoopbackScript::LoopbackScript(const std::string& script, const std::vector<std::string>& arguments)
    : process_(std::make_unique<Process>()) {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
        throw std::runtime_error("loopback script: no sockets");
    }
    SOCKET pair[2];
    if (!SocketPair(pair)) {
        WSACleanup();
        throw std::runtime_error("loopback script: no socket pair");
    }
    process_->control = pair[0];
    const std::string python = TESSELEX_PYTHON;
    try {
        std::wstring commandLine = Quoted(python) + L" " + Quoted(script);
        for (const std::string& argument : arguments) {
            commandLine += L" " + Quoted(argument);
        }
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = startup.hStdOutput = reinterpret_cast<HANDLE>(pair[1]);
        startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
        SetHandleInformation(startup.hStdInput, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
        PROCESS_INFORMATION started{};
        const bool ok = CreateProcessW(WineName<wchar_t>("wine_get_dos_file_name", python).c_str(),
                                       commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                       nullptr, &startup, &started);
        closesocket(pair[1]);
        pair[1] = INVALID_SOCKET;
        if (ok) {
            // Null for a Unix program; closed in case a Windows one ever answers.
            if (started.hProcess != nullptr) {
                CloseHandle(started.hProcess);
            }
            if (started.hThread != nullptr) {
                CloseHandle(started.hThread);
            }
            firstLine_ = ReadLine(process_->control, 30000);
        }
    } catch (const std::exception&) {
        closesocket(pair[1]);
        Stop();
        throw;
    }
    TakeFirstLine(script);
}

LoopbackScript::~LoopbackScript() {
    Stop();
}

void LoopbackScript::Stop() {
    if (process_->control == INVALID_SOCKET) {
        return;
    }
    // The script closes every connection on the end of its input, then exits: the end of its
    // output says it has gone.
    shutdown(process_->control, SD_SEND);
    while (!ReadLine(process_->control, 10000).empty()) {
    }
    closesocket(process_->control);
    process_->control = INVALID_SOCKET;
    WSACleanup();
}

std::string LoopbackScript::ScriptPath(const std::filesystem::path& path) {
    return WineName<char>("wine_get_unix_file_name", path.native());
}

}  // namespace tesselex::test
