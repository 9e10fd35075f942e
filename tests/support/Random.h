#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <random>
#include <string>

namespace db2test {

/// Random numbers for properties: from one seed the same on every platform, which the distributions of the standard
/// library are not. A test prints description(), and KQDB_TEST_SEED in the environment repeats a run of fresh().
class Random
{
public:
    explicit Random(std::uint64_t seed) : seed_(seed), engine_(seed) {}

    /// Takes the seed from KQDB_TEST_SEED, or else a new one.
    [[nodiscard]] static Random fresh()
    {
        const char* const given = std::getenv("KQDB_TEST_SEED");
        return Random(given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device{}());
    }

    [[nodiscard]] std::uint64_t seed() const { return seed_; }
    [[nodiscard]] std::string description() const { return "KQDB_TEST_SEED=" + std::to_string(seed_); }

    [[nodiscard]] std::uint64_t bits() { return engine_(); }

    /// A number from 0 to @p limit - 1. @param limit  not 0.
    [[nodiscard]] std::size_t below(std::size_t limit)
    {
        // What is left over beyond a multiple of the limit is drawn again, so that every number is as likely.
        constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
        const std::uint64_t usable = kMax - kMax % limit;
        std::uint64_t drawn = bits();
        while (drawn >= usable)
            drawn = bits();
        return static_cast<std::size_t>(drawn % limit);
    }

    /// True @p times in @p outOf.
    [[nodiscard]] bool chance(std::size_t times, std::size_t outOf) { return below(outOf) < times; }

    /// An element of a container that is not empty.
    template <class Container>
    [[nodiscard]] auto& pick(Container& container)
    {
        return container[below(std::size(container))];
    }

private:
    std::uint64_t seed_;
    std::mt19937_64 engine_;
};

} // namespace db2test
