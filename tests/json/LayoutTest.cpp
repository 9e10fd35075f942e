// What a saved document looks like: its header, nodes and entries.

#include "json/Documents.h"

#include "support/TreeDump.h"

namespace {

using namespace db2;
using namespace db2test;

class JsonLayoutTest : public ::testing::Test
{
protected:
    void resize(Node* owner, const wchar_t* array, unsigned int size)
    {
        ASSERT_EQ(scene.core().db_resizeAttributeArray(owner->findAttributeArrayByName(array), size), Status::kSuccess);
    }

    Attribute* item(Node* owner, const wchar_t* array, unsigned int index)
    {
        return owner->findAttributeArrayByName(array)->getAttribute(index);
    }

    void reference(Attribute* referenced, Attribute* referencer, bool isSingle = false)
    {
        ASSERT_EQ(scene.core().db_createReference(referenced, referencer, isSingle), Status::kSuccess);
    }

    /// The lines of the document that begin with an attribute's name, without indentation and the comma behind.
    std::string entry(const std::string& name)
    {
        const std::string document = saveScene(scene);
        std::string found;
        for (std::size_t at = document.find("[\"" + name + "\""); at != std::string::npos;
             at = document.find("[\"" + name + "\"", at + 1))
            found += (found.empty() ? "" : "\n") +
                     document.substr(at, document.find_last_of(']', document.find('\n', at)) + 1 - at);
        return found;
    }

    /// Loads what is saved in place of what is there, and compares.
    void expectRoundTrip()
    {
        scene.commit();
        const std::wstring before = dumpTree(scene.core(), DumpDetail::kContent);
        const std::string text = saveScene(scene);
        ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
        ASSERT_EQ(loadText(scene, text), Status::kSuccess);
        EXPECT_TRUE(isSameDump(before, dumpTree(scene.core(), DumpDetail::kContent)));
        EXPECT_EQ(saveScene(scene), text);
    }

    Scene scene;
};

TEST_F(JsonLayoutTest, ATreeIsItsHeaderAndItsNodesInPreOrderWithTheirDepths)
{
    Node* const arm = scene.node(L"arm");
    scene.nodeOf(Scene::kPlain, L"hand", arm);
    scene.nodeOf(Scene::kPlain, L"leg");
    scene.write(arm->findAttributeByName(L"Float"), 2.5f);
    EXPECT_EQ(saveScene(scene), R"({
 "identifier": "KQDatabase2",
 "loaderVersion": 1,
 "applicationString": "test 1.0",
 "typeString": "scene",
 "modules": [
  ["Test", 1, []]
 ],
 "nodes": [
  {
   "name": "arm",
   "type": "All",
   "module": "Test",
   "depth": 0,
   "attributes": [
    ["Float", "Float", 2.5]
   ]
  },
  {
   "name": "hand",
   "type": "Plain",
   "module": "Test",
   "depth": 1
  },
  {
   "name": "leg",
   "type": "Plain",
   "module": "Test",
   "depth": 0
  }
 ]
}
)");
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, NothingToSaveIsADocumentWithoutNodes)
{
    const std::string text = saveScene(scene);
    EXPECT_NE(text.find("\"modules\": [],\n \"nodes\": []\n}\n"), std::string::npos);
    EXPECT_EQ(loadText(scene, text), Status::kSuccess);
    EXPECT_EQ(scene.root()->getFirstChild(), nullptr);
}

TEST_F(JsonLayoutTest, ModulesHaveTheirDataVersionAndTheMigratorVersionsOfABrokenChain)
{
    scene.module().setDataVersion(4);
    Migrator migrator;
    ASSERT_EQ(scene.module().registerMigrator(&migrator, 3), Status::kSuccess);
    scene.nodeOf(Scene::kPlain, L"node");
    EXPECT_NE(saveScene(scene).find("  [\"Test\", 4, [3]]\n"), std::string::npos);
}

