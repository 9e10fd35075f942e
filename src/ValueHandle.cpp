#include <db2/ValueHandle.h>

#include "OutOfMemory.h"
#include "ValueTypes.h"

#include <kqtl/Alloc.h>
#include <kqx/NumberText.h>

#include <initializer_list>
#include <limits>
#include <memory>
#include <new>
#include <string_view>

namespace db2 {
namespace {

// --- Converting numbers ---

template <class Result, class Source>
Result convertNumber(Source number)
{
    if constexpr (std::is_same_v<Result, bool>)
        return number != Source{};
    else
        return static_cast<Result>(number); // a double beyond all floats becomes an infinity, as the format says
}
static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559);

/// Not a plain cast, which is undefined for what does not fit.
template <>
int convertNumber<int, double>(double number)
{
    constexpr double kBelowMin = std::numeric_limits<int>::min() - 1.0;
    constexpr double kAboveMax = std::numeric_limits<int>::max() + 1.0;
    if (number > kBelowMin && number < kAboveMax)
        return static_cast<int>(number);
    if (number != number)
        return 0;
    return number < 0 ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
}

template <>
int convertNumber<int, float>(float number)
{
    return convertNumber<int>(static_cast<double>(number));
}

template <class Result>
Result parseNumber(const kqx::String& text)
{
    if constexpr (std::is_floating_point_v<Result>)
        return static_cast<Result>(kqx::parseDouble(text.c_str(), text.size()));
    else
        return convertNumber<Result>(kqx::parseInt(text.c_str(), text.size()));
}

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

// --- Text ---

/// Writes values behind each other. A class, so that each member sees all others: arrays are written element by element,
/// elements component by component.
class TextWriter
{
public:
    void write(int value) { kqx::appendNumber(text_, value); }
    void write(bool value) { text_ += value ? L'1' : L'0'; }
    void write(float value) { kqx::appendNumber(text_, value); }
    void write(double value) { kqx::appendNumber(text_, value); }
    void write(const wchar_t* value) { text_ += value; }
    void write(const kqx::String& value) { text_ += value; }
    void write(const kqx::Colour& value) { writeAll(std::initializer_list<float>{value.r, value.g, value.b, value.a}); }
    void write(const kqx::Vector3& value)
    {
        writeAll(std::initializer_list<float>{value.x, value.y, value.z, value.w});
    }
    void write(const kqx::Quat& value) { writeAll(std::initializer_list<float>{value.x, value.y, value.z, value.w}); }
    void write(const float (&matrixRow)[4]) { writeAll(matrixRow); }
    void write(const kqx::Matrix& value) { writeAll(value.m); }

    template <class Element>
    void write(const kqx::Array<Element>& value)
    {
        writeAll(value);
    }

    void write(const kqx::StringArray& value)
    {
        for (std::size_t i = 0; i < value.size(); ++i)
        {
            if (i > 0)
                text_ += L',';
            writeQuoted(value[i]);
        }
    }

    void write(const kqx::VertexBuffer& value)
    {
        for (unsigned int i = 0; i < value.getStreamCount(); ++i)
        {
            if (i > 0)
                text_ += L' ';
            text_ += value.getStreamText(i);
        }
    }

    [[nodiscard]] kqx::String& getText() { return text_; }

private:
    template <class Range>
    void writeAll(const Range& values)
    {
        bool isFirst = true;
        for (const auto& value : values)
        {
            if (!isFirst)
                text_ += L' ';
            isFirst = false;
            write(value);
        }
    }

    /// Quotes inside the element are escaped, backslashes are not: readers of the text count on it.
    void writeQuoted(std::wstring_view element)
    {
        text_ += L'"';
        for (const wchar_t character : element)
        {
            if (character == L'"')
                text_ += L'\\';
            text_ += character;
        }
        text_ += L'"';
    }

