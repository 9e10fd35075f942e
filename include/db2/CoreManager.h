#pragma once

#include <db2/DataInterface.h>
#include <db2/Export.h>
#include <db2/Flags.h>
#include <db2/Node.h>
#include <db2/Status.h>

#include <kqtl/pod_vector.h>
#include <kqx/Anchor.h>

#include <cstddef>
#include <cstdint>

namespace db2 {

class NodeRegistry;
class UnknownAPINodeFactory;

/// The innermost layer: owns the tree with every node and element in it, checks each edit, performs it and counts.
/// Each edit has a `can...` twin that returns what the edit would return and changes nothing. An edit takes the memory
/// that it needs before it changes anything; without memory it returns kFailure.
/// Destroyed nodes and elements stay readable until the next commit frees them in bulk, longer while undo or the list of
/// a layer holds them.
/// Cost: constant time an edit beyond what its comment says. Threads: one at a time.
class DB2_API CoreManager : public DataInterface
{
public:
    /// What is alive in the tree.
    struct Statistics
    {
        std::uint32_t nodes = 0; ///< the root included
        std::uint32_t unknownNodes = 0;
        std::uint32_t legacyNodes = 0;
        std::uint32_t elements = 0; ///< the template elements of the nodes, and unknown elements
        std::uint32_t dynamicElements = 0;
        std::uint32_t legacyElements = 0;
        std::uint32_t references = 0;

        bool operator==(const Statistics&) const = default;
    };

    /// Makes the tree with its root node, named "Root".
    /// @param registry        where node types are looked up; not owned, and alive for as long as the core.
    /// @param rootTypeId      must be registered; else the tree has no root and every edit fails.
    /// @param unknownFactory  makes the host's objects for unknown nodes; may be null; not owned.
    /// @param legacyFactory   the same for legacy nodes.
    /// @param userData        handed to every factory call.
    CoreManager(const NodeRegistry& registry, unsigned int rootTypeId, UnknownAPINodeFactory* unknownFactory = nullptr,
                UnknownAPINodeFactory* legacyFactory = nullptr, void* userData = nullptr);
    CoreManager(const CoreManager&) = delete;
    CoreManager& operator=(const CoreManager&) = delete;
    /// Frees the tree. Layers around the core are destroyed before it.
    ~CoreManager() override;

    // --- Queries ---

    [[nodiscard]] Node* getRoot() const { return root_; }
    [[nodiscard]] const NodeRegistry& getRegistry() const { return *registry_; }
    [[nodiscard]] void* getUserData() const { return userData_; }
    [[nodiscard]] const Statistics& getStatistics() const { return statistics_; }

    /// True between a lock and the last unlock: no edit but further locks and unlocks is possible.
    [[nodiscard]] bool isLockOutstanding() const { return locks_ != 0; }

    /// An anchor whose handles become null whenever destroyed elements are freed.
    [[nodiscard]] kqx::Anchor& getElementAnchor() { return elementAnchor_; }

    /// Metadata flags that the saver reads.
    [[nodiscard]] static constexpr unsigned int getDontSaveFlag() { return ElementMetaDataFlag::kDontSave; }
    [[nodiscard]] static constexpr unsigned int getAlwaysSaveFlag() { return ElementMetaDataFlag::kAlwaysSave; }

    // --- Checks: what the edit of the same name would return; out of memory aside ---

