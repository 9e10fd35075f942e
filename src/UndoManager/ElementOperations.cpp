#include "ElementOperations.h"

#include "../UndoAccess.h"

#include <db2/ElementMetaDataDef.h>
#include <db2/Node.h>

namespace db2 {

// --- Dynamic elements ---

bool CreateElementOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_destroyDynamicElement(element_) == Status::kSuccess;
}

DestroyElementOperation::DestroyElementOperation(Element& element)
    : element_(&element), next_(element.getNode()->getNextDynamicElement(&element))
{
}

bool DestroyElementOperation::undo(DataInterface& target, CoreManager& core)
{
    UndoAccess::resurrectElement(core, *element_);
    const ElementMetaDataCopier definition(*element_->getMetaData());
    const Status status =
        target.db_createDynamicElement(definition, element_->getName(), element_->getNode(), next_, nullptr);
    UndoAccess::takeBackElement(core); // when it was refused the element stays archived
    if (status == Status::kSuccess)
        element_ = nullptr;
    return status == Status::kSuccess;
}

void DestroyElementOperation::discard(CoreManager& core)
{
    UndoAccess::finalDestroyElement(core, *element_);
}

bool RenameElementOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_renameDynamicElement(element_, oldName_) == Status::kSuccess;
}

// --- References ---

bool CreateReferenceOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_destroyReference(referencer_) == Status::kSuccess;
}

DestroyReferenceOperation::DestroyReferenceOperation(Attribute& referencer)
    : referenced_(referencer.getReference()), referencer_(&referencer), isSingle_(referencer.referenceIsSingle())
{
}

bool DestroyReferenceOperation::undo(DataInterface& target, CoreManager&)
{
    return target.db_createReference(referenced_, referencer_, isSingle_) == Status::kSuccess;
}

} // namespace db2
