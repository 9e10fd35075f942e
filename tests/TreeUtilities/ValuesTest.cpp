#include "support/EditRecorder.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace db2test {
namespace {

using Lines = std::vector<std::wstring>;

/// Values, arrays, and places among siblings.
class TreeUtilitiesValuesTest : public ::testing::Test
{
protected:
    Attribute* attribute(Node* node, const wchar_t* name) { return node->findAttributeByName(name); }
    AttributeArray* items(Node* node, const wchar_t* name = L"IntItems")
    {
        return node->findAttributeArrayByName(name);
    }
    void fill(AttributeArray* array, const std::vector<int>& values)
    {
        ASSERT_EQ(scene.core().db_resizeAttributeArray(array, static_cast<unsigned int>(values.size())),
                  Status::kSuccess);
        for (unsigned int i = 0; i < values.size(); ++i)
            scene.write(array->getAttribute(i), values[i]);
    }
    static std::vector<int> valuesOf(const AttributeArray* array)
    {
        std::vector<int> values;
        for (unsigned int i = 0; i < array->getSize(); ++i)
            values.push_back(array->getAttribute(i)->getValue().asInt());
        return values;
    }
    void reference(Attribute* referenced, Attribute* referencer)
    {
        ASSERT_EQ(scene.core().db_createReference(referenced, referencer, false), Status::kSuccess);
    }
    static bool isCommon(std::initializer_list<Attribute*> attributes)
    {
        kqtl::pod_vector<Attribute*> list;
        for (Attribute* const attribute : attributes)
            list.push_back(attribute);
        return dbu_isValueCommon(list);
    }
    std::wstring childNames(const Node* parent)
    {
        std::wstring names;
        for (const Node* child = parent->getFirstChild(); child != nullptr; child = child->getNextSibling())
            names += child->getName();
        return names;
    }

