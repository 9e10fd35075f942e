#pragma once

#include <db2/ChangeManager.h>
#include <db2/Node.h>

#include <string>
#include <unordered_map>
#include <vector>

namespace db2test {

using namespace db2;

/// A copy of a tree that a host keeps up from nothing but change reports: it looks at no object that a report does not
/// name, except for the order of the children of a parent, and of the dynamic elements of a node, that a report names or
/// that got one.
/// Keeps structure, order, names, types, elements, sizes of arrays, references and values. Not the values of array items,
/// which reports do not name, nor own values of attributes that reference others, which nobody can read.
class MirrorTree : public DataObserver
{
public:
    /// Reads the tree as it is now.
    explicit MirrorTree(const Node* root);

    void onReportChanges(ChangeManager* manager, const ChangeSet& changes, bool transient) override;
    void onClear(ChangeManager* manager) override;

    /// A line a node and a line an element, in tree order; what contradicts itself has a "!" in its line. Two mirrors of
    /// equal trees have equal lines.
    [[nodiscard]] std::vector<std::wstring> lines() const;

private:
    struct MirrorElement
    {
        const Node* node = nullptr;
        std::wstring name;
        AttributeTypeId typeId = AttributeType::kNoType;
        bool isArray = false;
        unsigned int size = 0; ///< of an array
        std::wstring value;    ///< of an attribute
    };
    struct MirrorNode
    {
        std::wstring name;
        std::wstring typeName;
        const Node* parent = nullptr;
        std::vector<const Node*> children;
        std::vector<const Element*> templateElements;
        std::vector<const Element*> dynamicElements;
    };

    void addNode(const Node& node);
    void addElement(const Element& element);
    void dropNode(const Node& node);
    void dropDynamicElement(const Element& element);
    void leaveParent(const Node& node);
    void readChildren(const Node& parent);
    void readDynamicElements(const Node& node);
    void readReference(const Attribute& referencer);
    void readValue(const Attribute& attribute);
    [[nodiscard]] std::wstring pathOf(const Node* node) const;
    [[nodiscard]] std::wstring pathOf(const Attribute* attribute) const;
    void appendElement(std::vector<std::wstring>& lines, const Node* node, const Element* element) const;

    const Node* root_;
    std::unordered_map<const Node*, MirrorNode> nodes_;
    std::unordered_map<const Element*, MirrorElement> elements_;
    std::unordered_map<const Attribute*, const Attribute*> references_; ///< by referencer, items included
};

} // namespace db2test
