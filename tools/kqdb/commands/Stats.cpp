#include "Application.h"
#include "Command.h"
#include "ElementText.h"
#include "JsonOutput.h"
#include "Platform.h"
#include "Text.h"
#include "TreeWalk.h"

#include <CLI/CLI.hpp>

#include <db2/ValueInfo.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <map>

namespace kqdb {
namespace {

template <class Array>
std::uint64_t elementBytes(const db2::ConstValueHandle& value)
{
    const auto& array = *static_cast<const Array*>(value.getData());
    return std::uint64_t{array.size()} * sizeof(*array.data());
}

/// The bytes that a value owns beyond its place in the node.
std::uint64_t ownedBytes(const db2::ConstValueHandle& value)
{
    using namespace db2::AttributeType;
    if (value.isNull())
        return 0;
    switch (value.getTypeId())
    {
    case kString: return value.getString().size() * sizeof(wchar_t);
    case kIntArray: return elementBytes<kqx::IntArray>(value);
    case kBoolArray: return elementBytes<kqx::BoolArray>(value);
    case kFloatArray: return elementBytes<kqx::FloatArray>(value);
    case kDoubleArray: return elementBytes<kqx::DoubleArray>(value);
    case kColourArray: return elementBytes<kqx::ColourArray>(value);
    case kVector3Array: return elementBytes<kqx::Vector3Array>(value);
    case kMatrixArray: return elementBytes<kqx::MatrixArray>(value);
    case kQuatArray: return elementBytes<kqx::QuatArray>(value);
    case kStringArray:
    {
        std::uint64_t bytes = elementBytes<kqx::StringArray>(value);
        for (const kqx::String& text : value.getStringArray())
            bytes += text.size() * sizeof(wchar_t);
        return bytes;
    }
    case kVertexBuffer:
    {
        std::uint64_t bytes = 0;
        for (unsigned int i = 0; i < value.getVertexBuffer().getStreamCount(); ++i)
            bytes += std::uint64_t{value.getVertexBuffer().getStream(i).size()} * sizeof(float);
        return bytes;
    }
    default: return 0;
    }
}

struct Amount
{
    std::uint64_t count = 0;
    std::uint64_t bytes = 0;
};

/// What a walk through a document adds up.
struct Totals
{
    std::map<std::wstring, Amount> nodeTypes; ///< bytes: of the nodes' own blocks
    std::array<Amount, db2::kAttributeTypeCount> valueTypes;
    std::uint64_t nodes = 0;
    std::uint64_t nameBytes = 0;
    std::uint64_t deepest = 0;
};

Totals measure(const db2::Node& root)
{
    Totals totals;
    for (TreeWalk walk(root); walk.next();)
    {
        const db2::Node& node = walk.node();
        if (&node == &root)
            continue;
        ++totals.nodes;
        totals.deepest = std::max<std::uint64_t>(totals.deepest, walk.depth());
        totals.nameBytes += node.getName().size() * sizeof(wchar_t);
        Amount& type = totals.nodeTypes[std::wstring(std::wstring_view(node.getTypeName()))];
        ++type.count;
        type.bytes += node.isUnknown() ? sizeof(db2::Node) : node.getNodeTemplate()->getNodeMemoryRequirements().size;
        forEachAttribute(node, [&totals](const db2::Attribute& attribute) {
            Amount& values = totals.valueTypes[attribute.getTypeId()];
            ++values.count;
            values.bytes += db2::ValueInfo::getMemoryRequirements(attribute.getTypeId()).size;
            if (attribute.getReference() == nullptr) // else the value is another's
                values.bytes += ownedBytes(attribute.getValue());
        });
    }
    return totals;
}

class StatsCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareFile(app, file_);
        declareJson(app, json_);
        declareHelp(app,
                    "Counts the nodes by type and the values by type, with the bytes that they take in memory, and "
                    "says how long the document took to load and how much memory the program had at most.",
                    {"kqdb stats scene.json"});
    }

    Exit run(Output& out) override
    {
        Application application;
        const auto begin = std::chrono::steady_clock::now();
        Document document(application, file_);
        loadSeconds_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        const Totals totals = measure(document.root());
        references_ = document.session().core().getStatistics().references;
        if (json_)
            printJson(totals, out);
        else
            print(totals, out);
        return Exit::kDone;
    }

private:
    static void printRow(Output& out, std::string_view name, const Amount& amount)
    {
        const std::string count = grouped(amount.count);
        const std::string bytes = byteSize(amount.bytes);
        out.indent(2) << name;
        out.indent(columnsTo(name.size(), count.size(), 42)) << std::string_view(count);
        out.indent(columnsTo(0, bytes.size(), 14)) << std::string_view(bytes) << '\n';
    }

    static unsigned int columnsTo(std::size_t used, std::size_t next, std::size_t end)
    {
        return used + next < end ? static_cast<unsigned int>(end - used - next) : 1;
    }

    void print(const Totals& totals, Output& out) const
    {
        out.styled(Style::kName, "nodes") << '\n';
        for (const auto& [type, amount] : totals.nodeTypes)
            printRow(out, visible(type), amount);
        out.styled(Style::kName, "values") << '\n';
        for (unsigned int i = 0; i < db2::kAttributeTypeCount; ++i)
            if (totals.valueTypes[i].count > 0)
                printRow(out, typeName(i), totals.valueTypes[i]);
        out.styled(Style::kName, "tree") << '\n';
        printRow(out, "names", {totals.nodes, totals.nameBytes});
        out.indent(2) << std::string_view(counted(references_, "reference")) << ", "
                      << std::string_view(counted(totals.deepest, "level")) << '\n';
        out.styled(Style::kName, "program") << '\n';
        out.indent(2) << "loaded in " << std::string_view(std::to_string(static_cast<long>(loadSeconds_ * 1000 + 0.5)))
                      << " ms, " << std::string_view(byteSize(platform::peakMemory())) << " of memory at most\n";
    }

    static std::string typeName(unsigned int typeId)
    {
        return toUtf8(db2::ValueInfo::getTypeName(static_cast<db2::AttributeTypeId>(typeId)));
    }

    static void writeAmount(JsonOutput& json, std::string_view name, const Amount& amount)
    {
        json.beginObject();
        json.key("type").string(name);
        json.key("count").number(amount.count);
        json.key("bytes").number(amount.bytes);
        json.endObject();
    }

    void printJson(const Totals& totals, Output& out) const
    {
        JsonOutput json(out);
        json.beginObject();
        json.key("nodes").beginArray();
        for (const auto& [type, amount] : totals.nodeTypes)
            writeAmount(json, toUtf8(type), amount);
        json.endArray();
        json.key("values").beginArray();
        for (unsigned int i = 0; i < db2::kAttributeTypeCount; ++i)
            if (totals.valueTypes[i].count > 0)
                writeAmount(json, typeName(i), totals.valueTypes[i]);
        json.endArray();
        json.key("nodeCount").number(totals.nodes);
        json.key("nameBytes").number(totals.nameBytes);
        json.key("references").number(std::uint64_t{references_});
        json.key("levels").number(totals.deepest);
        json.key("loadSeconds").number(loadSeconds_);
        json.key("peakMemory").number(platform::peakMemory());
        json.endObject();
        json.end();
    }

    std::string file_;
    bool json_ = false;
    double loadSeconds_ = 0;
    std::uint32_t references_ = 0;
};

} // namespace

extern const CommandEntry kStatsCommand = {"stats", "Count nodes and values, with the memory that they take",
                                           makeCommand<StatsCommand>};

} // namespace kqdb
