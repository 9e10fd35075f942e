#pragma once

#include <db2json/Export.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Single values as text, in the notation that they have in a document (docs/format.md) and in UTF-8: for programs that
/// show values to people and take them from people. An Enum is the text of its choice, and a number where that names no
/// choice.
namespace db2 {

class ConstValueHandle;
class ElementMetaData;
class ValueHandle;

/// Appends a value's text. It is one line, whatever the value, and parseValueText() reads it back to the same bits.
/// @param metaData  of the element that shows the value: its type, and an Enum's choices. A value of another type is written
///                  as what it reads as in that one.
/// Throws std::bad_alloc and std::length_error.
DB2JSON_API void appendValueText(const ElementMetaData& metaData, const ConstValueHandle& value, std::string& text);

/// Reads a value. Takes more than a document does, where that leaves no doubt:
/// - a String that begins with neither " nor [ as it stands, without quotes and escapes;
/// - a choice of an Enum without quotes, unless it is a number;
/// - NaN, Infinity and -Infinity without quotes.
/// The Enum of an unknown node learns a choice that it does not have.
/// @param value  of the metadata's type; written when the text is right, and only then.
/// @param error  receives what is wrong otherwise, such as "column 4: expected a number".
/// @return whether the text is right. Throws std::bad_alloc and std::length_error.
/// Threads: one at a time in the process, as whatever logs.
DB2JSON_API bool parseValueText(std::string_view text, const ElementMetaData& metaData, const ValueHandle& value,
                                std::wstring& error);

/// Takes the text of an array apart, "[1, [2, 3]]" into "1" and "[2, 3]": for attribute arrays, each of whose items is a
/// value. What is wrong within an item shows when it is read.
/// @param items  replaced by views into @p text.
/// @return false, with the error, when the text is no array.
DB2JSON_API bool splitItemTexts(std::string_view text, std::vector<std::string_view>& items, std::wstring& error);

} // namespace db2
