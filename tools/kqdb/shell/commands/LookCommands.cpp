#include "../Shell.h"
#include "../ShellCommand.h"
#include "../ShortValue.h"

#include "ElementText.h"
#include "Failure.h"
#include "Text.h"
#include "TreeWalk.h"

#include <db2/ValueInfo.h>

#include <algorithm>
#include <cwchar>

/// Commands that look at the document and change nothing.
namespace kqdb {
namespace {

constexpr char kGroup[] = "Looking";
constexpr std::size_t kShownCharacters = 100;
constexpr unsigned int kDeepestIndentation = 60;
constexpr unsigned int kNoLimit = 0xFFFFFFFFu;

void printNode(Output& out, const db2::Node& node)
{
    out.styled(Style::kName, node.getName()) << ' ';
    out.styled(Style::kFaint, node.getTypeName());
    if (node.isUnknown())
        out.styled(Style::kWarning, node.isLegacy() ? std::string_view(" legacy") : std::string_view(" unknown"));
}

void get(Shell& shell, const Arguments& arguments)
{
    for (const std::string& path : arguments.all("ELEMENT"))
        shell.out() << std::string_view(valueText(shell.element(path))) << '\n';
}

void list(Shell& shell, const Arguments& arguments)
{
    const db2::Node& parent = shell.node(arguments.text("NODE"));
    for (const db2::Node* child = parent.getFirstChild(); child != nullptr; child = child->getNextSibling())
    {
        printNode(shell.out(), *child);
        if (child->getFirstChild() != nullptr)
            shell.out().styled(Style::kFaint, " |");
        shell.out() << '\n';
    }
}

void printTree(Shell& shell, const Arguments& arguments)
{
    const db2::Node& start = shell.node(arguments.text("NODE"));
    const unsigned int deepest = arguments.number("--depth", kNoLimit);
    const bool isRoot = start.getParent() == nullptr;
    for (TreeWalk walk(start); walk.next();)
    {
        const bool isCut = walk.depth() >= deepest && walk.node().getFirstChild() != nullptr;
        if (isCut)
            walk.skipChildren();
        if (walk.depth() == 0 && isRoot) // which is in no document
            continue;
        shell.out().indent(2 * std::min(walk.depth() - (isRoot ? 1 : 0), kDeepestIndentation));
        printNode(shell.out(), walk.node());
        shell.out() << (isCut ? " ...\n" : "\n");
    }
}

void printElement(Output& out, const db2::Element& element)
{
    (out << "  ").styled(Style::kName, element.getName()) << ' ';
    out.styled(Style::kFaint, typeText(element)) << ' ';
    out.styled(Style::kValue, shortValueText(element, kShownCharacters));
    if (const db2::Attribute* const source = referenceOf(element))
        (out << " from ").styled(Style::kName, pathOf(*source));
    if (!originOf(element).empty())
        (out << ' ').styled(Style::kFaint, originOf(element));
    out << '\n';
}

void cat(Shell& shell, const Arguments& arguments)
{
    for (const std::string& path : arguments.all("NODE"))
    {
        const db2::Node& node = shell.node(path);
        shell.out().styled(Style::kName, pathOf(node)) << ' ';
        shell.out().styled(Style::kFaint, node.getTypeName()) << '\n';
        forEachElement(node, [&](const db2::Element& element) { printElement(shell.out(), element); });
    }
}

void printType(Output& out, const db2::NodeTemplate& type)
{
    for (unsigned int i = 0; i < type.getElementCount(); ++i)
    {
        const db2::ElementMetaData& element = *type.getElementMetaData(i);
        out.styled(Style::kName, element.getName()) << ' ';
        out.styled(Style::kFaint, db2::ValueInfo::getTypeName(element.getTypeId()));
        out.styled(Style::kFaint, element.isAttributeArray() ? std::string_view("[]") : std::string_view());
        if (element.getDocString() != nullptr)
            out << "  " << std::wstring_view(element.getDocString());
        out << '\n';
    }
}

void printTypes(Shell& shell, const Arguments& arguments)
{
    const db2::NodeRegistry& registry = shell.application().library().registry();
    if (arguments.has("TYPE"))
    {
        const std::string name = arguments.text("TYPE");
        const db2::NodeTemplate* const type = registry.lookupNodeTemplate(toWide(name).c_str());
        if (type == nullptr)
            throw Failure(name + ": there is no such node type; 'types' lists them");
        return printType(shell.out(), *type);
    }
    kqtl::pod_vector<const db2::NodeTemplate*> types;
    registry.getNodeTemplates(types);
    for (const db2::NodeTemplate* const type : types)
    {
        shell.out().styled(Style::kName, type->getTypeName());
        if (type->getDocString() != nullptr)
            shell.out() << "  " << std::wstring_view(type->getDocString());
        shell.out() << '\n';
    }
}

} // namespace

void addLookCommands(std::vector<ShellEntry>& table)
{
    const Parameter node{"NODE", Kind::kNode, "The root if not given", Need::kOptional};
    table.push_back({kGroup,
                     "get",
                     "Print values",
                     {{"ELEMENT", Kind::kElement, "Attributes, arrays or items", Need::kRepeated}},
                     get});
    table.push_back({kGroup, "ls", "List the nodes directly below a node", {node}, list});
    table.push_back({kGroup,
                     "tree",
                     "List all nodes below a node",
                     {node, {"-d,--depth", Kind::kNumber, "How many levels"}},
                     printTree});
    table.push_back({kGroup,
                     "cat",
                     "Print nodes with their attributes",
                     {{"NODE", Kind::kNode, "The nodes", Need::kRepeated}},
                     cat});
    table.push_back({kGroup,
                     "types",
                     "List the node types, or the attributes of one",
                     {{"TYPE", Kind::kNodeType, "A node type", Need::kOptional}},
                     printTypes});
}

} // namespace kqdb
