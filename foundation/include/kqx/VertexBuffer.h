#pragma once

#include <kqtl/Export.h>
#include <kqx/Array.h>
#include <kqx/String.h>

#include <cstddef>

namespace kqx {

/// Named streams of floats, one for each property of a mesh's vertices: positions, normals, texture coordinates. It
/// does not know the number of vertices: each stream's data says it, and the host keeps the streams in step.
/// One pointer wide, deep in copies, trivially relocatable; an empty one owns no heap memory.
/// Failures: as String and Array, std::length_error and std::bad_alloc with nothing changed. Threads: like any value.
class KQ_API VertexBuffer
{
public:
    // --- Streams, numbered in the order added ---

    /// Adds a stream without data. Names need not differ.
    /// @param name        null gives an empty name.
    /// @param components  floats per vertex.
    /// @return the stream's number. References to streams' data are no longer valid.
    unsigned int addStream(const wchar_t* name, unsigned int components);

    [[nodiscard]] unsigned int getStreamCount() const noexcept { return static_cast<unsigned int>(streams_.size()); }

    /// @return the name, valid until the buffer is edited; an empty text when there is no such stream.
    [[nodiscard]] const wchar_t* getStreamName(unsigned int index) const noexcept;

    /// @return floats per vertex; 0 when there is no such stream.
    [[nodiscard]] unsigned int getStreamComponents(unsigned int index) const noexcept;

    /// The data: components x vertex count floats, vertex by vertex.
    /// @param index  below getStreamCount().
    [[nodiscard]] FloatArray& getStream(unsigned int index) noexcept { return streams_[index].data; }
    [[nodiscard]] const FloatArray& getStream(unsigned int index) const noexcept { return streams_[index].data; }

    /// The data as text: floats with six significant digits ("%g"), separated by one blank; empty without data and when
    /// there is no such stream.
    [[nodiscard]] String getStreamText(unsigned int index) const;

    /// Removes all streams and frees their memory.
    void clear() noexcept { streams_.clear(); }

    /// Streams in order, each with its name, components and data; a NaN makes a buffer unequal to itself.
    friend bool operator==(const VertexBuffer& a, const VertexBuffer& b) noexcept { return a.streams_ == b.streams_; }

private:
    struct Stream
    {
        String name;
        FloatArray data;
        unsigned int components;

        friend bool operator==(const Stream& a, const Stream& b) noexcept
        {
            return a.components == b.components && a.name == b.name && a.data == b.data;
        }
    };

    Array<Stream> streams_;
};

static_assert(sizeof(VertexBuffer) == sizeof(void*), "values and records count on the size");

} // namespace kqx
