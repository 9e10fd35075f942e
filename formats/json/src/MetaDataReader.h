#pragma once

#include <db2/AttributeTypeId.h>

#include <string>

namespace db2 {
class ElementMetaDataDef;
}

namespace db2::json {

class JsonReader;

/// Reads what MetaDataWriter.h writes into the definition that a dynamic element is then made from.
class MetaDataReader
{
public:
    explicit MetaDataReader(JsonReader& json) : json_(json) {}

    /// @param definition  of the type, cleared. Its texts are this object's: valid until the next call.
    void read(ElementMetaDataDef& definition, AttributeTypeId typeId);

private:
    void readTexts(ElementMetaDataDef& definition);
    template <class Definition>
    void readLimits(ElementMetaDataDef& definition);
    void readChoices(ElementMetaDataDef& definition);
    void readDefault(ElementMetaDataDef& definition, AttributeTypeId typeId);

    JsonReader& json_;
    std::wstring displayName_;
    std::wstring docString_;
};

} // namespace db2::json
