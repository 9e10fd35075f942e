#pragma once

#include <db2/Export.h>

namespace db2 {

class Attribute;
class Module;
class Node;

/// Brings data of one module from the version before to its own version while it is loaded. A host derives one for each
/// version that changed something and gives it to Module::registerMigrator(); the loader calls it in version order.
/// Every hook may be left alone: the base changes nothing and accepts everything. A `migrate...` function that returns
/// null and a `bool` hook that returns false make the load fail. Returned texts must stay valid until the next call.
class DB2_API Migrator
{
public:
    Migrator() = default;
    virtual ~Migrator();

    // --- Hooks, in slot order ---

    /// The name that a node type now bears.
    virtual const wchar_t* migrateNodeTypeName(const wchar_t* typeName);

    /// The id of the module that a node type, whose name is migrated already, now belongs to.
    virtual const wchar_t* migrateNodeModuleId(const wchar_t* moduleId, const wchar_t* typeName);

    /// The name that an element of @p node now bears.
    virtual const wchar_t* migrateAttributeName(const wchar_t* name, Node* node);

    /// The text that an enum's choice now has.
    virtual const wchar_t* migrateEnumChoice(const wchar_t* choice, const wchar_t* attributeName, Node* node);

    /// Deals with a reference one end of which is legacy. @param found   what the recorded path leads to.
    /// @param holder  the attribute that held the reference. @return true when it is dealt with.
    virtual bool migrateLegacyConnection(Attribute* found, Attribute* holder);

    /// Before the first node. @param fileName  may be null or empty.
    virtual bool onLoadBegin(Node& loadParent, const wchar_t* fileName, const wchar_t* typeString);

    /// A node of a known type has all its values, but no references yet.
    virtual bool onNodeLoaded(Node& node);

    /// A node of a type that its module no longer has is complete.
    virtual bool onLegacyNodeLoaded(const Node& node);

    /// All nodes and references are there; legacy data still is.
    virtual bool onLoadSuccess(Node& loadParent);

    // --- What Module::registerMigrator() sets ---

    void setVersion(unsigned int version) { version_ = version; }
    [[nodiscard]] unsigned int getVersion() const { return version_; }
    void setModule(Module* module) { module_ = module; }
    [[nodiscard]] Module* getModule() const { return module_; }

    // --- A pointer of the host's ---

    void setAPI(void* api) { api_ = api; }
    [[nodiscard]] void* getAPI() const { return api_; }

private:
    unsigned int version_ = 0;
    Module* module_ = nullptr; ///< not owned
    void* api_ = nullptr;
};

} // namespace db2
