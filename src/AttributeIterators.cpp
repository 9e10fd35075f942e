#include <db2/AttributeIterators.h>

#include <db2/Node.h>

namespace db2 {

// --- AttributeIterator ---

void AttributeIterator::begin(const Node* node)
{
    node_ = node;
    element_ = kBefore;
    item_ = kBefore;
    current_ = nullptr;
}

bool AttributeIterator::next()
{
    current_ = nullptr;
    while (node_ != nullptr)
    {
        Element* const element = element_ != kBefore ? node_->getElement(element_) : nullptr;
        if (element != nullptr && element->isAttributeArray())
        {
            current_ = static_cast<AttributeArray*>(element)->getAttribute(++item_);
            if (current_ != nullptr)
                return true;
        }
        item_ = kBefore;
        Element* const upcoming = node_->getElement(++element_);
        if (upcoming == nullptr)
            node_ = nullptr;
        else if (!upcoming->isAttributeArray())
        {
            current_ = static_cast<Attribute*>(upcoming);
            return true;
        }
    }
    return false;
}

// --- ReverseAttributeIterator ---

void ReverseAttributeIterator::begin(const Node* node)
{
    node_ = node;
    elementsLeft_ = node != nullptr ? node->getElementCount() : 0;
    itemsLeft_ = 0;
    array_ = nullptr;
    current_ = nullptr;
}

bool ReverseAttributeIterator::next()
{
    current_ = nullptr;
    while (itemsLeft_ == 0)
    {
        if (elementsLeft_ == 0)
            return false;
        Element* const element = node_->getElement(--elementsLeft_);
        if (!element->isAttributeArray())
        {
            current_ = static_cast<Attribute*>(element);
            return true;
        }
        array_ = static_cast<AttributeArray*>(element);
        itemsLeft_ = array_->getSize();
    }
    current_ = array_->getAttribute(--itemsLeft_);
    return true;
}

// --- ReverseOutputIterator ---

void ReverseOutputIterator::begin(const Node* node)
{
    attributes_.begin(node);
    current_ = nullptr;
    upcoming_ = nullptr;
}

bool ReverseOutputIterator::next()
{
    while (upcoming_ == nullptr && attributes_.next())
        upcoming_ = attributes_.attr()->getReferents();
    current_ = upcoming_;
    if (current_ != nullptr)
        upcoming_ = current_->getSiblingReferent();
    return current_ != nullptr;
}

// --- ReferentIterator ---

void ReferentIterator::begin(const Attribute* start)
{
    start_ = start;
    current_ = nullptr;
    pending_.clear();
}

bool ReferentIterator::next()
{
    Attribute* following = nullptr;
    if (start_ != nullptr)
    {
        following = start_->getReferents();
        start_ = nullptr;
    }
    else if (current_ != nullptr)
    {
        // Down first; what stands beside the way waits on the stack.
        following = current_->getReferents();
        Attribute* const beside = current_->getSiblingReferent();
        if (following == nullptr)
            following = beside;
        else if (beside != nullptr)
            pending_.push_back(beside);
        if (following == nullptr && !pending_.empty())
        {
            following = pending_.back();
            pending_.pop_back();
        }
    }
    current_ = following;
    return current_ != nullptr;
}

} // namespace db2
