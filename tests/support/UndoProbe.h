#pragma once

#include <db2/db2.h>

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace db2test {

using namespace db2;

/// Stands below an undo layer: notes what that forwards, refuses what a test tells it to, and calls the test back from
/// within a commit.
class UndoProbe : public ForwardingLayer
{
public:
    using ForwardingLayer::ForwardingLayer;

    struct Commit
    {
        std::wstring description;
        std::wstring file;
        unsigned int line;
    };

    /// The names of the operations that came by since the last take(), refused ones too.
    std::vector<std::string> take() { return std::exchange(calls_, {}); }
    std::vector<Commit> takeCommits() { return std::exchange(commits_, {}); }

    /// From now on the operations of these names answer kFailure without being forwarded.
    void refuse(std::set<std::string> names) { refused_ = std::move(names); }
    void refuseNothing() { refused_.clear(); }

    /// Called within every commit, before it is forwarded.
    void callInCommits(std::function<void()> callback) { inCommit_ = std::move(callback); }

    /// Called within every rename of a node, before it is forwarded.
    void callInRenames(std::function<void()> callback) { inRename_ = std::move(callback); }

    /// What the next unknown node was asked for with.
    [[nodiscard]] const std::wstring& lastTypeName() const { return lastTypeName_; }

    // --- DataInterface, in slot order ---

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override
    {
        return pass("db_createNode",
                    [&] { return ForwardingLayer::db_createNode(typeId, name, parent, next, outNode); });
    }
    Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name, Node* parent,
                                Node* next, bool legacy, Node** outNode) override
    {
        lastTypeName_ = textOf(typeName);
        return pass("db_createUnknownNode", [&] {
            return ForwardingLayer::db_createUnknownNode(typeName, module, name, parent, next, legacy, outNode);
        });
    }
    Status db_destroyLeafNode(Node* node) override
    {
        return pass("db_destroyLeafNode", [&] { return ForwardingLayer::db_destroyLeafNode(node); });
    }
    Status db_renameNode(Node* node, const wchar_t* name) override
    {
        call(inRename_);
        return pass("db_renameNode", [&] { return ForwardingLayer::db_renameNode(node, name); });
    }
    Status db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name) override
    {
        return pass("db_reparentNode", [&] { return ForwardingLayer::db_reparentNode(node, newParent, next, name); });
    }
    Status db_reorderNode(Node* node, Node* next) override
    {
        return pass("db_reorderNode", [&] { return ForwardingLayer::db_reorderNode(node, next); });
    }
    Status db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node, Element* next,
                                   Element** outElement) override
    {
        return pass("db_createDynamicElement",
                    [&] { return ForwardingLayer::db_createDynamicElement(definition, name, node, next, outElement); });
    }
    Status db_destroyDynamicElement(Element* element) override
    {
        return pass("db_destroyDynamicElement", [&] { return ForwardingLayer::db_destroyDynamicElement(element); });
    }
    Status db_renameDynamicElement(Element* element, const wchar_t* name) override
    {
        return pass("db_renameDynamicElement", [&] { return ForwardingLayer::db_renameDynamicElement(element, name); });
    }
    Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) override
    {
        return pass("db_resizeAttributeArray", [&] { return ForwardingLayer::db_resizeAttributeArray(array, size); });
    }
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override
    {
        return pass("db_createReference",
                    [&] { return ForwardingLayer::db_createReference(referenced, referencer, singleOutput); });
    }
    Status db_destroyReference(Attribute* referencer) override
    {
        return pass("db_destroyReference", [&] { return ForwardingLayer::db_destroyReference(referencer); });
    }
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override
    {
        return pass("db_lockAttribute", [&] { return ForwardingLayer::db_lockAttribute(attribute, outValue); });
    }
    Status db_unlockAttribute(Attribute* attribute) override
    {
        return pass("db_unlockAttribute", [&] { return ForwardingLayer::db_unlockAttribute(attribute); });
    }
    Status db_lockAttributeArray(AttributeArray* array, void** outValues) override
    {
        return pass("db_lockAttributeArray", [&] { return ForwardingLayer::db_lockAttributeArray(array, outValues); });
    }
    Status db_unlockAttributeArray(AttributeArray* array) override
    {
        return pass("db_unlockAttributeArray", [&] { return ForwardingLayer::db_unlockAttributeArray(array); });
    }
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override
    {
        commits_.push_back({textOf(description), textOf(file), line});
        call(inCommit_);
        return pass("db_commit", [&] { return ForwardingLayer::db_commit(description, file, line); });
    }
    Status db_commitTransient() override
    {
        return pass("db_commitTransient", [&] { return ForwardingLayer::db_commitTransient(); });
    }
    Status db_clear() override
    {
        return pass("db_clear", [&] { return ForwardingLayer::db_clear(); });
    }

private:
    static std::wstring textOf(const wchar_t* text) { return text != nullptr ? text : L""; }

    /// By value, because the callback may replace itself.
    static void call(std::function<void()> callback)
    {
        if (callback)
            callback();
    }

    template <class Edit>
    Status pass(const char* name, Edit edit)
    {
        calls_.emplace_back(name);
        return refused_.contains(name) ? Status::kFailure : edit();
    }

    std::vector<std::string> calls_;
    std::vector<Commit> commits_;
    std::set<std::string> refused_;
    std::function<void()> inCommit_;
    std::function<void()> inRename_;
    std::wstring lastTypeName_;
};

} // namespace db2test
