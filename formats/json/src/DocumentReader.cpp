#include "DocumentReader.h"

#include "PlainText.h"
#include "ValueReader.h"
#include "ValueTypes.h"

#include <db2/AttributeArray.h>
#include <db2/EnumAttributeMetaData.h>
#include <db2/LoadStrategy.h>
#include <db2/Module.h>
#include <db2/Node.h>

#include <new>
#include <utility>

namespace db2::json {
namespace {

/// Takes @p mark off the end of a type's name. @return false when it does not end so.
bool dropMark(std::string_view& name, std::string_view mark)
{
    if (!name.ends_with(mark))
        return false;
    name.remove_suffix(mark.size());
    return true;
}

/// The record of an Enum that learns its choices from the data; null for any other.
UnknownEnumAttributeMetaData* learningEnum(Attribute& attribute)
{
    // The record is the element's own, not a template's, so it is not constant.
    return dynamic_cast<UnknownEnumAttributeMetaData*>(const_cast<ElementMetaData*>(attribute.getMetaData()));
}

/// Whether migrators are asked for the names that the element and its choices now bear: not where the data itself says
/// what they are, as for dynamic elements, nor where nobody knows the type.
bool isMigrated(const Attribute& attribute)
{
    const Node& node = *attribute.getNode();
    const AttributeArray* const array = attribute.getParentArray(); // an item does not carry the mark of its array
    const bool isDynamic = array != nullptr ? array->isDynamic() : attribute.isDynamic();
    return !isDynamic && !node.isUnknown() && !node.isLegacy();
}

} // namespace

DocumentReader::DocumentReader(LoadStrategy& loader, std::size_t size)
    : loader_(loader), json_(loader.getStream(), loader.getFileName()), metaData_(json_), budget_(size)
{
}

// --- The document ---

void DocumentReader::read()
{
    json_.beginObject();
    readHeader();
    json_.member("nodes");
    json_.beginArray();
    while (json_.tryItem())
        readNode();
    json_.endObject();
    json_.endDocument();
}

void DocumentReader::readHeader()
{
    HeaderData& header = loader_.getHeaderData();
    json_.member("identifier");
    json_.text(header.identifier, L"the identifier");
    header.legacyFormat = header.identifier == L"KQDatabase1" ? 1 : 0;
    json_.member("loaderVersion");
    header.loaderVersion = json_.uint32();
    // Another version may go on differently, so this is the place to refuse it; the validation says why.
    if (header.loaderVersion == 0 || header.loaderVersion > loader_.getLatestLoaderVersion())
        json_.check(loader_.validateHeaderData(), L"the version is not one that can be loaded");

    json_.member("applicationString");
    json_.text(header.applicationString, L"the application");
    json_.member("typeString");
    json_.text(header.typeString, L"the kind of content");
    json_.member("modules");
    readModules(header.modules);
    json_.check(loader_.validateHeaderData(), L"the header is refused");
}

void DocumentReader::readModules(kqx::Array<HeaderData::ModuleEntry>& modules)
{
    json_.beginArray();
    while (json_.tryItem())
    {
        HeaderData::ModuleEntry module;
        json_.beginArray();
        json_.item(L"the id of a module");
        json_.name(moduleId_, L"the id of a module");
        module.moduleId = moduleId_.c_str();
        json_.item(L"the version of its data");
        module.dataVersion = json_.uint32();
        json_.item(L"the versions of its migrators");
        json_.beginArray();
        while (json_.tryItem())
            module.migratorVersions.push_back(json_.uint32());
        json_.endArray();
        modules.push_back(std::move(module));
    }
}

// --- Nodes ---

void DocumentReader::readNode()
{
    json_.beginObject();
    json_.member("name");
    json_.name(name_, L"the name of a node");
    json_.member("type");
    json_.name(typeName_, L"the name of a type");
    json_.member("module");
    json_.name(moduleId_, L"the id of a module");
    json_.member("depth");
    Node& node = *makeNode();
    if (json_.tryMember("attributes"))
        readElements(node, false);
    if (json_.tryMember("dynamic"))
        readElements(node, true);
    if (json_.tryMember("legacy"))
        readElements(node, false);
    json_.endObject();
    json_.check(loader_.onNodeLoaded(node), L"a migrator refused the node");
}

/// Reads the depth and makes the node there.
Node* DocumentReader::makeNode()
{
    const std::uint32_t depth = json_.uint32();
    if (depth > lineage_.size())
        json_.fail(L"the depth %u is more than one below the node before", depth);
    lineage_.resize(depth);
    Node* const parent = lineage_.empty() ? loader_.getLoadParent() : lineage_.back();
    Node* node = nullptr;
    json_.check(loader_.makeNode(typeName_.c_str(), moduleId_.c_str(), name_.c_str(), parent, nullptr, &node),
                L"the node cannot be made; is its module among those of the file?");
    lineage_.push_back(node);
    return node;
}

void DocumentReader::readElements(Node& node, bool isDynamic)
{
    json_.beginArray();
    while (json_.tryItem())
        readElement(node, isDynamic);
}

// --- Elements ---

void DocumentReader::readElement(Node& node, bool isDynamic)
{
    const EntryType type = readNameAndType();
    bool hasValue = json_.tryItem();
    if (isDynamic && hasValue && json_.atObject())
    {
        ElementMetaDataDef* const definition = loader_.getMetaDataDef(type.typeId);
        if (definition == nullptr)
            throw std::bad_alloc();
        metaData_.read(*definition, type.typeId);
        hasValue = json_.tryItem();
    }
    if (!hasValue && type.form != Form::kValue)
        json_.fail(L"expected another entry, but the array ends here");
    if (type.form == Form::kArray || type.form == Form::kSparseArray)
        readAttributeArray(node, type, isDynamic);
    else
        readAttribute(node, type, isDynamic, hasValue);
}

/// Begins an entry and reads the element's name into name_.
DocumentReader::EntryType DocumentReader::readNameAndType()
{
    std::string_view name;
    std::string_view type;
    if (json_.tryTwoStrings(name, type))
    {
        widen(name, name_);
        return toEntryType(type);
    }
    json_.beginArray();
    json_.item(L"the name of an element");
    json_.name(name_, L"the name of an element");
    json_.item(L"the name of a type");
    return toEntryType(json_.string(L"the name of a type"));
}

DocumentReader::EntryType DocumentReader::toEntryType(std::string_view name)
{
    Form form = Form::kValue;
    if (name.ends_with('>'))
    {
        if (dropMark(name, kReferenceMark))
            form = Form::kReference;
        else if (dropMark(name, kSingleReferenceMark))
            form = Form::kSingleReference;
    }
    else if (name.ends_with(']'))
    {
        if (dropMark(name, kArrayMark))
            form = Form::kArray;
        else if (dropMark(name, kSparseArrayMark))
            form = Form::kSparseArray;
    }
    const std::optional<AttributeTypeId> typeId = findType(name);
    if (!typeId)
        json_.fail(L"expected the name of a type");
    return {*typeId, form};
}

/// Reads the rest of an attribute's entry. @param hasValue  its value, or path, stands next.
void DocumentReader::readAttribute(Node& node, EntryType type, bool isDynamic, bool hasValue)
{
    Attribute* attribute = nullptr;
    json_.check(loader_.getAttributeToPopulate(&node, name_.c_str(), type.typeId, isDynamic, &attribute),
                L"the attribute cannot be loaded");
    if (!hasValue)
        return;
    if (type.form == Form::kValue)
        readValueOf(*attribute);
    else
        readReference(*attribute, type.form == Form::kSingleReference);
    json_.endArray();
}

void DocumentReader::readAttributeArray(Node& node, EntryType type, bool isDynamic)
{
    AttributeArray* array = nullptr;
    json_.check(loader_.getAttributeArrayToPopulate(&node, name_.c_str(), type.typeId, isDynamic, &array),
                L"the attribute array cannot be loaded");
    if (type.form == Form::kSparseArray)
    {
        readSparseItems(*array);
        return;
    }
    readItems(*array);
    json_.endArray();
}

/// All items. They are counted first, because an array that grew item by item would be an edit for each; an array whose
/// end is not in sight grows by what is.
void DocumentReader::readItems(AttributeArray& array)
{
    const std::uint64_t weight = weightOfItem(array);
    JsonReader::ItemCount ahead = json_.countItems();
    resize(array, ahead.items, weight);
    json_.beginArray();
    for (unsigned int i = 0; json_.tryItem(); ++i)
    {
        if (i >= array.getSize())
        {
            if (ahead.isAll) // the count is off when brackets do not match, which would have shown later
                json_.fail(L"the array has too many entries");
            ahead = json_.countItemsLeft();
            resize(array, i + ahead.items, weight);
        }
        readValueOf(*array.getAttribute(i));
    }
}

/// The size, then the items that are not at their default, up to the end of the entry.
void DocumentReader::readSparseItems(AttributeArray& array)
{
    const std::uint32_t size = json_.uint32();
    resize(array, size, weightOfItem(array));
    // Where nobody knows the type, and so the default, an item without a value must be saved without one again.
    for (std::uint32_t i = 0; i < size; ++i)
        array.getAttribute(i)->setFlag(ElementFlag::kLoaded);
    while (json_.tryItem())
        readSparseItem(array);
}

/// `[index, value]`, `[index]` for an item without a value, or `["->", index, path]`.
void DocumentReader::readSparseItem(AttributeArray& array)
{
    json_.beginArray();
    json_.item(L"the index of an item");
    if (!json_.atString())
    {
        Attribute& item = readItemIndex(array);
        if (!json_.tryItem())
            return;
        readValueOf(item);
    }
    else
    {
        const std::string_view mark = json_.string(L"an arrow");
        if (mark != kReferenceItem && mark != kSingleReferenceItem)
            json_.fail(L"expected \"->\", \"=>\" or the index of an item");
        const bool isSingle = mark == kSingleReferenceItem;
        json_.item(L"the index of an item");
        Attribute& item = readItemIndex(array);
        json_.item(L"the path of a referenced attribute");
        readReference(item, isSingle);
    }
    json_.endArray();
}

Attribute& DocumentReader::readItemIndex(AttributeArray& array)
{
    const std::uint32_t index = json_.uint32();
    if (index >= array.getSize())
        json_.fail(L"the array has no item %u", index);
    return *array.getAttribute(index);
}

/// @param weight  of each item.
void DocumentReader::resize(AttributeArray& array, std::size_t size, std::uint64_t weight)
{
    const unsigned int oldSize = array.getSize();
    if (size > oldSize && !budget_.take(size - oldSize, weight))
        json_.fail(L"the array has more items, %u, than a file of this size can describe",
                   static_cast<unsigned int>(size));
    json_.check(loader_.resizeAttributeArray(&array, static_cast<unsigned int>(size)), L"the array cannot be resized");
}

// --- Values and references ---

void DocumentReader::readReference(Attribute& attribute, bool isSingle)
{
    json_.name(text_, L"the path of a referenced attribute");
    json_.check(loader_.addUnresolvedReference(&attribute, text_.c_str(), isSingle), L"the reference cannot be noted");
}

void DocumentReader::readValueOf(Attribute& attribute)
{
    if (attribute.getTypeId() == AttributeType::kEnum)
        return readEnum(attribute);
    visitValueType(attribute.getTypeId(), [&]<class T>(T*) {
        if constexpr (std::is_same_v<T, std::nullptr_t>)
        {
            json_.null();
            json_.check(loader_.onNullAttributeLoaded(&attribute), L"the attribute cannot be loaded");
        }
        else
        {
            T value{};
            readValue(json_, value);
            write(attribute, value);
        }
    });
}

/// The text of a choice, or a number.
void DocumentReader::readEnum(Attribute& attribute)
{
    int value = 0;
    if (json_.atNumber())
    {
        value = json_.int32();
        return write(attribute, value);
    }
    json_.name(text_, L"the choice of an Enum");
    const wchar_t* choice = text_.c_str();
    if (isMigrated(attribute))
        choice = loader_.migrateEnumChoice(choice, attribute.getName(), attribute.getNode());
    if (choice == nullptr)
        json_.fail(L"a migrator refused the choice '%s'", text_.c_str());

    if (UnknownEnumAttributeMetaData* const learning = learningEnum(attribute))
    {
        value = learning->addChoiceIfNotExist(choice);
        if (value < 0)
            throw std::bad_alloc();
    }
    else
        value = choices_.find(static_cast<const EnumAttributeMetaData&>(*attribute.getMetaData()), choice);
    if (value < 0)
        json_.logHere(L"'%s' is no choice of '%s', which keeps its default", choice, attribute.getName());
    else
        write(attribute, value);
}

template <class T>
void DocumentReader::write(Attribute& attribute, T& value)
{
    ValueHandle handle;
    json_.check(loader_.lockAttribute(&attribute, &handle), L"the value cannot be written");
    if (handle.isNull())
        throw std::bad_alloc();
    *static_cast<T*>(handle.getData()) = std::move(value);
    json_.check(loader_.unlockAttribute(&attribute), L"the value cannot be written");
}

} // namespace db2::json
