#include "ElementText.h"

#include "Text.h"

#include <db2/AttributeMetaData.h>
#include <db2/ValueInfo.h>
#include <db2json/ValueText.h>

#include <cmath>

namespace kqdb {
namespace {

template <class MetaData, class Number>
std::string numberFault(const db2::ElementMetaData& metaData, const db2::ConstValueHandle& value, Number number)
{
    const auto& limits = static_cast<const MetaData&>(metaData);
    const auto textOf = [&metaData](Number limit) {
        std::string text;
        db2::appendValueText(metaData, db2::ConstValueHandle(&limit, metaData.getTypeId()), text);
        return text;
    };
    const bool hasMin = (limits.getOptions() & db2::NumberOption::kHasMinimum) != 0;
    const bool hasMax = (limits.getOptions() & db2::NumberOption::kHasMaximum) != 0;
    const bool isNumber = number == number;
    if (isNumber && (!hasMin || number >= limits.getMin()) && (!hasMax || number <= limits.getMax()))
        return {};
    std::string text;
    db2::appendValueText(metaData, value, text);
    if (!isNumber)
        return hasMin || hasMax ? text + " is not within limits" : std::string();
    return hasMin && number < limits.getMin() ? text + " is below the limit " + textOf(limits.getMin())
                                              : text + " is above the limit " + textOf(limits.getMax());
}

} // namespace

std::string valueText(const db2::Attribute& attribute)
{
    std::string text;
    db2::appendValueText(*attribute.getMetaData(), attribute.getValue(), text);
    return text;
}

std::string valueText(const db2::Element& element)
{
    if (!element.isAttributeArray())
        return valueText(static_cast<const db2::Attribute&>(element));
    const auto& array = static_cast<const db2::AttributeArray&>(element);
    std::string text = "[";
    for (unsigned int i = 0; i < array.getSize(); ++i)
        text += (i == 0 ? "" : ", ") + valueText(*array.getAttribute(i));
    return text + ']';
}

std::string typeText(const db2::Element& element)
{
    const std::string type = toUtf8(db2::ValueInfo::getTypeName(element.getTypeId()));
    if (!element.isAttributeArray())
        return type;
    return type + '[' + std::to_string(static_cast<const db2::AttributeArray&>(element).getSize()) + ']';
}

std::string_view originOf(const db2::Element& element)
{
    if (element.isLegacy())
        return "legacy";
    if (element.isDynamic())
        return "dynamic";
    return element.isComputed() ? "computed" : "";
}

const db2::Attribute* referenceOf(const db2::Element& element)
{
    return element.isAttributeArray() ? nullptr : static_cast<const db2::Attribute&>(element).getReference();
}

bool isAtDefault(const db2::Element& element)
{
    if (element.isAttributeArray())
        return static_cast<const db2::AttributeArray&>(element).getSize() == 0;
    const auto& attribute = static_cast<const db2::Attribute&>(element);
    return attribute.getReference() == nullptr && attribute.getValue().compare(element.getDefaultValue());
}

std::string limitFault(const db2::ElementMetaData& metaData, const db2::ConstValueHandle& value)
{
    switch (metaData.getTypeId())
    {
    case db2::AttributeType::kInt: return numberFault<db2::IntAttributeMetaData>(metaData, value, value.asInt());
    case db2::AttributeType::kFloat: return numberFault<db2::FloatAttributeMetaData>(metaData, value, value.asFloat());
    case db2::AttributeType::kDouble:
        return numberFault<db2::DoubleAttributeMetaData>(metaData, value, value.asDouble());
    case db2::AttributeType::kEnum:
    {
        const int choice = value.asInt();
        const auto& choices = static_cast<const db2::EnumAttributeMetaData&>(metaData);
        const bool isChoice = choice >= 0 && static_cast<unsigned int>(choice) < choices.getNumChoices();
        return isChoice ? std::string() : std::to_string(choice) + " names no choice";
    }
    default: return {};
    }
}

} // namespace kqdb
