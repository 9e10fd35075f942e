#pragma once

#include <db2/ForwardingLayer.h>
#include <db2/Module.h>
#include <db2/Operation.h>
#include <db2/Status.h>
#include <db2/ValueHandle.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace db2::conformance {

/// A text that a call was given. Compared by its characters, so that a layer may hand on a copy; null is not empty.
struct TextArgument
{
    explicit TextArgument(const wchar_t* given) : isNull(given == nullptr), text(given != nullptr ? given : L"") {}

    bool operator==(const TextArgument&) const = default;

    bool isNull;
    std::wstring text;
};

/// One argument of a call, out-pointers aside. Objects are compared by their address.
struct Argument
{
    using Value = std::variant<const void*, unsigned int, bool, TextArgument>;

    bool operator==(const Argument&) const = default;

    std::string_view name; ///< of the parameter
    Value value;
};

/// A call that arrived at a RecordingLayer.
struct RecordedCall
{
    Operation operation;
    std::vector<Argument> arguments;  ///< in the order of the parameters
    const void* outPointer = nullptr; ///< where the call wanted its result; null for operations without one, too
    const void* result = nullptr;     ///< on success the node, element or storage of values that was written there
    Status answer = Status::kSuccess;
};

/// A layer that keeps every call that arrives and hands it on, or refuses it when told to. Without a next layer it
/// answers kSuccess to everything and writes no result, so that calls with made-up objects can be recorded.
/// Keeps the calls until clear(). Touches none of the objects that it is handed but the out-pointers.
/// Cost: a few allocations a call.
class RecordingLayer : public ForwardingLayer
{
public:
    /// @param nextLayer  not owned; may be null.
    explicit RecordingLayer(DataInterface* nextLayer) : ForwardingLayer(nextLayer) {}

    [[nodiscard]] const std::vector<RecordedCall>& calls() const { return calls_; }
    void clear() { calls_.clear(); }

    /// From now on answers every call of @p operation with @p answer, without handing it on.
    void refuse(Operation operation, Status answer)
    {
        refused_ = operation;
        refusal_ = answer;
    }
    /// The same for the calls of all operations.
    void refuseEverything(Status answer)
    {
        refused_.reset();
        refusal_ = answer;
    }
    void refuseNothing() { refusal_ = Status::kSuccess; }

