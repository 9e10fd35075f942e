#pragma once

#include <db2/Node.h>

namespace db2 {

/// Makes and frees nodes with their elements, whole: the blocks, the values, what the template counts. Knows nothing of
/// the tree, so a node that is freed here must be out of it.
class NodeMemory
{
public:
    NodeMemory() = delete;

    /// A node of a registered template with all its elements. @return null when memory is out.
    [[nodiscard]] static Node* make(NodeTemplate& nodeTemplate);

    /// A node with a private template of its own, without elements. @return null when memory is out.
    [[nodiscard]] static Node* makeUnknown(const wchar_t* typeName, const Module& module);

    /// Frees the node, its elements and, of an unknown node, its template.
    static void free(Node* node);

    /// An element in a block of its own, without metadata yet; an attribute's value is a copy of @p defaultValue, an
    /// array is empty. @return null when memory is out.
    [[nodiscard]] static Element* makeElement(Node* node, AttributeTypeId typeId, bool isArray,
                                              const ConstValueHandle& defaultValue, std::uint32_t flags);
    static void setMetaData(Element& element, const ElementMetaData* metaData) { element.metaData_ = metaData; }

    /// Frees an element that has a block of its own, and its metadata when it is the element's.
    static void freeElement(Element* element);

    /// Frees an element of makeElement() that never got metadata.
    static void discardElement(Element* element, AttributeTypeId typeId);

    /// What an array needs to hold more items, before it has it.
    struct ArrayGrowth
    {
        void* values = nullptr;
        Attribute** items = nullptr;
        AttributeBlock* block = nullptr;
        std::uint32_t capacity = 0;
    };

    /// Allocates for @p capacity items, which is more than the array has room for. Changes nothing at the array.
    /// @return false when memory or a count of bytes in 32 bits does not suffice.
    [[nodiscard]] static bool prepareGrowth(const AttributeArray& array, std::uint64_t capacity, ArrayGrowth& growth);
    /// Gives the array what was prepared; its values move over, and those behind its size may be there already.
    static void commitGrowth(AttributeArray& array, const ArrayGrowth& growth);
    static void discardGrowth(const ArrayGrowth& growth);

    /// True when an element, an item of it, or any element of the node carries one of the bits.
    [[nodiscard]] static bool anyFlag(const Element& element, std::uint32_t mask);
    [[nodiscard]] static bool anyElementFlag(const Node& node, std::uint32_t mask);

    /// Where the side record stands, of an attribute that takes part in references; any address for other elements.
    [[nodiscard]] static const void* linksOf(const Element& element) { return element.links_; }

    /// Where the node's flag word stands.
    [[nodiscard]] static const void* flagsOf(const Node& node) { return &node.flags_; }

private:
    [[nodiscard]] static Node* makeBlock(NodeTemplate& nodeTemplate);
    static void freeArrayStorage(AttributeArray& array);
    static void freeElementContents(Element& element);
    static void freeAttributeContents(Attribute& attribute);
    static void freeLinks(Element& element);
};

} // namespace db2
