#include "support/LogRecorder.h"
#include "support/Scene.h"

#include <db2/SaveStrategy.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace db2test {
namespace {

/// A stream that is OK or not and takes nothing.
class TestStream : public OutputStream
{
public:
    TestStream() : OutputStream(OutputStreamEncoding::kUtf8) {}
    bool isOK() override { return ok; }
    bool write(const char*, unsigned int) override { return false; }

    bool ok = true;
};

/// A format that writes down what it is asked for, and answers what it is told.
class TestSaver : public SaveStrategy
{
public:
    using SaveStrategy::SaveStrategy;

    Status saveHeader(const kqtl::pod_vector<Module*>& modules) override
    {
        calls += L"header(";
        for (const Module* const module : modules)
            calls += std::wstring(module->getId()) + L" ";
        calls += L") ";
        return headerStatus;
    }
    Status saveSubtree(Node& root) override
    {
        calls += std::wstring(root.getName()) + (root.hasFlag(NodeFlag::kAddedForSave) ? L" " : L"(unmarked) ");
        return root.getName() == failingRoot.c_str() ? Status::kReferenceNotSaved : Status::kSuccess;
    }
    Status onPostSave() override
    {
        calls += L"post";
        return postStatus;
    }

    std::wstring calls;
    Status headerStatus = Status::kSuccess;
    std::wstring failingRoot;
    Status postStatus = Status::kSuccess;
};

/// A format that leaves the last hook to the base.
class PlainSaver : public SaveStrategy
{
public:
    using SaveStrategy::SaveStrategy;
    Status saveHeader(const kqtl::pod_vector<Module*>&) override { return Status::kSuccess; }
    Status saveSubtree(Node&) override { return Status::kSuccess; }
};

class SaveStrategyTest : public ::testing::Test
{
protected:
    static constexpr unsigned int kForeign = 60;

    void expectError(const std::wstring& text) { EXPECT_TRUE(scene.log().tookError(text)); }
    void expectSilence() { EXPECT_EQ(scene.log().take(), std::vector<LogRecorder::Line>{}); }
    static Attribute* intOf(const Node* node) { return node->findAttributeByName(L"Int"); }

