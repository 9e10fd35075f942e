#include "support/FaultyLayer.h"
#include "support/LoadScene.h"

#include <db2/EnumAttributeMetaDataDef.h>

namespace db2test {
namespace {

/// What a format asks for while it reads: names of older versions, nodes, elements and values.
class LoadStrategyPopulationTest : public LoadTest
{
protected:
    Status make(const wchar_t* typeName, const wchar_t* moduleId, Node** outNode)
    {
        return loader.makeNode(typeName, moduleId, L"n", parent, nullptr, outNode);
    }
    Status populateStatus(Node* node, const wchar_t* name, AttributeTypeId type, bool isDynamic = false)
    {
        Attribute* attribute = nullptr;
        const Status status = loader.getAttributeToPopulate(node, name, type, isDynamic, &attribute);
        EXPECT_EQ(attribute != nullptr, status == Status::kSuccess);
        return status;
    }
    /// Runs the steps within a load of a file of that version, which must succeed as expected.
    void duringLoad(const std::function<void()>& steps, unsigned int dataVersion = 5,
                    Status expected = Status::kSuccess)
    {
        EXPECT_EQ(load(
                      [&](TestLoader&) {
                          steps();
                          return Status::kSuccess;
                      },
                      dataVersion),
                  expected);
    }
    static std::wstring orNull(const wchar_t* text) { return text != nullptr ? text : L"null"; }
};

// --- The entry ---

TEST_F(LoadStrategyPopulationTest, AStreamThatIsNotOKIsNotRead)
{
    stream.ok = false;
    EXPECT_EQ(loader.load(*parent, L"file.txt"), Status::kFailure);
    EXPECT_EQ(loader.load(*parent, nullptr), Status::kFailure);
    EXPECT_EQ(loader.load(*parent, L""), Status::kFailure);
    EXPECT_EQ(logged(), (Lines{L"E file.txt is not OK to read from", L"E Stream is not OK to read from",
                               L"E Stream is not OK to read from"}));
    EXPECT_EQ(loader.runs, 0);
}

TEST_F(LoadStrategyPopulationTest, TheFormatsResultIsTheLoads)
{
    loader.script = [](TestLoader&) { return Status::kNullOutput; };
    EXPECT_EQ(loader.load(*parent, nullptr), Status::kNullOutput);
    EXPECT_EQ(loader.runs, 1);
}

TEST_F(LoadStrategyPopulationTest, TheFormatKnowsWhereItLoads)
{
    Node* seen = nullptr;
    loader.script = [&](TestLoader& self) {
        seen = self.getLoadParent();
        return Status::kSuccess;
    };
    EXPECT_EQ(loader.load(*parent, nullptr), Status::kSuccess);
    EXPECT_EQ(seen, parent);
    EXPECT_EQ(&loader.getStream(), &stream);
    EXPECT_EQ(&loader.getDataInterface(), &data);
    EXPECT_EQ(&loader.getCoreManager(), &scene.core());
}

TEST_F(LoadStrategyPopulationTest, AnOptionIsThereWhenAnyOfTheBitsIs)
{
    const TestLoader timed(stream, data, scene.core(), 3, LoadStrategy::kLogLoadTime, nullptr);
    EXPECT_TRUE(timed.hasOption(3));
    EXPECT_TRUE(timed.hasOption(2));
    EXPECT_FALSE(timed.hasOption(1));
    EXPECT_FALSE(loader.hasOption(3));
}

TEST_F(LoadStrategyPopulationTest, TheLoadTimeIsLoggedWhenAskedFor)
{
    TestLoader timed(stream, data, scene.core(), 3, LoadStrategy::kLogLoadTime, nullptr);
    EXPECT_EQ(timed.load(*parent, L"file.txt"), Status::kSuccess);
    const Lines lines = logged();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].substr(0, 2), L"I ");
    EXPECT_NE(lines[0].find(L"db2::load 'file.txt'"), std::wstring::npos);
    EXPECT_EQ(loader.load(*parent, L"file.txt"), Status::kSuccess);
    EXPECT_EQ(logged(), Lines{});
}

// --- Names of older versions ---

