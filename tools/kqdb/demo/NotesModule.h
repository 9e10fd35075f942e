#pragma once

#include <db2host/Session.h>

namespace kqdb {

/// A module that comes late: nodes of it stand in a document as unknown ones, until it is registered.
class NotesModule : public db2host::ModuleDefinition
{
public:
    static constexpr wchar_t kId[] = L"Notes";

    /// A document of a program that had the module.
    static const char* const kDocument;

    [[nodiscard]] const wchar_t* id() const override { return kId; }
    bool registerIn(db2::NodeRegistry& registry) override;
};

} // namespace kqdb
