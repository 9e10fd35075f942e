#include <db2/NodeRegistry.h>

#include <db2/db2.h>

#include "support/LogRecorder.h"
#include "support/NameCollision.h"
#include "support/OutOfMemory.h"
#include "support/Scene.h"
#include "support/TemplateState.h"
#include "support/TracedDefinition.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <iostream>
#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace db2;
using db2test::LogRecorder;
using db2test::Scene;
using db2test::TemplateState;
using db2test::TracedDefinition;

/// A registry, and templates to put into it.
class NodeRegistryTest : public ::testing::Test
{
protected:
    std::unique_ptr<NodeTemplate> makeTemplate(const wchar_t* name, unsigned int typeId)
    {
        return std::make_unique<NodeTemplate>(name, typeId, module);
    }

    /// A template whose destruction raises the count.
    std::unique_ptr<NodeTemplate> makeTracedTemplate(const wchar_t* name, unsigned int typeId)
    {
        auto nodeTemplate = makeTemplate(name, typeId);
        EXPECT_EQ(nodeTemplate->addAttribute(TracedDefinition(destructions), L"traced"), Status::kSuccess);
        return nodeTemplate;
    }

    /// Hands a template over to the registry, which must take it.
    static NodeTemplate* give(NodeRegistry& registry, std::unique_ptr<NodeTemplate> nodeTemplate)
    {
        EXPECT_EQ(registry.registerNodeTemplate(nodeTemplate.get()), Status::kSuccess);
        return nodeTemplate.release();
    }

    NodeTemplate* registered(const wchar_t* name, unsigned int typeId)
    {
        return give(registry, makeTemplate(name, typeId));
    }

    int destructions = 0; ///< of traced templates
    Module module;
    NodeRegistry registry; // last, because its templates use the others
};

/// Forgets the templates that a copy shares with a registry, so that the copy can be destroyed.
void forgetTemplates(NodeRegistry& copy)
{
    copy = NodeRegistry();
}

// --- Looking up ---

TEST_F(NodeRegistryTest, FindsTemplatesByIdAndByName)
{
    const NodeTemplate* const sphere = registered(L"Sphere", 7);
    const NodeTemplate* const light = registered(L"Light", 0);
    EXPECT_EQ(registry.lookupNodeTemplate(7u), sphere);
    EXPECT_EQ(registry.lookupNodeTemplate(L"Sphere"), sphere);
    EXPECT_EQ(registry.lookupNodeTemplate(0u), light);
    EXPECT_EQ(registry.lookupNodeTemplate(L"Light"), light);
}

TEST_F(NodeRegistryTest, FindsNullForWhatIsNotThere)
{
    EXPECT_EQ(registry.lookupNodeTemplate(7u), nullptr);
    EXPECT_EQ(registry.lookupNodeTemplate(L"Sphere"), nullptr);
    (void)registered(L"Sphere", 7);
    EXPECT_EQ(registry.lookupNodeTemplate(8u), nullptr);
    EXPECT_EQ(registry.lookupNodeTemplate(L"sphere"), nullptr);
    EXPECT_EQ(registry.lookupNodeTemplate(static_cast<const wchar_t*>(nullptr)), nullptr);
}

TEST_F(NodeRegistryTest, ANullNameFindsNothingEvenWhenATemplateHasAnEmptyName)
{
    const NodeTemplate* const nameless = registered(L"", 7);
    EXPECT_EQ(registry.lookupNodeTemplate(static_cast<const wchar_t*>(nullptr)), nullptr);
    EXPECT_EQ(registry.lookupNodeTemplate(L""), nameless);
}

TEST_F(NodeRegistryTest, LookingUpANameIsLookingUpItsHash)
{
    const db2test::NameCollision& names = db2test::nameCollision();
    const NodeTemplate* const nodeTemplate = registered(names.first.c_str(), 7);
    EXPECT_EQ(registry.lookupNodeTemplate(names.second.c_str()), nodeTemplate);
}

