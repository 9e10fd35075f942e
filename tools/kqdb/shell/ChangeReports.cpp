#include "ChangeReports.h"

#include "ShortValue.h"

#include "ElementText.h"
#include "Output.h"
#include "Text.h"
#include "TreeWalk.h"

#include <db2/ChangeSet.h>

#include <new>
#include <unordered_set>
#include <utility>

namespace kqdb {
namespace {

constexpr unsigned int kMostEntries = 200; // of each kind
constexpr std::size_t kShownCharacters = 60;
constexpr unsigned int kWhatColumns = 14;

/// How an attribute came to be among those that were written.
const char* whatOf(const db2::Attribute& attribute)
{
    if (attribute.isComputed())
        return "computed";
    return attribute.getReference() != nullptr ? "follows" : "written";
}

/// Makes the entries of one report.
class ReportWriter
{
public:
    ReportWriter(const db2::ChangeSet& changes, ChangeReport& report) : changes_(changes), report_(report) {}

    void write()
    {
        writeNodes();
        writeElements();
        writeReferences();
        writeValues();
    }

private:
    using NodeAt = db2::Node* (db2::ChangeSet::*)(unsigned int) const;

    /// @param entryOf  makes the entry of an index.
    template <class EntryOf>
    void writeList(unsigned int count, EntryOf entryOf)
    {
        for (unsigned int i = 0; i < count && i < kMostEntries; ++i)
            report_.entries.push_back(entryOf(i));
        report_.omitted += count > kMostEntries ? count - kMostEntries : 0;
    }

    void writeNodes(const char* what, unsigned int count, NodeAt nodeAt)
    {
        writeList(count, [&](unsigned int i) {
            const db2::Node& node = *(changes_.*nodeAt)(i);
            return ChangeReport::Entry{what, visible(pathOf(node)), visible(node.getTypeName())};
        });
    }

    void writeNodes()
    {
        using Set = db2::ChangeSet;
        writeNodes("destroyed", changes_.DestroyedNodeCount(), &Set::DestroyedNode);
        writeNodes("created", changes_.CreatedNodeCount(), &Set::CreatedNode);
        writeNodes("moved", changes_.ReparentedNodeCount(), &Set::ReparentedNode);
        writeNodes("renamed", changes_.RenamedNodeCount(), &Set::RenamedNode);
        writeNodes("reordered", changes_.ReorderedNodeCount(), &Set::ReorderedNode);
    }

    template <class ElementType>
    void writeElements(const char* what, unsigned int count,
                       ElementType* (db2::ChangeSet::*elementAt)(unsigned int) const)
    {
        writeList(count, [&](unsigned int i) {
            const db2::Element& element = *(changes_.*elementAt)(i);
            return ChangeReport::Entry{what, visible(pathOf(element)), typeText(element)};
        });
    }

    void writeElements()
    {
        using Set = db2::ChangeSet;
        writeElements("removed", changes_.DestroyedDynamicAttributeCount(), &Set::DestroyedDynamicAttribute);
        writeElements("removed", changes_.DestroyedDynamicAttributeArrayCount(), &Set::DestroyedDynamicAttributeArray);
        writeElements("added", changes_.CreatedDynamicAttributeCount(), &Set::CreatedDynamicAttribute);
        writeElements("added", changes_.CreatedDynamicAttributeArrayCount(), &Set::CreatedDynamicAttributeArray);
        writeElements("renamed", changes_.RenamedDynamicAttributeCount(), &Set::RenamedDynamicAttribute);
        writeElements("renamed", changes_.RenamedDynamicAttributeArrayCount(), &Set::RenamedDynamicAttributeArray);
        writeElements("resized", changes_.ResizedAttributeArrayCount(), &Set::ResizedAttributeArray);
    }

    void writeReferences()
    {
        writeList(changes_.DestroyedReferenceCount(), [this](unsigned int i) {
            return ChangeReport::Entry{"disconnected", visible(pathOf(*changes_.DestroyedReference(i))), {}};
        });
        writeList(changes_.CreatedReferenceCount(), [this](unsigned int i) {
            const db2::Attribute& referencer = *changes_.CreatedReference(i);
            const db2::Attribute* const referenced = referencer.getReference();
            return ChangeReport::Entry{"connected", visible(pathOf(referencer)),
                                       referenced != nullptr ? "to " + visible(pathOf(*referenced)) : std::string()};
        });
    }

    void writeValues()
    {
        std::unordered_set<const db2::Node*> covered; // nodes with an attribute in the list
        for (unsigned int i = 0; i < changes_.ChangedAttributeCount(); ++i)
            covered.insert(changes_.ChangedAttribute(i)->getNode());
        writeList(changes_.ChangedAttributeCount(), [this](unsigned int i) {
            const db2::Attribute& attribute = *changes_.ChangedAttribute(i);
            return ChangeReport::Entry{whatOf(attribute), visible(pathOf(attribute)),
                                       attribute.isDestroyed() ? std::string()
                                                               : shortValueText(attribute, kShownCharacters)};
        });
        // Those whose arrays were written: items are not reported one by one.
        for (unsigned int i = 0; i < changes_.ChangedNodeCount(); ++i)
            if (const db2::Node& node = *changes_.ChangedNode(i); !covered.contains(&node))
                report_.entries.push_back({"changed", visible(pathOf(node)), {}});
    }

    const db2::ChangeSet& changes_;
    ChangeReport& report_;
};

} // namespace

std::vector<ChangeReport> ChangeReports::take()
{
    return std::exchange(reports_, {});
}

void ChangeReports::onReportChanges(db2::ChangeManager*, const db2::ChangeSet& changes, bool transient)
{
    ChangeReport report;
    report.isTransient = transient;
    ReportWriter(changes, report).write();
    if (!report.entries.empty() || transient)
        reports_.push_back(std::move(report));
}

void ChangeReports::onClear(db2::ChangeManager*)
try
{
    reports_.push_back({false, {{"cleared", "|", {}}}, 0});
}
catch (const std::bad_alloc&) // an observer of this must not throw
{
}

void print(const ChangeReport& report, Output& out)
{
    out << (report.isTransient ? std::string_view("transient change report:") : std::string_view("change report:"));
    if (report.entries.empty())
        out << " nothing";
    out << '\n';
    for (const ChangeReport::Entry& entry : report.entries)
    {
        const std::string_view what = entry.what;
        out << "  ";
        out.styled(Style::kFaint, what).indent(kWhatColumns - static_cast<unsigned int>(what.size()));
        out.styled(Style::kName, entry.path);
        if (!entry.detail.empty())
            (out << "  ").styled(Style::kValue, entry.detail);
        out << '\n';
    }
    if (report.omitted > 0)
        out << "  and " << std::string_view(counted(report.omitted, "more change")) << '\n';
}

} // namespace kqdb
