#include "support/NameCollision.h"
#include "support/Scene.h"
#include "support/TreeDump.h"

#include <kqx/Anchor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace db2test {
namespace {

using Names = std::vector<std::wstring>;

class CoreManagerNodesTest : public ::testing::Test
{
protected:
    Node* plain(const wchar_t* name, Node* parent = nullptr) { return scene.nodeOf(Scene::kPlain, name, parent); }

    /// Makes a node of the type "Plain" before @p next.
    Node* plainBefore(Node* next, const wchar_t* name, Node* parent = nullptr)
    {
        Node* made = nullptr;
        EXPECT_EQ(core.db_createNode(Scene::kPlain, name, parent, next, &made), Status::kSuccess);
        return made;
    }

    /// The names of the children, after both directions of the list were found to agree.
    static Names childrenOf(const Node* parent)
    {
        Names forwards, backwards;
        for (const Node* child = parent->getFirstChild(); child != nullptr; child = child->getNextSibling())
        {
            EXPECT_EQ(child->getParent(), parent);
            forwards.emplace_back(child->getName().c_str());
        }
        for (const Node* child = parent->getLastChild(); child != nullptr; child = child->getPreviousSibling())
            backwards.emplace_back(child->getName().c_str());
        EXPECT_EQ(Names(backwards.rbegin(), backwards.rend()), forwards);
        return forwards;
    }

    [[nodiscard]] Names childrenOfRoot() { return childrenOf(scene.root()); }

    [[nodiscard]] CoreManager::Statistics counts() const { return core.getStatistics(); }

    Scene scene;
    CoreManager& core = scene.core();
};

// --- A fresh manager ---

TEST_F(CoreManagerNodesTest, AFreshManagerHasARootNamedRoot)
{
    ASSERT_NE(scene.root(), nullptr);
    EXPECT_EQ(scene.root()->getName(), L"Root");
    EXPECT_EQ(scene.root()->getTypeId(), unsigned{Scene::kRoot});
    EXPECT_EQ(scene.root()->getParent(), nullptr);
    EXPECT_EQ(scene.root()->getFirstChild(), nullptr);
    EXPECT_EQ(scene.root()->getFlags(), 0u);
}

TEST_F(CoreManagerNodesTest, AFreshManagerCountsItsRootAndNothingElse)
{
    CoreManager::Statistics expected;
    expected.nodes = 1;
    EXPECT_EQ(counts(), expected);
    EXPECT_FALSE(core.isLockOutstanding());
}

TEST_F(CoreManagerNodesTest, TheElementsOfTheRootAreCounted)
{
    const CoreManager other(scene.registry(), Scene::kAll);
    CoreManager::Statistics expected;
    expected.nodes = 1;
    expected.elements = 26;
    EXPECT_EQ(other.getStatistics(), expected);
}

TEST_F(CoreManagerNodesTest, AManagerAnswersWhatItWasMadeWith)
{
    int data = 0;
    const CoreManager other(scene.registry(), Scene::kPlain, nullptr, nullptr, &data);
    EXPECT_EQ(&other.getRegistry(), &scene.registry());
    EXPECT_EQ(other.getUserData(), &data);
    EXPECT_EQ(other.getRoot()->getTypeId(), unsigned{Scene::kPlain});
    EXPECT_EQ(CoreManager::getDontSaveFlag(), 1u);
    EXPECT_EQ(CoreManager::getAlwaysSaveFlag(), 2u);
}

TEST_F(CoreManagerNodesTest, WithoutATypeForTheRootThereIsNoTreeAndNoEdit)
{
    CoreManager other(scene.registry(), 99);
    EXPECT_EQ(other.getRoot(), nullptr);
    EXPECT_EQ(other.getStatistics(), CoreManager::Statistics());
    EXPECT_NE(other.db_createNode(Scene::kPlain, L"node", nullptr, nullptr, nullptr), Status::kSuccess);
    EXPECT_NE(other.db_createUnknownNode(L"Gone", scene.module(), L"node", nullptr, nullptr, false, nullptr),
              Status::kSuccess);
}

TEST_F(CoreManagerNodesTest, TwoManagersShareARegistryAndNothingElse)
{
    CoreManager other(scene.registry(), Scene::kRoot);
    plain(L"node");
    Node* twin = nullptr;
    ASSERT_EQ(other.db_createNode(Scene::kPlain, L"node", nullptr, nullptr, &twin), Status::kSuccess);
    EXPECT_EQ(twin->getName(), L"node");
    EXPECT_EQ(twin->getParent(), other.getRoot());
    EXPECT_EQ(other.getStatistics().nodes, 2u);
}

// --- Creating ---

TEST_F(CoreManagerNodesTest, ANodeIsAppendedWithoutNextAndInsertedBeforeIt)
{
    Node* const middle = plain(L"middle");
    plain(L"last");
    plainBefore(middle, L"second");
    plainBefore(scene.root()->getFirstChild(), L"first");
    EXPECT_EQ(childrenOfRoot(), (Names{L"first", L"second", L"middle", L"last"}));
}

TEST_F(CoreManagerNodesTest, ANodeIsMadeUnderTheGivenParent)
{
    Node* const parent = plain(L"parent");
    Node* const child = plain(L"child", parent);
    plainBefore(child, L"elder", parent);
    EXPECT_EQ(childrenOf(parent), (Names{L"elder", L"child"}));
    EXPECT_EQ(childrenOfRoot(), Names{L"parent"});
}

TEST_F(CoreManagerNodesTest, ANodeWithoutANameBearsTheNameOfItsType)
{
    plain(nullptr);
    plain(L"");
    scene.nodeOf(Scene::kAll, L"");
    EXPECT_EQ(childrenOfRoot(), (Names{L"Plain", L"Plain0", L"All"}));
}

TEST_F(CoreManagerNodesTest, CreatingCountsTheNodeAndItsElements)
{
    const CoreManager::Statistics before = counts();
    scene.node(L"node");
    CoreManager::Statistics expected = before;
    expected.nodes += 1;
    expected.elements += 26;
    EXPECT_EQ(counts(), expected);
}

TEST_F(CoreManagerNodesTest, CreatingRaisesTheReferenceCountOfTheTemplate)
{
    const NodeTemplate& plainType = *scene.registry().lookupNodeTemplate(Scene::kPlain);
    ASSERT_EQ(plainType.getReferenceCount(), 0u);
    plain(L"a");
    plain(L"b");
    EXPECT_EQ(plainType.getReferenceCount(), 2u);
}

TEST_F(CoreManagerNodesTest, AFreshNodeHasEveryElementOfItsTypeAtItsDefault)
{
    const Node* const node = scene.node(L"node");
    ASSERT_EQ(node->getElementCount(), 26u);
    for (unsigned int i = 0; i < node->getElementCount(); ++i)
    {
        const Element* const element = node->getElement(i);
        SCOPED_TRACE(testing::Message() << element->getName());
        if (element->isAttributeArray())
            EXPECT_EQ(static_cast<const AttributeArray*>(element)->getSize(), 0u);
        else
            EXPECT_EQ(dumpValue(static_cast<const Attribute*>(element)->getValue()),
                      dumpValue(element->getDefaultValue()));
        EXPECT_EQ(element->getFlags(), element->isAttributeArray() ? ElementFlag::kArray : 0u);
    }
}

/// A type whose defaults are other than the types' own, and partly own memory.
class CoreManagerDefaultsTest : public CoreManagerNodesTest
{
protected:
    static constexpr unsigned int kRich = 10;

