#include "RandomEdits.h"

#include <gtest/gtest.h>

#include <iostream>
#include <numeric>

namespace db2test {
namespace {

constexpr std::size_t kCommonWeight = 4;
constexpr std::size_t kStepsToFullComparison = 250;
constexpr std::size_t kTraceLength = 12;

std::vector<ElementSpec> mixedElements(Random& random)
{
    std::vector<ElementSpec> elements = {
        plainElement(L"Int", AttributeType::kInt),
        plainElement(L"size", AttributeType::kFloat),
        plainElement(L"label", AttributeType::kString),
        plainElement(L"private", AttributeType::kInt),
        plainElement(namesOfOneHash().first.c_str(), AttributeType::kBool), // the other name is taken with it
        plainElement(L"ints", AttributeType::kInt, true),
        plainElement(L"texts", AttributeType::kString, true),
        plainElement(L"points", AttributeType::kVector3, true)};
    for (ElementSpec& element : elements)
        element.defaultValue = randomModelValue(element.type, random);
    elements[0].docString = L"a whole number";
    elements[3].flags = ElementMetaDataFlag::kNotConnectable;
    return elements;
}

std::vector<ElementSpec> everyElement(Random& random)
{
    std::vector<ElementSpec> elements;
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const auto typeId = static_cast<AttributeTypeId>(type);
        elements.push_back(plainElement(ValueInfo::getTypeName(typeId), typeId));
        if (type % 2 == 0) // Null and the array types among them
        {
            const std::wstring name = std::wstring(ValueInfo::getTypeName(typeId)) + L"Items";
            elements.push_back(plainElement(name.c_str(), typeId, true));
        }
    }
    for (ElementSpec& element : elements)
        element.defaultValue = randomModelValue(element.type, random);
    return elements;
}

} // namespace

void PrintTo(const EditProfile& profile, std::ostream* out)
{
    *out << profile.name;
}

// --- The run ---

RandomEdits::RandomEdits(const EditProfile& profile, const Random& random) : profile_(profile), random_(random)
{
    makeCore();
}

RandomEdits::~RandomEdits() = default;

std::vector<NodeType> RandomEdits::makeTypes(Random& random)
{
    return {
        {kTop, L"Top", {plainElement(L"Int", AttributeType::kInt), plainElement(L"Ints", AttributeType::kInt, true)}},
        {kBare, L"Bare", {}},
        {kThree,
         L"Three7",
         {plainElement(L"Float", AttributeType::kFloat), plainElement(L"Ints", AttributeType::kInt, true),
          plainElement(L"Null", AttributeType::kNull)}},
        {kMixed, L"Mixed", mixedElements(random)},
        {kEvery, L"Every", everyElement(random)}};
}

void RandomEdits::makeCore()
{
    nodeFactory_ = std::make_unique<RecordingNodeFactory>();
    unknownFactory_ = std::make_unique<RecordingUnknownNodeFactory>(9000, nodeFactory_.get());
    legacyFactory_ = std::make_unique<RecordingUnknownNodeFactory>(0, nodeFactory_.get());
    const std::vector<NodeType> types = makeTypes(random_);
    for (const NodeType& type : types)
    {
        auto* const nodeTemplate = new NodeTemplate(type.typeName.c_str(), type.typeId, scene_.module(),
                                                    type.typeId == kMixed ? nodeFactory_.get() : nullptr);
        for (const ElementSpec& element : type.elements)
            EXPECT_EQ(nodeTemplate->addAttribute(*makeDefinition(element), element.name.c_str()), Status::kSuccess);
        EXPECT_EQ(scene_.registry().registerNodeTemplate(nodeTemplate), Status::kSuccess);
    }
    model_ = std::make_unique<TreeModel>(types, kTop);
    core_ = std::make_unique<CoreManager>(scene_.registry(), kTop, unknownFactory_.get(), legacyFactory_.get(),
                                          nodeFactory_.get());
    bindNode(model_->root(), core_->getRoot());
    draw_ = std::make_unique<RandomArguments>(*model_, random_, profile_.fewParents);
    compare_ = std::make_unique<ModelComparison>(*core_, *model_);
    elementHandle_ = kqx::AnchorHandle<kqx::Anchor>(&core_->getElementAnchor());
}

