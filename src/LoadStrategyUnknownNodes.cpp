#include <db2/LoadStrategyUnknownNodes.h>

#include <db2/AttributeArray.h>
#include <db2/CoreManager.h>
#include <db2/DataInterface.h>
#include <db2/EnumAttributeMetaData.h>
#include <db2/EnumAttributeMetaDataDef.h>
#include <db2/InputStream.h>
#include <db2/Library.h>
#include <db2/Module.h>
#include <db2/NodeRegistry.h>
#include <db2/TreeUtilities.h>

#include "OutOfMemory.h"
#include "SameValue.h"
#include "TreeUtilities/ChainEnds.h"
#include "TreeUtilities/ElementCopies.h"

#include <algorithm>

namespace db2 {
namespace {

bool isNumber(AttributeTypeId typeId)
{
    switch (typeId)
    {
    case AttributeType::kInt:
    case AttributeType::kBool:
    case AttributeType::kFloat:
    case AttributeType::kDouble: return true;
    default: return false;
    }
}

/// Whether the value of one element has a meaning in the other: numbers convert, and a text that holds one does.
bool canTake(const Element& to, const Element& from)
{
    const bool reads = isNumber(from.getTypeId()) || from.getTypeId() == AttributeType::kString;
    const bool converts = to.getTypeId() == from.getTypeId() || (isNumber(to.getTypeId()) && reads);
    return converts && to.isAttributeArray() == from.isAttributeArray();
}

/// The conversion of one unknown node into a known one.
class Conversion
{
public:
    /// @param ends  of the chains in the tree; what has been converted stays readable until a commit.
    Conversion(Node& from, Node& to, DataInterface& data, CoreManager& core, ChainEnds& ends)
        : from_(from), to_(to), data_(data), core_(core), ends_(ends)
    {
    }

    void convertElements()
    {
        for (unsigned int i = 0; i < from_.getElementCount(); ++i)
        {
            Element& from = *from_.getElement(i);
            Element* const to =
                from.isDynamic() ? createElementLike(from, to_, data_, core_) : to_.findElementByName(from.getName());
            if (to == nullptr || !canTake(*to, from))
            {
                logWarning(L"Element '%s' of unknown node '%s' has no place in a node of type '%s' and is left out.",
                           from.getName(), from_.getName().c_str(), to_.getTypeName().c_str());
                ends_.clear(); // chains break where it was
                continue;
            }
            convertValue(*to, from);
            transferElementReferences(*to, from, data_);
        }
    }

private:
    void convertValue(Element& to, const Element& from)
    {
        if (!from.isAttributeArray())
            convertAttribute(static_cast<Attribute&>(to), static_cast<const Attribute&>(from));
        else
            convertItems(static_cast<AttributeArray&>(to), static_cast<const AttributeArray&>(from));
    }

    void convertItems(AttributeArray& to, const AttributeArray& from)
    {
        data_.db_resizeAttributeArray(&to, from.getSize());
        for (unsigned int i = 0; i < std::min(to.getSize(), from.getSize()); ++i)
            convertAttribute(*to.getAttribute(i), *from.getAttribute(i));
    }

    void convertAttribute(Attribute& to, const Attribute& from)
    {
        const Attribute& shown = ends_.of(from);
        if (from.isUnknown() && lacksValue(shown))
            return; // the type knows the default, as it would have when the file was loaded
        if (from.isUnknown() && from.getTypeId() == AttributeType::kEnum)
            copyFromUnknownEnum(to, shown);
        else
            dbu_copyAttribute(&to, &shown, &data_);
    }

    /// The two count their choices differently, so the value goes over as the choice's text; as the number that it is
    /// where it names no choice.
    void copyFromUnknownEnum(Attribute& to, const Attribute& shown)
    {
        if (shown.getTypeId() != AttributeType::kEnum)
            return; // a number of something else; the reference that shows it moves over
        const auto& learned = static_cast<const EnumAttributeMetaData&>(*shown.getMetaData());
        const bool hasValue = learned.getNumChoices() != 0 || shown.hasFlag(ElementFlag::kValueLoaded);
        if (!hasValue && !differsFromDefault(shown))
            return; // no value ever came
        const auto& known = static_cast<const EnumAttributeMetaData&>(*to.getMetaData());
        const int value = shown.getValue().asInt();
        const bool isChoice = value >= 0 && static_cast<unsigned int>(value) < learned.getNumChoices();
        const wchar_t* const choice = isChoice ? learned.getChoice(static_cast<unsigned int>(value)) : nullptr;
        const int index = isChoice ? known.getChoiceIndex(choice) : value;
        if (isChoice && index < 0)
        {
            logWarning(L"'%s' is no choice of '%s' in a node of type '%s', which keeps its default.", choice,
                       to.getName(), to_.getTypeName().c_str());
            return;
        }
        ValueHandle handle;
        if (data_.db_lockAttribute(&to, &handle) != Status::kSuccess)
            return;
        handle.getInt() = index;
        data_.db_unlockAttribute(&to);
    }

    Node& from_;
    Node& to_;
    DataInterface& data_;
    CoreManager& core_;
    ChainEnds& ends_;
};

/// @return the node that took the unknown one's place, or null when its type is not there or it cannot be made.
Node* replaceUnknownNode(Node& unknown, DataInterface& data, CoreManager& core, ChainEnds& ends)
{
    kqx::String name;
    const NodeTemplate* const nodeTemplate = core.getRegistry().lookupNodeTemplate(unknown.getTypeName().c_str());
    // The registry knows types by their names alone, and another module may have one of this name.
    const bool isThere = nodeTemplate != nullptr && nodeTemplate->getModule()->getId() == unknown.getModule()->getId();
    if (!isThere || !succeeds([&] { name = unknown.getName(); }))
        return nullptr;
    Node* known = nullptr;
    data.db_createNode(nodeTemplate->getTypeId(), name.c_str(), unknown.getParent(), unknown.getNextSibling(), &known);
    if (known == nullptr)
        return nullptr;
    Conversion(unknown, *known, data, core, ends).convertElements();
    if (!moveChildren(unknown, *known, data))
        return known;
    dbu_destroyLeafNode(&unknown, &data);
    data.db_renameNode(known, name.c_str());
    return known;
}

} // namespace

LoadStrategyUnknownNodes::LoadStrategyUnknownNodes(InputStream& stream, const Module& module, DataInterface& data,
                                                   CoreManager& core, unsigned int options,
                                                   kqtl::pod_vector<Migrator*>* migratorsRun)
    : LoadStrategy(stream, data, core, 0, options, migratorsRun), module_(module)
{
}

Status LoadStrategyUnknownNodes::doLoad()
{
    ChainEnds ends;
    NodeIterator nodes(getLoadParent());
    while (nodes.next())
    {
        Node& node = *nodes.node();
        if (!node.isUnknown() || node.isLegacy() || node.getModule()->getId() != module_.getId())
            continue;
        if (Node* const known = replaceUnknownNode(node, getDataInterface(), getCoreManager(), ends))
            nodes.setNode(known); // the walk goes on into the children, which moved there
    }
    return Status::kSuccess;
}

Status dbu_convertUnknownNodesInModuleToKnownNodes(const Module* module, Node* root, DataInterface* data,
                                                   CoreManager* core, unsigned int options)
{
    if (module == nullptr || root == nullptr || data == nullptr || core == nullptr)
        return Status::kFailure;
    NullInputStream nothing;
    return LoadStrategyUnknownNodes(nothing, *module, *data, *core, options, nullptr).load(*root, L"");
}

} // namespace db2