    CoreManagerDefaultsTest()
    {
        auto* const rich = new NodeTemplate(L"Rich", kRich, scene.module());
        const auto add = [rich](auto& definition, const auto& value, const wchar_t* name) {
            definition.setDefaultValue(value);
            EXPECT_EQ(rich->addAttribute(definition, name), Status::kSuccess);
        };
        IntAttributeMetaDataDef integer;
        add(integer, -5, L"int");
        BoolAttributeMetaDataDef boolean;
        add(boolean, true, L"bool");
        StringAttributeMetaDataDef text;
        add(text, kqx::String(L"a text that takes memory"), L"text");
        MatrixAttributeMetaDataDef matrix;
        kqx::Matrix shifted;
        shifted.m[3][0] = 2.5f;
        add(matrix, shifted, L"matrix");
        DoubleAttributeMetaDataDef number;
        add(number, 0.1, L"double");
        StringArrayAttributeMetaDataDef texts;
        add(texts, kqx::StringArray{kqx::String(L"one"), kqx::String(L"two")}, L"texts");
        VertexBufferAttributeMetaDataDef vertices;
        kqx::VertexBuffer buffer;
        buffer.getStream(buffer.addStream(L"position", 3)) = {1.0f, 2.0f, 3.0f};
        add(vertices, buffer, L"vertices");
        EXPECT_EQ(scene.registry().registerNodeTemplate(rich), Status::kSuccess);
    }
};

TEST_F(CoreManagerDefaultsTest, ValuesStartAsTheDefaultsThatTheTypeDeclares)
{
    const Node* const node = scene.nodeOf(kRich, L"node");
    EXPECT_EQ(node->findAttributeByName(L"int")->getValue().getInt(), -5);
    EXPECT_TRUE(node->findAttributeByName(L"bool")->getValue().getBool());
    EXPECT_EQ(node->findAttributeByName(L"text")->getValue().getString(), L"a text that takes memory");
    EXPECT_EQ(node->findAttributeByName(L"matrix")->getValue().getMatrix().m[3][0], 2.5f);
    EXPECT_EQ(node->findAttributeByName(L"double")->getValue().getDouble(), 0.1);
    EXPECT_EQ(node->findAttributeByName(L"texts")->getValue().getStringArray()[1], L"two");
    EXPECT_EQ(node->findAttributeByName(L"vertices")->getValue().getVertexBuffer().getStream(0)[2], 3.0f);
}

TEST_F(CoreManagerDefaultsTest, WritingAValueChangesNeitherTheDefaultNorAnotherNode)
{
    Node* const a = scene.nodeOf(kRich, L"a");
    const Node* const b = scene.nodeOf(kRich, L"b");
    scene.write(a->findAttributeByName(L"text"), L"other");
    scene.write(a->findAttributeByName(L"int"), 9);
    const Node* const c = scene.nodeOf(kRich, L"c");
    for (const Node* const node : {b, c})
    {
        EXPECT_EQ(node->findAttributeByName(L"text")->getValue().getString(), L"a text that takes memory");
        EXPECT_EQ(node->findAttributeByName(L"int")->getValue().getInt(), -5);
    }
    EXPECT_EQ(a->findAttributeByName(L"text")->getDefaultValue().getString(), L"a text that takes memory");
}

// --- The host's objects ---

/// Makes an object of each node and keeps what it saw.
class CountingFactory : public APIBaseFactory
{
public:
    void* createNodeAPI(Node* node, void* userData) override
    {
        nodes.push_back(node);
        lastName = node->getName().c_str();
        lastUserData = userData;
        return &object;
    }

