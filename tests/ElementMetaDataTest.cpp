#include <db2/ElementMetaData.h>

#include <db2/AttributeMetaData.h>
#include <db2/AttributeMetaDataDef.h>
#include <db2/NameHash.h>

#include "MetaDataRecords.h"
#include "support/HeapThatRunsOut.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <concepts>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace db2;
using namespace db2test;

namespace {

class ElementMetaDataTest : public ::testing::Test
{
protected:
    Definitions full = makeFullDefinitions();
    LogRecorder log;
};

using EnumAttributeMetaDataTest = ElementMetaDataTest;
using UnknownEnumAttributeMetaDataTest = ElementMetaDataTest;

/// The word that the hash of names mixes into this one; its steps can be undone.
std::uint32_t wordMixedInto(std::uint32_t mixed)
{
    constexpr std::uint32_t kInverse = 0xE59B19BDu; // of the factor, modulo 2^32
    mixed *= kInverse;
    mixed ^= mixed >> 24;
    return mixed * kInverse;
}

/// Different texts of four characters and one hash: the second half of each undoes what the first did.
std::vector<std::wstring> textsOfOneHash(std::size_t count)
{
    constexpr std::uint32_t kFactor = 0x5BD1E995u;
    const auto isPlain = [](std::uint32_t unit) { return unit != 0 && (unit < 0xD800 || unit > 0xDFFF); };
    std::vector<std::wstring> texts;
    for (std::uint32_t first = 0; texts.size() < count; ++first)
    {
        // The hash of four units begins at seed ^ 8, and is multiplied before each word of two is mixed in.
        std::uint32_t mixed = (0x20000u + first) * kFactor;
        mixed = (mixed ^ mixed >> 24) * kFactor;
        const std::uint32_t afterFirst = (0x8F5F144Au ^ 8u) * kFactor ^ mixed;
        const std::uint32_t second = wordMixedInto(0x600D600Du ^ afterFirst * kFactor);
        const std::uint32_t units[] = {(0x20000u + first) & 0xFFFF, (0x20000u + first) >> 16, second & 0xFFFF,
                                       second >> 16};
        if (!std::all_of(std::begin(units), std::end(units), isPlain))
            continue;
        std::wstring text;
        for (const std::uint32_t unit : units)
            text += static_cast<wchar_t>(unit);
        EXPECT_EQ(hashName(text.c_str()), hashName(texts.empty() ? text.c_str() : texts.front().c_str()));
        texts.push_back(text);
    }
    return texts;
}

/// True when the records of two definitions that differ by @p edit compare equal, from either side.
template <class Definition, class Edit>
bool equalDespite(Edit edit)
{
    Definition definition;
    setAllOptions(definition);
    const Record original(definition);
    edit(definition);
    const Record edited(definition);
    EXPECT_EQ(original->compare(*edited), edited->compare(*original));
    return original->compare(*edited);
}

/// The same for doCompare() alone.
template <class Definition, class Edit>
bool optionsEqualDespite(Edit edit)
{
    Definition definition;
    setAllOptions(definition);
    const Record original(definition);
    edit(definition);
    const Record edited(definition);
    EXPECT_EQ(original->doCompare(*edited), edited->doCompare(*original));
    return original->doCompare(*edited);
}

} // namespace

// --- Flags and setters ---

TEST_F(ElementMetaDataTest, HasFlagAsksForEveryBit)
{
    const Record record(*full[AttributeType::kInt]);
    record->setFlags(0x3);
    EXPECT_TRUE(record->hasFlag(0x1));
    EXPECT_TRUE(record->hasFlag(0x3));
    EXPECT_FALSE(record->hasFlag(0x5));
    EXPECT_TRUE(record->hasFlag(0));
}

TEST_F(ElementMetaDataTest, SetFlagsReplacesTheWholeSet)
{
    const Record record(*full[AttributeType::kInt]);
    ASSERT_TRUE(record->isAttributeArray());
    record->setFlags(0x80);
    EXPECT_EQ(record->getFlags(), 0x80u);
    EXPECT_FALSE(record->isAttributeArray());
}

