#pragma once

#include <db2/Export.h>
#include <db2/LibraryAllocated.h>
#include <db2/Status.h>

#include <kqtl/pod_vector.h>
#include <kqx/Array.h>
#include <kqx/String.h>

namespace db2 {

class Migrator;

/// Names a family of node types and carries the version of its data and the migrators that bring older data up to date.
/// The saver records each node's module and its data version; the loader looks modules up by id to choose the migrators.
/// A host makes one with `new`, sets id and data version, registers migrators and then the module itself; it must outlive
/// every node and file operation that names it. Copying copies every field; the migrators themselves are shared.
class DB2_API Module : public LibraryAllocated
{
public:
    Module() = default;
    Module(const Module&) = default;
    Module& operator=(const Module&) = default;
    ~Module() = default;

    // --- Identity ---

    /// The id is unique among registered modules by its hash; set it before registering. Null is the empty text.
    void setId(const wchar_t* id) { id_ = id; }
    [[nodiscard]] const kqx::String& getId() const { return id_; }

    /// The version of the module's data as this application writes it; 0 until set.
    void setDataVersion(unsigned int version) { dataVersion_ = version; }
    [[nodiscard]] unsigned int getDataVersion() const { return dataVersion_; }

    /// True for a placeholder that the loader made for data whose module is not registered.
    void setUnknown(bool unknown) { unknown_ = unknown; }
    [[nodiscard]] bool isUnknown() const { return unknown_; }

    /// A process-wide number, counting up from 0, given by registerModule(); saved modules are listed in this order.
    void setRegistrationOrder(unsigned int order) { registrationOrder_ = order; }
    [[nodiscard]] unsigned int getRegistrationOrder() const { return registrationOrder_; }

    // --- Migrators (not owned; must outlive the module's registration) ---

    /// Puts @p migrator in charge of bringing data to @p version, and tells it this module and the version. A migrator
    /// that is then refused as a duplicate has been told all the same.
    /// @return kMigratorVersionOutOfRange, telling the migrator nothing, for a version below 2 or above the data
    ///         version; kDuplicateMigrator when the version has one; kFailure for null or when memory is out.
    Status registerMigrator(Migrator* migrator, unsigned int version);

    /// Empties the slot of the migrator's own version, whichever migrator holds it, if any.
    /// @return kFailure, changing nothing, for null or for a version above all that ever had a migrator.
    Status unregisterMigrator(Migrator* migrator);

    /// Null when the version has none.
    [[nodiscard]] Migrator* getMigratorForVersion(unsigned int version) const;

    /// Appends the migrators for the versions from @p first to @p last, ascending. Throws std::bad_alloc.
    void getMigrators(unsigned int first, unsigned int last, kqtl::pod_vector<Migrator*>& migrators) const;

    /// The migrator versions that a file header lists. Of a placeholder: the list that its file gave. Of a real module:
    /// empty when the chain from 2 to the data version is complete, else the versions that are there, ascending.
    void getMigratorVersionsToSave(kqx::UIntArray& versions) const;

    /// Keeps the list that a placeholder writes back.
    void setUnknownMigrators(const kqx::UIntArray& versions) { unknownMigrators_ = versions; }

private:
    kqx::String id_;
    unsigned int dataVersion_ = 0;
    unsigned int registrationOrder_ = 0;
    bool unknown_ = false;
    struct MigratorSlot
    {
        unsigned int version;
        Migrator* migrator;
    };
    [[nodiscard]] MigratorSlot* findSlot(unsigned int version);

    /// The slots in use, by version. Not a list by version, which a large version number would make large.
    kqtl::pod_vector<MigratorSlot> migrators_;
    unsigned int highestSlot_ = 0; ///< the highest version that ever had a migrator; 0 when none had
    kqx::UIntArray unknownMigrators_;
};

// --- The process's module table: between initLibrary() and termLibrary(); kFailure or null outside ---

/// Registers a module; the library then owns it until it is unregistered.
/// @return kNullModule; kDuplicateModule, logged, when a module whose id has the same hash is registered; kFailure when
///         memory is out. A refused module uses up no registration number and stays the caller's.
DB2_API Status registerModule(Module* module);

/// Takes the entry of the module's id out of the table, whichever module it holds; the caller owns the module again.
/// @return kModuleNotRegistered when there is none, kNullModule for null.
DB2_API Status unregisterModule(Module* module);

/// Empties the table; every module is its maker's again. @return kSuccess.
DB2_API Status unregisterAllModules();

/// The registered module whose id has the hash of @p id, or null.
[[nodiscard]] DB2_API Module* lookupModule(const wchar_t* id);

/// Makes and registers the module of the previous generation of the format, as an unknown module of version 0 or as a
/// known one of version 2. Does nothing while one is there.
DB2_API void registerKQDatabase1Module(bool asUnknown);

/// Unregisters and destroys that module; call it before termLibrary(). Does nothing when there is none.
DB2_API void unregisterKQDatabase1Module();

/// "KQDatabase1".
[[nodiscard]] DB2_API const wchar_t* getKQDatabase1ModuleId();

} // namespace db2
