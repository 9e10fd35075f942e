// A subtree copied through the layers, in a unit of work with its commit.

#include "Benchmarks.h"
#include "DatabaseEditor.h"
#include "Document.h"
#include "FloorEditor.h"
#include "Measure.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

namespace db2bench {
namespace {

FloorEditor::NodeRef copyTop(FloorEditor& floor)
{
    return floor.copy(topOf(floor), "copy");
}

DatabaseEditor::NodeRef copyTop(DatabaseEditor& editor)
{
    return db2::dbu_copyNodeRecursively(nullptr, topOf(editor), &editor.outermostLayer(), &editor.tree().core(),
                                        nullptr, nullptr, nullptr, L"copy", false);
}

/// Those below @p top, parents before children. Two subtrees that are alike give their nodes in one order.
template <class Side>
std::vector<typename Side::NodeRef> nodesBelow(typename Side::NodeRef top)
{
    std::vector<typename Side::NodeRef> nodes{top};
    for (std::size_t i = 0; i < nodes.size(); ++i)
        Side::forEachChild(nodes[i], [&nodes](auto child) { nodes.push_back(child); });
    nodes.erase(nodes.begin());
    return nodes;
}

/// The document's nodes stand in their order again, each followed by what stands in its place in the copy.
template <class Side>
bool isCopy(Document<Side>& document, typename Side::NodeRef copy)
{
    const auto originals = nodesBelow<Side>(topOf(*document.side));
    const auto copies = nodesBelow<Side>(copy);
    if (originals.size() != document.nodes.size() || copies.size() != originals.size())
        return false;
    Values<typename Side::Character> wanted;
    for (std::size_t i = 0; i < copies.size(); ++i)
    {
        wanted.setSerial(static_cast<std::size_t>(Side::f0(originals[i]) * 4));
        if (copies[i] == originals[i] || Side::nameOf(copies[i]) != Side::nameOf(originals[i]) ||
            !Side::holds(copies[i], wanted))
            return false;
    }
    return true;
}

template <class Side>
void copyValuesPass(benchmark::State& state, std::size_t count)
{
    Document<Side> document = makeDocumentUnderTop<Side>(Shape::kTree, count);
    typename Side::NodeRef copy = nullptr;
    measure(state, count, [&] {
        document.side->begin(count);
        copy = copyTop(*document.side);
        document.side->commit();
    });
    require(state, copy != nullptr && isCopy(document, copy), "the copy is another than the original");
}

db2::Attribute* referencedBy(db2::Node* node)
{
    return DatabaseTree::attribute(node, 1)->getReference();
}

/// The second value of every node references the first one of a node somewhere in the subtree. The floor has no
/// references.
void copyReferencesPass(benchmark::State& state, std::size_t count)
{
    Document<DatabaseEditor> document = makeDocumentUnderTop<DatabaseEditor>(Shape::kTree, count);
    const auto originals = nodesBelow<DatabaseEditor>(topOf(*document.side));
    std::vector<std::uint32_t> referenced(count);
    std::iota(referenced.begin(), referenced.end(), 0u);
    std::shuffle(referenced.begin(), referenced.end(), std::mt19937(42));
    bool right = true;
    for (std::size_t i = 0; i < count; ++i)
        right = document.side->outermostLayer().db_createReference(DatabaseTree::attribute(originals[referenced[i]], 0),
                                                                   DatabaseTree::attribute(originals[i], 1),
                                                                   false) == db2::Status::kSuccess &&
                right;
    document.side->settle();

    db2::Node* copy = nullptr;
    measure(state, count, [&] {
        copy = copyTop(*document.side);
        document.side->commit();
    });
    require(state, copy != nullptr, "no copy");
    if (copy == nullptr)
        return;
    const auto copies = nodesBelow<DatabaseEditor>(copy);
    right = right && copies.size() == count;
    for (std::size_t i = 0; right && i < count; ++i)
        right = referencedBy(copies[i]) == DatabaseTree::attribute(copies[referenced[i]], 0) &&
                DatabaseEditor::f0(copies[i]) == DatabaseEditor::f0(originals[i]);
    require(state, right, "a reference is missing");
}

} // namespace

void addCopyBenchmarks()
{
    const auto counts = {std::size_t{10'000}, std::size_t{100'000}, std::size_t{1'000'000}};
    addBenchmark("copy", "values", FloorEditor::kSide, copyValuesPass<FloorEditor>, counts);
    addBenchmark("copy", "values", DatabaseEditor::kSide, copyValuesPass<DatabaseEditor>, counts);
    addBenchmark("copy", "references", DatabaseEditor::kSide, copyReferencesPass, counts);
}

} // namespace db2bench
