#include <db2/UndoManager.h>

#include <db2/CoreManager.h>
#include <db2/Library.h>
#include <db2/Node.h>

#include "../OutOfMemory.h"
#include "../UndoAccess.h"
#include "ElementOperations.h"
#include "NodeOperations.h"
#include "UndoItem.h"
#include "ValueOperations.h"

#include <utility>

namespace db2 {
namespace {

constexpr std::size_t kReservedRollbackPoints = 64;

// Where the commits of replays say that they come from.
constexpr const wchar_t* kSourceFile = L"UndoManager.cpp";
constexpr unsigned int kUndoLine = 785;
constexpr unsigned int kRedoLine = 819;
constexpr unsigned int kRollbackLine = 886;

using ItemStack = std::deque<std::unique_ptr<UndoItem>>;

const UndoItem* itemAt(const ItemStack& stack, unsigned int index)
{
    return index < stack.size() ? stack[index].get() : nullptr;
}

kqx::String descriptionAt(const ItemStack& stack, int index)
{
    const auto fromBottom = static_cast<unsigned int>(index == -1 ? static_cast<int>(stack.size()) - 1 : index);
    const UndoItem* const item = itemAt(stack, fromBottom);
    return item != nullptr ? item->description : kqx::String();
}

std::unique_ptr<UndoItem> makeItem()
{
    return std::unique_ptr<UndoItem>(new (std::nothrow) UndoItem);
}

std::unique_ptr<UndoItem> popTop(ItemStack& stack)
{
    std::unique_ptr<UndoItem> top = std::move(stack.back());
    stack.pop_back();
    return top;
}

void clearFlags(UndoItem& item)
{
    item.forEachNewestFirst(0, [](UndoableOperation& operation) { operation.clearFlags(); });
}

/// Sets a flag for the time of a call, and puts it back as it was.
class Setting
{
public:
    explicit Setting(bool& flag) : flag_(flag), former_(std::exchange(flag, true)) {}
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;
    ~Setting() { flag_ = former_; }

private:
    bool& flag_;
    bool former_;
};

} // namespace

// --- Construction ---

UndoManager::UndoManager(DataInterface* nextLayer, CoreManager& core)
    : ForwardingLayer(nextLayer), core_(core), current_(new UndoItem)
{
    rollbackPoints_.reserve(kReservedRollbackPoints);
}

UndoManager::~UndoManager()
{
    clearUndoHistory();
    dropOperations(*current_);
}

// --- Recording ---

/// Every edit of this layer goes the same way: what its inverse needs is read, the edit is forwarded, and recorded when
/// it succeeded.
/// @param prepare   reads into the operation. @return false when memory is out; the edit is then refused.
/// @param edit      forwards the edit.
/// @param complete  adds to the operation what only the edit's success brings.
template <class Operation, class Prepare, class Edit, class Complete>
Status UndoManager::record(Operation* operation, Prepare prepare, Edit edit, Complete complete)
{
    if (operation == nullptr)
        return Status::kFailure;
    const Status status = prepare(*operation) ? edit() : Status::kFailure;
    if (status != Status::kSuccess)
    {
        operation->release();
        return status;
    }
    complete(*operation);
    current_->add(operation);
    return status;
}

template <class Operation, class Edit>
Status UndoManager::record(Operation* operation, Edit edit)
{
    return record(
        operation, [](Operation&) { return true; }, edit, [](Operation&) {});
}

/// Values that need no record: not undoable ones, and those of a node that goes away when this item is undone.
bool UndoManager::isExempt(const Element& element)
{
    return element.hasMetaDataFlag(ElementMetaDataFlag::kNotUndoable) ||
           element.getNode()->hasFlag(NodeFlag::kCreatedInItem);
}

// --- Nodes ---

Status UndoManager::db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode)
{
    Node* created = nullptr;
    const Status status = record(
        current_->make<CreateNodeOperation>(0), [](CreateNodeOperation&) { return true; },
        [&] { return ForwardingLayer::db_createNode(typeId, name, parent, next, &created); },
        [&](CreateNodeOperation& operation) { operation.setNode(created); });
    if (outNode != nullptr && status == Status::kSuccess)
        *outNode = created;
    return status;
}

Status UndoManager::db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name,
                                         Node* parent, Node* next, bool legacy, Node** outNode)
{
    Node* created = nullptr;
    const Status status = record(
        current_->make<CreateNodeOperation>(0), [](CreateNodeOperation&) { return true; },
        [&] { return ForwardingLayer::db_createUnknownNode(typeName, module, name, parent, next, legacy, &created); },
        [&](CreateNodeOperation& operation) { operation.setNode(created); });
    if (outNode != nullptr && status == Status::kSuccess)
        *outNode = created;
    return status;
}

