#pragma once

#include "Scene.h"

#include <db2/testing/RecordingLayer.h>

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
class RefusingLayer : public conformance::RecordingLayer
{
public:
    using RecordingLayer::RecordingLayer;

    /// @param refusal  kSuccess to forward from now on.
    void answer(Status refusal) { refuseEverything(refusal); }
    [[nodiscard]] unsigned int calls() const { return static_cast<unsigned int>(RecordingLayer::calls().size()); }
};

} // namespace db2test