TEST_F(ElementMetaDataTest, SettersAreReplaced)
{
    const Record record(*full[AttributeType::kQuat]);
    record->setConnectionSetter(kOtherSetter);
    EXPECT_EQ(record->getConnectionSetter(), kOtherSetter);
    record.as<QuatAttributeMetaData>().setSetter(nullptr);
    EXPECT_EQ(record.as<QuatAttributeMetaData>().getSetter(), nullptr);
}

TEST_F(ElementMetaDataTest, TheDefaultValueIsWrittenThroughAWritableRecord)
{
    const Record record(*full[AttributeType::kString]);
    const ValueHandle writable = record->getDefaultValue();
    writable.getString() = L"changed";
    const ElementMetaData& reading = *record;
    EXPECT_TRUE((std::same_as<decltype(reading.getDefaultValue()), ConstValueHandle>));
    EXPECT_EQ(reading.getDefaultValue().asString(), L"changed");
}

// --- compare() ---

TEST_F(ElementMetaDataTest, EveryRecordEqualsAnotherOfTheSameDefinition)
{
    for (const auto& definition : full)
    {
        const Record a(*definition);
        const Record b(*definition);
        EXPECT_TRUE(a->compare(*a)) << definition->getTypeId();
        EXPECT_TRUE(a->compare(*b)) << definition->getTypeId();
    }
}

TEST_F(ElementMetaDataTest, NamesMustBeEqualInCaseToo)
{
    const Record record(*full[AttributeType::kInt], L"name");
    EXPECT_TRUE(record->compare(*Record(*full[AttributeType::kInt], L"name")));
    EXPECT_FALSE(record->compare(*Record(*full[AttributeType::kInt], L"Name")));
    EXPECT_FALSE(record->compare(*Record(*full[AttributeType::kInt], L"name2")));
    EXPECT_FALSE(record->compare(*Record(*full[AttributeType::kInt], L"")));
}

TEST_F(ElementMetaDataTest, FlagsMustBeEqual)
{
    EXPECT_FALSE(equalDespite<BoolAttributeMetaDataDef>([](auto& definition) { definition.setFlags(0x110); }));
    EXPECT_FALSE(equalDespite<BoolAttributeMetaDataDef>([](auto& definition) { definition.setArray(false); }));
}

TEST_F(ElementMetaDataTest, DisplayNamesMustBothBeAbsentOrEqual)
{
    EXPECT_FALSE(equalDespite<BoolAttributeMetaDataDef>([](auto& d) { d.setDisplayName(nullptr); }));
    EXPECT_FALSE(equalDespite<BoolAttributeMetaDataDef>([](auto& d) { d.setDisplayName(L""); }));
    EXPECT_FALSE(equalDespite<BoolAttributeMetaDataDef>([](auto& d) { d.setDisplayName(L"a display name"); }));
    EXPECT_TRUE(equalDespite<BoolAttributeMetaDataDef>([](auto& d) { d.setDisplayName(L"A display name"); }));
    BoolAttributeMetaDataDef without;
    EXPECT_TRUE(Record(without)->compare(*Record(without)));
}

TEST_F(ElementMetaDataTest, DocStringsMustBothBeAbsentOrEqual)
{
    EXPECT_FALSE(equalDespite<BoolAttributeMetaDataDef>([](auto& d) { d.setDocString(nullptr); }));
    EXPECT_FALSE(equalDespite<BoolAttributeMetaDataDef>([](auto& d) { d.setDocString(L"else"); }));
}

TEST_F(ElementMetaDataTest, ConnectionSettersMustBeEqual)
{
    EXPECT_FALSE(equalDespite<BoolAttributeMetaDataDef>([](auto& d) { d.setConnectionSetter(kOtherSetter); }));
}

TEST_F(ElementMetaDataTest, DefaultValuesAreNotCompared)
{
    EXPECT_TRUE(equalDespite<IntAttributeMetaDataDef>([](auto& d) { d.setDefaultValue(99); }));
    EXPECT_TRUE(equalDespite<StringAttributeMetaDataDef>([](auto& d) { d.setDefaultValue(kqx::String(L"else")); }));
}

