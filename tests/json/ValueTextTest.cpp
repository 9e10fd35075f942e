// Single values as text and back.

#include "json/Documents.h"

#include "support/LogRecorder.h"
#include "support/ModelValue.h"
#include "support/TreeDump.h"

#include <db2json/ValueText.h>

#include <string>
#include <vector>

namespace {

using namespace db2;
using namespace db2test;

class ValueTextTest : public ::testing::Test
{
protected:
    Attribute& attribute(const wchar_t* name) { return *node->findAttributeByName(name); }

    std::string textOf(const wchar_t* name)
    {
        std::string text;
        appendValueText(*attribute(name).getMetaData(), attribute(name).getValue(), text);
        return text;
    }

    /// Parses into the attribute of the type's name. @return what is wrong; empty when nothing is.
    std::wstring parse(const wchar_t* name, std::string_view text)
    {
        ValueHandle value;
        EXPECT_EQ(scene.core().db_lockAttribute(&attribute(name), &value), Status::kSuccess);
        std::wstring error;
        const bool isRight = parseValueText(text, *attribute(name).getMetaData(), value, error);
        EXPECT_EQ(scene.core().db_unlockAttribute(&attribute(name)), Status::kSuccess);
        EXPECT_EQ(isRight, error.empty());
        return error;
    }

    /// Parses and writes again.
    std::string reread(const wchar_t* name, std::string_view text)
    {
        EXPECT_EQ(parse(name, text), L"");
        return textOf(name);
    }

