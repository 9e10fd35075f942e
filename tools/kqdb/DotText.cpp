#include "DotText.h"

namespace kqdb {
namespace {

constexpr std::size_t kPieceBytes = 64 * 1024;

} // namespace

void DotText::end()
{
    out_ += "}\n";
    spill(0);
}

/// Hands out what there is when it is more than that.
void DotText::spill(std::size_t kept)
{
    if (out_.size() <= kept)
        return;
    take_(out_);
    out_.clear();
}

void DotText::begin(std::string_view name)
{
    out_ += "digraph ";
    quote(name);
    out_ += " {\n  rankdir=LR;\n  node [shape=box, style=rounded, fontname=\"sans-serif\", fontsize=11];\n"
            "  edge [fontname=\"sans-serif\", fontsize=9];\n";
}

void DotText::beginCluster(std::size_t number, std::string_view label)
{
    out_ += "  subgraph cluster_" + std::to_string(number) + " {\n  label=";
    quote(label);
    out_ += ";\n";
}

void DotText::node(std::string_view id, std::string_view label, std::string_view attributes)
{
    out_.append("  ").append(id) += " [label=";
    quote(label);
    if (!attributes.empty())
        out_.append(", ").append(attributes);
    out_ += "];\n";
    spill(kPieceBytes);
}

void DotText::edge(std::string_view from, std::string_view to, std::string_view label, std::string_view attributes)
{
    out_.append("  ").append(from).append(" -> ").append(to);
    if (!label.empty() || !attributes.empty())
    {
        out_ += " [label=";
        quote(label);
        if (!attributes.empty())
            out_.append(", ").append(attributes);
        out_ += ']';
    }
    out_ += ";\n";
    spill(kPieceBytes);
}

/// As Graphviz reads it, whatever stands in the text; a line end becomes one of the label.
void DotText::quote(std::string_view text)
{
    out_ += '"';
    for (const char c : text)
    {
        if (c == '\n')
        {
            out_ += "\\n";
            continue;
        }
        if (c == '"' || c == '\\')
            out_ += '\\';
        out_ += c;
    }
    out_ += '"';
}

} // namespace kqdb
