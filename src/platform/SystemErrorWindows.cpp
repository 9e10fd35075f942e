#include "SystemError.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace db2 {

int lastSystemErrorCode()
{
    return static_cast<int>(GetLastError());
}

bool systemErrorText(int code, kqx::String& out)
{
    wchar_t* text = nullptr;
    const DWORD characters =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM,
                       nullptr, static_cast<DWORD>(code), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                       reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    if (characters == 0)
        return false;
    out.assign(text, characters);
    LocalFree(text);
    return true;
}

} // namespace db2