TEST_F(LoadStrategyPopulationTest, NamesPassThroughEveryMigratorInOrder)
{
    addMigrator(4).rename(L"one", L"two");
    addMigrator(5).rename(L"two", L"three");
    duringLoad(
        [&] {
            calls.clear();
            EXPECT_EQ(orNull(loader.migrateNodeTypeName(L"one")), L"three");
            EXPECT_EQ(orNull(loader.migrateNodeModuleId(L"one", L"type")), L"three");
            EXPECT_EQ(orNull(LoadStrategy::migrateAttributeName(L"one", parent, migratorsRun)), L"three");
            EXPECT_EQ(orNull(loader.migrateEnumChoice(L"one", L"colour", parent)), L"three");
            EXPECT_EQ(calls,
                      (Lines{L"4:typeName(one)", L"5:typeName(two)", L"4:moduleId(one, type)", L"5:moduleId(two, type)",
                             L"4:attributeName(one, parent)", L"5:attributeName(two, parent)",
                             L"4:choice(one, colour, parent)", L"5:choice(two, colour, parent)"}));
        },
        3, Status::kLoadedWithMigration);
}

TEST_F(LoadStrategyPopulationTest, TheFirstRefusalEndsAChain)
{
    addMigrator(4).rename(L"one", nullptr);
    addMigrator(5);
    duringLoad(
        [&] {
            calls.clear();
            EXPECT_EQ(loader.migrateNodeTypeName(L"one"), nullptr);
            EXPECT_EQ(loader.migrateNodeModuleId(L"one", L"type"), nullptr);
            EXPECT_EQ(LoadStrategy::migrateAttributeName(L"one", parent, migratorsRun), nullptr);
            EXPECT_EQ(loader.migrateEnumChoice(L"one", L"colour", parent), nullptr);
            EXPECT_EQ(calls.size(), 4u);
        },
        3, Status::kLoadedWithMigration);
}

TEST_F(LoadStrategyPopulationTest, WithoutMigratorsNamesStay)
{
    duringLoad([&] {
        EXPECT_EQ(orNull(loader.migrateNodeTypeName(L"one")), L"one");
        EXPECT_EQ(orNull(loader.migrateNodeModuleId(L"one", L"type")), L"one");
        EXPECT_EQ(orNull(LoadStrategy::migrateAttributeName(L"one", parent, migratorsRun)), L"one");
        EXPECT_EQ(orNull(loader.migrateEnumChoice(L"one", L"colour", parent)), L"one");
    });
}

TEST_F(LoadStrategyPopulationTest, TypesOfThePreviousGenerationGetASuffixAndAskNoMigrator)
{
    addMigrator(5).rename(L"moved", L"Test");
    NodeTemplate* const old = new NodeTemplate(L"Old_KQDatabase1", 80, scene.module());
    ASSERT_EQ(scene.registry().registerNodeTemplate(old), Status::kSuccess);
    duringLoad(
        [&] {
            loader.getHeaderData().legacyFormat = 1;
            calls.clear();
            EXPECT_EQ(orNull(loader.migrateNodeTypeName(L"Old")), L"Old_KQDatabase1");
            EXPECT_EQ(orNull(loader.migrateNodeTypeName(L"A longer name")), L"A longer name_KQDatabase1");
            EXPECT_EQ(calls, Lines{});
            const Node* const node = makeNode(L"Old", L"n", nullptr, L"moved");
            EXPECT_EQ(node->getNodeTemplate(), old);
            EXPECT_EQ(calls, (Lines{L"5:moduleId(moved, Old_KQDatabase1)"}));
        },
        4, Status::kLoadedWithMigration);
}

// --- Nodes ---

