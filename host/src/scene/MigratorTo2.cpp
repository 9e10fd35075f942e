#include "MigratorTo2.h"

#include <string_view>

namespace db2host::scene {
namespace {

using db2::Status;

constexpr wchar_t kFov[] = L"fov";

/// Types are told by module and name: on unknown and legacy nodes the number means nothing.
bool isOfType(const db2::Node& node, std::wstring_view typeName)
{
    return node.getTypeName() == typeName && node.getModule()->getId() == std::wstring_view(kModuleId);
}

bool isFov(const db2::Attribute& attribute)
{
    return attribute.isLegacy() && attribute.getName() == std::wstring_view(kFov) &&
           isOfType(*attribute.getNode(), L"Camera");
}

db2::Attribute* fieldOfViewOf(const db2::Node& camera)
{
    return static_cast<db2::Attribute*>(camera.getElement(camera::kFieldOfView));
}

} // namespace

const wchar_t* SceneModule::MigratorTo2::migrateNodeTypeName(const wchar_t* typeName)
{
    const std::wstring_view old = typeName;
    if (old == L"Joint")
        return L"Bone";
    return old == L"Null" ? L"Transform" : typeName;
}

/// A Null is a Transform by now.
const wchar_t* SceneModule::MigratorTo2::migrateAttributeName(const wchar_t* name, db2::Node* node)
{
    return std::wstring_view(name) == L"visible" && isOfType(*node, L"Transform") ? L"visibility" : name;
}

const wchar_t* SceneModule::MigratorTo2::migrateEnumChoice(const wchar_t* choice, const wchar_t* attributeName,
                                                           db2::Node* node)
{
    const bool isOld = std::wstring_view(choice) == L"omni" && std::wstring_view(attributeName) == L"kind" &&
                       isOfType(*node, L"Light");
    return isOld ? L"point" : choice;
}

/// Cameras that shared a field of view go on sharing it. Where the other end is something else, the numbers do not fit
/// any more, and the reference is reported as lost.
bool SceneModule::MigratorTo2::migrateLegacyConnection(db2::Attribute* found, db2::Attribute* holder)
{
    if (!isFov(*found) || !isFov(*holder))
        return false;
    const Status status =
        data_->db_createReference(fieldOfViewOf(*found->getNode()), fieldOfViewOf(*holder->getNode()), false);
    return status == Status::kSuccess;
}

bool SceneModule::MigratorTo2::onNodeLoaded(db2::Node& node)
{
    if (isOfType(node, L"Camera"))
        return convertFov(node);
    return !isOfType(node, L"Light") || keepOldKind(node);
}

/// A camera's "fov" in degrees becomes its "fieldOfView" in radians.
bool SceneModule::MigratorTo2::convertFov(db2::Node& camera)
{
    db2::Attribute* const fov = camera.findLegacyAttributeByName(kFov);
    if (fov == nullptr) // it was at its default, which is the same angle today
        return true;
    fov->setLegacyElementHandled();
    if (!fov->hasFlag(db2::ElementFlag::kValueLoaded)) // it has a reference, or stands there for one
        return true;
    constexpr float kRadiansPerDegree = 0.017453292519943295f;
    db2::ValueHandle value;
    db2::Attribute* const fieldOfView = fieldOfViewOf(camera);
    if (data_->db_lockAttribute(fieldOfView, &value) != Status::kSuccess)
        return false;
    value.getFloat() = fov->getValue().asFloat() * kRadiansPerDegree;
    return data_->db_unlockAttribute(fieldOfView) == Status::kSuccess;
}

/// A light that says nothing of its kind was at the default, which was another one.
bool SceneModule::MigratorTo2::keepOldKind(db2::Node& light)
{
    auto* const kind = static_cast<db2::Attribute*>(light.getElement(light::kKind));
    if (kind->hasFlag(db2::ElementFlag::kValueLoaded))
        return true;
    const auto* const choices = static_cast<const db2::EnumAttributeMetaData*>(kind->getMetaData());
    db2::ValueHandle value;
    if (data_->db_lockAttribute(kind, &value) != Status::kSuccess)
        return false;
    value.getInt() = choices->getChoiceIndex(L"directional");
    return data_->db_unlockAttribute(kind) == Status::kSuccess;
}

} // namespace db2host::scene
