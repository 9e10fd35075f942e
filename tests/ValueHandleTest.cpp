#include <db2/ValueHandle.h>

#include "foundation/HeapLimit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

using namespace db2;

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();

// --- Handles onto values ---

ConstValueHandle on(const int& value, AttributeTypeId typeId = AttributeType::kInt)
{
    return {&value, typeId};
}
ConstValueHandle on(const bool& value)
{
    return {&value, AttributeType::kBool};
}
ConstValueHandle on(const float& value)
{
    return {&value, AttributeType::kFloat};
}
ConstValueHandle on(const double& value)
{
    return {&value, AttributeType::kDouble};
}
ConstValueHandle on(const kqx::String& value)
{
    return {&value, AttributeType::kString};
}
ConstValueHandle on(const kqx::Colour& value)
{
    return {&value, AttributeType::kColour};
}
ConstValueHandle on(const kqx::Vector3& value)
{
    return {&value, AttributeType::kVector3};
}
ConstValueHandle on(const kqx::Matrix& value)
{
    return {&value, AttributeType::kMatrix};
}
ConstValueHandle on(const kqx::Quat& value)
{
    return {&value, AttributeType::kQuat};
}
ConstValueHandle on(const kqx::VertexBuffer& value)
{
    return {&value, AttributeType::kVertexBuffer};
}
ConstValueHandle on(const kqx::IntArray& value)
{
    return {&value, AttributeType::kIntArray};
}
ConstValueHandle on(const kqx::BoolArray& value)
{
    return {&value, AttributeType::kBoolArray};
}
ConstValueHandle on(const kqx::ColourArray& value)
{
    return {&value, AttributeType::kColourArray};
}
ConstValueHandle on(const kqx::FloatArray& value)
{
    return {&value, AttributeType::kFloatArray};
}
ConstValueHandle on(const kqx::DoubleArray& value)
{
    return {&value, AttributeType::kDoubleArray};
}
ConstValueHandle on(const kqx::StringArray& value)
{
    return {&value, AttributeType::kStringArray};
}
ConstValueHandle on(const kqx::Vector3Array& value)
{
    return {&value, AttributeType::kVector3Array};
}
ConstValueHandle on(const kqx::MatrixArray& value)
{
    return {&value, AttributeType::kMatrixArray};
}
ConstValueHandle on(const kqx::QuatArray& value)
{
    return {&value, AttributeType::kQuatArray};
}

ConstValueHandle nullValue()
{
    return {nullptr, AttributeType::kNull};
}

std::wstring textOf(const ConstValueHandle& handle)
{
    kqx::String text(L"replaced");
    EXPECT_TRUE(handle.toString(&text));
    return std::wstring(text.c_str(), text.size());
}

kqx::VertexBuffer makeTriangle()
{
    kqx::VertexBuffer buffer;
    buffer.addStream(L"position", 3);
    buffer.getStream(0) = {1, 2, 3.5f};
    buffer.addStream(L"uv", 2);
    buffer.getStream(1) = {0.25f, 1};
    return buffer;
}

/// A value of every type that differs from the type's default and, where the type can, owns memory.
struct SampleValues
{
    SampleValues()
    {
        matrix.m[0][3] = 7;
        matrices.push_back(matrix);
    }

    /// In the order of the type ids.
    [[nodiscard]] std::vector<ConstValueHandle> handles() const
    {
        return {on(integer),
                on(boolean),
                on(colour),
                on(number),
                on(wide),
                on(text),
                on(integer, AttributeType::kEnum),
                on(vector),
                on(matrix),
                on(quat),
                nullValue(),
                on(buffer),
                on(ints),
                on(bools),
                on(colours),
                on(floats),
                on(doubles),
                on(texts),
                on(vectors),
                on(matrices),
                on(quats)};
    }

    int integer = 42;
    bool boolean = true;
    kqx::Colour colour{0.5f, 0.25f, 1, 1};
    float number = 1.5f;
    double wide = -2.25;
    kqx::String text = L"a text that is long enough to own memory";
    kqx::Vector3 vector{1, 2, 3};
    kqx::Matrix matrix;
    kqx::Quat quat{1, 0, 0, 0.5f};
    kqx::VertexBuffer buffer = makeTriangle();
    kqx::IntArray ints{1, -2, 3};
    kqx::BoolArray bools{true, false};
    kqx::ColourArray colours{kqx::Colour(1, 0, 0, 1)};
    kqx::FloatArray floats{0.5f, 2};
    kqx::DoubleArray doubles{0.125, 4, 5, 6};
    kqx::StringArray texts{kqx::String(L"one"), kqx::String(L"two")};
    kqx::Vector3Array vectors{kqx::Vector3(1, 2, 3), kqx::Vector3(4, 5, 6)};
    kqx::MatrixArray matrices;
    kqx::QuatArray quats{kqx::Quat(0, 1, 0, 0)};
};

std::vector<AttributeTypeId> allTypes()
{
    std::vector<AttributeTypeId> types;
    for (std::uint32_t i = 0; i < kAttributeTypeCount; ++i)
        types.push_back(static_cast<AttributeTypeId>(i));
    return types;
}

constexpr std::uint32_t kNoTypes[] = {21, 22, 23, 0xFFFFFFFFu};

class ValueHandleTest : public ::testing::Test
{
protected:
    SampleValues sample;
    std::vector<ConstValueHandle> samples = sample.handles();
};

using ConstValueHandleTest = ValueHandleTest;
using DefaultValueTest = ValueHandleTest;

} // namespace

// --- The handle itself ---

TEST_F(ConstValueHandleTest, ADefaultConstructedHandleHasNoTypeAndNoValue)
{
    const ConstValueHandle handle;
    EXPECT_EQ(handle.getTypeId(), 22u);
    EXPECT_TRUE(handle.isNull());
    EXPECT_EQ(handle.getData(), nullptr);
    EXPECT_EQ(handle.getSize(), 1u);
    EXPECT_EQ(textOf(handle), L"");
    EXPECT_FALSE(handle.compare(handle));
    EXPECT_FALSE(handle.compare(handle, 1.0f));
    EXPECT_FALSE(handle.compare(nullValue()));
}

TEST_F(ConstValueHandleTest, AWritableDefaultConstructedHandleHasNoTypeAndNoValueEither)
{
    const ValueHandle handle;
    EXPECT_EQ(handle.getTypeId(), AttributeType::kNoType);
    EXPECT_TRUE(handle.isNull());
}

TEST_F(ConstValueHandleTest, CopiesLeadToTheSameValue)
{
    const ConstValueHandle copy = samples[AttributeType::kInt];
    EXPECT_EQ(copy.getData(), &sample.integer);
    EXPECT_EQ(copy.getTypeId(), AttributeType::kInt);
    ConstValueHandle assigned;
    assigned = copy;
    EXPECT_EQ(assigned.getData(), &sample.integer);
    EXPECT_EQ(assigned.getTypeId(), AttributeType::kInt);
}

TEST_F(ConstValueHandleTest, HandlesAreTwoWords)
{
    struct TwoWords
    {
        void* value;
        std::uint32_t typeId;
    };
    EXPECT_EQ(sizeof(ConstValueHandle), sizeof(TwoWords));
    EXPECT_EQ(sizeof(ValueHandle), sizeof(TwoWords));
}

TEST_F(ConstValueHandleTest, AWritableHandleConvertsToAReadingOne)
{
    const DefaultValue value(AttributeType::kInt, on(3));
    const ConstValueHandle reading = value;
    EXPECT_EQ(reading.getData(), value.getData());
    EXPECT_EQ(reading.getInt(), 3);
}

// --- Unchecked reads ---

