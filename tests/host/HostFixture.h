#pragma once

#include "support/LogRecorder.h"
#include "support/TemporaryFolder.h"
#include "support/TreeDump.h"

#include <db2host/Scene.h>
#include <db2host/Session.h>

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace db2host {

using db2::Status;
using db2test::isSameDump;

/// The attribute of a node of the module Scene, by its number.
inline db2::Attribute* attributeOf(const db2::Node* node, unsigned int element)
{
    return static_cast<db2::Attribute*>(node->getElement(element));
}

/// Everything of a session that a load which fails must leave alone.
struct SessionState
{
    explicit SessionState(Session& session)
        : core(&session.core()), tree(db2test::dumpTree(session.core())), undoItems(session.undo().getUndoStackSize()),
          redoItems(session.undo().getRedoStackSize()), isUnsaved(session.hasUnsavedChanges()), file(session.file())
    {
    }

    bool operator==(const SessionState&) const = default;

    friend void PrintTo(const SessionState& state, std::ostream* out)
    {
        *out << state.undoItems << " to undo, " << state.redoItems << " to redo, unsaved: " << state.isUnsaved
             << ", file " << state.file << ", tree:\n"
             << ::testing::PrintToString(state.tree);
    }

    const db2::CoreManager* core; ///< the layers themselves
    std::wstring tree;
    unsigned int undoItems;
    unsigned int redoItems;
    bool isUnsaved;
    std::filesystem::path file;
};

/// Undoes the last unit of work, which must give @p before back, and redoes it, which must give what is there now.
inline void expectUndoneAndRedone(Session& session, const std::wstring& before)
{
    const std::wstring after = db2test::dumpTree(session.core());
    ASSERT_EQ(session.undo().undo(), Status::kSuccess);
    EXPECT_TRUE(isSameDump(before, db2test::dumpTree(session.core())));
    ASSERT_EQ(session.undo().redo(), Status::kSuccess);
    EXPECT_TRUE(isSameDump(after, db2test::dumpTree(session.core())));
}

/// A library with the module Scene, a folder for files, and the log.
class HostTest : public ::testing::Test
{
protected:
    static Session::Setup sceneSetup(std::vector<db2::DataObserver*> observers = {})
    {
        Session::Setup setup;
        setup.rootTypeId = scene::kScene;
        setup.observers = std::move(observers);
        return setup;
    }

    static db2::Node* transform(Session& session, const wchar_t* name, db2::Node* parent = nullptr)
    {
        db2::Node* const node = scene::createTransform(session.data(), name, parent);
        EXPECT_NE(node, nullptr);
        return node;
    }

    static void translate(Session& session, const db2::Node* node, float x, float y, float z)
    {
        db2::Attribute* const translation = attributeOf(node, scene::transform::kTranslation);
        db2::ValueHandle value;
        ASSERT_EQ(session.data().db_lockAttribute(translation, &value), Status::kSuccess);
        value.getVector3() = {x, y, z};
        ASSERT_EQ(session.data().db_unlockAttribute(translation), Status::kSuccess);
    }

    static void commit(Session& session, const wchar_t* description = L"Edit")
    {
        ASSERT_EQ(session.data().db_commit(description, L"test", 1), Status::kSuccess);
    }

    /// An arm with a hand, committed.
    static db2::Node* makeArm(Session& session)
    {
        db2::Node* const arm = transform(session, L"arm");
        translate(session, transform(session, L"hand", arm), 1, 2, 3);
        commit(session, L"Make an arm");
        return arm;
    }

    /// What a save writes now.
    std::string savedText(Session& session)
    {
        std::vector<db2::Node*> roots;
        for (db2::Node* child = session.root().getFirstChild(); child != nullptr; child = child->getNextSibling())
            roots.push_back(child);
        EXPECT_TRUE(session.saveSubtrees(roots, folder.file("text.json")));
        return folder.read("text.json");
    }

    /// Writes a document with an arm and its hand.
    void writeArmFile(const std::string& name)
    {
        Session session(library, sceneSetup());
        makeArm(session);
        ASSERT_TRUE(session.saveAs(folder.file(name)));
    }

    db2test::TemporaryFolder folder;
    scene::SceneModule sceneModule;
    Library library{nullptr, L"Host tests 1.0", {&sceneModule}};
    db2test::LogRecorder log;
};

} // namespace db2host
