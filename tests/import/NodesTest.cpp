#include "ConversionTest.h"

#include <Decomposition.h>

#include <cmath>
#include <limits>
#include <random>

namespace db2test {
namespace {

namespace scene = db2host::scene;
namespace transform = db2host::scene::transform;
using db2import::ImportRemark;
using db2import::ImportReport;

using ImportNodesTest = ConversionTest;

/// Of columns: scale, then rotation, then translation. The reader's own constructor for that scales the rows.
aiMatrix4x4 matrixOf(const aiVector3D& scale, const aiQuaternion& rotation, const aiVector3D& translation)
{
    aiMatrix4x4 scaling;
    aiMatrix4x4 moving;
    return aiMatrix4x4::Translation(translation, moving) * aiMatrix4x4(rotation.GetMatrix()) *
           aiMatrix4x4::Scaling(scale, scaling);
}

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// --- Matrices ---

TEST_F(ImportNodesTest, AMatrixBecomesTranslationRotationAndScale)
{
    aiNode& node = builder.addNode("a");
    node.mTransformation = matrixOf({2, 3, 4}, aiQuaternion(aiVector3D(0, 0, 1), 0.5f), {5, 6, 7});
    const ImportReport report = convert();
    const Node* const made = at(report, L"|root|a");
    EXPECT_EQ(valueOf(made, transform::kTranslation).getVector3(), kqx::Vector3(5, 6, 7));
    EXPECT_TRUE(valueOf(made, transform::kScale).getVector3().compare({2, 3, 4}, 1e-5f));
    EXPECT_TRUE(valueOf(made, transform::kRotation).getQuat().compare({0, 0, std::sin(0.25f), std::cos(0.25f)}, 1e-6f));
    EXPECT_TRUE(valueOf(made, transform::kLocal).getMatrix().compare(db2import::matrixOf(node.mTransformation), 1e-5f));
    EXPECT_TRUE(report.remarks.empty());
}

TEST_F(ImportNodesTest, RandomMatricesOfTheThreeAreMadeAgain)
{
    const unsigned int seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> number(-10, 10);
    for (int i = 0; i < 2000; ++i)
    {
        aiVector3D scale(number(random), number(random), number(random));
        for (unsigned int axis = 0; axis < 3; ++axis)
            if (random() % 8 == 0)
                scale[axis] = 0;
        aiQuaternion rotation(number(random), number(random), number(random), number(random));
        rotation.Normalize();
        const aiMatrix4x4 matrix = matrixOf(scale, rotation, {number(random), number(random), number(random)});
        const db2import::Decomposition parts = db2import::decompose(matrix);
        EXPECT_TRUE(parts.isWhole) << "scale " << scale.x << " " << scale.y << " " << scale.z;
        const kqx::Quat& q = parts.rotation;
        EXPECT_NEAR(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w, 1, 1e-5);
        const aiMatrix4x4 again = matrixOf({parts.scale.x, parts.scale.y, parts.scale.z}, {q.w, q.x, q.y, q.z},
                                           {parts.translation.x, parts.translation.y, parts.translation.z});
        EXPECT_TRUE(again.Equal(matrix, 1e-3f));
    }
}

TEST_F(ImportNodesTest, AShearedMatrixIsKeptWholeAndTold)
{
    aiNode& node = builder.addNode("a");
    node.mTransformation.a2 = 0.5f;
    const ImportReport report = convert();
    const Node* const made = at(report, L"|root|a");
    EXPECT_EQ(valueOf(made, L"importedMatrix").asMatrix().m[1][0], 0.5f);
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kChanged, L"|root|a", L"importedMatrix"));
    EXPECT_EQ(report.remarks.size(), 1u);
}

TEST_F(ImportNodesTest, AProjectionAndNonFiniteNumbersAreKeptWholeAndTold)
{
    builder.addNode("projection").mTransformation.d1 = 1;
    builder.addNode("nan").mTransformation.a4 = kNaN;
    builder.addNode("infinite").mTransformation.b2 = std::numeric_limits<float>::infinity();
    const ImportReport report = convert();
    EXPECT_EQ(valueOf(at(report, L"|root|projection"), L"importedMatrix").asMatrix().m[0][3], 1);
    EXPECT_TRUE(std::isnan(valueOf(at(report, L"|root|nan"), L"importedMatrix").asMatrix().m[3][0]));
    EXPECT_TRUE(std::isnan(valueOf(at(report, L"|root|nan"), transform::kTranslation).getVector3().x));
    EXPECT_TRUE(std::isinf(valueOf(at(report, L"|root|infinite"), L"importedMatrix").asMatrix().m[1][1]));
    EXPECT_EQ(report.remarks.size(), 3u);
}

