#pragma once

#include "ModelComparison.h"
#include "Random.h"
#include "RandomArguments.h"
#include "RecordingFactories.h"
#include "Scene.h"
#include "TreeModel.h"

#include <array>
#include <cstddef>
#include <deque>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace db2test {

enum class EditKind : std::size_t
{
    kCreateNode,
    kCreateUnknownNode,
    kDestroyLeafNode,
    kDestroySubtree,
    kRenameNode,
    kReparentNode,
    kReorderNode,
    kCreateDynamicElement,
    kDestroyDynamicElement,
    kRenameDynamicElement,
    kResizeAttributeArray,
    kCreateReference,
    kDestroyReference,
    kLockAttribute,
    kUnlockAttribute,
    kLockAttributeArray,
    kUnlockAttributeArray,
    kCommit,
    kCommitTransient,
    kClear,
    kCreateUnknownElement,
    kCreateLegacyElement,
    kDestroyLegacyElement,
    kArchiveNode,
    kBringBackNode,
    kDropNode,
    kArchiveElement,
    kBringBackElement,
    kDropElement,
    kList,
    kCount
};

/// What a run of random edits is made of.
struct EditProfile
{
    const char* name;
    std::size_t startNodes; ///< made at the beginning of each half of a run
    std::size_t maxNodes;   ///< beyond so many, subtrees are destroyed instead of nodes created
    std::size_t fewParents; ///< see RandomArguments
    std::vector<std::pair<EditKind, std::size_t>> weights; ///< of edits that are not as likely as the others (4)
};

/// For the messages of parameterized tests.
void PrintTo(const EditProfile& profile, std::ostream* out);

/// Random edits through a CoreManager and through the model of its tree. Before each edit the model says what its twin and
/// the edit itself must answer and log; after it, what the edit touched is compared, and from time to time everything.
/// Every difference is a failure of the running test; the run then ends and the last edits are printed.
class RandomEdits
{
public:
    RandomEdits(const EditProfile& profile, const Random& random);
    RandomEdits(const RandomEdits&) = delete;
    RandomEdits& operator=(const RandomEdits&) = delete;
    ~RandomEdits();

    /// In two halves, each ended by a db_clear, before and after which everything is compared, too.
    void run(std::size_t edits);

    /// What the run came by.
    [[nodiscard]] bool hasSeen(Status status) const { return seen_.contains(status); }
    [[nodiscard]] std::size_t successes(EditKind kind) const { return successes_[static_cast<std::size_t>(kind)]; }

private:
    using Call = std::function<Status()>;

    // --- The run (RandomEdits.cpp) ---

    enum TypeId : unsigned int
    {
        kTop = 100, ///< of the root, which has elements that nobody may edit
        kBare,      ///< no elements
        kThree,     ///< one element fewer than an element-name index needs
        kMixed,     ///< what most nodes are
        kEvery,     ///< attributes of every type, and arrays of many
        kNobody     ///< not registered
    };

    [[nodiscard]] static std::vector<NodeType> makeTypes(Random& random);
    void makeCore();
    void step();
    void make(EditKind kind);
    [[nodiscard]] EditKind drawKind();
    void compareTouched();
    void compareEverything();
    void empty();
    void printTrace() const;

    // --- One edit ---

    void announce(std::string edit);
    void expectAnswer(const char* who, Status answer, const Outcome& expected);
    /// @return whether the edit was made, as expected.
    bool perform(const Outcome& expected, const Call& edit);
    bool perform(const Outcome& expectedTwin, const Call& twin, const Outcome& expected, const Call& edit);
    void touch(const ModelNode* node);
    void touch(const ModelElement* element);
    void bindNode(ModelNode& node, Node* made);
    void bindItems(ModelElement& array);

    // --- The edits, with random arguments, in the order of EditKind ---

    void createNode();
    void createUnknownNode();
    void destroyLeafNode();
    void destroySubtree();
    void renameNode();
    void reparentNode();
    void reorderNode();
    void createDynamicElement();
    void destroyDynamicElement();
    void renameDynamicElement();
    void resizeAttributeArray();
    void createReference();
    void destroyReference();
    void lockAttribute();
    void unlockAttribute();
    void lockAttributeArray();
    void unlockAttributeArray();
    void commit();
    void commitTransient();
    void clear();
    void createUnknownElement();
    void createLegacyElement();
    void destroyLegacyElement();
    void archiveNode();
    void bringBackNode();
    void dropNode();
    void archiveElement();
    void bringBackElement();
    void dropElement();
    void list();

    // --- The same, with given ones ---

    void destroyLeafNode(ModelNode* node);
    void archiveNode(ModelNode& node);
    void dropNode(ModelNode& node);
    void dropElement(ModelElement& element);
    void destroyDynamicElement(ModelElement* element);
    void destroyReference(ModelElement* referencer);
    void unlockAttribute(ModelElement* attribute);
    void unlockAttributeArray(ModelElement* array);
    void freeFromReferences(ModelElement& element);
    [[nodiscard]] bool isNeededByUndo(const ModelNode& node) const;
    [[nodiscard]] ModelNode* heldNode();
    [[nodiscard]] ModelElement* heldElement();

    const EditProfile& profile_;
    Random random_;
    Scene scene_;
    std::unique_ptr<RecordingNodeFactory> nodeFactory_;
    std::unique_ptr<RecordingUnknownNodeFactory> unknownFactory_;
    std::unique_ptr<RecordingUnknownNodeFactory> legacyFactory_;
    std::unique_ptr<TreeModel> model_;
    std::unique_ptr<CoreManager> core_;
    std::unique_ptr<RandomArguments> draw_;
    std::unique_ptr<ModelComparison> compare_;
    std::map<const ModelElement*, ValueHandle> handles_; ///< of locked attributes
    kqx::AnchorHandle<kqx::Anchor> elementHandle_;

    EditKind kind_ = EditKind::kCreateNode; ///< of the edit under way
    std::vector<const ModelNode*> touchedNodes_;
    std::vector<const ModelElement*> touchedElements_;
    std::deque<std::string> trace_; ///< the last edits
    std::size_t steps_ = 0;
    std::set<Status> seen_;
    std::array<std::size_t, static_cast<std::size_t>(EditKind::kCount)> successes_{};
};

} // namespace db2test
