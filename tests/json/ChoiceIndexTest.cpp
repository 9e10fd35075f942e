#include "ChoiceIndex.h"

#include "support/Random.h"
#include "support/Scene.h"

#include <db2/EnumAttributeMetaData.h>
#include <db2/EnumAttributeMetaDataDef.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace db2;
using namespace db2test;

using Texts = std::vector<std::wstring>;

class JsonChoiceIndexTest : public ::testing::Test
{
protected:
    /// The record of an Enum with these choices.
    const EnumAttributeMetaData& recordOf(const Texts& choices)
    {
        EnumAttributeMetaDataDef definition;
        for (const std::wstring& choice : choices)
            EXPECT_TRUE(definition.addChoice(choice.c_str()));
        const std::wstring name = L"e" + std::to_wstring(node->getElementCount());
        const Attribute* const attribute = scene.dynamicAttribute(definition, name.c_str(), node);
        return static_cast<const EnumAttributeMetaData&>(*attribute->getMetaData());
    }

    Scene scene;
    Node* node = scene.node(L"node");
    json::ChoiceIndex index;
};

Texts numbered(std::size_t count, const wchar_t* before)
{
    Texts texts;
    for (std::size_t i = 0; i < count; ++i)
        texts.push_back(before + std::to_wstring(i));
    return texts;
}

/// Whatever choices there are, of equal ones the first is found.
TEST_F(JsonChoiceIndexTest, FindsWhatAScanFinds)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    for (int run = 0; run < 100; ++run)
    {
        Texts choices(1 + random.below(100));
        for (std::wstring& choice : choices)
            choice = std::to_wstring(random.below(150));
        const EnumAttributeMetaData& record = recordOf(choices);
        for (int number = 0; number < 150; ++number)
        {
            const std::wstring text = std::to_wstring(number);
            ASSERT_EQ(index.find(record, text), record.getChoiceIndex(text.c_str())) << number;
        }
    }
}

TEST_F(JsonChoiceIndexTest, ATextThatOnlyBeginsOrEndsAsAChoiceIsNone)
{
    for (const std::size_t count : {3u, 40u})
    {
        const EnumAttributeMetaData& record = recordOf(numbered(count, L"choice "));
        EXPECT_EQ(index.find(record, L"choice 2"), 2);
        EXPECT_EQ(index.find(record, L"choice 22"), count == 40 ? 22 : -1);
        for (const wchar_t* const text : {L"", L"choice", L"choice ", L"hoice 2", L"choice 222", L"Choice 2"})
            EXPECT_EQ(index.find(record, text), -1);
        EXPECT_EQ(index.find(record, std::wstring_view(L"choice 2\0", 9)), -1);
    }
}

/// More choices than are kept at a time, so that those of a record that was asked about before are gone.
TEST_F(JsonChoiceIndexTest, ManyRecordsAreAskedInTurn)
{
    std::vector<const EnumAttributeMetaData*> records;
    for (const wchar_t* const before : {L"a", L"b", L"c", L"d", L"e"})
        records.push_back(&recordOf(numbered(25000, before)));
    for (int round = 0; round < 3; ++round)
    {
        EXPECT_EQ(index.find(*records[0], L"a24999"), 24999);
        EXPECT_EQ(index.find(*records[1], L"b0"), 0);
        EXPECT_EQ(index.find(*records[2], L"c777"), 777);
        EXPECT_EQ(index.find(*records[3], L"a777"), -1);
        EXPECT_EQ(index.find(*records[4], L"e777"), 777);
    }
}

// --- Choices that were made to collide ---

#ifdef __GLIBCXX__

/// Texts that std::hash gives one hash, which is of the kind of MurmurHash2 in libstdc++. Its steps can be taken back:
/// behind any block of bytes there is another one that leads to the same end.
class CollidingTexts
{
public:
    static Texts make(std::size_t count)
    {
        Texts texts;
        for (std::size_t i = 0; texts.size() < count; ++i)
        {
            const std::size_t first = static_cast<std::size_t>(0x0001000100010001) + i;
            std::size_t state = kStart;
            takeIn(state, mixed(first));
            const std::size_t blocks[] = {first, unmixed(k64Bits ? state : state * kFactor)};
            std::wstring text(sizeof blocks / (sizeof(wchar_t)), L'\0');
            std::memcpy(text.data(), blocks, sizeof blocks);
            if (text.find(L'\0') == std::wstring::npos) // which would end a choice
                texts.push_back(text);
        }
        return texts;
    }

private:
    static constexpr bool k64Bits = sizeof(std::size_t) == 8;
    static constexpr auto kFactor = static_cast<std::size_t>(0xc6a4a7935bd1e995);
    static constexpr std::size_t kSeed = 0xc70f6907;
    static constexpr std::size_t kBytes = 2 * sizeof(std::size_t);
    static constexpr std::size_t kStart = kSeed ^ (k64Bits ? kBytes * kFactor : kBytes);

    static std::size_t folded(std::size_t bits) { return bits ^ (bits >> (k64Bits ? 47 : 24)); } // twice is not at all
    static std::size_t mixed(std::size_t block) { return folded(block * kFactor) * kFactor; }
    static std::size_t unmixed(std::size_t mixed) { return folded(mixed * inverse()) * inverse(); }
    static void takeIn(std::size_t& state, std::size_t mixed)
    {
        state = k64Bits ? (state ^ mixed) * kFactor : (state * kFactor) ^ mixed;
    }
    /// What the factor is to be multiplied with to give 1.
    static std::size_t inverse()
    {
        std::size_t inverse = kFactor; // right in three bits; each step doubles them
        for (int bits = 3; bits < 64; bits *= 2)
            inverse *= 2 - kFactor * inverse;
        return inverse;
    }
};

/// To compare each with each would take 10^11 comparisons.
TEST_F(JsonChoiceIndexTest, HalfAMillionChoicesOfOneHashAreFound)
{
    constexpr std::size_t kChoices = 500'000;
    Texts choices = CollidingTexts::make(kChoices + 1);
    const std::hash<std::wstring> hash;
    for (const std::wstring& choice : choices)
        ASSERT_EQ(hash(choice), hash(choices.front()));
    const std::wstring other = choices.back();
    choices.pop_back();

    const EnumAttributeMetaData& record = recordOf(choices);
    for (std::size_t i = 0; i < kChoices; ++i)
        ASSERT_EQ(index.find(record, choices[i]), static_cast<int>(i));
    EXPECT_EQ(index.find(record, other), -1);
}

#endif

} // namespace
