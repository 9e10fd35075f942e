// The JSON loader on any bytes: it answers, what it leaves can be rolled back, and what it loaded can be saved and loaded
// again.

#include <db2/UndoManager.h>
#include <db2/db2.h>
#include <db2json/JsonLoader.h>
#include <db2json/JsonSaver.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

using namespace db2;

/// Ends the program, which is how a fuzzer learns of a failure.
void require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

constexpr unsigned int kType = 1;

/// Formats every message, as with a logger that shows it.
class Logger : public KQutils::BasicLogger
{
public:
    void log(int, const wchar_t* text) override { last = text; }

    kqx::String last;
};

template <class Definition>
void addPair(NodeTemplate& type, const wchar_t* name, const wchar_t* arrayName)
{
    Definition definition;
    if constexpr (std::is_same_v<Definition, EnumAttributeMetaDataDef>)
        for (const wchar_t* const choice : {L"one", L"two", L"three"})
            definition.addChoice(choice);
    type.addAttribute(definition, name);
    definition.setArray(true);
    type.addAttribute(definition, arrayName);
}

/// The module "M" with the type "T", whose attributes and arrays have names of a character, and a tree with undo.
class World
{
public:
    World()
    {
        initLibrary(&logger, L"fuzz");
        auto* const module = new Module;
        module->setId(L"M");
        module->setDataVersion(2);
        registerModule(module);
        auto* const type = new NodeTemplate(L"T", kType, *module);
        addPair<IntAttributeMetaDataDef>(*type, L"i", L"I");
        addPair<BoolAttributeMetaDataDef>(*type, L"b", L"B");
        addPair<ColourAttributeMetaDataDef>(*type, L"c", L"C");
        addPair<FloatAttributeMetaDataDef>(*type, L"f", L"F");
        addPair<DoubleAttributeMetaDataDef>(*type, L"d", L"D");
        addPair<StringAttributeMetaDataDef>(*type, L"s", L"S");
        addPair<EnumAttributeMetaDataDef>(*type, L"e", L"E");
        addPair<Vector3AttributeMetaDataDef>(*type, L"v", L"V");
        addPair<MatrixAttributeMetaDataDef>(*type, L"m", L"M");
        addPair<NullAttributeMetaDataDef>(*type, L"n", L"N");
        addPair<VertexBufferAttributeMetaDataDef>(*type, L"x", L"X");
        addPair<StringArrayAttributeMetaDataDef>(*type, L"t", L"T");
        addPair<Vector3ArrayAttributeMetaDataDef>(*type, L"w", L"W");
        addPair<FloatArrayAttributeMetaDataDef>(*type, L"g", L"G");
        registry_.registerNodeTemplate(type);
        core = std::make_unique<CoreManager>(registry_, kType);
        undo = std::make_unique<UndoManager>(core.get(), *core);
    }

    Logger logger;

private:
    NodeRegistry registry_;

public:
    std::unique_ptr<CoreManager> core; ///< ends before the registry
    std::unique_ptr<UndoManager> undo;
};

/// Loads the bytes and takes the modules away that the load made up, once nothing is left of it.
class Load
{
public:
    Load(World& world, const void* bytes, std::size_t size)
        : world_(world), block_(bytes, static_cast<unsigned int>(size)), stream_(block_),
          loader_(stream_, *world.undo, *world.core, LoadStrategy::kKeepUnhandledLegacyData)
    {
        status = loader_.load(*world.core->getRoot(), L"input");
    }

    ~Load()
    {
        world_.undo->rollback(0);
        require(world_.core->getRoot()->getFirstChild() == nullptr, "a rollback leaves nothing of a load");
        require(world_.core->getStatistics().references == 0, "nor of its references");
        require(!world_.core->isLockOutstanding(), "nor of its locks");
        world_.undo->db_clear();
        for (const HeaderData::ModuleEntry& entry : loader_.getHeaderData().modules)
        {
            Module* const module = lookupModule(entry.moduleId.c_str());
            if (module == nullptr || !module->isUnknown())
                continue;
            unregisterModule(module);
            delete module;
        }
    }

    [[nodiscard]] bool succeeded() const
    {
        return status == Status::kSuccess || status == Status::kLoadedWithMigration ||
               status == Status::kLoadedWithUnhandledLegacyData;
    }

    Status status;

private:
    World& world_;
    MemoryBlock block_;
    MemoryInputStream stream_;
    JsonLoader loader_;
};

/// @return false when the tree cannot be saved: a path may be too deep for a reference.
bool save(World& world, MemoryBlock& block)
{
    MemoryOutputStream stream(block, OutputStreamEncoding::kUtf8);
    JsonSaver saver(stream, L"fuzz");
    saver.addChildNodes(world.core->getRoot());
    return saver.save() == Status::kSuccess;
}

/// The input behind so many blanks that a piece in which the loader reads its content ends in the middle of it.
std::string acrossPieces(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t kPiece = 64 * 1024;
    std::string text(size / 2 < kPiece ? kPiece - size / 2 : 0, ' ');
    return text.append(reinterpret_cast<const char*>(data), size);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static World world;
    MemoryBlock saved;
    bool isLoaded = false;
    bool isSaved = false;
    {
        const Load first(world, data, size);
        isLoaded = first.succeeded();
        isSaved = isLoaded && save(world, saved);
    }
    const bool hasByteOrderMark = size > 0 && data[0] == 0xEF; // which may only stand in front
    if (!hasByteOrderMark)
    {
        const std::string text = acrossPieces(data, size);
        const Load again(world, text.data(), text.size());
        require(again.succeeded() || !isLoaded, "where a piece ends does not matter"); // a larger file may hold more
    }
    if (isSaved)
    {
        const Load second(world, saved.getData(), saved.getUsedSize());
        require(second.succeeded(), "what was saved can be loaded");
        MemoryBlock again;
        require(save(world, again), "and saved again");
    }
    return 0;
}