    // --- DataInterface ---

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override
    {
        return recordWithResult(
            {Operation::kCreateNode,
             {number("typeId", typeId), text("name", name), object("parent", parent), object("next", next)}},
            outNode, [&] { return ForwardingLayer::db_createNode(typeId, name, parent, next, outNode); });
    }
    Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name, Node* parent,
                                Node* next, bool legacy, Node** outNode) override
    {
        return recordWithResult({Operation::kCreateUnknownNode,
                                 {text("typeName", typeName), object("module", &module), text("name", name),
                                  object("parent", parent), object("next", next), flag("legacy", legacy)}},
                                outNode, [&] {
                                    return ForwardingLayer::db_createUnknownNode(typeName, module, name, parent, next,
                                                                                 legacy, outNode);
                                });
    }
    Status db_destroyLeafNode(Node* node) override
    {
        return record({Operation::kDestroyLeafNode, {object("node", node)}},
                      [&] { return ForwardingLayer::db_destroyLeafNode(node); });
    }
    Status db_renameNode(Node* node, const wchar_t* name) override
    {
        return record({Operation::kRenameNode, {object("node", node), text("name", name)}},
                      [&] { return ForwardingLayer::db_renameNode(node, name); });
    }
    Status db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name) override
    {
        return record(
            {Operation::kReparentNode,
             {object("node", node), object("newParent", newParent), object("next", next), text("name", name)}},
            [&] { return ForwardingLayer::db_reparentNode(node, newParent, next, name); });
    }
    Status db_reorderNode(Node* node, Node* next) override
    {
        return record({Operation::kReorderNode, {object("node", node), object("next", next)}},
                      [&] { return ForwardingLayer::db_reorderNode(node, next); });
    }
    Status db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node, Element* next,
                                   Element** outElement) override
    {
        return recordWithResult(
            {Operation::kCreateDynamicElement,
             {object("definition", &definition), text("name", name), object("node", node), object("next", next)}},
            outElement,
            [&] { return ForwardingLayer::db_createDynamicElement(definition, name, node, next, outElement); });
    }
    Status db_destroyDynamicElement(Element* element) override
    {
        return record({Operation::kDestroyDynamicElement, {object("element", element)}},
                      [&] { return ForwardingLayer::db_destroyDynamicElement(element); });
    }
    Status db_renameDynamicElement(Element* element, const wchar_t* name) override
    {
        return record({Operation::kRenameDynamicElement, {object("element", element), text("name", name)}},
                      [&] { return ForwardingLayer::db_renameDynamicElement(element, name); });
    }
    Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) override
    {
        return record({Operation::kResizeAttributeArray, {object("array", array), number("size", size)}},
                      [&] { return ForwardingLayer::db_resizeAttributeArray(array, size); });
    }
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override
    {
        return record(
            {Operation::kCreateReference,
             {object("referenced", referenced), object("referencer", referencer), flag("singleOutput", singleOutput)}},
            [&] { return ForwardingLayer::db_createReference(referenced, referencer, singleOutput); });
    }
    Status db_destroyReference(Attribute* referencer) override
    {
        return record({Operation::kDestroyReference, {object("referencer", referencer)}},
                      [&] { return ForwardingLayer::db_destroyReference(referencer); });
    }
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override
    {
        return recordWithResult({Operation::kLockAttribute, {object("attribute", attribute)}}, outValue,
                                [&] { return ForwardingLayer::db_lockAttribute(attribute, outValue); });
    }
    Status db_unlockAttribute(Attribute* attribute) override
    {
        return record({Operation::kUnlockAttribute, {object("attribute", attribute)}},
                      [&] { return ForwardingLayer::db_unlockAttribute(attribute); });
    }
    Status db_lockAttributeArray(AttributeArray* array, void** outValues) override
    {
        return recordWithResult({Operation::kLockAttributeArray, {object("array", array)}}, outValues,
                                [&] { return ForwardingLayer::db_lockAttributeArray(array, outValues); });
    }
    Status db_unlockAttributeArray(AttributeArray* array) override
    {
        return record({Operation::kUnlockAttributeArray, {object("array", array)}},
                      [&] { return ForwardingLayer::db_unlockAttributeArray(array); });
    }
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override
    {
        return record(
            {Operation::kCommit, {text("description", description), text("file", file), number("line", line)}},
            [&] { return ForwardingLayer::db_commit(description, file, line); });
    }
    Status db_commitTransient() override
    {
        return record({Operation::kCommitTransient, {}}, [&] { return ForwardingLayer::db_commitTransient(); });
    }
    Status db_clear() override
    {
        return record({Operation::kClear, {}}, [&] { return ForwardingLayer::db_clear(); });
    }

private:
    // Named, because a variant would take a text for an address.
    [[nodiscard]] static Argument object(const char* name, const void* address) { return {name, address}; }
    [[nodiscard]] static Argument number(const char* name, unsigned int value) { return {name, value}; }
    [[nodiscard]] static Argument flag(const char* name, bool value) { return {name, value}; }
    [[nodiscard]] static Argument text(const char* name, const wchar_t* value) { return {name, TextArgument(value)}; }

    [[nodiscard]] static const void* resultAt(const ValueHandle* out) { return out->getData(); }
    template <class Object>
    [[nodiscard]] static const void* resultAt(Object* const* out)
    {
        return *out;
    }

    template <class Forward>
    Status record(RecordedCall call, Forward forward)
    {
        return recordWithResult(std::move(call), static_cast<void**>(nullptr), forward);
    }

    template <class Out, class Forward>
    Status recordWithResult(RecordedCall call, Out* out, Forward forward)
    {
        call.outPointer = out;
        if (refusal_ != Status::kSuccess && refused_.value_or(call.operation) == call.operation)
            call.answer = refusal_;
        else if (db_getNextInterface() != nullptr)
        {
            call.answer = forward();
            if (call.answer == Status::kSuccess && out != nullptr)
                call.result = resultAt(out);
        }
        const Status answer = call.answer;
        calls_.push_back(std::move(call));
        return answer;
    }

    std::vector<RecordedCall> calls_;   ///< in the order in which they ended
    std::optional<Operation> refused_;  ///< none: all of them
    Status refusal_ = Status::kSuccess; ///< kSuccess: nothing is refused
};

} // namespace db2::conformance
