// What a load does with a document that is right: where the nodes go, what becomes of types, elements and choices that
// the application does not have, and what migrators are asked.

#include "json/Documents.h"

#include "support/TreeDump.h"

#include <map>
#include <memory>
#include <set>

namespace {

using namespace db2;
using namespace db2test;

class JsonLoadingTest : public ::testing::Test
{
protected:
    Node* first() { return scene.root()->getFirstChild(); }

    Scene scene;
};

// --- The text ---

TEST_F(JsonLoadingTest, AByteOrderMarkAndAnyBlanksAreAccepted)
{
    EXPECT_EQ(loadText(scene, "\xEF\xBB\xBF\r\n\t " + documentWith({"[ \"Int\" ,\r\n\"Int\",\t5 ]"}) + " \r\n"),
              Status::kSuccess);
    EXPECT_EQ(loadedAttribute(scene, L"Int")->getValue().asInt(), 5);
}

TEST_F(JsonLoadingTest, StringsMayBeWrittenWithEscapes)
{
    ASSERT_EQ(loadText(scene, documentWith({R"(["S\u0074ring", "Str\u0069ng", "\u00e9\ud83d\ude00\/\t\u0000x"])"})),
              Status::kSuccess);
    EXPECT_EQ(std::wstring_view(loadedAttribute(scene, L"String")->getValue().asString()),
              std::wstring_view(L"\u00E9\U0001F600/\t\0x", sizeof(wchar_t) == 2 ? 7 : 6));
}

TEST_F(JsonLoadingTest, CharactersAsNumbersTakeWhateverThePlatformHolds)
{
    ASSERT_EQ(loadText(scene, documentWith({R"(["String", "String", [97, 128512, 55296, 1114112]])"})),
              Status::kSuccess);
    const std::wstring text(std::wstring_view(loadedAttribute(scene, L"String")->getValue().asString()));
    if constexpr (sizeof(wchar_t) == 2)
        EXPECT_EQ(text, (std::wstring{L'a', wchar_t(0xD83D), wchar_t(0xDE00), wchar_t(0xD800), wchar_t(0xFFFD)}));
    else
        EXPECT_EQ(text,
                  (std::wstring{L'a', static_cast<wchar_t>(0x1F600), wchar_t(0xD800), static_cast<wchar_t>(0x110000)}));
}

TEST_F(JsonLoadingTest, AStreamWithoutContentIsRefused)
{
    NullInputStream nothing;
    JsonLoader loader(nothing, scene.core(), scene.core());
    scene.log().take();
    EXPECT_EQ(loader.load(*scene.root(), nullptr), Status::kFailure);
    EXPECT_TRUE(scene.log().tookError(L"The stream has no content to load"));
}

TEST_F(JsonLoadingTest, AnAttributeThatStandsTwiceHasItsLastValue)
{
    ASSERT_EQ(loadText(scene, documentWith({"[\"Int\", \"Int\", 1]", "[\"Int\", \"Int\", 2]"})), Status::kSuccess);
    EXPECT_EQ(loadedAttribute(scene, L"Int")->getValue().asInt(), 2);
}

// --- Nodes ---

TEST_F(JsonLoadingTest, NodesStandUnderTheLoadParentBehindItsChildren)
{
    Node* const shelf = scene.node(L"shelf");
    scene.node(L"first", shelf);
    ASSERT_EQ(loadText(scene,
                       documentOf({nodeText("", "a"), nodeText("", "b", 1), nodeText("", "c", 2), nodeText("", "d", 1),
                                   nodeText("", "e")}),
                       shelf),
              Status::kSuccess);
    EXPECT_EQ(shelf->getFirstChild()->getName(), L"first");
    Node* const a = shelf->findChildByName(L"a");
    ASSERT_NE(a, nullptr);
    ASSERT_NE(a->findChildByName(L"b"), nullptr);
    EXPECT_NE(a->findChildByName(L"b")->findChildByName(L"c"), nullptr);
    EXPECT_EQ(a->getLastChild()->getName(), L"d");
    EXPECT_EQ(shelf->getLastChild()->getName(), L"e");
}

TEST_F(JsonLoadingTest, ANameThatIsTakenIsMadeUniqueAndReferencesFollowTheFilesNames)
{
    const std::string text = documentOf(
        {nodeText("\"attributes\": [[\"Float\", \"Float\", 2.5], [\"Double\", \"Double ->\", \"|node.Float\"]]")});
    ASSERT_EQ(loadText(scene, text), Status::kSuccess);
    ASSERT_EQ(loadText(scene, text), Status::kSuccess);
    Node* const copy = scene.root()->getLastChild();
    ASSERT_NE(copy, first());
    EXPECT_NE(copy->getName(), L"node");
    EXPECT_EQ(copy->findAttributeByName(L"Double")->getReference(), copy->findAttributeByName(L"Float"));
}

TEST_F(JsonLoadingTest, AReferenceMayStandBeforeWhatItLeadsTo)
{
    ASSERT_EQ(loadText(scene, documentOf({nodeText("\"attributes\": [[\"Int\", \"Int =>\", \"|b.Int\"]]", "a"),
                                          nodeText("\"attributes\": [[\"Int\", \"Int\"]]", "b")})),
              Status::kSuccess);
    EXPECT_EQ(loadedAttribute(scene, L"Int")->getReference(),
              scene.root()->getLastChild()->findAttributeByName(L"Int"));
    EXPECT_TRUE(loadedAttribute(scene, L"Int")->referenceIsSingle());
}

TEST_F(JsonLoadingTest, DataOfThePreviousGenerationHasTypesOfItsOwn)
{
    ASSERT_EQ(scene.registry().registerNodeTemplate(new NodeTemplate(L"All_KQDatabase1", 80, scene.module())),
              Status::kSuccess);
    std::string text = documentOf({nodeText("")});
    text.replace(text.find("KQDatabase2"), 11, "KQDatabase1");
    ASSERT_EQ(loadText(scene, text), Status::kSuccess);
    EXPECT_EQ(first()->getTypeId(), 80u);
}

// --- Enums ---

TEST_F(JsonLoadingTest, AChoiceThatTheEnumLacksIsLoggedAndLeavesTheDefault)
{
    scene.log().take();
    EXPECT_EQ(loadText(scene, documentWith({"[\"Enum\", \"Enum\", \"gone\"]", "[\"Int\", \"Int\", 3]"})),
              Status::kSuccess);
    EXPECT_TRUE(scene.log().tookError(
        L"Line 9, column 18, nodes[0].attributes[0][2]: 'gone' is no choice of 'Enum', which keeps its default"));
    EXPECT_EQ(loadedAttribute(scene, L"Enum")->getValue().asInt(), 0);
    EXPECT_EQ(loadedAttribute(scene, L"Int")->getValue().asInt(), 3);
}

TEST_F(JsonLoadingTest, AnEnumWithVeryManyChoicesFindsEachOfThem)
{
    EnumAttributeMetaDataDef definition;
    for (int i = 0; i < 3000; ++i)
        definition.addChoice((L"choice" + std::to_wstring(i % 2900)).c_str());
    definition.setArray(true);
    auto* const type = new NodeTemplate(L"Choosy", 60, scene.module());
    ASSERT_EQ(type->addAttribute(definition, L"modes"), Status::kSuccess);
    ASSERT_EQ(scene.registry().registerNodeTemplate(type), Status::kSuccess);
    AttributeArray* const modes = scene.nodeOf(60, L"node")->findAttributeArrayByName(L"modes");
    ASSERT_EQ(scene.core().db_resizeAttributeArray(modes, 3000), Status::kSuccess);
    for (unsigned int i = 0; i < 3000; ++i)
        scene.write(modes->getAttribute(i), static_cast<int>(2999 - i));
    scene.commit();
    const std::wstring before = dumpTree(scene.core());
    const std::string text = saveScene(scene);
    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
    ASSERT_EQ(loadText(scene, text), Status::kSuccess);
    EXPECT_TRUE(isSameDump(before, dumpTree(scene.core())));
}

// --- Modules that are not registered ---

const char* const kForeign = R"({"identifier": "KQDatabase2",
"loaderVersion": 1, "applicationString": "", "typeString": "",
"modules": [["Foreign", 7, [2, 5]]],
"nodes": [
{"name": "a", "type": "Alien", "module": "Foreign", "depth": 0,
 "attributes": [
  ["mode", "Enum", "slow"],
  ["modes", "Enum[]", ["fast", "slow", "fast"]],
  ["plain", "Float"],
  ["target", "Float ->", "|a.plain"],
  ["nothing", "Null", null],
  ["none", "Null"],
  ["sparse", "Int[?]", 2, [1, 5]]
 ],
 "dynamic": [["extra", "Int", 4]]}
]})";

