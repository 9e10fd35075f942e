#pragma once

#include <db2/AttributeMetaData.h>
#include <db2/AttributeMetaDataDef.h>
#include <db2/ElementMetaData.h>
#include <db2/ElementMetaDataDef.h>

#include <kqtl/Alloc.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <typeinfo>
#include <vector>

/// What the tests of definitions and of the records that they make share.
namespace db2test {

/// A block of just the measured bytes between two guards that nobody may write to.
class GuardedBlock
{
public:
    /// @param format  what was measured, starting from a format whose size was @p offset.
    /// @param offset  where in the block the record may start; what stands before is guarded, too.
    explicit GuardedBlock(const db2::MemoryFormat& format, std::size_t offset = 0)
        : bytes_(format.size), offset_(offset),
          memory_(static_cast<unsigned char*>(KQTLAlloc(bytes_ + 2 * kGuardBytes, kAlignment)))
    {
        EXPECT_LE(format.alignment, kAlignment);
        std::fill_n(memory_, bytes_ + 2 * kGuardBytes, kGuard);
    }
    GuardedBlock(const GuardedBlock&) = delete;
    GuardedBlock& operator=(const GuardedBlock&) = delete;
    ~GuardedBlock()
    {
        EXPECT_TRUE(std::all_of(memory_, begin(), isGuard)) << "written before the block";
        EXPECT_TRUE(std::all_of(memory_ + kGuardBytes + bytes_, memory_ + bytes_ + 2 * kGuardBytes, isGuard))
            << "written behind the block";
        KQTLFree(memory_);
    }

    [[nodiscard]] unsigned char* begin() const { return memory_ + kGuardBytes + offset_; }
    [[nodiscard]] std::size_t size() const { return bytes_ - offset_; }
    [[nodiscard]] db2::MemoryResource resource() const { return {begin(), size()}; }
    [[nodiscard]] bool contains(const void* address) const { return address >= begin() && address < begin() + size(); }

private:
    static constexpr std::size_t kAlignment = 64;
    static constexpr std::size_t kGuardBytes = 64;
    static constexpr unsigned char kGuard = 0xA5;
    static bool isGuard(unsigned char byte) { return byte == kGuard; }

