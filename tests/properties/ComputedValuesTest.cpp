// Random edits in random commits through chains of all layers. After every commit each output is what computing everything
// from scratch gives; no set ran twice, and none before one that it depends on. Circles come and go; their members only
// have to run once.

#include "support/ComputeScene.h"
#include "support/Random.h"

#include <db2/ChangeManager.h>
#include <db2/ComputeManager.h>
#include <db2/ConcreteChangeSet.h>
#include <db2/DataInterfaceLogger.h>
#include <db2/UndoManager.h>
#include <db2/WatchManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace db2test {
namespace {

// --- What the outputs should be ---

/// Differs when an input, or the order of two, differs.
unsigned int mix(const std::vector<unsigned int>& inputs)
{
    unsigned int mixed = 17;
    for (const unsigned int input : inputs)
        mixed = mixed * 31 + input;
    return mixed;
}

/// All attributes that an element is or consists of.
std::vector<const Attribute*> attributesOf(const Element& element)
{
    if (!element.isAttributeArray())
        return {static_cast<const Attribute*>(&element)};
    const auto& array = static_cast<const AttributeArray&>(element);
    std::vector<const Attribute*> items;
    for (unsigned int i = 0; i < array.getSize(); ++i)
        items.push_back(array.getAttribute(i));
    return items;
}

/// The compute sets below a root and what feeds what, found by looking at the tree alone.
class NaiveEvaluator
{
public:
    using Computer = std::pair<const Node*, const ComputeSet*>;

    explicit NaiveEvaluator(Node* root)
    {
        for (NodeIterator walk(root); walk.next();)
            for (unsigned int i = 0; i < walk.node()->getNodeTemplate()->getComputeSetCount(); ++i)
                computers_.emplace_back(walk.node(), walk.node()->getNodeTemplate()->getComputeSet(i));
        for (const Computer& computer : computers_)
        {
            std::set<Computer>& feeders = feeders_[computer];
            for (const Attribute* const input : inputsOf(computer))
                if (const Attribute* const source = sourceOf(*input); source->isComputed())
                    feeders.insert(computerOf(*source));
        }
        for (const Computer& computer : computers_)
            findAllBefore(computer);
    }

    [[nodiscard]] const std::vector<Computer>& computers() const { return computers_; }
    [[nodiscard]] const std::set<Computer>& feeders(const Computer& computer) const { return feeders_.at(computer); }
    [[nodiscard]] bool dependsOn(const Computer& computer, const Computer& other) const
    {
        return before_.at(computer).contains(other);
    }
    [[nodiscard]] bool isInCircle(const Computer& computer) const { return dependsOn(computer, computer); }
    [[nodiscard]] bool hasCircle() const
    {
        return std::any_of(computers_.begin(), computers_.end(), [this](const auto& c) { return isInCircle(c); });
    }

    /// Compares every output with what computing from scratch gives. Outputs of circles are taken as they are.
    void expectOutputs()
    {
        std::vector<Computer> waiting = computers_;
        while (!waiting.empty())
        {
            const auto isReady = [this](const Computer& computer) {
                return isInCircle(computer) || std::all_of(feeders(computer).begin(), feeders(computer).end(),
                                                           [this](const auto& f) { return isDone_.contains(f); });
            };
            const auto ready = std::stable_partition(waiting.begin(), waiting.end(), std::not_fn(isReady));
            ASSERT_NE(ready, waiting.end());
            for (auto computer = ready; computer != waiting.end(); ++computer)
                evaluate(*computer);
            isDone_.insert(ready, waiting.end());
            waiting.erase(ready, waiting.end());
        }
    }

private:
    static std::vector<const Attribute*> inputsOf(const Computer& computer)
    {
        std::vector<const Attribute*> inputs;
        for (unsigned int i = 0; i < computer.second->getInputCount(); ++i)
            for (const Attribute* const input :
                 attributesOf(*computer.first->getElement(computer.second->getInputs()[i])))
                inputs.push_back(input);
        return inputs;
    }

