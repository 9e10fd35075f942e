#include "MetaDataReader.h"

#include "JsonReader.h"
#include "MetaDataKeys.h"
#include "ValueReader.h"
#include "ValueTypes.h"

#include <db2/AttributeMetaDataDef.h>

#include <new>
#include <utility>

namespace db2::json {
namespace {

template <class Definition, class T>
void setDefault(ElementMetaDataDef& definition, const T& value)
{
    auto& typed = static_cast<Definition&>(definition);
    if constexpr (std::is_same_v<decltype(typed.setDefaultValue(value)), bool>)
    {
        if (!typed.setDefaultValue(value))
            throw std::bad_alloc();
    }
    else
        typed.setDefaultValue(value);
}

// clang-format off: a table
void setDefault(ElementMetaDataDef& d, int v)
{
    if (d.getTypeId() == AttributeType::kEnum)
        setDefault<EnumAttributeMetaDataDef>(d, v);
    else
        setDefault<IntAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, bool v)
{
    setDefault<BoolAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const float& v)
{
    setDefault<FloatAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const double& v)
{
    setDefault<DoubleAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::String& v)
{
    setDefault<StringAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::Colour& v)
{
    setDefault<ColourAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::Vector3& v)
{
    setDefault<Vector3AttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::Matrix& v)
{
    setDefault<MatrixAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::Quat& v)
{
    setDefault<QuatAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::VertexBuffer& v)
{
    setDefault<VertexBufferAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::IntArray& v)
{
    setDefault<IntArrayAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::BoolArray& v)
{
    setDefault<BoolArrayAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::ColourArray& v)
{
    setDefault<ColourArrayAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::FloatArray& v)
{
    setDefault<FloatArrayAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::DoubleArray& v)
{
    setDefault<DoubleArrayAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::StringArray& v)
{
    setDefault<StringArrayAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::Vector3Array& v)
{
    setDefault<Vector3ArrayAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::MatrixArray& v)
{
    setDefault<MatrixArrayAttributeMetaDataDef>(d, v);
}
void setDefault(ElementMetaDataDef& d, const kqx::QuatArray& v)
{
    setDefault<QuatArrayAttributeMetaDataDef>(d, v);
}
// clang-format on

} // namespace

void MetaDataReader::read(ElementMetaDataDef& definition, AttributeTypeId typeId)
{
    json_.beginObject();
    if (json_.tryMember(kFlagsKey))
    {
        const std::uint32_t flags = json_.uint32();
        if ((flags & kFlagsOfTheLibrary) != 0)
            json_.fail(L"the flags hold one that only the library sets");
        definition.setFlags(flags);
    }
    readTexts(definition);
    if (auto* const withUnit = dynamic_cast<UnitAttributeMetaDataDef*>(&definition);
        withUnit != nullptr && json_.tryMember(kUnitKey))
        withUnit->setUnitType(static_cast<kqx::UnitType>(json_.uint32()));
    readLimits<IntAttributeMetaDataDef>(definition);
    readLimits<FloatAttributeMetaDataDef>(definition);
    readLimits<DoubleAttributeMetaDataDef>(definition);
    if (typeId == AttributeType::kEnum)
        readChoices(definition);
    readDefault(definition, typeId);
    json_.endObject();
}

void MetaDataReader::readTexts(ElementMetaDataDef& definition)
{
    if (json_.tryMember(kDisplayNameKey))
    {
        json_.name(displayName_, L"a display name");
        definition.setDisplayName(displayName_.c_str());
    }
    if (json_.tryMember(kDocStringKey))
    {
        json_.name(docString_, L"a doc string");
        definition.setDocString(docString_.c_str());
    }
}

template <class Definition>
void MetaDataReader::readLimits(ElementMetaDataDef& definition)
{
    auto* const limits = dynamic_cast<Definition*>(&definition);
    if (limits == nullptr)
        return;
    decltype(limits->getMin()) limit{};
    if (json_.tryMember(kMinimumKey))
    {
        readValue(json_, limit);
        limits->setMin(limit);
    }
    if (json_.tryMember(kMaximumKey))
    {
        readValue(json_, limit);
        limits->setMax(limit);
    }
}

void MetaDataReader::readChoices(ElementMetaDataDef& definition)
{
    if (!json_.tryMember(kChoicesKey))
        return;
    kqx::StringArray choices;
    std::wstring choice;
    json_.beginArray();
    while (json_.tryItem())
    {
        json_.name(choice, L"a choice");
        choices.push_back(kqx::String(choice.data(), choice.size()));
    }
    if (!static_cast<EnumAttributeMetaDataDef&>(definition).setChoices(choices))
        throw std::bad_alloc();
}

void MetaDataReader::readDefault(ElementMetaDataDef& definition, AttributeTypeId typeId)
{
    visitValueType(typeId, [&]<class T>(T*) {
        if constexpr (!std::is_same_v<T, std::nullptr_t>)
        {
            if (!json_.tryMember(kDefaultKey))
                return;
            T value{};
            readValue(json_, value);
            setDefault(definition, value);
        }
    });
}

} // namespace db2::json
