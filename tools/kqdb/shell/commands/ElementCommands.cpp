#include "../DynamicElement.h"
#include "../Shell.h"
#include "../ShellCommand.h"

#include "Edits.h"
#include "Failure.h"
#include "StatusText.h"
#include "Text.h"
#include "TreeWalk.h"

#include <db2/TreeUtilities.h>

/// Commands that edit dynamic elements, arrays, references and values.
namespace kqdb {
namespace {

constexpr char kGroup[] = "Attributes";

void printPath(Shell& shell, const db2::Element& element)
{
    shell.out().styled(Style::kName, pathOf(element)) << '\n';
}

void addElement(Shell& shell, const Arguments& arguments)
{
    db2::Node& node = shell.node(arguments.text("NODE"));
    const DynamicElement definition(arguments);
    db2::Element* next = nullptr;
    if (arguments.has("--before"))
    {
        next = node.findElementByName(toWide(arguments.text("--before")).c_str());
        if (next == nullptr)
            throw Failure(arguments.text("--before") + ": the node has no such element");
    }
    db2::Element* element = nullptr;
    shell.check(shell.data().db_createDynamicElement(definition.get(), toWide(arguments.text("NAME")).c_str(), &node,
                                                     next, &element));
    printPath(shell, *element);
}

void removeElement(Shell& shell, const Arguments& arguments)
{
    shell.check(shell.data().db_destroyDynamicElement(&shell.element(arguments.text("ELEMENT"))));
}

void renameElement(Shell& shell, const Arguments& arguments)
{
    db2::Element& element = shell.element(arguments.text("ELEMENT"));
    shell.check(shell.data().db_renameDynamicElement(&element, toWide(arguments.text("NAME")).c_str()));
    printPath(shell, element);
}

void resizeArray(Shell& shell, const Arguments& arguments)
{
    db2::Element& element = shell.element(arguments.text("ELEMENT"));
    if (!element.isAttributeArray())
        throw Failure(arguments.text("ELEMENT") + ": is no array");
    auto& array = static_cast<db2::AttributeArray&>(element);
    const unsigned int size = arguments.number("SIZE", 0);
    shell.check(arguments.has("--disconnect") ? db2::dbu_resizeAttributeArray(&array, size, &shell.data())
                                              : shell.data().db_resizeAttributeArray(&array, size));
}

void connectAttributes(Shell& shell, const Arguments& arguments)
{
    db2::Attribute& source = shell.attribute(arguments.text("SOURCE"));
    db2::Attribute& target = shell.attribute(arguments.text("TARGET"));
    shell.check(shell.data().db_createReference(&source, &target, arguments.has("--single")));
}

void disconnectAttribute(Shell& shell, const Arguments& arguments)
{
    db2::Attribute& target = shell.attribute(arguments.text("TARGET"));
    if (!arguments.has("--keep-value"))
        return shell.check(shell.data().db_destroyReference(&target));
    if (target.getReference() == nullptr)
        throw Failure(describe(db2::Status::kNoReference));
    shell.check(db2::dbu_copyAndDestroyReference(&shell.data(), &target));
}

void setValue(Shell& shell, const Arguments& arguments)
{
    db2::Element& element = shell.element(arguments.text("ELEMENT"));
    const Limits limits = arguments.has("--force") ? Limits::kIgnored : Limits::kKept;
    const std::string value = arguments.text("VALUE");
    if (element.isAttributeArray())
    {
        shell.noteEdit(); // which may be refused halfway
        writeArray(shell.data(), static_cast<db2::AttributeArray&>(element), value, limits);
        return;
    }
    writeValue(shell.data(), static_cast<db2::Attribute&>(element), value, limits);
    shell.noteEdit();
}

const Parameter kElement{"ELEMENT", Kind::kElement, "The path of an attribute or array"};

} // namespace

void addElementCommands(std::vector<ShellEntry>& table)
{
    table.push_back(
        {kGroup,
         "set",
         "Set a value",
         {kElement,
          {"--force", Kind::kFlag, "Take a value beyond the attribute's limits, too"},
          {"VALUE", Kind::kValue,
           "The rest of the line: 1.5, true, [1, 2, 3], a text; quotes that are part of it need quotes", Need::kRest}},
         setValue});
    table.push_back(
        {kGroup,
         "resize",
         "Give an array another size",
         {kElement,
          {"SIZE", Kind::kNumber, "The number of items"},
          {"--disconnect", Kind::kFlag, "End references of items that it loses, which are in the way else"}},
         resizeArray});
    table.push_back({kGroup,
                     "connect",
                     "Make an attribute take its value from another",
                     {{"SOURCE", Kind::kElement, "The attribute that has the value"},
                      {"TARGET", Kind::kElement, "The attribute that takes it"},
                      {"--single", Kind::kFlag, "Nobody else may take it as long as this stands"}},
                     connectAttributes});
    table.push_back({kGroup,
                     "disconnect",
                     "End the reference that an attribute takes its value from",
                     {{"TARGET", Kind::kElement, "The attribute"},
                      {"--keep-value", Kind::kFlag, "Give it the value that it showed; else it has its own again"}},
                     disconnectAttribute});
    table.push_back({kGroup,
                     "add",
                     "Add a dynamic attribute or array, which only this node has",
                     {{"NODE", Kind::kNode, "The node"},
                      {"TYPE", Kind::kValueType, "Int, Float, String, ..."},
                      {"NAME", Kind::kText, "Free among the node's elements"},
                      {"--array", Kind::kFlag, "An array of such attributes"},
                      {"--before", Kind::kText, "The name of the dynamic element that it stands before"},
                      {"--min", Kind::kText, "The smallest value of a number"},
                      {"--max", Kind::kText, "The largest value of a number"},
                      {"--unit", Kind::kText, "distance, angle, time, mass or scalar"},
                      {"--choices", Kind::kText, "Of an Enum, separated by commas"},
                      {"--display-name", Kind::kText, "What to show instead of the name"},
                      {"--doc", Kind::kText, "What it is for"}},
                     addElement});
    table.push_back({kGroup, "remove", "Remove a dynamic attribute or array", {kElement}, removeElement});
    table.push_back({kGroup,
                     "rename-element",
                     "Rename a dynamic attribute or array",
                     {kElement, {"NAME", Kind::kText, "Free among the node's elements"}},
                     renameElement});
}

} // namespace kqdb
