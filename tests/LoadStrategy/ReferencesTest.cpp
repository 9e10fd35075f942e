#include "support/LoadScene.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace db2test {
namespace {

/// References, which are made when all nodes are there.
class LoadStrategyReferencesTest : public LoadTest
{
protected:
    static Attribute* intOf(const Node* node) { return node->findAttributeByName(L"Int"); }

    /// Loads two nodes a and b, b's Int referencing what a path leads to.
    Status loadReference(const wchar_t* path, bool single = false)
    {
        return load([this, path, single](TestLoader& self) {
            a = makeNode(L"All", L"a");
            b = makeNode(L"All", L"b");
            return self.addUnresolvedReference(intOf(b), path, single);
        });
    }

    Node* a = nullptr;
    Node* b = nullptr;
};

TEST_F(LoadStrategyReferencesTest, AReferenceIsMadeThroughTheInterfaceWhenTheFormatIsDone)
{
    EXPECT_EQ(loadReference(L"|a.Int"), Status::kSuccess);
    EXPECT_EQ(intOf(b)->getReference(), intOf(a));
    EXPECT_EQ(data.take().back(), L"reference |parent|a.Int from |parent|b.Int");
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyReferencesTest, TheFlagIsPassedOn)
{
    EXPECT_EQ(loadReference(L"|a.Int", true), Status::kSuccess);
    EXPECT_TRUE(intOf(b)->referenceIsSingle());
}

TEST_F(LoadStrategyReferencesTest, ReferencesAreMadeInTheOrderRecorded)
{
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a");
                  b = makeNode(L"All", L"b");
                  self.addUnresolvedReference(intOf(b), L"|c.Float", false); // c comes later
                  self.addUnresolvedReference(b->findAttributeByName(L"Float"), L"|c.Float", false);
                  self.addUnresolvedReference(intOf(a), L"|c|d.Int", false);
                  makeNode(L"All", L"d", makeNode(L"All", L"c"));
                  data.take();
                  return Status::kSuccess;
              }),
              Status::kSuccess);
    EXPECT_EQ(data.take(),
              (Lines{L"reference |parent|c.Float from |parent|b.Int", L"reference |parent|c.Float from |parent|b.Float",
                     L"reference |parent|c|d.Int from |parent|a.Int"}));
}

TEST_F(LoadStrategyReferencesTest, ItemsCanStandAtBothEnds)
{
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a");
                  AttributeArray* const array = populateArray(a, L"IntItems");
                  self.resizeAttributeArray(array, 3);
                  return self.addUnresolvedReference(array->getAttribute(0), L"|a:IntItems[2]", false);
              }),
              Status::kSuccess);
    const AttributeArray* const array = a->findAttributeArrayByName(L"IntItems");
    EXPECT_EQ(array->getAttribute(0)->getReference(), array->getAttribute(2));
}

TEST_F(LoadStrategyReferencesTest, APathThatLeadsNowhereFailsTheLoadAfterAllNodes)
{
    addMigrator(5);
    for (const wchar_t* const path : {L"|nobody.Int", L"|a.Gone", L"|a", L"nothing", L"", L"|a.Int[1]"})
    {
        SCOPED_TRACE(::testing::Message() << path);
        TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
        calls.clear();
        once.script = [&](TestLoader& self) {
            fillHeader(self, 4);
            EXPECT_EQ(self.validateHeaderData(), Status::kSuccess);
            Node* node = nullptr;
            EXPECT_EQ(self.makeNode(L"All", L"Test", L"a", parent, nullptr, &node), Status::kSuccess);
            return self.addUnresolvedReference(intOf(node), path, false);
        };
        EXPECT_EQ(once.load(*parent, nullptr), Status::kFailure);
        EXPECT_EQ(logged().back(), std::wstring(L"E Failed to resolve attribute path '") + path + L"'");
        EXPECT_EQ(std::count(calls.begin(), calls.end(), L"5:success(parent)"), 0);
        EXPECT_NE(parent->getFirstChild(), nullptr) << "what was made stays";
        dbu_destroyChildrenRecursively(parent, &scene.core());
    }
}