    std::size_t bytes_;
    std::size_t offset_;
    unsigned char* memory_;
};

/// The record that a definition makes, in a guarded block that it must fill to the byte.
class Record
{
public:
    explicit Record(const db2::ElementMetaDataDef& definition, const wchar_t* name = L"element", std::size_t offset = 0)
        : block_(measure(definition, offset), offset)
    {
        db2::MemoryResource resource = block_.resource();
        record_ = const_cast<db2::ElementMetaData*>(definition.makeMetaData(name, resource));
        EXPECT_NE(record_, nullptr);
        EXPECT_EQ(resource.remaining, 0u);
        EXPECT_EQ(resource.cursor, block_.begin() + block_.size());
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    ~Record() { db2::ElementMetaData::destroyInPlace(record_); }

    [[nodiscard]] db2::ElementMetaData& operator*() const { return *record_; }
    [[nodiscard]] db2::ElementMetaData* operator->() const { return record_; }
    [[nodiscard]] const GuardedBlock& block() const { return block_; }

    /// The record as its own class, which it must be exactly.
    template <class MetaData>
    [[nodiscard]] MetaData& as() const
    {
        EXPECT_EQ(typeid(*record_), typeid(MetaData));
        return dynamic_cast<MetaData&>(*record_);
    }

    static db2::MemoryFormat measure(const db2::ElementMetaDataDef& definition, std::size_t offset = 0)
    {
        db2::MemoryFormat format{static_cast<std::uint32_t>(offset), 0};
        definition.getMemoryRequirements(format);
        return format;
    }

private:
    GuardedBlock block_;
    db2::ElementMetaData* record_ = nullptr;
};

inline bool areOfOneClass(const db2::ElementMetaData& a, const db2::ElementMetaData& b)
{
    return typeid(a) == typeid(b);
}

/// Pointers of a host's, to tell apart.
inline int hostObjects[3];
inline void* const kSetter = &hostObjects[0];
inline void* const kOtherSetter = &hostObjects[1];
inline void* const kConnectionSetter = &hostObjects[2];

/// Sets every option that a definition has, but for the default value.
template <class Definition>
void setAllOptions(Definition& definition)
{
    definition.setDisplayName(L"A display name");
    definition.setDocString(L"What the element is for");
    definition.setFlags(0x111);
    definition.setArray(true);
    definition.setConnectionSetter(kConnectionSetter);
    if constexpr (requires { definition.setSetter(kSetter); })
        definition.setSetter(kSetter);
    if constexpr (requires { definition.setUnitType(kqx::kUnitAngle); })
        definition.setUnitType(kqx::kUnitAngle);
    if constexpr (requires { definition.setMin(1); })
    {
        definition.setMin(-1);
        definition.setMax(5);
    }
    if constexpr (requires { definition.addChoice(L""); })
    {
        definition.addChoice(L"red");
        definition.addChoice(L"a green that is longer");
        definition.addChoice(L"b");
    }
}

/// A definition with every option set and a default value that is not the type's.
template <class Definition, class... Value>
std::unique_ptr<db2::ElementMetaDataDef> makeFull(const Value&... defaultValue)
{
    auto definition = std::make_unique<Definition>();
    setAllOptions(*definition);
    (definition->setDefaultValue(defaultValue), ...);
    return definition;
}

using Definitions = std::vector<std::unique_ptr<db2::ElementMetaDataDef>>;

/// One definition of every type in the order of the type ids, each with every option; last the Enum of unknown nodes.
inline Definitions makeFullDefinitions()
{
    using namespace db2;
    const kqx::String text(L"a text that is long enough to own memory");
    kqx::VertexBuffer buffer;
    buffer.addStream(L"position", 3);
    buffer.getStream(0) = {1, 2, 3};
    kqx::Matrix matrix;
    matrix.m[1][2] = 3;

    Definitions all;
    all.push_back(makeFull<IntAttributeMetaDataDef>(3));
    all.push_back(makeFull<BoolAttributeMetaDataDef>(true));
    all.push_back(makeFull<ColourAttributeMetaDataDef>(kqx::Colour(1, 2, 3, 4)));
    all.push_back(makeFull<FloatAttributeMetaDataDef>(1.5f));
    all.push_back(makeFull<DoubleAttributeMetaDataDef>(2.5));
    all.push_back(makeFull<StringAttributeMetaDataDef>(text));
    all.push_back(makeFull<EnumAttributeMetaDataDef>(2));
    all.push_back(makeFull<Vector3AttributeMetaDataDef>(kqx::Vector3(1, 2, 3)));
    all.push_back(makeFull<MatrixAttributeMetaDataDef>(matrix));
    all.push_back(makeFull<QuatAttributeMetaDataDef>(kqx::Quat(1, 0, 0, 0)));
    all.push_back(makeFull<NullAttributeMetaDataDef>());
    all.push_back(makeFull<VertexBufferAttributeMetaDataDef>(buffer));
    all.push_back(makeFull<IntArrayAttributeMetaDataDef>(kqx::IntArray{1, 2}));
    all.push_back(makeFull<BoolArrayAttributeMetaDataDef>(kqx::BoolArray{true}));
    all.push_back(makeFull<ColourArrayAttributeMetaDataDef>(kqx::ColourArray(2)));
    all.push_back(makeFull<FloatArrayAttributeMetaDataDef>(kqx::FloatArray{1, 2}));
    all.push_back(makeFull<DoubleArrayAttributeMetaDataDef>(kqx::DoubleArray{1, 2}));
    all.push_back(makeFull<StringArrayAttributeMetaDataDef>(kqx::StringArray{text, text}));
    all.push_back(makeFull<Vector3ArrayAttributeMetaDataDef>(kqx::Vector3Array(3)));
    all.push_back(makeFull<MatrixArrayAttributeMetaDataDef>(kqx::MatrixArray(1)));
    all.push_back(makeFull<QuatArrayAttributeMetaDataDef>(kqx::QuatArray(1)));
    all.push_back(makeFull<UnknownEnumAttributeMetaDataDef>(1));
    return all;
}

/// The same without any option and with the types' defaults.
inline Definitions makePlainDefinitions()
{
    Definitions all = makeFullDefinitions();
    for (const auto& definition : all)
        definition->clear();
    return all;
}

} // namespace db2test
