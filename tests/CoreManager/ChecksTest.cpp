#include "support/Scene.h"
#include "support/TreeDump.h"

#include <UndoAccess.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

/// Every check in the order of its tests. For each pair of neighbouring tests that one set of arguments can fail both,
/// a row fails both and expects the earlier one's answer; the first row of a check has a lock outstanding as well.
/// The rest of a row: which line is logged, if any, and that neither the check nor the edit changed anything.
namespace db2test {
namespace {

constexpr const wchar_t* kLockText = L"Attribute locking/unlocking must be an atomic operation.";
constexpr const wchar_t* kRootText = L"Cannot perform operations on the root node.";
constexpr const wchar_t* kNodeInUndoText = L"Attempt to access node that is in undo";
constexpr const wchar_t* kAttributeInUndoText = L"Attempt to access attribute that is in undo";
constexpr const wchar_t* kDestroyedText = L"Attempt to destroy already destroyed node";
constexpr const wchar_t* kNothing = nullptr;

const std::wstring kLongestName(40, L'n');
const std::wstring kTooLongName(41, L'n');

/// A tree to refuse edits of: |arm|hand and |leg, all of the type "All", under a root that has elements, too.
class Situation
{
public:
    Situation() = default;
    Situation(const Situation&) = delete;
    Situation& operator=(const Situation&) = delete;
    ~Situation()
    {
        for (Node* const node : archivedNodes_)
            UndoAccess::finalDestroyNode(core, *node);
        for (Element* const element : archivedElements_)
            UndoAccess::finalDestroyElement(core, *element);
    }

    // --- What the arguments are made of; each of these must succeed ---

    Node* node(const wchar_t* name, Node* parent = nullptr)
    {
        Node* made = nullptr;
        EXPECT_EQ(core.db_createNode(Scene::kAll, name, parent, nullptr, &made), Status::kSuccess);
        return made;
    }

    Node* destroyedNode(const wchar_t* name, Node* parent = nullptr)
    {
        Node* const made = node(name, parent);
        EXPECT_EQ(core.db_destroyLeafNode(made), Status::kSuccess);
        return made;
    }

    /// A node that undo holds, as after the undo of its creation.
    Node* archivedNode(const wchar_t* name)
    {
        Node* const made = node(name);
        EXPECT_TRUE(UndoAccess::archiveNode(core, *made));
        EXPECT_EQ(core.db_destroyLeafNode(made), Status::kSuccess);
        archivedNodes_.push_back(made);
        return made;
    }

    Element* dynamicElement(const wchar_t* name, Node* on, bool isArray = false)
    {
        IntAttributeMetaDataDef definition;
        definition.setArray(isArray);
        Element* made = nullptr;
        EXPECT_EQ(core.db_createDynamicElement(definition, name, on, nullptr, &made), Status::kSuccess);
        return made;
    }

    Element* destroyedElement(const wchar_t* name, Node* on, bool isArray = false)
    {
        Element* const made = dynamicElement(name, on, isArray);
        EXPECT_EQ(core.db_destroyDynamicElement(made), Status::kSuccess);
        return made;
    }

    Element* archivedElement(const wchar_t* name, Node* on, bool isArray = false)
    {
        Element* const made = dynamicElement(name, on, isArray);
        EXPECT_TRUE(UndoAccess::archiveElement(core, *made));
        EXPECT_EQ(core.db_destroyDynamicElement(made), Status::kSuccess);
        archivedElements_.push_back(made);
        return made;
    }

    Attribute* unconnectable(const wchar_t* name, Node* on)
    {
        IntAttributeMetaDataDef definition;
        definition.setFlags(ElementMetaDataFlag::kNotConnectable);
        Element* made = nullptr;
        EXPECT_EQ(core.db_createDynamicElement(definition, name, on, nullptr, &made), Status::kSuccess);
        return static_cast<Attribute*>(made);
    }

    Attribute* legacyAttribute(const wchar_t* name, Node* on)
    {
        Element* made = nullptr;
        EXPECT_EQ(core.createLegacyElement(IntAttributeMetaDataDef(), name, on, &made), Status::kSuccess);
        return static_cast<Attribute*>(made);
    }

    AttributeArray* items(Node* on, const wchar_t* name, unsigned int size)
    {
        AttributeArray* const array = on->findAttributeArrayByName(name);
        EXPECT_EQ(core.db_resizeAttributeArray(array, size), Status::kSuccess);
        return array;
    }

    void reference(Attribute* referenced, Attribute* referencer, bool isSingle = false)
    {
        EXPECT_EQ(core.db_createReference(referenced, referencer, isSingle), Status::kSuccess);
    }

    static Attribute* attribute(Node* on, const wchar_t* name = L"Int") { return on->findAttributeByName(name); }

    /// From here on a lock is outstanding: of an attribute that no row uses otherwise.
    void lock()
    {
        ValueHandle value;
        EXPECT_EQ(core.db_lockAttribute(attribute(leg, L"Quat"), &value), Status::kSuccess);
    }

    /// Flags that the core sets on no root. They stand in for a root that fails another test as well.
    Node* rootWith(std::uint32_t nodeFlag)
    {
        core.getRoot()->setFlag(nodeFlag);
        return core.getRoot();
    }

