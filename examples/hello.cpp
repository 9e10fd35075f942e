// A first look: a module with one node type, a tree of such nodes, edits, a commit.

#include <db2/db2.h>

#include <cstdio>

namespace {

constexpr unsigned int kArmTypeId = 1;

class ConsoleLogger : public KQutils::BasicLogger
{
public:
    void log(int level, const wchar_t* text) override { std::printf("[%d] %ls\n", level, text); }
};

} // namespace

int main()
{
    ConsoleLogger logger;
    db2::initLibrary(&logger, L"Hello 1.0");

    auto* const rig = new db2::Module; // the library owns it from its registration on
    rig->setId(L"Rig");
    rig->setDataVersion(1);
    db2::registerModule(rig);
    {
        db2::FloatAttributeMetaDataDef length; // describes an attribute
        length.setDefaultValue(1.0f);
        length.setMin(0.0f);
        auto* const armType = new db2::NodeTemplate(L"Arm", kArmTypeId, *rig);
        armType->addAttribute(length, L"length");
        db2::NodeRegistry registry;
        registry.registerNodeTemplate(armType);

        db2::CoreManager core(registry, kArmTypeId);
        db2::DataInterface& data = core; // every edit goes through this interface, layered or not
        db2::Node* arm = nullptr;
        db2::Node* hand = nullptr;
        data.db_createNode(kArmTypeId, L"arm", nullptr, nullptr, &arm);
        data.db_createNode(kArmTypeId, L"hand", arm, nullptr, &hand);
        data.db_renameNode(hand, L"left hand");

        db2::ValueHandle value;
        data.db_lockAttribute(hand->findAttributeByName(L"length"), &value);
        value.getFloat() = 0.25f;
        data.db_unlockAttribute(hand->findAttributeByName(L"length"));
        data.db_destroyLeafNode(arm) == db2::Status::kNodeHasChildren || std::puts("unexpected");
        data.db_commit(L"Add an arm", L"hello.cpp", 50);

        for (db2::NodeIterator nodes(core.getRoot()); nodes.next();)
            std::printf("%ls: length %g\n", nodes.node()->getName().c_str(),
                        static_cast<double>(nodes.node()->findAttributeByName(L"length")->getValue().asFloat()));
    }
    db2::termLibrary();
}