TEST_F(LoadStrategyReferencesTest, TheFirstPathThatFailsEndsTheResolving)
{
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a");
                  b = makeNode(L"All", L"b");
                  self.addUnresolvedReference(intOf(a), L"|nobody.Int", false);
                  return self.addUnresolvedReference(intOf(b), L"|a.Float", false);
              }),
              Status::kFailure);
    EXPECT_EQ(intOf(b)->getReference(), nullptr);
}

TEST_F(LoadStrategyReferencesTest, AReferenceThatIsRefusedFailsTheLoad)
{
    EXPECT_EQ(loadReference(L"|b.Int"), Status::kFailure); // to itself
    EXPECT_EQ(logged(), (Lines{L"E Failed to create reference for path '|b.Int'"}));
}

TEST_F(LoadStrategyReferencesTest, AHolderThatIsGoneIsPassedOver)
{
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a");
                  b = makeNode(L"All", L"b");
                  Attribute* const dynamic = populate(a, L"dynamic", AttributeType::kInt, true);
                  self.addUnresolvedReference(intOf(b), L"|nobody.Int", false);
                  self.addUnresolvedReference(dynamic, L"|nobody.Int", false);
                  EXPECT_EQ(data.db_destroyLeafNode(b), Status::kSuccess);
                  EXPECT_EQ(data.db_destroyDynamicElement(dynamic), Status::kSuccess);
                  return Status::kSuccess;
              }),
              Status::kSuccess);
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyReferencesTest, ItemsBehindTheEndOfAShrunkArrayArePassedOver)
{
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a");
                  AttributeArray* const array = populateArray(a, L"IntItems");
                  self.resizeAttributeArray(array, 3);
                  self.addUnresolvedReference(array->getAttribute(0), L"|a.Int", false);
                  self.addUnresolvedReference(array->getAttribute(2), L"|a.Int", false);
                  EXPECT_EQ(data.db_resizeAttributeArray(array, 1), Status::kSuccess);
                  return Status::kSuccess;
              }),
              Status::kSuccess);
    EXPECT_EQ(a->findAttributeArrayByName(L"IntItems")->getAttribute(0)->getReference(), intOf(a));
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyReferencesTest, DestroyedLegacyElementsAndTheirItemsArePassedOver)
{
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a");
                  Attribute* const gone = populate(a, L"Gone");
                  AttributeArray* const lost = populateArray(a, L"Lost");
                  self.resizeAttributeArray(lost, 1);
                  self.addUnresolvedReference(gone, L"|a.Int", false);
                  self.addUnresolvedReference(lost->getAttribute(0), L"|a.Int", false);
                  EXPECT_EQ(scene.core().destroyLegacyElement(gone), Status::kSuccess);
                  EXPECT_EQ(scene.core().destroyLegacyElement(lost), Status::kSuccess);
                  return Status::kSuccess;
              }),
              Status::kSuccess);
    EXPECT_EQ(loader.getNumUnhandledLegacyConnections(), 0u);
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyReferencesTest, NoHolderIsRefused)
{
    load([&](TestLoader& self) {
        EXPECT_EQ(self.addUnresolvedReference(nullptr, L"|a.Int", false), Status::kFailure);
        return Status::kSuccess;
    });
}

// --- Names that changed ---

TEST_F(LoadStrategyReferencesTest, PathsFollowNamesThatTheMigratorsChanged)
{
    addMigrator(5).rename(L"Old", L"Int");
    migrators[5]->rename(L"OldItems", L"IntItems");
    EXPECT_EQ(load(
                  [&](TestLoader& self) {
                      a = makeNode(L"All", L"a");
                      b = makeNode(L"All", L"b");
                      self.resizeAttributeArray(populateArray(a, L"OldItems"), 2);
                      self.addUnresolvedReference(intOf(b), L"|a.Old", false);
                      return self.addUnresolvedReference(b->findAttributeByName(L"Float"), L"|a:OldItems[1]", false);
                  },
                  4),
              Status::kLoadedWithMigration);
    EXPECT_EQ(intOf(b)->getReference(), intOf(a));
    EXPECT_EQ(b->findAttributeByName(L"Float")->getReference(),
              a->findAttributeArrayByName(L"IntItems")->getAttribute(1));
}