    Scene scene; // its registry and log; the root of its own core has no elements
    CoreManager core{scene.registry(), Scene::kAll};
    Node* arm = node(L"arm");
    Node* hand = node(L"hand", arm);
    Node* leg = node(L"leg");

private:
    std::vector<Node*> archivedNodes_;
    std::vector<Element*> archivedElements_;
};

template <class Arguments>
struct Row
{
    const char* name;
    Arguments (*arrange)(Situation&);
    Status status;
    const wchar_t* log;
};

testing::AssertionResult logged(Situation& situation, const wchar_t* text)
{
    std::vector<LogRecorder::Line> expected;
    if (text != nullptr)
        expected.push_back({LogRecorder::kError, L"KQDatabase2 : " + std::wstring(text)});
    const std::vector<LogRecorder::Line> lines = situation.scene.log().take();
    if (lines == expected)
        return testing::AssertionSuccess();
    testing::AssertionResult failure = testing::AssertionFailure();
    failure << lines.size() << " lines were logged";
    for (const LogRecorder::Line& line : lines)
        failure << "\n  level " << line.level << ": " << line.text;
    return failure;
}

/// Runs the check and the edit on what each row arranges.
template <class Arguments, class Check, class Edit>
void expectRefusals(const std::vector<Row<Arguments>>& rows, Check check, Edit edit)
{
    for (const Row<Arguments>& row : rows)
    {
        SCOPED_TRACE(row.name);
        Situation situation;
        const Arguments arguments = row.arrange(situation);
        const std::wstring before = dumpTree(situation.core);
        situation.scene.log().take();

        EXPECT_EQ(check(situation.core, arguments), row.status);
        EXPECT_TRUE(logged(situation, row.log)) << "by the check";
        EXPECT_EQ(edit(situation.core, arguments), row.status);
        EXPECT_TRUE(logged(situation, row.log)) << "by the edit";
        EXPECT_TRUE(isSameDump(before, dumpTree(situation.core)));
    }
}

// --- Nodes ---

struct CreateNode
{
    unsigned int typeId;
    Node* parent;
    Node* next;
};

TEST(CoreManagerChecksTest, CreateNodeTestsTheLockThenTheTypeThenThePlace)
{
    constexpr unsigned int kNoType = 99;
    expectRefusals<CreateNode>(
        {{"lock outstanding, unknown type",
          [](Situation& s) {
              s.lock();
              return CreateNode{kNoType, s.arm, s.leg};
          },
          Status::kLockOutstanding, kLockText},
         {"unknown type, next of another parent",
          [](Situation& s) {
              return CreateNode{kNoType, s.arm, s.leg};
          },
          Status::kUnknownTypeId, kNothing},
         {"next of another parent",
          [](Situation& s) {
              return CreateNode{Scene::kAll, s.arm, s.leg};
          },
          Status::kNextNotChildOfParent, kNothing},
         {"next of another parent than the root, which null stands for",
          [](Situation& s) {
              return CreateNode{Scene::kAll, nullptr, s.hand};
          },
          Status::kNextNotChildOfParent, kNothing},
         {"next is the parent",
          [](Situation& s) {
              return CreateNode{Scene::kAll, s.arm, s.arm};
          },
          Status::kNextNotChildOfParent, kNothing},
         {"next is the root",
          [](Situation& s) {
              return CreateNode{Scene::kAll, nullptr, s.core.getRoot()};
          },
          Status::kNextNotChildOfParent, kNothing},
         {"next was destroyed",
          [](Situation& s) {
              return CreateNode{Scene::kAll, s.arm, s.destroyedNode(L"finger", s.arm)};
          },
          Status::kNextNotChildOfParent, kNothing},
         {"next of another parent, parent destroyed",
          [](Situation& s) {
              return CreateNode{Scene::kAll, s.destroyedNode(L"gone"), s.leg};
          },
          Status::kNextNotChildOfParent, kNothing},
         {"parent destroyed",
          [](Situation& s) {
              return CreateNode{Scene::kAll, s.destroyedNode(L"gone"), nullptr};
          },
          Status::kFailure, kNothing}},
        [](const CoreManager& core, const CreateNode& a) { return core.canCreateNode(a.typeId, a.parent, a.next); },
        [](CoreManager& core, const CreateNode& a) {
            Node* const untouched = a.parent;
            Node* out = untouched;
            const Status status = core.db_createNode(a.typeId, L"new", a.parent, a.next, &out);
            EXPECT_EQ(out, untouched) << "a refused edit left something in its out argument";
            return status;
        });
}

TEST(CoreManagerChecksTest, CreateUnknownNodeTestsTheLockThenThePlace)
{
    expectRefusals<CreateNode>(
        {{"lock outstanding, next of another parent",
          [](Situation& s) {
              s.lock();
              return CreateNode{0, s.arm, s.leg};
          },
          Status::kLockOutstanding, kLockText},
         {"next of another parent",
          [](Situation& s) {
              return CreateNode{0, s.arm, s.leg};
          },
          Status::kNextNotChildOfParent, kNothing},
         {"parent destroyed",
          [](Situation& s) {
              return CreateNode{0, s.destroyedNode(L"gone"), nullptr};
          },
          Status::kFailure, kNothing}},
        [](const CoreManager& core, const CreateNode& a) { return core.canCreateUnknownNode(a.parent, a.next); },
        [](CoreManager& core, const CreateNode& a) {
            Node* const untouched = a.parent;
            Node* out = untouched;
            const Module module;
            const Status status = core.db_createUnknownNode(L"Gone", module, L"new", a.parent, a.next, false, &out);
            EXPECT_EQ(out, untouched) << "a refused edit left something in its out argument";
            return status;
        });
}

TEST(CoreManagerChecksTest, DestroyLeafNodeHasItsOrder)
{
    expectRefusals<Node*>(
        {{"lock outstanding, null",
          [](Situation& s) -> Node* {
              s.lock();
              return nullptr;
          },
          Status::kLockOutstanding, kLockText},
         {"null", [](Situation&) -> Node* { return nullptr; }, Status::kNullNodeToDestroy, kNothing},
         {"destroyed", [](Situation& s) { return s.destroyedNode(L"gone"); }, Status::kNodeAlreadyDestroyed,
          kDestroyedText},
         {"destroyed, in undo", [](Situation& s) { return s.archivedNode(L"kept"); }, Status::kNodeAlreadyDestroyed,
          kDestroyedText},
         {"destroyed, root", [](Situation& s) { return s.rootWith(NodeFlag::kDestroyed); },
          Status::kNodeAlreadyDestroyed, kDestroyedText},
         {"root, has children", [](Situation& s) { return s.core.getRoot(); }, Status::kRootNode, kRootText},
         {"has children, has dynamic elements",
          [](Situation& s) {
              s.dynamicElement(L"extra", s.arm);
              return s.arm;
          },
          Status::kNodeHasChildren, kNothing},
         {"has dynamic elements, has references",
          [](Situation& s) {
              s.reference(s.attribute(s.leg), static_cast<Attribute*>(s.dynamicElement(L"extra", s.hand)));
              return s.hand;
          },
          Status::kNodeHasDynamicElements, kNothing},
         {"references another node",
          [](Situation& s) {
              s.reference(s.attribute(s.leg), s.attribute(s.hand));
              return s.hand;
          },
          Status::kNodeHasReferences, kNothing},
         {"is referenced by another node",
          [](Situation& s) {
              s.reference(s.attribute(s.hand), s.attribute(s.leg));
              return s.hand;
          },
          Status::kNodeHasReferences, kNothing},
         {"an item references",
          [](Situation& s) {
              s.reference(s.attribute(s.leg), s.items(s.hand, L"IntItems", 2)->getAttribute(1));
              return s.hand;
          },
          Status::kNodeHasReferences, kNothing}},
        [](const CoreManager& core, Node* node) { return core.canDestroyLeafNode(node); },
        [](CoreManager& core, Node* node) { return core.db_destroyLeafNode(node); });
}

struct RenameNode
{
    Node* node;
    const wchar_t* name;
};

TEST(CoreManagerChecksTest, RenameNodeHasItsOrder)
{
    expectRefusals<RenameNode>(
        {{"lock outstanding, null",
          [](Situation& s) {
              s.lock();
              return RenameNode{nullptr, L"new"};
          },
          Status::kLockOutstanding, kLockText},
         {"null",
          [](Situation&) {
              return RenameNode{nullptr, nullptr};
          },
          Status::kNullNodeToRename, kNothing},
         {"in undo, empty name",
          [](Situation& s) {
              return RenameNode{s.archivedNode(L"kept"), L""};
          },
          Status::kInUndo, kNodeInUndoText},
         {"in undo, root",
          [](Situation& s) {
              return RenameNode{s.rootWith(NodeFlag::kInUndo), L"new"};
          },
          Status::kInUndo, kNodeInUndoText},
         {"root, null name",
          [](Situation& s) {
              return RenameNode{s.core.getRoot(), nullptr};
          },
          Status::kRootNode, kRootText},
         {"null name",
          [](Situation& s) {
              return RenameNode{s.arm, nullptr};
          },
          Status::kEmptyNodeName, kNothing},
         {"empty name, destroyed",
          [](Situation& s) {
              return RenameNode{s.destroyedNode(L"gone"), L""};
          },
          Status::kEmptyNodeName, kNothing},
         {"name of a sibling",
          [](Situation& s) {
              return RenameNode{s.arm, L"leg"};
          },
          Status::kDuplicateChildName, kNothing},
         {"name of a former sibling, destroyed",
          [](Situation& s) {
              return RenameNode{s.destroyedNode(L"gone"), L"leg"};
          },
          Status::kDuplicateChildName, kNothing},
         {"destroyed",
          [](Situation& s) {
              return RenameNode{s.destroyedNode(L"gone"), L"new"};
          },
          Status::kFailure, kNothing}},
        [](const CoreManager& core, const RenameNode& a) { return core.canRenameNode(a.node, a.name); },
        [](CoreManager& core, const RenameNode& a) { return core.db_renameNode(a.node, a.name); });
}

struct ReparentNode
{
    Node* node;
    Node* newParent;
    Node* next;
};

TEST(CoreManagerChecksTest, ReparentNodeHasItsOrder)
{
    expectRefusals<ReparentNode>(
        {{"lock outstanding, null",
          [](Situation& s) {
              s.lock();
              return ReparentNode{nullptr, nullptr, nullptr};
          },
          Status::kLockOutstanding, kLockText},
         {"null",
          [](Situation& s) {
              return ReparentNode{nullptr, s.arm, nullptr};
          },
          Status::kNullNodeToReparent, kNothing},
         {"in undo, new parent null",
          [](Situation& s) {
              return ReparentNode{s.archivedNode(L"kept"), nullptr, nullptr};
          },
          Status::kInUndo, kNodeInUndoText},
         {"in undo, root",
          [](Situation& s) {
              return ReparentNode{s.rootWith(NodeFlag::kInUndo), s.arm, nullptr};
          },
          Status::kInUndo, kNodeInUndoText},
         {"root, new parent null",
          [](Situation& s) {
              return ReparentNode{s.core.getRoot(), nullptr, nullptr};
          },
          Status::kRootNode, kRootText},
         {"new parent null, next of another parent",
          [](Situation& s) {
              return ReparentNode{s.hand, nullptr, s.hand};
          },
          Status::kNullNewParent, kNothing},
         {"new parent is the node, next of another parent",
          [](Situation& s) {
              return ReparentNode{s.arm, s.arm, s.leg};
          },
          Status::kReparentToSelf, kNothing},
         {"new parent is the node and destroyed",
          [](Situation& s) {
              Node* const gone = s.destroyedNode(L"gone");
              return ReparentNode{gone, gone, nullptr};
          },
          Status::kReparentToSelf, kNothing},
         {"new parent is the current one, next of another parent",
          [](Situation& s) {
              return ReparentNode{s.hand, s.arm, s.leg};
          },
          Status::kFailure, kNothing},
         {"new parent is the current one",
          [](Situation& s) {
              return ReparentNode{s.hand, s.arm, nullptr};
          },
          Status::kFailure, kNothing},
         {"new parent is the current one, next too",
          [](Situation& s) {
              return ReparentNode{s.arm, s.core.getRoot(), s.leg};
          },
          Status::kFailure, kNothing},
         {"next of another parent, new parent is a descendant",
          [](Situation& s) {
              return ReparentNode{s.arm, s.hand, s.leg};
          },
          Status::kNextNotChildOfParent, kNothing},
         {"next of another parent, destroyed",
          [](Situation& s) {
              return ReparentNode{s.destroyedNode(L"gone"), s.arm, s.leg};
          },
          Status::kNextNotChildOfParent, kNothing},
         {"next was destroyed",
          [](Situation& s) {
              return ReparentNode{s.leg, s.arm, s.destroyedNode(L"finger", s.arm)};
          },
          Status::kNextNotChildOfParent, kNothing},
         {"new parent is a child",
          [](Situation& s) {
              return ReparentNode{s.arm, s.hand, nullptr};
          },
          Status::kReparentToDescendant, kNothing},
         {"new parent is a grandchild",
          [](Situation& s) {
              return ReparentNode{s.arm, s.node(L"finger", s.hand), nullptr};
          },
          Status::kReparentToDescendant, kNothing},
         {"destroyed",
          [](Situation& s) {
              return ReparentNode{s.destroyedNode(L"gone"), s.arm, nullptr};
          },
          Status::kFailure, kNothing},
         {"new parent destroyed",
          [](Situation& s) {
              return ReparentNode{s.arm, s.destroyedNode(L"gone"), nullptr};
          },
          Status::kFailure, kNothing},
         {"new parent in undo",
          [](Situation& s) {
              return ReparentNode{s.arm, s.archivedNode(L"kept"), nullptr};
          },
          Status::kFailure, kNothing}},
        [](const CoreManager& core, const ReparentNode& a) {
            return core.canReparentNode(a.node, a.newParent, a.next);
        },
        [](CoreManager& core, const ReparentNode& a) {
            return core.db_reparentNode(a.node, a.newParent, a.next, L"new");
        });
}

struct ReorderNode
{
    Node* node;
    Node* next;
};

TEST(CoreManagerChecksTest, ReorderNodeHasItsOrder)
{
    expectRefusals<ReorderNode>(
        {{"lock outstanding, null",
          [](Situation& s) {
              s.lock();
              return ReorderNode{nullptr, nullptr};
          },
          Status::kLockOutstanding, kLockText},
         {"null, which is next, too",
          [](Situation&) {
              return ReorderNode{nullptr, nullptr};
          },
          Status::kNullNodeToReorder, kNothing},
         {"in undo, next is the node",
          [](Situation& s) {
              Node* const kept = s.archivedNode(L"kept");
              return ReorderNode{kept, kept};
          },
          Status::kInUndo, kNodeInUndoText},
         {"in undo, root",
          [](Situation& s) {
              return ReorderNode{s.rootWith(NodeFlag::kInUndo), nullptr};
          },
          Status::kInUndo, kNodeInUndoText},
         {"root, next is the node",
          [](Situation& s) {
              return ReorderNode{s.core.getRoot(), s.core.getRoot()};
          },
          Status::kRootNode, kRootText},
         {"root, no next",
          [](Situation& s) {
              return ReorderNode{s.core.getRoot(), nullptr};
          },
          Status::kRootNode, kRootText},
         {"next is the node",
          [](Situation& s) {
              return ReorderNode{s.arm, s.arm};
          },
          Status::kReorderBeforeSelf, kNothing},
         {"next is the node, destroyed",
          [](Situation& s) {
              Node* const gone = s.destroyedNode(L"gone");
              return ReorderNode{gone, gone};
          },
          Status::kReorderBeforeSelf, kNothing},
         {"next has another parent",
          [](Situation& s) {
              return ReorderNode{s.leg, s.hand};
          },
          Status::kNextHasOtherParent, kNothing},
         {"next is the parent",
          [](Situation& s) {
              return ReorderNode{s.hand, s.arm};
          },
          Status::kNextHasOtherParent, kNothing},
         {"next is the root, which has no parent",
          [](Situation& s) {
              return ReorderNode{s.arm, s.core.getRoot()};
          },
          Status::kNextHasOtherParent, kNothing},
         {"next has another parent, destroyed",
          [](Situation& s) {
              return ReorderNode{s.destroyedNode(L"gone"), s.hand};
          },
          Status::kNextHasOtherParent, kNothing},
         {"destroyed",
          [](Situation& s) {
              return ReorderNode{s.destroyedNode(L"gone"), s.leg};
          },
          Status::kFailure, kNothing},
         {"destroyed, no next",
          [](Situation& s) {
              return ReorderNode{s.destroyedNode(L"gone"), nullptr};
          },
          Status::kFailure, kNothing}},
        [](const CoreManager& core, const ReorderNode& a) { return core.canReorderNode(a.node, a.next); },
        [](CoreManager& core, const ReorderNode& a) { return core.db_reorderNode(a.node, a.next); });
}

TEST(CoreManagerChecksTest, ReorderNodeRefusesANextThatWasDestroyed)
{
    Situation s;
    Node* const gone = s.destroyedNode(L"finger", s.arm);
    const std::wstring before = dumpTree(s.core);

    const Status status = s.core.canReorderNode(s.hand, gone);
    EXPECT_NE(status, Status::kSuccess);
    EXPECT_EQ(s.core.db_reorderNode(s.hand, gone), status);
    EXPECT_TRUE(isSameDump(before, dumpTree(s.core)));
}

// --- Dynamic elements ---

struct CreateElement
{
    const wchar_t* name;
    Node* node;
    Element* next;
};

TEST(CoreManagerChecksTest, CreateDynamicElementHasItsOrder)
{
    expectRefusals<CreateElement>(
        {{"lock outstanding, null node",
          [](Situation& s) {
              s.lock();
              return CreateElement{L"new", nullptr, nullptr};
          },
          Status::kLockOutstanding, kLockText},
         {"null node, empty name",
          [](Situation&) {
              return CreateElement{L"", nullptr, nullptr};
          },
          Status::kNullNodeForElement, kNothing},
         {"in undo, null name",
          [](Situation& s) {
              return CreateElement{nullptr, s.archivedNode(L"kept"), nullptr};
          },
          Status::kInUndo, kNodeInUndoText},
         {"in undo, root",
          [](Situation& s) {
              return CreateElement{L"new", s.rootWith(NodeFlag::kInUndo), nullptr};
          },
          Status::kInUndo, kNodeInUndoText},
         {"root, empty name",
          [](Situation& s) {
              return CreateElement{L"", s.core.getRoot(), nullptr};
          },
          Status::kRootNode, kRootText},
         {"null name, next not dynamic",
          [](Situation& s) {
              return CreateElement{nullptr, s.arm, s.attribute(s.arm)};
          },
          Status::kEmptyElementName, kNothing},
         {"empty name, next not dynamic",
          [](Situation& s) {
              return CreateElement{L"", s.arm, s.attribute(s.arm)};
          },
          Status::kEmptyElementName, kNothing},
         {"name too long, next not dynamic",
          [](Situation& s) {
              return CreateElement{kTooLongName.c_str(), s.arm, s.attribute(s.arm)};
          },
          Status::kNameTooLong, kNothing},
         {"next not dynamic, next on another node",
          [](Situation& s) {
              return CreateElement{L"new", s.arm, s.attribute(s.leg)};
          },
          Status::kNextElementNotDynamic, kNothing},
         {"next is an item of a dynamic array",
          [](Situation& s) {
              auto* const array = static_cast<AttributeArray*>(s.dynamicElement(L"extra", s.arm, true));
              EXPECT_EQ(s.core.db_resizeAttributeArray(array, 1), Status::kSuccess);
              return CreateElement{L"new", s.arm, array->getAttribute(0)};
          },
          Status::kNextElementNotDynamic, kNothing},
         {"next on another node, name used by the template",
          [](Situation& s) {
              return CreateElement{L"Int", s.arm, s.dynamicElement(L"extra", s.leg)};
          },
          Status::kNextElementOnOtherNode, kNothing},
         {"name used by the template",
          [](Situation& s) {
              return CreateElement{L"Float", s.arm, nullptr};
          },
          Status::kDuplicateElementName, kNothing},
         {"name used by a dynamic element",
          [](Situation& s) {
              s.dynamicElement(L"extra", s.arm);
              return CreateElement{L"extra", s.arm, nullptr};
          },
          Status::kDuplicateElementName, kNothing},
         {"name used by the template, node destroyed",
          [](Situation& s) {
              return CreateElement{L"Int", s.destroyedNode(L"gone"), nullptr};
          },
          Status::kDuplicateElementName, kNothing},
         {"node destroyed",
          [](Situation& s) {
              return CreateElement{L"new", s.destroyedNode(L"gone"), nullptr};
          },
          Status::kFailure, kNothing}},
        [](const CoreManager& core, const CreateElement& a) {
            return core.canCreateDynamicElement(IntAttributeMetaDataDef(), a.name, a.node, a.next);
        },
        [](CoreManager& core, const CreateElement& a) {
            Element* const untouched = a.next;
            Element* out = untouched;
            const Status status = core.db_createDynamicElement(IntAttributeMetaDataDef(), a.name, a.node, a.next, &out);
            EXPECT_EQ(out, untouched) << "a refused edit left something in its out argument";
            return status;
        });
}

TEST(CoreManagerChecksTest, DestroyDynamicElementHasItsOrder)
{
    expectRefusals<Element*>(
        {{"lock outstanding, null",
          [](Situation& s) -> Element* {
              s.lock();
              return nullptr;
          },
          Status::kLockOutstanding, kLockText},
         {"null", [](Situation&) -> Element* { return nullptr; }, Status::kNullElementToDestroy, kNothing},
         {"on the root, not dynamic", [](Situation& s) -> Element* { return s.attribute(s.core.getRoot()); },
          Status::kRootNode, kRootText},
         {"not dynamic, referenced",
          [](Situation& s) -> Element* {
              s.reference(s.attribute(s.arm), s.attribute(s.leg));
              return s.attribute(s.arm);
          },
          Status::kDestroyNotDynamic, kNothing},
         {"not dynamic, destroyed with its node",
          [](Situation& s) -> Element* { return s.attribute(s.destroyedNode(L"gone")); }, Status::kDestroyNotDynamic,
          kNothing},
         {"an item of a dynamic array is not dynamic",
          [](Situation& s) -> Element* {
              auto* const array = static_cast<AttributeArray*>(s.dynamicElement(L"extra", s.arm, true));
              EXPECT_EQ(s.core.db_resizeAttributeArray(array, 1), Status::kSuccess);
              return array->getAttribute(0);
          },
          Status::kDestroyNotDynamic, kNothing},
         {"a legacy element is not dynamic", [](Situation& s) -> Element* { return s.legacyAttribute(L"old", s.arm); },
          Status::kDestroyNotDynamic, kNothing},
         {"references",
          [](Situation& s) -> Element* {
              auto* const extra = static_cast<Attribute*>(s.dynamicElement(L"extra", s.arm));
              s.reference(s.attribute(s.leg), extra);
              return extra;
          },
          Status::kElementHasReferences, kNothing},
         {"referenced",
          [](Situation& s) -> Element* {
              auto* const extra = static_cast<Attribute*>(s.dynamicElement(L"extra", s.arm));
              s.reference(extra, s.attribute(s.leg));
              return extra;
          },
          Status::kElementHasReferences, kNothing},
         {"an item of the array is referenced",
          [](Situation& s) -> Element* {
              auto* const array = static_cast<AttributeArray*>(s.dynamicElement(L"extra", s.arm, true));
              EXPECT_EQ(s.core.db_resizeAttributeArray(array, 3), Status::kSuccess);
              s.reference(array->getAttribute(1), s.attribute(s.leg));
              return array;
          },
          Status::kElementHasReferences, kNothing},
         {"destroyed", [](Situation& s) { return s.destroyedElement(L"gone", s.arm); }, Status::kFailure, kNothing},
         {"destroyed, in undo", [](Situation& s) { return s.archivedElement(L"kept", s.arm); }, Status::kFailure,
          kNothing}},
        [](const CoreManager& core, Element* element) { return core.canDestroyDynamicElement(element); },
        [](CoreManager& core, Element* element) { return core.db_destroyDynamicElement(element); });
}

struct RenameElement
{
    Element* element;
    const wchar_t* name;
};

/// That the root comes after undo cannot be seen here: no root has a dynamic element.
TEST(CoreManagerChecksTest, RenameDynamicElementHasItsOrder)
{
    expectRefusals<RenameElement>(
        {{"lock outstanding, null",
          [](Situation& s) {
              s.lock();
              return RenameElement{nullptr, L"new"};
          },
          Status::kLockOutstanding, kLockText},
         {"lock outstanding, another name",
          [](Situation& s) {
              Element* const extra = s.dynamicElement(L"extra", s.arm);
              s.lock();
              return RenameElement{extra, L"new"};
          },
          Status::kLockOutstanding, kLockText},
         {"null, null name",
          [](Situation&) {
              return RenameElement{nullptr, nullptr};
          },
          Status::kNullElementToRename, kNothing},
         {"not dynamic, in undo",
          [](Situation& s) {
              return RenameElement{s.attribute(s.archivedNode(L"kept")), L"new"};
          },
          Status::kRenameNotDynamic, kNothing},
         {"not dynamic, on the root",
          [](Situation& s) {
              return RenameElement{s.attribute(s.core.getRoot()), L"new"};
          },
          Status::kRenameNotDynamic, kNothing},
         {"in undo, empty name",
          [](Situation& s) {
              return RenameElement{s.archivedElement(L"kept", s.arm), L""};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"its node in undo",
          [](Situation& s) {
              Element* const extra = s.dynamicElement(L"extra", s.arm);
              s.arm->setFlag(NodeFlag::kInUndo); // stands in: undo holds no node that has dynamic elements
              return RenameElement{extra, L"new"};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"null name",
          [](Situation& s) {
              return RenameElement{s.dynamicElement(L"extra", s.arm), nullptr};
          },
          Status::kEmptyElementName, kNothing},
         {"empty name, destroyed",
          [](Situation& s) {
              return RenameElement{s.destroyedElement(L"gone", s.arm), L""};
          },
          Status::kEmptyElementName, kNothing},
         {"name too long, destroyed",
          [](Situation& s) {
              return RenameElement{s.destroyedElement(L"gone", s.arm), kTooLongName.c_str()};
          },
          Status::kNameTooLong, kNothing},
         {"name too long",
          [](Situation& s) {
              return RenameElement{s.dynamicElement(L"extra", s.arm), kTooLongName.c_str()};
          },
          Status::kNameTooLong, kNothing},
         {"name used by the template",
          [](Situation& s) {
              return RenameElement{s.dynamicElement(L"extra", s.arm), L"Int"};
          },
          Status::kDuplicateElementName, kNothing},
         {"name used by a dynamic element",
          [](Situation& s) {
              s.dynamicElement(L"other", s.arm);
              return RenameElement{s.dynamicElement(L"extra", s.arm), L"other"};
          },
          Status::kDuplicateElementName, kNothing},
         {"name used, destroyed",
          [](Situation& s) {
              return RenameElement{s.destroyedElement(L"gone", s.arm), L"Int"};
          },
          Status::kDuplicateElementName, kNothing},
         {"destroyed",
          [](Situation& s) {
              return RenameElement{s.destroyedElement(L"gone", s.arm), L"new"};
          },
          Status::kFailure, kNothing}},
        [](const CoreManager& core, const RenameElement& a) { return core.canRenameDynamicElement(a.element, a.name); },
        [](CoreManager& core, const RenameElement& a) { return core.db_renameDynamicElement(a.element, a.name); });
}

/// Elements that are renamed to the name that they have.
struct OwnNameRow
{
    const char* name;
    Element* (*arrange)(Situation&);
};

constexpr OwnNameRow kOwnNameRows[] = {
    {"an element of its node", [](Situation& s) { return s.dynamicElement(L"extra", s.arm); }},
    {"while a lock is outstanding",
     [](Situation& s) {
         Element* const extra = s.dynamicElement(L"extra", s.arm);
         s.lock();
         return extra;
     }},
    {"not dynamic", [](Situation& s) -> Element* { return s.attribute(s.arm); }},
    {"on the root", [](Situation& s) -> Element* { return s.attribute(s.core.getRoot()); }},
    {"in undo", [](Situation& s) { return s.archivedElement(L"kept", s.arm); }},
    {"destroyed", [](Situation& s) { return s.destroyedElement(L"gone", s.arm); }}};

template <class Rename>
void expectOwnNameAccepted(Rename rename)
{
    for (const OwnNameRow& row : kOwnNameRows)
    {
        SCOPED_TRACE(row.name);
        Situation situation;
        Element* const element = row.arrange(situation);
        const std::wstring name = element->getName();
        const std::wstring before = dumpTree(situation.core);
        situation.scene.log().take();

        EXPECT_EQ(rename(situation.core, element, name.c_str()), Status::kSuccess);
        EXPECT_TRUE(logged(situation, kNothing));
        EXPECT_TRUE(isSameDump(before, dumpTree(situation.core)));
    }
}

TEST(CoreManagerChecksTest, RenamingADynamicElementToItsNameSucceedsBeforeAnyCheck)
{
    expectOwnNameAccepted([](CoreManager& core, Element* element, const wchar_t* name) {
        return core.db_renameDynamicElement(element, name);
    });
}

TEST(CoreManagerChecksTest, TheCheckOfARenameToTheOwnNameReturnsWhatTheEditReturns)
{
    expectOwnNameAccepted([](const CoreManager& core, const Element* element, const wchar_t* name) {
        return core.canRenameDynamicElement(element, name);
    });
}

// --- Arrays ---

struct ResizeArray
{
    AttributeArray* array;
    unsigned int size;
};

/// An attribute where an array belongs, as a host that casts without asking hands it over.
AttributeArray* asArray(Element* element)
{
    return static_cast<AttributeArray*>(element);
}

TEST(CoreManagerChecksTest, ResizeAttributeArrayHasItsOrder)
{
    expectRefusals<ResizeArray>(
        {{"lock outstanding, null",
          [](Situation& s) {
              s.lock();
              return ResizeArray{nullptr, 1};
          },
          Status::kLockOutstanding, kLockText},
         {"lock outstanding, size as it is",
          [](Situation& s) {
              AttributeArray* const array = s.items(s.arm, L"IntItems", 3);
              s.lock();
              return ResizeArray{array, 3};
          },
          Status::kLockOutstanding, kLockText},
         {"null",
          [](Situation&) {
              return ResizeArray{nullptr, 1};
          },
          Status::kNullArrayToResize, kNothing},
         {"not an array, in undo",
          [](Situation& s) {
              return ResizeArray{asArray(s.attribute(s.archivedNode(L"kept"))), 1};
          },
          Status::kFailure, kNothing},
         {"not an array, on the root",
          [](Situation& s) {
              return ResizeArray{asArray(s.attribute(s.core.getRoot())), 1};
          },
          Status::kFailure, kNothing},
         {"not an array, a dynamic attribute",
          [](Situation& s) {
              return ResizeArray{asArray(s.dynamicElement(L"extra", s.arm)), 1};
          },
          Status::kFailure, kNothing},
         {"not an array, but an item of one",
          [](Situation& s) {
              return ResizeArray{asArray(s.items(s.arm, L"IntItems", 1)->getAttribute(0)), 1};
          },
          Status::kFailure, kNothing},
         {"its node in undo",
          [](Situation& s) {
              return ResizeArray{s.archivedNode(L"kept")->findAttributeArrayByName(L"IntItems"), 1};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"in undo",
          [](Situation& s) {
              return ResizeArray{asArray(s.archivedElement(L"kept", s.arm, true)), 1};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"in undo, on the root",
          [](Situation& s) {
              return ResizeArray{s.rootWith(NodeFlag::kInUndo)->findAttributeArrayByName(L"IntItems"), 1};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"in undo, drops a reference",
          [](Situation& s) {
              AttributeArray* const array = s.items(s.arm, L"IntItems", 2);
              s.reference(s.attribute(s.leg), array->getAttribute(1));
              s.arm->setFlag(NodeFlag::kInUndo); // stands in: undo holds no node that takes part in references
              return ResizeArray{array, 1};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"on the root",
          [](Situation& s) {
              return ResizeArray{s.core.getRoot()->findAttributeArrayByName(L"IntItems"), 1};
          },
          Status::kRootNode, kRootText},
         {"drops an item that references",
          [](Situation& s) {
              AttributeArray* const array = s.items(s.arm, L"IntItems", 4);
              s.reference(s.attribute(s.leg), array->getAttribute(3));
              return ResizeArray{array, 3};
          },
          Status::kResizeDropsReferences, kNothing},
         {"drops items, the first of which is referenced",
          [](Situation& s) {
              AttributeArray* const array = s.items(s.arm, L"IntItems", 4);
              s.reference(array->getAttribute(0), s.attribute(s.leg));
              return ResizeArray{array, 0};
          },
          Status::kResizeDropsReferences, kNothing},
         {"its node destroyed",
          [](Situation& s) {
              return ResizeArray{s.destroyedNode(L"gone")->findAttributeArrayByName(L"IntItems"), 1};
          },
          Status::kFailure, kNothing},
         {"destroyed",
          [](Situation& s) {
              return ResizeArray{asArray(s.destroyedElement(L"gone", s.arm, true)), 1};
          },
          Status::kFailure, kNothing}},
        [](const CoreManager& core, const ResizeArray& a) { return core.canResizeAttributeArray(a.array, a.size); },
        [](CoreManager& core, const ResizeArray& a) { return core.db_resizeAttributeArray(a.array, a.size); });
}

TEST(CoreManagerChecksTest, AShrinkMayKeepItemsThatTakePartInReferences)
{
    Situation s;
    AttributeArray* const array = s.items(s.arm, L"IntItems", 4);
    s.reference(array->getAttribute(1), s.attribute(s.leg));

    EXPECT_EQ(s.core.canResizeAttributeArray(array, 2), Status::kSuccess);
    EXPECT_EQ(s.core.db_resizeAttributeArray(array, 2), Status::kSuccess);
    EXPECT_EQ(array->getSize(), 2u);
}

// --- References ---

struct CreateReference
{
    Attribute* referenced;
    Attribute* referencer;
    bool isSingle;
};

TEST(CoreManagerChecksTest, CreateReferenceHasItsOrder)
{
    expectRefusals<CreateReference>(
        {{"lock outstanding, both null",
          [](Situation& s) {
              s.lock();
              return CreateReference{nullptr, nullptr, false};
          },
          Status::kLockOutstanding, kLockText},
         {"both null",
          [](Situation&) {
              return CreateReference{nullptr, nullptr, false};
          },
          Status::kNullReferenced, kNothing},
         {"referencer null, referenced has a single output",
          [](Situation& s) {
              s.reference(s.attribute(s.arm), s.attribute(s.leg), true);
              return CreateReference{s.attribute(s.arm), nullptr, false};
          },
          Status::kNullReferencer, kNothing},
         {"referenced has a single output, single asked",
          [](Situation& s) {
              s.reference(s.attribute(s.arm), s.attribute(s.leg), true);
              return CreateReference{s.attribute(s.arm), s.attribute(s.hand), true};
          },
          Status::kReferencedIsSingleOutput, kNothing},
         {"referenced has a single output",
          [](Situation& s) {
              s.reference(s.attribute(s.arm), s.attribute(s.leg), true);
              return CreateReference{s.attribute(s.arm), s.attribute(s.hand), false};
          },
          Status::kReferencedIsSingleOutput, kNothing},
         {"single asked of a referenced one, in undo",
          [](Situation& s) {
              s.reference(s.attribute(s.arm), s.attribute(s.leg));
              return CreateReference{s.attribute(s.arm), s.attribute(s.archivedNode(L"kept")), true};
          },
          Status::kSingleOutputNotPossible, kNothing},
         {"referenced in undo",
          [](Situation& s) {
              return CreateReference{s.attribute(s.archivedNode(L"kept")), s.attribute(s.leg), false};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"referencer in undo",
          [](Situation& s) {
              return CreateReference{s.attribute(s.leg), s.attribute(s.archivedNode(L"kept")), false};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"referencer in undo by itself",
          [](Situation& s) {
              return CreateReference{s.attribute(s.leg), static_cast<Attribute*>(s.archivedElement(L"kept", s.arm)),
                                     false};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"referenced is an item of an array in undo",
          [](Situation& s) {
              AttributeArray* const array = s.items(s.arm, L"IntItems", 1);
              array->setFlag(ElementFlag::kInUndo);
              return CreateReference{array->getAttribute(0), s.attribute(s.leg), false};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"referencer in undo, referenced on the root",
          [](Situation& s) {
              return CreateReference{s.attribute(s.core.getRoot()), s.attribute(s.archivedNode(L"kept")), false};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"referenced on the root, referencer destroyed",
          [](Situation& s) {
              return CreateReference{s.attribute(s.core.getRoot()), s.attribute(s.destroyedNode(L"gone")), false};
          },
          Status::kReferenceToRoot, kNothing},
         {"referencer on the root, referenced destroyed",
          [](Situation& s) {
              return CreateReference{s.attribute(s.destroyedNode(L"gone")), s.attribute(s.core.getRoot()), false};
          },
          Status::kReferenceToRoot, kNothing},
         {"referenced destroyed, referencer not connectable",
          [](Situation& s) {
              return CreateReference{s.attribute(s.destroyedNode(L"gone")), s.unconnectable(L"fixed", s.arm), false};
          },
          Status::kReferenceToDestroyed, kNothing},
         {"referencer destroyed, referenced not connectable",
          [](Situation& s) {
              return CreateReference{s.unconnectable(L"fixed", s.arm), s.attribute(s.destroyedNode(L"gone")), false};
          },
          Status::kReferenceToDestroyed, kNothing},
         {"referenced not connectable, referencer legacy",
          [](Situation& s) {
              return CreateReference{s.unconnectable(L"fixed", s.arm), s.legacyAttribute(L"old", s.leg), false};
          },
          Status::kNotConnectable, kNothing},
         {"referencer not connectable, referenced legacy",
          [](Situation& s) {
              return CreateReference{s.legacyAttribute(L"old", s.leg), s.unconnectable(L"fixed", s.arm), false};
          },
          Status::kNotConnectable, kNothing},
         {"legacy, to itself",
          [](Situation& s) {
              Attribute* const old = s.legacyAttribute(L"old", s.leg);
              return CreateReference{old, old, false};
          },
          Status::kReferenceToLegacy, kNothing},
         {"referenced legacy",
          [](Situation& s) {
              return CreateReference{s.legacyAttribute(L"old", s.leg), s.attribute(s.arm), false};
          },
          Status::kReferenceToLegacy, kNothing},
         {"referencer legacy",
          [](Situation& s) {
              return CreateReference{s.attribute(s.arm), s.legacyAttribute(L"old", s.leg), false};
          },
          Status::kReferenceToLegacy, kNothing},
         {"to itself, referencing already",
          [](Situation& s) {
              s.reference(s.attribute(s.arm), s.attribute(s.leg));
              return CreateReference{s.attribute(s.leg), s.attribute(s.leg), false};
          },
          Status::kSelfReference, kNothing},
         {"referencing already, closes a cycle",
          [](Situation& s) {
              s.reference(s.attribute(s.arm), s.attribute(s.leg));
              s.reference(s.attribute(s.leg), s.attribute(s.hand));
              return CreateReference{s.attribute(s.hand), s.attribute(s.leg), false};
          },
          Status::kAlreadyReferencing, kNothing},
         {"closes a cycle of two",
          [](Situation& s) {
              s.reference(s.attribute(s.arm), s.attribute(s.leg));
              return CreateReference{s.attribute(s.leg), s.attribute(s.arm), false};
          },
          Status::kReferenceCycle, kNothing},
         {"closes a cycle of three",
          [](Situation& s) {
              s.reference(s.attribute(s.arm), s.attribute(s.leg));
              s.reference(s.attribute(s.leg), s.attribute(s.hand));
              return CreateReference{s.attribute(s.hand), s.attribute(s.arm), false};
          },
          Status::kReferenceCycle, kNothing}},
        [](const CoreManager& core, const CreateReference& a) {
            return core.canCreateReference(a.referenced, a.referencer, a.isSingle);
        },
        [](CoreManager& core, const CreateReference& a) {
            return core.db_createReference(a.referenced, a.referencer, a.isSingle);
        });
}

TEST(CoreManagerChecksTest, CreateReferenceRefusesWhatIsDestroyedOnANodeThatLives)
{
    Situation s;
    AttributeArray* const array = s.items(s.arm, L"IntItems", 2);
    Attribute* const released = array->getAttribute(1);
    ASSERT_EQ(s.core.db_resizeAttributeArray(array, 1), Status::kSuccess);
    auto* const destroyed = static_cast<Attribute*>(s.destroyedElement(L"gone", s.arm));
    const std::wstring before = dumpTree(s.core);

    for (Attribute* const dead : {released, destroyed})
    {
        SCOPED_TRACE(dead == released ? "released item" : "destroyed dynamic attribute");
        for (const CreateReference& a :
             {CreateReference{dead, s.attribute(s.leg), false}, CreateReference{s.attribute(s.leg), dead, false}})
        {
            const Status status = s.core.canCreateReference(a.referenced, a.referencer, a.isSingle);
            EXPECT_TRUE(status == Status::kFailure || status == Status::kReferenceToDestroyed);
            EXPECT_EQ(s.core.db_createReference(a.referenced, a.referencer, a.isSingle), status);
        }
    }
    EXPECT_TRUE(isSameDump(before, dumpTree(s.core)));
}

TEST(CoreManagerChecksTest, DestroyReferenceHasItsOrder)
{
    expectRefusals<Attribute*>(
        {{"lock outstanding, null",
          [](Situation& s) -> Attribute* {
              s.lock();
              return nullptr;
          },
          Status::kLockOutstanding, kLockText},
         {"null", [](Situation&) -> Attribute* { return nullptr; }, Status::kNullReferenceToDestroy, kNothing},
         {"in undo, references nothing", [](Situation& s) { return s.attribute(s.archivedNode(L"kept")); },
          Status::kInUndo, kAttributeInUndoText},
         {"in undo, on the root", [](Situation& s) { return s.attribute(s.rootWith(NodeFlag::kInUndo)); },
          Status::kInUndo, kAttributeInUndoText},
         {"on the root, references nothing", [](Situation& s) { return s.attribute(s.core.getRoot()); },
          Status::kRootNode, kRootText},
         {"references nothing", [](Situation& s) { return s.attribute(s.arm); }, Status::kNoReference, kNothing},
         {"referenced, but references nothing",
          [](Situation& s) {
              s.reference(s.attribute(s.arm), s.attribute(s.leg));
              return s.attribute(s.arm);
          },
          Status::kNoReference, kNothing},
         {"references nothing, node destroyed", [](Situation& s) { return s.attribute(s.destroyedNode(L"gone")); },
          Status::kNoReference, kNothing}},
        [](const CoreManager& core, Attribute* referencer) { return core.canDestroyReference(referencer); },
        [](CoreManager& core, Attribute* referencer) { return core.db_destroyReference(referencer); });
}

// --- Locks ---

struct LockAttribute
{
    Attribute* attribute;
    bool hasOutput;
};

/// The edit with an output gives what the check gives; a missing output comes after all tests.
TEST(CoreManagerChecksTest, LockAttributeHasItsOrder)
{
    expectRefusals<LockAttribute>(
        {{"null",
          [](Situation&) {
              return LockAttribute{nullptr, false};
          },
          Status::kNullAttributeToLock, kNothing},
         {"null while a lock is outstanding",
          [](Situation& s) {
              s.lock();
              return LockAttribute{nullptr, true};
          },
          Status::kNullAttributeToLock, kNothing},
         {"its node in undo",
          [](Situation& s) {
              return LockAttribute{s.attribute(s.archivedNode(L"kept")), false};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"in undo",
          [](Situation& s) {
              return LockAttribute{static_cast<Attribute*>(s.archivedElement(L"kept", s.arm)), true};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"in undo, on the root",
          [](Situation& s) {
              return LockAttribute{s.attribute(s.rootWith(NodeFlag::kInUndo)), true};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"on the root, locked",
          [](Situation& s) {
              s.attribute(s.core.getRoot())->setFlag(ElementFlag::kLocked);
              return LockAttribute{s.attribute(s.core.getRoot()), true};
          },
          Status::kRootNode, kRootText},
         {"locked, references",
          [](Situation& s) {
              s.reference(s.attribute(s.leg), s.attribute(s.arm));
              s.attribute(s.arm)->setFlag(ElementFlag::kLocked);
              return LockAttribute{s.attribute(s.arm), true};
          },
          Status::kAttributeAlreadyLocked, kNothing},
         {"locked",
          [](Situation& s) {
              s.lock();
              return LockAttribute{s.attribute(s.leg, L"Quat"), false};
          },
          Status::kAttributeAlreadyLocked, kNothing},
         {"references, no output",
          [](Situation& s) {
              s.reference(s.attribute(s.leg), s.attribute(s.arm));
              return LockAttribute{s.attribute(s.arm), false};
          },
          Status::kLockReferencer, kNothing},
         {"node destroyed",
          [](Situation& s) {
              return LockAttribute{s.attribute(s.destroyedNode(L"gone")), true};
          },
          Status::kFailure, kNothing},
         {"destroyed",
          [](Situation& s) {
              return LockAttribute{static_cast<Attribute*>(s.destroyedElement(L"gone", s.arm)), true};
          },
          Status::kFailure, kNothing},
         {"released item",
          [](Situation& s) {
              Attribute* const item = s.items(s.arm, L"IntItems", 2)->getAttribute(1);
              s.items(s.arm, L"IntItems", 1);
              return LockAttribute{item, true};
          },
          Status::kFailure, kNothing}},
        [](const CoreManager& core, const LockAttribute& a) { return core.canLockAttribute(a.attribute); },
        [](CoreManager& core, const LockAttribute& a) {
            ValueHandle out;
            const Status status = core.db_lockAttribute(a.attribute, a.hasOutput ? &out : nullptr);
            EXPECT_TRUE(out.isNull()) << "a refused edit left something in its out argument";
            return status;
        });
}

TEST(CoreManagerChecksTest, ALockWithoutAnOutputIsRefusedLast)
{
    Situation s;
    s.items(s.arm, L"IntItems", 2);
    const std::wstring before = dumpTree(s.core);

    EXPECT_EQ(s.core.db_lockAttribute(s.attribute(s.arm), nullptr), Status::kNullLockOutput);
    EXPECT_EQ(s.core.db_lockAttributeArray(s.arm->findAttributeArrayByName(L"IntItems"), nullptr),
              Status::kNullLockOutput);
    EXPECT_FALSE(s.core.isLockOutstanding());
    EXPECT_TRUE(isSameDump(before, dumpTree(s.core)));
}

struct LockArray
{
    AttributeArray* array;
    bool hasOutput;
};

TEST(CoreManagerChecksTest, LockAttributeArrayHasItsOrder)
{
    expectRefusals<LockArray>(
        {{"null",
          [](Situation&) {
              return LockArray{nullptr, false};
          },
          Status::kNullArrayToLock, kNothing},
         {"null while a lock is outstanding",
          [](Situation& s) {
              s.lock();
              return LockArray{nullptr, true};
          },
          Status::kNullArrayToLock, kNothing},
         {"its node in undo",
          [](Situation& s) {
              return LockArray{s.archivedNode(L"kept")->findAttributeArrayByName(L"IntItems"), false};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"in undo",
          [](Situation& s) {
              return LockArray{asArray(s.archivedElement(L"kept", s.arm, true)), true};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"in undo, on the root",
          [](Situation& s) {
              return LockArray{s.rootWith(NodeFlag::kInUndo)->findAttributeArrayByName(L"IntItems"), true};
          },
          Status::kInUndo, kAttributeInUndoText},
         {"on the root, locked",
          [](Situation& s) {
              AttributeArray* const array = s.core.getRoot()->findAttributeArrayByName(L"IntItems");
              array->setFlag(ElementFlag::kLocked);
              return LockArray{array, true};
          },
          Status::kRootNode, kRootText},
         {"locked, not plain data",
          [](Situation& s) {
              AttributeArray* const array = s.items(s.arm, L"StringItems", 1);
              array->setFlag(ElementFlag::kLocked);
              return LockArray{array, true};
          },
          Status::kArrayAlreadyLocked, kNothing},
         {"locked",
          [](Situation& s) {
              AttributeArray* const array = s.items(s.arm, L"FloatItems", 1);
              void* values = nullptr;
              EXPECT_EQ(s.core.db_lockAttributeArray(array, &values), Status::kSuccess);
              return LockArray{array, false};
          },
          Status::kArrayAlreadyLocked, kNothing},
         {"not plain data, an item references",
          [](Situation& s) {
              AttributeArray* const array = s.items(s.arm, L"StringItems", 1);
              s.reference(s.attribute(s.leg), array->getAttribute(0));
              return LockArray{array, true};
          },
          Status::kLockArrayNotPlainData, kNothing},
         {"no data at all",
          [](Situation& s) {
              return LockArray{s.items(s.arm, L"NullItems", 1), true};
          },
          Status::kLockArrayNotPlainData, kNothing},
         {"an item references, no output",
          [](Situation& s) {
              AttributeArray* const array = s.items(s.arm, L"MatrixItems", 3);
              s.reference(s.attribute(s.leg), array->getAttribute(2));
              return LockArray{array, false};
          },
          Status::kLockArrayWithReferencer, kNothing},
         {"node destroyed",
          [](Situation& s) {
              return LockArray{s.destroyedNode(L"gone")->findAttributeArrayByName(L"IntItems"), true};
          },
          Status::kFailure, kNothing},
         {"destroyed",
          [](Situation& s) {
              return LockArray{asArray(s.destroyedElement(L"gone", s.arm, true)), true};
          },
          Status::kFailure, kNothing}},
        [](const CoreManager& core, const LockArray& a) { return core.canLockAttributeArray(a.array); },
        [](CoreManager& core, const LockArray& a) {
            int untouched = 0;
            void* out = &untouched;
            const Status status = core.db_lockAttributeArray(a.array, a.hasOutput ? &out : nullptr);
            EXPECT_EQ(out, &untouched) << "a refused edit left something in its out argument";
            return status;
        });
}

TEST(CoreManagerChecksTest, LockAttributeArrayRefusesAnAttribute)
{
    Situation s;
    const std::wstring before = dumpTree(s.core);
    void* values = nullptr;
    EXPECT_EQ(s.core.canLockAttributeArray(asArray(s.attribute(s.arm))), Status::kFailure);
    EXPECT_EQ(s.core.db_lockAttributeArray(asArray(s.attribute(s.arm)), &values), Status::kFailure);
    EXPECT_TRUE(isSameDump(before, dumpTree(s.core)));
}

TEST(CoreManagerChecksTest, LockAttributeRefusesAnArray)
{
    Situation s;
    Element* const array = s.items(s.arm, L"IntItems", 2);
    const std::wstring before = dumpTree(s.core);
    ValueHandle value;
    EXPECT_EQ(s.core.canLockAttribute(static_cast<Attribute*>(array)), Status::kFailure);
    EXPECT_EQ(s.core.db_lockAttribute(static_cast<Attribute*>(array), &value), Status::kFailure);
    EXPECT_TRUE(isSameDump(before, dumpTree(s.core)));
}

TEST(CoreManagerChecksTest, CreateReferenceRefusesAnArray)
{
    Situation s;
    auto* const array = static_cast<Attribute*>(static_cast<Element*>(s.items(s.arm, L"IntItems", 2)));
    Attribute* const other = s.attribute(s.leg);
    const std::wstring before = dumpTree(s.core);
    EXPECT_EQ(s.core.canCreateReference(array, other, false), Status::kFailure);
    EXPECT_EQ(s.core.canCreateReference(other, array, false), Status::kFailure);
    EXPECT_TRUE(isSameDump(before, dumpTree(s.core)));
}

TEST(CoreManagerChecksTest, AnArrayWhoseItemsAreReferencedCanBeLocked)
{
    Situation s;
    AttributeArray* const array = s.items(s.arm, L"IntItems", 2);
    s.reference(array->getAttribute(1), s.attribute(s.leg));
    EXPECT_EQ(s.core.canLockAttributeArray(array), Status::kSuccess);
}

TEST(CoreManagerChecksTest, UnlockAttributeTestsNullThenTheLock)
{
    expectRefusals<Attribute*>(
        {{"null", [](Situation&) -> Attribute* { return nullptr; }, Status::kNullAttributeToUnlock, kNothing},
         {"not locked", [](Situation& s) { return s.attribute(s.arm); }, Status::kAttributeNotLocked, kNothing},
         {"not locked while another one is",
          [](Situation& s) {
              s.lock();
              return s.attribute(s.arm);
          },
          Status::kAttributeNotLocked, kNothing},
         {"on the root, not locked", [](Situation& s) { return s.attribute(s.core.getRoot()); },
          Status::kAttributeNotLocked, kNothing}},
        [](const CoreManager& core, Attribute* attribute) { return core.canUnlockAttribute(attribute); },
        [](CoreManager& core, Attribute* attribute) { return core.db_unlockAttribute(attribute); });
}

TEST(CoreManagerChecksTest, UnlockAttributeArrayTestsNullThenTheLock)
{
    expectRefusals<AttributeArray*>(
        {{"null", [](Situation&) -> AttributeArray* { return nullptr; }, Status::kNullArrayToUnlock, kNothing},
         {"not locked", [](Situation& s) { return s.items(s.arm, L"IntItems", 1); }, Status::kArrayNotLocked, kNothing},
         {"not locked while an attribute is",
          [](Situation& s) {
              s.lock();
              return s.leg->findAttributeArrayByName(L"IntItems");
          },
          Status::kArrayNotLocked, kNothing}},
        [](const CoreManager& core, AttributeArray* array) { return core.canUnlockAttributeArray(array); },
        [](CoreManager& core, AttributeArray* array) { return core.db_unlockAttributeArray(array); });
}

// --- Units of work ---

TEST(CoreManagerChecksTest, CommitsAndClearAreRefusedWhileALockIsOutstanding)
{
    using EndUnitOfWork = Status (*)(CoreManager&);
    const auto arrange = [](Situation& s) -> EndUnitOfWork {
        s.lock();
        return nullptr;
    };
    struct Kind
    {
        const char* name;
        EndUnitOfWork end;
    };
    constexpr Kind kKinds[] = {{"db_commit", [](CoreManager& core) { return core.db_commit(L"", L"", 1); }},
                               {"db_commitTransient", [](CoreManager& core) { return core.db_commitTransient(); }},
                               {"db_clear", [](CoreManager& core) { return core.db_clear(); }}};
    for (const Kind& kind : kKinds)
    {
        SCOPED_TRACE(kind.name);
        expectRefusals<EndUnitOfWork>(
            {{"lock outstanding", arrange, Status::kLockOutstanding, kLockText}},
            [](const CoreManager& core, EndUnitOfWork) { return core.canCommit(); },
            [&kind](CoreManager& core, EndUnitOfWork) { return kind.end(core); });
    }
}

// --- Unknown and legacy elements, which have no check to ask ---

struct CreateLoadedElement
{
    const wchar_t* name;
    Node* node;
};

/// A definition whose author forgot the type.
class TypelessDefinition : public IntAttributeMetaDataDef
{
public:
    [[nodiscard]] ConstValueHandle getDefaultValue() const override { return ConstValueHandle(); }
};

struct LoadedElementRow
{
    const char* name;
    CreateLoadedElement (*arrange)(Situation&);
    bool isTypeless;
    Status status;
};

Node* unknownNode(Situation& s, const wchar_t* name, bool isLegacy = false)
{
    Node* made = nullptr;
    EXPECT_EQ(s.core.db_createUnknownNode(L"Gone", s.scene.module(), name, nullptr, nullptr, isLegacy, &made),
              Status::kSuccess);
    return made;
}

template <class Create>
void expectLoadedRefusals(const std::vector<LoadedElementRow>& rows, Create create)
{
    for (const LoadedElementRow& row : rows)
    {
        SCOPED_TRACE(row.name);
        Situation situation;
        const CreateLoadedElement a = row.arrange(situation);
        const std::wstring before = dumpTree(situation.core);
        situation.scene.log().take();

        const std::unique_ptr<ElementMetaDataDef> definition(row.isTypeless ? new TypelessDefinition
                                                                            : new IntAttributeMetaDataDef);
        Element* const untouched = situation.attribute(situation.arm);
        Element* out = untouched;
        EXPECT_EQ(create(situation.core, *definition, a, &out), row.status);
        EXPECT_EQ(out, untouched);
        EXPECT_TRUE(logged(situation, row.status == Status::kLockOutstanding ? kLockText : kNothing));
        EXPECT_TRUE(isSameDump(before, dumpTree(situation.core)));
    }
}

TEST(CoreManagerChecksTest, CreateUnknownElementHasItsOrder)
{
    expectLoadedRefusals({{"lock outstanding, null name",
                           [](Situation& s) {
                               Node* const node = unknownNode(s, L"odd");
                               s.lock();
                               return CreateLoadedElement{nullptr, node};
                           },
                           false, Status::kLockOutstanding},
                          {"null name",
                           [](Situation& s) {
                               return CreateLoadedElement{nullptr, unknownNode(s, L"odd")};
                           },
                           false, Status::kFailure},
                          {"empty name",
                           [](Situation& s) {
                               return CreateLoadedElement{L"", unknownNode(s, L"odd")};
                           },
                           false, Status::kEmptyElementName},
                          {"name too long, node known",
                           [](Situation& s) {
                               return CreateLoadedElement{kTooLongName.c_str(), s.arm};
                           },
                           false, Status::kNameTooLong},
                          {"null node",
                           [](Situation&) {
                               return CreateLoadedElement{L"new", nullptr};
                           },
                           false, Status::kFailure},
                          {"node known, name used",
                           [](Situation& s) {
                               return CreateLoadedElement{L"Int", s.arm};
                           },
                           false, Status::kFailure},
                          {"node legacy",
                           [](Situation& s) {
                               return CreateLoadedElement{L"new", unknownNode(s, L"old", true)};
                           },
                           false, Status::kFailure},
                          {"name used by the node's template, no type",
                           [](Situation& s) {
                               Node* const node = unknownNode(s, L"odd");
                               EXPECT_EQ(s.core.createUnknownElement(IntAttributeMetaDataDef(), L"a", node, nullptr),
                                         Status::kSuccess);
                               return CreateLoadedElement{L"a", node};
                           },
                           true, Status::kDuplicateElementName},
                          {"name used by a dynamic element",
                           [](Situation& s) {
                               Node* const node = unknownNode(s, L"odd");
                               s.dynamicElement(L"extra", node);
                               return CreateLoadedElement{L"extra", node};
                           },
                           false, Status::kDuplicateElementName},
                          {"no type",
                           [](Situation& s) {
                               return CreateLoadedElement{L"new", unknownNode(s, L"odd")};
                           },
                           true, Status::kFailure},
                          {"node destroyed",
                           [](Situation& s) {
                               Node* const node = unknownNode(s, L"odd");
                               EXPECT_EQ(s.core.db_destroyLeafNode(node), Status::kSuccess);
                               return CreateLoadedElement{L"new", node};
                           },
                           false, Status::kFailure}},
                         [](CoreManager& core, const ElementMetaDataDef& definition, const CreateLoadedElement& a,
                            Element** out) { return core.createUnknownElement(definition, a.name, a.node, out); });
}

TEST(CoreManagerChecksTest, CreateLegacyElementHasItsOrder)
{
    expectLoadedRefusals({{"lock outstanding, null name",
                           [](Situation& s) {
                               s.lock();
                               return CreateLoadedElement{nullptr, s.arm};
                           },
                           false, Status::kLockOutstanding},
                          {"null name",
                           [](Situation& s) {
                               return CreateLoadedElement{nullptr, s.arm};
                           },
                           false, Status::kFailure},
                          {"empty name",
                           [](Situation& s) {
                               return CreateLoadedElement{L"", s.arm};
                           },
                           false, Status::kEmptyElementName},
                          {"name too long, null node",
                           [](Situation&) {
                               return CreateLoadedElement{kTooLongName.c_str(), nullptr};
                           },
                           false, Status::kNameTooLong},
                          {"null node",
                           [](Situation&) {
                               return CreateLoadedElement{L"old", nullptr};
                           },
                           false, Status::kFailure},
                          {"node unknown and not legacy",
                           [](Situation& s) {
                               return CreateLoadedElement{L"old", unknownNode(s, L"odd")};
                           },
                           false, Status::kFailure},
                          {"no type",
                           [](Situation& s) {
                               return CreateLoadedElement{L"old", s.arm};
                           },
                           true, Status::kFailure},
                          {"node destroyed",
                           [](Situation& s) {
                               return CreateLoadedElement{L"old", s.destroyedNode(L"gone")};
                           },
                           false, Status::kFailure}},
                         [](CoreManager& core, const ElementMetaDataDef& definition, const CreateLoadedElement& a,
                            Element** out) { return core.createLegacyElement(definition, a.name, a.node, out); });
}

TEST(CoreManagerChecksTest, CreateLegacyElementRefusesASecondOfTheNameAndSaysSo)
{
    Situation s;
    s.legacyAttribute(L"old", s.arm);
    const std::wstring before = dumpTree(s.core);
    s.scene.log().take();

    EXPECT_EQ(s.core.createLegacyElement(IntAttributeMetaDataDef(), L"old", s.arm, nullptr),
              Status::kDuplicateLegacyElement);
    EXPECT_TRUE(logged(s, L"Duplicate legacy element 'old' found in node 'arm'. Duplicate legacy element names should "
                          L"not be possible."));
    EXPECT_TRUE(isSameDump(before, dumpTree(s.core)));
}

TEST(CoreManagerChecksTest, DestroyLegacyElementHasItsOrder)
{
    struct DestroyRow
    {
        const char* name;
        Element* (*arrange)(Situation&);
        Status status;
    };
    constexpr DestroyRow kRows[] = {
        {"lock outstanding, null",
         [](Situation& s) -> Element* {
             s.lock();
             return nullptr;
         },
         Status::kLockOutstanding},
        {"null", [](Situation&) -> Element* { return nullptr; }, Status::kNullElementToDestroy},
        {"of the template", [](Situation& s) -> Element* { return s.attribute(s.arm); }, Status::kFailure},
        {"dynamic", [](Situation& s) { return s.dynamicElement(L"extra", s.arm); }, Status::kFailure},
        {"destroyed",
         [](Situation& s) -> Element* {
             Element* const old = s.legacyAttribute(L"old", s.arm);
             EXPECT_EQ(s.core.destroyLegacyElement(old), Status::kSuccess);
             return old;
         },
         Status::kFailure}};
    for (const DestroyRow& row : kRows)
    {
        SCOPED_TRACE(row.name);
        Situation situation;
        Element* const element = row.arrange(situation);
        const std::wstring before = dumpTree(situation.core);
        situation.scene.log().take();

        EXPECT_EQ(situation.core.destroyLegacyElement(element), row.status);
        EXPECT_TRUE(logged(situation, row.status == Status::kLockOutstanding ? kLockText : kNothing));
        EXPECT_TRUE(isSameDump(before, dumpTree(situation.core)));
    }
}

// --- Arguments at the edge of what is accepted ---

TEST(CoreManagerChecksTest, AnElementNameOfFortyCharactersIsAccepted)
{
    Situation s;
    EXPECT_EQ(s.core.canCreateDynamicElement(IntAttributeMetaDataDef(), kLongestName.c_str(), s.arm, nullptr),
              Status::kSuccess);
    Element* const extra = s.dynamicElement(L"extra", s.arm);
    EXPECT_EQ(s.core.db_renameDynamicElement(extra, kLongestName.c_str()), Status::kSuccess);
    EXPECT_EQ(extra->getName(), kLongestName);
}

TEST(CoreManagerChecksTest, ADynamicElementWithoutATypeIsRefused)
{
    Situation s;
    const std::wstring before = dumpTree(s.core);
    EXPECT_EQ(s.core.db_createDynamicElement(TypelessDefinition(), L"new", s.arm, nullptr, nullptr), Status::kFailure);
    EXPECT_EQ(s.core.canCreateDynamicElement(TypelessDefinition(), L"new", s.arm, nullptr), Status::kFailure);
    EXPECT_TRUE(isSameDump(before, dumpTree(s.core)));
}

} // namespace
} // namespace db2test
