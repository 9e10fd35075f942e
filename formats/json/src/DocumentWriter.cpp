#include "DocumentWriter.h"

#include "ItemBudget.h"
#include "MetaDataWriter.h"
#include "ValueTypes.h"
#include "ValueWriter.h"

#include <db2/AttributeArray.h>
#include <db2/EnumAttributeMetaData.h>
#include <db2/Library.h>
#include <db2/Module.h>
#include <db2/Node.h>
#include <db2/SaveStrategy.h>

namespace db2::json {
namespace {

/// Of a known type and in no reference, an attribute is written for its value and nothing else: a second comparison with
/// the default would only say so again.
bool standsForItsValue(const Attribute& attribute)
{
    const bool isOfKnownType = !attribute.isUnknown() && !attribute.isLegacy() && !attribute.isDynamic();
    return isOfKnownType && attribute.getReference() == nullptr && attribute.getReferents() == nullptr;
}

/// Whether an item that has no value of its own can be written with the default. Where the type is unknown, so is its
/// default; an item that was written with a value would never be without one again.
bool isDefaultKnown(const Attribute& item)
{
    return !item.isUnknown() && !item.isLegacy();
}

const Attribute& itemOf(const AttributeArray& array, unsigned int index)
{
    return *array.getAttribute(index);
}

} // namespace

// --- The document ---

void DocumentWriter::begin(const kqtl::pod_vector<Module*>& modules)
{
    json_.beginObject();
    json_.key("identifier");
    json_.plain("KQDatabase2");
    json_.key("loaderVersion");
    json_.number(std::uint32_t{saver_.getLoaderVersion()});
    json_.key("applicationString");
    json_.text(getProductVersion());
    json_.key("typeString");
    json_.text(saver_.getTypeString());
    json_.key("modules");
    json_.beginArray();
    for (const Module* const module : modules)
        writeModule(*module);
    json_.endArray();
    json_.key("nodes");
    json_.beginArray();
}

void DocumentWriter::writeModule(const Module& module)
{
    kqx::UIntArray versions;
    module.getMigratorVersionsToSave(versions);
    json_.beginLine();
    json_.text(module.getId());
    json_.number(std::uint32_t{module.getDataVersion()});
    json_.beginArray();
    for (const unsigned int version : versions)
        json_.number(std::uint32_t{version});
    json_.endArray();
    json_.endLine();
}

bool DocumentWriter::end()
{
    json_.endArray();
    json_.endObject();
    return json_.finish();
}

// --- Nodes ---

/// In pre-order, counting the depth, so that neither the walk nor the text nests as deep as the tree.
Status DocumentWriter::writeSubtree(const Node& root)
{
    unsigned int depth = 0;
    const Node* node = &root;
    while (node != nullptr && status_ == Status::kSuccess && isGood())
    {
        writeNode(*node, depth);
        if (node->getFirstChild() != nullptr)
        {
            node = node->getFirstChild();
            ++depth;
            continue;
        }
        while (node != &root && node->getNextSibling() == nullptr)
        {
            node = node->getParent();
            --depth;
        }
        node = node != &root ? node->getNextSibling() : nullptr;
    }
    return status_;
}

void DocumentWriter::writeNode(const Node& node, unsigned int depth)
{
    const TemplateTexts::Texts* const texts = texts_.find(node);
    json_.beginObject();
    json_.key("name");
    json_.text(node.getName());
    writeType(node, texts);
    json_.key("depth");
    json_.number(std::uint32_t{depth});
    writeElements(node, texts, Group::kOfType);
    if (node.getDynamicElementCount() != 0)
        writeElements(node, texts, Group::kDynamic);
    if (node.getLegacyElementCount() != 0)
        writeElements(node, texts, Group::kLegacy);
    json_.endObject();
}

void DocumentWriter::writeType(const Node& node, const TemplateTexts::Texts* texts)
{
    json_.key("type");
    if (texts != nullptr && !texts->type.empty())
        json_.token(texts->type);
    else
        json_.text(node.getTypeName());
    json_.key("module");
    if (texts != nullptr && !texts->module.empty())
        json_.token(texts->module);
    else
        json_.text(node.getModule()->getId());
}

// --- Elements ---

/// Writes those of one group, under its key; nothing when there are none.
void DocumentWriter::writeElements(const Node& node, const TemplateTexts::Texts* texts, Group group)
{
    const bool isLegacy = group == Group::kLegacy;
    const unsigned int count = isLegacy ? node.getLegacyElementCount() : node.getElementCount();
    const unsigned int dynamic = node.getDynamicElementCount(); // the last of the elements
    const unsigned int first = group == Group::kDynamic ? count - dynamic : 0;
    const unsigned int end = group == Group::kOfType ? count - dynamic : count;
    bool isBegun = false;
    for (unsigned int i = first; i < end; ++i)
    {
        const Element& element = isLegacy ? *node.getLegacyElement(i) : *node.getElement(i);
        if (!isToBeWritten(element))
            continue;
        if (!isBegun)
        {
            json_.key(group == Group::kOfType ? "attributes" : group == Group::kDynamic ? "dynamic" : "legacy");
            json_.beginArray();
            isBegun = true;
        }
        const bool isKnown = texts != nullptr && group == Group::kOfType && !texts->entries[i].text.empty();
        writeElement(element, isKnown ? &texts->entries[i] : nullptr);
    }
    if (isBegun)
        json_.endArray();
}

void DocumentWriter::writeElement(const Element& element, const TemplateTexts::Entry* entry)
{
    if (element.isAttributeArray())
        writeAttributeArray(static_cast<const AttributeArray&>(element), entry);
    else
        writeAttribute(static_cast<const Attribute&>(element), entry);
}

/// A legacy element is there because a loader kept it, whatever its value, so it is kept on.
bool DocumentWriter::isToBeWritten(const Element& element) const
{
    if (element.isLegacy())
        return true;
    return element.isAttributeArray() ? saver_.shouldSaveAttributeArray(static_cast<const AttributeArray&>(element))
                                      : saver_.shouldSaveAttribute(static_cast<const Attribute&>(element));
}

/// Begins the line of an element, up to where its value stands. @param entry  how it begins, when that is known.
void DocumentWriter::beginEntry(const Element& element, const TemplateTexts::Entry* entry, std::string_view mark)
{
    json_.beginLine();
    if (entry != nullptr && mark.empty())
        return json_.token(
            entry->text); // its metadata, which only dynamic elements have in the file, goes without saying
    if (entry != nullptr)
        json_.token(std::string_view(entry->text).substr(0, entry->nameBytes));
    else
        json_.text(element.getName());
    type_.assign(typeName(element.getTypeId())).append(mark);
    json_.plain(type_);
    if (element.isDynamic())
        writeMetaData(json_, *element.getMetaData());
}

// --- Attributes ---

void DocumentWriter::writeAttribute(const Attribute& attribute, const TemplateTexts::Entry* entry)
{
    if (findPath(attribute))
    {
        beginEntry(attribute, entry, attribute.referenceIsSingle() ? kSingleReferenceMark : kReferenceMark);
        json_.text(path_);
    }
    else
    {
        beginEntry(attribute, entry, {});
        if (standsForItsValue(attribute) || hasValueToWrite(attribute))
            writeShownValue(attribute);
    }
    json_.endLine();
}

bool DocumentWriter::hasValueToWrite(const Attribute& attribute) const
{
    const bool isKeptLegacy = attribute.isLegacy() && attribute.hasFlag(ElementFlag::kValueLoaded);
    return isKeptLegacy || saver_.shouldSaveValue(attribute);
}

// --- Attribute arrays ---

void DocumentWriter::writeAttributeArray(const AttributeArray& array, const TemplateTexts::Entry* entry)
{
    std::size_t references = 0;
    std::size_t listed = 0; // references, and items whose value needs to be written
    for (unsigned int i = 0; i < array.getSize(); ++i)
    {
        const bool isReference = itemOf(array, i).getReference() != nullptr;
        const bool isListed = isReference || hasValueToWrite(itemOf(array, i));
        references += isReference ? 1u : 0u;
        listed += isListed ? 1u : 0u;
    }
    const bool isComplete = listed == array.getSize() || !mayLeaveOut(array, listed);
    const bool canBeFull = listed == array.getSize() || (isComplete && isDefaultKnown(itemOf(array, 0)));
    const bool isFull = references == 0 && canBeFull;
    beginEntry(array, entry, isFull ? kArrayMark : kSparseArrayMark);
    if (isFull)
    {
        json_.beginArray();
        for (unsigned int i = 0; i < array.getSize(); ++i)
            writeItemValue(itemOf(array, i));
        json_.endArray();
    }
    else
    {
        json_.number(std::uint32_t{array.getSize()});
        writeSparseItems(array, isComplete);
    }
    json_.endLine();
    payFor(array);
}

/// Whether an array may be written with only so many items, references and values. Bounded by what is written, so that
/// the entry and what stands in front of it are good for all of its items.
bool DocumentWriter::mayLeaveOut(const AttributeArray& array, std::size_t listed) const
{
    constexpr std::size_t kBytesOfAnEntry = 8; // ", [0, 0]"
    if (array.getSize() - listed > 4 + listed)
        return false;
    const std::uint64_t goodFor = (json_.bytes() + listed * kBytesOfAnEntry) * kWeightOfAByte;
    return weight_ + array.getSize() * weightOfItem(array) <= goodFor;
}

/// A reader takes no more items than the bytes of the file are good for. What is written is, except when a dynamic array
/// has a long default and many items that are shorter: then blanks behind it make up for them.
void DocumentWriter::payFor(const AttributeArray& array)
{
    weight_ += array.getSize() * weightOfItem(array);
    const std::uint64_t due = (weight_ + kWeightOfAByte - 1) / kWeightOfAByte;
    if (due > json_.bytes())
        json_.blanks(due - json_.bytes());
}

/// @param complete  list every item.
void DocumentWriter::writeSparseItems(const AttributeArray& array, bool complete)
{
    for (unsigned int i = 0; i < array.getSize(); ++i)
        writeSparseItem(itemOf(array, i), i, complete);
}

void DocumentWriter::writeSparseItem(const Attribute& item, unsigned int index, bool complete)
{
    if (findPath(item))
    {
        json_.beginArray();
        json_.plain(item.referenceIsSingle() ? kSingleReferenceItem : kReferenceItem);
        json_.number(std::uint32_t{index});
        json_.text(path_);
        json_.endArray();
    }
    else if (complete || hasValueToWrite(item))
    {
        json_.beginArray();
        json_.number(std::uint32_t{index});
        if (hasValueToWrite(item) || isDefaultKnown(item))
            writeItemValue(item);
        json_.endArray();
    }
}

/// The value of an item that is listed. Where only its place needs to be kept, it is the default, which is what the item
/// would come back with if it were left out.
void DocumentWriter::writeItemValue(const Attribute& item)
{
    if (hasValueToWrite(item))
        writeShownValue(item);
    else if (item.getTypeId() == AttributeType::kEnum)
        writeEnum(item, item.getDefaultValue().asInt());
    else
        writeValue(json_, item.getDefaultValue());
}

// --- Values and references ---

void DocumentWriter::writeShownValue(const Attribute& attribute)
{
    const ConstValueHandle value = attribute.getValue();
    const bool isEnum = attribute.getTypeId() == AttributeType::kEnum;
    if (isEnum && value.getTypeId() == AttributeType::kEnum && attribute.isUnknown())
    {
        // Unknown Enums count their choices each in its own way, so the one whose value it is names the choice.
        const Attribute* shown = &attribute;
        while (shown->getReference() != nullptr)
            shown = shown->getReference();
        return writeEnum(*shown, value.asInt());
    }
    // A reference may lead to an attribute of another type; what is written is read as this one's.
    if (value.getTypeId() != attribute.getTypeId())
    {
        const DefaultValue converted(attribute.getTypeId(), value);
        if (isEnum)
            writeEnum(attribute, converted.asInt());
        else
            writeValue(json_, converted);
    }
    else if (isEnum)
        writeEnum(attribute, value.asInt());
    else
        writeValue(json_, value);
}

/// As the text of its choice, which stays when choices are added before it; as the number when that names no choice, or
/// one of a text that an earlier choice has, too.
void DocumentWriter::writeEnum(const Element& element, int value)
{
    const auto& metaData = static_cast<const EnumAttributeMetaData&>(*element.getMetaData());
    const bool isChoice = value >= 0 && static_cast<unsigned int>(value) < metaData.getNumChoices();
    const wchar_t* const choice = isChoice ? metaData.getChoice(static_cast<unsigned int>(value)) : nullptr;
    if (choice != nullptr && choices_.find(metaData, choice) == value)
        json_.text(choice);
    else
        json_.number(std::int32_t{value});
}

/// Finds the path of what the attribute references. @return false when it references nothing, or nothing that can be
/// written: an attribute outside of what is saved is passed over if the host allows that, else ends the save.
bool DocumentWriter::findPath(const Attribute& attribute)
{
    const Attribute* const referenced = attribute.getReference();
    if (referenced == nullptr)
        return false;
    const Status status = saver_.convertReferenceToPath(*referenced, path_);
    if (status == Status::kReferenceNotSaved)
        leftReferencesOut_ = true;
    else if (status != Status::kSuccess && status_ == Status::kSuccess)
        status_ = status;
    return status == Status::kSuccess;
}

} // namespace db2::json
