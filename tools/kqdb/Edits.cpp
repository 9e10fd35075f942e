#include "Edits.h"

#include "ElementText.h"
#include "Failure.h"
#include "StatusText.h"
#include "Text.h"
#include "TreeWalk.h"

#include <db2/DataInterface.h>
#include <db2/TreeUtilities.h>
#include <db2json/ValueText.h>

#include <vector>

namespace kqdb {
namespace {

[[noreturn]] void refuse(const db2::Element& element, const std::string& why)
{
    throw Failure(visible(pathOf(element)) + ": " + why);
}

void check(db2::Status status, const db2::Element& element)
{
    if (status != db2::Status::kSuccess)
        refuse(element, std::string(statusText(status)));
}

void refuseComputed(const db2::Element& element)
{
    if (element.isComputed())
        refuse(element, "the attribute is computed from others; its value cannot be set");
}

/// Reads the text before anything is edited, so that a wrong one changes nothing.
db2::DefaultValue parsed(const db2::Attribute& attribute, std::string_view text, Limits limits)
{
    const db2::ElementMetaData& metaData = *attribute.getMetaData();
    db2::DefaultValue value(metaData.getTypeId());
    std::wstring error;
    if (!db2::parseValueText(text, metaData, value, error))
        refuse(attribute, visible(error));
    const std::string fault = limits == Limits::kKept ? limitFault(metaData, value) : std::string();
    if (!fault.empty())
        refuse(attribute, fault);
    return value;
}

void write(db2::DataInterface& data, db2::Attribute& attribute, const db2::ConstValueHandle& value)
{
    if (attribute.getTypeId() == db2::AttributeType::kNull)
        return; // has no value
    db2::ValueHandle handle;
    check(data.db_lockAttribute(&attribute, &handle), attribute);
    const bool isWritten = handle.assign(value);
    check(data.db_unlockAttribute(&attribute), attribute);
    if (!isWritten)
        refuse(attribute, "memory is out");
}

} // namespace

void writeValue(db2::DataInterface& data, db2::Attribute& attribute, const std::string& text, Limits limits)
{
    refuseComputed(attribute);
    write(data, attribute, parsed(attribute, text, limits));
}

void writeArray(db2::DataInterface& data, db2::AttributeArray& array, const std::string& text, Limits limits)
{
    refuseComputed(array);
    std::vector<std::string_view> items;
    std::wstring error;
    if (!db2::splitItemTexts(text, items, error))
        refuse(array, visible(error));
    check(db2::dbu_resizeAttributeArray(&array, static_cast<unsigned int>(items.size()), &data), array);
    for (unsigned int i = 0; i < items.size(); ++i)
    {
        db2::Attribute& item = *array.getAttribute(i);
        if (item.getReference() == nullptr || valueText(item) != items[i]) // what a reference shows anyway may stay
            write(data, item, parsed(item, items[i], limits));
    }
}

void connect(db2::DataInterface& data, db2::Attribute& referenced, db2::Attribute& referencer, bool singleOutput)
{
    if (referencer.getReference() != nullptr)
        check(data.db_destroyReference(&referencer), referencer);
    check(data.db_createReference(&referenced, &referencer, singleOutput), referencer);
}

} // namespace kqdb
