// Undo, redo, and rollback of a half-done edit, as a host with an Edit menu uses them.

#include <db2/db2.h>

#include <cstdio>

namespace {

constexpr unsigned int kRootType = 1;
constexpr unsigned int kArmType = 2;

void setAngle(db2::DataInterface& data, db2::Attribute* angle, float degrees)
{
    db2::ValueHandle value;
    data.db_lockAttribute(angle, &value);
    value.getFloat() = degrees;
    data.db_unlockAttribute(angle);
}

/// Makes a node and then finds the file broken.
bool importModel(db2::DataInterface& data)
{
    data.db_createNode(kArmType, L"imported", nullptr, nullptr, nullptr);
    return false;
}

/// The label of the menu's undo entry follows the undo stack.
class UndoMenu : public db2::UndoObserver
{
    void onUndoStackPushed(db2::UndoManager* undo) override { show(*undo); }
    void onUndoStackPopped(db2::UndoManager* undo) override { show(*undo); }
    static void show(const db2::UndoManager& undo)
    {
        std::printf("menu: Undo %ls\n", undo.getUndoDescription(-1).c_str());
    }
};

bool demonstrate(const db2::NodeRegistry& registry)
{
    db2::CoreManager core(registry, kRootType);
    db2::UndoManager undo(&core, core);
    db2::DataInterface& data = undo;
    UndoMenu menu;
    undo.addObserver(&menu);

    db2::Node* arm = nullptr;
    data.db_createNode(kArmType, L"arm", nullptr, nullptr, &arm);
    data.db_commit(L"Create the arm", L"undo.cpp", __LINE__);
    undo.setCheckpoint(); // the document is saved

    db2::Attribute* const angle = arm->findAttributeByName(L"angle");
    setAngle(data, angle, 45);
    data.db_commit(L"Move the arm", L"undo.cpp", __LINE__);
    undo.undo(); // the arm is back, and the document is as it was saved
    bool correct = angle->getValue().getFloat() == 0 && !undo.hasChangedSinceCheckpoint();
    undo.redo();
    correct = correct && angle->getValue().getFloat() == 45 && undo.hasChangedSinceCheckpoint();

    const unsigned int point = undo.createRollbackPoint();
    if (!importModel(data))
        undo.rollback(point); // the node that it made is gone
    correct = correct && core.getStatistics().nodes == 2;

    undo.removeObserver(&menu);
    return correct;
}

} // namespace

int main()
{
    db2::initLibrary(nullptr, L"undo 1.0");
    auto* const module = new db2::Module;
    module->setId(L"robots");
    module->setDataVersion(1);
    db2::registerModule(module);
    bool correct = false;
    {
        auto* const armType = new db2::NodeTemplate(L"Arm", kArmType, *module);
        armType->addAttribute(db2::FloatAttributeMetaDataDef(), L"angle");
        db2::NodeRegistry registry;
        registry.registerNodeTemplate(new db2::NodeTemplate(L"Root", kRootType, *module));
        registry.registerNodeTemplate(armType);
        correct = demonstrate(registry);
    }
    db2::termLibrary();
    std::printf(correct ? "the arm went back and forth\n" : "something went wrong\n");
    return correct ? 0 : 1;
}
