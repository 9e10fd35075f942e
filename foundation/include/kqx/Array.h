#pragma once

#include <kqtl/Alloc.h>
#include <kqx/Colour.h>
#include <kqx/Matrix.h>
#include <kqx/Quat.h>
#include <kqx/String.h>
#include <kqx/Vector3.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace kqx {

/// The array value types of the database: contiguous elements at their own alignment, with the names and meanings of
/// std::vector. Array<bool> is an ordinary one: a byte an element, and data() is a bool*.
///
/// One pointer wide, because the database holds very many and most are empty: null without elements, otherwise a heap
/// block that starts with a header, the elements behind it. An empty array owns no heap memory: one that becomes empty,
/// in whatever way, frees its block, which std::vector would keep; only reserve() takes memory for elements to come.
/// Trivially relocatable: it may be moved as raw bytes if the old place is then forgotten.
///
/// Failures, in every member that makes the array larger: std::length_error beyond max_size(), std::bad_alloc when
/// memory is out; the array is unchanged in both cases. Arguments may be elements of the array itself.
/// Cost: as std::vector; construction and assignment allocate exactly what they need, growth doubles.
/// Threads: like any value.
template <class T>
class Array
{
    static_assert(std::is_nothrow_move_constructible_v<T> && std::is_nothrow_move_assignable_v<T>,
                  "growing must not fail halfway");

public:
    using value_type = T;
    using size_type = std::size_t;
    using iterator = T*;
    using const_iterator = const T*;

    // --- Construction ---

    Array() noexcept = default;

    /// @p size value-initialised elements: zero for numbers, zero() or identity() for the math types.
    explicit Array(size_type size) { resize(size); }
    Array(size_type size, const T& fill) { resize(size, fill); }
    Array(std::initializer_list<T> elements) { append(elements.begin(), elements.end()); }

    template <std::forward_iterator Iterator>
    Array(Iterator first, Iterator last)
    {
        append(first, last);
    }

    Array(const Array& other) { append(other.begin(), other.end()); }
    Array(Array&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
    ~Array() { releaseAll(); }

    /// Reuses the block when it is large enough and copying an element cannot fail.
    Array& operator=(const Array& other)
    {
        if (this != &other)
            assign(other.begin(), other.end());
        return *this;
    }

    Array& operator=(Array&& other) noexcept
    {
        Array(std::move(other)).swap(*this);
        return *this;
    }

    Array& operator=(std::initializer_list<T> elements)
    {
        assign(elements.begin(), elements.end());
        return *this;
    }

    // --- Size ---

    [[nodiscard]] size_type size() const noexcept { return block_ != nullptr ? block_->size : 0; }
    [[nodiscard]] size_type capacity() const noexcept { return block_ != nullptr ? block_->capacity : 0; }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] static constexpr size_type max_size() noexcept { return (PTRDIFF_MAX - kHeaderBytes) / sizeof(T); }

    /// Makes room for @p capacity elements in all, exactly; a smaller number does nothing.
    void reserve(size_type capacity)
    {
        if (capacity > this->capacity())
            moveTo(allocate(capacity));
    }

    /// Cuts the array, or appends value-initialised elements.
    void resize(size_type size)
    {
        if (size <= this->size())
            return shrink(size);
        grow(size - this->size(), [](T* first, T* last) { std::uninitialized_value_construct(first, last); });
    }

    /// Cuts the array, or appends copies of @p fill.
    void resize(size_type size, const T& fill)
    {
        if (size <= this->size())
            return shrink(size);
        appendCopies(size - this->size(), fill);
    }

    /// Removes all elements and frees the memory.
    void clear() noexcept { shrink(0); }

    // --- Access: indices and iterators must be in range ---

    /// Null while the array has no memory.
    [[nodiscard]] T* data() noexcept { return block_ != nullptr ? elementsOf(block_) : nullptr; }
    [[nodiscard]] const T* data() const noexcept { return block_ != nullptr ? elementsOf(block_) : nullptr; }

