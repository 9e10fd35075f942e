#include "RandomEdits.h"

#include <gtest/gtest.h>

#include <string>

// The edits of RandomEdits that make, move and destroy nodes.

namespace db2test {

// --- Nodes ---

void RandomEdits::createNode()
{
    constexpr unsigned int kTypes[] = {kBare, kThree, kMixed, kMixed, kMixed, kMixed, kThree, kMixed};
    const std::size_t roll = random_.below(40);
    const unsigned int typeId = roll == 0 ? kNobody : roll == 1 ? kEvery : random_.pick(kTypes);
    const NameArgument name = draw_->nodeName();
    ModelNode* const parent = draw_->parent();
    ModelNode* const next = draw_->nextChild(parent);
    announce("createNode(" + std::to_string(typeId) + ", " + name.describe() + ", " + describe(parent) + ", before " +
             describe(next) + ")");
    const bool wantsNode = random_.chance(7, 8);
    Node* const untouched = model_->root().actual;
    Node* made = untouched;

    const Outcome expected = model_->canCreateNode(typeId, parent, next);
    const auto check = [&] { return core_->canCreateNode(typeId, actualOf(parent), actualOf(next)); };
    const auto edit = [&] {
        return core_->db_createNode(typeId, name.get(), actualOf(parent), actualOf(next), wantsNode ? &made : nullptr);
    };
    if (perform(expected, check, expected, edit))
    {
        ModelNode& node = model_->createNode(typeId, name.get(), parent, next);
        node.api = typeId == kMixed ? nodeFactory_->last() : nullptr;
        if (!wantsNode)
            made = next != nullptr ? next->actual->getPreviousSibling() : node.parent->actual->getLastChild();
        bindNode(node, made);
        touch(&node);
        touch(node.parent);
        for (const auto& element : node.elements)
            touch(element.get());
    }
    else
        EXPECT_EQ(made, untouched) << trace_.back();
    touch(parent);
}

void RandomEdits::createUnknownNode()
{
    const std::wstring typeName = random_.chance(1, 2) ? L"Gone" : L"Gone12";
    const NameArgument name = draw_->nodeName();
    ModelNode* const parent = draw_->parent();
    ModelNode* const next = draw_->nextChild(parent);
    const bool legacy = random_.chance(1, 2);
    RecordingUnknownNodeFactory& factory = legacy ? *legacyFactory_ : *unknownFactory_;
    const unsigned int typeId = factory.nextTypeId();
    announce(std::string("createUnknownNode(") + (legacy ? "legacy, " : "") + name.describe() + ", " +
             describe(parent) + ", before " + describe(next) + ")");
    Node* const untouched = model_->root().actual;
    Node* made = untouched;

    const Outcome expected = model_->canCreateUnknownNode(parent, next);
    const auto check = [&] { return core_->canCreateUnknownNode(actualOf(parent), actualOf(next)); };
    const auto edit = [&] {
        return core_->db_createUnknownNode(typeName.c_str(), scene_.module(), name.get(), actualOf(parent),
                                           actualOf(next), legacy, &made);
    };
    if (perform(expected, check, expected, edit))
    {
        ModelNode& node = model_->createUnknownNode(typeName, typeId, name.get(), parent, next, legacy);
        node.api = factory.last();
        bindNode(node, made);
        EXPECT_EQ(made->getModule(), &scene_.module());
        touch(&node);
        touch(node.parent);
    }
    else
        EXPECT_EQ(made, untouched) << trace_.back();
    touch(parent);
}

void RandomEdits::destroyLeafNode()
{
    destroyLeafNode(draw_->leaf());
}

void RandomEdits::destroyLeafNode(ModelNode* node)
{
    if (node != nullptr && !node->destroyed && isNeededByUndo(*node))
        return archiveNode(*node);
    announce("destroyLeafNode(" + describe(node) + ")");
    const Outcome expected = model_->canDestroyLeafNode(node);
    const auto check = [&] { return core_->canDestroyLeafNode(actualOf(node)); };
    const auto edit = [&] { return core_->db_destroyLeafNode(actualOf(node)); };
    if (perform(expected, check, expected, edit))
        model_->destroyLeafNode(*node);
    touch(node);
    if (node != nullptr)
        touch(node->parent);
}

/// Takes a node down from its leaves, with the references and dynamic elements that are in the way.
void RandomEdits::destroySubtree()
{
    ModelNode* const top = draw_->smallSubtree();
    if (top == nullptr || !model_->locked().empty())
        return;
    while (!top->destroyed && !::testing::Test::HasFailure())
    {
        ModelNode* node = top;
        while (!node->children.empty())
            node = random_.pick(node->children);
        for (const auto& element : node->elements)
            freeFromReferences(*element);
        while (!::testing::Test::HasFailure() && node->elements.size() > node->templateElementCount())
            destroyDynamicElement(node->elements.back().get());
        destroyLeafNode(node);
        compareTouched();
    }
}

void RandomEdits::freeFromReferences(ModelElement& element)
{
    while (!element.referencers.empty() && !::testing::Test::HasFailure())
        destroyReference(random_.pick(element.referencers));
    if (element.referenced != nullptr)
        destroyReference(&element);
    for (const auto& item : element.items)
        freeFromReferences(*item);
}

void RandomEdits::renameNode()
{
    ModelNode* const node = draw_->node();
    NameArgument name = draw_->nodeName();
    if (node != nullptr && random_.chance(1, 8))
        name = {false, node->name};
    announce("renameNode(" + describe(node) + ", " + name.describe() + ")");
    const Outcome expected = model_->canRenameNode(node, name.get());
    const auto check = [&] { return core_->canRenameNode(actualOf(node), name.get()); };
    const auto edit = [&] { return core_->db_renameNode(actualOf(node), name.get()); };
    if (perform(expected, check, expected, edit))
        model_->renameNode(*node, name.get());
    touch(node);
    if (node != nullptr)
        touch(node->parent);
}

void RandomEdits::reparentNode()
{
    ModelNode* node = draw_->node();
    ModelNode* newParent = draw_->parent();
    if (node != nullptr && random_.chance(1, 10))
        newParent = random_.chance(1, 2) ? node : node->parent;
    else if (random_.chance(1, 10))
    {
        newParent = draw_->destroyedNode(); // it keeps its parent, which is above it still
        if (newParent != nullptr && random_.chance(1, 2))
            node = newParent->parent;
    }
    ModelNode* const next = draw_->nextChild(newParent);
    const NameArgument name = random_.chance(1, 2) ? NameArgument{true, L""} : draw_->nodeName();
    announce("reparentNode(" + describe(node) + ", " + describe(newParent) + ", before " + describe(next) + ", " +
             name.describe() + ")");
    const ModelNode* const oldParent = node != nullptr ? node->parent : nullptr;
    const Outcome expected = model_->canReparentNode(node, newParent, next);
    const auto check = [&] { return core_->canReparentNode(actualOf(node), actualOf(newParent), actualOf(next)); };
    const auto edit = [&] {
        return core_->db_reparentNode(actualOf(node), actualOf(newParent), actualOf(next), name.get());
    };
    if (perform(expected, check, expected, edit))
        model_->reparentNode(*node, *newParent, next, name.get());
    touch(node);
    touch(oldParent);
    touch(newParent);
}

void RandomEdits::reorderNode()
{
    ModelNode* const node = draw_->node();
    ModelNode* next = draw_->nextChild(node != nullptr ? node->parent : nullptr);
    if (random_.chance(1, 16))
        next = node;
    announce("reorderNode(" + describe(node) + ", before " + describe(next) + ")");
    const Outcome expected = model_->canReorderNode(node, next);
    const auto check = [&] { return core_->canReorderNode(actualOf(node), actualOf(next)); };
    const auto edit = [&] { return core_->db_reorderNode(actualOf(node), actualOf(next)); };
    if (perform(expected, check, expected, edit))
        model_->reorderNode(*node, next);
    touch(node);
    if (node != nullptr)
        touch(node->parent);
    touch(next);
}

} // namespace db2test
