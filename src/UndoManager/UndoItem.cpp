#include "UndoItem.h"

#include "../OutOfMemory.h"

#include <kqtl/Alloc.h>

#include <cstring>
#include <cwchar>

namespace db2 {

UndoItem::~UndoItem()
{
    releaseOperations();
    while (lender_ != nullptr) // one after the other: their chain may be long
        lender_ = std::exchange(lender_->lender_, nullptr);
}

std::unique_ptr<UndoItem> UndoItem::make()
{
    std::unique_ptr<UndoItem> item;
    (void)succeeds([&] { item.reset(new UndoItem); });
    return item;
}

void UndoItem::clearFlags()
{
    if (operations.mayHave(UndoableOperation::kMarks))
        operations.forEachNewestFirst([](UndoableOperation& operation) {
            if (operation.has(UndoableOperation::kMarks))
                operation.clearFlags();
        });
}

void UndoItem::releaseOperations()
{
    if (operations.mayHave(UndoableOperation::kOwns))
        while (UndoableOperation* const operation = operations.takeNewest())
            operation->release();
    operations = OperationList();
}

std::size_t UndoItem::memoryInUse() const
{
    std::size_t bytes = 0;
    for (const UndoItem* item = this; item != nullptr; item = item->lender_.get())
        bytes += item->heap_.bytesInUse();
    return bytes;
}

const wchar_t* UndoItem::copyText(const wchar_t* text)
{
    if (text == nullptr || *text == L'\0')
        return L"";
    const std::size_t bytes = (std::wcslen(text) + 1) * sizeof(wchar_t);
    void* const copy = heap_.alloc(bytes, alignof(wchar_t));
    return copy != nullptr ? static_cast<const wchar_t*>(std::memcpy(copy, text, bytes)) : nullptr;
}

void UndoItem::keepAlive(std::unique_ptr<UndoItem> lender)
{
    std::unique_ptr<UndoItem>* end = &lender->lender_;
    while (*end != nullptr)
        end = &(*end)->lender_;
    *end = std::move(lender_);
    lender_ = std::move(lender);
}

void* UndoItem::operator new(std::size_t bytes)
{
    if (void* const place = KQTLAlloc(bytes, alignof(UndoItem)))
        return place;
    throw std::bad_alloc();
}

void UndoItem::operator delete(void* item) noexcept
{
    KQTLFree(item);
}

} // namespace db2
