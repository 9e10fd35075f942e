#pragma once

#include <db2/AttributeTypeId.h>
#include <db2/Export.h>
#include <db2/MemoryFormat.h>
#include <db2/ValueInfo.h>

#include <concepts>
#include <cstddef>
#include <cstdint>

namespace db2 {

template <class T, class... Others>
inline constexpr bool kIsOneOf = (std::same_as<T, Others> || ...);

/// A C++ type whose objects are values of the database. An Enum's value is an int; Null has no value.
template <class T>
concept AttributeValue =
    kIsOneOf<T, int, bool, float, double, kqx::String, kqx::Colour, kqx::Vector3, kqx::Matrix, kqx::Quat,
             kqx::VertexBuffer, kqx::IntArray, kqx::BoolArray, kqx::ColourArray, kqx::FloatArray, kqx::DoubleArray,
             kqx::StringArray, kqx::Vector3Array, kqx::MatrixArray, kqx::QuatArray>;

/// Reads a typed value wherever it is stored: a pointer to it and its type id. Owns nothing, counts nothing; valid for as
/// long as the value is. Copying copies the two fields.
/// A handle whose pointer is null (Null has no storage; no memory was left for the value) reads as its type's default
/// through every member but the unchecked ones.
/// Threads: as for the value itself.
class DB2_API ConstValueHandle
{
public:
    /// A null pointer without a type (AttributeType::kNoType).
    ConstValueHandle() = default;

    /// A handle onto @p value, which must be an object of the type's C++ type, or null.
    ConstValueHandle(const void* value, AttributeTypeId typeId) : value_(const_cast<void*>(value)), typeId_(typeId) {}

    [[nodiscard]] AttributeTypeId getTypeId() const { return static_cast<AttributeTypeId>(typeId_); }
    [[nodiscard]] bool isNull() const { return value_ == nullptr; }
    [[nodiscard]] const void* getData() const { return value_; } ///< the value's storage

    // --- Unchecked reads: the caller knows the type, and that there is a value ---

    [[nodiscard]] const int& getInt() const { return get<int>(); } ///< of an Enum, too
    [[nodiscard]] const bool& getBool() const { return get<bool>(); }
    [[nodiscard]] const float& getFloat() const { return get<float>(); }
    [[nodiscard]] const double& getDouble() const { return get<double>(); }
    [[nodiscard]] const kqx::String& getString() const { return get<kqx::String>(); }
    [[nodiscard]] const kqx::Colour& getColour() const { return get<kqx::Colour>(); }
    [[nodiscard]] const kqx::Vector3& getVector3() const { return get<kqx::Vector3>(); }
    [[nodiscard]] const kqx::Matrix& getMatrix() const { return get<kqx::Matrix>(); }
    [[nodiscard]] const kqx::Quat& getQuat() const { return get<kqx::Quat>(); }
    [[nodiscard]] const kqx::VertexBuffer& getVertexBuffer() const { return get<kqx::VertexBuffer>(); }
    [[nodiscard]] const kqx::IntArray& getIntArray() const { return get<kqx::IntArray>(); }
    [[nodiscard]] const kqx::BoolArray& getBoolArray() const { return get<kqx::BoolArray>(); }
    [[nodiscard]] const kqx::ColourArray& getColourArray() const { return get<kqx::ColourArray>(); }
    [[nodiscard]] const kqx::FloatArray& getFloatArray() const { return get<kqx::FloatArray>(); }
    [[nodiscard]] const kqx::DoubleArray& getDoubleArray() const { return get<kqx::DoubleArray>(); }
    [[nodiscard]] const kqx::StringArray& getStringArray() const { return get<kqx::StringArray>(); }
    [[nodiscard]] const kqx::Vector3Array& getVector3Array() const { return get<kqx::Vector3Array>(); }
    [[nodiscard]] const kqx::MatrixArray& getMatrixArray() const { return get<kqx::MatrixArray>(); }
    [[nodiscard]] const kqx::QuatArray& getQuatArray() const { return get<kqx::QuatArray>(); }

    /// Stores the pointer to the value in @p out (not null), unchecked like the reads above.
    template <AttributeValue T>
    void cast(const T** out) const
    {
        *out = static_cast<const T*>(value_);
    }

    // --- Converting reads: Int, Bool, Float, Double, Enum and String convert, any other type gives 0 ---
    // A String is parsed as decimal text without any locale: blanks skipped, parsing stops at the first character that
    // does not fit, no number gives 0, and an integer's parse stops at a fraction.

    /// A fraction is cut off; what is too large or small gives the nearest int, NaN gives 0.
    [[nodiscard]] int asInt() const;
    /// True for a number that is not 0; a String is parsed as an integer.
    [[nodiscard]] bool asBool() const;
    /// Rounded to the nearest float; a Double beyond all floats gives an infinity.
    [[nodiscard]] float asFloat() const;
    [[nodiscard]] double asDouble() const;

