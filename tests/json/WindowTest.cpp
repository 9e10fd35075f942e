// A load reads the content in pieces: that nothing depends on where one piece ends and the next begins, and that what is
// longer than a piece is read all the same.

#include "json/Documents.h"
#include "json/RandomTree.h"

#include "support/EditRecorder.h"
#include "support/TemporaryFolder.h"
#include "support/TreeDump.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace db2;
using namespace db2test;

constexpr std::size_t kPiece = 64 * 1024;

/// Hands out a few bytes a read, however many are asked for, and nothing at once.
class TricklingStream : public InputStream
{
public:
    explicit TricklingStream(std::string_view content) : content_(content) {}

    using InputStream::read;
    unsigned int read(char* buffer, unsigned int bytes) override
    {
        const std::size_t count = std::min<std::size_t>({bytes, content_.size() - position_, 1 + position_ % 7});
        std::memcpy(buffer, content_.data() + position_, count);
        position_ += count;
        return static_cast<unsigned int>(count);
    }
    const char* getData(unsigned int&) override
    {
        ADD_FAILURE() << "nobody needs it at once";
        return nullptr;
    }
    bool isOK() override { return true; }
    bool getSize(unsigned int& size) override
    {
        size = static_cast<unsigned int>(content_.size());
        return true;
    }

private:
    std::string_view content_;
    std::size_t position_ = 0;
};

class JsonWindowTest : public ::testing::Test
{
protected:
    JsonWindowTest() { RandomTree::registerExtra(scene); }

    std::wstring content() { return dumpTree(scene.core(), DumpDetail::kContent); }

    Scene scene;
};

TEST_F(JsonWindowTest, ALoadIsTheSameWhereverAPieceEnds)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    RandomTree(scene, random).grow(3);
    scene.commit();
    const std::wstring saved = content();
    const std::string text = saveScene(scene);
    const std::size_t step = 1 + text.size() / 1500;
    for (std::size_t before = text.size() < kPiece ? kPiece - text.size() : 0; before <= kPiece; before += step)
    {
        ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
        ASSERT_EQ(loadText(scene, std::string(before, ' ') + text), Status::kSuccess) << before;
        ASSERT_TRUE(isSameDump(saved, content())) << before;
    }
}

TEST_F(JsonWindowTest, AnErrorIsAtTheSamePlaceWhereverAPieceEnds)
{
    const std::string text =
        documentWith({"[\"String\", \"String\", \"\\u00e9\xC3\xA9\"]", R"(["Float", "Float", 1.25e0])",
                      R"(["Vector3", "Vector3", [1, 2, 3]])", R"(["Int", "Int", x])"});
    for (std::size_t before = kPiece - text.size(); before <= kPiece; ++before)
    {
        for (const char filler : {' ', '\n'})
        {
            scene.log().take();
            ASSERT_EQ(loadText(scene, std::string(before, filler) + text), Status::kFailure);
            const std::size_t lines = filler == '\n' ? before : 0;
            ASSERT_EQ(scene.log().take().back().text,
                      L"KQDatabase2 : Line " + std::to_wstring(12 + lines) +
                          L", column 16, nodes[0].attributes[3][2]: expected an integer")
                << before;
        }
    }
}

TEST_F(JsonWindowTest, AColumnCountsWhatHasLeftTheWindow)
{
    std::string text = documentWith({"[\"Int\", \"Int\", x]"});
    std::replace(text.begin(), text.end(), '\n', ' ');
    const std::size_t at = text.find('x');
    const std::string before = "\xEF\xBB\xBF" + std::string(3 * kPiece, ' ');
    EXPECT_EQ(loadText(scene, before + text), Status::kFailure);
    EXPECT_EQ(scene.log().take().back().text, L"KQDatabase2 : Line 1, column " + std::to_wstring(1 + 3 * kPiece + at) +
                                                  L", nodes[0].attributes[0][2]: expected an integer");
}

