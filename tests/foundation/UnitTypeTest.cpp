#include <kqx/UnitType.h>

#include <gtest/gtest.h>

namespace {

TEST(UnitTypeTest, ValuesThatHostsStoreNeverChange)
{
    EXPECT_EQ(sizeof(kqx::UnitType), 4u);
    EXPECT_EQ(kqx::UnitType{}, kqx::kUnitNone);
    EXPECT_EQ(static_cast<int>(kqx::kUnitNone), 0);
    EXPECT_EQ(static_cast<int>(kqx::kUnitDistance), 1);
    EXPECT_EQ(static_cast<int>(kqx::kUnitAngle), 2);
    EXPECT_EQ(static_cast<int>(kqx::kUnitTime), 3);
    EXPECT_EQ(static_cast<int>(kqx::kUnitMass), 4);
    EXPECT_EQ(static_cast<int>(kqx::kUnitScalar), 5);
}

} // namespace
