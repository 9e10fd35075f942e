// The tree utilities for values and arrays.

#include <db2/TreeUtilities.h>

#include <db2/AttributeArray.h>
#include <db2/DataInterface.h>
#include <db2/EnumAttributeMetaData.h>

#include "../SameValue.h"
#include "ReferenceEnds.h"

#include <algorithm>

namespace db2 {
namespace {

/// Writes the choice of @p shown into the Enum of an unknown node by its text, because that one counts its choices as it
/// learns them. @return false, writing nothing, when @p to is none of these or @p shown is at no choice.
bool copyChoice(ValueHandle& value, const Attribute& to, const Attribute& shown)
{
    // The record is the element's own, not a template's, so it is not constant.
    auto* const learning = dynamic_cast<UnknownEnumAttributeMetaData*>(const_cast<ElementMetaData*>(to.getMetaData()));
    if (learning == nullptr || shown.getTypeId() != AttributeType::kEnum)
        return false;
    const auto& choices = static_cast<const EnumAttributeMetaData&>(*shown.getMetaData());
    const int number = shown.getValue().getInt();
    if (number < 0 || static_cast<unsigned int>(number) >= choices.getNumChoices())
        return false;
    const int index = learning->addChoiceIfNotExist(choices.getChoice(static_cast<unsigned int>(number)));
    if (index >= 0)
        value.getInt() = index;
    return index >= 0;
}

/// Copies a value into an unknown attribute, which is saved and converted for it from now on, or the lack of one.
void copyToUnknown(ValueHandle& value, Attribute& to, const Attribute& shown)
{
    if (lacksValue(shown))
    {
        value.assign(to.getDefaultValue());
        to.setFlag(ElementFlag::kLoaded);
        to.clearFlag(ElementFlag::kValueLoaded);
        return;
    }
    if (copyChoice(value, to, shown) || value.assign(shown.getValue()))
        to.setFlag(ElementFlag::kValueLoaded);
}

} // namespace

void dbu_copyAttribute(Attribute* to, const Attribute* from, DataInterface* data)
{
    if (to == nullptr || from == nullptr || data == nullptr)
        return;
    ValueHandle value;
    if (data->db_lockAttribute(to, &value) != Status::kSuccess)
        return;
    if (to->isUnknown())
        copyToUnknown(value, *to, shownBy(*from));
    else
        value.assign(from->getValue());
    data->db_unlockAttribute(to);
}

void dbu_copyAttributeArray(AttributeArray* to, const AttributeArray* from, DataInterface* data)
{
    if (to == nullptr || from == nullptr || data == nullptr)
        return;
    data->db_resizeAttributeArray(to, from->getSize());
    const unsigned int count = std::min(to->getSize(), from->getSize());
    for (unsigned int i = 0; i < count; ++i)
        dbu_copyAttribute(to->getAttribute(i), from->getAttribute(i), data);
}

Status dbu_resizeAttributeArray(AttributeArray* array, unsigned int size, DataInterface* data)
{
    if (array == nullptr || data == nullptr || !array->isAttributeArray())
        return Status::kFailure;
    for (unsigned int i = size; array->getReferenceCount() != 0 && i < array->getSize(); ++i)
        destroyReferencesOf(*array->getAttribute(i), *data);
    return data->db_resizeAttributeArray(array, size);
}

bool dbu_isValueCommon(const kqtl::pod_vector<Attribute*>& attributes)
{
    for (std::size_t i = 1; i < attributes.size(); ++i)
        if (!attributes[i]->getValue().compare(attributes.front()->getValue()))
            return false;
    return true;
}

} // namespace db2
