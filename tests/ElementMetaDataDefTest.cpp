#include <db2/ElementMetaDataDef.h>

#include <db2/AttributeMetaData.h>
#include <db2/AttributeMetaDataDef.h>

#include "MetaDataRecords.h"
#include "support/HeapThatRunsOut.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cwchar>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

using namespace db2;
using namespace db2test;

namespace {

bool isTypesDefault(const ConstValueHandle& value)
{
    return value.compare(ConstValueHandle(nullptr, value.getTypeId()));
}

class ElementMetaDataDefTest : public ::testing::Test
{
protected:
    Definitions full = makeFullDefinitions();
    Definitions plain = makePlainDefinitions();
    LogRecorder log;
};

using EnumAttributeMetaDataDefTest = ElementMetaDataDefTest;
using ElementMetaDataCopierTest = ElementMetaDataDefTest;

} // namespace

// --- A fresh definition ---

TEST_F(ElementMetaDataDefTest, EveryTypeHasADefinitionOfItsId)
{
    ASSERT_EQ(full.size(), kAttributeTypeCount + 1);
    for (std::uint32_t i = 0; i < kAttributeTypeCount; ++i)
    {
        EXPECT_EQ(full[i]->getTypeId(), i);
        EXPECT_EQ(full[i]->getDefaultValue().getTypeId(), i);
    }
    EXPECT_EQ(full.back()->getTypeId(), AttributeType::kEnum);
}

TEST_F(ElementMetaDataDefTest, AFreshDefinitionHasNothingButItsType)
{
    const IntAttributeMetaDataDef definition;
    EXPECT_EQ(definition.getTypeId(), AttributeType::kInt);
    EXPECT_EQ(definition.getDefaultValue().getInt(), 0);
    EXPECT_EQ(definition.getDisplayName(), nullptr);
    EXPECT_EQ(definition.getDocString(), nullptr);
    EXPECT_EQ(definition.getFlags(), 0u);
    EXPECT_FALSE(definition.isArray());
    EXPECT_EQ(definition.getConnectionSetter(), nullptr);
    EXPECT_FALSE(definition.hasMin());
    EXPECT_FALSE(definition.hasMax());
    EXPECT_EQ(definition.getSetter(), nullptr);
}

TEST_F(ElementMetaDataDefTest, AFreshDefaultValueIsTheTypesDefault)
{
    EXPECT_TRUE(isTypesDefault(MatrixAttributeMetaDataDef().getDefaultValue()));
    EXPECT_TRUE(isTypesDefault(StringAttributeMetaDataDef().getDefaultValue()));
    EXPECT_TRUE(isTypesDefault(QuatArrayAttributeMetaDataDef().getDefaultValue()));
    EXPECT_TRUE(isTypesDefault(EnumAttributeMetaDataDef().getDefaultValue()));
}

TEST_F(ElementMetaDataDefTest, ADefinitionNeedsNoMemory)
{
    const HeapThatRunsOut noMemory(0);
    const StringAttributeMetaDataDef text;
    const MatrixArrayAttributeMetaDataDef matrices;
    EXPECT_FALSE(text.getDefaultValue().isNull());
    EXPECT_FALSE(matrices.getDefaultValue().isNull());
    EXPECT_FALSE(noMemory.hasRunOut());
}

TEST_F(ElementMetaDataDefTest, DefinitionsAreNotCopied)
{
    EXPECT_FALSE(std::is_copy_constructible_v<IntAttributeMetaDataDef>);
    EXPECT_FALSE(std::is_copy_assignable_v<IntAttributeMetaDataDef>);
}

// --- Setters ---

