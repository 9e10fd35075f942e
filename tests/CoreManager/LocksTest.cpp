#include "support/Scene.h"
#include "support/TreeDump.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace db2test {
namespace {

constexpr const wchar_t* kLockText = L"Attribute locking/unlocking must be an atomic operation.";

class CoreManagerLocksTest : public ::testing::Test
{
protected:
    ValueHandle lock(Attribute* attribute)
    {
        ValueHandle value;
        EXPECT_EQ(core.db_lockAttribute(attribute, &value), Status::kSuccess);
        return value;
    }

    void unlock(Attribute* attribute) { EXPECT_EQ(core.db_unlockAttribute(attribute), Status::kSuccess); }

    void* lock(AttributeArray* array)
    {
        void* values = nullptr;
        EXPECT_EQ(core.db_lockAttributeArray(array, &values), Status::kSuccess);
        return values;
    }

    void unlock(AttributeArray* array) { EXPECT_EQ(core.db_unlockAttributeArray(array), Status::kSuccess); }

    AttributeArray* items(const wchar_t* name, unsigned int size)
    {
        AttributeArray* const array = node->findAttributeArrayByName(name);
        EXPECT_EQ(core.db_resizeAttributeArray(array, size), Status::kSuccess);
        return array;
    }

    Scene scene;
    CoreManager& core = scene.core();
    Node* node = scene.node(L"node");
    Attribute* integer = node->findAttributeByName(L"Int");
    Attribute* text = node->findAttributeByName(L"String");
};

// --- One attribute ---

TEST_F(CoreManagerLocksTest, ALockHandsOutTheAttributesOwnValueToWrite)
{
    const ValueHandle value = lock(integer);
    EXPECT_EQ(value.getTypeId(), AttributeType::kInt);
    EXPECT_EQ(value.getData(), integer->getValue().getData());
    value.getInt() = 12;
    unlock(integer);
    EXPECT_EQ(integer->getValue().getInt(), 12);
}

TEST_F(CoreManagerLocksTest, ValuesOfEveryTypeCanBeLocked)
{
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        auto* const attribute = static_cast<Attribute*>(node->getElement(type));
        SCOPED_TRACE(testing::Message() << attribute->getName());
        const ValueHandle value = lock(attribute);
        EXPECT_EQ(value.getTypeId(), static_cast<AttributeTypeId>(type));
        EXPECT_EQ(value.getData(), attribute->getValue().getData());
        unlock(attribute);
    }
}

TEST_F(CoreManagerLocksTest, AReferencedAttributeCanBeWritten)
{
    Attribute* const reader = scene.node(L"reader")->findAttributeByName(L"Int");
    ASSERT_EQ(core.db_createReference(integer, reader, false), Status::kSuccess);
    lock(integer).getInt() = 3;
    unlock(integer);
    EXPECT_EQ(reader->getValue().getInt(), 3);
}

TEST_F(CoreManagerLocksTest, AnItemOfAnArrayCanBeLockedByItself)
{
    AttributeArray* const array = items(L"StringItems", 2);
    lock(array->getAttribute(1)).getString() = L"one";
    EXPECT_FALSE(array->isLocked());
    EXPECT_FALSE(array->getAttribute(0)->isLocked());
    unlock(array->getAttribute(1));
    EXPECT_EQ(array->getAttribute(1)->getValue().getString(), L"one");
}

TEST_F(CoreManagerLocksTest, AFailedLockLeavesNoneOutstanding)
{
    Attribute* const reader = scene.node(L"reader")->findAttributeByName(L"Int");
    ASSERT_EQ(core.db_createReference(integer, reader, false), Status::kSuccess);
    ValueHandle value;
    ASSERT_EQ(core.db_lockAttribute(reader, &value), Status::kLockReferencer);
    ASSERT_EQ(core.db_lockAttribute(integer, nullptr), Status::kNullLockOutput);
    void* values = nullptr;
    ASSERT_EQ(core.db_lockAttributeArray(items(L"StringItems", 1), &values), Status::kLockArrayNotPlainData);
    EXPECT_FALSE(core.isLockOutstanding());
    EXPECT_FALSE(integer->isLocked());
    EXPECT_EQ(scene.commit(), Status::kSuccess);
}

// --- Outstanding locks ---

