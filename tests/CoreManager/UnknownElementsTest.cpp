#include "support/NameCollision.h"
#include "support/Scene.h"
#include "support/TreeDump.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace db2test {
namespace {

/// Makes an object for unknown nodes and names their type.
class TypingFactory : public UnknownAPINodeFactory
{
public:
    void* createNodeAPI(Node* node, void* userData, unsigned int* outTypeId) override
    {
        nodes.push_back(node);
        lastTypeName = node->getTypeName().c_str();
        lastUserData = userData;
        if (typeId != 0)
            *outTypeId = typeId;
        return &object;
    }

    unsigned int typeId = 0; ///< 0 leaves the manager's number alone
    std::vector<Node*> nodes;
    std::wstring lastTypeName;
    void* lastUserData = nullptr;
    int object = 0;
};

/// Unknown and legacy nodes, and what loaders put on them.
class CoreManagerUnknownElementsTest : public ::testing::Test
{
protected:
    Element* createUnknown(const wchar_t* name, Node* on, bool isArray = false)
    {
        IntAttributeMetaDataDef definition;
        definition.setArray(isArray);
        definition.setDefaultValue(4);
        Element* made = nullptr;
        EXPECT_EQ(core.createUnknownElement(definition, name, on, &made), Status::kSuccess);
        return made;
    }

    Element* createLegacy(const wchar_t* name, Node* on, bool isArray = false)
    {
        IntAttributeMetaDataDef definition;
        definition.setArray(isArray);
        definition.setDefaultValue(4);
        Element* made = nullptr;
        EXPECT_EQ(core.createLegacyElement(definition, name, on, &made), Status::kSuccess);
        return made;
    }

    Element* createDynamic(const wchar_t* name, Node* on)
    {
        return scene.dynamicAttribute(IntAttributeMetaDataDef(), name, on);
    }

