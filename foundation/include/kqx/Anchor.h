#pragma once

#include <kqtl/Export.h>

#include <type_traits>

namespace kqx {

class Anchor;

/// The untyped half of AnchorHandle: an entry in its anchor's list. Not for direct use.
class KQ_API AnchorHandleBase
{
protected:
    explicit AnchorHandleBase(const Anchor* anchor) noexcept { attach(anchor); }
    AnchorHandleBase(const AnchorHandleBase& other) noexcept { attach(other.anchor_); }
    ~AnchorHandleBase() { detach(); }

    AnchorHandleBase& operator=(const AnchorHandleBase& other) noexcept
    {
        set(other.anchor_);
        return *this;
    }

    [[nodiscard]] const Anchor* anchor() const noexcept { return anchor_; }

    void set(const Anchor* anchor) noexcept;

private:
    friend class Anchor;

    void attach(const Anchor* anchor) noexcept;
    void detach() noexcept;

    const Anchor* anchor_ = nullptr;    ///< null exactly when the handle is in no list
    AnchorHandleBase* next_ = nullptr;  ///< in the anchor's list
    AnchorHandleBase** link_ = nullptr; ///< what points here: the anchor's head or the handle before
};

/// Base of objects that hosts keep weak handles to: a handle knows when its object is gone.
/// One pointer wide, without virtual functions: the head of a list that runs through the handles themselves, so a
/// handle costs no allocation. Handles stay with the object at its address: copying or assigning an object copies none.
/// Threads: an object and its handles belong to one thread.
class KQ_API Anchor
{
public:
    Anchor() noexcept = default;
    Anchor(const Anchor&) noexcept {}
    Anchor& operator=(const Anchor&) noexcept { return *this; }
    ~Anchor() { clearHandles(); }

    [[nodiscard]] bool hasHandles() const noexcept { return firstHandle_ != nullptr; }

    /// Makes every handle to this object null. Costs a few instructions a handle.
    void clearHandles() noexcept;

private:
    friend class AnchorHandleBase;

    mutable AnchorHandleBase* firstHandle_ = nullptr; ///< not owned; mutable: constant objects have handles too
};

static_assert(sizeof(Anchor) == sizeof(void*), "every node carries one");

/// A weak pointer to an object that derives from Anchor: null once the object is destroyed or cleared its handles.
/// T may be constant, and incomplete where only a handle to it is declared. Copy, assignment and destruction cost a few
/// instructions. Threads: those of the object.
template <class T>
class AnchorHandle : private AnchorHandleBase
{
public:
    AnchorHandle() noexcept : AnchorHandleBase(nullptr) {}

    /// @param object  null gives a null handle.
    AnchorHandle(T* object) noexcept : AnchorHandleBase(toAnchor(object)) {}

    AnchorHandle(const AnchorHandle&) noexcept = default;
    AnchorHandle& operator=(const AnchorHandle&) noexcept = default;

    /// The source becomes null.
    AnchorHandle(AnchorHandle&& other) noexcept : AnchorHandleBase(other) { other.reset(); }

    AnchorHandle& operator=(AnchorHandle&& other) noexcept
    {
        if (this != &other)
        {
            set(other.anchor());
            other.reset();
        }
        return *this;
    }

    ~AnchorHandle() = default;

    /// The object; null when there is none any more.
    [[nodiscard]] T* get() const noexcept
    {
        // Constant in the list for the sake of handles to constant objects; this handle was made from a T*.
        return static_cast<T*>(const_cast<Anchor*>(anchor()));
    }

    /// Makes the handle null.
    void reset() noexcept { set(nullptr); }

    explicit operator bool() const noexcept { return anchor() != nullptr; }

private:
    [[nodiscard]] static const Anchor* toAnchor(T* object) noexcept
    {
        static_assert(std::is_base_of_v<Anchor, T>, "only an Anchor knows its handles");
        return object;
    }
};

} // namespace kqx