TEST_F(ElementMetaDataDefTest, DefaultValuesAreSetInTheTypesOwnClass)
{
    for (std::uint32_t i = 0; i < kAttributeTypeCount; ++i)
        EXPECT_EQ(isTypesDefault(full[i]->getDefaultValue()), i == AttributeType::kNull) << i;
    EXPECT_EQ(full[AttributeType::kInt]->getDefaultValue().getInt(), 3);
    EXPECT_TRUE(full[AttributeType::kBool]->getDefaultValue().getBool());
    EXPECT_EQ(full[AttributeType::kColour]->getDefaultValue().getColour(), kqx::Colour(1, 2, 3, 4));
    EXPECT_EQ(full[AttributeType::kFloat]->getDefaultValue().getFloat(), 1.5f);
    EXPECT_EQ(full[AttributeType::kDouble]->getDefaultValue().getDouble(), 2.5);
    EXPECT_EQ(full[AttributeType::kEnum]->getDefaultValue().getInt(), 2);
    EXPECT_EQ(full[AttributeType::kVector3]->getDefaultValue().getVector3(), kqx::Vector3(1, 2, 3));
    EXPECT_EQ(full[AttributeType::kIntArray]->getDefaultValue().getIntArray(), (kqx::IntArray{1, 2}));
    EXPECT_EQ(full[AttributeType::kStringArray]->getDefaultValue().getSize(), 2u);
}

TEST_F(ElementMetaDataDefTest, ADefaultValueThatFindsNoMemoryIsRefused)
{
    StringAttributeMetaDataDef text;
    DoubleArrayAttributeMetaDataDef numbers;
    const kqx::String longText(L"a text that is long enough to own memory");
    const kqx::DoubleArray many(10, 0.5);
    const HeapThatRunsOut noMemory(0);
    EXPECT_FALSE(text.setDefaultValue(longText));
    EXPECT_FALSE(numbers.setDefaultValue(many));
    EXPECT_TRUE(isTypesDefault(text.getDefaultValue()));
    EXPECT_TRUE(isTypesDefault(numbers.getDefaultValue()));
}

TEST_F(ElementMetaDataDefTest, LimitsSayThatTheyAreThere)
{
    FloatAttributeMetaDataDef definition;
    definition.setMin(-2);
    EXPECT_TRUE(definition.hasMin());
    EXPECT_FALSE(definition.hasMax());
    definition.setMax(2);
    EXPECT_TRUE(definition.hasMax());
    EXPECT_EQ(definition.getMin(), -2.0f);
    EXPECT_EQ(definition.getMax(), 2.0f);
}

// --- clear() ---

TEST_F(ElementMetaDataDefTest, ClearMakesADefinitionLikeNew)
{
    for (const auto& definition : full)
    {
        const AttributeTypeId typeId = definition->getTypeId();
        SCOPED_TRACE(typeId);
        definition->clear();
        EXPECT_EQ(definition->getTypeId(), typeId);
        EXPECT_TRUE(isTypesDefault(definition->getDefaultValue()));
        EXPECT_EQ(definition->getDisplayName(), nullptr);
        EXPECT_EQ(definition->getDocString(), nullptr);
        EXPECT_EQ(definition->getFlags(), 0u);
        EXPECT_FALSE(definition->isArray());
        EXPECT_EQ(definition->getConnectionSetter(), nullptr);
        if (const auto* const setter = dynamic_cast<const SetterAttributeMetaDataDef*>(definition.get()))
        {
            EXPECT_EQ(setter->getSetter(), nullptr);
        }
        if (const auto* const unit = dynamic_cast<const UnitAttributeMetaDataDef*>(definition.get()))
        {
            EXPECT_EQ(unit->getUnitType(), kqx::kUnitNone);
        }
        if (const auto* const choices = dynamic_cast<const EnumAttributeMetaDataDef*>(definition.get()))
        {
            EXPECT_EQ(choices->getNumChoices(), 0u);
        }
    }
}

template <class Definition>
void expectNoLimitsAfterClear()
{
    Definition definition;
    definition.setMin(1);
    definition.setMax(2);
    definition.clear();
    EXPECT_EQ(definition.getMin(), 0);
    EXPECT_EQ(definition.getMax(), 0);
    EXPECT_FALSE(definition.hasMin());
    EXPECT_FALSE(definition.hasMax());
}

TEST_F(ElementMetaDataDefTest, ClearTakesTheLimitsAway)
{
    expectNoLimitsAfterClear<IntAttributeMetaDataDef>();
    expectNoLimitsAfterClear<FloatAttributeMetaDataDef>();
    expectNoLimitsAfterClear<DoubleAttributeMetaDataDef>();
}

