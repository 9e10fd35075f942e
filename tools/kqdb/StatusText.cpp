#include "StatusText.h"

#include <array>
#include <cstdint>
#include <string>

namespace kqdb {
namespace {

// clang-format off: a table, by number
constexpr std::array<std::string_view, 108> kTexts = {
    /*   0 */ "done",
    /*   1 */ "loaded, but no migrator dealt with some of the older data",
    /*   2 */ "loaded and brought up to date by migrators",
    /*   3 */ "a reference leads out of what is saved and was not written",
    /*   4 */ "refused, or memory is out",
    /*   5 */ "there is no place for the result",
    /*   6 */ "there is no such node type",
    /*   7 */ "the node to stand before is not a child of that parent",
    /*   8 */ "the root node takes part in no references",
    /*   9 */ "the node still has children",
    /*  10 */ "the node still has dynamic elements",
    /*  11 */ "attributes of the node still take part in references",
    /*  12 */ "the node is destroyed already",
    /*  13 */ "there is no attribute whose reference could end",
    /*  14 */ "the root node cannot be edited",
    /*  15 */ "reserved",
    /*  16 */ "there is no node to destroy",
    /*  17 */ "there is no element to destroy",
    /*  18 */ "there is no node to rename",
    /*  19 */ "there is no element to rename",
    /*  20 */ "a node needs a name",
    /*  21 */ "there is no node to move",
    /*  22 */ "there is no parent to move to",
    /*  23 */ "a node cannot be moved below itself",
    /*  24 */ "a node cannot be moved below one of its descendants",
    /*  25 */ "there is no node to reorder",
    /*  26 */ "a node cannot stand before itself",
    /*  27 */ "the node to stand before has another parent",
    /*  28 */ "the reference would close a cycle",
    /*  29 */ "the attribute takes its value from a reference",
    /*  30 */ "an item of the array takes its value from a reference",
    /*  31 */ "values of this type cannot be written all at once",
    /*  32 */ "undo holds the node or attribute",
    /*  33 */ "the attribute is locked already",
    /*  34 */ "the array is locked already",
    /*  35 */ "there is no place for the locked value",
    /*  36 */ "an item that the smaller array would lose takes part in a reference",
    /*  37 */ "the element still takes part in references",
    /*  38 */ "the attribute references something already",
    /*  39 */ "the attribute references nothing",
    /*  40 */ "there is no attribute to reference",
    /*  41 */ "there is no attribute that could reference",
    /*  42 */ "another attribute has the sole reference to the attribute",
    /*  43 */ "a sole reference is not possible: other attributes reference the attribute",
    /*  44 */ "there is no attribute to reference",
    /*  45 */ "an attribute cannot reference itself",
    /*  46 */ "the attribute is computed, so it cannot reference another one",
    /*  47 */ "the attribute takes part in no references",
    /*  48 */ "the node has an element of that name already",
    /*  49 */ "a sibling bears that name already",
    /*  50 */ "an element needs a name",
    /*  51 */ "there is no node for the element",
    /*  52 */ "reserved",
    /*  53 */ "the element to stand before is not a dynamic one",
    /*  54 */ "only dynamic elements can be destroyed",
    /*  55 */ "only dynamic elements can be renamed",
    /*  56 */ "an attribute is locked, so nothing else can be edited",
    /*  57 */ "there is no array to resize",
    /*  58 */ "there is no attribute to lock",
    /*  59 */ "there is no array to lock",
    /*  60 */ "there is no attribute to unlock",
    /*  61 */ "there is no array to unlock",
    /*  62 */ "the attribute is not locked",
    /*  63 */ "the array is not locked",
    /*  64 */ "a module of that id is registered already",
    /*  65 */ "there is no module",
    /*  66 */ "the module is not registered",
    /*  67 */ "the element to stand before belongs to another node",
    /*  68 */ "the node is watched already",
    /*  69 */ "the node is not watched, so the watch cannot end",
    /*  70 */ "the node is not watched, so the watch cannot be armed",
    /*  71 */ "the node is not watched, so the watch cannot be switched",
    /*  72 */ "legacy elements take part in no references",
    /*  73 */ "the module has no such version to migrate to",
    /*  74 */ "the version has a migrator already",
    /*  75 */ "the node has a legacy element of that name already",
    /*  76 */ "the attribute belongs to a destroyed node",
    /*  77 */ "the path leads nowhere",
    /*  78 */ "the path does not lead to an attribute array",
    /*  79 */ "the path does not lead to an attribute",
    /*  80 */ "a path begins with one of | . :",
    /*  81 */ "there is no path",
    /*  82 */ "the node is not below the one that the path should start from",
    /*  83 */ "the node is too deep in the tree for a path",
    /*  84 */ "the square brackets of the path do not match",
    /*  85 */ "an index in the path is not a number",
    /*  86 */ "two of the characters | . : [ ] follow each other in the path",
    /*  87 */ "the path ends too early",
    /*  88 */ "the node type is registered already",
    /*  89 */ "a node type of that name is registered already",
    /*  90 */ "nodes of the type are in use",
    /*  91 */ "a node type of that number is registered already",
    /*  92 */ "a registered type takes no more attributes",
    /*  93 */ "a registered type takes no more compute sets",
    /*  94 */ "there is no such node type to unregister",
    /*  95 */ "the name of the node type is not registered",
    /*  96 */ "the attribute has no name",
    /*  97 */ "the type has an element of that name already",
    /*  98 */ "an attribute needs a name",
    /*  99 */ "the name is longer than 40 characters",
    /* 100 */ "the compute set has no list of inputs",
    /* 101 */ "another compute set computes the element already",
    /* 102 */ "the compute set has no list of outputs",
    /* 103 */ "an input of the compute set is no element of the type",
    /* 104 */ "an element of the compute set takes part in no compute sets",
    /* 105 */ "an output of the compute set is no element of the type",
    /* 106 */ "the compute set has no inputs",
    /* 107 */ "the compute set has no outputs",
};
// clang-format on

} // namespace

std::string_view statusText(db2::Status status)
{
    const auto number = static_cast<std::uint32_t>(status);
    return number < kTexts.size() ? kTexts[number] : "an unknown status";
}

std::string describe(db2::Status status)
{
    return std::string(statusText(status)) + " (status " + std::to_string(static_cast<std::uint32_t>(status)) + ")";
}

} // namespace kqdb