    TypingFactory unknownFactory;
    TypingFactory legacyFactory;
    Scene scene{&unknownFactory, &legacyFactory};
    CoreManager& core = scene.core();
};

// --- Unknown and legacy nodes ---

TEST_F(CoreManagerUnknownElementsTest, AnUnknownNodeHasATypeOfItsOwn)
{
    const Node* const node = scene.unknownNode(L"node");
    EXPECT_TRUE(node->isUnknown());
    EXPECT_FALSE(node->isLegacy());
    EXPECT_EQ(node->getFlags(), NodeFlag::kUnknown);
    EXPECT_EQ(node->getName(), L"node");
    EXPECT_EQ(node->getTypeName(), L"Gone");
    EXPECT_EQ(node->getModule(), &scene.module());
    EXPECT_EQ(node->getElementCount(), 0u);
    EXPECT_EQ(node->getNodeTemplate()->getReferenceCount(), 1u);
    EXPECT_EQ(node->getNodeTemplate()->getAPINodeFactory(), nullptr);
    EXPECT_FALSE(node->getNodeTemplate()->hasFlag(NodeTemplateFlag::kRegistered));
    EXPECT_EQ(scene.registry().lookupNodeTemplate(L"Gone"), nullptr);
}

TEST_F(CoreManagerUnknownElementsTest, TwoUnknownNodesOfOneTypeNameShareNothing)
{
    Node* const a = scene.unknownNode(L"a");
    const Node* const b = scene.unknownNode(L"b");
    EXPECT_NE(a->getNodeTemplate(), b->getNodeTemplate());
    createUnknown(L"odd", a);
    EXPECT_EQ(b->getElementCount(), 0u);
}

TEST_F(CoreManagerUnknownElementsTest, AnUnknownNodeIsNamedAndPlacedLikeAnyOther)
{
    Node* const first = scene.unknownNode(L"");
    EXPECT_EQ(first->getName(), L"Gone");
    EXPECT_EQ(scene.unknownNode(nullptr)->getName(), L"Gone0");
    Node* before = nullptr;
    ASSERT_EQ(core.db_createUnknownNode(L"Gone", scene.module(), L"x", nullptr, first, false, &before),
              Status::kSuccess);
    EXPECT_EQ(before->getNextSibling(), first);
    Node* const child = scene.unknownNode(L"child", before);
    EXPECT_EQ(child->getParent(), before);
}

TEST_F(CoreManagerUnknownElementsTest, UnknownNodesCountInTheirOwnCountToo)
{
    CoreManager::Statistics expected = core.getStatistics();
    scene.unknownNode(L"unknown");
    expected.nodes += 1;
    expected.unknownNodes += 1;
    EXPECT_EQ(core.getStatistics(), expected);
}

TEST_F(CoreManagerUnknownElementsTest, LegacyNodesAreUnknownAndCountInBothCounts)
{
    CoreManager::Statistics expected = core.getStatistics();
    Node* const node = scene.unknownNode(L"legacy", nullptr, true);
    EXPECT_EQ(node->getFlags(), NodeFlag::kUnknown | NodeFlag::kLegacy);
    expected.nodes += 1;
    expected.unknownNodes += 1;
    expected.legacyNodes += 1;
    EXPECT_EQ(core.getStatistics(), expected);
}

TEST_F(CoreManagerUnknownElementsTest, TheFactoryOfTheKindMakesTheObjectAndNamesTheType)
{
    unknownFactory.typeId = 77;
    legacyFactory.typeId = 88;
    const Node* const unknown = scene.unknownNode(L"unknown");
    const Node* const legacy = scene.unknownNode(L"legacy", nullptr, true);

    EXPECT_EQ(unknownFactory.nodes, std::vector<Node*>{const_cast<Node*>(unknown)});
    EXPECT_EQ(unknown->getAPI(), &unknownFactory.object);
    EXPECT_EQ(unknown->getTypeId(), 77u);
    EXPECT_EQ(unknownFactory.lastTypeName, L"Gone");
    EXPECT_EQ(unknownFactory.lastUserData, &scene);

    EXPECT_EQ(legacyFactory.nodes, std::vector<Node*>{const_cast<Node*>(legacy)});
    EXPECT_EQ(legacy->getAPI(), &legacyFactory.object);
    EXPECT_EQ(legacy->getTypeId(), 88u);
}

TEST_F(CoreManagerUnknownElementsTest, AFactoryThatNamesNoTypeLeavesZero)
{
    EXPECT_EQ(scene.unknownNode(L"unknown")->getTypeId(), 0u);
}

TEST_F(CoreManagerUnknownElementsTest, TheTypeIdOfARegisteredTypeMakesTheNodeNotOfThatType)
{
    unknownFactory.typeId = Scene::kAll;
    const Node* const node = scene.unknownNode(L"unknown");
    EXPECT_EQ(node->getTypeId(), unsigned{Scene::kAll});
    EXPECT_EQ(node->getElementCount(), 0u);
    EXPECT_NE(node->getNodeTemplate(), scene.registry().lookupNodeTemplate(Scene::kAll));
}

TEST(CoreManagerWithoutFactoriesTest, UnknownAndLegacyNodesHaveNoObjectAndTheTypeZero)
{
    Scene scene;
    for (const bool isLegacy : {false, true})
    {
        const Node* const node = scene.unknownNode(L"node", nullptr, isLegacy);
        EXPECT_EQ(node->getAPI(), nullptr);
        EXPECT_EQ(node->getTypeId(), 0u);
    }
}

TEST_F(CoreManagerUnknownElementsTest, ANullTypeNameIsTheEmptyOne)
{
    Node* node = nullptr;
    ASSERT_EQ(core.db_createUnknownNode(nullptr, scene.module(), L"node", nullptr, nullptr, false, &node),
              Status::kSuccess);
    EXPECT_EQ(node->getTypeName(), L"");
}

TEST_F(CoreManagerUnknownElementsTest, TheModuleMayBeAnyModule)
{
    Module placeholder;
    placeholder.setId(L"Elsewhere");
    placeholder.setUnknown(true);
    Node* node = nullptr;
    ASSERT_EQ(core.db_createUnknownNode(L"Gone", placeholder, L"node", nullptr, nullptr, false, &node),
              Status::kSuccess);
    EXPECT_EQ(node->getModule(), &placeholder);
    EXPECT_EQ(core.db_clear(), Status::kSuccess); // before the module ends
}

TEST_F(CoreManagerUnknownElementsTest, DestroyingAnUnknownNodeGivesItsElementsBackToTheCounts)
{
    const CoreManager::Statistics before = core.getStatistics();
    for (const bool isLegacy : {false, true})
    {
        Node* const node = scene.unknownNode(L"node", nullptr, isLegacy);
        if (!isLegacy)
        {
            createUnknown(L"odd", node);
            createUnknown(L"odds", node, true);
        }
        ASSERT_EQ(core.db_destroyLeafNode(node), Status::kSuccess);
        EXPECT_EQ(core.getStatistics(), before);
    }
}

TEST_F(CoreManagerUnknownElementsTest, ADestroyedUnknownNodeStaysReadableUntilTheCommit)
{
    Node* const node = scene.unknownNode(L"node");
    auto* const odd = static_cast<Attribute*>(createUnknown(L"odd", node));
    ASSERT_EQ(core.db_destroyLeafNode(node), Status::kSuccess);
    EXPECT_EQ(node->getTypeName(), L"Gone");
    EXPECT_EQ(node->getElement(0), odd);
    EXPECT_EQ(odd->getValue().getInt(), 4);
    EXPECT_EQ(scene.commit(), Status::kSuccess);
}

// --- Unknown elements ---

TEST_F(CoreManagerUnknownElementsTest, AnUnknownElementIsAddedToTheNodeAndItsPrivateType)
{
    Node* const node = scene.unknownNode(L"node");
    const CoreManager::Statistics before = core.getStatistics();
    auto* const odd = static_cast<Attribute*>(createUnknown(L"odd", node));

    EXPECT_EQ(odd->getFlags(), ElementFlag::kUnknown);
    EXPECT_EQ(odd->getNode(), node);
    EXPECT_EQ(odd->getIndex(), 0u);
    EXPECT_EQ(odd->getValue().getInt(), 4);
    EXPECT_EQ(node->getElementCount(), 1u);
    EXPECT_EQ(node->getDynamicElementCount(), 0u);
    EXPECT_EQ(node->findAttributeByName(L"odd"), odd);
    EXPECT_EQ(node->getNodeTemplate()->getElementCount(), 1u);
    EXPECT_EQ(node->getNodeTemplate()->getElementMetaData(0), odd->getMetaData());
    EXPECT_EQ(node->getNodeTemplate()->getReferenceCount(), 1u);

    CoreManager::Statistics expected = before;
    expected.elements += 1;
    EXPECT_EQ(core.getStatistics(), expected);
}

TEST_F(CoreManagerUnknownElementsTest, AnUnknownElementMayBeOfAnyTypeAndAnArray)
{
    Node* const node = scene.unknownNode(L"node");
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const auto typeId = static_cast<AttributeTypeId>(type);
        SCOPED_TRACE(testing::Message() << ValueInfo::getTypeName(typeId));
        const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(typeId));
        Element* one = nullptr;
        Element* many = nullptr;
        ASSERT_EQ(core.createUnknownElement(*definition, (L"one" + std::to_wstring(type)).c_str(), node, &one),
                  Status::kSuccess);
        definition->setArray(true);
        ASSERT_EQ(core.createUnknownElement(*definition, (L"many" + std::to_wstring(type)).c_str(), node, &many),
                  Status::kSuccess);

