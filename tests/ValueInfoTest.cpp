#include <db2/ValueInfo.h>

#include <gtest/gtest.h>

#include <cstdint>

using namespace db2;

namespace {

/// What is fixed about each type, written down once more.
struct TypeFacts
{
    AttributeTypeId typeId;
    const wchar_t* name;
    unsigned int alignment;
    std::size_t size;
    unsigned int stride;
    bool isPod;
    bool isArray;
};

constexpr unsigned int kPointer = sizeof(void*); // Strings, arrays and VertexBuffers are one pointer wide

constexpr TypeFacts kFacts[] = {
    {AttributeType::kInt, L"Int", 4, 4, 4, true, false},
    {AttributeType::kBool, L"Bool", 4, 1, 4, true, false},
    {AttributeType::kColour, L"Colour", 16, 16, 16, true, false},
    {AttributeType::kFloat, L"Float", 4, 4, 4, true, false},
    {AttributeType::kDouble, L"Double", 4, 8, 8, true, false},
    {AttributeType::kString, L"String", 4, sizeof(kqx::String), kPointer, false, false},
    {AttributeType::kEnum, L"Enum", 4, 4, 4, true, false},
    {AttributeType::kVector3, L"Vector3", 16, 16, 16, true, false},
    {AttributeType::kMatrix, L"Matrix", 16, 64, 64, true, false},
    {AttributeType::kQuat, L"Quat", 16, 16, 16, true, false},
    {AttributeType::kNull, L"Null", 4, 0, 0, false, false},
    {AttributeType::kVertexBuffer, L"VertexBuffer", 4, sizeof(kqx::VertexBuffer), kPointer, false, false},
    {AttributeType::kIntArray, L"IntArray", 4, sizeof(kqx::IntArray), kPointer, false, true},
    {AttributeType::kBoolArray, L"BoolArray", 4, sizeof(kqx::BoolArray), kPointer, false, true},
    {AttributeType::kColourArray, L"ColourArray", 4, sizeof(kqx::ColourArray), kPointer, false, true},
    {AttributeType::kFloatArray, L"FloatArray", 4, sizeof(kqx::FloatArray), kPointer, false, true},
    {AttributeType::kDoubleArray, L"DoubleArray", 4, sizeof(kqx::DoubleArray), kPointer, false, true},
    {AttributeType::kStringArray, L"StringArray", 4, sizeof(kqx::StringArray), kPointer, false, true},
    {AttributeType::kVector3Array, L"Vector3Array", 4, sizeof(kqx::Vector3Array), kPointer, false, true},
    {AttributeType::kMatrixArray, L"MatrixArray", 4, sizeof(kqx::MatrixArray), kPointer, false, true},
    {AttributeType::kQuatArray, L"QuatArray", 4, sizeof(kqx::QuatArray), kPointer, false, true},
};

/// Numbers that name no type: the one in the gap, the handle's mark, and beyond.
constexpr std::uint32_t kNoTypes[] = {21, 22, 23, 0x7FFFFFFFu, 0xFFFFFFFFu};

} // namespace

TEST(ValueInfoTest, TypesAreNumberedDenselyInTheFixedOrder)
{
    ASSERT_EQ(std::size(kFacts), std::size_t{kAttributeTypeCount});
    for (std::uint32_t i = 0; i < kAttributeTypeCount; ++i)
        EXPECT_EQ(kFacts[i].typeId, i);
    EXPECT_EQ(AttributeType::kNoType, 22u);
}

TEST(ValueInfoTest, EveryTypeHasItsName)
{
    for (const TypeFacts& facts : kFacts)
        EXPECT_STREQ(ValueInfo::getTypeName(facts.typeId), facts.name);
}

TEST(ValueInfoTest, NumbersThatNameNoTypeHaveNoName)
{
    for (const std::uint32_t number : kNoTypes)
        EXPECT_EQ(ValueInfo::getTypeName(static_cast<AttributeTypeId>(number)), nullptr) << number;
}

TEST(ValueInfoTest, EveryTypeHasItsSizeAndAlignment)
{
    for (const TypeFacts& facts : kFacts)
    {
        SCOPED_TRACE(facts.typeId);
        EXPECT_EQ(ValueInfo::getAlignment(facts.typeId), facts.alignment);
        EXPECT_EQ(ValueInfo::getMemoryRequirements(facts.typeId).size, facts.size);
        EXPECT_EQ(ValueInfo::getMemoryRequirements(facts.typeId).alignment, facts.alignment);
    }
}

TEST(ValueInfoTest, StrideIsTheSizeRoundedUpToTheAlignment)
{
    for (const TypeFacts& facts : kFacts)
        EXPECT_EQ(ValueInfo::getStride(facts.typeId), facts.stride) << facts.typeId;
}

