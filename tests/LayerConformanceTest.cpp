#include "support/Scene.h"

#include <db2/ChangeManager.h>
#include <db2/ComputeManager.h>
#include <db2/ConcreteChangeSet.h>
#include <db2/DataInterfaceLogger.h>
#include <db2/UndoManager.h>
#include <db2/WatchManager.h>
#include <db2/testing/LayerConformance.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace db2test {
namespace {

using namespace db2::conformance;

std::string textOf(const std::vector<Finding>& findings)
{
    std::string text;
    for (const Finding& finding : findings)
        text += finding.text() + "\n";
    return text;
}

/// What can be wrong with a layer, in one operation.
enum class Fault
{
    kNone,
    kSwallows,
    kPassesOnTwice,
    kRetriesRefusals,
    kChangesArgument,
    kHidesRefusals,
    kGivesAnotherRefusal,
    kRefusesByItself,
    kStaysRefused,
    kAcceptsImpossible,
    kDropsResult,
    kWritesResultOnFailure,
    kEmptiesResultOnFailure,
    kThrows
};

struct FaultyKind
{
    Fault fault;
    Operation operation;
    int argument = 0; ///< the index of the one that is changed
};

/// Passes everything on, except for one fault in one operation.
class FaultyLayer : public ForwardingLayer
{
public:
    FaultyLayer(DataInterface* nextLayer, const FaultyKind& kind) : ForwardingLayer(nextLayer), kind_(kind)
    {
        otherModule_.setId(L"Nobody's");
    }

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override
    {
        change(Operation::kCreateNode, typeId, name, parent, next);
        return act(Operation::kCreateNode, outNode,
                   [&](Node** out) { return ForwardingLayer::db_createNode(typeId, name, parent, next, out); });
    }
    Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name, Node* parent,
                                Node* next, bool legacy, Node** outNode) override
    {
        const Module* passed = &module;
        change(Operation::kCreateUnknownNode, typeName, passed, name, parent, next, legacy);
        return act(Operation::kCreateUnknownNode, outNode, [&](Node** out) {
            return ForwardingLayer::db_createUnknownNode(typeName, *passed, name, parent, next, legacy, out);
        });
    }
    Status db_destroyLeafNode(Node* node) override
    {
        change(Operation::kDestroyLeafNode, node);
        return act(Operation::kDestroyLeafNode, [&] { return ForwardingLayer::db_destroyLeafNode(node); });
    }
    Status db_renameNode(Node* node, const wchar_t* name) override
    {
        change(Operation::kRenameNode, node, name);
        return act(Operation::kRenameNode, [&] { return ForwardingLayer::db_renameNode(node, name); });
    }
    Status db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name) override
    {
        change(Operation::kReparentNode, node, newParent, next, name);
        return act(Operation::kReparentNode,
                   [&] { return ForwardingLayer::db_reparentNode(node, newParent, next, name); });
    }
    Status db_reorderNode(Node* node, Node* next) override
    {
        change(Operation::kReorderNode, node, next);
        return act(Operation::kReorderNode, [&] { return ForwardingLayer::db_reorderNode(node, next); });
    }
    Status db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node, Element* next,
                                   Element** outElement) override
    {
        const ElementMetaDataDef* passed = &definition;
        change(Operation::kCreateDynamicElement, passed, name, node, next);
        return act(Operation::kCreateDynamicElement, outElement, [&](Element** out) {
            return ForwardingLayer::db_createDynamicElement(*passed, name, node, next, out);
        });
    }
    Status db_destroyDynamicElement(Element* element) override
    {
        change(Operation::kDestroyDynamicElement, element);
        return act(Operation::kDestroyDynamicElement,
                   [&] { return ForwardingLayer::db_destroyDynamicElement(element); });
    }
    Status db_renameDynamicElement(Element* element, const wchar_t* name) override
    {
        change(Operation::kRenameDynamicElement, element, name);
        return act(Operation::kRenameDynamicElement,
                   [&] { return ForwardingLayer::db_renameDynamicElement(element, name); });
    }
    Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) override
    {
        change(Operation::kResizeAttributeArray, array, size);
        return act(Operation::kResizeAttributeArray,
                   [&] { return ForwardingLayer::db_resizeAttributeArray(array, size); });
    }
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override
    {
        change(Operation::kCreateReference, referenced, referencer, singleOutput);
        return act(Operation::kCreateReference,
                   [&] { return ForwardingLayer::db_createReference(referenced, referencer, singleOutput); });
    }
    Status db_destroyReference(Attribute* referencer) override
    {
        change(Operation::kDestroyReference, referencer);
        return act(Operation::kDestroyReference, [&] { return ForwardingLayer::db_destroyReference(referencer); });
    }
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override
    {
        change(Operation::kLockAttribute, attribute);
        return act(Operation::kLockAttribute, outValue,
                   [&](ValueHandle* out) { return ForwardingLayer::db_lockAttribute(attribute, out); });
    }
    Status db_unlockAttribute(Attribute* attribute) override
    {
        change(Operation::kUnlockAttribute, attribute);
        return act(Operation::kUnlockAttribute, [&] { return ForwardingLayer::db_unlockAttribute(attribute); });
    }
    Status db_lockAttributeArray(AttributeArray* array, void** outValues) override
    {
        change(Operation::kLockAttributeArray, array);
        return act(Operation::kLockAttributeArray, outValues,
                   [&](void** out) { return ForwardingLayer::db_lockAttributeArray(array, out); });
    }
    Status db_unlockAttributeArray(AttributeArray* array) override
    {
        change(Operation::kUnlockAttributeArray, array);
        return act(Operation::kUnlockAttributeArray, [&] { return ForwardingLayer::db_unlockAttributeArray(array); });
    }
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override
    {
        change(Operation::kCommit, description, file, line);
        return act(Operation::kCommit, [&] { return ForwardingLayer::db_commit(description, file, line); });
    }
    Status db_commitTransient() override
    {
        return act(Operation::kCommitTransient, [&] { return ForwardingLayer::db_commitTransient(); });
    }
    Status db_clear() override
    {
        return act(Operation::kClear, [&] { return ForwardingLayer::db_clear(); });
    }