        const ConstValueHandle value = static_cast<Attribute*>(one)->getValue();
        EXPECT_EQ(dumpValue(value), dumpValue(definition->getDefaultValue()));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(value.getData()) % ValueInfo::getStorageAlignment(typeId), 0u);
        EXPECT_TRUE(many->isAttributeArray());
        EXPECT_EQ(core.db_resizeAttributeArray(static_cast<AttributeArray*>(many), 3), Status::kSuccess);
        EXPECT_EQ(one->getIndex(), 2 * type);
        EXPECT_EQ(many->getIndex(), 2 * type + 1);
    }
}

TEST_F(CoreManagerUnknownElementsTest, AnUnknownElementGoesBeforeTheDynamicElements)
{
    Node* const node = scene.unknownNode(L"node");
    const Element* const extra = createDynamic(L"extra", node);
    const Element* const odd = createUnknown(L"odd", node);
    const Element* const more = createDynamic(L"more", node);
    const Element* const odder = createUnknown(L"odder", node);

    const std::vector<const Element*> expected{odd, odder, extra, more};
    ASSERT_EQ(node->getElementCount(), expected.size());
    for (unsigned int i = 0; i < expected.size(); ++i)
    {
        EXPECT_EQ(node->getElement(i), expected[i]);
        EXPECT_EQ(expected[i]->getIndex(), i);
    }
    EXPECT_EQ(node->getDynamicElementCount(), 2u);
    EXPECT_EQ(node->getDynamicElement(0), extra);
    EXPECT_EQ(node->getNextDynamicElement(extra), more);
}

TEST_F(CoreManagerUnknownElementsTest, NamesOfUnknownElementsAreUniqueByHashAtAnyNumber)
{
    const NameCollision& names = nameCollision();
    Node* const node = scene.unknownNode(L"node");
    createUnknown(names.first.c_str(), node);
    for (int count = 1; count <= 20; ++count)
    {
        SCOPED_TRACE(count);
        EXPECT_EQ(core.createUnknownElement(IntAttributeMetaDataDef(), names.second.c_str(), node, nullptr),
                  Status::kDuplicateElementName);
        EXPECT_EQ(core.canCreateDynamicElement(IntAttributeMetaDataDef(), names.second.c_str(), node, nullptr),
                  Status::kDuplicateElementName);
        createUnknown((L"odd" + std::to_wstring(count)).c_str(), node);
    }
}

