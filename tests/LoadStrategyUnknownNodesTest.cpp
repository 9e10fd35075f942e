#include "support/LoadScene.h"

#include <db2/EnumAttributeMetaData.h>
#include <db2/EnumAttributeMetaDataDef.h>
#include <db2/LoadStrategyUnknownNodes.h>

#include <string>
#include <vector>

namespace db2test {
namespace {

/// Unknown nodes of a module whose placeholder a registered module has replaced: they become known ones.
/// The module's type "Thing" has the Int "number", the Int array "list", the Enum "colour" (red, green, blue) and the Enum
/// array "colours".
class LoadStrategyUnknownNodesTest : public LoadTest
{
protected:
    static constexpr unsigned int kThing = 90;

    LoadStrategyUnknownNodesTest()
    {
        placeholder->setId(L"Missing");
        placeholder->setUnknown(true);
        arrived->setId(L"Missing");
        EXPECT_EQ(registerModule(arrived), Status::kSuccess);
        auto* const thing = new NodeTemplate(L"Thing", kThing, *arrived);
        IntAttributeMetaDataDef number;
        EXPECT_EQ(thing->addAttribute(number, L"number"), Status::kSuccess);
        number.setArray(true);
        EXPECT_EQ(thing->addAttribute(number, L"list"), Status::kSuccess);
        EnumAttributeMetaDataDef colour;
        for (const wchar_t* const choice : {L"red", L"green", L"blue"})
            colour.addChoice(choice);
        EXPECT_EQ(thing->addAttribute(colour, L"colour"), Status::kSuccess);
        colour.setArray(true);
        EXPECT_EQ(thing->addAttribute(colour, L"colours"), Status::kSuccess);
        EXPECT_EQ(scene.registry().registerNodeTemplate(thing), Status::kSuccess);
    }

    Node* unknown(const wchar_t* name, Node* under = nullptr, const wchar_t* typeName = L"Thing", bool legacy = false)
    {
        Node* node = nullptr;
        EXPECT_EQ(scene.core().db_createUnknownNode(typeName, *placeholder, name, under != nullptr ? under : parent,
                                                    nullptr, legacy, &node),
                  Status::kSuccess);
        return node;
    }
    Element* add(Node* node, const wchar_t* name, AttributeTypeId type, bool isArray = false)
    {
        const std::unique_ptr<ElementMetaDataDef> definition(
            type == AttributeType::kEnum ? new UnknownEnumAttributeMetaDataDef : Scene::makeDefinition(type));
        definition->setArray(isArray);
        Element* element = nullptr;
        EXPECT_EQ(scene.core().createUnknownElement(*definition, name, node, &element), Status::kSuccess);
        return element;
    }
    Attribute* addNumber(Node* node, int value)
    {
        auto* const attribute = static_cast<Attribute*>(add(node, L"number", AttributeType::kInt));
        scene.write(attribute, value);
        return attribute;
    }
    /// Writes a choice as a loader does, which counts them as they come.
    void choose(Attribute* attribute, const wchar_t* choice)
    {
        auto& metaData = const_cast<UnknownEnumAttributeMetaData&>(
            static_cast<const UnknownEnumAttributeMetaData&>(*attribute->getMetaData()));
        scene.write(attribute, metaData.addChoiceIfNotExist(choice));
    }
    Attribute* addColour(Node* node, const wchar_t* choice)
    {
        auto* const attribute = static_cast<Attribute*>(add(node, L"colour", AttributeType::kEnum));
        choose(attribute, choice);
        return attribute;
    }
    void reference(Attribute* referenced, Attribute* referencer, bool single = false)
    {
        ASSERT_EQ(scene.core().db_createReference(referenced, referencer, single), Status::kSuccess);
    }

