#include <kqx/Array.h>

#include "HeapLimit.h"
#include "SequenceEdits.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <list>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using foundationtest::HeapLimit;
using kqx::Array;
using kqx::String;

/// A value of each element type that depends on @p number and differs from the default one.
template <class T>
T makeValue(int number)
{
    if constexpr (std::is_same_v<T, bool>)
        return number % 2 == 1;
    else if constexpr (std::is_same_v<T, String>)
        return String(std::to_wstring(number).c_str());
    else if constexpr (std::is_arithmetic_v<T>)
        return static_cast<T>(number);
    else
    {
        T value;
        *static_cast<float*>(static_cast<void*>(&value)) = static_cast<float>(number);
        return value;
    }
}

/// All that every element type has in common.
template <class T>
class ArrayTest : public ::testing::Test
{
protected:
    /// An array of the values that belong to @p numbers.
    static Array<T> make(std::initializer_list<int> numbers)
    {
        Array<T> array;
        array.reserve(numbers.size());
        for (const int number : numbers)
            array.push_back(makeValue<T>(number));
        return array;
    }

    static T value(int number) { return makeValue<T>(number); }
};

using ElementTypes = ::testing::Types<int, bool, kqx::Colour, float, double, String, kqx::Vector3, kqx::Matrix,
                                      kqx::Quat, unsigned int, std::size_t>;
TYPED_TEST_SUITE(ArrayTest, ElementTypes);

// --- Construction ---

TYPED_TEST(ArrayTest, IsOnePointerWide)
{
    EXPECT_EQ(sizeof(Array<TypeParam>), sizeof(void*));
}

TYPED_TEST(ArrayTest, EmptyOwnsNoHeapMemory)
{
    const HeapLimit heap(0);
    const Array<TypeParam> none;
    const Array<TypeParam> sized(0);
    const Array<TypeParam> filled(0, TypeParam());
    const Array<TypeParam> copy(none);
    for (const Array<TypeParam>* array : {&none, &sized, &filled, &copy})
    {
        EXPECT_TRUE(array->empty());
        EXPECT_EQ(array->size(), 0u);
        EXPECT_EQ(array->capacity(), 0u);
        EXPECT_EQ(array->data(), nullptr);
        EXPECT_EQ(array->begin(), array->end());
    }
    EXPECT_EQ(heap.requests(), 0u);
}

TYPED_TEST(ArrayTest, ElementsStandAtTheirAlignment)
{
    const Array<TypeParam> array(3);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(array.data()) % alignof(TypeParam), 0u);
    EXPECT_EQ(&array[2], array.data() + 2);
}

TYPED_TEST(ArrayTest, AllocatesExactlyWhatTheElementsNeed)
{
    const Array<TypeParam> sized(7);
    EXPECT_EQ(sized.capacity(), 7u);
    const Array<TypeParam> copy(sized);
    EXPECT_EQ(copy.capacity(), 7u);
    const Array<TypeParam> listed{this->value(1), this->value(2), this->value(3)};
    EXPECT_EQ(listed.capacity(), 3u);
}

TYPED_TEST(ArrayTest, NewElementsAreDefaultsOrTheFill)
{
    Array<TypeParam> array(2);
    EXPECT_EQ(array[0], TypeParam());
    EXPECT_EQ(array[1], TypeParam());
    array.resize(3, this->value(1));
    EXPECT_EQ(array[1], TypeParam());
    EXPECT_EQ(array[2], this->value(1));
    array.resize(2);
    array.resize(3); // over the old element
    EXPECT_EQ(array[2], TypeParam());
    const Array<TypeParam> filled(2, this->value(5));
    EXPECT_EQ(filled[0], this->value(5));
    EXPECT_EQ(filled[1], this->value(5));
}

TYPED_TEST(ArrayTest, TakesListsAndRanges)
{
    const TypeParam one = this->value(1);
    const TypeParam two = this->value(2);
    Array<TypeParam> array{one, two};
    EXPECT_EQ(array, this->make({1, 2}));
    array = {two};
    EXPECT_EQ(array, this->make({2}));
    array = {};
    EXPECT_TRUE(array.empty());
    const std::list<TypeParam> list{two, one};
    EXPECT_EQ(Array<TypeParam>(list.begin(), list.end()), this->make({2, 1}));
}

