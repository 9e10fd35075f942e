#include <db2/ValueInfo.h>

#include "ValueTypes.h"

namespace db2 {
namespace {

/// By type id.
constexpr const wchar_t* kTypeNames[] = {
    L"Int",         L"Bool",       L"Colour",      L"Float",       L"Double",       L"String",      L"Enum",
    L"Vector3",     L"Matrix",     L"Quat",        L"Null",        L"VertexBuffer", L"IntArray",    L"BoolArray",
    L"ColourArray", L"FloatArray", L"DoubleArray", L"StringArray", L"Vector3Array", L"MatrixArray", L"QuatArray",
};
static_assert(std::size(kTypeNames) == kAttributeTypeCount);

// The sizes that hosts and saved layouts count on.
static_assert(sizeof(int) == 4 && sizeof(bool) == 1 && sizeof(float) == 4 && sizeof(double) == 8);

} // namespace

// --- Facts about a type ---

const wchar_t* ValueInfo::getTypeName(AttributeTypeId typeId)
{
    return typeId < kAttributeTypeCount ? kTypeNames[typeId] : nullptr;
}

unsigned int ValueInfo::getAlignment(AttributeTypeId typeId)
{
    return factsOf(typeId).alignment;
}

unsigned int ValueInfo::getStorageAlignment(AttributeTypeId typeId)
{
    return factsOf(typeId).storageAlignment;
}

MemoryFormat ValueInfo::getMemoryRequirements(AttributeTypeId typeId)
{
    const TypeFacts& facts = factsOf(typeId);
    return {facts.size, facts.alignment};
}

unsigned int ValueInfo::getStride(AttributeTypeId typeId)
{
    return factsOf(typeId).stride;
}

bool ValueInfo::isArray(AttributeTypeId typeId)
{
    return factsOf(typeId).isArray;
}

bool ValueInfo::isPODType(AttributeTypeId typeId)
{
    return factsOf(typeId).isPlainData;
}

// --- Default values: constant initialisation, so that a host's own static objects may use them ---

constinit const kqx::Colour ValueInfo::m_defaultColour;
constinit const kqx::String ValueInfo::m_defaultString;
constinit const kqx::Vector3 ValueInfo::m_defaultVector3;
constinit const kqx::Matrix ValueInfo::m_defaultMatrix;
constinit const kqx::Quat ValueInfo::m_defaultQuat;
constinit const kqx::IntArray ValueInfo::m_defaultVectorInt;
constinit const kqx::BoolArray ValueInfo::m_defaultVectorBool;
constinit const kqx::ColourArray ValueInfo::m_defaultVectorColour;
constinit const kqx::FloatArray ValueInfo::m_defaultVectorFloat;
constinit const kqx::DoubleArray ValueInfo::m_defaultVectorDouble;
constinit const kqx::StringArray ValueInfo::m_defaultVectorString;
constinit const kqx::Vector3Array ValueInfo::m_defaultVectorVector3;
constinit const kqx::MatrixArray ValueInfo::m_defaultVectorMatrix;
constinit const kqx::QuatArray ValueInfo::m_defaultVectorQuat;
constinit const kqx::VertexBuffer ValueInfo::m_defaultVertexBuffer{};

} // namespace db2
