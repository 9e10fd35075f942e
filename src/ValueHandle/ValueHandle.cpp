// What ValueHandle reads, compares and writes. How values are made stands beside this file.

#include <db2/ValueHandle.h>

#include "../OutOfMemory.h"
#include "../ValueTypes.h"
#include "NumberConversion.h"
#include "TextWriter.h"

#include <type_traits>

namespace db2 {
namespace {

// --- Reading a handle as a given type ---

template <class T>
const T& valueOf(const ConstValueHandle& handle)
{
    return *static_cast<const T*>(handle.getData());
}

/// Converts what is a number or a text; 0 for anything else.
template <class Result>
Result readNumber(const ConstValueHandle& handle)
{
    if (handle.isNull())
        return Result{};
    return visitType(handle.getTypeId(), [&handle](auto type) -> Result {
        using T = TypeOf<decltype(type)>;
        if constexpr (std::is_arithmetic_v<T>)
            return convertNumber<Result>(valueOf<T>(handle));
        else if constexpr (std::is_same_v<T, kqx::String>)
            return parseNumber<Result>(valueOf<T>(handle));
        else
            return Result{};
    });
}

/// The value of a handle onto just that type, else @p fallback.
template <class T>
const T& readExactly(const ConstValueHandle& handle, AttributeTypeId typeId, const T& fallback)
{
    return handle.getTypeId() == typeId && !handle.isNull() ? valueOf<T>(handle) : fallback;
}

/// A type's default value is a value as it is constructed; ValueInfo's objects of the types that have one equal it.
template <class T>
constinit const T kFreshValue{};

/// What @p handle reads as in the type @p typeId, whose C++ type is T: the one rule of comparing and assigning.
template <class T>
decltype(auto) readAs(const ConstValueHandle& handle, AttributeTypeId typeId)
{
    if constexpr (std::is_arithmetic_v<T>)
        return readNumber<T>(handle);
    else
        return readExactly<T>(handle, typeId, kFreshValue<T>);
}

// --- Comparing ---

template <class T>
bool areEqual(const T& a, const T& b)
{
    return a == b;
}

template <class T>
concept HasTolerance = requires(const T& value)
{
    value.compare(value, 0.0f);
};

template <class T>
bool areEqual(const T& a, const T& b, float tolerance)
{
    if constexpr (std::is_floating_point_v<T>)
        return a - T{tolerance} < b && b < a + T{tolerance}; // strictly: with 0, nothing is equal
    else if constexpr (HasTolerance<T>)
        return a.compare(b, tolerance);
    else
        return a == b;
}

/// @param tolerance  one or none.
template <class... Tolerance>
bool compareAsLeft(const ConstValueHandle& left, const ConstValueHandle& right, Tolerance... tolerance)
{
    const AttributeTypeId typeId = left.getTypeId();
    return visitType(typeId, [&](auto type) {
        using T = TypeOf<decltype(type)>;
        if constexpr (std::is_void_v<T>)
            return typeId == AttributeType::kNull;
        else
            return areEqual<T>(readAs<T>(left, typeId), readAs<T>(right, typeId), tolerance...);
    });
}

// --- Editing arrays ---

/// Calls @p edit with the value of @p handle if that is an array. @return whether it is one and there was memory.
template <class Edit>
bool editArray(const ValueHandle& handle, Edit edit)
{
    if (handle.isNull())
        return false;
    return visitType(handle.getTypeId(), [&](auto type) {
        using T = TypeOf<decltype(type)>;
        if constexpr (kIsArray<T>)
            return succeeds([&] { edit(*static_cast<T*>(handle.getData())); });
        else
            return false;
    });
}

template <class Element>
bool resizeArray(const ValueHandle& handle, AttributeTypeId typeId, std::size_t elements, const Element& fill)
{
    if (handle.getTypeId() != typeId || handle.isNull())
        return false;
    return succeeds([&] { static_cast<kqx::Array<Element>*>(handle.getData())->resize(elements, fill); });
}

} // namespace

// --- ConstValueHandle: converting reads ---

int ConstValueHandle::asInt() const
{
    return readNumber<int>(*this);
}

bool ConstValueHandle::asBool() const
{
    return readNumber<bool>(*this);
}

float ConstValueHandle::asFloat() const
{
    return readNumber<float>(*this);
}

double ConstValueHandle::asDouble() const
{
    return readNumber<double>(*this);
}

// --- ConstValueHandle: exact reads ---

const kqx::String& ConstValueHandle::asString() const
{
    return readExactly(*this, AttributeType::kString, ValueInfo::getDefaultString());
}

const kqx::Colour& ConstValueHandle::asColour() const
{
    return readExactly(*this, AttributeType::kColour, ValueInfo::getDefaultColour());
}

const kqx::Vector3& ConstValueHandle::asVector3() const
{
    return readExactly(*this, AttributeType::kVector3, ValueInfo::getDefaultVector3());
}

const kqx::Matrix& ConstValueHandle::asMatrix() const
{
    return readExactly(*this, AttributeType::kMatrix, ValueInfo::getDefaultMatrix());
}

const kqx::Quat& ConstValueHandle::asQuat() const
{
    return readExactly(*this, AttributeType::kQuat, ValueInfo::getDefaultQuat());
}

const kqx::VertexBuffer& ConstValueHandle::asVertexBuffer() const
{
    return readExactly(*this, AttributeType::kVertexBuffer, ValueInfo::getDefaultVertexBuffer());
}

const kqx::IntArray& ConstValueHandle::asIntArray() const
{
    return readExactly(*this, AttributeType::kIntArray, ValueInfo::getDefaultIntArray());
}

const kqx::BoolArray& ConstValueHandle::asBoolArray() const
{
    return readExactly(*this, AttributeType::kBoolArray, ValueInfo::getDefaultBoolArray());
}

const kqx::ColourArray& ConstValueHandle::asColourArray() const
{
    return readExactly(*this, AttributeType::kColourArray, ValueInfo::getDefaultColourArray());
}

const kqx::FloatArray& ConstValueHandle::asFloatArray() const
{
    return readExactly(*this, AttributeType::kFloatArray, ValueInfo::getDefaultFloatArray());
}

const kqx::DoubleArray& ConstValueHandle::asDoubleArray() const
{
    return readExactly(*this, AttributeType::kDoubleArray, ValueInfo::getDefaultDoubleArray());
}

const kqx::StringArray& ConstValueHandle::asStringArray() const
{
    return readExactly(*this, AttributeType::kStringArray, ValueInfo::getDefaultStringArray());
}

const kqx::Vector3Array& ConstValueHandle::asVector3Array() const
{
    return readExactly(*this, AttributeType::kVector3Array, ValueInfo::getDefaultVector3Array());
}

const kqx::MatrixArray& ConstValueHandle::asMatrixArray() const
{
    return readExactly(*this, AttributeType::kMatrixArray, ValueInfo::getDefaultMatrixArray());
}

const kqx::QuatArray& ConstValueHandle::asQuatArray() const
{
    return readExactly(*this, AttributeType::kQuatArray, ValueInfo::getDefaultQuatArray());
}

// --- ConstValueHandle: questions ---

std::size_t ConstValueHandle::getSize() const
{
    return visitType(getTypeId(), [this](auto type) -> std::size_t {
        using T = TypeOf<decltype(type)>;
        if constexpr (kIsArray<T>)
            return readAs<T>(*this, getTypeId()).size();
        else
            return 1;
    });
}

bool ConstValueHandle::compare(const ConstValueHandle& other) const
{
    return compareAsLeft(*this, other);
}

bool ConstValueHandle::compare(const ConstValueHandle& other, float tolerance) const
{
    return compareAsLeft(*this, other, tolerance);
}

bool ConstValueHandle::toString(kqx::String* out) const
{
    if (out == nullptr)
        return true;
    return succeeds([this, out] {
        TextWriter writer; // with a text of its own, because the value may be *out
        visitType(getTypeId(), [&](auto type) {
            using T = TypeOf<decltype(type)>;
            if constexpr (!std::is_void_v<T>)
                writer.write(readAs<T>(*this, getTypeId()));
            else if (getTypeId() == AttributeType::kNull)
                writer.write(L"NULL");
        });
        out->swap(writer.getText());
    });
}

// --- ValueHandle: writes ---

bool ValueHandle::assign(const ConstValueHandle& from) const
{
    if (getTypeId() == AttributeType::kNull)
        return true;
    if (isNull())
        return false;
    return visitType(getTypeId(), [&](auto type) {
        using T = TypeOf<decltype(type)>;
        if constexpr (std::is_void_v<T>)
            return false;
        else
            return succeeds([&] { get<T>() = readAs<T>(from, getTypeId()); });
    });
}

bool ValueHandle::clearToDefault() const
{
    return assign(ConstValueHandle(nullptr, getTypeId())); // a null handle reads as the default
}

bool ValueHandle::reserve(std::size_t elements) const
{
    return editArray(*this, [elements](auto& array) { array.reserve(elements); });
}

bool ValueHandle::resize(std::size_t elements) const
{
    return editArray(*this, [elements](auto& array) { array.resize(elements); });
}

bool ValueHandle::resizeIntArray(std::size_t elements, int fill) const
{
    return resizeArray(*this, AttributeType::kIntArray, elements, fill);
}

bool ValueHandle::resizeBoolArray(std::size_t elements, bool fill) const
{
    return resizeArray(*this, AttributeType::kBoolArray, elements, fill);
}

bool ValueHandle::resizeColourArray(std::size_t elements, const kqx::Colour& fill) const
{
    return resizeArray(*this, AttributeType::kColourArray, elements, fill);
}

bool ValueHandle::resizeFloatArray(std::size_t elements, float fill) const
{
    return resizeArray(*this, AttributeType::kFloatArray, elements, fill);
}

bool ValueHandle::resizeDoubleArray(std::size_t elements, double fill) const
{
    return resizeArray(*this, AttributeType::kDoubleArray, elements, fill);
}

bool ValueHandle::resizeStringArray(std::size_t elements, const kqx::String& fill) const
{
    return resizeArray(*this, AttributeType::kStringArray, elements, fill);
}

bool ValueHandle::resizeVector3Array(std::size_t elements, const kqx::Vector3& fill) const
{
    return resizeArray(*this, AttributeType::kVector3Array, elements, fill);
}

bool ValueHandle::resizeMatrixArray(std::size_t elements, const kqx::Matrix& fill) const
{
    return resizeArray(*this, AttributeType::kMatrixArray, elements, fill);
}

bool ValueHandle::resizeQuatArray(std::size_t elements, const kqx::Quat& fill) const
{
    return resizeArray(*this, AttributeType::kQuatArray, elements, fill);
}

} // namespace db2