TEST_F(ElementMetaDataDefTest, AClearedDefinitionMakesARecordLikeAFreshOne)
{
    full[AttributeType::kDouble]->clear();
    const Record cleared(*full[AttributeType::kDouble]);
    const Record fresh{DoubleAttributeMetaDataDef()};
    EXPECT_TRUE(cleared->compare(*fresh));
}

// --- Making records ---

TEST_F(ElementMetaDataDefTest, ARecordHasWhatTheDefinitionSays)
{
    for (const auto& definition : full)
    {
        SCOPED_TRACE(definition->getTypeId());
        const Record record(*definition, L"made");
        EXPECT_STREQ(record->getName(), L"made");
        EXPECT_EQ(record->getTypeId(), definition->getTypeId());
        EXPECT_TRUE(record->getDefaultValue().compare(definition->getDefaultValue()));
        EXPECT_EQ(record->getFlags(), 0x111u | ElementMetaDataFlag::kArray);
        EXPECT_TRUE(record->isAttributeArray());
        EXPECT_STREQ(record->getDisplayName(), L"A display name");
        EXPECT_STREQ(record->getDocString(), L"What the element is for");
        EXPECT_EQ(record->getConnectionSetter(), kConnectionSetter);
    }
}

TEST_F(ElementMetaDataDefTest, ARecordOfAPlainDefinitionHasNoOptions)
{
    for (const auto& definition : plain)
    {
        SCOPED_TRACE(definition->getTypeId());
        const Record record(*definition);
        EXPECT_TRUE(isTypesDefault(record->getDefaultValue()));
        EXPECT_EQ(record->getFlags(), 0u);
        EXPECT_FALSE(record->isAttributeArray());
        EXPECT_EQ(record->getDisplayName(), nullptr);
        EXPECT_EQ(record->getDocString(), nullptr);
        EXPECT_EQ(record->getConnectionSetter(), nullptr);
    }
}

TEST_F(ElementMetaDataDefTest, ARecordBelongsToNoComputeSet)
{
    const Record record(*full[AttributeType::kFloat]);
    EXPECT_EQ(record->getComputeSet(), 0xFFFFFFFFu);
    EXPECT_FALSE(record->hasComputeSet());
    EXPECT_EQ(record->getOutputComputeSet(), 0xFFFFFFFFu);
    EXPECT_EQ(record->getOutputComputeSetSize(), 0u);
    EXPECT_FALSE(record->hasOutputComputeSets());
}

TEST_F(ElementMetaDataDefTest, RecordsAreOfTheirTypesClass)
{
    EXPECT_NO_THROW((void)Record(*full[0]).as<IntAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[1]).as<BoolAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[2]).as<ColourAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[3]).as<FloatAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[4]).as<DoubleAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[5]).as<StringAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[6]).as<EnumAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[7]).as<Vector3AttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[8]).as<MatrixAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[9]).as<QuatAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[10]).as<NullAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[11]).as<VertexBufferAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[12]).as<IntArrayAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[13]).as<BoolArrayAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[14]).as<ColourArrayAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[15]).as<FloatArrayAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[16]).as<DoubleArrayAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[17]).as<StringArrayAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[18]).as<Vector3ArrayAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[19]).as<MatrixArrayAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[20]).as<QuatArrayAttributeMetaData>());
    EXPECT_NO_THROW((void)Record(*full[21]).as<UnknownEnumAttributeMetaData>());
}

TEST_F(ElementMetaDataDefTest, SettersAndUnitsReachTheRecord)
{
    for (const auto& definition : full)
    {
        const AttributeTypeId typeId = definition->getTypeId();
        SCOPED_TRACE(typeId);
        const Record record(*definition);
        const auto* const setter = dynamic_cast<const SetterAttributeMetaData*>(&*record);
        EXPECT_EQ(setter == nullptr, typeId == AttributeType::kNull || typeId == AttributeType::kVertexBuffer);
        if (setter != nullptr)
        {
            EXPECT_EQ(setter->getSetter(), kSetter);
        }
        const auto* const unit = dynamic_cast<const UnitAttributeMetaData*>(&*record);
        const bool hasUnit = typeId == AttributeType::kFloat || typeId == AttributeType::kDouble ||
                             typeId == AttributeType::kVector3 || typeId == AttributeType::kFloatArray ||
                             typeId == AttributeType::kDoubleArray || typeId == AttributeType::kVector3Array;
        EXPECT_EQ(unit != nullptr, hasUnit);
        if (unit != nullptr)
        {
            EXPECT_EQ(unit->getUnitType(), kqx::kUnitAngle);
        }
    }
}