    Scene scene;
    TestStream stream;
    TestSaver saver{stream, L"scene", 7, 0};
    Node* a = scene.node(L"a");
    Node* b = scene.node(L"b", a);
    Node* c = scene.node(L"c");
};

// --- Construction ---

TEST_F(SaveStrategyTest, SaysWhatItWasMadeWith)
{
    EXPECT_EQ(saver.getTypeString(), L"scene");
    EXPECT_EQ(saver.getLoaderVersion(), 7u);
    EXPECT_EQ(saver.getNumNodesToSave(), 0u);
    EXPECT_EQ(&saver.getStream(), &stream);
    expectSilence();
}

TEST_F(SaveStrategyTest, AMissingTypeStringIsLoggedAndTheSaverStillMade)
{
    const TestSaver null(stream, nullptr, 1, 0);
    expectError(L"A type string must be supplied to SaveStrategy");
    EXPECT_EQ(null.getTypeString(), L"");
    const TestSaver empty(stream, L"", 2, 0);
    expectError(L"A type string must be supplied to SaveStrategy");
    EXPECT_EQ(empty.getLoaderVersion(), 2u);
}

TEST_F(SaveStrategyTest, AnOptionIsThereWhenAnyOfTheBitsIs)
{
    const TestSaver none(stream, L"x", 1, 0);
    EXPECT_FALSE(none.hasOption(3));
    const TestSaver second(stream, L"x", 1, SaveStrategy::kTolerateOutsideReferences);
    EXPECT_TRUE(second.hasOption(2));
    EXPECT_TRUE(second.hasOption(3));
    EXPECT_FALSE(second.hasOption(1));
    EXPECT_FALSE(second.hasOption(0));
}

// --- Adding ---

TEST_F(SaveStrategyTest, AnAddedNodeIsMarkedAndCounted)
{
    EXPECT_EQ(saver.addNode(a), Status::kSuccess);
    EXPECT_EQ(saver.addNode(*c), Status::kSuccess);
    EXPECT_EQ(saver.getNumNodesToSave(), 2u);
    EXPECT_TRUE(a->hasFlag(0x8000));
    EXPECT_TRUE(c->hasFlag(0x8000));
    EXPECT_FALSE(b->hasFlag(0x8000));
}

TEST_F(SaveStrategyTest, NullIsRefused)
{
    EXPECT_EQ(saver.addNode(nullptr), Status::kFailure);
    expectError(L"Saver::addNode() failed. Null node passed in");
    EXPECT_EQ(saver.addChildNodes(nullptr), Status::kFailure);
    expectError(L"Saver::addChildNodes() failed. Null node passed in");
    EXPECT_EQ(saver.getNumNodesToSave(), 0u);
}

TEST_F(SaveStrategyTest, TheRootIsRefused)
{
    EXPECT_EQ(saver.addNode(scene.root()), Status::kFailure);
    expectError(L"Saver::addNode() failed. The root node itself cannot be saved. Use 'addChildNodes' if you'd like to "
                L"save its children.");
    EXPECT_FALSE(scene.root()->hasFlag(0x8000));
    EXPECT_EQ(saver.getNumNodesToSave(), 0u);
}

TEST_F(SaveStrategyTest, ANodeIsAddedOnce)
{
    saver.addNode(a);
    EXPECT_EQ(saver.addNode(a), Status::kFailure);
    expectError(L"Node 'a' added twice to SaveStrategy");
    EXPECT_EQ(saver.getNumNodesToSave(), 1u);
    EXPECT_TRUE(a->hasFlag(0x8000));
}

TEST_F(SaveStrategyTest, ADescendantOfAnAddedNodeIsRefused)
{
    saver.addNode(c);
    saver.addNode(a);
    EXPECT_EQ(saver.addNode(scene.node(L"deep", b)), Status::kFailure);
    expectError(L"Node 'deep' already has an ancestor added for save. Only separate subtrees can be saved. ");
    EXPECT_EQ(saver.getNumNodesToSave(), 2u);
}

TEST_F(SaveStrategyTest, AnAncestorOfAnAddedNodeIsRefused)
{
    saver.addNode(scene.node(L"deep", b));
    EXPECT_EQ(saver.addNode(a), Status::kFailure);
    expectError(L"Node 'a' already has a descendant added for save. Only separate subtrees can be saved. ");
    EXPECT_EQ(saver.getNumNodesToSave(), 1u);
    EXPECT_FALSE(a->hasFlag(0x8000));
}

TEST_F(SaveStrategyTest, ChildrenAreAddedInOrder)
{
    EXPECT_EQ(saver.addChildNodes(scene.root()), Status::kSuccess);
    EXPECT_EQ(saver.getNumNodesToSave(), 2u);
    EXPECT_EQ(saver.save(), Status::kSuccess);
    EXPECT_EQ(saver.calls, L"header(Test ) a c post");
}

TEST_F(SaveStrategyTest, ChildrenThatAreRefusedAreLogged)
{
    saver.addNode(b);
    EXPECT_EQ(saver.addChildNodes(*scene.root()), Status::kSuccess);
    expectError(L"Node 'a' already has a descendant added for save. Only separate subtrees can be saved. ");
    EXPECT_EQ(saver.getNumNodesToSave(), 2u);
    EXPECT_TRUE(c->hasFlag(0x8000));
}

TEST_F(SaveStrategyTest, NoChildrenAreNoFailure)
{
    EXPECT_EQ(saver.addChildNodes(b), Status::kSuccess);
    EXPECT_EQ(saver.getNumNodesToSave(), 0u);
}

TEST_F(SaveStrategyTest, AnotherSaversRootIsNotThisOnes)
{
    TestSaver other(stream, L"x", 1, 0);
    other.addNode(a);
    EXPECT_EQ(saver.addNode(b), Status::kSuccess);
    EXPECT_EQ(saver.addNode(a), Status::kFailure);
    expectError(L"Node 'a' already has a descendant added for save. Only separate subtrees can be saved. ");
}

// --- Saving ---

TEST_F(SaveStrategyTest, SavesTheHeaderThenEachRootThenIsDone)
{
    saver.addNode(c);
    saver.addNode(a);
    EXPECT_EQ(saver.save(), Status::kSuccess);
    EXPECT_EQ(saver.calls, L"header(Test ) c a post");
    expectSilence();
}

TEST_F(SaveStrategyTest, NoRootsMakeAnEmptyFile)
{
    EXPECT_EQ(saver.save(), Status::kSuccess);
    EXPECT_EQ(saver.calls, L"header() post");
}

TEST_F(SaveStrategyTest, TheMarksGoAndTheRootsStay)
{
    saver.addNode(a);
    saver.save();
    EXPECT_FALSE(a->hasFlag(0x8000));
    EXPECT_EQ(saver.getNumNodesToSave(), 1u);
}

TEST_F(SaveStrategyTest, WithoutSavingTheMarksStay)
{
    {
        TestSaver other(stream, L"x", 1, 0);
        other.addNode(a);
    }
    EXPECT_TRUE(a->hasFlag(0x8000));
}

TEST_F(SaveStrategyTest, AStreamThatIsNotOKIsNotWrittenTo)
{
    stream.ok = false;
    saver.addNode(a);
    EXPECT_EQ(saver.save(), Status::kFailure);
    expectError(L"File is not OK to write to");
    EXPECT_EQ(saver.calls, L"");
    EXPECT_FALSE(a->hasFlag(0x8000));
}

TEST_F(SaveStrategyTest, TheHeadersFailureEndsTheSave)
{
    saver.headerStatus = Status::kInUndo;
    saver.addNode(a);
    EXPECT_EQ(saver.save(), Status::kInUndo);
    EXPECT_EQ(saver.calls, L"header(Test ) ");
    EXPECT_FALSE(a->hasFlag(0x8000));
}

TEST_F(SaveStrategyTest, ASubtreesFailureEndsTheSave)
{
    Node* const d = scene.node(L"d");
    saver.failingRoot = L"c";
    saver.addNode(a);
    saver.addNode(c);
    saver.addNode(d);
    EXPECT_EQ(saver.save(), Status::kReferenceNotSaved);
    EXPECT_EQ(saver.calls, L"header(Test ) a c ");
    EXPECT_FALSE(a->hasFlag(0x8000));
    EXPECT_FALSE(c->hasFlag(0x8000));
    EXPECT_FALSE(d->hasFlag(0x8000));
}

TEST_F(SaveStrategyTest, TheLastHooksResultIsTheSaves)
{
    saver.postStatus = Status::kNullOutput;
    EXPECT_EQ(saver.save(), Status::kNullOutput);
    PlainSaver plain(stream, L"x", 1, 0);
    EXPECT_EQ(plain.save(), Status::kSuccess);
}

TEST_F(SaveStrategyTest, TheHeaderListsEachUsedModuleOnceInTheOrderOfRegistration)
{
    Module modules[3]; // registered last to first
    for (int i = 2; i >= 0; --i)
    {
        const std::wstring name = L"M" + std::to_wstring(i);
        modules[i].setId(name.c_str());
        ASSERT_EQ(registerModule(&modules[i]), Status::kSuccess);
        ASSERT_EQ(scene.registry().registerNodeTemplate(
                      new NodeTemplate(name.c_str(), kForeign + static_cast<unsigned int>(i), modules[i])),
                  Status::kSuccess);
    }
    Node* const first = scene.nodeOf(kForeign + 0, L"first");
    scene.nodeOf(kForeign + 2, L"below", first);
    scene.nodeOf(kForeign + 0, L"again", first);
    saver.addNode(first);
    saver.addNode(a);
    EXPECT_EQ(saver.save(), Status::kSuccess); // of M1 there is no node
    EXPECT_EQ(saver.calls, L"header(Test M2 M0 ) first a post");
    for (Module& module : modules)
        ASSERT_EQ(unregisterModule(&module), Status::kSuccess);
    ASSERT_EQ(scene.core().db_clear(), Status::kSuccess);
}

TEST_F(SaveStrategyTest, TheModuleOfAnUnknownNodeIsUsedToo)
{
    auto* const gone = new Module;
    gone->setId(L"Gone");
    gone->setUnknown(true);
    ASSERT_EQ(registerModule(gone), Status::kSuccess);
    Node* unknown = nullptr;
    ASSERT_EQ(scene.core().db_createUnknownNode(L"T", *gone, L"u", c, nullptr, false, &unknown), Status::kSuccess);
    saver.addNode(c);
    saver.save();
    EXPECT_EQ(saver.calls, L"header(Test Gone ) c post");
}

// --- Paths of references ---

class SaveStrategyPathTest : public SaveStrategyTest
{
protected:
    kqx::String path{L"former"};
};

TEST_F(SaveStrategyPathTest, APathBeginsAtTheParentOfTheSavedSubtree)
{
    Node* const deep = scene.node(L"deep node", b);
    saver.addNode(b);
    EXPECT_EQ(saver.convertReferenceToPath(*intOf(deep), path), Status::kSuccess);
    EXPECT_EQ(path, L"|b|deep\\ node.Int");
    EXPECT_EQ(saver.convertReferenceToPath(*intOf(b), path), Status::kSuccess);
    EXPECT_EQ(path, L"|b.Int");
}

TEST_F(SaveStrategyPathTest, AnItemsPathHasItsIndex)
{
    AttributeArray* const array = b->findAttributeArrayByName(L"IntItems");
    ASSERT_EQ(scene.core().db_resizeAttributeArray(array, 2), Status::kSuccess);
    saver.addNode(a);
    EXPECT_EQ(saver.convertReferenceToPath(*array->getAttribute(1), path), Status::kSuccess);
    EXPECT_EQ(path, L"|a|b:IntItems[1]");
}

TEST_F(SaveStrategyPathTest, AnAttributeOutsideIsAnError)
{
    saver.addNode(b);
    EXPECT_EQ(saver.convertReferenceToPath(*intOf(c), path), Status::kFailure);
    expectError(L"Error resolving saveRoot in SaveStrategy::getPathToSave()");
    EXPECT_EQ(saver.convertReferenceToPath(*intOf(a), path), Status::kFailure); // above a saved subtree
    expectError(L"Error resolving saveRoot in SaveStrategy::getPathToSave()");
}

TEST_F(SaveStrategyPathTest, AnAttributeOutsideIsNotSavedWithTheOption)
{
    TestSaver tolerant(stream, L"x", 1, SaveStrategy::kTolerateOutsideReferences);
    tolerant.addNode(a);
    EXPECT_EQ(tolerant.convertReferenceToPath(*intOf(c), path), Status::kReferenceNotSaved);
    expectSilence();
}

TEST_F(SaveStrategyPathTest, AMarkOfAnotherSaverIsNoRootOfThisOne)
{
    TestSaver other(stream, L"x", 1, 0);
    other.addNode(b);
    saver.addNode(c);
    EXPECT_EQ(saver.convertReferenceToPath(*intOf(b), path), Status::kFailure);
    expectError(L"Error resolving saveRoot in SaveStrategy::getPathToSave()");
}

TEST_F(SaveStrategyPathTest, ARootThatAnotherSaverHasSavedIsStillARootOfThisOne)
{
    TestSaver other(stream, L"x", 1, 0);
    other.addNode(b);
    saver.addNode(b);
    EXPECT_EQ(other.save(), Status::kSuccess);
    EXPECT_EQ(saver.convertReferenceToPath(*intOf(b), path), Status::kSuccess);
    EXPECT_EQ(path, L"|b.Int");
}

TEST_F(SaveStrategyPathTest, APathThatIsTooDeepIsNotBuilt)
{
    Node* deep = a;
    for (int i = 0; i < 511; ++i)
        deep = scene.nodeOf(Scene::kPlain, L"n", deep);
    Node* const deepest = scene.node(L"n", deep);
    saver.addNode(a);
    EXPECT_EQ(saver.convertReferenceToPath(*intOf(deepest), path), Status::kPathNotBuilt);
    expectError(L"");
}

// --- What needs to be written ---

/// The facts that the questions about an attribute depend on.
struct Facts
{
    enum Kind
    {
        kTemplate,
        kDynamic,
        kUnknown
    };
    enum Reference
    {
        kNone,
        kHolds,
        kIsReferenced
    };
    bool everything;
    Kind kind;
    bool dontSave;
    bool alwaysSave;
    bool computed;
    Reference reference;
    bool differs;
};

std::string describe(const Facts& facts)
{
    static const char* const kKinds[] = {"template", "dynamic", "unknown"};
    static const char* const kReferences[] = {"none", "holds", "is referenced"};
    return std::string(facts.everything ? "everything, " : "") + kKinds[facts.kind] +
           (facts.dontSave ? ", don't save" : "") + (facts.alwaysSave ? ", always save" : "") +
           (facts.computed ? ", computed" : "") + ", reference: " + kReferences[facts.reference] +
           (facts.differs ? ", differs" : ", default");
}

/// One row of a table: when it holds, it is the answer. The first row that holds counts.
struct Row
{
    bool (*holds)(const Facts& facts);
    bool answer;
};

bool answerOf(const std::vector<Row>& table, const Facts& facts)
{
    for (const Row& row : table)
    {
        if (row.holds(facts))
            return row.answer;
    }
    return facts.differs;
}

class SaveStrategyTableTest : public ::testing::Test
{
protected:
    static constexpr unsigned int kFlagged = 70;
    static constexpr int kDefault = 5;

