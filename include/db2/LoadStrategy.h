#pragma once

#include <db2/AttributeTypeId.h>
#include <db2/Export.h>
#include <db2/HeaderData.h>
#include <db2/Node.h>
#include <db2/Status.h>

#include <kqtl/pod_vector.h>
#include <kqx/Anchor.h>
#include <kqx/String.h>

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace db2 {

class CoreManager;
class DataInterface;
class ElementMetaDataDef;
class InputStream;
class Migrator;
class UnknownEnumAttributeMetaDataDef;
class ValueHandle;

/// Loads what a saver wrote. A format derives a loader from it whose doLoad() parses the stream and builds the nodes by
/// the services of this class, so that every edit goes through the layers; this class validates the header, chooses and
/// calls the migrators, makes the references when all nodes are there, and disposes of what no migrator dealt with.
///
/// doLoad() fills the header, validates it, then for each node, parents first, calls makeNode(), for each element of it
/// getAttributeToPopulate() or getAttributeArrayToPopulate(), resizeAttributeArray(), for each value lockAttribute(),
/// writes, unlockAttribute() (or onNullAttributeLoaded()), for each reference addUnresolvedReference(), and onNodeLoaded().
///
/// Data of other versions: an unknown node or element belongs to a module that is not registered and is kept as it is. A
/// legacy node or element is one that a registered module no longer has; migrators read it, and at the end of the load it
/// goes, with a message when no migrator marked it as handled.
///
/// Used once. After a failure the nodes that were made stay: the host rolls back. Messages without another level are
/// errors. No migrator may commit while a load runs.
class DB2_API LoadStrategy
{
public:
    enum Option : unsigned int
    {
        kKeepUnhandledLegacyData = 1, ///< what no migrator handled stays in the tree
        kLogLoadTime = 2
    };

    /// @param stream, data, core  outlive the loader; the core is the innermost layer behind @p data.
    /// @param latestLoaderVersion  the newest version of the format that the loader reads.
    /// @param options        of Option.
    /// @param migratorsRun   receives the migrators that run, in order; may be null.
    LoadStrategy(InputStream& stream, DataInterface& data, CoreManager& core, unsigned int latestLoaderVersion,
                 unsigned int options, kqtl::pod_vector<Migrator*>* migratorsRun);
    LoadStrategy(const LoadStrategy&) = delete;
    LoadStrategy& operator=(const LoadStrategy&) = delete;

    // --- What a format defines, in slot order ---

    virtual ~LoadStrategy();

    /// Parses the stream and builds the nodes. @return what is not kSuccess ends the load.
    virtual Status doLoad() = 0;

    // --- Loading ---

    /// Told of a reference that cannot be made.
    /// @param holder  the attribute that holds it, which keeps its value.
    /// @param path    where it leads in the file.
    /// @param reason  what resolving the path or making the reference returned; not kFailure, which memory that is out
    ///                gives and which ends the load all the same.
    using LostReferenceHandler = std::function<void(const Attribute& holder, const wchar_t* path, Status reason)>;

    /// Makes the load go on behind references that cannot be made, where it otherwise fails at the first: @p handler is
    /// told of each, in the order of the file, and nothing is logged. It must not edit; what it throws passes through
    /// load(). Before load(). @param handler  empty ends it.
    void setLostReferenceHandler(LostReferenceHandler handler);

    /// @param loadParent  gets the file's nodes as children.
    /// @param fileName    for messages and migrators; null or empty for none.
    /// @return kLoadedWithUnhandledLegacyData, kLoadedWithMigration or kSuccess; else what failed, logged.
    Status load(Node& loadParent, const wchar_t* fileName);

    // --- Afterwards: what no migrator dealt with ---

    [[nodiscard]] unsigned int getNumUnhandledLegacyNodes() const { return unhandledNodes_; }
    [[nodiscard]] unsigned int getNumUnhandledLegacyElements() const { return unhandledElements_; }
    [[nodiscard]] unsigned int getNumUnhandledLegacyConnections() const { return unhandledConnections_; }

    // --- For formats: the header ---

    [[nodiscard]] HeaderData& getHeaderData() { return header_; }

    /// Validates the header, finds its modules (a module that is not registered gets a placeholder, which stays
    /// registered), chooses the migrators and tells them that a load begins. Once, before the first node.
    /// @return kFailure, logged unless a migrator refused.
    Status validateHeaderData();

    [[nodiscard]] unsigned int getLatestLoaderVersion() const { return latestLoaderVersion_; }

    // --- For formats: nodes and elements ---

    [[nodiscard]] InputStream& getStream() const { return stream_; }
    [[nodiscard]] DataInterface& getDataInterface() const { return data_; }
    [[nodiscard]] CoreManager& getCoreManager() const { return core_; }
    [[nodiscard]] Node* getLoadParent() const { return loadParent_; }
    [[nodiscard]] const kqx::String& getFileName() const { return fileName_; } ///< as given to load()
    /// True when any of the bits is set.
    [[nodiscard]] bool hasOption(unsigned int options) const { return (options_ & options) != 0; }

    /// Makes a node: of its type, migrated; an unknown one when its module is a placeholder; a legacy one when its
    /// module has no such type.
    /// @return kFailure, logged, when a migrator refuses; kFailure when the module is not registered; what the creation
    ///         returns, logged.
    Status makeNode(const wchar_t* typeName, const wchar_t* moduleId, const wchar_t* name, Node* parent, Node* next,
                    Node** outNode);

    /// Finds or makes the element that takes what was saved under @p name: a new one for a dynamic element and on
    /// unknown and legacy nodes, else the node's own, or a legacy one when the node has none of that name, type and kind.
    /// @return kFailure, logged, for a type that there is none of and when a migrator refuses; what the creation
    ///         returns, logged.
    Status getAttributeToPopulate(Node* node, const wchar_t* name, AttributeTypeId typeId, bool isDynamic,
                                  Attribute** outAttribute);
    Status getAttributeArrayToPopulate(Node* node, const wchar_t* name, AttributeTypeId typeId, bool isDynamic,
                                       AttributeArray** outArray);

    /// The definition that the next element of the type is made from: a format fills in the metadata of a dynamic
    /// element here before it asks for it. Cleared by that call. Null for a number that names no type.
    [[nodiscard]] ElementMetaDataDef* getMetaDataDef(AttributeTypeId typeId);

    /// Between the two the value is written. Through the layers, or for a legacy element through the core.
    Status lockAttribute(Attribute* attribute, ValueHandle* outValue);
    Status unlockAttribute(Attribute* attribute);
    /// Instead of them, for an attribute whose value is saved as none. @return kSuccess.
    Status onNullAttributeLoaded(Attribute* attribute);

    Status resizeAttributeArray(AttributeArray* array, unsigned int size);

    /// Notes that @p attribute references what @p path, relative to the load parent, leads to; made when all nodes are
    /// there. @return kFailure when memory is out.
    Status addUnresolvedReference(Attribute* attribute, const wchar_t* path, bool singleOutput);

    /// Tells the migrators that a node is complete. @return kFailure when one refuses.
    Status onNodeLoaded(Node& node);

    // --- For formats: names of older versions, passed through every migrator that runs; null when one refuses ---

    /// While the header says that the file is of the previous generation, no migrator is asked: the name gets
    /// "_KQDatabase1" appended, in a buffer that the next call overwrites.
    [[nodiscard]] const wchar_t* migrateNodeTypeName(const wchar_t* typeName);
    [[nodiscard]] const wchar_t* migrateNodeModuleId(const wchar_t* moduleId, const wchar_t* typeName);
    [[nodiscard]] const wchar_t* migrateEnumChoice(const wchar_t* choice, const wchar_t* attributeName, Node* node);
    [[nodiscard]] static const wchar_t* migrateAttributeName(const wchar_t* name, Node* node,
                                                             const kqtl::pod_vector<Migrator*>& migrators);

private:
    // Nodes and elements that the load keeps track of, with a handle that tells when a migrator destroyed the node.
    struct LegacyElement
    {
        kqx::AnchorHandle<Node> node;
        Element* element;
    };
    struct DeferredReference
    {
        kqx::AnchorHandle<Node> node;
        Attribute* holder;
        kqx::String path;
        bool singleOutput;
    };

    /// What makeNode() found for the names that it was given last.
    struct FoundType
    {
        std::wstring typeName;
        std::wstring moduleId;
        Module* module = nullptr;
        const NodeTemplate* nodeTemplate = nullptr; ///< null when the module has no such type
    };
    /// Where the last path led up to its element.
    struct FoundNode
    {
        kqx::String path;
        kqx::AnchorHandle<Node> node;
    };

    // Header
    Status findModules();
    Status chooseMigrators();
    void chooseMigratorsOf(const HeaderData::ModuleEntry& entry);

    // Nodes and elements
    [[nodiscard]] bool findType(const wchar_t* typeName, const wchar_t* moduleId);
    [[nodiscard]] ElementMetaDataDef* getOrMakeDefinition(AttributeTypeId typeId);
    void noteTopNode(const wchar_t* name, Node& node);
    [[nodiscard]] bool isTopNodeOfFile(const Node* node);
    [[nodiscard]] Element* findElement(const Node& node, const wchar_t* name);
    Status getElementToPopulate(Node* node, const wchar_t* name, AttributeTypeId typeId, bool isArray, bool isDynamic,
                                Element** outElement);
    Status makeElementToPopulate(ElementMetaDataDef& definition, Node& node, const wchar_t* name,
                                 AttributeTypeId typeId, bool isDynamic, Element** outElement);
    Status findElementToPopulate(const ElementMetaDataDef& definition, Node& node, const wchar_t* name,
                                 AttributeTypeId typeId, Element** outElement);
    Status makeLegacyElement(const ElementMetaDataDef& definition, Node& node, const wchar_t* name,
                             AttributeTypeId typeId, Element** outElement);
    const ElementMetaDataDef& definitionWithChoices(const ElementMetaDataDef& definition, AttributeTypeId typeId);

    // The end of a load
    Status finish();
    Status makeReferences();
    Status makeReference(const DeferredReference& reference);
    Status loseReference(const DeferredReference& reference, Status reason, const wchar_t* message) const;
    Status resolve(const kqx::String& path, Attribute** outAttribute);
    Status resolveAnew(const kqx::String& path, Attribute** outAttribute);
    void offerLegacyConnection(Attribute& found, Attribute& holder);
    void disposeOfLegacyElements();
    [[nodiscard]] bool countAndChoose(const LegacyElement& legacy);
    void disposeOfLegacyNodes();
    void logUnhandled() const;

    InputStream& stream_;
    DataInterface& data_;
    CoreManager& core_;
    HeaderData header_;
    unsigned int latestLoaderVersion_;
    unsigned int options_;
    Node* loadParent_ = nullptr;
    std::vector<DeferredReference> references_;
    LostReferenceHandler onLostReference_;  ///< empty: the first lost reference ends the load
    kqtl::pod_vector<Migrator*> migrators_; ///< that run, in order
    kqtl::pod_vector<Migrator*>* migratorsRun_;
    std::vector<kqx::AnchorHandle<Node>> legacyNodes_;
    std::vector<LegacyElement> legacyElements_;
    kqx::AnchorHandle<kqx::Anchor> uncommitted_; ///< becomes null at the first commit since the load began
    Attribute* lockedAttribute_ = nullptr;
    kqx::String fileName_;
    unsigned int unhandledNodes_ = 0;
    unsigned int unhandledElements_ = 0;
    unsigned int unhandledConnections_ = 0;
    /// The nodes under the load parent that did not get the names that the file gives them, by these.
    std::unordered_map<std::wstring, kqx::AnchorHandle<Node>> renamedTopNodes_;
    kqtl::pod_vector<const Node*> topNodes_;     ///< those that did
    std::unordered_set<const Node*> topNodeSet_; ///< the first of these; asked, never walked
    std::size_t topNodesInSet_ = 0;

    // Neighbours in a file are mostly alike, so what was found for the last one is tried first
    FoundType lastType_;
    const Node* lastNode_ = nullptr; ///< whose element was asked for last; compared only
    unsigned int nextElement_ = 0;   ///< behind that one
    FoundNode lastReferenced_;
    std::array<std::unique_ptr<ElementMetaDataDef>, kAttributeTypeCount> definitions_; ///< made when first asked for
    std::array<bool, kAttributeTypeCount> definitionsGivenOut_{}; ///< which a format may have filled in
    std::unique_ptr<UnknownEnumAttributeMetaDataDef> unknownEnumDefinition_;
};

} // namespace db2
