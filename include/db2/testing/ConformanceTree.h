#pragma once

#include <db2/AttributeMetaDataDef.h>
#include <db2/CoreManager.h>
#include <db2/Module.h>
#include <db2/Node.h>
#include <db2/NodeRegistry.h>
#include <db2/NodeTemplate.h>

#include <map>
#include <string>

namespace db2::conformance {

/// The node types of a ConformanceTree. Needs no started library: nothing here is registered process-wide.
class ConformanceTypes
{
public:
    static constexpr unsigned int kRoot = 1;
    static constexpr unsigned int kPart = 2;

    ConformanceTypes()
    {
        module.setId(L"Parts");
        otherModule.setId(L"Other parts");
        const FloatAttributeMetaDataDef real;
        IntAttributeMetaDataDef many;
        many.setArray(true);
        auto* const part = new NodeTemplate(L"Part", kPart, module);
        part->addAttribute(real, L"length");
        part->addAttribute(real, L"width");
        part->addAttribute(many, L"marks");
        registry.registerNodeTemplate(new NodeTemplate(L"Root", kRoot, module));
        registry.registerNodeTemplate(part);
    }

    Module module;
    Module otherModule;
    NodeRegistry registry;
};

/// The small tree that checkLayer() edits. Every argument of an operation can be an object of its own.
///
///     Root
///       arm        length, width (references length), marks (an array of three), dynamic elements "first" and "second"
///         hand
///       shelf      length, width, marks
///         cup
class ConformanceTree
{
public:
    ConformanceTree()
    {
        core.db_resizeAttributeArray(marks, 3);
        core.db_createReference(length, width, false);
        names_ = {{core.getRoot(), "Root"},
                  {arm, "arm"},
                  {hand, "hand"},
                  {shelf, "shelf"},
                  {cup, "cup"},
                  {length, "arm.length"},
                  {width, "arm.width"},
                  {shelfLength, "shelf.length"},
                  {shelfWidth, "shelf.width"},
                  {marks, "arm:marks"},
                  {first, "arm.first"},
                  {second, "arm.second"},
                  {&types.module, "module Parts"},
                  {&types.otherModule, "module Other parts"},
                  {&definition, "the definition"}};
    }
    ConformanceTree(const ConformanceTree&) = delete;
    ConformanceTree& operator=(const ConformanceTree&) = delete;

    /// What a finding calls an object.
    [[nodiscard]] std::string describe(const void* object) const
    {
        if (object == nullptr)
            return "null";
        const auto found = names_.find(object);
        return found != names_.end() ? found->second : "another object";
    }

    ConformanceTypes types;
    CoreManager core{types.registry, ConformanceTypes::kRoot};
    IntAttributeMetaDataDef definition; ///< for dynamic elements
    Node* const arm = makeNode(L"arm", nullptr);
    Node* const hand = makeNode(L"hand", arm);
    Node* const shelf = makeNode(L"shelf", nullptr);
    Node* const cup = makeNode(L"cup", shelf);
    Attribute* const length = arm->findAttributeByName(L"length");
    Attribute* const width = arm->findAttributeByName(L"width");
    Attribute* const shelfLength = shelf->findAttributeByName(L"length");
    Attribute* const shelfWidth = shelf->findAttributeByName(L"width");
    AttributeArray* const marks = arm->findAttributeArrayByName(L"marks");
    Element* const first = makeElement(L"first");
    Element* const second = makeElement(L"second");

private:
    Node* makeNode(const wchar_t* name, Node* parent)
    {
        Node* node = nullptr;
        core.db_createNode(ConformanceTypes::kPart, name, parent, nullptr, &node);
        return node;
    }

    Element* makeElement(const wchar_t* name)
    {
        Element* element = nullptr;
        core.db_createDynamicElement(definition, name, arm, nullptr, &element);
        return element;
    }

    std::map<const void*, std::string> names_;
};

} // namespace db2::conformance
