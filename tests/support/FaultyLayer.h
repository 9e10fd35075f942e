#pragma once

#include <db2/db2.h>

#include <stdexcept>

namespace db2test {

using namespace db2;

/// What can be wrong with a layer, in one operation.
enum class Fault
{
    kNone,
    kSwallows,
    kPassesOnTwice,
    kRetriesRefusals,
    kChangesArgument,
    kHidesRefusals,
    kGivesAnotherRefusal,
    kRefusesByItself,
    kStaysRefused,
    kAcceptsImpossible,
    kDropsResult,
    kWritesResultOnFailure,
    kEmptiesResultOnFailure,
    kThrows
};

struct FaultyKind
{
    Fault fault;
    Operation operation;
    int argument = 0; ///< the index of the one that is changed
};

/// Passes everything on, except for one fault in one operation.
class FaultyLayer : public ForwardingLayer
{
public:
    FaultyLayer(DataInterface* nextLayer, const FaultyKind& kind) : ForwardingLayer(nextLayer), kind_(kind)
    {
        otherModule_.setId(L"Nobody's");
    }

    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override
    {
        change(Operation::kCreateNode, typeId, name, parent, next);
        return act(Operation::kCreateNode, outNode,
                   [&](Node** out) { return ForwardingLayer::db_createNode(typeId, name, parent, next, out); });
    }
    Status db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name, Node* parent,
                                Node* next, bool legacy, Node** outNode) override
    {
        const Module* passed = &module;
        change(Operation::kCreateUnknownNode, typeName, passed, name, parent, next, legacy);
        return act(Operation::kCreateUnknownNode, outNode, [&](Node** out) {
            return ForwardingLayer::db_createUnknownNode(typeName, *passed, name, parent, next, legacy, out);
        });
    }
    Status db_destroyLeafNode(Node* node) override
    {
        change(Operation::kDestroyLeafNode, node);
        return act(Operation::kDestroyLeafNode, [&] { return ForwardingLayer::db_destroyLeafNode(node); });
    }
    Status db_renameNode(Node* node, const wchar_t* name) override
    {
        change(Operation::kRenameNode, node, name);
        return act(Operation::kRenameNode, [&] { return ForwardingLayer::db_renameNode(node, name); });
    }
    Status db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name) override
    {
        change(Operation::kReparentNode, node, newParent, next, name);
        return act(Operation::kReparentNode,
                   [&] { return ForwardingLayer::db_reparentNode(node, newParent, next, name); });
    }
    Status db_reorderNode(Node* node, Node* next) override
    {
        change(Operation::kReorderNode, node, next);
        return act(Operation::kReorderNode, [&] { return ForwardingLayer::db_reorderNode(node, next); });
    }
    Status db_createDynamicElement(const ElementMetaDataDef& definition, const wchar_t* name, Node* node, Element* next,
                                   Element** outElement) override
    {
        const ElementMetaDataDef* passed = &definition;
        change(Operation::kCreateDynamicElement, passed, name, node, next);
        return act(Operation::kCreateDynamicElement, outElement, [&](Element** out) {
            return ForwardingLayer::db_createDynamicElement(*passed, name, node, next, out);
        });
    }
    Status db_destroyDynamicElement(Element* element) override
    {
        change(Operation::kDestroyDynamicElement, element);
        return act(Operation::kDestroyDynamicElement,
                   [&] { return ForwardingLayer::db_destroyDynamicElement(element); });
    }
    Status db_renameDynamicElement(Element* element, const wchar_t* name) override
    {
        change(Operation::kRenameDynamicElement, element, name);
        return act(Operation::kRenameDynamicElement,
                   [&] { return ForwardingLayer::db_renameDynamicElement(element, name); });
    }
    Status db_resizeAttributeArray(AttributeArray* array, unsigned int size) override
    {
        change(Operation::kResizeAttributeArray, array, size);
        return act(Operation::kResizeAttributeArray,
                   [&] { return ForwardingLayer::db_resizeAttributeArray(array, size); });
    }
    Status db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput) override
    {
        change(Operation::kCreateReference, referenced, referencer, singleOutput);
        return act(Operation::kCreateReference,
                   [&] { return ForwardingLayer::db_createReference(referenced, referencer, singleOutput); });
    }
    Status db_destroyReference(Attribute* referencer) override
    {
        change(Operation::kDestroyReference, referencer);
        return act(Operation::kDestroyReference, [&] { return ForwardingLayer::db_destroyReference(referencer); });
    }
    Status db_lockAttribute(Attribute* attribute, ValueHandle* outValue) override
    {
        change(Operation::kLockAttribute, attribute);
        return act(Operation::kLockAttribute, outValue,
                   [&](ValueHandle* out) { return ForwardingLayer::db_lockAttribute(attribute, out); });
    }
    Status db_unlockAttribute(Attribute* attribute) override
    {
        change(Operation::kUnlockAttribute, attribute);
        return act(Operation::kUnlockAttribute, [&] { return ForwardingLayer::db_unlockAttribute(attribute); });
    }
    Status db_lockAttributeArray(AttributeArray* array, void** outValues) override
    {
        change(Operation::kLockAttributeArray, array);
        return act(Operation::kLockAttributeArray, outValues,
                   [&](void** out) { return ForwardingLayer::db_lockAttributeArray(array, out); });
    }
    Status db_unlockAttributeArray(AttributeArray* array) override
    {
        change(Operation::kUnlockAttributeArray, array);
        return act(Operation::kUnlockAttributeArray, [&] { return ForwardingLayer::db_unlockAttributeArray(array); });
    }
    Status db_commit(const wchar_t* description, const wchar_t* file, unsigned int line) override
    {
        change(Operation::kCommit, description, file, line);
        return act(Operation::kCommit, [&] { return ForwardingLayer::db_commit(description, file, line); });
    }
    Status db_commitTransient() override
    {
        return act(Operation::kCommitTransient, [&] { return ForwardingLayer::db_commitTransient(); });
    }
    Status db_clear() override
    {
        return act(Operation::kClear, [&] { return ForwardingLayer::db_clear(); });
    }

