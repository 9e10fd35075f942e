#include "EveryOperation.h"

#include <gtest/gtest.h>

namespace db2test {

Operands::Operands(Scene& stage)
    : scene(stage), node(stage.node(L"node")), sibling(stage.node(L"sibling")), leaf(stage.node(L"leaf")),
      dynamic(stage.dynamicAttribute(IntAttributeMetaDataDef(), L"extra", node)),
      array(node->findAttributeArrayByName(L"IntItems")), value(node->findAttributeByName(L"Float")),
      referenced(sibling->findAttributeByName(L"Int")), free(node->findAttributeByName(L"Int")),
      referencer(node->findAttributeByName(L"Bool")), locked(node->findAttributeByName(L"String")),
      lockedArray(node->findAttributeArrayByName(L"FloatItems")), outNode(node), outElement(dynamic), outValues(this)
{
    CoreManager& core = stage.core();
    EXPECT_EQ(core.db_createReference(referenced, referencer, false), Status::kSuccess);
    EXPECT_EQ(core.db_resizeAttributeArray(lockedArray, 2), Status::kSuccess);
}

const std::vector<Operation>& everyOperation()
{
    static const std::vector<Operation> operations{
        {"db_createNode",
         [](DataInterface& data, Operands& with) {
             return data.db_createNode(Scene::kAll, L"made", with.node, nullptr, &with.outNode);
         }},
        {"db_createUnknownNode",
         [](DataInterface& data, Operands& with) {
             return data.db_createUnknownNode(L"Gone", with.scene.module(), L"made", with.node, nullptr, false,
                                              &with.outNode);
         }},
        {"db_destroyLeafNode", [](DataInterface& data, Operands& with) { return data.db_destroyLeafNode(with.leaf); }},
        {"db_renameNode",
         [](DataInterface& data, Operands& with) { return data.db_renameNode(with.node, L"renamed"); }},
        {"db_reparentNode",
         [](DataInterface& data, Operands& with) {
             return data.db_reparentNode(with.node, with.sibling, nullptr, nullptr);
         }},
        {"db_reorderNode",
         [](DataInterface& data, Operands& with) { return data.db_reorderNode(with.sibling, nullptr); }},
        {"db_createDynamicElement",
         [](DataInterface& data, Operands& with) {
             return data.db_createDynamicElement(IntAttributeMetaDataDef(), L"made", with.node, nullptr,
                                                 &with.outElement);
         }},
        {"db_destroyDynamicElement",
         [](DataInterface& data, Operands& with) { return data.db_destroyDynamicElement(with.dynamic); }},
        {"db_renameDynamicElement",
         [](DataInterface& data, Operands& with) { return data.db_renameDynamicElement(with.dynamic, L"renamed"); }},
        {"db_resizeAttributeArray",
         [](DataInterface& data, Operands& with) { return data.db_resizeAttributeArray(with.array, 3); }},
        {"db_createReference",
         [](DataInterface& data, Operands& with) {
             return data.db_createReference(with.referenced, with.free, false);
         }},
        {"db_destroyReference",
         [](DataInterface& data, Operands& with) { return data.db_destroyReference(with.referencer); }},
        {"db_lockAttribute",
         [](DataInterface& data, Operands& with) { return data.db_lockAttribute(with.value, &with.outValue); }},
        {"db_unlockAttribute",
         [](DataInterface& data, Operands& with) { return data.db_unlockAttribute(with.locked); }},
        {"db_lockAttributeArray",
         [](DataInterface& data, Operands& with) { return data.db_lockAttributeArray(with.array, &with.outValues); }},
        {"db_unlockAttributeArray",
         [](DataInterface& data, Operands& with) { return data.db_unlockAttributeArray(with.lockedArray); }},
        {"db_commit", [](DataInterface& data, Operands&) { return data.db_commit(L"why", L"where", 1); }},
        {"db_commitTransient", [](DataInterface& data, Operands&) { return data.db_commitTransient(); }},
        {"db_clear", [](DataInterface& data, Operands&) { return data.db_clear(); }},
    };
    return operations;
}

Status callUnlocked(const Operation& operation, DataInterface& data, Operands& with)
{
    CoreManager& core = with.scene.core();
    ValueHandle value;
    void* values = nullptr;
    if (operation.name == "db_unlockAttribute")
    {
        EXPECT_EQ(core.db_lockAttribute(with.locked, &value), Status::kSuccess);
    }
    if (operation.name == "db_unlockAttributeArray")
    {
        EXPECT_EQ(core.db_lockAttributeArray(with.lockedArray, &values), Status::kSuccess);
    }
    const Status status = operation.call(data, with);
    if (operation.name == "db_lockAttribute")
    {
        EXPECT_EQ(core.db_unlockAttribute(with.value), Status::kSuccess);
    }
    if (operation.name == "db_lockAttributeArray")
    {
        EXPECT_EQ(core.db_unlockAttributeArray(with.array), Status::kSuccess);
    }
    return status;
}

} // namespace db2test
