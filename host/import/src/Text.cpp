#include "Text.h"

#include <kqx/UTF8.h>

namespace db2import {

Text textOf(std::string_view bytes)
{
    Text text;
    text.wide.resize(kqx::UCS2LengthFromUTF8(bytes.data(), bytes.size()));
    kqx::UCS2FromUTF8(bytes.data(), bytes.size(), text.wide.data());

    // What was malformed comes back as the three bytes of U+FFFD, which is not what stood there.
    std::string back(kqx::UTF8Length(text.wide.data(), text.wide.size()), '\0');
    kqx::UTF8FromUCS2(text.wide.data(), text.wide.size(), back.data());
    text.isExact = back == bytes;
    return text;
}

} // namespace db2import
