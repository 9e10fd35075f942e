#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace db2 {
class Node;
class NodeTemplate;
} // namespace db2

namespace db2::json {

/// What every node of a type says alike, as it stands in the document, so that it is made once and then copied. Only what
/// is plain text is kept. Valid while no template changes. Throws std::bad_alloc.
class TemplateTexts
{
public:
    struct Entry
    {
        std::string text;      ///< the element's name and type, with the comma between
        std::size_t nameBytes; ///< of it the name
    };
    struct Texts
    {
        std::string type;           ///< its name; empty when it is not plain
        std::string module;         ///< likewise
        std::vector<Entry> entries; ///< by element; empty likewise
    };

    /// @return null for an unknown node, whose template is its own.
    [[nodiscard]] const Texts* find(const Node& node);

private:
    std::unordered_map<const NodeTemplate*, Texts> known_; ///< asked, never walked: its order is that of addresses
    const NodeTemplate* last_ = nullptr;
    const Texts* lastTexts_ = nullptr;
};

} // namespace db2::json
