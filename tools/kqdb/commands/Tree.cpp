#include "Application.h"
#include "Command.h"
#include "JsonOutput.h"
#include "Text.h"
#include "TreeWalk.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <limits>

namespace kqdb {
namespace {

/// Deeper nodes stand below each other, with their level in front: else a deep tree would be printed mostly as blanks.
constexpr unsigned int kDeepestIndentation = 60;

class TreeCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareFile(app, file_);
        app.add_option("PATH", path_, "List this node and what is below it");
        app.add_option("-d,--depth", depth_, "List so many levels below the first")->type_name("N");
        declareJson(app, json_);
        declareHelp(app, "", {"kqdb tree scene.json", "kqdb tree scene.json '|robot|arm' --depth 1"});
    }

    Exit run(Output& out) override
    {
        Application application;
        Document document(application, file_);
        const db2::Node& start = resolveNode(document, path_);
        if (json_)
            printJson(start, out);
        else
            print(start, out);
        return Exit::kDone;
    }

private:
    void print(const db2::Node& start, Output& out) const
    {
        const bool isRoot = start.getParent() == nullptr;
        for (TreeWalk walk(start); walk.next();)
        {
            const db2::Node& node = walk.node();
            const bool isCut = walk.depth() >= depth_ && node.getFirstChild() != nullptr;
            if (isCut)
                walk.skipChildren();
            if (&node == &start && isRoot) // which is in no document
                continue;
            const unsigned int level = walk.depth() - (isRoot ? 1 : 0);
            out.indent(2 * std::min(level, kDeepestIndentation));
            if (level > kDeepestIndentation)
                out.styled(Style::kFaint, "[" + std::to_string(level) + "] ");
            out.styled(Style::kName, node.getName()) << ' ';
            printType(node, out);
            if (isCut)
                out.styled(Style::kFaint, " ...");
            out << '\n';
        }
    }

    static void printType(const db2::Node& node, Output& out)
    {
        out.styled(Style::kFaint, node.getTypeName());
        if (node.isLegacy())
            out.styled(Style::kWarning, " legacy");
        else if (node.isUnknown())
            out.styled(Style::kWarning, " of unknown module ").styled(Style::kWarning, node.getModule()->getId());
    }

    void printJson(const db2::Node& start, Output& out) const
    {
        JsonOutput json(out);
        json.beginArray();
        for (TreeWalk walk(start); walk.next();)
        {
            const db2::Node& node = walk.node();
            if (walk.depth() >= depth_)
                walk.skipChildren();
            json.beginObject();
            json.key("depth").number(std::uint64_t{walk.depth()});
            json.key("path").text(walk.path());
            json.key("name").text(node.getName());
            json.key("type").text(node.getTypeName());
            json.key("module").text(node.getModule()->getId());
            if (node.isUnknown())
                json.key(node.isLegacy() ? "isLegacy" : "isUnknown").boolean(true);
            json.endObject();
        }
        json.endArray();
        json.end();
    }

    std::string file_;
    std::string path_;
    unsigned int depth_ = std::numeric_limits<unsigned int>::max();
    bool json_ = false;
};

} // namespace

extern const CommandEntry kTreeCommand = {"tree", "List the nodes as a tree", makeCommand<TreeCommand>};

} // namespace kqdb
