#include "TreeWalk.h"

#include "Application.h"
#include "Failure.h"
#include "StatusText.h"
#include "Text.h"

#include <db2/Paths.h>

#include <array>

namespace kqdb {
namespace {

constexpr unsigned int kNamesOfDeepPath = 2;

void appendName(std::wstring& path, wchar_t separator, const wchar_t* name)
{
    kqx::String escaped;
    db2::dbu_appendEscapeNames(name, escaped);
    (path += separator).append(escaped.c_str(), escaped.size());
}

/// The names on the way from the root, up to kMostNames of them. @return false when there are more.
bool appendPath(std::wstring& path, const db2::Node& node)
{
    std::array<const db2::Node*, kMostNames> steps;
    std::size_t count = 0;
    for (const db2::Node* at = &node; at->getParent() != nullptr; at = at->getParent())
    {
        if (count == steps.size())
            return false;
        steps[count++] = at;
    }
    while (count > 0)
        appendName(path, L'|', steps[--count]->getName().c_str());
    return true;
}

std::wstring endOfPath(const db2::Node& node)
{
    std::array<const db2::Node*, kNamesOfDeepPath> steps{};
    const db2::Node* at = &node;
    for (std::size_t i = steps.size(); i-- > 0; at = at->getParent())
        steps[i] = at;
    std::wstring path = L"...";
    for (const db2::Node* const step : steps)
        appendName(path, L'|', step->getName().c_str());
    return path;
}

} // namespace

std::wstring pathOf(const db2::Node& node)
{
    std::wstring path;
    if (!appendPath(path, node))
        return endOfPath(node);
    return path.empty() ? L"|" : path;
}

void appendElement(std::wstring& path, const db2::Element& element)
{
    if (path == L"|") // the root's own
        path.clear();
    const db2::AttributeArray* const parent = element.getParentArray();
    const bool isAttribute = parent == nullptr && !element.isAttributeArray();
    appendName(path, isAttribute ? L'.' : L':', element.getName());
    if (parent != nullptr)
        path += L'[' + std::to_wstring(element.getIndex()) + L']';
}

std::wstring pathOf(const db2::Element& element)
{
    std::wstring path = pathOf(*element.getNode());
    appendElement(path, element);
    return path;
}

Target resolve(Document& document, const std::string& path)
{
    constexpr std::wstring_view kStarts = L"|.:";
    Target target;
    target.node = &document.root();
    std::wstring text = toWide(path);
    if (text.empty() || text == L"|")
        return target;
    if (kStarts.find(text.front()) == std::wstring_view::npos)
        text.insert(text.begin(), L'|');
    kqtl::pod_vector<db2::Migrator*> noMigrators; // given, so that legacy elements are looked up, too
    db2::Node* node = nullptr;
    const db2::Status status = db2::dbu_resolvePath(&document.root(), text.c_str(), &node, &target.array,
                                                    &target.attribute, true, &noMigrators);
    if (status != db2::Status::kSuccess)
        document.fail(visible(text) + ": " + std::string(statusText(status)));
    if (target.element() != nullptr)
        node = target.element()->getNode();
    target.node = node != nullptr ? node : target.node;
    return target;
}

db2::Node& resolveNode(Document& document, const std::string& path)
{
    const Target target = resolve(document, path);
    if (target.element() != nullptr)
        document.fail(path + ": is an attribute, not a node");
    return *target.node;
}

// --- TreeWalk ---

TreeWalk::TreeWalk(const db2::Node& start) : start_(&start), startHasPath_(appendPath(path_, start)) {}

bool TreeWalk::next()
{
    if (node_ == nullptr)
    {
        node_ = start_;
        return true;
    }
    const bool skips = skipsChildren_;
    skipsChildren_ = false;
    if (!skips && node_->getFirstChild() != nullptr)
    {
        descend(*node_->getFirstChild());
        return true;
    }
    while (node_ != start_ && node_->getNextSibling() == nullptr)
        ascend();
    if (node_ == start_)
        return false;
    node_ = node_->getNextSibling();
    if (depth_ <= ends_.size())
    {
        path_.resize(ends_.back());
        appendName(path_, L'|', node_->getName().c_str());
    }
    return true;
}

void TreeWalk::descend(const db2::Node& child)
{
    node_ = &child;
    if (startHasPath_ && ends_.size() == depth_ && depth_ < kMostNames)
    {
        ends_.push_back(path_.size());
        appendName(path_, L'|', child.getName().c_str());
    }
    ++depth_;
}

void TreeWalk::ascend()
{
    node_ = node_->getParent();
    if (ends_.size() == depth_)
    {
        path_.resize(ends_.back());
        ends_.pop_back();
    }
    --depth_;
}

std::wstring TreeWalk::path() const
{
    if (!startHasPath_ || ends_.size() < depth_)
        return pathOf(*node_);
    return path_.empty() ? L"|" : path_;
}

} // namespace kqdb
