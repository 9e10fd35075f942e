#include "Paths/PathResolution.h"

#include <db2/Migrator.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace db2test {
namespace {

/// Turns one name into another and keeps what it was asked.
class RenamingMigrator : public Migrator
{
public:
    RenamingMigrator(const wchar_t* from, const wchar_t* to) : from_(from), to_(to) {}

    const wchar_t* migrateAttributeName(const wchar_t* name, Node* node) override
    {
        asked.emplace_back(name, node);
        return std::wstring_view(name) == from_ ? to_ : name;
    }

    std::vector<std::pair<std::wstring, const Node*>> asked;

private:
    const wchar_t* from_;
    const wchar_t* to_; ///< null refuses
};

class MigratedPathTest : public PathResolutionTest
{
protected:
    Element* legacy(const wchar_t* name, Node* node, bool isArray = false)
    {
        IntAttributeMetaDataDef definition;
        definition.setArray(isArray);
        Element* made = nullptr;
        EXPECT_EQ(scene.core().createLegacyElement(definition, name, node, &made), Status::kSuccess);
        return made;
    }

    Attribute* legacyAttribute(const wchar_t* name, Node* node) { return static_cast<Attribute*>(legacy(name, node)); }
    AttributeArray* legacyArray(const wchar_t* name, Node* node)
    {
        auto* const array = static_cast<AttributeArray*>(legacy(name, node, true));
        EXPECT_EQ(scene.core().db_resizeAttributeArray(array, 2), Status::kSuccess);
        return array;
    }

    Reached migrated(const wchar_t* path) { return resolve(path, true, &migrators); }