TYPED_TEST(ArrayTest, CopyIsIndependent)
{
    Array<TypeParam> array = this->make({1, 2, 3});
    const Array<TypeParam> copy(array);
    array[1] = this->value(4);
    EXPECT_EQ(copy, this->make({1, 2, 3}));
    Array<TypeParam> assigned = this->make({7});
    assigned = copy;
    assigned[0] = this->value(4);
    EXPECT_EQ(copy, this->make({1, 2, 3}));
    const Array<TypeParam>& self = assigned;
    assigned = self;
    EXPECT_EQ(assigned, this->make({4, 2, 3}));
}

TYPED_TEST(ArrayTest, MovingTakesTheElements)
{
    Array<TypeParam> source = this->make({1, 2});
    const TypeParam* const elements = source.data();
    const HeapLimit heap(0);
    Array<TypeParam> target(std::move(source));
    EXPECT_EQ(target.data(), elements);
    EXPECT_TRUE(source.empty()); // NOLINT: the moved-from state is documented
    Array<TypeParam> assigned;
    assigned = std::move(target);
    EXPECT_EQ(assigned.data(), elements);
    EXPECT_TRUE(target.empty()); // NOLINT
    Array<TypeParam>& self = assigned;
    assigned = std::move(self);
    EXPECT_EQ(assigned.size(), 2u);
}

TYPED_TEST(ArrayTest, MayBeMovedAsRawBytes)
{
    alignas(Array<TypeParam>) unsigned char first[sizeof(Array<TypeParam>)];
    alignas(Array<TypeParam>) unsigned char second[sizeof(Array<TypeParam>)];
    ::new (static_cast<void*>(first)) Array<TypeParam>(this->make({1, 2}));
    std::memcpy(second, first, sizeof(first));
    auto* const array = std::launder(reinterpret_cast<Array<TypeParam>*>(second));
    array->push_back(this->value(3));
    EXPECT_EQ(*array, this->make({1, 2, 3}));
    array->~Array<TypeParam>();
}

// --- Edits ---

TYPED_TEST(ArrayTest, PushAndPopWorkAtTheEnd)
{
    Array<TypeParam> array;
    const TypeParam one = this->value(1);
    array.push_back(one);
    array.push_back(this->value(2));
    EXPECT_EQ(array.front(), one);
    EXPECT_EQ(array.back(), this->value(2));
    array.pop_back();
    EXPECT_EQ(array, this->make({1}));
}

TYPED_TEST(ArrayTest, GrowthAllocatesRarely)
{
    Array<TypeParam> array;
    const TypeParam empty = TypeParam();
    const HeapLimit heap;
    for (int i = 0; i < 10000; ++i)
        array.push_back(empty);
    EXPECT_EQ(array.size(), 10000u);
    EXPECT_LE(heap.requests(), 15u);
}

TYPED_TEST(ArrayTest, BecomingEmptyFreesTheMemory)
{
    const Array<TypeParam> empty;
    for (int way = 0; way < 7; ++way)
    {
        Array<TypeParam> array = this->make({1});
        array.reserve(10);
        switch (way)
        {
        case 0: array.clear(); break;
        case 1: array.resize(0); break;
        case 2: array.resize(0, this->value(1)); break;
        case 3: array = empty; break;
        case 4: array.pop_back(); break;
        case 5: array.erase(array.begin()); break;
        default: array = {}; break;
        }
        EXPECT_TRUE(array.empty()) << way;
        EXPECT_EQ(array.data(), nullptr) << way;
        EXPECT_EQ(array.capacity(), 0u) << way;
    }
}

TYPED_TEST(ArrayTest, ReservedRoomNeedsNoOtherAllocation)
{
    Array<TypeParam> array;
    array.reserve(10);
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(array.capacity(), 10u);
    array.reserve(5);
    EXPECT_EQ(array.capacity(), 10u);
    const TypeParam one = TypeParam();
    const HeapLimit heap(0);
    for (int i = 0; i < 10; ++i)
        array.push_back(one);
    EXPECT_EQ(array.size(), 10u);
}

TYPED_TEST(ArrayTest, ReservedEmptyArrayCopiesWithoutMemory)
{
    Array<TypeParam> array;
    array.reserve(10);
    const HeapLimit heap(0);
    const Array<TypeParam> copy(array);
    EXPECT_EQ(copy.data(), nullptr);
    EXPECT_TRUE(array == copy);
}

