// An application on the reference host's Session: a module of its own with a node type, a compute set and a migrator; an
// observer; a layer around the session; files that are opened, edited, undone and saved. docs/host.md tells it part by part.
// Usage: host_guide [a folder to write to]

#include <db2host/Session.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>

namespace {

using db2::Status;

// --- Node types ---

enum TypeId : unsigned int
{
    kWorkshop = 1,
    kBox
};

namespace box {
enum Element : unsigned int
{
    kWidth,
    kHeight,
    kDepth,
    kMaterial,
    kVolume ///< computed
};
}

// --- A compute set ---

float floatOf(db2::Element** elements, unsigned int index)
{
    return static_cast<db2::Attribute*>(elements[index])->getValue().getFloat();
}

void computeVolume(db2::DataInterface& data, db2::Node&, db2::Element** elements, void*)
{
    auto* const volume = static_cast<db2::Attribute*>(elements[box::kVolume]);
    db2::ValueHandle value;
    if (data.db_lockAttribute(volume, &value) != Status::kSuccess)
        return;
    value.getFloat() =
        floatOf(elements, box::kWidth) * floatOf(elements, box::kHeight) * floatOf(elements, box::kDepth);
    data.db_unlockAttribute(volume);
}

// --- A template ---

std::unique_ptr<db2::NodeTemplate> makeBoxType(const db2::Module& module)
{
    std::unique_ptr<db2::NodeTemplate> type(
        new db2::NodeTemplate(L"Box", kBox, module, nullptr, L"A box that the workshop makes."));

    db2::FloatAttributeMetaDataDef side;
    side.setDefaultValue(1.0f);
    side.setMin(0.01f);
    side.setUnitType(kqx::kUnitDistance);
    side.setDocString(L"Outside, in metres.");
    for (const wchar_t* const name : {L"width", L"height", L"depth"})
        type->addAttribute(side, name);

    db2::EnumAttributeMetaDataDef material;
    material.addChoice(L"plywood");
    material.addChoice(L"cardboard");
    type->addAttribute(material, L"material");

    db2::FloatAttributeMetaDataDef volume;
    volume.setFlags(db2::CoreManager::getDontSaveFlag()); // it follows from the sides
    type->addAttribute(volume, L"volume");

    const unsigned int inputs[] = {box::kWidth, box::kHeight, box::kDepth, db2::NodeTemplate::kEndOfList};
    const unsigned int outputs[] = {box::kVolume, db2::NodeTemplate::kEndOfList};
    type->addComputeSet(inputs, outputs, computeVolume, nullptr);
    return type;
}

// --- A migrator ---

/// Version 1 had the width in centimetres, under the name "size".
class MigratorTo2 : public db2::Migrator
{
    bool onNodeLoaded(db2::Node& node) override
    {
        db2::Attribute* const size = node.findLegacyAttributeByName(L"size");
        if (node.getTypeName() != L"Box" || size == nullptr)
            return true; // at its default, which is the same today
        auto& data = *static_cast<db2::DataInterface*>(getAPI());
        auto* const width = static_cast<db2::Attribute*>(node.getElement(box::kWidth));
        db2::ValueHandle value;
        if (data.db_lockAttribute(width, &value) != Status::kSuccess)
            return false; // the load fails, and is taken back
        value.getFloat() = size->getValue().asFloat() / 100;
        data.db_unlockAttribute(width);
        size->setLegacyElementHandled();
        return true;
    }
};

// --- The module ---

class WorkshopModule : public db2host::ModuleDefinition
{
public:
    [[nodiscard]] const wchar_t* id() const override { return L"Workshop"; }

    bool registerIn(db2::NodeRegistry& registry) override
    {
        auto* const module = new db2::Module;
        module->setId(id());
        module->setDataVersion(2);
        module->registerMigrator(&to2_, 2);
        if (db2::registerModule(module) != Status::kSuccess)
        {
            delete module;
            return false;
        }
        return add(registry, std::make_unique<db2::NodeTemplate>(L"Workshop", kWorkshop, *module)) &&
               add(registry, makeBoxType(*module));
    }

    void setDataInterface(db2::DataInterface& data) override { to2_.setAPI(&data); }

private:
    static bool add(db2::NodeRegistry& registry, std::unique_ptr<db2::NodeTemplate> type)
    {
        if (registry.registerNodeTemplate(type.get()) != Status::kSuccess)
            return false;
        (void)type.release(); // the registry's now
        return true;
    }

    MigratorTo2 to2_;
};

// --- An observer ---

/// Knows at any time how much space the boxes take.
class StockList : public db2::DataObserver
{
public:
    void onReportChanges(db2::ChangeManager*, const db2::ChangeSet& changes, bool) override
    {
        for (unsigned int i = 0; i < changes.DestroyedNodeCount(); ++i)
            boxes_.erase(changes.DestroyedNode(i));
        for (unsigned int i = 0; i < changes.CreatedNodeCount(); ++i)
            boxes_.insert(changes.CreatedNode(i));
    }
    void onClear(db2::ChangeManager*) override { boxes_.clear(); } // also when another file is opened

