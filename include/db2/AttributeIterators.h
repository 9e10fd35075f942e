#pragma once

#include <db2/AttributeArray.h>
#include <db2/Export.h>

#include <kqtl/pod_vector.h>

#include <cstddef>

namespace db2 {

class Node;

/// Walks the attributes of a node: its elements in index order (legacy elements are left out), an array replaced by its
/// items in index order. A small copyable value: begin(), then next() until it answers false; an ended walk answers
/// false until begin(). Cost: constant a step.
class DB2_API AttributeIterator
{
public:
    AttributeIterator() = default;
    explicit AttributeIterator(const Node* node) { begin(node); }

    void begin(const Node* node); ///< null makes an empty walk
    bool next();
    [[nodiscard]] Attribute* attr() const { return current_; } ///< null before the first step and after the end

private:
    static constexpr unsigned int kBefore = 0xFFFFFFFFu;

    const Node* node_ = nullptr;
    unsigned int element_ = kBefore;
    unsigned int item_ = kBefore; ///< within the element when that is an array
    Attribute* current_ = nullptr;
};

/// The same attributes in exactly the reverse order.
class DB2_API ReverseAttributeIterator
{
public:
    ReverseAttributeIterator() = default;
    explicit ReverseAttributeIterator(const Node* node) { begin(node); }

    void begin(const Node* node); ///< null makes an empty walk
    bool next();
    [[nodiscard]] Attribute* attr() const { return current_; } ///< null before the first step and after the end

private:
    const Node* node_ = nullptr;
    unsigned int elementsLeft_ = 0; ///< elements that were not begun yet
    unsigned int itemsLeft_ = 0;    ///< items of the array that was begun last
    const AttributeArray* array_ = nullptr;
    Attribute* current_ = nullptr;
};

/// For each attribute of a node in reverse order, each attribute that references it, newest first.
class DB2_API ReverseOutputIterator
{
public:
    ReverseOutputIterator() = default;
    explicit ReverseOutputIterator(const Node* node) { begin(node); }

    void begin(const Node* node); ///< null makes an empty walk
    bool next();
    [[nodiscard]] Attribute* attr() const { return current_; } ///< the referencer; null before and after
    [[nodiscard]] Attribute* referenced() const { return attributes_.attr(); } ///< what it references

private:
    ReverseAttributeIterator attributes_;
    Attribute* current_ = nullptr;
    Attribute* upcoming_ = nullptr; ///< found a step ahead, so that the current reference may be destroyed
};

/// Every attribute that references a start attribute directly or through others, depth first, newest first. Keeps the
/// attributes still to visit on a stack, in proportion to the branchings on the way; throws std::bad_alloc when memory
/// for it is out.
class DB2_API ReferentIterator
{
public:
    /// @param reserved  room on the stack to begin with.
    explicit ReferentIterator(std::size_t reserved = 0) { pending_.reserve(reserved); }

    void begin(const Attribute* start); ///< null makes an empty walk
    bool next();
    [[nodiscard]] Attribute* attr() const { return current_; } ///< null before the first step and after the end

private:
    const Attribute* start_ = nullptr; ///< until the first step
    Attribute* current_ = nullptr;
    kqtl::pod_vector<Attribute*> pending_;
};

} // namespace db2