TEST_F(JsonLoadingTest, NodesOfAModuleThatIsNotRegisteredStayAsTheyAre)
{
    ASSERT_EQ(loadText(scene, kForeign), Status::kSuccess);
    ASSERT_TRUE(first()->isUnknown());
    EXPECT_EQ(first()->getTypeName(), L"Alien");
    const auto& mode = *first()->findAttributeByName(L"mode");
    EXPECT_EQ(static_cast<const EnumAttributeMetaData&>(*mode.getMetaData()).getChoice(0), std::wstring(L"slow"));
    const auto& modes = *first()->findAttributeArrayByName(L"modes");
    EXPECT_EQ(modes.getAttribute(2)->getValue().asInt(), 0);
    EXPECT_EQ(modes.getAttribute(1)->getValue().asInt(), 1);

    const std::string saved = saveScene(scene);
    EXPECT_NE(saved.find("[\"Foreign\", 7, [2, 5]]"), std::string::npos);
    for (const char* const entry : {R"(["mode", "Enum", "slow"])", R"(["modes", "Enum[]", ["fast", "slow", "fast"]])",
                                    R"(["plain", "Float"],)", R"(["target", "Float ->", "|a.plain"])",
                                    R"(["nothing", "Null", null])", R"(["none", "Null"],)", R"(["extra", "Int", 4])"})
        EXPECT_NE(saved.find(entry), std::string::npos) << entry << saved;
    const std::wstring before = dumpTree(scene.core());
    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
    ASSERT_EQ(loadText(scene, saved), Status::kSuccess);
    EXPECT_TRUE(isSameDump(before, dumpTree(scene.core())));
    EXPECT_EQ(saveScene(scene), saved);
}

