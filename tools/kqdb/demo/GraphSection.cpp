#include "Page.h"

#include "Html.h"

#include "ElementText.h"
#include "Text.h"
#include "TreeWalk.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <vector>

namespace kqdb {
namespace {

constexpr std::size_t kMostBoxes = 150; // more than that nobody can follow
constexpr std::size_t kNameCharacters = 22;
constexpr double kBoxWidth = 168;
constexpr double kBoxHeight = 26;
constexpr double kColumnGap = 74;
constexpr double kRowGap = 14;
constexpr double kMargin = 12;
constexpr int kSweeps = 4;

struct Box
{
    const db2::Node* node;
    unsigned int depth; ///< in the tree
    std::size_t column = 0;
    double row = 0; ///< in rows; the first is 0
    std::vector<std::size_t> sources;
};

struct Arrow
{
    std::size_t from;
    std::size_t to;
    std::vector<std::string> labels; ///< what is taken
};

unsigned int depthOf(const db2::Node& node)
{
    unsigned int depth = 0;
    for (const db2::Node* at = node.getParent(); at != nullptr; at = at->getParent())
        ++depth;
    return depth;
}

/// Nodes in columns, and arrows between them.
class Graph
{
public:
    explicit Graph(const db2::Node& root)
    {
        collect(root);
        chooseColumns();
        chooseRows();
    }

    [[nodiscard]] std::string draw() const
    {
        if (boxes_.empty())
            return "<p class=\"note\">There are no references.</p>\n";
        const double width = 2 * kMargin + static_cast<double>(columns_) * (kBoxWidth + kColumnGap) - kColumnGap;
        const double height = 2 * kMargin + rows_ * (kBoxHeight + kRowGap) - kRowGap;
        std::string page = "<div class=\"wide\"><svg class=\"graph\" xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
                           coordinate(width) + "\" height=\"" + coordinate(height) + "\" viewBox=\"0 0 " +
                           coordinate(width) + ' ' + coordinate(height) +
                           "\" role=\"img\">\n<defs><marker id=\"tip\" "
                           "viewBox=\"0 0 8 8\" refX=\"7\" refY=\"4\" markerWidth=\"7\" markerHeight=\"7\" "
                           "orient=\"auto\"><path d=\"M0 0 8 4 0 8z\"/></marker></defs>\n";
        for (const Arrow& arrow : arrows_)
            drawArrow(arrow, page);
        for (const Box& box : boxes_)
            drawBox(box, page);
        page += "</svg></div>\n";
        if (isCut_)
            page += "<p class=\"note\">There are more; these are the first " + grouped(kMostBoxes) + " nodes.</p>\n";
        return page;
    }

private:
    std::size_t boxOf(const db2::Node& node)
    {
        const auto [found, isNew] = numbers_.try_emplace(&node, boxes_.size());
        if (isNew)
            boxes_.push_back({&node, depthOf(node), 0, 0, {}});
        return found->second;
    }

    void collect(const db2::Node& root)
    {
        std::map<std::pair<std::size_t, std::size_t>, std::size_t> known; // arrows by their ends
        for (TreeWalk walk(root); walk.next() && !isCut_;)
            forEachAttribute(walk.node(), [&](const db2::Attribute& attribute) {
                const db2::Attribute* const source = attribute.getReference();
                if (source == nullptr)
                    return;
                isCut_ = isCut_ || boxes_.size() + 2 > kMostBoxes;
                if (isCut_)
                    return;
                const std::size_t from = boxOf(*source->getNode());
                const std::size_t to = boxOf(walk.node());
                const auto [found, isNew] = known.try_emplace({from, to}, arrows_.size());
                if (isNew)
                    arrows_.push_back({from, to, {}});
                arrows_[found->second].labels.push_back(labelOf(*source, attribute));
                if (from != to && isNew)
                    boxes_[to].sources.push_back(from);
            });
    }

    static std::string labelOf(const db2::Attribute& source, const db2::Attribute& attribute)
    {
        const std::string from = toUtf8(source.getName());
        const std::string to = toUtf8(attribute.getName());
        return from == to ? from : from + " \u2192 " + to;
    }

    /// Each box behind those that it takes values from. Where boxes wait for each other in a circle, the uppermost of
    /// them in the tree goes ahead, and what it waited for leads backwards.
    void chooseColumns()
    {
        std::vector<std::vector<std::size_t>> targets(boxes_.size());
        std::vector<std::size_t> waiting(boxes_.size()); // for so many sources
        for (std::size_t i = 0; i < boxes_.size(); ++i)
            for (const std::size_t source : boxes_[i].sources)
            {
                targets[source].push_back(i);
                ++waiting[i];
            }
        std::vector<std::size_t> ready;
        std::vector<bool> isPlaced(boxes_.size());
        for (std::size_t first = 0; first < boxes_.size(); ++first) // first those that wait for nothing, then circles
            if (waiting[first] == 0)
                ready.push_back(first);
        for (std::size_t at = 0; at < boxes_.size(); ++at)
        {
            if (at == ready.size())
                ready.push_back(uppermost(isPlaced));
            place(ready[at], targets, waiting, isPlaced, ready);
        }
    }

