#include "ElementOperations.h"

#include "../UndoAccess.h"

#include <db2/ElementMetaDataDef.h>
#include <db2/Node.h>

namespace db2 {

// --- Dynamic elements ---

bool CreateElementOperation::undo(const ReplayContext& context)
{
    return context.target.db_destroyDynamicElement(element_) == Status::kSuccess;
}

DestroyElementOperation::DestroyElementOperation(Element& element)
    : element_(&element), next_(element.getNode()->getNextDynamicElement(&element))
{
}

DestroyElementOperation::DestroyElementOperation(const DestroyElementOperation& other, bool wasRefused)
    : element_(other.element_), next_(other.next_), wasRefused_(wasRefused)
{
}

bool DestroyElementOperation::undo(const ReplayContext& context)
{
    if (wasRefused_)
    {
        handOver(context, false);
        return true;
    }
    UndoAccess::resurrectElement(context.core, *element_);
    const ElementMetaDataCopier definition(*element_->getMetaData());
    const Status status =
        context.target.db_createDynamicElement(definition, element_->getName(), element_->getNode(), next_, nullptr);
    UndoAccess::takeBackElement(context.core);
    if (status != Status::kSuccess)
        handOver(context, true);
    return status == Status::kSuccess;
}

/// The element stays archived. The item that records the replay holds it from now on; without one it is given up.
void DestroyElementOperation::handOver(const ReplayContext& context, bool wasRefused)
{
    UndoItem* const recorder = context.recorder;
    auto* const holder = recorder != nullptr ? recorder->make<DestroyElementOperation>(0, *this, wasRefused) : nullptr;
    if (holder != nullptr)
        recorder->add(holder);
    else
        discard(context.core);
}

void DestroyElementOperation::discard(CoreManager& core)
{
    UndoAccess::finalDestroyElement(core, *element_);
}

bool RenameElementOperation::undo(const ReplayContext& context)
{
    return context.target.db_renameDynamicElement(element_, oldName_) == Status::kSuccess;
}

// --- References ---

bool CreateReferenceOperation::undo(const ReplayContext& context)
{
    return context.target.db_destroyReference(referencer_) == Status::kSuccess;
}

DestroyReferenceOperation::DestroyReferenceOperation(Attribute& referencer)
    : referenced_(referencer.getReference()), referencer_(&referencer), isSingle_(referencer.referenceIsSingle())
{
}

bool DestroyReferenceOperation::undo(const ReplayContext& context)
{
    return context.target.db_createReference(referenced_, referencer_, isSingle_) == Status::kSuccess;
}

} // namespace db2