TEST_F(JsonLoadingTest, AValueThatTheHostGaveAnElementWithoutOneIsSaved)
{
    ASSERT_EQ(loadText(scene, kForeign), Status::kSuccess);
    scene.write(first()->findAttributeByName(L"plain"), 1.5f);
    EXPECT_NE(saveScene(scene).find("[\"plain\", \"Float\", 1.5]"), std::string::npos);
}

// --- Migrators and legacy data ---

/// Renames types, elements and choices, and refuses what it is told to.
class Renamer : public Migrator
{
public:
    const wchar_t* migrateNodeTypeName(const wchar_t* name) override { return renamed(name); }
    const wchar_t* migrateAttributeName(const wchar_t* name, Node*) override { return renamed(name); }
    const wchar_t* migrateEnumChoice(const wchar_t* choice, const wchar_t* attributeName, Node*) override
    {
        choicesAskedFor.insert(attributeName);
        return renamed(choice);
    }
    bool onNodeLoaded(Node& node) override
    {
        loaded.push_back(std::wstring(node.getName()));
        return node.getName() != refusedNode.c_str();
    }
    bool onLegacyNodeLoaded(const Node& node) override
    {
        loaded.push_back(L"legacy " + std::wstring(node.getName()));
        return true;
    }

    std::map<std::wstring, const wchar_t*> names;
    std::wstring refusedNode;
    std::set<std::wstring> choicesAskedFor;
    std::vector<std::wstring> loaded;

private:
    const wchar_t* renamed(const wchar_t* name)
    {
        const auto found = names.find(name);
        return found != names.end() ? found->second : name;
    }
};

class JsonMigrationTest : public JsonLoadingTest
{
protected:
    JsonMigrationTest()
    {
        scene.module().setDataVersion(2);
        EXPECT_EQ(scene.module().registerMigrator(&migrator, 2), Status::kSuccess);
    }

    Renamer migrator;
};

TEST_F(JsonMigrationTest, MigratorsRenameTypesElementsAndChoices)
{
    migrator.names = {{L"Oldest", L"All"}, {L"oldInt", L"Int"}, {L"oldEnum", L"Enum"}, {L"lonely", L"only"}};
    std::string text =
        documentOf({nodeText("\"attributes\": [[\"oldInt\", \"Int\", 5], [\"oldEnum\", \"Enum\", \"lonely\"], "
                             "[\"Double\", \"Double ->\", \"|node.oldInt\"]],\n"
                             "\"dynamic\": [[\"d\", \"Enum\", {\"choices\": [\"lonely\"]}, \"lonely\"], "
                             "[\"ds\", \"Enum[]\", {\"choices\": [\"none\", \"lonely\"]}, [\"lonely\"]]]")});
    text.replace(text.find("\"All\""), 5, "\"Oldest\"");
    scene.log().take();
    EXPECT_EQ(loadText(scene, text), Status::kLoadedWithMigration);
    EXPECT_EQ(loadedAttribute(scene, L"Int")->getValue().asInt(), 5);
    EXPECT_EQ(loadedAttribute(scene, L"Enum")->getValue().asInt(), 0);
    EXPECT_TRUE(loadedAttribute(scene, L"Enum")->hasFlag(ElementFlag::kValueLoaded));
    EXPECT_EQ(loadedAttribute(scene, L"Double")->getReference(), loadedAttribute(scene, L"Int"));
    EXPECT_TRUE(loadedAttribute(scene, L"d")->hasFlag(ElementFlag::kValueLoaded));
    EXPECT_EQ(migrator.choicesAskedFor,
              std::set<std::wstring>{L"Enum"}); // by its present name, and not for the dynamic ones
    EXPECT_EQ(first()->findAttributeArrayByName(L"ds")->getAttribute(0)->getValue().asInt(), 1);
    EXPECT_EQ(migrator.loaded, std::vector<std::wstring>{L"node"});
}