template <class Definition, class MetaData>
void expectLimitsInRecord()
{
    Definition definition;
    EXPECT_EQ(Record(definition).template as<MetaData>().getOptions(), 0);
    definition.setMin(-1);
    EXPECT_EQ(Record(definition).template as<MetaData>().getOptions(), 1);
    definition.setMax(5);
    const Record both(definition);
    EXPECT_EQ(both.template as<MetaData>().getOptions(), 3);
    EXPECT_EQ(both.template as<MetaData>().getMin(), -1);
    EXPECT_EQ(both.template as<MetaData>().getMax(), 5);
    definition.clear();
    definition.setMax(5);
    EXPECT_EQ(Record(definition).template as<MetaData>().getOptions(), 2);
}

TEST_F(ElementMetaDataDefTest, LimitsReachTheRecordAsOptions)
{
    expectLimitsInRecord<IntAttributeMetaDataDef, IntAttributeMetaData>();
    expectLimitsInRecord<FloatAttributeMetaDataDef, FloatAttributeMetaData>();
    expectLimitsInRecord<DoubleAttributeMetaDataDef, DoubleAttributeMetaData>();
}

TEST_F(ElementMetaDataDefTest, ARecordKeepsNothingOfTheDefinition)
{
    std::wstring name(L"name");
    std::wstring displayName(L"display");
    std::wstring docString(L"doc");
    StringAttributeMetaDataDef definition;
    definition.setDisplayName(displayName.c_str());
    definition.setDocString(docString.c_str());
    definition.setDefaultValue(kqx::String(L"default"));
    const Record record(definition, name.c_str());
    name = displayName = docString = L"";
    definition.clear();
    EXPECT_STREQ(record->getName(), L"name");
    EXPECT_STREQ(record->getDisplayName(), L"display");
    EXPECT_STREQ(record->getDocString(), L"doc");
    EXPECT_EQ(record->getDefaultValue().asString(), L"default");
}

TEST_F(ElementMetaDataDefTest, ARecordAndAllItsTextsStandInTheBlock)
{
    EnumAttributeMetaDataDef definition;
    setAllOptions(definition);
    const Record record(definition);
    const GuardedBlock& block = record.block();
    EXPECT_EQ(static_cast<const void*>(&*record), block.begin());
    EXPECT_TRUE(block.contains(record->getDefaultValue().getData()));
    EXPECT_TRUE(block.contains(record->getDisplayName()));
    EXPECT_TRUE(block.contains(record->getDocString()));
    for (unsigned int i = 0; i < definition.getNumChoices(); ++i)
        EXPECT_TRUE(block.contains(record.as<EnumAttributeMetaData>().getChoice(i)));
}

TEST_F(ElementMetaDataDefTest, MakingARecordNeedsNoHeapButForWhatItsDefaultValueOwns)
{
    for (const auto& definition : plain)
    {
        const GuardedBlock block(Record::measure(*definition));
        MemoryResource resource = block.resource();
        const HeapThatRunsOut noMemory(0);
        const ElementMetaData* const record = definition->makeMetaData(L"element", resource);
        EXPECT_NE(record, nullptr) << definition->getTypeId();
        EXPECT_FALSE(noMemory.hasRunOut());
        ElementMetaData::destroyInPlace(const_cast<ElementMetaData*>(record));
    }
}

TEST_F(ElementMetaDataDefTest, WithoutMemoryForTheDefaultValueNoRecordIsMade)
{
    for (const AttributeTypeId typeId : {AttributeType::kString, AttributeType::kVertexBuffer,
                                         AttributeType::kStringArray, AttributeType::kMatrixArray})
    {
        const GuardedBlock block(Record::measure(*full[typeId]));
        MemoryResource resource = block.resource();
        const HeapThatRunsOut noMemory(0);
        EXPECT_EQ(full[typeId]->makeMetaData(L"element", resource), nullptr) << typeId;
        EXPECT_EQ(resource.cursor, block.begin());
        EXPECT_EQ(resource.remaining, block.size());
    }
}

