#include <db2/Module.h>

#include "ModuleTable.h"

#include <db2/Library.h>
#include <db2/Migrator.h>
#include <db2/NameHash.h>
#include <db2/UIntHashMap.h>

#include <new>

namespace db2 {
namespace {

constexpr unsigned int kModuleTableCapacity = 32;
constexpr unsigned int kKQDatabase1DataVersion = 2;
constexpr unsigned int kFirstMigratedVersion = 2; // version 1 is the first there is, so nothing leads to it

UIntHashMap* g_modules = nullptr; ///< id hash to Module*; null while the library is not running
unsigned int g_nextRegistrationOrder = 0; ///< never reused, not even after termLibrary()
Module* g_kqDatabase1Module = nullptr;

std::uint32_t idHash(const Module& module)
{
    return hashName(module.getId().c_str(), module.getId().size());
}

} // namespace

void createModuleTable()
{
    g_modules = new UIntHashMap(kModuleTableCapacity);
}

void destroyModuleTable()
{
    if (g_modules == nullptr)
        return;
    for (unsigned int slot = g_modules->firstSlot(); slot != UIntHashMap::kNoSlot; slot = g_modules->nextSlot(slot))
    {
        auto* const module = static_cast<Module*>(g_modules->valueAt(slot));
        if (module == g_kqDatabase1Module)
            g_kqDatabase1Module = nullptr;
        delete module;
    }
    delete g_modules;
    g_modules = nullptr;
}

// --- Module ---

Status Module::registerMigrator(Migrator* migrator, unsigned int version)
{
    if (migrator == nullptr)
        return Status::kFailure;
    if (version < kFirstMigratedVersion || version > dataVersion_)
        return Status::kMigratorVersionOutOfRange;

    // Told before the slot is looked at: a migrator that is refused as a duplicate knows its module and version too.
    migrator->setModule(this);
    migrator->setVersion(version);

    if (getMigratorForVersion(version) != nullptr)
        return Status::kDuplicateMigrator;
    try
    {
        if (migrators_.size() <= version)
            migrators_.resize(std::size_t{version} + 1);
    }
    catch (const std::exception&) // out of memory, or a version that no vector can reach
    {
        return Status::kFailure;
    }
    migrators_[version] = migrator;
    return Status::kSuccess;
}

Status Module::unregisterMigrator(Migrator* migrator)
{
    if (migrator == nullptr || migrator->getVersion() >= migrators_.size())
        return Status::kFailure;
    migrators_[migrator->getVersion()] = nullptr;
    return Status::kSuccess;
}

Migrator* Module::getMigratorForVersion(unsigned int version) const
{
    return version < migrators_.size() ? migrators_[version] : nullptr;
}

void Module::getMigratorVersionsToSave(kqx::UIntArray& versions) const
{
    if (unknown_)
    {
        versions = unknownMigrators_;
        return;
    }
    versions.clear();
    // Versions beyond the slots have no migrator, so a data version of any size costs no more than the slots do.
    const std::size_t slotsInUse = migrators_.size() <= dataVersion_ ? migrators_.size() : std::size_t{dataVersion_} + 1;
    for (std::size_t version = kFirstMigratedVersion; version < slotsInUse; ++version)
        if (migrators_[version] != nullptr)
            versions.push_back(static_cast<unsigned int>(version));

    // A complete chain is what a reader assumes, so it is not listed.
    const bool complete = dataVersion_ < kFirstMigratedVersion || versions.size() == dataVersion_ - 1;
    if (complete)
        versions.clear();
}

// --- The module table ---

Status registerModule(Module* module)
{
    if (module == nullptr)
        return Status::kNullModule;
    if (g_modules == nullptr)
        return Status::kFailure;
    const std::uint32_t hash = idHash(*module);
    if (g_modules->contains(hash))
    {
        // The text has no conversion for the id and is kept as it is.
        logError(L"Cannot register duplicate module '%'", module->getId().c_str());
        return Status::kDuplicateModule;
    }
    if (!g_modules->insert(hash, module))
        return Status::kFailure;
    module->setRegistrationOrder(g_nextRegistrationOrder++);
    return Status::kSuccess;
}

Status unregisterModule(Module* module)
{
    if (module == nullptr)
        return Status::kNullModule;
    if (g_modules == nullptr)
        return Status::kFailure;
    return g_modules->remove(idHash(*module)) ? Status::kSuccess : Status::kModuleNotRegistered;
}

Status unregisterAllModules()
{
    if (g_modules == nullptr)
        return Status::kFailure;
    g_modules->clear();
    return Status::kSuccess;
}

Module* lookupModule(const wchar_t* id)
{
    return g_modules != nullptr ? static_cast<Module*>(g_modules->find(hashName(id))) : nullptr;
}

void registerKQDatabase1Module(bool asUnknown)
{
    if (g_kqDatabase1Module != nullptr)
        return;
    g_kqDatabase1Module = new Module;
    g_kqDatabase1Module->setId(getKQDatabase1ModuleId());
    if (asUnknown)
        g_kqDatabase1Module->setUnknown(true);
    else
        g_kqDatabase1Module->setDataVersion(kKQDatabase1DataVersion);
    registerModule(g_kqDatabase1Module);
}

void unregisterKQDatabase1Module()
{
    if (g_kqDatabase1Module == nullptr)
        return;
    unregisterModule(g_kqDatabase1Module);
    delete g_kqDatabase1Module; // whether it was registered or not: it is ours
    g_kqDatabase1Module = nullptr;
}

const wchar_t* getKQDatabase1ModuleId()
{
    return L"KQDatabase1";
}

} // namespace db2