    Status convert(Node* under = nullptr)
    {
        return dbu_convertUnknownNodesInModuleToKnownNodes(arrived, under != nullptr ? under : scene.root(), &data,
                                                           &scene.core(), 0);
    }
    Node* converted(const wchar_t* name) { return parent->findChildByName(name); }
    static int valueOf(const Node* node, const wchar_t* name)
    {
        return node->findAttributeByName(name)->getValue().getInt();
    }
    /// The names of the nodes below the load parent in order, unknown ones with a question mark.
    std::wstring names()
    {
        std::wstring names;
        for (NodeIterator walk(parent); walk.next();)
            names += std::wstring(walk.node()->getName()) + (walk.node()->isUnknown() ? L"? " : L" ");
        return names;
    }

    std::unique_ptr<Module> placeholder = std::make_unique<Module>(); ///< no longer registered
    Module* arrived = new Module;                                     ///< the library's
};

// --- The node ---

TEST_F(LoadStrategyUnknownNodesTest, ANodeKeepsNamePlaceAndChildren)
{
    unknown(L"before");
    Node* const node = unknown(L"node");
    scene.nodeOf(Scene::kPlain, L"x", node);
    scene.nodeOf(Scene::kPlain, L"node", node);
    scene.nodeOf(Scene::kPlain, L"after", parent);
    EXPECT_EQ(convert(), Status::kSuccess);
    EXPECT_EQ(names(), L"before node x node after ");
    EXPECT_EQ(converted(L"node")->getTypeId(), kThing);
    EXPECT_EQ(converted(L"node")->getModule(), arrived);
    EXPECT_TRUE(node->isDestroyed());
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyUnknownNodesTest, TheStepsGoThroughTheInterfaceInTheirOrder)
{
    Node* const node = unknown(L"node");
    scene.dynamicAttribute(IntAttributeMetaDataDef(), L"extra", node);
    scene.nodeOf(Scene::kPlain, L"x", node);
    scene.nodeOf(Scene::kPlain, L"after", parent);
    reference(addNumber(node, 1), scene.node(L"z")->findAttributeByName(L"Int"));
    EXPECT_EQ(convert(), Status::kSuccess);
    EXPECT_EQ(data.take(), (Lines{L"create 90 'node' under |parent before |parent|after", L"lock |parent|node0.number",
                                  L"unlock |parent|node0.number", L"unreference |z.Int",
                                  L"reference |parent|node0.number from |z.Int", L"add 'extra' to |parent|node0",
                                  L"lock |parent|node0.extra", L"unlock |parent|node0.extra",
                                  L"move |parent|node|x under |parent|node0", L"destroy element |parent|node.extra",
                                  L"destroy |parent|node", L"rename |parent|node0 to 'node'"}));
}

TEST_F(LoadStrategyUnknownNodesTest, UnknownNodesBelowUnknownNodesAreConvertedToo)
{
    Node* const a = unknown(L"a");
    Node* const b = scene.nodeOf(Scene::kPlain, L"b", a);
    unknown(L"d", unknown(L"c", b));
    EXPECT_EQ(convert(), Status::kSuccess);
    EXPECT_EQ(names(), L"a b c d ");
}

TEST_F(LoadStrategyUnknownNodesTest, ADeepChainIsConverted)
{
    constexpr unsigned int kDeep =
        50000; // each of them moves its child, in a moment when that costs no way to the root
    Node* deepest = parent;
    for (unsigned int i = 0; i < kDeep; ++i)
        deepest = unknown(L"link", deepest);
    EXPECT_EQ(dbu_convertUnknownNodesInModuleToKnownNodes(arrived, scene.root(), &scene.core(), &scene.core(), 0),
              Status::kSuccess); // not by way of the recorder, which writes down paths
    unsigned int known = 0;
    for (const Node* node = parent->getFirstChild(); node != nullptr; node = node->getFirstChild())
        known += node->isUnknown() ? 0u : 1u;
    EXPECT_EQ(known, kDeep);
}

TEST_F(LoadStrategyUnknownNodesTest, OnlyNodesBelowTheGivenOneAreConverted)
{
    Node* const a = unknown(L"a");
    unknown(L"b", a);
    unknown(L"c");
    EXPECT_EQ(convert(a), Status::kSuccess);
    EXPECT_EQ(names(), L"a? b c? ");
}

TEST_F(LoadStrategyUnknownNodesTest, TypesThatTheModuleLacksAndOtherModulesStayUnknown)
{
    unknown(L"a", nullptr, L"Nothing");
    unknown(L"b", parent->getFirstChild());
    scene.unknownNode(L"c", parent); // of the module "Test"
    EXPECT_EQ(convert(), Status::kSuccess);
    EXPECT_EQ(names(), L"a? b c? ");
}

TEST_F(LoadStrategyUnknownNodesTest, ATypeOfTheSameNameInAnotherModuleIsAnother)
{
    Node* const node = unknown(L"node", nullptr, L"All");
    EXPECT_EQ(convert(), Status::kSuccess);
    EXPECT_EQ(names(), L"node? ");
    EXPECT_FALSE(node->isDestroyed());
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyUnknownNodesTest, ANodeThatCannotBeMadeStaysUnknownAndTheRestGoesOn)
{
    unknown(L"b", unknown(L"a"));
    unknown(L"c");
    data.refuse(L"create 90 'a'", Status::kFailure);
    EXPECT_EQ(convert(), Status::kSuccess);
    EXPECT_EQ(names(), L"a? b c ");
}

// --- Values ---

TEST_F(LoadStrategyUnknownNodesTest, ValuesAndArraysAreCopied)
{
    Node* const node = unknown(L"node");
    addNumber(node, 5);
    auto* const list = static_cast<AttributeArray*>(add(node, L"list", AttributeType::kInt, true));
    ASSERT_EQ(scene.core().db_resizeAttributeArray(list, 2), Status::kSuccess);
    scene.write(list->getAttribute(1), 6);
    convert();
    const Node* const made = converted(L"node");
    EXPECT_EQ(valueOf(made, L"number"), 5);
    ASSERT_EQ(made->findAttributeArrayByName(L"list")->getSize(), 2u);
    EXPECT_EQ(made->findAttributeArrayByName(L"list")->getAttribute(1)->getValue().getInt(), 6);
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyUnknownNodesTest, NumbersAndTextsThatHoldOneConvert)
{
    scene.write(static_cast<Attribute*>(add(unknown(L"real"), L"number", AttributeType::kFloat)), 2.5f);
    scene.write(static_cast<Attribute*>(add(unknown(L"text"), L"number", AttributeType::kString)), L"12");
    convert();
    EXPECT_EQ(valueOf(converted(L"real"), L"number"), 2);
    EXPECT_EQ(valueOf(converted(L"text"), L"number"), 12);
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyUnknownNodesTest, AnElementWithoutAPlaceIsLeftOutWithAWarning)
{
    Node* const node = unknown(L"node");
    add(node, L"gone", AttributeType::kInt);
    add(node, L"number", AttributeType::kInt, true); // an array there
    add(node, L"colour", AttributeType::kInt);       // not an Enum
    scene.write(static_cast<Attribute*>(add(node, L"list", AttributeType::kInt)), 3);
    EXPECT_EQ(convert(), Status::kSuccess);
    const Lines lines = logged();
    ASSERT_EQ(lines.size(), 4u);
    const Lines left = {L"gone", L"number", L"colour", L"list"};
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        EXPECT_EQ(lines[i].substr(0, 2), L"W ");
        EXPECT_NE(lines[i].find(L"'" + left[i] + L"'"), std::wstring::npos) << i;
    }
    EXPECT_EQ(converted(L"node")->findAttributeArrayByName(L"list")->getSize(), 0u);
}

TEST_F(LoadStrategyUnknownNodesTest, DynamicElementsAreMadeAgain)
{
    Node* const node = unknown(L"node");
    IntAttributeMetaDataDef definition;
    definition.setDocString(L"more");
    scene.write(scene.dynamicAttribute(definition, L"extra", node), 7);
    convert();
    const Attribute* const extra = converted(L"node")->findAttributeByName(L"extra");
    ASSERT_NE(extra, nullptr);
    EXPECT_TRUE(extra->isDynamic());
    EXPECT_STREQ(extra->getDocString(), L"more");
    EXPECT_EQ(extra->getValue().getInt(), 7);
}

TEST_F(LoadStrategyUnknownNodesTest, WhatTheFileHadNoValueForHasTheDefaultOfTheType)
{
    constexpr unsigned int kLater = 91;
    auto* const later = new NodeTemplate(L"Later", kLater, *arrived);
    IntAttributeMetaDataDef five;
    five.setDefaultValue(5);
    for (const wchar_t* const name : {L"none", L"zero", L"null", L"written"})
        ASSERT_EQ(later->addAttribute(five, name), Status::kSuccess);
    five.setArray(true);
    ASSERT_EQ(later->addAttribute(five, L"list"), Status::kSuccess);
    ASSERT_EQ(scene.registry().registerNodeTemplate(later), Status::kSuccess);

    EXPECT_EQ(load([&](TestLoader& self) {
                  Node* const node = unknown(L"node", parent, L"Later");
                  populate(node, L"none");
                  write(populate(node, L"zero"), 0);
                  self.onNullAttributeLoaded(populate(node, L"null"));
                  scene.write(populate(node, L"written"), 3);
                  AttributeArray* const list = populateArray(node, L"list");
                  EXPECT_EQ(self.resizeAttributeArray(list, 2), Status::kSuccess);
                  write(list->getAttribute(1), 0);
                  return Status::kSuccess;
              }),
              Status::kSuccess);
    dbu_copyNode(converted(L"node"), &data, &scene.core(), parent, nullptr, L"copy");
    EXPECT_EQ(convert(), Status::kSuccess);
    for (const wchar_t* const name : {L"node", L"copy"})
    {
        SCOPED_TRACE(::testing::Message() << name);
        const Node* const made = converted(name);
        EXPECT_EQ(valueOf(made, L"none"), 5);
        EXPECT_EQ(valueOf(made, L"zero"), 0);
        EXPECT_EQ(valueOf(made, L"null"), 0);
        EXPECT_EQ(valueOf(made, L"written"), 3);
        const AttributeArray* const list = made->findAttributeArrayByName(L"list");
        ASSERT_EQ(list->getSize(), 2u);
        EXPECT_EQ(list->getAttribute(0)->getValue().getInt(), 5);
        EXPECT_EQ(list->getAttribute(1)->getValue().getInt(), 0);
    }
}

// --- Choices ---

TEST_F(LoadStrategyUnknownNodesTest, AnEnumIsCopiedByTheTextOfItsChoice)
{
    addColour(unknown(L"node"), L"blue"); // choice 0 there
    convert();
    EXPECT_EQ(valueOf(converted(L"node"), L"colour"), 2);
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyUnknownNodesTest, AnEnumArrayIsCopiedChoiceByChoice)
{
    auto* const array = static_cast<AttributeArray*>(add(unknown(L"node"), L"colours", AttributeType::kEnum, true));
    ASSERT_EQ(scene.core().db_resizeAttributeArray(array, 3), Status::kSuccess);
    choose(array->getAttribute(0), L"blue");
    choose(array->getAttribute(1), L"green");
    choose(array->getAttribute(2), L"blue");
    convert();
    const AttributeArray* const made = converted(L"node")->findAttributeArrayByName(L"colours");
    ASSERT_EQ(made->getSize(), 3u);
    EXPECT_EQ(made->getAttribute(0)->getValue().getInt(), 2);
    EXPECT_EQ(made->getAttribute(1)->getValue().getInt(), 1);
    EXPECT_EQ(made->getAttribute(2)->getValue().getInt(), 2);
}

TEST_F(LoadStrategyUnknownNodesTest, AChoiceThatTheTypeLacksLeavesTheDefaultWithAWarning)
{
    addColour(unknown(L"node"), L"purple");
    EXPECT_EQ(convert(), Status::kSuccess);
    EXPECT_EQ(valueOf(converted(L"node"), L"colour"), 0);
    const Lines lines = logged();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].substr(0, 2), L"W ");
    EXPECT_NE(lines[0].find(L"'purple'"), std::wstring::npos);
}