TEST_F(LoadStrategyPopulationTest, ANodeOfARegisteredTypeIsMadeThroughTheInterface)
{
    duringLoad([&] {
        Node* const next = makeNode(L"Plain", L"next");
        data.take();
        Node* node = nullptr;
        EXPECT_EQ(loader.makeNode(L"All", L"Test", L"n", parent, next, &node), Status::kSuccess);
        EXPECT_EQ(data.take(), (Lines{L"create 3 'n' under |parent before |parent|next"}));
        EXPECT_EQ(node->getTypeName(), L"All");
    });
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LoadStrategyPopulationTest, ALayerThatAnswersWithoutAnObjectHasFailed)
{
    for (const Fault fault : {Fault::kSwallows, Fault::kDropsResult})
    {
        SCOPED_TRACE(static_cast<int>(fault));
        FaultyLayer known(&scene.core(), {fault, Operation::kCreateNode});
        FaultyLayer unknown(&scene.core(), {fault, Operation::kCreateUnknownNode});
        FaultyLayer dynamic(&scene.core(), {fault, Operation::kCreateDynamicElement});
        for (FaultyLayer* const layer : {&known, &unknown, &dynamic})
        {
            TestLoader once(stream, *layer, scene.core(), 3, 0, nullptr);
            once.script = [&](TestLoader& self) {
                fillHeader(self);
                addModule(self, L"Missing", 1);
                EXPECT_EQ(self.validateHeaderData(), Status::kSuccess);
                Node* node = nullptr;
                const auto make = [&](const wchar_t* type, const wchar_t* module, bool works) {
                    EXPECT_EQ(self.makeNode(type, module, L"n", parent, nullptr, &node),
                              works ? Status::kSuccess : Status::kFailure);
                };
                make(L"Any", L"Missing", layer != &unknown);
                make(L"Dropped", L"Test", layer != &unknown);
                make(L"All", L"Test", layer != &known);
                Attribute* attribute = nullptr;
                if (layer == &dynamic)
                {
                    EXPECT_EQ(self.getAttributeToPopulate(node, L"x", AttributeType::kInt, true, &attribute),
                              Status::kFailure);
                }
                return Status::kFailure;
            };
            EXPECT_EQ(once.load(*parent, nullptr), Status::kFailure);
        }
    }
    EXPECT_EQ(logged(),
              (Lines{L"E Failed to create node", L"E Failed to create node", L"E Failed to create legacy node",
                     L"E Failed to create dynamic element 'x'", L"E Failed to create node", L"E Failed to create node",
                     L"E Failed to create legacy node", L"E Failed to create dynamic element 'x'"}));
}

TEST_F(LoadStrategyPopulationTest, TypeAndModuleAreMigratedFirst)
{
    addMigrator(5).rename(L"Everything", L"All");
    migrators[5]->rename(L"Former", L"Test");
    duringLoad(
        [&] {
            calls.clear();
            EXPECT_EQ(makeNode(L"Everything", L"n", nullptr, L"Former")->getTypeName(), L"All");
            EXPECT_EQ(calls, (Lines{L"5:typeName(Everything)", L"5:moduleId(Former, All)"}));
        },
        4, Status::kLoadedWithMigration);
}

TEST_F(LoadStrategyPopulationTest, ARefusedTypeNameIsAnError)
{
    addMigrator(5).rename(L"Everything", nullptr);
    duringLoad(
        [&] {
            logged();
            Node* node = nullptr;
            EXPECT_EQ(make(L"Everything", L"Test", &node), Status::kFailure);
            EXPECT_EQ(node, nullptr);
            EXPECT_EQ(logged(), (Lines{L"E Failed to migrate node type name 'Everything'"}));
        },
        4, Status::kLoadedWithMigration);
}

TEST_F(LoadStrategyPopulationTest, ARefusedModuleIdIsAnError)
{
    addMigrator(5).rename(L"Former", nullptr);
    duringLoad(
        [&] {
            logged();
            Node* node = nullptr;
            EXPECT_EQ(make(L"All", L"Former", &node), Status::kFailure);
            EXPECT_EQ(logged(), (Lines{L"E Failed to migrate node moduleId 'Former'"}));
        },
        4, Status::kLoadedWithMigration);
}

TEST_F(LoadStrategyPopulationTest, AModuleThatIsNotRegisteredIsAFailureWithoutAMessage)
{
    duringLoad([&] {
        Node* node = nullptr;
        EXPECT_EQ(make(L"All", L"Nobody", &node), Status::kFailure);
        EXPECT_EQ(logged(), Lines{});
    });
}

