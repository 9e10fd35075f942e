// Documents made to cost: their loads take memory in proportion to their size, whatever numbers stand in them.

#include "support/MeasuredHeap.h"
#include "support/TreeDump.h"
#include "json/Documents.h"

#include <cstddef>
#include <vector>

namespace {

using namespace db2;
using namespace db2test;

std::string repeated(std::string_view text, std::size_t times)
{
    std::string out;
    for (std::size_t i = 0; i < times; ++i)
        out += text;
    return out;
}

std::string unknownNode(std::string_view members)
{
    std::string text = documentOf({"{\"name\": \"a\", \"type\": \"Alien\", \"module\": \"Foreign\", \"depth\": 0, " +
                                   std::string(members) + "}"});
    text.replace(text.find("[[\"Test\", 1, []]]"), 17, "[[\"Foreign\", 1, []]]");
    return text;
}

/// A node with a dynamic array whose items begin as copies of a default.
std::string dynamicArray(std::string_view type, std::string_view defaultValue, std::string_view items)
{
    return documentOf({nodeText("\"dynamic\": [[\"d\", \"" + std::string(type) +
                                "\", {\"default\": " + std::string(defaultValue) + "}, " + std::string(items) + "]]")});
}

std::string longText()
{
    return '"' + std::string(20000, 'x') + '"';
}

class JsonHostileTest : public ::testing::TestWithParam<std::string>
{
};

TEST_P(JsonHostileTest, ALoadTakesMemoryInProportionToTheFile)
{
    constexpr std::size_t kBytesForAByte =
        200; // an item of an array takes some dozens, and may stand for two characters
    constexpr std::size_t kBytesForAnyLoad = 64 * 1024;
    Scene scene;
    const MemoryBlock block = blockOf(GetParam());
    const MeasuredHeap heap;
    {
        MemoryInputStream stream(block);
        JsonLoader loader(stream, scene.core(), scene.core());
        static_cast<void>(loader.load(*scene.root(), nullptr));
    }
    EXPECT_LT(heap.bytes(), GetParam().size() * kBytesForAByte + kBytesForAnyLoad);
}

INSTANTIATE_TEST_SUITE_P(
    OfMuchForLittle, JsonHostileTest,
    ::testing::Values(
        // Sizes that nothing stands behind
        documentWith({"[\"IntItems\", \"Int[?]\", 4294967295]"}),
        documentWith({"[\"MatrixItems\", \"Matrix[?]\", 100000]"}),
        documentWith({"[\"MatrixItems\", \"Matrix[?]\", 600]", "[\"FloatItems\", \"Float[?]\", 600]"}) +
            std::string(600, ' '),
        documentWith({"[\"MatrixItems\", \"Matrix[?]\", 100000]" + std::string(100000, ' ')}),
        // Defaults that are long, and many
        dynamicArray("String[]", longText(), "[\"\"" + repeated(",\"\"", 4000) + "]"),
        dynamicArray("String[?]", longText(), "20000"),
        dynamicArray("StringArray[?]", "[" + longText() + "]", "20000, [19999, []]"),
        dynamicArray("IntArray[]", "[0" + repeated(",0", 10000) + "]", "[[]" + repeated(",[]", 4000) + "]"),
        dynamicArray("MatrixArray[?]", "[[0" + repeated(",0", 15999) + "]]", "20000"),
        dynamicArray("VertexBuffer[?]", "[[" + longText() + ", 1, [0" + repeated(",0", 10000) + "]]]", "20000"),
        // Commas that count as items
        documentWith({"[\"IntItems\", \"Int[]\", [" + repeated(",", 20000) + "]]"}),
        documentWith({"[\"IntItems\", \"Int[]\", [1" + repeated(",1", 20000) + "]]"}),
        documentWith({"[\"MatrixArray\", \"MatrixArray\", [" + repeated(",", 20000) + "]]"}),
        documentWith({"[\"MatrixArray\", \"MatrixArray\", [[" + repeated("[],", 20000) + "]]"}),
        documentWith({"[\"StringArray\", \"StringArray\", [\"\"" + repeated(",\"\"", 20000) + "]]"}),
        // Nesting that nobody follows
        std::string(100000, '['), documentWith({"[\"IntItems\", \"Int[]\", " + std::string(100000, '[')}),
        documentWith({"[\"String\", \"String\", " + std::string(100000, '[')}), repeated("{\"identifier\":", 20000),
        // Versions and modules
        documentOf({}).replace(documentOf({}).find("1, []"), 5,
                               "4000000000, [" + repeated("4294967295, ", 1000) + "2]"),
        // Empty elements of a type that nobody knows, many times
        unknownNode("\"attributes\": [[\"m\", \"Matrix[]\", [null" + repeated(",null", 20000) + "]]]"),
        unknownNode("\"attributes\": [[\"m\", \"Null[]\", [null" + repeated(",null", 20000) + "]]]"),
        unknownNode("\"attributes\": [[\"m\", \"VertexBuffer[]\", [[]" + repeated(",[]", 20000) + "]]]")));

/// Trees that the rule for files made to cost would refuse if they were written as any other.
class JsonLongDefaultTest : public ::testing::TestWithParam<unsigned int>
{
protected:
    /// Makes a dynamic array of so many items with a default of 5000 characters.
    AttributeArray* makeArray(Node* node, unsigned int items)
    {
        StringAttributeMetaDataDef definition;
        EXPECT_TRUE(definition.setDefaultValue(std::wstring(5000, L'x').c_str()));
        definition.setArray(true);
        scene.dynamicAttribute(definition, L"d", node);
        AttributeArray* const array = node->findAttributeArrayByName(L"d");
        EXPECT_EQ(scene.core().db_resizeAttributeArray(array, items), Status::kSuccess);
        return array;
    }
    /// @return what was saved.
    std::string expectRoundTrip()
    {
        const std::string saved = saveScene(scene);
        const std::wstring before = dumpTree(scene.core(), DumpDetail::kContent);
        EXPECT_EQ(scene.core().db_clear(), Status::kSuccess);
        EXPECT_EQ(loadText(scene, saved), Status::kSuccess);
        EXPECT_TRUE(isSameDump(before, dumpTree(scene.core(), DumpDetail::kContent)));
        EXPECT_EQ(saveScene(scene), saved);
        return saved;
    }

