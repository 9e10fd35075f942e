#include "DemoEdits.h"

#include "Edits.h"
#include "Failure.h"
#include "StatusText.h"

#include <db2host/Scene.h>

#include <db2/AttributeMetaDataDef.h>
#include <db2/NodeIterators.h>
#include <db2/TreeUtilities.h>

namespace kqdb {
namespace {

using db2host::Session;
namespace scene = db2host::scene;

void check(db2::Status status)
{
    if (status != db2::Status::kSuccess)
        throw Failure(describe(status));
}

/// The nodes of a type, parents before children.
std::vector<db2::Node*> nodesOf(Session& session, unsigned int typeId)
{
    std::vector<db2::Node*> nodes;
    for (db2::NodeIterator walk(&session.root()); walk.next();)
        if (!walk.node()->isUnknown() && walk.node()->getTypeId() == typeId)
            nodes.push_back(walk.node());
    return nodes;
}

bool hasTransformBelow(const db2::Node& node)
{
    for (const db2::Node* child = node.getFirstChild(); child != nullptr; child = child->getNextSibling())
        if (!child->isUnknown() && child->getTypeId() == scene::kTransform)
            return true;
    return false;
}

/// The last Transform that has others below it, deep in the tree if the tree is; null when there is none.
db2::Node* innerTransform(Session& session)
{
    db2::Node* found = nullptr;
    for (db2::Node* const node : nodesOf(session, scene::kTransform))
        found = hasTransformBelow(*node) ? node : found;
    return found;
}

db2::Attribute& attributeOf(const db2::Node& node, unsigned int index)
{
    return *static_cast<db2::Attribute*>(node.getElement(index));
}

template <class Def>
db2::Element& addElement(Session& session, db2::Node& node, const wchar_t* name, Def& definition)
{
    db2::Element* element = nullptr;
    check(session.data().db_createDynamicElement(definition, name, &node, nullptr, &element));
    return *element;
}

/// Writes the value of an attribute that takes it from no other. @return false when it takes it from another.
bool writeOwn(Session& session, db2::Attribute& attribute, const char* text)
{
    if (attribute.getReference() != nullptr)
        return false;
    writeValue(session.data(), attribute, text);
    return true;
}

/// Connects two attributes where that is possible. @return whether it was.
bool connectOwn(Session& session, db2::Attribute& source, db2::Attribute& target)
{
    if (session.core().canCreateReference(&source, &target, false) != db2::Status::kSuccess)
        return false;
    check(session.data().db_createReference(&source, &target, false));
    return true;
}

bool hasElement(const db2::Node& node, const wchar_t* name)
{
    return node.findElementByName(name) != nullptr;
}

// --- The edits ---

bool bendArm(Session& session)
{
    const std::vector<db2::Node*> transforms = nodesOf(session, scene::kTransform);
    if (transforms.empty())
        return false;
    db2::Node* const inner = innerTransform(session);
    const db2::Node& node = inner != nullptr ? *inner : *transforms.front();
    const bool isBent =
        writeOwn(session, attributeOf(node, scene::transform::kRotation), "[0, 0, 0.382683432, 0.923879533]");
    return writeOwn(session, attributeOf(node, scene::transform::kTranslation), "[0.05, 0.25, 0.1]") || isBent;
}

bool renameNodes(Session& session)
{
    db2::Node* const first = session.root().getFirstChild();
    if (first == nullptr)
        return false;
    const std::wstring name = std::wstring(first->getName()) + L", edited";
    if (session.root().isChildNameValid(name.c_str(), first) != db2::Status::kSuccess)
        return false;
    check(session.data().db_renameNode(first, name.c_str()));
    return true;
}

/// Moves the last Transform without others below it under the first one; its world matrix follows another then.
bool reparentNode(Session& session)
{
    db2::Node* leaf = nullptr;
    const std::vector<db2::Node*> transforms = nodesOf(session, scene::kTransform);
    for (db2::Node* const node : transforms)
        leaf = hasTransformBelow(*node) ? leaf : node;
    if (leaf == nullptr)
        return false;
    for (db2::Node* const parent : transforms)
        if (parent != leaf && parent != leaf->getParent() && !parent->isDescendantOf(leaf))
        {
            check(scene::reparentTransform(session.data(), *leaf, parent, parent->getFirstChild()));
            return true;
        }
    return false;
}

bool addAttributes(Session& session)
{
    const std::vector<db2::Node*> transforms = nodesOf(session, scene::kTransform);
    if (transforms.empty())
        return false;
    db2::Node& node = *transforms.front();
    for (const wchar_t* const name : {L"demo wear", L"demo state", L"demo note", L"demo points"})
        if (hasElement(node, name))
            return false;
    db2::FloatAttributeMetaDataDef wear;
    wear.setMin(0);
    wear.setMax(1);
    wear.setUnitType(kqx::kUnitScalar);
    wear.setDocString(L"0 is new, 1 is worn out.");
    writeValue(session.data(), static_cast<db2::Attribute&>(addElement(session, node, L"demo wear", wear)), "0.125");
    db2::EnumAttributeMetaDataDef state;
    state.addChoice(L"draft");
    state.addChoice(L"approved");
    writeValue(session.data(), static_cast<db2::Attribute&>(addElement(session, node, L"demo state", state)),
               "approved");
    db2::StringAttributeMetaDataDef note;
    writeValue(session.data(), static_cast<db2::Attribute&>(addElement(session, node, L"demo note", note)),
               "\"for review: <b>\\\"ärm\\\"</b> & \\u0001\"");
    db2::Vector3AttributeMetaDataDef points;
    points.setArray(true);
    writeArray(session.data(), static_cast<db2::AttributeArray&>(addElement(session, node, L"demo points", points)),
               "[[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]]");
    return true;
}

/// Other nodes take the value from the first one's attribute, an item of its array, too.
bool connectAttributes(Session& session)
{
    const std::vector<db2::Node*> transforms = nodesOf(session, scene::kTransform);
    if (transforms.size() < 2)
        return false;
    db2::Node& source = *transforms.front();
    db2::Attribute* const wear = source.findAttributeByName(L"demo wear");
    db2::AttributeArray* const points = source.findAttributeArrayByName(L"demo points");
    if (wear == nullptr || points == nullptr)
        return false;
    db2::FloatAttributeMetaDataDef definition;
    bool isConnected = false;
    for (std::size_t i = 1; i < transforms.size() && i <= 3; ++i)
        if (!hasElement(*transforms[i], L"demo wear"))
            isConnected = connectOwn(session, *wear,
                                     static_cast<db2::Attribute&>(
                                         addElement(session, *transforms[i], L"demo wear", definition))) ||
                          isConnected;
    if (points->getSize() > 1)
        isConnected = connectOwn(session, attributeOf(*transforms[1], scene::transform::kTranslation),
                                 *points->getAttribute(1)) ||
                      isConnected;
    return connectOwn(session, attributeOf(source, scene::transform::kVisibility),
                      attributeOf(*transforms.back(), scene::transform::kVisibility)) ||
           isConnected;
}

bool resizeArray(Session& session)
{
    for (db2::Node* const node : nodesOf(session, scene::kTransform))
        if (db2::AttributeArray* const points = node->findAttributeArrayByName(L"demo points"))
        {
            if (points->getSize() != 4) // another demonstration's
                return false;
            check(session.data().db_resizeAttributeArray(points, 6));
            writeValue(session.data(), *points->getAttribute(5), "[0.5, 2, -0.25]");
            return true;
        }
    return false;
}

bool reorderAndCreate(Session& session)
{
    db2::Node* const stand = scene::createTransform(session.data(), L"demo stand", nullptr);
    if (stand == nullptr)
        throw Failure("a Transform cannot be made");
    writeValue(session.data(), attributeOf(*stand, scene::transform::kTranslation), "[0.4, 0, -0.4]");
    db2::Node* camera = nullptr;
    check(session.data().db_createNode(scene::kCamera, L"demo camera", stand, nullptr, &camera));
    writeValue(session.data(), attributeOf(*camera, scene::camera::kFieldOfView), "1.25");
    if (stand != session.root().getFirstChild())
        check(session.data().db_reorderNode(stand, session.root().getFirstChild()));
    return true;
}

/// Destroys the last branch that is not the only one of its parent, with all that references it.
bool destroyBranch(Session& session)
{
    db2::Node* branch = nullptr;
    for (db2::Node* const node : nodesOf(session, scene::kTransform))
        if (node->getParent()->getFirstChild() != node->getParent()->getLastChild() &&
            node->getFirstChild() != nullptr && node->getParent() != &session.root())
            branch = node;
    if (branch == nullptr)
        return false;
    db2::dbu_destroyNodeRecursively(branch, &session.data());
    if (!branch->isDestroyed())
        throw Failure("a branch cannot be destroyed");
    return true;
}

} // namespace

const std::vector<DemoEdit>& demoEdits()
{
    static const std::vector<DemoEdit> kEdits = {
        {"Bend and move a Transform", bendArm},
        {"Rename a node", renameNodes},
        {"Move a branch under another parent", reparentNode},
        {"Add dynamic attributes", addAttributes},
        {"Connect attributes", connectAttributes},
        {"Resize an array", resizeArray},
        {"Create nodes and reorder", reorderAndCreate},
        {"Destroy a branch", destroyBranch},
    };
    return kEdits;
}

} // namespace kqdb
