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
    kqx::String description;
    if (item != nullptr)
        (void)succeeds([&] { description = item->description; });
    return description;
}

/// @return null when memory is out.
std::unique_ptr<UndoItem> makeItem()
{
    std::unique_ptr<UndoItem> item;
    (void)succeeds([&] { item.reset(new UndoItem); });
    return item;
}

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

std::unique_ptr<UndoItem> popTop(ItemStack& stack)
{
    std::unique_ptr<UndoItem> top = std::move(stack.back());
    stack.pop_back();
    return top;
}

void clearFlags(UndoItem& item)
{
    item.operations.forEachNewestFirst([](UndoableOperation& operation) { operation.clearFlags(); });
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
    clearFlags(*current_);
    dropOperations(*current_);
}

// --- Recording ---

/// Every edit of this layer goes the same way: what its inverse needs is read, the edit is forwarded, and recorded when
/// it succeeded.
/// @param make  makes the operation in the item that it is given. @return null when memory is out; the edit is then
///              refused.
/// @param edit  forwards the edit, and adds to the operation what only the edit's success brings.
template <class Make, class Edit>
Status UndoManager::record(Make make, Edit edit)
{
    UndoItem& item = *current_;
    const KQutils::FastHeap::Mark mark = item.mark();
    const unsigned int recorded = item.operations.count();
    auto* const operation = make(item);
    const Status status = operation != nullptr ? edit(*operation) : Status::kFailure;
    if (status == Status::kSuccess)
    {
        item.operations.add(*operation);
        return status;
    }
    if (operation != nullptr)
        operation->release();
    if (item.operations.count() == recorded) // else a layer further in recorded something meanwhile, behind the mark
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

Status UndoManager::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    ValueHandle value;
    const Status status = ForwardingLayer::db_lockAttribute(attribute, outValue != nullptr ? &value : nullptr);
    if (status != Status::kSuccess)
        return status;
    if (!attribute->hasFlag(ElementFlag::kRecordedInItem) && !isValueExempt(*attribute))
    {
        const Status recorded = record([&](UndoItem& item) { return makeSaved<WriteOperation>(item, *attribute); },
                                       [](WriteOperation& operation) {
                                           operation.setFlags();
                                           return Status::kSuccess;
                                       });
        if (recorded != Status::kSuccess)
        {
            ForwardingLayer::db_unlockAttribute(attribute);
            return recorded;
        }
    }
    *outValue = value;
    return status;
}

Status UndoManager::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    void* values = nullptr;
    const Status status = ForwardingLayer::db_lockAttributeArray(array, outValues != nullptr ? &values : nullptr);
    if (status != Status::kSuccess)
        return status;
    if (!isValueExempt(*array))
    {
        const Status recorded = record([&](UndoItem& item) { return makeSaved<WriteArrayOperation>(item, *array); },
                                       [](WriteArrayOperation&) { return Status::kSuccess; });
        if (recorded != Status::kSuccess)
        {
            ForwardingLayer::db_unlockAttributeArray(array);
            return recorded;
        }
    }
    *outValues = values;
    return status;
}

// --- Units of work ---

Status UndoManager::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    if (core_.isLockOutstanding()) // refused below, and the item stays open
        return ForwardingLayer::db_commit(description, file, line);
    if (isReplaying_)
        return Status::kFailure;
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
    const wchar_t* const text = current_->copyText(description);
    const bool prepared = next != nullptr && text != nullptr &&
                          succeeds([&] { undoStack_.emplace_back(); }); // last: it is the place that the item takes
    if (!prepared)
        return false;
    current_->description = text;
    clearFlags(*current_);
    takeOverRefused(*current_);
    undoStack_.back() = std::exchange(current_, std::move(next));
    ++revision_;
    dropStack(redoStack_, &UndoObserver::onRedoStackPopped);
    observers_.notify(&UndoObserver::onUndoStackPushed, this);
    return true;
}

/// The redo stack is about to go. Objects that an undo could not bring back, and to which older items may lead, become
/// @p item's, as if it had destroyed them: taking it back brings them back.
void UndoManager::takeOverRefused(UndoItem& item)
{
    if (redoStack_.empty())
        return;
    OperationList taken;
    for (auto redone = redoStack_.rbegin(); redone != redoStack_.rend(); ++redone)
    {
        if (dropAllButRefused(**redone, taken))
            item.keepAlive(std::move(*redone)); // its place stays until observers have heard of it
    }
    item.operations.prepend(taken);
}

Status UndoManager::db_clear()
{
    if (core_.isLockOutstanding()) // refused below, and the history stays
        return ForwardingLayer::db_clear();
    if (isReplaying_)
        return Status::kFailure;
    clearFlags(*current_);
    dropOperations(*current_);
    renewCurrent();
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
    const wchar_t* const description = current_->copyText(from.back()->description);
    const bool prepared =
        next != nullptr && description != nullptr && succeeds([&] { to.emplace_back(); }); // the recorded item's place
    if (!prepared)
        return Status::kFailure;

    const Setting busy(busy_);
    std::unique_ptr<UndoItem> replayed = popTop(from);
    bool lends = false;
    replayOperations(*replayed, 0, *this, [&](UndoableOperation& operation, bool isRefused) {
        operation.setRefused(isRefused);
        current_->operations.add(operation);
        lends = true;
    });
    clearFlags(*current_);
    current_->description = description;
    if (lends)
        current_->keepAlive(std::move(replayed));
    to.back() = std::exchange(current_, std::move(next));
    revision_ += revisionStep;

    const bool isUndo = &from == &undoStack_;
    observers_.notify(isUndo ? &UndoObserver::onUndoStackPopped : &UndoObserver::onRedoStackPopped, this);
    observers_.notify(isUndo ? &UndoObserver::onRedoStackPushed : &UndoObserver::onUndoStackPushed, this);
    ForwardingLayer::db_commit(isUndo ? L"undo" : L"redo", kSourceFile, isUndo ? kUndoLine : kRedoLine);
    applyLimit();
    return Status::kSuccess;
}