TEST_F(NodeRegistryTest, HoldsManyTemplates)
{
    constexpr unsigned int kCount = 1000;
    const auto nameOf = [](unsigned int id) { return L"type " + std::to_wstring(id); };
    for (unsigned int id = 0; id < kCount; ++id)
        (void)registered(nameOf(id).c_str(), id * 0x10001);
    for (unsigned int id = 0; id < kCount; ++id)
    {
        const NodeTemplate* const nodeTemplate = registry.lookupNodeTemplate(id * 0x10001);
        ASSERT_NE(nodeTemplate, nullptr) << id;
        ASSERT_TRUE(nodeTemplate->getTypeName() == nameOf(id).c_str());
        ASSERT_EQ(registry.lookupNodeTemplate(nameOf(id).c_str()), nodeTemplate);
    }
}

TEST_F(NodeRegistryTest, ListsItsTemplatesByTheirIdsBehindWhatIsThere)
{
    kqtl::pod_vector<const NodeTemplate*> templates;
    registry.getNodeTemplates(templates);
    EXPECT_EQ(templates.size(), 0u);

    const NodeTemplate* const last = registered(L"Light", 0xFFFFFFFF);
    const NodeTemplate* const middle = registered(L"Sphere", 0x10001);
    const NodeTemplate* const first = registered(L"Cone", 0);
    templates.push_back(last);
    registry.getNodeTemplates(templates);
    const std::vector<const NodeTemplate*> listed(templates.begin(), templates.end());
    EXPECT_EQ(listed, (std::vector<const NodeTemplate*>{last, first, middle, last}));
}

// --- Registering ---

TEST_F(NodeRegistryTest, RegisteringFreezesTheTemplate)
{
    NodeTemplate* const nodeTemplate = registered(L"Sphere", 7);
    EXPECT_TRUE(nodeTemplate->hasFlag(NodeTemplateFlag::kRegistered));
    EXPECT_EQ(nodeTemplate->addAttribute(IntAttributeMetaDataDef(), L"radius"), Status::kAddAttributeToRegistered);
    EXPECT_EQ(nodeTemplate->addComputeSet(nullptr, nullptr, nullptr, nullptr), Status::kAddComputeSetToRegistered);
}

TEST_F(NodeRegistryTest, ARegisteredTemplateIsRefusedBeforeIdAndNameAreLookedAt)
{
    NodeTemplate* const nodeTemplate = registered(L"Sphere", 7);
    EXPECT_EQ(registry.registerNodeTemplate(nodeTemplate), Status::kTemplateAlreadyRegistered); // id and name are taken
    NodeRegistry other;
    EXPECT_EQ(other.registerNodeTemplate(nodeTemplate), Status::kTemplateAlreadyRegistered);
    EXPECT_EQ(other.lookupNodeTemplate(7u), nullptr);
    EXPECT_EQ(other.lookupNodeTemplate(L"Sphere"), nullptr);
    EXPECT_EQ(registry.lookupNodeTemplate(7u), nodeTemplate);
}

TEST_F(NodeRegistryTest, ATakenIdOrNameIsRefusedTheIdFirst)
{
    const db2test::NameCollision& names = db2test::nameCollision();
    const NodeTemplate* const present = registered(names.first.c_str(), 7);
    struct Row
    {
        const char* name;
        const wchar_t* typeName;
        unsigned int typeId;
        Status expected;
    };
    const Row rows[] = {{"id and name", names.first.c_str(), 7, Status::kDuplicateTypeId},
                        {"id", L"Other", 7, Status::kDuplicateTypeId},
                        {"name", names.first.c_str(), 8, Status::kDuplicateTemplateName},
                        {"name of the same hash", names.second.c_str(), 8, Status::kDuplicateTemplateName}};
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.name);
        const auto refused = makeTemplate(row.typeName, row.typeId);
        const TemplateState before(*refused);
        EXPECT_EQ(registry.registerNodeTemplate(refused.get()), row.expected);
        EXPECT_EQ(TemplateState(*refused), before);
        EXPECT_EQ(refused->addAttribute(IntAttributeMetaDataDef(), L"radius"), Status::kSuccess); // not frozen
        EXPECT_EQ(registry.lookupNodeTemplate(7u), present);
        EXPECT_EQ(registry.lookupNodeTemplate(names.first.c_str()), present);
        EXPECT_EQ(registry.lookupNodeTemplate(8u), nullptr);
        EXPECT_EQ(registry.lookupNodeTemplate(L"Other"), nullptr);
    }
}