TEST_F(LoadStrategyPopulationTest, ANodeOfAPlaceholderIsUnknown)
{
    load([&](TestLoader&) { return Status::kSuccess; });
    TestLoader other(stream, data, scene.core(), 3, 0, nullptr);
    other.script = [&](TestLoader& self) {
        fillHeader(self);
        addModule(self, L"Missing", 1);
        EXPECT_EQ(self.validateHeaderData(), Status::kSuccess);
        data.take();
        Node* node = nullptr;
        EXPECT_EQ(self.makeNode(L"Plain", L"Missing", L"n", parent, nullptr, &node), Status::kSuccess);
        EXPECT_EQ(data.take(), (Lines{L"create unknown 'Plain' 'n' under |parent"}));
        EXPECT_TRUE(node->isUnknown());
        EXPECT_EQ(node->getModule(), lookupModule(L"Missing"));
        return Status::kSuccess;
    };
    EXPECT_EQ(other.load(*parent, nullptr), Status::kSuccess);
    EXPECT_EQ(other.getNumUnhandledLegacyNodes(), 0u);
    EXPECT_EQ(parent->getFirstChild()->getName(), L"n");
}

TEST_F(LoadStrategyPopulationTest, ATypeThatTheModuleLacksMakesALegacyNode)
{
    duringLoad(
        [&] {
            data.take();
            const Node* const node = makeNode(L"Dropped", L"n");
            EXPECT_TRUE(node->isLegacy());
            EXPECT_EQ(node->getTypeName(), L"Dropped");
            EXPECT_EQ(data.take(), (Lines{L"create legacy 'Dropped' 'n' under |parent"}));
        },
        5, Status::kLoadedWithUnhandledLegacyData);
}

TEST_F(LoadStrategyPopulationTest, WhatTheCreationReturnsIsPassedOn)
{
    duringLoad([&] {
        Node* node = nullptr;
        data.refuse(L"create", Status::kNextNotChildOfParent);
        EXPECT_EQ(make(L"All", L"Test", &node), Status::kNextNotChildOfParent);
        EXPECT_EQ(make(L"Dropped", L"Test", &node), Status::kNextNotChildOfParent);
        EXPECT_EQ(logged(), (Lines{L"E Failed to create node", L"E Failed to create legacy node"}));
        EXPECT_EQ(node, nullptr);
        auto* const missing = new Module;
        missing->setId(L"Missing");
        missing->setUnknown(true);
        ASSERT_EQ(registerModule(missing), Status::kSuccess);
        EXPECT_EQ(make(L"All", L"Missing", &node), Status::kNextNotChildOfParent);
        EXPECT_EQ(logged(), (Lines{L"E Failed to create node"}));
    });
    EXPECT_EQ(loader.getNumUnhandledLegacyNodes(), 0u);
}

TEST_F(LoadStrategyPopulationTest, EachCompleteNodeIsShownToTheMigratorsInOrder)
{
    addMigrator(4);
    addMigrator(5);
    duringLoad(
        [&] {
            Node* const node = makeNode(L"All", L"n");
            Node* const legacy = makeNode(L"Dropped", L"l");
            calls.clear();
            EXPECT_EQ(loader.onNodeLoaded(*node), Status::kSuccess);
            EXPECT_EQ(loader.onNodeLoaded(*legacy), Status::kSuccess);
            EXPECT_EQ(calls, (Lines{L"4:loaded(n)", L"5:loaded(n)", L"4:legacyLoaded(l)", L"5:legacyLoaded(l)"}));
            migrators[4]->refuse(L"loaded");
            migrators[4]->refuse(L"legacyLoaded");
            calls.clear();
            EXPECT_EQ(loader.onNodeLoaded(*node), Status::kFailure);
            EXPECT_EQ(loader.onNodeLoaded(*legacy), Status::kFailure);
            EXPECT_EQ(calls, (Lines{L"4:loaded(n)", L"4:legacyLoaded(l)"}));
        },
        3, Status::kLoadedWithUnhandledLegacyData);
}

// --- Elements ---

TEST_F(LoadStrategyPopulationTest, TheNodesOwnElementIsFound)
{
    duringLoad([&] {
        Node* const node = makeNode(L"All", L"n");
        Attribute* const attribute = populate(node, L"Int");
        EXPECT_EQ(attribute, node->findAttributeByName(L"Int"));
        EXPECT_TRUE(attribute->hasFlag(0x400));
        EXPECT_FALSE(attribute->hasFlag(0x800));
        AttributeArray* const array = populateArray(node, L"IntItems");
        EXPECT_EQ(array, node->findAttributeArrayByName(L"IntItems"));
        EXPECT_TRUE(array->hasFlag(0x400));
    });
}