TEST_F(ElementMetaDataDefTest, AnOverlongNameIsCut)
{
    const std::wstring longName(1000, L'n');
    const Record record(*full[AttributeType::kInt], longName.c_str());
    EXPECT_EQ(std::wcslen(record->getName()), 41u);
    EXPECT_EQ(record->getTypeId(), AttributeType::kInt);
    EXPECT_EQ(record->getDefaultValue().asInt(), 3);
}

TEST_F(ElementMetaDataDefTest, ANameThatJustFitsIsKept)
{
    const std::wstring name(41, L'n');
    const Record record(*full[AttributeType::kInt], name.c_str());
    EXPECT_EQ(record->getName(), name);
}

TEST_F(ElementMetaDataDefTest, ANullNameIsAnEmptyOne)
{
    const Record record(*full[AttributeType::kInt], nullptr);
    EXPECT_STREQ(record->getName(), L"");
}

TEST_F(ElementMetaDataDefTest, TheArrayFlagComesFromTheDefinitionsField)
{
    IntAttributeMetaDataDef definition;
    definition.setFlags(ElementMetaDataFlag::kDontSave);
    EXPECT_EQ(Record(definition)->getFlags(), 1u);
    definition.setArray(true);
    EXPECT_EQ(Record(definition)->getFlags(), 5u);
    definition.setArray(false);
    EXPECT_FALSE(Record(definition)->isAttributeArray());
}

TEST_F(ElementMetaDataDefTest, HostFlagsReachTheRecord)
{
    IntAttributeMetaDataDef definition;
    definition.setFlags(0x80000080u);
    EXPECT_TRUE(Record(definition)->hasFlag(0x80000080u));
}

TEST_F(ElementMetaDataDefTest, EmptyTextsArePresentTexts)
{
    IntAttributeMetaDataDef definition;
    definition.setDisplayName(L"");
    const Record record(definition);
    EXPECT_STREQ(record->getDisplayName(), L"");
    EXPECT_EQ(record->getDocString(), nullptr);
}

// --- Measuring: each Record stands in a guarded block of the measured size, and must fill it to the byte ---

TEST_F(ElementMetaDataDefTest, TheMeasuredBlockIsFilledExactlyWhereverTheRecordStarts)
{
    for (const Definitions* definitions : {&full, &plain})
    {
        for (const auto& definition : *definitions)
        {
            for (std::size_t offset = 0; offset < 40; ++offset)
            {
                SCOPED_TRACE(testing::Message() << "type " << definition->getTypeId() << " at " << offset);
                const Record record(*definition, L"element", offset);
                EXPECT_EQ(record->getTypeId(), definition->getTypeId());
            }
        }
    }
}

TEST_F(ElementMetaDataDefTest, TextsOfEveryLengthFit)
{
    for (std::size_t length = 0; length < 20; ++length)
    {
        const std::wstring text(length, L't');
        BoolAttributeMetaDataDef definition;
        definition.setDisplayName(text.c_str());
        definition.setDocString(text.c_str());
        const Record record(definition);
        EXPECT_EQ(record->getDisplayName(), text);
        EXPECT_EQ(record->getDocString(), text);
    }
}

TEST_F(ElementMetaDataDefTest, MeasuringAddsToWhatIsCounted)
{
    MemoryFormat format;
    full[AttributeType::kInt]->getMemoryRequirements(format);
    const std::uint32_t first = format.size;
    full[AttributeType::kMatrix]->getMemoryRequirements(format);
    EXPECT_GT(format.size, first + 64);
    EXPECT_GE(format.alignment, 16u);
}