    std::vector<Node*> nodes;
    std::wstring lastName;
    void* lastUserData = nullptr;
    int object = 0;
};

TEST_F(CoreManagerNodesTest, TheFactoryOfTheTemplateMakesTheHostsObjectOfEachNode)
{
    CountingFactory factory;
    ASSERT_EQ(scene.registry().registerNodeTemplate(new NodeTemplate(L"Made", 10, scene.module(), &factory)),
              Status::kSuccess);
    const Node* const made = scene.nodeOf(10, L"made");
    EXPECT_EQ(factory.nodes, std::vector<Node*>{const_cast<Node*>(made)});
    EXPECT_EQ(factory.lastName, L"made");
    EXPECT_EQ(factory.lastUserData, &scene) << "what the manager was given";
    EXPECT_EQ(made->getAPI(), &factory.object);

    EXPECT_EQ(plain(L"other")->getAPI(), nullptr);
    EXPECT_EQ(factory.nodes.size(), 1u);
}

TEST_F(CoreManagerNodesTest, ARefusedCreationAsksNoFactory)
{
    CountingFactory factory;
    ASSERT_EQ(scene.registry().registerNodeTemplate(new NodeTemplate(L"Made", 10, scene.module(), &factory)),
              Status::kSuccess);
    Node* const child = plain(L"child", plain(L"parent"));
    EXPECT_EQ(core.db_createNode(10, L"made", nullptr, child, nullptr), Status::kNextNotChildOfParent);
    EXPECT_TRUE(factory.nodes.empty());
}

// --- Unique names ---

TEST_F(CoreManagerNodesTest, ANameThatIsTakenGetsANumber)
{
    plain(L"Box");
    plain(L"Box");
    plain(L"Box");
    EXPECT_EQ(childrenOfRoot(), (Names{L"Box", L"Box0", L"Box1"}));
}

TEST_F(CoreManagerNodesTest, ANumberAtTheEndOfANameGivesWayButForItsLeadingZeros)
{
    struct Row
    {
        const wchar_t* name;
        unsigned int takenBefore; ///< numbers that other nodes have used
        const wchar_t* uniqueName;
    };
    constexpr Row kRows[] = {{L"Box", 0, L"Box0"},
                             {L"Box", 7, L"Box7"},
                             {L"Box12", 0, L"Box0"},
                             {L"Box12", 34, L"Box34"},
                             {L"Box007", 0, L"Box000"},
                             {L"Box007", 8, L"Box008"},
                             {L"Box0070", 5, L"Box005"},
                             {L"Box10", 3, L"Box3"},
                             {L"Box0", 4, L"Box4"},
                             {L"Box0", 0, L"Box1"},
                             {L"Box00", 4, L"Box04"},
                             {L"Box000", 4, L"Box004"},
                             {L"Box000", 0, L"Box001"},
                             {L"123", 0, L"0"},
                             {L"123", 45, L"45"},
                             {L"007", 8, L"008"},
                             {L"0", 3, L"3"},
                             {L"0", 0, L"1"},
                             {L"000", 6, L"006"},
                             {L"7", 7, L"8"},
                             {L"Box1a", 2, L"Box1a2"},
                             {L"1Box", 2, L"1Box2"},
                             {L"Box 12", 2, L"Box 2"},
                             {L"Box-12", 2, L"Box-2"},
                             {L"Box\x0663", 2,
                              L"Box\x0663"
                              L"2"},
                             {L"B9x007007", 1, L"B9x001"},
                             {L"Box12", 12, L"Box13"}};
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(testing::Message() << row.name << " with " << row.takenBefore);
        ASSERT_EQ(core.db_clear(), Status::kSuccess);
        Node* const elsewhere = plain(L"elsewhere");
        for (unsigned int i = 0; i <= row.takenBefore; ++i)
            plain(L"taken", elsewhere);

        plain(row.name);
        EXPECT_EQ(plain(row.name)->getName(), row.uniqueName);
    }
}