private:
    template <class... Arguments>
    void change(Operation operation, Arguments&... arguments)
    {
        if (kind_.fault != Fault::kChangesArgument || kind_.operation != operation)
            return;
        int at = 0;
        ((at++ == kind_.argument ? alter(arguments) : void()), ...);
    }
    void alter(unsigned int& number) { ++number; }
    void alter(bool& flag) { flag = !flag; }
    void alter(const wchar_t*& text) { text = L"changed"; }
    void alter(const Module*& module) { module = &otherModule_; }
    void alter(const ElementMetaDataDef*& definition) { definition = &otherDefinition_; }
    template <class Object>
    void alter(Object*& object)
    {
        object = nullptr;
    }

    template <class Forward>
    Status act(Operation operation, Forward forward)
    {
        return act(operation, static_cast<void**>(nullptr), [&](void**) { return forward(); });
    }

    template <class Out, class Forward>
    Status act(Operation operation, Out* out, Forward forward)
    {
        if (kind_.operation != operation)
            return forward(out);
        Out own{};
        switch (kind_.fault)
        {
        case Fault::kSwallows: return Status::kSuccess;
        case Fault::kRefusesByItself: return Status::kFailure;
        case Fault::kThrows: throw std::runtime_error("a fault");
        case Fault::kDropsResult: return forward(out != nullptr ? &own : nullptr);
        case Fault::kStaysRefused:
            if (refused_)
                return Status::kFailure;
            break;
        default: break;
        }
        const Status answer = forward(out);
        refused_ = refused_ || answer != Status::kSuccess;
        switch (kind_.fault)
        {
        case Fault::kPassesOnTwice: forward(out); return answer;
        case Fault::kRetriesRefusals: return answer != Status::kSuccess ? forward(out) : answer;
        case Fault::kGivesAnotherRefusal: return answer != Status::kSuccess ? Status::kReserved52 : answer;
        case Fault::kHidesRefusals: return Status::kSuccess;
        case Fault::kAcceptsImpossible: return isImpossible(answer) ? Status::kSuccess : answer;
        case Fault::kWritesResultOnFailure:
            if (answer != Status::kSuccess && out != nullptr)
                spoil(*out);
            return answer;
        case Fault::kEmptiesResultOnFailure:
            if (answer != Status::kSuccess && out != nullptr)
                *out = own;
            return answer;
        default: return answer;
        }
    }

    void spoil(Node*& node) const { node = node->getFirstChild(); }
    void spoil(Element*& element) const { element = element->getNode()->getElement(0); }
    void spoil(ValueHandle& value) const { value = value_; }
    void spoil(void*& values) { values = this; }

    /// The core's answers to null objects, but no others that a call with all arguments could get.
    static bool isImpossible(Status answer)
    {
        return answer == Status::kNullNodeToDestroy || answer == Status::kNullElementToDestroy;
    }

    const FaultyKind kind_;
    Module otherModule_;
    FloatAttributeMetaDataDef otherDefinition_;
    DefaultValue value_{AttributeType::kFloat};
    bool refused_ = false;
};

