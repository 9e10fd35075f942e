#pragma once

#include <db2/Export.h>
#include <db2/MemoryFormat.h>
#include <db2/SetterAttributeMetaDataDef.h>

#include <kqx/Array.h>

namespace db2 {

/// Defines an Enum: its choices, in order, and as its default value the index of one.
class DB2_API EnumAttributeMetaDataDef : public SetterAttributeMetaDataDef
{
public:
    EnumAttributeMetaDataDef();

    void getMemoryRequirements(MemoryFormat& format) const override;

    /// Makes the record also when there are no choices, but logs that as an error.
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;

    /// @param value  an index of a choice; not checked.
    void setDefaultValue(int value) { assignDefaultValue(&value); }

    // --- Choices: never de-duplicated ---

    /// Appends a choice. A null or empty one is logged as an error and appended as an empty text.
    /// @return false, changing nothing, when memory is out.
    bool addChoice(const wchar_t* choice);

    /// Replaces all choices; each is treated as by addChoice(). @return false, changing nothing, when memory is out.
    bool setChoices(const kqx::StringArray& choices);

    [[nodiscard]] unsigned int getNumChoices() const { return static_cast<unsigned int>(choices_.size()); }
    [[nodiscard]] const kqx::StringArray& getChoices() const { return choices_; }

protected:
    void doClear() override;

private:
    kqx::StringArray choices_;
};

/// Defines the Enum of a node whose module is not registered; see UnknownEnumAttributeMetaData. The choices that it is
/// given, usually none, are the first of the learned ones.
class DB2_API UnknownEnumAttributeMetaDataDef : public EnumAttributeMetaDataDef
{
public:
    void getMemoryRequirements(MemoryFormat& format) const override;

    /// Logs nothing when there are no choices, because that is how such a record begins.
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
};

} // namespace db2