    [[nodiscard]] Status canCreateNode(unsigned int typeId, const Node* parent, const Node* next) const;
    [[nodiscard]] Status canCreateUnknownNode(const Node* parent, const Node* next) const;
    [[nodiscard]] Status canDestroyLeafNode(const Node* node) const;
    [[nodiscard]] Status canRenameNode(const Node* node, const wchar_t* name) const;
    [[nodiscard]] Status canReparentNode(const Node* node, const Node* newParent, const Node* next) const;
    [[nodiscard]] Status canReorderNode(const Node* node, const Node* next) const;
    [[nodiscard]] Status canCreateDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name,
                                                 const Node* node, const Element* next) const;
    [[nodiscard]] Status canDestroyDynamicElement(const Element* element) const;
    /// A rename to the present name succeeds at once, even while a lock is outstanding; that is on purpose.
    [[nodiscard]] Status canRenameDynamicElement(const Element* element, const wchar_t* name) const;
    [[nodiscard]] Status canResizeAttributeArray(const AttributeArray* array, unsigned int size) const;
    /// Cost: up to the smaller of the two, the chain behind @p referenced and the referencers before @p referencer.
    [[nodiscard]] Status canCreateReference(const Attribute* referenced, const Attribute* referencer,
                                            bool singleOutput) const;
    [[nodiscard]] Status canDestroyReference(const Attribute* referencer) const;
    [[nodiscard]] Status canLockAttribute(const Attribute* attribute) const;
    [[nodiscard]] Status canUnlockAttribute(const Attribute* attribute) const;
    [[nodiscard]] Status canLockAttributeArray(const AttributeArray* array) const;
    [[nodiscard]] Status canUnlockAttributeArray(const AttributeArray* array) const;
    /// For db_commit, db_commitTransient and db_clear alike.
    [[nodiscard]] Status canCommit() const;

    // --- Unknown and legacy elements: for loaders, not seen by other layers ---

    /// Adds an element to an unknown node and its private template, behind its template elements.
    /// @return kLockOutstanding; kFailure for a null name or node, a node that is not unknown or is legacy, a definition
    ///         without a type, a destroyed node; kEmptyElementName, kNameTooLong, kDuplicateElementName.
    Status createUnknownElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                Element** outElement);

    /// Adds an element to the node's legacy elements.
    /// @return kLockOutstanding; kFailure for a null name or node, a node that is unknown and not legacy, a definition
    ///         without a type, a destroyed node; kEmptyElementName, kNameTooLong; kDuplicateLegacyElement, logged.
    Status createLegacyElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                               Element** outElement);

    /// Takes a legacy element out of its node; its memory goes at the next commit.
    /// @return kLockOutstanding, kNullElementToDestroy, kFailure when it is not legacy or was destroyed already.
    Status destroyLegacyElement(Element* element);

    // --- DataInterface ---

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override;
    Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name, Node* parent,
                                Node* next, bool legacy, Node** outNode) override;
    Status db_destroyLeafNode(Node* node) override;
    Status db_renameNode(Node* node, const wchar_t* name) override;
    Status db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name) override;
    Status db_reorderNode(Node* node, Node* next) override;
    Status db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node, Element* next,
                                   Element** outElement) override;
    Status db_destroyDynamicElement(Element* element) override;
    Status db_renameDynamicElement(Element* element, const wchar_t* name) override;
    /// When the capacity does not suffice it becomes one and a half times the new size. kFailure also for a size that
    /// memory, or a count of bytes in 32 bits, cannot hold.
    Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) override;
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override;
    Status db_destroyReference(Attribute* referencer) override;
    /// Any number of attributes may be locked at a time.
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override;
    Status db_unlockAttribute(Attribute* attribute) override;
    Status db_lockAttributeArray(AttributeArray* array, void** outValues) override;
    Status db_unlockAttributeArray(AttributeArray* array) override;
    /// Frees what was destroyed. An object that a layer still lists (its change, watch or dirty bits are set), and what
    /// it leads to, stays until a later commit finds the bits clear.
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override;
    Status db_commitTransient() override;
    /// Also starts the numbers of the unique-name rule at 0 again.
    Status db_clear() override;