TEST_F(NodeRegistryTest, NullIsRefused)
{
    EXPECT_EQ(registry.registerNodeTemplate(nullptr), Status::kFailure);
    EXPECT_EQ(registry.lookupNodeTemplate(0u), nullptr);
}

TEST_F(NodeRegistryTest, WithoutMemoryATemplateIsNotRegistered)
{
    auto nodeTemplate = makeTemplate(L"Sphere", 7);
    for (const wchar_t* const name : {L"a", L"b", L"c", L"d", L"e"})
        ASSERT_EQ(nodeTemplate->addAttribute(IntAttributeMetaDataDef(), name), Status::kSuccess);
    constexpr unsigned int kEnd = NodeTemplate::kEndOfList;
    const unsigned int a[] = {0, kEnd};
    const unsigned int b[] = {1, kEnd};
    const unsigned int ab[] = {0, 1, kEnd};
    const unsigned int cd[] = {2, 3, kEnd};
    ASSERT_EQ(nodeTemplate->addComputeSet(a, b, nullptr, nullptr), Status::kSuccess);
    ASSERT_EQ(nodeTemplate->addComputeSet(ab, cd, nullptr, nullptr), Status::kSuccess);

    const TemplateState before(*nodeTemplate);
    const std::size_t failures =
        db2test::failUntilMemorySuffices([&] { return registry.registerNodeTemplate(nodeTemplate.get()); },
                                         [&] {
                                             EXPECT_EQ(TemplateState(*nodeTemplate), before);
                                             EXPECT_EQ(registry.lookupNodeTemplate(7u), nullptr);
                                             EXPECT_EQ(registry.lookupNodeTemplate(L"Sphere"), nullptr);
                                         });
    EXPECT_GT(failures, 0u);
    ASSERT_EQ(registry.lookupNodeTemplate(7u), nodeTemplate.get());
    const NodeTemplate* const taken = nodeTemplate.release();
    EXPECT_EQ(registry.lookupNodeTemplate(L"Sphere"), taken);
    const auto& outputs = taken->getElementOutputs();
    EXPECT_EQ(std::vector<unsigned int>(outputs.begin(), outputs.end()), (std::vector<unsigned int>{0, 1, 1}));
    EXPECT_EQ(taken->getComputeSet(0)->getOutputSets(), (kqx::SizeTArray{1}));
}

TEST_F(NodeRegistryTest, ATemplateRefusedForWantOfMemoryCanStillBeBuilt)
{
    auto nodeTemplate = makeTemplate(L"Sphere", 7);
    ASSERT_EQ(nodeTemplate->addAttribute(IntAttributeMetaDataDef(), L"a"), Status::kSuccess);
    {
        const db2test::HeapThatRunsOut heap(0);
        ASSERT_EQ(registry.registerNodeTemplate(nodeTemplate.get()), Status::kFailure);
    }
    EXPECT_EQ(nodeTemplate->addAttribute(IntAttributeMetaDataDef(), L"b"), Status::kSuccess);
    EXPECT_EQ(registered(L"Sphere", 7)->getElementCount(), 0u); // id and name are free
}

// --- Unregistering ---