    static const Attribute* sourceOf(const Attribute& attribute)
    {
        const Attribute* source = &attribute;
        while (source->getReference() != nullptr)
            source = source->getReference();
        return source;
    }

    static Computer computerOf(const Attribute& output)
    {
        const Element& element =
            output.getParentArray() != nullptr ? *output.getParentArray() : static_cast<const Element&>(output);
        const NodeTemplate& type = *output.getNode()->getNodeTemplate();
        for (unsigned int i = 0; i < type.getComputeSetCount(); ++i)
            for (unsigned int o = 0; o < type.getComputeSet(i)->getOutputCount(); ++o)
                if (output.getNode()->getElement(type.getComputeSet(i)->getOutputs()[o]) == &element)
                    return {output.getNode(), type.getComputeSet(i)};
        ADD_FAILURE() << "an output that no set computes";
        return {};
    }

    void findAllBefore(const Computer& computer)
    {
        std::set<Computer>& before = before_[computer];
        std::vector<Computer> pending(feeders_.at(computer).begin(), feeders_.at(computer).end());
        while (!pending.empty())
        {
            const Computer found = pending.back();
            pending.pop_back();
            if (before.insert(found).second)
                pending.insert(pending.end(), feeders_.at(found).begin(), feeders_.at(found).end());
        }
    }

    void evaluate(const Computer& computer)
    {
        const bool isGiven = isInCircle(computer);
        std::vector<unsigned int> inputs;
        for (const Attribute* const input : inputsOf(computer))
        {
            const Attribute* const source = sourceOf(*input);
            const bool isKnown = values_.contains(source) && !isGiven;
            inputs.push_back(isKnown ? values_.at(source) : static_cast<unsigned int>(source->getValue().getInt()));
        }
        for (unsigned int o = 0; o < computer.second->getOutputCount(); ++o)
        {
            unsigned int expected = mix(inputs) + o;
            for (const Attribute* const output :
                 attributesOf(*computer.first->getElement(computer.second->getOutputs()[o])))
            {
                const auto actual = static_cast<unsigned int>(output->getValue().getInt());
                if (!isGiven)
                {
                    EXPECT_EQ(actual, expected) << "of a node of type " << computer.first->getTypeId();
                }
                values_[output] = isGiven ? actual : expected++;
            }
        }
    }

    std::vector<Computer> computers_;
    std::map<Computer, std::set<Computer>> feeders_; ///< directly
    std::map<Computer, std::set<Computer>> before_;  ///< directly or through others
    std::map<const Attribute*, unsigned int> values_;
    std::set<Computer> isDone_;
};

// --- The chains ---

/// The one that the documentation recommends, and one where layers that record stand outside undo.
class Chain
{
public:
    Chain() = default;
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;
    virtual ~Chain() = default;
    virtual DataInterface& data() = 0;
    virtual UndoManager& undo() = 0;
    virtual ComputeManager& computed() = 0;
};

class RecommendedChain : public Chain
{
public:
    explicit RecommendedChain(Scene& scene)
        : watches_(&scene.core()), reports_(&watches_, changes_, snapshot_), computed_(1, &reports_, *scene.root()),
          undo_(&computed_, scene.core())
    {
    }
    DataInterface& data() override { return undo_; }
    UndoManager& undo() override { return undo_; }
    ComputeManager& computed() override { return computed_; }

private:
    ConcreteChangeSet changes_;
    ConcreteChangeSet snapshot_;
    WatchManager watches_;
    ChangeManager reports_;
    ComputeManager computed_;
    UndoManager undo_;
};

class ReportsOutsideChain : public Chain
{
public:
    explicit ReportsOutsideChain(Scene& scene)
        : computed_(1, &scene.core(), *scene.root()), undo_(&computed_, scene.core()), watches_(&undo_),
          reports_(&watches_, changes_, snapshot_), calls_(&reports_)
    {
    }
    DataInterface& data() override { return calls_; }
    UndoManager& undo() override { return undo_; }
    ComputeManager& computed() override { return computed_; }

private:
    ConcreteChangeSet changes_;
    ConcreteChangeSet snapshot_;
    ComputeManager computed_;
    UndoManager undo_;
    WatchManager watches_;
    ChangeManager reports_;
    DataInterfaceLogger calls_;
};

enum class ChainKind
{
    kRecommended,
    kReportsOutside
};

std::unique_ptr<Chain> makeChain(ChainKind kind, Scene& scene)
{
    if (kind == ChainKind::kRecommended)
        return std::make_unique<RecommendedChain>(scene);
    return std::make_unique<ReportsOutsideChain>(scene);
}

// --- The property ---

struct Run
{
    ChainKind kind;
    unsigned int seed;
};

void PrintTo(const Run& run, std::ostream* out)
{
    *out << (run.kind == ChainKind::kRecommended ? "recommended, " : "reports outside, ") << run.seed;
}

class ComputedValuesTest : public ::testing::TestWithParam<Run>
{
protected:
    static constexpr std::size_t kMaxNodes = 40;
    static constexpr std::size_t kFirstWrite = 13; ///< the kinds of edits from here on write values only

