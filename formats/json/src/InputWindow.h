#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace db2 {
class InputStream;
}

namespace db2::json {

/// The piece of a stream's content that is being read, and the place of what is in it within the whole. Behind its end
/// stands a null character, so that who looks for the end of something need not look for the end of the window, too.
/// Memory: 64 KiB, and more only while what is to be kept at once is longer. Throws std::bad_alloc.
class InputWindow
{
public:
    /// @param stream  outlives the window; a byte order mark in front is passed over.
    explicit InputWindow(InputStream& stream);

    [[nodiscard]] const char* begin() const { return begin_; }
    [[nodiscard]] const char* end() const { return end_; }

    /// Drops what stands before @p keep and reads what follows the end. What is kept then stands at begin().
    /// @return false when nothing follows; what is kept may have moved all the same.
    [[nodiscard]] bool advance(const char* keep);

    /// "Line 12, column 9" for a place within the window; counted from 1, columns in characters.
    [[nodiscard]] std::wstring describe(const char* place) const;

private:
    void forget(const char* upTo);
    void moveToFront(std::size_t kept);

    InputStream& stream_;
    std::unique_ptr<char[]> bytes_;
    std::size_t capacity_ = 0; ///< of bytes_, without the null character
    const char* begin_ = nullptr;
    const char* end_ = nullptr;

    // Of what has been dropped
    std::size_t lines_ = 0;
    std::size_t columns_ = 0; ///< characters of its last line
};

} // namespace db2::json
