#pragma once

#include <db2host/Scene.h>

namespace db2host::scene {

/// Brings data of version 1 to version 2; what has changed stands in docs/host.md.
class SceneModule::MigratorTo2 : public db2::Migrator
{
public:
    /// @param data  what the migrator edits through; not owned, and alive for as long as the loads that follow.
    void setDataInterface(db2::DataInterface& data) { data_ = &data; }

    const wchar_t* migrateNodeTypeName(const wchar_t* typeName) override;
    const wchar_t* migrateAttributeName(const wchar_t* name, db2::Node* node) override;
    const wchar_t* migrateEnumChoice(const wchar_t* choice, const wchar_t* attributeName, db2::Node* node) override;
    bool migrateLegacyConnection(db2::Attribute* found, db2::Attribute* holder) override;
    bool onNodeLoaded(db2::Node& node) override;

private:
    bool convertFov(db2::Node& camera);
    bool keepOldKind(db2::Node& light);

    db2::DataInterface* data_ = nullptr;
};

} // namespace db2host::scene
