#pragma once

#include <db2/ElementMetaData.h>
#include <db2/ElementMetaDataDef.h>

namespace db2 {

/// Metadata in a heap block of its own: what a template has for each element and a dynamic or legacy element for itself.
class OwnedMetaData
{
public:
    OwnedMetaData() = delete;

    /// Builds the metadata that a definition describes, under the given name.
    /// @return null when memory is out or the definition is beyond what a block can hold.
    [[nodiscard]] static ElementMetaData* make(const ElementMetaDataDef& definition, const wchar_t* name);

    /// Destroys metadata made by make() and frees its block; null is ignored.
    static void free(const ElementMetaData* metaData);

    /// Writes a name that was checked over the old one.
    static void rename(const ElementMetaData* metaData, const wchar_t* name);
};

/// True when the name is longer than the 40 UTF-16 units that an element's name may have. @param name  not null.
[[nodiscard]] bool isElementNameTooLong(const wchar_t* name);

} // namespace db2