    [[nodiscard]] T& operator[](size_type index) noexcept
    {
        assert(index < size());
        return elementsOf(block_)[index];
    }

    [[nodiscard]] const T& operator[](size_type index) const noexcept
    {
        assert(index < size());
        return elementsOf(block_)[index];
    }

    [[nodiscard]] T& front() noexcept { return (*this)[0]; }
    [[nodiscard]] const T& front() const noexcept { return (*this)[0]; }
    [[nodiscard]] T& back() noexcept { return (*this)[size() - 1]; }
    [[nodiscard]] const T& back() const noexcept { return (*this)[size() - 1]; }

    [[nodiscard]] iterator begin() noexcept { return data(); }
    [[nodiscard]] const_iterator begin() const noexcept { return data(); }
    [[nodiscard]] iterator end() noexcept { return data() + size(); }
    [[nodiscard]] const_iterator end() const noexcept { return data() + size(); }

    // --- Edits ---

    void push_back(const T& value)
    {
        grow(1, [&value](T* first, T*) { ::new (static_cast<void*>(first)) T(value); });
    }

    void push_back(T&& value)
    {
        grow(1, [&value](T* first, T*) { ::new (static_cast<void*>(first)) T(std::move(value)); });
    }

    /// The array must not be empty.
    void pop_back() noexcept
    {
        assert(!empty());
        shrink(size() - 1);
    }

    /// @return the new element.
    iterator insert(const_iterator position, const T& value) { return insert(position, size_type{1}, value); }

    /// @return the first new element, or @p position when @p count is 0.
    iterator insert(const_iterator position, size_type count, const T& value)
    {
        return insertAppended(position, [&] { appendCopies(count, value); });
    }

    /// Inserts a range, which may be one of this array.
    /// @return the first new element, or @p position when the range is empty.
    template <std::forward_iterator Iterator>
    iterator insert(const_iterator position, Iterator first, Iterator last)
    {
        return insertAppended(position, [&] { append(first, last); });
    }

    iterator insert(const_iterator position, std::initializer_list<T> elements)
    {
        return insert(position, elements.begin(), elements.end());
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
        assert(count <= size() - index);
        if (count > 0) // a move onto itself would empty a String
        {
            // A loop: of std::move g++ 12 believes that it moves a negative number of bytes, and warns in host code.
            for (size_type i = index; i + count < size(); ++i)
                begin()[i] = std::move(begin()[i + count]);
            shrink(size() - count);
        }
        return begin() + index;
    }

    void swap(Array& other) noexcept { std::swap(block_, other.block_); }

    // --- Comparison: sizes first, then element by element, so an array with a NaN in it is unequal to itself ---

    friend bool operator==(const Array& a, const Array& b) noexcept
    {
        return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
    }

private:
    /// Starts the heap block, padded to the elements' alignment.
    struct Header
    {
        size_type size;
        size_type capacity;
    };

    static constexpr std::size_t kAlignment = std::max(alignof(T), alignof(Header));
    static constexpr std::size_t kHeaderBytes = (sizeof(Header) + alignof(T) - 1) / alignof(T) * alignof(T);

    [[nodiscard]] static T* elementsOf(Header* block) noexcept
    {
        return static_cast<T*>(static_cast<void*>(static_cast<char*>(static_cast<void*>(block)) + kHeaderBytes));
    }

    [[nodiscard]] size_type indexOf(const_iterator position) const noexcept
    {
        const size_type index = static_cast<size_type>(position - data());
        assert(index <= size());
        return index;
    }

    /// A block without elements that holds @p capacity of them.
    [[nodiscard]] static Header* allocate(size_type capacity)
    {
        if (capacity > max_size())
            throw std::length_error("kqx::Array");
        void* const block = KQTLAlloc(kHeaderBytes + capacity * sizeof(T), kAlignment);
        if (block == nullptr)
            throw std::bad_alloc();
        return ::new (block) Header{0, capacity};
    }

