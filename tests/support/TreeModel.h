#pragma once

#include "ModelValue.h"

#include <db2/db2.h>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace db2test {

struct ModelNode;

/// What an edit is expected to answer, and the error that it logs on the way.
struct Outcome
{
    Outcome(Status expected, std::wstring logged = {}) : status(expected), log(std::move(logged)) {}

    [[nodiscard]] bool succeeds() const { return status == Status::kSuccess; }

    Status status;
    std::wstring log; ///< without the library's prefix; empty for none
};

/// An element of a node, or an item of an array.
struct ModelElement
{
    [[nodiscard]] const ElementSpec& kind() const { return array != nullptr ? array->spec : spec; }
    [[nodiscard]] bool isArray() const { return array == nullptr && spec.isArray; }
    [[nodiscard]] const ModelElement& outermost() const { return array != nullptr ? *array : *this; }
    [[nodiscard]] bool takesPartInReferences() const;  ///< of an array: any item does
    [[nodiscard]] unsigned int referenceEnds() const;  ///< here, or at any item
    [[nodiscard]] const ModelValue& readValue() const; ///< at the end of the chain of references
    [[nodiscard]] bool isReleased() const;             ///< an item beyond its array's size

    Element* actual = nullptr; ///< the core's element that this one stands for
    ModelNode* node = nullptr;
    ModelElement* array = nullptr; ///< whose item this is, or null
    unsigned int index = 0;        ///< of an item
    ElementSpec spec;              ///< unused in an item, which is of its array's kind

    bool dynamic = false;
    bool legacy = false;
    bool unknown = false;
    bool destroyed = false;
    bool inUndo = false;
    bool locked = false;
    bool listed = false; ///< a layer's bit is set, so that no commit frees the element

    ModelValue value;                       ///< the attribute's own
    ModelElement* referenced = nullptr;     ///< what it takes its value from, or null
    bool singleOutput = false;              ///< of the reference that it holds
    std::vector<ModelElement*> referencers; ///< newest first

    std::vector<std::unique_ptr<ModelElement>> items; ///< of an array: every item that it ever had
    unsigned int size = 0;
    unsigned int capacity = 0;
};

/// A node: in the tree, destroyed but still readable, or held by undo.
struct ModelNode
{
    [[nodiscard]] bool isLive() const { return !destroyed; }
    [[nodiscard]] unsigned int templateElementCount() const; ///< unknown elements included
    [[nodiscard]] unsigned int edgeCount() const;
    [[nodiscard]] bool isBelow(const ModelNode& ancestor) const;
    [[nodiscard]] std::size_t indexOf(const ModelNode& child) const;

    Node* actual = nullptr;         ///< the core's node that this one stands for
    void* api = nullptr;            ///< what the factory made for it
    kqx::AnchorHandle<Node> handle; ///< a host's, taken when the node was created or brought back
    unsigned int id = 0;            ///< for messages
    unsigned int typeId = 0;
    std::wstring typeName;
    std::wstring name;
    ModelNode* parent = nullptr; ///< a destroyed node keeps it
    std::vector<ModelNode*> children;
    std::vector<std::unique_ptr<ModelElement>> elements; ///< the template's, unknown ones, then the dynamic ones
    std::vector<std::unique_ptr<ModelElement>> legacyElements;

    bool unknown = false;
    bool legacy = false;
    bool destroyed = false;
    bool inUndo = false;
    bool listed = false; ///< a layer's bit is set, so that no commit frees the node
};

/// The core's object behind one of the model's; null for null.
template <class T>
[[nodiscard]] auto actualOf(const T* model) -> decltype(model->actual)
{
    return model != nullptr ? model->actual : nullptr;
}
[[nodiscard]] inline Attribute* attributeOf(const ModelElement* model)
{
    return static_cast<Attribute*>(actualOf(model));
}
[[nodiscard]] inline AttributeArray* arrayOf(const ModelElement* model)
{
    return static_cast<AttributeArray*>(actualOf(model));
}

