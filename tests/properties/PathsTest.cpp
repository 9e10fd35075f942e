// Random trees with names made of what paths are made of: every object has a path of its own, which leads to it.

#include "support/Random.h"
#include "support/Scene.h"

#include <db2/Paths.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace db2test {
namespace {

/// The names behind each other, naively: every character that is not plain has a backslash before it.
std::wstring escaped(const wchar_t* name)
{
    std::wstring text;
    for (; *name != L'\0'; ++name)
    {
        if (std::wstring_view(L"\t\n .:[\\]|").find(*name) != std::wstring_view::npos)
            text += L'\\';
        text += *name;
    }
    return text;
}

/// From the root, which is not written, or from the topmost node for null.
std::wstring naivePath(const Node* root, const Node* node)
{
    std::wstring path;
    for (; node != root && node->getParent() != nullptr; node = node->getParent())
        path = L"|" + escaped(node->getName().c_str()) + path;
    return path;
}

class PathsTest : public ::testing::TestWithParam<unsigned int>
{
protected:
    PathsTest()
    {
        nodes.push_back(scene.root());
        for (int i = 0; i < 150; ++i)
            nodes.push_back(scene.nodeOf(Scene::kPlain, randomName(12).c_str(), random.pick(nodes)));
        for (std::size_t i = 1; i < nodes.size(); ++i)
            for (std::size_t count = random.below(4); count > 0; --count)
                addElement(nodes[i]);
    }

    std::wstring randomName(std::size_t longest)
    {
        constexpr wchar_t kLetters[] = L"aab.:[]\\| \t\n\r0%\u00E4\u20AC"; // few, so that names resemble each other
        std::wstring name;
        for (std::size_t length = 1 + random.below(longest); length > 0; --length)
            name += kLetters[random.below(std::size(kLetters) - 1)];
        return name;
    }

    void addElement(Node* node)
    {
        IntAttributeMetaDataDef definition;
        const bool isArray = random.chance(1, 2);
        definition.setArray(isArray);
        Element* made = nullptr; // stays null when the name is taken
        scene.core().db_createDynamicElement(definition, randomName(6).c_str(), node, nullptr, &made);
        if (made == nullptr || !isArray)
            return;
        const auto size = static_cast<unsigned int>(random.below(14));
        ASSERT_EQ(scene.core().db_resizeAttributeArray(static_cast<AttributeArray*>(made), size), Status::kSuccess);
    }

    /// Builds the path of an object from the root, from null and from an ancestor of its node, compares it with the naive
    /// one and follows it.
    /// @param suffix  the naive path behind the node's.
    void expectRoundTrip(const Node* node, const std::wstring& suffix,
                         const std::function<Status(const Node* root, kqx::String* path)>& build, Node* reachedNode,
                         AttributeArray* reachedArray, Attribute* reachedAttribute)
    {
        const Node* ancestor = node;
        for (std::size_t up = random.below(4); up > 0 && ancestor->getParent() != nullptr; --up)
            ancestor = ancestor->getParent();
        for (const Node* const root :
             {static_cast<const Node*>(scene.root()), static_cast<const Node*>(nullptr), ancestor})
        {
            kqx::String path;
            ASSERT_EQ(build(root, &path), Status::kSuccess);
            ASSERT_EQ(std::wstring(path.c_str()), naivePath(root, node) + suffix);
            if (path.empty())
                continue;
            ASSERT_EQ(dbu_validatePath(path.c_str()), Status::kSuccess);
            Node* toNode = nullptr;
            AttributeArray* toArray = nullptr;
            Attribute* toAttribute = nullptr;
            const Node* const from = root != nullptr ? root : scene.root();
            ASSERT_EQ(dbu_resolvePath(from, path.c_str(), &toNode, &toArray, &toAttribute), Status::kSuccess);
            EXPECT_EQ(toNode, node != from ? reachedNode : nullptr);
            EXPECT_EQ(toArray, reachedArray);
            EXPECT_EQ(toAttribute, reachedAttribute);
        }
    }

    Random random{GetParam()};
    Scene scene;
    std::vector<Node*> nodes;
};

TEST_P(PathsTest, EveryObjectsPathLeadsToIt)
{
    SCOPED_TRACE(random.description());
    for (Node* const node : nodes)
    {
        expectRoundTrip(
            node, L"", [&](const Node* root, kqx::String* path) { return dbu_nodeToPath(root, node, path); }, node,
            nullptr, nullptr);
        for (unsigned int i = 0; i < node->getElementCount(); ++i)
        {
            if (!node->getElement(i)->isAttributeArray())
            {
                auto* const attribute = static_cast<Attribute*>(node->getElement(i));
                expectRoundTrip(
                    node, L"." + escaped(attribute->getName()),
                    [&](const Node* root, kqx::String* path) { return dbu_attributeToPath(root, attribute, path); },
                    node, nullptr, attribute);
                continue;
            }
            auto* const array = static_cast<AttributeArray*>(node->getElement(i));
            const std::wstring name = L":" + escaped(array->getName());
            expectRoundTrip(
                node, name,
                [&](const Node* root, kqx::String* path) { return dbu_attributeArrayToPath(root, array, path); }, node,
                array, nullptr);
            for (unsigned int index = 0; index < array->getSize(); ++index)
            {
                Attribute* const item = array->getAttribute(index);
                expectRoundTrip(
                    node, name + L"[" + std::to_wstring(index) + L"]",
                    [&](const Node* root, kqx::String* path) { return dbu_attributeToPath(root, item, path); }, node,
                    array, item);
            }
        }
        if (HasFatalFailure())
            return;
    }
}

TEST_P(PathsTest, ANodeHasAPathFromItsAncestorsOnly)
{
    SCOPED_TRACE(random.description());
    for (int i = 0; i < 2000; ++i)
    {
        Node* const root = random.pick(nodes);
        Node* const node = random.pick(nodes);
        kqx::String path;
        const bool isBelow = node == root || node->isDescendantOf(root);
        ASSERT_EQ(dbu_nodeToPath(root, node, &path), isBelow ? Status::kSuccess : Status::kNotAncestor);
        ASSERT_EQ(std::wstring(path.c_str()), isBelow ? naivePath(root, node) : L"");
    }
}

INSTANTIATE_TEST_SUITE_P(OfFixedSeeds, PathsTest, ::testing::Range(1u, 11u));

} // namespace
} // namespace db2test
