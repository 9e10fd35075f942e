#include <db2/Migrator.h>

namespace db2 {

Migrator::~Migrator() = default;

const wchar_t* Migrator::migrateNodeTypeName(const wchar_t* typeName)
{
    return typeName;
}

const wchar_t* Migrator::migrateNodeModuleId(const wchar_t* moduleId, const wchar_t*)
{
    return moduleId;
}

const wchar_t* Migrator::migrateAttributeName(const wchar_t* name, Node*)
{
    return name;
}

const wchar_t* Migrator::migrateEnumChoice(const wchar_t* choice, const wchar_t*, Node*)
{
    return choice;
}

bool Migrator::migrateLegacyConnection(Attribute*, Attribute*)
{
    return false;
}

bool Migrator::onLoadBegin(Node&, const wchar_t*, const wchar_t*)
{
    return true;
}

bool Migrator::onNodeLoaded(Node&)
{
    return true;
}

bool Migrator::onLegacyNodeLoaded(const Node&)
{
    return true;
}

bool Migrator::onLoadSuccess(Node&)
{
    return true;
}

} // namespace db2
