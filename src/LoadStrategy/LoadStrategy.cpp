// Construction of LoadStrategy, the course of a load, and the names that migrators change. What a format calls and what
// ends a load stand beside this file.

#include <db2/LoadStrategy.h>

#include <db2/AttributeArray.h>
#include <db2/CoreManager.h>
#include <db2/EnumAttributeMetaDataDef.h>
#include <db2/InputStream.h>
#include <db2/Library.h>
#include <db2/Migrator.h>

#include "../MigratorChain.h"
#include "../OutOfMemory.h"

#include <kqx/Timer.h>

#include <utility>

namespace db2 {

LoadStrategy::LoadStrategy(InputStream& stream, DataInterface& data, CoreManager& core,
                           unsigned int latestLoaderVersion, unsigned int options,
                           kqtl::pod_vector<Migrator*>* migratorsRun)
    : stream_(stream), data_(data), core_(core), latestLoaderVersion_(latestLoaderVersion), options_(options),
      migratorsRun_(migratorsRun)
{
}

LoadStrategy::~LoadStrategy() = default;

// --- Loading ---

void LoadStrategy::setLostReferenceHandler(LostReferenceHandler handler)
{
    onLostReference_ = std::move(handler);
}

Status LoadStrategy::load(Node& loadParent, const wchar_t* fileName)
{
    if (!succeeds([&] { fileName_ = fileName; }))
        return Status::kFailure;
    if (!stream_.isOK())
    {
        if (fileName_.empty())
            logError(L"Stream is not OK to read from");
        else
            logError(L"%s is not OK to read from", fileName_.c_str());
        return Status::kFailure;
    }
    loadParent_ = &loadParent;
    uncommitted_ = &core_.getElementAnchor();
    kqx::Timer timer;
    timer.start();

    Status status = Status::kFailure; // also when memory runs out
    static_cast<void>(succeeds([&] { status = doLoad(); }));
    if (lockedAttribute_ != nullptr)
        unlockAttribute(std::exchange(lockedAttribute_, nullptr));
    if (status == Status::kSuccess)
        status = finish();
    if (status != Status::kSuccess)
        return status;

    if (hasOption(kLogLoadTime))
        logInfo(L"db2::load '%s': %.3f s", fileName_.c_str(), timer.seconds());
    if (unhandledNodes_ != 0 || unhandledElements_ != 0 || unhandledConnections_ != 0)
        return Status::kLoadedWithUnhandledLegacyData;
    return migrators_.empty() ? Status::kSuccess : Status::kLoadedWithMigration;
}

// --- Names of older versions ---

const wchar_t* LoadStrategy::migrateNodeTypeName(const wchar_t* typeName)
{
    if (header_.legacyFormat == 0)
        return migrateThrough(&migrators_, typeName,
                              [](Migrator& m, const wchar_t* text) { return m.migrateNodeTypeName(text); });
    if (typeName == nullptr)
        return nullptr;
    static kqx::String legacyName;
    const bool made = succeeds([&] {
        legacyName = typeName;
        legacyName += L"_KQDatabase1";
    });
    return made ? legacyName.c_str() : nullptr;
}

const wchar_t* LoadStrategy::migrateNodeModuleId(const wchar_t* moduleId, const wchar_t* typeName)
{
    return migrateThrough(&migrators_, moduleId, [typeName](Migrator& m, const wchar_t* text) {
        return m.migrateNodeModuleId(text, typeName);
    });
}

const wchar_t* LoadStrategy::migrateEnumChoice(const wchar_t* choice, const wchar_t* attributeName, Node* node)
{
    return migrateThrough(&migrators_, choice, [=](Migrator& m, const wchar_t* text) {
        return m.migrateEnumChoice(text, attributeName, node);
    });
}

const wchar_t* LoadStrategy::migrateAttributeName(const wchar_t* name, Node* node,
                                                  const kqtl::pod_vector<Migrator*>& migrators)
{
    return migrateThrough(&migrators, name,
                          [node](Migrator& m, const wchar_t* text) { return m.migrateAttributeName(text, node); });
}

} // namespace db2
