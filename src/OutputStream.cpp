#include <db2/OutputStream.h>

#include "OutOfMemory.h"
#include "platform/Files.h"

#include <db2/Library.h>

#include <kqx/NumberText.h>
#include <kqx/UTF8.h>
#include <kqx/Utf16.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <functional>
#include <limits>
#include <new>
#include <utility>

namespace db2 {
namespace {

constexpr std::uint64_t kMostBytes = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t kBytesOnStack = 4096;
constexpr int kMostTemporaryNames = 1000;
constexpr std::size_t kTemporaryNameCharacters = 48; // of the file's, so that what is appended fits behind any name

/// Room for a converted text: on the stack when it is short.
class ConversionBuffer
{
public:
    /// @return null when memory is out.
    char* reserve(std::size_t bytes)
    {
        if (bytes <= onStack_.size())
            return onStack_.data();
        onHeap_.reset(new (std::nothrow) char[bytes]);
        return onHeap_.get();
    }

private:
    std::array<char, kBytesOnStack> onStack_;
    std::unique_ptr<char[]> onHeap_;
};

void toLittleEndian(const wchar_t* text, std::size_t characters, char* out)
{
    kqx::forEachUtf16Unit(text, characters, [&out](std::uint16_t unit) {
        *out++ = static_cast<char>(unit & 0xFF);
        *out++ = static_cast<char>(unit >> 8);
    });
}

void logMemoryIsOut(const wchar_t* path)
{
    logError(L"Memory is out while file '%s' is opened for writing", path);
}

} // namespace

// --- OutputStream ---

OutputStream::~OutputStream() = default;

bool OutputStream::write(const wchar_t* text, unsigned int characters)
{
    return text != nullptr && writeText(text, characters);
}

bool OutputStream::write(const wchar_t* text)
{
    return text != nullptr && writeText(text, std::wcslen(text));
}

bool OutputStream::write(const char* text)
{
    const std::size_t bytes = text != nullptr ? std::strlen(text) : 0;
    return text != nullptr && bytes <= kMostBytes && write(text, static_cast<unsigned int>(bytes));
}

bool OutputStream::writeText(const wchar_t* text, std::size_t characters)
{
    const bool isUtf8 = encoding_ == OutputStreamEncoding::kUtf8;
    const std::uint64_t bytes =
        isUtf8 ? kqx::UTF8Length(text, characters) : 2 * std::uint64_t{kqx::utf16Length(text, characters)};
    if (bytes > kMostBytes)
        return false;
    ConversionBuffer buffer;
    char* const converted = buffer.reserve(static_cast<std::size_t>(bytes));
    if (converted == nullptr)
        return false;
    if (isUtf8)
        kqx::UTF8FromUCS2(text, characters, converted);
    else
        toLittleEndian(text, characters, converted);
    return write(converted, static_cast<unsigned int>(bytes));
}

// --- MemoryOutputStream ---

MemoryOutputStream::MemoryOutputStream(MemoryBlock& block, OutputStreamEncoding encoding)
    : OutputStream(encoding), block_(&block)
{
}

bool MemoryOutputStream::isOK()
{
    return block_->getData() != nullptr;
}

bool MemoryOutputStream::write(const char* bytes, unsigned int count)
{
    if (bytes == nullptr)
        return false;
    const std::less<> isBefore; // also of pointers into different blocks
    const char* const data = block_->getData();
    const bool isOwn = data != nullptr && !isBefore(bytes, data) && isBefore(bytes, data + block_->getUsedSize());
    const std::size_t offset = isOwn ? static_cast<std::size_t>(bytes - data) : 0;
    if (!block_->ensureSpace(count))
        return false;
    if (count != 0) // the block's own bytes have moved with it; those up to the end of the used ones may overlap
        std::memmove(block_->getInsertionPoint(), isOwn ? block_->getData() + offset : bytes, count);
    block_->incrementUsedSize(count);
    return true;
}

// --- FileOutputStream ---

/// A file that is being written, and whether everything arrived so far.
class OutputFile
{
public:
    OutputFile() = default;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile() { close(); }

    /// Once. @return false, with the system's last error set, on failure.
    [[nodiscard]] bool open(const wchar_t* path, bool asText, Creation creation)
    {
        file_ = openForWriting(path, asText, creation);
        return file_ != nullptr;
    }

    [[nodiscard]] std::FILE* get() const { return file_; }
    [[nodiscard]] bool isOK() const { return file_ != nullptr && !failed_; }

