#include <kqx/String.h>

#include "HeapLimit.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace {

using db2test::Random;
using foundationtest::HeapLimit;
using foundationtest::tryEdit;
using kqx::String;

std::wstring_view viewOf(const String& text)
{
    return text;
}

// --- Construction ---

TEST(StringTest, IsOnePointerWide)
{
    EXPECT_EQ(sizeof(String), sizeof(void*));
}

TEST(StringTest, EmptyOwnsNoHeapMemory)
{
    const HeapLimit heap(0);
    const String none;
    const String null(nullptr);
    const String blank(L"");
    const String counted(L"abc", 0);
    const String nothing(nullptr, 0);
    const String copy(blank);
    for (const String* text : {&none, &null, &blank, &counted, &nothing, &copy})
    {
        EXPECT_TRUE(text->empty());
        EXPECT_EQ(text->size(), 0u);
        EXPECT_EQ(text->capacity(), 0u);
        EXPECT_STREQ(text->c_str(), L"");
        EXPECT_EQ(text->begin(), text->end());
        EXPECT_EQ((*text)[0], L'\0');
    }
    EXPECT_EQ(heap.requests(), 0u);
}

TEST(StringTest, HoldsTheTextItIsMadeFrom)
{
    const String text(L"shoulder");
    EXPECT_STREQ(text.c_str(), L"shoulder");
    EXPECT_EQ(text.size(), 8u);
    EXPECT_EQ(text.length(), 8u);
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(text[0], L's');
    EXPECT_EQ(text[8], L'\0');
    EXPECT_EQ(std::wstring(text.begin(), text.end()), L"shoulder");
    EXPECT_EQ(String(L"shoulder", 4), L"shou");
}

TEST(StringTest, HoldsNullCharacters)
{
    const String text(L"a\0b", 3);
    EXPECT_EQ(text.size(), 3u);
    EXPECT_EQ(viewOf(text), std::wstring_view(L"a\0b", 3));
    EXPECT_STREQ(text.c_str(), L"a");
}

TEST(StringTest, AllocatesExactlyWhatTheTextNeeds)
{
    const HeapLimit heap;
    const String text(L"elbow");
    EXPECT_EQ(text.capacity(), 5u);
    EXPECT_EQ(heap.requests(), 1u);
    EXPECT_EQ(heap.bytes(), 2 * sizeof(std::uint32_t) + 6 * sizeof(wchar_t));
    const String copy(text);
    EXPECT_EQ(copy.capacity(), 5u);
}

TEST(StringTest, CopyIsIndependent)
{
    String text(L"left");
    const String copy(text);
    text[0] = L'h';
    EXPECT_EQ(text, L"heft");
    EXPECT_EQ(copy, L"left");
}

TEST(StringTest, MovingTakesTheText)
{
    String source(L"wrist");
    const wchar_t* const characters = source.c_str();
    const HeapLimit heap(0);
    String target(std::move(source));
    EXPECT_EQ(target.c_str(), characters);
    EXPECT_TRUE(source.empty()); // NOLINT: the moved-from state is documented
    String assigned;
    assigned = std::move(target);
    EXPECT_EQ(assigned.c_str(), characters);
    EXPECT_TRUE(target.empty()); // NOLINT
    String& self = assigned;
    assigned = std::move(self);
    EXPECT_EQ(assigned, L"wrist");
}

TEST(StringTest, MayBeMovedAsRawBytes)
{
    alignas(String) unsigned char first[sizeof(String)];
    alignas(String) unsigned char second[sizeof(String)];
    ::new (static_cast<void*>(first)) String(L"relocated");
    std::memcpy(second, first, sizeof(String));
    String* const text = std::launder(reinterpret_cast<String*>(second));
    *text += L" text";
    EXPECT_EQ(*text, L"relocated text");
    text->~String();
}

// --- Edits ---

TEST(StringTest, AssignmentReplacesTheText)
{
    String text(L"first");
    text = L"second one";
    EXPECT_EQ(text, L"second one");
    text = String(L"third");
    EXPECT_EQ(text, L"third");
    const String fourth(L"fourth");
    text = fourth;
    EXPECT_EQ(text, L"fourth");
    EXPECT_EQ(text.assign(L"fifth"), L"fifth");
    EXPECT_EQ(text.assign(L"sixth", 3), L"six");
    EXPECT_EQ(text.assign(fourth), L"fourth");
}

TEST(StringTest, AssigningShorterTextReusesTheBlock)
{
    String text(L"a long text");
    const wchar_t* const block = text.c_str();
    const HeapLimit heap(0);
    text = L"short";
    EXPECT_EQ(text.c_str(), block);
    EXPECT_EQ(text, L"short");
    text = L"a text long";
    EXPECT_EQ(text.c_str(), block);
    EXPECT_EQ(text, L"a text long");
}

