#pragma once

#include <db2/Migrator.h>

#include <kqtl/pod_vector.h>

namespace db2 {

/// Passes a text through every migrator in run order, each getting what the one before returned.
/// @param migrate  called with a migrator and the text.
/// @return null as soon as a migrator refuses; the text itself for an empty list or none.
template <class Migrate>
const wchar_t* migrateThrough(const kqtl::pod_vector<Migrator*>* migrators, const wchar_t* text, Migrate migrate)
{
    if (migrators == nullptr)
        return text;
    for (Migrator* const migrator : *migrators)
    {
        if (text == nullptr)
            return nullptr;
        text = migrate(*migrator, text);
    }
    return text;
}

} // namespace db2
