#include "SystemError.h"

#include <cerrno>
#include <cstring>

namespace db2 {
namespace {

/// The text of an errno value, untranslated; null for a number that is no error of the system.
const char* untranslatedText(int code)
{
#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 32))
    return strerrordesc_np(code); // strerror would translate it into the process's locale
#else
    return std::strerror(code);
#endif
}

} // namespace

int lastSystemErrorCode()
{
    return errno;
}

bool systemErrorText(int code, kqx::String& out)
{
    const char* const text = untranslatedText(code);
    if (text == nullptr)
        return false;
    kqx::String wide; // the descriptions are ASCII
    for (const char* c = text; *c != '\0'; ++c)
        wide += static_cast<wchar_t>(*c);
    out.swap(wide);
    return true;
}

} // namespace db2
