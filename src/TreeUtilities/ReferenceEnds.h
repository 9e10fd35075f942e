#pragma once

#include <db2/Attribute.h>

#include <kqtl/pod_vector.h>

namespace db2 {

class DataInterface;

/// Breaking references attribute by attribute, for the tree utilities.

/// Destroys the reference that an attribute holds, then those that others hold to it, newest first, as far as the
/// layers let it.
void destroyReferencesOf(Attribute& attribute, DataInterface& data);

/// Those that reference @p attribute now, newest first. Throws std::bad_alloc.
[[nodiscard]] kqtl::pod_vector<Attribute*> listReferencers(const Attribute& attribute);

} // namespace db2
