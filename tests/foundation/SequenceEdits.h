#pragma once

#include "HeapLimit.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace foundationtest {

/// Random edits of a sequence and of a std::vector, with memory running out now and then; the two must stay alike.
/// @param makeValue  gives an element that depends on a number.
template <class Sequence, class Element, class MakeValue>
void compareRandomEditsWithStandardVector(int steps, MakeValue makeValue)
{
    db2test::Random random = db2test::Random::fresh();
    SCOPED_TRACE(random.description());
    Sequence sequence;
    std::vector<Element> model;
    for (int step = 0; step < steps; ++step)
    {
        const std::size_t at = random.below(model.size() + 1);
        const std::size_t count = random.below(model.size() - at + 1);
        const std::size_t gap = random.below(model.size() + 1);
        const std::ptrdiff_t from = static_cast<std::ptrdiff_t>(at);
        const std::ptrdiff_t to = static_cast<std::ptrdiff_t>(at + count);
        const std::ptrdiff_t position = static_cast<std::ptrdiff_t>(gap);
        const Element value = makeValue(static_cast<int>(random.below(1000)));
        const std::vector<Element> range(model.begin() + from, model.begin() + to);
        const std::size_t grants = random.chance(1, 5) ? random.below(4) : SIZE_MAX;
        switch (random.below(model.size() > 200 ? 9 : 8))
        {
        case 0:
            if (tryEdit(grants, [&] { sequence.push_back(value); }))
                model.push_back(value);
            break;
        case 1:
            if (tryEdit(grants, [&] { sequence.insert(sequence.begin() + position, value); }))
                model.insert(model.begin() + position, value);
            break;
        case 2:
            if (tryEdit(grants, [&] {
                    sequence.insert(sequence.begin() + position, sequence.begin() + from, sequence.begin() + to);
                }))
                model.insert(model.begin() + position, range.begin(), range.end());
            break;
        case 3:
            if (tryEdit(grants, [&] { sequence.insert(sequence.begin() + position, 3, value); }))
                model.insert(model.begin() + position, 3, value);
            break;
        case 4:
            sequence.erase(sequence.begin() + from, sequence.begin() + to);
            model.erase(model.begin() + from, model.begin() + to);
            break;
        case 5:
            if (tryEdit(grants, [&] { sequence.resize(gap + 1); }))
                model.resize(gap + 1);
            break;
        case 6:
            if (tryEdit(grants, [&] { sequence.resize(model.size() + 2, value); }))
                model.resize(model.size() + 2, value);
            break;
        case 7:
        {
            const Sequence copy(sequence);
            static_cast<void>(tryEdit(grants, [&] { sequence = copy; }));
            break;
        }
        default:
            sequence.clear();
            model.clear();
            break;
        }
        ASSERT_TRUE(std::equal(sequence.begin(), sequence.end(), model.begin(), model.end())) << "step " << step;
        ASSERT_EQ(sequence.data() == nullptr, sequence.capacity() == 0);
    }
}

} // namespace foundationtest