struct NodeType
{
    unsigned int typeId;
    std::wstring typeName;
    std::vector<ElementSpec> elements;
};

/// The hash of a name, byte by byte over its UTF-16 form.
[[nodiscard]] std::uint32_t modelHash(std::wstring_view name);

/// The tree of a CoreManager in the plainest form: vectors of children and elements, names compared by hashing them one
/// after the other, counts counted. It says what each edit of the core must answer and does to itself what the edit does,
/// for property tests, which compare the two after random edits (see ModelComparison).
/// Each edit has a `can...` twin like the core's; the edit itself may only be called when that succeeds. Null parents,
/// names and neighbours mean what they mean to the core. Memory goes like the core's: what was destroyed stays readable
/// until commit().
class TreeModel
{
public:
    TreeModel(std::vector<NodeType> types, unsigned int rootTypeId);

    // --- Queries ---

    [[nodiscard]] ModelNode& root() const { return *nodes_.front(); }
    /// The root first, then all other nodes, the oldest first: live, destroyed, held by undo.
    [[nodiscard]] const std::vector<std::unique_ptr<ModelNode>>& nodes() const { return nodes_; }
    /// Destroyed dynamic and legacy elements, those held by undo included.
    [[nodiscard]] const std::vector<std::unique_ptr<ModelElement>>& destroyedElements() const
    {
        return destroyedElements_;
    }
    [[nodiscard]] const std::vector<ModelElement*>& referencers() const { return referencers_; } ///< all that reference
    [[nodiscard]] const std::vector<ModelElement*>& locked() const { return locked_; }
    [[nodiscard]] const std::vector<NodeType>& types() const { return types_; }
    [[nodiscard]] const NodeType* findType(unsigned int typeId) const;

    /// As kept up edit by edit, and as counted now.
    [[nodiscard]] const CoreManager::Statistics& statistics() const { return statistics_; }
    [[nodiscard]] CoreManager::Statistics countStatistics() const;

    /// Nodes of a type in memory.
    [[nodiscard]] unsigned int countNodes(unsigned int typeId) const;

    // --- Names ---

    [[nodiscard]] static bool isChildNameFree(const ModelNode& parent, const std::wstring& name,
                                              const ModelNode* exclude);
    [[nodiscard]] static bool isDynamicElementNameFree(const ModelNode& node, const std::wstring& name);
    [[nodiscard]] static bool isLegacyElementNameFree(const ModelNode& node, const std::wstring& name);

    // --- Checks ---

    [[nodiscard]] Outcome canCreateNode(unsigned int typeId, const ModelNode* parent, const ModelNode* next) const;
    [[nodiscard]] Outcome canCreateUnknownNode(const ModelNode* parent, const ModelNode* next) const;
    [[nodiscard]] Outcome canDestroyLeafNode(const ModelNode* node) const;
    [[nodiscard]] Outcome canRenameNode(const ModelNode* node, const wchar_t* name) const;
    [[nodiscard]] Outcome canReparentNode(const ModelNode* node, const ModelNode* newParent,
                                          const ModelNode* next) const;
    [[nodiscard]] Outcome canReorderNode(const ModelNode* node, const ModelNode* next) const;
    [[nodiscard]] Outcome canCreateDynamicElement(const wchar_t* name, const ModelNode* node,
                                                  const ModelElement* next) const;
    [[nodiscard]] Outcome canDestroyDynamicElement(const ModelElement* element) const;
    [[nodiscard]] Outcome canRenameDynamicElement(const ModelElement* element, const wchar_t* name) const;
    [[nodiscard]] Outcome canResizeAttributeArray(const ModelElement* array, unsigned int size) const;
    [[nodiscard]] Outcome canCreateReference(const ModelElement* referenced, const ModelElement* referencer,
                                             bool singleOutput) const;
    [[nodiscard]] Outcome canDestroyReference(const ModelElement* referencer) const;
    [[nodiscard]] Outcome canLockAttribute(const ModelElement* attribute) const;
    [[nodiscard]] Outcome canUnlockAttribute(const ModelElement* attribute) const;
    [[nodiscard]] Outcome canLockAttributeArray(const ModelElement* array) const;
    [[nodiscard]] Outcome canUnlockAttributeArray(const ModelElement* array) const;
    [[nodiscard]] Outcome canCommit() const;
    [[nodiscard]] Outcome canCreateUnknownElement(const wchar_t* name, const ModelNode* node) const;
    [[nodiscard]] Outcome canCreateLegacyElement(const wchar_t* name, const ModelNode* node) const;
    [[nodiscard]] Outcome canDestroyLegacyElement(const ModelElement* element) const;

