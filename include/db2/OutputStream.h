#pragma once

#include <db2/Export.h>
#include <db2/FileOpenMode.h>
#include <db2/MemoryBlock.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace db2 {

/// What wide text becomes when it is written. Neither puts a byte order mark in front.
enum class OutputStreamEncoding : std::uint32_t
{
    kUtf16 = 0, ///< its 16-bit units, little-endian on every platform; unpaired surrogates as they stand
    kUtf8 = 1   ///< UTF-8; unpaired surrogates as U+FFFD
};

/// Where a saver writes to. A stream that could not be opened, or that lost a write, says so through isOK(). Copies
/// share the file or block. Threads: one at a time.
class DB2_API OutputStream
{
public:
    virtual ~OutputStream();

    [[nodiscard]] virtual bool isOK() = 0;

    /// @return true when all bytes were written; false for null bytes.
    virtual bool write(const char* bytes, unsigned int count) = 0;

    [[nodiscard]] OutputStreamEncoding getEncoding() const { return encoding_; }

    // --- Text, each by one call of write(bytes, count), whose result they return ---
    // False, writing nothing, also for a null text, when memory is out, and for what 32 bits cannot count.

    /// Writes wide text in the stream's encoding. Up to some KiB need no memory from the heap.
    bool write(const wchar_t* text, unsigned int characters);
    /// The same up to the null character, which is not written.
    bool write(const wchar_t* text);
    /// Writes narrow text as it stands, whatever the encoding, up to the null character, which is not written.
    bool write(const char* text);

protected:
    explicit OutputStream(OutputStreamEncoding encoding) : encoding_(encoding) {}
    OutputStream(const OutputStream&) = default;
    OutputStream& operator=(const OutputStream&) = default;

private:
    bool writeText(const wchar_t* text, std::size_t characters);

    OutputStreamEncoding encoding_;
};

/// Appends to a memory block.
class DB2_API MemoryOutputStream : public OutputStream
{
public:
    /// @param block  outlives the stream.
    MemoryOutputStream(MemoryBlock& block, OutputStreamEncoding encoding);

    [[nodiscard]] bool isOK() override; ///< false when the block found no memory
    using OutputStream::write;
    /// False also when the block cannot grow; its bytes stay.
    bool write(const char* bytes, unsigned int count) override;

private:
    MemoryBlock* block_;
};

/// Writes a file from its beginning; what it held is lost at once. To keep it until the new content is complete, use
/// AtomicFileOutputStream. What keeps it from being opened is logged as an error, with the path and the system's text.
class DB2_API FileOutputStream : public OutputStream
{
public:
    /// @param path  null and empty name no file.
    FileOutputStream(const wchar_t* path, FileOpenMode mode, OutputStreamEncoding encoding);

    /// False when the file could not be opened, is closed, or a write failed.
    [[nodiscard]] bool isOK() override;
    using OutputStream::write;
    bool write(const char* bytes, unsigned int count) override;

    /// Writes out what is buffered and closes the file, for all copies. Else the last copy's destructor does.
    /// @return true when everything that was ever written arrived at the system; false when already closed.
    bool close();

private:
    std::shared_ptr<class OutputFile> file_; ///< null when it could not be opened; shared by the copies
};

/// Writes a file that replaces another only when it is complete: into a temporary file in the same folder, which
/// commit() flushes to disk and renames. A crash, a full disk or a missing commit leaves the old file as it was.
/// A symbolic link keeps leading to its file, be it a new one, and the old file's permissions pass to the new one where
/// the platform has them. What cannot be replaced is told at once, the stream is not OK then: a folder, a device, a pipe, a
/// file that may not be written to. What failed is logged as an error, with the path and the system's text.
class DB2_API AtomicFileOutputStream : public OutputStream
{
public:
    /// @param path  null and empty name no file.
    AtomicFileOutputStream(const wchar_t* path, FileOpenMode mode, OutputStreamEncoding encoding);

    /// False when the file cannot be replaced or the temporary one not be made, when a write failed, and after commit().
    [[nodiscard]] bool isOK() override;
    using OutputStream::write;
    bool write(const char* bytes, unsigned int count) override;

    /// Puts the new content in the file's place; once, for all copies.
    /// @return false when anything that was written is missing, or at the second call: then the old file stays.
    bool commit();

private:
    std::shared_ptr<class ReplacementFile> file_; ///< null when memory was out; shared by the copies
};

} // namespace db2