    bool write(const char* bytes, unsigned int count)
    {
        if (file_ == nullptr || bytes == nullptr)
            return false;
        const bool written = std::fwrite(bytes, 1, count, file_) == count;
        failed_ = failed_ || !written;
        return written;
    }

    bool close()
    {
        if (file_ == nullptr)
            return false;
        failed_ = std::fclose(file_) != 0 || failed_;
        file_ = nullptr;
        return !failed_;
    }

private:
    std::FILE* file_ = nullptr; ///< null when closed or never opened
    bool failed_ = false;
};

FileOutputStream::FileOutputStream(const wchar_t* path, FileOpenMode mode, OutputStreamEncoding encoding)
    : OutputStream(encoding)
{
    std::shared_ptr<OutputFile> file;
    if (!succeeds([&] { file = std::make_shared<OutputFile>(); })) // first: opening empties the file
        logMemoryIsOut(path);
    else if (file->open(path, mode == FileOpenMode::kText, Creation::kTruncate))
        file_ = std::move(file);
    else
        logLastWindowsError(L"Writing file '%s', opening it in FileOutputStream", path);
}

bool FileOutputStream::isOK()
{
    return file_ != nullptr && file_->isOK();
}

bool FileOutputStream::write(const char* bytes, unsigned int count)
{
    return file_ != nullptr && file_->write(bytes, count);
}

bool FileOutputStream::close()
{
    return file_ != nullptr && file_->close();
}

// --- AtomicFileOutputStream ---

/// A temporary file beside the one that it is to replace, which it removes at its end unless it has replaced it.
class ReplacementFile
{
public:
    /// Throws std::bad_alloc.
    ReplacementFile(const wchar_t* path, bool asText) : target_(followLinks(path))
    {
        if (const wchar_t* const failed = checkReplaceable(target_.c_str()))
            logFailure(failed);
        else if (create(asText))
            copyPermissions(target_.c_str(), file_.get());
        else
            logFailure(L"creating a temporary file");
    }
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;
    ~ReplacementFile() { discard(); }

    [[nodiscard]] bool isOK() const { return file_.isOK(); }

    bool write(const char* bytes, unsigned int count)
    {
        const bool wasOK = file_.isOK();
        const bool written = file_.write(bytes, count);
        if (wasOK && !file_.isOK())
            logFailure(L"writing");
        return written;
    }

    bool commit()
    {
        bool done = file_.isOK();
        if (done && !flushToDisk(file_.get()))
        {
            logFailure(L"flushing");
            done = false;
        }
        done = file_.close() && done;
        if (done && !replaceFile(temporary_.c_str(), target_.c_str()))
        {
            logFailure(L"renaming");
            done = false;
        }
        if (done)
            temporary_.clear();
        discard();
        return done;
    }

private:
    /// Tries one name after the other, so that a file that a crash left is neither used nor in the way.
    [[nodiscard]] bool create(bool asText)
    {
        const std::size_t characters = std::min(target_.size(), findFileName(target_) + kTemporaryNameCharacters);
        for (int i = 0; i < kMostTemporaryNames; ++i)
        {
            temporary_.assign(target_.c_str(), characters);
            temporary_ += L".saving";
            kqx::appendNumber(temporary_, i);
            if (file_.open(temporary_.c_str(), asText, Creation::kNew))
                return true;
            if (!lastErrorIsFileExists())
                break;
        }
        temporary_.clear();
        return false;
    }

    void discard()
    {
        file_.close();
        if (!temporary_.empty())
            removeFile(temporary_.c_str());
        temporary_.clear();
    }

    void logFailure(const wchar_t* step) const
    {
        logLastWindowsError(L"Writing file '%s', %s in AtomicFileOutputStream", target_.c_str(), step);
    }

    kqx::String target_;
    kqx::String temporary_; ///< empty when there is none, or none any more
    OutputFile file_;
};

AtomicFileOutputStream::AtomicFileOutputStream(const wchar_t* path, FileOpenMode mode, OutputStreamEncoding encoding)
    : OutputStream(encoding)
{
    if (!succeeds([&] { file_ = std::make_shared<ReplacementFile>(path, mode == FileOpenMode::kText); }))
        logMemoryIsOut(path);
}

bool AtomicFileOutputStream::isOK()
{
    return file_ != nullptr && file_->isOK();
}

bool AtomicFileOutputStream::write(const char* bytes, unsigned int count)
{
    return file_ != nullptr && file_->write(bytes, count);
}

bool AtomicFileOutputStream::commit()
{
    return file_ != nullptr && file_->commit();
}

} // namespace db2
