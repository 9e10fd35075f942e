#pragma once

namespace db2 {

class Attribute;
class CoreManager;
class DataInterface;
class Element;
class Node;

/// Copying the elements of one node to another, for the tree utilities.

/// Makes an element like @p source on @p node: a dynamic one through the layers, any other through the core, as an
/// element of an unknown node. @return null when it is refused.
[[nodiscard]] Element* createElementLike(const Element& source, Node& node, DataInterface& data, CoreManager& core);

/// Copies the value, or the items, of an element of the same kind.
void copyElementValue(Element& to, const Element& from, DataInterface& data);

/// The attribute of @p copy that stands for @p attribute of the copied node: of the same name and, in an array, index.
/// @return null when the copy lacks it.
[[nodiscard]] Attribute* findCounterpart(const Attribute& attribute, const Node& copy);

} // namespace db2