TEST_F(JsonMigrationTest, AMigratorThatRefusesEndsTheLoadWithThePlace)
{
    migrator.names = {{L"bad", nullptr}};
    scene.log().take();
    EXPECT_EQ(loadText(scene, documentWith({"[\"Enum\", \"Enum\", \"bad\"]"})), Status::kFailure);
    EXPECT_EQ(scene.log().take().back().text,
              L"KQDatabase2 : Line 9, column 18, nodes[0].attributes[0][2]: a migrator refused the choice 'bad'");
    EXPECT_EQ(loadText(scene, documentWith({"[\"bad\", \"Int\", 1]"})), Status::kFailure);
    EXPECT_EQ(scene.log().take().back().text,
              L"KQDatabase2 : Line 9, column 16, nodes[0].attributes[0][2]: the attribute cannot be loaded");
    migrator.refusedNode = L"b";
    EXPECT_EQ(loadText(scene, documentOf({nodeText("", "a"), nodeText("", "b")})), Status::kFailure);
    EXPECT_EQ(scene.log().take().back().text,
              L"KQDatabase2 : Line 8, column 58, nodes[1]: a migrator refused the node");
}

TEST_F(JsonLoadingTest, LegacyDataThatIsKeptIsSavedAndLoadsAgain)
{
    const std::string text =
        documentOf({nodeText("\"attributes\": [[\"gone\", \"Int\", 0], [\"Float\", \"String\", \"text\"], [\"modes\", "
                             "\"Enum[]\", [\"b\", \"a\"]], [\"none\", \"Int\"]]"),
                    "{\"name\": \"old\", \"type\": \"Dropped\", \"module\": \"Test\", \"depth\": 1,\n"
                    "\"legacy\": [[\"x\", \"Int\", 3]]}"});
    scene.log().take();
    EXPECT_EQ(loadText(scene, text, nullptr, LoadStrategy::kKeepUnhandledLegacyData),
              Status::kLoadedWithUnhandledLegacyData);
    Node* const old = first()->getFirstChild();
    ASSERT_NE(old, nullptr);
    EXPECT_TRUE(old->isLegacy());
    EXPECT_EQ(old->findLegacyAttributeByName(L"x")->getValue().asInt(), 3);
    EXPECT_EQ(first()->getLegacyElementCount(), 4u);

    const std::string saved = saveScene(scene);
    EXPECT_NE(saved.find(R"(
   "legacy": [
    ["gone", "Int", 0],
    ["Float", "String", "text"],
    ["modes", "Enum[]", ["b", "a"]],
    ["none", "Int"]
   ])"),
              std::string::npos)
        << saved;
    const std::wstring before = dumpTree(scene.core());
    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
    EXPECT_EQ(loadText(scene, saved, nullptr, LoadStrategy::kKeepUnhandledLegacyData),
              Status::kLoadedWithUnhandledLegacyData);
    EXPECT_TRUE(isSameDump(before, dumpTree(scene.core())));
    EXPECT_EQ(saveScene(scene), saved);
}

TEST_F(JsonLoadingTest, LegacyDataThatIsNotKeptGoesWithAMessage)
{
    EXPECT_EQ(loadText(scene, documentWith({"[\"gone\", \"Int\", 1]"})), Status::kLoadedWithUnhandledLegacyData);
    EXPECT_EQ(first()->getLegacyElementCount(), 0u);
}

// --- Dynamic elements ---

TEST_F(JsonLoadingTest, ADynamicElementWhoseNameIsTakenEndsTheLoad)
{
    scene.log().take();
    EXPECT_NE(loadText(scene, documentOf({nodeText("\"dynamic\": [[\"Int\", \"Int\", 4]]")})), Status::kSuccess);
    EXPECT_EQ(scene.log().take().back().text,
              L"KQDatabase2 : Line 8, column 28, nodes[0].dynamic[0][2]: the attribute cannot be loaded");
}

TEST_F(JsonLoadingTest, ALoadWithTheLoadersOptionsReportsItsMigrators)
{
    Migrator migrator;
    scene.module().setDataVersion(2);
    ASSERT_EQ(scene.module().registerMigrator(&migrator, 2), Status::kSuccess);
    const MemoryBlock block = blockOf(documentOf({nodeText("")}));
    MemoryInputStream stream(block);
    kqtl::pod_vector<Migrator*> run;
    JsonLoader loader(stream, scene.core(), scene.core(), LoadStrategy::kLogLoadTime, &run);
    EXPECT_EQ(loader.load(*scene.root(), L"file"), Status::kLoadedWithMigration);
    ASSERT_EQ(run.size(), 1u);
    EXPECT_EQ(run[0], &migrator);
    EXPECT_EQ(loader.getHeaderData().typeString, L"scene");
    EXPECT_EQ(loader.getHeaderData().applicationString, L"test");
}

} // namespace
