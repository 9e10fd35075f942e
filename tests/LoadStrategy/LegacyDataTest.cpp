#include "support/LoadScene.h"

namespace db2test {
namespace {

/// What a load does at its end with data that no type has a place for, and what it answers.
class LoadStrategyLegacyDataTest : public LoadTest
{
protected:
    /// The file that the tests load: a legacy node with a known child, and a known node with two legacy elements.
    Status loadLegacyData(unsigned int dataVersion = 5)
    {
        return load(
            [&](TestLoader&) {
                dropped = makeNode(L"Dropped", L"dropped");
                child = makeNode(L"Plain", L"child", dropped);
                node = makeNode(L"All", L"node");
                populate(node, L"Gone");
                populateArray(node, L"Lost", AttributeType::kFloat);
                logged();
                data.take();
                return Status::kSuccess;
            },
            dataVersion);
    }
    /// The children of the load parent, legacy ones with a question mark.
    std::wstring names()
    {
        std::wstring names;
        for (NodeIterator walk(parent); walk.next();)
            names += std::wstring(walk.node()->getName()) + (walk.node()->isLegacy() ? L"? " : L" ");
        return names;
    }

    Node* dropped = nullptr;
    Node* child = nullptr;
    Node* node = nullptr;
};

// --- Unhandled ---

TEST_F(LoadStrategyLegacyDataTest, UnhandledDataIsLoggedCountedAndDestroyed)
{
    EXPECT_EQ(loadLegacyData(), Status::kLoadedWithUnhandledLegacyData);
    EXPECT_EQ(logged(),
              (Lines{L"E Legacy element 'Gone' of type 'Int' in node type 'All' not migrated",
                     L"E Legacy element 'Lost' of type 'Float' in node type 'All' not migrated",
                     L"E Legacy node of type 'Dropped' not migrated.", L"E There were 1 unhandled legacy nodes.",
                     L"E There were 2 unhandled legacy elements."}));
    EXPECT_EQ(loader.getNumUnhandledLegacyNodes(), 1u);
    EXPECT_EQ(loader.getNumUnhandledLegacyElements(), 2u);
    EXPECT_EQ(loader.getNumUnhandledLegacyConnections(), 0u);
    EXPECT_EQ(node->getLegacyElementCount(), 0u);
    EXPECT_TRUE(dropped->isDestroyed());
}

TEST_F(LoadStrategyLegacyDataTest, TheChildrenOfALegacyNodeSurviveInItsPlace)
{
    loadLegacyData();
    EXPECT_EQ(names(), L"child node ");
    EXPECT_EQ(data.take(),
              (Lines{L"move |parent|dropped|child under |parent before |parent|node", L"destroy |parent|dropped"}));
}

TEST_F(LoadStrategyLegacyDataTest, LegacyNodesGoChildrenFirst)
{
    EXPECT_EQ(load([&](TestLoader&) {
                  Node* const outer = makeNode(L"Outer", L"outer");
                  populate(makeNode(L"Inner", L"inner", outer), L"x");
                  logged();
                  data.take();
                  return Status::kSuccess;
              }),
              Status::kLoadedWithUnhandledLegacyData);
    EXPECT_EQ(data.take(), (Lines{L"destroy |parent|outer|inner", L"destroy |parent|outer"}));
    EXPECT_EQ(logged(),
              (Lines{L"E Legacy element 'x' of type 'Int' in node type 'Inner' not migrated",
                     L"E Legacy node of type 'Inner' not migrated.", L"E Legacy node of type 'Outer' not migrated.",
                     L"E There were 2 unhandled legacy nodes.", L"E There were 1 unhandled legacy elements."}));
}

TEST_F(LoadStrategyLegacyDataTest, TheOptionKeepsUnhandledData)
{
    TestLoader keeping(stream, data, scene.core(), 3, LoadStrategy::kKeepUnhandledLegacyData, nullptr);
    Node* made = nullptr;
    keeping.script = [&](TestLoader& self) {
        fillHeader(self);
        EXPECT_EQ(self.validateHeaderData(), Status::kSuccess);
        EXPECT_EQ(self.makeNode(L"Dropped", L"Test", L"dropped", parent, nullptr, nullptr), Status::kSuccess);
        EXPECT_EQ(self.makeNode(L"All", L"Test", L"node", parent, nullptr, &made), Status::kSuccess);
        Attribute* attribute = nullptr;
        return self.getAttributeToPopulate(made, L"Gone", AttributeType::kInt, false, &attribute);
    };
    EXPECT_EQ(keeping.load(*parent, nullptr), Status::kLoadedWithUnhandledLegacyData);
    EXPECT_EQ(logged(),
              (Lines{L"E Legacy element 'Gone' of type 'Int' in node type 'All' not migrated",
                     L"E Legacy node of type 'Dropped' not migrated.", L"E There were 1 unhandled legacy nodes.",
                     L"E There were 1 unhandled legacy elements."}));
    EXPECT_EQ(names(), L"dropped? node ");
    EXPECT_NE(made->findLegacyAttributeByName(L"Gone"), nullptr);
}

// --- Handled ---

TEST_F(LoadStrategyLegacyDataTest, HandledDataIsDestroyedWithoutAWord)
{
    addMigrator(5).atSuccess = [&](Node&) {
        dropped->setLegacyNodeHandled();
        node->getLegacyElement(0)->setLegacyElementHandled();
        node->getLegacyElement(1)->setLegacyElementHandled();
    };
    EXPECT_EQ(loadLegacyData(4), Status::kLoadedWithMigration);
    EXPECT_EQ(logged(), Lines{});
    EXPECT_EQ(names(), L"child node ");
    EXPECT_EQ(node->getLegacyElementCount(), 0u);
    EXPECT_EQ(loader.getNumUnhandledLegacyNodes(), 0u);
    EXPECT_EQ(loader.getNumUnhandledLegacyElements(), 0u);
}

TEST_F(LoadStrategyLegacyDataTest, HandledDataGoesAlsoWithTheOptionToKeep)
{
    addMigrator(5).atSuccess = [&](Node& loadParent) { loadParent.getFirstChild()->setLegacyNodeHandled(); };
    TestLoader keeping(stream, data, scene.core(), 3, LoadStrategy::kKeepUnhandledLegacyData, nullptr);
    keeping.script = [&](TestLoader& self) {
        fillHeader(self, 4);
        EXPECT_EQ(self.validateHeaderData(), Status::kSuccess);
        EXPECT_EQ(self.makeNode(L"Dropped", L"Test", L"handled", parent, nullptr, nullptr), Status::kSuccess);
        return self.makeNode(L"Dropped", L"Test", L"unhandled", parent, nullptr, nullptr);
    };
    EXPECT_EQ(keeping.load(*parent, nullptr), Status::kLoadedWithUnhandledLegacyData);
    EXPECT_EQ(names(), L"unhandled? ");
}

TEST_F(LoadStrategyLegacyDataTest, AnElementLeftOverCountsEvenIfMigratorsRan)
{
    addMigrator(5).atSuccess = [&](Node&) {
        dropped->setLegacyNodeHandled();
        node->getLegacyElement(1)->setLegacyElementHandled();
    };
    EXPECT_EQ(loadLegacyData(4), Status::kLoadedWithUnhandledLegacyData);
    EXPECT_EQ(logged(), (Lines{L"E Legacy element 'Gone' of type 'Int' in node type 'All' not migrated",
                               L"E There were 1 unhandled legacy elements."}));
}

TEST_F(LoadStrategyLegacyDataTest, AMigratorReadsLegacyValues)
{
    addMigrator(5).atSuccess = [&](Node&) {
        Attribute* const gone = node->findLegacyAttributeByName(L"Gone");
        write(node->findAttributeByName(L"Int"), gone->getValue().getInt() + 1);
        gone->setLegacyElementHandled();
    };
    EXPECT_EQ(load(
                  [&](TestLoader&) {
                      node = makeNode(L"All", L"node");
                      write(populate(node, L"Gone"), 41);
                      return Status::kSuccess;
                  },
                  4),
              Status::kLoadedWithMigration);
    EXPECT_EQ(node->findAttributeByName(L"Int")->getValue().getInt(), 42);
}

TEST_F(LoadStrategyLegacyDataTest, WhatAMigratorPutsUnderALegacyNodeSurvives)
{
    addMigrator(5).atSuccess = [&](Node&) {
        dropped->setLegacyNodeHandled();
        scene.nodeOf(Scene::kPlain, L"new", dropped);
    };
    loadLegacyData(4);
    EXPECT_EQ(names(), L"child new node ");
}

// --- What migrators destroyed themselves ---

TEST_F(LoadStrategyLegacyDataTest, NodesThatAMigratorDestroyedAreNotDestroyedAgain)
{
    addMigrator(5).atSuccess = [&](Node&) {
        dbu_destroyNodeRecursively(dropped, &data);
        node->getLegacyElement(0)->setLegacyElementHandled();
        node->getLegacyElement(1)->setLegacyElementHandled();
        dbu_destroyNodeRecursively(node, &data);
        data.take();
    };
    EXPECT_EQ(loadLegacyData(4), Status::kLoadedWithMigration);
    EXPECT_EQ(data.take(), Lines{});
    EXPECT_EQ(names(), L"");
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyLegacyDataTest, AnUnhandledElementOfADestroyedNodeIsCounted)
{
    addMigrator(5).atSuccess = [&](Node&) {
        dropped->setLegacyNodeHandled();
        dbu_destroyNodeRecursively(node, &data);
    };
    EXPECT_EQ(loadLegacyData(4), Status::kLoadedWithUnhandledLegacyData);
    EXPECT_EQ(loader.getNumUnhandledLegacyElements(), 2u);
}

TEST_F(LoadStrategyLegacyDataTest, AnElementThatAMigratorDestroyedIsDone)
{
    addMigrator(5).atSuccess = [&](Node&) {
        dropped->setLegacyNodeHandled();
        while (node->getLegacyElementCount() > 0)
            EXPECT_EQ(scene.core().destroyLegacyElement(node->getLegacyElement(0)), Status::kSuccess);
    };
    EXPECT_EQ(loadLegacyData(4), Status::kLoadedWithMigration);
}

TEST_F(LoadStrategyLegacyDataTest, AMigratorThatCommitsDoesNotMakeTheLoadReadWhatIsFreed)
{
    addMigrator(5).atSuccess = [&](Node&) {
        dropped->setLegacyNodeHandled();
        dbu_destroyNodeRecursively(node, &data);
        EXPECT_EQ(data.db_commit(L"against the rule", L"file", 1), Status::kSuccess);
    };
    EXPECT_EQ(loadLegacyData(4), Status::kLoadedWithMigration);
}

// --- The end ---

TEST_F(LoadStrategyLegacyDataTest, SuccessIsToldToEachMigratorWhenReferencesAreThereAndLegacyDataStillIs)
{
    addMigrator(4);
    addMigrator(5).atSuccess = [&](Node& loadParent) {
        EXPECT_EQ(&loadParent, parent);
        EXPECT_FALSE(dropped->isDestroyed());
        EXPECT_EQ(node->getLegacyElementCount(), 2u);
    };
    loadLegacyData(3);
    EXPECT_EQ(Lines(calls.end() - 2, calls.end()), (Lines{L"4:success(parent)", L"5:success(parent)"}));
}

TEST_F(LoadStrategyLegacyDataTest, TheFirstRefusalOfSuccessFailsTheLoad)
{
    addMigrator(4).refuse(L"success");
    addMigrator(5);
    EXPECT_EQ(loadLegacyData(3), Status::kFailure);
    EXPECT_EQ(calls.back(), L"4:success(parent)");
    EXPECT_EQ(logged(), Lines{});
    EXPECT_FALSE(dropped->isDestroyed());
    EXPECT_EQ(node->getLegacyElementCount(), 2u);
}

TEST_F(LoadStrategyLegacyDataTest, AFailedReadDisposesOfNothing)
{
    EXPECT_EQ(load([&](TestLoader&) {
                  node = makeNode(L"All", L"node");
                  populate(node, L"Gone");
                  return Status::kFailure;
              }),
              Status::kFailure);
    EXPECT_EQ(node->getLegacyElementCount(), 1u);
    EXPECT_EQ(loader.getNumUnhandledLegacyElements(), 0u);
}

TEST_F(LoadStrategyLegacyDataTest, APlainLoadSucceeds)
{
    addMigrator(5);
    EXPECT_EQ(load([&](TestLoader&) {
                  makeNode(L"All", L"node");
                  return Status::kSuccess;
              }),
              Status::kSuccess);
}

TEST_F(LoadStrategyLegacyDataTest, ALoadInWhichAnyMigratorRanSaysSo)
{
    addMigrator(5);
    EXPECT_EQ(load({}, 4), Status::kLoadedWithMigration);
}

} // namespace
} // namespace db2test