    /// Destroys all elements and frees the block.
    void releaseAll() noexcept
    {
        std::destroy(begin(), end());
        KQTLFree(block_);
    }

    void shrink(size_type size) noexcept
    {
        if (block_ == nullptr)
            return;
        if (size == 0)
        {
            releaseAll();
            block_ = nullptr;
            return;
        }
        std::destroy(begin() + size, end());
        block_->size = size;
    }

    /// Moves the elements to @p block, which must hold them all and has none, and frees the old block.
    void moveTo(Header* block) noexcept
    {
        const size_type count = size();
        if constexpr (std::is_trivially_copyable_v<T>)
        {
            if (count > 0)
                std::memcpy(static_cast<void*>(elementsOf(block)), data(), count * sizeof(T));
        }
        else
        {
            std::uninitialized_move(begin(), end(), elementsOf(block));
            std::destroy(begin(), end());
        }
        block->size = count;
        KQTLFree(std::exchange(block_, block));
    }

    [[nodiscard]] size_type grownCapacity(size_type extra) const
    {
        if (extra > max_size() - size())
            throw std::length_error("kqx::Array");
        const size_type doubled = capacity() <= max_size() / 2 ? capacity() * 2 : max_size();
        return std::max(size() + extra, doubled);
    }

    /// Appends @p extra elements that @p construct makes between two addresses. They are made before the old elements
    /// move, because they may be copies of them, and before anything else changes, because making them may fail.
    template <class Construct>
    void grow(size_type extra, Construct construct)
    {
        if (extra == 0)
            return;
        const size_type count = size();
        if (extra <= capacity() - count)
        {
            construct(end(), end() + extra);
        }
        else
        {
            Header* const block = allocate(grownCapacity(extra));
            try
            {
                construct(elementsOf(block) + count, elementsOf(block) + count + extra);
            }
            catch (...)
            {
                KQTLFree(block);
                throw;
            }
            moveTo(block);
        }
        block_->size = count + extra;
    }

    void appendCopies(size_type count, const T& value)
    {
        grow(count, [&value](T* first, T* last) { std::uninitialized_fill(first, last, value); });
    }

    template <class Iterator>
    void append(Iterator first, Iterator last)
    {
        grow(static_cast<size_type>(std::distance(first, last)),
             [&](T* to, T*) { std::uninitialized_copy(first, last, to); });
    }

    /// Appends by @p appendElements, which may fail or read this array, and then turns the new elements into place.
    template <class Append>
    iterator insertAppended(const_iterator position, Append appendElements)
    {
        const size_type index = indexOf(position);
        const size_type oldSize = size();
        appendElements();
        std::rotate(begin() + index, begin() + oldSize, end());
        return begin() + index;
    }

    template <class Iterator>
    void assign(Iterator first, Iterator last)
    {
        const size_type count = static_cast<size_type>(std::distance(first, last));
        if constexpr (std::is_trivially_copyable_v<T>)
        {
            if (count > 0 && count <= capacity())
            {
                std::copy(first, last, begin());
                block_->size = count;
                return;
            }
        }
        Array(first, last).swap(*this);
    }

    Header* block_ = nullptr; ///< the elements follow it; owned, null when there is none
};

using IntArray = Array<int>;
using BoolArray = Array<bool>;
using ColourArray = Array<Colour>;
using FloatArray = Array<float>;
using DoubleArray = Array<double>;
using StringArray = Array<String>;
using Vector3Array = Array<Vector3>;
using MatrixArray = Array<Matrix>;
using QuatArray = Array<Quat>;
using UIntArray = Array<unsigned int>;
using SizeTArray = Array<std::size_t>;

static_assert(sizeof(IntArray) == sizeof(void*) && sizeof(BoolArray) == sizeof(void*) &&
                  sizeof(StringArray) == sizeof(void*) && sizeof(MatrixArray) == sizeof(void*),
              "values and records count on the size");

} // namespace kqx