TEST(StringTest, BecomingEmptyFreesTheMemory)
{
    const String empty;
    for (int way = 0; way < 5; ++way)
    {
        String text(L"something");
        switch (way)
        {
        case 0: text.clear(); break;
        case 1: text = L""; break;
        case 2: text = empty; break;
        case 3: text = static_cast<const wchar_t*>(nullptr); break;
        default: text.assign(text.c_str() + 2, 0); break;
        }
        EXPECT_TRUE(text.empty()) << way;
        EXPECT_EQ(text.capacity(), 0u) << way;
        EXPECT_STREQ(text.c_str(), L"") << way;
    }
}

TEST(StringTest, AppendingAddsAtTheEnd)
{
    String text;
    text.append(L"up").append(L"per arm", 4).append(String(L"_"));
    text += L"left";
    text += L'!';
    text += String(L"?");
    EXPECT_EQ(text, L"upper _left!?");
    EXPECT_EQ(text.size(), 13u);
}

TEST(StringTest, AppendingNothingDoesNothing)
{
    const HeapLimit heap(0);
    String text;
    text.append(nullptr).append(L"").append(String()).append(L"x", 0);
    EXPECT_TRUE(text.empty());
}

TEST(StringTest, AppendingAllocatesRarely)
{
    const HeapLimit heap;
    String text;
    for (int i = 0; i < 100000; ++i)
        text += L'x';
    EXPECT_EQ(text.size(), 100000u);
    EXPECT_LE(heap.requests(), 18u);
}

TEST(StringTest, AssigningAPartOfItselfIsSafe)
{
    String text(L"upper arm left");
    text.assign(text.c_str() + 6, 3);
    EXPECT_EQ(text, L"arm");
    const String& self = text;
    text = self;
    EXPECT_EQ(text, L"arm");
    text = text.c_str();
    EXPECT_EQ(text, L"arm");
    text = text.c_str() + 1;
    EXPECT_EQ(text, L"rm");
}

TEST(StringTest, AppendingAPartOfItselfIsSafe)
{
    String growing(L"abc");
    for (int i = 0; i < 5; ++i)
        growing += growing; // every time into a new block
    EXPECT_EQ(growing.size(), 96u);
    EXPECT_EQ(viewOf(growing).substr(93), L"abc");

    String roomy(L"abc");
    roomy.reserve(100);
    roomy.append(roomy.c_str() + 1, 2);
    EXPECT_EQ(roomy, L"abcbc");
    roomy.append(roomy.c_str(), roomy.size() + 1); // with its null character
    EXPECT_EQ(viewOf(roomy), std::wstring_view(L"abcbcabcbc\0", 11));
    roomy += roomy[0];
    EXPECT_EQ(roomy[11], L'a');
}

TEST(StringTest, ReservedRoomNeedsNoOtherAllocation)
{
    String text(L"ab");
    text.reserve(50);
    EXPECT_EQ(text, L"ab");
    EXPECT_EQ(text.capacity(), 50u);
    const HeapLimit heap(0);
    text.reserve(10);
    EXPECT_EQ(text.capacity(), 50u);
    for (int i = 0; i < 48; ++i)
        text += L'x';
    EXPECT_EQ(text.size(), 50u);
}

TEST(StringTest, ReservedEmptyTextCopiesWithoutMemory)
{
    String text;
    text.reserve(50);
    EXPECT_TRUE(text.empty());
    EXPECT_STREQ(text.c_str(), L"");
    const HeapLimit heap(0);
    const String copy(text);
    EXPECT_EQ(copy.capacity(), 0u);
}

TEST(StringTest, SwapExchangesTexts)
{
    String first(L"one");
    String second;
    first.swap(second);
    EXPECT_TRUE(first.empty());
    EXPECT_EQ(second, L"one");
    second.swap(second);
    EXPECT_EQ(second, L"one");
}

// --- Failures ---

TEST(StringTest, OutOfMemoryThrowsAndChangesNothing)
{
    String text(L"kept");
    const String longer(L"longer than that");
    const HeapLimit heap(0);
    EXPECT_THROW(text = L"longer than that", std::bad_alloc);
    EXPECT_THROW(text = longer, std::bad_alloc);
    EXPECT_THROW(text.append(L"x"), std::bad_alloc);
    EXPECT_THROW(text += text, std::bad_alloc);
    EXPECT_THROW(text.reserve(5), std::bad_alloc);
    EXPECT_THROW(String(L"new"), std::bad_alloc);
    EXPECT_THROW(String{text}, std::bad_alloc);
    EXPECT_EQ(text, L"kept");
    EXPECT_EQ(text.capacity(), 4u);
}

TEST(StringTest, LengthsThatCannotBeThrowAndChangeNothing)
{
    EXPECT_LT(String::max_size(), std::size_t{1} << 31);
    String text(L"kept");
    const HeapLimit heap(0);
    EXPECT_THROW(text.reserve(String::max_size() + 1), std::length_error);
    EXPECT_THROW(text.append(L"x", String::max_size() - 3), std::length_error);
    EXPECT_THROW(text.append(L"x", SIZE_MAX), std::length_error);
    EXPECT_THROW(text.assign(L"x", String::max_size() + 1), std::length_error);
    EXPECT_THROW(String(L"x", SIZE_MAX), std::length_error);
    EXPECT_EQ(text, L"kept");
    EXPECT_EQ(heap.requests(), 0u);
    EXPECT_THROW(text.reserve(String::max_size()), std::bad_alloc); // which can be, with that much memory
}

