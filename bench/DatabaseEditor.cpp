#include "DatabaseEditor.h"

#include <stdexcept>

namespace db2bench {
namespace {

void mustSucceed(db2::Status status)
{
    if (status != db2::Status::kSuccess)
        throw std::runtime_error("an edit was refused");
}

} // namespace

DatabaseEditor::DatabaseEditor()
    : watches_(&tree_.core()), reports_(&watches_, changes_, snapshot_), computed_(1, &reports_, *tree_.root()),
      undo_(&computed_, tree_.core())
{
    tree_.editThrough(undo_);
}

void DatabaseEditor::set(NodeRef node, float f0)
{
    if (!tree_.writeF0(node, f0))
        throw std::runtime_error("a write was refused");
}

void DatabaseEditor::destroy(NodeRef top)
{
    db2::dbu_destroyNodeRecursively(top, &undo_); // the check of the pass tells whether it did
}

DatabaseEditor::NodeRef DatabaseEditor::find(std::wstring_view path)
{
    NodeRef node = nullptr;
    mustSucceed(db2::dbu_pathToNode(tree_.root(), path.data(), &node));
    return node;
}

void DatabaseEditor::settle()
{
    commit();
    clearHistory();
}

void DatabaseEditor::commit()
{
    mustSucceed(undo_.db_commit(L"edit", L"bench", 1));
}

void DatabaseEditor::undo()
{
    mustSucceed(undo_.undo());
}

void DatabaseEditor::redo()
{
    mustSucceed(undo_.redo());
}

void DatabaseEditor::clearHistory()
{
    undo_.clearUndoHistory();
    commit(); // which frees what the history held
}

void DatabaseEditor::observe(std::size_t* counter)
{
    counter_ = counter;
    reports_.addObserver(&writeCounter_);
}

void DatabaseEditor::WriteCounter::onReportChanges(db2::ChangeManager*, const db2::ChangeSet& changes, bool)
{
    for (unsigned int i = 0; i < changes.ChangedAttributeCount(); ++i)
        *counter_ += changes.ChangedAttribute(i) != nullptr ? 1u : 0u;
}

std::size_t DatabaseEditor::undoBytes() const
{
    return undo_.getUndoMemoryInUse(undo_.getUndoStackSize() - 1);
}

void DatabaseEditor::buildComputed(const std::vector<int>& parents)
{
    NumberedText<wchar_t> name("node");
    for (std::size_t i = 0; i < parents.size(); ++i)
    {
        name.setNumber(i);
        NodeRef const parent = i != 0 ? computedNodes_[static_cast<std::size_t>(parents[i])] : tree_.root();
        NodeRef const node = tree_.createNode(DatabaseTree::kComputed, parent, name.c_str());
        if (node == nullptr)
            throw std::runtime_error("a creation failed");
        if (i != 0)
            mustSucceed(undo_.db_createReference(DatabaseTree::attribute(parent, DatabaseTree::kWorld),
                                                 DatabaseTree::attribute(node, DatabaseTree::kParentWorld), false));
        computedNodes_.push_back(node);
    }
    commit();
}

void DatabaseEditor::setLocal(int index, float value)
{
    db2::Attribute* const local =
        DatabaseTree::attribute(computedNodes_[static_cast<std::size_t>(index)], DatabaseTree::kLocal);
    db2::ValueHandle handle;
    mustSucceed(undo_.db_lockAttribute(local, &handle));
    handle.getFloat() = value;
    mustSucceed(undo_.db_unlockAttribute(local));
}

float DatabaseEditor::world(int index) const
{
    return DatabaseTree::attribute(computedNodes_[static_cast<std::size_t>(index)], DatabaseTree::kWorld)
        ->getValue()
        .asFloat();
}

} // namespace db2bench
