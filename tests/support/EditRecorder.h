#pragma once

#include <db2/db2.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace db2test {

using namespace db2;

/// A layer that forwards every edit and keeps a line of text for each, for tests of what takes several steps; and that
/// refuses those that it is told to. Lines name nodes and elements by their paths before the edit:
///
///     create 3 'name' under |a before |b     create unknown 'Gone' 'name' under |a      destroy |a
///     rename |a to 'name'                    move |a under |b before |c as 'name'       reorder |a before |b
///     add 'name' to |a                       destroy element |a.x                       resize |a:xs to 3
///     reference |a.x from |b.x, single       unreference |b.x                           lock |a.x, unlock |a.x
///
/// A name that is null has no quotes. An edit that failed has " failed" behind it.
class EditRecorder : public ForwardingLayer
{
public:
    using ForwardingLayer::ForwardingLayer;

    /// The lines since the last call.
    std::vector<std::wstring> take() { return std::exchange(lines_, {}); }

    /// From now on edits whose line begins so are not forwarded and answered so. @param status  kSuccess ends that.
    void refuse(std::wstring_view lineBegin, Status status) { refusals_.emplace_back(lineBegin, status); }

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
    template <class Edit>
    Status record(std::wstring line, Edit edit);
    [[nodiscard]] Status answerTo(std::wstring_view line) const;

    std::vector<std::wstring> lines_;
    std::vector<std::pair<std::wstring, Status>> refusals_;
};

} // namespace db2test
