#pragma once

#include "Scene.h"

#include <string_view>
#include <vector>

namespace db2test {

/// What the nineteen operations are called with: each call would succeed in the scene.
struct Operands
{
    explicit Operands(Scene& stage);

    Scene& scene;
    Node* node = nullptr;
    Node* sibling = nullptr; ///< behind the node
    Node* leaf = nullptr;    ///< nothing of it is used by the others
    Element* dynamic = nullptr;
    AttributeArray* array = nullptr;
    Attribute* value = nullptr;
    Attribute* referenced = nullptr;
    Attribute* free = nullptr;       ///< references nothing
    Attribute* referencer = nullptr; ///< references `referenced`
    Attribute* locked = nullptr;     ///< to be unlocked
    AttributeArray* lockedArray = nullptr;

    // What comes out; not null before.
    Node* outNode;
    Element* outElement;
    ValueHandle outValue;
    void* outValues;
};

/// One operation of DataInterface, called with the operands.
struct Operation
{
    std::string_view name;
    Status (*call)(DataInterface& data, Operands& with);
};

/// All nineteen, in slot order.
[[nodiscard]] const std::vector<Operation>& everyOperation();

/// Calls the operation with nothing locked: makes the lock that an unlock needs, and ends the one that a lock makes, both
/// in the core directly. @return what the operation answered.
Status callUnlocked(const Operation& operation, DataInterface& data, Operands& with);

/// A layer that refuses everything, or forwards, and counts what it is asked for.
class RefusingLayer : public ForwardingLayer
{
public:
    using ForwardingLayer::ForwardingLayer;

    /// @param refusal  kSuccess to forward from now on.
    void answer(Status refusal) { refusal_ = refusal; }
    [[nodiscard]] unsigned int calls() const { return calls_; }

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
    template <class Forward>
    Status answerOr(Forward forward)
    {
        ++calls_;
        return refusal_ != Status::kSuccess ? refusal_ : forward();
    }

    Status refusal_ = Status::kSuccess;
    unsigned int calls_ = 0;
};

} // namespace db2test
