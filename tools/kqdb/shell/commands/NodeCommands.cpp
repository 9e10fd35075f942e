#include "../Shell.h"
#include "../ShellCommand.h"

#include "Failure.h"
#include "StatusText.h"
#include "Text.h"
#include "TreeWalk.h"

#include <db2/TreeUtilities.h>

#include <memory>

/// Commands that edit nodes.
namespace kqdb {
namespace {

constexpr char kGroup[] = "Nodes";

void printPath(Shell& shell, const db2::Node& node)
{
    shell.out().styled(Style::kName, pathOf(node)) << '\n';
}

unsigned int typeIdOf(Shell& shell, const std::string& name)
{
    const db2::NodeTemplate* const type =
        shell.application().library().registry().lookupNodeTemplate(toWide(name).c_str());
    if (type == nullptr || toWide(name) != type->getTypeName().c_str())
        throw Failure(name + ": there is no such node type; 'types' lists them");
    return type->getTypeId();
}

void requireTransform(const db2::Node& node)
{
    if (node.isUnknown() || node.getTypeId() != db2host::scene::kTransform)
        throw Failure("only a Transform can follow the one above it");
}

void createNode(Shell& shell, const Arguments& arguments)
{
    const unsigned int typeId = typeIdOf(shell, arguments.text("TYPE"));
    const std::wstring name = toWide(arguments.text("NAME"));
    db2::Node* const parent = shell.nodeOrNull(arguments.text("--in"));
    db2::Node* const next = shell.nodeOrNull(arguments.text("--before"));
    if (arguments.has("--follow") && typeId != db2host::scene::kTransform)
        throw Failure("only a Transform can follow the one above it");
    db2::Node* node = nullptr;
    shell.check(shell.data().db_createNode(typeId, name.c_str(), parent, next, &node));
    if (arguments.has("--follow"))
        shell.check(db2host::scene::connectTransforms(shell.data(), *node));
    printPath(shell, *node);
}

/// The module that unknown nodes belong to: the one that is registered, or a placeholder for one that is not.
const db2::Module& moduleOf(const std::string& id, unsigned int version)
{
    const std::wstring wideId = toWide(id);
    if (const db2::Module* const module = db2::lookupModule(wideId.c_str()))
        return *module;
    auto module = std::make_unique<db2::Module>();
    module->setId(wideId.c_str());
    module->setDataVersion(version);
    module->setUnknown(true);
    const db2::Status status = db2::registerModule(module.get());
    if (status != db2::Status::kSuccess)
        throw Failure(id + ": " + describe(status));
    return *module.release(); // the library's now
}

void createUnknownNode(Shell& shell, const Arguments& arguments)
{
    const std::wstring typeName = toWide(arguments.text("TYPE"));
    const std::wstring name = toWide(arguments.text("NAME"));
    db2::Node* const parent = shell.nodeOrNull(arguments.text("--in"));
    db2::Node* const next = shell.nodeOrNull(arguments.text("--before"));
    if (typeName.empty() || arguments.text("MODULE").empty())
        throw Failure("an unknown node needs a type and a module");
    const db2::Module& module = moduleOf(arguments.text("MODULE"), arguments.number("--version", 1));
    db2::Node* node = nullptr;
    shell.check(shell.data().db_createUnknownNode(typeName.c_str(), module, name.c_str(), parent, next,
                                                  arguments.has("--legacy"), &node));
    printPath(shell, *node);
}

void destroyNode(Shell& shell, const Arguments& arguments)
{
    db2::Node& node = shell.node(arguments.text("NODE"));
    if (!arguments.has("--recursive"))
        return shell.check(shell.data().db_destroyLeafNode(&node));
    if (node.getParent() == nullptr)
        throw Failure(describe(db2::Status::kRootNode) + "; 'clear' destroys all nodes");
    shell.noteEdit();
    db2::dbu_destroyNodeRecursively(&node, &shell.data());
    if (!node.isDestroyed())
        throw Failure("not all of it could be destroyed; 'rollback' brings back what was");
}

void renameNode(Shell& shell, const Arguments& arguments)
{
    db2::Node& node = shell.node(arguments.text("NODE"));
    shell.check(shell.data().db_renameNode(&node, toWide(arguments.text("NAME")).c_str()));
    printPath(shell, node);
}

void moveNode(Shell& shell, const Arguments& arguments)
{
    db2::Node& node = shell.node(arguments.text("NODE"));
    db2::Node& parent = shell.node(arguments.text("PARENT"));
    db2::Node* const next = shell.nodeOrNull(arguments.text("--before"));
    const std::wstring name = toWide(arguments.text("--name"));
    if (arguments.has("--follow"))
        requireTransform(node);
    shell.check(shell.data().db_reparentNode(&node, &parent, next, arguments.has("--name") ? name.c_str() : nullptr));
    if (arguments.has("--follow"))
        shell.check(db2host::scene::connectTransforms(shell.data(), node));
    printPath(shell, node);
}

void reorderNode(Shell& shell, const Arguments& arguments)
{
    db2::Node& node = shell.node(arguments.text("NODE"));
    shell.check(shell.data().db_reorderNode(&node, shell.nodeOrNull(arguments.text("--before"))));
}

const Parameter kIn{"--in", Kind::kNode, "Its parent; the root if not given"};
const Parameter kBefore{"--before", Kind::kNode, "The sibling that it stands before; behind all if not given"};
const Parameter kName{"NAME", Kind::kText, "Made unique among the siblings; the type's if not given", Need::kOptional};

} // namespace

void addNodeCommands(std::vector<ShellEntry>& table)
{
    table.push_back({kGroup,
                     "create",
                     "Make a node",
                     {{"TYPE", Kind::kNodeType, "One of 'types'"},
                      kName,
                      kIn,
                      kBefore,
                      {"--follow", Kind::kFlag, "Connect a Transform to the one above it, so that it moves with it"}},
                     createNode});
    table.push_back({kGroup,
                     "create-unknown",
                     "Make a node of a type that nobody knows",
                     {{"TYPE", Kind::kUnknownType, "Any name"},
                      {"MODULE", Kind::kModule, "The module that it belongs to"},
                      kName,
                      kIn,
                      kBefore,
                      {"--version", Kind::kNumber, "The version of a module that is not known; 1 if not given"},
                      {"--legacy", Kind::kFlag, "It stands in for older data"}},
                     createUnknownNode});
    table.push_back(
        {kGroup,
         "destroy",
         "Destroy a node",
         {{"NODE", Kind::kNode, "The node"},
          {"-r,--recursive", Kind::kFlag, "With what is below it, and their dynamic elements and references"}},
         destroyNode});
    table.push_back({kGroup,
                     "rename",
                     "Rename a node",
                     {{"NODE", Kind::kNode, "The node"}, {"NAME", Kind::kText, "Free among its siblings"}},
                     renameNode});
    table.push_back({kGroup,
                     "move",
                     "Move a node with what is below it under another parent",
                     {{"NODE", Kind::kNode, "The node"},
                      {"PARENT", Kind::kNode, "Its new parent; | is the root"},
                      kBefore,
                      {"--name", Kind::kText, "Its new name"},
                      {"--follow", Kind::kFlag, "Connect a Transform to the one that is above it then"}},
                     moveNode});
    table.push_back({kGroup,
                     "reorder",
                     "Move a node among its siblings",
                     {{"NODE", Kind::kNode, "The node"}, kBefore},
                     reorderNode});
}

} // namespace kqdb
