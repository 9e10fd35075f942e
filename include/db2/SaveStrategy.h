#pragma once

#include <db2/Export.h>
#include <db2/Status.h>

#include <kqtl/pod_vector.h>
#include <kqx/String.h>

#include <unordered_set>

namespace db2 {

class Attribute;
class AttributeArray;
class Module;
class Node;
class OutputStream;

/// Saves subtrees. A format derives a saver from it that writes the header and a subtree; this class chooses what is
/// written: the modules of the nodes, the attributes and values that need it, the paths of references.
/// Used once: construct, add the roots of the subtrees, save(). The tree is not edited in between.
/// A root carries NodeFlag::kAddedForSave from addNode() to the end of save(). Every message is an error.
class DB2_API SaveStrategy
{
public:
    enum Option : unsigned int
    {
        kSaveEverything = 1,           ///< every attribute, array and value is to be saved
        kTolerateOutsideReferences = 2 ///< a reference that leads out of the saved subtrees is no error
    };

    /// @param stream         outlives the saver.
    /// @param typeString     what kind of content this is, for the host and its migrators; null or empty is logged.
    /// @param loaderVersion  the version of the format, for the header.
    /// @param options        of Option.
    SaveStrategy(OutputStream& stream, const wchar_t* typeString, unsigned int loaderVersion, unsigned int options);
    SaveStrategy(const SaveStrategy&) = delete;
    SaveStrategy& operator=(const SaveStrategy&) = delete;

    // --- What a format defines, in slot order ---

    virtual ~SaveStrategy();

    /// Writes the header. @param modules  of all nodes that will be saved, in the order of their registration.
    virtual Status saveHeader(const kqtl::pod_vector<Module*>& modules) = 0;

    /// Writes a node that was added and everything below it.
    virtual Status saveSubtree(Node& root) = 0;

    /// After the last subtree. @return kSuccess, in the base.
    virtual Status onPostSave();

    // --- Choosing what to save ---

    /// Adds a subtree. Cost: one step a level.
    /// @return kFailure, logged, for null, the root of the tree, and a node that is, is below or is above one that was
    ///         added; also when memory is out.
    Status addNode(Node* node);
    Status addNode(Node& node) { return addNode(&node); }

    /// Adds each child. @return kFailure for null, logged; else kSuccess, whichever of them were refused.
    Status addChildNodes(Node* node);
    Status addChildNodes(Node& node) { return addChildNodes(&node); }

    [[nodiscard]] unsigned int getNumNodesToSave() const { return static_cast<unsigned int>(roots_.size()); }

    // --- Saving ---

    /// Saves what was added. The roots stay added, without their flag.
    /// @return kFailure, logged, when the stream is not OK; the first result of the format that is not kSuccess.
    Status save();

    [[nodiscard]] const kqx::String& getTypeString() const { return typeString_; }
    [[nodiscard]] unsigned int getLoaderVersion() const { return loaderVersion_; }
    /// True when any of the bits is set.
    [[nodiscard]] bool hasOption(unsigned int options) const { return (options_ & options) != 0; }

    // --- For formats: what needs to be written ---

    [[nodiscard]] OutputStream& getStream() const { return stream_; }
    [[nodiscard]] bool shouldSaveAttribute(const Attribute& attribute) const;
    [[nodiscard]] bool shouldSaveAttributeArray(const AttributeArray& array) const;

    /// Whether the value is to be written. Values that differ only in bits, -0 from 0 for one, differ.
    [[nodiscard]] bool shouldSaveValue(const Attribute& attribute) const;

    /// Whether each item of an array is to be written, and not only some.
    [[nodiscard]] bool shouldSaveAllAttributeArrayElements(const AttributeArray& array) const;

    /// The path of a referenced attribute, relative to the parent of its saved subtree, so that the subtree can be loaded
    /// anywhere.
    /// @return for an attribute outside of all, kReferenceNotSaved with that option, else kFailure, logged; the status
    ///         of a path that cannot be built.
    Status convertReferenceToPath(const Attribute& target, kqx::String& path) const;

private:
    [[nodiscard]] Status refuse(const wchar_t* message, const Node* node = nullptr) const;
    [[nodiscard]] bool enter(const Node& root);
    [[nodiscard]] bool isRoot(const Node& node) const;
    Status saveAll();

    OutputStream& stream_;
    kqx::String typeString_;
    unsigned int loaderVersion_;
    unsigned int options_;
    kqtl::pod_vector<Node*> roots_;
    std::unordered_set<const Node*> rootSet_;      ///< asked, never walked: its order is that of addresses
    std::unordered_set<const Node*> aboveAnyRoot_; ///< the ancestors of the roots; likewise
};

} // namespace db2