// --- The tree ---

TEST_F(ImportNodesTest, WorldMatricesFollowTheTree)
{
    aiNode& a = builder.addNode("a");
    a.mTransformation.a4 = 1;
    builder.addNode("b", &a).mTransformation.b4 = 2;
    const ImportReport report = convert();
    const kqx::Matrix& world = valueOf(at(report, L"|root|a|b"), transform::kWorld).getMatrix();
    EXPECT_EQ(world.m[3][0], 1);
    EXPECT_EQ(world.m[3][1], 2);
}

TEST_F(ImportNodesTest, ChildrenKeepTheirOrderAndNamesBecomeUnique)
{
    builder.addNode("twin");
    builder.addNode("other");
    builder.addNode("twin");
    builder.addNode("");
    const ImportReport report = convert();
    std::vector<std::wstring> names;
    for (const Node* child = at(report, L"|root")->getFirstChild(); child != nullptr; child = child->getNextSibling())
        names.emplace_back(child->getName().c_str());
    ASSERT_EQ(names.size(), 4u);
    EXPECT_EQ(names[0], L"twin");
    EXPECT_EQ(names[1], L"other");
    EXPECT_EQ(names[2].substr(0, 4), L"twin");
    EXPECT_NE(names[2], L"twin");
    EXPECT_EQ(names[3].substr(0, 9), L"Transform") << "an empty name becomes the type's";
}

TEST_F(ImportNodesTest, ADeepTreeIsNoTrouble)
{
    aiNode* node = builder.scene.mRootNode;
    constexpr unsigned int kDepth = 3000;
    for (unsigned int i = 0; i < kDepth; ++i)
        node = &builder.addNode("n", node);
    const ImportReport report = convert();
    EXPECT_EQ(report.counts.transforms, kDepth + 1);
    const std::size_t unconnected = report.remarks.size();
    EXPECT_GT(unconnected, kDepth - 512);
    EXPECT_EQ(report.remarks[0].kind, ImportRemark::Kind::kNotKept) << "deeper references cannot be saved";
    EXPECT_EQ(report.remarks.back().place.substr(0, 4), L"...|") << "no path is that long";
    EXPECT_TRUE(session.saveAs(folder.file("deep.json")));
}

TEST_F(ImportNodesTest, AnEmptySceneIsAnEmptyModel)
{
    delete builder.scene.mRootNode;
    builder.scene.mRootNode = nullptr;
    const ImportReport report = convert();
    EXPECT_EQ(report.model->getFirstChild(), nullptr);
    EXPECT_EQ(report.counts.nodes, 1u);
}

TEST_F(ImportNodesTest, WhatIsNotThereIsToldAndMet)
{
    aiNode& node = builder.addNode("a");
    node.mNumMeshes = 1;
    node.mMeshes = new unsigned int[1]{7};
    node.mNumChildren = 1;
    node.mChildren = new aiNode* [1] { nullptr };
    const ImportReport report = convert();
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kNotKept, L"|root|a", L"number 7"));
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kDoubtful, L"|root|a", L"a child that is not there"));
}

// --- Texts ---

TEST_F(ImportNodesTest, BytesThatAreNotUtf8AreReplacedAndTold)
{
    builder.addNode("caf\xE9");
    builder.addNode("caf\xC3\xA9");
    const ImportReport report = convert();
    EXPECT_NE(at(report, L"|root|caf\xFFFD"), nullptr);
    EXPECT_NE(at(report, L"|root|caf\xE9"), nullptr);
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kChanged, L"|root", L"caf\xFFFD"));
    EXPECT_EQ(report.remarks.size(), 1u);
}

// --- Metadata ---

