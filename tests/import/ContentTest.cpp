#include "ConversionTest.h"

#include <cmath>
#include <limits>

namespace db2test {
namespace {

namespace scene = db2host::scene;
using db2import::ImportRemark;
using db2import::ImportReport;

/// Meshes, materials, images and animation.
using ImportContentTest = ConversionTest;

// --- Meshes ---

TEST_F(ImportContentTest, EveryStreamIsKept)
{
    aiMesh& mesh = builder.addMesh("m", builder.addNode("a"));
    mesh.mNormals = new aiVector3D[3]{{0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
    mesh.mTangents = new aiVector3D[3]{{1, 0, 0}, {1, 0, 0}, {1, 0, 0}};
    mesh.mBitangents = new aiVector3D[3]{{0, 1, 0}, {0, 1, 0}, {0, 1, 0}};
    mesh.mTextureCoords[0] = new aiVector3D[3]{{0, 0.5f, 0}, {1, 0.5f, 0}, {0, 1, 0}};
    mesh.mNumUVComponents[0] = 2;
    mesh.mTextureCoords[3] = new aiVector3D[3]{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}; // behind a gap
    mesh.mNumUVComponents[3] = 3;
    mesh.mColors[1] = new aiColor4D[3]{{1, 0, 0, 1}, {0, 1, 0, 0.5f}, {0, 0, 1, 0}};
    mesh.SetTextureCoordsName(0, aiString("UVMap"));
    const ImportReport report = convert();
    const Node* const made = at(report, L"|Meshes|m");
    const auto stream = [&](const wchar_t* name) { return streamOf(made, scene::mesh::kVertices, name); };
    EXPECT_EQ(stream(L"position"), (kqx::FloatArray{0, 0, 0, 1, 0, 0, 0, 1, 0}));
    EXPECT_EQ(stream(L"normal"), (kqx::FloatArray{0, 0, 1, 0, 0, 1, 0, 0, 1}));
    EXPECT_EQ(stream(L"tangent"), (kqx::FloatArray{1, 0, 0, 1, 0, 0, 1, 0, 0}));
    EXPECT_EQ(stream(L"bitangent"), (kqx::FloatArray{0, 1, 0, 0, 1, 0, 0, 1, 0}));
    EXPECT_EQ(stream(L"texcoord0"), (kqx::FloatArray{0, 0.5f, 1, 0.5f, 0, 1}));
    EXPECT_EQ(stream(L"texcoord3"), (kqx::FloatArray{1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(stream(L"colour1"), (kqx::FloatArray{1, 0, 0, 1, 0, 1, 0, 0.5f, 0, 0, 1, 0}));
    EXPECT_EQ(valueOf(made, scene::mesh::kVertices).getVertexBuffer().getStreamCount(), 7u);
    EXPECT_EQ(valueOf(made, L"texcoord0Name").asString(), L"UVMap");
    EXPECT_EQ(report.counts.vertices, 3u);
}

TEST_F(ImportContentTest, NonFiniteNumbersAreKeptToTheBit)
{
    aiMesh& mesh = builder.addMesh("m", builder.addNode("a"));
    mesh.mVertices[0] =
        aiVector3D(std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), -0.0f);
    const ImportReport report = convert();
    const kqx::FloatArray data = streamOf(at(report, L"|Meshes|m"), scene::mesh::kVertices, L"position");
    EXPECT_TRUE(std::isnan(data[0]));
    EXPECT_EQ(data[1], std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::signbit(data[2]));
}

TEST_F(ImportContentTest, PointsAndLinesAreFaces)
{
    aiMesh& mesh = builder.addMesh("m", builder.addNode("a"));
    delete[] mesh.mFaces;
    mesh.mNumFaces = 3;
    mesh.mFaces = new aiFace[3];
    mesh.mFaces[0].mNumIndices = 1;
    mesh.mFaces[0].mIndices = new unsigned int[1]{2};
    mesh.mFaces[1].mNumIndices = 2;
    mesh.mFaces[1].mIndices = new unsigned int[2]{0, 1};
    const ImportReport report = convert();
    EXPECT_EQ(valueOf(at(report, L"|Meshes|m"), scene::mesh::kFaceSizes).getIntArray(), (kqx::IntArray{1, 2, 0}));
    EXPECT_EQ(valueOf(at(report, L"|Meshes|m"), scene::mesh::kIndices).getIntArray(), (kqx::IntArray{2, 0, 1}));
}

TEST_F(ImportContentTest, IndicesThatLeadNowhereAreKeptAndTold)
{
    aiMesh& mesh = builder.addMesh("m", builder.addNode("a"));
    mesh.mFaces[0].mIndices[2] = 3;
    mesh.mMaterialIndex = 9;
    const ImportReport report = convert();
    EXPECT_EQ(valueOf(at(report, L"|Meshes|m"), scene::mesh::kIndices).getIntArray(), (kqx::IntArray{0, 1, 3}));
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kDoubtful, L"|Meshes|m", L"1 corners"));
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kNotKept, L"|Meshes|m", L"number 9"));
}

TEST_F(ImportContentTest, MorphTargetsKeepTheirStreamsAndWeights)
{
    aiMesh& mesh = builder.addMesh("m", builder.addNode("a"));
    auto* const target = new aiAnimMesh;
    target->mName = "smile";
    target->mNumVertices = 3;
    target->mVertices = new aiVector3D[3]{{9, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    target->mWeight = 0.25f;
    SceneBuilder::append(mesh.mAnimMeshes, mesh.mNumAnimMeshes, target);
    mesh.mMethod = 2;
    const ImportReport report = convert();
    const Node* const made = at(report, L"|Meshes|m|smile");
    EXPECT_EQ(streamOf(made, scene::morphtarget::kVertices, L"position")[0], 9);
    EXPECT_EQ(valueOf(made, scene::morphtarget::kWeight).getFloat(), 0.25f);
    EXPECT_EQ(valueOf(at(report, L"|Meshes|m"), L"morphMethod").asInt(), 2);
}

TEST_F(ImportContentTest, BonesWithoutAJointAreKeptAndTold)
{
    aiMesh& mesh = builder.addMesh("m", builder.addNode("a"));
    auto* const bone = new aiBone;
    bone->mName = "nowhere";
    bone->mNumWeights = 1;
    bone->mWeights = new aiVertexWeight[1]{{5, 0.5f}};
    SceneBuilder::append(mesh.mBones, mesh.mNumBones, bone);
    const ImportReport report = convert();
    const std::wstring path = L"|Meshes|m|Skeleton|nowhere";
    EXPECT_EQ(valueOf(at(report, path), scene::bone::kVertexIndices).getIntArray(), (kqx::IntArray{5}));
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kNotKept, path, L"\"nowhere\", which is not there"));
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kDoubtful, path, L"1 weights"));
}