TEST_F(LoadStrategyUnknownNodesTest, AnEnumThatNeverGotAValueHasTheDefaultWithoutAWarning)
{
    add(unknown(L"node"), L"colour", AttributeType::kEnum);
    convert();
    EXPECT_EQ(valueOf(converted(L"node"), L"colour"), 0);
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyUnknownNodesTest, ANumberThatIsNoLearnedChoiceGoesOverAsItIs)
{
    EXPECT_EQ(load([&](TestLoader&) {
                  write(populate(unknown(L"first"), L"colour", AttributeType::kEnum), 0);
                  write(populate(unknown(L"alone"), L"colour", AttributeType::kEnum), 2);
                  scene.write(addColour(unknown(L"among"), L"red"), 7);
                  scene.write(addColour(unknown(L"below"), L"red"), -1);
                  scene.write(static_cast<Attribute*>(add(unknown(L"host"), L"colour", AttributeType::kEnum)), 1);
                  return Status::kSuccess;
              }),
              Status::kSuccess);
    convert();
    EXPECT_EQ(valueOf(converted(L"first"), L"colour"), 0);
    EXPECT_EQ(valueOf(converted(L"alone"), L"colour"), 2);
    EXPECT_EQ(valueOf(converted(L"among"), L"colour"), 7);
    EXPECT_EQ(valueOf(converted(L"below"), L"colour"), -1);
    EXPECT_EQ(valueOf(converted(L"host"), L"colour"), 1);
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyUnknownNodesTest, AnEnumThatReferencesIsCopiedByTheTextOfTheChoiceItShows)
{
    Attribute* const referencer = addColour(unknown(L"a"), L"red");
    Node* const b = unknown(L"b");
    Attribute* const referenced = addColour(b, L"green");
    choose(referenced, L"blue"); // choice 1 of the one, while the other has a single choice
    reference(referenced, referencer);
    convert();
    EXPECT_EQ(logged(), Lines{});
    Attribute* const made = converted(L"a")->findAttributeByName(L"colour");
    EXPECT_EQ(made->getReference(), converted(L"b")->findAttributeByName(L"colour"));
    EXPECT_EQ(scene.core().db_destroyReference(made), Status::kSuccess);
    EXPECT_EQ(made->getValue().getInt(), 2);
}