    kqx::String text_;
};

// --- Making values ---

/// Makes a value in raw storage: a copy of @p from, or the type's default when it is null.
/// @return the storage; null when there is none or the type has no values, and when memory is out for what a value owns.
void* constructValue(AttributeTypeId typeId, void* storage, const void* from)
{
    if (storage == nullptr)
        return nullptr;
    return visitType(typeId, [=](auto type) -> void* {
        using T = TypeOf<decltype(type)>;
        if constexpr (std::is_void_v<T>)
            return nullptr;
        else if (from == nullptr)
            return ::new (storage) T();
        else
            return succeeds([=] { ::new (storage) T(*static_cast<const T*>(from)); }) ? storage : nullptr;
    });
}

void* createOnHeap(AttributeTypeId typeId, const void* from)
{
    const std::size_t bytes = ValueInfo::getMemoryRequirements(typeId).size;
    if (bytes == 0)
        return nullptr;
    void* const storage = KQTLAlloc(bytes, ValueInfo::getStorageAlignment(typeId));
    void* const value = constructValue(typeId, storage, from);
    if (value == nullptr)
        KQTLFree(storage);
    return value;
}

void* createInBlock(AttributeTypeId typeId, MemoryResource& resource, const void* from)
{
    const std::size_t bytes = ValueInfo::getMemoryRequirements(typeId).size;
    if (bytes == 0)
        return nullptr;
    MemoryResource rest = resource;
    void* const value = constructValue(typeId, rest.take(bytes, ValueInfo::getStorageAlignment(typeId)), from);
    if (value != nullptr)
        resource = rest;
    return value;
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

// --- ValueHandle: values on the heap ---

void ValueHandle::create(AttributeTypeId typeId, ValueHandle& out)
{
    out = ValueHandle(createOnHeap(typeId, nullptr), typeId);
}

void ValueHandle::create(const ConstValueHandle& from, ValueHandle& out)
{
    out = create(from);
}

ValueHandle ValueHandle::create(const ConstValueHandle& from)
{
    return {from.isNull() ? nullptr : createOnHeap(from.getTypeId(), from.getData()), from.getTypeId()};
}

void ValueHandle::destroyAndFree()
{
    destroy();
    KQTLFree(value_);
    value_ = nullptr;
}

// --- ValueHandle: values in a block ---

void ValueHandle::create(AttributeTypeId typeId, MemoryResource& resource, ValueHandle* out)
{
    void* const value = createInBlock(typeId, resource, nullptr);
    if (out != nullptr)
        *out = ValueHandle(value, typeId);
}

void ValueHandle::create(const ConstValueHandle& from, MemoryResource& resource, ValueHandle* out)
{
    void* const value = from.isNull() ? nullptr : createInBlock(from.getTypeId(), resource, from.getData());
    if (out != nullptr)
        *out = ValueHandle(value, from.getTypeId());
}

ValueHandle ValueHandle::constructAt(void* storage, AttributeTypeId typeId)
{
    return {constructValue(typeId, storage, nullptr), typeId};
}

ValueHandle ValueHandle::constructAt(void* storage, const ConstValueHandle& from)
{
    return {from.isNull() ? nullptr : constructValue(from.getTypeId(), storage, from.getData()), from.getTypeId()};
}

void ValueHandle::init(AttributeTypeId typeId, ValueHandle& handle)
{
    if (ValueInfo::isPODType(typeId))
        constructValue(typeId, handle.value_, nullptr);
}

void ValueHandle::destroy()
{
    if (isNull())
        return;
    visitType(getTypeId(), [this](auto type) {
        using T = TypeOf<decltype(type)>;
        if constexpr (!std::is_void_v<T>)
            std::destroy_at(static_cast<T*>(value_));
    });
}

// --- DefaultValue ---

DefaultValue::DefaultValue(AttributeTypeId typeId)
{
    create(typeId, *this);
}

DefaultValue::DefaultValue(AttributeTypeId typeId, const ConstValueHandle& from) : DefaultValue(typeId)
{
    assign(from);
}

DefaultValue::DefaultValue(const DefaultValue& other) : DefaultValue(other.getTypeId(), other) {}

DefaultValue::~DefaultValue()
{
    destroyAndFree();
}

} // namespace db2