TEST_F(NodeRegistryTest, UnregisteringDestroysTheTemplateAndFreesItsIdAndName)
{
    give(registry, makeTracedTemplate(L"Sphere", 7));
    const NodeTemplate* const light = give(registry, makeTracedTemplate(L"Light", 8));
    EXPECT_EQ(registry.unregisterNodeTemplate(7), Status::kSuccess);
    EXPECT_EQ(destructions, 1);
    EXPECT_EQ(registry.lookupNodeTemplate(7u), nullptr);
    EXPECT_EQ(registry.lookupNodeTemplate(L"Sphere"), nullptr);
    EXPECT_EQ(registry.lookupNodeTemplate(8u), light);

    const NodeTemplate* const second = registered(L"Sphere", 7);
    EXPECT_EQ(registry.lookupNodeTemplate(L"Sphere"), second);
}

TEST_F(NodeRegistryTest, AnIdThatIsNotRegisteredCannotBeUnregistered)
{
    const NodeTemplate* const sphere = registered(L"Sphere", 7);
    EXPECT_EQ(registry.unregisterNodeTemplate(8), Status::kTemplateNotRegistered);
    EXPECT_EQ(registry.lookupNodeTemplate(7u), sphere);
    EXPECT_EQ(registry.unregisterNodeTemplate(7), Status::kSuccess);
    EXPECT_EQ(registry.unregisterNodeTemplate(7), Status::kTemplateNotRegistered);
}

TEST_F(NodeRegistryTest, UnregisteringAndRefusalsLogNothing)
{
    LogRecorder log;
    registered(L"Sphere", 7);
    const auto second = makeTemplate(L"Sphere", 7);
    (void)registry.registerNodeTemplate(second.get());
    (void)registry.unregisterNodeTemplate(8);
    (void)registry.unregisterNodeTemplate(7);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NodeRegistryTest, ATemplateWithNodesStaysAndTheRefusalIsLogged)
{
    Scene scene;
    scene.nodeOf(Scene::kPlain, L"node");
    const NodeTemplate* const plain = scene.registry().lookupNodeTemplate(Scene::kPlain);
    EXPECT_EQ(scene.registry().unregisterNodeTemplate(Scene::kPlain), Status::kTemplateInUse);
    EXPECT_TRUE(scene.log().tookError(L"Failed to unregister node template! Nodes are still using it."));
    EXPECT_EQ(scene.registry().lookupNodeTemplate(Scene::kPlain), plain);
    EXPECT_EQ(scene.registry().lookupNodeTemplate(L"Plain"), plain);
    EXPECT_TRUE(plain->hasFlag(NodeTemplateFlag::kRegistered));
}

TEST_F(NodeRegistryTest, TheRootsTemplateIsInUse)
{
    Scene scene;
    EXPECT_EQ(scene.registry().unregisterNodeTemplate(Scene::kRoot), Status::kTemplateInUse);
}

TEST_F(NodeRegistryTest, ATemplateIsInUseUntilTheMemoryOfItsLastNodeIsFreed)
{
    Scene scene;
    Node* const node = scene.nodeOf(Scene::kPlain, L"node");
    ASSERT_EQ(scene.core().db_destroyLeafNode(node), Status::kSuccess);
    EXPECT_EQ(scene.registry().unregisterNodeTemplate(Scene::kPlain), Status::kTemplateInUse); // still readable
    ASSERT_EQ(scene.commit(), Status::kSuccess);
    EXPECT_EQ(scene.registry().unregisterNodeTemplate(Scene::kPlain), Status::kSuccess);
    EXPECT_EQ(scene.core().db_createNode(Scene::kPlain, L"node", nullptr, nullptr, nullptr), Status::kUnknownTypeId);
}

// --- The registry's end and its copies ---

TEST_F(NodeRegistryTest, TheEndOfARegistryDestroysItsTemplates)
{
    {
        NodeRegistry ending;
        give(ending, makeTracedTemplate(L"Sphere", 7));
        give(ending, makeTracedTemplate(L"Light", 8));
        EXPECT_EQ(destructions, 0);
    }
    EXPECT_EQ(destructions, 2);
}

