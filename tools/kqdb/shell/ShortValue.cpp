#include "ShortValue.h"

#include "ElementText.h"
#include "Text.h"

namespace kqdb {
namespace {

constexpr std::size_t kMostListed = 32; // elements of a value that are worth a look one by one

std::string streamsText(const kqx::VertexBuffer& buffer)
{
    std::string text;
    for (unsigned int i = 0; i < buffer.getStreamCount() && i < kMostListed; ++i)
        text += (i == 0 ? "" : ", ") + visible(buffer.getStreamName(i)) + " of " +
                grouped(buffer.getStreamComponents(i) != 0 ? buffer.getStream(i).size() / buffer.getStreamComponents(i)
                                                           : 0);
    return text.empty() ? "no streams" : text;
}

} // namespace

std::string shortValueText(const db2::Element& element, std::size_t characters)
{
    if (element.isAttributeArray())
    {
        const unsigned int size = static_cast<const db2::AttributeArray&>(element).getSize();
        if (size > kMostListed)
            return counted(size, "item");
    }
    else
    {
        const db2::ConstValueHandle value = static_cast<const db2::Attribute&>(element).getValue();
        if (value.getTypeId() == db2::AttributeType::kVertexBuffer)
            return streamsText(value.asVertexBuffer());
        if (value.getSize() > kMostListed)
            return counted(value.getSize(), "element");
    }
    return shortened(visible(toWide(valueText(element))), characters);
}

} // namespace kqdb