TEST_F(ElementMetaDataTest, CompareAsksForTheOptionsToo)
{
    EXPECT_FALSE(equalDespite<IntAttributeMetaDataDef>([](auto& d) { d.setMin(-2); }));
}

// --- doCompare() ---

TEST_F(ElementMetaDataTest, RecordsOfDifferentTypesAreUnequal)
{
    const Definitions plain = makePlainDefinitions();
    for (const auto& left : plain)
    {
        for (const auto& right : plain)
        {
            const bool isSameType = left->getTypeId() == right->getTypeId();
            EXPECT_EQ(Record(*left)->doCompare(*Record(*right)), isSameType)
                << left->getTypeId() << " and " << right->getTypeId();
        }
    }
}

template <class Definition>
void expectLimitsCompared()
{
    EXPECT_TRUE(optionsEqualDespite<Definition>([](auto&) {}));
    EXPECT_FALSE(optionsEqualDespite<Definition>([](auto& d) { d.setMin(-2); }));
    EXPECT_FALSE(optionsEqualDespite<Definition>([](auto& d) { d.setMax(6); }));
    EXPECT_FALSE(optionsEqualDespite<Definition>([](auto& d) { d.setSetter(kOtherSetter); }));

    // A limit of zero is not the same as none.
    Definition withZero;
    withZero.setMin(0);
    Definition without;
    EXPECT_FALSE(Record(withZero)->doCompare(*Record(without)));
    Definition withZeroMax;
    withZeroMax.setMax(0);
    EXPECT_FALSE(Record(withZeroMax)->doCompare(*Record(without)));
}

TEST_F(ElementMetaDataTest, NumbersCompareLimitsOptionsAndSetter)
{
    expectLimitsCompared<IntAttributeMetaDataDef>();
    expectLimitsCompared<FloatAttributeMetaDataDef>();
    expectLimitsCompared<DoubleAttributeMetaDataDef>();
}

TEST_F(ElementMetaDataTest, ANaNLimitIsUnequalToItself)
{
    FloatAttributeMetaDataDef minimum;
    minimum.setMin(std::numeric_limits<float>::quiet_NaN());
    const Record record(minimum);
    EXPECT_FALSE(record->compare(*record));
    EXPECT_FALSE(record->compare(*Record(minimum)));

    DoubleAttributeMetaDataDef maximum;
    maximum.setMax(std::numeric_limits<double>::quiet_NaN());
    const Record other(maximum);
    EXPECT_FALSE(other->compare(*other));
}

template <class Definition>
void expectUnitCompared()
{
    EXPECT_TRUE(optionsEqualDespite<Definition>([](auto&) {}));
    EXPECT_FALSE(optionsEqualDespite<Definition>([](auto& d) { d.setUnitType(kqx::kUnitTime); }));
    EXPECT_FALSE(optionsEqualDespite<Definition>([](auto& d) { d.setSetter(kOtherSetter); }));
}

TEST_F(ElementMetaDataTest, TypesWithAUnitCompareUnitAndSetter)
{
    expectUnitCompared<FloatAttributeMetaDataDef>();
    expectUnitCompared<DoubleAttributeMetaDataDef>();
    expectUnitCompared<Vector3AttributeMetaDataDef>();
    expectUnitCompared<FloatArrayAttributeMetaDataDef>();
    expectUnitCompared<DoubleArrayAttributeMetaDataDef>();
    expectUnitCompared<Vector3ArrayAttributeMetaDataDef>();
}

template <class Definition>
void expectSetterCompared()
{
    EXPECT_TRUE(optionsEqualDespite<Definition>([](auto&) {}));
    EXPECT_FALSE(optionsEqualDespite<Definition>([](auto& d) { d.setSetter(kOtherSetter); }));
}

TEST_F(ElementMetaDataTest, TypesWithASetterCompareIt)
{
    expectSetterCompared<BoolAttributeMetaDataDef>();
    expectSetterCompared<ColourAttributeMetaDataDef>();
    expectSetterCompared<StringAttributeMetaDataDef>();
    expectSetterCompared<MatrixAttributeMetaDataDef>();
    expectSetterCompared<QuatAttributeMetaDataDef>();
    expectSetterCompared<IntArrayAttributeMetaDataDef>();
    expectSetterCompared<BoolArrayAttributeMetaDataDef>();
    expectSetterCompared<ColourArrayAttributeMetaDataDef>();
    expectSetterCompared<StringArrayAttributeMetaDataDef>();
    expectSetterCompared<MatrixArrayAttributeMetaDataDef>();
    expectSetterCompared<QuatArrayAttributeMetaDataDef>();
}

