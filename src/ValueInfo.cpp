#include <db2/ValueInfo.h>

#include "ValueTypes.h"

#include <algorithm>

namespace db2 {
namespace {

/// By type id.
constexpr const wchar_t* kTypeNames[] = {
    L"Int",         L"Bool",       L"Colour",      L"Float",       L"Double",       L"String",      L"Enum",
    L"Vector3",     L"Matrix",     L"Quat",        L"Null",        L"VertexBuffer", L"IntArray",    L"BoolArray",
    L"ColourArray", L"FloatArray", L"DoubleArray", L"StringArray", L"Vector3Array", L"MatrixArray", L"QuatArray",
};
static_assert(std::size(kTypeNames) == kAttributeTypeCount);

constexpr unsigned int kMathAlignment = 16;
constexpr unsigned int kCommonAlignment = 4;

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
    switch (typeId)
    {
    case AttributeType::kColour:
    case AttributeType::kVector3:
    case AttributeType::kMatrix:
    case AttributeType::kQuat: return kMathAlignment;
    default: return kCommonAlignment;
    }
}

unsigned int ValueInfo::getStorageAlignment(AttributeTypeId typeId)
{
    return visitType(typeId, [typeId](auto type) -> unsigned int {
        using T = TypeOf<decltype(type)>;
        if constexpr (std::is_void_v<T>)
            return getAlignment(typeId);
        else
            return std::max(getAlignment(typeId), static_cast<unsigned int>(alignof(T)));
    });
}

MemoryFormat ValueInfo::getMemoryRequirements(AttributeTypeId typeId)
{
    return visitType(typeId, [typeId](auto type) -> MemoryFormat {
        using T = TypeOf<decltype(type)>;
        if constexpr (std::is_void_v<T>)
            return {0, getAlignment(typeId)};
        else
            return {sizeof(T), getAlignment(typeId)};
    });
}

unsigned int ValueInfo::getStride(AttributeTypeId typeId)
{
    const MemoryFormat format = getMemoryRequirements(typeId);
    return roundUp(format.size, format.alignment);
}

bool ValueInfo::isArray(AttributeTypeId typeId)
{
    return visitType(typeId, [](auto type) { return kIsArray<TypeOf<decltype(type)>>; });
}

bool ValueInfo::isPODType(AttributeTypeId typeId)
{
    return visitType(typeId, [](auto type) {
        using T = TypeOf<decltype(type)>;
        return !std::is_void_v<T> && kIsPlainData<T>;
    });
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