    // --- Compute functions ---

    /// Notes the run, and writes what mix() gives; an output array grows to at least a few items first.
    void compute(const ComputeCall& call)
    {
        ran.emplace_back(&call.node, &call.set);
        std::vector<unsigned int> inputs;
        for (unsigned int i = 0; i < call.set.getInputCount(); ++i)
            for (const Attribute* const input : attributesOf(*call.elements[call.set.getInputs()[i]]))
                inputs.push_back(static_cast<unsigned int>(input->getValue().getInt()));
        const unsigned int mixed = mix(inputs);
        for (unsigned int o = 0; o < call.set.getOutputCount(); ++o)
        {
            Element* const element = call.elements[call.set.getOutputs()[o]];
            if (element->isAttributeArray())
            {
                AttributeArray* const array = call.outputArray(o);
                ASSERT_EQ(call.data.db_resizeAttributeArray(array, std::max(array->getSize(), mixed % 4)),
                          Status::kSuccess);
            }
            unsigned int value = mixed + o;
            for (const Attribute* const output : attributesOf(*element))
                db2test::write(call.data, const_cast<Attribute*>(output), static_cast<int>(value++));
        }
    }

    // --- Random arguments ---

    Node* anyNode()
    {
        std::vector<Node*> nodes;
        for (NodeIterator walk(scene.root()); walk.next();)
            nodes.push_back(walk.node());
        return nodes.empty() ? scene.root() : random.pick(nodes);
    }

    /// An Int attribute that no set computes, or null.
    Attribute* anyInput()
    {
        std::vector<Attribute*> found;
        for (AttributeIterator walk(anyNode()); walk.next();)
            if (walk.attr()->getTypeId() == AttributeType::kInt && !walk.attr()->isComputed())
                found.push_back(walk.attr());
        return found.empty() ? nullptr : random.pick(found);
    }

    /// An Int attribute, as often as not an output, or null.
    Attribute* anySource()
    {
        if (random.chance(1, 2))
            return anyInput();
        std::vector<Attribute*> found;
        for (AttributeIterator walk(anyNode()); walk.next();)
            if (walk.attr()->isComputed())
                found.push_back(walk.attr());
        return found.empty() ? nullptr : random.pick(found);
    }

    AttributeArray* anyInputArray()
    {
        Node* const node = anyNode();
        return node->findAttributeArrayByName(node->getTypeId() == kLists ? L"values" : L"IntItems");
    }

    Attribute* anyReferencer()
    {
        std::vector<Attribute*> found;
        for (NodeIterator nodes(scene.root()); nodes.next();)
            for (AttributeIterator walk(nodes.node()); walk.next();)
                if (walk.attr()->getReference() != nullptr)
                    found.push_back(walk.attr());
        return found.empty() ? nullptr : random.pick(found);
    }

    // --- Random edits; what they are refused does not matter here ---