std::vector<Finding> findingsOf(const FaultyKind& kind, const Departures& departures = {})
{
    return checkLayer(
        [&](DataInterface* nextLayer, CoreManager&) { return std::make_unique<FaultyLayer>(nextLayer, kind); },
        departures);
}

Operation operationAt(std::size_t slot)
{
    return static_cast<Operation>(slot);
}

/// Leaves out every other operation.
Departures onlyOf(Operation operation)
{
    return {.keepsToItself = ~bitOf(operation)};
}

/// Expects that the fault is found in each of the operations, and in these words.
void expectFound(Fault fault, const std::vector<Operation>& operations, const std::string& words)
{
    for (const Operation operation : operations)
    {
        SCOPED_TRACE(nameOf(operation));
        const std::vector<Finding> findings = findingsOf({fault, operation}, onlyOf(operation));
        ASSERT_FALSE(findings.empty());
        EXPECT_NE(findings.front().text().find(words), std::string::npos) << findings.front().text();
        EXPECT_TRUE(findings.front().text().starts_with(nameOf(operation)));
    }
}

std::vector<Operation> allOperations()
{
    std::vector<Operation> all;
    for (std::size_t slot = 0; slot < kOperationCount; ++slot)
        all.push_back(operationAt(slot));
    return all;
}

const std::vector<Operation> kWithResult = {Operation::kCreateNode, Operation::kCreateUnknownNode,
                                            Operation::kCreateDynamicElement, Operation::kLockAttribute,
                                            Operation::kLockAttributeArray};

// --- What the calls rest on ---

TEST(LayerConformanceTest, TheCoreCarriesOutEveryOrdinaryCallAndRefusesEveryImpossibleOne)
{
    for (const Drive& drive : drives())
    {
        SCOPED_TRACE(testing::Message() << nameOf(drive.operation) << ", " << drive.situation);
        ConformanceTree tree;
        Results results(tree);
        if (drive.prepare != nullptr)
        {
            ASSERT_EQ(drive.prepare({tree.core, tree, results}), Status::kSuccess);
        }
        EXPECT_EQ(drive.perform({tree.core, tree, results}) == Status::kSuccess, drive.kind == Drive::kOrdinary);
    }
}

TEST(LayerConformanceTest, TheFirstCallOfEveryOperationIsOrdinaryAndHasAllArguments)
{
    ConformanceTree tree;
    for (const Operation operation : allOperations())
    {
        SCOPED_TRACE(nameOf(operation));
        const auto first = std::find_if(drives().begin(), drives().end(),
                                        [&](const Drive& drive) { return drive.operation == operation; });
        ASSERT_NE(first, drives().end());
        EXPECT_EQ(first->kind, Drive::kOrdinary);
        RecordingLayer record(nullptr);
        Results results(tree);
        first->perform({record, tree, results});
        for (const Argument& argument : record.calls().front().arguments)
        {
            EXPECT_NE(argument.value, Argument::Value(nullptr));
        }
    }
}

// --- Layers that keep the contract ---

struct LayerKind
{
    const char* name;
    MakeLayer make;
};

