#include <db2/EnumAttributeMetaData.h>

#include <db2/EnumAttributeMetaDataDef.h>
#include <db2/Library.h>

#include "MetaDataBlock.h"
#include "OutOfMemory.h"

#include <cwchar>

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
    const auto place = index_.lower_bound(text);
    if (place != index_.end() && choices_[*place] == text)
        return static_cast<int>(*place);

    const unsigned int index = getNumChoices();
    if (!succeeds([&] { choices_.push_back(kqx::String(text.data(), text.size())); }))
        return -1;
    if (succeeds([&] { index_.insert(place, index); }))
        return static_cast<int>(index);
    choices_.pop_back();
    return -1;
}

void UnknownEnumAttributeMetaData::indexChoices()
{
    for (unsigned int i = 0; i < getNumChoices(); ++i)
        index_.insert(i); // of equal ones the first stays
}

} // namespace db2
