// Construction of NodeTemplate, its building and its queries. What its registration prepares, and how nodes get their
// elements, stands beside this file.

#include <db2/NodeTemplate.h>

#include <db2/NameHash.h>
#include <db2/Node.h>

#include "../OutOfMemory.h"
#include "../OwnedMetaData.h"

#include <kqtl/Alloc.h>

#include <algorithm>
#include <cwchar>

namespace db2 {
namespace {

constexpr unsigned int kNameIndexCapacity = 6; // gives eleven slots
constexpr unsigned int kNameIndexFrom = 4;     // below, names are compared by their hashes one by one

std::size_t listLength(const unsigned int* list)
{
    std::size_t length = 0;
    while (list[length] != NodeTemplate::kEndOfList)
        ++length;
    return length;
}

/// The name index maps to element indices, which its pointers carry as numbers.
void* asIndexValue(unsigned int index)
{
    return reinterpret_cast<void*>(std::uintptr_t{index});
}

unsigned int fromIndexValue(void* value)
{
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(value));
}

} // namespace

// --- Construction ---

NodeTemplate::NodeTemplate(const wchar_t* typeName, unsigned int typeId, const Module& module, APIBaseFactory* factory,
                           const wchar_t* docString)
    : typeName_(typeName), typeId_(typeId), module_(&module), factory_(factory), nameIndex_(kNameIndexCapacity),
      docString_(docString), hasDocString_(docString != nullptr)
{
    nodeFormat_.add(sizeof(Node), alignof(Node));
}

NodeTemplate::~NodeTemplate()
{
    KQTLFree(nodeImage_); // its values are bytes, or empty
    for (ElementMetaData* const metaData : elements_)
        OwnedMetaData::free(metaData);
    for (ComputeSet* const set : computeSets_)
        delete set;
}

const wchar_t* NodeTemplate::getDocString() const
{
    return hasDocString_ ? docString_.c_str() : nullptr;
}

// --- Building: attributes ---

Status NodeTemplate::checkAttributeName(const wchar_t* name) const
{
    if (hasFlag(NodeTemplateFlag::kRegistered))
        return Status::kAddAttributeToRegistered;
    if (referenceCount_ != 0)
        return Status::kTemplateInUse;
    if (name == nullptr)
        return Status::kNullAttributeName;
    if (*name == L'\0')
        return Status::kEmptyAttributeName;
    if (isElementNameTooLong(name))
        return Status::kNameTooLong;
    return isElementNameUnique(name) ? Status::kSuccess : Status::kDuplicateAttributeName;
}

Status NodeTemplate::addAttribute(const ElementMetaDataDef& definition, const wchar_t* name, unsigned int* outIndex)
{
    const Status status = checkAttributeName(name);
    if (status != Status::kSuccess)
        return status;

    const AttributeTypeId typeId = definition.getTypeId();
    if (typeId >= kAttributeTypeCount)
        return Status::kFailure;
    ElementLayout layout = nextElementLayout(typeId, definition.isArray());
    if (layout.grown.isTooLarge() || !reserveElement())
        return Status::kFailure;
    ElementMetaData* const metaData = OwnedMetaData::make(definition, name);
    if (metaData == nullptr)
        return Status::kFailure;

    const auto index = static_cast<unsigned int>(elements_.size());
    const std::uint32_t hash = hashName(name);
    elements_.push_back(metaData);
    elementNameHashes_.push_back(hash);
    elementOffsets_.push_back(layout.offset);
    nodeFormat_ = layout.grown;
    enterName(index);
    if (outIndex != nullptr)
        *outIndex = index;
    return Status::kSuccess;
}

/// Makes room for one element more in every list, so that the addition itself cannot fail.
bool NodeTemplate::reserveElement()
{
    return reserveOneMore(elements_) && reserveOneMore(elementNameHashes_) && reserveOneMore(elementOffsets_) &&
           (elements_.size() + 1 < kNameIndexFrom || nameIndex_.reserveInsert());
}

NodeTemplate::ElementLayout NodeTemplate::nextElementLayout(AttributeTypeId typeId, bool isArray) const
{
    ElementLayout layout{0, nodeFormat_};
    const std::size_t recordBytes = isArray ? sizeof(AttributeArray) : sizeof(Attribute);
    layout.grown.add(recordBytes, isArray ? alignof(AttributeArray) : alignof(Attribute));
    layout.offset = layout.grown.size - static_cast<std::uint32_t>(recordBytes);
    if (!isArray) // an array's values have a buffer of their own
        layout.grown.add(ValueInfo::getMemoryRequirements(typeId).size, ValueInfo::getStorageAlignment(typeId));
    return layout;
}

void NodeTemplate::enterName(unsigned int index)
{
    if (elements_.size() < kNameIndexFrom)
        return;
    const unsigned int first = elements_.size() == kNameIndexFrom ? 0 : index;
    for (unsigned int i = first; i <= index; ++i)
        nameIndex_.insert(elementNameHashes_[i], asIndexValue(i));
}