TEST_F(LoadStrategyPopulationTest, AnElementIsFoundUnderItsPresentName)
{
    addMigrator(5).rename(L"Old", L"Int");
    duringLoad(
        [&] {
            Node* const node = makeNode(L"All", L"n");
            calls.clear();
            EXPECT_EQ(populate(node, L"Old"), node->findAttributeByName(L"Int"));
            EXPECT_EQ(calls, (Lines{L"5:attributeName(Old, n)"}));
        },
        4, Status::kLoadedWithMigration);
}

TEST_F(LoadStrategyPopulationTest, ARefusedElementNameIsAnError)
{
    addMigrator(5).rename(L"Old", nullptr);
    duringLoad(
        [&] {
            Node* const node = makeNode(L"All", L"n");
            logged();
            EXPECT_EQ(populateStatus(node, L"Old", AttributeType::kInt), Status::kFailure);
            EXPECT_EQ(logged(), (Lines{L"E Failed to migrate element name 'Old'"}));
        },
        4, Status::kLoadedWithMigration);
}

TEST_F(LoadStrategyPopulationTest, AnElementThatIsGoneOrOfAnotherTypeOrKindIsLegacy)
{
    duringLoad(
        [&] {
            Node* const node = makeNode(L"All", L"n");
            for (const wchar_t* const name : {L"Gone", L"Float", L"IntItems"})
            {
                SCOPED_TRACE(::testing::Message() << name);
                const Attribute* const attribute = populate(node, name);
                EXPECT_TRUE(attribute->isLegacy());
                EXPECT_TRUE(attribute->hasFlag(0x400));
                EXPECT_EQ(attribute->getTypeId(), AttributeType::kInt);
                EXPECT_EQ(node->findLegacyAttributeByName(name), attribute);
            }
            const AttributeArray* const array = populateArray(node, L"Int");
            EXPECT_TRUE(array->isLegacy());
            EXPECT_EQ(node->findLegacyAttributeArrayByName(L"Int"), array);
        },
        5, Status::kLoadedWithUnhandledLegacyData);
}

TEST_F(LoadStrategyPopulationTest, ALegacyElementHasTheMigratedName)
{
    addMigrator(5).rename(L"Old", L"Newer");
    duringLoad([&] { EXPECT_STREQ(populate(makeNode(L"All", L"n"), L"Old")->getName(), L"Newer"); }, 4,
               Status::kLoadedWithUnhandledLegacyData);
}

TEST_F(LoadStrategyPopulationTest, ASecondLegacyElementOfTheNameIsRefused)
{
    duringLoad(
        [&] {
            Node* const node = makeNode(L"All", L"n");
            populate(node, L"Gone");
            logged();
            EXPECT_EQ(populateStatus(node, L"Gone", AttributeType::kInt), Status::kDuplicateLegacyElement);
            const Lines lines = logged();
            ASSERT_EQ(lines.size(), 2u); // the core's own, then
            EXPECT_EQ(lines[1], L"E Failed to create legacy element 'Gone'");
        },
        5, Status::kLoadedWithUnhandledLegacyData);
    EXPECT_EQ(loader.getNumUnhandledLegacyElements(), 1u);
}

TEST_F(LoadStrategyPopulationTest, ElementsOfALegacyNodeAreLegacyUnderTheNameThatTheFileGives)
{
    addMigrator(5).rename(L"Old", L"Newer");
    duringLoad(
        [&] {
            Node* const node = makeNode(L"Dropped", L"n");
            calls.clear();
            const Attribute* const attribute = populate(node, L"Old");
            EXPECT_TRUE(attribute->isLegacy());
            EXPECT_STREQ(attribute->getName(), L"Old");
            EXPECT_EQ(calls, Lines{});
            logged();
            EXPECT_EQ(populateStatus(node, L"Old", AttributeType::kInt), Status::kDuplicateLegacyElement);
            EXPECT_EQ(logged().back(), L"E Failed to create legacy element 'Old' on legacy node 'n'");
        },
        4, Status::kLoadedWithUnhandledLegacyData);
}