void RandomEdits::run(std::size_t edits)
{
    for (int half = 0; half < 2; ++half) // the second one begins in a tree that db_clear has emptied
    {
        while (model_->statistics().nodes < profile_.startNodes && !::testing::Test::HasFailure())
            make(EditKind::kCreateNode);
        for (std::size_t i = 0; i < edits / 2 && !::testing::Test::HasFailure(); ++i)
            step();
        empty();
    }
    if (::testing::Test::HasFailure())
        printTrace();
}

void RandomEdits::step()
{
    ++steps_;
    if (!model_->locked().empty() && random_.chance(1, 2)) // else nearly everything is refused for long
        make(model_->locked().front()->isArray() ? EditKind::kUnlockAttributeArray : EditKind::kUnlockAttribute);
    else
        make(drawKind());
    if (steps_ % kStepsToFullComparison == 0)
        compareEverything();
}

EditKind RandomEdits::drawKind()
{
    std::array<std::size_t, static_cast<std::size_t>(EditKind::kCount)> weights;
    weights.fill(kCommonWeight);
    for (const auto& [kind, weight] : profile_.weights)
        weights[static_cast<std::size_t>(kind)] = weight;

    std::size_t roll = random_.below(std::accumulate(weights.begin(), weights.end(), std::size_t{0}));
    std::size_t kind = 0;
    for (; roll >= weights[kind]; ++kind)
        roll -= weights[kind];
    const auto drawn = static_cast<EditKind>(kind);
    const bool isFull = model_->statistics().nodes >= profile_.maxNodes;
    return drawn == EditKind::kCreateNode && isFull ? EditKind::kDestroySubtree : drawn;
}

void RandomEdits::make(EditKind kind)
{
    using Member = void (RandomEdits::*)();
    static constexpr Member kEdits[] = {
        &RandomEdits::createNode,
        &RandomEdits::createUnknownNode,
        &RandomEdits::destroyLeafNode,
        &RandomEdits::destroySubtree,
        &RandomEdits::renameNode,
        &RandomEdits::reparentNode,
        &RandomEdits::reorderNode,
        &RandomEdits::createDynamicElement,
        &RandomEdits::destroyDynamicElement,
        &RandomEdits::renameDynamicElement,
        &RandomEdits::resizeAttributeArray,
        &RandomEdits::createReference,
        &RandomEdits::destroyReference,
        &RandomEdits::lockAttribute,
        &RandomEdits::unlockAttribute,
        &RandomEdits::lockAttributeArray,
        &RandomEdits::unlockAttributeArray,
        &RandomEdits::commit,
        &RandomEdits::commitTransient,
        &RandomEdits::clear,
        &RandomEdits::createUnknownElement,
        &RandomEdits::createLegacyElement,
        &RandomEdits::destroyLegacyElement,
        &RandomEdits::archiveNode,
        &RandomEdits::bringBackNode,
        &RandomEdits::dropNode,
        &RandomEdits::archiveElement,
        &RandomEdits::bringBackElement,
        &RandomEdits::dropElement,
        &RandomEdits::list,
    };
    static_assert(std::size(kEdits) == static_cast<std::size_t>(EditKind::kCount));
    kind_ = kind;
    (this->*kEdits[static_cast<std::size_t>(kind)])();
    compareTouched();
}

void RandomEdits::compareTouched()
{
    if (!::testing::Test::HasFailure()) // else a pointer of the model may lead nowhere
    {
        compare_->compareStatistics();
        for (const ModelNode* const node : touchedNodes_)
            compare_->compareNode(*node);
        for (const ModelElement* const element : touchedElements_)
            compare_->compareElement(*element);
    }
    touchedNodes_.clear();
    touchedElements_.clear();
}

