#pragma once

#include <db2host/Session.h>

#include <memory>

/// The module "Scene": what a scene, its rig, its materials and its animation are made of. Units: distances in metres,
/// angles in radians, times in seconds; matrices act on row vectors, so the translation stands in row 3.
/// Elements are named by index here, for constant-time access; their names are in host/src/scene/Types.cpp, in
/// the same order.
namespace db2host::scene {

inline constexpr wchar_t kModuleId[] = L"Scene";
inline constexpr unsigned int kDataVersion = 2;

/// Saved documents do not contain these numbers.
enum NodeTypeId : unsigned int
{
    kScene = 100, ///< the root of a document
    kFolder,      ///< orders nodes; no elements
    kTransform,
    kMeshInstance, ///< below a Transform: shows a Mesh there
    kMesh,
    kMorphTarget, ///< below a Mesh
    kSkeleton,    ///< below a Mesh
    kBone,        ///< below a Skeleton
    kMaterial,
    kTexture, ///< below a Material
    kImage,   ///< pixels or a compressed file that a Texture shows
    kCamera,  ///< below a Transform
    kLight,   ///< below a Transform
    kAnimationClip,
    kChannel,     ///< below an AnimationClip: moves a Transform
    kMorphChannel ///< below an AnimationClip: weighs MorphTargets
};

namespace transform {
enum Element : unsigned int
{
    kSelf, ///< Null; what a reference to the node as a whole leads to
    kTranslation,
    kRotation, ///< Quat
    kScale,
    kVisibility,
    kParentWorld, ///< Matrix; references the world matrix of the Transform above, if any
    kLocal,       ///< Matrix; computed: scale, then rotation, then translation
    kWorld        ///< Matrix; computed: local, then parentWorld
};
}

namespace meshinstance {
enum Element : unsigned int
{
    kMesh ///< Null; references the Mesh's self
};
}

namespace mesh {
enum Element : unsigned int
{
    kSelf,
    kVertices,  ///< VertexBuffer: streams "position", "normal", "tangent", "bitangent", "texcoord0"..., "colour0"...
    kIndices,   ///< IntArray; the vertices of one face after the other
    kFaceSizes, ///< IntArray; vertices of each face; empty when all are triangles
    kMaterial   ///< Null; references the Material's self
};
}

namespace morphtarget {
enum Element : unsigned int
{
    kVertices, ///< VertexBuffer; the streams that differ from the Mesh's, whole
    kWeight
};
}

namespace bone {
enum Element : unsigned int
{
    kJointWorld,    ///< Matrix; references the world matrix of the joint's Transform
    kInverseBind,   ///< Matrix; from the Mesh's space to the joint's, in the pose that it was bound in
    kVertexIndices, ///< IntArray
    kWeights,       ///< FloatArray, in step with it
    kSkinning       ///< Matrix; computed: inverseBind, then jointWorld
};
}

namespace material {
enum Element : unsigned int
{
    kSelf,
    kShading, ///< Enum: "unlit", "lambert", "phong", "physically based"
    kBaseColour,
    kSpecularColour,
    kEmissiveColour,
    kMetallic,
    kRoughness,
    kShininess,
    kOpacity,
    kIndexOfRefraction,
    kIsTwoSided
};
}

namespace texture {
enum Element : unsigned int
{
    kSlot,  ///< Enum: "base colour", "specular", "emissive", "normal", "height", "opacity", "metallic", ...
    kFile,  ///< String
    kImage, ///< Null; references the self of an Image that is part of the document
    kTexcoordSet,
    kStrength,
    kWrapU, ///< Enum: "repeat", "clamp", "mirror", "border"
    kWrapV
};
}

namespace image {
enum Element : unsigned int
{
    kSelf,
    kFormat, ///< String: "png", "jpg", ..., or the order of the channels of plain pixels, "bgra8888"
    kWidth,  ///< 0 for a compressed one
    kHeight,
    kByteCount,
    kBytes ///< IntArray; four bytes an item, the first one lowest
};
}

namespace camera {
enum Element : unsigned int
{
    kProjection,  ///< Enum: "perspective", "orthographic"
    kFieldOfView, ///< horizontal
    kAspectRatio, ///< width : height; 0 follows the window
    kOrthographicWidth,
    kNearPlane,
    kFarPlane
};
}

namespace light {
enum Element : unsigned int
{
    kKind, ///< Enum: "point", "directional", "spot", "ambient", "area"
    kColour,
    kSpecularColour,
    kAmbientColour,
    kIntensity,
    kConstantAttenuation,
    kLinearAttenuation,
    kQuadraticAttenuation,
    kInnerCone, ///< angles of a spot, whole
    kOuterCone,
    kAreaSize ///< Vector3
};
}

namespace animationclip {
enum Element : unsigned int
{
    kDuration ///< seconds
};
}

namespace channel {
enum Element : unsigned int
{
    kTarget,           ///< Null; references the Transform's self
    kTranslationTimes, ///< DoubleArray, like the other times; as many as there are values
    kTranslations,     ///< Vector3Array
    kRotationTimes,
    kRotations, ///< QuatArray
    kScaleTimes,
    kScales, ///< Vector3Array
    kBefore, ///< Enum: "default", "constant", "linear", "repeat"; outside the keys
    kAfter
};
}

namespace morphchannel {
enum Element : unsigned int
{
    kTarget,  ///< Null; references the Mesh's self
    kTimes,   ///< DoubleArray
    kWeights, ///< DoubleArray; one weight for each target at each time, time by time
    kTargetCount
};
}

/// Registers the module, version 2, with its migrator from version 1.
class SceneModule : public ModuleDefinition
{
public:
    SceneModule();
    ~SceneModule() override;
    [[nodiscard]] const wchar_t* id() const override { return kModuleId; }
    bool registerIn(db2::NodeRegistry& registry) override;
    void setDataInterface(db2::DataInterface& data) override;

private:
    class MigratorTo2;
    std::unique_ptr<MigratorTo2> to2_;
};

/// Makes a Transform and connects it to the world matrix of the nearest Transform above, if any, so that moving that one
/// moves the new one at the next commit.
/// @param parent  null for the root. @return null, changing nothing, when it was refused.
db2::Node* createTransform(db2::DataInterface& data, const wchar_t* name, db2::Node* parent, db2::Node* next = nullptr);

/// Moves a node with everything below it under another parent (null for the root; its own to move it among its siblings)
/// and connects its parentWorld to the Transform that is above it now, wherever between there are other nodes. Keeps its
/// local values. A node that is no Transform takes the Transforms below it along, which are connected likewise.
/// @return what the first refused edit returned; nothing has changed when that was the move, and where only the
///         connection was refused, the host rolls back.
db2::Status reparentTransform(db2::DataInterface& data, db2::Node& node, db2::Node* newParent,
                              db2::Node* next = nullptr);

/// Connects the parentWorld of a Transform, or of the first ones below another node, to the Transform that is above it: for
/// subtrees that were merged or copied to a new place.
/// @return what the first refused edit returned; those before it are connected.
db2::Status connectTransforms(db2::DataInterface& data, db2::Node& node);

} // namespace db2host::scene