TEST_F(LoadStrategyPopulationTest, ElementsOfAnUnknownNodeAreMadeAsTheyCome)
{
    duringLoad([&] {
        Node* const node = scene.unknownNode(L"n", parent);
        const Attribute* const attribute = populate(node, L"x");
        const AttributeArray* const array = populateArray(node, L"xs", AttributeType::kFloat);
        EXPECT_TRUE(attribute->isUnknown());
        EXPECT_TRUE(attribute->hasFlag(0x400));
        EXPECT_TRUE(array->isUnknown());
        EXPECT_EQ(array->getTypeId(), AttributeType::kFloat);
        EXPECT_EQ(node->getElementCount(), 2u);
        EXPECT_EQ(populateStatus(node, L"x", AttributeType::kInt), Status::kDuplicateElementName);
        EXPECT_EQ(logged(), (Lines{L"E Failed to create unknown element 'x' on unknown node 'n'"}));
    });
}

TEST_F(LoadStrategyPopulationTest, EnumsOfUnknownAndLegacyElementsLearnTheirChoices)
{
    duringLoad(
        [&] {
            Node* const unknown = scene.unknownNode(L"unknown", parent);
            for (Node* const node : {unknown, makeNode(L"Dropped", L"legacy"), makeNode(L"All", L"known")})
            {
                SCOPED_TRACE(::testing::Message() << node->getName().c_str());
                const Attribute* const attribute = populate(node, L"mood", AttributeType::kEnum);
                auto* const metaData = const_cast<UnknownEnumAttributeMetaData*>(
                    dynamic_cast<const UnknownEnumAttributeMetaData*>(attribute->getMetaData()));
                ASSERT_NE(metaData, nullptr);
                EXPECT_EQ(metaData->getNumChoices(), 0u);
                EXPECT_EQ(metaData->addChoiceIfNotExist(L"good"), 0);
                EXPECT_NE(dynamic_cast<const UnknownEnumAttributeMetaData*>(
                              populateArray(node, L"moods", AttributeType::kEnum)->getMetaData()),
                          nullptr);
            }
        },
        5, Status::kLoadedWithUnhandledLegacyData);
}

TEST_F(LoadStrategyPopulationTest, ADynamicElementIsMadeThroughTheInterfaceFromTheDefinition)
{
    duringLoad([&] {
        Node* const node = makeNode(L"All", L"n");
        ElementMetaDataDef* const definition = loader.getMetaDataDef(AttributeType::kFloat);
        static_cast<FloatAttributeMetaDataDef*>(definition)->setDefaultValue(2.0f);
        definition->setDocString(L"how long");
        data.take();
        const Attribute* const attribute = populate(node, L"length", AttributeType::kFloat, true);
        EXPECT_EQ(data.take(), (Lines{L"add 'length' to |parent|n"}));
        EXPECT_TRUE(attribute->isDynamic());
        EXPECT_TRUE(attribute->hasFlag(0x400));
        EXPECT_STREQ(attribute->getDocString(), L"how long");
        EXPECT_EQ(attribute->getValue().getFloat(), 2.0f);
        // The definition is as new for the next one.
        EXPECT_EQ(definition->getDocString(), nullptr);
        EXPECT_EQ(populate(node, L"width", AttributeType::kFloat, true)->getValue().getFloat(), 0.0f);
        EXPECT_EQ(populateArray(node, L"list", AttributeType::kFloat, true)->getSize(), 0u);
        EXPECT_FALSE(definition->isArray());
    });
}

TEST_F(LoadStrategyPopulationTest, ADynamicEnumHasTheChoicesOfTheDefinition)
{
    duringLoad([&] {
        Node* const node = makeNode(L"All", L"n");
        static_cast<EnumAttributeMetaDataDef*>(loader.getMetaDataDef(AttributeType::kEnum))->addChoice(L"red");
        const Attribute* const attribute = populate(node, L"colour", AttributeType::kEnum, true);
        const auto& metaData = static_cast<const EnumAttributeMetaData&>(*attribute->getMetaData());
        ASSERT_EQ(metaData.getNumChoices(), 1u);
        EXPECT_STREQ(metaData.getChoice(0), L"red");
    });
}

TEST_F(LoadStrategyPopulationTest, ARefusedDynamicElementIsAnErrorAndClearsTheDefinition)
{
    duringLoad([&] {
        Node* const node = makeNode(L"All", L"n");
        ElementMetaDataDef* const definition = loader.getMetaDataDef(AttributeType::kInt);
        definition->setDocString(L"left over");
        EXPECT_EQ(populateStatus(node, L"Int", AttributeType::kInt, true), Status::kDuplicateElementName);
        EXPECT_EQ(logged(), (Lines{L"E Failed to create dynamic element 'Int'"}));
        EXPECT_EQ(definition->getDocString(), nullptr);
    });
}