/// The node is archived before its destruction is forwarded, so that the core does not take it for garbage.
Status UndoManager::db_destroyLeafNode(Node* node)
{
    if (node == nullptr || node->isDestroyed()) // refused below; one that undo holds keeps its marks
        return ForwardingLayer::db_destroyLeafNode(node);
    const Status status = record(
        current_->make<DestroyNodeOperation>(0, *node),
        [&](DestroyNodeOperation&) { return UndoAccess::archiveNode(core_, *node); },
        [&] { return ForwardingLayer::db_destroyLeafNode(node); }, [](DestroyNodeOperation&) {});
    if (status != Status::kSuccess)
        UndoAccess::cancelArchiveNode(core_, *node);
    return status;
}

Status UndoManager::db_renameNode(Node* node, const wchar_t* name)
{
    if (node == nullptr)
        return ForwardingLayer::db_renameNode(node, name);
    const wchar_t* const oldName = current_->copyText(node->getName());
    return record(oldName != nullptr ? current_->make<RenameNodeOperation>(0, *node, oldName) : nullptr,
                  [&] { return ForwardingLayer::db_renameNode(node, name); });
}

Status UndoManager::db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name)
{
    if (node == nullptr)
        return ForwardingLayer::db_reparentNode(node, newParent, next, name);
    const wchar_t* const oldName = current_->copyText(node->getName());
    return record(oldName != nullptr ? current_->make<ReparentNodeOperation>(0, *node, oldName) : nullptr,
                  [&] { return ForwardingLayer::db_reparentNode(node, newParent, next, name); });
}

Status UndoManager::db_reorderNode(Node* node, Node* next)
{
    if (node == nullptr)
        return ForwardingLayer::db_reorderNode(node, next);
    return record(current_->make<ReorderNodeOperation>(0, *node),
                  [&] { return ForwardingLayer::db_reorderNode(node, next); });
}

// --- Dynamic elements ---

Status UndoManager::db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                            Element* next, Element** outElement)
{
    Element* created = nullptr;
    const Status status = record(
        current_->make<CreateElementOperation>(0), [](CreateElementOperation&) { return true; },
        [&] { return ForwardingLayer::db_createDynamicElement(definition, name, node, next, &created); },
        [&](CreateElementOperation& operation) { operation.setElement(created); });
    if (outElement != nullptr && status == Status::kSuccess)
        *outElement = created;
    return status;
}

Status UndoManager::db_destroyDynamicElement(Element* element)
{
    if (element == nullptr || !element->isDynamic() || element->isDestroyed()) // refused below
        return ForwardingLayer::db_destroyDynamicElement(element);
    const Status status = record(
        current_->make<DestroyElementOperation>(0, *element),
        [&](DestroyElementOperation&) { return UndoAccess::archiveElement(core_, *element); },
        [&] { return ForwardingLayer::db_destroyDynamicElement(element); }, [](DestroyElementOperation&) {});
    if (status != Status::kSuccess)
        UndoAccess::cancelArchiveElement(core_, *element);
    return status;
}

Status UndoManager::db_renameDynamicElement(Element* element, const wchar_t* name)
{
    if (element == nullptr)
        return ForwardingLayer::db_renameDynamicElement(element, name);
    const wchar_t* const oldName = current_->copyText(element->getName());
    return record(oldName != nullptr ? current_->make<RenameElementOperation>(0, *element, oldName) : nullptr,
                  [&] { return ForwardingLayer::db_renameDynamicElement(element, name); });
}

// --- Arrays and references ---

Status UndoManager::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    if (array == nullptr || !array->isAttributeArray() || array->getSize() == size)
        return ForwardingLayer::db_resizeAttributeArray(array, size);
    return record(
        current_->make<ResizeOperation>(0, *array),
        [&](ResizeOperation& operation) { return operation.save(*current_, size); },
        [&] { return ForwardingLayer::db_resizeAttributeArray(array, size); }, [](ResizeOperation&) {});
}

Status UndoManager::db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput)
{
    if (referencer == nullptr)
        return ForwardingLayer::db_createReference(referenced, referencer, singleOutput);
    return record(current_->make<CreateReferenceOperation>(0, *referencer),
                  [&] { return ForwardingLayer::db_createReference(referenced, referencer, singleOutput); });
}

