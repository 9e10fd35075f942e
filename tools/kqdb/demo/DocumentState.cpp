#include "DocumentState.h"

#include "ElementText.h"
#include "Failure.h"
#include "StatusText.h"
#include "Text.h"
#include "TreeWalk.h"

#include <db2json/JsonSaver.h>

#include <cstdint>

namespace kqdb {
namespace {

void dumpAttribute(const db2::Attribute& attribute, std::string& dump)
{
    dump += ' ' + valueText(attribute);
    if (const db2::Attribute* const referenced = attribute.getReference())
        dump += (attribute.referenceIsSingle() ? " => " : " -> ") + toUtf8(pathOf(*referenced));
    dump += '\n';
}

void dumpElement(const db2::Element& element, std::string& dump)
{
    dump += "  " + toUtf8(element.getName()) + ' ' + typeText(element);
    dump += element.isDynamic() ? " dynamic" : element.isLegacy() ? " legacy" : "";
    if (!element.isAttributeArray())
        return dumpAttribute(static_cast<const db2::Attribute&>(element), dump);
    dump += '\n';
    const auto& array = static_cast<const db2::AttributeArray&>(element);
    for (unsigned int i = 0; i < array.getSize(); ++i)
        dumpAttribute(*array.getAttribute(i), dump);
}

std::string dumpOf(const db2host::Session& session)
{
    std::string dump;
    const db2::CoreManager::Statistics& counts = session.core().getStatistics();
    for (const std::uint32_t count : {counts.nodes, counts.unknownNodes, counts.legacyNodes, counts.elements,
                                      counts.dynamicElements, counts.legacyElements, counts.references})
        dump += std::to_string(count) + ' ';
    dump += '\n';
    for (TreeWalk walk(session.root()); walk.next();)
    {
        const db2::Node& node = walk.node();
        dump += std::to_string(walk.depth()) + ' ' + toUtf8(node.getName()) + ' ' + toUtf8(node.getTypeName()) + ' ' +
                toUtf8(node.getModule()->getId()) + ' ' + std::to_string(node.getEdgeCount()) + '\n';
        forEachElement(node, [&dump](const db2::Element& element) { dumpElement(element, dump); });
    }
    return dump;
}

} // namespace

DocumentState::DocumentState(db2host::Session& session) : dump_(dumpOf(session))
{
    db2::MemoryOutputStream stream(bytes_, db2::OutputStreamEncoding::kUtf8);
    db2::JsonSaver saver(stream, L"state", db2::JsonSaver::kSaveEverything);
    db2::Status status = saver.addChildNodes(session.root());
    if (status == db2::Status::kSuccess)
        status = saver.save();
    if (status != db2::Status::kSuccess)
        throw Failure("the document cannot be saved: " + describe(status));
    bytes_.minimiseAllocatedSpace();
}

std::string DocumentState::fingerprint() const
{
    constexpr std::uint64_t kBasis = 14695981039346656037u; // FNV-1a
    constexpr std::uint64_t kPrime = 1099511628211u;
    std::uint64_t hash = kBasis;
    for (std::uint32_t i = 0; i < bytes_.getUsedSize(); ++i)
        hash = (hash ^ static_cast<unsigned char>(bytes_.getData()[i])) * kPrime;
    std::string text;
    for (int shift = 60; shift >= 0; shift -= 4)
        text += "0123456789abcdef"[(hash >> shift) & 0xF];
    return text;
}

} // namespace kqdb
