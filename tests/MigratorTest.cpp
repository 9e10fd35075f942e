#include <db2/Migrator.h>

#include "support/Scene.h"

#include <gtest/gtest.h>

namespace db2test {
namespace {

/// What a host gets that derives from Migrator and overrides nothing.
class MigratorTest : public ::testing::Test
{
protected:
    Scene scene;
    Node* node = scene.node(L"n");
    Migrator migrator;
};

TEST_F(MigratorTest, NamesStayAsTheyAre)
{
    const wchar_t* const name = L"name";
    EXPECT_EQ(migrator.migrateNodeTypeName(name), name);
    EXPECT_EQ(migrator.migrateNodeModuleId(name, L"type"), name);
    EXPECT_EQ(migrator.migrateAttributeName(name, node), name);
    EXPECT_EQ(migrator.migrateEnumChoice(name, L"attribute", node), name);
}

TEST_F(MigratorTest, NothingIsRefused)
{
    EXPECT_TRUE(migrator.onLoadBegin(*node, nullptr, L"type"));
    EXPECT_TRUE(migrator.onNodeLoaded(*node));
    EXPECT_TRUE(migrator.onLegacyNodeLoaded(*node));
    EXPECT_TRUE(migrator.onLoadSuccess(*node));
}

TEST_F(MigratorTest, NoLegacyConnectionIsHandled)
{
    Attribute* const attribute = node->findAttributeByName(L"Int");
    EXPECT_FALSE(migrator.migrateLegacyConnection(attribute, attribute));
}

TEST_F(MigratorTest, KnowsWhatItIsRegisteredFor)
{
    EXPECT_EQ(migrator.getVersion(), 0u);
    EXPECT_EQ(migrator.getModule(), nullptr);
    scene.module().setDataVersion(3);
    ASSERT_EQ(scene.module().registerMigrator(&migrator, 3), Status::kSuccess);
    EXPECT_EQ(migrator.getVersion(), 3u);
    EXPECT_EQ(migrator.getModule(), &scene.module());
    EXPECT_EQ(scene.module().unregisterMigrator(&migrator), Status::kSuccess);
}

TEST_F(MigratorTest, CarriesAPointerOfTheHosts)
{
    EXPECT_EQ(migrator.getAPI(), nullptr);
    migrator.setAPI(&scene);
    EXPECT_EQ(migrator.getAPI(), &scene);
}

} // namespace
} // namespace db2test
