#pragma once

#include <db2/Export.h>
#include <db2/MemoryFormat.h>
#include <db2/SetterAttributeMetaData.h>

#include <kqx/Array.h>

#include <cstdint>
#include <set>
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
    /// Cost: compares with as many choices as the logarithm of their number, whatever the texts.
    /// @return -1, learning nothing, when memory is out.
    int addChoiceIfNotExist(const wchar_t* choice);

protected:
    friend class ElementMetaData;

    UnknownEnumAttributeMetaData(const EnumAttributeMetaDataDef& definition, const wchar_t* name,
                                 MemoryResource& resource);
    UnknownEnumAttributeMetaData(const UnknownEnumAttributeMetaData& source, MemoryResource& resource);

private:
    /// Orders choices, given by their indices, by their texts. Not by hashes: a file may bring choices of one hash.
    struct ByText
    {
        using is_transparent = void;

        [[nodiscard]] std::wstring_view textOf(unsigned int index) const { return (*choices)[index]; }
        [[nodiscard]] static std::wstring_view textOf(std::wstring_view text) { return text; }
        template <class Left, class Right>
        [[nodiscard]] bool operator()(Left left, Right right) const
        {
            return textOf(left) < textOf(right);
        }

        const kqx::StringArray* choices;
    };

    /// Enters the choices that the record begins with. Throws std::bad_alloc.
    void indexChoices();

    kqx::StringArray choices_;
    std::set<unsigned int, ByText> index_{ByText{&choices_}}; ///< the first index of each choice
};

} // namespace db2