TEST_F(LoadStrategyPopulationTest, DynamicElementsOfUnknownAndLegacyNodesAreDynamic)
{
    duringLoad(
        [&] {
            EXPECT_TRUE(populate(scene.unknownNode(L"u", parent), L"x", AttributeType::kInt, true)->isDynamic());
            EXPECT_TRUE(populate(makeNode(L"Dropped", L"l"), L"x", AttributeType::kInt, true)->isDynamic());
        },
        5, Status::kLoadedWithUnhandledLegacyData);
}

TEST_F(LoadStrategyPopulationTest, ATypeThatThereIsNoneOfIsAnError)
{
    duringLoad([&] {
        Node* const node = makeNode(L"All", L"n");
        for (const unsigned int type : {21u, 22u, 23u, 0xFFFFFFFFu})
        {
            EXPECT_EQ(loader.getMetaDataDef(static_cast<AttributeTypeId>(type)), nullptr);
            EXPECT_EQ(populateStatus(node, L"x", static_cast<AttributeTypeId>(type)), Status::kFailure);
            const Lines lines = logged();
            ASSERT_EQ(lines.size(), 1u);
            EXPECT_EQ(lines[0].substr(0, 51), L"E Could not find meta data def for attribute type '");
        }
    });
}

TEST_F(LoadStrategyPopulationTest, EveryTypeHasADefinition)
{
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const ElementMetaDataDef* const definition = loader.getMetaDataDef(static_cast<AttributeTypeId>(type));
        ASSERT_NE(definition, nullptr) << type;
        EXPECT_EQ(definition->getTypeId(), type);
        EXPECT_EQ(loader.getMetaDataDef(static_cast<AttributeTypeId>(type)), definition);
    }
}

// --- Values ---

TEST_F(LoadStrategyPopulationTest, AValueIsWrittenThroughTheInterface)
{
    duringLoad([&] {
        Attribute* const attribute = populate(makeNode(L"All", L"n"), L"Int");
        data.take();
        write(attribute, 6);
        EXPECT_EQ(data.take(), (Lines{L"lock |parent|n.Int", L"unlock |parent|n.Int"}));
        EXPECT_TRUE(attribute->hasFlag(0x800));
        EXPECT_EQ(attribute->getValue().getInt(), 6);
    });
}

TEST_F(LoadStrategyPopulationTest, ALegacyValueIsWrittenInTheCore)
{
    duringLoad(
        [&] {
            Node* const node = makeNode(L"All", L"n");
            Attribute* const attribute = populate(node, L"Gone");
            AttributeArray* const array = populateArray(node, L"GoneItems");
            EXPECT_EQ(loader.resizeAttributeArray(array, 2), Status::kSuccess);
            data.take();
            write(attribute, 6);
            write(array->getAttribute(1), 7);
            EXPECT_EQ(data.take(), Lines{});
            EXPECT_TRUE(attribute->hasFlag(0x800));
            EXPECT_EQ(array->getAttribute(1)->getValue().getInt(), 7);
        },
        5, Status::kLoadedWithUnhandledLegacyData);
}

TEST_F(LoadStrategyPopulationTest, ANullValueCountsAsRead)
{
    duringLoad([&] {
        Attribute* const attribute = populate(makeNode(L"All", L"n"), L"Int");
        data.take();
        EXPECT_EQ(loader.onNullAttributeLoaded(attribute), Status::kSuccess);
        EXPECT_TRUE(attribute->hasFlag(0x800));
        EXPECT_EQ(data.take(), Lines{});
    });
}

TEST_F(LoadStrategyPopulationTest, ARefusedLockMarksNothing)
{
    duringLoad([&] {
        Attribute* const attribute = populate(makeNode(L"All", L"n"), L"Int");
        ValueHandle handle;
        data.refuse(L"lock", Status::kInUndo);
        EXPECT_EQ(loader.lockAttribute(attribute, &handle), Status::kInUndo);
        EXPECT_FALSE(attribute->hasFlag(0x800));
    });
    EXPECT_FALSE(scene.core().isLockOutstanding());
}