    void edit()
    {
        switch (isCalm ? kFirstWrite + random.below(8) : random.below(kFirstWrite + 3))
        {
        case 0:
        case 1: create(); break;
        case 2: destroy(anyNode()); break;
        case 3: data.db_renameNode(anyNode(), (L"name" + std::to_wstring(random.below(50))).c_str()); break;
        case 4: data.db_reparentNode(anyNode(), anyNode(), nullptr, nullptr); break;
        case 5: data.db_reorderNode(anyNode(), nullptr); break;
        case 6: data.db_createDynamicElement(IntAttributeMetaDataDef(), L"extra", anyNode(), nullptr, nullptr); break;
        case 7: data.db_destroyDynamicElement(anyNode()->getDynamicElement(0)); break;
        case 8:
        case 9:
        case 10:
        case 11: data.db_createReference(anySource(), anyInput(), false); break;
        case 12: data.db_destroyReference(anyReferencer()); break;
        case kFirstWrite:
            data.db_resizeAttributeArray(anyInputArray(), static_cast<unsigned int>(random.below(5)));
            break;
        case kFirstWrite + 1: writeArray(anyInputArray()); break;
        default: writeValue(anyInput()); break;
        }
    }

    void create()
    {
        if (scene.core().getStatistics().nodes >= kMaxNodes)
            return destroy(anyNode());
        const unsigned int types[] = {kPairs, kLists, kPairs, Scene::kAll};
        data.db_createNode(random.pick(types), L"node", anyNode(), nullptr, nullptr);
    }

    /// A leaf goes with what binds it.
    void destroy(Node* node)
    {
        if (node->getFirstChild() != nullptr)
            return;
        while (node->getDynamicElementCount() != 0 || node->getEdgeCount() != 0)
        {
            for (AttributeIterator walk(node); walk.next();)
            {
                while (Attribute* const referencer = walk.attr()->getReferents())
                    ASSERT_EQ(data.db_destroyReference(referencer), Status::kSuccess);
                if (walk.attr()->getReference() != nullptr)
                {
                    ASSERT_EQ(data.db_destroyReference(walk.attr()), Status::kSuccess);
                }
            }
            if (Element* const extra = node->getDynamicElement(0))
            {
                ASSERT_EQ(data.db_destroyDynamicElement(extra), Status::kSuccess);
            }
        }
        data.db_destroyLeafNode(node);
    }

    void writeValue(Attribute* attribute)
    {
        ValueHandle value;
        if (data.db_lockAttribute(attribute, &value) != Status::kSuccess)
            return;
        value.getInt() = static_cast<int>(random.below(1000));
        ASSERT_EQ(data.db_unlockAttribute(attribute), Status::kSuccess);
    }

    void writeArray(AttributeArray* array)
    {
        void* storage = nullptr;
        if (data.db_lockAttributeArray(array, &storage) != Status::kSuccess)
            return;
        for (unsigned int i = 0; i < array->getSize(); ++i)
            static_cast<int*>(storage)[i] = static_cast<int>(random.below(1000));
        ASSERT_EQ(data.db_unlockAttributeArray(array), Status::kSuccess);
    }

    // --- Ends of units of work, and what must hold after each ---

    void end()
    {
        const auto commit = [this] { return data.db_commit(L"edits", L"ComputedValuesTest.cpp", 1); };
        if (random.chance(1, 10))
            commitBy([this] { return undo.rollback(0); });
        if (random.chance(1, 10))
        {
            EXPECT_EQ(commitBy([this] { return data.db_commitTransient(); }), Status::kSuccess);
        }
        EXPECT_EQ(commitBy(commit), Status::kSuccess);
        for (std::size_t steps = random.below(6); steps > 3; --steps)
            commitBy([this] { return undo.undo(); });
        for (std::size_t steps = random.below(6); steps > 3; --steps)
            commitBy([this] { return undo.redo(); });
        EXPECT_TRUE(undo.lastReplayWasComplete());
        isCalm = random.chance(1, 2);
        if (random.chance(1, 100))
        {
            EXPECT_EQ(data.db_clear(), Status::kSuccess);
        }
    }

