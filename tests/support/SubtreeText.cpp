#include "SubtreeText.h"

#include "TreeDump.h"

#include <map>

namespace db2test {
namespace {

class SubtreeWriter
{
public:
    SubtreeWriter(const Node& top, bool withTop, OutsideReferences outside) : top_(top), outside_(outside)
    {
        ConstNodeIterator nodes(&top);
        nodes.includeRoot(withTop);
        while (nodes.next())
            places_.emplace(nodes.node(), places_.size());
        nodes.begin(&top);
        while (nodes.next())
            writeNode(*nodes.node());
    }

    std::vector<std::wstring> takeLines() { return std::move(lines_); }

private:
    void writeNode(const Node& node)
    {
        const auto parent = places_.find(node.getParent());
        std::wstring line = L"#" + std::to_wstring(places_.at(&node)) + L" under " +
                            (parent != places_.end() ? std::to_wstring(parent->second) : L"the top") + L": " +
                            node.getTypeName().c_str();
        if (&node != &top_)
            line += std::wstring(L" '") + node.getName().c_str() + L"'";
        line += node.isLegacy() ? L" legacy" : node.isUnknown() ? L" unknown" : L"";
        lines_.push_back(line + L" of " + node.getModule()->getId().c_str());
        for (unsigned int i = 0; i < node.getElementCount(); ++i)
            writeElement(*node.getElement(i));
    }

    void writeElement(const Element& element)
    {
        const ElementMetaData& metaData = *element.getMetaData();
        std::wstring line =
            std::wstring(L"  ") + ValueInfo::getTypeName(element.getTypeId()) + L" " + element.getName();
        line += element.isDynamic() ? L" dynamic" : element.isUnknown() ? L" unknown" : L"";
        line +=
            L", flags " + std::to_wstring(metaData.getFlags()) + L", default " + dumpValue(metaData.getDefaultValue());
        if (metaData.getDocString() != nullptr)
            line += std::wstring(L", doc '") + metaData.getDocString() + L"'";
        if (!element.isAttributeArray())
        {
            lines_.push_back(line + L" = " + state(static_cast<const Attribute&>(element)));
            return;
        }
        lines_.push_back(line);
        const auto& array = static_cast<const AttributeArray&>(element);
        for (unsigned int i = 0; i < array.getSize(); ++i)
            lines_.push_back(L"    [" + std::to_wstring(i) + L"] = " + state(*array.getAttribute(i)));
    }

    std::wstring state(const Attribute& attribute)
    {
        const std::wstring value = dumpValue(attribute.getValue());
        const Attribute* const referenced = attribute.getReference();
        if (referenced == nullptr)
            return value;
        const auto inside = places_.find(referenced->getNode());
        if (inside == places_.end() && isLeftOut(*referenced))
            return value;
        std::wstring path = pathOf(referenced);
        if (inside != places_.end())
            path = L"#" + std::to_wstring(inside->second) + path.substr(pathOf(referenced->getNode()).size());
        return value + L" from " + path + (attribute.referenceIsSingle() ? L", single" : L"");
    }

    [[nodiscard]] bool isLeftOut(const Attribute& referenced) const
    {
        return outside_ == OutsideReferences::kNone ||
               (outside_ == OutsideReferences::kWithoutSingleOutputs && referenced.referentIsSingle());
    }

    const Node& top_;
    OutsideReferences outside_;
    std::map<const Node*, std::size_t> places_; ///< asked, never walked
    std::vector<std::wstring> lines_;
};

} // namespace

std::vector<std::wstring> subtreeText(const Node& top, bool withTop, OutsideReferences outside)
{
    return SubtreeWriter(top, withTop, outside).takeLines();
}

} // namespace db2test
