#pragma once

#include <db2/AttributeTypeId.h>
#include <db2/Export.h>
#include <db2/MemoryFormat.h>

#include <kqx/Array.h>
#include <kqx/Colour.h>
#include <kqx/Matrix.h>
#include <kqx/Quat.h>
#include <kqx/String.h>
#include <kqx/Vector3.h>
#include <kqx/VertexBuffer.h>

namespace db2 {

/// What is true of every value of a type: name, size, alignment, default value. Static facts only; values themselves are
/// reached through ConstValueHandle and ValueHandle. Every question may be asked of every id, also of one that names no
/// type; each is answered in constant time, and from any thread.
class DB2_API ValueInfo
{
public:
    ValueInfo() = delete;

    // --- Facts about a type ---

    /// The type's name, "Int" to "QuatArray", as saved data and messages use it; null for an id that names no type.
    [[nodiscard]] static const wchar_t* getTypeName(AttributeTypeId typeId);

    /// 16 for Colour, Vector3, Matrix and Quat, else 4. The same on every platform, so that layouts are; where a value
    /// is placed in memory, ask getStorageAlignment().
    [[nodiscard]] static unsigned int getAlignment(AttributeTypeId typeId);

    /// The alignment at which a value is placed: getAlignment(), or what the C++ type asks for on this platform when that
    /// is more (8 for a Double or a String on a 64-bit one).
    [[nodiscard]] static unsigned int getStorageAlignment(AttributeTypeId typeId);

    /// Bytes of one value, and getAlignment(). The same on every platform, but for the sizes of the String, array and
    /// VertexBuffer objects; 0 bytes for Null and for an id that names no type.
    [[nodiscard]] static MemoryFormat getMemoryRequirements(AttributeTypeId typeId);

    /// Bytes from one value to the next in an attribute array: the size rounded up to a multiple of getAlignment().
    [[nodiscard]] static unsigned int getStride(AttributeTypeId typeId);

    /// True for the types whose value is itself an array (IntArray to QuatArray).
    [[nodiscard]] static bool isArray(AttributeTypeId typeId);

    /// True for the types whose values may be copied as bytes: numbers, Bool, Enum and the math types.
    [[nodiscard]] static bool isPODType(AttributeTypeId typeId);

    // --- Default values: what a fresh value holds, and what a read of another type's value gives ---

    [[nodiscard]] static const kqx::Colour& getDefaultColour() { return m_defaultColour; }        ///< all components 0
    [[nodiscard]] static const kqx::String& getDefaultString() { return m_defaultString; }        ///< empty
    [[nodiscard]] static const kqx::Vector3& getDefaultVector3() { return m_defaultVector3; }     ///< zero
    [[nodiscard]] static const kqx::Matrix& getDefaultMatrix() { return m_defaultMatrix; }        ///< identity
    [[nodiscard]] static const kqx::Quat& getDefaultQuat() { return m_defaultQuat; }              ///< identity
    [[nodiscard]] static const kqx::IntArray& getDefaultIntArray() { return m_defaultVectorInt; } ///< as all: empty
    [[nodiscard]] static const kqx::BoolArray& getDefaultBoolArray() { return m_defaultVectorBool; }
    [[nodiscard]] static const kqx::ColourArray& getDefaultColourArray() { return m_defaultVectorColour; }
    [[nodiscard]] static const kqx::FloatArray& getDefaultFloatArray() { return m_defaultVectorFloat; }
    [[nodiscard]] static const kqx::DoubleArray& getDefaultDoubleArray() { return m_defaultVectorDouble; }
    [[nodiscard]] static const kqx::StringArray& getDefaultStringArray() { return m_defaultVectorString; }
    [[nodiscard]] static const kqx::Vector3Array& getDefaultVector3Array() { return m_defaultVectorVector3; }
    [[nodiscard]] static const kqx::MatrixArray& getDefaultMatrixArray() { return m_defaultVectorMatrix; }
    [[nodiscard]] static const kqx::QuatArray& getDefaultQuatArray() { return m_defaultVectorQuat; }
    [[nodiscard]] static const kqx::VertexBuffer& getDefaultVertexBuffer() { return m_defaultVertexBuffer; } ///< empty

private:
    static const kqx::Colour m_defaultColour;
    static const kqx::String m_defaultString;
    static const kqx::Vector3 m_defaultVector3;
    static const kqx::Matrix m_defaultMatrix;
    static const kqx::Quat m_defaultQuat;
    static const kqx::IntArray m_defaultVectorInt;
    static const kqx::BoolArray m_defaultVectorBool;
    static const kqx::ColourArray m_defaultVectorColour;
    static const kqx::FloatArray m_defaultVectorFloat;
    static const kqx::DoubleArray m_defaultVectorDouble;
    static const kqx::StringArray m_defaultVectorString;
    static const kqx::Vector3Array m_defaultVectorVector3;
    static const kqx::MatrixArray m_defaultVectorMatrix;
    static const kqx::QuatArray m_defaultVectorQuat;
    static const kqx::VertexBuffer m_defaultVertexBuffer;
};

} // namespace db2