    /// @param way  one commit, or nothing when it fails.
    template <class Way>
    Status commitBy(Way way)
    {
        const unsigned int flushes = computed.debug_getFlushCount();
        ran.clear();
        scene.log().take();
        const Status status = way();
        const std::vector<LogRecorder::Line> errors = scene.log().take();
        if (status != Status::kSuccess)
        {
            EXPECT_TRUE(ran.empty());
            return status;
        }
        NaiveEvaluator expected(scene.root());
        expected.expectOutputs();
        expectOrder(expected);
        if (computed.debug_getFlushCount() != flushes)
        {
            EXPECT_EQ(errors.empty(), !expected.hasCircle()); // circles are logged with every rebuild
        }
        ++(expected.hasCircle() ? commitsWithCircles : commitsWithoutCircles);
        return status;
    }

    void expectOrder(const NaiveEvaluator& expected)
    {
        std::map<NaiveEvaluator::Computer, std::size_t> positions;
        for (std::size_t i = 0; i < ran.size(); ++i)
            EXPECT_TRUE(positions.emplace(ran[i], i).second) << "a set ran twice";
        for (const auto& [computer, position] : positions)
            for (const NaiveEvaluator::Computer& feeder : expected.feeders(computer))
            {
                if (positions.contains(feeder) && !expected.dependsOn(feeder, computer))
                {
                    EXPECT_LT(positions.at(feeder), position) << "a set ran before one that it depends on";
                }
            }
    }

    Random random{GetParam().seed};
    ComputeScene scene;
    std::vector<NaiveEvaluator::Computer> ran; ///< in the commit under way
    bool isCalm = false;                       ///< in the unit of work under way only values are written
    std::size_t commitsWithCircles = 0;
    std::size_t commitsWithoutCircles = 0;
    const ComputeScene::Body body = [this](const ComputeCall& call) { compute(call); };
    const unsigned int kPairs =
        scene.addType({number(L"a"), number(L"b"), number(L"c"), number(L"second"), number(L"first"), number(L"rest")},
                      {{{L"first", L"c"}, {L"second"}, body}, {{L"a", L"b"}, {L"first", L"rest"}, body}});
    const unsigned int kLists =
        scene.addType({numbers(L"values"), number(L"seed"), numbers(L"list"), number(L"total")},
                      {{{L"total", L"seed"}, {L"list"}, body}, {{L"values"}, {L"total"}, body}});
    const std::unique_ptr<Chain> chain = makeChain(GetParam().kind, scene);
    DataInterface& data = chain->data();
    UndoManager& undo = chain->undo();
    ComputeManager& computed = chain->computed();
};

TEST_P(ComputedValuesTest, EveryCommitBringsEveryOutputUpToDateInOrder)
{
    SCOPED_TRACE(::testing::PrintToString(GetParam()));
    for (int i = 0; i < 12'500 && !HasFailure(); ++i)
    {
        edit();
        if (random.chance(1, 6))
            end();
    }
    // Else the run has not seen what it is about.
    EXPECT_GT(computed.debug_getFlushCount(), 100u);
    EXPECT_GT(computed.debug_getPriorityQueueUseCount(), 100u);
    EXPECT_GT(computed.debug_getCacheUseCount(), 10u);
    EXPECT_GT(commitsWithoutCircles, 100u);
    EXPECT_GT(commitsWithCircles, 10u);
}

std::vector<Run> runs()
{
    std::vector<Run> all;
    for (unsigned int seed = 1; seed <= 8; ++seed)
        all.push_back({seed % 2 != 0 ? ChainKind::kRecommended : ChainKind::kReportsOutside, seed});
    return all;
}

INSTANTIATE_TEST_SUITE_P(OfFixedSeeds, ComputedValuesTest, ::testing::ValuesIn(runs()));

} // namespace
} // namespace db2test
