#pragma once
// For the test support's *Win.cpp files only: Unix programs of the machine started for a Windows
// test process under Wine, which runs a Unix program a Windows process asks for (the machines
// that test have no Windows Python, shell or openssl). Wine hands such a program no process
// handle, and a Windows pipe has no Unix end it could use; a loopback socket has one. One end of
// a connected pair becomes the program's standard input and output.

#include <winsock2.h>

#include <filesystem>
#include <string>
#include <vector>

namespace tesselex::test::wine {

// A path's Unix form, through Wine's own kernel32 export (absent on Windows proper: then
// std::runtime_error).
std::string UnixFileName(const std::filesystem::path& path);

// Starts the Unix program (a Unix path) with the arguments, none of which may hold a double
// quote: its standard input and output are one end of a connected loopback socket pair, its
// standard error the test's. Answers the other end, which the caller closes; shutting down its
// sending side ends the program's input. The process's sockets are set up at the first call,
// for good. Throws std::runtime_error when the program cannot be started.
SOCKET StartUnixProgram(const std::string& program, const std::vector<std::string>& arguments);

// Reads from the socket until a line end, the end of the stream or `timeoutMs` without a byte.
std::string ReadLine(SOCKET socket, int timeoutMs);
// Reads from the socket until the end of the stream or `timeoutMs` without a byte.
std::string ReadAll(SOCKET socket, int timeoutMs);

}  // namespace tesselex::test::wine