/// The recommended chain as one layer.
class Chain : public ForwardingLayer
{
public:
    Chain(DataInterface* nextLayer, CoreManager& core)
        : ForwardingLayer(nullptr), watches_(nextLayer), reports_(&watches_, changes_, snapshot_),
          computed_(1, &reports_, *core.getRoot()), undo_(&computed_, core), calls_(&undo_)
    {
        db_setNextInterface(&calls_);
    }

private:
    WatchManager watches_;
    ConcreteChangeSet changes_;
    ConcreteChangeSet snapshot_;
    ChangeManager reports_;
    ComputeManager computed_;
    UndoManager undo_;
    DataInterfaceLogger calls_;
};

/// Change reporting with the change sets that it needs.
struct ReportSets
{
    ConcreteChangeSet changes;
    ConcreteChangeSet snapshot;
};
class Reports : private ReportSets, public ChangeManager
{
public:
    explicit Reports(DataInterface* nextLayer) : ChangeManager(nextLayer, changes, snapshot) {}
};

const LayerKind kLibraryLayers[] = {
    {"ForwardingLayer",
     [](DataInterface* nextLayer, CoreManager&) { return std::make_unique<ForwardingLayer>(nextLayer); }},
    {"DataInterfaceLogger",
     [](DataInterface* nextLayer, CoreManager&) {
         auto layer = std::make_unique<DataInterfaceLogger>(nextLayer);
         layer->enable(DataInterfaceLogger::kAllOperations);
         return layer;
     }},
    {"UndoManager",
     [](DataInterface* nextLayer, CoreManager& core) { return std::make_unique<UndoManager>(nextLayer, core); }},
    {"ComputeManager",
     [](DataInterface* nextLayer, CoreManager& core) {
         return std::make_unique<ComputeManager>(1, nextLayer, *core.getRoot());
     }},
    {"ChangeManager", [](DataInterface* nextLayer, CoreManager&) { return std::make_unique<Reports>(nextLayer); }},
    {"WatchManager",
     [](DataInterface* nextLayer, CoreManager& core) {
         auto layer = std::make_unique<WatchManager>(nextLayer);
         EXPECT_EQ(layer->addWatch(core.getRoot()->getFirstChild()), Status::kSuccess);
         return layer;
     }},
    {"all of them",
     [](DataInterface* nextLayer, CoreManager& core) { return std::make_unique<Chain>(nextLayer, core); }},
    {"RecordingLayer",
     [](DataInterface* nextLayer, CoreManager&) { return std::make_unique<RecordingLayer>(nextLayer); }},
};

TEST(LayerConformanceTest, TheLayersOfTheLibraryHaveNoFindings)
{
    for (const LayerKind& kind : kLibraryLayers)
    {
        SCOPED_TRACE(kind.name);
        EXPECT_EQ(textOf(checkLayer(kind.make)), "");
    }
}

TEST(LayerConformanceTest, ALayerWithoutAFaultHasNoFindings)
{
    EXPECT_EQ(textOf(findingsOf({Fault::kNone, Operation::kCreateNode})), "");
}

/// Surrounds what it passes on with calls of its own, of the same operations among them.
class BusyLayer : public ForwardingLayer
{
public:
    BusyLayer(DataInterface* nextLayer, CoreManager& core)
        : ForwardingLayer(nextLayer), other_(core.getRoot()->getLastChild())
    {
    }

    Status db_renameNode(Node* node, const wchar_t* name) override
    {
        ForwardingLayer::db_renameNode(other_, L"before");
        const Status status = ForwardingLayer::db_renameNode(node, name);
        ForwardingLayer::db_renameNode(other_, L"behind");
        return status;
    }

    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override
    {
        Attribute* const attribute = other_->findAttributeByName(L"length");
        ValueHandle value;
        if (ForwardingLayer::db_lockAttribute(attribute, &value) == Status::kSuccess)
        {
            value.getFloat() += 1.0f;
            ForwardingLayer::db_unlockAttribute(attribute);
        }
        return ForwardingLayer::db_commit(description, file, line);
    }

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override
    {
        Node* made = nullptr; // asks for the result though the caller may not
        const Status status = ForwardingLayer::db_createNode(typeId, name, parent, next, &made);
        if (status == Status::kSuccess && outNode != nullptr)
            *outNode = made;
        return status;
    }

private:
    Node* other_;
};

