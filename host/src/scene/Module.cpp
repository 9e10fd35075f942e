#include "MigratorTo2.h"
#include "Types.h"

#include <db2host/Scene.h>

namespace db2host::scene {
namespace {

using db2::Status;

/// Registers a type. @return false, registering nothing, when a part of it or the type itself was refused.
bool registerType(db2::NodeRegistry& registry, const db2::Module& module, const NodeType& row)
{
    std::unique_ptr<db2::NodeTemplate> type(new db2::NodeTemplate(row.name, row.id, module, nullptr, row.docString));
    for (const Field& field : row.fields)
        if (!addField(*type, field))
            return false;
    if (!addComputeSets(*type) || registry.registerNodeTemplate(type.get()) != Status::kSuccess)
        return false;
    (void)type.release(); // the registry's now
    return true;
}

/// Registers all types or none.
bool registerTypes(db2::NodeRegistry& registry, const db2::Module& module)
{
    const auto types = nodeTypes();
    for (std::size_t i = 0; i < types.size(); ++i)
    {
        if (registerType(registry, module, types[i]))
            continue;
        while (i-- > 0)
            registry.unregisterNodeTemplate(types[i].id);
        return false;
    }
    return true;
}

} // namespace

SceneModule::SceneModule() : to2_(std::make_unique<MigratorTo2>()) {}

SceneModule::~SceneModule() = default;

bool SceneModule::registerIn(db2::NodeRegistry& registry)
{
    std::unique_ptr<db2::Module> module(new db2::Module);
    module->setId(kModuleId);
    module->setDataVersion(kDataVersion);
    if (module->registerMigrator(to2_.get(), 2) != Status::kSuccess ||
        db2::registerModule(module.get()) != Status::kSuccess)
        return false;
    if (!registerTypes(registry, *module))
    {
        db2::unregisterModule(module.get());
        return false;
    }
    (void)module.release(); // the library's now
    return true;
}

void SceneModule::setDataInterface(db2::DataInterface& data)
{
    to2_->setDataInterface(data);
}

} // namespace db2host::scene