TEST_F(NodeRegistryTest, ACopySharesTheTemplates)
{
    const NodeTemplate* const sphere = registered(L"Sphere", 7);
    NodeRegistry copy(registry);
    EXPECT_EQ(copy.lookupNodeTemplate(7u), sphere);
    EXPECT_EQ(copy.lookupNodeTemplate(L"Sphere"), sphere);
    forgetTemplates(copy);
}

TEST_F(NodeRegistryTest, RegistrationsAfterACopyDoNotReachIt)
{
    registered(L"Sphere", 7);
    NodeRegistry copy(registry);
    registered(L"Light", 8);
    EXPECT_EQ(copy.lookupNodeTemplate(8u), nullptr);
    EXPECT_EQ(copy.lookupNodeTemplate(L"Light"), nullptr);
    EXPECT_EQ(copy.unregisterNodeTemplate(8), Status::kTemplateNotRegistered);
    forgetTemplates(copy);
}

TEST_F(NodeRegistryTest, AssignmentForgetsItsTemplatesWithoutDestroyingThemAndSharesTheOthers)
{
    const NodeTemplate* const sphere = registered(L"Sphere", 7);
    NodeRegistry other;
    const std::unique_ptr<NodeTemplate> light(give(other, makeTracedTemplate(L"Light", 8)));
    other = registry;
    EXPECT_EQ(destructions, 0);
    EXPECT_EQ(other.lookupNodeTemplate(7u), sphere);
    EXPECT_EQ(other.lookupNodeTemplate(8u), nullptr);
    EXPECT_EQ(other.lookupNodeTemplate(L"Light"), nullptr);
    forgetTemplates(other);
    EXPECT_EQ(registry.lookupNodeTemplate(7u), sphere);
}

TEST_F(NodeRegistryTest, AssignmentToItselfKeepsEverything)
{
    const NodeTemplate* const sphere = give(registry, makeTracedTemplate(L"Sphere", 7));
    registry = *&registry;
    EXPECT_EQ(destructions, 0);
    EXPECT_EQ(registry.lookupNodeTemplate(L"Sphere"), sphere);
}

// --- The memory report ---

/// Takes what is written to the standard wide output while it lives, and notes where it was flushed.
class WideOutput
{
public:
    WideOutput() : previous_(std::wcout.rdbuf(&buffer_)), previousLocale_(std::wcout.getloc()) {}
    WideOutput(const WideOutput&) = delete;
    WideOutput& operator=(const WideOutput&) = delete;
    ~WideOutput()
    {
        std::wcout.rdbuf(previous_);
        std::wcout.imbue(previousLocale_);
    }

    [[nodiscard]] std::wstring text() const { return buffer_.str(); }

    /// The text's length at each flush.
    [[nodiscard]] const std::vector<std::size_t>& flushes() const { return buffer_.flushes; }

private:
    class Buffer : public std::wstringbuf
    {
    public:
        std::vector<std::size_t> flushes;

    protected:
        int sync() override
        {
            flushes.push_back(str().size());
            return 0;
        }
    };

    Buffer buffer_;
    std::wstreambuf* previous_;
    std::locale previousLocale_;
};

