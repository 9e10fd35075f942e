#pragma once

#include "ValueComparison.h"

#include <db2/Node.h>

#include <string>
#include <unordered_map>

namespace kqdb {

class TreeWalk;

/// One difference between two documents, as TreeDifference finds it. The paths and elements of both are the same where they
/// are in both.
struct Difference
{
    enum class Kind
    {
        kNodeRemoved, ///< with everything below it; only `a`
        kNodeAdded,   ///< with everything below it; only `b`
        kNodeType,    ///< another type or module
        kOrder,       ///< the children that both have stand in another order
        kElementRemoved,
        kElementAdded,
        kDefinition, ///< what an element is: its type, or what a dynamic one says about itself
        kValue,
        kReference ///< what an attribute takes its value from
    };

    Kind kind;
    std::wstring path;
    const db2::Node* a = nullptr;
    const db2::Node* b = nullptr;
    const db2::Element* elementA = nullptr;
    const db2::Element* elementB = nullptr;
};

/// Receives differences, in the order of the first tree.
class DifferenceTaker
{
public:
    virtual void take(const Difference& difference) = 0;

protected:
    ~DifferenceTaker() = default;
};

/// Compares two trees: nodes by their paths, elements by their names. Computed attributes follow from others and are left
/// out, and so are the values that references show. No recursion; cost and memory in proportion to the nodes, elements
/// and values.
class TreeDifference
{
public:
    struct Options
    {
        double tolerance = 0;
        bool ignoresOrder = false;
        bool comparesComputed = false;
    };

    TreeDifference(const db2::Node& a, const db2::Node& b, const Options& options, DifferenceTaker& taker);

    void run();

private:
    void pairNodes();
    void compareNodes(const db2::Node& a, const db2::Node& b);
    void compareOrder(const db2::Node& a, const db2::Node& b);
    void compareElements(const db2::Node& a, const db2::Node& b);
    void compareElementsByName(const db2::Node& a, const db2::Node& b, bool isLegacy, unsigned int first);
    void compareElements(const db2::Element& a, const db2::Element& b);
    void compareAttributes(const db2::Attribute& a, const db2::Attribute& b);
    [[nodiscard]] bool isSameReference(const db2::Attribute* a, const db2::Attribute* b) const;
    [[nodiscard]] bool isLeftOut(const db2::Element& element) const;
    void report(Difference::Kind kind, const db2::Node* a, const db2::Node* b);
    void report(Difference::Kind kind, const db2::Element* a, const db2::Element* b);

    const db2::Node& a_;
    const db2::Node& b_;
    Options options_;
    ValueComparison values_;
    DifferenceTaker& taker_;
    const TreeWalk* walk_ = nullptr; ///< stands on the node of the first tree that is compared
    /// The nodes of the second tree by those of the first that have the same path: tells in constant time whether two
    /// references lead to the same place. Asked, never walked: its order is that of addresses.
    std::unordered_map<const db2::Node*, const db2::Node*> partners_;
};

} // namespace kqdb