TEST(LayerConformanceTest, FurtherCallsOfALayersOwnAreNoFindings)
{
    EXPECT_EQ(textOf(checkLayer([](DataInterface* nextLayer, CoreManager& core) {
                  return std::make_unique<BusyLayer>(nextLayer, core);
              })),
              "");
}

// --- Faults ---

TEST(LayerConformanceTest, AnOperationThatIsNotPassedOnIsFound)
{
    expectFound(Fault::kSwallows, allOperations(), "to be passed on, but nothing of the kind arrived");
}

TEST(LayerConformanceTest, AFaultIsFoundInItsOwnOperationOnly)
{
    for (const Fault fault : {Fault::kSwallows, Fault::kGivesAnotherRefusal, Fault::kStaysRefused})
        for (const Finding& finding : findingsOf({fault, Operation::kReorderNode}))
            EXPECT_EQ(finding.operation, Operation::kReorderNode) << finding.text();
}

TEST(LayerConformanceTest, ALayersOwnRefusalOfWhatIsPossibleIsFound)
{
    expectFound(Fault::kRefusesByItself, allOperations(), "to be passed on, but nothing of the kind arrived");
}

TEST(LayerConformanceTest, AnOperationThatIsPassedOnTwiceIsFound)
{
    expectFound(Fault::kPassesOnTwice, allOperations(), "once, but it arrived 2 times");
}

TEST(LayerConformanceTest, AnotherTryAfterARefusalIsFound)
{
    expectFound(Fault::kRetriesRefusals, allOperations(), "once, but it arrived 2 times");
}

TEST(LayerConformanceTest, EveryArgumentThatIsChangedIsFound)
{
    ConformanceTree tree;
    for (const Operation operation : allOperations())
    {
        RecordingLayer record(nullptr);
        Results results(tree);
        for (const Drive& drive : drives())
            if (drive.operation == operation)
                drive.perform({record, tree, results});
        const std::size_t count = record.calls().front().arguments.size();
        for (std::size_t argument = 0; argument < count; ++argument)
        {
            SCOPED_TRACE(testing::Message() << nameOf(operation) << ", argument " << argument);
            const std::vector<Finding> findings =
                findingsOf({Fault::kChangesArgument, operation, static_cast<int>(argument)}, onlyOf(operation));
            ASSERT_FALSE(findings.empty());
            EXPECT_EQ(findings.front().operation, operation);
            EXPECT_TRUE(findings.front().expected.ends_with("to be passed on")) << findings.front().text();
            EXPECT_TRUE(findings.front().actual.ends_with("arrived")) << findings.front().text();
            EXPECT_NE(findings.front().actual, "nothing of the kind arrived");
        }
    }
}

TEST(LayerConformanceTest, AHiddenRefusalIsFound)
{
    expectFound(Fault::kHidesRefusals, allOperations(), "but the layer answered kSuccess");
}

TEST(LayerConformanceTest, ARefusalWithAnotherStatusIsFoundForEachStatus)
{
    expectFound(Fault::kGivesAnotherRefusal, allOperations(), "but the layer answered status 52");
    for (const Operation operation : {Operation::kCommit, Operation::kCommitTransient, Operation::kClear})
    {
        const std::vector<Finding> findings = findingsOf({Fault::kGivesAnotherRefusal, operation});
        EXPECT_EQ(findings.size(), refusalsOf(operation).size()); // these have no impossible calls
    }
}

TEST(LayerConformanceTest, ALayerThatStaysRefusedIsFound)
{
    expectFound(Fault::kStaysRefused, allOperations(), "after a refusal with status");
}

TEST(LayerConformanceTest, AcceptingANullObjectIsFound)
{
    expectFound(Fault::kAcceptsImpossible, {Operation::kDestroyLeafNode, Operation::kDestroyDynamicElement},
                "expected a refusal, but the layer answered kSuccess");
}

TEST(LayerConformanceTest, AResultThatDoesNotArriveIsFound)
{
    expectFound(Fault::kDropsResult, kWithResult,
                "expected the result that the next layer gave, but it did not arrive");
}

