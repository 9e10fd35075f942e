#include "DatabaseTree.h"

#include <benchmark/benchmark.h>

#include <array>
#include <stdexcept>

namespace db2bench {
namespace {

void mustSucceed(db2::Status status)
{
    if (status != db2::Status::kSuccess)
        throw std::runtime_error("the node types of the benchmarks were refused");
}

/// Named by every type, and registered, because a load looks for the module of each node. The library owns it.
const db2::Module& benchModule()
{
    static const db2::Module* const module = [] {
        auto* const made = new db2::Module;
        made->setId(L"bench");
        made->setDataVersion(1);
        mustSucceed(db2::registerModule(made));
        return made;
    }();
    return *module;
}

db2::NodeTemplate* makeType(const wchar_t* name, DatabaseTree::TypeId typeId)
{
    return new db2::NodeTemplate(name, typeId, benchModule());
}

/// The compute function of kComputed.
void computeWorld(db2::DataInterface& data, db2::Node&, db2::Element** elements, void*)
{
    const auto valueOf = [elements](DatabaseTree::ComputedElement index) {
        return static_cast<const db2::Attribute*>(elements[index])->getValue().getFloat();
    };
    auto* const world = static_cast<db2::Attribute*>(elements[DatabaseTree::kWorld]);
    db2::ValueHandle value;
    if (data.db_lockAttribute(world, &value) != db2::Status::kSuccess)
        return;
    value.getFloat() = valueOf(DatabaseTree::kParentWorld) + valueOf(DatabaseTree::kLocal);
    data.db_unlockAttribute(world);
}

bool equals(const kqx::Matrix& matrix, const std::array<float, 16>& wanted)
{
    for (std::size_t k = 0; k < wanted.size(); ++k)
        if (matrix.m[k / 4][k % 4] != wanted[k])
            return false;
    return true;
}

} // namespace

DatabaseTree::Registry::Registry()
{
    const db2::FloatAttributeMetaDataDef floatDefinition;
    auto* const eight = makeType(L"EightAttributes", kEightAttributes);
    mustSucceed(eight->addAttribute(floatDefinition, L"f0"));
    mustSucceed(eight->addAttribute(floatDefinition, L"f1"));
    mustSucceed(eight->addAttribute(db2::IntAttributeMetaDataDef(), L"i"));
    mustSucceed(eight->addAttribute(db2::BoolAttributeMetaDataDef(), L"b"));
    mustSucceed(eight->addAttribute(db2::StringAttributeMetaDataDef(), L"s"));
    mustSucceed(eight->addAttribute(db2::Vector3AttributeMetaDataDef(), L"v"));
    mustSucceed(eight->addAttribute(db2::MatrixAttributeMetaDataDef(), L"m"));
    mustSucceed(eight->addAttribute(db2::ColourAttributeMetaDataDef(), L"c"));
    mustSucceed(registerNodeTemplate(eight));

    auto* const one = makeType(L"OneFloat", kOneFloat);
    mustSucceed(one->addAttribute(floatDefinition, L"value"));
    mustSucceed(registerNodeTemplate(one));

    db2::FloatAttributeMetaDataDef arrayDefinition;
    arrayDefinition.setArray(true);
    auto* const array = makeType(L"FloatArray", kFloatArray);
    mustSucceed(array->addAttribute(arrayDefinition, L"values"));
    mustSucceed(registerNodeTemplate(array));

    db2::FloatAttributeMetaDataDef localDefinition;
    localDefinition.setDefaultValue(1.0f);
    constexpr std::array<unsigned int, 3> inputs = {kLocal, kParentWorld, db2::NodeTemplate::kEndOfList};
    constexpr std::array<unsigned int, 2> outputs = {kWorld, db2::NodeTemplate::kEndOfList};
    auto* const computed = makeType(L"Computed", kComputed);
    mustSucceed(computed->addAttribute(localDefinition, L"local"));
    mustSucceed(computed->addAttribute(floatDefinition, L"parentWorld"));
    mustSucceed(computed->addAttribute(floatDefinition, L"world"));
    mustSucceed(computed->addComputeSet(inputs.data(), outputs.data(), computeWorld, nullptr));
    mustSucceed(registerNodeTemplate(computed));
}

DatabaseTree::DatabaseTree() : data_(&core_)
{
    benchmark::DoNotOptimize(data_);
}

bool DatabaseTree::write(NodeRef node, const Values<wchar_t>& values)
{
    using db2::ValueHandle;
    return edit(node, kF0, [&](const ValueHandle& to) { to.getFloat() = values.f0; }) &&
           edit(node, kF1, [&](const ValueHandle& to) { to.getFloat() = values.f1; }) &&
           edit(node, kI, [&](const ValueHandle& to) { to.getInt() = values.i; }) &&
           edit(node, kB, [&](const ValueHandle& to) { to.getBool() = values.b; }) &&
           edit(node, kS, [&](const ValueHandle& to) { to.getString() = values.s.c_str(); }) &&
           edit(node, kV,
                [&](const ValueHandle& to) {
                    to.getVector3() = {values.v[0], values.v[1], values.v[2]};
                }) &&
           edit(node, kM,
                [&](const ValueHandle& to) {
                    for (std::size_t k = 0; k < values.m.size(); ++k)
                        to.getMatrix().m[k / 4][k % 4] = values.m[k];
                }) &&
           edit(node, kC, [&](const ValueHandle& to) {
               to.getColour() = {values.c[0], values.c[1], values.c[2], values.c[3]};
           });
}

bool DatabaseTree::writeF0(NodeRef node, float value)
{
    return edit(node, kF0, [value](const db2::ValueHandle& to) { to.getFloat() = value; });
}

bool DatabaseTree::holds(NodeRef node, const Values<wchar_t>& values)
{
    const auto value = [node](ElementIndex index) { return attribute(node, index)->getValue(); };
    return value(kF0).asFloat() == values.f0 && value(kF1).asFloat() == values.f1 && value(kI).asInt() == values.i &&
           value(kB).asBool() == values.b && value(kS).asString() == values.s.c_str() &&
           value(kV).asVector3() == kqx::Vector3(values.v[0], values.v[1], values.v[2]) &&
           equals(value(kM).asMatrix(), values.m) &&
           value(kC).asColour() == kqx::Colour(values.c[0], values.c[1], values.c[2], values.c[3]);
}

bool DatabaseTree::destroyAll()
{
    bool done = true;
    for (db2::NodeIteratorPostOrder nodes(core_.getRoot()); nodes.next();)
        done = data_->db_destroyLeafNode(nodes.node()) == db2::Status::kSuccess && done;
    return data_->db_commit(L"destroy all", L"bench", 1) == db2::Status::kSuccess && done;
}

} // namespace db2bench
