#include "HostFixture.h"

#include "scene/Types.h"

#include <cmath>
#include <set>
#include <string>

namespace db2host::scene {
namespace {

using SceneTypesTest = HostTest;

const db2::NodeTemplate* typeOf(Library& library, unsigned int id)
{
    return library.registry().lookupNodeTemplate(id);
}

template <class MetaData>
const MetaData& metaDataOf(Library& library, unsigned int type, unsigned int element)
{
    return static_cast<const MetaData&>(*typeOf(library, type)->getElementMetaData(element));
}

float defaultOf(Library& library, unsigned int type, unsigned int element)
{
    return metaDataOf<db2::ElementMetaData>(library, type, element).getDefaultValue().getFloat();
}

TEST_F(SceneTypesTest, EveryTypeOfTheHeaderIsRegistered)
{
    for (unsigned int id = kScene; id <= kMorphChannel; ++id)
        ASSERT_NE(typeOf(library, id), nullptr) << id;
    EXPECT_EQ(nodeTypes().size(), static_cast<std::size_t>(kMorphChannel - kScene + 1));
}

/// The names of the elements say what the numbers of the header mean: the first, some between, and the last of each.
TEST_F(SceneTypesTest, ElementsStandWhereTheHeaderSays)
{
    const struct
    {
        unsigned int type;
        unsigned int element;
        const wchar_t* name;
        bool isLast;
    } expectations[] = {{kTransform, transform::kSelf, L"self", false},
                        {kTransform, transform::kVisibility, L"visibility", false},
                        {kTransform, transform::kWorld, L"world", true},
                        {kMeshInstance, meshinstance::kMesh, L"mesh", true},
                        {kMesh, mesh::kVertices, L"vertices", false},
                        {kMesh, mesh::kMaterial, L"material", true},
                        {kMorphTarget, morphtarget::kWeight, L"weight", true},
                        {kBone, bone::kJointWorld, L"jointWorld", false},
                        {kBone, bone::kSkinning, L"skinning", true},
                        {kMaterial, material::kRoughness, L"roughness", false},
                        {kMaterial, material::kIsTwoSided, L"isTwoSided", true},
                        {kTexture, texture::kImage, L"image", false},
                        {kTexture, texture::kWrapV, L"wrapV", true},
                        {kImage, image::kByteCount, L"byteCount", false},
                        {kImage, image::kBytes, L"bytes", true},
                        {kCamera, camera::kNearPlane, L"nearPlane", false},
                        {kCamera, camera::kFarPlane, L"farPlane", true},
                        {kLight, light::kQuadraticAttenuation, L"quadraticAttenuation", false},
                        {kLight, light::kAreaSize, L"areaSize", true},
                        {kAnimationClip, animationclip::kDuration, L"duration", true},
                        {kChannel, channel::kRotations, L"rotations", false},
                        {kChannel, channel::kAfter, L"after", true},
                        {kMorphChannel, morphchannel::kTargetCount, L"targetCount", true}};
    for (const auto& expected : expectations)
    {
        const db2::NodeTemplate& type = *typeOf(library, expected.type);
        EXPECT_EQ(type.findElementByName(expected.name), expected.element)
            << std::string(type.getTypeName().begin(), type.getTypeName().end());
        EXPECT_TRUE(!expected.isLast || type.getElementCount() == expected.element + 1) << expected.type;
    }
}

TEST_F(SceneTypesTest, EveryTypeAndElementIsExplained)
{
    for (const NodeType& row : nodeTypes())
    {
        const db2::NodeTemplate& type = *typeOf(library, row.id);
        EXPECT_NE(type.getDocString(), nullptr);
        for (unsigned int i = 0; i < type.getElementCount(); ++i)
        {
            const db2::ElementMetaData& element = *type.getElementMetaData(i);
            ASSERT_NE(element.getDisplayName(), nullptr);
            ASSERT_NE(element.getDocString(), nullptr);
            EXPECT_EQ(element.getTypeId(), row.fields[i].type);
        }
    }
}

TEST_F(SceneTypesTest, DefaultsLieWithinTheLimits)
{
    for (const NodeType& row : nodeTypes())
    {
        for (const Field& field : row.fields)
        {
            EXPECT_TRUE(!field.hasMinimum || field.defaultValue[0] >= field.minimum);
            EXPECT_TRUE(!field.hasMaximum || field.defaultValue[0] <= field.maximum);
        }
    }
}

TEST_F(SceneTypesTest, NumbersHaveTheLimitsAndUnitsOfTheirTables)
{
    const auto& opacity = metaDataOf<db2::FloatAttributeMetaData>(library, kMaterial, material::kOpacity);
    EXPECT_EQ(opacity.getOptions(), db2::NumberOption::kHasMinimum | db2::NumberOption::kHasMaximum);
    EXPECT_EQ(opacity.getMin(), 0.0f);
    EXPECT_EQ(opacity.getMax(), 1.0f);
    const auto& nearPlane = metaDataOf<db2::FloatAttributeMetaData>(library, kCamera, camera::kNearPlane);
    EXPECT_EQ(nearPlane.getOptions(), db2::NumberOption::kHasMinimum);
    EXPECT_GT(nearPlane.getMin(), 0.0f);
    EXPECT_EQ(nearPlane.getUnitType(), kqx::kUnitDistance);
    const auto& duration = metaDataOf<db2::DoubleAttributeMetaData>(library, kAnimationClip, animationclip::kDuration);
    EXPECT_EQ(duration.getMin(), 0.0);
    EXPECT_EQ(duration.getUnitType(), kqx::kUnitTime);
    const auto& set = metaDataOf<db2::IntAttributeMetaData>(library, kTexture, texture::kTexcoordSet);
    EXPECT_EQ(set.getOptions(), db2::NumberOption::kHasMinimum);
    const auto& times = metaDataOf<db2::DoubleArrayAttributeMetaData>(library, kChannel, channel::kScaleTimes);
    EXPECT_EQ(times.getUnitType(), kqx::kUnitTime);
    const auto& translation = metaDataOf<db2::Vector3AttributeMetaData>(library, kTransform, transform::kTranslation);
    EXPECT_EQ(translation.getUnitType(), kqx::kUnitDistance);
}

TEST_F(SceneTypesTest, DefaultsAreWhatANewNodeShouldShow)
{
    const auto valueOf = [&](unsigned int type, unsigned int element) {
        return metaDataOf<db2::ElementMetaData>(library, type, element).getDefaultValue();
    };
    EXPECT_EQ(valueOf(kTransform, transform::kScale).getVector3(), kqx::Vector3(1, 1, 1));
    EXPECT_EQ(valueOf(kTransform, transform::kRotation).getQuat(), kqx::Quat::identity());
    EXPECT_TRUE(valueOf(kTransform, transform::kVisibility).getBool());
    EXPECT_EQ(valueOf(kMaterial, material::kBaseColour).getColour(), kqx::Colour(1, 1, 1, 1));
    EXPECT_EQ(valueOf(kMaterial, material::kEmissiveColour).getColour(), kqx::Colour(0, 0, 0, 1));
    EXPECT_EQ(valueOf(kMaterial, material::kShading).getInt(), 1);
    EXPECT_FALSE(valueOf(kMaterial, material::kIsTwoSided).getBool());
    EXPECT_FLOAT_EQ(defaultOf(library, kCamera, camera::kFieldOfView), std::acos(-1.0f) / 4);
    EXPECT_EQ(defaultOf(library, kLight, light::kIntensity), 1.0f);
    EXPECT_EQ(valueOf(kTexture, texture::kTexcoordSet).getInt(), 0);
}

TEST_F(SceneTypesTest, ChoicesStandInTheOrderOfTheHeader)
{
    const auto& kind = metaDataOf<db2::EnumAttributeMetaData>(library, kLight, light::kKind);
    ASSERT_EQ(kind.getNumChoices(), 5u);
    EXPECT_STREQ(kind.getChoice(0), L"point");
    EXPECT_STREQ(kind.getChoice(4), L"area");
    const auto& slot = metaDataOf<db2::EnumAttributeMetaData>(library, kTexture, texture::kSlot);
    EXPECT_EQ(slot.getChoiceIndex(L"base colour"), 0);
    std::set<std::wstring> choices;
    for (unsigned int i = 0; i < slot.getNumChoices(); ++i)
        choices.insert(slot.getChoice(i));
    EXPECT_EQ(choices.size(), slot.getNumChoices());
}

TEST_F(SceneTypesTest, ComputedElementsAreNotSaved)
{
    for (const NodeType& row : nodeTypes())
    {
        const db2::NodeTemplate& type = *typeOf(library, row.id);
        for (unsigned int i = 0; i < type.getElementCount(); ++i)
        {
            const db2::ElementMetaData& element = *type.getElementMetaData(i);
            EXPECT_EQ(element.hasComputeSet(), element.hasFlag(db2::ElementMetaDataFlag::kDontSave));
        }
    }
    EXPECT_EQ(typeOf(library, kTransform)->getComputeSetCount(), 2u);
    EXPECT_EQ(typeOf(library, kBone)->getComputeSetCount(), 1u);
}

TEST_F(SceneTypesTest, TheModuleSaysItsVersionAndMigrator)
{
    const db2::Module* const module = db2::lookupModule(kModuleId);
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(module->getDataVersion(), kDataVersion);
    EXPECT_NE(module->getMigratorForVersion(2), nullptr);
}

} // namespace
} // namespace db2host::scene
