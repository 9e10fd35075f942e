#include <db2/NameHash.h>

#include <kqx/Utf16.h>

#include <cwchar>

namespace db2 {
namespace {

constexpr std::uint32_t kMultiplier = 0x5BD1E995u;
constexpr std::uint32_t kSeed = 0x8F5F144Au;
constexpr unsigned kShift = 24;

/// MurmurHash2, fed one 16-bit unit at a time; two units make one of its 32-bit words.
class UnitHasher
{
public:
    explicit UnitHasher(std::size_t units) : hash_(kSeed ^ static_cast<std::uint32_t>(units * 2)) {}

    void add(std::uint32_t unit)
    {
        if (!hasLowHalf_)
        {
            lowHalf_ = unit;
            hasLowHalf_ = true;
            return;
        }
        std::uint32_t word = lowHalf_ | unit << 16;
        word *= kMultiplier;
        word ^= word >> kShift;
        word *= kMultiplier;
        hash_ = (hash_ * kMultiplier) ^ word;
        hasLowHalf_ = false;
    }

    std::uint32_t finish()
    {
        if (hasLowHalf_)
            hash_ = (hash_ ^ lowHalf_) * kMultiplier;
        hash_ ^= hash_ >> 13;
        hash_ *= kMultiplier;
        return hash_ ^ hash_ >> 15;
    }

private:
    std::uint32_t hash_;
    std::uint32_t lowHalf_ = 0;
    bool hasLowHalf_ = false;
};

} // namespace

std::uint32_t hashName(const wchar_t* name)
{
    return hashName(name, name != nullptr ? std::wcslen(name) : 0);
}

std::uint32_t hashName(const wchar_t* name, std::size_t characters)
{
    UnitHasher hasher(kqx::utf16Length(name, characters));
    kqx::forEachUtf16Unit(name, characters, [&](auto unit) { hasher.add(static_cast<std::uint16_t>(unit)); });
    return hasher.finish();
}

} // namespace db2