void RandomEdits::compareEverything()
{
    if (!::testing::Test::HasFailure())
        compare_->compareAll(draw_->someNames());
}

/// Compares everything before and after.
void RandomEdits::empty()
{
    compareEverything();
    while (!model_->locked().empty() && !::testing::Test::HasFailure())
        make(model_->locked().front()->isArray() ? EditKind::kUnlockAttributeArray : EditKind::kUnlockAttribute);
    if (!::testing::Test::HasFailure())
        make(EditKind::kClear);
    compareEverything();
}

void RandomEdits::printTrace() const
{
    std::cout << random_.description() << ", profile " << profile_.name << ", after " << steps_
              << " edits; the last ones, all of them one step or a part of it:\n";
    for (const std::string& edit : trace_)
        std::cout << "    " << edit << '\n';
}

// --- One edit ---

void RandomEdits::announce(std::string edit)
{
    trace_.push_back(std::move(edit));
    if (trace_.size() > kTraceLength)
        trace_.pop_front();
}

void RandomEdits::expectAnswer(const char* who, Status answer, const Outcome& expected)
{
    EXPECT_EQ(static_cast<unsigned int>(answer), static_cast<unsigned int>(expected.status))
        << who << " in " << trace_.back();
    std::vector<LogRecorder::Line> lines;
    if (!expected.log.empty())
        lines.push_back({LogRecorder::kError, L"KQDatabase2 : " + expected.log});
    const std::vector<LogRecorder::Line> logged = scene_.log().take();
    EXPECT_TRUE(logged == lines) << "what " << who << " logs in " << trace_.back() << ", first: "
                                 << ::testing::PrintToString(logged.empty() ? std::wstring() : logged.front().text);
}

bool RandomEdits::perform(const Outcome& expected, const Call& edit)
{
    const std::size_t factoryCalls = nodeFactory_->count() + unknownFactory_->count() + legacyFactory_->count();
    const CoreManager::Statistics before = core_->getStatistics();
    const Status status = edit();
    expectAnswer("the edit", status, expected);
    seen_.insert(status);
    if (status != Status::kSuccess)
    {
        EXPECT_TRUE(core_->getStatistics() == before) << "after the refused " << trace_.back();
        EXPECT_EQ(nodeFactory_->count() + unknownFactory_->count() + legacyFactory_->count(), factoryCalls);
    }
    const bool made = status == Status::kSuccess && expected.succeeds();
    if (made)
        ++successes_[static_cast<std::size_t>(kind_)];
    return made;
}

bool RandomEdits::perform(const Outcome& expectedTwin, const Call& twin, const Outcome& expected, const Call& edit)
{
    expectAnswer("the twin", twin(), expectedTwin);
    return perform(expected, edit);
}

void RandomEdits::touch(const ModelNode* node)
{
    if (node != nullptr)
        touchedNodes_.push_back(node);
}

void RandomEdits::touch(const ModelElement* element)
{
    if (element == nullptr)
        return;
    touchedElements_.push_back(&element->outermost());
    touch(element->node);
}

/// Tells the model which of the core's objects is which.
void RandomEdits::bindNode(ModelNode& node, Node* made)
{
    node.actual = made;
    ASSERT_NE(made, nullptr) << describe(&node);
    node.handle = kqx::AnchorHandle<Node>(made);
    for (unsigned int i = 0; i < node.elements.size(); ++i)
    {
        node.elements[i]->actual = made->getElement(i);
        ASSERT_NE(node.elements[i]->actual, nullptr) << describe(node.elements[i].get());
    }
}

void RandomEdits::bindItems(ModelElement& array)
{
    for (unsigned int i = 0; i < array.size; ++i)
    {
        Attribute* const item = arrayOf(&array)->getAttribute(i);
        ASSERT_NE(item, nullptr) << describe(array.items[i].get());
        if (array.items[i]->actual == nullptr) // else the comparison finds out whether it is the same as before
            array.items[i]->actual = item;
    }
}

} // namespace db2test
