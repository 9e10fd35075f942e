#pragma once

#include <db2/AttributeArray.h>

#include <string>

namespace db2 {
class DataInterface;
}

/// Edits as commands make them: text in, one edit or a few through the layers, and a Failure that says what is wrong.
namespace kqdb {

enum class Limits
{
    kKept,   ///< a value beyond the limits of its attribute is refused
    kIgnored ///< the database itself takes any value
};

/// Writes an attribute's value. @param text  as parseValueText() takes it.
void writeValue(db2::DataInterface& data, db2::Attribute& attribute, const std::string& text,
                Limits limits = Limits::kKept);

/// Gives an array the size and the values of a text such as "[1, 2]". Items that a smaller array loses lose their
/// references first.
void writeArray(db2::DataInterface& data, db2::AttributeArray& array, const std::string& text,
                Limits limits = Limits::kKept);

/// Makes @p referencer take its value from @p referenced, in place of what it referenced before.
void connect(db2::DataInterface& data, db2::Attribute& referenced, db2::Attribute& referencer, bool singleOutput);

} // namespace kqdb