TEST_F(ConstValueHandleTest, UncheckedReadsLeadToTheValue)
{
    EXPECT_EQ(&on(sample.integer).getInt(), &sample.integer);
    EXPECT_EQ(&on(sample.integer, AttributeType::kEnum).getInt(), &sample.integer);
    EXPECT_EQ(&on(sample.boolean).getBool(), &sample.boolean);
    EXPECT_EQ(&on(sample.number).getFloat(), &sample.number);
    EXPECT_EQ(&on(sample.wide).getDouble(), &sample.wide);
    EXPECT_EQ(&on(sample.text).getString(), &sample.text);
    EXPECT_EQ(&on(sample.colour).getColour(), &sample.colour);
    EXPECT_EQ(&on(sample.vector).getVector3(), &sample.vector);
    EXPECT_EQ(&on(sample.matrix).getMatrix(), &sample.matrix);
    EXPECT_EQ(&on(sample.quat).getQuat(), &sample.quat);
    EXPECT_EQ(&on(sample.buffer).getVertexBuffer(), &sample.buffer);
    EXPECT_EQ(&on(sample.ints).getIntArray(), &sample.ints);
    EXPECT_EQ(&on(sample.bools).getBoolArray(), &sample.bools);
    EXPECT_EQ(&on(sample.colours).getColourArray(), &sample.colours);
    EXPECT_EQ(&on(sample.floats).getFloatArray(), &sample.floats);
    EXPECT_EQ(&on(sample.doubles).getDoubleArray(), &sample.doubles);
    EXPECT_EQ(&on(sample.texts).getStringArray(), &sample.texts);
    EXPECT_EQ(&on(sample.vectors).getVector3Array(), &sample.vectors);
    EXPECT_EQ(&on(sample.matrices).getMatrixArray(), &sample.matrices);
    EXPECT_EQ(&on(sample.quats).getQuatArray(), &sample.quats);
}

TEST_F(ConstValueHandleTest, CastStoresThePointerOfTheAskedType)
{
    const float* number = nullptr;
    on(sample.number).cast(&number);
    EXPECT_EQ(number, &sample.number);
    const kqx::StringArray* texts = nullptr;
    on(sample.texts).cast(&texts);
    EXPECT_EQ(texts, &sample.texts);
}

TEST_F(ValueHandleTest, CastStoresAPointerToWriteOrToRead)
{
    const DefaultValue value(AttributeType::kFloat, on(2.0f));
    float* writing = nullptr;
    value.cast(&writing);
    *writing = 3.0f;
    const float* reading = nullptr;
    value.cast(&reading);
    EXPECT_EQ(*reading, 3.0f);
}

// --- Converting reads: every row and column ---

TEST_F(ConstValueHandleTest, AsIntOfNumbers)
{
    EXPECT_EQ(on(-7).asInt(), -7);
    EXPECT_EQ(on(7, AttributeType::kEnum).asInt(), 7);
    EXPECT_EQ(on(true).asInt(), 1);
    EXPECT_EQ(on(false).asInt(), 0);
}

TEST_F(ConstValueHandleTest, AsIntCutsFractionsTowardZero)
{
    EXPECT_EQ(on(2.9f).asInt(), 2);
    EXPECT_EQ(on(-2.9f).asInt(), -2);
    EXPECT_EQ(on(2.9).asInt(), 2);
    EXPECT_EQ(on(-2.9).asInt(), -2);
}

TEST_F(ConstValueHandleTest, AsIntOfWhatDoesNotFitIsTheNearestInt)
{
    EXPECT_EQ(on(3e9f).asInt(), kIntMax);
    EXPECT_EQ(on(-3e9f).asInt(), kIntMin);
    EXPECT_EQ(on(1e300).asInt(), kIntMax);
    EXPECT_EQ(on(-1e300).asInt(), kIntMin);
    EXPECT_EQ(on(kInfinity).asInt(), kIntMax);
    EXPECT_EQ(on(-kInfinity).asInt(), kIntMin);
    EXPECT_EQ(on(kNaN).asInt(), 0);
    EXPECT_EQ(on(static_cast<float>(kNaN)).asInt(), 0);
}

TEST_F(ConstValueHandleTest, AsIntKeepsTheEndsOfTheRange)
{
    EXPECT_EQ(on(2147483647.0).asInt(), kIntMax);
    EXPECT_EQ(on(2147483647.9).asInt(), kIntMax);
    EXPECT_EQ(on(2147483646.9).asInt(), kIntMax - 1);
    EXPECT_EQ(on(-2147483648.0).asInt(), kIntMin);
    EXPECT_EQ(on(-2147483648.9).asInt(), kIntMin);
    EXPECT_EQ(on(-2147483647.9).asInt(), kIntMin + 1);
}

TEST_F(ConstValueHandleTest, AsIntParsesTheIntegerAtTheStartOfAText)
{
    EXPECT_EQ(on(kqx::String(L"12abc")).asInt(), 12);
    EXPECT_EQ(on(kqx::String(L"abc")).asInt(), 0);
    EXPECT_EQ(on(kqx::String(L"  -5")).asInt(), -5);
    EXPECT_EQ(on(kqx::String(L"2.9")).asInt(), 2);
    EXPECT_EQ(on(kqx::String()).asInt(), 0);
    EXPECT_EQ(on(kqx::String(L"99999999999999999999")).asInt(), kIntMax);
    EXPECT_EQ(on(kqx::String(L"-99999999999999999999")).asInt(), kIntMin);
}

TEST_F(ConstValueHandleTest, AsBoolIsWhetherANumberIsNotZero)
{
    EXPECT_TRUE(on(2).asBool());
    EXPECT_FALSE(on(0).asBool());
    EXPECT_TRUE(on(1, AttributeType::kEnum).asBool());
    EXPECT_FALSE(on(0, AttributeType::kEnum).asBool());
    EXPECT_TRUE(on(true).asBool());
    EXPECT_FALSE(on(false).asBool());
    EXPECT_TRUE(on(0.25f).asBool());
    EXPECT_FALSE(on(-0.0f).asBool());
    EXPECT_TRUE(on(1e-300).asBool());
    EXPECT_FALSE(on(0.0).asBool());
    EXPECT_TRUE(on(kNaN).asBool());
}

TEST_F(ConstValueHandleTest, AsBoolParsesATextAsAnInteger)
{
    EXPECT_FALSE(on(kqx::String(L"0.5")).asBool());
    EXPECT_TRUE(on(kqx::String(L"1")).asBool());
    EXPECT_FALSE(on(kqx::String(L"true")).asBool());
}

TEST_F(ConstValueHandleTest, AsFloatConverts)
{
    EXPECT_EQ(on(-3).asFloat(), -3.0f);
    EXPECT_EQ(on(16777217).asFloat(), 16777216.0f);
    EXPECT_EQ(on(3, AttributeType::kEnum).asFloat(), 3.0f);
    EXPECT_EQ(on(true).asFloat(), 1.0f);
    EXPECT_EQ(on(1.5f).asFloat(), 1.5f);
    EXPECT_EQ(on(0.1).asFloat(), 0.1f);
    EXPECT_EQ(on(kqx::String(L"2.5e1x")).asFloat(), 25.0f);
    EXPECT_EQ(on(kqx::String(L"x")).asFloat(), 0.0f);
    EXPECT_TRUE(std::isnan(on(kNaN).asFloat()));
}

TEST_F(ConstValueHandleTest, AsFloatOfADoubleBeyondAllFloatsIsAnInfinity)
{
    EXPECT_EQ(on(1e300).asFloat(), kInfinity);
    EXPECT_EQ(on(-1e300).asFloat(), -kInfinity);
    EXPECT_EQ(on(kqx::String(L"1e300")).asFloat(), kInfinity);
}

TEST_F(ConstValueHandleTest, AsDoubleConverts)
{
    EXPECT_EQ(on(-3).asDouble(), -3.0);
    EXPECT_EQ(on(kIntMax).asDouble(), 2147483647.0);
    EXPECT_EQ(on(3, AttributeType::kEnum).asDouble(), 3.0);
    EXPECT_EQ(on(true).asDouble(), 1.0);
    EXPECT_EQ(on(0.1f).asDouble(), double{0.1f});
    EXPECT_EQ(on(0.1).asDouble(), 0.1);
    EXPECT_EQ(on(kqx::String(L" 0.1 ")).asDouble(), 0.1);
    EXPECT_EQ(on(kqx::String(L"-1e999")).asDouble(), -std::numeric_limits<double>::infinity());
}