    Scene scene;
    EditRecorder data{&scene.core()};
    Node* a = scene.node(L"a");
    Node* b = scene.node(L"b");
};

// --- One value ---

TEST_F(TreeUtilitiesValuesTest, AValueIsCopiedBetweenALockAndAnUnlock)
{
    scene.write(attribute(b, L"Int"), 7);
    dbu_copyAttribute(attribute(a, L"Int"), attribute(b, L"Int"), &data);
    EXPECT_EQ(attribute(a, L"Int")->getValue().getInt(), 7);
    EXPECT_EQ(data.take(), (Lines{L"lock |a.Int", L"unlock |a.Int"}));
}

TEST_F(TreeUtilitiesValuesTest, AValueIsConverted)
{
    scene.write(attribute(b, L"Float"), 2.75f);
    dbu_copyAttribute(attribute(a, L"Int"), attribute(b, L"Float"), &data);
    EXPECT_EQ(attribute(a, L"Int")->getValue().getInt(), 2);
}

TEST_F(TreeUtilitiesValuesTest, TheValueThatTheSourceShowsIsCopied)
{
    Node* const c = scene.node(L"c");
    scene.write(attribute(c, L"Int"), 7);
    reference(attribute(c, L"Int"), attribute(b, L"Int"));
    dbu_copyAttribute(attribute(a, L"Int"), attribute(b, L"Int"), &data);
    EXPECT_EQ(attribute(a, L"Int")->getValue().getInt(), 7);
    EXPECT_EQ(attribute(a, L"Int")->getReference(), nullptr);
}

TEST_F(TreeUtilitiesValuesTest, WithoutALockNothingIsAssignedAndNothingUnlocked)
{
    Node* const c = scene.node(L"c");
    reference(attribute(c, L"Int"), attribute(a, L"Int"));
    scene.write(attribute(b, L"Int"), 7);
    dbu_copyAttribute(attribute(a, L"Int"), attribute(b, L"Int"), &data);
    EXPECT_EQ(data.take(), (Lines{L"lock |a.Int failed"}));
    EXPECT_EQ(attribute(a, L"Int")->getValue().getInt(), 0);
    EXPECT_EQ(attribute(c, L"Int")->getValue().getInt(), 0);
}

TEST_F(TreeUtilitiesValuesTest, NullsAreIgnored)
{
    dbu_copyAttribute(nullptr, attribute(b, L"Int"), &data);
    dbu_copyAttribute(attribute(a, L"Int"), nullptr, &data);
    dbu_copyAttribute(attribute(a, L"Int"), attribute(b, L"Int"), nullptr);
    dbu_copyAttributeArray(nullptr, items(b), &data);
    dbu_copyAttributeArray(items(a), nullptr, &data);
    dbu_copyAttributeArray(items(a), items(b), nullptr);
    EXPECT_EQ(data.take(), Lines{});
}

// --- Arrays ---

TEST_F(TreeUtilitiesValuesTest, AnArrayIsResizedThenCopiedItemByItem)
{
    fill(items(b), {4, 5});
    dbu_copyAttributeArray(items(a), items(b), &data);
    EXPECT_EQ(valuesOf(items(a)), (std::vector<int>{4, 5}));
    EXPECT_EQ(data.take(), (Lines{L"resize |a:IntItems to 2", L"lock |a:IntItems[0]", L"unlock |a:IntItems[0]",
                                  L"lock |a:IntItems[1]", L"unlock |a:IntItems[1]"}));
}

TEST_F(TreeUtilitiesValuesTest, ALongerArrayIsCutToTheSource)
{
    fill(items(a), {1, 2, 3});
    fill(items(b), {4});
    dbu_copyAttributeArray(items(a), items(b), &data);
    EXPECT_EQ(valuesOf(items(a)), (std::vector<int>{4}));
}

TEST_F(TreeUtilitiesValuesTest, AnEmptyArrayEmptiesTheOther)
{
    fill(items(a), {1});
    dbu_copyAttributeArray(items(a), items(b), &data);
    EXPECT_EQ(items(a)->getSize(), 0u);
    EXPECT_EQ(data.take(), (Lines{L"resize |a:IntItems to 0"}));
}

TEST_F(TreeUtilitiesValuesTest, ItemsAreConvertedAndReadThroughReferences)
{
    fill(items(b), {4, 5});
    scene.write(attribute(b, L"Int"), 9);
    reference(attribute(b, L"Int"), items(b)->getAttribute(1));
    dbu_copyAttributeArray(items(a, L"FloatItems"), items(b), &data);
    EXPECT_EQ(valuesOf(items(a, L"FloatItems")), (std::vector<int>{4, 9}));
}

TEST_F(TreeUtilitiesValuesTest, ARefusedResizeLeavesTheItemsThatHaveAPlace)
{
    fill(items(a), {1});
    fill(items(b), {4, 5});
    data.refuse(L"resize", Status::kFailure);
    dbu_copyAttributeArray(items(a), items(b), &data);
    EXPECT_EQ(valuesOf(items(a)), (std::vector<int>{4}));
}

TEST_F(TreeUtilitiesValuesTest, AnItemThatCannotBeLockedIsPassedOver)
{
    fill(items(a), {1, 2});
    fill(items(b), {4, 5});
    reference(attribute(b, L"Int"), items(a)->getAttribute(0));
    dbu_copyAttributeArray(items(a), items(b), &data);
    EXPECT_EQ(valuesOf(items(a)), (std::vector<int>{0, 5}));
}

// --- Resizing ---

TEST_F(TreeUtilitiesValuesTest, GrowingAndKeepingTheSizeAreOneStep)
{
    EXPECT_EQ(dbu_resizeAttributeArray(items(a), 3, &data), Status::kSuccess);
    reference(attribute(b, L"Int"), items(a)->getAttribute(2));
    EXPECT_EQ(dbu_resizeAttributeArray(items(a), 3, &data), Status::kSuccess);
    EXPECT_EQ(data.take(), (Lines{L"resize |a:IntItems to 3", L"resize |a:IntItems to 3"}));
    EXPECT_EQ(items(a)->getAttribute(2)->getReference(), attribute(b, L"Int"));
}

TEST_F(TreeUtilitiesValuesTest, ShrinkingEndsTheReferencesOfTheItemsThatGo)
{
    fill(items(a), {1, 2, 3});
    reference(attribute(b, L"Int"), items(a)->getAttribute(0));
    reference(attribute(b, L"Int"), items(a)->getAttribute(1));
    reference(items(a)->getAttribute(1), attribute(b, L"Float"));
    reference(items(a)->getAttribute(2), attribute(b, L"Double"));
    reference(items(a)->getAttribute(2), attribute(b, L"String"));
    EXPECT_EQ(dbu_resizeAttributeArray(items(a), 1, &data), Status::kSuccess);
    EXPECT_EQ(data.take(), (Lines{L"unreference |a:IntItems[1]", L"unreference |b.Float", L"unreference |b.String",
                                  L"unreference |b.Double", L"resize |a:IntItems to 1"}));
    EXPECT_EQ(items(a)->getSize(), 1u);
    EXPECT_EQ(items(a)->getAttribute(0)->getReference(), attribute(b, L"Int"));
}

TEST_F(TreeUtilitiesValuesTest, ResizingReturnsWhatTheResizeReturns)
{
    data.refuse(L"resize", Status::kInUndo);
    EXPECT_EQ(dbu_resizeAttributeArray(items(a), 3, &data), Status::kInUndo);
}

TEST_F(TreeUtilitiesValuesTest, ResizingRefusesNullAndWhatIsNoArray)
{
    EXPECT_EQ(dbu_resizeAttributeArray(items(a), 3, nullptr), Status::kFailure);
    EXPECT_EQ(dbu_resizeAttributeArray(nullptr, 3, &data), Status::kFailure);
    auto* const noArray = static_cast<AttributeArray*>(static_cast<Element*>(attribute(a, L"Int")));
    EXPECT_EQ(dbu_resizeAttributeArray(noArray, 3, &data), Status::kFailure);
    EXPECT_EQ(data.take(), Lines{});
}

// --- Comparing ---

TEST_F(TreeUtilitiesValuesTest, OneValueIsCommonAndSoIsNone)
{
    scene.write(attribute(a, L"Float"), std::numeric_limits<float>::quiet_NaN());
    EXPECT_TRUE(isCommon({attribute(a, L"Float")}));
    EXPECT_TRUE(isCommon({}));
}

TEST_F(TreeUtilitiesValuesTest, EveryValueMustEqualTheFirst)
{
    Node* const c = scene.node(L"c");
    for (Node* const node : {a, b, c})
        scene.write(attribute(node, L"String"), L"x");
    EXPECT_TRUE(isCommon({attribute(a, L"String"), attribute(b, L"String"), attribute(c, L"String")}));
    scene.write(attribute(c, L"String"), L"y");
    EXPECT_FALSE(isCommon({attribute(a, L"String"), attribute(b, L"String"), attribute(c, L"String")}));
}

TEST_F(TreeUtilitiesValuesTest, ComparingHasNoTolerance)
{
    scene.write(attribute(a, L"Float"), 1.0f);
    scene.write(attribute(b, L"Float"), 1.0f + std::numeric_limits<float>::epsilon());
    EXPECT_FALSE(isCommon({attribute(a, L"Float"), attribute(b, L"Float")}));
}

TEST_F(TreeUtilitiesValuesTest, EachLaterValueIsComparedAsItsOwnType)
{
    scene.write(attribute(a, L"Float"), 1.5f);
    scene.write(attribute(b, L"Int"), 1);
    EXPECT_TRUE(isCommon({attribute(a, L"Float"), attribute(b, L"Int")}));
    EXPECT_FALSE(isCommon({attribute(b, L"Int"), attribute(a, L"Float")}));
}

TEST_F(TreeUtilitiesValuesTest, ValuesAreComparedThroughReferences)
{
    scene.write(attribute(a, L"Int"), 3);
    reference(attribute(a, L"Int"), attribute(b, L"Int"));
    EXPECT_TRUE(isCommon({attribute(a, L"Int"), attribute(b, L"Int")}));
}

// --- Places among siblings ---

TEST_F(TreeUtilitiesValuesTest, UpIsOnePlaceTowardsTheFirst)
{
    Node* const c = scene.node(L"c");
    dbu_moveUp(c, &data);
    EXPECT_EQ(data.take(), (Lines{L"reorder |c before |b"}));
    EXPECT_EQ(childNames(scene.root()), L"acb");
}

TEST_F(TreeUtilitiesValuesTest, DownIsOnePlaceTowardsTheLast)
{
    scene.node(L"c");
    dbu_moveDown(a, &data);
    EXPECT_EQ(data.take(), (Lines{L"reorder |a before |c"}));
    EXPECT_EQ(childNames(scene.root()), L"bac");
    dbu_moveDown(a, &data);
    EXPECT_EQ(data.take(), (Lines{L"reorder |a"}));
    EXPECT_EQ(childNames(scene.root()), L"bca");
}

TEST_F(TreeUtilitiesValuesTest, TheEndsOfTheListAndNullsDoNothing)
{
    dbu_moveUp(a, &data);
    dbu_moveDown(b, &data);
    dbu_moveUp(scene.root(), &data);
    dbu_moveDown(scene.root(), &data);
    dbu_moveUp(nullptr, &data);
    dbu_moveDown(nullptr, &data);
    dbu_moveUp(b, nullptr);
    dbu_moveDown(a, nullptr);
    EXPECT_EQ(data.take(), Lines{});
    EXPECT_EQ(childNames(scene.root()), L"ab");
}

} // namespace
} // namespace db2test