    SaveStrategyTableTest()
    {
        // One attribute for each combination of flags and being computed, and what computes them.
        auto* const flagged = new NodeTemplate(L"Flagged", kFlagged, scene.module());
        unsigned int input = 0;
        EXPECT_EQ(flagged->addAttribute(IntAttributeMetaDataDef(), L"input", &input), Status::kSuccess);
        for (const bool computed : {false, true})
        {
            for (unsigned int flags = 0; flags < 4; ++flags)
            {
                unsigned int index = 0;
                EXPECT_EQ(flagged->addAttribute(definition(flags), nameOf(flags, computed).c_str(), &index),
                          Status::kSuccess);
                const unsigned int inputs[] = {input, NodeTemplate::kEndOfList};
                const unsigned int outputs[] = {index, NodeTemplate::kEndOfList};
                if (computed)
                {
                    EXPECT_EQ(flagged->addComputeSet(inputs, outputs, nullptr, nullptr), Status::kSuccess);
                }
            }
        }
        EXPECT_EQ(scene.registry().registerNodeTemplate(flagged), Status::kSuccess);
    }

    static std::wstring nameOf(unsigned int flags, bool computed)
    {
        return (computed ? L"computed" : L"plain") + std::to_wstring(flags);
    }
    static const ElementMetaDataDef& definition(unsigned int flags)
    {
        static IntAttributeMetaDataDef definition;
        definition.setFlags(flags);
        definition.setDefaultValue(kDefault);
        return definition;
    }