TEST_F(ImportNodesTest, MetadataBecomeAttributesOfTheirTypes)
{
    aiNode& node = builder.addNode("a");
    node.mMetaData = new aiMetadata;
    node.mMetaData->Add("isLeft", true);
    node.mMetaData->Add("count", std::int32_t{-5});
    node.mMetaData->Add("small", std::uint64_t{1} << 40);
    node.mMetaData->Add("large", std::numeric_limits<std::uint64_t>::max());
    node.mMetaData->Add("weight", 0.1f);
    node.mMetaData->Add("height", 0.1);
    node.mMetaData->Add("maker", aiString("Jo\xC3\xA3o"));
    node.mMetaData->Add("centre", aiVector3D(1, 2, 3));
    const ImportReport report = convert();
    const Node* const made = at(report, L"|root|a");
    EXPECT_TRUE(valueOf(made, L"isLeft").asBool());
    EXPECT_EQ(valueOf(made, L"count").getTypeId(), AttributeType::kInt);
    EXPECT_EQ(valueOf(made, L"count").asInt(), -5);
    EXPECT_EQ(valueOf(made, L"small").asDouble(), 1099511627776.0);
    EXPECT_EQ(valueOf(made, L"large").asString(), L"18446744073709551615");
    EXPECT_EQ(valueOf(made, L"weight").getTypeId(), AttributeType::kFloat);
    EXPECT_EQ(valueOf(made, L"weight").asFloat(), 0.1f);
    EXPECT_EQ(valueOf(made, L"height").asDouble(), 0.1);
    EXPECT_EQ(valueOf(made, L"maker").asString(), L"Jo\xE3o");
    EXPECT_EQ(valueOf(made, L"centre").asVector3(), kqx::Vector3(1, 2, 3));
}

TEST_F(ImportNodesTest, NestedMetadataGetTheKeysThatLeadToThem)
{
    aiMetadata inner;
    inner.Add("name", aiString("bolt"));
    aiMetadata middle;
    middle.Add("part", inner);
    aiNode& node = builder.addNode("a");
    node.mMetaData = new aiMetadata;
    node.mMetaData->Add("extra", middle);
    node.mMetaData->Add("after", std::int32_t{1});
    const ImportReport report = convert();
    EXPECT_EQ(valueOf(at(report, L"|root|a"), L"extra.part.name").asString(), L"bolt");
    EXPECT_EQ(valueOf(at(report, L"|root|a"), L"after").asInt(), 1);
}

TEST_F(ImportNodesTest, NamesOfAttributesAreFreeAndShortEnough)
{
    const std::string longKey(50, 'k');
    aiNode& node = builder.addNode("a");
    node.mMetaData = aiMetadata::Alloc(5);
    node.mMetaData->Set(0, "scale", std::int32_t{1}); // the type's own
    node.mMetaData->Set(1, "same", std::int32_t{2});
    node.mMetaData->Set(2, "same", std::int32_t{3});
    node.mMetaData->Set(3, longKey, std::int32_t{4});
    node.mMetaData->Set(4, longKey, std::int32_t{5});
    const ImportReport report = convert();
    const Node* const made = at(report, L"|root|a");
    EXPECT_EQ(valueOf(made, L"scale 2").asInt(), 1);
    EXPECT_EQ(valueOf(made, L"same").asInt(), 2);
    EXPECT_EQ(valueOf(made, L"same 2").asInt(), 3);
    const std::wstring cut(40, L'k');
    EXPECT_EQ(valueOf(made, cut.c_str()).asInt(), 4);
    EXPECT_STREQ(made->findElementByName(cut.c_str())->getDocString(), std::wstring(50, L'k').c_str());
    EXPECT_EQ(valueOf(made, (std::wstring(38, L'k') + L" 2").c_str()).asInt(), 5);
}

TEST_F(ImportNodesTest, TheScenesOwnPropertiesStandAtTheModel)
{
    builder.scene.mName = "plan";
    builder.scene.mMetaData = new aiMetadata;
    builder.scene.mMetaData->Add("UpAxis", std::int32_t{1});
    builder.scene.mFlags = AI_SCENE_FLAGS_TERRAIN | AI_SCENE_FLAGS_INCOMPLETE;
    const ImportReport report = convert();
    EXPECT_EQ(valueOf(report.model, L"sceneName").asString(), L"plan");
    EXPECT_EQ(valueOf(report.model, L"UpAxis").asInt(), 1);
    EXPECT_TRUE(valueOf(report.model, L"isTerrain").asBool());
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kDoubtful, L"", L"incomplete"));
}

