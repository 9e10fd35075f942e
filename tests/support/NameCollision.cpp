#include "NameCollision.h"

#include <db2/NameHash.h>

#include <cstdint>
#include <stdexcept>
#include <unordered_map>

namespace db2test {
namespace {

NameCollision searchCollision()
{
    constexpr unsigned int kLetters = 26;
    std::unordered_map<std::uint32_t, std::wstring> names;
    for (unsigned int number = 0; number < kLetters * kLetters * kLetters * kLetters; ++number)
    {
        std::wstring name;
        for (unsigned int rest = number; name.size() < 4; rest /= kLetters)
            name += static_cast<wchar_t>(L'a' + rest % kLetters);
        const auto [bearer, isNew] = names.emplace(db2::hashName(name.c_str()), name);
        if (!isNew)
            return {bearer->second, name};
    }
    throw std::logic_error("no two of these names have the same hash");
}

} // namespace

const NameCollision& nameCollision()
{
    static const NameCollision found = searchCollision();
    return found;
}

} // namespace db2test
