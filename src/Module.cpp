#include <db2/Module.h>

#include <db2/Library.h>
#include <db2/Migrator.h>
#include <db2/NameHash.h>
#include <db2/UIntHashMap.h>

#include "ModuleTable.h"
#include "OutOfMemory.h"

#include <algorithm>
#include <memory>
#include <new>

namespace db2 {
namespace {

constexpr unsigned int kModuleTableCapacity = 32;
constexpr unsigned int kKQDatabase1DataVersion = 2;
constexpr unsigned int kFirstMigratedVersion = 2; // version 1 is the first there is, so nothing leads to it

UIntHashMap* g_modules = nullptr;         ///< id hash to Module*; null while the library is not running
unsigned int g_nextRegistrationOrder = 0; ///< never reused, not even after termLibrary()
Module* g_kqDatabase1Module = nullptr;

/// Of migrator slots, for searches by version.
constexpr auto isBefore = [](const auto& slot, unsigned int version) { return slot.version < version; };

std::uint32_t idHash(const Module& module)
{
    return hashName(module.getId().c_str(), module.getId().size());
}

} // namespace

void createModuleTable()
{
    g_modules = new (std::nothrow) UIntHashMap(kModuleTableCapacity);
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
    if (!reserveOneMore(migrators_))
        return Status::kFailure;
    const auto later = std::lower_bound(migrators_.begin(), migrators_.end(), version, isBefore);
    migrators_.insert(later, MigratorSlot{version, migrator});
    highestSlot_ = std::max(highestSlot_, version);
    return Status::kSuccess;
}

Status Module::unregisterMigrator(Migrator* migrator)
{
    if (migrator == nullptr || highestSlot_ == 0 || migrator->getVersion() > highestSlot_)
        return Status::kFailure;
    if (MigratorSlot* const slot = findSlot(migrator->getVersion()))
        migrators_.erase(slot);
    return Status::kSuccess;
}

Module::MigratorSlot* Module::findSlot(unsigned int version)
{
    const auto slot = std::lower_bound(migrators_.begin(), migrators_.end(), version, isBefore);
    return slot != migrators_.end() && slot->version == version ? slot : nullptr;
}

Migrator* Module::getMigratorForVersion(unsigned int version) const
{
    const MigratorSlot* const slot = const_cast<Module*>(this)->findSlot(version);
    return slot != nullptr ? slot->migrator : nullptr;
}

void Module::getMigrators(unsigned int first, unsigned int last, kqtl::pod_vector<Migrator*>& migrators) const
{
    const auto* slot = std::lower_bound(migrators_.begin(), migrators_.end(), first, isBefore);
    for (; slot != migrators_.end() && slot->version <= last; ++slot)
        migrators.push_back(slot->migrator);
}

void Module::getMigratorVersionsToSave(kqx::UIntArray& versions) const
{
    if (unknown_)
    {
        versions = unknownMigrators_;
        return;
    }
    versions.clear();
    for (const MigratorSlot& slot : migrators_)
        if (slot.version <= dataVersion_)
            versions.push_back(slot.version);

    // A complete chain is what a reader assumes, so it is not listed.
    const bool isComplete = dataVersion_ < kFirstMigratedVersion || versions.size() == dataVersion_ - 1;
    if (isComplete)
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
    std::unique_ptr<Module> module;
    const bool made = succeeds([&] {
        module.reset(new Module);
        module->setId(getKQDatabase1ModuleId());
    });
    if (!made)
    {
        logError(L"Out of memory while making module '%s'", getKQDatabase1ModuleId());
        return;
    }
    if (asUnknown)
        module->setUnknown(true);
    else
        module->setDataVersion(kKQDatabase1DataVersion);
    g_kqDatabase1Module = module.release();
    registerModule(g_kqDatabase1Module); // the result is ignored: the module is ours whether it is registered or not
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
