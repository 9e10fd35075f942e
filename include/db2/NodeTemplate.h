#pragma once

#include <db2/ComputeSet.h>
#include <db2/ElementMetaData.h>
#include <db2/Export.h>
#include <db2/Flags.h>
#include <db2/LibraryAllocated.h>
#include <db2/MemoryFormat.h>
#include <db2/Status.h>
#include <db2/UIntHashMap.h>

#include <kqtl/pod_vector.h>
#include <kqx/String.h>

#include <cstddef>
#include <cstdint>

namespace db2 {

class APIBaseFactory;
class ElementMetaDataDef;
class Module;

/// A node type: its id, name and module, its elements in order, its compute sets, and the layout of one node in memory.
/// A host makes one with `new`, adds attributes and compute sets, and registers it in a NodeRegistry, which owns it from
/// then on and freezes it. Every failure leaves the template unchanged; nothing is logged.
class DB2_API NodeTemplate : public LibraryAllocated
{
public:
    /// Ends the lists of addComputeSet(); also the index that means "none".
    static constexpr unsigned int kEndOfList = 0xFFFFFFFFu;

    /// @param typeName   unique in a registry by its hash; null is the empty text.
    /// @param typeId     unique in a registry.
    /// @param module     the module the type belongs to; not owned, and alive for as long as nodes of the type are.
    /// @param factory    makes the host's object for each new node; may be null; not owned.
    /// @param docString  copied; may be null.
    NodeTemplate(const wchar_t* typeName, unsigned int typeId, const Module& module, APIBaseFactory* factory = nullptr,
                 const wchar_t* docString = nullptr);
    NodeTemplate(const NodeTemplate&) = delete;
    NodeTemplate& operator=(const NodeTemplate&) = delete;
    ~NodeTemplate();

    // --- Building ---

    /// Adds an attribute, or an attribute array when the definition says so.
    /// @param name      1 to 40 UTF-16 units, unique in the template by its hash.
    /// @param outIndex  receives the element's index; may be null; left alone on failure.
    /// @return kAddAttributeToRegistered, kTemplateInUse, kNullAttributeName, kEmptyAttributeName, kNameTooLong or
    ///         kDuplicateAttributeName, tested in this order; kFailure for a definition without a type or when memory
    ///         is out.
    Status addAttribute(const ElementMetaDataDef& definition, const wchar_t* name, unsigned int* outIndex = nullptr);

    /// Adds a function that computes the outputs from the inputs. An element may be an input of many sets and an output
    /// of one.
    /// @param inputs, outputs  element indices, each list ended by kEndOfList.
    /// @param function         may be null: the set then orders others but computes nothing.
    /// @return kAddComputeSetToRegistered, kTemplateInUse, kNullComputeInputs, kNullComputeOutputs, for each input
    ///         kComputeInputOutOfRange or kComputeElementNotConnectable, kNoComputeOutputs, for each output
    ///         kComputeOutputOutOfRange, kComputeElementNotConnectable or kOutputAlreadyComputed, kNoComputeInputs,
    ///         tested in this order; kFailure when memory is out.
    Status addComputeSet(const unsigned int* inputs, const unsigned int* outputs, ComputeFunction function,
                         void* userData, unsigned int* outIndex = nullptr);

    /// Adds the other template's elements, without their compute sets, and its host flags. An element whose name is
    /// taken is left out, so existing elements win.
    void mergeTemplate(const NodeTemplate* other);

    // --- Elements ---

    [[nodiscard]] unsigned int getElementCount() const { return static_cast<unsigned int>(elements_.size()); }
    [[nodiscard]] ElementMetaData* getElementMetaData(unsigned int index); ///< null when out of range
    [[nodiscard]] const ElementMetaData* getElementMetaData(unsigned int index) const;

    /// The element whose name is exactly @p name, or kEndOfList (also for a null name). Cost: constant.
    [[nodiscard]] unsigned int findElementByName(const wchar_t* name) const;

    /// True when no element's name has the hash of @p name.
    [[nodiscard]] bool isElementNameUnique(const wchar_t* name) const;

    // --- Compute sets ---

    [[nodiscard]] unsigned int getComputeSetCount() const { return static_cast<unsigned int>(computeSets_.size()); }
    [[nodiscard]] bool hasComputeSets() const { return !computeSets_.empty(); }
    [[nodiscard]] const ComputeSet* getComputeSet(unsigned int index) const; ///< null when out of range

    /// For every element that is an input, a run of the indices of the sets that read it; the element's metadata says
    /// where its run begins and how long it is. Known from the registration on.
    [[nodiscard]] const kqtl::pod_vector<unsigned int>& getElementOutputs() const { return elementOutputs_; }