Status UndoManager::db_destroyReference(Attribute* referencer)
{
    if (referencer == nullptr)
        return ForwardingLayer::db_destroyReference(referencer);
    return record(current_->make<DestroyReferenceOperation>(0, *referencer),
                  [&] { return ForwardingLayer::db_destroyReference(referencer); });
}

// --- Values: a lock changes nothing yet, so the old value is read when the lock has succeeded ---

Status UndoManager::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    const Status status = ForwardingLayer::db_lockAttribute(attribute, outValue);
    if (status != Status::kSuccess || attribute->hasFlag(ElementFlag::kRecordedInItem) || isExempt(*attribute))
        return status;
    auto* const operation = current_->make<WriteOperation>(0, *attribute);
    if (operation != nullptr && operation->save(*current_))
    {
        current_->add(operation);
        return status;
    }
    if (operation != nullptr)
        operation->release();
    ForwardingLayer::db_unlockAttribute(attribute);
    return Status::kFailure;
}

Status UndoManager::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    const Status status = ForwardingLayer::db_lockAttributeArray(array, outValues);
    if (status != Status::kSuccess || isExempt(*array))
        return status;
    auto* const operation = current_->make<WriteArrayOperation>(0, *array);
    if (operation != nullptr && operation->save(*current_))
    {
        current_->add(operation);
        return status;
    }
    if (operation != nullptr)
        operation->release();
    ForwardingLayer::db_unlockAttributeArray(array);
    return Status::kFailure;
}

// --- Units of work ---

Status UndoManager::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    if (core_.isLockOutstanding()) // refused below, and the item stays open
        return ForwardingLayer::db_commit(description, file, line);
    const Setting busy(busy_);
    if (!current_->isEmpty() && !closeItem(description))
        return Status::kFailure;
    rollbackPoints_.clear();
    const Status status = ForwardingLayer::db_commit(description, file, line);
    applyLimit();
    return status;
}

/// Moves the open item to the undo stack. @return false, changing nothing, when memory is out.
bool UndoManager::closeItem(const wchar_t* description)
{
    std::unique_ptr<UndoItem> next = makeItem();
    const bool prepared = next != nullptr && succeeds([&] {
                              current_->description = description;
                              undoStack_.emplace_back(); // last: it is the place that the item takes
                          });
    if (!prepared)
        return false;
    clearFlags(*current_);
    undoStack_.back() = std::exchange(current_, std::move(next));
    ++revision_;
    dropStack(redoStack_, &UndoObserver::onRedoStackPopped);
    observers_.notify(&UndoObserver::onUndoStackPushed, this);
    return true;
}

Status UndoManager::db_clear()
{
    if (core_.isLockOutstanding() || isReplaying_) // refused below, and the history stays
        return isReplaying_ ? Status::kFailure : ForwardingLayer::db_clear();
    clearFlags(*current_);
    dropOperations(*current_);
    current_->truncate(0);
    clearUndoHistory();
    rollbackPoints_.clear();
    return ForwardingLayer::db_clear();
}

// --- Undo and redo ---

Status UndoManager::undo()
{
    return replayTop(undoStack_, redoStack_, -1);
}

Status UndoManager::redo()
{
    return replayTop(redoStack_, undoStack_, 1);
}

bool UndoManager::canReplay() const
{
    return !busy_ && !core_.isLockOutstanding();
}

/// Takes back the top item of one stack; the edits that do so are recorded, and their item goes to the other stack.
Status UndoManager::replayTop(ItemStack& from, ItemStack& to, int revisionStep)
{
    if (from.empty() || !current_->isEmpty() || !canReplay())
        return Status::kFailure;
    std::unique_ptr<UndoItem> next = makeItem();
    const bool prepared = next != nullptr && succeeds([&] {
                              current_->description = from.back()->description;
                              to.emplace_back(); // last: it is the place that the recorded item takes
                          });
    if (!prepared)
        return Status::kFailure;

    const Setting busy(busy_);
    const std::unique_ptr<UndoItem> replayed = popTop(from);
    replayOperations(*replayed, 0, *this, current_.get());
    clearFlags(*current_);
    to.back() = std::exchange(current_, std::move(next));
    revision_ += revisionStep;

    const bool isUndo = &from == &undoStack_;
    observers_.notify(isUndo ? &UndoObserver::onUndoStackPopped : &UndoObserver::onRedoStackPopped, this);
    observers_.notify(isUndo ? &UndoObserver::onRedoStackPushed : &UndoObserver::onUndoStackPushed, this);
    ForwardingLayer::db_commit(isUndo ? L"undo" : L"redo", kSourceFile, isUndo ? kUndoLine : kRedoLine);
    applyLimit();
    return Status::kSuccess;
}