TEST_F(LoadStrategyReferencesTest, ElementsOfUnknownNodesAreFoundUnderTheNameInTheFile)
{
    addMigrator(5).rename(L"x", L"changed");
    EXPECT_EQ(load(
                  [&](TestLoader& self) {
                      populate(scene.unknownNode(L"unknown", parent), L"x");
                      b = makeNode(L"All", L"b");
                      return self.addUnresolvedReference(intOf(b), L"|unknown.x", false);
                  },
                  4),
              Status::kLoadedWithMigration);
    ASSERT_NE(intOf(b)->getReference(), nullptr);
    EXPECT_STREQ(intOf(b)->getReference()->getName(), L"x");
}

TEST_F(LoadStrategyReferencesTest, WhatIsLoadedBesideItsOriginalIsWiredToItself)
{
    Node* const original = scene.node(L"a", parent);
    EXPECT_EQ(loadReference(L"|a.Int"), Status::kSuccess);
    ASSERT_NE(a->getName(), L"a");
    EXPECT_EQ(intOf(b)->getReference(), intOf(a));
    EXPECT_EQ(intOf(original)->getReferents(), nullptr);
}

TEST_F(LoadStrategyReferencesTest, ThatHoldsForPathsWithEscapesAndBlanks)
{
    scene.node(L"a.b", parent);
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a.b");
                  b = makeNode(L"All", L"deep", a);
                  self.addUnresolvedReference(intOf(b), L"|a\\.b.Int", false);
                  return self.addUnresolvedReference(b->findAttributeByName(L"Float"), L"| a\\.b | deep .Double",
                                                     false);
              }),
              Status::kSuccess);
    EXPECT_EQ(intOf(b)->getReference(), intOf(a));
    EXPECT_EQ(b->findAttributeByName(L"Float")->getReference(), b->findAttributeByName(L"Double"));
}

TEST_F(LoadStrategyReferencesTest, OfTwoNodesOfOneNameInTheFileTheFirstIsMeant)
{
    for (const bool isTaken : {false, true})
    {
        SCOPED_TRACE(isTaken);
        if (isTaken)
            scene.node(L"twin", parent);
        TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
        Node* twins[3] = {};
        once.script = [&](TestLoader& self) {
            fillHeader(self, 4);
            EXPECT_EQ(self.validateHeaderData(), Status::kSuccess);
            for (Node*& twin : twins)
                EXPECT_EQ(self.makeNode(L"All", L"Test", L"twin", parent, nullptr, &twin), Status::kSuccess);
            return self.addUnresolvedReference(intOf(twins[2]), L"|twin.Int", false);
        };
        EXPECT_EQ(once.load(*parent, nullptr), Status::kSuccess);
        EXPECT_EQ(intOf(twins[2])->getReference(), intOf(twins[0]));
        dbu_destroyChildrenRecursively(parent, &scene.core());
    }
}

TEST_F(LoadStrategyReferencesTest, ANodeOfTheFileThatGotTheNameOfALaterOneIsNotTakenForIt)
{
    scene.node(L"n1", parent);
    Node* loaded[2] = {};
    EXPECT_EQ(load([&](TestLoader& self) {
                  EXPECT_EQ(self.makeNode(L"All", L"Test", L"n1", parent, nullptr, &loaded[0]), Status::kSuccess);
                  const std::wstring itsName(std::wstring_view(loaded[0]->getName()));
                  EXPECT_NE(itsName, L"n1");
                  EXPECT_EQ(self.makeNode(L"All", L"Test", itsName.c_str(), parent, nullptr, &loaded[1]),
                            Status::kSuccess);
                  self.addUnresolvedReference(intOf(loaded[0]), (L"|" + itsName + L".Int").c_str(), false);
                  return self.addUnresolvedReference(loaded[1]->findAttributeByName(L"Float"), L"|n1.Float", false);
              }),
              Status::kSuccess);
    EXPECT_EQ(intOf(loaded[0])->getReference(), intOf(loaded[1]));
    EXPECT_EQ(loaded[1]->findAttributeByName(L"Float")->getReference(), loaded[0]->findAttributeByName(L"Float"));
}

