#include "Page.h"

#include "Html.h"

#include "ElementText.h"
#include "Text.h"
#include "TreeWalk.h"
#include "shell/ShortValue.h"

namespace kqdb {
namespace {

constexpr std::size_t kMostNodes = 3000;
constexpr unsigned int kDeepest = 100; // a browser nests no page much deeper
constexpr unsigned int kOpenLevels = 2;
constexpr std::size_t kShownCharacters = 80;

std::string originMark(const db2::Element& element)
{
    const std::string origin(originOf(element));
    return origin.empty() ? origin : "<i class=\"" + origin + "\">" + origin + "</i>";
}

void appendElement(const db2::Element& element, std::string& page)
{
    page += "<tr><td>" + html(std::wstring_view(element.getName())) + originMark(element) + "</td><td class=\"type\">" +
            html(typeText(element)) + "</td><td class=\"value\">" + html(shortValueText(element, kShownCharacters));
    if (const db2::Attribute* const source = referenceOf(element))
        page += " <span class=\"from\">from " + html(pathOf(*source)) + "</span>";
    page += "</td></tr>\n";
}

/// What is at its default goes without saying; values that were computed do not.
bool isWorthAline(const db2::Element& element)
{
    return element.isDynamic() || element.isLegacy() || !isAtDefault(element);
}

void appendElements(const db2::Node& node, std::string& page)
{
    std::string rows;
    forEachElement(node, [&rows](const db2::Element& element) {
        if (isWorthAline(element))
            appendElement(element, rows);
    });
    if (!rows.empty())
        page += "<div class=\"wide\"><table>\n" + rows + "</table></div>\n";
}

std::string badgeOf(const db2::Node& node)
{
    const std::string type = html(std::wstring_view(node.getTypeName()));
    return "<span class=\"badge" + std::string(node.isUnknown() ? " unknown" : "") + "\">" + type + "</span>";
}

} // namespace

std::string treeSection(const db2::Node& root)
{
    std::string page;
    std::size_t shown = 0;
    unsigned int open = 0; // nodes that are not closed yet
    bool isCut = false;
    for (TreeWalk walk(root); walk.next();)
    {
        const db2::Node& node = walk.node();
        if (walk.depth() == 0)
            continue;
        for (; open >= walk.depth(); --open)
            page += "</details>\n";
        if (++shown > kMostNodes)
        {
            isCut = true;
            break;
        }
        page += "<details" + std::string(walk.depth() <= kOpenLevels ? " open=\"open\"" : "") + "><summary>" +
                html(std::wstring_view(node.getName())) + ' ' + badgeOf(node) + "</summary>\n";
        ++open;
        appendElements(node, page);
        if (walk.depth() == kDeepest)
            walk.skipChildren();
    }
    for (; open > 0; --open)
        page += "</details>\n";
    if (isCut)
        page += "<p class=\"note\">There are more nodes; these are the first " + grouped(kMostNodes) + ".</p>\n";
    return "<div class=\"tree\">\n" + page + "</div>\n";
}

} // namespace kqdb
