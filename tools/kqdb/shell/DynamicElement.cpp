#include "DynamicElement.h"

#include "ShellCommand.h"

#include "Failure.h"
#include "Text.h"

#include <db2/AttributeMetaDataDef.h>
#include <db2/ValueInfo.h>

#include <array>
#include <charconv>

namespace kqdb {
namespace {

using Definition = std::unique_ptr<db2::ElementMetaDataDef>;

template <class Def>
Definition make()
{
    return std::make_unique<Def>();
}

/// By type id.
constexpr std::array<Definition (*)(), db2::kAttributeTypeCount> kMakers = {
    make<db2::IntAttributeMetaDataDef>,          make<db2::BoolAttributeMetaDataDef>,
    make<db2::ColourAttributeMetaDataDef>,       make<db2::FloatAttributeMetaDataDef>,
    make<db2::DoubleAttributeMetaDataDef>,       make<db2::StringAttributeMetaDataDef>,
    make<db2::EnumAttributeMetaDataDef>,         make<db2::Vector3AttributeMetaDataDef>,
    make<db2::MatrixAttributeMetaDataDef>,       make<db2::QuatAttributeMetaDataDef>,
    make<db2::NullAttributeMetaDataDef>,         make<db2::VertexBufferAttributeMetaDataDef>,
    make<db2::IntArrayAttributeMetaDataDef>,     make<db2::BoolArrayAttributeMetaDataDef>,
    make<db2::ColourArrayAttributeMetaDataDef>,  make<db2::FloatArrayAttributeMetaDataDef>,
    make<db2::DoubleArrayAttributeMetaDataDef>,  make<db2::StringArrayAttributeMetaDataDef>,
    make<db2::Vector3ArrayAttributeMetaDataDef>, make<db2::MatrixArrayAttributeMetaDataDef>,
    make<db2::QuatArrayAttributeMetaDataDef>};

template <class Number>
Number numberOf(const Arguments& arguments, const char* option)
{
    const std::string text = arguments.text(option);
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        throw Failure(std::string(option) + ": '" + text + "' is no number of the type");
    return number;
}

template <class Def, class Number>
void takeLimits(const Arguments& arguments, db2::ElementMetaDataDef& definition)
{
    if (arguments.has("--min"))
        static_cast<Def&>(definition).setMin(numberOf<Number>(arguments, "--min"));
    if (arguments.has("--max"))
        static_cast<Def&>(definition).setMax(numberOf<Number>(arguments, "--max"));
}

kqx::UnitType unitOf(const std::string& name)
{
    constexpr std::array<const char*, 6> kNames = {"none", "distance", "angle", "time", "mass", "scalar"};
    for (std::size_t i = 0; i < kNames.size(); ++i)
        if (name == kNames[i])
            return static_cast<kqx::UnitType>(i);
    throw Failure("--unit: '" + name + "' is none of distance, angle, time, mass and scalar");
}

} // namespace

db2::AttributeTypeId valueType(const std::string& name)
{
    const std::wstring wide = toWide(name);
    for (unsigned int i = 0; i < db2::kAttributeTypeCount; ++i)
        if (wide == db2::ValueInfo::getTypeName(static_cast<db2::AttributeTypeId>(i)))
            return static_cast<db2::AttributeTypeId>(i);
    throw Failure(name + ": there is no such type of values; one of them is Float");
}

DynamicElement::DynamicElement(const Arguments& arguments)
    : displayName_(toWide(arguments.text("--display-name"))), docString_(toWide(arguments.text("--doc"))),
      definition_(kMakers[valueType(arguments.text("TYPE"))]())
{
    definition_->setArray(arguments.has("--array"));
    if (arguments.has("--display-name"))
        definition_->setDisplayName(displayName_.c_str());
    if (arguments.has("--doc"))
        definition_->setDocString(docString_.c_str());
    if (arguments.has("--min") || arguments.has("--max"))
        setLimits(arguments);
    if (arguments.has("--unit"))
        setUnit(arguments.text("--unit"));
    setChoices(arguments);
}

void DynamicElement::setLimits(const Arguments& arguments)
{
    switch (definition_->getTypeId())
    {
    case db2::AttributeType::kInt: return takeLimits<db2::IntAttributeMetaDataDef, int>(arguments, *definition_);
    case db2::AttributeType::kFloat: return takeLimits<db2::FloatAttributeMetaDataDef, float>(arguments, *definition_);
    case db2::AttributeType::kDouble:
        return takeLimits<db2::DoubleAttributeMetaDataDef, double>(arguments, *definition_);
    default: throw Failure("only Int, Float and Double have limits");
    }
}

void DynamicElement::setUnit(const std::string& unit)
{
    auto* const definition = dynamic_cast<db2::UnitAttributeMetaDataDef*>(definition_.get());
    if (definition == nullptr)
        throw Failure("values of the type have no unit");
    definition->setUnitType(unitOf(unit));
}

void DynamicElement::setChoices(const Arguments& arguments)
{
    auto* const definition = dynamic_cast<db2::EnumAttributeMetaDataDef*>(definition_.get());
    const std::string choices = arguments.text("--choices");
    if (definition == nullptr && !choices.empty())
        throw Failure("only an Enum has choices");
    if (definition != nullptr && choices.empty())
        throw Failure("an Enum needs choices: --choices low,high");
    for (std::size_t begin = 0; definition != nullptr && begin <= choices.size();)
    {
        const std::size_t end = std::min(choices.find(',', begin), choices.size());
        if (end == begin)
            throw Failure("--choices: a choice is empty");
        if (!definition->addChoice(toWide(choices.substr(begin, end - begin)).c_str()))
            throw std::bad_alloc();
        begin = end + 1;
    }
}

} // namespace kqdb
