// The layers in the order that the documentation recommends, and one written value on its way through all of them.

#include <db2/db2.h>

#include <cstdio>

namespace {

constexpr unsigned int kBoxType = 1;

void computeArea(db2::DataInterface& data, db2::Node&, db2::Element** elements, void*)
{
    const float width = static_cast<db2::Attribute*>(elements[0])->getValue().getFloat();
    auto* const area = static_cast<db2::Attribute*>(elements[1]);
    db2::ValueHandle value;
    data.db_lockAttribute(area, &value);
    value.getFloat() = width * width;
    data.db_unlockAttribute(area);
}

class Outliner : public db2::DataObserver
{
public:
    void onReportChanges(db2::ChangeManager*, const db2::ChangeSet&, bool) override { ++reports; }
    void onClear(db2::ChangeManager*) override {}

    int reports = 0;
};

} // namespace

int main()
{
    const db2::Module module;
    auto* const box = new db2::NodeTemplate(L"Box", kBoxType, module);
    box->addAttribute(db2::FloatAttributeMetaDataDef(), L"width");
    box->addAttribute(db2::FloatAttributeMetaDataDef(), L"area");
    const unsigned int inputs[] = {0, db2::NodeTemplate::kEndOfList};
    const unsigned int outputs[] = {1, db2::NodeTemplate::kEndOfList};
    box->addComputeSet(inputs, outputs, computeArea, nullptr, nullptr);
    db2::NodeRegistry registry;
    registry.registerNodeTemplate(box);

    db2::CoreManager core(registry, kBoxType);
    db2::WatchManager watches(&core);
    db2::ConcreteChangeSet changes, snapshot;
    db2::ChangeManager reports(&watches, changes, snapshot);
    db2::ComputeManager computed(1, &reports, *core.getRoot());
    db2::UndoManager undo(&computed, core);
    db2::DataInterfaceLogger calls(&undo);
    db2::DataInterface& data = calls;

    Outliner outliner;
    reports.addObserver(&outliner);
    db2::Node* lid = nullptr;
    data.db_createNode(kBoxType, L"lid", nullptr, nullptr, &lid);
    data.db_commit(L"Add a lid", L"layers.cpp", 58);
    watches.addWatch(lid);

    db2::ValueHandle width;
    data.db_lockAttribute(lid->findAttributeByName(L"width"), &width);
    width.getFloat() = 3.0f;
    data.db_unlockAttribute(lid->findAttributeByName(L"width"));
    data.db_commit(L"Widen the lid", L"layers.cpp", 65);

    const auto area = [lid] { return static_cast<double>(lid->findAttributeByName(L"area")->getValue().getFloat()); };
    std::printf("area %g, %d reports, watch fired: %d\n", area(), outliner.reports, watches.hasWatchedNodeChanged(lid));
    const bool isDone = area() == 9.0 && outliner.reports == 2 && watches.hasWatchedNodeChanged(lid);

    undo.undo(); // computed and reported like any edit
    std::printf("area %g, %d reports\n", area(), outliner.reports);
    return isDone && area() == 0.0 && outliner.reports == 3 ? 0 : 1;
}