TEST_F(ConstValueHandleTest, ConvertingReadsOfAnyOtherTypeGiveZero)
{
    for (const ConstValueHandle& handle : samples)
    {
        const AttributeTypeId typeId = handle.getTypeId();
        const bool isScalar = typeId < AttributeType::kVector3 && typeId != AttributeType::kColour;
        if (isScalar)
            continue;
        SCOPED_TRACE(typeId);
        EXPECT_EQ(handle.asInt(), 0);
        EXPECT_FALSE(handle.asBool());
        EXPECT_EQ(handle.asFloat(), 0.0f);
        EXPECT_EQ(handle.asDouble(), 0.0);
    }
}

TEST_F(ConstValueHandleTest, ConvertingReadsOfNoTypeGiveZero)
{
    for (const std::uint32_t number : kNoTypes)
    {
        const ConstValueHandle handle(&sample.integer, static_cast<AttributeTypeId>(number));
        EXPECT_EQ(handle.asInt(), 0);
        EXPECT_FALSE(handle.asBool());
        EXPECT_EQ(handle.asFloat(), 0.0f);
        EXPECT_EQ(handle.asDouble(), 0.0);
    }
}

// --- Exact reads ---

TEST_F(ConstValueHandleTest, ExactReadsGiveTheValueOfJustTheirType)
{
    EXPECT_EQ(&on(sample.text).asString(), &sample.text);
    EXPECT_EQ(&on(sample.colour).asColour(), &sample.colour);
    EXPECT_EQ(&on(sample.vector).asVector3(), &sample.vector);
    EXPECT_EQ(&on(sample.matrix).asMatrix(), &sample.matrix);
    EXPECT_EQ(&on(sample.quat).asQuat(), &sample.quat);
    EXPECT_EQ(&on(sample.buffer).asVertexBuffer(), &sample.buffer);
    EXPECT_EQ(&on(sample.ints).asIntArray(), &sample.ints);
    EXPECT_EQ(&on(sample.bools).asBoolArray(), &sample.bools);
    EXPECT_EQ(&on(sample.colours).asColourArray(), &sample.colours);
    EXPECT_EQ(&on(sample.floats).asFloatArray(), &sample.floats);
    EXPECT_EQ(&on(sample.doubles).asDoubleArray(), &sample.doubles);
    EXPECT_EQ(&on(sample.texts).asStringArray(), &sample.texts);
    EXPECT_EQ(&on(sample.vectors).asVector3Array(), &sample.vectors);
    EXPECT_EQ(&on(sample.matrices).asMatrixArray(), &sample.matrices);
    EXPECT_EQ(&on(sample.quats).asQuatArray(), &sample.quats);
}

TEST_F(ConstValueHandleTest, ExactReadsOfEveryOtherTypeGiveTheDefaultObject)
{
    for (const ConstValueHandle& handle : samples)
    {
        const AttributeTypeId typeId = handle.getTypeId();
        SCOPED_TRACE(typeId);
        EXPECT_EQ(&handle.asString() == &ValueInfo::getDefaultString(), typeId != AttributeType::kString);
        EXPECT_EQ(&handle.asColour() == &ValueInfo::getDefaultColour(), typeId != AttributeType::kColour);
        EXPECT_EQ(&handle.asVector3() == &ValueInfo::getDefaultVector3(), typeId != AttributeType::kVector3);
        EXPECT_EQ(&handle.asMatrix() == &ValueInfo::getDefaultMatrix(), typeId != AttributeType::kMatrix);
        EXPECT_EQ(&handle.asQuat() == &ValueInfo::getDefaultQuat(), typeId != AttributeType::kQuat);
        EXPECT_EQ(&handle.asVertexBuffer() == &ValueInfo::getDefaultVertexBuffer(),
                  typeId != AttributeType::kVertexBuffer);
        EXPECT_EQ(&handle.asIntArray() == &ValueInfo::getDefaultIntArray(), typeId != AttributeType::kIntArray);
        EXPECT_EQ(&handle.asBoolArray() == &ValueInfo::getDefaultBoolArray(), typeId != AttributeType::kBoolArray);
        EXPECT_EQ(&handle.asColourArray() == &ValueInfo::getDefaultColourArray(),
                  typeId != AttributeType::kColourArray);
        EXPECT_EQ(&handle.asFloatArray() == &ValueInfo::getDefaultFloatArray(), typeId != AttributeType::kFloatArray);
        EXPECT_EQ(&handle.asDoubleArray() == &ValueInfo::getDefaultDoubleArray(),
                  typeId != AttributeType::kDoubleArray);
        EXPECT_EQ(&handle.asStringArray() == &ValueInfo::getDefaultStringArray(),
                  typeId != AttributeType::kStringArray);
        EXPECT_EQ(&handle.asVector3Array() == &ValueInfo::getDefaultVector3Array(),
                  typeId != AttributeType::kVector3Array);
        EXPECT_EQ(&handle.asMatrixArray() == &ValueInfo::getDefaultMatrixArray(),
                  typeId != AttributeType::kMatrixArray);
        EXPECT_EQ(&handle.asQuatArray() == &ValueInfo::getDefaultQuatArray(), typeId != AttributeType::kQuatArray);
    }
}

TEST_F(ConstValueHandleTest, ANullHandleReadsAsTheDefaultOfItsType)
{
    for (const AttributeTypeId typeId : allTypes())
    {
        SCOPED_TRACE(typeId);
        const ConstValueHandle null(nullptr, typeId);
        const DefaultValue fresh(typeId);
        EXPECT_TRUE(null.compare(fresh));
        EXPECT_EQ(textOf(null), textOf(fresh));
        EXPECT_EQ(null.getSize(), fresh.getSize());
        EXPECT_EQ(null.asInt(), 0);
        EXPECT_EQ(null.asFloat(), 0.0f);
    }
    EXPECT_EQ(&ConstValueHandle(nullptr, AttributeType::kMatrix).asMatrix(), &ValueInfo::getDefaultMatrix());
}

// --- Size ---

TEST_F(ConstValueHandleTest, SizeIsTheElementCountOfAnArray)
{
    EXPECT_EQ(on(sample.ints).getSize(), 3u);
    EXPECT_EQ(on(sample.bools).getSize(), 2u);
    EXPECT_EQ(on(sample.colours).getSize(), 1u);
    EXPECT_EQ(on(sample.floats).getSize(), 2u);
    EXPECT_EQ(on(sample.doubles).getSize(), 4u);
    EXPECT_EQ(on(sample.texts).getSize(), 2u);
    EXPECT_EQ(on(sample.vectors).getSize(), 2u);
    EXPECT_EQ(on(sample.matrices).getSize(), 1u);
    EXPECT_EQ(on(sample.quats).getSize(), 1u);
    EXPECT_EQ(on(kqx::IntArray()).getSize(), 0u);
}

TEST_F(ConstValueHandleTest, SizeIsOneForEveryOtherType)
{
    for (std::uint32_t i = 0; i < AttributeType::kIntArray; ++i)
        EXPECT_EQ(samples[i].getSize(), 1u) << i;
    for (const std::uint32_t number : kNoTypes)
        EXPECT_EQ(ConstValueHandle(nullptr, static_cast<AttributeTypeId>(number)).getSize(), 1u);
}

// --- Comparing ---

TEST_F(ConstValueHandleTest, EveryValueEqualsACopyOfItself)
{
    for (const ConstValueHandle& handle : samples)
    {
        const DefaultValue copy(handle.getTypeId(), handle);
        EXPECT_TRUE(handle.compare(copy)) << handle.getTypeId();
        EXPECT_TRUE(copy.compare(handle)) << handle.getTypeId();
    }
}

TEST_F(ConstValueHandleTest, EveryValueButNullDiffersFromItsTypesDefault)
{
    for (const ConstValueHandle& handle : samples)
    {
        const DefaultValue fresh(handle.getTypeId());
        EXPECT_EQ(handle.compare(fresh), handle.getTypeId() == AttributeType::kNull) << handle.getTypeId();
        EXPECT_EQ(fresh.compare(handle), handle.getTypeId() == AttributeType::kNull) << handle.getTypeId();
    }
}

