// What UndoManager records of each edit that passes through it.

#include <db2/UndoManager.h>

#include <db2/CoreManager.h>
#include <db2/Node.h>

#include "../UndoAccess.h"
#include "ElementOperations.h"
#include "NodeOperations.h"
#include "Setting.h"
#include "UndoItem.h"
#include "ValueOperations.h"

namespace db2 {
namespace {

/// Makes the operation of an edit of values, with the values that it needs. @return null when memory is out.
template <class Operation, class Object, class... Arguments>
Operation* makeSaved(UndoItem& item, Object& object, const Arguments&... arguments)
{
    auto* const operation = item.make<Operation>(object);
    if (operation == nullptr || operation->save(item, arguments...))
        return operation;
    operation->release();
    return nullptr;
}

} // namespace

// --- Recording ---

/// Every edit of this layer goes the same way: what its inverse needs is read, the edit is forwarded, and recorded when
/// it succeeded.
/// @param make  makes the operation in the item that it is given. @return null when memory is out; the edit is then
///              refused.
/// @param edit  forwards the edit, and adds to the operation what only the edit's success brings.
template <class Make, class Edit>
Status UndoManager::record(Make make, Edit edit)
{
    const Setting busy(busy_); // a rollback by a layer further in would give back what is about to be recorded
    UndoItem& item = *current_;
    const KQutils::FastHeap::Mark mark = item.mark();
    const unsigned int recorded = item.operations.count();
    const std::size_t points = rollbackPoints_.size();
    auto* const operation = make(item);
    const Status status = operation != nullptr ? edit(*operation) : Status::kFailure;
    if (status == Status::kSuccess && operation->hasSubject()) // else a next layer made nothing and says that it did
    {
        item.operations.add(*operation);
        return status;
    }
    if (operation != nullptr)
        operation->release();
    // Else a layer further in recorded something meanwhile, or made a point, behind the mark.
    if (item.operations.count() == recorded && rollbackPoints_.size() == points)
        item.rewind(mark);
    return status;
}

/// Legacy elements come and go without the layers, so nothing that outlives them may point to them.
bool UndoManager::isExempt(const Element& element)
{
    return element.isLegacy();
}

/// Values that need no record: not undoable ones, and those of a node that goes away when this item is undone.
bool UndoManager::isValueExempt(const Element& element)
{
    return isExempt(element) || element.hasMetaDataFlag(ElementMetaDataFlag::kNotUndoable) ||
           element.getNode()->hasFlag(NodeFlag::kCreatedInItem);
}

// --- Nodes ---

template <class Create>
Status UndoManager::createNode(Create create, Node** outNode)
{
    return record([](UndoItem& item) { return item.make<CreateNodeOperation>(); },
                  [&](CreateNodeOperation& operation) {
                      Node* created = nullptr;
                      const Status status = create(&created);
                      if (status != Status::kSuccess)
                          return status;
                      if (created != nullptr)
                          operation.setNode(created);
                      if (outNode != nullptr)
                          *outNode = created;
                      return status;
                  });
}

Status UndoManager::db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode)
{
    return createNode(
        [&](Node** created) { return ForwardingLayer::db_createNode(typeId, name, parent, next, created); }, outNode);
}

Status UndoManager::db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name,
                                         Node* parent, Node* next, bool legacy, Node** outNode)
{
    return createNode(
        [&](Node** created) {
            return ForwardingLayer::db_createUnknownNode(typeName, module, name, parent, next, legacy, created);
        },
        outNode);
}

/// The node is archived before its destruction is forwarded, so that the core does not take it for garbage.
Status UndoManager::db_destroyLeafNode(Node* node)
{
    if (node == nullptr || node->isDestroyed()) // refused below; one that undo holds keeps its marks
        return ForwardingLayer::db_destroyLeafNode(node);
    return record(
        [&](UndoItem& item) {
            auto* const operation = item.make<DestroyNodeOperation>(*node);
            return operation != nullptr && UndoAccess::archiveNode(core_, *node) ? operation : nullptr;
        },
        [&](DestroyNodeOperation&) {
            const Status status = ForwardingLayer::db_destroyLeafNode(node);
            if (status != Status::kSuccess)
                UndoAccess::cancelArchiveNode(core_, *node);
            return status;
        });
}

Status UndoManager::db_renameNode(Node* node, const wchar_t* name)
{
    if (node == nullptr)
        return ForwardingLayer::db_renameNode(node, name);
    return record(
        [&](UndoItem& item) {
            const wchar_t* const oldName = item.copyText(node->getName().c_str());
            return oldName != nullptr ? item.make<RenameNodeOperation>(*node, oldName) : nullptr;
        },
        [&](RenameNodeOperation&) { return ForwardingLayer::db_renameNode(node, name); });
}

Status UndoManager::db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name)
{
    if (node == nullptr)
        return ForwardingLayer::db_reparentNode(node, newParent, next, name);
    return record(
        [&](UndoItem& item) {
            const wchar_t* const oldName = item.copyText(node->getName().c_str());
            return oldName != nullptr ? item.make<ReparentNodeOperation>(*node, oldName) : nullptr;
        },
        [&](ReparentNodeOperation&) { return ForwardingLayer::db_reparentNode(node, newParent, next, name); });
}