// --- Cameras and lights ---

TEST_F(ImportNodesTest, AViewThatLooksAheadStandsBelowItsNode)
{
    builder.addNode("eye");
    builder.addCamera("eye").mLookAt = aiVector3D(0, 0, -1);
    const ImportReport report = convert();
    const Node* const camera = at(report, L"|root|eye|eye");
    EXPECT_EQ(camera->getTypeId(), scene::kCamera);
    EXPECT_EQ(camera->getDynamicElementCount(), 0u);
}

TEST_F(ImportNodesTest, AViewWithAPlaceOfItsOwnGetsATransform)
{
    builder.addNode("eye").mTransformation.a4 = 10;
    aiCamera& from = builder.addCamera("eye");
    from.mPosition = aiVector3D(0, 5, 0);
    from.mLookAt = aiVector3D(1, 0, 0);
    const ImportReport report = convert();
    const Node* const between = at(report, L"|root|eye|eye");
    ASSERT_EQ(between->getTypeId(), scene::kTransform);
    const kqx::Matrix& world = valueOf(between, transform::kWorld).getMatrix();
    EXPECT_EQ(world.m[3][0], 10);
    EXPECT_EQ(world.m[3][1], 5);
    EXPECT_NEAR(world.m[2][0], -1, 1e-6) << "the z axis leads backwards";
    EXPECT_NEAR(world.m[1][1], 1, 1e-6);
    EXPECT_EQ(valueOf(at(report, L"|root|eye|eye|eye"), L"lookAt").asVector3(), kqx::Vector3(1, 0, 0));
}

TEST_F(ImportNodesTest, APlaceThatRepeatsTheNodesIsTakenOnce)
{
    builder.addNode("eye").mTransformation.a4 = 10;
    aiCamera& from = builder.addCamera("eye");
    from.mPosition = aiVector3D(10, 0, 0);
    from.mLookAt = aiVector3D(0, 0, -1);
    const ImportReport report = convert();
    EXPECT_EQ(at(report, L"|root|eye|eye")->getTypeId(), scene::kCamera);
    EXPECT_EQ(valueOf(at(report, L"|root|eye|eye"), L"position").asVector3(), kqx::Vector3(10, 0, 0));
}

TEST_F(ImportNodesTest, ConesOfGltfCountFromTheAxis)
{
    builder.addNode("lamp");
    aiLight& from = builder.addLight("lamp", aiLightSource_SPOT);
    from.mDirection = aiVector3D(0, 0, -1);
    from.mAngleInnerCone = 0.25f;
    from.mAngleOuterCone = 0.5f;
    const ImportReport report = convert(true);
    const Node* const light = at(report, L"|root|lamp|lamp");
    EXPECT_EQ(valueOf(light, scene::light::kInnerCone).getFloat(), 0.5f);
    EXPECT_EQ(valueOf(light, scene::light::kOuterCone).getFloat(), 1);
}

TEST_F(ImportNodesTest, ViewsWithoutANodeStandBelowTheRootAndAreTold)
{
    builder.addCamera("lost").mLookAt = aiVector3D(0, 0, -1);
    builder.addLight("gone", aiLightSource_UNDEFINED);
    const ImportReport report = convert();
    EXPECT_EQ(at(report, L"|root|lost")->getTypeId(), scene::kCamera);
    EXPECT_EQ(at(report, L"|root|gone")->getTypeId(), scene::kLight);
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kChanged, L"|root", L"lost"));
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kNotKept, L"|root|gone", L"kind"));
}

TEST_F(ImportNodesTest, AnOrthographicCameraHasItsWholeWidth)
{
    builder.addNode("plan");
    aiCamera& from = builder.addCamera("plan");
    from.mLookAt = aiVector3D(0, 0, -1);
    from.mOrthographicWidth = 4;
    const ImportReport report = convert();
    const Node* const camera = at(report, L"|root|plan|plan");
    EXPECT_EQ(choiceOf(camera, scene::camera::kProjection), L"orthographic");
    EXPECT_EQ(valueOf(camera, scene::camera::kOrthographicWidth).getFloat(), 8);
}

} // namespace
} // namespace db2test
