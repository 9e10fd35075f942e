#include <db2/EnumAttributeMetaData.h>

#include <db2/EnumAttributeMetaDataDef.h>
#include <db2/Library.h>
#include <db2/NameHash.h>

#include "MetaDataBlock.h"

#include <cwchar>
#include <new>

namespace db2 {

// --- EnumAttributeMetaData ---

EnumAttributeMetaData::EnumAttributeMetaData(const EnumAttributeMetaDataDef& definition, const wchar_t* name,
                                             MemoryResource& resource)
    : EnumAttributeMetaData(definition, name, resource, NoChoices())
{
    numChoices_ = definition.getNumChoices();
    choices_ = takeTexts(resource, numChoices_, [&](unsigned int i) { return definition.getChoices()[i].c_str(); });
}

EnumAttributeMetaData::EnumAttributeMetaData(const EnumAttributeMetaData& source, MemoryResource& resource)
    : EnumAttributeMetaData(source, resource, NoChoices())
{
    numChoices_ = source.numChoices_;
    choices_ = takeTexts(resource, numChoices_, [&](unsigned int i) { return source.choices_[i]; });
}

EnumAttributeMetaData::EnumAttributeMetaData(const EnumAttributeMetaDataDef& definition, const wchar_t* name,
                                             MemoryResource& resource, NoChoices)
    : SetterAttributeMetaData(definition, name, resource)
{
}

EnumAttributeMetaData::EnumAttributeMetaData(const EnumAttributeMetaData& source, MemoryResource& resource, NoChoices)
    : SetterAttributeMetaData(source, resource)
{
}

ElementMetaData* EnumAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<EnumAttributeMetaData>(resource, *this);
}

void EnumAttributeMetaData::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock(format, sizeof(EnumAttributeMetaData), alignof(EnumAttributeMetaData));
    addTexts(format, numChoices_, [this](unsigned int i) { return choices_[i]; });
}

bool EnumAttributeMetaData::doCompare(const ElementMetaData& other) const
{
    if (!hasSameType(other))
        return false;
    const auto& otherEnum = static_cast<const EnumAttributeMetaData&>(other);
    const unsigned int count = getNumChoices();
    if (count != otherEnum.getNumChoices())
        return false;
    for (unsigned int i = 0; i < count; ++i)
    {
        if (std::wcscmp(getChoice(i), otherEnum.getChoice(i)) != 0)
            return false;
    }
    return SetterAttributeMetaData::doCompare(other);
}

unsigned int EnumAttributeMetaData::getNumChoices() const
{
    return numChoices_;
}

const wchar_t* EnumAttributeMetaData::getChoice(unsigned int index) const
{
    if (index < numChoices_)
        return choices_[index];
    logError(L"Index out of range in EnumAttributeMetaData::getChoice()");
    return nullptr;
}

int EnumAttributeMetaData::getChoiceIndex(const wchar_t* choice) const
{
    if (choice == nullptr)
        return -1;
    const unsigned int count = getNumChoices();
    for (unsigned int i = 0; i < count; ++i)
    {
        if (std::wcscmp(getChoice(i), choice) == 0)
            return static_cast<int>(i);
    }
    return -1;
}

// --- UnknownEnumAttributeMetaData ---

namespace {

/// An index of a choice as the index stores it.
void* toPointer(unsigned int index)
{
    return reinterpret_cast<void*>(std::uintptr_t{index});
}

} // namespace

// Nothing is lost when the choices find no memory: an Enum's default value, an int, needs no destruction.
UnknownEnumAttributeMetaData::UnknownEnumAttributeMetaData(const EnumAttributeMetaDataDef& definition,
                                                           const wchar_t* name, MemoryResource& resource)
    : EnumAttributeMetaData(definition, name, resource, NoChoices()), choices_(definition.getChoices())
{
    indexChoices();
}

UnknownEnumAttributeMetaData::UnknownEnumAttributeMetaData(const UnknownEnumAttributeMetaData& source,
                                                           MemoryResource& resource)
    : EnumAttributeMetaData(source, resource, NoChoices()), choices_(source.choices_)
{
    indexChoices();
}

UnknownEnumAttributeMetaData::~UnknownEnumAttributeMetaData() = default;

ElementMetaData* UnknownEnumAttributeMetaData::clone(MemoryResource& resource) const
{
    return makeInPlace<UnknownEnumAttributeMetaData>(resource, *this);
}

void UnknownEnumAttributeMetaData::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock(format, sizeof(UnknownEnumAttributeMetaData), alignof(UnknownEnumAttributeMetaData));
}

unsigned int UnknownEnumAttributeMetaData::getNumChoices() const
{
    return static_cast<unsigned int>(choices_.size());
}

const wchar_t* UnknownEnumAttributeMetaData::getChoice(unsigned int index) const
{
    if (index < choices_.size())
        return choices_[index].c_str();
    logError(L"Index out of range in UnknownEnumAttributeMetaData::getChoice()");
    return nullptr;
}

int UnknownEnumAttributeMetaData::addChoiceIfNotExist(const wchar_t* choice)
{
    const std::wstring_view text = choice != nullptr ? choice : L"";
    const std::uint32_t key = findKey(text);
    if (index_.contains(key))
        return static_cast<int>(indexAt(key));

    const unsigned int index = getNumChoices();
    if (!index_.reserveInsert() || !succeeds([&] { choices_.push_back(kqx::String(text.data(), text.size())); }))
        return -1;
    index_.insert(key, toPointer(index));
    return static_cast<int>(index);
}

void UnknownEnumAttributeMetaData::indexChoices()
{
    for (unsigned int i = 0; i < getNumChoices(); ++i)
    {
        const std::uint32_t key = findKey(choices_[i]);
        if (!index_.contains(key) && !index_.insert(key, toPointer(i)))
            throw std::bad_alloc();
    }
}

std::uint32_t UnknownEnumAttributeMetaData::findKey(std::wstring_view choice) const
{
    std::uint32_t key = hashName(choice.data(), choice.size());
    while (index_.contains(key) && choices_[indexAt(key)] != choice)
        ++key;
    return key;
}

unsigned int UnknownEnumAttributeMetaData::indexAt(std::uint32_t key) const
{
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(index_.find(key)));
}

} // namespace db2
