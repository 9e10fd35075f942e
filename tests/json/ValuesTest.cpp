// Values of every type, as text and back to the bit.

#include "json/Documents.h"

#include "support/ModelValue.h"
#include "support/TreeDump.h"

#include <bit>
#include <cstring>
#include <limits>
#include <memory>

namespace {

using namespace db2;
using namespace db2test;

class JsonValuesTest : public ::testing::Test
{
protected:
    /// The text behind the type of the first node's attribute that is named like its type.
    std::string savedText(const wchar_t* name)
    {
        const std::string document = saveScene(scene, SaveStrategy::kSaveEverything);
        const std::string ascii(name, name + std::wcslen(name));
        const std::string begin = "[\"" + ascii + "\", \"" + ascii + "\", ";
        const std::size_t at = document.find(begin);
        if (at == std::string::npos)
            return "not saved";
        const std::size_t lineEnd = document.find('\n', at);
        const std::string line = document.substr(at + begin.size(), lineEnd - at - begin.size());
        return line.substr(0, line.rfind(']'));
    }

    template <class Write>
    void write(const wchar_t* name, Write writeValue)
    {
        ValueHandle handle;
        ASSERT_EQ(scene.core().db_lockAttribute(node->findAttributeByName(name), &handle), Status::kSuccess);
        writeValue(handle);
        ASSERT_EQ(scene.core().db_unlockAttribute(node->findAttributeByName(name)), Status::kSuccess);
    }

    /// Saves the value, checks its text, loads it into another node and compares the bits.
    void expectRoundTrip(const wchar_t* name, const std::string& text)
    {
        EXPECT_EQ(savedText(name), text);
        const std::wstring before = dumpValue(node->findAttributeByName(name)->getValue());
        Node* const other = scene.nodeOf(Scene::kPlain, L"other");
        ASSERT_EQ(loadText(scene, saveScene(scene), other), Status::kSuccess);
        EXPECT_EQ(dumpValue(other->getFirstChild()->findAttributeByName(name)->getValue()), before);
        ASSERT_EQ(scene.core().db_destroyLeafNode(other->getFirstChild()->getNextSibling()), Status::kSuccess);
        ASSERT_EQ(scene.core().db_destroyLeafNode(other->getFirstChild()), Status::kSuccess);
        ASSERT_EQ(scene.core().db_destroyLeafNode(other), Status::kSuccess);
    }

    void expectFloat(std::uint32_t bits, const std::string& text)
    {
        write(L"Float", [bits](const ValueHandle& value) { std::memcpy(value.getData(), &bits, sizeof bits); });
        expectRoundTrip(L"Float", text);
    }

    void expectDouble(std::uint64_t bits, const std::string& text)
    {
        write(L"Double", [bits](const ValueHandle& value) { std::memcpy(value.getData(), &bits, sizeof bits); });
        expectRoundTrip(L"Double", text);
    }

    void expectText(const std::wstring& value, const std::string& text)
    {
        write(L"String",
              [&](const ValueHandle& handle) { handle.getString() = kqx::String(value.data(), value.size()); });
        expectRoundTrip(L"String", text);
    }

