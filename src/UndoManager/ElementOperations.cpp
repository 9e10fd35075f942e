#include "ElementOperations.h"

#include "../UndoAccess.h"

#include <db2/ElementMetaDataDef.h>
#include <db2/Node.h>

namespace db2 {

// --- Dynamic elements ---

bool CreateElementOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_destroyDynamicElement(subject()) == Status::kSuccess;
}

DestroyElementOperation::DestroyElementOperation(Element& element)
    : OperationOn(&element, kHolds), next_(element.getNode()->getNextDynamicElement(&element))
{
}

bool DestroyElementOperation::undo(DataInterface& target, CoreManager& core)
{
    UndoAccess::resurrectElement(core, *subject());
    const ElementMetaDataCopier definition(*subject()->getMetaData());
    const Status status =
        target.db_createDynamicElement(definition, subject()->getName(), subject()->getNode(), next_, nullptr);
    UndoAccess::takeBackElement(core); // when it was refused the element stays archived
    if (status == Status::kSuccess)
        setSubject(nullptr);
    return status == Status::kSuccess;
}

void DestroyElementOperation::discard(CoreManager& core)
{
    UndoAccess::finalDestroyElement(core, *subject());
}

bool RenameElementOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_renameDynamicElement(subject(), oldName_) == Status::kSuccess;
}

// --- References ---

bool CreateReferenceOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_destroyReference(subject()) == Status::kSuccess;
}

DestroyReferenceOperation::DestroyReferenceOperation(Attribute& referencer)
    : OperationOn(&referencer), referenced_(referencer.getReference()), isSingle_(referencer.referenceIsSingle())
{
}

bool DestroyReferenceOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_createReference(referenced_, subject(), isSingle_) == Status::kSuccess;
}

} // namespace db2
