#pragma once

#include <db2/Node.h>

#include <unordered_map>

namespace db2 {

/// Tells the depths of many nodes of one tree, the number of their ancestors, without walking every way to the root
/// anew: neighbours of the last node asked for are told from it, and long walks leave depths on their way for the next.
/// Valid while the tree does not change.
class NodeDepths
{
public:
    [[nodiscard]] unsigned int of(const Node& node)
    {
        if (last_ != nullptr && node.getParent() == last_)
            ++lastDepth_;
        else if (last_ != nullptr && last_->getParent() == &node)
            --lastDepth_;
        else if (last_ == nullptr || node.getParent() != last_->getParent())
            lastDepth_ = walk(node);
        last_ = &node;
        return lastDepth_;
    }

private:
    static constexpr unsigned int kLongWalk = 32;

    unsigned int walk(const Node& node)
    {
        unsigned int steps = 0;
        unsigned int base = 0;
        const Node* at = &node;
        for (; at->getParent() != nullptr; at = at->getParent(), ++steps)
        {
            const auto known = steps % kLongWalk == kLongWalk - 1 ? depths_.find(at) : depths_.end();
            if (known != depths_.end())
            {
                base = known->second;
                break;
            }
        }
        const unsigned int depth = base + steps;
        if (steps > kLongWalk)
            remember(node, at, depth);
        return depth;
    }

    /// Every node on the way, since a later walk may join it anywhere.
    void remember(const Node& from, const Node* to, unsigned int depth)
    {
        for (const Node* at = &from; at != to; at = at->getParent())
            depths_.emplace(at, depth--);
    }

    const Node* last_ = nullptr;
    unsigned int lastDepth_ = 0;
    std::unordered_map<const Node*, unsigned int> depths_;
};

} // namespace db2