TEST_F(ElementMetaDataTest, NullAndVertexBufferCompareNothingButTheType)
{
    const Definitions plain = makePlainDefinitions();
    for (const AttributeTypeId typeId : {AttributeType::kNull, AttributeType::kVertexBuffer})
        EXPECT_TRUE(Record(*full[typeId])->doCompare(*Record(*plain[typeId])));
}

TEST_F(ElementMetaDataTest, EnumsCompareChoicesAndSetter)
{
    EXPECT_TRUE(optionsEqualDespite<EnumAttributeMetaDataDef>([](auto&) {}));
    EXPECT_FALSE(optionsEqualDespite<EnumAttributeMetaDataDef>([](auto& d) { d.addChoice(L"more"); }));
    EXPECT_FALSE(optionsEqualDespite<EnumAttributeMetaDataDef>([](auto& d) { d.setSetter(kOtherSetter); }));
    EXPECT_FALSE(optionsEqualDespite<EnumAttributeMetaDataDef>([](auto& d) {
        d.setChoices(kqx::StringArray{kqx::String(L"red"), kqx::String(L"b"), kqx::String(L"a green that is longer")});
    }));
}

TEST_F(ElementMetaDataTest, AnEnumAndAnUnknownEnumOfTheSameChoicesAreEqual)
{
    const Record known(*full[AttributeType::kEnum]);
    const Record unknown(*full.back());
    EXPECT_TRUE(known->compare(*unknown));
    EXPECT_TRUE(unknown->compare(*known));
    unknown.as<UnknownEnumAttributeMetaData>().addChoiceIfNotExist(L"learned");
    EXPECT_FALSE(known->compare(*unknown));
    EXPECT_FALSE(unknown->compare(*known));
}

// --- clone() and getMemoryRequirements() ---

TEST_F(ElementMetaDataTest, ACloneEqualsItsSourceAndFillsTheMeasuredBlockExactly)
{
    for (const Definitions& definitions : {makeFullDefinitions(), makePlainDefinitions()})
    {
        for (const auto& definition : definitions)
        {
            for (std::uint32_t offset = 0; offset < 40; ++offset)
            {
                SCOPED_TRACE(testing::Message() << "type " << definition->getTypeId() << " at " << offset);
                const Record source(*definition, L"source");
                MemoryFormat format{offset, 0};
                source->getMemoryRequirements(format);
                const GuardedBlock block(format, offset);
                MemoryResource resource = block.resource();
                ElementMetaData* const copy = source->clone(resource);
                ASSERT_NE(copy, nullptr);
                EXPECT_EQ(resource.remaining, 0u);
                EXPECT_TRUE(copy->compare(*source));
                EXPECT_TRUE(copy->getDefaultValue().compare(source->getDefaultValue()));
                EXPECT_TRUE(areOfOneClass(*copy, *source));
                ElementMetaData::destroyInPlace(copy);
            }
        }
    }
}

TEST_F(ElementMetaDataTest, ACloneOutlivesItsSource)
{
    for (const auto& definition : full)
    {
        auto source = std::make_unique<Record>(*definition, L"source");
        const Record copy{ElementMetaDataCopier(**source)};
        source.reset();
        EXPECT_TRUE(copy->compare(*Record(*definition, L"source"))) << definition->getTypeId();
        EXPECT_TRUE(copy->getDefaultValue().compare(definition->getDefaultValue())) << definition->getTypeId();
    }
}

TEST_F(ElementMetaDataTest, ARecordMeasuresAsItsDefinitionDoes)
{
    for (const auto& definition : full)
    {
        MemoryFormat format;
        Record(*definition)->getMemoryRequirements(format);
        EXPECT_EQ(format.size, Record::measure(*definition).size) << definition->getTypeId();
        EXPECT_EQ(format.alignment, Record::measure(*definition).alignment) << definition->getTypeId();
    }
}