TEST(LayerConformanceTest, AResultThatAFailureWritesIsFound)
{
    expectFound(Fault::kWritesResultOnFailure, kWithResult,
                "expected the result to be left alone, or null, but a call that fails wrote something else");
}

TEST(LayerConformanceTest, AResultThatAFailureMakesNullIsNoFinding)
{
    for (const Operation operation : kWithResult)
    {
        SCOPED_TRACE(nameOf(operation));
        EXPECT_EQ(textOf(findingsOf({Fault::kEmptiesResultOnFailure, operation}, onlyOf(operation))), "");
    }
}

TEST(LayerConformanceTest, AnExceptionIsFound)
{
    expectFound(Fault::kThrows, allOperations(), "expected a status, but an exception came out");
}

TEST(LayerConformanceTest, AFactoryThatMakesNothingIsFound)
{
    const std::vector<Finding> findings =
        checkLayer([](DataInterface*, CoreManager&) { return std::unique_ptr<DataInterface>(); });
    ASSERT_FALSE(findings.empty());
    EXPECT_EQ(findings.front().text(), "db_createNode, all arguments given: expected a layer, but none was made");
}

TEST(LayerConformanceTest, AFindingNamesTheObjectsOfTheCall)
{
    const std::vector<Finding> findings = findingsOf({Fault::kChangesArgument, Operation::kReparentNode, 2});
    ASSERT_FALSE(findings.empty());
    EXPECT_EQ(findings.front().text(),
              "db_reparentNode, all arguments given: expected db_reparentNode(node=hand, newParent=shelf, next=cup, "
              "name='glove') to be passed on, but db_reparentNode(node=hand, newParent=shelf, next=null, name='glove') "
              "arrived");
}

// --- Departures ---

TEST(LayerConformanceTest, ArgumentsThatChangeOnPurposeAreNoFinding)
{
    for (const FaultyKind& kind : {FaultyKind{Fault::kChangesArgument, Operation::kRenameNode, 1},
                                   FaultyKind{Fault::kChangesArgument, Operation::kCreateNode, 1},
                                   FaultyKind{Fault::kChangesArgument, Operation::kCommit, 2}})
        EXPECT_EQ(textOf(findingsOf(kind, {.changesArguments = bitOf(kind.operation)})), "");
}

/// Changes names, and renames something else, too.
class RenamingLayer : public BusyLayer
{
public:
    using BusyLayer::BusyLayer;

    Status db_renameNode(Node* node, const wchar_t*) override { return BusyLayer::db_renameNode(node, L"changed"); }
};

TEST(LayerConformanceTest, AnOperationWithChangedArgumentsMayArriveAmongOthersOfItsKind)
{
    const MakeLayer make = [](DataInterface* nextLayer, CoreManager& core) {
        return std::make_unique<RenamingLayer>(nextLayer, core);
    };
    EXPECT_NE(textOf(checkLayer(make)), "");
    EXPECT_EQ(textOf(checkLayer(make, {.changesArguments = bitOf(Operation::kRenameNode)})), "");
}

TEST(LayerConformanceTest, AnOperationWithChangedArgumentsMustStillBePassedOnAndAnswered)
{
    const Departures departures{.changesArguments = bitOf(Operation::kRenameNode)};
    for (const Fault fault : {Fault::kSwallows, Fault::kGivesAnotherRefusal, Fault::kHidesRefusals})
        EXPECT_FALSE(findingsOf({fault, Operation::kRenameNode}, departures).empty());
}

TEST(LayerConformanceTest, ADepartureInOneOperationExcusesNoOther)
{
    const Departures departures{.changesArguments = bitOf(Operation::kRenameNode),
                                .keepsToItself = bitOf(Operation::kClear)};
    EXPECT_FALSE(findingsOf({Fault::kChangesArgument, Operation::kReparentNode, 3}, departures).empty());
    EXPECT_FALSE(findingsOf({Fault::kSwallows, Operation::kCommit}, departures).empty());
}

TEST(LayerConformanceTest, AnOperationThatALayerKeepsToItselfIsNotChecked)
{
    EXPECT_EQ(textOf(findingsOf({Fault::kSwallows, Operation::kClear}, {.keepsToItself = bitOf(Operation::kClear)})),
              "");
}

} // namespace
} // namespace db2test