TYPED_TEST(ArrayTest, InsertOpensAGap)
{
    Array<TypeParam> array = this->make({1, 2});
    auto at = array.insert(array.begin(), this->value(0));
    EXPECT_EQ(at, array.begin());
    at = array.insert(array.end(), this->value(9));
    EXPECT_EQ(at, array.end() - 1);
    EXPECT_EQ(array, this->make({0, 1, 2, 9}));
    at = array.insert(array.begin() + 2, 2, this->value(5));
    EXPECT_EQ(at, array.begin() + 2);
    EXPECT_EQ(array, this->make({0, 1, 5, 5, 2, 9}));
    const std::list<TypeParam> list{this->value(7), this->value(8)};
    at = array.insert(array.begin() + 1, list.begin(), list.end());
    EXPECT_EQ(at, array.begin() + 1);
    EXPECT_EQ(array, this->make({0, 7, 8, 1, 5, 5, 2, 9}));
    at = array.insert(array.end(), {this->value(3)});
    EXPECT_EQ(at, array.end() - 1);
    EXPECT_EQ(array, this->make({0, 7, 8, 1, 5, 5, 2, 9, 3}));
}

TYPED_TEST(ArrayTest, InsertingNothingChangesNothing)
{
    const HeapLimit heap(0);
    Array<TypeParam> array;
    const TypeParam* const none = nullptr;
    auto at = array.insert(array.end(), none, none);
    EXPECT_EQ(at, array.end());
    at = array.insert(array.end(), 0, TypeParam());
    EXPECT_EQ(at, array.end());
    EXPECT_EQ(array.data(), nullptr);
}

TYPED_TEST(ArrayTest, EraseMovesTheRestDown)
{
    Array<TypeParam> array = this->make({0, 1, 2, 3, 4});
    auto at = array.erase(array.begin() + 1);
    EXPECT_EQ(at, array.begin() + 1);
    EXPECT_EQ(array, this->make({0, 2, 3, 4}));
    at = array.erase(array.begin(), array.begin() + 2);
    EXPECT_EQ(at, array.begin());
    EXPECT_EQ(array, this->make({3, 4}));
    at = array.erase(array.begin(), array.begin());
    EXPECT_EQ(at, array.begin());
    EXPECT_EQ(array, this->make({3, 4}));
    at = array.erase(array.begin() + 1);
    EXPECT_EQ(at, array.end());
    at = array.erase(array.begin(), array.end());
    EXPECT_EQ(at, array.end());
    at = array.erase(array.begin(), array.end());
    EXPECT_EQ(at, array.end());
}

TYPED_TEST(ArrayTest, OwnElementsAreSafeArguments)
{
    Array<TypeParam> array = this->make({1, 2, 3});
    array.push_back(array[0]); // into a new block
    EXPECT_EQ(array, this->make({1, 2, 3, 1}));
    array.insert(array.begin(), array[2]); // with room
    EXPECT_EQ(array, this->make({3, 1, 2, 3, 1}));
    array.reserve(20);
    array.insert(array.begin() + 1, array.begin(), array.begin() + 3); // around the gap
    EXPECT_EQ(array, this->make({3, 3, 1, 2, 1, 2, 3, 1}));

    array = this->make({1, 2});
    array.insert(array.begin() + 1, array.begin(), array.end()); // around the gap, into a new block
    EXPECT_EQ(array, this->make({1, 1, 2, 2}));
    array = this->make({1, 2});
    array.resize(5, array[1]);
    EXPECT_EQ(array, this->make({1, 2, 2, 2, 2}));
    array.insert(array.begin(), 3, array[0]);
    EXPECT_EQ(array, this->make({1, 1, 1, 1, 2, 2, 2, 2}));
}

TYPED_TEST(ArrayTest, SwapExchangesElements)
{
    Array<TypeParam> first = this->make({1});
    Array<TypeParam> second;
    first.swap(second);
    EXPECT_TRUE(first.empty());
    EXPECT_EQ(second, this->make({1}));
}

// --- Failures ---

TYPED_TEST(ArrayTest, OutOfMemoryThrowsAndChangesNothing)
{
    Array<TypeParam> array = this->make({1, 2, 3});
    const Array<TypeParam> before(array);
    const TypeParam five = this->value(5);
    const Array<TypeParam> range = this->make({4, 5, 6, 7});
    Array<TypeParam> other = this->make({8});
    const Array<TypeParam> otherBefore(other);
    {
        const HeapLimit heap(0);
        EXPECT_THROW(array.push_back(five), std::bad_alloc);
        EXPECT_THROW(array.insert(array.begin(), five), std::bad_alloc);
        EXPECT_THROW(array.insert(array.begin(), range.begin(), range.end()), std::bad_alloc);
        EXPECT_THROW(array.resize(100), std::bad_alloc);
        EXPECT_THROW(array.resize(100, five), std::bad_alloc);
        EXPECT_THROW(array.reserve(100), std::bad_alloc);
        EXPECT_THROW(Array<TypeParam>{array}, std::bad_alloc);
        EXPECT_THROW(Array<TypeParam>(2), std::bad_alloc);
        EXPECT_THROW(other = array, std::bad_alloc);
    }
    EXPECT_EQ(array, before);
    EXPECT_EQ(array.capacity(), 3u);
    EXPECT_EQ(other, otherBefore);
}

