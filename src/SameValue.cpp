#include "SameValue.h"

#include "ValueTypes.h"

#include <cstring>
#include <cwchar>

namespace db2 {
namespace {

template <class T>
bool sameBytes(const T* a, const T* b, std::size_t count)
{
    static_assert(kIsPlainData<T>);
    return count == 0 || std::memcmp(a, b, count * sizeof(T)) == 0;
}

/// Vectors are compared without their padding.
bool same(const kqx::Vector3& a, const kqx::Vector3& b)
{
    return sameBytes(&a.x, &b.x, 1) && sameBytes(&a.y, &b.y, 1) && sameBytes(&a.z, &b.z, 1);
}

bool same(const kqx::String& a, const kqx::String& b)
{
    return a == b;
}

bool same(const kqx::VertexBuffer& a, const kqx::VertexBuffer& b)
{
    if (a.getStreamCount() != b.getStreamCount())
        return false;
    for (unsigned int i = 0; i < a.getStreamCount(); ++i)
    {
        const kqx::FloatArray& floats = a.getStream(i);
        const kqx::FloatArray& others = b.getStream(i);
        if (std::wcscmp(a.getStreamName(i), b.getStreamName(i)) != 0 ||
            a.getStreamComponents(i) != b.getStreamComponents(i) || floats.size() != others.size() ||
            !sameBytes(floats.data(), others.data(), floats.size()))
            return false;
    }
    return true;
}

template <class T>
bool same(const T& a, const T& b)
{
    return sameBytes(&a, &b, 1);
}

template <class T>
bool same(const kqx::Array<T>& a, const kqx::Array<T>& b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!same(a[i], b[i]))
            return false;
    return true;
}

} // namespace

bool hasSameBits(const ConstValueHandle& a, const ConstValueHandle& b)
{
    if (a.getTypeId() != b.getTypeId() || a.isNull() != b.isNull())
        return false;
    if (a.isNull())
        return true;
    return visitType(a.getTypeId(), [&](auto type) {
        using T = TypeOf<decltype(type)>;
        if constexpr (std::is_void_v<T>)
            return true;
        else
            return same(*static_cast<const T*>(a.getData()), *static_cast<const T*>(b.getData()));
    });
}

bool differsFromDefault(const Attribute& attribute)
{
    const ConstValueHandle value = attribute.getValue();
    const ConstValueHandle defaultValue = attribute.getDefaultValue();
    // The bits first, which tell the most; a reference may show a value of another type, which has no bits to compare.
    return (value.getTypeId() == defaultValue.getTypeId() && !hasSameBits(value, defaultValue)) ||
           !value.compare(defaultValue);
}

} // namespace db2
