#include "SubtreeCopy.h"

#include "Application.h"
#include "ElementText.h"
#include "StatusText.h"
#include "TreeWalk.h"

#include <db2/NodeIterators.h>
#include <db2json/JsonLoader.h>
#include <db2json/JsonSaver.h>

#include <algorithm>
#include <unordered_set>

namespace kqdb {

std::vector<std::wstring> outsideReferences(const std::vector<db2::Node*>& roots)
{
    std::unordered_set<const db2::Node*> inside; // asked, never walked: its order is that of addresses
    for (const db2::Node* const root : roots)
        for (TreeWalk walk(*root); walk.next();)
            inside.insert(&walk.node());
    std::vector<std::wstring> paths;
    for (const db2::Node* const root : roots)
        for (TreeWalk walk(*root); walk.next();)
            forEachAttribute(walk.node(), [&](const db2::Attribute& attribute) {
                const db2::Attribute* const referenced = attribute.getReference();
                if (referenced == nullptr || inside.contains(referenced->getNode()))
                    return;
                paths.push_back(walk.path());
                appendElement(paths.back(), attribute);
            });
    return paths;
}

void packSubtrees(Document& source, const std::vector<db2::Node*>& roots, db2::MemoryBlock& bytes)
{
    db2::MemoryOutputStream stream(bytes, db2::OutputStreamEncoding::kUtf8);
    db2::JsonSaver saver(stream, L"document", db2::JsonSaver::kTolerateOutsideReferences);
    for (db2::Node* const root : roots)
        if (saver.addNode(root) != db2::Status::kSuccess)
            source.fail("a node cannot be copied twice");
    const db2::Status status = saver.save();
    if (status != db2::Status::kSuccess && status != db2::Status::kReferenceNotSaved)
        source.fail(describe(status));
}

std::vector<db2::Node*> unpackSubtrees(const db2::MemoryBlock& bytes, Document& target, db2::Node& parent)
{
    db2::Node* const lastBefore = parent.getLastChild();
    db2host::Session& session = target.session();
    target.prepareLoad();
    db2::MemoryInputStream stream(bytes);
    db2::JsonLoader loader(stream, session.data(), session.core(), db2::JsonLoader::kKeepUnhandledLegacyData);
    const db2::Status status = loader.load(parent, nullptr);
    const bool isLoaded = status == db2::Status::kSuccess || status == db2::Status::kLoadedWithMigration ||
                          status == db2::Status::kLoadedWithUnhandledLegacyData;
    if (!isLoaded)
        target.fail(describe(status));
    std::vector<db2::Node*> nodes;
    for (db2::Node* node = lastBefore != nullptr ? lastBefore->getNextSibling() : parent.getFirstChild();
         node != nullptr; node = node->getNextSibling())
    {
        nodes.push_back(node);
        db2host::scene::connectTransforms(session.data(), *node);
    }
    return nodes;
}

std::vector<db2::Node*> resolveSubtrees(Document& document, const std::vector<std::string>& paths)
{
    std::vector<db2::Node*> nodes;
    for (const std::string& path : paths)
    {
        nodes.push_back(&resolveNode(document, path));
        if (nodes.back()->getParent() == nullptr)
            document.fail("the root cannot be copied, only what is below it");
    }
    const std::unordered_set<const db2::Node*> chosen(nodes.begin(), nodes.end());
    std::unordered_set<const db2::Node*> taken;
    std::erase_if(nodes, [&](const db2::Node* node) {
        for (const db2::Node* at = node->getParent(); at != nullptr; at = at->getParent())
            if (chosen.contains(at))
                return true;
        return !taken.insert(node).second; // named twice
    });
    return nodes;
}

} // namespace kqdb