/// Takes back the operations from the newest on, until only @p downTo are left. One that fails is logged, and the others
/// are taken back all the same.
/// @param keep  called with an operation that holds an object still, and whether that is because its inverse was refused
///              now: not when it was refused by the replay whose item is taken back here.
template <class Keep>
void UndoManager::replayOperations(UndoItem& item, unsigned int downTo, DataInterface& target, Keep keep)
{
    const Setting replaying(isReplaying_);
    lastReplayWasComplete_ = true;
    while (item.operations.count() > downTo)
    {
        UndoableOperation& operation = *item.operations.takeNewest();
        if (operation.isRefused())
        {
            keep(operation, false);
            continue;
        }
        if (!operation.undo(target, core_))
        {
            lastReplayWasComplete_ = false;
            logError(L"Failed to take back %s", operation.name());
        }
        operation.clearFlags();
        if (operation.isHolding())
            keep(operation, true);
        else
            operation.release();
    }
}

// --- Rollback ---

unsigned int UndoManager::createRollbackPoint()
{
    const auto point = static_cast<unsigned int>(rollbackPoints_.size());
    if (!reserveOneMore(rollbackPoints_))
        return kNoRollbackPoint;
    rollbackPoints_.push_back(current_->operations.count());
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
    if (target > current_->operations.count())
    {
        logError(L"Internal error in UndoManager::rollback()");
        return Status::kFailure;
    }
    const Setting busy(busy_);
    OperationList kept;
    replayOperations(*current_, target, *db_getNextInterface(), [&](UndoableOperation& operation, bool) {
        kept.add(operation); // what could not come back stays destroyed in the open item
    });
    while (UndoableOperation* const operation = kept.takeNewest())
        current_->operations.add(*operation);
    if (target == 0)
    {
        if (current_->isEmpty())
            renewCurrent();
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
    return item != nullptr ? item->operations.count() : 0;
}

unsigned int UndoManager::getNumRedoOperations(unsigned int index) const
{
    const UndoItem* const item = itemAt(redoStack_, index);
    return item != nullptr ? item->operations.count() : 0;
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
    if (limit_ < 0 || isReplaying_) // the replay applies it at its end
        return;
    const Setting busy(busy_);
    while (undoStack_.size() > static_cast<std::size_t>(limit_))
    {
        std::unique_ptr<UndoItem> oldest = std::move(undoStack_.front());
        undoStack_.pop_front();
        dropOldest(std::move(oldest));
        observers_.notify(&UndoObserver::onUndoStackPoppedFront, this);
    }
}

/// Objects that a redo could not bring back, and to which what is still to be redone may lead, go to the next redo, which
/// tries again.
void UndoManager::dropOldest(std::unique_ptr<UndoItem> oldest)
{
    OperationList taken;
    if (redoStack_.empty() || redoStack_.back() == nullptr)
    {
        dropOperations(*oldest);
        return;
    }
    UndoItem& nextRedo = *redoStack_.back();
    if (!dropAllButRefused(*oldest, taken))
        return;
    taken.prepend(nextRedo.operations);
    nextRedo.operations = taken;
    nextRedo.keepAlive(std::move(oldest));
}

void UndoManager::clearUndoHistory()
{
    if (isReplaying_)
        return;
    dropStack(undoStack_, &UndoObserver::onUndoStackPopped);
    dropStack(redoStack_, &UndoObserver::onRedoStackPopped);
}

void UndoManager::dropStack(ItemStack& stack, void (UndoObserver::*popped)(UndoManager*))
{
    const Setting busy(busy_);
    while (!stack.empty())
    {
        if (const std::unique_ptr<UndoItem> item = popTop(stack))
            dropOperations(*item);
        observers_.notify(popped, this);
    }
}

/// Ends an item's operations, because nobody will replay them, but for those of objects that could not come back. They
/// are added to @p refused in reverse order, as operations that were not tried yet.
/// @return true when there are any, which live on in the item's heap.
bool UndoManager::dropAllButRefused(UndoItem& item, OperationList& refused)
{
    bool lends = false;
    while (UndoableOperation* const operation = item.operations.takeNewest())
    {
        if (operation->isRefused())
        {
            operation->setRefused(false);
            refused.add(*operation);
            lends = true;
            continue;
        }
        if (operation->isHolding())
            operation->discard(core_);
        operation->release();
    }
    return lends;
}

/// Gives up what an item's operations hold, because nobody will replay them.
void UndoManager::dropOperations(UndoItem& item)
{
    item.operations.forEachNewestFirst([this](UndoableOperation& operation) {
        if (operation.isHolding())
            operation.discard(core_);
    });
}

/// Makes a new open item, which gives the heap of the former one back; without memory that one serves on, emptied.
void UndoManager::renewCurrent()
{
    if (std::unique_ptr<UndoItem> fresh = makeItem())
        current_ = std::move(fresh);
    else
        current_->releaseOperations();
}

} // namespace db2