    // --- Exact reads: the value when it has just this type, else ValueInfo's default of the type ---

    [[nodiscard]] const kqx::String& asString() const;
    [[nodiscard]] const kqx::Colour& asColour() const;
    [[nodiscard]] const kqx::Vector3& asVector3() const;
    [[nodiscard]] const kqx::Matrix& asMatrix() const;
    [[nodiscard]] const kqx::Quat& asQuat() const;
    [[nodiscard]] const kqx::VertexBuffer& asVertexBuffer() const;
    [[nodiscard]] const kqx::IntArray& asIntArray() const;
    [[nodiscard]] const kqx::BoolArray& asBoolArray() const;
    [[nodiscard]] const kqx::ColourArray& asColourArray() const;
    [[nodiscard]] const kqx::FloatArray& asFloatArray() const;
    [[nodiscard]] const kqx::DoubleArray& asDoubleArray() const;
    [[nodiscard]] const kqx::StringArray& asStringArray() const;
    [[nodiscard]] const kqx::Vector3Array& asVector3Array() const;
    [[nodiscard]] const kqx::MatrixArray& asMatrixArray() const;
    [[nodiscard]] const kqx::QuatArray& asQuatArray() const;

    // --- Questions ---

    /// The number of elements of an array type's value; 1 for every other type, Null and no type included.
    [[nodiscard]] std::size_t getSize() const;

    /// True when this value equals what @p other reads as in this value's type: numbers convert, any other type that is
    /// not the same reads as this type's default. So comparing is not symmetric across types. NaN equals nothing, Null
    /// equals everything, a handle without a type nothing.
    [[nodiscard]] bool compare(const ConstValueHandle& other) const;

    /// The same, but two numbers in Float or Double are equal when they are less than @p tolerance apart (so that with 0
    /// not even a number equals itself), and the components of Vector3, Matrix and Quat may differ by up to @p tolerance.
    /// All other types, Colour and arrays included, compare exactly.
    [[nodiscard]] bool compare(const ConstValueHandle& other, float tolerance) const;

    /// Writes the value as text: numbers with six significant digits, the components of math types and the elements of
    /// arrays separated by one blank, a StringArray as quoted texts separated by commas, Null as "NULL", and nothing for
    /// a handle without a type. The text is the same whatever the locale.
    /// @param out  replaced; null does nothing.
    /// @return false, leaving @p out as it was, when memory is out.
    bool toString(kqx::String* out) const;

protected:
    template <AttributeValue T>
    [[nodiscard]] T& get() const
    {
        return *static_cast<T*>(value_);
    }

    void* value_ = nullptr; ///< not const, because ValueHandle writes through it
    /// An AttributeTypeId, as wide as the pointer beside it: behind a narrower one there is padding, for which compilers
    /// hand a handle over through memory, in a way that makes the processor wait.
    std::uintptr_t typeId_ = AttributeType::kNoType;
};

/// Reads and writes a typed value. As with a pointer, it is the value that is written: a const handle writes, too.
/// Only the library makes handles onto storage that is already there; in a database an attribute's handle comes from
/// db_lockAttribute. Whoever creates a value here destroys it through the handle, with the matching operation.
class DB2_API ValueHandle : public ConstValueHandle
{
public:
    ValueHandle() = default;

    [[nodiscard]] void* getData() const { return value_; }

    // --- Unchecked access, as in the base ---

    [[nodiscard]] int& getInt() const { return get<int>(); } ///< of an Enum, too
    [[nodiscard]] bool& getBool() const { return get<bool>(); }
    [[nodiscard]] float& getFloat() const { return get<float>(); }
    [[nodiscard]] double& getDouble() const { return get<double>(); }
    [[nodiscard]] kqx::String& getString() const { return get<kqx::String>(); }
    [[nodiscard]] kqx::Colour& getColour() const { return get<kqx::Colour>(); }
    [[nodiscard]] kqx::Vector3& getVector3() const { return get<kqx::Vector3>(); }
    [[nodiscard]] kqx::Matrix& getMatrix() const { return get<kqx::Matrix>(); }
    [[nodiscard]] kqx::Quat& getQuat() const { return get<kqx::Quat>(); }
    [[nodiscard]] kqx::VertexBuffer& getVertexBuffer() const { return get<kqx::VertexBuffer>(); }
    [[nodiscard]] kqx::IntArray& getIntArray() const { return get<kqx::IntArray>(); }
    [[nodiscard]] kqx::BoolArray& getBoolArray() const { return get<kqx::BoolArray>(); }
    [[nodiscard]] kqx::ColourArray& getColourArray() const { return get<kqx::ColourArray>(); }
    [[nodiscard]] kqx::FloatArray& getFloatArray() const { return get<kqx::FloatArray>(); }
    [[nodiscard]] kqx::DoubleArray& getDoubleArray() const { return get<kqx::DoubleArray>(); }
    [[nodiscard]] kqx::StringArray& getStringArray() const { return get<kqx::StringArray>(); }
    [[nodiscard]] kqx::Vector3Array& getVector3Array() const { return get<kqx::Vector3Array>(); }
    [[nodiscard]] kqx::MatrixArray& getMatrixArray() const { return get<kqx::MatrixArray>(); }
    [[nodiscard]] kqx::QuatArray& getQuatArray() const { return get<kqx::QuatArray>(); }