TEST_F(ConstValueHandleTest, AnIntComparesWithWhatTheOtherReadsAsAnInt)
{
    EXPECT_TRUE(on(2).compare(on(2.9f)));
    EXPECT_FALSE(on(2.9f).compare(on(2)));
    EXPECT_TRUE(on(12).compare(on(kqx::String(L"12abc"))));
    EXPECT_FALSE(on(kqx::String(L"12abc")).compare(on(12)));
    EXPECT_TRUE(on(0).compare(on(sample.vector)));
    EXPECT_TRUE(on(1, AttributeType::kEnum).compare(on(true)));
    EXPECT_FALSE(on(1, AttributeType::kEnum).compare(on(2)));
}

TEST_F(ConstValueHandleTest, ABoolComparesWithWhatTheOtherReadsAsABool)
{
    EXPECT_TRUE(on(true).compare(on(2)));
    EXPECT_FALSE(on(2).compare(on(true)));
    EXPECT_TRUE(on(false).compare(on(kqx::String(L"0.5"))));
}

TEST_F(ConstValueHandleTest, AFloatComparesWithWhatTheOtherReadsAsAFloat)
{
    EXPECT_TRUE(on(0.1f).compare(on(0.1)));
    EXPECT_FALSE(on(0.1).compare(on(0.1f)));
    EXPECT_TRUE(on(2.5f).compare(on(kqx::String(L"2.5"))));
    EXPECT_FALSE(on(2.5f).compare(on(2)));
}

TEST_F(ConstValueHandleTest, ADoubleComparesWithWhatTheOtherReadsAsADouble)
{
    EXPECT_TRUE(on(2.0).compare(on(2)));
    EXPECT_TRUE(on(0.5).compare(on(0.5f)));
    EXPECT_TRUE(on(0.1).compare(on(kqx::String(L"0.1"))));
    EXPECT_FALSE(on(0.1).compare(on(kqx::String(L"0.2"))));
}

TEST_F(ConstValueHandleTest, NaNIsUnequalOnEitherSide)
{
    const double nan = kNaN;
    const auto floatNan = static_cast<float>(kNaN);
    EXPECT_FALSE(on(nan).compare(on(nan)));
    EXPECT_FALSE(on(nan).compare(on(0.0)));
    EXPECT_FALSE(on(0.0).compare(on(nan)));
    EXPECT_FALSE(on(floatNan).compare(on(floatNan)));
    EXPECT_FALSE(on(nan).compare(on(nan), 10.0f));
    EXPECT_FALSE(on(floatNan).compare(on(floatNan), 10.0f));
}

TEST_F(ConstValueHandleTest, OtherTypesCompareWithTheirDefaultWhenTheTypesDiffer)
{
    EXPECT_TRUE(on(kqx::String()).compare(on(5)));
    EXPECT_FALSE(on(kqx::String(L"5")).compare(on(5)));
    EXPECT_TRUE(on(kqx::Vector3::zero()).compare(on(5)));
    EXPECT_FALSE(on(sample.vector).compare(on(5)));
    EXPECT_TRUE(on(kqx::Colour::zero()).compare(on(sample.quat)));
    EXPECT_TRUE(on(kqx::Matrix::identity()).compare(on(5)));
    EXPECT_TRUE(on(kqx::Quat::identity()).compare(on(sample.vector)));
    EXPECT_TRUE(on(kqx::VertexBuffer()).compare(on(5)));
    EXPECT_FALSE(on(sample.buffer).compare(on(5)));
    EXPECT_TRUE(on(kqx::IntArray()).compare(on(sample.floats)));
    EXPECT_FALSE(on(sample.ints).compare(on(sample.floats)));
}

TEST_F(ConstValueHandleTest, ArraysCompareSizesAndElements)
{
    EXPECT_FALSE(on(sample.ints).compare(on(kqx::IntArray{1, -2})));
    EXPECT_FALSE(on(sample.ints).compare(on(kqx::IntArray{1, -2, 4})));
    EXPECT_TRUE(on(sample.texts).compare(on(kqx::StringArray{kqx::String(L"one"), kqx::String(L"two")})));
    EXPECT_FALSE(on(sample.texts).compare(on(kqx::StringArray{kqx::String(L"one"), kqx::String(L"Two")})));
}

TEST_F(ConstValueHandleTest, NullEqualsEverything)
{
    for (const ConstValueHandle& handle : samples)
    {
        EXPECT_TRUE(nullValue().compare(handle));
        EXPECT_TRUE(nullValue().compare(handle, 0.0f));
    }
}

TEST_F(ConstValueHandleTest, NumbersThatNameNoTypeEqualNothing)
{
    for (const std::uint32_t number : kNoTypes)
    {
        const ConstValueHandle handle(&sample.integer, static_cast<AttributeTypeId>(number));
        EXPECT_FALSE(handle.compare(handle));
        EXPECT_FALSE(handle.compare(handle, 1.0f));
    }
}

// --- Comparing with a tolerance ---

TEST_F(ConstValueHandleTest, FloatsWithinTheToleranceAreEqualAndTheBoundIsOutside)
{
    EXPECT_TRUE(on(1.0f).compare(on(1.25f), 0.5f));
    EXPECT_FALSE(on(1.0f).compare(on(1.5f), 0.5f));
    EXPECT_TRUE(on(1.0f).compare(on(0.75f), 0.5f));
    EXPECT_FALSE(on(1.0f).compare(on(0.5f), 0.5f));
    EXPECT_TRUE(on(1.0f).compare(on(1), 0.5f));
}

TEST_F(ConstValueHandleTest, DoublesWithinTheToleranceAreEqualAndTheBoundIsOutside)
{
    EXPECT_TRUE(on(1.0).compare(on(1.25), 0.5f));
    EXPECT_FALSE(on(1.0).compare(on(1.5), 0.5f));
    EXPECT_TRUE(on(1.0).compare(on(0.75), 0.5f));
    EXPECT_FALSE(on(1.0).compare(on(0.5), 0.5f));
    EXPECT_TRUE(on(1.0).compare(on(1.0 + double{0.1f} * 0.9999), 0.1f));
    EXPECT_FALSE(on(0.0).compare(on(double{0.1f}), 0.1f));
}

TEST_F(ConstValueHandleTest, WithoutToleranceNotEvenANumberEqualsItself)
{
    EXPECT_FALSE(on(1.0f).compare(on(1.0f), 0.0f));
    EXPECT_FALSE(on(1.0).compare(on(1.0), 0.0f));
}

TEST_F(ConstValueHandleTest, MathTypesCompareComponentsWithTheTolerance)
{
    const kqx::Vector3 vector(1.25f, 2, 3);
    EXPECT_TRUE(on(sample.vector).compare(on(vector), 0.25f));
    EXPECT_FALSE(on(sample.vector).compare(on(vector), 0.125f));
    kqx::Matrix matrix = sample.matrix;
    matrix.m[3][1] += 0.5f;
    EXPECT_TRUE(on(sample.matrix).compare(on(matrix), 0.5f));
    EXPECT_FALSE(on(sample.matrix).compare(on(matrix), 0.25f));
    const kqx::Quat quat(1, 0.5f, 0, 0.5f);
    EXPECT_TRUE(on(sample.quat).compare(on(quat), 0.5f));
    EXPECT_FALSE(on(sample.quat).compare(on(quat), 0.25f));
}

TEST_F(ConstValueHandleTest, MathTypesOfOtherTypesCompareTheDefaultWithTheTolerance)
{
    EXPECT_TRUE(on(kqx::Vector3(0.5f, 0, 0)).compare(on(7), 0.5f));
    EXPECT_FALSE(on(kqx::Vector3(0.5f, 0, 0)).compare(on(7), 0.25f));
    EXPECT_TRUE(on(kqx::Matrix()).compare(on(7), 0.0f));
    EXPECT_TRUE(on(kqx::Quat(0, 0, 0, 1.25f)).compare(on(7), 0.5f));
}

