#pragma once

#include <db2/Export.h>
#include <db2/Status.h>
#include <db2/UIntHashMap.h>

#include <kqtl/pod_vector.h>

namespace db2 {

class NodeTemplate;

/// The node templates that a host makes available to a CoreManager, by type id and by type name. Owns every registered
/// template: unregistering one destroys it, and so does destroying the registry.
/// A copy shares the templates of its source, so only one of the copies may be destroyed while it holds any; the other
/// must be left alive or its templates unregistered through it first.
/// Cost: constant time a look-up; names are compared by their hashes only.
class DB2_API NodeRegistry
{
public:
    NodeRegistry();
    NodeRegistry(const NodeRegistry& other) = default;
    /// Forgets the templates held until now without destroying them, and shares the other's.
    NodeRegistry& operator=(const NodeRegistry& other) = default;
    ~NodeRegistry();

    /// Takes over a template, made with `new`, and freezes it.
    /// @return kTemplateAlreadyRegistered, kDuplicateTypeId, kDuplicateTemplateName (by hash), tested in this order;
    ///         kFailure for null or when memory is out. A refused template stays the caller's, unchanged.
    Status registerNodeTemplate(NodeTemplate* nodeTemplate);

    /// Destroys the template. @return kTemplateNotRegistered; kTemplateInUse, logged, while nodes of the type exist;
    /// kTemplateNameNotRegistered, logged, when only the id was known: the id is gone then and the template is not
    /// destroyed.
    Status unregisterNodeTemplate(unsigned int typeId);

    /// Null when there is none, and for a null name.
    [[nodiscard]] const NodeTemplate* lookupNodeTemplate(unsigned int typeId) const;
    [[nodiscard]] const NodeTemplate* lookupNodeTemplate(const wchar_t* typeName) const;

    /// Appends every template, ascending by type id. Cost: n log n. Throws std::bad_alloc, having appended none.
    void getNodeTemplates(kqtl::pod_vector<const NodeTemplate*>& templates) const;

    /// Writes what records, values and nodes of each type need in memory to the standard wide output.
    void dumpMemoryRequirements() const;

private:
    friend class CoreManager;

    [[nodiscard]] NodeTemplate* findTemplate(unsigned int typeId) const;

    UIntHashMap templatesById_;
    UIntHashMap templatesByName_; ///< by the hash of the type name
};

} // namespace db2