TEST_F(ElementMetaDataDefTest, SeveralRecordsFitInOneBlockThatWasMeasuredForAll)
{
    MemoryFormat format;
    for (const auto& definition : full)
        definition->getMemoryRequirements(format);
    const GuardedBlock block(format);
    MemoryResource resource = block.resource();
    std::vector<ElementMetaData*> records;
    for (const auto& definition : full)
    {
        records.push_back(const_cast<ElementMetaData*>(definition->makeMetaData(L"one of many", resource)));
        ASSERT_NE(records.back(), nullptr);
    }
    EXPECT_EQ(resource.remaining, 0u);
    for (std::size_t i = 0; i < records.size(); ++i)
    {
        EXPECT_TRUE(records[i]->getDefaultValue().compare(full[i]->getDefaultValue()));
        ElementMetaData::destroyInPlace(records[i]);
    }
}

TEST_F(ElementMetaDataDefTest, OneByteTooLittleMakesNoRecord)
{
    for (const auto& definition : full)
    {
        const GuardedBlock block(Record::measure(*definition));
        MemoryResource resource(block.begin(), block.size() - 1);
        EXPECT_EQ(definition->makeMetaData(L"element", resource), nullptr) << definition->getTypeId();
        EXPECT_EQ(resource.cursor, block.begin());
        EXPECT_EQ(resource.remaining, block.size() - 1);
    }
}

TEST_F(ElementMetaDataDefTest, WithoutABlockNoRecordIsMade)
{
    MemoryResource resource;
    EXPECT_EQ(full[AttributeType::kInt]->makeMetaData(L"element", resource), nullptr);
    MemoryResource nowhere(nullptr, 100000);
    EXPECT_EQ(full[AttributeType::kInt]->makeMetaData(L"element", nowhere), nullptr);
}

// --- Deriving from a definition ---

namespace {

/// A host's definition: overrides every operation of a definition.
class HostDefinition : public FloatAttributeMetaDataDef
{
public:
    ~HostDefinition() override { ++destroyed; }
    void getMemoryRequirements(MemoryFormat& format) const override
    {
        ++measured;
        FloatAttributeMetaDataDef::getMemoryRequirements(format);
    }
    const ElementMetaData* makeMetaData(const wchar_t*, MemoryResource& resource) const override
    {
        return FloatAttributeMetaDataDef::makeMetaData(L"the host's name", resource);
    }
    ConstValueHandle getDefaultValue() const override { return {&defaultValue, AttributeType::kFloat}; }

    float defaultValue = 7.5f;
    int cleared = 0;
    mutable int measured = 0;
    static inline int destroyed = 0;

protected:
    void doClear() override
    {
        ++cleared;
        FloatAttributeMetaDataDef::doClear();
    }
};

} // namespace

TEST_F(ElementMetaDataDefTest, AHostMayOverrideEveryOperation)
{
    HostDefinition::destroyed = 0;
    auto* const host = new HostDefinition;
    {
        const std::unique_ptr<ElementMetaDataDef> definition(host);
        EXPECT_EQ(definition->getDefaultValue().getFloat(), 7.5f);
        const Record record(*definition, L"ignored");
        EXPECT_STREQ(record->getName(), L"the host's name");
        EXPECT_EQ(record->getDefaultValue().asFloat(), 7.5f);
        EXPECT_GE(host->measured, 1);
        definition->clear();
        EXPECT_EQ(host->cleared, 1);
    }
    EXPECT_EQ(HostDefinition::destroyed, 1);
}

namespace {

/// A host's definition that measures too little.
class WrongDefinition : public StringAttributeMetaDataDef
{
public:
    void getMemoryRequirements(MemoryFormat& format) const override { format.add(8, 4); }
};

} // namespace

TEST_F(ElementMetaDataDefTest, AHostThatMeasuresTooLittleGetsNoRecord)
{
    const WrongDefinition definition;
    const GuardedBlock block(Record::measure(definition));
    MemoryResource resource = block.resource();
    EXPECT_EQ(definition.makeMetaData(L"element", resource), nullptr);
    EXPECT_EQ(resource.cursor, block.begin());
}

// --- Enum ---

TEST_F(EnumAttributeMetaDataDefTest, AddChoiceAppends)
{
    EnumAttributeMetaDataDef definition;
    EXPECT_TRUE(definition.addChoice(L"red"));
    EXPECT_TRUE(definition.addChoice(L"green"));
    EXPECT_EQ(definition.getNumChoices(), 2u);
    EXPECT_EQ(definition.getChoices()[1], L"green");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EnumAttributeMetaDataDefTest, ChoicesAreNotDeduplicated)
{
    EnumAttributeMetaDataDef definition;
    definition.addChoice(L"red");
    definition.addChoice(L"red");
    EXPECT_EQ(definition.getNumChoices(), 2u);
}

