#include <db2/NodeIterators.h>

namespace db2 {
namespace {

Node* leftmostLeaf(Node* node)
{
    while (node->getFirstChild() != nullptr)
        node = node->getFirstChild();
    return node;
}

} // namespace

void NodeIteratorPostOrder::begin(Node* root)
{
    root_ = root;
    current_ = nullptr;
    upcoming_ = root != nullptr ? leftmostLeaf(root) : nullptr;
}

bool NodeIteratorPostOrder::next()
{
    current_ = upcoming_;
    if (current_ == nullptr)
        return false;
    if (current_ == root_) // a childless root, visited alone
        upcoming_ = nullptr;
    else if (Node* const sibling = current_->getNextSibling())
        upcoming_ = leftmostLeaf(sibling);
    else
        upcoming_ = current_->getParent() != root_ ? current_->getParent() : nullptr;
    return true;
}

} // namespace db2