TEST_F(JsonWindowTest, AMessageNamesTheFile)
{
    const MemoryBlock block = blockOf(documentWith({"[\"Int\", \"Int\", x]"}));
    MemoryInputStream stream(block);
    JsonLoader loader(stream, scene.core(), scene.core());
    EXPECT_EQ(loader.load(*scene.root(), L"folder/scene.json"), Status::kFailure);
    EXPECT_EQ(scene.log().take().back().text,
              L"KQDatabase2 : folder/scene.json: Line 9, column 16, nodes[0].attributes[0][2]: expected an integer");
}

TEST_F(JsonWindowTest, AStreamMayGiveLessThanItIsAskedFor)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    RandomTree(scene, random).grow(60);
    scene.commit();
    const std::wstring saved = content();
    const std::string text = saveScene(scene);
    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
    TricklingStream stream(text);
    JsonLoader loader(stream, scene.core(), scene.core());
    EXPECT_EQ(loader.load(*scene.root(), nullptr), Status::kSuccess);
    EXPECT_TRUE(isSameDump(saved, content()));
}

TEST_F(JsonWindowTest, ALoadReadsOnFromWhereTheStreamIs)
{
    const MemoryBlock block = blockOf("label" + documentWith({"[\"Int\", \"Int\", 5]"}));
    MemoryInputStream stream(block);
    char label[5];
    ASSERT_EQ(stream.read(label, 5), 5u);
    JsonLoader loader(stream, scene.core(), scene.core());
    EXPECT_EQ(loader.load(*scene.root(), nullptr), Status::kSuccess);
    EXPECT_EQ(loadedAttribute(scene, L"Int")->getValue().asInt(), 5);
}

// --- What is longer than a piece ---

TEST_F(JsonWindowTest, LongTextsAreRead)
{
    for (const std::size_t characters : {kPiece - 100, kPiece, 5 * kPiece})
    {
        const std::string plain(characters, 'x');
        std::string escaped = plain + "\\n";
        ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
        ASSERT_EQ(loadText(scene, documentWith({"[\"String\", \"String\", \"" + plain + "\"]"})), Status::kSuccess);
        EXPECT_EQ(loadedAttribute(scene, L"String")->getValue().asString().size(), characters);
        ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
        ASSERT_EQ(loadText(scene, documentWith({"[\"String\", \"String\", \"" + escaped + "\"]"})), Status::kSuccess);
        EXPECT_EQ(loadedAttribute(scene, L"String")->getValue().asString().size(), characters + 1);
    }
}

TEST_F(JsonWindowTest, LongNumbersAreRead)
{
    const std::string digits(2 * kPiece, '0');
    ASSERT_EQ(loadText(scene, documentWith(
                                  {"[\"Float\", \"Float\", 1." + digits + "]",
                                   "[\"Double\", \"Double\", 25" + digits + "e-" + std::to_string(2 * kPiece) + "]"})),
              Status::kSuccess);
    EXPECT_EQ(loadedAttribute(scene, L"Float")->getValue().asFloat(), 1.0f);
    EXPECT_EQ(loadedAttribute(scene, L"Double")->getValue().asDouble(), 25.0);
}

