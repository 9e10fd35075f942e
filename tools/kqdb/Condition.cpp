#include "Condition.h"

#include "ElementText.h"
#include "Failure.h"
#include "Pattern.h"
#include "Text.h"

#include <db2/EnumAttributeMetaData.h>
#include <db2json/ValueText.h>

#include <charconv>

namespace kqdb {
namespace {

bool isNumber(db2::AttributeTypeId typeId)
{
    using namespace db2::AttributeType;
    return typeId == kInt || typeId == kFloat || typeId == kDouble || typeId == kBool || typeId == kEnum;
}

/// The text of a String or of an Enum's choice. @return false for any other value.
bool plainText(const db2::Attribute& attribute, std::wstring& text)
{
    const db2::ConstValueHandle value = attribute.getValue();
    if (attribute.getTypeId() == db2::AttributeType::kString)
    {
        text = std::wstring_view(value.asString());
        return true;
    }
    if (attribute.getTypeId() != db2::AttributeType::kEnum)
        return false;
    const auto& choices = static_cast<const db2::EnumAttributeMetaData&>(*attribute.getMetaData());
    const int choice = value.asInt();
    if (choice < 0 || static_cast<unsigned int>(choice) >= choices.getNumChoices())
        return false;
    text = choices.getChoice(static_cast<unsigned int>(choice));
    return true;
}

} // namespace

Condition::Condition(const std::string& text)
{
    const std::size_t at = text.find_first_of("=!<>~");
    if (at == std::string::npos || at == 0)
        throw Failure("--where '" + text + "': expected NAME=VALUE, or !=, <, <=, >, >=, ~ in place of =");
    name_ = toWide(std::string_view(text).substr(0, at));
    const bool hasEqualSign = at + 1 < text.size() && text[at] != '=' && text[at] != '~' && text[at + 1] == '=';
    switch (text[at])
    {
    case '=': comparison_ = Comparison::kEqual; break;
    case '~': comparison_ = Comparison::kLike; break;
    case '!':
        if (!hasEqualSign)
            throw Failure("--where '" + text + "': expected != instead of !");
        comparison_ = Comparison::kUnequal;
        break;
    case '<': comparison_ = hasEqualSign ? Comparison::kLessOrEqual : Comparison::kLess; break;
    default: comparison_ = hasEqualSign ? Comparison::kGreaterOrEqual : Comparison::kGreater; break;
    }
    value_ = text.substr(at + (hasEqualSign ? 2 : 1));
    wideValue_ = toWide(value_);
    const bool isBySize = comparison_ >= Comparison::kLess && comparison_ <= Comparison::kGreaterOrEqual;
    const char* const end = value_.data() + value_.size();
    if (isBySize && (std::from_chars(value_.data(), end, number_).ptr != end || value_.empty()))
        throw Failure("--where '" + text + "': expected a number behind the comparison");
}

bool Condition::holdsFor(const db2::Attribute& attribute) const
{
    const double number = isNumber(attribute.getTypeId()) ? attribute.getValue().asDouble() : 0;
    const bool hasNumber = isNumber(attribute.getTypeId());
    switch (comparison_)
    {
    case Comparison::kEqual: return isEqual(attribute);
    case Comparison::kUnequal: return !isEqual(attribute);
    case Comparison::kLess: return hasNumber && number < number_;
    case Comparison::kLessOrEqual: return hasNumber && number <= number_;
    case Comparison::kGreater: return hasNumber && number > number_;
    case Comparison::kGreaterOrEqual: return hasNumber && number >= number_;
    case Comparison::kLike: return isLike(attribute);
    }
    return false;
}

bool Condition::isEqual(const db2::Attribute& attribute) const
{
    std::wstring text;
    if (plainText(attribute, text) && text == wideValue_)
        return true;
    const db2::DefaultValue wanted(attribute.getTypeId());
    std::wstring ignored;
    const bool isLearning = attribute.isUnknown() && attribute.getTypeId() == db2::AttributeType::kEnum;
    if (isLearning || !db2::parseValueText(value_, *attribute.getMetaData(), wanted, ignored))
        return false; // asking must not teach an unknown Enum a choice
    std::string written;
    db2::appendValueText(*attribute.getMetaData(), wanted, written);
    return written == valueText(attribute);
}

bool Condition::isLike(const db2::Attribute& attribute) const
{
    std::wstring text;
    return plainText(attribute, text) && matches(wideValue_, text);
}

} // namespace kqdb