Status UndoManager::db_reorderNode(Node* node, Node* next)
{
    if (node == nullptr)
        return ForwardingLayer::db_reorderNode(node, next);
    return record([&](UndoItem& item) { return item.make<ReorderNodeOperation>(*node); },
                  [&](ReorderNodeOperation&) { return ForwardingLayer::db_reorderNode(node, next); });
}

// --- Dynamic elements ---

Status UndoManager::db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                            Element* next, Element** outElement)
{
    return record([](UndoItem& item) { return item.make<CreateElementOperation>(); },
                  [&](CreateElementOperation& operation) {
                      Element* created = nullptr;
                      const Status status =
                          ForwardingLayer::db_createDynamicElement(definition, name, node, next, &created);
                      if (status != Status::kSuccess)
                          return status;
                      if (created != nullptr)
                          operation.setElement(created);
                      if (outElement != nullptr)
                          *outElement = created;
                      return status;
                  });
}

Status UndoManager::db_destroyDynamicElement(Element* element)
{
    if (element == nullptr || !element->isDynamic() || element->isDestroyed()) // refused below
        return ForwardingLayer::db_destroyDynamicElement(element);
    return record(
        [&](UndoItem& item) {
            auto* const operation = item.make<DestroyElementOperation>(*element);
            return operation != nullptr && UndoAccess::archiveElement(core_, *element) ? operation : nullptr;
        },
        [&](DestroyElementOperation&) {
            const Status status = ForwardingLayer::db_destroyDynamicElement(element);
            if (status != Status::kSuccess)
                UndoAccess::cancelArchiveElement(core_, *element);
            return status;
        });
}

Status UndoManager::db_renameDynamicElement(Element* element, const wchar_t* name)
{
    if (element == nullptr)
        return ForwardingLayer::db_renameDynamicElement(element, name);
    return record(
        [&](UndoItem& item) {
            const wchar_t* const oldName = item.copyText(element->getName());
            return oldName != nullptr ? item.make<RenameElementOperation>(*element, oldName) : nullptr;
        },
        [&](RenameElementOperation&) { return ForwardingLayer::db_renameDynamicElement(element, name); });
}

// --- Arrays and references ---

Status UndoManager::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    if (array == nullptr || !array->isAttributeArray() || array->getSize() == size || isExempt(*array))
        return ForwardingLayer::db_resizeAttributeArray(array, size);
    return record([&](UndoItem& item) { return makeSaved<ResizeOperation>(item, *array, size); },
                  [&](ResizeOperation&) { return ForwardingLayer::db_resizeAttributeArray(array, size); });
}

Status UndoManager::db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput)
{
    if (referencer == nullptr)
        return ForwardingLayer::db_createReference(referenced, referencer, singleOutput);
    return record([&](UndoItem& item) { return item.make<CreateReferenceOperation>(*referencer); },
                  [&](CreateReferenceOperation&) {
                      return ForwardingLayer::db_createReference(referenced, referencer, singleOutput);
                  });
}

Status UndoManager::db_destroyReference(Attribute* referencer)
{
    if (referencer == nullptr)
        return ForwardingLayer::db_destroyReference(referencer);
    return record([&](UndoItem& item) { return item.make<DestroyReferenceOperation>(*referencer); },
                  [&](DestroyReferenceOperation&) { return ForwardingLayer::db_destroyReference(referencer); });
}

// --- Values: a lock changes nothing yet, so the old value is read when the lock has succeeded ---

/// What record() does, for an edit that is forwarded already, so that no layer comes in between.
/// @param make  makes the operation in the item that it is given. @return null when memory is out.
/// @return false, recording nothing, when memory is out.
template <class Make>
bool UndoManager::recordForwarded(Make make)
{
    const KQutils::FastHeap::Mark mark = current_->mark();
    auto* const operation = make(*current_);
    if (operation == nullptr)
        current_->rewind(mark);
    else
        current_->operations.add(*operation);
    return operation != nullptr;
}

Status UndoManager::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    ValueHandle value;
    const Status status = ForwardingLayer::db_lockAttribute(attribute, outValue != nullptr ? &value : nullptr);
    if (status != Status::kSuccess)
        return status;
    if (attribute != nullptr && !attribute->hasFlag(ElementFlag::kRecordedInItem) && !isValueExempt(*attribute))
    {
        // What the lock handed out is the value, unless a layer further in only says that it locked.
        const ConstValueHandle oldValue = value.isNull() ? attribute->getValue() : ConstValueHandle(value);
        if (!recordForwarded([&](UndoItem& item) { return WriteOperation::make(item, *attribute, oldValue); }))
        {
            ForwardingLayer::db_unlockAttribute(attribute);
            return Status::kFailure;
        }
    }
    if (outValue != nullptr)
        *outValue = value;
    return status;
}

Status UndoManager::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    void* values = nullptr;
    const Status status = ForwardingLayer::db_lockAttributeArray(array, outValues != nullptr ? &values : nullptr);
    if (status != Status::kSuccess)
        return status;
    if (array != nullptr && !isValueExempt(*array))
    {
        if (!recordForwarded([&](UndoItem& item) { return makeSaved<WriteArrayOperation>(item, *array); }))
        {
            ForwardingLayer::db_unlockAttributeArray(array);
            return Status::kFailure;
        }
    }
    if (outValues != nullptr)
        *outValues = values;
    return status;
}

} // namespace db2
