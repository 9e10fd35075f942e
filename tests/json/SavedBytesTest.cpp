// What is saved is the same to the byte on every platform: documents and streams against files that were written once.

#include "json/Documents.h"

#include "support/ModelValue.h"
#include "support/Random.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

using namespace db2;
using namespace db2test;

/// Compares with a file of tests/golden. With KQDB_RENEW_GOLDEN in the environment the file is written instead, which
/// fails all the same: nothing was compared.
void expectGolden(const std::string& name, const std::string& bytes)
{
    const std::string path = KQDB_GOLDEN_FOLDER "/" + name;
    if (std::getenv("KQDB_RENEW_GOLDEN") != nullptr)
    {
        std::ofstream(path, std::ios::binary) << bytes;
        FAIL() << path << " is written anew: look at what changed, and run again";
    }
    std::ifstream file(path, std::ios::binary);
    ASSERT_TRUE(file.is_open()) << path;
    const std::string golden{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const auto differs = std::mismatch(bytes.begin(), bytes.end(), golden.begin(), golden.end());
    const auto at = static_cast<std::size_t>(differs.first - bytes.begin());
    EXPECT_TRUE(bytes == golden) << name << " differs at byte " << at << " of " << golden.size() << ": \""
                                 << bytes.substr(at, 60) << "\" instead of \"" << golden.substr(at, 60) << '"';
}

/// Texts of every kind of character: controls, quotes, Latin, Greek, beyond U+FFFF, halves of pairs.
std::vector<std::wstring> texts()
{
    return {L"",
            L"plain",
            L"a \"quoted\" \\ text / with\ttabs\r\nand lines\x01\x7F",
            L"\u00E9\u03C9\u20AC\uFFFD\uFFFE",
            L"\U0001F600\U00010000\U0010FFFF behind",
            std::wstring(L"half ") + static_cast<wchar_t>(0xD83D) + L" and " + static_cast<wchar_t>(0xDE00)};
}

void write(Scene& scene, Attribute& attribute, const ModelValue& model)
{
    ValueHandle value;
    ASSERT_EQ(scene.core().db_lockAttribute(&attribute, &value), Status::kSuccess);
    writeValue(value, model);
    ASSERT_EQ(scene.core().db_unlockAttribute(&attribute), Status::kSuccess);
}

/// Numbers of every bit pattern, in attributes of each type but texts, which follow below.
void fillNumbers(Scene& scene, Node& node, Random& random)
{
    for (unsigned int i = 0; i < node.getElementCount(); ++i)
    {
        Element& element = *node.getElement(i);
        if (element.isAttributeArray())
            continue;
        auto& attribute = static_cast<Attribute&>(element);
        const AttributeTypeId type = attribute.getTypeId();
        if (type != AttributeType::kNull && type != AttributeType::kString && type != AttributeType::kStringArray &&
            type != AttributeType::kEnum)
            write(scene, attribute, randomModelValue(type, random));
    }
}

TEST(JsonSavedBytesTest, NumbersOfEveryType)
{
    Scene scene;
    Random random(2026);
    for (int i = 0; i < 40; ++i)
        fillNumbers(scene, *scene.node((L"node " + std::to_wstring(i)).c_str()), random);
    expectGolden("numbers.json", saveScene(scene, JsonSaver::kSaveEverything));
}

TEST(JsonSavedBytesTest, NamesTextsAndReferences)
{
    Scene scene;
    Node* parent = nullptr;
    Attribute* referenced = nullptr;
    for (const std::wstring& text : texts())
    {
        Node* const node = scene.node(text.c_str(), parent);
        Attribute* const attribute = node->findAttributeByName(L"String");
        scene.write(attribute, text.c_str());
        scene.dynamicAttribute(FloatAttributeMetaDataDef(), L"\U0001F680 dynamic", node);
        Attribute* const referencer = node->findAttributeByName(L"Float");
        if (referenced != nullptr)
        {
            ASSERT_EQ(scene.core().db_createReference(referenced, referencer, false), Status::kSuccess);
        }
        referenced = referencer;
        parent = node;
    }
    expectGolden("texts.json", saveScene(scene));
}

TEST(JsonSavedBytesTest, TextsInRawUnitsAndInUtf8)
{
    for (const OutputStreamEncoding encoding : {OutputStreamEncoding::kUtf16, OutputStreamEncoding::kUtf8})
    {
        MemoryBlock block;
        MemoryOutputStream stream(block, encoding);
        for (const std::wstring& text : texts())
            EXPECT_TRUE(stream.write((text + L"\n").c_str()));
        expectGolden(encoding == OutputStreamEncoding::kUtf16 ? "texts.utf16" : "texts.utf8", textOf(block));
    }
}

} // namespace
