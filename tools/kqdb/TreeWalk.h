#pragma once

#include <db2/AttributeArray.h>
#include <db2/Node.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Paths of the nodes and attributes of a document, and the walk through its tree.
namespace kqdb {

class Document;

/// The library writes paths of up to so many names.
inline constexpr unsigned int kMostNames = 511;

/// The path of a node, an attribute, an array or an item of one. What is too deep for a path, which only a machine can
/// have made, is named by what the path would end with: "...|bone 4098|bone 4099". Cost: up to kMostNames steps.
[[nodiscard]] std::wstring pathOf(const db2::Node& node);
[[nodiscard]] std::wstring pathOf(const db2::Element& element);

/// Appends to the path of a node what leads to one of its elements: ".length", ":points" or ":points[3]".
void appendElement(std::wstring& path, const db2::Element& element);

/// What a path from the command line leads to.
struct Target
{
    db2::Node* node = nullptr; ///< never null: with an element, the element's
    db2::Attribute* attribute = nullptr;
    db2::AttributeArray* array = nullptr;

    [[nodiscard]] db2::Element* element() const
    {
        return attribute != nullptr ? static_cast<db2::Element*>(attribute) : array;
    }
};

/// Follows a path as docs/paths.md has them; "|" and the empty text lead to the root, and a bar in front may be missing.
/// Legacy elements are found, too. Throws Failure with what is wrong.
[[nodiscard]] Target resolve(Document& document, const std::string& path);
[[nodiscard]] db2::Node& resolveNode(Document& document, const std::string& path);

/// Walks a node and everything below it in pre-order, knowing the depth and the path of each node. No recursion, and
/// constant time a step beyond what the path's text takes.
class TreeWalk
{
public:
    explicit TreeWalk(const db2::Node& start);

    /// The first call goes to the start. @return false at the end.
    bool next();
    void skipChildren() { skipsChildren_ = true; } ///< of the current node, at the next step

    [[nodiscard]] const db2::Node& node() const { return *node_; }
    [[nodiscard]] unsigned int depth() const { return depth_; } ///< 0 for the start
    [[nodiscard]] std::wstring path() const;                    ///< as pathOf()

private:
    void descend(const db2::Node& child);
    void ascend();

    const db2::Node* start_;
    const db2::Node* node_ = nullptr;
    unsigned int depth_ = 0;
    bool skipsChildren_ = false;
    std::wstring path_;             ///< of the current node, as far as it has one
    bool startHasPath_;             ///< behind the path, which it is found out with
    std::vector<std::size_t> ends_; ///< of path_, without its last names: where the path of each ancestor ends
};

} // namespace kqdb