void NodeTemplate::mergeTemplate(const NodeTemplate* other)
{
    if (other == nullptr || other == this)
        return;
    flags_ |= other->flags_ & ~NodeTemplateFlag::kRegistered;
    for (const ElementMetaData* const metaData : other->elements_)
        addAttribute(ElementMetaDataCopier(*metaData), metaData->getName());
}

// --- Building: compute sets ---

Status NodeTemplate::checkComputeElement(unsigned int index, Status outOfRange) const
{
    if (index >= elements_.size())
        return outOfRange;
    const bool connectable = !elements_[index]->hasFlag(ElementMetaDataFlag::kNotConnectable);
    return connectable ? Status::kSuccess : Status::kComputeElementNotConnectable;
}

Status NodeTemplate::checkComputeSet(const unsigned int* inputs, const unsigned int* outputs) const
{
    if (hasFlag(NodeTemplateFlag::kRegistered))
        return Status::kAddComputeSetToRegistered;
    if (referenceCount_ != 0)
        return Status::kTemplateInUse;
    if (inputs == nullptr)
        return Status::kNullComputeInputs;
    if (outputs == nullptr)
        return Status::kNullComputeOutputs;
    for (const unsigned int* input = inputs; *input != kEndOfList; ++input)
    {
        const Status status = checkComputeElement(*input, Status::kComputeInputOutOfRange);
        if (status != Status::kSuccess)
            return status;
    }
    if (*outputs == kEndOfList)
        return Status::kNoComputeOutputs;
    for (const unsigned int* output = outputs; *output != kEndOfList; ++output)
    {
        const Status status = checkComputeElement(*output, Status::kComputeOutputOutOfRange);
        if (status != Status::kSuccess)
            return status;
        if (elements_[*output]->hasComputeSet())
            return Status::kOutputAlreadyComputed;
    }
    return *inputs == kEndOfList ? Status::kNoComputeInputs : Status::kSuccess;
}

Status NodeTemplate::addComputeSet(const unsigned int* inputs, const unsigned int* outputs, ComputeFunction function,
                                   void* userData, unsigned int* outIndex)
{
    const Status status = checkComputeSet(inputs, outputs);
    if (status != Status::kSuccess)
        return status;

    const auto index = static_cast<unsigned int>(computeSets_.size());
    const auto inputCount = static_cast<unsigned int>(listLength(inputs));
    const auto outputCount = static_cast<unsigned int>(listLength(outputs));
    const bool made =
        reserveOneMore(computeSets_) && succeeds([&] {
            computeSets_.push_back(new ComputeSet(inputs, inputCount, outputs, outputCount, function, userData));
        });
    if (!made)
        return Status::kFailure;
    for (const unsigned int* output = outputs; *output != kEndOfList; ++output)
        elements_[*output]->setComputeSet(index);
    if (outIndex != nullptr)
        *outIndex = index;
    return Status::kSuccess;
}

// --- Queries ---

ElementMetaData* NodeTemplate::getElementMetaData(unsigned int index)
{
    return index < elements_.size() ? elements_[index] : nullptr;
}

const ElementMetaData* NodeTemplate::getElementMetaData(unsigned int index) const
{
    return index < elements_.size() ? elements_[index] : nullptr;
}

const ComputeSet* NodeTemplate::getComputeSet(unsigned int index) const
{
    return index < computeSets_.size() ? computeSets_[index] : nullptr;
}

unsigned int NodeTemplate::findElementByName(const wchar_t* name) const
{
    if (name == nullptr)
        return kEndOfList;
    // Names in a template differ in their hashes, so only the one of this hash can have the text.
    const unsigned int index = findElementByHash(hashName(name));
    const bool found = index != kEndOfList && std::wcscmp(elements_[index]->getName(), name) == 0;
    return found ? index : kEndOfList;
}

unsigned int NodeTemplate::findElementByHash(std::uint32_t hash) const
{
    if (elements_.size() >= kNameIndexFrom)
        return nameIndex_.contains(hash) ? fromIndexValue(nameIndex_.find(hash)) : kEndOfList;
    const auto found = std::find(elementNameHashes_.begin(), elementNameHashes_.end(), hash);
    return found != elementNameHashes_.end() ? static_cast<unsigned int>(found - elementNameHashes_.begin())
                                             : kEndOfList;
}

bool NodeTemplate::isElementNameUnique(const wchar_t* name) const
{
    return findElementByHash(hashName(name)) == kEndOfList;
}

unsigned int NodeTemplate::findElementAtOffset(std::uint32_t offset) const
{
    const auto found = std::lower_bound(elementOffsets_.begin(), elementOffsets_.end(), offset);
    const bool present = found != elementOffsets_.end() && *found == offset;
    return present ? static_cast<unsigned int>(found - elementOffsets_.begin()) : 0;
}

void NodeTemplate::removeReference()
{
    if (referenceCount_ > 0)
        --referenceCount_;
}

} // namespace db2
