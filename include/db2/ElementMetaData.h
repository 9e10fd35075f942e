#pragma once

#include <db2/AttributeTypeId.h>
#include <db2/Export.h>
#include <db2/Flags.h>
#include <db2/MemoryFormat.h>
#include <db2/ValueHandle.h>

#include <cstddef>
#include <cstdint>

namespace db2 {

class ElementMetaDataDef;

/// What is common to all elements of one kind: name, type, default value, flags, texts for the user, the place among the
/// compute sets, and in the derived classes (AttributeMetaData.h) the options of the type.
/// A record, its default value and its texts stand in one block of the owner's: a node template's for its attributes,
/// the element's own for a dynamic, unknown or legacy one. Made by an ElementMetaDataDef or as a clone, never by `new`;
/// ended by destroyInPlace(), never by `delete`. Immutable but for the setters and what the database itself keeps here.
class DB2_API ElementMetaData
{
public:
    static constexpr unsigned int kNoComputeSet = 0xFFFFFFFFu;
    static constexpr std::size_t kMaxNameCharacters = 41; ///< what fits; the database accepts 40

    ElementMetaData(const ElementMetaData&) = delete;
    ElementMetaData& operator=(const ElementMetaData&) = delete;

    // --- What each type defines, in slot order ---

    virtual ~ElementMetaData();

    /// Makes a copy in @p resource. The copy belongs to no compute set yet and lacks ElementMetaDataFlag::kComputed.
    /// @return the copy; null, taking nothing, when the resource has too little room (see getMemoryRequirements) or
    ///         memory is out.
    virtual ElementMetaData* clone(MemoryResource& resource) const = 0;

    /// Adds what a clone needs to @p format.
    virtual void getMemoryRequirements(MemoryFormat& format) const;

    /// True when @p other has the same type and the same options of the type.
    [[nodiscard]] virtual bool doCompare(const ElementMetaData& other) const = 0;

    // --- Queries ---

    /// True when name, flags, texts, connection setter, type and the options of the type are the same. The default value
    /// is not compared. A limit that is NaN makes the record unequal to everything, itself included.
    [[nodiscard]] bool compare(const ElementMetaData& other) const;

    [[nodiscard]] const wchar_t* getName() const { return name_; }
    [[nodiscard]] AttributeTypeId getTypeId() const { return defaultValue_.getTypeId(); }
    [[nodiscard]] ValueHandle getDefaultValue() { return defaultValue_; }
    [[nodiscard]] ConstValueHandle getDefaultValue() const { return defaultValue_; }
    [[nodiscard]] const wchar_t* getDisplayName() const { return displayName_; } ///< null when there is none
    [[nodiscard]] const wchar_t* getDocString() const { return docString_; }     ///< null when there is none

    [[nodiscard]] unsigned int getFlags() const { return flags_; }
    /// True when every bit of @p mask (ElementMetaDataFlag, host flags) is set.
    [[nodiscard]] bool hasFlag(unsigned int mask) const { return (flags_ & mask) == mask; }
    [[nodiscard]] bool isAttributeArray() const { return hasFlag(ElementMetaDataFlag::kArray); }

    /// The index of the template's compute set that computes the element, or kNoComputeSet.
    [[nodiscard]] unsigned int getComputeSet() const { return computeSet_; }
    [[nodiscard]] bool hasComputeSet() const { return computeSet_ != kNoComputeSet; }

    /// Where the run of the compute sets that read the element begins in NodeTemplate::getElementOutputs(), and how long
    /// it is; kNoComputeSet and 0 when none reads it.
    [[nodiscard]] unsigned int getOutputComputeSet() const { return outputComputeSet_; }
    [[nodiscard]] unsigned int getOutputComputeSetSize() const { return outputComputeSetSize_; }
    [[nodiscard]] bool hasOutputComputeSets() const { return outputComputeSetSize_ != 0; }

    /// A pointer of the host's; the library hands it back and never uses it.
    [[nodiscard]] void* getConnectionSetter() const { return connectionSetter_; }

    // --- Edits ---

    /// Replaces all bits, the library's own included.
    void setFlags(unsigned int flags) { flags_ = flags; }
    void setConnectionSetter(void* setter) { connectionSetter_ = setter; }

    // --- End ---

    /// Ends a record: destroys its default value, then the record. Frees nothing, because the block is the owner's.
    /// Ignores null.
    static void destroyInPlace(ElementMetaData* metaData);

protected:
    /// Builds the record at its place and takes the rest from @p resource, which is known to have room.
    /// @param name  cut after kMaxNameCharacters; whoever accepts names checks before.
    /// Throws std::bad_alloc when a default value finds no memory for what it owns.
    ElementMetaData(const ElementMetaDataDef& definition, const wchar_t* name, MemoryResource& resource);
    ElementMetaData(const ElementMetaData& source, MemoryResource& resource);

    /// The block is the owner's, so deleting through a pointer must not compile. Never called.
    static void operator delete(void*) noexcept {}

    [[nodiscard]] bool hasSameType(const ElementMetaData& other) const { return getTypeId() == other.getTypeId(); }

    /// Adds the block of this record: the record itself, of @p recordBytes at @p recordAlignment, its value and texts.
    void addBlock(MemoryFormat& format, std::size_t recordBytes, std::size_t recordAlignment) const;

    /// Makes a MetaData at the cursor of @p resource from @p source, a definition or a record; the other arguments are
    /// its constructor's. Null, taking nothing, when there is too little room or memory is out.
    template <class MetaData, class Source, class... Arguments>
    static MetaData* makeInPlace(MemoryResource& resource, const Source& source, Arguments... arguments);

private:
    friend class OwnedMetaData;      // names and renames
    friend class ElementMetaDataDef; // makes records
    friend class NodeTemplate;       // knows the compute sets

    /// The name is cut after kMaxNameCharacters; null is an empty one.
    void setName(const wchar_t* name);

    /// Makes the element an output of the compute set and marks it computed.
    void setComputeSet(unsigned int computeSet);
    void setOutputComputeSets(unsigned int first, unsigned int count);

    /// Takes the default value and the texts of @p source, a definition or a record.
    template <class Source>
    void takeBlock(const Source& source, MemoryResource& resource);

    wchar_t name_[kMaxNameCharacters + 1];
    ValueHandle defaultValue_; ///< its type is the record's type; the value stands in the block
    std::uint32_t flags_;
    const wchar_t* displayName_; ///< in the block, or null
    const wchar_t* docString_;   ///< in the block, or null
    std::uint32_t computeSet_ = kNoComputeSet;
    std::uint32_t outputComputeSet_ = kNoComputeSet;
    std::uint32_t outputComputeSetSize_ = 0;
    void* connectionSetter_;
};

} // namespace db2
