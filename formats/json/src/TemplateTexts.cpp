#include "TemplateTexts.h"

#include "PlainText.h"
#include "ValueTypes.h"

#include <db2/Module.h>
#include <db2/Node.h>

#include <utility>

namespace db2::json {
namespace {

/// @return empty when the text is not plain.
std::string quoted(std::wstring_view text)
{
    std::string out;
    if (!isPlain(text))
        return out;
    out.reserve(text.size() + 2);
    out += '"';
    for (const wchar_t c : text)
        out += static_cast<char>(c);
    out += '"';
    return out;
}

TemplateTexts::Entry entryOf(const ElementMetaData& metaData)
{
    std::string text = quoted(metaData.getName());
    const std::size_t nameBytes = text.size();
    if (nameBytes != 0)
        ((text += ", \"") += typeName(metaData.getTypeId())) += '"';
    return {std::move(text), nameBytes};
}

TemplateTexts::Texts textsOf(const NodeTemplate& nodeTemplate)
{
    TemplateTexts::Texts texts;
    texts.type = quoted(nodeTemplate.getTypeName());
    texts.module = quoted(nodeTemplate.getModule()->getId());
    texts.entries.reserve(nodeTemplate.getElementCount());
    for (unsigned int i = 0; i < nodeTemplate.getElementCount(); ++i)
        texts.entries.push_back(entryOf(*nodeTemplate.getElementMetaData(i)));
    return texts;
}

} // namespace

const TemplateTexts::Texts* TemplateTexts::find(const Node& node)
{
    if (node.isUnknown())
        return nullptr;
    const NodeTemplate* const nodeTemplate = node.getNodeTemplate();
    if (nodeTemplate == last_) // neighbours are mostly of one type
        return lastTexts_;
    const auto found = known_.find(nodeTemplate);
    lastTexts_ =
        found != known_.end() ? &found->second : &known_.emplace(nodeTemplate, textsOf(*nodeTemplate)).first->second;
    last_ = nodeTemplate;
    return lastTexts_;
}

} // namespace db2::json
