#pragma once

#include <kqtl/Allocator.h>
#include <kqtl/Export.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace kqtl {

/// A growable vector of plain values that carries its allocator: the working storage of the libraries. Names and
/// meanings are those of std::vector; elements move as raw bytes and are never destroyed one by one.
/// No storage until the first element; the capacity stays until the vector is destroyed, assigned or moved from.
/// Failures: std::bad_alloc when the allocator has no memory, std::length_error for a size that cannot be represented;
/// the vector is unchanged in both cases. Arguments may be elements of the vector itself.
/// Cost: as std::vector, growth doubles. Threads: none of its own, like any value.
template <class T>
class pod_vector
{
    static_assert(std::is_trivially_copyable_v<T>, "pod_vector moves its elements as raw bytes");

public:
    using value_type = T;
    using size_type = std::size_t;
    using iterator = T*;
    using const_iterator = const T*;

    // --- Construction ---

    /// @param allocator  not owned, and alive for as long as this vector and every copy of it; null for the default.
    explicit pod_vector(Allocator* allocator = KQTLGetDefaultAllocator())
        : allocator_(allocator != nullptr ? allocator : KQTLGetDefaultAllocator())
    {
    }

    /// Copies the elements into memory of the source's allocator.
    pod_vector(const pod_vector& other) : allocator_(other.allocator_) { append(other.begin(), other.end()); }

    /// Takes the elements, the memory and the allocator; the source is left empty and keeps its allocator.
    pod_vector(pod_vector&& other) noexcept
        : allocator_(other.allocator_), data_(std::exchange(other.data_, nullptr)),
          size_(std::exchange(other.size_, 0)), capacity_(std::exchange(other.capacity_, 0))
    {
    }

    /// Takes over elements and allocator as copy construction does.
    pod_vector& operator=(const pod_vector& other)
    {
        if (this != &other)
            pod_vector(other).swap(*this);
        return *this;
    }

    /// Takes over memory and allocator as move construction does; the source is left empty.
    pod_vector& operator=(pod_vector&& other) noexcept
    {
        pod_vector(std::move(other)).swap(*this);
        return *this;
    }

    ~pod_vector() { release(data_); }

    /// Never null.
    [[nodiscard]] Allocator* getAllocator() const noexcept { return allocator_; }

    // --- Size ---

    [[nodiscard]] size_type size() const noexcept { return size_; }
    [[nodiscard]] size_type capacity() const noexcept { return capacity_; }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
    [[nodiscard]] static constexpr size_type max_size() noexcept { return PTRDIFF_MAX / sizeof(T); }

    /// Makes room for @p capacity elements in all, exactly; a smaller number does nothing.
    void reserve(size_type capacity)
    {
        if (capacity <= capacity_)
            return;
        if (capacity > max_size())
            throw std::length_error("kqtl::pod_vector");
        T* const grown = allocateElements(capacity);
        copyElements(grown, data_, size_);
        release(std::exchange(data_, grown));
        capacity_ = capacity;
    }

    /// Cuts the vector, or appends value-initialised elements: zero for numbers and pointers.
    void resize(size_type size)
    {
        if (size > size_)
        {
            makeRoomFor(size - size_);
            std::uninitialized_value_construct(data_ + size_, data_ + size);
        }
        size_ = size;
    }

    /// Cuts the vector, or appends copies of @p fill.
    void resize(size_type size, const T& fill)
    {
        if (size > size_)
        {
            const T value = fill; // may stand in the block that growth frees
            makeRoomFor(size - size_);
            std::uninitialized_fill(data_ + size_, data_ + size, value);
        }
        size_ = size;
    }

    /// Removes all elements and keeps the capacity.
    void clear() noexcept { size_ = 0; }

    // --- Access: indices and iterators must be in range ---

    /// Null while the vector has no storage.
    [[nodiscard]] T* data() noexcept { return data_; }
    [[nodiscard]] const T* data() const noexcept { return data_; }

    [[nodiscard]] T& operator[](size_type index) noexcept
    {
        assert(index < size_);
        return data_[index];
    }

    [[nodiscard]] const T& operator[](size_type index) const noexcept
    {
        assert(index < size_);
        return data_[index];
    }

    [[nodiscard]] T& front() noexcept { return (*this)[0]; }
    [[nodiscard]] const T& front() const noexcept { return (*this)[0]; }
    [[nodiscard]] T& back() noexcept { return (*this)[size_ - 1]; }
    [[nodiscard]] const T& back() const noexcept { return (*this)[size_ - 1]; }

    [[nodiscard]] iterator begin() noexcept { return data_; }
    [[nodiscard]] const_iterator begin() const noexcept { return data_; }
    [[nodiscard]] iterator end() noexcept { return data_ + size_; }
    [[nodiscard]] const_iterator end() const noexcept { return data_ + size_; }

