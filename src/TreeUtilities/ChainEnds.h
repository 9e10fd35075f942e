#pragma once

#include <db2/Attribute.h>

#include "../OutOfMemory.h"

#include <unordered_map>

namespace db2 {

/// Finds the attributes whose own values others show, at the ends of their chains of references, for many attributes of
/// one tree. Long chains leave marks on their way, so that walking each of a chain's attributes to its end takes about
/// one step each. Valid while no reference changes, or only in that an attribute takes another one's place in its chain,
/// as long as the one that it replaces can be read.
class ChainEnds
{
public:
    [[nodiscard]] const Attribute& of(const Attribute& attribute)
    {
        const Attribute* end = &attribute;
        unsigned int steps = 0;
        while (const Attribute* const referenced = end->getReference())
        {
            end = referenced;
            ++steps;
            const auto mark = marks_.empty() ? marks_.end() : marks_.find(end);
            if (mark != marks_.end())
            {
                end = mark->second;
                break;
            }
        }
        if (steps >= kMarkDistance)
            leaveMarks(attribute, steps, *end);
        return *end;
    }

    /// After a reference has changed in any other way.
    void clear() { marks_.clear(); }

private:
    static constexpr unsigned int kMarkDistance = 16;

    void leaveMarks(const Attribute& attribute, unsigned int steps, const Attribute& end)
    {
        const Attribute* at = &attribute;
        static_cast<void>(succeeds([&] { // without memory the next walks are longer
            for (unsigned int step = 0; step < steps; ++step, at = at->getReference())
                if (step % kMarkDistance == 0)
                    marks_.emplace(at, &end);
        }));
    }

    std::unordered_map<const Attribute*, const Attribute*> marks_; ///< asked, never walked
};

} // namespace db2
