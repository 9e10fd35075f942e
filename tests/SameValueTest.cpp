#include "SameValue.h"

#include "support/ModelValue.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <limits>

namespace db2test {
namespace {

/// A value of the type on the heap, written.
DefaultValue valueOf(const ModelValue& model)
{
    DefaultValue value(model.type);
    writeValue(value, model);
    return value;
}

TEST(SameValueTest, ValuesOfEveryTypeAreTheSameExactlyWhenAllBitsAre)
{
    Random random(7);
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        if (type == AttributeType::kNull)
            continue;
        SCOPED_TRACE(type);
        int differing = 0;
        for (int i = 0; i < 100; ++i)
        {
            const auto typeId = static_cast<AttributeTypeId>(type);
            const ModelValue a = randomModelValue(typeId, random);
            const ModelValue b = random.chance(1, 4) ? defaultModelValue(typeId) : randomModelValue(typeId, random);
            EXPECT_TRUE(hasSameBits(valueOf(a), valueOf(a)));
            EXPECT_EQ(hasSameBits(valueOf(a), valueOf(b)), a == b);
            differing += a == b ? 0 : 1;
        }
        EXPECT_GT(differing, 0);
    }
}

TEST(SameValueTest, NullIsTheSameAsNull)
{
    EXPECT_TRUE(hasSameBits(DefaultValue(AttributeType::kNull), DefaultValue(AttributeType::kNull)));
}

TEST(SameValueTest, ZeroIsNotMinusZeroAndNaNIsItself)
{
    const float zero = 0.0f;
    const float minusZero = -0.0f;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(hasSameBits({&zero, AttributeType::kFloat}, {&minusZero, AttributeType::kFloat}));
    EXPECT_TRUE(hasSameBits({&nan, AttributeType::kFloat}, {&nan, AttributeType::kFloat}));
}

TEST(SameValueTest, ValuesOfDifferentTypesAreNotTheSame)
{
    const int number = 0;
    EXPECT_FALSE(hasSameBits({&number, AttributeType::kInt}, {&number, AttributeType::kEnum}));
    EXPECT_FALSE(hasSameBits({&number, AttributeType::kInt}, {nullptr, AttributeType::kInt}));
    EXPECT_TRUE(hasSameBits({nullptr, AttributeType::kInt}, {nullptr, AttributeType::kInt}));
}

} // namespace
} // namespace db2test
