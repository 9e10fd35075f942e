#include "Application.h"
#include "Command.h"
#include "ElementText.h"
#include "JsonOutput.h"
#include "StatusText.h"
#include "Text.h"
#include "TreeWalk.h"

#include <CLI/CLI.hpp>

#include <array>
#include <numeric>
#include <optional>

namespace kqdb {
namespace {

enum class Kind
{
    kReference, ///< one that cannot be made; no other command loads the document
    kLoss,      ///< something in the file that could not be loaded
    kUnknown,   ///< a node of a module that is not there
    kLegacy,    ///< data of an older version that no migrator dealt with
    kLimit      ///< a value beyond the limits of its attribute
};

constexpr std::array<const char*, 5> kKindNames = {"reference", "loss", "unknown", "legacy", "limit"};

struct Finding
{
    Kind kind;
    std::wstring path; ///< empty when it is about no node
    std::string text;
    std::string referencedPath = {}; ///< of a reference
};

/// Prints findings as they come, and counts them.
class Report
{
public:
    Report(Output& out, bool isJson) : out_(out)
    {
        if (!isJson)
            return;
        json_.emplace(out);
        json_->beginObject();
        json_->key("findings").beginArray();
    }

    void add(const Finding& finding)
    {
        ++counts_[static_cast<std::size_t>(finding.kind)];
        const char* const kind = kKindNames[static_cast<std::size_t>(finding.kind)];
        if (json_)
            return write(finding, kind);
        out_.styled(Style::kWarning, kind) << ": ";
        if (!finding.path.empty())
            out_ << std::wstring_view(finding.path) << ": ";
        out_ << std::string_view(finding.text) << '\n';
    }

    [[nodiscard]] std::uint64_t total() const
    {
        return std::accumulate(counts_.begin(), counts_.end(), std::uint64_t{0});
    }

    void end(const std::string& file)
    {
        if (json_)
        {
            json_->endArray();
            json_->key("count").number(total());
            json_->endObject();
            json_->end();
        }
        else if (total() == 0)
            out_ << std::string_view(file) << ": nothing to find fault with\n";
        else
            out_ << std::string_view(file) << ": " << std::string_view(counted(total(), "finding")) << '\n';
    }

private:
    void write(const Finding& finding, const char* kind)
    {
        json_->beginObject();
        json_->key("kind").string(kind);
        if (!finding.path.empty())
            json_->key("path").text(finding.path);
        if (finding.kind == Kind::kReference)
            json_->key("reference").string(finding.referencedPath);
        json_->key("text").string(finding.text);
        json_->endObject();
    }

    Output& out_;
    std::optional<JsonOutput> json_;
    std::array<std::uint64_t, kKindNames.size()> counts_{};
};

class CheckCommand : public Command
{
public:
    void declare(CLI::App& app) override
    {
        declareFile(app, file_);
        declareJson(app, json_);
        declareHelp(app,
                    "Loads the document and reports what is unknown to this program, what older data no migrator dealt "
                    "with, what could not be loaded, and values beyond the limits of their attributes. Exit code 1 "
                    "when there are findings; 2 when the document cannot be loaded, for which one reference that leads "
                    "nowhere is enough: all of these are listed.",
                    {"kqdb check scene.json"});
    }

    Exit run(Output& out) override
    {
        Application application;
        std::vector<Finding> lost;
        Document document(application, file_, [&lost](const auto& holder, const wchar_t* path, db2::Status reason) {
            lost.push_back(lostReference(holder, path, reason));
        });
        Report report(out, json_);
        for (const Finding& finding : lost)
            report.add(finding);
        for (const std::string& loss : document.losses())
            report.add({Kind::kLoss, {}, loss});
        for (TreeWalk walk(document.root()); walk.next();)
            checkNode(walk, report);
        report.end(file_);
        out.flush();
        if (!lost.empty())
            document.fail("cannot be loaded because of " + counted(lost.size(), "reference"));
        return report.total() == 0 ? Exit::kDone : Exit::kNo;
    }

private:
    static Finding lostReference(const db2::Attribute& holder, const wchar_t* path, db2::Status reason)
    {
        return {Kind::kReference, pathOf(holder),
                "references '" + visible(path) + "': " + std::string(statusText(reason)), toUtf8(path)};
    }

    static void checkNode(const TreeWalk& walk, Report& report)
    {
        const db2::Node& node = walk.node();
        const std::string type = visible(node.getTypeName());
        if (node.isLegacy())
            report.add({Kind::kLegacy, walk.path(), "no migrator dealt with this node of the former type " + type});
        else if (node.isUnknown())
            report.add({Kind::kUnknown, walk.path(),
                        "of the type " + type + " of the unknown module " + visible(node.getModule()->getId())});
        for (unsigned int i = 0; const db2::Element* const element = node.getLegacyElement(i); ++i)
            if (!node.isLegacy())
                report.add({Kind::kLegacy, elementPath(walk, *element),
                            "no migrator dealt with this former attribute of type " + typeText(*element)});
        forEachAttribute(node, [&](const db2::Attribute& attribute) {
            if (attribute.isUnknown() || attribute.isLegacy() || attribute.getReference() != nullptr)
                return; // whose limits nobody knows, or that shows another's value
            const std::string fault = limitFault(*attribute.getMetaData(), attribute.getValue());
            if (!fault.empty())
                report.add({Kind::kLimit, elementPath(walk, attribute), fault});
        });
    }

    static std::wstring elementPath(const TreeWalk& walk, const db2::Element& element)
    {
        std::wstring path = walk.path();
        appendElement(path, element);
        return path;
    }

    std::string file_;
    bool json_ = false;
};

} // namespace

extern const CommandEntry kCheckCommand = {"check", "Look for unknown and older data, and values beyond their limits",
                                           makeCommand<CheckCommand>};

} // namespace kqdb