    Scene scene;
    Node* node = scene.node(L"node");
};

TEST_F(ValueTextTest, ValuesHaveTheNotationOfDocuments)
{
    EXPECT_EQ(reread(L"Int", "-12"), "-12");
    EXPECT_EQ(reread(L"Bool", "true"), "true");
    EXPECT_EQ(reread(L"Float", "0.10"), "0.1");
    EXPECT_EQ(reread(L"Double", "1e3"), "1000");
    EXPECT_EQ(reread(L"Vector3", "[1,2,3]"), "[1, 2, 3]");
    EXPECT_EQ(reread(L"FloatArray", " [ ] "), "[]");
    EXPECT_EQ(reread(L"StringArray", "[\"a\", \"\\u00e9\"]"), "[\"a\", \"\xC3\xA9\"]");
    EXPECT_EQ(reread(L"VertexBuffer", "[[\"p\", 1, [1, 2]]]"), "[[\"p\", 1, [1, 2]]]");
    EXPECT_EQ(reread(L"Null", "null"), "null");
}

TEST_F(ValueTextTest, AStringNeedsNoQuotes)
{
    EXPECT_EQ(reread(L"String", "left hand"), "\"left hand\"");
    EXPECT_EQ(reread(L"String", ""), "\"\"");
    EXPECT_EQ(reread(L"String", " a\\n "), "\" a\\\\n \"");
    EXPECT_EQ(reread(L"String", "\"a\\n\""), "\"a\\n\"");
    EXPECT_EQ(reread(L"String", "[97, 55296]"), "[97, 55296]");
    EXPECT_EQ(parse(L"String", "\"a"), L"column 3: Missing a closing quotation mark in string.");
    EXPECT_EQ(parse(L"String", "[a"), L"column 2, [0]: expected an integer");
}

TEST_F(ValueTextTest, NumbersThatAreNoneNeedNoQuotes)
{
    EXPECT_EQ(reread(L"Float", "NaN"), "\"NaN\"");
    EXPECT_EQ(reread(L"Double", "-Infinity"), "\"-Infinity\"");
    EXPECT_EQ(reread(L"Float", "\"Infinity\""), "\"Infinity\"");
    EXPECT_EQ(reread(L"Float", "NaN:7f800001"), "\"NaN:7f800001\"");
}

TEST_F(ValueTextTest, AnEnumIsItsChoiceOrANumber)
{
    EXPECT_EQ(textOf(L"Enum"), "\"only\"");
    EXPECT_EQ(reread(L"Enum", "7"), "7");
    EXPECT_EQ(reread(L"Enum", "only"), "\"only\"");
    EXPECT_EQ(reread(L"Enum", "-1"), "-1");
    EXPECT_EQ(reread(L"Enum", "\"only\""), "\"only\"");
    EXPECT_EQ(parse(L"Enum", "other"), L"'other' is no choice; the choices are \"only\"");
    EXPECT_EQ(textOf(L"Enum"), "\"only\"");
}

TEST_F(ValueTextTest, WhatIsWrongIsToldWithItsColumnAndNotLogged)
{
    const LogRecorder log;
    EXPECT_EQ(parse(L"Int", "1.5"), L"column 1: expected an integer, not 1.5");
    EXPECT_EQ(parse(L"Int", "4294967296"), L"column 1: the number 4294967296 does not fit here");
    EXPECT_EQ(parse(L"Float", "1e999"), L"column 1: the number 1e999 does not fit here");
    EXPECT_EQ(parse(L"Vector3", "[1, 2]"), L"column 6, [1]: expected another component, but the array ends here");
    EXPECT_EQ(parse(L"Vector3", "[1, x, 3]"), L"column 5, [1]: expected a number");
    EXPECT_EQ(parse(L"Int", "1 2"), L"column 3: something follows the end of the document");
    EXPECT_EQ(parse(L"Bool", ""), L"column 1: expected true or false");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ValueTextTest, AWrongTextLeavesTheValueAsItWas)
{
    EXPECT_EQ(reread(L"IntArray", "[1, 2]"), "[1, 2]");
    EXPECT_NE(parse(L"IntArray", "[3, 4, x]"), L"");
    EXPECT_EQ(textOf(L"IntArray"), "[1, 2]");
}

TEST_F(ValueTextTest, AValueOfAnotherTypeIsWrittenAsWhatItReadsAs)
{
    std::string text;
    const int seven = 7;
    appendValueText(*attribute(L"Bool").getMetaData(), ConstValueHandle(&seven, AttributeType::kInt), text);
    EXPECT_EQ(text, "true");
}

TEST_F(ValueTextTest, AnUnknownEnumLearnsItsChoice)
{
    const std::string document =
        "{\"identifier\": \"KQDatabase2\", \"loaderVersion\": 1, \"applicationString\": \"\", "
        "\"typeString\": \"t\", \"modules\": [[\"Gone\", 1, []]], \"nodes\": [{\"name\": \"n\", "
        "\"type\": \"T\", \"module\": \"Gone\", \"depth\": 0, \"attributes\": "
        "[[\"Enum\", \"Enum\", \"first\"]]}]}";
    node = scene.nodeOf(Scene::kPlain, L"parent");
    ASSERT_EQ(loadText(scene, document, node), Status::kSuccess);
    node = node->getFirstChild();
    EXPECT_EQ(reread(L"Enum", "second"), "\"second\"");
    EXPECT_EQ(reread(L"Enum", "first"), "\"first\"");
}

TEST_F(ValueTextTest, AnyValueComesBackToTheBit)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int round = 0; round < 20; ++round)
        for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
        {
            const auto typeId = static_cast<AttributeTypeId>(type);
            if (typeId == AttributeType::kNull)
                continue;
            Attribute& element = attribute(ValueInfo::getTypeName(typeId));
            ValueHandle handle;
            ASSERT_EQ(scene.core().db_lockAttribute(&element, &handle), Status::kSuccess);
            writeValue(handle, randomModelValue(typeId, random));
            const std::wstring before = dumpValue(element.getValue());
            std::string text;
            appendValueText(*element.getMetaData(), element.getValue(), text);
            ASSERT_TRUE(handle.clearToDefault());
            std::wstring error;
            EXPECT_TRUE(parseValueText(text, *element.getMetaData(), handle, error)) << text;
            EXPECT_EQ(dumpValue(element.getValue()), before) << text;
            ASSERT_EQ(scene.core().db_unlockAttribute(&element), Status::kSuccess);
        }
}

TEST(SplitItemTextsTest, GivesTheTextOfEachItem)
{
    std::vector<std::string_view> items;
    std::wstring error;
    ASSERT_TRUE(splitItemTexts(" [1, [2, 3] ,\"a]\\\",\" ]", items, error));
    EXPECT_EQ(items, (std::vector<std::string_view>{"1", "[2, 3]", "\"a]\\\",\""}));
    ASSERT_TRUE(splitItemTexts("[ ]", items, error));
    EXPECT_TRUE(items.empty());
}

TEST(SplitItemTextsTest, RefusesWhatIsNoArray)
{
    std::vector<std::string_view> items;
    for (const auto& [text, expected] : {std::pair{"1", L"column 1: expected an array"},
                                         {"[1", L"column 3: the array does not end"},
                                         {"[1, ]", L"column 5: expected an item"},
                                         {"[,1]", L"column 2: expected an item"},
                                         {"[1] 2", L"column 3: something follows the end of the array"},
                                         {"[\"a]", L"column 5: the array does not end"},
                                         {"", L"column 1: expected an array"}})
    {
        std::wstring error;
        EXPECT_FALSE(splitItemTexts(text, items, error)) << text;
        EXPECT_EQ(error, expected) << text;
    }
}

} // namespace
