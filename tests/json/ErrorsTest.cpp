// What is wrong with a document, and where: every message with line, column and place. Nothing crashes, and what was
// loaded before the failure is the host's to roll back.

#include "json/Documents.h"

#include "support/TreeDump.h"

#include <db2/UndoManager.h>

#include <ostream>
#include <vector>

namespace {

using namespace db2;
using namespace db2test;

struct BadDocument
{
    std::string text;
    std::wstring error; ///< the last line of the log, without the library's prefix
};

void PrintTo(const BadDocument& document, std::ostream* out)
{
    *out << document.text;
}

/// So many more items for an array of texts.
std::string emptyTexts(int count)
{
    std::string items;
    for (int i = 0; i < count; ++i)
        items += ",\"\"";
    return items;
}

std::string header(std::string_view behind)
{
    return "{\"identifier\": \"KQDatabase2\", \"loaderVersion\": 1,\n\"applicationString\": \"\", \"typeString\": "
           "\"\",\n" +
           std::string(behind);
}

class JsonErrorsTest : public ::testing::TestWithParam<BadDocument>
{
protected:
    Scene scene;
};

TEST_P(JsonErrorsTest, AreLoggedWithTheirPlaceAndRollBack)
{
    UndoManager undo(&scene.core(), scene.core());
    const unsigned int start = undo.createRollbackPoint();
    const std::wstring before = dumpTree(scene.core(), DumpDetail::kContent);
    scene.log().take();
    const MemoryBlock block = blockOf(GetParam().text);
    {
        MemoryInputStream stream(block);
        JsonLoader loader(stream, undo, scene.core());
        EXPECT_NE(loader.load(*scene.root(), nullptr), Status::kSuccess);
    }
    const std::vector<LogRecorder::Line> lines = scene.log().take();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back().level, LogRecorder::kError);
    EXPECT_EQ(lines.back().text, L"KQDatabase2 : " + GetParam().error);
    undo.rollback(start);
    EXPECT_TRUE(isSameDump(before, dumpTree(scene.core(), DumpDetail::kContent)));
}

INSTANTIATE_TEST_SUITE_P(
    OfTheText, JsonErrorsTest,
    ::testing::Values(
        BadDocument{"", L"Line 1, column 1: expected an object, but the file ends here"},
        BadDocument{" \n\t", L"Line 2, column 2: expected an object, but the file ends here"},
        BadDocument{"[]", L"Line 1, column 1: expected an object"},
        BadDocument{"{", L"Line 1, column 2: expected a key, but the file ends here"},
        BadDocument{"{\"identifier\" \"", L"Line 1, column 15: expected a colon"},
        BadDocument{"{\"identifier\": 7", L"Line 1, column 16, identifier: expected the identifier, which is a string"},
        BadDocument{"{\"identifier\": \"abc",
                    L"Line 1, column 20, identifier: Missing a closing quotation mark in string."},
        BadDocument{"{\"identifier\": \"a\\q\"", L"Line 1, column 18, identifier: Invalid escape character in string."},
        BadDocument{"{\"identifier\": \"\\ud800\"",
                    L"Line 1, column 17, identifier: The surrogate pair in string is invalid."},
        BadDocument{"{\"identifier\": \"\xC3\xA9\xFF\"", L"Line 1, column 18, identifier: Invalid encoding in string."},
        BadDocument{"{\"identifier\": \"\xED\xA0\x80\"", L"Line 1, column 17, identifier: Invalid encoding in string."},
        BadDocument{"{\"identifier\": \"\xC0\x80\"", L"Line 1, column 17, identifier: Invalid encoding in string."},
        BadDocument{
            "{\"identifier\": \"a\nb\"",
            L"Line 1, column 18, identifier: a control character in a string, which must be written as an escape"},
        BadDocument{
            std::string("{\"identifier\": \"a\0b\"", 20),
            L"Line 1, column 18, identifier: a control character in a string, which must be written as an escape"},
        BadDocument{documentOf({}) + "x", L"Line 9, column 1: something follows the end of the document"},
        BadDocument{documentOf({}) + std::string(1, '\0'),
                    L"Line 9, column 1: something follows the end of the document"},
        BadDocument{documentOf({nodeText("") + ","}),
                    L"Line 8, column 1, nodes[0]: expected another entry behind the comma"}));