    Scene scene;
    Node* node = scene.node(L"node");
};

TEST_F(JsonValuesTest, IntsAreNumbers)
{
    for (const auto& [value, text] : {std::pair{std::numeric_limits<int>::min(), "-2147483648"},
                                      {std::numeric_limits<int>::max(), "2147483647"},
                                      {-1, "-1"}})
    {
        write(L"Int", [value = value](const ValueHandle& handle) { handle.getInt() = value; });
        expectRoundTrip(L"Int", text);
    }
}

TEST_F(JsonValuesTest, BoolsAreWords)
{
    write(L"Bool", [](const ValueHandle& handle) { handle.getBool() = true; });
    expectRoundTrip(L"Bool", "true");
}

TEST_F(JsonValuesTest, FloatsHaveTheFewestDigitsThatReadBackToTheirBits)
{
    expectFloat(std::bit_cast<std::uint32_t>(0.1f), "0.1");
    expectFloat(std::bit_cast<std::uint32_t>(35.5f), "35.5");
    expectFloat(std::bit_cast<std::uint32_t>(99999.0f), "99999");
    expectFloat(std::bit_cast<std::uint32_t>(100000.0f), "1e+05");
    expectFloat(std::bit_cast<std::uint32_t>(-100000.0f), "-1e+05");
    expectFloat(std::bit_cast<std::uint32_t>(-3.0f), "-3");
    expectFloat(std::bit_cast<std::uint32_t>(16777216.0f), "16777216");
    expectFloat(std::bit_cast<std::uint32_t>(1e10f), "1e+10");
    expectFloat(std::bit_cast<std::uint32_t>(std::numeric_limits<float>::max()), "3.4028235e+38");
    expectFloat(std::bit_cast<std::uint32_t>(std::numeric_limits<float>::min()), "1.1754944e-38");
    expectFloat(0x00000001, "1e-45");
    expectFloat(0x80000001, "-1e-45");
    expectFloat(0x80000000, "-0");
}

TEST_F(JsonValuesTest, FloatsThatAreNoNumbersAreTexts)
{
    expectFloat(0x7F800000, "\"Infinity\"");
    expectFloat(0xFF800000, "\"-Infinity\"");
    expectFloat(0x7FC00000, "\"NaN\"");
    expectFloat(0xFFC00000, "\"NaN:ffc00000\"");
    expectFloat(0x7F800001, "\"NaN:7f800001\"");
    expectFloat(0xFFFFFFFF, "\"NaN:ffffffff\"");
}

TEST_F(JsonValuesTest, DoublesHaveTheFewestDigitsThatReadBackToTheirBits)
{
    expectDouble(std::bit_cast<std::uint64_t>(0.1), "0.1");
    expectDouble(std::bit_cast<std::uint64_t>(10000.0), "10000");
    expectDouble(std::bit_cast<std::uint64_t>(1234567.0), "1234567");
    expectDouble(std::bit_cast<std::uint64_t>(12345678901.0), "12345678901");
    expectDouble(std::bit_cast<std::uint64_t>(1.0 / 3), "0.3333333333333333");
    expectDouble(std::bit_cast<std::uint64_t>(std::numeric_limits<double>::max()), "1.7976931348623157e+308");
    expectDouble(0x0000000000000001, "5e-324");
    expectDouble(0x000FFFFFFFFFFFFF, "2.225073858507201e-308");
    expectDouble(0x8000000000000000, "-0");
}

TEST_F(JsonValuesTest, DoublesThatAreNoNumbersAreTexts)
{
    expectDouble(0x7FF0000000000000, "\"Infinity\"");
    expectDouble(0xFFF0000000000000, "\"-Infinity\"");
    expectDouble(0x7FF8000000000000, "\"NaN\"");
    expectDouble(0xFFF8000000000000, "\"NaN:fff8000000000000\"");
    expectDouble(0x7FF0000000000001, "\"NaN:7ff0000000000001\"");
}

TEST_F(JsonValuesTest, TextsAreStringsInUtf8)
{
    expectText(L"plain", "\"plain\"");
    expectText(L"quote \" slash \\ line\nend", "\"quote \\\" slash \\\\ line\\nend\"");
    expectText(L"\u00E9 \u20AC \uFFFF", "\"\xC3\xA9 \xE2\x82\xAC \xEF\xBF\xBF\"");
    expectText(L"\U0001F600", "\"\xF0\x9F\x98\x80\"");
    expectText(std::wstring(L"a\0b", 3), "\"a\\u0000b\"");
    expectText(L"\u0001\u001F\u007F", "\"\\u0001\\u001F\x7F\"");
}

TEST_F(JsonValuesTest, TextsThatUtf8CannotHoldAreTheNumbersOfTheirCharacters)
{
    expectText({wchar_t(0xD800)}, "[55296]");
    expectText({L'a', wchar_t(0xDFFF), L'b'}, "[97, 57343, 98]");
    expectText({wchar_t(0xDC00), wchar_t(0xD800)}, "[56320, 55296]");
    if constexpr (sizeof(wchar_t) > 2)
    {
        expectText({wchar_t(0xD83D), wchar_t(0xDE00)}, "[55357, 56832]");
        expectText({static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1)}, "[1114112, 4294967295]");
    }
    else
        expectText({wchar_t(0xD83D), wchar_t(0xDE00)}, "\"\xF0\x9F\x98\x80\"");
}

TEST_F(JsonValuesTest, MathValuesAreArraysOfTheirComponents)
{
    write(L"Colour", [](const ValueHandle& value) { value.getColour() = kqx::Colour(0.5f, -0.0f, 1, 0.25f); });
    expectRoundTrip(L"Colour", "[0.5, -0, 1, 0.25]");
    write(L"Quat", [](const ValueHandle& value) { value.getQuat() = kqx::Quat(1, 2, 3, 4); });
    expectRoundTrip(L"Quat", "[1, 2, 3, 4]");
    write(L"Matrix", [](const ValueHandle& value) { value.getMatrix().m[1][2] = 7.5f; });
    expectRoundTrip(L"Matrix", "[1, 0, 0, 0, 0, 1, 7.5, 0, 0, 0, 1, 0, 0, 0, 0, 1]");
}

TEST_F(JsonValuesTest, AVector3HasItsPaddingOnlyWhenSomebodySetIt)
{
    write(L"Vector3", [](const ValueHandle& value) { value.getVector3() = kqx::Vector3(1, 2, 3); });
    expectRoundTrip(L"Vector3", "[1, 2, 3]");
    write(L"Vector3", [](const ValueHandle& value) { value.getVector3().w = -0.0f; });
    expectRoundTrip(L"Vector3", "[1, 2, 3, -0]");
}