    Scene scene;
};

TEST_P(JsonLongDefaultTest, EmptyTextsAreSavedAndLoadAgain)
{
    AttributeArray* const array = makeArray(scene.node(L"node"), GetParam());
    for (unsigned int i = 0; i < GetParam(); ++i)
        scene.write(array->getAttribute(i), L"");
    expectRoundTrip();
}

TEST_P(JsonLongDefaultTest, ItemsThatReferenceAreSavedAndLoadAgainAndSoAreThoseAtTheDefault)
{
    Node* const node = scene.node(L"node");
    AttributeArray* const array = makeArray(node, GetParam());
    for (unsigned int i = 0; i < GetParam() / 2; ++i)
        ASSERT_EQ(scene.core().db_createReference(node->findAttributeByName(L"String"), array->getAttribute(i), false),
                  Status::kSuccess);
    const std::string saved = expectRoundTrip();
    const bool isListed = saved.find("[" + std::to_string(GetParam() - 1) + ", \"xxx") != std::string::npos;
    EXPECT_TRUE(isListed || GetParam() < 10); // what little there is may be left out
}

INSTANTIATE_TEST_SUITE_P(OfSomeItems, JsonLongDefaultTest, ::testing::Values(1u, 7u, 100u, 1000u));

TEST(JsonHostileTimeTest, NamesElementsAndReferencesOfOneKindLoadInLargeNumbers)
{
    // Each of these takes a moment when its cost grows with the file, and hours when it grows with the file's square.
    constexpr unsigned int kMany = 200000;
    Scene scene;
    const std::string sibling = ",\n" + nodeText("\"attributes\": [[\"Int\", \"Int ->\", \"|hub.Int\"]]", "same");
    std::string nodes = nodeText("", "hub");
    for (unsigned int i = 0; i < kMany; ++i)
        nodes += sibling;
    EXPECT_EQ(loadText(scene, documentOf({nodes})), Status::kSuccess);
    EXPECT_EQ(scene.core().getStatistics().references, kMany);
}

TEST(JsonHostileTimeTest, ANodeTakesLegacyElementsInLargeNumbers)
{
    constexpr unsigned int kMany = 100000;
    Scene scene;
    std::string elements;
    for (unsigned int i = 0; i < kMany; ++i)
        elements += (i > 0 ? ",\n[\"gone" : "[\"gone") + std::to_string(i) + "\", \"Int\"]";
    const std::string text = documentOf({nodeText("\"legacy\": [" + elements + "]")});
    EXPECT_EQ(loadText(scene, text), Status::kLoadedWithUnhandledLegacyData);
    EXPECT_EQ(scene.root()->getFirstChild()->getLegacyElementCount(), 0u);
    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
    EXPECT_EQ(loadText(scene, text, nullptr, LoadStrategy::kKeepUnhandledLegacyData),
              Status::kLoadedWithUnhandledLegacyData);
    EXPECT_EQ(scene.root()->getFirstChild()->getLegacyElementCount(), kMany);
}

} // namespace