    // --- Edits ---

    void push_back(const T& value)
    {
        if (size_ < capacity_)
        {
            ::new (static_cast<void*>(data_ + size_)) T(value);
        }
        else
        {
            const T copy = value; // may stand in the block that growth frees
            makeRoomFor(1);
            ::new (static_cast<void*>(data_ + size_)) T(copy);
        }
        ++size_;
    }

    /// The vector must not be empty.
    void pop_back() noexcept
    {
        assert(size_ > 0);
        --size_;
    }

    /// @return the new element.
    iterator insert(const_iterator position, const T& value) { return insert(position, size_type{1}, value); }

    /// @return the first new element, or @p position when @p count is 0.
    iterator insert(const_iterator position, size_type count, const T& value)
    {
        const size_type index = indexOf(position);
        const T copy = value; // may stand where the gap opens
        makeRoomFor(count);
        T* const gap = data_ + index;
        moveElements(gap + count, gap, size_ - index);
        std::uninitialized_fill_n(gap, count, copy);
        size_ += count;
        return gap;
    }

    /// Inserts a range, which may be one of this vector.
    /// @return the first new element, or @p position when the range is empty.
    template <std::forward_iterator Iterator>
    iterator insert(const_iterator position, Iterator first, Iterator last)
    {
        const size_type index = indexOf(position);
        const size_type oldSize = size_;
        // Appended first and turned into place, so that a range of this vector is read before it moves.
        append(first, last);
        std::rotate(data_ + index, data_ + oldSize, data_ + size_);
        return data_ + index;
    }

    /// @return the element behind the erased one, or end().
    iterator erase(const_iterator position)
    {
        assert(position != end());
        return erase(position, position + 1);
    }

    /// @return the element behind the erased ones, or end().
    iterator erase(const_iterator first, const_iterator last)
    {
        const size_type index = indexOf(first);
        const size_type count = static_cast<size_type>(last - first);
        assert(count <= size_ - index);
        T* const gap = data_ + index;
        moveElements(gap, gap + count, size_ - index - count);
        size_ -= count;
        return gap;
    }

    /// Exchanges elements, memory and allocators.
    void swap(pod_vector& other) noexcept
    {
        std::swap(allocator_, other.allocator_);
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

private:
    [[nodiscard]] size_type indexOf(const_iterator position) const noexcept
    {
        const size_type index = static_cast<size_type>(position - data_);
        assert(index <= size_);
        return index;
    }

    // The two copies take null with a count of 0, which the library functions do not.
    static void copyElements(T* to, const T* from, size_type count) noexcept
    {
        if (count > 0)
            std::memcpy(static_cast<void*>(to), from, count * sizeof(T));
    }

    static void moveElements(T* to, const T* from, size_type count) noexcept
    {
        if (count > 0)
            std::memmove(static_cast<void*>(to), from, count * sizeof(T));
    }

    [[nodiscard]] T* allocateElements(size_type count)
    {
        void* const block = allocator_->allocate(count * sizeof(T), alignof(T));
        if (block == nullptr)
            throw std::bad_alloc();
        return static_cast<T*>(block);
    }

    void release(T* block) noexcept
    {
        if (block != nullptr)
            allocator_->free(block);
    }

    [[nodiscard]] size_type grownCapacity(size_type extra) const
    {
        if (extra > max_size() - size_)
            throw std::length_error("kqtl::pod_vector");
        const size_type doubled = capacity_ <= max_size() / 2 ? capacity_ * 2 : max_size();
        return std::max(size_ + extra, doubled);
    }

    void makeRoomFor(size_type extra)
    {
        if (extra > capacity_ - size_)
            grow(extra);
    }

    KQ_NOINLINE void grow(size_type extra) { reserve(grownCapacity(extra)); }

    template <class Iterator>
    void append(Iterator first, Iterator last)
    {
        const size_type count = static_cast<size_type>(std::distance(first, last));
        if (count <= capacity_ - size_)
        {
            std::uninitialized_copy(first, last, end());
            size_ += count;
            return;
        }
        const size_type capacity = grownCapacity(count);
        T* const grown = allocateElements(capacity);
        copyElements(grown, data_, size_);
        std::uninitialized_copy(first, last, grown + size_); // before the old block goes: it may hold the range
        release(std::exchange(data_, grown));
        size_ += count;
        capacity_ = capacity;
    }

    Allocator* allocator_;   ///< never null; not owned
    T* data_ = nullptr;      ///< null exactly when capacity_ is 0
    size_type size_ = 0;     ///< at most capacity_
    size_type capacity_ = 0; ///< in elements
};

} // namespace kqtl
