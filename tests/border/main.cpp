// A host across the library's border: links the shared library alone, derives a class from each that hosts implement, and
// runs a session with all of them. What one side makes, the other frees; what one side throws, the other catches.

#include "TextFormat.h"

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace db2;
using border::StringInput;
using border::StringOutput;
using border::TextLoader;
using border::TextSaver;

constexpr unsigned int kArmTypeId = 1;
constexpr unsigned int kDataVersion = 2;

int failures = 0;

void check(bool holds, const char* what)
{
    failures += holds ? 0 : 1;
    if (!holds)
        std::printf("does not hold: %s\n", what);
}
#define CHECK(condition) check(condition, #condition) // for the text of the condition

// --- What a host derives ---

class Logger : public KQutils::BasicLogger
{
public:
    void log(int level, const wchar_t* text) override { lines.push_back(std::to_wstring(level) + L" " + text); }
    [[nodiscard]] bool has(const std::wstring& part) const
    {
        for (const std::wstring& line : lines)
        {
            if (line.find(part) != std::wstring::npos)
                return true;
        }
        return false;
    }
    std::vector<std::wstring> lines;
};

class ArmFactory : public APIBaseFactory
{
public:
    void* createNodeAPI(Node*, void* userData) override { return userData; }
};

class OrphanFactory : public UnknownAPINodeFactory
{
public:
    void* createNodeAPI(Node*, void* userData, unsigned int* outTypeId) override
    {
        *outTypeId = 77;
        return userData;
    }
};

class Observer : public DataObserver
{
public:
    void onReportChanges(ChangeManager*, const ChangeSet&, bool) override
    {
        ++reports;
        if (throws)
            throw std::runtime_error("an observer's");
    }
    void onClear(ChangeManager*) override { ++clears; }
    int reports = 0;
    int clears = 0;
    bool throws = false;
};

class PreObserver : public DataPreObserver
{
public:
    void onPreReportChanges(ChangeManager*, const ChangeSet&, bool) override { ++reports; }
    int reports = 0;
};

class UndoWatcher : public UndoObserver
{
public:
    void onUndoStackPushed(UndoManager*) override { ++pushed; }
    void onUndoStackPopped(UndoManager*) override { ++popped; }
    int pushed = 0;
    int popped = 0;
};

/// Brings version 1 to 2, in which arms that were called "Stick" are called "Arm".
class StickMigrator : public Migrator
{
public:
    const wchar_t* migrateNodeTypeName(const wchar_t* typeName) override
    {
        return std::wstring(typeName) == L"Stick" ? L"Arm" : typeName;
    }
    bool onNodeLoaded(Node&) override { return ++loaded > 0; }
    int loaded = 0;
};

class CountingLayer : public ForwardingLayer
{
public:
    using ForwardingLayer::ForwardingLayer;
    Status db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode) override
    {
        ++creations;
        return ForwardingLayer::db_createNode(typeId, name, parent, next, outNode);
    }
    int creations = 0;
};

/// Doubles the length, or throws when user data says so.
void computeReach(DataInterface& data, Node&, Element** elements, void* userData)
{
    if (*static_cast<bool*>(userData))
        throw std::runtime_error("a compute function's");
    ValueHandle value;
    auto* const reach = static_cast<Attribute*>(elements[1]);
    if (data.db_lockAttribute(reach, &value) != Status::kSuccess)
        return;
    value.getInt() = 2 * static_cast<Attribute*>(elements[0])->getValue().asInt();
    data.db_unlockAttribute(reach);
}

// --- The session ---

struct Host
{
    Host()
    {
        auto* const module = new Module; // the library deletes it
        module->setId(L"Border");
        module->setDataVersion(kDataVersion);
        CHECK(module->registerMigrator(&migrator, kDataVersion) == Status::kSuccess);
        CHECK(registerModule(module) == Status::kSuccess);

        IntAttributeMetaDataDef length;
        IntAttributeMetaDataDef reach;
        ColourAttributeMetaDataDef colour;                                            // a 16-byte value
        auto* const arm = new NodeTemplate(L"Arm", kArmTypeId, *module, &armFactory); // likewise
        arm->addAttribute(length, L"length");
        arm->addAttribute(reach, L"reach");
        arm->addAttribute(colour, L"colour");
        const unsigned int inputs[] = {0, NodeTemplate::kEndOfList};
        const unsigned int outputs[] = {1, NodeTemplate::kEndOfList};
        CHECK(arm->addComputeSet(inputs, outputs, computeReach, &computingThrows) == Status::kSuccess);
        CHECK(registry.registerNodeTemplate(arm) == Status::kSuccess);
    }

    ArmFactory armFactory;
    OrphanFactory orphanFactory;
    StickMigrator migrator;
    NodeRegistry registry;
    bool computingThrows = false;
};

void write(DataInterface& data, Attribute* attribute, int number)
{
    ValueHandle value;
    CHECK(data.db_lockAttribute(attribute, &value) == Status::kSuccess);
    value.getInt() = number;
    CHECK(data.db_unlockAttribute(attribute) == Status::kSuccess);
}

int intOf(const Node* node, const wchar_t* name)
{
    return node->findAttributeByName(name)->getValue().asInt();
}

