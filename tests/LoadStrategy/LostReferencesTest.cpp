// References that cannot be made, where the host asked to be told of them.

#include "support/LoadScene.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace db2test {
namespace {

/// A load that goes on behind what it cannot make, and what it told.
class LostReferencesTest : public LoadTest
{
protected:
    struct Lost
    {
        const Attribute* holder;
        std::wstring path;
        Status reason;

        bool operator==(const Lost&) const = default;
    };

    LostReferencesTest()
    {
        loader.setLostReferenceHandler([this](const Attribute& holder, const wchar_t* path, Status reason) {
            lost.push_back({&holder, path, reason});
        });
    }

    static Attribute* intOf(const Node* node) { return node->findAttributeByName(L"Int"); }

    /// Loads two nodes a and b, a's Int referencing what a path leads to.
    Status loadReference(const wchar_t* path, unsigned int dataVersion = 5)
    {
        const auto script = [this, path](TestLoader& self) {
            a = makeNode(L"All", L"a");
            b = makeNode(L"All", L"b");
            return self.addUnresolvedReference(intOf(a), path, false);
        };
        return load(script, dataVersion);
    }

    std::vector<Lost> lost;
    Node* a = nullptr;
    Node* b = nullptr;
};

TEST_F(LostReferencesTest, EachIsToldInOrderAndTheOthersAreMade)
{
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a");
                  b = makeNode(L"All", L"b");
                  self.addUnresolvedReference(intOf(a), L"|nobody.Int", false);
                  self.addUnresolvedReference(a->findAttributeByName(L"Float"), L"|b.Float", false);
                  return self.addUnresolvedReference(intOf(b), L"|a.Gone", false);
              }),
              Status::kSuccess);
    EXPECT_EQ(lost, (std::vector<Lost>{{intOf(a), L"|nobody.Int", Status::kPathNotResolved},
                                       {intOf(b), L"|a.Gone", Status::kPathNotResolved}}));
    EXPECT_EQ(intOf(a)->getReference(), nullptr);
    EXPECT_EQ(a->findAttributeByName(L"Float")->getReference(), b->findAttributeByName(L"Float"));
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LostReferencesTest, TheReasonSaysWhatIsWrongWithThePath)
{
    const std::vector<std::pair<const wchar_t*, Status>> paths = {
        {L"|nobody.Int", Status::kPathNotResolved},    {L"|a", Status::kPathNotAttribute},
        {L"nothing", Status::kPathBadStart},           {L"", Status::kPathBadStart},
        {L"|a.", Status::kTrailingReservedCharacter},  {L"|a..Int", Status::kAdjacentReservedCharacters},
        {L"|a:IntItems[x]", Status::kNonNumericIndex}, {L"|a:IntItems[0", Status::kMismatchedBraces}};
    EXPECT_EQ(load([&](TestLoader& self) {
                  a = makeNode(L"All", L"a");
                  for (const auto& [path, reason] : paths)
                      self.addUnresolvedReference(intOf(a), path, false);
                  return Status::kSuccess;
              }),
              Status::kSuccess);
    ASSERT_EQ(lost.size(), paths.size());
    for (std::size_t i = 0; i < paths.size(); ++i)
        EXPECT_EQ(lost[i], (Lost{intOf(a), paths[i].first, paths[i].second}));
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LostReferencesTest, OneThatIsRefusedIsToldWithTheReason)
{
    EXPECT_EQ(loadReference(L"|a.Int"), Status::kSuccess); // to itself
    EXPECT_EQ(lost, (std::vector<Lost>{{intOf(a), L"|a.Int", Status::kSelfReference}}));
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(LostReferencesTest, MemoryThatIsOutEndsTheLoadAllTheSame)
{
    data.refuse(L"reference ", Status::kFailure);
    EXPECT_EQ(loadReference(L"|b.Int"), Status::kFailure);
    EXPECT_EQ(lost, std::vector<Lost>{});
    EXPECT_EQ(logged(), (Lines{L"E Failed to create reference for path '|b.Int'"}));
}

TEST_F(LostReferencesTest, MigratorsHearOfTheSuccess)
{
    addMigrator(5);
    EXPECT_EQ(loadReference(L"|nobody.Int", 4), Status::kLoadedWithMigration);
    EXPECT_EQ(lost.size(), 1u);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), L"5:success(parent)"), 1);
}

TEST_F(LostReferencesTest, WhatTheHandlerThrowsEndsTheLoad)
{
    loader.setLostReferenceHandler(
        [](const Attribute&, const wchar_t*, Status) { throw std::runtime_error("enough"); });
    EXPECT_THROW(loadReference(L"|nobody.Int"), std::runtime_error);
}

TEST_F(LostReferencesTest, WithoutAHandlerTheFirstEndsTheLoad)
{
    loader.setLostReferenceHandler({});
    EXPECT_EQ(loadReference(L"|nobody.Int"), Status::kFailure);
    EXPECT_EQ(logged(), (Lines{L"E Failed to resolve attribute path '|nobody.Int'"}));
    EXPECT_EQ(lost, std::vector<Lost>{});
}

} // namespace
} // namespace db2test
