#pragma once
// Private to the shared routines on Windows: an owning Internet handle and the session every
// transfer opens with (the system's proxy settings, the program's agent).

#include <windows.h>
#include <wininet.h>

#include <memory>
#include <string>
#include <type_traits>

namespace tesselex::detail {

struct InternetHandleCloser {
    void operator()(HINTERNET handle) const noexcept { InternetCloseHandle(handle); }
};
using InternetHandle = std::unique_ptr<std::remove_pointer_t<HINTERNET>, InternetHandleCloser>;

// A new session with the agent "LGGW", the given connect and receive limits in milliseconds;
// null when the Internet functions cannot be set up.
inline InternetHandle NewInternetSession(DWORD connectMs, DWORD receiveMs) {
    InternetHandle session(
        InternetOpenW(L"LGGW", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
    if (session) {
        InternetSetOptionW(session.get(), INTERNET_OPTION_CONNECT_TIMEOUT, &connectMs,
                           sizeof connectMs);
        InternetSetOptionW(session.get(), INTERNET_OPTION_RECEIVE_TIMEOUT, &receiveMs,
                           sizeof receiveMs);
        InternetSetOptionW(session.get(), INTERNET_OPTION_SEND_TIMEOUT, &receiveMs,
                           sizeof receiveMs);
    }
    return session;
}

// The system's words for an Internet function's error code, with the number: "The operation
// timed out (12002)", or "error 12002" when the system has none.
std::u16string InternetErrorWords(DWORD code);

inline const wchar_t* Wide(const std::u16string& text) {
    return reinterpret_cast<const wchar_t*>(text.c_str());
}

}  // namespace tesselex::detail