void editAndUndo(Host& host, const Logger& logger)
{
    CoreManager core(host.registry, kArmTypeId, &host.orphanFactory, nullptr, &host);
    ComputeManager compute(1, &core, *core.getRoot());
    UndoManager undo(&compute, core);
    WatchManager watch(&undo);
    ConcreteChangeSet changes;
    ConcreteChangeSet preChanges;
    ChangeManager change(&watch, changes, preChanges);
    CountingLayer layer(&change);
    DataInterface& data = layer;
    Observer observer;
    PreObserver preObserver;
    UndoWatcher undoWatcher;
    change.addObserver(&observer);
    change.addPreObserver(&preObserver);
    undo.addObserver(&undoWatcher);

    Node* arm = nullptr;
    CHECK(data.db_createNode(kArmTypeId, L"arm", nullptr, nullptr, &arm) == Status::kSuccess);
    CHECK(arm->getAPI() == &host && layer.creations == 1);
    Node* orphan = nullptr;
    CHECK(data.db_createUnknownNode(L"Lost", *lookupModule(L"Border"), L"o", nullptr, nullptr, false, &orphan) ==
          Status::kSuccess);
    CHECK(orphan->getAPI() == &host && orphan->getNodeTemplate()->getTypeId() == 77);
    CHECK(watch.addWatch(arm) == Status::kSuccess);
    CHECK(change.preReportChanges(false) == Status::kSuccess && preObserver.reports == 1);
    CHECK(data.db_commit(L"create", L"main.cpp", 1) == Status::kSuccess);
    CHECK(observer.reports == 1 && undoWatcher.pushed == 1);

    write(data, arm->findAttributeByName(L"length"), 21);
    CHECK(watch.hasWatchedNodeChanged(arm));
    observer.throws = true; // is caught on the other side
    CHECK(data.db_commit(L"write", L"main.cpp", 2) == Status::kSuccess);
    CHECK(observer.reports == 2 && logger.has(L"1 KQDatabase2 : "));
    observer.throws = false;
    CHECK(intOf(arm, L"reach") == 42);
    const kqx::String description = undo.getUndoDescription(-1); // made there, freed here
    CHECK(description == L"write");
    CHECK(undo.undo() == Status::kSuccess && undoWatcher.popped == 1);
    CHECK(intOf(arm, L"length") == 0);

    write(data, arm->findAttributeByName(L"length"), 4);
    host.computingThrows = true; // passes through the other side
    bool caught = false;
    try
    {
        data.db_commit(L"compute", L"main.cpp", 3);
    }
    catch (const std::runtime_error& error)
    {
        caught = std::string(error.what()) == "a compute function's";
    }
    CHECK(caught);
    host.computingThrows = false;
    CHECK(data.db_commit(L"compute", L"main.cpp", 4) == Status::kSuccess && intOf(arm, L"reach") == 8);
    CHECK(data.db_clear() == Status::kSuccess && observer.clears == 1);
}

void saveAndLoad(Host& host)
{
    CoreManager core(host.registry, kArmTypeId);
    Node* arm = nullptr;
    CHECK(core.db_createNode(kArmTypeId, L"arm", nullptr, nullptr, &arm) == Status::kSuccess);
    write(core, arm->findAttributeByName(L"length"), 7);
    StringOutput output;
    TextSaver saver(output);
    CHECK(saver.addNode(arm) == Status::kSuccess && saver.save() == Status::kSuccess);
    CHECK(output.text == "arm Arm 7\n");

    CHECK(core.db_clear() == Status::kSuccess);
    StringInput input("stick Stick 9\n");
    TextLoader loader(input, core, core, 1);
    CHECK(loader.load(*core.getRoot(), nullptr) == Status::kLoadedWithMigration);
    const Node* const loaded = core.getRoot()->findChildByName(L"stick");
    CHECK(loaded != nullptr && host.migrator.loaded == 1);
    CHECK(loaded != nullptr && intOf(loaded, L"length") == 9);
}

/// A constant of an exported class can be referred to, not only read.
void takesReferences()
{
    const auto same = [](const auto& constant, auto value) { return constant == value; };
    CHECK(same(UIntHashMap::kNoSlot, 0xFFFFFFFFu) && same(NodeTemplate::kEndOfList, 0xFFFFFFFFu));
    CHECK(same(ElementMetaData::kNoComputeSet, 0xFFFFFFFFu) && same(ElementMetaData::kMaxNameCharacters, 41u));
    CHECK(same(MemoryBlock::kInitialSpace, 1024u) && same(UndoManager::kNoLimit, -1));
    CHECK(same(UndoManager::kNoRollbackPoint, 0xFFFFFFFFu) && same(DataInterfaceLogger::kAllOperations, 0x7FFFFu));
}

/// Blocks and buffers change sides.
void exchangeMemory()
{
    KQTLFree(KQTLAlloc(100, 16));
    kqx::String text(L"made here");
    setProductVersion(text.c_str());
    kqx::String copy = getProductVersion(); // a buffer of the library's, freed by this program
    copy += L", grown there";
    CHECK(copy == L"made here, grown there");
    MemoryBlock block("abc", 3);
    MemoryOutputStream(block, OutputStreamEncoding::kUtf8).write(std::string(5000, 'x').c_str());
    CHECK(block.getUsedSize() == 5003);
}

} // namespace

int main()
{
    Logger logger;
    initLibrary(&logger, L"1.0");
    {
        Host host;
        editAndUndo(host, logger);
        saveAndLoad(host);
        takesReferences();
        exchangeMemory();
    }
    termLibrary();
    std::puts(failures == 0 ? "the border holds" : "the border does not hold");
    return failures == 0 ? 0 : 1;
}
