#include "Conversion.h"

#include "Text.h"

#include <cstring>
#include <limits>

namespace db2import {
namespace {

/// One level of nested metadata, half way through.
struct Level
{
    const aiMetadata* metadata;
    unsigned int next;
    std::wstring prefix; ///< the keys that lead here, each with a dot behind it
};

template <class T>
T read(const aiMetadataEntry& entry)
{
    T value;
    std::memcpy(&value, entry.mData, sizeof value); // readers are careless with the alignment
    return value;
}

/// 64 bits have no type of their own: a Double where it holds the number, else its digits.
DynamicValue valueOf(std::uint64_t number)
{
    constexpr std::uint64_t kExactInDouble = std::uint64_t{1} << std::numeric_limits<double>::digits;
    if (number <= kExactInDouble)
        return static_cast<double>(number);
    return stringOf(std::to_wstring(number));
}

void keep(Editor& edit, const aiMetadataEntry& entry, const std::wstring& name, db2::Node& node)
{
    switch (entry.mType)
    {
    case AI_BOOL: edit.addAttribute(node, name, read<unsigned char>(entry) != 0); break;
    case AI_INT32: edit.addAttribute(node, name, int{read<std::int32_t>(entry)}); break;
    case AI_UINT64: edit.addAttribute(node, name, valueOf(read<std::uint64_t>(entry))); break;
    case AI_FLOAT: edit.addAttribute(node, name, read<float>(entry)); break;
    case AI_DOUBLE: edit.addAttribute(node, name, read<double>(entry)); break;
    case AI_AISTRING:
        edit.addAttribute(node, name, stringOf(edit.text(bytesOf(*static_cast<const aiString*>(entry.mData)), node)));
        break;
    case AI_AIVECTOR3D: edit.addAttribute(node, name, vectorOf(read<aiVector3D>(entry))); break;
    default: edit.notKept(node, L"the metadata \"" + name + L"\", of a type that nobody knows"); break;
    }
}

} // namespace

void addMetadata(Editor& edit, const aiMetadata& metadata, db2::Node& node)
{
    std::vector<Level> levels; // not recursion: metadata may nest deeply
    levels.push_back({&metadata, 0, {}});
    while (!levels.empty())
    {
        Level& level = levels.back();
        if (level.next >= level.metadata->mNumProperties || level.metadata->mKeys == nullptr ||
            level.metadata->mValues == nullptr)
        {
            levels.pop_back();
            continue;
        }
        const unsigned int index = level.next++;
        const aiMetadataEntry& entry = level.metadata->mValues[index];
        const std::wstring name = level.prefix + edit.text(bytesOf(level.metadata->mKeys[index]), node);
        if (entry.mData == nullptr)
            edit.notKept(node, L"the metadata \"" + name + L"\", which has no value");
        else if (entry.mType == AI_AIMETADATA)
            levels.push_back({static_cast<const aiMetadata*>(entry.mData), 0, name + L"."});
        else
            keep(edit, entry, name, node);
    }
}

} // namespace db2import