TEST_F(JsonLayoutTest, AReferenceIsThePathFromTheParentOfItsSubtree)
{
    Node* const arm = scene.node(L"arm");
    Node* const hand = scene.node(L"ha.nd", arm);
    reference(arm->findAttributeByName(L"Float"), hand->findAttributeByName(L"Float"));
    reference(hand->findAttributeByName(L"Int"), arm->findAttributeByName(L"Int"), true);
    EXPECT_EQ(entry("Float"), "[\"Float\", \"Float\"]\n[\"Float\", \"Float ->\", \"|arm.Float\"]");
    EXPECT_EQ(entry("Int"), "[\"Int\", \"Int =>\", \"|arm|ha\\\\.nd.Int\"]\n[\"Int\", \"Int\"]");
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, AnArrayWhoseItemsAllNeedToBeSavedIsTheirValues)
{
    Node* const node = scene.node(L"node");
    resize(node, L"IntItems", 2);
    scene.write(item(node, L"IntItems", 0), 4);
    scene.write(item(node, L"IntItems", 1), -5);
    EXPECT_EQ(entry("IntItems"), "[\"IntItems\", \"Int[]\", [4, -5]]");
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, AnArrayWithFewItemsAtTheirDefaultLeavesThemOut)
{
    Node* const node = scene.node(L"node");
    resize(node, L"IntItems", 6);
    scene.write(item(node, L"IntItems", 2), 4);
    EXPECT_EQ(entry("IntItems"), "[\"IntItems\", \"Int[?]\", 6, [2, 4]]");
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, AnArrayWithMoreItemsAtTheirDefaultIsWrittenInFull)
{
    Node* const node = scene.node(L"node");
    resize(node, L"IntItems", 7);
    scene.write(item(node, L"IntItems", 2), 4);
    EXPECT_EQ(entry("IntItems"), "[\"IntItems\", \"Int[]\", [0, 0, 4, 0, 0, 0, 0]]");
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, ItemsThatReferenceAreListedByIndex)
{
    Node* const node = scene.node(L"node");
    resize(node, L"FloatItems", 3);
    scene.write(item(node, L"FloatItems", 0), 1.5f);
    reference(node->findAttributeByName(L"Float"), item(node, L"FloatItems", 1));
    reference(node->findAttributeByName(L"Double"), item(node, L"FloatItems", 2), true);
    EXPECT_EQ(entry("FloatItems"), "[\"FloatItems\", \"Float[?]\", 3, [0, 1.5], [\"->\", 1, \"|node.Float\"], "
                                   "[\"=>\", 2, \"|node.Double\"]]");
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, ItemsThatReferenceAmongManyAtTheirDefaultAreListedWithAllOthers)
{
    Node* const node = scene.node(L"node");
    resize(node, L"FloatItems", 7);
    reference(item(node, L"FloatItems", 0), item(node, L"FloatItems", 6));
    EXPECT_EQ(entry("FloatItems"), "[\"FloatItems\", \"Float[?]\", 7, [0, 0], [1, 0], [2, 0], [3, 0], [4, 0], [5, 0], "
                                   "[\"->\", 6, \"|node:FloatItems[0]\"]]");
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, ItemsWithoutValuesAreNulls)
{
    Node* const node = scene.node(L"node");
    resize(node, L"NullItems", 8);
    EXPECT_EQ(entry("NullItems"), "[\"NullItems\", \"Null[]\", [null, null, null, null, null, null, null, null]]");
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, ADynamicElementHasItsMetadataBetweenTypeAndValue)
{
    FloatAttributeMetaDataDef definition;
    definition.setFlags(ElementMetaDataFlag::kAlwaysSave | ElementMetaDataFlag::kNotWatched);
    definition.setDisplayName(L"");
    definition.setDocString(L"two\nlines");
    definition.setUnitType(kqx::kUnitAngle);
    definition.setMin(-0.5f);
    definition.setMax(std::numeric_limits<float>::infinity());
    definition.setDefaultValue(0.25f);
    Node* const node = scene.nodeOf(Scene::kPlain, L"node");
    scene.dynamicAttribute(definition, L"bend", node);
    EXPECT_NE(saveScene(scene).find(R"(
   "dynamic": [
    ["bend", "Float", {
      "flags": 34,
      "displayName": "",
      "docString": "two\nlines",
      "unit": 2,
      "min": -0.5,
      "max": "Infinity",
      "default": 0.25
     }, 0.25]
   ]
)"),
              std::string::npos)
        << saveScene(scene);
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, ADynamicEnumHasItsChoices)
{
    EnumAttributeMetaDataDef definition;
    definition.addChoice(L"left");
    definition.addChoice(L"right");
    definition.setDefaultValue(1);
    scene.dynamicAttribute(definition, L"side", scene.nodeOf(Scene::kPlain, L"node"));
    EXPECT_NE(saveScene(scene).find("\"choices\": [\"left\", \"right\"],\n      \"default\": 1\n     }, \"right\"]"),
              std::string::npos);
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, AChoiceThatRepeatsAnEarlierOneIsItsNumber)
{
    EnumAttributeMetaDataDef definition;
    for (const wchar_t* const choice : {L"a", L"b", L"a"})
        definition.addChoice(choice);
    Attribute* const attribute = scene.dynamicAttribute(definition, L"mode", scene.nodeOf(Scene::kPlain, L"node"));
    scene.write(attribute, 2);
    EXPECT_NE(saveScene(scene).find("}, 2]"), std::string::npos);
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, ADynamicElementWithoutMetadataHasNone)
{
    const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(AttributeType::kInt));
    scene.dynamicAttribute(*definition, L"plain", scene.nodeOf(Scene::kPlain, L"node"));
    EXPECT_EQ(entry("plain"), "[\"plain\", \"Int\", 0]");
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, ADynamicArrayAndADynamicReferenceHaveTheirMetadata)
{
    IntAttributeMetaDataDef definition;
    definition.setMin(1);
    Node* const node = scene.node(L"node");
    Attribute* const attribute = scene.dynamicAttribute(definition, L"number", node);
    reference(node->findAttributeByName(L"Int"), attribute);
    definition.setArray(true);
    scene.dynamicAttribute(definition, L"numbers", node);
    resize(node, L"numbers", 1);
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, NamesThatUtf8CannotHoldStayOnOneLine)
{
    scene.nodeOf(Scene::kPlain, std::wstring{wchar_t(0xD800), L'x'}.c_str());
    EXPECT_NE(saveScene(scene).find("   \"name\": [55296, 120],\n"), std::string::npos);
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, ADeepTreeNeitherIndentsNorRecursesWithItsDepth)
{
    Node* node = nullptr;
    for (int i = 0; i < 20000; ++i)
        node = scene.nodeOf(Scene::kPlain, L"n", node);
    EXPECT_LT(saveScene(scene).size(), 20000u * 100);
    expectRoundTrip();
}

TEST_F(JsonLayoutTest, TextIsUtf8WhateverTheEncodingOfTheStream)
{
    scene.nodeOf(Scene::kPlain, L"\u00E9");
    MemoryBlock block;
    MemoryOutputStream stream(block, OutputStreamEncoding::kUtf16);
    JsonSaver saver(stream, L"scene");
    saver.addChildNodes(scene.root());
    ASSERT_EQ(saver.save(), Status::kSuccess);
    EXPECT_EQ(textOf(block), saveScene(scene));
}

TEST_F(JsonLayoutTest, SavingEverythingWritesEveryAttribute)
{
    Node* const node = scene.node(L"node");
    const std::string text = saveScene(scene, SaveStrategy::kSaveEverything);
    for (unsigned int i = 0; i < node->getElementCount(); ++i)
    {
        const std::wstring name = node->getElement(i)->getName();
        EXPECT_NE(text.find("[\"" + std::string(name.begin(), name.end()) + "\", \""), std::string::npos) << i;
    }
    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
    ASSERT_EQ(loadText(scene, text), Status::kSuccess);
    EXPECT_EQ(saveScene(scene, SaveStrategy::kSaveEverything), text);
}

} // namespace