    /// Of the boxes that are not placed; one is left.
    [[nodiscard]] std::size_t uppermost(const std::vector<bool>& isPlaced) const
    {
        std::size_t found = boxes_.size();
        for (std::size_t i = 0; i < boxes_.size(); ++i)
            if (!isPlaced[i] && (found == boxes_.size() || boxes_[i].depth < boxes_[found].depth))
                found = i;
        return found;
    }

    void place(std::size_t number, const std::vector<std::vector<std::size_t>>& targets,
               std::vector<std::size_t>& waiting, std::vector<bool>& isPlaced, std::vector<std::size_t>& ready)
    {
        isPlaced[number] = true;
        columns_ = std::max(columns_, boxes_[number].column + 1);
        for (const std::size_t target : targets[number])
        {
            if (isPlaced[target])
                continue;
            boxes_[target].column = std::max(boxes_[target].column, boxes_[number].column + 1);
            if (--waiting[target] == 0)
                ready.push_back(target);
        }
    }

    /// Rows in the order of the tree first, then each box towards the middle of those that it takes values from.
    void chooseRows()
    {
        std::vector<std::vector<std::size_t>> columns(columns_);
        for (std::size_t i = 0; i < boxes_.size(); ++i)
            columns[boxes_[i].column].push_back(i);
        for (const std::vector<std::size_t>& column : columns)
            rows_ = std::max(rows_, static_cast<double>(column.size()));
        for (int sweep = 0; sweep < kSweeps; ++sweep)
            for (std::vector<std::size_t>& column : columns)
                orderColumn(column);
    }

    void orderColumn(std::vector<std::size_t>& column)
    {
        std::vector<double> wanted(boxes_.size());
        for (const std::size_t i : column)
            wanted[i] = middleOfSources(boxes_[i]);
        std::stable_sort(column.begin(), column.end(),
                         [&wanted](std::size_t a, std::size_t b) { return wanted[a] < wanted[b]; });
        if (boxes_[column.front()].column == 0) // nothing to stand beside
        {
            const double step = rows_ / static_cast<double>(column.size());
            for (std::size_t i = 0; i < column.size(); ++i)
                boxes_[column[i]].row = (static_cast<double>(i) + 0.5) * step - 0.5;
            return;
        }
        for (std::size_t i = 0; i < column.size(); ++i) // as wanted, but none on another
            boxes_[column[i]].row =
                i == 0 ? wanted[column[i]] : std::max(wanted[column[i]], boxes_[column[i - 1]].row + 1);
        double end = rows_;
        for (std::size_t i = column.size(); i-- > 0; end = boxes_[column[i]].row)
            boxes_[column[i]].row = std::max(0.0, std::min(boxes_[column[i]].row, end - 1));
    }

    [[nodiscard]] double middleOfSources(const Box& box) const
    {
        if (box.sources.empty())
            return box.row;
        double sum = 0;
        for (const std::size_t source : box.sources)
            sum += boxes_[source].row;
        return sum / static_cast<double>(box.sources.size());
    }

    static double left(const Box& box) { return kMargin + static_cast<double>(box.column) * (kBoxWidth + kColumnGap); }
    static double top(const Box& box) { return kMargin + box.row * (kBoxHeight + kRowGap); }

    void drawArrow(const Arrow& arrow, std::string& page) const
    {
        const Box& from = boxes_[arrow.from];
        const Box& to = boxes_[arrow.to];
        const double x1 = left(from) + kBoxWidth;
        const double y1 = top(from) + kBoxHeight / 2;
        const double x2 = left(to) - 1;
        const double y2 = top(to) + kBoxHeight / 2;
        const double bend = x2 > x1 ? (x2 - x1) / 2 : kColumnGap * 0.8;
        page += "<path class=\"arrow\" d=\"M" + coordinate(x1) + ' ' + coordinate(y1) + 'C' + coordinate(x1 + bend) +
                ' ' + coordinate(y1) + ' ' + coordinate(x2 - bend) + ' ' + coordinate(y2) + ' ' + coordinate(x2) + ' ' +
                coordinate(y2) + "\" marker-end=\"url(#tip)\"><title>";
        for (std::size_t i = 0; i < arrow.labels.size(); ++i)
            page += (i == 0 ? "" : ", ") + html(arrow.labels[i]);
        page += "</title></path>\n";
    }

    static void drawBox(const Box& box, std::string& page)
    {
        page += "<g class=\"box\"><title>" + html(pathOf(*box.node)) + " (" +
                html(std::wstring_view(box.node->getTypeName())) + ")</title><rect x=\"" + coordinate(left(box)) +
                "\" y=\"" + coordinate(top(box)) + "\" width=\"" + coordinate(kBoxWidth) + "\" height=\"" +
                coordinate(kBoxHeight) + "\" rx=\"6\"/><text x=\"" + coordinate(left(box) + kBoxWidth / 2) + "\" y=\"" +
                coordinate(top(box) + kBoxHeight / 2 + 4.5) + "\">" +
                html(shortened(visible(box.node->getName()), kNameCharacters)) + "</text></g>\n";
    }

    std::vector<Box> boxes_;
    std::vector<Arrow> arrows_;
    std::unordered_map<const db2::Node*, std::size_t> numbers_;
    std::size_t columns_ = 0;
    double rows_ = 0;
    bool isCut_ = false;
};

} // namespace

std::string graphSection(const db2::Node& root)
{
    return Graph(root).draw();
}

} // namespace kqdb
