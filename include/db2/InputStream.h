#pragma once

#include <db2/Export.h>
#include <db2/FileOpenMode.h>
#include <db2/MemoryBlock.h>

#include <cstdint>
#include <memory>

namespace db2 {

/// Where a loader reads from. A stream that could not be opened says so through isOK() and in the log; reading past the
/// end gives fewer bytes, never an error. Copies share the file or block, each with a position of its own.
/// Threads: one at a time.
class DB2_API InputStream
{
public:
    virtual ~InputStream();

    /// Copies the next bytes. @return how many there were, up to @p bytes; 0 for a null buffer.
    virtual unsigned int read(char* buffer, unsigned int bytes) = 0;

    /// The whole content at once, wherever reading is, without copying.
    /// @param size  receives its bytes; left alone when there is no content.
    /// @return null when there is none; valid as long as the stream.
    virtual const char* getData(unsigned int& size) = 0;

    [[nodiscard]] virtual bool isOK() = 0;

    /// Reads 16-bit units, little-endian, each into a character of its own, also where two are a surrogate pair.
    /// @return how many; an odd byte at the end is read and not counted.
    unsigned int read(wchar_t* buffer, unsigned int characters);

    /// How many bytes the whole content has, wherever reading is. A stream that gets its content with effort overrides it,
    /// the base asks getData().
    /// @return false, leaving @p size alone, when there is no content.
    [[nodiscard]] virtual bool getSize(unsigned int& size); // the last virtual operation: it came last

protected:
    InputStream() = default;
    InputStream(const InputStream&) = default;
    InputStream& operator=(const InputStream&) = default;
};

/// Has no content and is always OK: for loaders that read nothing.
class DB2_API NullInputStream : public InputStream
{
public:
    using InputStream::read;
    unsigned int read(char* buffer, unsigned int bytes) override;
    const char* getData(unsigned int& size) override;
    [[nodiscard]] bool isOK() override;
};

/// Reads a memory block.
class DB2_API MemoryInputStream : public InputStream
{
public:
    /// @param block  outlives the stream; may still grow.
    explicit MemoryInputStream(const MemoryBlock& block);

    using InputStream::read;
    unsigned int read(char* buffer, unsigned int bytes) override;
    const char* getData(unsigned int& size) override;
    [[nodiscard]] bool isOK() override; ///< false when the block found no memory

private:
    const MemoryBlock* block_;
    std::uint32_t position_ = 0;
};

/// Reads a file, piece by piece; getData() takes memory for all of it, once. (Where nobody else can cut a mapped file
/// short, on Windows, it is mapped.) Not OK: a file that is missing or may not be read, a directory, an empty file, one of
/// 4 GiB or more, and one of which a read has failed; the first step that failed is logged as an error, with the path and
/// the system's text.
class DB2_API FileInputStream : public InputStream
{
public:
    /// @param mode  has no effect on reading: bytes come as they stand.
    FileInputStream(const wchar_t* path, FileOpenMode mode);

    using InputStream::read;
    unsigned int read(char* buffer, unsigned int bytes) override;
    const char* getData(unsigned int& size) override;
    [[nodiscard]] bool isOK() override;
    [[nodiscard]] bool getSize(unsigned int& size) override; ///< costs nothing

private:
    std::shared_ptr<class FileContent> content_; ///< null when a step failed; shared by the copies
    std::uint32_t position_ = 0;
};

} // namespace db2