TEST_F(EnumAttributeMetaDataDefTest, AnEmptyChoiceIsLoggedAndAdded)
{
    EnumAttributeMetaDataDef definition;
    definition.addChoice(L"");
    EXPECT_EQ(definition.getNumChoices(), 1u);
    EXPECT_TRUE(log.tookError(L"Empty enum choice string supplied"));
}

TEST_F(EnumAttributeMetaDataDefTest, ANullChoiceIsLoggedAndAddedAsAnEmptyOne)
{
    EnumAttributeMetaDataDef definition;
    definition.addChoice(nullptr);
    ASSERT_EQ(definition.getNumChoices(), 1u);
    EXPECT_TRUE(definition.getChoices()[0].empty());
    EXPECT_TRUE(log.tookError(L"Empty enum choice string supplied"));
}

TEST_F(EnumAttributeMetaDataDefTest, SetChoicesReplacesAll)
{
    EnumAttributeMetaDataDef definition;
    definition.addChoice(L"old");
    EXPECT_TRUE(definition.setChoices(kqx::StringArray{kqx::String(L"a"), kqx::String(), kqx::String(L"a")}));
    EXPECT_EQ(definition.getChoices(), (kqx::StringArray{kqx::String(L"a"), kqx::String(), kqx::String(L"a")}));
    EXPECT_TRUE(log.tookError(L"Empty enum choice string supplied"));
    EXPECT_TRUE(definition.setChoices(kqx::StringArray()));
    EXPECT_EQ(definition.getNumChoices(), 0u);
}

TEST_F(EnumAttributeMetaDataDefTest, SetChoicesToItsOwnKeepsThem)
{
    EnumAttributeMetaDataDef definition;
    definition.addChoice(L"a");
    definition.addChoice(L"b");
    EXPECT_TRUE(definition.setChoices(definition.getChoices()));
    EXPECT_EQ(definition.getChoices(), (kqx::StringArray{kqx::String(L"a"), kqx::String(L"b")}));
}

TEST_F(EnumAttributeMetaDataDefTest, WithoutMemoryTheChoicesStay)
{
    EnumAttributeMetaDataDef definition;
    definition.addChoice(L"kept");
    const kqx::StringArray others(4, kqx::String(L"another"));
    for (std::size_t grants = 0; grants < 6; ++grants)
    {
        const HeapThatRunsOut littleMemory(grants);
        EXPECT_FALSE(definition.setChoices(others));
        EXPECT_TRUE(littleMemory.hasRunOut());
    }
    {
        const HeapThatRunsOut noMemory(0);
        EXPECT_FALSE(definition.addChoice(L"another"));
    }
    EXPECT_EQ(definition.getChoices(), kqx::StringArray{kqx::String(L"kept")});
}

TEST_F(EnumAttributeMetaDataDefTest, AnEnumWithoutChoicesIsLoggedAndMade)
{
    const EnumAttributeMetaDataDef definition;
    const Record record(definition);
    EXPECT_TRUE(log.tookError(L"Enum attributes must have choice strings added"));
    EXPECT_EQ(record.as<EnumAttributeMetaData>().getNumChoices(), 0u);
}

TEST_F(EnumAttributeMetaDataDefTest, AnEnumWithChoicesIsMadeSilently)
{
    const Record record(*full[AttributeType::kEnum]);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(record.as<EnumAttributeMetaData>().getNumChoices(), 3u);
    EXPECT_STREQ(record.as<EnumAttributeMetaData>().getChoice(1), L"a green that is longer");
}

TEST_F(EnumAttributeMetaDataDefTest, AnUnknownEnumWithoutChoicesIsMadeSilently)
{
    const UnknownEnumAttributeMetaDataDef definition;
    EXPECT_EQ(definition.getTypeId(), AttributeType::kEnum);
    const Record record(definition);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(record.as<UnknownEnumAttributeMetaData>().getNumChoices(), 0u);
}

