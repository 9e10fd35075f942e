#pragma once

#include <db2host/Session.h>

namespace db2host {

/// The module "Scene" as version 1 had it: to write the documents that version 2 migrates.
class SceneVersion1 : public ModuleDefinition
{
public:
    enum TypeId : unsigned int
    {
        kScene = 1,
        kTransform,
        kNull,
        kCamera,
        kLight,
        kMesh,
        kSkeleton,
        kJoint,
        kLocator
    };

    [[nodiscard]] const wchar_t* id() const override { return L"Scene"; }
    bool registerIn(db2::NodeRegistry& registry) override;
};

/// Fills an empty session of version 1 with one of everything that has changed since, and commits.
void makeVersion1Document(Session& session);

} // namespace db2host
