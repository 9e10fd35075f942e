#pragma once

#include <db2host/Session.h>

#include <db2/MemoryBlock.h>

#include <string>

namespace kqdb {

/// All of a document at one moment: the bytes of a save of everything, computed values included, and a text of each node,
/// element, value and reference with what a save leaves out. Two equal states are the same document to the last bit.
class DocumentState
{
public:
    /// Throws Failure when the document cannot be saved.
    explicit DocumentState(db2host::Session& session);

    friend bool operator==(const DocumentState& a, const DocumentState& b)
    {
        return a.bytes_ == b.bytes_ && a.dump_ == b.dump_;
    }

    [[nodiscard]] std::size_t byteCount() const { return bytes_.getUsedSize(); }

    /// What the bytes add up to, as sixteen hexadecimal digits: to tell states apart without keeping them.
    [[nodiscard]] std::string fingerprint() const;

private:
    db2::MemoryBlock bytes_;
    std::string dump_;
};

} // namespace kqdb