TEST_F(JsonWindowTest, LongValueArraysAreRead)
{
    constexpr std::size_t kItems = 50000;
    std::string floats;
    std::string texts;
    std::string vectors;
    for (std::size_t i = 0; i < kItems; ++i)
    {
        const std::string comma = i > 0 ? ", " : "";
        floats += comma + std::to_string(i) + ".5";
        texts += comma + (i % 2 == 0 ? "\"a], \\\"[" + std::to_string(i) + "\"" : "[97, 55296]");
        vectors += comma + std::to_string(i) + ", 1, 2";
    }
    ASSERT_EQ(loadText(scene, documentWith({"[\"FloatArray\", \"FloatArray\", [" + floats + "]]",
                                            "[\"StringArray\", \"StringArray\", [" + texts + "]]",
                                            "[\"Vector3Array\", \"Vector3Array\", [" + vectors + "]]"})),
              Status::kSuccess);
    const kqx::FloatArray& loadedFloats = loadedAttribute(scene, L"FloatArray")->getValue().asFloatArray();
    ASSERT_EQ(loadedFloats.size(), kItems);
    EXPECT_EQ(loadedFloats.capacity(), kItems) << "what was taken while its size was not known is given back";
    EXPECT_EQ(loadedFloats[kItems - 1], static_cast<float>(kItems - 1) + 0.5f);
    const kqx::StringArray& loadedTexts = loadedAttribute(scene, L"StringArray")->getValue().asStringArray();
    ASSERT_EQ(loadedTexts.size(), kItems);
    EXPECT_EQ(loadedTexts[kItems - 2], (L"a], \"[" + std::to_wstring(kItems - 2)).c_str());
    const kqx::Vector3Array& loadedVectors = loadedAttribute(scene, L"Vector3Array")->getValue().asVector3Array();
    ASSERT_EQ(loadedVectors.size(), kItems);
    EXPECT_EQ(loadedVectors[kItems - 1].x, static_cast<float>(kItems - 1));
}

TEST_F(JsonWindowTest, LongAttributeArraysGrowByWhatIsInSight)
{
    constexpr unsigned int kItems = 50000;
    std::string items;
    for (unsigned int i = 0; i < kItems; ++i)
        items += (i > 0 ? ", " : "") + std::to_string(i);
    const std::string text = documentWith({"[\"IntItems\", \"Int[]\", [" + items + "]]"});
    EditRecorder recorder(&scene.core());
    const MemoryBlock block = blockOf(text);
    MemoryInputStream stream(block);
    JsonLoader loader(stream, recorder, scene.core());
    ASSERT_EQ(loader.load(*scene.root(), nullptr), Status::kSuccess);
    const AttributeArray* const array = scene.root()->getFirstChild()->findAttributeArrayByName(L"IntItems");
    ASSERT_EQ(array->getSize(), kItems);
    for (unsigned int i = 0; i < kItems; ++i)
        ASSERT_EQ(array->getAttribute(i)->getValue().asInt(), static_cast<int>(i));
    const std::vector<std::wstring> edits = recorder.take();
    const auto resizes =
        std::count_if(edits.begin(), edits.end(), [](const std::wstring& line) { return line.find(L"resize") == 0; });
    EXPECT_GT(resizes, 1);
    EXPECT_LT(resizes, 20);
}

TEST_F(JsonWindowTest, AnArrayWhoseEndIsInSightIsResizedOnce)
{
    EditRecorder recorder(&scene.core());
    const MemoryBlock block = blockOf(documentWith({"[\"IntItems\", \"Int[]\", [1, 2, 3, 4, 5, 6, 7, 8, 9]]"}));
    MemoryInputStream stream(block);
    JsonLoader loader(stream, recorder, scene.core());
    ASSERT_EQ(loader.load(*scene.root(), nullptr), Status::kSuccess);
    const std::vector<std::wstring> edits = recorder.take();
    EXPECT_EQ(
        std::count_if(edits.begin(), edits.end(), [](const std::wstring& line) { return line.find(L"resize") == 0; }),
        1);
}

TEST_F(JsonWindowTest, AFileIsReadInPieces)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    RandomTree(scene, random).grow(300);
    scene.commit();
    const std::wstring saved = content();
    const std::string text = saveScene(scene);
    ASSERT_GT(text.size(), 2 * kPiece);
    const TemporaryFolder folder;
    folder.write("scene.json", text);
    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
    FileInputStream stream(folder.widePath(L"scene.json").c_str(), FileOpenMode::kBinary);
    JsonLoader loader(stream, scene.core(), scene.core());
    EXPECT_EQ(loader.load(*scene.root(), nullptr), Status::kSuccess);
    EXPECT_TRUE(isSameDump(saved, content()));
}

} // namespace