INSTANTIATE_TEST_SUITE_P(
    OfTheHeader, JsonErrorsTest,
    ::testing::Values(
        BadDocument{"{\"typeString\": \"\"}", L"Line 1, column 2: expected the key \"identifier\""},
        BadDocument{
            "{\"identifier\": \"Other\", \"loaderVersion\": 1, \"applicationString\": \"\", \"typeString\": \"\", "
            "\"modules\": [], ",
            L"Line 1, column 100, modules: the header is refused"},
        BadDocument{"{\"identifier\": \"KQDatabase2\", \"loaderVersion\": 2, \"more\"",
                    L"Line 1, column 48, loaderVersion: the version is not one that can be loaded"},
        BadDocument{"{\"identifier\": \"KQDatabase2\", \"loaderVersion\": 0}",
                    L"Line 1, column 48, loaderVersion: the version is not one that can be loaded"},
        BadDocument{"{\"identifier\": \"KQDatabase2\", \"loaderVersion\": 4294967296}",
                    L"Line 1, column 48, loaderVersion: the number 4294967296 does not fit here"},
        BadDocument{"{\"identifier\": \"KQDatabase2\", \"loaderVersion\": -1}",
                    L"Line 1, column 48, loaderVersion: expected an integer, not -1"},
        BadDocument{"{\"identifier\": \"KQDatabase2\", \"identifier\": \"KQDatabase2\"}",
                    L"Line 1, column 31: expected the key \"loaderVersion\""},
        BadDocument{header("\"modules\": [[\"Test\"]]"),
                    L"Line 3, column 20, modules[0][0]: expected the version of its data, but the array ends here"},
        BadDocument{header("\"modules\": [[\"Te\\u0000st\", 1, []]]"),
                    L"Line 3, column 14, modules[0][0]: the id of a module cannot hold a null character"},
        BadDocument{header("\"modules\": [[\"Test\", 1, [2], 3]]"),
                    L"Line 3, column 30, modules[0][3]: the array has too many entries"},
        BadDocument{header("\"modules\": [[\"Test\", 2, []]], \"nodes\": []}"),
                    L"Line 3, column 28, modules: the header is refused"},
        BadDocument{header("\"modules\": [], \"nodes\": [], \"more\": 1}"),
                    L"Line 3, column 29: the key \"more\" is not known, repeated or out of order"}));

INSTANTIATE_TEST_SUITE_P(
    OfNodes, JsonErrorsTest,
    ::testing::Values(
        BadDocument{documentOf({"{}"}), L"Line 7, column 2, nodes[0]: expected the key \"name\""},
        BadDocument{documentOf({"{\"name\": \"a\\u0000b\"}"}),
                    L"Line 7, column 10, nodes[0].name: the name of a node cannot hold a null character"},
        BadDocument{documentOf({nodeText("", "a", 1)}),
                    L"Line 7, column 57, nodes[0].depth: the depth 1 is more than one below the node before"},
        BadDocument{documentOf({nodeText("", "a"), nodeText("", "b", 2)}),
                    L"Line 8, column 57, nodes[1].depth: the depth 2 is more than one below the node before"},
        BadDocument{
            documentOf({"{\"name\": \"a\", \"type\": \"Plain\", \"module\": \"Nowhere\", \"depth\": 0}"}),
            L"Line 7, column 62, nodes[0].depth: the node cannot be made; is its module among those of the file?"},
        BadDocument{documentOf({nodeText("\"legacy\": [], \"attributes\": []")}),
                    L"Line 8, column 15, nodes[0]: the key \"attributes\" is not known, repeated or out of order"},
        BadDocument{documentOf({nodeText("\"attributes\": [], \"attributes\": []")}),
                    L"Line 8, column 19, nodes[0]: the key \"attributes\" is not known, repeated or out of order"}));