// --- Materials ---

TEST_F(ImportContentTest, UnknownPropertiesAreKeptWithFittingTypes)
{
    aiMaterial& material = builder.addMaterial("m");
    const float colour[] = {0.1f, 0.2f, 0.3f};
    const float many[] = {1, 2, 3, 4, 5};
    const double doubles[] = {0.1, 0.2};
    const int ints[] = {1, -2};
    const float one = 0.5f;
    const int number = 7;
    const bool flag = true;
    const aiString text("none");
    material.AddProperty(colour, 3, "$clr.sheen");
    material.AddProperty(colour, 3, "$raw.direction");
    material.AddProperty(many, 5, "$raw.curve");
    material.AddProperty(doubles, 2, "$raw.exact");
    material.AddProperty(ints, 2, "$raw.pair");
    material.AddProperty(&one, 1, "$raw.half");
    material.AddProperty(&number, 1, "$raw.seven");
    material.AddProperty(&flag, 1, "$raw.flag");
    material.AddProperty(&text, "$raw.text");
    const ImportReport report = convert();
    const Node* const made = at(report, L"|Materials|m");
    EXPECT_EQ(valueOf(made, L"$clr.sheen").asColour(), kqx::Colour(0.1f, 0.2f, 0.3f, 1));
    EXPECT_EQ(valueOf(made, L"$raw.direction").asVector3(), kqx::Vector3(0.1f, 0.2f, 0.3f));
    EXPECT_EQ(valueOf(made, L"$raw.curve").asFloatArray(), (kqx::FloatArray{1, 2, 3, 4, 5}));
    EXPECT_EQ(valueOf(made, L"$raw.exact").asDoubleArray(), (kqx::DoubleArray{0.1, 0.2}));
    EXPECT_EQ(valueOf(made, L"$raw.pair").asIntArray(), (kqx::IntArray{1, -2}));
    EXPECT_EQ(valueOf(made, L"$raw.half").asFloat(), 0.5f);
    EXPECT_EQ(valueOf(made, L"$raw.seven").asInt(), 7);
    EXPECT_EQ(valueOf(made, L"$raw.flag").getTypeId(), AttributeType::kBool);
    EXPECT_EQ(valueOf(made, L"$raw.text").asString(), L"none");
}

