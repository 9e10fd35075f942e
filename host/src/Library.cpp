#include <db2host/Session.h>

#include <new>
#include <stdexcept>
#include <utility>

namespace db2host {
namespace {

/// Takes the placeholder out that a load registered in the module's place, if any; registerIn() would be refused.
db2::Module* takePlaceholder(const wchar_t* moduleId)
{
    db2::Module* const registered = db2::lookupModule(moduleId);
    if (registered == nullptr || !registered->isUnknown())
        return nullptr;
    db2::unregisterModule(registered);
    return registered;
}

bool isRegistered(ModuleDefinition& module, db2::NodeRegistry& registry)
{
    try
    {
        return module.registerIn(registry);
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
}

} // namespace

void ModuleDefinition::setDataInterface(db2::DataInterface&) {}

Library::Library(KQutils::BasicLogger* logger, const wchar_t* productVersion, std::vector<ModuleDefinition*> modules)
{
    db2::initLibrary(logger, productVersion);
    try
    {
        registry_ = std::make_unique<db2::NodeRegistry>();
        for (ModuleDefinition* const module : modules)
        {
            if (module == nullptr || !module->registerIn(*registry_))
                throw std::runtime_error("a module cannot be registered");
        }
        modules_ = std::move(modules);
    }
    catch (...)
    {
        registry_.reset(); // its templates lead to modules
        db2::termLibrary();
        throw;
    }
}

Library::~Library()
{
    registry_.reset(); // its templates lead to modules
    db2::termLibrary();
}

bool Library::add(ModuleDefinition& module)
{
    try
    {
        modules_.reserve(modules_.size() + 1);
        replaced_.reserve(replaced_.size() + 1);
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
    db2::Module* const placeholder = takePlaceholder(module.id());
    if (!isRegistered(module, *registry_))
    {
        if (placeholder != nullptr)
            db2::registerModule(placeholder); // its place in the table is still there
        return false;
    }
    modules_.push_back(&module);
    if (placeholder != nullptr)
        replaced_.emplace_back(placeholder);
    return true;
}

} // namespace db2host
