#pragma once

#include <string>

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <cerrno>
#include <cstring>
#endif

/// The operating system's last error, set and put into words, where the platforms differ.
namespace db2test {

inline constexpr int kFileNotFound = 2; ///< ENOENT and ERROR_FILE_NOT_FOUND alike

#if defined(_WIN32)

inline void setLastSystemError(int number)
{
    ::SetLastError(static_cast<DWORD>(number));
}

inline std::wstring systemErrorText(int number)
{
    wchar_t text[1024];
    const DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                          static_cast<DWORD>(number), 0, text, 1024, nullptr);
    return {text, length};
}

#else

inline void setLastSystemError(int number)
{
    errno = number;
}

inline std::wstring systemErrorText(int number)
{
    const char* const text = std::strerror(number); // ASCII, because tests leave the locale alone
    return {text, text + std::strlen(text)};
}

#endif

} // namespace db2test