// --- Comparison ---

TEST(StringTest, EqualityIsThatOfTheCharacters)
{
    const String text(L"name");
    EXPECT_TRUE(text == String(L"name"));
    EXPECT_TRUE(text == L"name");
    EXPECT_TRUE(L"name" == text);
    EXPECT_FALSE(text != L"name");
    EXPECT_TRUE(text != L"Name");
    EXPECT_TRUE(text != L"nam");
    EXPECT_TRUE(L"names" != text);
    EXPECT_TRUE(text != String());
    EXPECT_TRUE(String(L"a\0b", 3) != String(L"a\0c", 3));
    EXPECT_TRUE(String(L"a\0b", 3) != L"a");
}

TEST(StringTest, NullTextComparesAsEmpty)
{
    const wchar_t* const null = nullptr;
    EXPECT_TRUE(String() == null);
    EXPECT_TRUE(String(L"x") != null);
    EXPECT_TRUE(null < String(L"x"));
    EXPECT_FALSE(String() < null);
}

TEST(StringTest, OrderIsThatOfTheCharactersThenOfTheLengths)
{
    EXPECT_TRUE(String(L"a") < String(L"b"));
    EXPECT_FALSE(String(L"b") < String(L"a"));
    EXPECT_FALSE(String(L"a") < String(L"a"));
    EXPECT_TRUE(String(L"ab") < String(L"abc"));
    EXPECT_TRUE(String() < String(L"a"));
    EXPECT_TRUE(String(L"a") < L"b");
    EXPECT_TRUE(L"a" < String(L"b"));
    EXPECT_FALSE(L"b" < String(L"b"));
    EXPECT_TRUE(String(L"Z") < String(L"a"));
}

TEST(StringTest, OrderFollowsCodePointsOnEveryPlatform)
{
    // As 16-bit units, the pairs start below U+E000; as signed numbers, a 16- or 32-bit unit may be negative.
    EXPECT_TRUE(String(L"\xFF5E") < String(L"\U00010000"));
    EXPECT_FALSE(String(L"\U00010000") < String(L"\xFF5E"));
    EXPECT_TRUE(String(L"\U00010000") < String(L"\U00010001"));
    EXPECT_TRUE(String(L"\U00010001") < String(L"\U0010FFFF"));
    EXPECT_TRUE(String(L"\x7F") < String(L"\x8000"));
    const wchar_t unpaired[] = {static_cast<wchar_t>(0xD800), L'a', L'\0'};
    EXPECT_TRUE(String(unpaired) < String(L"\xE000"));
    const wchar_t largest[] = {static_cast<wchar_t>(-1), L'\0'};
    EXPECT_TRUE(String(L"a") < String(largest));
}

TEST(StringTest, ConvertsToAView)
{
    const String text(L"view");
    const std::wstring_view view = text;
    EXPECT_EQ(view, L"view");
    EXPECT_EQ(view.data(), text.c_str());
    EXPECT_NE(viewOf(String()).data(), nullptr);
}

/// Random edits against std::wstring, with memory running out now and then.
TEST(StringTest, RandomEditsAgreeWithStandardStrings)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    String text;
    std::wstring model;
    for (int step = 0; step < 20000; ++step)
    {
        const std::wstring piece(random.below(6), static_cast<wchar_t>(L'a' + static_cast<wchar_t>(random.below(26))));
        const std::size_t at = random.below(model.size() + 1);
        const std::size_t count = random.below(model.size() - at + 1);
        const std::wstring part(model, at, count);
        const std::size_t grants = random.chance(1, 10) ? 0 : SIZE_MAX;
        switch (random.below(model.size() > 2000 ? 7 : 5))
        {
        case 0:
            if (tryEdit(grants, [&] { text.append(piece.c_str()); }))
                model += piece;
            break;
        case 1:
            if (tryEdit(grants, [&] { text.append(text.c_str() + at, count); }))
                model += part;
            break;
        case 2:
            if (tryEdit(grants, [&] { text += L'\x20AC'; }))
                model += L'\x20AC';
            break;
        case 3: static_cast<void>(tryEdit(grants, [&] { text.reserve(at * 2); })); break;
        case 4:
            if (random.chance(3, 4))
                break;
            if (tryEdit(grants, [&] { text.assign(text.c_str() + at, count); }))
                model = part;
            break;
        case 5:
            text.clear();
            model.clear();
            break;
        default:
            if (tryEdit(grants, [&] { text = piece.c_str(); }))
                model = piece;
            break;
        }
        ASSERT_EQ(viewOf(text), model) << "step " << step;
        ASSERT_EQ(text.c_str()[text.size()], L'\0');
    }
}

} // namespace
