#include "RandomEdits.h"

#include "UndoAccess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

// The edits of RandomEdits that end a unit of work, and those that hold objects beyond it as the layers around a core do.

namespace db2test {

// --- Units of work ---

void RandomEdits::commit()
{
    announce("commit()");
    const Outcome expected = model_->canCommit();
    const auto check = [&] { return core_->canCommit(); };
    if (perform(expected, check, expected, [&] { return core_->db_commit(L"random", L"RandomEdits.cpp", 1); }))
    {
        model_->commit();
        EXPECT_EQ(elementHandle_.get(), nullptr) << "a commit clears the element anchor's handles";
        elementHandle_ = kqx::AnchorHandle<kqx::Anchor>(&core_->getElementAnchor());
    }
}

void RandomEdits::commitTransient()
{
    announce("commitTransient()");
    const Outcome expected = model_->canCommit();
    const auto check = [&] { return core_->canCommit(); };
    if (perform(expected, check, expected, [&] { return core_->db_commitTransient(); }))
    {
        EXPECT_NE(elementHandle_.get(), nullptr) << "a transient commit frees nothing";
    }
    if (const auto& destroyed = model_->destroyedElements(); !destroyed.empty())
        touch(destroyed.front().get());
}

/// An undo layer drops what it holds before.
void RandomEdits::clear()
{
    while (ModelElement* const element = heldElement())
        dropElement(*element);
    while (ModelNode* const node = heldNode())
        dropNode(*node);
    announce("clear()");
    const Outcome expected = model_->canCommit();
    const auto check = [&] { return core_->canCommit(); };
    if (perform(expected, check, expected, [&] { return core_->db_clear(); }))
    {
        model_->clear();
        touchedNodes_.clear(); // what was dropped is gone
        touchedElements_.clear();
        elementHandle_ = kqx::AnchorHandle<kqx::Anchor>(&core_->getElementAnchor());
        touch(&model_->root());
    }
}

// --- What undo holds ---

/// Undo holds something that leads to the node, which it then holds, too.
bool RandomEdits::isNeededByUndo(const ModelNode& node) const
{
    const auto& nodes = model_->nodes();
    const auto& elements = model_->destroyedElements();
    return std::ranges::any_of(nodes, [&](const auto& held) { return held->inUndo && held->parent == &node; }) ||
           std::ranges::any_of(elements, [&](const auto& held) { return held->inUndo && held->node == &node; });
}

/// A node that undo holds and that nothing else that it holds leads to.
ModelNode* RandomEdits::heldNode()
{
    std::vector<ModelNode*> held;
    for (const auto& node : model_->nodes())
    {
        if (node->inUndo && !isNeededByUndo(*node))
            held.push_back(node.get());
    }
    return held.empty() ? nullptr : random_.pick(held);
}

ModelElement* RandomEdits::heldElement()
{
    std::vector<ModelElement*> held;
    for (const auto& element : model_->destroyedElements())
    {
        if (element->inUndo)
            held.push_back(element.get());
    }
    return held.empty() ? nullptr : random_.pick(held);
}

void RandomEdits::archiveNode()
{
    if (ModelNode* const node = draw_->leaf(); node != nullptr && !node->destroyed && node != &model_->root())
        archiveNode(*node);
}

void RandomEdits::archiveNode(ModelNode& node)
{
    announce("archive and destroyLeafNode(" + describe(&node) + ")");
    const Outcome expected = model_->canDestroyLeafNode(&node);
    ASSERT_TRUE(UndoAccess::archiveNode(*core_, *node.actual));
    if (perform(expected, [&] { return core_->db_destroyLeafNode(node.actual); }))
        model_->archiveNode(node);
    else
        UndoAccess::cancelArchiveNode(*core_, *node.actual);
    touch(&node);
    touch(node.parent);
}

void RandomEdits::bringBackNode()
{
    ModelNode* const node = heldNode();
    if (node == nullptr)
        return;
    const NameArgument name = random_.chance(1, 2) ? NameArgument{false, node->name} : draw_->nodeName();
    ModelNode* const parent = random_.chance(1, 2) ? node->parent : draw_->parent();
    ModelNode* const next = draw_->nextChild(parent);
    announce("bring back " + describe(node) + " by createNode(" + name.describe() + ", " + describe(parent) +
             ", before " + describe(next) + ")");
    const Outcome expected =
        node->unknown ? model_->canCreateUnknownNode(parent, next) : model_->canCreateNode(node->typeId, parent, next);
    UndoAccess::resurrectNode(*core_, *node->actual);
    Node* const untouched = model_->root().actual;
    Node* made = untouched;
    const auto edit = [&] {
        if (!node->unknown)
        {
            return core_->db_createNode(node->typeId, name.get(), actualOf(parent), actualOf(next),
                                        random_.chance(1, 2) ? &made : nullptr);
        }
        return core_->db_createUnknownNode(node->typeName.c_str(), scene_.module(), name.get(), actualOf(parent),
                                           actualOf(next), node->legacy, &made);
    };
    const bool isBack = perform(expected, edit);
    EXPECT_EQ(UndoAccess::takeBackNode(*core_), isBack ? nullptr : node->actual) << trace_.back();
    EXPECT_TRUE(made == untouched || (isBack && made == node->actual)) << trace_.back();
    if (isBack)
    {
        model_->bringBackNode(*node, name.get(), parent, next);
        node->handle = kqx::AnchorHandle<Node>(node->actual);
        touch(node->parent);
        for (const auto& element : node->elements)
            touch(element.get());
    }
    touch(node);
    touch(parent);
}

void RandomEdits::dropNode()
{
    if (ModelNode* const node = heldNode())
        dropNode(*node);
}

void RandomEdits::dropNode(ModelNode& node)
{
    announce("drop " + describe(&node));
    UndoAccess::finalDestroyNode(*core_, *node.actual);
    model_->dropNode(node);
    ++successes_[static_cast<std::size_t>(kind_)];
    touch(&node);
    touch(node.parent);
}

void RandomEdits::archiveElement()
{
    ModelElement* const element = draw_->dynamicElement();
    if (element == nullptr || !element->dynamic || element->destroyed)
        return;
    announce("archive and destroyDynamicElement(" + describe(element) + ")");
    const Outcome expected = model_->canDestroyDynamicElement(element);
    ASSERT_TRUE(UndoAccess::archiveElement(*core_, *element->actual));
    if (perform(expected, [&] { return core_->db_destroyDynamicElement(element->actual); }))
        model_->archiveElement(*element);
    else
        UndoAccess::cancelArchiveElement(*core_, *element->actual);
    touch(element);
}

void RandomEdits::bringBackElement()
{
    ModelElement* const element = heldElement();
    if (element == nullptr)
        return;
    ModelElement* const next = draw_->nextElement(element->node);
    announce("bring back " + describe(element) + " before " + describe(next));
    const std::wstring name = element->spec.name;
    const std::unique_ptr<ElementMetaDataDef> definition = makeDefinition(element->spec);
    const Outcome expected = model_->canCreateDynamicElement(name.c_str(), element->node, next);
    UndoAccess::resurrectElement(*core_, *element->actual);
    Element* const untouched = model_->root().elements.front()->actual;
    Element* made = untouched;
    const bool isBack = perform(expected, [&] {
        return core_->db_createDynamicElement(*definition, name.c_str(), element->node->actual, actualOf(next), &made);
    });
    EXPECT_EQ(UndoAccess::takeBackElement(*core_), isBack ? nullptr : element->actual) << trace_.back();
    EXPECT_EQ(made, isBack ? element->actual : untouched) << trace_.back();
    if (isBack)
        model_->bringBackElement(*element, next);
    touch(element);
}

void RandomEdits::dropElement()
{
    if (ModelElement* const element = heldElement())
        dropElement(*element);
}

void RandomEdits::dropElement(ModelElement& element)
{
    announce("drop " + describe(&element));
    UndoAccess::finalDestroyElement(*core_, *element.actual);
    model_->dropElement(element);
    ++successes_[static_cast<std::size_t>(kind_)];
    touch(&element);
}

/// Sets or clears a bit of a layer's, as if the layer had put the object on its list.
void RandomEdits::list()
{
    constexpr std::uint32_t kNodeBits[] = {NodeFlag::kChanged, NodeFlag::kReparented, NodeFlag::kWatched};
    constexpr std::uint32_t kElementBits[] = {ElementFlag::kChanged, ElementFlag::kReferenceBroken,
                                              ElementFlag::kDirty};
    ModelNode* const node = draw_->node();
    ModelElement* const element = random_.chance(1, 2) ? draw_->anyElement() : draw_->attribute();
    if (node != nullptr && random_.chance(1, 2))
    {
        announce("list " + describe(node));
        if (node->listed)
            node->actual->clearFlag(NodeFlag::kListedByLayer);
        else
            node->actual->setFlag(random_.pick(kNodeBits));
        node->listed = !node->listed;
        touch(node);
    }
    else if (element != nullptr)
    {
        announce("list " + describe(element));
        if (element->listed)
            element->actual->clearFlag(ElementFlag::kListedByLayer);
        else
            element->actual->setFlag(random_.pick(kElementBits));
        element->listed = !element->listed;
        touch(element);
    }
    ++successes_[static_cast<std::size_t>(kind_)];
}

} // namespace db2test