INSTANTIATE_TEST_SUITE_P(
    OfElements, JsonErrorsTest,
    ::testing::Values(
        BadDocument{
            documentWith({"[]"}),
            L"Line 9, column 2, nodes[0].attributes[0]: expected the name of an element, but the array ends here"},
        BadDocument{documentWith({"[\"Int\", \"Int\"]", "[\"Int\", \"Integer\", 1]"}),
                    L"Line 10, column 9, nodes[0].attributes[1][1]: expected the name of a type"},
        BadDocument{documentWith({"[\"Int\", \"Int [] \", 1]"}),
                    L"Line 9, column 9, nodes[0].attributes[0][1]: expected the name of a type"},
        BadDocument{documentWith({"[\"Int\", \"Int ->\"]"}),
                    L"Line 9, column 17, nodes[0].attributes[0]: expected another entry, but the array ends here"},
        BadDocument{
            documentWith({"[\"Int\", \"Int ->\", 5]"}),
            L"Line 9, column 19, nodes[0].attributes[0][2]: expected the path of a referenced attribute, which is "
            L"a string"},
        BadDocument{documentWith({"[\"Int\", \"Int\", 1, 2]"}),
                    L"Line 9, column 19, nodes[0].attributes[0][3]: the array has too many entries"},
        BadDocument{documentWith({"[\"Int\", \"Int\", {}]"}),
                    L"Line 9, column 16, nodes[0].attributes[0][2]: expected an integer"},
        BadDocument{documentWith({"[\"\", \"Int\", 1]"}),
                    L"Line 9, column 13, nodes[0].attributes[0][2]: the attribute cannot be loaded"}));