TEST_F(ElementMetaDataTest, ACloneLosesTheComputedFlagAndKeepsAllOthers)
{
    const Record source(*full[AttributeType::kFloat]);
    source->setFlags(0xFFFFFFFFu);
    const Record copy{ElementMetaDataCopier(*source)};
    EXPECT_EQ(copy->getFlags(), ~ElementMetaDataFlag::kComputed);
    EXPECT_FALSE(copy->hasComputeSet());
    EXPECT_FALSE(copy->hasOutputComputeSets());
    EXPECT_EQ(copy->getOutputComputeSet(), ElementMetaData::kNoComputeSet);
}

TEST_F(ElementMetaDataTest, ACloneInTooLittleRoomIsNotMade)
{
    for (const auto& definition : full)
    {
        const Record source(*definition);
        const GuardedBlock block(Record::measure(*definition));
        MemoryResource resource(block.begin(), block.size() - 1);
        EXPECT_EQ(source->clone(resource), nullptr) << definition->getTypeId();
        EXPECT_EQ(resource.cursor, block.begin());
    }
}

TEST_F(ElementMetaDataTest, ACloneWithoutMemoryIsNotMade)
{
    for (const auto& definition :
         {full[AttributeType::kString].get(), full[AttributeType::kStringArray].get(), full.back().get()})
    {
        const Record source(*definition);
        const GuardedBlock block(Record::measure(*definition));
        MemoryResource resource = block.resource();
        const HeapThatRunsOut noMemory(0);
        EXPECT_EQ(source->clone(resource), nullptr) << definition->getTypeId();
        EXPECT_EQ(resource.remaining, block.size());
    }
}

// --- The end ---

TEST_F(ElementMetaDataTest, RecordsAreNotMadeByHosts)
{
    EXPECT_FALSE((std::constructible_from<IntAttributeMetaData, const IntAttributeMetaDataDef&, const wchar_t*,
                                          MemoryResource&>));
    EXPECT_FALSE((std::constructible_from<BoolAttributeMetaData, const BoolAttributeMetaDataDef&, const wchar_t*,
                                          MemoryResource&>));
    EXPECT_FALSE((std::constructible_from<NullAttributeMetaData, const ElementMetaData&, MemoryResource&>));
}

TEST_F(ElementMetaDataTest, DestroyInPlaceIgnoresNull)
{
    EXPECT_NO_THROW(ElementMetaData::destroyInPlace(nullptr));
}

// --- Enum choices ---

TEST_F(EnumAttributeMetaDataTest, ChoicesAreReadByIndex)
{
    const Record record(*full[AttributeType::kEnum]);
    const auto& choices = record.as<EnumAttributeMetaData>();
    ASSERT_EQ(choices.getNumChoices(), 3u);
    EXPECT_STREQ(choices.getChoice(0), L"red");
    EXPECT_STREQ(choices.getChoice(1), L"a green that is longer");
    EXPECT_STREQ(choices.getChoice(2), L"b");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EnumAttributeMetaDataTest, AnIndexOutOfRangeGivesNullAndIsLogged)
{
    const Record record(*full[AttributeType::kEnum]);
    const auto& choices = record.as<EnumAttributeMetaData>();
    EXPECT_EQ(choices.getChoice(choices.getNumChoices()), nullptr);
    EXPECT_TRUE(log.tookError(L"Index out of range in EnumAttributeMetaData::getChoice()"));
    EXPECT_EQ(choices.getChoice(0xFFFFFFFFu), nullptr);
    EXPECT_TRUE(log.tookError(L"Index out of range in EnumAttributeMetaData::getChoice()"));
}

TEST_F(EnumAttributeMetaDataTest, WithoutChoicesThereIsNothingToFind)
{
    const EnumAttributeMetaDataDef definition;
    const Record record(definition);
    log.take();
    const auto& choices = record.as<EnumAttributeMetaData>();
    EXPECT_EQ(choices.getChoiceIndex(L"red"), -1);
    EXPECT_EQ(choices.getChoiceIndex(L""), -1);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(choices.getChoice(choices.getNumChoices()), nullptr);
    EXPECT_TRUE(log.tookError(L"Index out of range in EnumAttributeMetaData::getChoice()"));
}

