#include <kqx/Colour.h>
#include <kqx/Matrix.h>
#include <kqx/Quat.h>
#include <kqx/Vector3.h>

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

namespace {

using kqx::Colour;
using kqx::Matrix;
using kqx::Quat;
using kqx::Vector3;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

template <class T>
class MathTypesTest : public ::testing::Test
{
public:
    /// The components of a value, in storage order.
    static float* components(T& value) { return static_cast<float*>(static_cast<void*>(&value)); }
    static constexpr int kCount = static_cast<int>(sizeof(T) / sizeof(float));
};

using Types = ::testing::Types<Colour, Vector3, Quat, Matrix>;
TYPED_TEST_SUITE(MathTypesTest, Types);

TYPED_TEST(MathTypesTest, IsSixteenByteAlignedAndTriviallyCopyable)
{
    EXPECT_EQ(alignof(TypeParam), 16u);
    EXPECT_EQ(sizeof(TypeParam) % 16, 0u);
    EXPECT_TRUE(std::is_trivially_copyable_v<TypeParam>);
}

TYPED_TEST(MathTypesTest, EveryComponentCountsInEquality)
{
    for (int i = 0; i < this->kCount; ++i)
    {
        const TypeParam before;
        TypeParam after;
        EXPECT_TRUE(before == after);
        EXPECT_FALSE(before != after);
        this->components(after)[i] += 0.5f;
        EXPECT_FALSE(before == after) << "component " << i;
        EXPECT_TRUE(before != after) << "component " << i;
    }
}

TYPED_TEST(MathTypesTest, NaNIsUnequalToItself)
{
    TypeParam value;
    this->components(value)[this->kCount - 1] = kNaN;
    const TypeParam copy = value;
    EXPECT_FALSE(value == copy);
    EXPECT_TRUE(value != copy);
}

TYPED_TEST(MathTypesTest, ZeroEqualsNegativeZero)
{
    TypeParam value;
    TypeParam other;
    this->components(value)[1] = 0.0f;
    this->components(other)[1] = -0.0f;
    EXPECT_TRUE(value == other);
}

template <class T>
class MathTypesCompareTest : public MathTypesTest<T>
{
};

using ComparedTypes = ::testing::Types<Vector3, Quat, Matrix>;
TYPED_TEST_SUITE(MathTypesCompareTest, ComparedTypes);

TYPED_TEST(MathTypesCompareTest, ToleranceIncludesItsBoundInEveryComponent)
{
    for (int i = 0; i < this->kCount; ++i)
    {
        const TypeParam before;
        for (const float step : {0.5f, -0.5f})
        {
            TypeParam after;
            this->components(after)[i] += step;
            EXPECT_TRUE(before.compare(after, 0.5f)) << "component " << i;
            EXPECT_TRUE(before.compare(after, 1.0f)) << "component " << i;
            EXPECT_FALSE(before.compare(after, 0.25f)) << "component " << i;
        }
    }
}

TYPED_TEST(MathTypesCompareTest, ToleranceZeroIsEquality)
{
    TypeParam value;
    EXPECT_TRUE(value.compare(TypeParam(), 0.0f));
    this->components(value)[0] += std::numeric_limits<float>::min();
    const bool isEqual = value == TypeParam(); // a component of 1 does not notice
    EXPECT_EQ(value.compare(TypeParam(), 0.0f), isEqual);
}

TYPED_TEST(MathTypesCompareTest, DifferenceIsRoundedToAFloatOnEveryProcessor)
{
    TypeParam one;
    TypeParam other;
    this->components(one)[1] = 1.0f;
    this->components(other)[1] = -1e-10f; // their difference is 1 as a float, and above it with more digits
    EXPECT_TRUE(one.compare(other, 1.0f));
}

TYPED_TEST(MathTypesCompareTest, NegativeToleranceIsNeverMet)
{
    EXPECT_FALSE(TypeParam().compare(TypeParam(), -1.0f));
}

TYPED_TEST(MathTypesCompareTest, NaNIsNeverWithinTolerance)
{
    TypeParam value;
    this->components(value)[2] = kNaN;
    EXPECT_FALSE(value.compare(TypeParam(), 1.0f));
    EXPECT_FALSE(TypeParam().compare(value, kInfinity));
    EXPECT_FALSE(value.compare(value, kInfinity));
    EXPECT_FALSE(TypeParam().compare(TypeParam(), kNaN));
}

TYPED_TEST(MathTypesCompareTest, InfinitiesAreNotWithinAFiniteTolerance)
{
    TypeParam value;
    this->components(value)[0] = kInfinity;
    EXPECT_FALSE(value.compare(TypeParam(), 1e30f));
    EXPECT_FALSE(value.compare(value, 1.0f)); // their difference is a NaN
}

TEST(MathTypesConstantsTest, ColourIsZeroByDefault)
{
    constexpr Colour colour;
    EXPECT_EQ(colour.r, 0.0f);
    EXPECT_EQ(colour.g, 0.0f);
    EXPECT_EQ(colour.b, 0.0f);
    EXPECT_EQ(colour.a, 0.0f);
    EXPECT_EQ(colour, Colour::zero());
}

TEST(MathTypesConstantsTest, ColourTakesItsComponentsInOrder)
{
    constexpr Colour colour(1.0f, 2.0f, 3.0f, 4.0f);
    EXPECT_EQ(colour.r, 1.0f);
    EXPECT_EQ(colour.g, 2.0f);
    EXPECT_EQ(colour.b, 3.0f);
    EXPECT_EQ(colour.a, 4.0f);
}

TEST(MathTypesConstantsTest, Vector3IsZeroByDefaultPaddingIncluded)
{
    constexpr Vector3 vector;
    EXPECT_EQ(vector.x, 0.0f);
    EXPECT_EQ(vector.y, 0.0f);
    EXPECT_EQ(vector.z, 0.0f);
    EXPECT_EQ(vector.w, 0.0f);
    EXPECT_EQ(vector, Vector3::zero());
}

TEST(MathTypesConstantsTest, Vector3FromThreeHasZeroPadding)
{
    constexpr Vector3 vector(1.0f, 2.0f, 3.0f);
    EXPECT_EQ(vector.x, 1.0f);
    EXPECT_EQ(vector.y, 2.0f);
    EXPECT_EQ(vector.z, 3.0f);
    EXPECT_EQ(vector.w, 0.0f);
}

TEST(MathTypesConstantsTest, QuatIsIdentityByDefault)
{
    constexpr Quat quat;
    EXPECT_EQ(quat.x, 0.0f);
    EXPECT_EQ(quat.y, 0.0f);
    EXPECT_EQ(quat.z, 0.0f);
    EXPECT_EQ(quat.w, 1.0f);
    EXPECT_EQ(quat, Quat::identity());
    EXPECT_EQ(Quat(1.0f, 2.0f, 3.0f, 4.0f).y, 2.0f);
}

TEST(MathTypesConstantsTest, MatrixIsIdentityByDefault)
{
    constexpr Matrix matrix;
    for (int row = 0; row < 4; ++row)
    {
        for (int column = 0; column < 4; ++column)
            EXPECT_EQ(matrix.m[row][column], row == column ? 1.0f : 0.0f);
    }
    EXPECT_EQ(matrix, Matrix::identity());
}

} // namespace
