#include "Matrices.h"
#include "Types.h"

namespace db2host::scene {

kqx::Matrix product(const kqx::Matrix& a, const kqx::Matrix& b)
{
    kqx::Matrix result;
    for (int row = 0; row < 4; ++row)
    {
        for (int column = 0; column < 4; ++column)
        {
            float sum = 0;
            for (int i = 0; i < 4; ++i)
                sum += a.m[row][i] * b.m[i][column];
            result.m[row][column] = sum;
        }
    }
    return result;
}

kqx::Matrix placement(const kqx::Vector3& translation, const kqx::Quat& rotation, const kqx::Vector3& scale)
{
    const kqx::Quat& q = rotation;
    const float lengthSquared = q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w;
    const float s = lengthSquared == 0.0f ? 0.0f : 2.0f / lengthSquared; // 2 for a unit quaternion
    const kqx::Vector3 rows[] = {
        {1 - s * (q.y * q.y + q.z * q.z), s * (q.x * q.y + q.z * q.w), s * (q.x * q.z - q.y * q.w)},
        {s * (q.x * q.y - q.z * q.w), 1 - s * (q.x * q.x + q.z * q.z), s * (q.y * q.z + q.x * q.w)},
        {s * (q.x * q.z + q.y * q.w), s * (q.y * q.z - q.x * q.w), 1 - s * (q.x * q.x + q.y * q.y)},
        translation};
    const float factors[] = {scale.x, scale.y, scale.z, 1};
    kqx::Matrix result;
    for (int row = 0; row < 4; ++row)
    {
        result.m[row][0] = factors[row] * rows[row].x;
        result.m[row][1] = factors[row] * rows[row].y;
        result.m[row][2] = factors[row] * rows[row].z;
    }
    return result;
}

namespace {

db2::ConstValueHandle read(db2::Element** elements, unsigned int index)
{
    return static_cast<db2::Attribute*>(elements[index])->getValue();
}

/// An output that cannot be written stays what it is; the layer that refused it has said why.
void write(db2::DataInterface& data, db2::Element* output, const kqx::Matrix& matrix)
{
    auto* const attribute = static_cast<db2::Attribute*>(output);
    db2::ValueHandle value;
    if (data.db_lockAttribute(attribute, &value) != db2::Status::kSuccess)
        return;
    value.getMatrix() = matrix;
    data.db_unlockAttribute(attribute);
}

void computeLocal(db2::DataInterface& data, db2::Node&, db2::Element** elements, void*)
{
    const kqx::Vector3& translation = read(elements, transform::kTranslation).getVector3();
    const kqx::Quat& rotation = read(elements, transform::kRotation).getQuat();
    const kqx::Vector3& scale = read(elements, transform::kScale).getVector3();
    write(data, elements[transform::kLocal], placement(translation, rotation, scale));
}

void computeWorld(db2::DataInterface& data, db2::Node&, db2::Element** elements, void*)
{
    const kqx::Matrix& local = read(elements, transform::kLocal).getMatrix();
    const kqx::Matrix& parentWorld = read(elements, transform::kParentWorld).getMatrix();
    write(data, elements[transform::kWorld], product(local, parentWorld));
}

void computeSkinning(db2::DataInterface& data, db2::Node&, db2::Element** elements, void*)
{
    const kqx::Matrix& inverseBind = read(elements, bone::kInverseBind).getMatrix();
    const kqx::Matrix& jointWorld = read(elements, bone::kJointWorld).getMatrix();
    write(data, elements[bone::kSkinning], product(inverseBind, jointWorld));
}

struct ComputeSetRow
{
    NodeTypeId type;
    unsigned int inputs[4]; ///< up to kEndOfList
    unsigned int output;
    db2::ComputeFunction function;
};

constexpr unsigned int kEnd = db2::NodeTemplate::kEndOfList;

constexpr ComputeSetRow kComputeSets[] = {
    {kTransform,
     {transform::kTranslation, transform::kRotation, transform::kScale, kEnd},
     transform::kLocal,
     computeLocal},
    {kTransform, {transform::kLocal, transform::kParentWorld, kEnd}, transform::kWorld, computeWorld},
    {kBone, {bone::kInverseBind, bone::kJointWorld, kEnd}, bone::kSkinning, computeSkinning}};

} // namespace

bool addComputeSets(db2::NodeTemplate& type)
{
    for (const ComputeSetRow& row : kComputeSets)
    {
        const unsigned int outputs[] = {row.output, kEnd};
        if (row.type == type.getTypeId() &&
            type.addComputeSet(row.inputs, outputs, row.function, nullptr) != db2::Status::kSuccess)
            return false;
    }
    return true;
}

} // namespace db2host::scene