    using ConstValueHandle::cast;
    template <AttributeValue T>
    void cast(T** out) const
    {
        *out = static_cast<T*>(value_);
    }

    // --- Writes: return false, changing nothing, when there is no value to write or memory is out ---

    /// Writes what @p from reads as in this value's type (see ConstValueHandle::compare): numbers convert, any other type
    /// that is not the same writes this type's default. Null has nothing to write, which is no failure.
    bool assign(const ConstValueHandle& from) const;

    /// Writes the type's default value.
    bool clearToDefault() const;

    /// Makes room for @p elements elements in an array type's value. @return false for every other type, too.
    bool reserve(std::size_t elements) const;

    /// Gives an array type's value @p elements elements; new ones hold the element type's default.
    /// @return false for every other type, too.
    bool resize(std::size_t elements) const;

    /// The same for a value of just the named type; new elements are copies of @p fill.
    bool resizeIntArray(std::size_t elements, int fill) const;
    bool resizeBoolArray(std::size_t elements, bool fill) const;
    bool resizeColourArray(std::size_t elements, const kqx::Colour& fill) const;
    bool resizeFloatArray(std::size_t elements, float fill) const;
    bool resizeDoubleArray(std::size_t elements, double fill) const;
    bool resizeStringArray(std::size_t elements, const kqx::String& fill) const;
    bool resizeVector3Array(std::size_t elements, const kqx::Vector3& fill) const;
    bool resizeMatrixArray(std::size_t elements, const kqx::Matrix& fill) const;
    bool resizeQuatArray(std::size_t elements, const kqx::Quat& fill) const;

    // --- Values on the heap: end with destroyAndFree() ---
    // The handle gets the type id in any case. Its pointer is null for Null, for an id that names no type, for a copy of
    // a null handle, and when memory is out.

    /// Makes a value that holds the type's default.
    static void create(AttributeTypeId typeId, ValueHandle& out);

    /// Makes a copy of @p from.
    static void create(const ConstValueHandle& from, ValueHandle& out);
    [[nodiscard]] static ValueHandle create(const ConstValueHandle& from);

    /// Destroys the value and frees its storage; the pointer becomes null. Ignores a null pointer.
    void destroyAndFree();

    // --- Values in a block of the caller's: end with destroy(), then free the block ---
    // Placed at the type's storage alignment. The pointer is also null, and nothing is taken, when too little is left.

    /// Makes a value that holds the type's default. @param out  may be null.
    static void create(AttributeTypeId typeId, MemoryResource& resource, ValueHandle* out);

    /// Makes a copy of @p from. @param out  may be null.
    static void create(const ConstValueHandle& from, MemoryResource& resource, ValueHandle* out);

    /// Makes a value in raw storage of the type's size and storage alignment. @param storage  null makes none.
    [[nodiscard]] static ValueHandle constructAt(void* storage, AttributeTypeId typeId);
    [[nodiscard]] static ValueHandle constructAt(void* storage, const ConstValueHandle& from);

    /// Writes the default of @p typeId into the raw storage that @p handle points to, if the type is a number, Bool, Enum
    /// or math type; leaves the storage alone for any other, whose values are constructed. The handle stays as it is.
    static void init(AttributeTypeId typeId, ValueHandle& handle);

    /// Ends the value: frees what a String, VertexBuffer or array owns, and nothing else. The handle stays as it is.
    void destroy();

protected:
    ValueHandle(void* value, AttributeTypeId typeId) : ConstValueHandle(value, typeId) {}

private:
    friend class Attribute;
    friend class AttributeArray;
    friend class CoreManager;
    friend class NodeMemory;
    friend class NodeTemplate;
};

/// A handle that owns its value: on the heap from the constructor to the destructor. The pointer is null when memory was
/// out; see ValueHandle::create.
class DB2_API DefaultValue : public ValueHandle
{
public:
    /// Holds the type's default.
    explicit DefaultValue(AttributeTypeId typeId);

    /// Holds what @p from reads as in the type; see ValueHandle::assign.
    DefaultValue(AttributeTypeId typeId, const ConstValueHandle& from);

    /// Holds a value of its own that equals the other's.
    DefaultValue(const DefaultValue& other);

    /// Copies the pointer and the type id as for any handle, deliberately: both objects then lead to the other's value,
    /// so only one of the two may be destroyed, and this one's former value is nobody's unless the caller kept a handle
    /// to it. To copy the value, use assign().
    DefaultValue& operator=(const DefaultValue& other) = default;

    ~DefaultValue();
};

} // namespace db2
