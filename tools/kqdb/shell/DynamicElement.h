#pragma once

#include <db2/ElementMetaDataDef.h>

#include <memory>
#include <string>

namespace kqdb {

class Arguments;

/// The definition of a dynamic element as the shell's command "add" describes it.
class DynamicElement
{
public:
    /// Throws Failure for what is wrong, such as limits of a type that has none.
    explicit DynamicElement(const Arguments& arguments);

    [[nodiscard]] const db2::ElementMetaDataDef& get() const { return *definition_; }

private:
    void setLimits(const Arguments& arguments);
    void setUnit(const std::string& unit);
    void setChoices(const Arguments& arguments);

    std::wstring displayName_; // the definition does not copy its texts
    std::wstring docString_;
    std::unique_ptr<db2::ElementMetaDataDef> definition_;
};

/// The type of a name such as "Float"; throws Failure for what is none.
[[nodiscard]] db2::AttributeTypeId valueType(const std::string& name);

} // namespace kqdb
