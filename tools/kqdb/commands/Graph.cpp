#include "Application.h"
#include "Command.h"
#include "DotText.h"
#include "ElementText.h"
#include "Platform.h"
#include "Text.h"
#include "TreeWalk.h"

#include <CLI/CLI.hpp>

#include <db2/ComputeSet.h>

#include <unordered_map>
#include <unordered_set>

namespace kqdb {
namespace {

/// The references of a document as a graph: nodes that take part in one, and an arrow from each referenced attribute to the
/// one that takes its value from it.
class ReferenceGraph
{
public:
    ReferenceGraph(const db2::Node& start, DotText& dot) : start_(start), dot_(dot) {}

    void write()
    {
        for (TreeWalk walk(start_); walk.next();)
            forEachAttribute(walk.node(), [this](const db2::Attribute& attribute) {
                if (const db2::Attribute* const referenced = attribute.getReference())
                    writeEdge(*referenced, attribute);
            });
    }

private:
    void writeEdge(const db2::Attribute& from, const db2::Attribute& to)
    {
        const std::string fromId = idOf(*from.getNode());
        const std::string toId = idOf(*to.getNode());
        dot_.edge(fromId, toId, nameOf(from) + "\n" + nameOf(to), to.referenceIsSingle() ? "style=bold" : "");
    }

    static std::string nameOf(const db2::Attribute& attribute)
    {
        std::string name = visible(attribute.getName());
        return attribute.getParentArray() != nullptr ? name + '[' + std::to_string(attribute.getIndex()) + ']' : name;
    }

    /// Writes the node when it is met first.
    std::string idOf(const db2::Node& node)
    {
        const auto [at, isNew] = numbers_.try_emplace(&node, numbers_.size());
        const std::string id = "n" + std::to_string(at->second);
        if (isNew)
            dot_.node(id, visible(pathOf(node)) + "\n" + visible(node.getTypeName()));
        return id;
    }

    const db2::Node& start_;
    DotText& dot_;
    std::unordered_map<const db2::Node*, std::size_t> numbers_; ///< asked, never walked
};

/// The compute sets of the types of a document's nodes: which attributes each computes, and from which.
class ComputeGraph
{
public:
    ComputeGraph(const db2::Node& start, DotText& dot) : start_(start), dot_(dot) {}

    void write()
    {
        for (TreeWalk walk(start_); walk.next();)
        {
            const db2::NodeTemplate& type = *walk.node().getNodeTemplate();
            if (type.hasComputeSets() && types_.insert(&type).second)
                writeType(type);
        }
    }

private:
    void writeType(const db2::NodeTemplate& type)
    {
        const std::size_t number = types_.size();
        const std::string prefix = "t" + std::to_string(number) + "_";
        dot_.beginCluster(number, visible(type.getTypeName()));
        std::unordered_set<unsigned int> elements;
        for (unsigned int i = 0; i < type.getComputeSetCount(); ++i)
        {
            const db2::ComputeSet& set = *type.getComputeSet(i);
            const std::string setId = prefix + "set" + std::to_string(i);
            dot_.node(setId, "compute set " + std::to_string(i), "shape=ellipse");
            for (unsigned int j = 0; j < set.getInputCount(); ++j)
                dot_.edge(elementId(type, prefix, set.getInputs()[j], elements), setId);
            for (unsigned int j = 0; j < set.getOutputCount(); ++j)
                dot_.edge(setId, elementId(type, prefix, set.getOutputs()[j], elements));
        }
        dot_.endCluster();
    }

    std::string elementId(const db2::NodeTemplate& type, const std::string& prefix, unsigned int index,
                          std::unordered_set<unsigned int>& written)
    {
        const std::string id = prefix + "e" + std::to_string(index);
        if (written.insert(index).second)
            dot_.node(id, visible(type.getElementMetaData(index)->getName()));
        return id;
    }

    const db2::Node& start_;
    DotText& dot_;
    std::unordered_set<const db2::NodeTemplate*> types_; ///< that are written
};

class GraphCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareFile(app, file_);
        app.add_option("PATH", path_, "Only references of this node and what is below it");
        app.add_flag("-c,--compute", showsComputeSets_, "Show what the node types compute instead of the references");
        app.add_flag("--svg", isSvg_, "Draw it as SVG; needs Graphviz's program dot");
        declareHelp(app,
                    "Prints a graph in Graphviz's language DOT: an arrow leads from each attribute to those that take "
                    "their values from it.",
                    {"kqdb graph scene.json > scene.dot", "kqdb graph scene.json '|robot' --svg > robot.svg",
                     "kqdb graph scene.json --compute --svg > types.svg"});
    }

    Exit run(Output& out) override
    {
        Application application;
        Document document(application, file_);
        const db2::Node& start = resolveNode(document, path_);
        if (isSvg_)
            draw(start);
        else
            write(start, [&out](std::string_view text) { out << text; });
        return Exit::kDone;
    }

private:
    void write(const db2::Node& start, std::function<void(std::string_view)> take) const
    {
        DotText dot(std::move(take));
        dot.begin(file_);
        if (showsComputeSets_)
            ComputeGraph(start, dot).write();
        else
            ReferenceGraph(start, dot).write();
        dot.end();
    }

    void draw(const db2::Node& start) const
    {
        std::string dot;
        write(start, [&dot](std::string_view text) { dot += text; });
        constexpr int kNotFound = 127; // as shells answer
        const int code = platform::runWithInput("dot -Tsvg", dot);
        if (code == kNotFound)
            throw Failure("graph --svg: the program dot was not found; install Graphviz");
        if (code != 0)
            throw Failure("graph --svg: the program dot failed");
    }

    std::string file_;
    std::string path_;
    bool showsComputeSets_ = false;
    bool isSvg_ = false;
};

} // namespace

extern const CommandEntry kGraphCommand = {"graph", "Draw references or computed attributes as a graph",
                                           makeCommand<GraphCommand>};

} // namespace kqdb
