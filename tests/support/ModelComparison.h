#pragma once

#include "TreeModel.h"

#include <string>
#include <vector>

namespace db2test {

/// "node #12 'Box0'", "element 'size' of node #12 'Box0'", "null": for messages.
[[nodiscard]] std::string describe(const ModelNode* node);
[[nodiscard]] std::string describe(const ModelElement* element);

/// Compares what a core answers with what the model of its tree says; every difference is a failure of the running test.
class ModelComparison
{
public:
    /// Both not owned, and alive for as long as this is in use.
    ModelComparison(CoreManager& core, const TreeModel& model) : core_(core), model_(model) {}

    /// Links, name, type, flags, the children and elements in order, edges. Not what the elements hold.
    void compareNode(const ModelNode& node) const;

    /// Kind, flags, place, value, references, and all that of an array's items.
    void compareElement(const ModelElement& element) const;

    void compareStatistics() const;

    /// Everything in memory, destroyed objects too, look-ups and iterators.
    /// @param names  asked for in every node, whether it has them or not.
    void compareAll(const std::vector<std::wstring>& names) const;

private:
    void compareChildren(const ModelNode& node) const;
    void compareElementLists(const ModelNode& node) const;
    void compareKind(const ModelElement& element) const;
    void compareFlags(const ModelElement& element) const;
    void comparePlace(const ModelElement& element) const;
    void compareAttribute(const ModelElement& attribute) const;
    void compareArray(const ModelElement& array) const;
    void compareLookups(const ModelNode& node) const;
    void compareNames(const ModelNode& node, const std::wstring& name) const;
    void compareTemplates() const;
    void compareNodeIterators(const ModelNode& root) const;
    void compareAttributeIterators(const ModelNode& node) const;
    void compareReferentIterator(const ModelElement& attribute) const;

    CoreManager& core_;
    const TreeModel& model_;
};

} // namespace db2test
