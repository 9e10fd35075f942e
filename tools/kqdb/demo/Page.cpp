#include "Page.h"

#include "Demo.h"
#include "Html.h"

#include "Text.h"

#include <algorithm>

namespace kqdb {
namespace {

constexpr std::size_t kMostEntries = 60; // of a change report

constexpr char kStyle[] = R"(
:root { color-scheme: light dark; --page: #f6f7f9; --card: #fff; --text: #1d2430; --faint: #667085; --line: #d9dee7;
  --accent: #2f6fdd; --soft: #e8effc; --good: #157f4a; --bad: #c0322b; --warm: #9a5b00; --warmSoft: #fdf1dc; }
@media (prefers-color-scheme: dark) {
  :root { --page: #12161d; --card: #1a202a; --text: #e3e8f0; --faint: #94a1b5; --line: #303947; --accent: #7fb0ff;
    --soft: #22304a; --good: #59c88d; --bad: #ff8a80; --warm: #f2bd6b; --warmSoft: #3a2d17; } }
* { box-sizing: border-box; }
body { margin: 0; background: var(--page); color: var(--text); font: 15px/1.5 system-ui, "DejaVu Sans", sans-serif; }
main { max-width: 1180px; margin: 0 auto; padding: 28px 20px 60px; }
h1 { font-size: 27px; margin: 0 0 4px; } h2 { font-size: 19px; margin: 0 0 12px; }
p { margin: 0 0 10px; } .lead, .note { color: var(--faint); }
section { background: var(--card); border: 1px solid var(--line); border-radius: 12px; padding: 20px; margin-top: 18px; }
.columns { display: grid; grid-template-columns: minmax(0, 3fr) minmax(0, 2fr); gap: 18px; }
.columns section { margin-top: 18px; } @media (max-width: 860px) { .columns { display: block; } }
.verdict { display: inline-block; border-radius: 999px; padding: 3px 14px; font-weight: 600; margin-top: 6px; }
.good { color: var(--good); } .bad { color: var(--bad); }
.verdict.good { background: color-mix(in srgb, var(--good) 14%, transparent); }
.verdict.bad { background: color-mix(in srgb, var(--bad) 16%, transparent); }
ul.checks { list-style: none; margin: 0; padding: 0; } ul.checks li { padding: 3px 0 3px 26px; position: relative; }
ul.checks b { position: absolute; left: 2px; }
svg.scene { width: 100%; height: auto; display: block; } svg.scene path { fill: none; stroke: var(--accent); stroke-width: .9; }
.near0 { opacity: .22; } .near1 { opacity: .34; } .near2 { opacity: .46; } .near3 { opacity: .6; } .near4 { opacity: .76; }
.wide { overflow-x: auto; } svg.graph { display: block; }
.box rect { fill: var(--soft); stroke: var(--accent); stroke-opacity: .55; }
.box text { fill: var(--text); font-size: 12.5px; text-anchor: middle; }
.arrow { fill: none; stroke: var(--faint); stroke-width: 1.3; opacity: .75; } #tip path { fill: var(--faint); }
.arrow:hover { stroke: var(--accent); stroke-width: 2.4; opacity: 1; }
details { border-left: 2px solid var(--line); margin: 2px 0 2px 6px; padding-left: 12px; }
.tree > details { margin-left: 0; } summary { cursor: pointer; padding: 2px 0; } summary:hover { color: var(--accent); }
.badge { font-size: 12px; color: var(--accent); background: var(--soft); border-radius: 6px; padding: 1px 7px; margin-left: 4px; }
.badge.unknown { color: var(--warm); background: var(--warmSoft); }
table { border-collapse: collapse; font-size: 13px; margin: 2px 0 8px; }
td, th { padding: 2px 14px 2px 0; text-align: left; vertical-align: top; } th { color: var(--faint); font-weight: 500; }
td.type, td.what { color: var(--faint); white-space: nowrap; } td.value, code { font-family: ui-monospace, "DejaVu Sans Mono", monospace; font-size: 12.5px; }
td.value { overflow-wrap: anywhere; } .from { color: var(--accent); }
i { font-style: normal; font-size: 11.5px; margin-left: 6px; color: var(--faint); } i.dynamic, i.legacy { color: var(--warm); }
ol.history { list-style: none; margin: 0; padding: 0 0 0 18px; border-left: 3px solid var(--soft); }
ol.history li { position: relative; padding: 0 0 12px; } ol.history li::before { content: ""; position: absolute; left: -26px; top: 6px;
  width: 11px; height: 11px; border-radius: 50%; background: var(--accent); border: 2px solid var(--card); }
ol.history small { color: var(--faint); display: block; } ol.history li.start::before { background: var(--faint); }
.created, .added, .connected { color: var(--good) !important; } .destroyed, .removed, .disconnected { color: var(--bad) !important; }
.written, .moved, .renamed, .reordered, .resized { color: var(--warm) !important; }
footer { color: var(--faint); margin-top: 24px; font-size: 13px; }
)";

void beginSection(const std::string& title, const std::string& explanation, std::string& page)
{
    page += "<section><h2>" + html(title) + "</h2>\n";
    if (!explanation.empty())
        page += "<p class=\"note\">" + html(explanation) + "</p>\n";
}

void appendChecks(const DemoResult& result, std::string& page)
{
    beginSection("What was checked", {}, page);
    page += "<ul class=\"checks\">\n";
    for (const DemoResult::Check& check : result.checks)
        page +=
            std::string(check.isOk ? "<li><b class=\"good\">\u2713</b>" : "<li><b class=\"bad\">\u2717</b>FAILED: ") +
            html(check.text) + "</li>\n";
    page += "</ul></section>\n";
}

void appendHistory(const DemoResult& result, std::string& page)
{
    beginSection("Undo history",
                 "Each unit of work and the document behind it. Undo went all the way up and redo all the "
                 "way down; the sums of the bytes were the same.",
                 page);
    page += "<ol class=\"history\">\n<li class=\"start\">The empty document</li>\n";
    for (const DemoResult::Unit& unit : result.units)
        page += "<li>" + html(unit.description) + "<small>" + counted(unit.operations, "operation") + ", then " +
                byteSize(unit.stateBytes) + " with the sum <code>" + unit.fingerprint + "</code></small></li>\n";
    page += "</ol></section>\n";
}

void appendReport(const ChangeReport& report, std::string& page)
{
    page += "<div class=\"wide\"><table>\n";
    for (std::size_t i = 0; i < report.entries.size() && i < kMostEntries; ++i)
    {
        const ChangeReport::Entry& entry = report.entries[i];
        page += "<tr><td class=\"what " + html(std::string_view(entry.what)) + "\">" +
                html(std::string_view(entry.what)) + "</td><td>" + html(std::string_view(entry.path)) +
                "</td><td class=\"value\">" + html(std::string_view(entry.detail)) + "</td></tr>\n";
    }
    page += "</table></div>\n";
    const std::size_t shown = std::min(report.entries.size(), kMostEntries);
    if (const std::size_t more = report.entries.size() - shown + report.omitted; more > 0)
        page += "<p class=\"note\">and " + counted(more, "more change") + "</p>\n";
}

std::size_t changeCount(const DemoResult::Unit& unit)
{
    std::size_t count = 0;
    for (const ChangeReport& report : unit.reports)
        count += report.entries.size() + report.omitted;
    return count;
}

void appendReports(const DemoResult& result, std::string& page)
{
    beginSection("Change reports", "What each commit told those who observe the document.", page);
    for (std::size_t i = 0; i < result.units.size(); ++i)
    {
        const DemoResult::Unit& unit = result.units[i];
        page += std::string(i == 1 ? "<details open=\"open\">" : "<details>") + "<summary>" + html(unit.description) +
                " <span class=\"badge\">" + counted(changeCount(unit), "change") + "</span></summary>\n";
        for (const ChangeReport& report : unit.reports)
            appendReport(report, page);
        page += "</details>\n";
    }
    page += "</section>\n";
}

void appendRemarks(const DemoResult& result, std::string& page)
{
    if (result.remarks.empty())
        return;
    beginSection("Remarks of the import", {}, page);
    page += "<ul>\n";
    for (const std::string& remark : result.remarks)
        page += "<li>" + html(remark) + "</li>\n";
    page += "</ul></section>\n";
}

void appendHead(const DemoResult& result, std::string& page)
{
    const std::string model = html(result.model);
    page +=
        "<!DOCTYPE html>\n<html xmlns=\"http://www.w3.org/1999/xhtml\" lang=\"en\">\n<head><meta charset=\"utf-8\"/>\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n<title>" +
        model + " in KQDatabase2</title>\n<style>" + kStyle + "</style></head>\n<body><main>\n<h1>" + model +
        "</h1>\n<p class=\"lead\">Imported into a document of KQDatabase2, edited through all layers, undone, redone, "
        "saved and loaded.</p>\n";
    page += result.isOk()
                ? "<span class=\"verdict good\">All " + counted(result.checks.size(), "check") + " passed</span>\n"
                : std::string("<span class=\"verdict bad\">A check failed</span>\n");
}

} // namespace

std::string demoPage(const DemoResult& result, const db2::Node& root)
{
    std::string page;
    appendHead(result, page);
    if (const std::string drawing = sceneSection(root); !drawing.empty())
    {
        beginSection("The scene", "As the edits left it: world matrices and bones are computed attributes.", page);
        page += drawing + "</section>\n";
    }
    page += "<div class=\"columns\"><div>\n";
    appendChecks(result, page);
    page += "</div><div>\n";
    appendHistory(result, page);
    page += "</div></div>\n";
    beginSection("Tree", "With attributes that are not at their default.", page);
    page += treeSection(root) + "</section>\n";
    beginSection("References", "A node on the right takes values from those on its left; the arrows tell which.", page);
    page += graphSection(root) + "</section>\n";
    appendReports(result, page);
    appendRemarks(result, page);
    return page + "<footer>Written by kqdb demo, version " KQDB_VERSION ".</footer>\n</main></body></html>\n";
}

} // namespace kqdb