TEST_F(CoreManagerNodesTest, ANumberThatIsTakenIsSkipped)
{
    for (const wchar_t* const name : {L"Box", L"Box0", L"Box1", L"Box3"})
        plain(name);
    EXPECT_EQ(plain(L"Box")->getName(), L"Box2");
    EXPECT_EQ(plain(L"Box")->getName(), L"Box4");
}

TEST_F(CoreManagerNodesTest, NumbersGoOnAcrossParentsAndNames)
{
    Node* const a = plain(L"a");
    Node* const b = plain(L"b");
    plain(L"Box", a);
    plain(L"Ball", b);
    EXPECT_EQ(plain(L"Box", a)->getName(), L"Box0");
    EXPECT_EQ(plain(L"Ball", b)->getName(), L"Ball1");
    EXPECT_EQ(plain(L"a")->getName(), L"a2");
}

TEST_F(CoreManagerNodesTest, ANameThatIsFreeTakesNoNumber)
{
    plain(L"Box");
    plain(L"Ball");
    plain(L"Box", plain(L"a"));
    EXPECT_EQ(plain(L"Box")->getName(), L"Box0");
}

TEST_F(CoreManagerNodesTest, ARefusedEditTakesNoNumber)
{
    plain(L"Box");
    Node* const child = plain(L"child", plain(L"parent"));
    ASSERT_EQ(core.db_createNode(Scene::kPlain, L"Box", nullptr, child, nullptr), Status::kNextNotChildOfParent);
    ASSERT_EQ(core.db_createNode(99, L"Box", nullptr, nullptr, nullptr), Status::kUnknownTypeId);
    ASSERT_EQ(core.db_renameNode(child->getParent(), L"Box"), Status::kDuplicateChildName);
    EXPECT_EQ(plain(L"Box")->getName(), L"Box0");
}

TEST_F(CoreManagerNodesTest, ANumberIsNotUsedAgainWhenItsNodeIsDestroyed)
{
    plain(L"Box");
    Node* const numbered = plain(L"Box");
    ASSERT_EQ(core.db_destroyLeafNode(numbered), Status::kSuccess);
    EXPECT_EQ(plain(L"Box")->getName(), L"Box1");
}

TEST_F(CoreManagerNodesTest, ClearStartsTheNumbersAgain)
{
    for (int i = 0; i < 5; ++i)
        plain(L"Box");
    ASSERT_EQ(core.db_clear(), Status::kSuccess);
    plain(L"Box");
    EXPECT_EQ(plain(L"Box")->getName(), L"Box0");
}

TEST_F(CoreManagerNodesTest, CommitsLeaveTheNumbersAlone)
{
    plain(L"Box");
    plain(L"Box");
    ASSERT_EQ(scene.commit(), Status::kSuccess);
    ASSERT_EQ(core.db_commitTransient(), Status::kSuccess);
    EXPECT_EQ(plain(L"Box")->getName(), L"Box1");
}

TEST_F(CoreManagerNodesTest, AThousandNodesOfOneNameAreNumberedThrough)
{
    std::vector<Node*> nodes;
    for (int i = 0; i < 1000; ++i)
        nodes.push_back(plain(L"Box"));
    EXPECT_EQ(nodes[0]->getName(), L"Box");
    for (std::size_t i = 1; i < nodes.size(); ++i)
        ASSERT_EQ(nodes[i]->getName(), (L"Box" + std::to_wstring(i - 1)).c_str());
}

TEST_F(CoreManagerNodesTest, ANameOfTheSameHashCountsAsTaken)
{
    const NameCollision& names = nameCollision();
    plain(names.first.c_str());
    plain(names.second.c_str());
    EXPECT_EQ(childrenOfRoot(), (Names{names.first, names.second + L"0"}));
}

