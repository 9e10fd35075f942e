#include "SceneVersion1.h"

#include "scene/Field.h"

#include <span>

namespace db2host {
namespace {

using scene::Field;
using namespace db2::AttributeType;

constexpr Field field(const wchar_t* name, db2::AttributeTypeId type)
{
    return Field{name, nullptr, nullptr, type};
}

constexpr const wchar_t* kProjections[] = {L"perspective", L"orthographic"};
constexpr const wchar_t* kKinds[] = {L"directional", L"omni", L"spot"};

constexpr Field choice(const wchar_t* name, std::span<const wchar_t* const> choices)
{
    Field result = field(name, kEnum);
    result.choices = choices;
    return result;
}

constexpr Field kPlaceFields[] = {field(L"self", kNull),
                                  field(L"translation", kVector3),
                                  field(L"rotation", kQuat),
                                  field(L"scale", kVector3).startsAt(1, 1, 1),
                                  field(L"visible", kBool).startsAt(1),
                                  field(L"parentWorld", kMatrix),
                                  field(L"local", kMatrix).notSaved(),
                                  field(L"world", kMatrix).notSaved()};
constexpr Field kCameraFields[] = {choice(L"projection", kProjections), field(L"fov", kFloat).startsAt(45)};
constexpr Field kLightFields[] = {choice(L"kind", kKinds), field(L"colour", kColour).startsAt(1, 1, 1, 1)};
constexpr Field kMeshFields[] = {field(L"self", kNull), field(L"indices", kIntArray)};
constexpr Field kJointFields[] = {field(L"jointWorld", kMatrix), field(L"inverseBind", kMatrix),
                                  field(L"vertexIndices", kIntArray), field(L"weights", kFloatArray)};
constexpr Field kLocatorFields[] = {field(L"size", kFloat).startsAt(1)};

struct Row
{
    unsigned int id;
    const wchar_t* name;
    std::span<const Field> fields;
};

constexpr Row kRows[] = {{SceneVersion1::kScene, L"Scene", {}},
                         {SceneVersion1::kTransform, L"Transform", kPlaceFields},
                         {SceneVersion1::kNull, L"Null", kPlaceFields},
                         {SceneVersion1::kCamera, L"Camera", kCameraFields},
                         {SceneVersion1::kLight, L"Light", kLightFields},
                         {SceneVersion1::kMesh, L"Mesh", kMeshFields},
                         {SceneVersion1::kSkeleton, L"Skeleton", {}},
                         {SceneVersion1::kJoint, L"Joint", kJointFields},
                         {SceneVersion1::kLocator, L"Locator", kLocatorFields}};

/// Writes documents by the names of types' elements.
class Author
{
public:
    explicit Author(db2::DataInterface& data) : data_(data) {}

    db2::Node* make(SceneVersion1::TypeId type, const wchar_t* name, db2::Node* parent = nullptr)
    {
        db2::Node* node = nullptr;
        data_.db_createNode(type, name, parent, nullptr, &node);
        return node;
    }

    template <class Value>
    void set(const db2::Node* node, const wchar_t* attribute, const Value& value)
    {
        db2::ValueHandle handle;
        data_.db_lockAttribute(node->findAttributeByName(attribute), &handle);
        Value* target = nullptr;
        handle.cast(&target);
        *target = value;
        data_.db_unlockAttribute(node->findAttributeByName(attribute));
    }

    void refer(const db2::Node* from, const wchar_t* attribute, const db2::Node* to, const wchar_t* target)
    {
        data_.db_createReference(to->findAttributeByName(target), from->findAttributeByName(attribute), false);
    }

private:
    db2::DataInterface& data_;
};

} // namespace

bool SceneVersion1::registerIn(db2::NodeRegistry& registry)
{
    auto* const module = new db2::Module;
    module->setId(id());
    module->setDataVersion(1);
    if (db2::registerModule(module) != db2::Status::kSuccess)
        return false;
    for (const Row& row : kRows)
    {
        auto* const type = new db2::NodeTemplate(row.name, row.id, *module);
        for (const Field& element : row.fields)
            scene::addField(*type, element);
        registry.registerNodeTemplate(type);
    }
    return true;
}

void makeVersion1Document(Session& session)
{
    Author author(session.data());
    db2::Node* const table = author.make(SceneVersion1::kTransform, L"table");
    author.set(table, L"translation", kqx::Vector3(0, 0.75f, 0));
    author.set(table, L"visible", false);

    db2::Node* const pivot = author.make(SceneVersion1::kNull, L"pivot", table);
    author.set(pivot, L"translation", kqx::Vector3(0.5f, 0, -0.25f));
    author.refer(pivot, L"parentWorld", table, L"world");
    db2::Node* const lamp = author.make(SceneVersion1::kTransform, L"lamp", pivot);
    author.refer(lamp, L"parentWorld", pivot, L"world");
    author.refer(lamp, L"visible", table, L"visible");
    author.set(author.make(SceneVersion1::kLight, L"bulb", lamp), L"kind", 1);
    author.set(author.make(SceneVersion1::kLight, L"reflector", lamp), L"kind", 2);
    author.make(SceneVersion1::kLight, L"sun");

    db2::Node* const wide = author.make(SceneVersion1::kCamera, L"wide");
    author.set(wide, L"fov", 90.0f);
    author.refer(author.make(SceneVersion1::kCamera, L"second"), L"fov", wide, L"fov");
    author.make(SceneVersion1::kCamera, L"normal");

    db2::Node* const mesh = author.make(SceneVersion1::kMesh, L"cloth");
    db2::Node* const joint =
        author.make(SceneVersion1::kJoint, L"hinge", author.make(SceneVersion1::kSkeleton, L"skeleton", mesh));
    author.refer(joint, L"jointWorld", pivot, L"world");
    author.set(joint, L"vertexIndices", kqx::IntArray{0, 1, 2});
    author.set(joint, L"weights", kqx::FloatArray{1, 0.5f, 0.25f});

    db2::Node* const corner = author.make(SceneVersion1::kLocator, L"corner", table);
    author.set(corner, L"size", 0.1f);
    author.make(SceneVersion1::kTransform, L"cup", corner);
    session.data().db_commit(L"Lay the table", L"SceneVersion1.cpp", 1);
}

} // namespace db2host
