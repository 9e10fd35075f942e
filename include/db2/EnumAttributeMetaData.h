#pragma once

#include <db2/Export.h>
#include <db2/MemoryFormat.h>
#include <db2/SetterAttributeMetaData.h>
#include <db2/UIntHashMap.h>

#include <kqx/Array.h>

#include <cstdint>
#include <string_view>

namespace db2 {

class EnumAttributeMetaDataDef;

/// An Enum: a value counts through the choices. The choices stand in the record's block.
class DB2_API EnumAttributeMetaData : public SetterAttributeMetaData
{
public:
    ElementMetaData* clone(MemoryResource& resource) const override;
    void getMemoryRequirements(MemoryFormat& format) const override;
    [[nodiscard]] bool doCompare(const ElementMetaData& other) const override;

    // --- Choices; the two virtual operations follow the base's slots in this order ---

    [[nodiscard]] virtual unsigned int getNumChoices() const;

    /// @return the choice, valid as long as the record; null, logging an error, when @p index is out of range.
    [[nodiscard]] virtual const wchar_t* getChoice(unsigned int index) const;

    /// The index of the first choice that equals @p choice, or -1; null equals none. Cost: a scan of the choices.
    [[nodiscard]] int getChoiceIndex(const wchar_t* choice) const;

protected:
    friend class ElementMetaData;

    EnumAttributeMetaData(const EnumAttributeMetaDataDef& definition, const wchar_t* name, MemoryResource& resource);
    EnumAttributeMetaData(const EnumAttributeMetaData& source, MemoryResource& resource);

    /// Tells a constructor to leave the choices to the derived class.
    struct NoChoices
    {
    };
    EnumAttributeMetaData(const EnumAttributeMetaDataDef& definition, const wchar_t* name, MemoryResource& resource,
                          NoChoices);
    EnumAttributeMetaData(const EnumAttributeMetaData& source, MemoryResource& resource, NoChoices);

private:
    std::uint32_t numChoices_ = 0;
    const wchar_t** choices_ = nullptr; ///< numChoices_ texts; all in the block; null when there are none
};

/// The Enum of a node whose module is not registered: nobody knows its choices, so they are learned from the data. The
/// list is the record's own and grows on the heap.
class DB2_API UnknownEnumAttributeMetaData : public EnumAttributeMetaData
{
public:
    ~UnknownEnumAttributeMetaData() override;
    ElementMetaData* clone(MemoryResource& resource) const override; ///< knows what was learned so far
    void getMemoryRequirements(MemoryFormat& format) const override;
    [[nodiscard]] unsigned int getNumChoices() const override;
    [[nodiscard]] const wchar_t* getChoice(unsigned int index) const override; ///< valid until the list grows

    /// The index of the first choice that equals @p choice, appended when there is none; null is the empty text.
    /// Cost: constant on average, so that learning takes time in proportion to the data.
    /// @return -1, learning nothing, when memory is out.
    int addChoiceIfNotExist(const wchar_t* choice);

protected:
    friend class ElementMetaData;

    UnknownEnumAttributeMetaData(const EnumAttributeMetaDataDef& definition, const wchar_t* name,
                                 MemoryResource& resource);
    UnknownEnumAttributeMetaData(const UnknownEnumAttributeMetaData& source, MemoryResource& resource);

private:
    /// Enters the choices that the record begins with. Throws std::bad_alloc.
    void indexChoices();

    /// The key of the choice in the index, or the one that it would get: its hash, or the next key that no other choice
    /// of that hash has taken.
    [[nodiscard]] std::uint32_t findKey(std::wstring_view choice) const;
    [[nodiscard]] unsigned int indexAt(std::uint32_t key) const;

    kqx::StringArray choices_;
    UIntHashMap index_{0}; ///< from the key of each choice to its first index
};

} // namespace db2
