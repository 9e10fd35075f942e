#pragma once

#include <db2/Attribute.h>

namespace db2 {

/// Walks the attributes that reference a start attribute directly or through others, depth first, newest first, one a
/// step and without a stack: the links lead back. The references must not change under way.
class ReferencerWalk
{
public:
    explicit ReferencerWalk(const Attribute& start) : start_(&start), current_(&start) {}

    /// The next attribute; null at the end, after which no step may follow.
    /// @param descend  false passes over what references the current attribute.
    const Attribute* step(bool descend = true)
    {
        const Attribute* next = descend ? current_->getReferents() : nullptr;
        depth_ += next != nullptr ? 1u : 0u;
        while (next == nullptr && current_ != start_)
        {
            next = current_->getSiblingReferent();
            if (next != nullptr)
                break;
            current_ = current_->getReference();
            --depth_;
        }
        current_ = next;
        return current_;
    }

    /// How many references lead from the current attribute to the start; 0 at the end.
    [[nodiscard]] unsigned int depth() const { return depth_; }

private:
    const Attribute* start_;
    const Attribute* current_;
    unsigned int depth_ = 0;
};

} // namespace db2
