#pragma once

namespace db2 {

class Attribute;
class CoreManager;
class DataInterface;
class Element;
class Node;

/// Copying and moving what one node has to another, for the tree utilities and the conversion of unknown nodes.

/// Makes an element like @p source on @p node: a dynamic one through the layers, any other through the core, as an
/// element of an unknown node. @return null when it is refused.
[[nodiscard]] Element* createElementLike(const Element& source, Node& node, DataInterface& data, CoreManager& core);

/// Copies the value, or the items, of an element of the same kind.
void copyElementValue(Element& to, const Element& from, DataInterface& data);

/// Moves the references that the element, or its items, take part in over to one of the same kind.
void transferElementReferences(Element& to, Element& from, DataInterface& data);

/// Moves all children behind those of @p to, in their order. @return false when a layer refused to move one.
[[nodiscard]] bool moveChildren(Node& from, Node& to, DataInterface& data);

/// The attribute of @p copy that stands for @p attribute of the copied node: of the same name and, in an array, index.
/// @return null when the copy lacks it.
[[nodiscard]] Attribute* findCounterpart(const Attribute& attribute, const Node& copy);

} // namespace db2
