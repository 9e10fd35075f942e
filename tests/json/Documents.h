#pragma once

#include "support/Scene.h"

#include <db2/db2.h>
#include <db2json/JsonLoader.h>
#include <db2json/JsonSaver.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>

/// Documents as text: saved from a scene, written in a test, loaded into a scene.
namespace db2test {

inline MemoryBlock blockOf(std::string_view text)
{
    return MemoryBlock(text.data(), static_cast<unsigned int>(text.size()));
}

inline std::string textOf(const MemoryBlock& block)
{
    return {block.getData(), block.getUsedSize()};
}

/// Saves what is below the root. @param expected  what save() must answer.
inline std::string saveScene(Scene& scene, unsigned int options = 0, Status expected = Status::kSuccess)
{
    MemoryBlock block;
    MemoryOutputStream stream(block, OutputStreamEncoding::kUtf8);
    JsonSaver saver(stream, L"scene", options);
    EXPECT_EQ(saver.addChildNodes(scene.root()), Status::kSuccess);
    EXPECT_EQ(saver.save(), expected);
    return textOf(block);
}

/// Loads under the root, or under @p parent, straight into the core.
inline Status loadText(Scene& scene, std::string_view text, Node* parent = nullptr, unsigned int options = 0)
{
    const MemoryBlock block = blockOf(text);
    MemoryInputStream stream(block);
    JsonLoader loader(stream, scene.core(), scene.core(), options);
    return loader.load(parent != nullptr ? *parent : *scene.root(), nullptr);
}

/// A document with these nodes, each the text of its object, one a line. The first node is in line 7, column 1.
inline std::string documentOf(std::initializer_list<std::string_view> nodes)
{
    std::string text = "{\"identifier\": \"KQDatabase2\",\n"
                       "\"loaderVersion\": 1,\n"
                       "\"applicationString\": \"test\",\n"
                       "\"typeString\": \"scene\",\n"
                       "\"modules\": [[\"Test\", 1, []]],\n"
                       "\"nodes\": [\n";
    for (const std::string_view node : nodes)
        (text += text.back() == '\n' ? "" : ",\n") += node;
    return text + "\n]}\n";
}

/// The text of a node of the type "All" with these members behind its depth, such as `"attributes": [...]`.
inline std::string nodeText(std::string_view members, std::string_view name = "node", unsigned int depth = 0)
{
    return "{\"name\": \"" + std::string(name) +
           "\", \"type\": \"All\", \"module\": \"Test\", \"depth\": " + std::to_string(depth) +
           (members.empty() ? "" : ",\n") + std::string(members) + "}";
}

/// A document with one node of the type "All" that has these attributes, each the text of its array, one a line: the
/// first one in line 9.
inline std::string documentWith(std::initializer_list<std::string_view> attributes)
{
    std::string members = "\"attributes\": [\n";
    bool isFirst = true;
    for (const std::string_view attribute : attributes)
    {
        members += (isFirst ? "" : ",\n") + std::string(attribute);
        isFirst = false;
    }
    return documentOf({nodeText(members + "]")});
}

/// The attribute of the first node below the root.
inline Attribute* loadedAttribute(Scene& scene, const wchar_t* name)
{
    Node* const node = scene.root()->getFirstChild();
    return node != nullptr ? node->findAttributeByName(name) : nullptr;
}

} // namespace db2test
