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

// Inline, so that a layer which forwards calls the next one and nothing in between.

inline Status ForwardingLayer::db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next,
                                             Node** outNode)
{
    return nextLayer_->db_createNode(typeId, name, parent, next, outNode);
}

inline Status ForwardingLayer::db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name,
                                                    Node* parent, Node* next, bool legacy, Node** outNode)
{
    return nextLayer_->db_createUnknownNode(typeName, module, name, parent, next, legacy, outNode);
}

inline Status ForwardingLayer::db_destroyLeafNode(Node* node)
{
    return nextLayer_->db_destroyLeafNode(node);
}

inline Status ForwardingLayer::db_renameNode(Node* node, const wchar_t* name)
{
    return nextLayer_->db_renameNode(node, name);
}

inline Status ForwardingLayer::db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name)
{
    return nextLayer_->db_reparentNode(node, newParent, next, name);
}

inline Status ForwardingLayer::db_reorderNode(Node* node, Node* next)
{
    return nextLayer_->db_reorderNode(node, next);
}

inline Status ForwardingLayer::db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name,
                                                       Node* node, Element* next, Element** outElement)
{
    return nextLayer_->db_createDynamicElement(definition, name, node, next, outElement);
}

inline Status ForwardingLayer::db_destroyDynamicElement(Element* element)
{
    return nextLayer_->db_destroyDynamicElement(element);
}

inline Status ForwardingLayer::db_renameDynamicElement(Element* element, const wchar_t* name)
{
    return nextLayer_->db_renameDynamicElement(element, name);
}

inline Status ForwardingLayer::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    return nextLayer_->db_resizeAttributeArray(array, size);
}

inline Status ForwardingLayer::db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput)
{
    return nextLayer_->db_createReference(referenced, referencer, singleOutput);
}

inline Status ForwardingLayer::db_destroyReference(Attribute* referencer)
{
    return nextLayer_->db_destroyReference(referencer);
}

inline Status ForwardingLayer::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    return nextLayer_->db_lockAttribute(attribute, outValue);
}

inline Status ForwardingLayer::db_unlockAttribute(Attribute* attribute)
{
    return nextLayer_->db_unlockAttribute(attribute);
}

inline Status ForwardingLayer::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    return nextLayer_->db_lockAttributeArray(array, outValues);
}

inline Status ForwardingLayer::db_unlockAttributeArray(AttributeArray* array)
{
    return nextLayer_->db_unlockAttributeArray(array);
}

inline Status ForwardingLayer::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    return nextLayer_->db_commit(description, file, line);
}

inline Status ForwardingLayer::db_commitTransient()
{
    return nextLayer_->db_commitTransient();
}

inline Status ForwardingLayer::db_clear()
{
    return nextLayer_->db_clear();
}

} // namespace db2
