#include "MetaDataWriter.h"

#include "JsonWriter.h"
#include "MetaDataKeys.h"
#include "ValueTypes.h"
#include "ValueWriter.h"

#include <db2/AttributeMetaData.h>

#include <cstring>

namespace db2::json {
namespace {

/// Writes the entries of one object, which begins with the first of them.
class MetaDataObject
{
public:
    explicit MetaDataObject(JsonWriter& json) : json_(json) {}

    JsonWriter& entry(std::string_view key)
    {
        if (!isBegun_)
            json_.beginObject();
        isBegun_ = true;
        json_.key(key);
        return json_;
    }

    void end()
    {
        if (isBegun_)
            json_.endObject();
    }

private:
    JsonWriter& json_;
    bool isBegun_ = false;
};

void writeText(MetaDataObject& object, std::string_view key, const wchar_t* text)
{
    if (text != nullptr)
        object.entry(key).text(text);
}

template <class MetaData>
void writeLimits(MetaDataObject& object, const ElementMetaData& metaData)
{
    const auto* const limits = dynamic_cast<const MetaData*>(&metaData);
    if (limits == nullptr)
        return;
    const auto minimum = limits->getMin();
    const auto maximum = limits->getMax();
    if ((limits->getOptions() & NumberOption::kHasMinimum) != 0)
        object.entry(kMinimumKey).number(minimum);
    if ((limits->getOptions() & NumberOption::kHasMaximum) != 0)
        object.entry(kMaximumKey).number(maximum);
}

void writeChoices(MetaDataObject& object, const EnumAttributeMetaData& metaData)
{
    if (metaData.getNumChoices() == 0)
        return;
    JsonWriter& json = object.entry(kChoicesKey);
    json.beginArray();
    for (unsigned int i = 0; i < metaData.getNumChoices(); ++i)
        json.text(metaData.getChoice(i));
    json.endArray();
}

/// Whether a value is the one that the type has without a definition, to the bit.
bool isTypeDefault(const ConstValueHandle& value)
{
    return visitValueType(value.getTypeId(), [&]<class T>(T*) {
        if constexpr (std::is_same_v<T, std::nullptr_t>)
            return true;
        else
        {
            if (value.isNull())
                return true;
            const T& held = *static_cast<const T*>(value.getData());
            if constexpr (ArrayValue<T> || std::is_same_v<T, kqx::String>)
                return held.empty();
            else if constexpr (std::is_same_v<T, kqx::VertexBuffer>)
                return held.getStreamCount() == 0;
            else
            {
                const T typeDefault{};
                return std::memcmp(&held, &typeDefault, sizeof(T)) == 0;
            }
        }
    });
}

} // namespace

void writeMetaData(JsonWriter& json, const ElementMetaData& metaData)
{
    MetaDataObject object(json);
    if (const unsigned int flags = metaData.getFlags() & ~kFlagsOfTheLibrary; flags != 0)
        object.entry(kFlagsKey).number(std::uint32_t{flags});
    writeText(object, kDisplayNameKey, metaData.getDisplayName());
    writeText(object, kDocStringKey, metaData.getDocString());
    const auto* const withUnit = dynamic_cast<const UnitAttributeMetaData*>(&metaData);
    if (withUnit != nullptr && withUnit->getUnitType() != kqx::kUnitNone)
        object.entry(kUnitKey).number(std::uint32_t{withUnit->getUnitType()});
    writeLimits<IntAttributeMetaData>(object, metaData);
    writeLimits<FloatAttributeMetaData>(object, metaData);
    writeLimits<DoubleAttributeMetaData>(object, metaData);
    if (metaData.getTypeId() == AttributeType::kEnum)
        writeChoices(object, static_cast<const EnumAttributeMetaData&>(metaData));
    if (!isTypeDefault(metaData.getDefaultValue()))
        writeValue(object.entry(kDefaultKey), metaData.getDefaultValue());
    object.end();
}

} // namespace db2::json
