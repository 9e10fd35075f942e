#include "support/FaultyLayer.h"

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