TEST_F(ConstValueHandleTest, AllOtherTypesIgnoreTheTolerance)
{
    EXPECT_TRUE(on(1).compare(on(1), 0.0f));
    EXPECT_FALSE(on(1).compare(on(2), 5.0f));
    EXPECT_FALSE(on(1, AttributeType::kEnum).compare(on(2), 5.0f));
    EXPECT_FALSE(on(true).compare(on(false), 5.0f));
    EXPECT_FALSE(on(kqx::Colour(1, 0, 0, 0)).compare(on(kqx::Colour(1.25f, 0, 0, 0)), 5.0f));
    EXPECT_FALSE(on(kqx::String(L"1")).compare(on(kqx::String(L"2")), 5.0f));
    EXPECT_FALSE(on(sample.buffer).compare(on(kqx::VertexBuffer()), 5.0f));
    EXPECT_FALSE(on(kqx::FloatArray{1}).compare(on(kqx::FloatArray{1.25f}), 5.0f));
    EXPECT_TRUE(on(kqx::FloatArray{1}).compare(on(kqx::FloatArray{1}), 0.0f));
    EXPECT_FALSE(on(kqx::DoubleArray{1}).compare(on(kqx::DoubleArray{1.25}), 5.0f));
    EXPECT_FALSE(on(kqx::Vector3Array{{1, 0, 0}}).compare(on(kqx::Vector3Array{{2, 0, 0}}), 5.0f));
}

// --- Text ---

TEST_F(ConstValueHandleTest, NumbersAsText)
{
    EXPECT_EQ(textOf(on(-42)), L"-42");
    EXPECT_EQ(textOf(on(kIntMin)), L"-2147483648");
    EXPECT_EQ(textOf(on(7, AttributeType::kEnum)), L"7");
    EXPECT_EQ(textOf(on(true)), L"1");
    EXPECT_EQ(textOf(on(false)), L"0");
    EXPECT_EQ(textOf(on(1.5f)), L"1.5");
    EXPECT_EQ(textOf(on(0.1f)), L"0.1");
    EXPECT_EQ(textOf(on(1234567.0f)), L"1.23457e+06");
    EXPECT_EQ(textOf(on(0.00001)), L"1e-05");
    EXPECT_EQ(textOf(on(3.14159265358979)), L"3.14159");
}

TEST_F(ConstValueHandleTest, AStringAsTextIsItself)
{
    EXPECT_EQ(textOf(on(kqx::String(L"say \"hi\""))), L"say \"hi\"");
    EXPECT_EQ(textOf(on(kqx::String())), L"");
}

TEST_F(ConstValueHandleTest, MathTypesAsTextAreTheirStoredComponents)
{
    EXPECT_EQ(textOf(on(kqx::Colour(0.5f, 0.25f, 1, 0))), L"0.5 0.25 1 0");
    EXPECT_EQ(textOf(on(kqx::Vector3(1, 2, 3))), L"1 2 3 0");
    EXPECT_EQ(textOf(on(kqx::Quat(0, 0.5f, 0, 1))), L"0 0.5 0 1");
    kqx::Matrix matrix;
    float next = 1;
    for (auto& row : matrix.m)
        for (float& component : row)
            component = next++;
    EXPECT_EQ(textOf(on(matrix)), L"1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16");
}

TEST_F(ConstValueHandleTest, NullAsTextSaysSo)
{
    EXPECT_EQ(textOf(nullValue()), L"NULL");
}

TEST_F(ConstValueHandleTest, AVertexBufferAsTextIsItsStreams)
{
    EXPECT_EQ(textOf(on(sample.buffer)), L"1 2 3.5 0.25 1");
    EXPECT_EQ(textOf(on(kqx::VertexBuffer())), L"");
}

TEST_F(ConstValueHandleTest, ArraysAsTextAreTheirElements)
{
    EXPECT_EQ(textOf(on(kqx::IntArray{1, -2, 3})), L"1 -2 3");
    EXPECT_EQ(textOf(on(kqx::FloatArray{0.5f, 2})), L"0.5 2");
    EXPECT_EQ(textOf(on(kqx::DoubleArray{0.125})), L"0.125");
    EXPECT_EQ(textOf(on(kqx::BoolArray{true, false, true})), L"1 0 1");
    EXPECT_EQ(textOf(on(kqx::ColourArray{{1, 2, 3, 4}, {5, 6, 7, 8}})), L"1 2 3 4 5 6 7 8");
    EXPECT_EQ(textOf(on(kqx::Vector3Array{{1, 2, 3}, {4, 5, 6}})), L"1 2 3 0 4 5 6 0");
    EXPECT_EQ(textOf(on(kqx::QuatArray{{1, 2, 3, 4}})), L"1 2 3 4");
    EXPECT_EQ(textOf(on(kqx::MatrixArray(2))), L"1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1");
}

TEST_F(ConstValueHandleTest, AStringArrayAsTextQuotesItsElements)
{
    EXPECT_EQ(textOf(on(kqx::StringArray{kqx::String(L"a\"b"), kqx::String(L"c")})), L"\"a\\\"b\",\"c\"");
    EXPECT_EQ(textOf(on(kqx::StringArray{kqx::String(L"a\\b")})), L"\"a\\b\"");
    EXPECT_EQ(textOf(on(kqx::StringArray{kqx::String()})), L"\"\"");
}

TEST_F(ConstValueHandleTest, EmptyArraysAndNoTypeAsTextAreEmpty)
{
    for (std::uint32_t i = AttributeType::kIntArray; i <= AttributeType::kQuatArray; ++i)
        EXPECT_EQ(textOf(DefaultValue(static_cast<AttributeTypeId>(i))), L"") << i;
    for (const std::uint32_t number : kNoTypes)
        EXPECT_EQ(textOf({&sample.integer, static_cast<AttributeTypeId>(number)}), L"");
}

TEST_F(ConstValueHandleTest, ToStringWithoutAnOutputDoesNothing)
{
    EXPECT_TRUE(on(sample.text).toString(nullptr));
}

TEST_F(ConstValueHandleTest, ToStringMayWriteOverItsOwnValue)
{
    kqx::String text(L"kept");
    EXPECT_TRUE(on(text).toString(&text));
    EXPECT_EQ(text, L"kept");
}

TEST_F(ConstValueHandleTest, ToStringWithoutMemoryLeavesTheOutputAlone)
{
    kqx::String out(L"kept");
    const foundationtest::HeapLimit noMemory(0);
    EXPECT_FALSE(on(sample.text).toString(&out));
    EXPECT_EQ(out, L"kept");
}

// --- Writing ---

TEST_F(ValueHandleTest, UncheckedAccessWritesTheValue)
{
    const DefaultValue value(AttributeType::kString);
    value.getString() = L"new";
    EXPECT_EQ(value.asString(), L"new");
}

TEST_F(ValueHandleTest, AssignOfTheSameTypeCopiesTheValue)
{
    for (const ConstValueHandle& handle : samples)
    {
        const DefaultValue value(handle.getTypeId());
        EXPECT_TRUE(value.assign(handle));
        EXPECT_EQ(textOf(value), textOf(handle));
        EXPECT_TRUE(value.compare(handle)) << handle.getTypeId();
    }
}

TEST_F(ValueHandleTest, AssignConvertsNumbersAsTheReadsDo)
{
    for (const ConstValueHandle& from : samples)
    {
        SCOPED_TRACE(from.getTypeId());
        const DefaultValue integer(AttributeType::kInt, on(-1));
        const DefaultValue choice(AttributeType::kEnum, on(-1));
        const DefaultValue boolean(AttributeType::kBool, on(-1));
        const DefaultValue number(AttributeType::kFloat, on(-1));
        const DefaultValue wide(AttributeType::kDouble, on(-1));
        EXPECT_TRUE(integer.assign(from) && choice.assign(from) && boolean.assign(from) && number.assign(from) &&
                    wide.assign(from));
        EXPECT_EQ(integer.getInt(), from.asInt());
        EXPECT_EQ(choice.getInt(), from.asInt());
        EXPECT_EQ(boolean.getBool(), from.asBool());
        EXPECT_EQ(number.getFloat(), from.asFloat());
        EXPECT_EQ(wide.getDouble(), from.asDouble());
    }
}