TEST_F(ImportContentTest, AShadingThatIsOnlyNearIsKeptAsItWas)
{
    const int toon = aiShadingMode_Toon;
    builder.addMaterial("m").AddProperty(&toon, 1, AI_MATKEY_SHADING_MODEL);
    const ImportReport report = convert();
    const Node* const made = at(report, L"|Materials|m");
    EXPECT_EQ(choiceOf(made, scene::material::kShading), L"phong");
    EXPECT_EQ(valueOf(made, L"$mat.shadingm").asInt(), aiShadingMode_Toon);
}

TEST_F(ImportContentTest, ADiffuseColourBesideABaseColourIsKept)
{
    aiMaterial& material = builder.addMaterial("m");
    const aiColor3D red(1, 0, 0);
    const aiColor3D blue(0, 0, 1);
    material.AddProperty(&red, 1, AI_MATKEY_BASE_COLOR);
    material.AddProperty(&blue, 1, AI_MATKEY_COLOR_DIFFUSE);
    const ImportReport report = convert();
    const Node* const made = at(report, L"|Materials|m");
    EXPECT_EQ(valueOf(made, scene::material::kBaseColour).getColour(), kqx::Colour(1, 0, 0, 1));
    EXPECT_EQ(valueOf(made, L"$clr.diffuse").asColour(), kqx::Colour(0, 0, 1, 1));
}

TEST_F(ImportContentTest, TexturesStandBelowTheirMaterialWithAllThatIsKnown)
{
    aiMaterial& material = builder.addMaterial("m");
    const aiString file("*0");
    const aiString other("sky.png");
    const int set = 1;
    const float strength = 0.5f;
    const int mirror = aiTextureMapMode_Mirror;
    const int operation = aiTextureOp_SmoothAdd;
    material.AddProperty(&file, AI_MATKEY_TEXTURE(aiTextureType_NORMALS, 0));
    material.AddProperty(&set, 1, AI_MATKEY_UVWSRC(aiTextureType_NORMALS, 0));
    material.AddProperty(&strength, 1, _AI_MATKEY_TEXBLEND_BASE, aiTextureType_NORMALS, 0);
    material.AddProperty(&mirror, 1, _AI_MATKEY_MAPPINGMODE_U_BASE, aiTextureType_NORMALS, 0);
    material.AddProperty(&operation, 1, AI_MATKEY_TEXOP(aiTextureType_NORMALS, 0));
    material.AddProperty(&other, AI_MATKEY_TEXTURE(aiTextureType_REFLECTION, 1));
    const std::string bytes("\x89PNG!", 5);
    builder.addImage("inside.png", bytes);
    const ImportReport report = convert();

    const Node* const normal = at(report, L"|Materials|m|normal");
    EXPECT_EQ(choiceOf(normal, scene::texture::kSlot), L"normal");
    EXPECT_EQ(valueOf(normal, scene::texture::kFile).getString(), L"*0");
    EXPECT_EQ(valueOf(normal, scene::texture::kTexcoordSet).getInt(), 1);
    EXPECT_EQ(valueOf(normal, scene::texture::kStrength).getFloat(), 0.5f);
    EXPECT_EQ(choiceOf(normal, scene::texture::kWrapU), L"mirror");
    EXPECT_EQ(valueOf(normal, L"$tex.op").asInt(), aiTextureOp_SmoothAdd);
    const Node* const image = targetOf(normal, scene::texture::kImage);
    EXPECT_EQ(image, at(report, L"|Images|inside\\.png"));
    EXPECT_EQ(valueOf(image, scene::image::kByteCount).getInt(), 5);
    EXPECT_EQ(valueOf(image, scene::image::kBytes).getIntArray(), (kqx::IntArray{0x474E5089, 0x21}));

    const Node* const sky = at(report, L"|Materials|m|reflection");
    EXPECT_EQ(targetOf(sky, scene::texture::kImage), nullptr);
    EXPECT_EQ(valueOf(sky, L"textureIndex").asInt(), 1);
}

