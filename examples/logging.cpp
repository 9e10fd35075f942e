// Call logging: a trace of the edits, or of some kinds of edits, in the host's log.

#include <db2/db2.h>

#include <cstdio>

namespace {

constexpr unsigned int kArmType = 1;

class CountingLogger : public KQutils::BasicLogger
{
public:
    void log(int, const wchar_t* text) override
    {
        std::printf("%ls\n", text);
        ++lines;
    }

    int lines = 0;
};

} // namespace

int main()
{
    CountingLogger logger;
    db2::setLogger(&logger);
    const db2::Module module;
    db2::NodeRegistry registry;
    auto* const armType = new db2::NodeTemplate(L"Arm", kArmType, module);
    armType->addAttribute(db2::FloatAttributeMetaDataDef(), L"length");
    registry.registerNodeTemplate(armType);

    db2::CoreManager core(registry, kArmType);
    db2::DataInterfaceLogger calls(&core);
    calls.enable(db2::DataInterfaceLogger::kAllOperations);
    db2::DataInterface& data = calls;

    db2::Node* left = nullptr;
    db2::Node* right = nullptr;
    data.db_createNode(kArmType, L"left arm", nullptr, nullptr, &left);
    data.db_createNode(kArmType, L"right arm", nullptr, nullptr, &right);
    data.db_createReference(left->findAttributeByName(L"length"), right->findAttributeByName(L"length"), false);
    data.db_renameNode(left, nullptr); // refused, and in the log all the same
    data.db_commit(L"Two arms", L"logging.cpp", 42);

    // Values are written often; a line for each would drown the rest.
    calls.disable(db2::bitOf(db2::Operation::kLockAttribute) | db2::bitOf(db2::Operation::kUnlockAttribute));
    db2::ValueHandle value;
    data.db_lockAttribute(left->findAttributeByName(L"length"), &value);
    value.getFloat() = 0.7f;
    data.db_unlockAttribute(left->findAttributeByName(L"length"));

    std::printf("%d lines\n", logger.lines);
    db2::setLogger(nullptr);
    return logger.lines == 5 ? 0 : 1;
}