INSTANTIATE_TEST_SUITE_P(
    OfValues, JsonErrorsTest,
    ::testing::Values(
        BadDocument{documentWith({"[\"Int\", \"Int\", 2147483648]"}),
                    L"Line 9, column 16, nodes[0].attributes[0][2]: the number 2147483648 does not fit here"},
        BadDocument{documentWith({"[\"Int\", \"Int\", 1.0]"}),
                    L"Line 9, column 16, nodes[0].attributes[0][2]: expected an integer, not 1.0"},
        BadDocument{documentWith({"[\"Int\", \"Int\", 01]"}),
                    L"Line 9, column 16, nodes[0].attributes[0][2]: expected an integer"},
        BadDocument{documentWith({"[\"Int\", \"Int\", null]"}),
                    L"Line 9, column 16, nodes[0].attributes[0][2]: expected an integer"},
        BadDocument{documentWith({"[\"Bool\", \"Bool\", 1]"}),
                    L"Line 9, column 18, nodes[0].attributes[0][2]: expected true or false"},
        BadDocument{documentWith({"[\"Float\", \"Float\", 1e400]"}),
                    L"Line 9, column 20, nodes[0].attributes[0][2]: the number 1e400 does not fit here"},
        BadDocument{documentWith({"[\"Float\", \"Float\", .5]"}),
                    L"Line 9, column 20, nodes[0].attributes[0][2]: expected a number"},
        BadDocument{documentWith({"[\"Float\", \"Float\", -inf]"}),
                    L"Line 9, column 20, nodes[0].attributes[0][2]: expected a number"},
        BadDocument{documentWith({"[\"Float\", \"Float\", \"nan\"]"}),
                    L"Line 9, column 20, nodes[0].attributes[0][2]: expected a number, \"NaN\", \"Infinity\" or "
                    L"\"-Infinity\""},
        BadDocument{documentWith({"[\"Float\", \"Float\", \"NaN:7f80000\"]"}),
                    L"Line 9, column 20, nodes[0].attributes[0][2]: expected a number, \"NaN\", \"Infinity\" or "
                    L"\"-Infinity\""},
        BadDocument{documentWith({"[\"Float\", \"Float\", \"NaN:3f800000\"]"}),
                    L"Line 9, column 20, nodes[0].attributes[0][2]: expected a number, \"NaN\", \"Infinity\" or "
                    L"\"-Infinity\""},
        BadDocument{documentWith({"[\"Double\", \"Double\", 1e]"}),
                    L"Line 9, column 22, nodes[0].attributes[0][2]: expected a number"},
        BadDocument{documentWith({"[\"String\", \"String\", [97, -1]]"}),
                    L"Line 9, column 27, nodes[0].attributes[0][2][1]: expected an integer, not -1"},
        BadDocument{documentWith({"[\"Null\", \"Null\", 0]"}),
                    L"Line 9, column 18, nodes[0].attributes[0][2]: expected null"},
        BadDocument{documentWith({"[\"Enum\", \"Enum\", true]"}),
                    L"Line 9, column 18, nodes[0].attributes[0][2]: expected the choice of an Enum, which is a string"},
        BadDocument{documentWith({"[\"Colour\", \"Colour\", [1, 2, 3]]"}),
                    L"Line 9, column 30, nodes[0].attributes[0][2][2]: expected another component, but the array ends "
                    L"here"},
        BadDocument{documentWith({"[\"Vector3\", \"Vector3\", [1, 2, 3, 4, 5]]"}),
                    L"Line 9, column 37, nodes[0].attributes[0][2][4]: the array has too many entries"},
        BadDocument{documentWith({"[\"QuatArray\", \"QuatArray\", [1, 2, 3, 4, 5]]"}),
                    L"Line 9, column 42, nodes[0].attributes[0][2][4]: expected another component, but the array ends "
                    L"here"},
        BadDocument{documentWith({"[\"Vector3Array\", \"Vector3Array\", [[1, 2, 3], 4]]"}),
                    L"Line 9, column 46, nodes[0].attributes[0][2][1]: expected an array"},
        BadDocument{documentWith({"[\"VertexBuffer\", \"VertexBuffer\", [[\"p\", -3, []]]]"}),
                    L"Line 9, column 41, nodes[0].attributes[0][2][0][1]: expected an integer, not -3"},
        BadDocument{documentWith({"[\"IntArray\", \"IntArray\", [1, 2"}),
                    L"Line 9, column 32, nodes[0].attributes[0][2]: expected a comma or the end of the array"}));

INSTANTIATE_TEST_SUITE_P(
    OfAttributeArrays, JsonErrorsTest,
    ::testing::Values(
        BadDocument{
            documentWith({"[\"IntItems\", \"Int[?]\", 4294967295]"}),
            L"Line 9, column 24, nodes[0].attributes[0][2]: the array has more items, 4294967295, than a file of "
            L"this size can describe"},
        BadDocument{
            documentWith({"[\"IntItems\", \"Int[?]\", 150]", "[\"FloatItems\", \"Float[?]\", 150]"}),
            L"Line 10, column 28, nodes[0].attributes[1][2]: the array has more items, 150, than a file of this "
            L"size can describe"},
        BadDocument{
            documentOf({nodeText("\"dynamic\": [[\"d\", \"String[]\", {\"default\": \"" + std::string(500, 'x') +
                                 "\"},\n[\"\"" + emptyTexts(40) + "]]]")}),
            L"Line 9, column 1, nodes[0].dynamic[0][3]: the array has more items, 41, than a file of this size can "
            L"describe"},
        BadDocument{documentWith({"[\"IntItems\", \"Int[?]\", 2, [2, 1]]"}),
                    L"Line 9, column 28, nodes[0].attributes[0][3][0]: the array has no item 2"},
        BadDocument{documentWith({"[\"IntItems\", \"Int[?]\", 2, []]"}),
                    L"Line 9, column 28, nodes[0].attributes[0][3]: expected the index of an item, but the array ends "
                    L"here"},
        BadDocument{documentWith({"[\"IntItems\", \"Int[?]\", 2, [1, 2, 3]]"}),
                    L"Line 9, column 34, nodes[0].attributes[0][3][2]: the array has too many entries"},
        BadDocument{
            documentWith({"[\"IntItems\", \"Int[?]\", 2, [\"<-\", 1, \"|node.Int\"]]"}),
            L"Line 9, column 28, nodes[0].attributes[0][3][0]: expected \"->\", \"=>\" or the index of an item"},
        BadDocument{documentWith({"[\"IntItems\", \"Int[]\", [1, 2}, 3]]"}),
                    L"Line 9, column 28, nodes[0].attributes[0][2][1]: expected a comma or the end of the array"},
        BadDocument{documentWith({"[\"IntItems\", \"Int[]\", 3]"}),
                    L"Line 9, column 23, nodes[0].attributes[0][2]: expected an array"}));