/// Takes back the operations from the newest on, down to but without the one at index @p downTo. One that fails is
/// logged, and the others are taken back all the same.
void UndoManager::replayOperations(UndoItem& item, unsigned int downTo, DataInterface& target, UndoItem* recorder)
{
    const Setting replaying(isReplaying_);
    lastReplayWasComplete_ = true;
    const ReplayContext context{target, core_, recorder};
    item.forEachNewestFirst(downTo, [&](UndoableOperation& operation) {
        if (!operation.undo(context))
        {
            lastReplayWasComplete_ = false;
            logError(L"Failed to take back %s", operation.name());
        }
        operation.clearFlags();
    });
}

// --- Rollback ---

unsigned int UndoManager::createRollbackPoint()
{
    const auto point = static_cast<unsigned int>(rollbackPoints_.size());
    if (!reserveOneMore(rollbackPoints_))
        return kNoRollbackPoint;
    rollbackPoints_.push_back(current_->count());
    return point;
}

Status UndoManager::rollback(unsigned int point)
{
    if (current_->isEmpty() || !canReplay())
        return Status::kFailure;
    if (point != 0 && point >= rollbackPoints_.size())
    {
        logError(L"Failed to rollback. Invalid rollback point.");
        return Status::kFailure;
    }
    const unsigned int target = point < rollbackPoints_.size() ? rollbackPoints_[point] : 0;
    if (target > current_->count())
    {
        logError(L"Internal error in UndoManager::rollback()");
        return Status::kFailure;
    }
    const Setting busy(busy_);
    replayOperations(*current_, target, *db_getNextInterface(), nullptr);
    current_->truncate(target);
    if (target == 0)
    {
        if (std::unique_ptr<UndoItem> fresh = makeItem()) // gives the heap back; without memory the emptied one serves
            current_ = std::move(fresh);
        rollbackPoints_.clear();
    }
    ForwardingLayer::db_commit(L"rollback", kSourceFile, kRollbackLine);
    return Status::kSuccess;
}

// --- The stacks ---

kqx::String UndoManager::getUndoDescription(int index) const
{
    return descriptionAt(undoStack_, index);
}

kqx::String UndoManager::getRedoDescription(int index) const
{
    return descriptionAt(redoStack_, index);
}

unsigned int UndoManager::getNumUndoOperations(unsigned int index) const
{
    const UndoItem* const item = itemAt(undoStack_, index);
    return item != nullptr ? item->count() : 0;
}

unsigned int UndoManager::getNumRedoOperations(unsigned int index) const
{
    const UndoItem* const item = itemAt(redoStack_, index);
    return item != nullptr ? item->count() : 0;
}

std::size_t UndoManager::getUndoMemoryInUse(unsigned int index) const
{
    const UndoItem* const item = itemAt(undoStack_, index);
    return item != nullptr ? item->memoryInUse() : 0;
}

std::size_t UndoManager::getRedoMemoryInUse(unsigned int index) const
{
    const UndoItem* const item = itemAt(redoStack_, index);
    return item != nullptr ? item->memoryInUse() : 0;
}

void UndoManager::setMaxUndoItems(int limit)
{
    limit_ = limit;
    applyLimit();
}

void UndoManager::applyLimit()
{
    if (limit_ < 0)
        return;
    while (undoStack_.size() > static_cast<std::size_t>(limit_))
    {
        dropOperations(*undoStack_.front());
        undoStack_.pop_front();
        observers_.notify(&UndoObserver::onUndoStackPoppedFront, this);
    }
}

void UndoManager::clearUndoHistory()
{
    dropStack(undoStack_, &UndoObserver::onUndoStackPopped);
    dropStack(redoStack_, &UndoObserver::onRedoStackPopped);
}

void UndoManager::dropStack(ItemStack& stack, void (UndoObserver::*popped)(UndoManager*))
{
    while (!stack.empty())
    {
        dropOperations(*stack.back());
        stack.pop_back();
        observers_.notify(popped, this);
    }
}

/// Gives up what an item's operations hold, because nobody will replay them.
void UndoManager::dropOperations(UndoItem& item)
{
    item.forEachNewestFirst(0, [this](UndoableOperation& operation) { operation.discard(core_); });
}

} // namespace db2