private:
    template <class... Arguments>
    void change(Operation operation, Arguments&... arguments)
    {
        if (kind_.fault != Fault::kChangesArgument || kind_.operation != operation)
            return;
        int at = 0;
        ((at++ == kind_.argument ? alter(arguments) : void()), ...);
    }
    void alter(unsigned int& number) { ++number; }
    void alter(bool& flag) { flag = !flag; }
    void alter(const wchar_t*& text) { text = L"changed"; }
    void alter(const Module*& module) { module = &otherModule_; }
    void alter(const ElementMetaDataDef*& definition) { definition = &otherDefinition_; }
    template <class Object>
    void alter(Object*& object)
    {
        object = nullptr;
    }

    template <class Forward>
    Status act(Operation operation, Forward forward)
    {
        return act(operation, static_cast<void**>(nullptr), [&](void**) { return forward(); });
    }

    template <class Out, class Forward>
    Status act(Operation operation, Out* out, Forward forward)
    {
        if (kind_.operation != operation)
            return forward(out);
        Out own{};
        switch (kind_.fault)
        {
        case Fault::kSwallows: return Status::kSuccess;
        case Fault::kRefusesByItself: return Status::kFailure;
        case Fault::kThrows: throw std::runtime_error("a fault");
        case Fault::kDropsResult: return forward(out != nullptr ? &own : nullptr);
        case Fault::kStaysRefused:
            if (refused_)
                return Status::kFailure;
            break;
        default: break;
        }
        const Status answer = forward(out);
        refused_ = refused_ || answer != Status::kSuccess;
        switch (kind_.fault)
        {
        case Fault::kPassesOnTwice: forward(out); return answer;
        case Fault::kRetriesRefusals: return answer != Status::kSuccess ? forward(out) : answer;
        case Fault::kGivesAnotherRefusal: return answer != Status::kSuccess ? Status::kReserved52 : answer;
        case Fault::kHidesRefusals: return Status::kSuccess;
        case Fault::kAcceptsImpossible: return isImpossible(answer) ? Status::kSuccess : answer;
        case Fault::kWritesResultOnFailure:
            if (answer != Status::kSuccess && out != nullptr)
                spoil(*out);
            return answer;
        case Fault::kEmptiesResultOnFailure:
            if (answer != Status::kSuccess && out != nullptr)
                *out = own;
            return answer;
        default: return answer;
        }
    }

    void spoil(Node*& node) const { node = node->getFirstChild(); }
    void spoil(Element*& element) const { element = element->getNode()->getElement(0); }
    void spoil(ValueHandle& value) const { value = value_; }
    void spoil(void*& values) { values = this; }

    /// The core's answers to null objects, but no others that a call with all arguments could get.
    static bool isImpossible(Status answer)
    {
        return answer == Status::kNullNodeToDestroy || answer == Status::kNullElementToDestroy;
    }

    const FaultyKind kind_;
    Module otherModule_;
    FloatAttributeMetaDataDef otherDefinition_;
    DefaultValue value_{AttributeType::kFloat};
    bool refused_ = false;
};

} // namespace db2test