TEST_F(LoadStrategyUnknownNodesTest, AnEnumThatReferencesANumberKeepsTheReference)
{
    Attribute* const number = scene.node(L"z")->findAttributeByName(L"Int");
    scene.write(number, 57);
    reference(number, addColour(unknown(L"a"), L"red"));
    convert();
    EXPECT_EQ(converted(L"a")->findAttributeByName(L"colour")->getReference(), number);
    EXPECT_EQ(logged(), Lines{});
}

// --- References ---

TEST_F(LoadStrategyUnknownNodesTest, ReferencesAtBothEndsMoveOver)
{
    Node* const a = unknown(L"a");
    Node* const b = unknown(L"b");
    auto* const list = static_cast<AttributeArray*>(add(a, L"list", AttributeType::kInt, true));
    ASSERT_EQ(scene.core().db_resizeAttributeArray(list, 2), Status::kSuccess);
    Attribute* const number = addNumber(b, 4);
    Attribute* const outside = scene.node(L"z")->findAttributeByName(L"Int");
    reference(number, list->getAttribute(1));
    reference(addColour(b, L"green"), outside, true);
    EXPECT_EQ(convert(), Status::kSuccess);
    const Attribute* const item = converted(L"a")->findAttributeArrayByName(L"list")->getAttribute(1);
    EXPECT_EQ(item->getReference(), converted(L"b")->findAttributeByName(L"number"));
    EXPECT_EQ(outside->getReference(), converted(L"b")->findAttributeByName(L"colour"));
    EXPECT_TRUE(outside->referenceIsSingle());
    EXPECT_EQ(scene.core().getStatistics().references, 2u);
}

