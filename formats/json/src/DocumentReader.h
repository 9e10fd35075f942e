#pragma once

#include "ChoiceIndex.h"
#include "ItemBudget.h"
#include "JsonReader.h"
#include "MetaDataReader.h"

#include <db2/AttributeTypeId.h>
#include <db2/HeaderData.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace db2 {
class Attribute;
class AttributeArray;
class Element;
class LoadStrategy;
class Node;
} // namespace db2

namespace db2::json {

/// Reads the document that docs/format.md describes and builds its nodes by the services of the loader. Ends with
/// LoadFailure where the document is wrong or a service refuses; what was built by then stays.
/// Throws std::bad_alloc and std::length_error, too.
class DocumentReader
{
public:
    /// @param size  of the whole content of the loader's stream, in bytes.
    DocumentReader(LoadStrategy& loader, std::size_t size);

    void read();

private:
    /// How the value of an entry is written.
    enum class Form
    {
        kValue,
        kReference,
        kSingleReference,
        kArray,
        kSparseArray
    };
    struct EntryType
    {
        AttributeTypeId typeId;
        Form form;
    };

    // Header
    void readHeader();
    void readModules(kqx::Array<HeaderData::ModuleEntry>& modules);

    // Nodes
    void readNode();
    [[nodiscard]] Node* makeNode();
    void readElements(Node& node, bool isDynamic);

    // Elements
    void readElement(Node& node, bool isDynamic);
    [[nodiscard]] EntryType readNameAndType();
    [[nodiscard]] EntryType toEntryType(std::string_view name);
    void readAttribute(Node& node, EntryType type, bool isDynamic, bool hasValue);
    void readAttributeArray(Node& node, EntryType type, bool isDynamic);
    void readItems(AttributeArray& array);
    void readSparseItems(AttributeArray& array);
    void readSparseItem(AttributeArray& array);
    [[nodiscard]] Attribute& readItemIndex(AttributeArray& array);
    void resize(AttributeArray& array, std::size_t size, std::uint64_t weight);

    // Values and references
    void readReference(Attribute& attribute, bool isSingle);
    void readValueOf(Attribute& attribute);
    void readEnum(Attribute& attribute);
    template <class T>
    void write(Attribute& attribute, T& value);

    LoadStrategy& loader_;
    JsonReader json_;
    MetaDataReader metaData_;
    ChoiceIndex choices_;
    ItemBudget budget_;          ///< of the items of all arrays
    std::vector<Node*> lineage_; ///< the node read last, behind its ancestors from the load parent's child on

    // What was read last, kept for its memory
    std::wstring name_;
    std::wstring typeName_;
    std::wstring moduleId_;
    std::wstring text_;
};

} // namespace db2::json
