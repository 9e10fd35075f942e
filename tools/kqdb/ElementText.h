#pragma once

#include <db2/AttributeArray.h>
#include <db2/Node.h>

#include <string>
#include <string_view>

/// Elements of nodes as text: types and values in the notation of documents (docs/format.md), in UTF-8.
namespace kqdb {

/// What an attribute shows, through its reference if it has one.
[[nodiscard]] std::string valueText(const db2::Attribute& attribute);
/// The same; of an array "[1, 2]".
[[nodiscard]] std::string valueText(const db2::Element& element);

[[nodiscard]] std::string typeText(const db2::Element& element); ///< "Float", or "Float[3]" of an array

/// Where an element comes from if not from its node's type: "legacy", "dynamic" or "computed"; else empty.
[[nodiscard]] std::string_view originOf(const db2::Element& element);

/// What an attribute takes its value from; null when that is from nowhere, and of an array, whose items each have theirs.
[[nodiscard]] const db2::Attribute* referenceOf(const db2::Element& element);

/// True when an attribute shows its default, or an array is empty.
[[nodiscard]] bool isAtDefault(const db2::Element& element);

/// What is wrong with a value in the eyes of the module: beyond the limits of its attribute, or a number that names no
/// choice; empty when nothing is. The database itself enforces neither.
[[nodiscard]] std::string limitFault(const db2::ElementMetaData& metaData, const db2::ConstValueHandle& value);

/// Calls @p visit with each element of a node: those of its type, dynamic, then legacy ones.
template <class Visit>
void forEachElement(const db2::Node& node, Visit visit)
{
    for (unsigned int i = 0; const db2::Element* const element = node.getElement(i); ++i)
        visit(*element);
    for (unsigned int i = 0; const db2::Element* const element = node.getLegacyElement(i); ++i)
        visit(*element);
}

/// The same with each attribute, and in place of an array each of its items.
template <class Visit>
void forEachAttribute(const db2::Node& node, Visit visit)
{
    forEachElement(node, [&visit](const db2::Element& element) {
        if (!element.isAttributeArray())
            return visit(static_cast<const db2::Attribute&>(element));
        const auto& array = static_cast<const db2::AttributeArray&>(element);
        for (unsigned int i = 0; i < array.getSize(); ++i)
            visit(*array.getAttribute(i));
    });
}

} // namespace kqdb