private:
    friend class UndoAccess;

    // Checks
    [[nodiscard]] Status checkUnlocked() const;
    [[nodiscard]] bool isPlainlyLockable(const Attribute& attribute) const;
    [[nodiscard]] Status checkCreateNode(const NodeTemplate* nodeTemplate, const Node* parent, const Node* next) const;
    [[nodiscard]] Status checkNode(const Node& node) const;
    [[nodiscard]] Status checkElement(const Element& element) const;
    [[nodiscard]] Status checkNewElementName(const wchar_t* name, const Node& node) const;
    [[nodiscard]] Status checkPlace(const Node* parent, const Node* next) const;
    [[nodiscard]] Status checkLoadedElementName(const wchar_t* name) const;
    [[nodiscard]] Status checkUnknownElement(const ElementMetaDataDef& definition, const wchar_t* name,
                                             const Node* node) const;
    [[nodiscard]] Status checkLegacyElement(const ElementMetaDataDef& definition, const wchar_t* name,
                                            const Node* node) const;

    // Nodes
    struct UniqueName
    {
        kqx::String text;
        std::uint32_t hash = 0;      ///< of the text
        unsigned int nextNumber = 0; ///< the manager's counter once the name is taken
    };
    [[nodiscard]] bool makeUniqueName(const wchar_t* wanted, const Node* parent, UniqueName& out) const;
    void takeName(Node& node, UniqueName& name);
    template <class MakeNode>
    Status addNode(const wchar_t* name, const wchar_t* typeName, Node* parent, Node* next, MakeNode makeNode,
                   Node** outNode);
    void makeRoot(unsigned int typeId);
    [[nodiscard]] Node* makeNode(NodeTemplate& nodeTemplate, UniqueName& name);
    [[nodiscard]] Node* makeUnknownNode(const wchar_t* typeName, const Module& module, bool legacy, UniqueName& name);
    [[nodiscard]] Node* bringBack(UniqueName& name);
    void count(const Node& node, std::uint32_t change);
    void takeOut(Node& node);

    // Elements and arrays
    [[nodiscard]] Element* bringBack(const wchar_t* name);
    void takeOut(Element& element);
    Status growArray(AttributeArray& array, unsigned int size);
    [[nodiscard]] static bool makeValues(const AttributeArray& array, unsigned int size, std::byte* values);
    static void wakeItems(AttributeArray& array, unsigned int size);
    static void shrinkArray(AttributeArray& array, unsigned int size);

    // References
    [[nodiscard]] static bool wouldCloseCycle(const Attribute& referenced, const Attribute& referencer);
    static void restoreRanks(Attribute& referenced, Attribute& referencer);
    static void lowerRanks(Attribute& attribute, std::int64_t rank);
    static void raiseRanks(Attribute& attribute, std::int64_t rank);
    [[nodiscard]] static bool makeLinks(Attribute& attribute);
    static void dropUnusedLinks(Attribute& attribute);
    static void countEnd(Attribute& attribute, std::uint32_t change);
    void breakReference(Attribute& referencer);
    void breakAllReferences(Node& node);

    // Archive: what undo holds
    [[nodiscard]] bool undo_archiveNode(Node& node);
    void undo_cancelArchiveNode(Node& node);
    void finalDestroyNode(Node& node);
    [[nodiscard]] bool undo_archiveDynamicElement(Element& element);
    void undo_cancelArchiveElement(Element& element);
    void finalDestroyDynamicElement(Element& element);

    // Garbage
    [[nodiscard]] bool reserveNodeGarbage();
    [[nodiscard]] bool reserveElementGarbage();
    static void keepWithAncestors(Node& node);
    [[nodiscard]] static Node* leftmostLeaf(Node* node);
    void collectGarbage();
    void freeTree();

    const NodeRegistry* registry_; ///< not owned
    Node* root_ = nullptr;
    kqtl::pod_vector<Node*> nodeGarbage_;       ///< destroyed, to be freed by a commit
    kqtl::pod_vector<Element*> elementGarbage_; ///< destroyed dynamic and legacy elements of nodes in the tree
    Statistics statistics_;
    unsigned int nextUniqueNumber_ = 0;
    void* userData_;
    Node* pendingNode_ = nullptr;           ///< comes back from undo with the next node creation
    Element* pendingElement_ = nullptr;     ///< comes back from undo with the next db_createDynamicElement
    std::uint32_t archivedNodes_ = 0;       ///< nodes that undo holds
    std::uint32_t archivedElements_ = 0;    ///< dynamic elements that undo holds
    std::uint32_t locks_ = 0;               ///< attributes and arrays locked now
    UnknownAPINodeFactory* unknownFactory_; ///< may be null
    UnknownAPINodeFactory* legacyFactory_;  ///< may be null
    kqx::Anchor elementAnchor_;
};

} // namespace db2
