// The header of a load: what is valid, which modules it names, which migrators run.

#include <db2/LoadStrategy.h>

#include <db2/Library.h>
#include <db2/Migrator.h>
#include <db2/Module.h>

#include "../OutOfMemory.h"

#include <algorithm>
#include <memory>
#include <string_view>

namespace db2 {
namespace {

constexpr unsigned int kFirstMigratedVersion = 2;

/// The module of an entry; when none is registered, a placeholder that now is. Throws std::bad_alloc.
/// @return null when the placeholder cannot be registered.
Module* findModule(const HeaderData::ModuleEntry& entry)
{
    if (Module* const registered = lookupModule(entry.moduleId.c_str()))
        return registered;
    std::unique_ptr<Module> placeholder(new Module);
    placeholder->setId(entry.moduleId.c_str());
    placeholder->setDataVersion(entry.dataVersion);
    placeholder->setUnknown(true);
    return registerModule(placeholder.get()) == Status::kSuccess ? placeholder.release() : nullptr;
}

} // namespace

Status LoadStrategy::validateHeaderData()
{
    const std::wstring_view identifier = header_.identifier;
    if (identifier != L"KQDatabase2" && identifier != L"KQDatabase1")
    {
        logError(L"Invalid file. Not an KQDatabase2 compatible file.");
        return Status::kFailure;
    }
    if (header_.loaderVersion == 0)
    {
        logError(L"Invalid loader version");
        return Status::kFailure;
    }
    if (header_.loaderVersion > latestLoaderVersion_)
    {
        logError(L"Cannot load file. Loader version '%d' is newer than the current loader version '%d'",
                 header_.loaderVersion, latestLoaderVersion_);
        return Status::kFailure;
    }

    Status status = Status::kFailure; // when memory runs out
    const bool chosen = succeeds([&] {
        status = findModules();
        if (status == Status::kSuccess)
            status = chooseMigrators();
        if (status == Status::kSuccess && migratorsRun_ != nullptr)
            *migratorsRun_ = migrators_;
    });
    if (!chosen || status != Status::kSuccess)
        return Status::kFailure;
    for (Migrator* const migrator : migrators_)
        if (!migrator->onLoadBegin(*loadParent_, fileName_.c_str(), header_.typeString.c_str()))
            return Status::kFailure;
    return Status::kSuccess;
}

Status LoadStrategy::findModules()
{
    for (HeaderData::ModuleEntry& entry : header_.modules)
    {
        entry.module = findModule(entry);
        if (entry.module == nullptr)
            return Status::kFailure;
    }
    std::stable_sort(header_.modules.begin(), header_.modules.end(),
                     [](const HeaderData::ModuleEntry& a, const HeaderData::ModuleEntry& b) {
                         return a.module->getRegistrationOrder() < b.module->getRegistrationOrder();
                     });
    return Status::kSuccess;
}

Status LoadStrategy::chooseMigrators()
{
    const Module* previous = nullptr;
    for (const HeaderData::ModuleEntry& entry : header_.modules)
    {
        if (entry.dataVersion > entry.module->getDataVersion())
        {
            logError(L"File version '%d' for module '%s' is newer than this application supports (%d).",
                     entry.dataVersion, entry.module->getId().c_str(), entry.module->getDataVersion());
            return Status::kFailure;
        }
        if (entry.module != previous) // a file that names one twice runs its migrators once
            chooseMigratorsOf(entry);
        previous = entry.module;
    }
    if (migrators_.empty())
        return Status::kSuccess;
    logInfo(L"The following migrators will run:");
    for (const Migrator* const migrator : migrators_)
        logInfo(L"Module %s version %d", migrator->getModule()->getId().c_str(), migrator->getVersion());
    return Status::kSuccess;
}

/// First those that whoever wrote the file lacked, then those for the versions since. Throws std::bad_alloc.
void LoadStrategy::chooseMigratorsOf(const HeaderData::ModuleEntry& entry)
{
    Module& module = *entry.module;
    if (module.isUnknown())
    {
        if (!entry.migratorVersions.empty())
            module.setUnknownMigrators(entry.migratorVersions);
        return;
    }
    if (!entry.migratorVersions.empty())
    {
        kqx::UIntArray written = entry.migratorVersions;
        std::sort(written.begin(), written.end());
        kqtl::pod_vector<Migrator*> upToFile;
        module.getMigrators(kFirstMigratedVersion, entry.dataVersion, upToFile);
        for (Migrator* const migrator : upToFile)
            if (!std::binary_search(written.begin(), written.end(), migrator->getVersion()))
                migrators_.push_back(migrator);
    }
    if (entry.dataVersion < module.getDataVersion())
        module.getMigrators(entry.dataVersion + 1, module.getDataVersion(), migrators_);
}

} // namespace db2
