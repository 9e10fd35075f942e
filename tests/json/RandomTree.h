#pragma once

#include "support/ModelValue.h"
#include "support/Random.h"
#include "support/Scene.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace db2test {

/// Random trees of everything that can be saved, in a scene: nodes of its types and of a second module, "Extra", which
/// an application may lack; values of every type, arrays, dynamic elements with metadata, names of any characters,
/// references. References are made in the order in which a load makes them, because the order of an attribute's
/// referencers is not saved.
class RandomTree
{
public:
    static constexpr unsigned int kGadget = 70; ///< type of the module "Extra": attributes and arrays of every type

    RandomTree(Scene& scene, Random& random) : scene_(scene), random_(random) {}

    /// Registers the module "Extra" with its type.
    static void registerExtra(Scene& scene);

    /// Whether Enums may hold numbers that name no choice; they do at first.
    void setAllowsStrayEnums(bool allows) { allowsStrayEnums_ = allows; }

    /// Makes nodes below @p parent (null: the root), and references between them.
    void grow(std::size_t nodes, Node* parent = nullptr);

private:
    void fill(Node& node);
    void fill(Attribute& attribute);
    void addDynamicElement(Node& node);
    void addReferences(const std::vector<Node*>& nodes);
    [[nodiscard]] std::wstring name();

    Scene& scene_;
    Random& random_;
    bool allowsStrayEnums_ = true;
};

} // namespace db2test
