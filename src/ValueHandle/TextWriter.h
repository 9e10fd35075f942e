#pragma once

#include <db2/ValueInfo.h>

#include <kqx/NumberText.h>

#include <initializer_list>
#include <string_view>

namespace db2 {

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

} // namespace db2
