#pragma once

#include "Random.h"

#include <db2/db2.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace db2test {

using namespace db2;

/// A value of any type as plain numbers and texts, to the bit: two are equal when their types and all bits are.
struct ModelValue
{
    AttributeTypeId type = AttributeType::kNull;
    std::vector<std::uint64_t> numbers; ///< floats by their bit patterns; the size of an array before its elements
    std::vector<std::wstring> texts;

    bool operator==(const ModelValue&) const = default;
};

/// What a fresh value of the type holds: numbers 0, texts and arrays empty, Matrix and Quat the identity.
[[nodiscard]] ModelValue defaultModelValue(AttributeTypeId type);

/// Any value of the type: limits, infinities, NaN, -0, characters beyond U+FFFF and short arrays among them.
[[nodiscard]] ModelValue randomModelValue(AttributeTypeId type, Random& random);

[[nodiscard]] ModelValue readValue(const ConstValueHandle& handle);

/// Writes into a value of the same type.
void writeValue(const ValueHandle& handle, const ModelValue& value);

/// Writes where an array lock says that a value stands; plain data types only.
void writePlainValue(void* storage, const ModelValue& value);

/// What a definition says of an element.
struct ElementSpec
{
    std::wstring name;
    AttributeTypeId type = AttributeType::kInt;
    bool isArray = false;
    unsigned int flags = 0; ///< ElementMetaDataFlag, without kArray
    std::wstring docString; ///< none when empty
    ModelValue defaultValue = defaultModelValue(AttributeType::kInt);
};

/// An element of the type's default value, without flags and texts.
[[nodiscard]] ElementSpec plainElement(const wchar_t* name, AttributeTypeId type, bool isArray = false);

/// The definition of the element that is described. @param spec  alive for as long as the definition, which points to its texts.
[[nodiscard]] std::unique_ptr<ElementMetaDataDef> makeDefinition(const ElementSpec& spec);

} // namespace db2test
