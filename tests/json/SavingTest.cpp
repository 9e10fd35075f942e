// Saving to streams that fail, and what leads out of the saved subtrees.

#include "json/Documents.h"

#include <algorithm>
#include <limits>

namespace {

using namespace db2;
using namespace db2test;

/// Takes so many bytes, then refuses everything; notes the largest piece.
class FullStream : public OutputStream
{
public:
    explicit FullStream(std::size_t room) : OutputStream(OutputStreamEncoding::kUtf8), room_(room) {}

    bool isOK() override { return true; }
    using OutputStream::write;
    bool write(const char*, unsigned int count) override
    {
        largestPiece = std::max(largestPiece, count);
        writesAfterRefusal += refused_ ? 1 : 0;
        refused_ = refused_ || count > room_;
        room_ -= refused_ ? 0 : count;
        return !refused_;
    }

    unsigned int largestPiece = 0;
    int writesAfterRefusal = 0;

private:
    std::size_t room_;
    bool refused_ = false;
};

class JsonSavingTest : public ::testing::Test
{
protected:
    Status save(OutputStream& stream)
    {
        JsonSaver saver(stream, L"scene");
        saver.addChildNodes(scene.root());
        return saver.save();
    }

    Scene scene;
};

TEST_F(JsonSavingTest, AStreamThatRefusesFailsTheSaveAndIsNotAskedAgain)
{
    Node* node = scene.node(L"node");
    scene.write(node->findAttributeByName(L"String"), std::wstring(200000, L'x').c_str());
    const std::size_t bytes = saveScene(scene).size();
    for (const std::size_t room : {std::size_t{0}, std::size_t{100}, bytes / 2, bytes - 1})
    {
        FullStream stream(room);
        scene.log().take();
        EXPECT_EQ(save(stream), Status::kFailure) << room;
        EXPECT_TRUE(scene.log().tookError(L"The stream did not take everything that was to be saved")) << room;
        EXPECT_EQ(stream.writesAfterRefusal, 0) << room;
    }
    FullStream enough(bytes);
    EXPECT_EQ(save(enough), Status::kSuccess);
}

TEST_F(JsonSavingTest, TheStreamGetsPiecesOfSomeTenKiB)
{
    for (int i = 0; i < 2000; ++i)
        scene.node(L"node");
    FullStream stream(std::numeric_limits<std::size_t>::max());
    ASSERT_EQ(save(stream), Status::kSuccess);
    EXPECT_LE(stream.largestPiece, 64u * 1024);
    EXPECT_GE(stream.largestPiece, 10u * 1024);
}

TEST_F(JsonSavingTest, AReferenceThatLeadsOutFailsTheSave)
{
    Node* const saved = scene.node(L"saved");
    Node* const outside = scene.node(L"outside");
    ASSERT_EQ(scene.core().db_createReference(outside->findAttributeByName(L"Float"),
                                              saved->findAttributeByName(L"Float"), false),
              Status::kSuccess);
    MemoryBlock block;
    MemoryOutputStream stream(block, OutputStreamEncoding::kUtf8);
    JsonSaver saver(stream, L"scene");
    saver.addNode(saved);
    EXPECT_EQ(saver.save(), Status::kFailure);
    EXPECT_FALSE(saved->hasFlag(NodeFlag::kAddedForSave));
}

TEST_F(JsonSavingTest, AToleratedReferenceThatLeadsOutLeavesTheValueThatItShows)
{
    Node* const saved = scene.node(L"saved");
    Node* const outside = scene.node(L"outside");
    scene.write(outside->findAttributeByName(L"Float"), 2.5f);
    AttributeArray* const items = saved->findAttributeArrayByName(L"IntItems");
    ASSERT_EQ(scene.core().db_resizeAttributeArray(items, 1), Status::kSuccess);
    for (Attribute* const referencer :
         {saved->findAttributeByName(L"Float"), saved->findAttributeByName(L"String"), items->getAttribute(0)})
        ASSERT_EQ(scene.core().db_createReference(outside->findAttributeByName(L"Float"), referencer, false),
                  Status::kSuccess);
    MemoryBlock block;
    MemoryOutputStream stream(block, OutputStreamEncoding::kUtf8);
    JsonSaver saver(stream, L"scene", SaveStrategy::kTolerateOutsideReferences);
    saver.addNode(saved);
    EXPECT_EQ(saver.save(), Status::kReferenceNotSaved);
    const std::string text = textOf(block);
    EXPECT_NE(text.find("[\"Float\", \"Float\", 2.5]"), std::string::npos) << text;
    EXPECT_NE(text.find("[\"IntItems\", \"Int[?]\", 1, [0, 2]]"), std::string::npos) << text;

    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
    ASSERT_EQ(loadText(scene, text), Status::kSuccess);
    EXPECT_EQ(loadedAttribute(scene, L"Float")->getValue().asFloat(), 2.5f);
    EXPECT_EQ(loadedAttribute(scene, L"Float")->getReference(), nullptr);
}

TEST_F(JsonSavingTest, SeveralRootsStandOneAfterTheOther)
{
    Node* const a = scene.node(L"a");
    Node* const b = scene.node(L"b", a);
    Node* const c = scene.node(L"c");
    ASSERT_EQ(scene.core().db_createReference(b->findAttributeByName(L"Int"), c->findAttributeByName(L"Int"), false),
              Status::kSuccess);
    MemoryBlock block;
    MemoryOutputStream stream(block, OutputStreamEncoding::kUtf8);
    JsonSaver saver(stream, L"scene");
    saver.addNode(c);
    saver.addNode(b);
    ASSERT_EQ(saver.save(), Status::kSuccess);
    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
    ASSERT_EQ(loadText(scene, textOf(block)), Status::kSuccess);
    ASSERT_EQ(scene.root()->getFirstChild()->getName(), L"c");
    ASSERT_EQ(scene.root()->getLastChild()->getName(), L"b");
    EXPECT_EQ(loadedAttribute(scene, L"Int")->getReference(),
              scene.root()->getLastChild()->findAttributeByName(L"Int"));
}

TEST_F(JsonSavingTest, AnAttributeThatIsNotToBeSavedIsNotEvenWhenItsArrayIsWrittenInFull)
{
    IntAttributeMetaDataDef definition;
    definition.setFlags(ElementMetaDataFlag::kDontSave);
    definition.setArray(true);
    definition.setDefaultValue(8);
    auto* const type = new NodeTemplate(L"Secretive", 50, scene.module());
    ASSERT_EQ(type->addAttribute(definition, L"secrets"), Status::kSuccess);
    ASSERT_EQ(scene.registry().registerNodeTemplate(type), Status::kSuccess);
    AttributeArray* const secrets = scene.nodeOf(50, L"node")->findAttributeArrayByName(L"secrets");
    ASSERT_EQ(scene.core().db_resizeAttributeArray(secrets, 6), Status::kSuccess);
    scene.write(secrets->getAttribute(0), 4711);
    EXPECT_NE(saveScene(scene).find("[\"secrets\", \"Int[]\", [8, 8, 8, 8, 8, 8]]"), std::string::npos);
}

} // namespace
