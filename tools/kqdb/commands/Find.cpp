#include "Application.h"
#include "Command.h"
#include "Condition.h"
#include "ElementText.h"
#include "JsonOutput.h"
#include "Pattern.h"
#include "Text.h"
#include "TreeWalk.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace kqdb {
namespace {

class FindCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareFile(app, file_);
        app.add_option("PATH", path_, "Search this node and what is below it");
        app.add_option("-n,--name", name_, "Nodes of this name; * and ? stand for any characters and any one")
            ->type_name("PATTERN");
        app.add_option("-t,--type", type_, "Nodes of this type")->type_name("PATTERN");
        app.add_option("-m,--module", module_, "Nodes of this module")->type_name("PATTERN");
        app.add_option("-a,--attribute", attribute_, "Nodes with an attribute of this name")->type_name("PATTERN");
        declareTexts(app, "-w,--where", conditions_,
                     "Nodes with an attribute whose value is so: NAME=VALUE, or !=, <, <=, >, >=, or ~ for a pattern")
            ->type_name("CONDITION");
        app.add_flag("--unknown", isUnknown_, "Nodes of modules that nobody knows");
        app.add_flag("--legacy", isLegacy_, "Nodes with legacy data");
        app.add_flag("--count", countOnly_, "Print only how many there are");
        declareJson(app, json_);
        declareHelp(
            app,
            "Prints the paths of the nodes that meet all that is asked, one a line. Exit code 1 when there are none.",
            {"kqdb find scene.json --type Light",
             "kqdb find scene.json '|robot' --name 'arm*' --where 'visibility=false'",
             "kqdb find scene.json -t Material -w 'opacity<1' -w 'shading~*phys*'"});
    }

    Exit run(Output& out) override
    {
        for (const std::string& text : conditions_)
            parsed_.emplace_back(text);
        Application application;
        Document document(application, file_);
        const db2::Node& start = resolveNode(document, path_);
        std::uint64_t count = 0;
        if (json_ && !countOnly_)
            printJson(start, out, count);
        else
            forEachMatch(start, count, [&](const TreeWalk& walk) {
                if (!countOnly_)
                    out << walk.path() << '\n';
            });
        if (countOnly_)
            out << count << '\n';
        return count > 0 ? Exit::kDone : Exit::kNo;
    }

private:
    template <class Visit>
    void forEachMatch(const db2::Node& start, std::uint64_t& count, Visit visit) const
    {
        const Patterns patterns{toWide(name_), toWide(type_), toWide(module_), toWide(attribute_)};
        for (TreeWalk walk(start); walk.next();)
        {
            const bool isRoot = walk.node().getParent() == nullptr; // which is in no document
            if (isRoot || !isMatch(walk.node(), patterns))
                continue;
            ++count;
            visit(walk);
        }
    }

    struct Patterns
    {
        std::wstring name;
        std::wstring type;
        std::wstring module;
        std::wstring attribute;
    };

    static bool isLike(const std::wstring& pattern, std::wstring_view text)
    {
        return pattern.empty() || matches(pattern, text);
    }

    [[nodiscard]] bool isMatch(const db2::Node& node, const Patterns& patterns) const
    {
        if (!isLike(patterns.name, node.getName()) || !isLike(patterns.type, node.getTypeName()) ||
            !isLike(patterns.module, node.getModule()->getId()))
            return false;
        if (isUnknown_ && (!node.isUnknown() || node.isLegacy()))
            return false;
        if (isLegacy_ && !node.isLegacy() && node.getLegacyElementCount() == 0)
            return false;
        if (!patterns.attribute.empty() && !hasAttribute(node, patterns.attribute))
            return false;
        return std::all_of(parsed_.begin(), parsed_.end(),
                           [&node](const Condition& condition) { return holds(node, condition); });
    }

    static bool hasAttribute(const db2::Node& node, const std::wstring& pattern)
    {
        bool isFound = false;
        forEachElement(node,
                       [&](const db2::Element& element) { isFound = isFound || matches(pattern, element.getName()); });
        return isFound;
    }

    static bool holds(const db2::Node& node, const Condition& condition)
    {
        const wchar_t* const name = condition.attributeName().c_str();
        if (const db2::Attribute* const attribute = node.findAttributeByName(name))
            return condition.holdsFor(*attribute);
        const db2::Attribute* const legacy = node.findLegacyAttributeByName(name);
        return legacy != nullptr && condition.holdsFor(*legacy);
    }

    void printJson(const db2::Node& start, Output& out, std::uint64_t& count) const
    {
        JsonOutput json(out);
        json.beginArray();
        forEachMatch(start, count, [&json](const TreeWalk& walk) {
            json.beginObject();
            json.key("path").text(walk.path());
            json.key("name").text(walk.node().getName());
            json.key("type").text(walk.node().getTypeName());
            json.endObject();
        });
        json.endArray();
        json.end();
    }

    std::string file_;
    std::string path_;
    std::string name_;
    std::string type_;
    std::string module_;
    std::string attribute_;
    std::vector<std::string> conditions_;
    std::vector<Condition> parsed_;
    bool isUnknown_ = false;
    bool isLegacy_ = false;
    bool countOnly_ = false;
    bool json_ = false;
};

} // namespace

extern const CommandEntry kFindCommand = {"find", "Find nodes by name, type or value", makeCommand<FindCommand>};

} // namespace kqdb
