#pragma once

#include "Random.h"
#include "Scene.h"

#include <cstddef>
#include <string>
#include <vector>

namespace db2test {

/// Random edits of every kind through a chain of layers, as a host makes them: what they are made with is drawn from the
/// tree as it stands, mostly what the edit accepts, and now and then what it must refuse. Computed attributes are not
/// written, which would be a host's error.
class HostEdits
{
public:
    /// The registered types that nodes are made of; the constructor adds them to the scene's.
    enum TypeId : unsigned int
    {
        kMixed = 200, ///< values and arrays of many types
        kSum ///< the Int "sum" is computed from the Ints "a" and "b", and "sums" from "sum" and the array "terms"
    };

    /// @param data      receives the edits. Both not owned, and alive for as long as this is in use.
    /// @param maxNodes  beyond so many, nodes are destroyed instead of created.
    HostEdits(Scene& scene, DataInterface& data, const Random& random, std::size_t maxNodes);
    HostEdits(const HostEdits&) = delete;
    HostEdits& operator=(const HostEdits&) = delete;

    /// Adds the types, once for a scene and before anything is made of them.
    static void addTypes(Scene& scene);

    /// One edit; a lock is undone again.
    void edit();

    [[nodiscard]] std::size_t successes() const { return successes_; }
    [[nodiscard]] Random& random() { return random_; }

    /// The root and every node below it, in order.
    [[nodiscard]] std::vector<Node*> nodes();
    [[nodiscard]] Node* anyNode(); ///< rarely the root

private:
    using Draw = void (HostEdits::*)();

    void count(Status status) { successes_ += status == Status::kSuccess; }

    // --- Arguments ---

    [[nodiscard]] Node* childOrNull(Node* parent);
    [[nodiscard]] Element* anyElement();
    [[nodiscard]] Element* anyDynamicElement(Node* node);
    [[nodiscard]] Attribute* anyAttribute(); ///< an item at times; not a computed one
    [[nodiscard]] AttributeArray* anyArray();
    [[nodiscard]] std::wstring anyName();

    // --- Edits ---

    void createNode();
    void createUnknownNode();
    void destroyLeafNode();
    void destroySubtree();
    void renameNode();
    void reparentNode();
    void reorderNode();
    void createDynamicElement();
    void destroyDynamicElement();
    void renameDynamicElement();
    void resizeAttributeArray();
    void createReference();
    void destroyReference();
    void writeAttribute();
    void writeAttributeArray();
    void destroyAllOf(Node& node);

    Scene& scene_;
    DataInterface& data_;
    Random random_;
    std::size_t maxNodes_;
    std::size_t successes_ = 0;
};

} // namespace db2test