TYPED_TEST(ArrayTest, SizesThatCannotBeThrowAndChangeNothing)
{
    Array<TypeParam> array = this->make({1});
    const Array<TypeParam> before(array);
    {
        const TypeParam one = TypeParam();
        const HeapLimit heap(0);
        EXPECT_THROW(array.reserve(array.max_size() + 1), std::length_error);
        EXPECT_THROW(array.resize(SIZE_MAX), std::length_error);
        EXPECT_THROW(array.resize(SIZE_MAX, one), std::length_error);
        EXPECT_THROW(array.insert(array.begin(), array.max_size(), one), std::length_error);
        EXPECT_EQ(heap.requests(), 0u);
        EXPECT_THROW(array.reserve(array.max_size()), std::bad_alloc); // which can be, with that much memory
    }
    EXPECT_EQ(array, before);
}

// --- Comparison ---

TYPED_TEST(ArrayTest, EqualityIsSizesThenElements)
{
    EXPECT_TRUE(this->make({1, 2}) == this->make({1, 2}));
    EXPECT_FALSE(this->make({1, 2}) != this->make({1, 2}));
    EXPECT_TRUE(this->make({1, 2}) != this->make({1, 3, 5}));
    EXPECT_TRUE(this->make({1, 2}) != this->make({1}));
    EXPECT_TRUE(this->make({1, 2}) != this->make({1, 1}));
    EXPECT_TRUE(this->make({1}) != Array<TypeParam>());
    EXPECT_TRUE(Array<TypeParam>() == Array<TypeParam>());
}

TYPED_TEST(ArrayTest, RandomEditsAgreeWithStandardVectors)
{
    foundationtest::compareRandomEditsWithStandardVector<Array<TypeParam>, TypeParam>(3000, makeValue<TypeParam>);
}

// --- What one element type has of its own ---

TEST(BoolArrayTest, HoldsOneBytePerElement)
{
    kqx::BoolArray array{true, false, true};
    bool* const data = array.data();
    EXPECT_TRUE(data[0]);
    EXPECT_FALSE(data[1]);
    data[1] = true;
    bool& reference = array[2];
    reference = false;
    EXPECT_EQ(array, (kqx::BoolArray{true, true, false}));
}

TEST(FloatArrayTest, NaNMakesAnArrayUnequalToItself)
{
    const kqx::FloatArray array{1.0f, std::numeric_limits<float>::quiet_NaN()};
    EXPECT_FALSE(array == array);
    EXPECT_TRUE(array != array);
    EXPECT_TRUE((kqx::FloatArray{0.0f} == kqx::FloatArray{-0.0f}));
}

TEST(StringArrayTest, FailureHalfwayThroughACopyLeavesTheArray)
{
    const kqx::StringArray source{L"one", L"two", L"three"};
    kqx::StringArray array{L"kept", L"texts"};
    array.reserve(20);
    {
        const HeapLimit heap(2); // the third text finds none
        EXPECT_THROW(array.insert(array.begin(), source.begin(), source.end()), std::bad_alloc);
    }
    EXPECT_EQ(array, (kqx::StringArray{L"kept", L"texts"}));
    {
        const HeapLimit heap(2);
        EXPECT_THROW(array.resize(10, source[2]), std::bad_alloc);
    }
    EXPECT_EQ(array, (kqx::StringArray{L"kept", L"texts"}));
    {
        const HeapLimit heap(2); // the block and one text
        EXPECT_THROW(array = source, std::bad_alloc);
    }
    EXPECT_EQ(array, (kqx::StringArray{L"kept", L"texts"}));
}

TEST(StringArrayTest, MovedTextKeepsItsBlock)
{
    kqx::StringArray array{L"first"};
    const wchar_t* const block = array[0].c_str();
    String text(L"second");
    const wchar_t* const moved = text.c_str();
    array.push_back(std::move(text));
    EXPECT_EQ(array[0].c_str(), block);
    EXPECT_EQ(array[1].c_str(), moved);
    array.push_back(std::move(array[0])); // its own element
    EXPECT_EQ(array[2], L"first");
    EXPECT_TRUE(array[0].empty());
}

} // namespace
