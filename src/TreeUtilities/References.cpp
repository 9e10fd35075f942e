// The tree utilities for references.

#include <db2/TreeUtilities.h>

#include <db2/DataInterface.h>
#include <db2/Node.h>

#include "../OutOfMemory.h"
#include "ReferenceEnds.h"

namespace db2 {

void destroyReferencesOf(Attribute& attribute, DataInterface& data)
{
    if (attribute.getReference() != nullptr)
        data.db_destroyReference(&attribute);
    Attribute* referencer = attribute.getReferents();
    while (referencer != nullptr)
    {
        Attribute* const older = referencer->getSiblingReferent();
        data.db_destroyReference(referencer);
        referencer = older;
    }
}

kqtl::pod_vector<Attribute*> listReferencers(const Attribute& attribute)
{
    kqtl::pod_vector<Attribute*> referencers;
    for (Attribute* at = attribute.getReferents(); at != nullptr; at = at->getSiblingReferent())
        referencers.push_back(at);
    return referencers;
}

Status dbu_copyAndDestroyReference(DataInterface* data, Attribute* attribute)
{
    if (data == nullptr || attribute == nullptr || attribute->getReference() == nullptr)
        return Status::kFailure;
    const Attribute* const referenced = attribute->getReference();
    if (data->db_destroyReference(attribute) == Status::kFailure)
        return Status::kFailure;
    dbu_copyAttribute(attribute, referenced, data);
    return Status::kSuccess;
}

Status dbu_transferReferences(Attribute* to, Attribute* from, DataInterface* data)
{
    if (to == nullptr || from == nullptr || data == nullptr)
        return Status::kFailure;
    kqtl::pod_vector<Attribute*> referencers;
    if (!succeeds([&] { referencers = listReferencers(*from); }))
        return Status::kFailure;
    if (Attribute* const referenced = from->getReference())
    {
        const bool isSingle = from->referenceIsSingle();
        if (data->db_destroyReference(from) != Status::kSuccess ||
            data->db_createReference(referenced, to, isSingle) != Status::kSuccess)
            return Status::kFailure;
    }
    // The oldest first, because each new one comes to the front of the list.
    for (std::size_t i = referencers.size(); i-- > 0;)
    {
        Attribute* const referencer = referencers[i];
        const bool isSingle = referencer->referenceIsSingle();
        if (data->db_destroyReference(referencer) == Status::kSuccess)
            data->db_createReference(to, referencer, isSingle);
    }
    return Status::kSuccess;
}

} // namespace db2
