#include "ValueComparison.h"

#include <db2/EnumAttributeMetaData.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kqdb {
namespace {

/// The text of an Enum's choice; empty for a number that names none.
std::wstring_view choiceOf(const db2::Attribute& attribute)
{
    const auto& choices = static_cast<const db2::EnumAttributeMetaData&>(*attribute.getMetaData());
    const int choice = attribute.getValue().asInt();
    const bool isChoice = choice >= 0 && static_cast<unsigned int>(choice) < choices.getNumChoices();
    return isChoice ? choices.getChoice(static_cast<unsigned int>(choice)) : std::wstring_view();
}

} // namespace

bool ValueComparison::isSame(const db2::Attribute& a, const db2::Attribute& b) const
{
    if (a.getTypeId() != b.getTypeId())
        return false;
    if (a.getTypeId() == db2::AttributeType::kEnum && a.getMetaData() != b.getMetaData())
    {
        const std::wstring_view choice = choiceOf(a);
        return choice == choiceOf(b) && (!choice.empty() || a.getValue().asInt() == b.getValue().asInt());
    }
    return isSame(a.getValue(), b.getValue());
}

template <class Number>
bool ValueComparison::isSame(const Number* a, const Number* b, std::size_t count) const
{
    if (count == 0 || std::memcmp(a, b, count * sizeof(Number)) == 0)
        return true;
    if constexpr (std::is_floating_point_v<Number>)
    {
        if (tolerance_ <= 0)
            return false;
        for (std::size_t i = 0; i < count; ++i)
        {
            const bool isClose = std::fabs(static_cast<double>(a[i]) - static_cast<double>(b[i])) <= tolerance_;
            if (!isClose && std::memcmp(a + i, b + i, sizeof(Number)) != 0)
                return false;
        }
        return true;
    }
    return false;
}

template <class Array>
bool ValueComparison::isSameArray(const db2::ConstValueHandle& a, const db2::ConstValueHandle& b) const
{
    using Element = std::remove_cvref_t<decltype(std::declval<const Array&>()[0])>;
    const auto& left = *static_cast<const Array*>(a.getData());
    const auto& right = *static_cast<const Array*>(b.getData());
    if (left.size() != right.size())
        return false;
    if constexpr (std::is_arithmetic_v<Element>)
        return isSame(left.data(), right.data(), left.size());
    else // math values are floats that lie side by side
        return isSame(reinterpret_cast<const float*>(left.data()), reinterpret_cast<const float*>(right.data()),
                      left.size() * (sizeof(Element) / sizeof(float)));
}

bool ValueComparison::isSame(const kqx::VertexBuffer& a, const kqx::VertexBuffer& b) const
{
    if (a.getStreamCount() != b.getStreamCount())
        return false;
    for (unsigned int i = 0; i < a.getStreamCount(); ++i)
    {
        const kqx::FloatArray& left = a.getStream(i);
        const kqx::FloatArray& right = b.getStream(i);
        if (a.getStreamComponents(i) != b.getStreamComponents(i) ||
            std::wstring_view(a.getStreamName(i)) != b.getStreamName(i) || left.size() != right.size() ||
            !isSame(left.data(), right.data(), left.size()))
            return false;
    }
    return true;
}

bool ValueComparison::isSame(const db2::ConstValueHandle& a, const db2::ConstValueHandle& b) const
{
    using namespace db2::AttributeType;
    if (a.getTypeId() != b.getTypeId())
        return false;
    if (a.isNull() || b.isNull())
        return a.isNull() == b.isNull();
    const auto floats = [&](std::size_t count) {
        return isSame(static_cast<const float*>(a.getData()), static_cast<const float*>(b.getData()), count);
    };
    switch (a.getTypeId())
    {
    case kInt:
    case kEnum: return a.getInt() == b.getInt();
    case kBool: return a.getBool() == b.getBool();
    case kFloat: return floats(1);
    case kColour:
    case kVector3:
    case kQuat: return floats(4);
    case kMatrix: return floats(16);
    case kDouble: return isSame(&a.getDouble(), &b.getDouble(), 1);
    case kString: return a.getString() == b.getString();
    case kVertexBuffer: return isSame(a.getVertexBuffer(), b.getVertexBuffer());
    case kIntArray: return isSameArray<kqx::IntArray>(a, b);
    case kBoolArray: return isSameArray<kqx::BoolArray>(a, b);
    case kFloatArray: return isSameArray<kqx::FloatArray>(a, b);
    case kDoubleArray: return isSameArray<kqx::DoubleArray>(a, b);
    case kStringArray: return a.getStringArray() == b.getStringArray();
    case kColourArray: return isSameArray<kqx::ColourArray>(a, b);
    case kVector3Array: return isSameArray<kqx::Vector3Array>(a, b);
    case kMatrixArray: return isSameArray<kqx::MatrixArray>(a, b);
    case kQuatArray: return isSameArray<kqx::QuatArray>(a, b);
    case kNull:
    case kNoType: break;
    }
    return true;
}

} // namespace kqdb
