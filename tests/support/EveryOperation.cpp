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

// --- RefusingLayer ---

Status RefusingLayer::db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode)
{
    return answerOr([&] { return ForwardingLayer::db_createNode(typeId, name, parent, next, outNode); });
}

Status RefusingLayer::db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name,
                                           Node* parent, Node* next, bool legacy, Node** outNode)
{
    return answerOr(
        [&] { return ForwardingLayer::db_createUnknownNode(typeName, module, name, parent, next, legacy, outNode); });
}

Status RefusingLayer::db_destroyLeafNode(Node* node)
{
    return answerOr([&] { return ForwardingLayer::db_destroyLeafNode(node); });
}

Status RefusingLayer::db_renameNode(Node* node, const wchar_t* name)
{
    return answerOr([&] { return ForwardingLayer::db_renameNode(node, name); });
}

Status RefusingLayer::db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name)
{
    return answerOr([&] { return ForwardingLayer::db_reparentNode(node, newParent, next, name); });
}

Status RefusingLayer::db_reorderNode(Node* node, Node* next)
{
    return answerOr([&] { return ForwardingLayer::db_reorderNode(node, next); });
}

Status RefusingLayer::db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                              Element* next, Element** outElement)
{
    return answerOr([&] { return ForwardingLayer::db_createDynamicElement(definition, name, node, next, outElement); });
}

Status RefusingLayer::db_destroyDynamicElement(Element* element)
{
    return answerOr([&] { return ForwardingLayer::db_destroyDynamicElement(element); });
}

Status RefusingLayer::db_renameDynamicElement(Element* element, const wchar_t* name)
{
    return answerOr([&] { return ForwardingLayer::db_renameDynamicElement(element, name); });
}

Status RefusingLayer::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    return answerOr([&] { return ForwardingLayer::db_resizeAttributeArray(array, size); });
}

Status RefusingLayer::db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput)
{
    return answerOr([&] { return ForwardingLayer::db_createReference(referenced, referencer, singleOutput); });
}

Status RefusingLayer::db_destroyReference(Attribute* referencer)
{
    return answerOr([&] { return ForwardingLayer::db_destroyReference(referencer); });
}

Status RefusingLayer::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    return answerOr([&] { return ForwardingLayer::db_lockAttribute(attribute, outValue); });
}

Status RefusingLayer::db_unlockAttribute(Attribute* attribute)
{
    return answerOr([&] { return ForwardingLayer::db_unlockAttribute(attribute); });
}

Status RefusingLayer::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    return answerOr([&] { return ForwardingLayer::db_lockAttributeArray(array, outValues); });
}

Status RefusingLayer::db_unlockAttributeArray(AttributeArray* array)
{
    return answerOr([&] { return ForwardingLayer::db_unlockAttributeArray(array); });
}

Status RefusingLayer::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    return answerOr([&] { return ForwardingLayer::db_commit(description, file, line); });
}

Status RefusingLayer::db_commitTransient()
{
    return answerOr([&] { return ForwardingLayer::db_commitTransient(); });
}

Status RefusingLayer::db_clear()
{
    return answerOr([&] { return ForwardingLayer::db_clear(); });
}

} // namespace db2test