    // --- Edits ---

    ModelNode& createNode(unsigned int typeId, const wchar_t* name, ModelNode* parent, ModelNode* next);
    ModelNode& createUnknownNode(const std::wstring& typeName, unsigned int typeId, const wchar_t* name,
                                 ModelNode* parent, ModelNode* next, bool legacy);
    void destroyLeafNode(ModelNode& node);
    void renameNode(ModelNode& node, const wchar_t* name) { node.name = name; }
    void reparentNode(ModelNode& node, ModelNode& newParent, ModelNode* next, const wchar_t* name);
    void reorderNode(ModelNode& node, ModelNode* next);
    ModelElement& createDynamicElement(const ElementSpec& spec, ModelNode& node, ModelElement* next);
    void destroyDynamicElement(ModelElement& element);
    void renameDynamicElement(ModelElement& element, const wchar_t* name) { element.spec.name = name; }
    void resizeAttributeArray(ModelElement& array, unsigned int size);
    void createReference(ModelElement& referenced, ModelElement& referencer, bool singleOutput);
    void destroyReference(ModelElement& referencer);
    void lock(ModelElement& element);
    void unlock(ModelElement& element);
    void commit();
    void clear();
    ModelElement& createUnknownElement(const ElementSpec& spec, ModelNode& node);
    ModelElement& createLegacyElement(const ElementSpec& spec, ModelNode& node);
    void destroyLegacyElement(ModelElement& element);

    // --- What undo holds: destroyed in the archive, then brought back or dropped ---

    void archiveNode(ModelNode& node);
    void bringBackNode(ModelNode& node, const wchar_t* name, ModelNode* parent, ModelNode* next);
    void dropNode(ModelNode& node) { node.inUndo = false; }
    void archiveElement(ModelElement& element);
    void bringBackElement(ModelElement& element, ModelElement* next);
    void dropElement(ModelElement& element) { element.inUndo = false; }

private:
    [[nodiscard]] Outcome checkUnlocked() const;
    [[nodiscard]] Outcome checkPlace(const ModelNode* parent, const ModelNode* next) const;
    [[nodiscard]] Outcome checkElementName(const wchar_t* name, const ModelNode& node) const;
    [[nodiscard]] Outcome checkNode(const ModelNode& node) const;
    [[nodiscard]] Outcome checkElement(const ModelElement& element) const;

    [[nodiscard]] std::wstring uniqueName(const wchar_t* wanted, const ModelNode& node, const ModelNode& parent);
    ModelNode& addNode(const wchar_t* name, ModelNode* parent, ModelNode* next, std::unique_ptr<ModelNode> made);
    void enter(ModelNode& node, const wchar_t* name, ModelNode* parent, ModelNode* next);
    void count(const ModelNode& node, std::uint32_t change);
    [[nodiscard]] std::set<const ModelNode*> destroyedNodesThatStay() const;

    std::vector<NodeType> types_;
    std::vector<std::unique_ptr<ModelNode>> nodes_;
    std::vector<std::unique_ptr<ModelElement>> destroyedElements_;
    std::vector<ModelElement*> referencers_;
    std::vector<ModelElement*> locked_;
    CoreManager::Statistics statistics_;
    unsigned int nextUniqueNumber_ = 0;
    unsigned int nextId_ = 0;
};

} // namespace db2test