TEST_F(LoadStrategyReferencesTest, PathsToOneNodeInARowLeadToEachOfItsElements)
{
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a");
                  b = makeNode(L"All", L"b");
                  self.resizeAttributeArray(populateArray(a, L"IntItems"), 2);
                  self.addUnresolvedReference(b->findAttributeByName(L"Int"), L"|a.Int", false);
                  self.addUnresolvedReference(b->findAttributeByName(L"Float"), L"|a.Float", false);
                  self.addUnresolvedReference(b->findAttributeByName(L"Bool"), L"|a:IntItems[1]", false);
                  return self.addUnresolvedReference(b->findAttributeByName(L"Double"), L"|a. Double", false);
              }),
              Status::kSuccess);
    EXPECT_EQ(b->findAttributeByName(L"Int")->getReference(), a->findAttributeByName(L"Int"));
    EXPECT_EQ(b->findAttributeByName(L"Float")->getReference(), a->findAttributeByName(L"Float"));
    EXPECT_EQ(b->findAttributeByName(L"Bool")->getReference(),
              a->findAttributeArrayByName(L"IntItems")->getAttribute(1));
    EXPECT_EQ(b->findAttributeByName(L"Double")->getReference(), a->findAttributeByName(L"Double"));
}

TEST_F(LoadStrategyReferencesTest, APathBehindOneThatResolvedIsCheckedAllTheSame)
{
    for (const wchar_t* const path : {L"|a.Gone", L"|a.", L"|a..Int", L"|a.Int[1]", L"|a.Int|b", L"|a"})
    {
        SCOPED_TRACE(::testing::Message() << path);
        TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
        once.script = [&](TestLoader& self) {
            fillHeader(self, 4);
            EXPECT_EQ(self.validateHeaderData(), Status::kSuccess);
            Node* node = nullptr;
            EXPECT_EQ(self.makeNode(L"All", L"Test", L"a", parent, nullptr, &a), Status::kSuccess);
            EXPECT_EQ(self.makeNode(L"All", L"Test", L"b", parent, nullptr, &node), Status::kSuccess);
            self.addUnresolvedReference(node->findAttributeByName(L"Float"), L"|a.Float", false);
            return self.addUnresolvedReference(intOf(node), path, false);
        };
        EXPECT_EQ(once.load(*parent, nullptr), Status::kFailure);
        EXPECT_EQ(logged().back(), std::wstring(L"E Failed to resolve attribute path '") + path + L"'");
        dbu_destroyChildrenRecursively(parent, &scene.core());
    }
}

TEST_F(LoadStrategyReferencesTest, ANodeOfTheTreeThatTheFileDoesNotNameIsReachedToo)
{
    Node* const there = scene.node(L"there", parent);
    EXPECT_EQ(loadReference(L"|there.Int"), Status::kSuccess);
    EXPECT_EQ(intOf(b)->getReference(), intOf(there));
}

TEST_F(LoadStrategyReferencesTest, ARenamedNodeThatIsGoneIsNotTakenForTheHostsOwnOfThatName)
{
    Node* const original = scene.node(L"a", parent);
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a");
                  b = makeNode(L"All", L"b");
                  self.addUnresolvedReference(intOf(b), L"|a.Int", false);
                  EXPECT_EQ(data.db_destroyLeafNode(a), Status::kSuccess);
                  return Status::kSuccess;
              }),
              Status::kFailure);
    EXPECT_EQ(intOf(original)->getReferents(), nullptr);
    EXPECT_EQ(logged(), (Lines{L"E Failed to resolve attribute path '|a.Int'"}));
}

TEST_F(LoadStrategyReferencesTest, PathsToRenamedNodesAreCheckedAndToldWhole)
{
    scene.node(L"a", parent);
    const std::vector<std::pair<const wchar_t*, Lines>> paths = {
        {L"a.Int", {}},
        {L"|a", {L"E '|a' does not resolve to an attribute."}},
        {L"|a.Gone", {}},
        {L"|a..Int", {L"E '|a..Int' contains reserved characters placed next to each other."}},
        {L"|a:IntItems[x]", {L"E '|a:IntItems[x]' contains square braces with non numerical characters in."}}};
    for (const auto& [path, messages] : paths)
    {
        SCOPED_TRACE(::testing::Message() << path);
        TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
        once.script = [&, path = path](TestLoader& self) {
            fillHeader(self);
            EXPECT_EQ(self.validateHeaderData(), Status::kSuccess);
            Node* node = nullptr;
            EXPECT_EQ(self.makeNode(L"All", L"Test", L"a", parent, nullptr, &node), Status::kSuccess);
            return self.addUnresolvedReference(node->findAttributeByName(L"Float"), path, false);
        };
        EXPECT_EQ(once.load(*parent, nullptr), Status::kFailure);
        Lines expected = messages;
        expected.push_back(std::wstring(L"E Failed to resolve attribute path '") + path + L"'");
        EXPECT_EQ(logged(), expected);
    }
}

