#include "support/EditRecorder.h"
#include "support/Scene.h"
#include "support/TreeDump.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace db2test {
namespace {

using Lines = std::vector<std::wstring>;

/// Moving and ending references. The attributes are named after what they are before the edit.
class TreeUtilitiesReferencesTest : public ::testing::Test
{
protected:
    Attribute* intOf(const wchar_t* name) { return scene.node(name)->findAttributeByName(L"Int"); }
    void reference(Attribute* referenced, Attribute* referencer, bool single = false)
    {
        ASSERT_EQ(scene.core().db_createReference(referenced, referencer, single), Status::kSuccess);
    }
    static std::vector<std::wstring> referencersOf(const Attribute* attribute)
    {
        std::vector<std::wstring> paths;
        for (const Attribute* at = attribute->getReferents(); at != nullptr; at = at->getSiblingReferent())
            paths.push_back(pathOf(at));
        return paths;
    }

    Scene scene;
    EditRecorder data{&scene.core()};
    Attribute* const source = intOf(L"source");
    Attribute* const from = intOf(L"from");
    Attribute* const to = intOf(L"to");
    Attribute* const x = intOf(L"x");
    Attribute* const y = intOf(L"y");
    Attribute* const z = intOf(L"z");
};

// --- Ending a reference, keeping the value ---

TEST_F(TreeUtilitiesReferencesTest, TheValueThatWasShownStays)
{
    scene.write(source, 7);
    reference(source, x);
    reference(x, from);
    EXPECT_EQ(dbu_copyAndDestroyReference(&data, from), Status::kSuccess);
    EXPECT_EQ(data.take(), (Lines{L"unreference |from.Int", L"lock |from.Int", L"unlock |from.Int"}));
    EXPECT_EQ(from->getReference(), nullptr);
    EXPECT_EQ(from->getValue().getInt(), 7);
    EXPECT_EQ(x->getReference(), source);
}

TEST_F(TreeUtilitiesReferencesTest, AValueIsConvertedToTheTypeOfTheAttribute)
{
    Attribute* const text = from->getNode()->findAttributeByName(L"Float");
    scene.write(source, 7);
    reference(source, text);
    EXPECT_EQ(dbu_copyAndDestroyReference(&data, text), Status::kSuccess);
    EXPECT_EQ(text->getValue().getFloat(), 7.0f);
}

TEST_F(TreeUtilitiesReferencesTest, WithoutAReferenceThereIsNothingToEnd)
{
    reference(from, x);
    EXPECT_EQ(dbu_copyAndDestroyReference(&data, from), Status::kFailure);
    EXPECT_EQ(dbu_copyAndDestroyReference(&data, nullptr), Status::kFailure);
    EXPECT_EQ(dbu_copyAndDestroyReference(nullptr, x), Status::kFailure);
    EXPECT_EQ(data.take(), Lines{});
    EXPECT_EQ(x->getReference(), from);
}

TEST_F(TreeUtilitiesReferencesTest, ARefusalWithTheGeneralFailureEndsIt)
{
    reference(source, from);
    data.refuse(L"unreference", Status::kFailure);
    EXPECT_EQ(dbu_copyAndDestroyReference(&data, from), Status::kFailure);
    EXPECT_EQ(data.take(), (Lines{L"unreference |from.Int failed"}));
}

TEST_F(TreeUtilitiesReferencesTest, AnyOtherRefusalIsIgnored)
{
    reference(source, from);
    data.refuse(L"unreference", Status::kInUndo);
    EXPECT_EQ(dbu_copyAndDestroyReference(&data, from), Status::kSuccess);
    EXPECT_EQ(data.take(), (Lines{L"unreference |from.Int failed", L"lock |from.Int failed"}));
    EXPECT_EQ(from->getReference(), source);
}

// --- Handing references over ---

TEST_F(TreeUtilitiesReferencesTest, TheReferenceHeldMovesOver)
{
    reference(source, from);
    EXPECT_EQ(dbu_transferReferences(to, from, &data), Status::kSuccess);
    EXPECT_EQ(data.take(), (Lines{L"unreference |from.Int", L"reference |source.Int from |to.Int"}));
    EXPECT_EQ(to->getReference(), source);
    EXPECT_EQ(from->getReference(), nullptr);
}

TEST_F(TreeUtilitiesReferencesTest, ASingleOutputReferenceStaysOne)
{
    reference(source, from, true);
    EXPECT_EQ(dbu_transferReferences(to, from, &data), Status::kSuccess);
    EXPECT_EQ(to->getReference(), source);
    EXPECT_TRUE(to->referenceIsSingle());
    EXPECT_FALSE(from->referenceIsSingle());
}

TEST_F(TreeUtilitiesReferencesTest, ReferencersMoveOverInTheirOrder)
{
    reference(from, x);
    reference(from, y);
    reference(from, z);
    EXPECT_EQ(dbu_transferReferences(to, from, &data), Status::kSuccess);
    EXPECT_EQ(referencersOf(to), (Lines{L"|z.Int", L"|y.Int", L"|x.Int"}));
    EXPECT_EQ(from->getReferents(), nullptr);
}

TEST_F(TreeUtilitiesReferencesTest, ASingleOutputReferencerStaysOne)
{
    reference(from, x, true);
    EXPECT_EQ(dbu_transferReferences(to, from, &data), Status::kSuccess);
    EXPECT_EQ(data.take(), (Lines{L"unreference |x.Int", L"reference |to.Int from |x.Int, single"}));
    EXPECT_TRUE(to->referentIsSingle());
}

TEST_F(TreeUtilitiesReferencesTest, BothEndsMoveTheHeldOneFirst)
{
    reference(source, from);
    reference(from, x);
    EXPECT_EQ(dbu_transferReferences(to, from, &data), Status::kSuccess);
    EXPECT_EQ(data.take(), (Lines{L"unreference |from.Int", L"reference |source.Int from |to.Int",
                                  L"unreference |x.Int", L"reference |to.Int from |x.Int"}));
}

TEST_F(TreeUtilitiesReferencesTest, WithoutReferencesNothingIsDone)
{
    EXPECT_EQ(dbu_transferReferences(to, from, &data), Status::kSuccess);
    EXPECT_EQ(data.take(), Lines{});
}

TEST_F(TreeUtilitiesReferencesTest, ARefusedEndOfTheHeldOneEndsIt)
{
    reference(source, from);
    reference(from, x);
    data.refuse(L"unreference |from", Status::kInUndo);
    EXPECT_EQ(dbu_transferReferences(to, from, &data), Status::kFailure);
    EXPECT_EQ(data.take(), (Lines{L"unreference |from.Int failed"}));
}

TEST_F(TreeUtilitiesReferencesTest, ARefusedStartOfTheHeldOneEndsIt)
{
    reference(source, from);
    reference(from, x);
    data.refuse(L"reference", Status::kInUndo);
    EXPECT_EQ(dbu_transferReferences(to, from, &data), Status::kFailure);
    EXPECT_EQ(x->getReference(), from);
    EXPECT_EQ(to->getReference(), nullptr);
}

TEST_F(TreeUtilitiesReferencesTest, AReferencerThatCannotMoveIsPassedOver)
{
    reference(from, x);
    reference(from, y);
    reference(from, z);
    data.refuse(L"unreference |y", Status::kInUndo);
    EXPECT_EQ(dbu_transferReferences(to, from, &data), Status::kSuccess);
    EXPECT_EQ(referencersOf(to), (Lines{L"|z.Int", L"|x.Int"}));
    EXPECT_EQ(referencersOf(from), (Lines{L"|y.Int"}));
}

TEST_F(TreeUtilitiesReferencesTest, AnAttributeThatAlreadyReferencesRefusesTheHeldOne)
{
    reference(source, from);
    reference(x, to);
    EXPECT_EQ(dbu_transferReferences(to, from, &data), Status::kFailure);
    EXPECT_EQ(to->getReference(), x);
}

TEST_F(TreeUtilitiesReferencesTest, NullIsRefused)
{
    reference(source, from);
    EXPECT_EQ(dbu_transferReferences(nullptr, from, &data), Status::kFailure);
    EXPECT_EQ(dbu_transferReferences(to, nullptr, &data), Status::kFailure);
    EXPECT_EQ(dbu_transferReferences(to, from, nullptr), Status::kFailure);
    EXPECT_EQ(from->getReference(), source);
}

} // namespace
} // namespace db2test