TEST_F(CoreManagerNodesTest, NamesMayBeLongAndHoldAnyCharacter)
{
    const std::wstring longName(10'000, L'x');
    plain(longName.c_str());
    EXPECT_EQ(plain(longName.c_str())->getName(), (longName + L"0").c_str());
    for (const wchar_t* const name : {L"|.:[]\\", L"\x00E4\x4E2D", L"\U0001F600", L" ", L"%s%n"})
        EXPECT_EQ(plain(name)->getName(), name);
    EXPECT_EQ(plain(L"\U0001F600")->getName(), L"\U0001F600"
                                               L"1");
}

// --- Renaming ---

TEST_F(CoreManagerNodesTest, RenamingGivesTheNewNameAndFreesTheOldOne)
{
    Node* const node = plain(L"old");
    plain(L"other");
    ASSERT_EQ(core.db_renameNode(node, L"new"), Status::kSuccess);
    EXPECT_EQ(node->getName(), L"new");
    EXPECT_EQ(childrenOfRoot(), (Names{L"new", L"other"}));
    EXPECT_EQ(plain(L"old")->getName(), L"old");
}

TEST_F(CoreManagerNodesTest, RenamingToTheOwnNameSucceeds)
{
    for (int siblings = 0; siblings < 6; ++siblings)
    {
        Node* const node = plain((L"node" + std::to_wstring(siblings)).c_str());
        const std::wstring name = node->getName().c_str();
        EXPECT_EQ(core.db_renameNode(node, name.c_str()), Status::kSuccess) << siblings << " siblings";
        EXPECT_EQ(node->getName(), name.c_str());
        EXPECT_EQ(core.db_renameNode(node, node->getName().c_str()), Status::kSuccess) << "its own text";
        EXPECT_EQ(node->getName(), name.c_str());
        EXPECT_EQ(scene.root()->findChildByName(name.c_str()), node);
    }
}

TEST_F(CoreManagerNodesTest, RenamingToAnotherNameOfTheOwnHashSucceeds)
{
    const NameCollision& names = nameCollision();
    for (const int siblings : {0, 1, 2, 10})
    {
        SCOPED_TRACE(siblings);
        Node* const parent = plain(L"parent");
        Node* const node = plain(names.first.c_str(), parent);
        for (int i = 0; i < siblings; ++i)
            plain(L"sibling", parent);
        ASSERT_EQ(core.db_renameNode(node, names.second.c_str()), Status::kSuccess);
        EXPECT_EQ(parent->findChildByName(names.second.c_str()), node);
        EXPECT_EQ(parent->findChildByName(names.first.c_str()), nullptr);
        EXPECT_EQ(parent->isChildNameValid(names.first.c_str(), nullptr), Status::kDuplicateChildName);
    }
}

TEST_F(CoreManagerNodesTest, RenamingMakesNothingUnique)
{
    plain(L"taken");
    Node* const node = plain(L"node");
    EXPECT_EQ(core.db_renameNode(node, L"taken"), Status::kDuplicateChildName);
    EXPECT_EQ(core.db_renameNode(node, nameCollision().first.c_str()), Status::kSuccess);
    EXPECT_EQ(node->getName(), nameCollision().first.c_str());
}

TEST_F(CoreManagerNodesTest, TwoNodesSwapTheirNamesOverAThirdOne)
{
    Node* const a = plain(L"a");
    Node* const b = plain(L"b");
    plain(L"other");
    plain(L"another");
    ASSERT_EQ(core.db_renameNode(a, L"c"), Status::kSuccess);
    ASSERT_EQ(core.db_renameNode(b, L"a"), Status::kSuccess);
    ASSERT_EQ(core.db_renameNode(a, L"b"), Status::kSuccess);
    EXPECT_EQ(scene.root()->findChildByName(L"a"), b);
    EXPECT_EQ(scene.root()->findChildByName(L"b"), a);
}

// --- Reparenting ---

/// |from with three children and |to with two.
class CoreManagerReparentTest : public CoreManagerNodesTest
{
protected:
    Status reparent(Node* node, Node* next = nullptr, const wchar_t* name = nullptr)
    {
        return core.db_reparentNode(node, to, next, name);
    }

    Node* from = plain(L"from");
    Node* a = plain(L"a", from);
    Node* b = plain(L"b", from);
    Node* c = plain(L"c", from);
    Node* to = plain(L"to");
    Node* x = plain(L"x", to);
    Node* y = plain(L"y", to);
};

TEST_F(CoreManagerReparentTest, ANodeMovesToTheEndOrBeforeNext)
{
    ASSERT_EQ(reparent(b), Status::kSuccess);
    EXPECT_EQ(childrenOf(from), (Names{L"a", L"c"}));
    EXPECT_EQ(childrenOf(to), (Names{L"x", L"y", L"b"}));
    ASSERT_EQ(reparent(a, x), Status::kSuccess);
    ASSERT_EQ(reparent(c, y), Status::kSuccess);
    EXPECT_EQ(childrenOf(from), Names{});
    EXPECT_EQ(childrenOf(to), (Names{L"a", L"x", L"c", L"y", L"b"}));
}

TEST_F(CoreManagerReparentTest, ASubtreeMovesWithItsNode)
{
    Node* const below = scene.node(L"below", b);
    scene.write(below->findAttributeByName(L"Float"), 2.0f);
    const CoreManager::Statistics before = counts();
    ASSERT_EQ(reparent(b), Status::kSuccess);
    EXPECT_TRUE(below->isDescendantOf(to));
    EXPECT_FALSE(below->isDescendantOf(from));
    EXPECT_EQ(below->findAttributeByName(L"Float")->getValue().getFloat(), 2.0f);
    EXPECT_EQ(counts(), before);
}

TEST_F(CoreManagerReparentTest, ANodeMovesUpToTheRootAndDownAgain)
{
    ASSERT_EQ(core.db_reparentNode(b, scene.root(), from, nullptr), Status::kSuccess);
    EXPECT_EQ(childrenOfRoot(), (Names{L"b", L"from", L"to"}));
    ASSERT_EQ(core.db_reparentNode(b, a, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(childrenOf(a), Names{L"b"});
    EXPECT_EQ(childrenOfRoot(), (Names{L"from", L"to"}));
}

TEST_F(CoreManagerReparentTest, ANullNameKeepsTheName)
{
    ASSERT_EQ(reparent(b, nullptr, nullptr), Status::kSuccess);
    EXPECT_EQ(b->getName(), L"b");
}

TEST_F(CoreManagerReparentTest, AnEmptyNameIsReplacedByTheNameOfTheType)
{
    ASSERT_EQ(reparent(a, nullptr, L""), Status::kSuccess);
    EXPECT_EQ(a->getName(), L"Plain");
    ASSERT_EQ(reparent(b, nullptr, L""), Status::kSuccess);
    EXPECT_EQ(b->getName(), L"Plain0");
}

TEST_F(CoreManagerReparentTest, ANewNameIsTaken)
{
    ASSERT_EQ(reparent(b, nullptr, L"beta"), Status::kSuccess);
    EXPECT_EQ(b->getName(), L"beta");
    EXPECT_EQ(to->findChildByName(L"beta"), b);
    EXPECT_EQ(to->findChildByName(L"b"), nullptr);
}

TEST_F(CoreManagerReparentTest, ANameThatASiblingHasThereIsMadeUnique)
{
    ASSERT_EQ(core.db_renameNode(a, L"x"), Status::kSuccess);
    ASSERT_EQ(reparent(a), Status::kSuccess);
    EXPECT_EQ(a->getName(), L"x0") << "the kept name";
    ASSERT_EQ(reparent(b, nullptr, L"y"), Status::kSuccess);
    EXPECT_EQ(b->getName(), L"y1") << "the new name";
    ASSERT_EQ(reparent(c, nullptr, L"x0"), Status::kSuccess);
    EXPECT_EQ(c->getName(), L"x2");
    EXPECT_EQ(childrenOf(to), (Names{L"x", L"y", L"x0", L"y1", L"x2"}));
}

TEST_F(CoreManagerReparentTest, ANameOfTheSameHashThereIsMadeUnique)
{
    const NameCollision& names = nameCollision();
    plain(names.first.c_str(), to);
    ASSERT_EQ(reparent(b, nullptr, names.second.c_str()), Status::kSuccess);
    EXPECT_EQ(b->getName(), (names.second + L"0").c_str());
}

TEST_F(CoreManagerReparentTest, ANameThatOnlyTheFormerSiblingsHaveIsKept)
{
    ASSERT_EQ(reparent(b, nullptr, L"a"), Status::kSuccess);
    EXPECT_EQ(b->getName(), L"a");
}

TEST_F(CoreManagerReparentTest, TheFormerParentForgetsTheName)
{
    ASSERT_EQ(reparent(b, nullptr, L"beta"), Status::kSuccess);
    EXPECT_EQ(from->findChildByName(L"b"), nullptr);
    EXPECT_EQ(from->isChildNameValid(L"b", nullptr), Status::kSuccess);
    EXPECT_EQ(plain(L"b", from)->getName(), L"b");
}

TEST_F(CoreManagerReparentTest, TheNameOfAnotherNodeMayBeHandedOver)
{
    ASSERT_EQ(reparent(b, nullptr, a->getName().c_str()), Status::kSuccess);
    EXPECT_EQ(b->getName(), L"a");
    ASSERT_EQ(reparent(c, nullptr, c->getName().c_str()), Status::kSuccess) << "its own text";
    EXPECT_EQ(c->getName(), L"c");
}

TEST_F(CoreManagerReparentTest, ReferencesStay)
{
    Node* const near = scene.node(L"near", b);
    Node* const far = scene.node(L"far", to);
    Attribute* const referencer = near->findAttributeByName(L"Int");
    ASSERT_EQ(core.db_createReference(far->findAttributeByName(L"Int"), referencer, false), Status::kSuccess);
    ASSERT_EQ(reparent(b), Status::kSuccess);
    EXPECT_EQ(referencer->getReference(), far->findAttributeByName(L"Int"));
    EXPECT_EQ(near->getEdgeCount(), 1u);
}

// --- Reordering ---

TEST_F(CoreManagerReparentTest, ReorderingMovesANodeBeforeNextOrToTheEnd)
{
    struct Row
    {
        const char* name;
        Node* node;
        Node* next;
        Names order;
    };
    const Row kRows[] = {{"last before first", c, a, {L"c", L"a", L"b"}},
                         {"middle before its next", a, b, {L"c", L"a", L"b"}},
                         {"first before last", c, b, {L"a", L"c", L"b"}},
                         {"first to the end", a, nullptr, {L"c", L"b", L"a"}},
                         {"last to the end", a, nullptr, {L"c", L"b", L"a"}}};
    const CoreManager::Statistics before = counts();
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.name);
        ASSERT_EQ(core.db_reorderNode(row.node, row.next), Status::kSuccess);
        EXPECT_EQ(childrenOf(from), row.order);
    }
    EXPECT_EQ(counts(), before);
}

TEST_F(CoreManagerReparentTest, ReorderingAnOnlyChildToTheEndSucceeds)
{
    Node* const only = plain(L"only", a);
    ASSERT_EQ(core.db_reorderNode(only, nullptr), Status::kSuccess);
    EXPECT_EQ(childrenOf(a), Names{L"only"});
}

TEST_F(CoreManagerReparentTest, ReorderingKeepsTheSubtreeAndItsNames)
{
    plain(L"below", c);
    ASSERT_EQ(core.db_reorderNode(c, a), Status::kSuccess);
    EXPECT_EQ(childrenOf(c), Names{L"below"});
    EXPECT_EQ(from->findChildByName(L"c"), c);
    EXPECT_EQ(plain(L"c", from)->getName(), L"c0");
}

// --- Destroying ---

TEST_F(CoreManagerReparentTest, DestroyingTakesANodeOutOfTheList)
{
    ASSERT_EQ(core.db_destroyLeafNode(b), Status::kSuccess);
    EXPECT_EQ(childrenOf(from), (Names{L"a", L"c"}));
    ASSERT_EQ(core.db_destroyLeafNode(a), Status::kSuccess);
    EXPECT_EQ(childrenOf(from), Names{L"c"});
    ASSERT_EQ(core.db_destroyLeafNode(c), Status::kSuccess);
    EXPECT_EQ(childrenOf(from), Names{});
    EXPECT_EQ(from->getFirstChild(), nullptr);
    EXPECT_EQ(from->getLastChild(), nullptr);
}

TEST_F(CoreManagerReparentTest, ADestroyedNodeKnowsItsParentAndHasNoSiblings)
{
    ASSERT_EQ(core.db_destroyLeafNode(b), Status::kSuccess);
    EXPECT_TRUE(b->isDestroyed());
    EXPECT_EQ(b->getName(), L"b");
    EXPECT_EQ(b->getParent(), from);
    EXPECT_EQ(b->getPreviousSibling(), nullptr);
    EXPECT_EQ(b->getNextSibling(), nullptr);
    EXPECT_FALSE(a->isDestroyed());
}

TEST_F(CoreManagerReparentTest, DestroyingFreesTheName)
{
    ASSERT_EQ(core.db_destroyLeafNode(b), Status::kSuccess);
    EXPECT_EQ(from->findChildByName(L"b"), nullptr);
    EXPECT_EQ(plain(L"b", from)->getName(), L"b");
}

TEST_F(CoreManagerReparentTest, DestroyingClearsTheHandlesToTheNode)
{
    const kqx::AnchorHandle<Node> handle(b);
    const kqx::AnchorHandle<Node> other(a);
    ASSERT_EQ(core.db_destroyLeafNode(b), Status::kSuccess);
    EXPECT_EQ(handle.get(), nullptr);
    EXPECT_EQ(other.get(), a);
}

TEST_F(CoreManagerReparentTest, DestroyingLowersTheCounts)
{
    const CoreManager::Statistics before = counts();
    Node* const node = scene.node(L"node");
    ASSERT_EQ(core.db_destroyLeafNode(node), Status::kSuccess);
    EXPECT_EQ(counts(), before);
}

TEST_F(CoreManagerReparentTest, AParentCanBeDestroyedOnceItsLastChildIs)
{
    ASSERT_EQ(core.db_destroyLeafNode(from), Status::kNodeHasChildren);
    for (Node* const child : {a, b, c})
        ASSERT_EQ(core.db_destroyLeafNode(child), Status::kSuccess);
    EXPECT_EQ(core.db_destroyLeafNode(from), Status::kSuccess);
    EXPECT_EQ(childrenOfRoot(), Names{L"to"});
}

// --- Counts ---

TEST_F(CoreManagerReparentTest, EditsThatMakeAndDestroyNothingCountNothing)
{
    Node* const all = scene.node(L"all", from);
    Attribute* const extra = scene.dynamicAttribute(IntAttributeMetaDataDef(), L"extra", all);
    const CoreManager::Statistics before = counts();
    ASSERT_EQ(core.db_renameNode(all, L"renamed"), Status::kSuccess);
    ASSERT_EQ(core.db_renameDynamicElement(extra, L"renamed"), Status::kSuccess);
    ASSERT_EQ(core.db_reorderNode(all, a), Status::kSuccess);
    ASSERT_EQ(reparent(all), Status::kSuccess);
    scene.write(extra, 5);
    ASSERT_EQ(core.db_resizeAttributeArray(all->findAttributeArrayByName(L"IntItems"), 7), Status::kSuccess);
    ASSERT_EQ(core.db_resizeAttributeArray(all->findAttributeArrayByName(L"IntItems"), 2), Status::kSuccess);
    ASSERT_EQ(core.db_commitTransient(), Status::kSuccess);
    ASSERT_EQ(scene.commit(), Status::kSuccess);
    EXPECT_EQ(counts(), before);
}

// --- Large trees ---

TEST_F(CoreManagerNodesTest, AChainOfAMillionNodesIsCreatedWalkedAndCleared)
{
    constexpr unsigned int kNodes = 1'000'000;
    Node* deepest = nullptr;
    for (unsigned int i = 0; i < kNodes; ++i)
        ASSERT_EQ(core.db_createNode(Scene::kPlain, L"n", deepest, nullptr, &deepest), Status::kSuccess);
    ASSERT_EQ(counts().nodes, kNodes + 1);
    EXPECT_TRUE(deepest->isDescendantOf(scene.root()));

    unsigned int walked = 0;
    for (NodeIterator nodes(scene.root()); nodes.next();)
        ++walked;
    EXPECT_EQ(walked, kNodes);
    NodeIteratorPostOrder upwards(scene.root());
    ASSERT_TRUE(upwards.next());
    EXPECT_EQ(upwards.node(), deepest);

    ASSERT_EQ(core.db_clear(), Status::kSuccess);
    EXPECT_EQ(counts().nodes, 1u);
    EXPECT_EQ(scene.root()->getFirstChild(), nullptr);
    EXPECT_EQ(scene.registry().lookupNodeTemplate(Scene::kPlain)->getReferenceCount(), 0u);
}

TEST_F(CoreManagerNodesTest, AChainOfAMillionNodesEndsWithItsManager)
{
    {
        CoreManager other(scene.registry(), Scene::kRoot);
        Node* deepest = nullptr;
        for (int i = 0; i < 1'000'000; ++i)
            ASSERT_EQ(other.db_createNode(Scene::kPlain, L"n", deepest, nullptr, &deepest), Status::kSuccess);
    }
    EXPECT_EQ(scene.registry().lookupNodeTemplate(Scene::kPlain)->getReferenceCount(), 0u);
}

TEST_F(CoreManagerNodesTest, AHundredThousandSiblingsAreMadeMovedAndDestroyed)
{
    constexpr unsigned int kNodes = 100'000;
    Node* const parent = plain(L"parent");
    Node* const other = plain(L"other");
    std::vector<Node*> nodes;
    for (unsigned int i = 0; i < kNodes; ++i)
        nodes.push_back(plain(L"n", parent));
    for (Node* const node : nodes)
        ASSERT_EQ(core.db_reparentNode(node, other, other->getFirstChild(), nullptr), Status::kSuccess);
    EXPECT_EQ(parent->getFirstChild(), nullptr);
    EXPECT_EQ(other->getFirstChild(), nodes.back());
    for (Node* const node : nodes)
        ASSERT_EQ(core.db_destroyLeafNode(node), Status::kSuccess);
    EXPECT_EQ(other->getFirstChild(), nullptr);
    EXPECT_EQ(counts().nodes, 3u);
    EXPECT_EQ(scene.commit(), Status::kSuccess);
}

} // namespace
} // namespace db2test