TEST_F(CoreManagerLocksTest, EveryEditIsRefusedBetweenALockAndItsUnlock)
{
    Node* const other = scene.node(L"other");
    Element* const extra = scene.dynamicAttribute(IntAttributeMetaDataDef(), L"extra", node);
    Attribute* const reader = other->findAttributeByName(L"Int");
    ASSERT_EQ(core.db_createReference(integer, reader, false), Status::kSuccess);
    AttributeArray* const array = items(L"IntItems", 2);
    Element* old = nullptr;
    ASSERT_EQ(core.createLegacyElement(IntAttributeMetaDataDef(), L"old", node, &old), Status::kSuccess);
    Node* const unknown = scene.unknownNode(L"unknown");
    Node* const leaf = scene.node(L"leaf");

    // In an order in which each is possible once the lock is gone, so that nothing but the lock was wrong.
    struct Edit
    {
        const char* name;
        std::function<Status()> perform;
    };
    const IntAttributeMetaDataDef definition;
    const Edit kEdits[] = {
        {"db_createNode", [&] { return core.db_createNode(Scene::kAll, L"new", nullptr, nullptr, nullptr); }},
        {"db_createUnknownNode",
         [&] { return core.db_createUnknownNode(L"Gone", scene.module(), L"new", nullptr, nullptr, false, nullptr); }},
        {"db_destroyLeafNode", [&] { return core.db_destroyLeafNode(leaf); }},
        {"db_renameNode", [&] { return core.db_renameNode(other, L"renamed"); }},
        {"db_reparentNode", [&] { return core.db_reparentNode(other, node, nullptr, nullptr); }},
        {"db_reorderNode", [&] { return core.db_reorderNode(node, nullptr); }},
        {"db_createDynamicElement",
         [&] { return core.db_createDynamicElement(definition, L"new", node, nullptr, nullptr); }},
        {"db_renameDynamicElement", [&] { return core.db_renameDynamicElement(extra, L"renamed"); }},
        {"db_destroyDynamicElement", [&] { return core.db_destroyDynamicElement(extra); }},
        {"db_resizeAttributeArray", [&] { return core.db_resizeAttributeArray(array, 5); }},
        {"db_createReference",
         [&] { return core.db_createReference(integer, node->findAttributeByName(L"Float"), false); }},
        {"db_destroyReference", [&] { return core.db_destroyReference(reader); }},
        {"createUnknownElement", [&] { return core.createUnknownElement(definition, L"new", unknown, nullptr); }},
        {"createLegacyElement", [&] { return core.createLegacyElement(definition, L"new", node, nullptr); }},
        {"destroyLegacyElement", [&] { return core.destroyLegacyElement(old); }},
        {"db_commit", [&] { return core.db_commit(L"", L"", 1); }},
        {"db_commitTransient", [&] { return core.db_commitTransient(); }},
        {"db_clear", [&] { return core.db_clear(); }}};

    lock(integer);
    const std::wstring before = dumpTree(core);
    scene.log().take();
    for (const Edit& edit : kEdits)
    {
        SCOPED_TRACE(edit.name);
        EXPECT_EQ(edit.perform(), Status::kLockOutstanding);
        EXPECT_TRUE(scene.log().tookError(kLockText));
    }
    EXPECT_TRUE(isSameDump(before, dumpTree(core)));

    unlock(integer);
    for (const Edit& edit : kEdits)
    {
        SCOPED_TRACE(edit.name);
        EXPECT_EQ(edit.perform(), Status::kSuccess);
    }
    EXPECT_TRUE(scene.log().take().empty());
}

TEST_F(CoreManagerLocksTest, CreatingANodeIsRefusedWithALogLineUntilTheUnlock)
{
    lock(integer);
    scene.log().take();
    EXPECT_EQ(core.db_createNode(Scene::kPlain, L"new", nullptr, nullptr, nullptr), Status::kLockOutstanding);
    EXPECT_TRUE(scene.log().tookError(kLockText));
    unlock(integer);
    EXPECT_EQ(core.db_createNode(Scene::kPlain, L"new", nullptr, nullptr, nullptr), Status::kSuccess);
}

TEST_F(CoreManagerLocksTest, SeveralAttributesMayBeLockedAtATime)
{
    AttributeArray* const array = items(L"FloatItems", 2);
    const ValueHandle number = lock(integer);
    const ValueHandle words = lock(text);
    auto* const reals = static_cast<float*>(lock(array));
    number.getInt() = 1;
    words.getString() = L"two";
    reals[1] = 3.0f;
    unlock(text);
    unlock(array);
    unlock(integer);
    EXPECT_EQ(integer->getValue().getInt(), 1);
    EXPECT_EQ(text->getValue().getString(), L"two");
    EXPECT_EQ(array->getAttribute(1)->getValue().getFloat(), 3.0f);
}

