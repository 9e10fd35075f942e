#include "Application.h"
#include "Command.h"
#include "ElementText.h"
#include "JsonOutput.h"
#include "Text.h"
#include "TreeDifference.h"
#include "TreeWalk.h"

#include <CLI/CLI.hpp>

#include <db2/NodeIterators.h>

namespace kqdb {
namespace {

using Kind = Difference::Kind;

constexpr std::size_t kShownCharacters = 80; // of a value, unless all of it is wanted

/// What an attribute shows: the path that it references, or its value.
std::string contentOf(const db2::Element& element)
{
    const db2::Attribute* const referenced = referenceOf(element);
    if (referenced == nullptr)
        return valueText(element);
    const bool isSingle = static_cast<const db2::Attribute&>(element).referenceIsSingle();
    return (isSingle ? "=> " : "-> ") + visible(pathOf(*referenced));
}

std::uint64_t countNodes(const db2::Node& top)
{
    std::uint64_t count = 1;
    for (db2::ConstNodeIterator nodes(&top); nodes.next();)
        ++count;
    return count;
}

std::string typeOf(const db2::Node& node)
{
    return visible(node.getTypeName());
}

/// Prints differences for people.
class TextTaker : public DifferenceTaker
{
public:
    TextTaker(Output& out, bool isFull) : out_(out), isFull_(isFull) {}

    void take(const Difference& difference) override
    {
        ++count;
        switch (difference.kind)
        {
        case Kind::kNodeRemoved: return printNode('-', Style::kRemoved, difference.path, *difference.a);
        case Kind::kNodeAdded: return printNode('+', Style::kAdded, difference.path, *difference.b);
        case Kind::kNodeType:
            return printChange(difference.path, "type " + typeOf(*difference.a), "type " + typeOf(*difference.b));
        case Kind::kOrder:
            out_ << "~ " << std::wstring_view(difference.path) << ": its children are reordered\n";
            return;
        case Kind::kElementRemoved: return printElement('-', Style::kRemoved, difference.path, *difference.elementA);
        case Kind::kElementAdded: return printElement('+', Style::kAdded, difference.path, *difference.elementB);
        case Kind::kDefinition:
            return printChange(difference.path, "defined as " + typeText(*difference.elementA),
                               "defined otherwise as " + typeText(*difference.elementB));
        case Kind::kValue:
        case Kind::kReference:
            return printChange(difference.path, contentOf(*difference.elementA), contentOf(*difference.elementB));
        }
    }

    std::uint64_t count = 0;

private:
    [[nodiscard]] std::string shown(const std::string& text) const
    {
        return isFull_ ? text : shortened(text, kShownCharacters);
    }

    void printNode(char mark, Style style, const std::wstring& path, const db2::Node& node)
    {
        const std::uint64_t nodes = countNodes(node);
        std::string line = mark + (' ' + visible(path)) + " (" + typeOf(node);
        line += nodes > 1 ? ", " + counted(nodes, "node") + ')' : ")";
        out_.styled(style, line) << '\n';
    }

    void printElement(char mark, Style style, const std::wstring& path, const db2::Element& element)
    {
        out_.styled(style, mark + (' ' + visible(path)) + " (" + typeText(element) + "): " + shown(contentOf(element)))
            << '\n';
    }

    void printChange(const std::wstring& path, const std::string& from, const std::string& to)
    {
        out_ << "~ " << std::wstring_view(path) << ": ";
        out_.styled(Style::kRemoved, shown(from)) << " to ";
        out_.styled(Style::kAdded, shown(to)) << '\n';
    }

    Output& out_;
    bool isFull_;
};

/// Writes differences for programs.
class JsonTaker : public DifferenceTaker
{
public:
    explicit JsonTaker(JsonOutput& json) : json_(json) {}

