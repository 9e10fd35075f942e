#include <kqx/VertexBuffer.h>

#include <kqx/NumberText.h>

namespace kqx {

unsigned int VertexBuffer::addStream(const wchar_t* name, unsigned int components)
{
    const unsigned int index = getStreamCount();
    streams_.push_back(Stream{String(name), FloatArray(), components});
    return index;
}

const wchar_t* VertexBuffer::getStreamName(unsigned int index) const noexcept
{
    return index < getStreamCount() ? streams_[index].name.c_str() : L"";
}

unsigned int VertexBuffer::getStreamComponents(unsigned int index) const noexcept
{
    return index < getStreamCount() ? streams_[index].components : 0;
}

String VertexBuffer::getStreamText(unsigned int index) const
{
    String text;
    if (index >= getStreamCount())
        return text;
    for (const float number : streams_[index].data)
    {
        if (!text.empty())
            text += L' ';
        appendNumber(text, number);
    }
    return text;
}

} // namespace kqx
