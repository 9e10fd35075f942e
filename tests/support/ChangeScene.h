#pragma once

#include "ChangeLists.h"
#include "EveryOperation.h"
#include "Scene.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace db2test {

using Lines = std::vector<std::wstring>;

/// A scene whose edits pass through a ChangeManager. Nodes that the scene makes itself go past it, into the core, so they
/// are there before the unit of work. After each case the bits on all objects are compared with the lists.
class ChangeScene : public ::testing::Test
{
protected:
    void TearDown() override { expectBitsInStep(scene.core(), changes); }

    /// What is recorded so far.
    [[nodiscard]] Lines recorded() const { return changesOf(changes); }

    // --- Edits through the layer; they must succeed ---

    Node* create(const wchar_t* name, Node* parent = nullptr)
    {
        Node* node = nullptr;
        EXPECT_EQ(data.db_createNode(Scene::kAll, name, parent, nullptr, &node), Status::kSuccess);
        return node;
    }
    void destroy(Node* node) { EXPECT_EQ(data.db_destroyLeafNode(node), Status::kSuccess); }
    void rename(Node* node, const wchar_t* name) { EXPECT_EQ(data.db_renameNode(node, name), Status::kSuccess); }
    void reparent(Node* node, Node* newParent)
    {
        EXPECT_EQ(data.db_reparentNode(node, newParent, nullptr, nullptr), Status::kSuccess);
    }
    void moveLast(Node* node) { EXPECT_EQ(data.db_reorderNode(node, nullptr), Status::kSuccess); }

    Element* createElement(const wchar_t* name, Node* node, bool isArray = false)
    {
        IntAttributeMetaDataDef definition;
        definition.setArray(isArray);
        Element* element = nullptr;
        EXPECT_EQ(data.db_createDynamicElement(definition, name, node, nullptr, &element), Status::kSuccess);
        return element;
    }
    void destroy(Element* element) { EXPECT_EQ(data.db_destroyDynamicElement(element), Status::kSuccess); }
    void rename(Element* element, const wchar_t* name)
    {
        EXPECT_EQ(data.db_renameDynamicElement(element, name), Status::kSuccess);
    }
    void resize(Element* array, unsigned int size)
    {
        EXPECT_EQ(data.db_resizeAttributeArray(static_cast<AttributeArray*>(array), size), Status::kSuccess);
    }
    void reference(Attribute* referenced, Attribute* referencer)
    {
        EXPECT_EQ(data.db_createReference(referenced, referencer, false), Status::kSuccess);
    }
    void endReference(Attribute* referencer) { EXPECT_EQ(data.db_destroyReference(referencer), Status::kSuccess); }
    void write(Attribute* attribute)
    {
        ValueHandle value;
        EXPECT_EQ(data.db_lockAttribute(attribute, &value), Status::kSuccess);
        EXPECT_EQ(data.db_unlockAttribute(attribute), Status::kSuccess);
    }
    void write(AttributeArray* array)
    {
        void* values = nullptr;
        EXPECT_EQ(data.db_lockAttributeArray(array, &values), Status::kSuccess);
        EXPECT_EQ(data.db_unlockAttributeArray(array), Status::kSuccess);
    }
    void commit() { EXPECT_EQ(data.db_commit(L"test", L"ChangeScene.h", 1), Status::kSuccess); }

    Scene scene;
    RefusingLayer next{&scene.core()};
    ConcreteChangeSet changes;
    ConcreteChangeSet snapshot;
    ChangeManager reports{&next, changes, snapshot};
    DataInterface& data = reports;
};

} // namespace db2test