    void take(const Difference& difference) override
    {
        static constexpr const char* kNames[] = {"nodeRemoved",      "nodeAdded",      "nodeType",   "order",
                                                 "attributeRemoved", "attributeAdded", "definition", "value",
                                                 "reference"};
        ++count;
        json_.beginObject();
        json_.key("kind").string(kNames[static_cast<std::size_t>(difference.kind)]);
        json_.key("path").text(difference.path);
        if (difference.a != nullptr)
            json_.key("fromType").text(difference.a->getTypeName());
        if (difference.b != nullptr)
            json_.key("toType").text(difference.b->getTypeName());
        if (difference.elementA != nullptr)
            writeContent("from", *difference.elementA);
        if (difference.elementB != nullptr)
            writeContent("to", *difference.elementB);
        json_.endObject();
    }

    std::uint64_t count = 0;

private:
    void writeContent(std::string_view key, const db2::Element& element)
    {
        json_.key(key).beginObject();
        json_.key("type").string(typeText(element));
        json_.key("value").raw(valueText(element));
        if (const db2::Attribute* const referenced = referenceOf(element))
            json_.key("reference").text(pathOf(*referenced));
        json_.endObject();
    }

    JsonOutput& json_;
};

class DiffCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        app.add_option("FIRST", first_, "A document")->required();
        app.add_option("SECOND", second_, "The document to compare it with")->required();
        app.add_option("-t,--tolerance", options_.tolerance, "Numbers no farther apart than this count as equal")
            ->check(CLI::NonNegativeNumber)
            ->type_name("NUMBER");
        app.add_flag("--ignore-order", options_.ignoresOrder, "Leave out the order of siblings");
        app.add_flag("--computed", options_.comparesComputed,
                     "Compare computed attributes, too, which follow from others");
        app.add_flag("-q,--quiet", isQuiet_, "Print nothing; the exit code tells");
        app.add_flag("--full", isFull_, "Print long values whole");
        declareJson(app, json_);
        declareHelp(app,
                    "Compares what the documents mean: nodes by their paths, attributes by their names and values, "
                    "references by what they lead to. A removed or added node stands for everything below it, too. "
                    "Exit code 1 when they differ.",
                    {"kqdb diff old.json new.json", "kqdb diff old.json new.json --tolerance 0.001 --json"});
    }

    Exit run(Output& out) override
    {
        Application application;
        Document first(application, first_);
        Document second(application, second_);
        const std::uint64_t count = json_ ? printJson(first, second, out) : print(first, second, out);
        return count == 0 ? Exit::kDone : Exit::kNo;
    }

private:
    std::uint64_t print(Document& first, Document& second, Output& out) const
    {
        if (isQuiet_)
            return compareQuietly(first, second);
        TextTaker taker(out, isFull_);
        TreeDifference(first.root(), second.root(), options_, taker).run();
        return taker.count;
    }

    [[nodiscard]] std::uint64_t compareQuietly(Document& first, Document& second) const
    {
        struct Counter : DifferenceTaker
        {
            void take(const Difference&) override { ++count; }
            std::uint64_t count = 0;
        } counter;
        TreeDifference(first.root(), second.root(), options_, counter).run();
        return counter.count;
    }

    std::uint64_t printJson(Document& first, Document& second, Output& out) const
    {
        JsonOutput json(out);
        JsonTaker taker(json);
        json.beginObject();
        json.key("first").string(first_);
        json.key("second").string(second_);
        json.key("differences").beginArray();
        TreeDifference(first.root(), second.root(), options_, taker).run();
        json.endArray();
        json.key("count").number(taker.count);
        json.endObject();
        json.end();
        return taker.count;
    }

    std::string first_;
    std::string second_;
    TreeDifference::Options options_;
    bool isQuiet_ = false;
    bool isFull_ = false;
    bool json_ = false;
};

} // namespace

extern const CommandEntry kDiffCommand = {"diff", "Compare two documents by what they mean", makeCommand<DiffCommand>};

} // namespace kqdb