    /// An attribute of which the facts are true, on a node of its own.
    Attribute* make(const Facts& facts)
    {
        const unsigned int flags = (facts.dontSave ? 1u : 0u) | (facts.alwaysSave ? 2u : 0u);
        Attribute* attribute = nullptr;
        if (facts.kind == Facts::kTemplate)
            attribute = scene.nodeOf(kFlagged, L"n")->findAttributeByName(nameOf(flags, facts.computed).c_str());
        else if (facts.kind == Facts::kDynamic)
            attribute = scene.dynamicAttribute(definition(flags), L"d", scene.nodeOf(Scene::kPlain, L"n"));
        else
        {
            Element* element = nullptr;
            EXPECT_EQ(scene.core().createUnknownElement(definition(flags), L"u", scene.unknownNode(L"n"), &element),
                      Status::kSuccess);
            attribute = static_cast<Attribute*>(element);
        }
        if (facts.differs)
            scene.write(attribute, kDefault + 1);
        Attribute* const other = scene.node(L"other")->findAttributeByName(L"Int");
        scene.write(other, facts.differs ? kDefault + 1 : kDefault); // shown when it is referenced
        Status referenced = Status::kSuccess;
        if (facts.reference == Facts::kHolds)
            referenced = scene.core().db_createReference(other, attribute, false);
        if (facts.reference == Facts::kIsReferenced)
            referenced = scene.core().db_createReference(attribute, other, false);
        EXPECT_EQ(referenced, Status::kSuccess);
        return attribute;
    }

