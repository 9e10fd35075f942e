// What every creation and look-up by name begins with: the hash of the name, and what making the name itself costs.

#include "Benchmarks.h"
#include "Measure.h"
#include "NameTable.h"
#include "NumberedText.h"

#include <db2/NameHash.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace db2bench {
namespace {

struct DatabaseNames
{
    static constexpr const char* kSide = "db2";
    using Name = NumberedText<wchar_t>;

    static std::uint32_t hashOf(const Name& name) { return db2::hashName(name.c_str()); }
};

struct FloorNames
{
    struct NoItem
    {
        const void* owner;
        std::uint32_t hash;
        std::string_view name;
    };

    static constexpr const char* kSide = "floor";
    using Name = NumberedText<char>;

    static std::uint32_t hashOf(const Name& name) { return NameTable<NoItem>::hashOf(name.view()); }
};

/// The hash of the text that the standard library makes of the number.
std::uint32_t hashAgain(const DatabaseNames&, std::size_t number)
{
    const std::wstring name = L"node" + std::to_wstring(number);
    return db2::hashName(name.c_str(), name.size());
}

std::uint32_t hashAgain(const FloorNames&, std::size_t number)
{
    return NameTable<FloorNames::NoItem>::hashOf("node" + std::to_string(number));
}

template <class Side>
void hashPass(benchmark::State& state, std::size_t count)
{
    typename Side::Name name("node");
    std::uint32_t all = 0;
    measure(state, count, [&] {
        for (std::size_t i = 0; i < count; ++i)
        {
            name.setNumber(i);
            all += Side::hashOf(name);
        }
    });
    for (std::size_t i = 0; i < count; ++i)
        all -= hashAgain(Side(), i);
    require(state, all == 0, "wrong hashes");
}

} // namespace

void addNameBenchmarks()
{
    const auto counts = {std::size_t{10'000}, std::size_t{100'000}, std::size_t{1'000'000}};
    addBenchmark("hash_name", "node", FloorNames::kSide, hashPass<FloorNames>, counts);
    addBenchmark("hash_name", "node", DatabaseNames::kSide, hashPass<DatabaseNames>, counts);
}

} // namespace db2bench