TEST_F(LoadStrategyReferencesTest, ANameThatAnotherNodeGotIsTheOneOfTheFile)
{
    scene.node(L"a", parent);
    Node* second = nullptr;
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a"); // gets the name that the next one asks for
                  second = makeNode(L"All", a->getName().c_str());
                  b = makeNode(L"All", L"b");
                  const std::wstring path = L"|" + std::wstring(a->getName()) + L".Int";
                  self.addUnresolvedReference(b->findAttributeByName(L"Float"), L"|a.Int", false);
                  return self.addUnresolvedReference(intOf(b), path.c_str(), false);
              }),
              Status::kSuccess);
    EXPECT_EQ(intOf(b)->getReference(), intOf(second));
    EXPECT_EQ(b->findAttributeByName(L"Float")->getReference(), intOf(a));
}

// --- Legacy ends ---

class LoadStrategyLegacyConnectionTest : public LoadStrategyReferencesTest
{
protected:
    /// A file of version 3 in which a.Gone, which is legacy, and b.Int reference each other's node.
    Status loadLegacyConnections()
    {
        return load(
            [&](TestLoader& self) {
                a = makeNode(L"All", L"a");
                b = makeNode(L"All", L"b");
                self.addUnresolvedReference(populate(a, L"Gone"), L"|b.Float", false);
                self.addUnresolvedReference(intOf(b), L"|a.Gone", false);
                logged();
                return Status::kSuccess;
            },
            3);
    }
    Lines connections() const
    {
        Lines lines;
        for (const std::wstring& call : calls)
        {
            if (call.find(L"connection") != std::wstring::npos)
                lines.push_back(call);
        }
        return lines;
    }
};

TEST_F(LoadStrategyLegacyConnectionTest, MigratorsAreAskedInOrderUntilOneHandlesIt)
{
    addMigrator(4).handlesConnections = true;
    addMigrator(5).handlesConnections = true;
    EXPECT_EQ(loadLegacyConnections(), Status::kLoadedWithUnhandledLegacyData); // because of the element
    EXPECT_EQ(connections(), (Lines{L"4:connection(Float, Gone)", L"4:connection(Gone, Int)"}));
    EXPECT_EQ(loader.getNumUnhandledLegacyConnections(), 0u);
    EXPECT_EQ(intOf(b)->getReference(), nullptr);
}

TEST_F(LoadStrategyLegacyConnectionTest, WhatNobodyHandlesIsLoggedAndCounted)
{
    addMigrator(4);
    addMigrator(5);
    EXPECT_EQ(loadLegacyConnections(), Status::kLoadedWithUnhandledLegacyData);
    EXPECT_EQ(connections(), (Lines{L"4:connection(Float, Gone)", L"5:connection(Float, Gone)",
                                    L"4:connection(Gone, Int)", L"5:connection(Gone, Int)"}));
    EXPECT_EQ(loader.getNumUnhandledLegacyConnections(), 2u);
    EXPECT_EQ(logged(),
              (Lines{L"E Legacy connection between 'Float' and 'Gone' was not handled",
                     L"E Legacy connection between 'Gone' and 'Int' was not handled",
                     L"E Legacy element 'Gone' of type 'Int' in node type 'All' not migrated",
                     L"E There were 1 unhandled legacy elements.", L"E There were 2 unhandled legacy connections."}));
}

TEST_F(LoadStrategyLegacyConnectionTest, LegacyElementsAreFoundWithoutMigratorsToo)
{
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a");
                  Node* const legacy = makeNode(L"Dropped", L"legacy");
                  populate(legacy, L"x");
                  populate(a, L"Float"); // also there as an Int, which a legacy element then is
                  self.addUnresolvedReference(intOf(a), L"|legacy.x", false);
                  return self.addUnresolvedReference(a->findAttributeByName(L"Double"), L"|a.Float", false);
              }),
              Status::kLoadedWithUnhandledLegacyData);
    EXPECT_EQ(loader.getNumUnhandledLegacyConnections(), 2u);
}

} // namespace
} // namespace db2test