// --- As a loader ---

TEST_F(LoadStrategyUnknownNodesTest, ALongChainOfReferencesKeepsItsLinksAndTheValueThatAllShow)
{
    constexpr unsigned int kNodes = 100;
    for (const bool endsFirst : {true, false})
    {
        SCOPED_TRACE(endsFirst);
        std::vector<Attribute*> chain; // in the order of the nodes
        for (unsigned int i = 0; i < kNodes; ++i)
            chain.push_back(addNumber(unknown((L"n" + std::to_wstring(i)).c_str()), static_cast<int>(1000 + i)));
        for (unsigned int i = 0; i + 1 < kNodes; ++i)
            ASSERT_EQ(
                scene.core().db_createReference(chain[endsFirst ? i : i + 1], chain[endsFirst ? i + 1 : i], false),
                Status::kSuccess);
        // In its middle a chain breaks: the type has no place for that element.
        Node* const stranger = unknown(L"stranger");
        auto* const left = static_cast<Attribute*>(add(stranger, L"gone", AttributeType::kInt));
        Attribute* const holder = addNumber(unknown(L"holder"), 7);
        ASSERT_EQ(scene.core().db_createReference(chain[kNodes / 2], left, false), Status::kSuccess);
        ASSERT_EQ(scene.core().db_createReference(left, holder, false), Status::kSuccess);

        EXPECT_EQ(convert(), Status::kSuccess);
        const int shown = endsFirst ? 1000 : 1000 + static_cast<int>(kNodes) - 1;
        for (unsigned int i = 0; i < kNodes; ++i)
        {
            const auto number = [&](unsigned int k) {
                return converted((L"n" + std::to_wstring(k)).c_str())->findAttributeByName(L"number");
            };
            const bool isEnd = i == (endsFirst ? 0 : kNodes - 1);
            ASSERT_EQ(number(i)->getReference(), isEnd ? nullptr : number(endsFirst ? i - 1 : i + 1));
            ASSERT_EQ(number(i)->getValue().asInt(), shown);
        }
        EXPECT_EQ(converted(L"holder")->findAttributeByName(L"number")->getReference(), nullptr);
        EXPECT_EQ(valueOf(converted(L"holder"), L"number"), 7);
        dbu_destroyChildrenRecursively(parent, &scene.core());
        scene.log().take();
    }
}