TEST_F(ImportContentTest, ATextureGivenUnderTwoNamesIsOne)
{
    aiMaterial& material = builder.addMaterial("m");
    const aiString file("a.png");
    const aiString other("b.png");
    material.AddProperty(&file, AI_MATKEY_TEXTURE(aiTextureType_DIFFUSE, 0));
    material.AddProperty(&file, AI_MATKEY_TEXTURE(aiTextureType_BASE_COLOR, 0));
    aiMaterial& differing = builder.addMaterial("n");
    differing.AddProperty(&file, AI_MATKEY_TEXTURE(aiTextureType_DIFFUSE, 0));
    differing.AddProperty(&other, AI_MATKEY_TEXTURE(aiTextureType_BASE_COLOR, 0));
    EXPECT_EQ(convert().counts.textures, 3u);
}

TEST_F(ImportContentTest, PlainPixelsAreBytesInTheirOrder)
{
    aiTexture& texture = builder.addImage("pixels", "");
    texture.mWidth = 2;
    texture.mHeight = 1;
    delete[] texture.pcData;
    texture.pcData = new aiTexel[2]{{1, 2, 3, 4}, {5, 6, 7, 8}};
    const ImportReport report = convert();
    const Node* const image = at(report, L"|Images|pixels");
    EXPECT_EQ(valueOf(image, scene::image::kFormat).getString(), L"bgra8888");
    EXPECT_EQ(valueOf(image, scene::image::kWidth).getInt(), 2);
    EXPECT_EQ(valueOf(image, scene::image::kHeight).getInt(), 1);
    EXPECT_EQ(valueOf(image, scene::image::kBytes).getIntArray(), (kqx::IntArray{0x04030201, 0x08070605}));
}

TEST_F(ImportContentTest, AnImageThatIsNotThereIsTold)
{
    aiMaterial& material = builder.addMaterial("m");
    for (const char* const name : {"*5", "*", "*99999999999999999999", "*1x"})
    {
        const aiString file(name);
        material.AddProperty(&file, AI_MATKEY_TEXTURE(aiTextureType_OPACITY, 0));
    }
    const aiString file("*5");
    material.AddProperty(&file, AI_MATKEY_TEXTURE(aiTextureType_HEIGHT, 0));
    const ImportReport report = convert();
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kNotKept, L"|Materials|m|height", L"*5"));
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kNotKept, L"|Materials|m|opacity", L"*1x"));
}

// --- Animation ---

TEST_F(ImportContentTest, ChannelsComeInSeconds)
{
    builder.addNode("a");
    aiAnimation& animation = builder.addAnimation("walk", 10, 25);
    auto* const channel = new aiNodeAnim;
    channel->mNodeName = "a";
    channel->mNumPositionKeys = 2;
    channel->mPositionKeys = new aiVectorKey[2]{{0, {1, 2, 3}}, {25, {4, 5, 6}}};
    channel->mNumRotationKeys = 1;
    channel->mRotationKeys = new aiQuatKey[1]{{5, aiQuaternion(0.5f, 0.1f, 0.2f, 0.3f)}};
    channel->mPostState = aiAnimBehaviour_REPEAT;
    SceneBuilder::append(animation.mChannels, animation.mNumChannels, channel);
    const ImportReport report = convert();
    EXPECT_EQ(valueOf(at(report, L"|Animations|walk"), scene::animationclip::kDuration).getDouble(), 2.5);
    EXPECT_EQ(valueOf(at(report, L"|Animations|walk"), L"ticksPerSecond").asDouble(), 10);
    const Node* const made = at(report, L"|Animations|walk|a");
    EXPECT_EQ(targetOf(made, scene::channel::kTarget), at(report, L"|root|a"));
    EXPECT_EQ(valueOf(made, scene::channel::kTranslationTimes).getDoubleArray(), (kqx::DoubleArray{0, 2.5}));
    EXPECT_EQ(valueOf(made, scene::channel::kTranslations).getVector3Array(),
              (kqx::Vector3Array{kqx::Vector3(1, 2, 3), kqx::Vector3(4, 5, 6)}));
    EXPECT_EQ(valueOf(made, scene::channel::kRotations).getQuatArray()[0], kqx::Quat(0.1f, 0.2f, 0.3f, 0.5f));
    EXPECT_TRUE(valueOf(made, scene::channel::kScaleTimes).getDoubleArray().empty());
    EXPECT_EQ(choiceOf(made, scene::channel::kBefore), L"default");
    EXPECT_EQ(choiceOf(made, scene::channel::kAfter), L"repeat");
}

