#include "Conversion.h"

#include "Decomposition.h"

#include <cmath>

namespace db2import {
namespace {

namespace camera = db2host::scene::camera;
namespace light = db2host::scene::light;

/// Where a camera or light is and looks, in the space of its node.
struct View
{
    aiVector3D position;
    aiVector3D direction;
    aiVector3D up;
};

const aiVector3D kAhead(0, 0, -1); ///< where cameras and lights look in the space of their Transform
const aiVector3D kUp(0, 1, 0);

/// The matrix that brings a view from its own space to its node's.
aiMatrix4x4 matrixOf(const View& view)
{
    aiVector3D back = -view.direction;
    back.NormalizeSafe();
    aiVector3D right = view.up ^ back;
    if (right.SquareLength() < 1e-12f) // up along the direction says nothing
        right = std::abs(back.x) < 0.9f ? aiVector3D(1, 0, 0) ^ back : aiVector3D(0, 1, 0) ^ back;
    right.NormalizeSafe();
    const aiVector3D up = back ^ right;
    return {right.x, up.x, back.x, view.position.x, right.y, up.y, back.y, view.position.y,
            right.z, up.z, back.z, view.position.z, 0,       0,    0,      1};
}

bool isAhead(const View& view)
{
    return view.position == aiVector3D() && view.direction == kAhead && view.up == kUp;
}

/// What a view comes to. Readers are to say where it is in the space of its node; some repeat the node's own place.
View inNodeSpace(const View& view, const aiMatrix4x4& node)
{
    const bool isRepeated = view.position == aiVector3D(node.a4, node.b4, node.c4);
    return {isRepeated ? aiVector3D() : view.position, view.direction, view.up};
}

/// The node below which a view stands: its Transform when it looks from there as all do, else one in between.
db2::Node& placeOf(Editor& edit, const View& view, const std::wstring& name, db2::Node& transform)
{
    if (isAhead(view))
        return transform;
    namespace element = db2host::scene::transform;
    db2::Node& between = edit.createNode(db2host::scene::kTransform, name, transform);
    ++edit.counts().transforms;
    if (transform.getTypeId() == db2host::scene::kTransform)
        edit.connect(transform, element::kWorld, between, element::kParentWorld);
    edit.set(between, element::kTranslation, vectorOf(view.position));
    if (view.direction != kAhead || view.up != kUp)
        edit.set(between, element::kRotation, decompose(matrixOf(view)).rotation);
    return between;
}

/// Keeps the vectors as the reader gave them; a Transform has only what they come to.
void keepView(Editor& edit, const View& view, const wchar_t* direction, db2::Node& node)
{
    if (isAhead(view))
        return;
    edit.addAttribute(node, L"position", vectorOf(view.position));
    edit.addAttribute(node, direction, vectorOf(view.direction));
    edit.addAttribute(node, L"up", vectorOf(view.up));
}

const wchar_t* kindOf(aiLightSourceType type)
{
    switch (type)
    {
    case aiLightSource_POINT: return L"point";
    case aiLightSource_DIRECTIONAL: return L"directional";
    case aiLightSource_SPOT: return L"spot";
    case aiLightSource_AMBIENT: return L"ambient";
    case aiLightSource_AREA: return L"area";
    default: return nullptr;
    }
}

/// A light without a direction of its own looks ahead.
View viewOf(const aiLight& from)
{
    const bool hasDirection = from.mDirection.SquareLength() > 0;
    const bool hasUp = from.mUp.SquareLength() > 0;
    return {from.mPosition, hasDirection ? from.mDirection : kAhead, hasUp ? from.mUp : kUp};
}

} // namespace

void addCamera(Conversion& conversion, const aiCamera& from, const aiMatrix4x4& nodeMatrix, db2::Node& transform)
{
    Editor& edit = conversion.edit;
    const std::wstring name = edit.name(bytesOf(from.mName), transform);
    const View view = {from.mPosition, from.mLookAt, from.mUp};
    db2::Node& place = placeOf(edit, inNodeSpace(view, nodeMatrix), name, transform);
    db2::Node& node = edit.createNode(db2host::scene::kCamera, name, place);
    ++edit.counts().cameras;
    edit.choose(node, camera::kProjection, from.mOrthographicWidth != 0 ? L"orthographic" : L"perspective");
    edit.set(node, camera::kFieldOfView, from.mHorizontalFOV);
    edit.set(node, camera::kAspectRatio, from.mAspect);
    if (from.mOrthographicWidth != 0)
        edit.set(node, camera::kOrthographicWidth, 2 * from.mOrthographicWidth); // from the middle to one side
    edit.set(node, camera::kNearPlane, from.mClipPlaneNear);
    edit.set(node, camera::kFarPlane, from.mClipPlaneFar);
    keepView(edit, view, L"lookAt", node);
}

void addLight(Conversion& conversion, const aiLight& from, const aiMatrix4x4& nodeMatrix, db2::Node& transform)
{
    Editor& edit = conversion.edit;
    const std::wstring name = edit.name(bytesOf(from.mName), transform);
    const View view = viewOf(from);
    db2::Node& place = placeOf(edit, inNodeSpace(view, nodeMatrix), name, transform);
    db2::Node& node = edit.createNode(db2host::scene::kLight, name, place);
    ++edit.counts().lights;
    const wchar_t* const kind = kindOf(from.mType);
    if (kind == nullptr || !edit.choose(node, light::kKind, kind))
        edit.notKept(node, L"the kind of the light: number " + std::to_wstring(static_cast<int>(from.mType)));
    edit.set(node, light::kColour, colourOf(from.mColorDiffuse));
    edit.set(node, light::kSpecularColour, colourOf(from.mColorSpecular));
    edit.set(node, light::kAmbientColour, colourOf(from.mColorAmbient));
    edit.set(node, light::kConstantAttenuation, from.mAttenuationConstant);
    edit.set(node, light::kLinearAttenuation, from.mAttenuationLinear);
    edit.set(node, light::kQuadraticAttenuation, from.mAttenuationQuadratic);
    const float factor = conversion.isGltf2 && from.mType == aiLightSource_SPOT ? 2.0f : 1.0f;
    edit.set(node, light::kInnerCone, factor * from.mAngleInnerCone);
    edit.set(node, light::kOuterCone, factor * from.mAngleOuterCone);
    edit.set(node, light::kAreaSize, kqx::Vector3(from.mSize.x, from.mSize.y, 0));
    keepView(edit, view, L"direction", node);
}

} // namespace db2import