    RenamingMigrator first{L"old", L"older"};
    RenamingMigrator second{L"older", L"Int"};
    kqtl::pod_vector<Migrator*> migrators;
};

TEST_F(MigratedPathTest, AnElementNamePassesThroughTheMigratorsInOrder)
{
    migrators.push_back(&first);
    migrators.push_back(&second);
    EXPECT_EQ(migrated(L"|a.old"), (Reached{Status::kSuccess, a, nullptr, attributeOf(a)}));
    const std::vector<std::pair<std::wstring, const Node*>> askedFirst{{L"old", a}};
    const std::vector<std::pair<std::wstring, const Node*>> askedSecond{{L"older", a}};
    EXPECT_EQ(first.asked, askedFirst);
    EXPECT_EQ(second.asked, askedSecond);
}

TEST_F(MigratedPathTest, ArrayNamesAreMigratedToo)
{
    RenamingMigrator arrays(L"old", L"IntItems");
    migrators.push_back(&arrays);
    EXPECT_EQ(migrated(L"|a:old[2]"), (Reached{Status::kSuccess, a, pts, pts->getAttribute(2)}));
    EXPECT_EQ(migrated(L"|a:old"), (Reached{Status::kSuccess, a, pts}));
}

TEST_F(MigratedPathTest, NodeNamesAreNotMigrated)
{
    RenamingMigrator nodes(L"old", L"a");
    migrators.push_back(&nodes);
    EXPECT_EQ(migrated(L"|old"), Reached{Status::kPathNotResolved});
    EXPECT_EQ(migrated(L"|a|b"), (Reached{Status::kSuccess, b}));
    EXPECT_TRUE(nodes.asked.empty());
}

TEST_F(MigratedPathTest, AMigratorGetsTheNameWithoutEscapes)
{
    RenamingMigrator spaced(L"the old", L"Int");
    migrators.push_back(&spaced);
    EXPECT_EQ(migrated(L"|a.the\\ old"), (Reached{Status::kSuccess, a, nullptr, attributeOf(a)}));
}

TEST_F(MigratedPathTest, ANullNameEndsTheChainAndThePath)
{
    RenamingMigrator refuser(L"Int", nullptr);
    migrators.push_back(&refuser);
    migrators.push_back(&second);
    EXPECT_EQ(migrated(L"|a.Int"), Reached{Status::kPathNotResolved});
    EXPECT_TRUE(second.asked.empty());
    EXPECT_EQ(migrated(L"|a.Float"), (Reached{Status::kSuccess, a, nullptr, attributeOf(a, L"Float")}));
    EXPECT_TRUE(scene.log().take().empty());
}

TEST_F(MigratedPathTest, ANullNameForAnArrayEndsThePathToo)
{
    RenamingMigrator refuser(L"IntItems", nullptr);
    migrators.push_back(&refuser);
    EXPECT_EQ(migrated(L"|a:IntItems[0]"), Reached{Status::kPathNotResolved});
}

TEST_F(MigratedPathTest, AMigratedNameThatNobodyBearsLeadsNowhere)
{
    RenamingMigrator away(L"Int", L"gone");
    migrators.push_back(&away);
    EXPECT_EQ(migrated(L"|a.Int"), Reached{Status::kPathNotResolved});
}

TEST_F(MigratedPathTest, OnAKnownNodeTheLegacyElementComesFirst)
{
    Attribute* const old = legacyAttribute(L"Int", a);
    AttributeArray* const oldItems = legacyArray(L"IntItems", a);
    EXPECT_EQ(migrated(L"|a.Int"), (Reached{Status::kSuccess, a, nullptr, old}));
    EXPECT_EQ(migrated(L"|a:IntItems"), (Reached{Status::kSuccess, a, oldItems}));
    EXPECT_EQ(migrated(L"|b.Int").status, Status::kPathNotResolved);
    EXPECT_EQ(migrated(L"|a|b.Int"), (Reached{Status::kSuccess, b, nullptr, attributeOf(b)}));
}

TEST_F(MigratedPathTest, OnAKnownNodeLegacyElementsHaveTheMigratedName)
{
    Attribute* const old = legacyAttribute(L"older", a);
    legacyAttribute(L"old", a);
    migrators.push_back(&first);
    EXPECT_EQ(migrated(L"|a.old"), (Reached{Status::kSuccess, a, nullptr, old}));
}

TEST_F(MigratedPathTest, ALegacyElementOfTheOtherKindIsPassedOver)
{
    legacyArray(L"Int", a);
    legacyAttribute(L"IntItems", a);
    EXPECT_EQ(migrated(L"|a.Int"), (Reached{Status::kSuccess, a, nullptr, attributeOf(a)}));
    EXPECT_EQ(migrated(L"|a:IntItems"), (Reached{Status::kSuccess, a, pts}));
}

TEST_F(MigratedPathTest, WithoutMigratorsLegacyElementsAreNotReached)
{
    legacyAttribute(L"Int", a);
    legacyAttribute(L"only", a);
    EXPECT_EQ(resolve(L"|a.Int"), (Reached{Status::kSuccess, a, nullptr, attributeOf(a)}));
    EXPECT_EQ(resolve(L"|a.only"), Reached{Status::kPathNotResolved});
}

TEST_F(MigratedPathTest, AnEmptyListOfMigratorsStillReachesLegacyElements)
{
    Attribute* const only = legacyAttribute(L"only", a);
    EXPECT_EQ(migrated(L"|a.only"), (Reached{Status::kSuccess, a, nullptr, only}));
}

TEST_F(MigratedPathTest, OnALegacyNodeOnlyLegacyElementsAreReached)
{
    Node* const node = scene.unknownNode(L"legacy", nullptr, true);
    Attribute* const old = legacyAttribute(L"older", node);
    AttributeArray* const oldItems = legacyArray(L"items", node);
    scene.dynamicAttribute(IntAttributeMetaDataDef(), L"dynamic", node);
    migrators.push_back(&first);
    EXPECT_EQ(migrated(L"|legacy.old"), (Reached{Status::kSuccess, node, nullptr, old}));
    EXPECT_EQ(migrated(L"|legacy:items[1]"), (Reached{Status::kSuccess, node, oldItems, oldItems->getAttribute(1)}));
    EXPECT_EQ(migrated(L"|legacy.dynamic"), Reached{Status::kPathNotResolved});
    EXPECT_EQ(resolve(L"|legacy.dynamic").status, Status::kSuccess);
}

TEST_F(MigratedPathTest, OnAnUnknownNodeNamesStayAsWritten)
{
    Node* const node = scene.unknownNode(L"unknown");
    Element* made = nullptr;
    ASSERT_EQ(scene.core().createUnknownElement(IntAttributeMetaDataDef(), L"old", node, &made), Status::kSuccess);
    Element* items = nullptr;
    IntAttributeMetaDataDef definition;
    definition.setArray(true);
    ASSERT_EQ(scene.core().createUnknownElement(definition, L"older", node, &items), Status::kSuccess);
    migrators.push_back(&first);
    EXPECT_EQ(migrated(L"|unknown.old"), (Reached{Status::kSuccess, node, nullptr, static_cast<Attribute*>(made)}));
    EXPECT_EQ(migrated(L"|unknown:older"), (Reached{Status::kSuccess, node, static_cast<AttributeArray*>(items)}));
}

TEST_F(MigratedPathTest, PathToAttributeMigratesNames)
{
    RenamingMigrator straight(L"old", L"Int");
    migrators.push_back(&straight);
    Attribute* attribute = nullptr;
    EXPECT_EQ(dbu_pathToAttribute(scene.root(), L"|a|b.old", &attribute, true, &migrators), Status::kSuccess);
    EXPECT_EQ(attribute, attributeOf(b));
}

} // namespace
} // namespace db2test
