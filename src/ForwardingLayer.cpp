#include <db2/ForwardingLayer.h>

namespace db2 {

ForwardingLayer::~ForwardingLayer() = default;

Status ForwardingLayer::db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next,
                                      Node** outNode)
{
    return nextLayer_->db_createNode(typeId, name, parent, next, outNode);
}

Status ForwardingLayer::db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name,
                                             Node* parent, Node* next, bool legacy, Node** outNode)
{
    return nextLayer_->db_createUnknownNode(typeName, module, name, parent, next, legacy, outNode);
}

Status ForwardingLayer::db_destroyLeafNode(Node* node)
{
    return nextLayer_->db_destroyLeafNode(node);
}

Status ForwardingLayer::db_renameNode(Node* node, const wchar_t* name)
{
    return nextLayer_->db_renameNode(node, name);
}

Status ForwardingLayer::db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name)
{
    return nextLayer_->db_reparentNode(node, newParent, next, name);
}

Status ForwardingLayer::db_reorderNode(Node* node, Node* next)
{
    return nextLayer_->db_reorderNode(node, next);
}

Status ForwardingLayer::db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                                Element* next, Element** outElement)
{
    return nextLayer_->db_createDynamicElement(definition, name, node, next, outElement);
}

Status ForwardingLayer::db_destroyDynamicElement(Element* element)
{
    return nextLayer_->db_destroyDynamicElement(element);
}

Status ForwardingLayer::db_renameDynamicElement(Element* element, const wchar_t* name)
{
    return nextLayer_->db_renameDynamicElement(element, name);
}

Status ForwardingLayer::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    return nextLayer_->db_resizeAttributeArray(array, size);
}

Status ForwardingLayer::db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput)
{
    return nextLayer_->db_createReference(referenced, referencer, singleOutput);
}

Status ForwardingLayer::db_destroyReference(Attribute* referencer)
{
    return nextLayer_->db_destroyReference(referencer);
}

Status ForwardingLayer::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    return nextLayer_->db_lockAttribute(attribute, outValue);
}

Status ForwardingLayer::db_unlockAttribute(Attribute* attribute)
{
    return nextLayer_->db_unlockAttribute(attribute);
}

Status ForwardingLayer::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    return nextLayer_->db_lockAttributeArray(array, outValues);
}

Status ForwardingLayer::db_unlockAttributeArray(AttributeArray* array)
{
    return nextLayer_->db_unlockAttributeArray(array);
}

Status ForwardingLayer::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    return nextLayer_->db_commit(description, file, line);
}

Status ForwardingLayer::db_commitTransient()
{
    return nextLayer_->db_commitTransient();
}

Status ForwardingLayer::db_clear()
{
    return nextLayer_->db_clear();
}

} // namespace db2