TEST_F(ValueHandleTest, AssignOfAnotherTypeToAnyOtherTypeWritesTheDefault)
{
    for (const ConstValueHandle& own : samples)
    {
        const AttributeTypeId typeId = own.getTypeId();
        const bool isNumber =
            typeId <= AttributeType::kEnum && typeId != AttributeType::kColour && typeId != AttributeType::kString;
        if (isNumber)
            continue;
        for (const ConstValueHandle& other : samples)
        {
            if (other.getTypeId() == typeId)
                continue;
            const DefaultValue value(typeId, own);
            EXPECT_TRUE(value.assign(other));
            EXPECT_TRUE(value.compare(DefaultValue(typeId))) << typeId << " from " << other.getTypeId();
        }
    }
}

TEST_F(ValueHandleTest, AssignOfAnIntToAVector3ZeroesIt)
{
    const DefaultValue value(AttributeType::kVector3, on(sample.vector));
    value.assign(on(5));
    EXPECT_EQ(value.getVector3(), kqx::Vector3::zero());
}

TEST_F(ValueHandleTest, AssignOfAnIntToAStringEmptiesIt)
{
    const DefaultValue value(AttributeType::kString, on(sample.text));
    value.assign(on(5));
    EXPECT_TRUE(value.getString().empty());
}

TEST_F(ValueHandleTest, AssignOfItsOwnValueKeepsIt)
{
    for (const ConstValueHandle& handle : samples)
    {
        const DefaultValue value(handle.getTypeId(), handle);
        EXPECT_TRUE(value.assign(value));
        EXPECT_TRUE(value.compare(handle)) << handle.getTypeId();
    }
}

TEST_F(ValueHandleTest, AssignToNullHasNothingToDo)
{
    const DefaultValue value(AttributeType::kNull);
    EXPECT_TRUE(value.assign(on(5)));
    EXPECT_TRUE(value.isNull());
}

TEST_F(ValueHandleTest, AssignWithoutAValueIsRefused)
{
    EXPECT_FALSE(ValueHandle().assign(on(5)));
    EXPECT_FALSE(ValueHandle().clearToDefault());
}

TEST_F(ValueHandleTest, AssignWithoutMemoryLeavesTheValueAlone)
{
    const kqx::String longer(L"a text that is longer than the one that is there by a good deal");
    const DefaultValue text(AttributeType::kString, on(sample.text));
    const DefaultValue array(AttributeType::kStringArray, on(sample.texts));
    const kqx::StringArray others(5, longer);
    {
        const foundationtest::HeapLimit noMemory(0);
        EXPECT_FALSE(text.assign(on(longer)));
    }
    for (std::size_t grants = 0; grants < 5; ++grants)
    {
        const foundationtest::HeapLimit littleMemory(grants);
        EXPECT_FALSE(array.assign(on(others)));
    }
    EXPECT_EQ(text.getString(), sample.text);
    EXPECT_EQ(array.getStringArray(), sample.texts);
}

TEST_F(ValueHandleTest, ClearToDefaultGivesEveryTypeItsDefault)
{
    for (const ConstValueHandle& handle : samples)
    {
        const DefaultValue value(handle.getTypeId(), handle);
        EXPECT_TRUE(value.clearToDefault());
        EXPECT_TRUE(value.compare(DefaultValue(handle.getTypeId()))) << handle.getTypeId();
    }
}

TEST_F(ValueHandleTest, ClearToDefaultNeedsNoMemory)
{
    std::vector<ValueHandle> values;
    for (const ConstValueHandle& handle : samples)
        values.push_back(ValueHandle::create(handle));
    {
        const foundationtest::HeapLimit noMemory(0);
        for (const ValueHandle& value : values)
            EXPECT_TRUE(value.clearToDefault()) << value.getTypeId();
    }
    for (ValueHandle& value : values)
        value.destroyAndFree();
}

TEST_F(ValueHandleTest, ClearToDefaultMakesAMatrixIdentityAndAnArrayEmpty)
{
    const DefaultValue matrix(AttributeType::kMatrix, on(sample.matrix));
    matrix.clearToDefault();
    EXPECT_EQ(matrix.getMatrix(), kqx::Matrix::identity());
    const DefaultValue array(AttributeType::kDoubleArray, on(sample.doubles));
    array.clearToDefault();
    EXPECT_TRUE(array.getDoubleArray().empty());
}

// --- Arrays ---

TEST_F(ValueHandleTest, ResizeGivesEveryArrayTypeNewDefaultElements)
{
    for (std::uint32_t i = 0; i < kAttributeTypeCount; ++i)
    {
        const auto typeId = static_cast<AttributeTypeId>(i);
        const DefaultValue value(typeId, samples[i]);
        EXPECT_EQ(value.resize(5), ValueInfo::isArray(typeId)) << i;
        EXPECT_EQ(value.getSize(), ValueInfo::isArray(typeId) ? 5u : 1u) << i;
        EXPECT_EQ(value.resize(0), ValueInfo::isArray(typeId)) << i;
    }
    const DefaultValue ints(AttributeType::kIntArray, on(sample.ints));
    ints.resize(4);
    EXPECT_EQ(ints.getIntArray(), (kqx::IntArray{1, -2, 3, 0}));
    const DefaultValue matrices(AttributeType::kMatrixArray);
    matrices.resize(1);
    EXPECT_EQ(matrices.getMatrixArray()[0], kqx::Matrix::identity());
}

TEST_F(ValueHandleTest, ReserveMakesRoomInEveryArrayTypeAndChangesNoValue)
{
    for (std::uint32_t i = 0; i < kAttributeTypeCount; ++i)
    {
        const auto typeId = static_cast<AttributeTypeId>(i);
        const DefaultValue value(typeId, samples[i]);
        EXPECT_EQ(value.reserve(100), ValueInfo::isArray(typeId)) << i;
        EXPECT_TRUE(value.compare(samples[i])) << i;
    }
    const DefaultValue ints(AttributeType::kIntArray);
    ints.reserve(100);
    EXPECT_GE(ints.getIntArray().capacity(), 100u);
}

TEST_F(ValueHandleTest, TypedResizeFillsNewElements)
{
    const DefaultValue ints(AttributeType::kIntArray, on(kqx::IntArray{1}));
    EXPECT_TRUE(ints.resizeIntArray(3, 9));
    EXPECT_EQ(ints.getIntArray(), (kqx::IntArray{1, 9, 9}));
    const DefaultValue bools(AttributeType::kBoolArray);
    EXPECT_TRUE(bools.resizeBoolArray(2, true));
    EXPECT_EQ(bools.getBoolArray(), (kqx::BoolArray{true, true}));
    const DefaultValue colours(AttributeType::kColourArray);
    EXPECT_TRUE(colours.resizeColourArray(2, sample.colour));
    EXPECT_EQ(colours.getColourArray(), kqx::ColourArray(2, sample.colour));
    const DefaultValue floats(AttributeType::kFloatArray);
    EXPECT_TRUE(floats.resizeFloatArray(2, 0.5f));
    EXPECT_EQ(floats.getFloatArray(), (kqx::FloatArray{0.5f, 0.5f}));
    const DefaultValue doubles(AttributeType::kDoubleArray);
    EXPECT_TRUE(doubles.resizeDoubleArray(2, 0.25));
    EXPECT_EQ(doubles.getDoubleArray(), (kqx::DoubleArray{0.25, 0.25}));
    const DefaultValue texts(AttributeType::kStringArray);
    EXPECT_TRUE(texts.resizeStringArray(2, sample.text));
    EXPECT_EQ(texts.getStringArray(), kqx::StringArray(2, sample.text));
    const DefaultValue vectors(AttributeType::kVector3Array);
    EXPECT_TRUE(vectors.resizeVector3Array(2, sample.vector));
    EXPECT_EQ(vectors.getVector3Array(), kqx::Vector3Array(2, sample.vector));
    const DefaultValue matrices(AttributeType::kMatrixArray);
    EXPECT_TRUE(matrices.resizeMatrixArray(2, sample.matrix));
    EXPECT_EQ(matrices.getMatrixArray(), kqx::MatrixArray(2, sample.matrix));
    const DefaultValue quats(AttributeType::kQuatArray);
    EXPECT_TRUE(quats.resizeQuatArray(2, sample.quat));
    EXPECT_EQ(quats.getQuatArray(), kqx::QuatArray(2, sample.quat));
}