TEST(ValueInfoTest, ArrayTypesAreTheNineFromIntArrayOn)
{
    for (const TypeFacts& facts : kFacts)
        EXPECT_EQ(ValueInfo::isArray(facts.typeId), facts.isArray) << facts.typeId;
}

TEST(ValueInfoTest, PlainDataIsNumbersBoolEnumAndMathTypes)
{
    for (const TypeFacts& facts : kFacts)
        EXPECT_EQ(ValueInfo::isPODType(facts.typeId), facts.isPod) << facts.typeId;
}

TEST(ValueInfoTest, NumbersThatNameNoTypeHaveNoSizeAndAreNeitherArrayNorPlainData)
{
    for (const std::uint32_t number : kNoTypes)
    {
        SCOPED_TRACE(number);
        const auto typeId = static_cast<AttributeTypeId>(number);
        EXPECT_EQ(ValueInfo::getMemoryRequirements(typeId).size, 0u);
        EXPECT_EQ(ValueInfo::getMemoryRequirements(typeId).alignment, 4u);
        EXPECT_EQ(ValueInfo::getAlignment(typeId), 4u);
        EXPECT_EQ(ValueInfo::getStorageAlignment(typeId), 4u);
        EXPECT_EQ(ValueInfo::getStride(typeId), 0u);
        EXPECT_FALSE(ValueInfo::isArray(typeId));
        EXPECT_FALSE(ValueInfo::isPODType(typeId));
    }
}

TEST(ValueInfoTest, StorageAlignmentSuitsTheTableAndTheObjects)
{
    for (const TypeFacts& facts : kFacts)
        EXPECT_GE(ValueInfo::getStorageAlignment(facts.typeId), facts.alignment) << facts.typeId;
    EXPECT_EQ(ValueInfo::getStorageAlignment(AttributeType::kInt), 4u);
    EXPECT_EQ(ValueInfo::getStorageAlignment(AttributeType::kBool), 4u);
    EXPECT_EQ(ValueInfo::getStorageAlignment(AttributeType::kNull), 4u);
    EXPECT_EQ(ValueInfo::getStorageAlignment(AttributeType::kMatrix), 16u);
    EXPECT_EQ(ValueInfo::getStorageAlignment(AttributeType::kDouble), alignof(double));
    EXPECT_EQ(ValueInfo::getStorageAlignment(AttributeType::kString), alignof(kqx::String));
    EXPECT_EQ(ValueInfo::getStorageAlignment(AttributeType::kQuatArray), alignof(kqx::QuatArray));
}

TEST(ValueInfoTest, ItemsAtTheirStrideStayAtTheirStorageAlignment)
{
    for (const TypeFacts& facts : kFacts)
        EXPECT_EQ(ValueInfo::getStride(facts.typeId) % ValueInfo::getStorageAlignment(facts.typeId), 0u)
            << facts.typeId;
}

TEST(ValueInfoTest, DefaultsAreZeroIdentityOrEmpty)
{
    EXPECT_EQ(ValueInfo::getDefaultColour(), kqx::Colour(0, 0, 0, 0));
    EXPECT_TRUE(ValueInfo::getDefaultString().empty());
    EXPECT_EQ(ValueInfo::getDefaultVector3(), kqx::Vector3::zero());
    EXPECT_EQ(ValueInfo::getDefaultMatrix(), kqx::Matrix::identity());
    EXPECT_EQ(ValueInfo::getDefaultQuat(), kqx::Quat::identity());
    EXPECT_TRUE(ValueInfo::getDefaultIntArray().empty());
    EXPECT_TRUE(ValueInfo::getDefaultBoolArray().empty());
    EXPECT_TRUE(ValueInfo::getDefaultColourArray().empty());
    EXPECT_TRUE(ValueInfo::getDefaultFloatArray().empty());
    EXPECT_TRUE(ValueInfo::getDefaultDoubleArray().empty());
    EXPECT_TRUE(ValueInfo::getDefaultStringArray().empty());
    EXPECT_TRUE(ValueInfo::getDefaultVector3Array().empty());
    EXPECT_TRUE(ValueInfo::getDefaultMatrixArray().empty());
    EXPECT_TRUE(ValueInfo::getDefaultQuatArray().empty());
    EXPECT_EQ(ValueInfo::getDefaultVertexBuffer().getStreamCount(), 0u);
}

TEST(ValueInfoTest, DefaultsAreOneObjectEach)
{
    EXPECT_EQ(&ValueInfo::getDefaultMatrix(), &ValueInfo::getDefaultMatrix());
    EXPECT_NE(static_cast<const void*>(&ValueInfo::getDefaultVector3Array()),
              static_cast<const void*>(&ValueInfo::getDefaultQuatArray()));
}
