#include "tests/support/WineUnix.h"

#include <windows.h>

#include <stdexcept>
#include <string_view>

namespace tesselex::test::wine {
namespace {

// A file name converted by one of Wine's own kernel32 exports (absent on Windows proper) between
// its Unix and Windows forms; the export allocates the result on the process heap.
template <typename To, typename From>
std::basic_string<To> WineName(const char* convert, const std::basic_string<From>& name) {
    using Convert = To* (*)(const From*);
    const auto address = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), convert);
    if (address == nullptr) {
        throw std::runtime_error("the test's Unix programs need Wine to start them");
    }
    To* converted = reinterpret_cast<Convert>(reinterpret_cast<void*>(address))(name.c_str());
    if (converted == nullptr) {
        throw std::runtime_error(std::string("Wine's ") + convert + " failed");
    }
    std::basic_string<To> result(converted);
    HeapFree(GetProcessHeap(), 0, converted);
    return result;
}

// One argument of a command line in quotes. The arguments here hold no double quote, so the
// Windows rules for splitting it again need no escapes.
std::wstring Quoted(std::string_view argument) {
    if (argument.find('"') != std::string_view::npos) {
        throw std::runtime_error("a double quote in an argument of a Unix program");
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

// Reads what comes until `done` says so, the end of the stream or `timeoutMs` without a byte.
template <typename Done>
std::string Read(SOCKET socket, int timeoutMs, Done done) {
    std::string text;
    char buffer[256];
    while (!done(text)) {
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
        text.append(buffer, static_cast<std::size_t>(got));
    }
    return text;
}

}  // namespace

std::string UnixFileName(const std::filesystem::path& path) {
    return WineName<char>("wine_get_unix_file_name", path.native());
}

SOCKET StartUnixProgram(const std::string& program, const std::vector<std::string>& arguments) {
    static const bool sockets = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    SOCKET pair[2];
    if (!sockets || !SocketPair(pair)) {
        throw std::runtime_error("no socket pair for " + program);
    }
    try {
        std::wstring commandLine = Quoted(program);
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
        const bool ok = CreateProcessW(WineName<wchar_t>("wine_get_dos_file_name", program).c_str(),
                                       commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                       nullptr, &startup, &started);
        closesocket(pair[1]);
        pair[1] = INVALID_SOCKET;
        if (!ok) {
            throw std::runtime_error("Wine did not start " + program);
        }
        // Null for a Unix program; closed in case a Windows one ever answers.
        if (started.hProcess != nullptr) {
            CloseHandle(started.hProcess);
        }
        if (started.hThread != nullptr) {
            CloseHandle(started.hThread);
        }
    } catch (const std::exception&) {
        closesocket(pair[1]);
        closesocket(pair[0]);
        throw;
    }
    return pair[0];
}

std::string ReadLine(SOCKET socket, int timeoutMs) {
    return Read(socket, timeoutMs,
                [](const std::string& text) { return text.find('\n') != std::string::npos; });
}

std::string ReadAll(SOCKET socket, int timeoutMs) {
    return Read(socket, timeoutMs, [](const std::string&) { return false; });
}

}  // namespace tesselex::test::wine