TEST_F(CoreManagerUnknownElementsTest, UnknownElementsTakePartInEditsLikeAnyOther)
{
    Node* const node = scene.unknownNode(L"node");
    auto* const odd = static_cast<Attribute*>(createUnknown(L"odd", node));
    auto* const odds = static_cast<AttributeArray*>(createUnknown(L"odds", node, true));
    scene.write(odd, 8);
    ASSERT_EQ(core.db_resizeAttributeArray(odds, 2), Status::kSuccess);
    ASSERT_EQ(core.db_createReference(odd, odds->getAttribute(1), true), Status::kSuccess);
    EXPECT_EQ(odds->getAttribute(1)->getValue().getInt(), 8);
    EXPECT_EQ(odds->getAttribute(0)->getFlags(), ElementFlag::kArrayItem | ElementFlag::kUnknown);
    EXPECT_EQ(node->getEdgeCount(), 2u);
    EXPECT_EQ(core.db_destroyDynamicElement(odd), Status::kDestroyNotDynamic);
    EXPECT_EQ(core.db_renameDynamicElement(odd, L"even"), Status::kRenameNotDynamic);
}

TEST_F(CoreManagerUnknownElementsTest, AThousandUnknownElementsKeepTheirPlacesAndValues)
{
    Node* const node = scene.unknownNode(L"node");
    for (int i = 0; i < 1000; ++i)
        scene.write(static_cast<Attribute*>(createUnknown((L"odd" + std::to_wstring(i)).c_str(), node)), i);
    for (int i = 0; i < 1000; ++i)
    {
        const Attribute* const odd = node->findAttributeByName((L"odd" + std::to_wstring(i)).c_str());
        ASSERT_NE(odd, nullptr);
        ASSERT_EQ(odd->getIndex(), static_cast<unsigned int>(i));
        ASSERT_EQ(odd->getValue().getInt(), i);
    }
}

/// Moving the dynamic elements up for each unknown one would move 3 * 10^11 bytes.
TEST_F(CoreManagerUnknownElementsTest, ManyUnknownElementsGoBeforeManyDynamicOnes)
{
    constexpr unsigned int kElements = 200000;
    Node* const node = scene.unknownNode(L"node");
    std::vector<Element*> dynamic;
    std::vector<Element*> unknown;
    const auto createMany = [&](std::vector<Element*>& made, const std::wstring& prefix, auto create) {
        for (unsigned int i = 0; made.size() < kElements; ++i)
        {
            const std::wstring name = prefix + std::to_wstring(i);
            const bool isFree = node->isDynamicElementNameUnique(name.c_str()) &&
                                node->getNodeTemplate()->isElementNameUnique(name.c_str());
            if (isFree) // among so many, some hashes are the same
                made.push_back(create(name.c_str()));
        }
    };
    createMany(dynamic, L"extra", [&](const wchar_t* name) { return createDynamic(name, node); });
    createMany(unknown, L"odd", [&](const wchar_t* name) { return createUnknown(name, node); });
    ASSERT_EQ(node->getElementCount(), 2 * kElements);
    EXPECT_EQ(node->getElement(kElements - 1), unknown.back());
    EXPECT_EQ(node->getElement(kElements), dynamic.front());
    EXPECT_EQ(dynamic.front()->getIndex(), kElements);
    EXPECT_EQ(unknown.back()->getIndex(), kElements - 1);
    EXPECT_EQ(node->findElementByName(dynamic.back()->getName()), dynamic.back());
}

// --- Legacy elements ---

TEST_F(CoreManagerUnknownElementsTest, ALegacyElementStandsInItsOwnList)
{
    Node* const node = scene.node(L"node");
    CoreManager::Statistics expected = core.getStatistics();
    auto* const old = static_cast<Attribute*>(createLegacy(L"old", node));

    EXPECT_EQ(old->getFlags(), ElementFlag::kLegacy);
    EXPECT_EQ(old->getNode(), node);
    EXPECT_EQ(old->getValue().getInt(), 4);
    EXPECT_EQ(node->getLegacyElementCount(), 1u);
    EXPECT_EQ(node->getLegacyElement(0), old);
    EXPECT_EQ(node->getElementCount(), 26u);
    expected.legacyElements += 1;
    EXPECT_EQ(core.getStatistics(), expected);
}

