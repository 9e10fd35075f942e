#include <db2/EnumAttributeMetaDataDef.h>

#include <db2/EnumAttributeMetaData.h>
#include <db2/Library.h>

#include "MetaDataBlock.h"
#include "OutOfMemory.h"

namespace db2 {
namespace {

void appendChoice(kqx::StringArray& choices, const wchar_t* choice)
{
    if (choice == nullptr || *choice == L'\0')
        logError(L"Empty enum choice string supplied");
    choices.push_back(choice);
}

} // namespace

// --- EnumAttributeMetaDataDef ---

EnumAttributeMetaDataDef::EnumAttributeMetaDataDef() : SetterAttributeMetaDataDef(AttributeType::kEnum) {}

void EnumAttributeMetaDataDef::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock<EnumAttributeMetaData>(format);
    addTexts(format, getNumChoices(), [this](unsigned int i) { return choices_[i].c_str(); });
}

const ElementMetaData* EnumAttributeMetaDataDef::makeMetaData(const wchar_t* name, MemoryResource& resource) const
{
    if (choices_.empty())
        logError(L"Enum attributes must have choice strings added");
    return make<EnumAttributeMetaData>(*this, name, resource);
}

bool EnumAttributeMetaDataDef::addChoice(const wchar_t* choice)
{
    return succeeds([&] { appendChoice(choices_, choice); });
}

bool EnumAttributeMetaDataDef::setChoices(const kqx::StringArray& choices)
{
    return succeeds([&] {
        kqx::StringArray replacement; // of its own, because the choices may be this definition's
        for (const kqx::String& choice : choices)
            appendChoice(replacement, choice.c_str());
        choices_.swap(replacement);
    });
}

void EnumAttributeMetaDataDef::doClear()
{
    SetterAttributeMetaDataDef::doClear();
    choices_.clear();
}

// --- UnknownEnumAttributeMetaDataDef ---

void UnknownEnumAttributeMetaDataDef::getMemoryRequirements(MemoryFormat& format) const
{
    addBlock<UnknownEnumAttributeMetaData>(format);
}

const ElementMetaData* UnknownEnumAttributeMetaDataDef::makeMetaData(const wchar_t* name,
                                                                     MemoryResource& resource) const
{
    return make<UnknownEnumAttributeMetaData>(*this, name, resource);
}

} // namespace db2
