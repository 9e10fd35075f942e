#pragma once

#include <db2/DataInterface.h>
#include <db2/Export.h>

#include <type_traits>

namespace db2 {

/// A layer that hands every edit to the next layer unchanged. Derive from it and override what your layer acts on.
/// The interface's operations are pure, so one that is added there and forgotten here does not compile.
/// Nothing in this class calls its own virtual operations: overriding one never changes another.
class DB2_API ForwardingLayer : public DataInterface
{
public:
    /// @param nextLayer  receives the edits; not owned, and alive for as long as this layer is in use.
    explicit ForwardingLayer(DataInterface* nextLayer) : nextLayer_(nextLayer) {}
    ForwardingLayer(const ForwardingLayer&) = default;
    ForwardingLayer& operator=(const ForwardingLayer&) = default;
    ~ForwardingLayer() override;

    [[nodiscard]] DataInterface* db_getNextInterface() const { return nextLayer_; }
    void db_setNextInterface(DataInterface* nextLayer) { nextLayer_ = nextLayer; }

    // --- DataInterface, in slot order ---

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override;
    Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name, Node* parent,
                                Node* next, bool legacy, Node** outNode) override;
    Status db_destroyLeafNode(Node* node) override;
    Status db_renameNode(Node* node, const wchar_t* name) override;
    Status db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name) override;
    Status db_reorderNode(Node* node, Node* next) override;
    Status db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node, Element* next,
                                   Element** outElement) override;
    Status db_destroyDynamicElement(Element* element) override;
    Status db_renameDynamicElement(Element* element, const wchar_t* name) override;
    Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) override;
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override;
    Status db_destroyReference(Attribute* referencer) override;
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override;
    Status db_unlockAttribute(Attribute* attribute) override;
    Status db_lockAttributeArray(AttributeArray* array, void** outValues) override;
    Status db_unlockAttributeArray(AttributeArray* array) override;
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override;
    Status db_commitTransient() override;
    Status db_clear() override;

private:
    DataInterface* nextLayer_;
};

static_assert(!std::is_abstract_v<ForwardingLayer>);

} // namespace db2
