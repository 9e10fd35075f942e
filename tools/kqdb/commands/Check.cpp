#include "Application.h"
#include "Command.h"
#include "ElementText.h"
#include "JsonOutput.h"
#include "Text.h"
#include "TreeWalk.h"

#include <CLI/CLI.hpp>

#include <array>
#include <optional>

namespace kqdb {
namespace {

enum class Kind
{
    kLoss,    ///< something in the file that could not be loaded
    kUnknown, ///< a node of a module that is not there
    kLegacy,  ///< data of an older version that no migrator dealt with
    kLimit    ///< a value beyond the limits of its attribute
};

constexpr std::array<const char*, 4> kKindNames = {"loss", "unknown", "legacy", "limit"};

struct Finding
{
    Kind kind;
    std::wstring path; ///< empty when it is about no node
    std::string text;
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

    [[nodiscard]] std::uint64_t total() const { return counts_[0] + counts_[1] + counts_[2] + counts_[3]; }

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
                    "with, what could not be loaded, and values beyond the limits of their attributes. A reference "
                    "that leads nowhere ends the load, with an error. Exit code 1 when there are findings, 2 when the "
                    "document cannot be loaded.",
                    {"kqdb check scene.json"});
    }

    Exit run(Output& out) override
    {
        Application application;
        Document document(application, file_);
        Report report(out, json_);
        for (const std::string& loss : document.losses())
            report.add({Kind::kLoss, {}, loss});
        for (TreeWalk walk(document.root()); walk.next();)
            checkNode(walk, report);
        report.end(file_);
        return report.total() == 0 ? Exit::kDone : Exit::kNo;
    }

private:
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
