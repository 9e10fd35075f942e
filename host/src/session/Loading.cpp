#include "Loading.h"

#include "WidePath.h"

#include <db2json/JsonLoader.h>

#include <algorithm>

namespace db2host {
namespace {

std::vector<LoadReport::MigratorRun> namesOf(const kqtl::pod_vector<db2::Migrator*>& migrators)
{
    std::vector<LoadReport::MigratorRun> runs;
    for (const db2::Migrator* const migrator : migrators)
        runs.push_back({migrator->getModule()->getId().c_str(), migrator->getVersion()});
    return runs;
}

/// True when whoever wrote the placeholder's data lacked a migrator that the module has: loading would run it.
bool lacksMigrators(const db2::Module& placeholder, const db2::Module& module)
{
    kqx::UIntArray written;
    placeholder.getMigratorVersionsToSave(written);
    if (written.empty())
        return false; // had them all
    kqtl::pod_vector<db2::Migrator*> migrators;
    module.getMigrators(0, module.getDataVersion(), migrators);
    return std::any_of(migrators.begin(), migrators.end(), [&](const db2::Migrator* migrator) {
        return std::find(written.begin(), written.end(), migrator->getVersion()) == written.end();
    });
}

} // namespace

LoadReport loadFile(const Library& library, const std::filesystem::path& file, db2::DataInterface& data,
                    db2::CoreManager& core, db2::Node& parent, const LoadTolerance& tolerance,
                    std::wstring* outTypeString)
{
    const std::wstring path = widePath(file);
    for (ModuleDefinition* const module : library.modules())
        module->setDataInterface(data);
    db2::FileInputStream stream(path.c_str(), db2::FileOpenMode::kBinary);
    kqtl::pod_vector<db2::Migrator*> migratorsRun;
    const unsigned int options = tolerance.keepsLegacyData ? db2::JsonLoader::kKeepUnhandledLegacyData : 0u;
    db2::JsonLoader loader(stream, data, core, options, &migratorsRun);
    loader.setLostReferenceHandler(tolerance.onLostReference);

    LoadReport report;
    report.status = loader.load(parent, path.c_str());
    report.migratorsRun = namesOf(migratorsRun);
    report.unhandledNodes = loader.getNumUnhandledLegacyNodes();
    report.unhandledElements = loader.getNumUnhandledLegacyElements();
    report.unhandledConnections = loader.getNumUnhandledLegacyConnections();
    if (outTypeString != nullptr)
        *outTypeString = loader.getHeaderData().typeString.c_str();
    return report;
}

std::wstring reasonAgainstConversion(const wchar_t* moduleId, const db2::Node& root)
{
    const db2::Module* const module = db2::lookupModule(moduleId);
    if (module == nullptr || module->isUnknown())
        return L"The module is not registered.";
    for (db2::ConstNodeIterator nodes(&root); nodes.next();)
    {
        const db2::Node& node = *nodes.node();
        if (!node.isUnknown() || node.isLegacy() || node.getModule()->getId() != module->getId())
            continue;
        const db2::Module& placeholder = *node.getModule();
        if (placeholder.getDataVersion() != module->getDataVersion() || lacksMigrators(placeholder, *module))
            return L"The data is of another version of the module: save the document and open it again.";
    }
    return {};
}

} // namespace db2host
