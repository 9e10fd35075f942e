#pragma once

#include <db2/Export.h>
#include <db2/Node.h>

namespace db2 {

/// Walks the nodes under a root in pre-order, depth first. A small copyable value: begin(), then next() until it answers
/// false; an ended walk answers false until begin() or setNode(). Goes along the links of the tree, so what is edited
/// under way counts as it is when the walk gets there; advance before destroying the current node.
/// Cost: constant on average a step, no memory.
/// @tparam NodeType  Node or const Node; the names NodeIterator and ConstNodeIterator are for use.
template <class NodeType>
class BasicNodeIterator
{
public:
    BasicNodeIterator() = default;
    explicit BasicNodeIterator(NodeType* root) { begin(root); }

    /// Starts anew; the options stay. @param root  null makes an empty walk.
    void begin(NodeType* root)
    {
        root_ = root;
        current_ = nullptr;
        state_ = State::kBegun;
    }

    /// Whether the walk visits the root itself, first; false at first.
    void includeRoot(bool include) { includeRoot_ = include; }

    /// Makes the next step pass over the children of the current node; the step clears it.
    void skipChildren(bool skip) { skipChildren_ = skip; }

    /// Goes on. @return false at the end.
    bool next()
    {
        if (root_ == nullptr || state_ == State::kEnded)
            return false;
        if (state_ == State::kBegun && includeRoot_)
            current_ = root_;
        else
            current_ = after(state_ == State::kBegun ? root_ : current_);
        state_ = current_ != nullptr ? State::kRunning : State::kEnded;
        return current_ != nullptr;
    }

    /// The current node; null before the first step and after the end.
    [[nodiscard]] NodeType* node() const { return current_; }

    /// What begin() was given.
    [[nodiscard]] NodeType* root() const { return root_; }

    /// Makes a node under the root the current one, from which the walk goes on.
    void setNode(NodeType* node)
    {
        current_ = node;
        state_ = node != nullptr ? State::kRunning : State::kEnded;
    }

private:
    enum class State : unsigned char
    {
        kBegun,
        kRunning,
        kEnded
    };

    NodeType* after(NodeType* node)
    {
        const bool descend = !skipChildren_;
        skipChildren_ = false;
        if (descend && node->getFirstChild() != nullptr)
            return node->getFirstChild();
        while (node != nullptr && node != root_ && node->getNextSibling() == nullptr)
            node = node->getParent();
        return node != nullptr && node != root_ ? node->getNextSibling() : nullptr;
    }

    NodeType* current_ = nullptr;
    NodeType* root_ = nullptr;
    bool includeRoot_ = false;
    bool skipChildren_ = false;
    State state_ = State::kEnded;
};

using NodeIterator = BasicNodeIterator<Node>;
using ConstNodeIterator = BasicNodeIterator<const Node>;

/// Walks the nodes under a root in post-order: children before their parent. The root itself is not visited, except that
/// a childless root is visited alone. Otherwise as NodeIterator.
class DB2_API NodeIteratorPostOrder
{
public:
    NodeIteratorPostOrder() = default;
    explicit NodeIteratorPostOrder(Node* root) { begin(root); }

    void begin(Node* root); ///< null makes an empty walk
    bool next();
    [[nodiscard]] Node* node() const { return current_; } ///< null before the first step and after the end

private:
    Node* root_ = nullptr;
    Node* current_ = nullptr;
    Node* upcoming_ = nullptr; ///< found a step ahead, so that the current node may be destroyed
};

} // namespace db2