INSTANTIATE_TEST_SUITE_P(
    OfMetadata, JsonErrorsTest,
    ::testing::Values(
        BadDocument{
            documentOf({nodeText("\"dynamic\": [[\"d\", \"Int\", {\"min\": 1, \"flags\": 2}, 1]]")}),
            L"Line 8, column 37, nodes[0].dynamic[0][2]: the key \"flags\" is not known, repeated or out of order"},
        BadDocument{
            documentOf({nodeText("\"dynamic\": [[\"d\", \"Int\", {\"unit\": 1}, 1]]")}),
            L"Line 8, column 27, nodes[0].dynamic[0][2]: the key \"unit\" is not known, repeated or out of order"},
        BadDocument{documentOf({nodeText("\"dynamic\": [[\"d\", \"Int\", {\"flags\": 4}, 1]]")}),
                    L"Line 8, column 36, nodes[0].dynamic[0][2].flags: the flags hold one that only the library sets"},
        BadDocument{documentOf({nodeText("\"dynamic\": [[\"d\", \"Int\", {\"default\": 1.5}, 1]]")}),
                    L"Line 8, column 38, nodes[0].dynamic[0][2].default: expected an integer, not 1.5"}));

INSTANTIATE_TEST_SUITE_P(OfReferences, JsonErrorsTest,
                         ::testing::Values(BadDocument{documentWith({"[\"Int\", \"Int ->\", \"|nobody.Int\"]"}),
                                                       L"Failed to resolve attribute path '|nobody.Int'"},
                                           BadDocument{documentWith({"[\"Int\", \"Int ->\", \"|node.Int\"]"}),
                                                       L"Failed to create reference for path '|node.Int'"}));

/// A file may be cut anywhere.
TEST(JsonCutTest, ADocumentThatIsCutAnywhereIsAnErrorWithItsPlace)
{
    Scene scene;
    Node* const node = scene.node(L"n\u00F6de");
    scene.write(node->findAttributeByName(L"String"), L"\u20AC \" \x01");
    ASSERT_EQ(scene.core().db_resizeAttributeArray(node->findAttributeArrayByName(L"IntItems"), 3), Status::kSuccess);
    ASSERT_EQ(scene.core().db_createReference(node->findAttributeByName(L"Int"),
                                              node->findAttributeArrayByName(L"IntItems")->getAttribute(1), true),
              Status::kSuccess);
    EnumAttributeMetaDataDef definition;
    definition.addChoice(L"one");
    scene.dynamicAttribute(definition, L"mode", node);
    const std::string whole = saveScene(scene);
    for (std::size_t size = 0; size + 2 < whole.size(); ++size)
    {
        ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
        scene.log().take();
        ASSERT_EQ(loadText(scene, whole.substr(0, size)), Status::kFailure) << size;
        ASSERT_TRUE(scene.log().take().back().text.starts_with(L"KQDatabase2 : Line ")) << size;
    }
}

} // namespace