TEST_F(ValueHandleTest, TypedResizeOfAnotherTypeIsRefused)
{
    for (std::uint32_t i = 0; i < kAttributeTypeCount; ++i)
    {
        const DefaultValue value(static_cast<AttributeTypeId>(i), samples[i]);
        SCOPED_TRACE(i);
        EXPECT_EQ(value.resizeIntArray(9, 1), i == AttributeType::kIntArray);
        EXPECT_EQ(value.resizeBoolArray(9, true), i == AttributeType::kBoolArray);
        EXPECT_EQ(value.resizeColourArray(9, sample.colour), i == AttributeType::kColourArray);
        EXPECT_EQ(value.resizeFloatArray(9, 1), i == AttributeType::kFloatArray);
        EXPECT_EQ(value.resizeDoubleArray(9, 1), i == AttributeType::kDoubleArray);
        EXPECT_EQ(value.resizeStringArray(9, sample.text), i == AttributeType::kStringArray);
        EXPECT_EQ(value.resizeVector3Array(9, sample.vector), i == AttributeType::kVector3Array);
        EXPECT_EQ(value.resizeMatrixArray(9, sample.matrix), i == AttributeType::kMatrixArray);
        EXPECT_EQ(value.resizeQuatArray(9, sample.quat), i == AttributeType::kQuatArray);
        EXPECT_EQ(value.compare(samples[i]), !ValueInfo::isArray(value.getTypeId()));
    }
}

TEST_F(ValueHandleTest, ResizesThatFindNoMemoryLeaveTheArrayAlone)
{
    const DefaultValue ints(AttributeType::kIntArray, on(sample.ints));
    EXPECT_FALSE(ints.resize(SIZE_MAX));
    EXPECT_FALSE(ints.reserve(SIZE_MAX));
    EXPECT_FALSE(ints.resizeIntArray(SIZE_MAX, 1));
    const foundationtest::HeapLimit noMemory(0);
    EXPECT_FALSE(ints.resize(1000));
    EXPECT_FALSE(ints.reserve(1000));
    EXPECT_FALSE(ints.resizeIntArray(1000, 1));
    EXPECT_EQ(ints.getIntArray(), sample.ints);
}

TEST_F(ValueHandleTest, ResizesOfANullHandleAreRefused)
{
    const ValueHandle handle = ValueHandle::constructAt(nullptr, AttributeType::kIntArray);
    EXPECT_FALSE(handle.resize(1));
    EXPECT_FALSE(handle.reserve(1));
    EXPECT_FALSE(handle.resizeIntArray(1, 1));
}

// --- Values on the heap ---

TEST_F(ValueHandleTest, CreateMakesTheDefaultOfEveryType)
{
    for (const AttributeTypeId typeId : allTypes())
    {
        SCOPED_TRACE(typeId);
        ValueHandle value;
        ValueHandle::create(typeId, value);
        EXPECT_EQ(value.getTypeId(), typeId);
        EXPECT_EQ(value.isNull(), typeId == AttributeType::kNull);
        EXPECT_TRUE(value.compare(ConstValueHandle(nullptr, typeId)));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(value.getData()) % ValueInfo::getStorageAlignment(typeId), 0u);
        value.destroyAndFree();
    }
}

TEST_F(ValueHandleTest, CreateFromAHandleMakesACopy)
{
    for (const ConstValueHandle& from : samples)
    {
        SCOPED_TRACE(from.getTypeId());
        ValueHandle value;
        ValueHandle::create(from, value);
        ValueHandle byValue = ValueHandle::create(from);
        EXPECT_EQ(value.getTypeId(), from.getTypeId());
        EXPECT_EQ(byValue.getTypeId(), from.getTypeId());
        EXPECT_EQ(value.isNull(), from.isNull());
        EXPECT_TRUE(value.compare(from));
        EXPECT_TRUE(byValue.compare(from));
        EXPECT_EQ(value.isNull(), value.getData() == byValue.getData());
        value.destroyAndFree();
        byValue.destroyAndFree();
    }
}

TEST_F(ValueHandleTest, CreateWithoutATypeGivesANullPointerAndTheId)
{
    for (const std::uint32_t number : kNoTypes)
    {
        const auto typeId = static_cast<AttributeTypeId>(number);
        ValueHandle value;
        ValueHandle::create(typeId, value);
        EXPECT_EQ(value.getTypeId(), typeId);
        EXPECT_TRUE(value.isNull());
        EXPECT_TRUE(ValueHandle::create(ConstValueHandle(&sample.integer, typeId)).isNull());
        value.destroyAndFree();
    }
}

TEST_F(ValueHandleTest, ACopyOfANullHandleIsANullHandleOfTheType)
{
    const ValueHandle value = ValueHandle::create(ConstValueHandle(nullptr, AttributeType::kString));
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(value.getTypeId(), AttributeType::kString);
}

TEST_F(ValueHandleTest, CreateWithoutMemoryGivesANullPointerAndTheId)
{
    for (const ConstValueHandle& from : samples)
    {
        ValueHandle fresh;
        ValueHandle copy;
        {
            const foundationtest::HeapLimit noMemory(0);
            ValueHandle::create(from.getTypeId(), fresh);
            ValueHandle::create(from, copy);
        }
        EXPECT_TRUE(fresh.isNull());
        EXPECT_TRUE(copy.isNull());
        EXPECT_EQ(fresh.getTypeId(), from.getTypeId());
        EXPECT_EQ(copy.getTypeId(), from.getTypeId());
    }
}

TEST_F(ValueHandleTest, CreateWithoutMemoryForWhatTheValueOwnsGivesBackItsStorage)
{
    ValueHandle copy;
    {
        const foundationtest::HeapLimit memoryForTheObject(1);
        ValueHandle::create(on(sample.text), copy);
        EXPECT_EQ(memoryForTheObject.requests(), 2u);
    }
    EXPECT_TRUE(copy.isNull());
    EXPECT_EQ(copy.getTypeId(), AttributeType::kString);
}

TEST_F(ValueHandleTest, HeapValuesTakeTheirSizeAlone)
{
    const std::size_t expected[] = {4, 1, 16, 4, 8, sizeof(kqx::String), 4, 16, 64, 16};
    for (std::uint32_t i = 0; i < std::size(expected); ++i)
    {
        ValueHandle value;
        const foundationtest::HeapLimit counting;
        ValueHandle::create(static_cast<AttributeTypeId>(i), value);
        EXPECT_EQ(counting.bytes(), expected[i]) << i;
        value.destroyAndFree();
    }
}

TEST_F(ValueHandleTest, DestroyAndFreeIgnoresANullPointer)
{
    for (const AttributeTypeId typeId : allTypes())
    {
        ValueHandle value = ValueHandle::constructAt(nullptr, typeId);
        value.destroyAndFree();
        EXPECT_TRUE(value.isNull());
    }
}

TEST_F(ValueHandleTest, DestroyAndFreeLeavesANullPointer)
{
    ValueHandle value = ValueHandle::create(on(sample.texts));
    value.destroyAndFree();
    EXPECT_TRUE(value.isNull());
    value.destroyAndFree(); // and so may be repeated
    EXPECT_EQ(value.getTypeId(), AttributeType::kStringArray);
}

// --- Values in a block ---

