#include "Application.h"
#include "Command.h"
#include "ElementText.h"
#include "JsonOutput.h"
#include "Text.h"
#include "TreeWalk.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cwchar>

namespace kqdb {
namespace {

constexpr std::size_t kShownCharacters = 100; // of a value, unless all of it is wanted

class CatCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareFileAndTexts(app, file_, "PATH", paths_, "The nodes to print");
        app.add_flag("-r,--recursive", isRecursive_, "Print what is below them, too");
        app.add_flag("-c,--changed", changedOnly_, "Leave out attributes that are at their default");
        app.add_flag("--full", isFull_, "Print long values whole");
        declareJson(app, json_);
        declareHelp(app, "",
                    {"kqdb cat scene.json '|robot|arm'", "kqdb cat scene.json '|robot' --recursive --changed"});
    }

    Exit run(Output& out) override
    {
        Application application;
        Document document(application, file_);
        std::vector<const db2::Node*> nodes;
        for (const std::string& path : paths_) // all of them, before the first is printed
            nodes.push_back(&resolveNode(document, path));
        if (json_)
            printJson(nodes, out);
        else
            forEachNode(nodes, [&](const TreeWalk& walk) { print(walk, out); });
        return Exit::kDone;
    }

private:
    template <class Visit>
    void forEachNode(const std::vector<const db2::Node*>& starts, Visit visit) const
    {
        for (const db2::Node* const start : starts)
            for (TreeWalk walk(*start); walk.next();)
            {
                if (!isRecursive_)
                    walk.skipChildren();
                visit(walk);
            }
    }

    void print(const TreeWalk& walk, Output& out) const
    {
        const db2::Node& node = walk.node();
        out.styled(Style::kName, walk.path()) << ' ';
        out.styled(Style::kFaint, node.getTypeName()) << '\n';
        std::size_t nameColumns = 0;
        std::size_t typeColumns = 0;
        forEachElement(node, [&](const db2::Element& element) {
            if (isLeftOut(element))
                return;
            nameColumns = std::max(nameColumns, std::wcslen(element.getName()));
            typeColumns = std::max(typeColumns, typeText(element).size());
        });
        forEachElement(node, [&](const db2::Element& element) {
            if (!isLeftOut(element))
                printElement(element, nameColumns, typeColumns, out);
        });
    }

    [[nodiscard]] bool isLeftOut(const db2::Element& element) const
    {
        return changedOnly_ && (isAtDefault(element) || element.isComputed());
    }

    void printElement(const db2::Element& element, std::size_t nameColumns, std::size_t typeColumns, Output& out) const
    {
        const std::string type = typeText(element);
        out.indent(2) << std::wstring_view(element.getName());
        out.indent(static_cast<unsigned int>(nameColumns - std::wcslen(element.getName()) + 2));
        out.styled(Style::kFaint, type).indent(static_cast<unsigned int>(typeColumns - type.size() + 2));
        const std::string value = valueText(element);
        out.styled(isAtDefault(element) ? Style::kFaint : Style::kValue,
                   isFull_ ? value : shortened(value, kShownCharacters));
        if (const db2::Attribute* const referenced = referenceOf(element))
            out << (static_cast<const db2::Attribute&>(element).referenceIsSingle() ? " => " : " -> ")
                << std::wstring_view(pathOf(*referenced));
        if (!originOf(element).empty())
            out.styled(Style::kFaint, "  (" + std::string(originOf(element)) + ")");
        out << '\n';
        if (element.isAttributeArray())
            printItemReferences(static_cast<const db2::AttributeArray&>(element), out);
    }

    static void printItemReferences(const db2::AttributeArray& array, Output& out)
    {
        for (unsigned int i = 0; i < array.getSize(); ++i)
            if (const db2::Attribute* const referenced = array.getAttribute(i)->getReference())
                out.indent(4) << '[' << std::uint64_t{i} << "] -> " << std::wstring_view(pathOf(*referenced)) << '\n';
    }

    void printJson(const std::vector<const db2::Node*>& nodes, Output& out) const
    {
        JsonOutput json(out);
        json.beginArray();
        forEachNode(nodes, [&](const TreeWalk& walk) {
            json.beginObject();
            json.key("path").text(walk.path());
            json.key("name").text(walk.node().getName());
            json.key("type").text(walk.node().getTypeName());
            json.key("module").text(walk.node().getModule()->getId());
            json.key("attributes").beginArray();
            forEachElement(walk.node(), [&](const db2::Element& element) {
                if (!isLeftOut(element))
                    writeElement(element, json);
            });
            json.endArray();
            json.endObject();
        });
        json.endArray();
        json.end();
    }

    static void writeElement(const db2::Element& element, JsonOutput& json)
    {
        json.beginObject();
        json.key("name").text(element.getName());
        json.key("type").string(toUtf8(db2::ValueInfo::getTypeName(element.getTypeId())));
        json.key("value").raw(valueText(element));
        if (const db2::Attribute* const referenced = referenceOf(element))
            json.key("reference").text(pathOf(*referenced));
        if (element.isAttributeArray())
            json.key("isArray").boolean(true);
        if (!originOf(element).empty())
            json.key("origin").string(originOf(element));
        json.endObject();
    }

    std::string file_;
    std::vector<std::string> paths_;
    bool isRecursive_ = false;
    bool changedOnly_ = false;
    bool isFull_ = false;
    bool json_ = false;
};

} // namespace

extern const CommandEntry kCatCommand = {"cat", "Print nodes with their attributes", makeCommand<CatCommand>};

} // namespace kqdb
