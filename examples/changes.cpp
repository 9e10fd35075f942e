// Change reporting: an outliner that keeps up with the tree by hearing at each commit what the unit of work did.

#include <db2/db2.h>

#include <cstdio>
#include <map>
#include <string>

namespace {

constexpr unsigned int kPartTypeId = 1;

class Outliner : public db2::DataObserver
{
public:
    void onReportChanges(db2::ChangeManager*, const db2::ChangeSet& changes, bool) override
    {
        for (unsigned int i = 0; i < changes.DestroyedNodeCount(); ++i)
            rows_.erase(changes.DestroyedNode(i)); // still readable, freed after the report
        for (unsigned int i = 0; i < changes.CreatedNodeCount(); ++i)
            showRow(changes.CreatedNode(i));
        for (unsigned int i = 0; i < changes.RenamedNodeCount(); ++i)
            showRow(changes.RenamedNode(i));
        std::printf("%u created, %u destroyed, %u renamed, %u changed\n", changes.CreatedNodeCount(),
                    changes.DestroyedNodeCount(), changes.RenamedNodeCount(), changes.ChangedNodeCount());
    }
    void onClear(db2::ChangeManager*) override { rows_.clear(); }

    std::wstring text() const
    {
        std::wstring text;
        for (const auto& [node, name] : rows_)
            text += name + L'\n';
        return text;
    }

private:
    void showRow(const db2::Node* node) { rows_[node] = node->getName().c_str(); }

    std::map<const db2::Node*, std::wstring> rows_;
};

} // namespace

int main()
{
    db2::initLibrary(nullptr, L"Changes 1.0");
    bool isRight = false;
    {
        db2::Module rig;
        rig.setId(L"Rig");
        auto* const part = new db2::NodeTemplate(L"Part", kPartTypeId, rig);
        part->addAttribute(db2::FloatAttributeMetaDataDef(), L"length");
        db2::NodeRegistry registry;
        registry.registerNodeTemplate(part);

        db2::CoreManager core(registry, kPartTypeId);
        db2::ConcreteChangeSet changes, snapshot;
        db2::ChangeManager data(&core, changes, snapshot);
        Outliner outliner;
        data.addObserver(&outliner);

        db2::Node* arm = nullptr;
        db2::Node* scrap = nullptr;
        data.db_createNode(kPartTypeId, L"arm", nullptr, nullptr, &arm);
        data.db_createNode(kPartTypeId, L"scrap", nullptr, nullptr, &scrap);
        data.db_destroyLeafNode(scrap); // made and destroyed in one unit: reported as neither
        data.db_commit(L"Add an arm", L"changes.cpp", 67);

        db2::ValueHandle value;
        data.db_lockAttribute(arm->findAttributeByName(L"length"), &value);
        value.getFloat() = 0.25f;
        data.db_unlockAttribute(arm->findAttributeByName(L"length"));
        data.db_renameNode(arm, L"left arm");
        data.db_commit(L"Shape it", L"changes.cpp", 74);
        std::printf("%ls", outliner.text().c_str());
        isRight = outliner.text() == L"left arm\n";
    }
    db2::termLibrary();
    return isRight ? 0 : 1;
}