    static unsigned int optionsOf(const Facts& facts)
    {
        return facts.everything ? static_cast<unsigned int>(SaveStrategy::kSaveEverything) : 0u;
    }

    /// Every combination of facts that an attribute can have.
    static std::vector<Facts> allFacts()
    {
        std::vector<Facts> all;
        for (const bool everything : {false, true})
            for (const Facts::Kind kind : {Facts::kTemplate, Facts::kDynamic, Facts::kUnknown})
                for (const bool dontSave : {false, true})
                    for (const bool alwaysSave : {false, true})
                        for (const bool computed : {false, true})
                            for (const Facts::Reference reference : {Facts::kNone, Facts::kHolds, Facts::kIsReferenced})
                                for (const bool differs : {false, true})
                                {
                                    if (!computed || kind == Facts::kTemplate)
                                        all.push_back(
                                            {everything, kind, dontSave, alwaysSave, computed, reference, differs});
                                }
        return all;
    }

    template <class Question>
    void expectTable(const std::vector<Row>& table, Question question)
    {
        const std::vector<Facts> all = allFacts();
        EXPECT_EQ(all.size(), 192u);
        for (const Facts& facts : all)
        {
            SCOPED_TRACE(describe(facts));
            const TestSaver saver(stream, L"x", 1, optionsOf(facts));
            EXPECT_EQ(question(saver, *make(facts)), answerOf(table, facts));
        }
    }