    // --- Identity ---

    [[nodiscard]] const Module* getModule() const { return module_; }
    [[nodiscard]] unsigned int getTypeId() const { return typeId_; }
    [[nodiscard]] const kqx::String& getTypeName() const { return typeName_; }
    [[nodiscard]] const wchar_t* getDocString() const; ///< null when there is none
    [[nodiscard]] APIBaseFactory* getAPINodeFactory() const { return factory_; }
    [[nodiscard]] void* getNodeTemplateAPI() const { return api_; } ///< a pointer of the host's
    void setNodeTemplateAPI(void* api) { api_ = api; }

    // --- State ---

    /// The number of nodes of this type in memory, destroyed ones that are not freed yet included.
    [[nodiscard]] unsigned int getReferenceCount() const { return referenceCount_; }

    /// Bytes and alignment of one node: the node's record, then each element's record and, for an attribute, its value
    /// at the value's alignment.
    [[nodiscard]] const MemoryFormat& getNodeMemoryRequirements() const { return nodeFormat_; }

    [[nodiscard]] bool hasFlag(std::uint32_t mask) const { return (flags_ & mask) == mask; }
    void setFlag(std::uint32_t mask) { flags_ |= mask; }
    void clearFlag(std::uint32_t mask) { flags_ &= ~mask; }

private:
    friend class CoreManager;
    friend class Element;
    friend class Node;
    friend class NodeMemory;
    friend class NodeRegistry;

    /// Where the elements of a node stand: offsets from the start of its block, ascending, by element index.
    [[nodiscard]] std::uint32_t getElementOffset(unsigned int index) const { return elementOffsets_[index]; }
    /// The index of the element at that offset; 0 when there is none.
    [[nodiscard]] unsigned int findElementAtOffset(std::uint32_t offset) const;

    // NodeRegistry
    [[nodiscard]] bool freeze();
    void determineElementAndComputeSetDependencies();
    void buildNodeImage();

    // CoreManager
    void addReference() { ++referenceCount_; }
    void removeReference();
    void setTypeId(unsigned int typeId) { typeId_ = typeId; }
    /// Makes all template elements in a node's block, values at their defaults. @return false, making none, when memory
    /// for a value is out.
    [[nodiscard]] bool constructElements(std::byte* nodeBlock) const;
    static bool constructValue(std::byte* attributeRecord, const ElementMetaData& metaData);
    /// Destroys what constructElements() made; the block can be freed then.
    void destroyElementValues(std::byte* nodeBlock) const;

    // addAttribute()
    struct ElementLayout
    {
        std::uint32_t offset; ///< of the new element's record
        MemoryFormat grown;   ///< the node with it
    };
    [[nodiscard]] ElementLayout nextElementLayout(AttributeTypeId typeId, bool isArray) const;
    [[nodiscard]] bool reserveElement();
    void enterName(unsigned int index);

    [[nodiscard]] unsigned int findElementByHash(std::uint32_t hash) const;
    [[nodiscard]] Status checkAttributeName(const wchar_t* name) const;
    [[nodiscard]] Status checkComputeElement(unsigned int index, Status outOfRange) const;
    [[nodiscard]] Status checkComputeSet(const unsigned int* inputs, const unsigned int* outputs) const;

    kqtl::pod_vector<ElementMetaData*> elements_;       ///< owned; by element index
    kqtl::pod_vector<std::uint32_t> elementNameHashes_; ///< by element index
    kqtl::pod_vector<std::uint32_t> elementOffsets_;    ///< by element index
    kqtl::pod_vector<ComputeSet*> computeSets_;         ///< owned
    kqtl::pod_vector<unsigned int> elementOutputs_;
    /// The element records and values of a fresh node, without the node's record: every node starts as a copy.
    std::byte* nodeImage_ = nullptr;
    kqtl::pod_vector<unsigned int>
        owningElements_; ///< those that own memory: arrays, and values that bytes do not make
    kqtl::pod_vector<unsigned int> filledElements_; ///< of those values, the ones whose default is not empty
    kqx::String typeName_;
    unsigned int typeId_;
    const Module* module_;
    APIBaseFactory* factory_;
    void* api_ = nullptr;
    std::uint32_t flags_ = 0;
    UIntHashMap nameIndex_; ///< name hash to element index; in use from the fourth element on
    kqx::String docString_;
    bool hasDocString_;
    unsigned int referenceCount_ = 0;
    MemoryFormat nodeFormat_;
};

} // namespace db2
