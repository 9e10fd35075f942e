#pragma once

#include "support/Scene.h"

#include <db2/Paths.h>

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace db2test {

/// What a path leads to.
struct Reached
{
    Status status = Status::kSuccess;
    const Node* node = nullptr;
    const AttributeArray* array = nullptr;
    const Attribute* attribute = nullptr;

    bool operator==(const Reached&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Reached& reached)
{
    return out << static_cast<unsigned int>(reached.status) << " node " << reached.node << " array " << reached.array
               << " attribute " << reached.attribute;
}

/// A node "a" with a child "b", each with an array of four items.
class PathResolutionTest : public ::testing::Test
{
protected:
    PathResolutionTest()
    {
        for (AttributeArray* const array : {pts, ptsOfB})
            EXPECT_EQ(scene.core().db_resizeAttributeArray(array, 4), Status::kSuccess);
    }

    /// Resolves with outputs that point somewhere else before.
    Reached resolve(const wchar_t* path, bool validate = true, kqtl::pod_vector<Migrator*>* migrators = nullptr)
    {
        return resolveFrom(scene.root(), path, validate, migrators);
    }

    Reached resolveFrom(const Node* root, const wchar_t* path, bool validate = true,
                        kqtl::pod_vector<Migrator*>* migrators = nullptr)
    {
        Node* node = elsewhere;
        AttributeArray* array = elsewhere->findAttributeArrayByName(L"IntItems");
        Attribute* attribute = elsewhere->findAttributeByName(L"Int");
        Reached reached;
        reached.status = dbu_resolvePath(root, path, &node, &array, &attribute, validate, migrators);
        reached.node = node;
        reached.array = array;
        reached.attribute = attribute;
        return reached;
    }

    /// With and without validation.
    void expectResolved(const wchar_t* path, const Reached& expected)
    {
        for (const bool validate : {true, false})
        {
            SCOPED_TRACE(validate ? "validated" : "not validated");
            EXPECT_EQ(resolve(path, validate), expected);
        }
        EXPECT_TRUE(scene.log().take().empty());
    }

    void expectUnresolved(const wchar_t* path)
    {
        SCOPED_TRACE(std::wstring(path).size());
        expectResolved(path, {Status::kPathNotResolved});
    }

    Attribute* attributeOf(Node* node, const wchar_t* name = L"Int") { return node->findAttributeByName(name); }

    Scene scene;
    Node* a = scene.node(L"a");
    Node* b = scene.node(L"b", a);
    Node* elsewhere = scene.node(L"elsewhere");
    AttributeArray* pts = a->findAttributeArrayByName(L"IntItems");
    AttributeArray* ptsOfB = b->findAttributeArrayByName(L"IntItems");
};

} // namespace db2test
