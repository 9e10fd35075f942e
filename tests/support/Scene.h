#pragma once

#include "LogRecorder.h"

#include <db2/db2.h>

#include <cassert>

namespace db2test {

using namespace db2;

/// A running library with one module, node templates for tests, and a core with an empty tree.
///
/// Templates: "Root" (no elements), "Plain" (no elements) and "All", which has one attribute of each type, named like
/// the type ("Int", "Colour", ...), and for Int, Float, String, Matrix and Null an attribute array named like the type
/// with "Items" behind it ("IntItems").
class Scene
{
public:
    enum TypeId : unsigned int
    {
        kRoot = 1,
        kPlain = 2,
        kAll = 3
    };

    explicit Scene(UnknownAPINodeFactory* unknownFactory = nullptr, UnknownAPINodeFactory* legacyFactory = nullptr);
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;
    ~Scene();

    [[nodiscard]] CoreManager& core() { return *core_; }
    [[nodiscard]] Node* root() { return core_->getRoot(); }
    [[nodiscard]] NodeRegistry& registry() { return *registry_; }
    [[nodiscard]] Module& module() { return *module_; }
    [[nodiscard]] LogRecorder& log() { return log_; }

    /// Makes a node of the type "All" last under @p parent (null: the root); it must succeed.
    Node* node(const wchar_t* name, Node* parent = nullptr) { return nodeOf(kAll, name, parent); }
    Node* nodeOf(unsigned int typeId, const wchar_t* name, Node* parent = nullptr);
    Node* unknownNode(const wchar_t* name, Node* parent = nullptr, bool legacy = false);

    /// Adds a dynamic attribute of the definition last on @p node; it must succeed.
    Attribute* dynamicAttribute(const ElementMetaDataDef& definition, const wchar_t* name, Node* node);

    /// Writes a Float, Int or String value through lock and unlock; it must succeed.
    void write(Attribute* attribute, float value);
    void write(Attribute* attribute, int value);
    void write(Attribute* attribute, const wchar_t* value);

    Status commit() { return core_->db_commit(L"test", L"Scene.h", 1); }

    /// A definition of any type, without options; the caller deletes it.
    static ElementMetaDataDef* makeDefinition(AttributeTypeId typeId);

private:
    LogRecorder log_;
    Module* module_ = nullptr;         ///< the library's
    NodeRegistry* registry_ = nullptr; ///< destroyed before the library ends
    CoreManager* core_ = nullptr;
};

} // namespace db2test