TEST_F(EnumAttributeMetaDataTest, AChoiceIsFoundAtItsFirstPlace)
{
    EnumAttributeMetaDataDef definition;
    for (const wchar_t* choice : {L"red", L"green", L"red", L""})
        definition.addChoice(choice);
    const Record record(definition);
    const auto& choices = record.as<EnumAttributeMetaData>();
    EXPECT_EQ(choices.getChoiceIndex(L"red"), 0);
    EXPECT_EQ(choices.getChoiceIndex(L"green"), 1);
    EXPECT_EQ(choices.getChoiceIndex(L""), 3);
    EXPECT_EQ(choices.getChoiceIndex(L"Red"), -1);
    EXPECT_EQ(choices.getChoiceIndex(L"gree"), -1);
    EXPECT_EQ(choices.getChoiceIndex(nullptr), -1);
}

// --- Choices that are learned ---

TEST_F(UnknownEnumAttributeMetaDataTest, AnIndexOutOfRangeGivesNullAndIsLogged)
{
    const Record record(*full.back());
    const EnumAttributeMetaData& choices = record.as<UnknownEnumAttributeMetaData>();
    EXPECT_EQ(choices.getChoice(3), nullptr);
    EXPECT_TRUE(log.tookError(L"Index out of range in UnknownEnumAttributeMetaData::getChoice()"));
}

TEST_F(UnknownEnumAttributeMetaDataTest, ANewChoiceIsAppendedOnce)
{
    const Record record{UnknownEnumAttributeMetaDataDef()};
    auto& choices = record.as<UnknownEnumAttributeMetaData>();
    EXPECT_EQ(choices.addChoiceIfNotExist(L"red"), 0);
    EXPECT_EQ(choices.addChoiceIfNotExist(L"green"), 1);
    EXPECT_EQ(choices.addChoiceIfNotExist(L"red"), 0);
    EXPECT_EQ(choices.addChoiceIfNotExist(L"green"), 1);
    EXPECT_EQ(choices.getNumChoices(), 2u);
    EXPECT_STREQ(choices.getChoice(1), L"green");
}

TEST_F(UnknownEnumAttributeMetaDataTest, LearnedChoicesAreFoundThroughTheBase)
{
    const Record record(*full.back());
    record.as<UnknownEnumAttributeMetaData>().addChoiceIfNotExist(L"learned");
    const EnumAttributeMetaData& choices = record.as<UnknownEnumAttributeMetaData>();
    EXPECT_EQ(choices.getNumChoices(), 4u);
    EXPECT_STREQ(choices.getChoice(3), L"learned");
    EXPECT_EQ(choices.getChoiceIndex(L"learned"), 3);
    EXPECT_EQ(choices.getChoiceIndex(L"red"), 0);
    EXPECT_EQ(choices.getChoiceIndex(nullptr), -1);
}

TEST_F(UnknownEnumAttributeMetaDataTest, ANullChoiceIsTheEmptyText)
{
    const Record record{UnknownEnumAttributeMetaDataDef()};
    auto& choices = record.as<UnknownEnumAttributeMetaData>();
    EXPECT_EQ(choices.addChoiceIfNotExist(nullptr), 0);
    EXPECT_EQ(choices.addChoiceIfNotExist(L""), 0);
    EXPECT_EQ(choices.getNumChoices(), 1u);
}

TEST_F(UnknownEnumAttributeMetaDataTest, OfEqualInitialChoicesTheFirstIsMeant)
{
    UnknownEnumAttributeMetaDataDef definition;
    for (const wchar_t* choice : {L"a", L"b", L"a"})
        definition.addChoice(choice);
    const Record record(definition);
    auto& choices = record.as<UnknownEnumAttributeMetaData>();
    EXPECT_EQ(choices.addChoiceIfNotExist(L"a"), 0);
    EXPECT_EQ(choices.addChoiceIfNotExist(L"c"), 3);
}