TEST_F(ValueHandleTest, CreateInABlockPlacesEveryTypeAtItsAlignment)
{
    alignas(16) unsigned char block[256];
    for (const ConstValueHandle& from : samples)
    {
        const AttributeTypeId typeId = from.getTypeId();
        SCOPED_TRACE(typeId);
        const std::size_t size = ValueInfo::getMemoryRequirements(typeId).size;
        const std::size_t alignment = ValueInfo::getStorageAlignment(typeId);

        MemoryResource resource(block + 1, sizeof block - 1);
        ValueHandle fresh;
        ValueHandle::create(typeId, resource, &fresh);
        EXPECT_EQ(fresh.getTypeId(), typeId);
        EXPECT_TRUE(fresh.compare(ConstValueHandle(nullptr, typeId)));
        if (size == 0)
        {
            EXPECT_TRUE(fresh.isNull());
            EXPECT_EQ(resource.cursor, block + 1);
            continue;
        }
        EXPECT_EQ(fresh.getData(), block + alignment);
        EXPECT_EQ(resource.cursor, block + alignment + size);
        EXPECT_EQ(resource.remaining, sizeof block - alignment - size);

        ValueHandle copy;
        ValueHandle::create(from, resource, &copy);
        EXPECT_TRUE(copy.compare(from));
        EXPECT_EQ(copy.getData(), block + roundUp(alignment + size, alignment));
        fresh.destroy();
        copy.destroy();
    }
}

TEST_F(ValueHandleTest, CreateInABlockNeedsNoOutput)
{
    alignas(16) unsigned char block[64];
    MemoryResource resource(block, sizeof block);
    ValueHandle::create(AttributeType::kVector3, resource, nullptr);
    EXPECT_EQ(resource.cursor, block + 16);
    ValueHandle::create(on(sample.vector), resource, nullptr);
    EXPECT_EQ(resource.cursor, block + 32);
    EXPECT_EQ(*reinterpret_cast<const kqx::Vector3*>(block), kqx::Vector3::zero());
    EXPECT_EQ(*reinterpret_cast<const kqx::Vector3*>(block + 16), sample.vector);
}

TEST_F(ValueHandleTest, CreateWithoutABlockGivesANullPointer)
{
    MemoryResource resource;
    ValueHandle value;
    ValueHandle::create(AttributeType::kInt, resource, &value);
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(value.getTypeId(), AttributeType::kInt);
    EXPECT_EQ(resource.cursor, nullptr);
}

TEST_F(ValueHandleTest, CreateInABlockThatIsTooSmallTakesNothing)
{
    alignas(16) unsigned char block[64];
    MemoryResource resource(block, 63);
    ValueHandle value;
    ValueHandle::create(on(sample.matrix), resource, &value);
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(value.getTypeId(), AttributeType::kMatrix);
    EXPECT_EQ(resource.cursor, block);
    EXPECT_EQ(resource.remaining, 63u);
}

TEST_F(ValueHandleTest, CreateInABlockWithoutMemoryForWhatTheValueOwnsTakesNothing)
{
    alignas(16) unsigned char block[64];
    MemoryResource resource(block, sizeof block);
    ValueHandle value;
    {
        const foundationtest::HeapLimit noMemory(0);
        ValueHandle::create(on(sample.text), resource, &value);
    }
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(resource.cursor, block);
    EXPECT_EQ(resource.remaining, 64u);
}

TEST_F(ValueHandleTest, ConstructAtMakesDefaultsAndCopiesInPlace)
{
    alignas(16) unsigned char storage[64];
    for (const ConstValueHandle& from : samples)
    {
        SCOPED_TRACE(from.getTypeId());
        const bool hasStorage = from.getTypeId() != AttributeType::kNull;
        ValueHandle fresh = ValueHandle::constructAt(storage, from.getTypeId());
        EXPECT_EQ(fresh.getData(), hasStorage ? storage : nullptr);
        EXPECT_TRUE(fresh.compare(ConstValueHandle(nullptr, from.getTypeId())));
        fresh.destroy();
        ValueHandle copy = ValueHandle::constructAt(storage, from);
        EXPECT_EQ(copy.getData(), hasStorage ? storage : nullptr);
        EXPECT_TRUE(copy.compare(from));
        copy.destroy();
    }
}

TEST_F(ValueHandleTest, ConstructAtWithoutMemoryGivesANullPointer)
{
    alignas(16) unsigned char storage[64];
    const foundationtest::HeapLimit noMemory(0);
    EXPECT_TRUE(ValueHandle::constructAt(storage, on(sample.doubles)).isNull());
}

TEST_F(ValueHandleTest, InitWritesTheDefaultOfPlainDataIntoRawStorage)
{
    for (const AttributeTypeId typeId : allTypes())
    {
        if (!ValueInfo::isPODType(typeId))
            continue;
        ValueHandle value = ValueHandle::create(samples[typeId]);
        ValueHandle::init(typeId, value);
        EXPECT_TRUE(value.compare(ConstValueHandle(nullptr, typeId))) << typeId;
        EXPECT_EQ(value.getTypeId(), typeId);
        value.destroyAndFree();
    }
}

TEST_F(ValueHandleTest, InitLeavesOtherTypesAlone)
{
    for (const AttributeTypeId typeId : allTypes())
    {
        if (ValueInfo::isPODType(typeId))
            continue;
        ValueHandle value = ValueHandle::create(samples[typeId]);
        ValueHandle::init(typeId, value);
        EXPECT_TRUE(value.compare(samples[typeId])) << typeId;
        value.destroyAndFree();
    }
}

TEST_F(ValueHandleTest, InitOfANullHandleDoesNothing)
{
    ValueHandle value;
    ValueHandle::init(AttributeType::kMatrix, value);
    EXPECT_TRUE(value.isNull());
}

// --- DefaultValue ---

TEST_F(DefaultValueTest, OfATypeHoldsTheTypesDefault)
{
    for (const AttributeTypeId typeId : allTypes())
    {
        const DefaultValue value(typeId);
        EXPECT_EQ(value.getTypeId(), typeId);
        EXPECT_TRUE(value.compare(ConstValueHandle(nullptr, typeId))) << typeId;
    }
}

TEST_F(DefaultValueTest, OfATypeAndAHandleConverts)
{
    EXPECT_EQ(DefaultValue(AttributeType::kInt, on(2.9f)).getInt(), 2);
    EXPECT_EQ(DefaultValue(AttributeType::kFloat, on(kqx::String(L"2.5"))).getFloat(), 2.5f);
    EXPECT_TRUE(DefaultValue(AttributeType::kString, on(5)).getString().empty());
}

TEST_F(DefaultValueTest, ACopyHasAValueOfItsOwn)
{
    for (const ConstValueHandle& from : samples)
    {
        const DefaultValue original(from.getTypeId(), from);
        const DefaultValue copy(original);
        EXPECT_EQ(copy.getTypeId(), from.getTypeId());
        EXPECT_TRUE(copy.compare(from)) << from.getTypeId();
        EXPECT_EQ(copy.isNull(), copy.getData() == original.getData());
    }
}

TEST_F(DefaultValueTest, AssignmentCopiesThePointerAndTheTypeAlone)
{
    const DefaultValue source(AttributeType::kString, on(sample.text));
    // Of the two only the source is destroyed, so the other one lives in raw storage.
    alignas(DefaultValue) unsigned char storage[sizeof(DefaultValue)];
    auto* const target = ::new (storage) DefaultValue(AttributeType::kInt, on(5));
    ValueHandle former = *target;
    *target = source;
    EXPECT_EQ(target->getData(), source.getData());
    EXPECT_EQ(target->getTypeId(), AttributeType::kString);
    EXPECT_EQ(former.getInt(), 5);
    former.destroyAndFree();
}

TEST_F(DefaultValueTest, WithoutMemoryTheValueIsMissing)
{
    const foundationtest::HeapLimit noMemory(0);
    const DefaultValue value(AttributeType::kInt, on(5));
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(value.getTypeId(), AttributeType::kInt);
    EXPECT_EQ(value.asInt(), 0);
}
