// The tree utilities for values and arrays.

#include <db2/TreeUtilities.h>

#include <db2/AttributeArray.h>
#include <db2/DataInterface.h>

#include "ReferenceEnds.h"

#include <algorithm>

namespace db2 {

void dbu_copyAttribute(Attribute* to, const Attribute* from, DataInterface* data)
{
    if (to == nullptr || from == nullptr || data == nullptr)
        return;
    ValueHandle value;
    if (data->db_lockAttribute(to, &value) != Status::kSuccess)
        return;
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
