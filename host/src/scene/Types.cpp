#include "Types.h"

/// The node types, a table for each, in the order of the Element numbers in Scene.h.
namespace db2host::scene {
namespace {

using namespace db2::AttributeType;
using kqx::kUnitAngle;
using kqx::kUnitDistance;
using kqx::kUnitScalar;
using kqx::kUnitTime;

constexpr double kPi = 3.14159265358979323846;
constexpr double kSmallest = 1e-6; ///< of what must be more than 0, because limits include their ends

// clang-format off: tables, which read best a row a line

// --- Choices ---

constexpr const wchar_t* kShadings[] = {L"unlit", L"lambert", L"phong", L"physically based"};
constexpr const wchar_t* kSlots[] = {L"base colour",  L"specular",     L"emissive",
                                     L"normal",       L"height",       L"opacity",
                                     L"metallic",     L"roughness",    L"metallic and roughness",
                                     L"shininess",    L"ambient",      L"ambient occlusion",
                                     L"displacement", L"light map",    L"reflection",
                                     L"clear coat",   L"transmission", L"sheen",
                                     L"other"};
constexpr const wchar_t* kWraps[] = {L"repeat", L"clamp", L"mirror", L"border"};
constexpr const wchar_t* kProjections[] = {L"perspective", L"orthographic"};
constexpr const wchar_t* kLightKinds[] = {L"point", L"directional", L"spot", L"ambient", L"area"};
constexpr const wchar_t* kExtrapolations[] = {L"default", L"constant", L"linear", L"repeat"};

// --- What several types have ---

constexpr Field kSelfField{L"self", L"Self", L"Stands for the node as a whole in references.", kNull};

constexpr Field whiteColour(const wchar_t* name, const wchar_t* displayName, const wchar_t* docString)
{
    return Field{name, displayName, docString, kColour}.startsAt(1, 1, 1, 1);
}

constexpr Field blackColour(const wchar_t* name, const wchar_t* displayName, const wchar_t* docString)
{
    return Field{name, displayName, docString, kColour}.startsAt(0, 0, 0, 1);
}

constexpr Field choice(const wchar_t* name, const wchar_t* displayName, std::span<const wchar_t* const> choices,
                       const wchar_t* docString)
{
    Field field{name, displayName, docString, kEnum};
    field.choices = choices;
    return field;
}

constexpr Field keyTimes(const wchar_t* name, const wchar_t* displayName, const wchar_t* docString)
{
    return Field{name, displayName, docString, kDoubleArray}.in(kUnitTime);
}

// --- The types ---

constexpr Field kTransformFields[] = {
    kSelfField,
    Field{L"translation", L"Translation", L"Where the origin stands in the parent's space.", kVector3}.in(
        kUnitDistance),
    Field{L"rotation", L"Rotation", L"A quaternion; its length does not count, and (0, 0, 0, 0) does not rotate.",
          kQuat}
        .startsAt(0, 0, 0, 1),
    Field{L"scale", L"Scale", L"Applied first, along the node's own axes.", kVector3}.startsAt(1, 1, 1).in(kUnitScalar),
    Field{L"visibility", L"Visible", L"Whether what stands below is shown.", kBool}.startsAt(1),
    Field{L"parentWorld", L"Parent's world",
          L"References the world matrix of the Transform above; the identity where there is none.", kMatrix},
    Field{L"local", L"Local", L"Computed: scale, then rotation, then translation.", kMatrix}.notSaved(),
    Field{L"world", L"World", L"Computed: local, then the parent's world.", kMatrix}.notSaved()};

constexpr Field kMeshInstanceFields[] = {
    Field{L"mesh", L"Mesh", L"References the self of the Mesh that is shown here.", kNull}};

constexpr Field kMeshFields[] = {
    kSelfField,
    Field{L"vertices", L"Vertices",
          L"A stream for each property of the vertices: \"position\", \"normal\", \"tangent\", \"bitangent\", "
          L"\"texcoord0\" and so on, \"colour0\" and so on.",
          kVertexBuffer},
    Field{L"indices", L"Indices", L"The vertices of one face after the other.", kIntArray},
    Field{L"faceSizes", L"Face sizes", L"How many vertices each face has; empty when all are triangles.", kIntArray},
    Field{L"material", L"Material", L"References the self of a Material.", kNull}};

constexpr Field kMorphTargetFields[] = {
    Field{L"vertices", L"Vertices", L"The streams that differ from the Mesh's, whole.", kVertexBuffer},
    Field{L"weight", L"Weight",
          L"How much of the target is mixed in: 0 nothing, 1 all of it; beyond, it is exaggerated.", kFloat}
        .in(kUnitScalar)};

constexpr Field kBoneFields[] = {
    Field{L"jointWorld", L"Joint's world", L"References the world matrix of the joint's Transform.", kMatrix},
    Field{L"inverseBind", L"Inverse bind", L"From the Mesh's space to the joint's, in the pose in which it was bound.",
          kMatrix},
    Field{L"vertexIndices", L"Vertices", L"The Mesh's vertices that the bone moves.", kIntArray},
    Field{L"weights", L"Weights", L"How much it moves each of them, from 0 to 1.", kFloatArray}.in(kUnitScalar),
    Field{L"skinning", L"Skinning", L"Computed: inverse bind, then the joint's world.", kMatrix}.notSaved()};

constexpr Field kMaterialFields[] = {
    kSelfField,
    choice(L"shading", L"Shading", kShadings, L"How light is reflected.").startsAt(1),
    whiteColour(L"baseColour", L"Base colour", L"What the surface reflects in all directions."),
    blackColour(L"specularColour", L"Specular colour", L"The colour of highlights."),
    blackColour(L"emissiveColour", L"Emissive colour", L"What the surface gives off by itself."),
    Field{L"metallic", L"Metallic", L"0 is an insulator, 1 a metal.", kFloat}.from(0).to(1).in(kUnitScalar),
    Field{L"roughness", L"Roughness", L"0 is a mirror, 1 is dull.", kFloat}.startsAt(1).from(0).to(1).in(kUnitScalar),
    Field{L"shininess", L"Shininess", L"The exponent of highlights; the larger, the smaller they are.", kFloat}
        .from(0)
        .in(kUnitScalar),
    Field{L"opacity", L"Opacity", L"0 cannot be seen, 1 hides what is behind.", kFloat}.startsAt(1).from(0).to(1).in(
        kUnitScalar),
    Field{L"indexOfRefraction", L"Index of refraction", L"1 for vacuum, about 1.5 for glass.", kFloat}
        .startsAt(1.5)
        .from(0)
        .in(kUnitScalar),
    Field{L"isTwoSided", L"Two-sided", L"Whether faces are seen from behind, too.", kBool}};

constexpr Field kTextureFields[] = {
    choice(L"slot", L"Slot", kSlots, L"What of the material the texture gives."),
    Field{L"file", L"File", L"Where the picture is, as the model says; empty when it is part of the document.",
          kString},
    Field{L"image", L"Image", L"References the self of an Image that is part of the document.", kNull},
    Field{L"texcoordSet", L"Coordinates", L"The number of the Mesh's stream \"texcoord0\", \"texcoord1\" and so on.",
          kInt}
        .from(0),
    Field{L"strength", L"Strength", L"0 has no effect, 1 the whole one.", kFloat}.startsAt(1).in(kUnitScalar),
    choice(L"wrapU", L"Wrap U", kWraps, L"What is left and right of the picture."),
    choice(L"wrapV", L"Wrap V", kWraps, L"What is above and below the picture.")};

constexpr Field kImageFields[] = {
    kSelfField,
    Field{L"format", L"Format",
          L"The kind of file, such as \"png\", or the order and bits of the channels of plain pixels: \"bgra8888\".",
          kString},
    Field{L"width", L"Width", L"In pixels; 0 for a compressed picture, which says so itself.", kInt}.from(0),
    Field{L"height", L"Height", L"In pixels; 0 for a compressed picture.", kInt}.from(0),
    Field{L"byteCount", L"Bytes", L"How many of the bytes count; the last item may have up to three more.", kInt}.from(
        0),
    Field{L"bytes", L"Data", L"Four bytes an item, the first one lowest.", kIntArray}};

constexpr Field kCameraFields[] = {
    choice(L"projection", L"Projection", kProjections, L"Whether what is farther away is smaller."),
    Field{L"fieldOfView", L"Field of view", L"The whole horizontal angle of a perspective camera.", kFloat}
        .startsAt(kPi / 4)
        .from(kSmallest)
        .to(kPi)
        .in(kUnitAngle),
    Field{L"aspectRatio", L"Aspect ratio", L"Width divided by height; 0 follows the window.", kFloat}.from(0).in(
        kUnitScalar),
    Field{L"orthographicWidth", L"Width", L"What an orthographic camera sees from left to right.", kFloat}
        .startsAt(1)
        .from(0)
        .in(kUnitDistance),
    Field{L"nearPlane", L"Near plane", L"What is nearer is not shown.", kFloat}.startsAt(0.1).from(kSmallest).in(
        kUnitDistance),
    Field{L"farPlane", L"Far plane", L"What is farther is not shown.", kFloat}.startsAt(1000).from(kSmallest).in(
        kUnitDistance)};

constexpr Field kLightFields[] = {
    choice(L"kind", L"Kind", kLightKinds, L"Where the light comes from."),
    whiteColour(L"colour", L"Colour", L"What surfaces reflect in all directions."),
    whiteColour(L"specularColour", L"Specular colour", L"The colour of highlights."),
    blackColour(L"ambientColour", L"Ambient colour", L"What it adds everywhere."),
    Field{L"intensity", L"Intensity", L"Multiplies the colours.", kFloat}.startsAt(1).from(0).in(kUnitScalar),
    Field{L"constantAttenuation", L"Constant attenuation",
          L"With the two below: at the distance d the light is divided by constant + linear d + quadratic d\u00B2.",
          kFloat}
        .startsAt(1)
        .from(0)
        .in(kUnitScalar),
    Field{L"linearAttenuation", L"Linear attenuation", L"See the constant one.", kFloat}.from(0).in(kUnitScalar),
    Field{L"quadraticAttenuation", L"Quadratic attenuation", L"See the constant one.", kFloat}.from(0).in(kUnitScalar),
    Field{L"innerCone", L"Inner cone", L"The whole angle in which a spot is at its brightest.", kFloat}
        .startsAt(kPi / 6)
        .from(0)
        .to(2 * kPi)
        .in(kUnitAngle),
    Field{L"outerCone", L"Outer cone", L"The whole angle beyond which a spot is dark.", kFloat}
        .startsAt(kPi / 4)
        .from(0)
        .to(2 * kPi)
        .in(kUnitAngle),
    Field{L"areaSize", L"Area", L"Width and height of what an area light shines from.", kVector3}.startsAt(1, 1, 0).in(
        kUnitDistance)};

constexpr Field kAnimationClipFields[] = {
    Field{L"duration", L"Duration", L"From the beginning to the end of the clip.", kDouble}.from(0).in(kUnitTime)};

constexpr Field kChannelFields[] = {
    Field{L"target", L"Target", L"References the self of the Transform that is moved.", kNull},
    keyTimes(L"translationTimes", L"Translation times", L"Ascending; one for each translation."),
    Field{L"translations", L"Translations", L"The target's translation at each time.", kVector3Array}.in(kUnitDistance),
    keyTimes(L"rotationTimes", L"Rotation times", L"Ascending; one for each rotation."),
    Field{L"rotations", L"Rotations", L"The target's rotation at each time.", kQuatArray},
    keyTimes(L"scaleTimes", L"Scale times", L"Ascending; one for each scale."),
    Field{L"scales", L"Scales", L"The target's scale at each time.", kVector3Array}.in(kUnitScalar),
    choice(L"before", L"Before", kExtrapolations,
           L"What holds before the first key: the target's own values, the first key's, the line through the first "
           L"two, or the keys again."),
    choice(L"after", L"After", kExtrapolations, L"What holds after the last key, likewise.")};

constexpr Field kMorphChannelFields[] = {
    Field{L"target", L"Target", L"References the self of the Mesh whose MorphTargets are weighed.", kNull},
    keyTimes(L"times", L"Times", L"Ascending."),
    Field{L"weights", L"Weights", L"One weight for each target at each time, time by time.", kDoubleArray}.in(
        kUnitScalar),
    Field{L"targetCount", L"Targets", L"How many weights there are for each time.", kInt}.from(0)};

constexpr NodeType kNodeTypes[] = {
    {kScene, L"Scene", L"The root of a document.", {}},
    {kFolder, L"Folder", L"Orders nodes.", {}},
    {kTransform, L"Transform", L"Places what stands below it.", kTransformFields},
    {kMeshInstance, L"MeshInstance", L"Shows a Mesh at the place of the Transform above.", kMeshInstanceFields},
    {kMesh, L"Mesh", L"Vertices and faces.", kMeshFields},
    {kMorphTarget, L"MorphTarget", L"Another form of the Mesh above, to be mixed in.", kMorphTargetFields},
    {kSkeleton, L"Skeleton", L"Holds the Bones that move the Mesh above.", {}},
    {kBone, L"Bone", L"Moves vertices of the Mesh above along with a joint.", kBoneFields},
    {kMaterial, L"Material", L"How a surface looks.", kMaterialFields},
    {kTexture, L"Texture", L"Gives the Material above a property that varies over the surface.", kTextureFields},
    {kImage, L"Image", L"A picture that is part of the document.", kImageFields},
    {kCamera, L"Camera", L"Looks along the negative z axis of the Transform above, with y up.", kCameraFields},
    {kLight, L"Light", L"Shines from the Transform above; directional and spot lights along its negative z axis.",
     kLightFields},
    {kAnimationClip, L"AnimationClip", L"Channels that belong together.", kAnimationClipFields},
    {kChannel, L"Channel", L"Moves a Transform over time.", kChannelFields},
    {kMorphChannel, L"MorphChannel", L"Weighs the MorphTargets of a Mesh over time.", kMorphChannelFields}};

// clang-format on

} // namespace

std::span<const NodeType> nodeTypes()
{
    return kNodeTypes;
}

} // namespace db2host::scene
