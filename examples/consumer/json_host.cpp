// A host of the JSON format: links KQDatabase2::json alone, saves a tree and loads it.

#include <db2/db2.h>
#include <db2json/JsonLoader.h>
#include <db2json/JsonSaver.h>

#include <cstdio>

namespace {

bool savesAndLoads()
{
    db2::NodeRegistry registry;
    registry.registerNodeTemplate(new db2::NodeTemplate(L"Root", 1, *db2::lookupModule(L"Consumer")));
    db2::CoreManager core(registry, 1);
    core.db_createNode(1, L"node", nullptr, nullptr, nullptr);
    db2::MemoryBlock block;
    db2::MemoryOutputStream out(block, db2::OutputStreamEncoding::kUtf8);
    db2::JsonSaver saver(out, L"consumer");
    saver.addChildNodes(core.getRoot());
    if (saver.save() != db2::Status::kSuccess)
        return false;
    core.db_clear();
    db2::MemoryInputStream in(block);
    db2::JsonLoader loader(in, core, core);
    return loader.load(*core.getRoot(), nullptr) == db2::Status::kSuccess &&
           core.getRoot()->findChildByName(L"node") != nullptr;
}

} // namespace

int main()
{
    db2::initLibrary(nullptr, L"1.0");
    auto* const module = new db2::Module;
    module->setId(L"Consumer");
    module->setDataVersion(1);
    db2::registerModule(module);
    const bool passed = savesAndLoads();
    db2::termLibrary();
    std::puts(passed ? "the format saves and loads" : "the format does not save and load");
    return passed ? 0 : 1;
}
