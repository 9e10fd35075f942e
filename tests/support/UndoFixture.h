#pragma once

#include "Scene.h"
#include "TreeDump.h"
#include "UndoProbe.h"

#include <db2/UndoManager.h>

#include <gtest/gtest.h>

#include <string>

namespace db2test {

/// A scene that is edited through an undo layer, with a probe between that layer and the core.
class UndoFixture : public ::testing::Test
{
protected:
    // --- Edits through the undo layer, which must succeed ---

    Node* node(const wchar_t* name, Node* parent = nullptr, Node* next = nullptr, unsigned int typeId = Scene::kAll)
    {
        Node* made = nullptr;
        EXPECT_EQ(undo.db_createNode(typeId, name, parent, next, &made), Status::kSuccess);
        return made;
    }

    void destroy(Node* node) { EXPECT_EQ(undo.db_destroyLeafNode(node), Status::kSuccess); }
    void rename(Node* node, const wchar_t* name) { EXPECT_EQ(undo.db_renameNode(node, name), Status::kSuccess); }

    void resize(AttributeArray* array, unsigned int size)
    {
        EXPECT_EQ(undo.db_resizeAttributeArray(array, size), Status::kSuccess);
    }

    Element* dynamicElement(const wchar_t* name, Node* node, bool isArray = false, Element* next = nullptr)
    {
        StringAttributeMetaDataDef definition;
        definition.setArray(isArray);
        Element* made = nullptr;
        EXPECT_EQ(undo.db_createDynamicElement(definition, name, node, next, &made), Status::kSuccess);
        return made;
    }

    void write(Attribute* attribute, float value)
    {
        ValueHandle handle;
        ASSERT_EQ(undo.db_lockAttribute(attribute, &handle), Status::kSuccess);
        handle.getFloat() = value;
        EXPECT_EQ(undo.db_unlockAttribute(attribute), Status::kSuccess);
    }

    void write(Attribute* attribute, const wchar_t* value)
    {
        ValueHandle handle;
        ASSERT_EQ(undo.db_lockAttribute(attribute, &handle), Status::kSuccess);
        handle.getString() = value;
        EXPECT_EQ(undo.db_unlockAttribute(attribute), Status::kSuccess);
    }

    void writeItems(AttributeArray* floats, float value)
    {
        void* values = nullptr;
        ASSERT_EQ(undo.db_lockAttributeArray(floats, &values), Status::kSuccess);
        for (unsigned int i = 0; i < floats->getSize(); ++i)
            static_cast<float*>(values)[i] = value;
        EXPECT_EQ(undo.db_unlockAttributeArray(floats), Status::kSuccess);
    }

    void commit(const wchar_t* description = L"edit")
    {
        EXPECT_EQ(undo.db_commit(description, L"test", 1), Status::kSuccess);
    }

    /// Ends what a test builds on: nothing is open, and there is no history.
    void settle()
    {
        commit();
        undo.clearUndoHistory();
        commit();
        below.take();
        below.takeCommits();
    }

    void expectUndone()
    {
        EXPECT_EQ(undo.undo(), Status::kSuccess);
        EXPECT_TRUE(undo.lastReplayWasComplete());
    }

    void expectRedone()
    {
        EXPECT_EQ(undo.redo(), Status::kSuccess);
        EXPECT_TRUE(undo.lastReplayWasComplete());
    }

    // --- What there is ---

    /// The tree without what an inverse may leave changed.
    [[nodiscard]] std::wstring dump() { return dumpTree(core, DumpDetail::kContent); }

    /// Commits, and says how many operations the unit recorded; 0 when it recorded none.
    unsigned int operationsOfCommit()
    {
        const unsigned int items = undo.getUndoStackSize();
        commit();
        return undo.getUndoStackSize() == items ? 0 : undo.getNumUndoOperations(items);
    }

    static Attribute* floatOf(Node* node) { return node->findAttributeByName(L"Float"); }
    static Attribute* textOf(Node* node) { return node->findAttributeByName(L"String"); }
    static AttributeArray* floatsOf(Node* node) { return node->findAttributeArrayByName(L"FloatItems"); }

    Scene scene;
    CoreManager& core = scene.core();
    UndoProbe below{&core};
    UndoManager undo{&below, core};
};

} // namespace db2test
