#include <db2/DataInterfaceLogger.h>

#include <db2/ElementMetaDataDef.h>
#include <db2/Library.h>
#include <db2/Module.h>
#include <db2/Node.h>
#include <db2/Paths.h>

namespace db2 {
namespace {

// How arguments show in a line.

const wchar_t* show(const Node* node)
{
    return node != nullptr ? node->getName().c_str() : L"0";
}

const wchar_t* show(const Element* element)
{
    return element != nullptr ? element->getName() : L"0";
}

const wchar_t* show(const wchar_t* text)
{
    if (text == nullptr)
        return L"0";
    return *text != L'\0' ? text : L"\"\"";
}

/// @param text  one of the strings that serve every call, so that repeated logging does not allocate.
const wchar_t* showPath(const Attribute* attribute, kqx::String& text)
{
    if (attribute == nullptr)
        return L"0";
    static_cast<void>(dbu_attributeToPath(nullptr, attribute, &text)); // empties the text of a path it cannot build
    return text.c_str();
}

} // namespace

// --- Nodes ---

Status DataInterfaceLogger::db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next,
                                          Node** outNode)
{
    if (isEnabled(Operation::kCreateNode))
        logInfo(L"db_createNode(typeId='%d', name='%s', parent='%s', next='%s')", typeId, show(name), show(parent),
                show(next));
    return ForwardingLayer::db_createNode(typeId, name, parent, next, outNode);
}

Status DataInterfaceLogger::db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name,
                                                 Node* parent, Node* next, bool legacy, Node** outNode)
{
    if (isEnabled(Operation::kCreateUnknownNode))
        logInfo(L"db_createUnknownNode(typeName='%d', module='%s', name='%s', parent='%s', next='%s', legacy='%s')",
                typeName, module.getId().c_str(), show(name), show(parent), show(next),
                legacy ? L"\"true\"" : L"\"false\"");
    return ForwardingLayer::db_createUnknownNode(typeName, module, name, parent, next, legacy, outNode);
}

Status DataInterfaceLogger::db_destroyLeafNode(Node* node)
{
    if (isEnabled(Operation::kDestroyLeafNode))
        logInfo(L"db_destroyLeafNode(node='%s')", show(node));
    return ForwardingLayer::db_destroyLeafNode(node);
}

Status DataInterfaceLogger::db_renameNode(Node* node, const wchar_t* name)
{
    if (isEnabled(Operation::kRenameNode))
        logInfo(L"db_renameNode(node='%s', name='%s')", show(node), show(name));
    return ForwardingLayer::db_renameNode(node, name);
}

Status DataInterfaceLogger::db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name)
{
    if (isEnabled(Operation::kReparentNode))
        logInfo(L"db_reparentNode(node='%s', newParent='%s', next='%s', name='%s')", show(node), show(newParent),
                show(next), show(name));
    return ForwardingLayer::db_reparentNode(node, newParent, next, name);
}

Status DataInterfaceLogger::db_reorderNode(Node* node, Node* next)
{
    if (isEnabled(Operation::kReorderNode))
        logInfo(L"db_reorderNode(node='%s', next='%s')", show(node), show(next));
    return ForwardingLayer::db_reorderNode(node, next);
}

// --- Dynamic elements ---

Status DataInterfaceLogger::db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name,
                                                    Node* node, Element* next, Element** outElement)
{
    if (isEnabled(Operation::kCreateDynamicElement))
        logInfo(L"db_createDynamicElement(typeId='%d', name='%s', node='%s', next='%s')",
                definition.getDefaultValue().getTypeId(), show(name), show(node), show(next));
    return ForwardingLayer::db_createDynamicElement(definition, name, node, next, outElement);
}

Status DataInterfaceLogger::db_destroyDynamicElement(Element* element)
{
    if (isEnabled(Operation::kDestroyDynamicElement))
        logInfo(L"db_destroyDynamicElement(elem='%s')", show(element));
    return ForwardingLayer::db_destroyDynamicElement(element);
}

Status DataInterfaceLogger::db_renameDynamicElement(Element* element, const wchar_t* name)
{
    if (isEnabled(Operation::kRenameDynamicElement))
        logInfo(L"db_renameDynamicElement(elem='%s', name='%s')", show(element), show(name));
    return ForwardingLayer::db_renameDynamicElement(element, name);
}

// --- Arrays and references ---

Status DataInterfaceLogger::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    if (isEnabled(Operation::kResizeAttributeArray))
        logInfo(L"db_resizeAttributeArray(attrArray='%s', size='%d')", show(array), size);
    return ForwardingLayer::db_resizeAttributeArray(array, size);
}

Status DataInterfaceLogger::db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput)
{
    if (isEnabled(Operation::kCreateReference))
    {
        static kqx::String referencedPath;
        static kqx::String referencerPath;
        logInfo(L"db_createReference(referenced='%s', referencer='%s')", showPath(referenced, referencedPath),
                showPath(referencer, referencerPath));
    }
    return ForwardingLayer::db_createReference(referenced, referencer, singleOutput);
}

Status DataInterfaceLogger::db_destroyReference(Attribute* referencer)
{
    if (isEnabled(Operation::kDestroyReference))
    {
        static kqx::String referencerPath;
        logInfo(L"db_destroyReference(referencer='%s')", showPath(referencer, referencerPath));
    }
    return ForwardingLayer::db_destroyReference(referencer);
}

// --- Values ---

Status DataInterfaceLogger::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    if (isEnabled(Operation::kLockAttribute))
        logInfo(L"db_lockAttribute(attr='%s')", show(attribute));
    return ForwardingLayer::db_lockAttribute(attribute, outValue);
}

Status DataInterfaceLogger::db_unlockAttribute(Attribute* attribute)
{
    if (isEnabled(Operation::kUnlockAttribute))
        logInfo(L"db_unlockAttribute(attr='%s')", show(attribute));
    return ForwardingLayer::db_unlockAttribute(attribute);
}

Status DataInterfaceLogger::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    if (isEnabled(Operation::kLockAttributeArray))
        logInfo(L"db_lockAttributeArray(attrArray='%s')", show(array));
    return ForwardingLayer::db_lockAttributeArray(array, outValues);
}

Status DataInterfaceLogger::db_unlockAttributeArray(AttributeArray* array)
{
    if (isEnabled(Operation::kUnlockAttributeArray))
        logInfo(L"db_unlockAttributeArray(attrArray='%s')", show(array));
    return ForwardingLayer::db_unlockAttributeArray(array);
}

// --- Units of work ---

Status DataInterfaceLogger::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    if (isEnabled(Operation::kCommit)) // the line's order is its own, and it has no comma behind the file
        logInfo(L"db_commit(file='%s' line number='%d' description='%s')", show(file), line, show(description));
    return ForwardingLayer::db_commit(description, file, line);
}

Status DataInterfaceLogger::db_commitTransient()
{
    if (isEnabled(Operation::kCommitTransient))
        logInfo(L"db_commitTransient()");
    return ForwardingLayer::db_commitTransient();
}

Status DataInterfaceLogger::db_clear()
{
    if (isEnabled(Operation::kClear))
        logInfo(L"db_clear()");
    return ForwardingLayer::db_clear();
}

} // namespace db2
