#pragma once

#include <db2/ChangeSet.h>
#include <db2/CoreManager.h>

#include <cstdint>
#include <string>
#include <vector>

namespace db2test {

using namespace db2;

/// One object of each kind that a change set lists.
struct Listed
{
    Node* node = nullptr;
    Attribute* attribute = nullptr;
    AttributeArray* array = nullptr;
};

/// One of the sixteen lists of a change set.
struct ChangeListRow
{
    const wchar_t* what; ///< "created node", as changesOf() writes it
    void (*add)(ChangeSet&, const Listed&);
    void (*remove)(ChangeSet&, const Listed&);
    unsigned int (*count)(const ChangeSet&);
    const void* (*at)(const ChangeSet&, unsigned int index);
    const void* (*entryOf)(const Listed&); ///< the object that the list takes
    std::wstring (*pathAt)(const ChangeSet&, unsigned int index);
    std::uint32_t (*flagsAt)(const ChangeSet&, unsigned int index);
    bool isOfNodes;
    std::uint32_t flag; ///< the bit on each object in the list
};

/// In the order of the lists.
[[nodiscard]] const std::vector<ChangeListRow>& changeListRows();

/// Everything in a change set, a line an entry: "created node |arm", "changed attribute |arm.Int", ...; destroyed objects
/// stand under the parent that they had.
[[nodiscard]] std::vector<std::wstring> changesOf(const ChangeSet& changes);

/// Every object that is in a list has the list's bit and is there once, and no object of the tree has a bit without being
/// in the list; else the running test fails.
void expectBitsInStep(const CoreManager& core, const ChangeSet& changes);

} // namespace db2test
