#pragma once

#include <db2/AttributeTypeId.h>
#include <db2/ElementMetaData.h>
#include <db2/Export.h>
#include <db2/MemoryFormat.h>
#include <db2/ValueHandle.h>

#include <cstddef>
#include <cstdint>

namespace db2 {

/// Describes an element that is to be made. A host fills in the definition of the wanted type (AttributeMetaDataDef.h)
/// and hands it to NodeTemplate::addAttribute(), db_createDynamicElement() or the loader, which makes an ElementMetaData
/// from it: measures with getMemoryRequirements(), allocates a block, and has makeMetaData() build the record there.
/// A definition is its caller's, keeps its default value inside itself, and may be reused after clear().
class DB2_API ElementMetaDataDef
{
public:
    ElementMetaDataDef(const ElementMetaDataDef&) = delete;
    ElementMetaDataDef& operator=(const ElementMetaDataDef&) = delete;

    // --- What each type defines, in slot order; doClear() below is the last ---

    virtual ~ElementMetaDataDef();

    /// Adds the bytes and the alignment that makeMetaData() needs to @p format, which may count other things already.
    virtual void getMemoryRequirements(MemoryFormat& format) const;

    /// Makes the metadata of an element at the cursor of @p resource, with everything that it refers to; the caller ends
    /// it with ElementMetaData::destroyInPlace() before freeing the block.
    /// @param name  cut after ElementMetaData::kMaxNameCharacters characters; whoever accepts names checks before.
    /// @return the record; null, taking nothing, when the resource has too little room or memory is out.
    virtual const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const = 0;

    /// A handle onto the default value, for as long as the definition is neither edited nor destroyed.
    [[nodiscard]] virtual ConstValueHandle getDefaultValue() const;

    // --- What every element has ---

    /// The type of the default value, which is the type of the element.
    [[nodiscard]] AttributeTypeId getTypeId() const { return getDefaultValue().getTypeId(); }

    /// A text to show instead of the name; null for none. Not copied: valid until the last makeMetaData().
    void setDisplayName(const wchar_t* displayName) { displayName_ = displayName; }
    [[nodiscard]] const wchar_t* getDisplayName() const { return displayName_; }

    /// A text that explains the element; null for none. Not copied: valid until the last makeMetaData().
    void setDocString(const wchar_t* docString) { docString_ = docString; }
    [[nodiscard]] const wchar_t* getDocString() const { return docString_; }

    /// Replaces all bits (ElementMetaDataFlag, host flags).
    void setFlags(unsigned int flags) { flags_ = flags; }
    [[nodiscard]] unsigned int getFlags() const { return flags_; }

    /// Whether the element is an attribute array, whose items have the type.
    void setArray(bool isArray) { isArray_ = isArray; }
    [[nodiscard]] bool isArray() const { return isArray_; }

    /// A pointer of the host's; the library stores it and never uses it.
    void setConnectionSetter(void* setter) { connectionSetter_ = setter; }
    [[nodiscard]] void* getConnectionSetter() const { return connectionSetter_; }

    /// Makes the definition as it was when new: everything zero, the default value the type's default.
    void clear();

protected:
    /// Sets the type and the type's default value.
    explicit ElementMetaDataDef(AttributeTypeId typeId);

    /// Resets what the type adds; an override calls its base's, too.
    virtual void doClear();

    /// @param value  an object of the type's C++ type. @return false, changing nothing, when memory is out.
    bool assignDefaultValue(const void* value);

    /// Adds the block of a record of the class MetaData: the record itself, the default value and the texts.
    template <class MetaData>
    void addBlock(MemoryFormat& format) const;

    /// Makes a MetaData of what @p definition says; see makeMetaData().
    template <class MetaData, class Definition>
    static const ElementMetaData* make(const Definition& definition, const wchar_t* name, MemoryResource& resource);

private:
    const wchar_t* displayName_ = nullptr; ///< not owned
    const wchar_t* docString_ = nullptr;   ///< not owned
    std::uint32_t flags_ = 0;
    bool isArray_ = false;
    void* connectionSetter_ = nullptr;
    ValueHandle defaultValue_; ///< onto storage_
    /// Room for a value of any type, so that a definition needs no memory of its own.
    alignas(kqx::Matrix) unsigned char storage_[sizeof(kqx::Matrix)];
};

/// Defines an element like one that exists: makes clones of its metadata, to copy the element's type to another node.
/// The clone keeps the source's name whatever name is passed, its texts, flags and options; it belongs to no compute set
/// yet. What is set on the copier itself is ignored.
class DB2_API ElementMetaDataCopier : public ElementMetaDataDef
{
public:
    /// @param source  not owned, and alive for as long as the copier is in use.
    explicit ElementMetaDataCopier(const ElementMetaData& source);

    void getMemoryRequirements(MemoryFormat& format) const override;
    const ElementMetaData* makeMetaData(const wchar_t* name, MemoryResource& resource) const override;
    [[nodiscard]] ConstValueHandle getDefaultValue() const override; ///< onto the source's

private:
    const ElementMetaData& source_;
};

} // namespace db2
