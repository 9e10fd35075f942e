#pragma once

#include <db2host/Scene.h>
#include <db2host/Session.h>
#include <db2import/ModelImport.h>

#include "support/TemporaryFolder.h"
#include "support/TreeDump.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace db2test {

/// An empty document behind a session's whole chain, and files to import.
class ImportTest : public ::testing::Test
{
protected:
    db2import::ImportReport import(const std::filesystem::path& file)
    {
        return db2import::importModel(file, session.data(), session.core(), session.root(), options, progress);
    }

    /// Imports a file of this content and commits.
    db2import::ImportReport importText(const std::string& name, const std::string& content)
    {
        folder.write(name, content);
        db2import::ImportReport report = import(folder.file(name));
        EXPECT_EQ(report.error, L"");
        EXPECT_EQ(session.data().db_commit(L"Import", nullptr, 0), Status::kSuccess);
        return report;
    }

    static db2host::Session::Setup setup()
    {
        db2host::Session::Setup setup;
        setup.rootTypeId = db2host::scene::kScene;
        return setup;
    }

    /// The node of a path below the model, such as "|Meshes|box".
    Node* at(const db2import::ImportReport& report, const std::wstring& path) const
    {
        Node* node = nullptr;
        if (dbu_pathToNode(report.model, path.c_str(), &node) != Status::kSuccess)
            throw std::runtime_error("the test expects a node that is not there");
        return node;
    }

    [[nodiscard]] std::wstring dump() const { return dumpTree(session.core()); }

    db2host::scene::SceneModule module;
    db2host::Library library{nullptr, L"Import test", {&module}};
    db2host::Session session{library, setup()};
    TemporaryFolder folder;
    db2import::ImportOptions options;
    db2import::ImportProgress progress;
};

[[nodiscard]] inline ConstValueHandle valueOf(const Node* node, unsigned int element)
{
    return static_cast<const Attribute*>(node->getElement(element))->getValue();
}

[[nodiscard]] inline ConstValueHandle valueOf(const Node* node, const wchar_t* name)
{
    const Attribute* const attribute = node->findAttributeByName(name);
    return attribute != nullptr ? attribute->getValue() : ConstValueHandle();
}

/// The node that an element references; null when it references none.
[[nodiscard]] inline Node* targetOf(const Node* node, unsigned int element)
{
    const Attribute* const target = static_cast<const Attribute*>(node->getElement(element))->getReference();
    return target != nullptr ? target->getNode() : nullptr;
}

[[nodiscard]] inline std::wstring choiceOf(const Node* node, unsigned int element)
{
    const auto* const metaData = dynamic_cast<const EnumAttributeMetaData*>(node->getElement(element)->getMetaData());
    return metaData->getChoice(static_cast<unsigned int>(valueOf(node, element).getInt()));
}

/// The data of a stream of a Mesh or MorphTarget; empty when it has none of that name.
[[nodiscard]] inline kqx::FloatArray streamOf(const Node* node, unsigned int element, const std::wstring& name)
{
    const kqx::VertexBuffer& buffer = valueOf(node, element).getVertexBuffer();
    for (unsigned int i = 0; i < buffer.getStreamCount(); ++i)
        if (buffer.getStreamName(i) == name)
            return buffer.getStream(i);
    return {};
}

/// Whether there is a remark of the kind whose place is this and whose text has these words.
[[nodiscard]] inline bool hasRemark(const db2import::ImportReport& report, db2import::ImportRemark::Kind kind,
                                    const std::wstring& place, const std::wstring& words)
{
    return std::any_of(report.remarks.begin(), report.remarks.end(), [&](const db2import::ImportRemark& remark) {
        return remark.kind == kind && remark.place == place && remark.text.find(words) != std::wstring::npos;
    });
}

} // namespace db2test