TEST_F(JsonValuesTest, ArraysOfVector3AreFlatUnlessOneHasItsPaddingSet)
{
    write(L"Vector3Array", [](const ValueHandle& value) {
        value.getVector3Array() = {kqx::Vector3(1, 2, 3), kqx::Vector3(4, 5, 6)};
    });
    expectRoundTrip(L"Vector3Array", "[1, 2, 3, 4, 5, 6]");
    write(L"Vector3Array", [](const ValueHandle& value) { value.getVector3Array()[1].w = 7; });
    expectRoundTrip(L"Vector3Array", "[[1, 2, 3, 0], [4, 5, 6, 7]]");
}

TEST_F(JsonValuesTest, ArraysHoldTheirElements)
{
    write(L"IntArray", [](const ValueHandle& value) { value.getIntArray() = {1, -2}; });
    expectRoundTrip(L"IntArray", "[1, -2]");
    write(L"BoolArray", [](const ValueHandle& value) { value.getBoolArray() = {true, false}; });
    expectRoundTrip(L"BoolArray", "[true, false]");
    write(L"DoubleArray", [](const ValueHandle& value) { value.getDoubleArray() = {0.1, 1e300}; });
    expectRoundTrip(L"DoubleArray", "[0.1, 1e+300]");
    write(L"StringArray", [](const ValueHandle& value) {
        value.getStringArray() = {L"", L",[\"", kqx::String(std::wstring{wchar_t(0xD800)}.c_str())};
    });
    expectRoundTrip(L"StringArray", "[\"\", \",[\\\"\", [55296]]");
    write(L"QuatArray", [](const ValueHandle& value) { value.getQuatArray() = {kqx::Quat(1, 2, 3, 4)}; });
    expectRoundTrip(L"QuatArray", "[1, 2, 3, 4]");
}

TEST_F(JsonValuesTest, EmptyArraysAreEmptyBrackets)
{
    EXPECT_EQ(savedText(L"FloatArray"), "[]");
}

TEST_F(JsonValuesTest, VertexBuffersAreTheirStreams)
{
    write(L"VertexBuffer", [](const ValueHandle& value) {
        kqx::VertexBuffer& buffer = value.getVertexBuffer();
        buffer.addStream(L"position", 3);
        buffer.getStream(0) = {1, 2.5f, 3};
        buffer.addStream(L"", 0);
    });
    expectRoundTrip(L"VertexBuffer", "[[\"position\", 3, [1, 2.5, 3]], [\"\", 0, []]]");
}

TEST_F(JsonValuesTest, EnumsAreTheTextOfTheirChoiceAndNumbersWhereThereIsNone)
{
    EXPECT_EQ(savedText(L"Enum"), "\"only\"");
    write(L"Enum", [](const ValueHandle& value) { value.getInt() = -3; });
    expectRoundTrip(L"Enum", "-3");
    write(L"Enum", [](const ValueHandle& value) { value.getInt() = 1; });
    expectRoundTrip(L"Enum", "1");
}

TEST_F(JsonValuesTest, NullIsNull)
{
    EXPECT_EQ(savedText(L"Null"), "null");
}

/// Any value of each type comes back to the bit.
class JsonRandomValuesTest : public ::testing::TestWithParam<unsigned int>
{
};

TEST_P(JsonRandomValuesTest, ComeBackToTheBit)
{
    Random random = GetParam() != 0 ? Random(GetParam()) : Random::fresh();
    SCOPED_TRACE(random.description());
    Scene scene;
    for (int i = 0; i < 60; ++i)
    {
        Node* const node = scene.node(L"node");
        for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
        {
            const auto typeId = static_cast<AttributeTypeId>(type);
            if (typeId == AttributeType::kNull)
                continue;
            Attribute* const attribute = node->findAttributeByName(ValueInfo::getTypeName(typeId));
            ValueHandle handle;
            ASSERT_EQ(scene.core().db_lockAttribute(attribute, &handle), Status::kSuccess);
            writeValue(handle, randomModelValue(typeId, random));
            ASSERT_EQ(scene.core().db_unlockAttribute(attribute), Status::kSuccess);
        }
    }
    scene.commit();
    const std::wstring before = dumpTree(scene.core());
    const std::string text = saveScene(scene);
    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
    ASSERT_EQ(loadText(scene, text), Status::kSuccess);
    EXPECT_TRUE(isSameDump(before, dumpTree(scene.core())));
    EXPECT_EQ(saveScene(scene), text);
}

INSTANTIATE_TEST_SUITE_P(OfFixedSeedsAndANewOne, JsonRandomValuesTest, ::testing::Values(1u, 2u, 3u, 0u));

} // namespace