    Scene scene;
    TestStream stream;
};

TEST_F(SaveStrategyTableTest, AttributesToSave)
{
    expectTable(
        {{[](const Facts& facts) { return facts.everything; }, true},
         {[](const Facts& facts) { return facts.kind == Facts::kDynamic && !facts.dontSave; }, true},
         {[](const Facts& facts) { return facts.kind == Facts::kUnknown; }, true},
         {[](const Facts& facts) { return facts.reference != Facts::kNone; }, true},
         {[](const Facts& facts) { return facts.dontSave; }, false},
         {[](const Facts& facts) { return facts.alwaysSave; }, true},
         {[](const Facts& facts) { return facts.computed; }, false}},
        [](const SaveStrategy& saver, const Attribute& attribute) { return saver.shouldSaveAttribute(attribute); });
}

TEST_F(SaveStrategyTableTest, ValuesToSave)
{
    expectTable({{[](const Facts& facts) { return facts.everything; }, true},
                 {[](const Facts& facts) { return facts.kind == Facts::kDynamic; }, true},
                 {[](const Facts& facts) { return facts.kind == Facts::kUnknown; }, true}, // none came from a file
                 {[](const Facts& facts) { return facts.alwaysSave; }, true},
                 {[](const Facts& facts) { return facts.computed || facts.dontSave; }, false}},
                [](const SaveStrategy& saver, const Attribute& attribute) { return saver.shouldSaveValue(attribute); });
}

TEST_F(SaveStrategyTableTest, ValuesOfUnknownElementsThatALoaderMadeAndLeftAlone)
{
    for (const Facts& facts : allFacts())
    {
        if (facts.kind != Facts::kUnknown || facts.reference != Facts::kNone)
            continue;
        SCOPED_TRACE(describe(facts));
        const TestSaver asked(stream, L"x", 1, optionsOf(facts));
        Attribute* const attribute = make(facts);
        attribute->setFlag(ElementFlag::kLoaded); // found in a file, but no value was
        // What a host has written since then follows the rules for any element.
        const bool written = facts.differs && (facts.alwaysSave || !facts.dontSave);
        EXPECT_EQ(asked.shouldSaveValue(*attribute), facts.everything || written);
        attribute->setFlag(ElementFlag::kValueLoaded);
        EXPECT_TRUE(asked.shouldSaveValue(*attribute));
        attribute->clearFlag(ElementFlag::kLoaded);
        EXPECT_TRUE(asked.shouldSaveValue(*attribute));
    }
}

TEST_F(SaveStrategyTableTest, AValueThatDiffersInABitOnlyDiffers)
{
    const TestSaver saver(stream, L"x", 1, 0);
    Node* const node = scene.node(L"n");
    Attribute* const attribute = node->findAttributeByName(L"Float");
    EXPECT_FALSE(saver.shouldSaveValue(*attribute));
    scene.write(attribute, -0.0f);
    EXPECT_TRUE(saver.shouldSaveValue(*attribute));
    EXPECT_TRUE(saver.shouldSaveAttribute(*attribute));
}

TEST_F(SaveStrategyTableTest, AValueThatIsShownThroughAReferenceIsComparedAsTheAttributesType)
{
    const TestSaver saver(stream, L"x", 1, 0);
    Node* const node = scene.node(L"n");
    Attribute* const attribute = node->findAttributeByName(L"Float");
    Attribute* const shown = node->findAttributeByName(L"Int");
    ASSERT_EQ(scene.core().db_createReference(shown, attribute, false), Status::kSuccess);
    EXPECT_FALSE(saver.shouldSaveValue(*attribute));
    scene.write(shown, 1);
    EXPECT_TRUE(saver.shouldSaveValue(*attribute));
}

TEST_F(SaveStrategyTableTest, AValueOfEveryTypeAtItsDefaultIsNotSaved)
{
    const TestSaver saver(stream, L"x", 1, 0);
    const Node* const node = scene.node(L"n");
    for (AttributeIterator walk(node); walk.next();)
    {
        EXPECT_FALSE(saver.shouldSaveAttribute(*walk.attr())) << walk.attr()->getTypeId();
        EXPECT_FALSE(saver.shouldSaveValue(*walk.attr())) << walk.attr()->getTypeId();
    }
}

// --- Arrays ---

class SaveStrategyArrayTest : public SaveStrategyTableTest
{
protected:
    AttributeArray* makeArray(Facts::Kind kind, unsigned int flags, unsigned int size)
    {
        IntAttributeMetaDataDef array;
        array.setArray(true);
        array.setFlags(flags);
        array.setDefaultValue(kDefault);
        Element* element = nullptr;
        if (kind == Facts::kTemplate)
            element = scene.node(L"n")->findAttributeArrayByName(L"IntItems");
        else if (kind == Facts::kDynamic)
            element = scene.dynamicAttribute(array, L"d", scene.nodeOf(Scene::kPlain, L"n"));
        else
            EXPECT_EQ(scene.core().createUnknownElement(array, L"u", scene.unknownNode(L"n"), &element),
                      Status::kSuccess);
        auto* const made = static_cast<AttributeArray*>(element);
        EXPECT_EQ(scene.core().db_resizeAttributeArray(made, size), Status::kSuccess);
        return made;
    }

