#pragma once

#include "Random.h"
#include "TreeModel.h"

#include <string>
#include <utility>
#include <vector>

namespace db2test {

/// A name as it is handed to an edit: a text or null.
struct NameArgument
{
    [[nodiscard]] const wchar_t* get() const { return isNull ? nullptr : text.c_str(); }
    [[nodiscard]] std::string describe() const;

    bool isNull = false;
    std::wstring text;
};

/// Two different names of one hash.
[[nodiscard]] const std::pair<std::wstring, std::wstring>& namesOfOneHash();

/// Draws what random edits are made with: mostly what an edit accepts, and each kind of thing that it must refuse often
/// enough (null, the root, destroyed, held by undo, of the wrong kind, a name that is taken).
/// Every draw of an object may answer null.
class RandomArguments
{
public:
    /// @param fewParents  when not 0, nodes are mostly put under so many children of the root.
    RandomArguments(const TreeModel& model, Random& random, std::size_t fewParents)
        : model_(model), random_(random), fewParents_(fewParents)
    {
    }

    // --- Nodes ---

    [[nodiscard]] ModelNode* node();          ///< mostly live
    [[nodiscard]] ModelNode* liveNode();      ///< below the root, or null
    [[nodiscard]] ModelNode* smallSubtree();  ///< live and below the root, with few nodes below it, or null
    [[nodiscard]] ModelNode* destroyedNode(); ///< still readable, or held by undo
    [[nodiscard]] ModelNode* leaf();          ///< mostly one that can be destroyed
    [[nodiscard]] ModelNode* parent();        ///< mostly one that can have children; null stands for the root
    [[nodiscard]] ModelNode* nextChild(const ModelNode* parent); ///< mostly a child of the parent, or null
    [[nodiscard]] NameArgument nodeName();
    [[nodiscard]] std::vector<std::wstring> someNames(); ///< names that nodes and elements may have

    // --- Elements ---

    [[nodiscard]] ModelElement* attribute();
    [[nodiscard]] ModelElement* array();
    [[nodiscard]] ModelElement* dynamicElement(); ///< mostly
    [[nodiscard]] ModelElement* legacyElement();  ///< mostly
    [[nodiscard]] ModelElement* anyElement();
    [[nodiscard]] ModelElement* nextElement(const ModelNode* node); ///< mostly a dynamic one of the node, or null
    [[nodiscard]] NameArgument elementName(const ModelNode* node);
    [[nodiscard]] ElementSpec elementSpec(const NameArgument& name);
    [[nodiscard]] unsigned int arraySize(const ModelElement* array);

    // --- References: hubs, chains and would-be cycles as well as any two attributes ---

    struct Ends
    {
        ModelElement* referenced;
        ModelElement* referencer;
    };
    [[nodiscard]] Ends referenceEnds();
    [[nodiscard]] ModelElement* referencer(); ///< mostly an attribute that references

private:
    [[nodiscard]] ModelElement* liveAttribute();
    [[nodiscard]] ModelElement* releasedItem();
    [[nodiscard]] ModelElement* elementOf(const ModelNode* node, bool isArray);
    [[nodiscard]] ModelElement* destroyedElement(bool isArray);
    template <class Draw>
    [[nodiscard]] ModelElement* firstOf(Draw draw);

    const TreeModel& model_;
    Random& random_;
    std::size_t fewParents_;
};

} // namespace db2test