TEST_F(CoreManagerLocksTest, ALockIsOutstandingUntilTheLastUnlock)
{
    AttributeArray* const array = items(L"IntItems", 2);
    EXPECT_FALSE(core.isLockOutstanding());
    lock(integer);
    lock(text);
    lock(array);
    for (const std::function<void()>& unlockOne :
         {std::function<void()>([&] { unlock(integer); }), std::function<void()>([&] { unlock(array); }),
          std::function<void()>([&] { unlock(text); })})
    {
        EXPECT_TRUE(core.isLockOutstanding());
        EXPECT_EQ(core.db_commit(L"", L"", 1), Status::kLockOutstanding);
        unlockOne();
    }
    EXPECT_FALSE(core.isLockOutstanding());
    EXPECT_EQ(core.db_commit(L"", L"", 1), Status::kSuccess);
}

TEST_F(CoreManagerLocksTest, ASecondLockAndASecondUnlockAreRefused)
{
    lock(integer);
    ValueHandle value;
    EXPECT_EQ(core.db_lockAttribute(integer, &value), Status::kAttributeAlreadyLocked);
    EXPECT_TRUE(value.isNull());
    EXPECT_TRUE(core.isLockOutstanding());
    unlock(integer);
    EXPECT_EQ(core.db_unlockAttribute(integer), Status::kAttributeNotLocked);
    EXPECT_FALSE(core.isLockOutstanding());
}

TEST_F(CoreManagerLocksTest, UnlockingTheWrongOneChangesNothing)
{
    AttributeArray* const array = items(L"IntItems", 1);
    lock(integer);
    EXPECT_EQ(core.db_unlockAttribute(text), Status::kAttributeNotLocked);
    EXPECT_EQ(core.db_unlockAttributeArray(array), Status::kArrayNotLocked);
    EXPECT_EQ(core.db_unlockAttribute(nullptr), Status::kNullAttributeToUnlock);
    EXPECT_EQ(core.db_unlockAttributeArray(nullptr), Status::kNullArrayToUnlock);
    EXPECT_TRUE(integer->isLocked());
    EXPECT_TRUE(core.isLockOutstanding());
    unlock(integer);
}

TEST_F(CoreManagerLocksTest, AManagerMayEndWithALockOutstanding)
{
    CoreManager other(scene.registry(), Scene::kRoot);
    Node* locked = nullptr;
    ASSERT_EQ(other.db_createNode(Scene::kAll, L"node", nullptr, nullptr, &locked), Status::kSuccess);
    ValueHandle value;
    ASSERT_EQ(other.db_lockAttribute(locked->findAttributeByName(L"String"), &value), Status::kSuccess);
    value.getString() = L"a text that takes memory";
}

// --- Arrays ---

TEST_F(CoreManagerLocksTest, ALockedArrayHandsOutItsValuesAtTheStrideOfTheType)
{
    AttributeArray* const matrices = items(L"MatrixItems", 3);
    auto* const values = static_cast<kqx::Matrix*>(lock(matrices));
    EXPECT_EQ(static_cast<const void*>(values), matrices->getAttribute(0)->getValue().getData());
    for (int i = 0; i < 3; ++i)
        values[i].m[0][0] = static_cast<float>(i);
    unlock(matrices);
    for (unsigned int i = 0; i < 3; ++i)
        EXPECT_EQ(matrices->getAttribute(i)->getValue().getMatrix().m[0][0], static_cast<float>(i));
}

TEST_F(CoreManagerLocksTest, AnEmptyArrayCanBeLocked)
{
    AttributeArray* const array = items(L"IntItems", 0);
    int untouched = 0;
    void* values = &untouched;
    ASSERT_EQ(core.db_lockAttributeArray(array, &values), Status::kSuccess);
    EXPECT_EQ(values, nullptr);
    unlock(array);
}

TEST_F(CoreManagerLocksTest, AnArrayIsOfPlainDataWhenItsTypeIs)
{
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const auto typeId = static_cast<AttributeTypeId>(type);
        SCOPED_TRACE(testing::Message() << ValueInfo::getTypeName(typeId));
        const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(typeId));
        definition->setArray(true);
        Element* made = nullptr;
        ASSERT_EQ(
            core.db_createDynamicElement(*definition, (L"array" + std::to_wstring(type)).c_str(), node, nullptr, &made),
            Status::kSuccess);
        auto* const array = static_cast<AttributeArray*>(made);
        ASSERT_EQ(core.db_resizeAttributeArray(array, 2), Status::kSuccess);

        const bool isPlain = ValueInfo::isPODType(typeId);
        void* values = nullptr;
        EXPECT_EQ(core.db_lockAttributeArray(array, &values),
                  isPlain ? Status::kSuccess : Status::kLockArrayNotPlainData);
        EXPECT_EQ(values != nullptr, isPlain);
        if (isPlain)
            unlock(array);
    }
}

} // namespace
} // namespace db2test