TEST_F(CoreManagerUnknownElementsTest, KnownAndLegacyNodesTakeLegacyElements)
{
    Node* const legacy = scene.unknownNode(L"legacy", nullptr, true);
    EXPECT_EQ(createLegacy(L"old", legacy)->getNode(), legacy);
    EXPECT_EQ(createLegacy(L"old", scene.nodeOf(Scene::kPlain, L"plain"))->getIndex(), 0u);
}

TEST_F(CoreManagerUnknownElementsTest, ALegacyElementMayBearTheNameOfAnyOtherElement)
{
    Node* const node = scene.node(L"node");
    createDynamic(L"extra", node);
    createLegacy(L"extra", node);
    createLegacy(L"Int", node);
    EXPECT_EQ(node->getLegacyElementCount(), 2u);
    createLegacy(L"later", node);
    createDynamic(L"later", node);
}

TEST_F(CoreManagerUnknownElementsTest, ALegacyElementMayBeOfAnyTypeAndAnArray)
{
    Node* const node = scene.node(L"node");
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const auto typeId = static_cast<AttributeTypeId>(type);
        SCOPED_TRACE(testing::Message() << ValueInfo::getTypeName(typeId));
        const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(typeId));
        Element* one = nullptr;
        ASSERT_EQ(core.createLegacyElement(*definition, (L"one" + std::to_wstring(type)).c_str(), node, &one),
                  Status::kSuccess);
        EXPECT_EQ(dumpValue(static_cast<Attribute*>(one)->getValue()), dumpValue(definition->getDefaultValue()));
        definition->setArray(true);
        Element* many = nullptr;
        ASSERT_EQ(core.createLegacyElement(*definition, (L"many" + std::to_wstring(type)).c_str(), node, &many),
                  Status::kSuccess);
        ASSERT_EQ(core.db_resizeAttributeArray(static_cast<AttributeArray*>(many), 2), Status::kSuccess);
        EXPECT_EQ(static_cast<AttributeArray*>(many)->getAttribute(1)->getFlags(),
                  ElementFlag::kArrayItem | ElementFlag::kLegacy);
    }
}

TEST_F(CoreManagerUnknownElementsTest, LegacyElementsCanBeWritten)
{
    Node* const node = scene.node(L"node");
    auto* const old = static_cast<Attribute*>(createLegacy(L"old", node));
    scene.write(old, 12);
    EXPECT_EQ(old->getValue().getInt(), 12);
}

TEST_F(CoreManagerUnknownElementsTest, LegacyElementsDoNotKeepTheirNodeFromBeingDestroyed)
{
    const CoreManager::Statistics before = core.getStatistics();
    Node* const node = scene.node(L"node");
    createLegacy(L"old", node);
    createLegacy(L"olds", node, true);
    ASSERT_EQ(core.db_destroyLeafNode(node), Status::kSuccess);
    EXPECT_EQ(core.getStatistics(), before);
    EXPECT_EQ(scene.commit(), Status::kSuccess);
}

TEST_F(CoreManagerUnknownElementsTest, DestroyingALegacyElementTakesItOutOfTheList)
{
    Node* const node = scene.node(L"node");
    CoreManager::Statistics expected = core.getStatistics();
    const Element* const a = createLegacy(L"a", node);
    auto* const b = static_cast<Attribute*>(createLegacy(L"b", node));
    const Element* const c = createLegacy(L"c", node);
    scene.write(b, 9);
    ASSERT_EQ(core.destroyLegacyElement(b), Status::kSuccess);

    ASSERT_EQ(node->getLegacyElementCount(), 2u);
    EXPECT_EQ(node->getLegacyElement(0), a);
    EXPECT_EQ(node->getLegacyElement(1), c);
    EXPECT_EQ(c->getIndex(), 1u);
    EXPECT_TRUE(node->isLegacyElementNameUnique(L"b"));
    EXPECT_EQ(b->getValue().getInt(), 9) << "readable until the commit";
    expected.legacyElements += 2;
    EXPECT_EQ(core.getStatistics(), expected);
    EXPECT_EQ(scene.commit(), Status::kSuccess);
}

TEST_F(CoreManagerUnknownElementsTest, TheNameOfADestroyedLegacyElementIsFreeAgain)
{
    Node* const node = scene.node(L"node");
    for (int i = 0; i < 10; ++i)
    {
        ASSERT_EQ(core.destroyLegacyElement(createLegacy(L"old", node)), Status::kSuccess);
        createLegacy((L"kept" + std::to_wstring(i)).c_str(), node);
    }
    EXPECT_EQ(node->getLegacyElementCount(), 10u);
}

} // namespace
} // namespace db2test
