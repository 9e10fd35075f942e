#include "Editor.h"

#include "Text.h"

#include <kqx/Utf16.h>

#include <algorithm>

namespace db2import {
namespace {

/// Names in a path that can be saved are fewer than 512. The rest is for those who move the model further down.
constexpr unsigned int kDeepestReferenced = 500;

constexpr std::size_t kLongestElementName = 40; ///< what the database accepts

/// The first characters of a text, at most so many, without half of a surrogate pair at the end.
std::wstring cut(std::wstring_view text, std::size_t characters)
{
    if (text.size() <= characters)
        return std::wstring(text);
    if (characters > 0 && kqx::isHighSurrogate(static_cast<std::uint32_t>(text[characters - 1])))
        --characters;
    return std::wstring(text.substr(0, characters));
}

} // namespace

// --- Nodes and values ---

db2::Node& Editor::createNode(unsigned int typeId, const std::wstring& name, db2::Node& parent, db2::Node* next)
{
    db2::Node* node = nullptr;
    check(data_.db_createNode(typeId, name.c_str(), &parent, next, &node), L"create a node below", &parent);
    ++report_.counts.nodes;
    return *node;
}

bool Editor::choose(db2::Node& node, unsigned int element, const wchar_t* choice)
{
    db2::Attribute& attribute = attributeOf(node, element);
    const auto* const metaData = dynamic_cast<const db2::EnumAttributeMetaData*>(attribute.getMetaData());
    const int index = metaData != nullptr ? metaData->getChoiceIndex(choice) : -1;
    if (index < 0)
        return false;
    const Lock lock(data_, attribute);
    check(lock.status(), L"write a choice of", &node);
    lock.value().getInt() = index;
    return true;
}

void Editor::addAttribute(db2::Node& node, std::wstring_view name, DynamicValue value)
{
    std::visit([&](auto&& of) { addAttributeOf(node, name, std::move(of)); }, std::move(value));
}

template <class T>
void Editor::addAttributeOf(db2::Node& node, std::wstring_view name, T value)
{
    typename ValueType<T>::Definition definition;
    const std::wstring elementName = freeName(definition, cut(name, kLongestElementName), node);
    const std::wstring wholeName(name);
    if (elementName != name)
        definition.setDocString(wholeName.c_str());
    db2::Element* element = nullptr;
    check(data_.db_createDynamicElement(definition, elementName.c_str(), &node, nullptr, &element),
          L"add an attribute to", &node);
    ++report_.counts.dynamicAttributes;
    write(static_cast<db2::Attribute&>(*element), std::move(value));
}

std::wstring Editor::freeName(const db2::ElementMetaDataDef& definition, std::wstring wanted, const db2::Node& node)
{
    std::replace(wanted.begin(), wanted.end(), L'\0', L'\xFFFD'); // would end the name
    if (wanted.empty())
        wanted = L"property";
    if (namedNode_ != &node)
    {
        namedNode_ = &node;
        nextNumbers_.clear();
    }
    std::wstring name = wanted;
    unsigned int& nextNumber = nextNumbers_[wanted];
    for (;;)
    {
        if (nextNumber > 0)
        {
            const std::wstring number = L" " + std::to_wstring(nextNumber + 1);
            name = cut(wanted, kLongestElementName - number.size()) + number;
        }
        ++nextNumber;
        if (core_.canCreateDynamicElement(definition, name.c_str(), &node, nullptr) !=
            db2::Status::kDuplicateElementName)
            return name;
    }
}

bool Editor::connect(db2::Node& referenced, unsigned int referencedElement, db2::Node& referencer,
                     unsigned int referencerElement)
{
    if (!canBeSavedInReference(referenced))
    {
        notKept(referencer, L"the reference of " + std::wstring(attributeOf(referencer, referencerElement).getName()) +
                                L" to a node that lies more than " + std::to_wstring(kDeepestReferenced) +
                                L" levels deep");
        return false;
    }
    check(data_.db_createReference(&attributeOf(referenced, referencedElement),
                                   &attributeOf(referencer, referencerElement), false),
          L"connect", &referencer);
    return true;
}

// --- Texts ---

std::wstring Editor::text(std::string_view bytes, const db2::Node& place)
{
    Text text = textOf(bytes);
    if (!text.isExact)
        changed(place, L"bytes that are not UTF-8 were replaced in \"" + text.wide + L"\"");
    return std::move(text.wide);
}

std::wstring Editor::name(std::string_view bytes, const db2::Node& place)
{
    std::wstring name = text(bytes, place);
    if (name.find(L'\0') != std::wstring::npos)
    {
        std::replace(name.begin(), name.end(), L'\0', L'\xFFFD');
        changed(place, L"null characters were replaced in the name \"" + name + L"\"");
    }
    return name;
}

// --- Remarks ---

void Editor::remark(ImportRemark::Kind kind, const db2::Node& place, std::wstring text)
{
    report_.remarks.push_back({kind, pathOf(place), std::move(text)});
}

// --- Private ---

void Editor::check(db2::Status status, const wchar_t* edit, const db2::Node* node) const
{
    if (status == db2::Status::kSuccess)
        return;
    throw ImportFailure{L"the document refused to " + std::wstring(edit) + L" \"" + pathOf(*node) + L"\": status " +
                        std::to_wstring(static_cast<unsigned int>(status))};
}

std::wstring Editor::pathOf(const db2::Node& node) const
{
    // Not further than a path can be: every node of a deep tree may have a remark.
    const db2::Node* above = &node;
    for (unsigned int names = 0; above != nullptr && above != model_ && names < kDeepestReferenced; ++names)
        above = above->getParent();
    if (above == nullptr || &node == model_)
        return {};
    kqx::String path;
    if (above != model_ || db2::dbu_nodeToPath(model_, &node, &path) != db2::Status::kSuccess)
        return L"...|" + std::wstring(node.getName());
    return std::wstring(path);
}

db2::Attribute& Editor::attributeOf(db2::Node& node, unsigned int element) const
{
    db2::Element* const found = node.getElement(element);
    if (found == nullptr || found->isAttributeArray())
        throw ImportFailure{L"the type " + std::wstring(node.getTypeName().c_str()) +
                            L" is not the one that the importer knows"};
    return static_cast<db2::Attribute&>(*found);
}

bool Editor::canBeSavedInReference(const db2::Node& referenced) const
{
    unsigned int names = depth_;
    for (const db2::Node* node = &referenced; node->getParent() != nullptr; node = node->getParent())
        if (++names > kDeepestReferenced)
            return false;
    return true;
}

} // namespace db2import