TEST_F(ImportContentTest, ATickOfUnknownLengthIsTakenAsUsualAndTold)
{
    builder.addAnimation("walk", 0, 50);
    const ImportReport report = convert();
    EXPECT_EQ(valueOf(at(report, L"|Animations|walk"), scene::animationclip::kDuration).getDouble(), 2);
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kChanged, L"|Animations|walk", L"1/25"));
}

TEST_F(ImportContentTest, AChannelOfOneOfSeveralNodesIsTold)
{
    builder.addNode("a");
    builder.addNode("a");
    aiAnimation& animation = builder.addAnimation("walk", 1, 1);
    for (const char* const name : {"a", "b"})
    {
        auto* const channel = new aiNodeAnim;
        channel->mNodeName = name;
        SceneBuilder::append(animation.mChannels, animation.mNumChannels, channel);
    }
    const ImportReport report = convert();
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kDoubtful, L"|Animations|walk|a", L"several nodes"));
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kNotKept, L"|Animations|walk|b", L"which is not there"));
}

TEST_F(ImportContentTest, MorphWeightsStandTimeByTimeForEachTarget)
{
    aiMesh& mesh = builder.addMesh("m", builder.addNode("face"));
    for (int i = 0; i < 2; ++i)
    {
        auto* const target = new aiAnimMesh;
        target->mNumVertices = 3;
        SceneBuilder::append(mesh.mAnimMeshes, mesh.mNumAnimMeshes, target);
    }
    aiAnimation& animation = builder.addAnimation("talk", 2, 4);
    auto* const channel = new aiMeshMorphAnim;
    channel->mName = "face";
    channel->mNumKeys = 2;
    channel->mKeys = new aiMeshMorphKey[2];
    channel->mKeys[0].mTime = 0;
    channel->mKeys[0].mNumValuesAndWeights = 2;
    channel->mKeys[0].mValues = new unsigned int[2]{1, 0};
    channel->mKeys[0].mWeights = new double[2]{0.75, 0.25};
    channel->mKeys[1].mTime = 4;
    channel->mKeys[1].mNumValuesAndWeights = 2;
    channel->mKeys[1].mValues = new unsigned int[2]{1, 7};
    channel->mKeys[1].mWeights = new double[2]{1, 1};
    SceneBuilder::append(animation.mMorphMeshChannels, animation.mNumMorphMeshChannels, channel);
    const ImportReport report = convert();
    const Node* const made = at(report, L"|Animations|talk|face");
    EXPECT_EQ(targetOf(made, scene::morphchannel::kTarget), at(report, L"|Meshes|m"));
    EXPECT_EQ(valueOf(made, scene::morphchannel::kTimes).getDoubleArray(), (kqx::DoubleArray{0, 2}));
    EXPECT_EQ(valueOf(made, scene::morphchannel::kWeights).getDoubleArray(), (kqx::DoubleArray{0.25, 0.75, 0, 1}));
    EXPECT_EQ(valueOf(made, scene::morphchannel::kTargetCount).getInt(), 2);
    EXPECT_TRUE(hasRemark(report, ImportRemark::Kind::kNotKept, L"|Animations|talk|face", L"1 weights"));
}

TEST_F(ImportContentTest, AnimationThatReplacesMeshesIsTold)
{
    aiAnimation& animation = builder.addAnimation("flip", 1, 1);
    auto* const channel = new aiMeshAnim;
    channel->mName = "book";
    SceneBuilder::append(animation.mMeshChannels, animation.mNumMeshChannels, channel);
    EXPECT_TRUE(hasRemark(convert(), ImportRemark::Kind::kNotKept, L"|Animations|flip", L"\"book\""));
}

} // namespace
} // namespace db2test
