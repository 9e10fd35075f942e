// Importing a 3D model into a document, so that a model that cannot be read leaves no trace, and one that can be is one step
// of the history.

#include <db2host/Scene.h>
#include <db2host/Session.h>
#include <db2import/ModelImport.h>

#include <cstdio>

namespace {

bool import(db2host::Session& session, const std::filesystem::path& file)
{
    const unsigned int before = session.undo().createRollbackPoint();
    const db2import::ImportReport report = db2import::importModel(file, session.data(), session.core(), session.root());
    for (const db2import::ImportRemark& remark : report.remarks)
        std::printf("%ls: %ls\n", remark.place.c_str(), remark.text.c_str());
    if (!report.isImported())
    {
        std::printf("not imported: %ls\n", report.error.c_str());
        session.undo().rollback(before);
        return false;
    }
    session.data().db_commit(L"Import", nullptr, 0);
    std::printf("%ls: %llu nodes\n", report.format.c_str(), static_cast<unsigned long long>(report.counts.nodes));
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    const std::filesystem::path folder = argc > 1 ? argv[1] : ".";
    db2host::scene::SceneModule scene;
    db2host::Library library(nullptr, L"Importing 1.0", {&scene});
    db2host::Session::Setup setup;
    setup.rootTypeId = db2host::scene::kScene;
    db2host::Session session(library, setup);

    const bool isImported = import(session, folder / "desk_lamp.gltf");
    const bool isRefused = !import(session, folder / "stage_v1.json"); // a document, which no reader of models takes
    return isImported && isRefused && session.undo().getUndoStackSize() == 1 ? 0 : 1;
}
