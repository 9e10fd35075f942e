#include <db2/Operation.h>

#include <gtest/gtest.h>

namespace {

using namespace db2;

TEST(OperationTest, TheNumberOfAnOperationIsItsSlot)
{
    EXPECT_EQ(static_cast<unsigned int>(Operation::kCreateNode), 0u);
    EXPECT_EQ(static_cast<unsigned int>(Operation::kCreateDynamicElement), 6u);
    EXPECT_EQ(static_cast<unsigned int>(Operation::kLockAttribute), 12u);
    EXPECT_EQ(static_cast<unsigned int>(Operation::kCommit), 16u);
    EXPECT_EQ(static_cast<unsigned int>(Operation::kClear), kOperationCount - 1);
}

TEST(OperationTest, TheBitOfAnOperationIsOneShiftedByItsSlot)
{
    static_assert(bitOf(Operation::kCreateNode) == 0x1u);
    static_assert(bitOf(Operation::kClear) == 0x40000u);
    unsigned int all = 0;
    for (std::size_t slot = 0; slot < kOperationCount; ++slot)
        all |= bitOf(static_cast<Operation>(slot));
    EXPECT_EQ(all, 0x7FFFFu);
}

TEST(OperationTest, AnOperationHasTheNameOfItsFunction)
{
    constexpr const char* kNames[] = {"db_createNode",
                                      "db_createUnknownNode",
                                      "db_destroyLeafNode",
                                      "db_renameNode",
                                      "db_reparentNode",
                                      "db_reorderNode",
                                      "db_createDynamicElement",
                                      "db_destroyDynamicElement",
                                      "db_renameDynamicElement",
                                      "db_resizeAttributeArray",
                                      "db_createReference",
                                      "db_destroyReference",
                                      "db_lockAttribute",
                                      "db_unlockAttribute",
                                      "db_lockAttributeArray",
                                      "db_unlockAttributeArray",
                                      "db_commit",
                                      "db_commitTransient",
                                      "db_clear"};
    static_assert(std::size(kNames) == kOperationCount);
    for (std::size_t slot = 0; slot < kOperationCount; ++slot)
        EXPECT_STREQ(nameOf(static_cast<Operation>(slot)), kNames[slot]);
}

} // namespace