TEST_F(LoadStrategyUnknownNodesTest, IsALoaderThatReadsNothingAndRunsNoMigrators)
{
    unknown(L"node");
    migratorsRun.clear();
    LoadStrategyUnknownNodes converter(stream, *arrived, data, scene.core(), 0, &migratorsRun);
    EXPECT_EQ(converter.load(*parent, nullptr), Status::kSuccess);
    EXPECT_EQ(names(), L"node ");
    EXPECT_EQ(migratorsRun.size(), 0u);
}

TEST_F(LoadStrategyUnknownNodesTest, TheOptionsAreALoaders)
{
    const LoadStrategyUnknownNodes converter(stream, *arrived, data, scene.core(), LoadStrategy::kLogLoadTime, nullptr);
    EXPECT_TRUE(converter.hasOption(LoadStrategy::kLogLoadTime));
    EXPECT_EQ(
        dbu_convertUnknownNodesInModuleToKnownNodes(arrived, parent, &data, &scene.core(), LoadStrategy::kLogLoadTime),
        Status::kSuccess);
    EXPECT_EQ(logged().size(), 1u);
}

TEST_F(LoadStrategyUnknownNodesTest, NullsAreRefused)
{
    unknown(L"node");
    CoreManager* const core = &scene.core();
    EXPECT_EQ(dbu_convertUnknownNodesInModuleToKnownNodes(nullptr, parent, &data, core, 0), Status::kFailure);
    EXPECT_EQ(dbu_convertUnknownNodesInModuleToKnownNodes(arrived, nullptr, &data, core, 0), Status::kFailure);
    EXPECT_EQ(dbu_convertUnknownNodesInModuleToKnownNodes(arrived, parent, nullptr, core, 0), Status::kFailure);
    EXPECT_EQ(dbu_convertUnknownNodesInModuleToKnownNodes(arrived, parent, &data, nullptr, 0), Status::kFailure);
    EXPECT_EQ(names(), L"node? ");
}

} // namespace
} // namespace db2test