TEST_F(UnknownEnumAttributeMetaDataTest, ACloneKnowsWhatWasLearnedAndLearnsByItself)
{
    const Record source{UnknownEnumAttributeMetaDataDef()};
    source.as<UnknownEnumAttributeMetaData>().addChoiceIfNotExist(L"red");
    const Record copy{ElementMetaDataCopier(*source)};
    auto& learned = copy.as<UnknownEnumAttributeMetaData>();
    EXPECT_EQ(learned.addChoiceIfNotExist(L"red"), 0);
    EXPECT_EQ(learned.addChoiceIfNotExist(L"green"), 1);
    EXPECT_EQ(source.as<UnknownEnumAttributeMetaData>().getNumChoices(), 1u);
}

TEST_F(UnknownEnumAttributeMetaDataTest, ChoicesOfOneHashAreToldApart)
{
    const wchar_t* const first = L"choice 89863";
    const wchar_t* const second = L"choice 137896";
    ASSERT_EQ(hashName(first), hashName(second));
    const Record record{UnknownEnumAttributeMetaDataDef()};
    auto& choices = record.as<UnknownEnumAttributeMetaData>();
    EXPECT_EQ(choices.addChoiceIfNotExist(first), 0);
    EXPECT_EQ(choices.addChoiceIfNotExist(second), 1);
    EXPECT_EQ(choices.addChoiceIfNotExist(first), 0);
    EXPECT_EQ(choices.addChoiceIfNotExist(second), 1);
}

TEST_F(UnknownEnumAttributeMetaDataTest, ManyChoicesOfOneHashCostNoMoreThanOthers)
{
    const std::vector<std::wstring> texts = textsOfOneHash(200000); // comparing each with all before would take minutes
    const Record record{UnknownEnumAttributeMetaDataDef()};
    auto& choices = record.as<UnknownEnumAttributeMetaData>();
    for (int round = 0; round < 2; ++round)
        for (std::size_t i = 0; i < texts.size(); ++i)
            ASSERT_EQ(choices.addChoiceIfNotExist(texts[i].c_str()), static_cast<int>(i));
    const Record copy{ElementMetaDataCopier(*record)};
    EXPECT_EQ(copy.as<UnknownEnumAttributeMetaData>().addChoiceIfNotExist(texts.back().c_str()),
              static_cast<int>(texts.size() - 1));
}

TEST_F(UnknownEnumAttributeMetaDataTest, WithoutMemoryNothingIsLearned)
{
    const Record record{UnknownEnumAttributeMetaDataDef()};
    auto& choices = record.as<UnknownEnumAttributeMetaData>();
    choices.addChoiceIfNotExist(L"red");
    std::size_t grants = 0;
    for (;; ++grants)
    {
        const HeapThatRunsOut littleMemory(grants);
        const int index = choices.addChoiceIfNotExist(L"green");
        if (index >= 0)
        {
            EXPECT_EQ(index, 1);
            break;
        }
        ASSERT_TRUE(littleMemory.hasRunOut());
        EXPECT_EQ(choices.getNumChoices(), 1u);
        EXPECT_EQ(choices.getChoiceIndex(L"green"), -1);
    }
    EXPECT_GT(grants, 0u);
    EXPECT_EQ(choices.addChoiceIfNotExist(L"red"), 0);
}

/// Learning behaves like a list that is searched from its start, whatever is learned in whatever order.
TEST(UnknownEnumAttributeMetaDataProperty, LearningEqualsAScanOfAList)
{
    const unsigned int seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    const Record record{UnknownEnumAttributeMetaDataDef()};
    auto& choices = record.as<UnknownEnumAttributeMetaData>();
    std::vector<std::wstring> model;
    for (int step = 0; step < 3000; ++step)
    {
        const std::wstring choice = L"choice " + std::to_wstring(random() % 1000);
        auto place = std::find(model.begin(), model.end(), choice);
        const auto expected = static_cast<int>(place - model.begin());
        if (place == model.end())
            model.push_back(choice);
        ASSERT_EQ(choices.addChoiceIfNotExist(choice.c_str()), expected);
    }
    ASSERT_EQ(choices.getNumChoices(), model.size());
    for (unsigned int i = 0; i < choices.getNumChoices(); ++i)
        ASSERT_EQ(choices.getChoice(i), model[i]);
}