    TestSaver saver{stream, L"x", 1, 0};
    TestSaver everything{stream, L"x", 1, SaveStrategy::kSaveEverything};
};

TEST_F(SaveStrategyArrayTest, ArraysToSave)
{
    for (const Facts::Kind kind : {Facts::kTemplate, Facts::kDynamic, Facts::kUnknown})
    {
        for (const unsigned int size : {0u, 1u, 3u})
        {
            SCOPED_TRACE(::testing::Message() << "kind " << kind << ", size " << size);
            const AttributeArray* const array = makeArray(kind, 0, size);
            EXPECT_TRUE(everything.shouldSaveAttributeArray(*array));
            EXPECT_EQ(saver.shouldSaveAttributeArray(*array), kind != Facts::kTemplate || size > 0);
        }
    }
}

TEST_F(SaveStrategyArrayTest, AnEmptyArrayHasNoItemThatNeedsNoSaving)
{
    EXPECT_TRUE(saver.shouldSaveAllAttributeArrayElements(*makeArray(Facts::kTemplate, 0, 0)));
}

TEST_F(SaveStrategyArrayTest, AllItemsAreSavedWhenEachNeedsIt)
{
    AttributeArray* const array = makeArray(Facts::kTemplate, 0, 2);
    EXPECT_FALSE(saver.shouldSaveAllAttributeArrayElements(*array));
    EXPECT_TRUE(everything.shouldSaveAllAttributeArrayElements(*array));
    scene.write(array->getAttribute(1), 9);
    EXPECT_FALSE(saver.shouldSaveAllAttributeArrayElements(*array));
    scene.write(array->getAttribute(0), 9);
    EXPECT_TRUE(saver.shouldSaveAllAttributeArrayElements(*array));
}

TEST_F(SaveStrategyArrayTest, ItemsThatReferenceDoNotCount)
{
    AttributeArray* const array = makeArray(Facts::kTemplate, 0, 2);
    scene.write(array->getAttribute(1), 9);
    Attribute* const other = scene.node(L"other")->findAttributeByName(L"Int");
    ASSERT_EQ(scene.core().db_createReference(other, array->getAttribute(0), false), Status::kSuccess);
    EXPECT_TRUE(saver.shouldSaveAllAttributeArrayElements(*array));
    // One that is referenced takes no value from a reference, so it counts.
    scene.write(array->getAttribute(1), 0);
    ASSERT_EQ(scene.core().db_createReference(array->getAttribute(1), other, false), Status::kSuccess);
    EXPECT_FALSE(saver.shouldSaveAllAttributeArrayElements(*array));
}

TEST_F(SaveStrategyArrayTest, ItemsFollowTheFlagsOfTheArray)
{
    AttributeArray* const always = makeArray(Facts::kDynamic, ElementMetaDataFlag::kAlwaysSave, 1);
    EXPECT_TRUE(saver.shouldSaveAllAttributeArrayElements(*always));
    AttributeArray* const never = makeArray(Facts::kDynamic, ElementMetaDataFlag::kDontSave, 1);
    scene.write(never->getAttribute(0), 9);
    EXPECT_FALSE(saver.shouldSaveAllAttributeArrayElements(*never));
    EXPECT_TRUE(everything.shouldSaveAllAttributeArrayElements(*never));
}

TEST_F(SaveStrategyArrayTest, ItemsOfAnUnknownArrayAreSavedLikeUnknownElements)
{
    AttributeArray* const array = makeArray(Facts::kUnknown, 0, 1);
    EXPECT_TRUE(saver.shouldSaveAllAttributeArrayElements(*array));
}

} // namespace
} // namespace db2test
