// A layer of a host's own, which refuses edits of what its users have locked, and the check that it is a good layer.

#include <db2/db2.h>
#include <db2/testing/LayerConformance.h>

#include <cstdio>
#include <memory>

namespace {

constexpr unsigned int kShapeType = 1;

/// Nodes with this flag, and all below them, keep their names, places and values.
const unsigned int kFrozen = db2::registerNodeFlagType();

/// Refuses with kFailure to rename, move, destroy or write what is frozen. Everything else passes through.
class FreezeLayer : public db2::ForwardingLayer
{
public:
    explicit FreezeLayer(db2::DataInterface* nextLayer) : ForwardingLayer(nextLayer) {}

    db2::Status db_destroyLeafNode(db2::Node* node) override
    {
        return isFrozen(node) ? db2::Status::kFailure : ForwardingLayer::db_destroyLeafNode(node);
    }
    db2::Status db_renameNode(db2::Node* node, const wchar_t* name) override
    {
        return isFrozen(node) ? db2::Status::kFailure : ForwardingLayer::db_renameNode(node, name);
    }
    db2::Status db_reparentNode(db2::Node* node, db2::Node* newParent, db2::Node* next, const wchar_t* name) override
    {
        if (isFrozen(node) || isFrozen(newParent))
            return db2::Status::kFailure;
        return ForwardingLayer::db_reparentNode(node, newParent, next, name);
    }
    db2::Status db_lockAttribute(db2::Attribute* attribute, db2::ValueHandle* outValue) override
    {
        if (attribute != nullptr && isFrozen(attribute->getNode()))
            return db2::Status::kFailure;
        return ForwardingLayer::db_lockAttribute(attribute, outValue);
    }

private:
    static bool isFrozen(const db2::Node* node) // null is not: the core says what is wrong with it
    {
        while (node != nullptr && !node->hasFlag(kFrozen))
            node = node->getParent();
        return node != nullptr;
    }
};

} // namespace

int main()
{
    const auto findings = db2::conformance::checkLayer(
        [](db2::DataInterface* nextLayer, db2::CoreManager&) { return std::make_unique<FreezeLayer>(nextLayer); });
    for (const db2::conformance::Finding& finding : findings)
        std::puts(finding.text().c_str());
    std::printf("FreezeLayer: %zu findings\n", findings.size());

    const db2::Module module;
    db2::NodeRegistry registry;
    registry.registerNodeTemplate(new db2::NodeTemplate(L"Shape", kShapeType, module));
    db2::CoreManager core(registry, kShapeType);
    FreezeLayer data(&core);
    db2::Node* logo = nullptr;
    db2::Node* stroke = nullptr;
    data.db_createNode(kShapeType, L"logo", nullptr, nullptr, &logo);
    data.db_createNode(kShapeType, L"stroke", logo, nullptr, &stroke);

    logo->setFlag(kFrozen);
    const bool refused = data.db_renameNode(stroke, L"line") == db2::Status::kFailure;
    logo->clearFlag(kFrozen);
    const bool renamed = data.db_renameNode(stroke, L"line") == db2::Status::kSuccess;
    std::printf("renamed while frozen: %s, afterwards: %s\n", refused ? "no" : "yes", renamed ? "yes" : "no");
    return findings.empty() && refused && renamed ? 0 : 1;
}
