#include "ImportTest.h"

namespace db2test {
namespace {

namespace scene = db2host::scene;
using db2import::ImportReport;

/// The model that the demo shows, with at least one of everything.
class DemoModelTest : public ImportTest
{
protected:
    DemoModelTest() : report(import(std::filesystem::path(KQDB_EXAMPLE_DATA) / "desk_lamp.gltf"))
    {
        EXPECT_EQ(report.error, L"");
        EXPECT_EQ(session.data().db_commit(L"Import", nullptr, 0), Status::kSuccess);
    }

    ImportReport report;
};

TEST_F(DemoModelTest, EverythingOfItIsThere)
{
    EXPECT_TRUE(report.remarks.empty());
    EXPECT_EQ(report.counts.meshes, 9u);
    EXPECT_EQ(report.counts.materials, 8u) << "seven, and the reader's own default";
    EXPECT_EQ(report.counts.textures, 1u);
    EXPECT_EQ(report.counts.images, 1u);
    EXPECT_EQ(report.counts.cameras, 1u);
    EXPECT_EQ(report.counts.lights, 2u);
    EXPECT_EQ(report.counts.bones, 4u);
    EXPECT_EQ(report.counts.morphTargets, 1u);
    EXPECT_EQ(report.counts.animationClips, 1u);
    EXPECT_EQ(report.counts.channels, 8u);
}

TEST_F(DemoModelTest, ExtrasAreAttributes)
{
    const Node* const table = at(report, L"|room|table");
    EXPECT_EQ(valueOf(table, L"article").asString(), L"T-120");
    EXPECT_EQ(valueOf(table, L"weight").asDouble(), 14.5);
    EXPECT_FALSE(valueOf(table, L"isFoldable").asBool());
}

TEST_F(DemoModelTest, TheLabelIsPartOfTheDocument)
{
    const Node* const texture = at(report, L"|Materials|china")->getFirstChild();
    const Node* const image = targetOf(texture, scene::texture::kImage);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(valueOf(image, scene::image::kFormat).getString(), L"png");
    EXPECT_EQ(valueOf(image, scene::image::kBytes).getIntArray()[0], 0x474E5089) << "as a PNG begins";
    EXPECT_EQ(choiceOf(texture, scene::texture::kWrapV), L"clamp");
}

TEST_F(DemoModelTest, TheCableIsBoundAsItLies)
{
    unsigned int bones = 0;
    for (NodeIterator nodes(report.model); nodes.next();)
    {
        if (nodes.node()->getTypeId() != scene::kBone)
            continue;
        ++bones;
        EXPECT_TRUE(valueOf(nodes.node(), scene::bone::kSkinning).getMatrix().compare(kqx::Matrix(), 1e-4f));
    }
    EXPECT_EQ(bones, 4u);
}

TEST_F(DemoModelTest, MovingAJointMovesWhatHangsOnIt)
{
    Node* const elbow = at(report, L"|room|lamp|shoulder|elbow");
    const Node* const head = at(report, L"|room|lamp|shoulder|elbow|wrist|head");
    const float before = valueOf(head, scene::transform::kWorld).getMatrix().m[3][1];
    auto* const translation = static_cast<Attribute*>(elbow->getElement(scene::transform::kTranslation));
    ValueHandle value;
    ASSERT_EQ(session.data().db_lockAttribute(translation, &value), Status::kSuccess);
    value.getVector3().y += 1;
    session.data().db_unlockAttribute(translation);
    ASSERT_EQ(session.data().db_commit(L"Move", nullptr, 0), Status::kSuccess);
    EXPECT_GT(valueOf(head, scene::transform::kWorld).getMatrix().m[3][1], before + 0.5f);
}

} // namespace
} // namespace db2test