std::vector<std::wstring> linesOf(const std::wstring& text)
{
    std::vector<std::wstring> lines;
    std::wistringstream stream(text);
    for (std::wstring line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::wstring requiresLine(const std::wstring& kind, const std::wstring& name, std::size_t bytes)
{
    return kind + L" type '" + name + L"' requires " + std::to_wstring(bytes) + L" bytes";
}

/// The report's lines before the node types.
std::vector<std::wstring> recordAndValueLines()
{
    std::vector<std::wstring> lines{L"sizeof(Attribute)        = " + std::to_wstring(sizeof(Attribute)),
                                    L"sizeof(Node)             = " + std::to_wstring(sizeof(Node)), L""};
    for (unsigned int id = 0; id < kAttributeTypeCount; ++id)
    {
        const auto type = static_cast<AttributeTypeId>(id);
        lines.push_back(
            requiresLine(L"Attribute", ValueInfo::getTypeName(type), ValueInfo::getMemoryRequirements(type).size));
    }
    lines.emplace_back();
    return lines;
}

TEST_F(NodeRegistryTest, TheReportOfAnEmptyRegistryListsRecordsAndValueTypes)
{
    std::vector<std::wstring> expected = recordAndValueLines();
    expected.emplace_back();
    const WideOutput output;
    registry.dumpMemoryRequirements();
    EXPECT_EQ(linesOf(output.text()), expected);
    EXPECT_EQ(output.text().back(), L'\n');
}

TEST_F(NodeRegistryTest, TheReportListsTheNodeTypesInTheSlotOrderOfTheirIds)
{
    constexpr unsigned int kRequestedCapacity = 128;
    UIntHashMap ids(kRequestedCapacity);
    for (unsigned int id = 0; id < 20; ++id)
    {
        auto nodeTemplate = makeTemplate((L"type " + std::to_wstring(id)).c_str(), id * 77);
        for (unsigned int matrix = 0; matrix < id; ++matrix)
        {
            const std::wstring name = L"m" + std::to_wstring(matrix);
            ASSERT_EQ(nodeTemplate->addAttribute(MatrixAttributeMetaDataDef(), name.c_str()), Status::kSuccess);
        }
        ASSERT_TRUE(ids.insert(id * 77, give(registry, std::move(nodeTemplate))));
    }
    std::vector<std::wstring> expected = recordAndValueLines();
    for (unsigned int slot = ids.firstSlot(); slot != UIntHashMap::kNoSlot; slot = ids.nextSlot(slot))
    {
        const auto& nodeTemplate = *static_cast<const NodeTemplate*>(ids.valueAt(slot));
        expected.push_back(
            requiresLine(L"Node", nodeTemplate.getTypeName().c_str(), nodeTemplate.getNodeMemoryRequirements().size));
    }
    expected.emplace_back();

    const WideOutput output;
    registry.dumpMemoryRequirements();
    EXPECT_EQ(linesOf(output.text()), expected);
}

TEST_F(NodeRegistryTest, EveryLineOfTheReportIsFlushed)
{
    registered(L"Sphere", 7);
    const WideOutput output;
    registry.dumpMemoryRequirements();
    std::vector<std::size_t> lineEnds;
    const std::wstring text = output.text();
    for (std::size_t i = 0; i < text.size(); ++i)
        if (text[i] == L'\n')
            lineEnds.push_back(i + 1);
    EXPECT_EQ(output.flushes(), lineEnds);
}

/// Writes 1000 as "1.000".
class GroupedNumbers : public std::numpunct<wchar_t>
{
protected:
    wchar_t do_thousands_sep() const override { return L'.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(NodeRegistryTest, TheReportDoesNotDependOnTheOutputsLocale)
{
    auto nodeTemplate = makeTemplate(L"Large", 7);
    for (unsigned int matrix = 0; matrix < 20; ++matrix)
    {
        const std::wstring name = L"m" + std::to_wstring(matrix);
        ASSERT_EQ(nodeTemplate->addAttribute(MatrixAttributeMetaDataDef(), name.c_str()), Status::kSuccess);
    }
    const std::uint32_t bytes = give(registry, std::move(nodeTemplate))->getNodeMemoryRequirements().size;
    ASSERT_GE(bytes, 1000u);
    const WideOutput output;
    std::wcout.imbue(std::locale(std::locale::classic(), new GroupedNumbers)); // the locale owns it
    registry.dumpMemoryRequirements();
    EXPECT_NE(output.text().find(requiresLine(L"Node", L"Large", bytes)), std::wstring::npos);
}

TEST_F(NodeRegistryTest, ATypeNameOutsideOfAsciiIsReported)
{
    registered(L"Sph\u00E4re \u20AC", 7);
    const WideOutput output;
    registry.dumpMemoryRequirements();
    EXPECT_NE(output.text().find(L"Node type 'Sph\u00E4re \u20AC' requires "), std::wstring::npos);
}

} // namespace
