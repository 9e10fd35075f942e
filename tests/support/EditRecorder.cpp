#include "EditRecorder.h"

#include "TreeDump.h"

namespace db2test {
namespace {

std::wstring quoted(const wchar_t* name)
{
    return name != nullptr ? L"'" + std::wstring(name) + L"'" : L"null";
}

std::wstring before(const Node* next)
{
    return next != nullptr ? L" before " + pathOf(next) : L"";
}

std::wstring pathOfElement(const Element* element)
{
    if (element == nullptr)
        return L"null";
    if (!element->isAttributeArray())
        return pathOf(static_cast<const Attribute*>(element));
    return pathOf(element->getNode()) + L":" + element->getName();
}

} // namespace

template <class Edit>
Status EditRecorder::record(std::wstring line, Edit edit)
{
    Status status = answerTo(line);
    if (status == Status::kSuccess)
        status = edit();
    lines_.push_back(std::move(line) + (status != Status::kSuccess ? L" failed" : L""));
    return status;
}

/// What was said last of such a line.
Status EditRecorder::answerTo(std::wstring_view line) const
{
    for (auto refusal = refusals_.rbegin(); refusal != refusals_.rend(); ++refusal)
    {
        if (line.starts_with(refusal->first))
            return refusal->second;
    }
    return Status::kSuccess;
}

Status EditRecorder::db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode)
{
    return record(L"create " + std::to_wstring(typeId) + L" " + quoted(name) + L" under " + pathOf(parent) +
                      before(next),
                  [&] { return ForwardingLayer::db_createNode(typeId, name, parent, next, outNode); });
}

Status EditRecorder::db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name,
                                          Node* parent, Node* next, bool legacy, Node** outNode)
{
    return record(
        (legacy ? L"create legacy " : L"create unknown ") + quoted(typeName) + L" " + quoted(name) + L" under " +
            pathOf(parent) + before(next),
        [&] { return ForwardingLayer::db_createUnknownNode(typeName, module, name, parent, next, legacy, outNode); });
}

Status EditRecorder::db_destroyLeafNode(Node* node)
{
    return record(L"destroy " + pathOf(node), [&] { return ForwardingLayer::db_destroyLeafNode(node); });
}

Status EditRecorder::db_renameNode(Node* node, const wchar_t* name)
{
    return record(L"rename " + pathOf(node) + L" to " + quoted(name),
                  [&] { return ForwardingLayer::db_renameNode(node, name); });
}

Status EditRecorder::db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name)
{
    return record(L"move " + pathOf(node) + L" under " + pathOf(newParent) + before(next) +
                      (name != nullptr ? L" as " + quoted(name) : L""),
                  [&] { return ForwardingLayer::db_reparentNode(node, newParent, next, name); });
}

Status EditRecorder::db_reorderNode(Node* node, Node* next)
{
    return record(L"reorder " + pathOf(node) + before(next),
                  [&] { return ForwardingLayer::db_reorderNode(node, next); });
}

Status EditRecorder::db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node,
                                             Element* next, Element** outElement)
{
    return record(L"add " + quoted(name) + L" to " + pathOf(node) +
                      (next != nullptr ? L" before " + pathOfElement(next) : L""),
                  [&] { return ForwardingLayer::db_createDynamicElement(definition, name, node, next, outElement); });
}

Status EditRecorder::db_destroyDynamicElement(Element* element)
{
    return record(L"destroy element " + pathOfElement(element),
                  [&] { return ForwardingLayer::db_destroyDynamicElement(element); });
}

Status EditRecorder::db_renameDynamicElement(Element* element, const wchar_t* name)
{
    return record(L"rename element " + pathOfElement(element) + L" to " + quoted(name),
                  [&] { return ForwardingLayer::db_renameDynamicElement(element, name); });
}

Status EditRecorder::db_resizeAttributeArray(AttributeArray* array, unsigned int size)
{
    return record(L"resize " + pathOfElement(array) + L" to " + std::to_wstring(size),
                  [&] { return ForwardingLayer::db_resizeAttributeArray(array, size); });
}

Status EditRecorder::db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput)
{
    return record(L"reference " + pathOf(referenced) + L" from " + pathOf(referencer) +
                      (singleOutput ? L", single" : L""),
                  [&] { return ForwardingLayer::db_createReference(referenced, referencer, singleOutput); });
}

Status EditRecorder::db_destroyReference(Attribute* referencer)
{
    return record(L"unreference " + pathOf(referencer),
                  [&] { return ForwardingLayer::db_destroyReference(referencer); });
}

Status EditRecorder::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    return record(L"lock " + pathOf(attribute), [&] { return ForwardingLayer::db_lockAttribute(attribute, outValue); });
}

Status EditRecorder::db_unlockAttribute(Attribute* attribute)
{
    return record(L"unlock " + pathOf(attribute), [&] { return ForwardingLayer::db_unlockAttribute(attribute); });
}

Status EditRecorder::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    return record(L"lock array " + pathOfElement(array),
                  [&] { return ForwardingLayer::db_lockAttributeArray(array, outValues); });
}

Status EditRecorder::db_unlockAttributeArray(AttributeArray* array)
{
    return record(L"unlock array " + pathOfElement(array),
                  [&] { return ForwardingLayer::db_unlockAttributeArray(array); });
}

Status EditRecorder::db_commit(const wchar_t* description, const wchar_t* file, unsigned int line)
{
    return record(L"commit " + quoted(description),
                  [&] { return ForwardingLayer::db_commit(description, file, line); });
}

Status EditRecorder::db_commitTransient()
{
    return record(L"commit transient", [&] { return ForwardingLayer::db_commitTransient(); });
}

Status EditRecorder::db_clear()
{
    return record(L"clear", [&] { return ForwardingLayer::db_clear(); });
}

} // namespace db2test