TEST_F(LoadStrategyPopulationTest, WhatTheFormatLeavesLockedIsUnlockedWhateverItReturns)
{
    for (const Status result : {Status::kSuccess, Status::kNullOutput})
    {
        TestLoader once(stream, data, scene.core(), 3, 0, nullptr);
        once.script = [&](TestLoader& self) {
            Node* const node = scene.node(L"n", parent);
            ValueHandle handle;
            EXPECT_EQ(self.lockAttribute(node->findAttributeByName(L"Int"), &handle), Status::kSuccess);
            return result;
        };
        EXPECT_EQ(once.load(*parent, nullptr), result);
        EXPECT_FALSE(scene.core().isLockOutstanding());
    }
}

TEST_F(LoadStrategyPopulationTest, ALegacyElementLeftLockedIsUnlockedToo)
{
    EXPECT_EQ(load([&](TestLoader&) {
                  ValueHandle handle;
                  EXPECT_EQ(loader.lockAttribute(populate(makeNode(L"Dropped", L"n"), L"x"), &handle),
                            Status::kSuccess);
                  return Status::kNullOutput;
              }),
              Status::kNullOutput);
    EXPECT_FALSE(scene.core().isLockOutstanding());
}

TEST_F(LoadStrategyPopulationTest, AnArrayIsResizedThroughTheInterface)
{
    duringLoad([&] {
        AttributeArray* const array = populateArray(makeNode(L"All", L"n"), L"IntItems");
        data.take();
        EXPECT_EQ(loader.resizeAttributeArray(array, 3), Status::kSuccess);
        EXPECT_EQ(data.take(), (Lines{L"resize |parent|n:IntItems to 3"}));
        data.refuse(L"resize", Status::kInUndo);
        EXPECT_EQ(loader.resizeAttributeArray(array, 4), Status::kInUndo);
    });
}

TEST_F(LoadStrategyPopulationTest, ItemsOfUnknownArraysAreMarkedSoThatThoseWithoutAValueAreNotSaved)
{
    AttributeArray* array = nullptr;
    duringLoad([&] {
        array = populateArray(scene.unknownNode(L"u", parent), L"xs");
        EXPECT_EQ(loader.resizeAttributeArray(array, 2), Status::kSuccess);
        write(array->getAttribute(1), 0);
    });
    EXPECT_TRUE(array->getAttribute(0)->hasFlag(0x400));
    EXPECT_FALSE(array->getAttribute(0)->hasFlag(0x800));
    EXPECT_TRUE(array->getAttribute(1)->hasFlag(0x400));
    EXPECT_TRUE(array->getAttribute(1)->hasFlag(0x800));
}

// --- Nothing where something is needed ---

TEST_F(LoadStrategyPopulationTest, NullsAreRefused)
{
    duringLoad([&] {
        Node* const node = makeNode(L"All", L"n");
        Attribute* attribute = nullptr;
        ValueHandle handle;
        EXPECT_NE(loader.makeNode(nullptr, L"Test", L"n", parent, nullptr, nullptr), Status::kSuccess);
        EXPECT_NE(loader.makeNode(L"All", nullptr, L"n", parent, nullptr, nullptr), Status::kSuccess);
        EXPECT_NE(loader.getAttributeToPopulate(nullptr, L"Int", AttributeType::kInt, false, &attribute),
                  Status::kSuccess);
        EXPECT_NE(loader.getAttributeToPopulate(node, nullptr, AttributeType::kInt, false, &attribute),
                  Status::kSuccess);
        EXPECT_NE(loader.lockAttribute(nullptr, &handle), Status::kSuccess);
        EXPECT_NE(loader.unlockAttribute(nullptr), Status::kSuccess);
        EXPECT_NE(loader.resizeAttributeArray(nullptr, 1), Status::kSuccess);
        loader.getHeaderData().legacyFormat = 1;
        EXPECT_NE(loader.makeNode(nullptr, L"Test", L"n", parent, nullptr, nullptr), Status::kSuccess);
        EXPECT_EQ(node->getLegacyElementCount(), 0u);
        EXPECT_EQ(node->getNextSibling(), nullptr);
    });
}

} // namespace
} // namespace db2test