TEST_F(EnumAttributeMetaDataDefTest, AnUnknownEnumLearnsFromTheDefinitionsChoicesOn)
{
    const Record record(*full.back());
    auto& learned = record.as<UnknownEnumAttributeMetaData>();
    ASSERT_EQ(learned.getNumChoices(), 3u);
    EXPECT_STREQ(learned.getChoice(0), L"red");
    EXPECT_EQ(learned.addChoiceIfNotExist(L"b"), 2);
    EXPECT_EQ(learned.addChoiceIfNotExist(L"new"), 3);
}

TEST_F(EnumAttributeMetaDataDefTest, AnUnknownEnumThatFindsNoMemoryForItsChoicesIsNotMade)
{
    const GuardedBlock block(Record::measure(*full.back()));
    MemoryResource resource = block.resource();
    std::size_t grants = 0;
    for (;; ++grants)
    {
        const HeapThatRunsOut littleMemory(grants);
        const ElementMetaData* const record = full.back()->makeMetaData(L"element", resource);
        if (record != nullptr)
        {
            ElementMetaData::destroyInPlace(const_cast<ElementMetaData*>(record));
            break;
        }
        ASSERT_TRUE(littleMemory.hasRunOut());
        EXPECT_EQ(resource.remaining, block.size());
    }
    EXPECT_GT(grants, 0u);
}

// --- Copier ---

TEST_F(ElementMetaDataCopierTest, AnswersTheSourcesTypeAndArrayness)
{
    for (const auto& definition : full)
    {
        const Record source(*definition);
        const ElementMetaDataCopier copier(*source);
        EXPECT_TRUE(copier.isArray());
        EXPECT_EQ(copier.getTypeId(), definition->getTypeId());
        EXPECT_EQ(copier.getDefaultValue().getData(), source->getDefaultValue().getData());
    }
    const Record single(*plain[AttributeType::kInt]);
    EXPECT_FALSE(ElementMetaDataCopier(*single).isArray());
}

TEST_F(ElementMetaDataCopierTest, HasNoOtherOptionsOfItsOwn)
{
    const Record source(*full[AttributeType::kFloat]);
    const ElementMetaDataCopier copier(*source);
    EXPECT_EQ(copier.getDisplayName(), nullptr);
    EXPECT_EQ(copier.getDocString(), nullptr);
    EXPECT_EQ(copier.getFlags(), 0u);
    EXPECT_EQ(copier.getConnectionSetter(), nullptr);
}

TEST_F(ElementMetaDataCopierTest, MakesTheSourcesTwinWhateverNameIsPassed)
{
    for (const Definitions* definitions : {&full, &plain})
    {
        for (const auto& definition : *definitions)
        {
            SCOPED_TRACE(definition->getTypeId());
            const Record source(*definition, L"source");
            const Record copy(ElementMetaDataCopier(*source), L"another name");
            EXPECT_STREQ(copy->getName(), L"source");
            EXPECT_TRUE(copy->compare(*source));
            EXPECT_TRUE(copy->getDefaultValue().compare(source->getDefaultValue()));
            EXPECT_TRUE(areOfOneClass(*copy, *source));
        }
    }
}

TEST_F(ElementMetaDataCopierTest, TheMeasuredBlockIsFilledExactlyWhereverTheCopyStarts)
{
    for (const auto& definition : full)
    {
        const Record source(*definition);
        const ElementMetaDataCopier copier(*source);
        for (std::size_t offset = 0; offset < 40; ++offset)
        {
            SCOPED_TRACE(testing::Message() << "type " << definition->getTypeId() << " at " << offset);
            const Record copy(copier, nullptr, offset);
            EXPECT_TRUE(copy->compare(*source));
        }
    }
}

TEST_F(ElementMetaDataCopierTest, ClearKeepsTheSource)
{
    const Record source(*full[AttributeType::kString]);
    ElementMetaDataCopier copier(*source);
    copier.clear();
    EXPECT_EQ(copier.getTypeId(), AttributeType::kString);
    const Record copy(copier);
    EXPECT_TRUE(copy->compare(*source));
}