    [[nodiscard]] float volume() const
    {
        float sum = 0;
        for (const db2::Node* const node : boxes_)
            sum += static_cast<const db2::Attribute*>(node->getElement(box::kVolume))->getValue().getFloat();
        return sum;
    }

private:
    std::set<const db2::Node*> boxes_;
};

// --- A layer around a session ---

/// Refuses to make more boxes than the workshop has room for.
class RoomLimit : public db2::ForwardingLayer
{
public:
    RoomLimit(db2host::Session& session, std::uint32_t maxBoxes)
        : ForwardingLayer(&session.data()), session_(session), maxBoxes_(maxBoxes)
    {
    }

    Status db_createNode(unsigned int typeId, const wchar_t* name, db2::Node* parent, db2::Node* next,
                         db2::Node** outNode) override
    {
        const std::uint32_t boxes = session_.core().getStatistics().nodes - 1; // without the root
        return boxes < maxBoxes_ ? ForwardingLayer::db_createNode(typeId, name, parent, next, outNode)
                                 : Status::kFailure;
    }

private:
    const db2host::Session& session_;
    std::uint32_t maxBoxes_;
};

// --- The application ---

bool check(bool holds, const char* what)
{
    std::printf("%s: %s\n", what, holds ? "yes" : "NO");
    return holds;
}

void setWidth(db2::DataInterface& data, const db2::Node& node, float width)
{
    auto* const attribute = static_cast<db2::Attribute*>(node.getElement(box::kWidth));
    db2::ValueHandle value;
    if (data.db_lockAttribute(attribute, &value) != Status::kSuccess)
        return;
    value.getFloat() = width;
    data.db_unlockAttribute(attribute);
}

bool editAndSave(db2host::Session& session, const StockList& stock, const std::filesystem::path& file)
{
    db2::DataInterface& data = session.data(); // the outermost layer
    db2::Node* crate = nullptr;
    data.db_createNode(kBox, L"crate", nullptr, nullptr, &crate);
    data.db_commit(L"Make a crate", L"host_guide.cpp", __LINE__);
    setWidth(data, *crate, 3.0f);
    data.db_commit(L"Widen the crate", L"host_guide.cpp", __LINE__);
    bool isRight = check(stock.volume() == 3.0f, "the volume follows");
    session.undo().undo();
    isRight &= check(stock.volume() == 1.0f, "undo brings the volume back");
    session.undo().redo();
    isRight &= check(session.hasUnsavedChanges() && session.saveAs(file), "the document is saved");

    RoomLimit limited(session, 1);
    isRight &= check(limited.db_createNode(kBox, L"one more", nullptr, nullptr, nullptr) == Status::kFailure,
                     "there is no room for another box");
    return isRight;
}

bool openOldAndBroken(db2host::Session& session, const StockList& stock, const std::filesystem::path& folder)
{
    std::ofstream(folder / "workshop_v1.json") << R"({"identifier": "KQDatabase2", "loaderVersion": 1,
        "applicationString": "Workshop 1.0", "typeString": "workshop", "modules": [["Workshop", 1, []]],
        "nodes": [{"name": "chest", "type": "Box", "module": "Workshop", "depth": 0,
                   "attributes": [["size", "Float", 250]]}]})";
    const db2host::LoadReport report = session.open(folder / "workshop_v1.json");
    for (const db2host::LoadReport::MigratorRun& run : report.migratorsRun)
        std::printf("data of %ls was brought to version %u\n", run.moduleId.c_str(), run.version);
    bool isRight = check(report.isLoaded() && stock.volume() == 2.5f, "an old file is migrated");

    std::ofstream(folder / "broken.json") << "{\"identifier\": 12}";
    const db2host::LoadReport refused = session.open(folder / "broken.json");
    std::printf("%ls", refused.errors.c_str());
    isRight &= check(!refused.isLoaded() && stock.volume() == 2.5f, "a broken file leaves the document as it is");
    return isRight;
}

} // namespace

int main(int argc, char** argv)
{
    const std::filesystem::path folder = argc > 1 ? argv[1] : ".";
    WorkshopModule workshop;
    db2host::Library library(nullptr, L"Workshop 2.0", {&workshop});
    StockList stock;
    db2host::Session::Setup setup;
    setup.rootTypeId = kWorkshop;
    setup.typeString = L"workshop";
    setup.observers = {&stock};
    db2host::Session session(library, setup);
    bool isRight = editAndSave(session, stock, folder / "workshop.json");
    isRight &= openOldAndBroken(session, stock, folder);
    return isRight ? 0 : 1;
}
