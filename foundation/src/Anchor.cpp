#include <kqx/Anchor.h>

namespace kqx {

void AnchorHandleBase::set(const Anchor* anchor) noexcept
{
    if (anchor == anchor_)
        return;
    detach();
    attach(anchor);
}

/// The handle must be in no list.
void AnchorHandleBase::attach(const Anchor* anchor) noexcept
{
    if (anchor == nullptr)
        return;
    anchor_ = anchor;
    next_ = anchor->firstHandle_;
    if (next_ != nullptr)
        next_->link_ = &next_;
    link_ = &anchor->firstHandle_;
    anchor->firstHandle_ = this;
}

void AnchorHandleBase::detach() noexcept
{
    if (anchor_ == nullptr)
        return;
    *link_ = next_;
    if (next_ != nullptr)
        next_->link_ = link_;
    anchor_ = nullptr;
    next_ = nullptr;
    link_ = nullptr;
}

void Anchor::clearHandles() noexcept
{
    while (firstHandle_ != nullptr)
        firstHandle_->detach();
}

} // namespace kqx
