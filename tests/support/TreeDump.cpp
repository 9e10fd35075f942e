#include "TreeDump.h"

#include <db2/db2.h>

#include <kqx/Utf16.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <locale>
#include <sstream>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace db2test {
namespace {

struct FlagName
{
    std::uint32_t bit;
    const wchar_t* name;
};

/// The flags that say what an object is; those that layers use for their lists come and go and are not in a dump.
constexpr FlagName kNodeFlags[] = {{NodeFlag::kInUndo, L"in undo"},
                                   {NodeFlag::kDestroyed, L"destroyed"},
                                   {NodeFlag::kLegacy, L"legacy"},
                                   {NodeFlag::kLegacyHandled, L"handled"},
                                   {NodeFlag::kUnknown, L"unknown"}};
constexpr FlagName kElementFlags[] = {
    {ElementFlag::kInUndo, L"in undo"},        {ElementFlag::kArray, L"array"},
    {ElementFlag::kArrayItem, L"item"},        {ElementFlag::kDestroyed, L"destroyed"},
    {ElementFlag::kDynamic, L"dynamic"},       {ElementFlag::kLegacy, L"legacy"},
    {ElementFlag::kLegacyHandled, L"handled"}, {ElementFlag::kLocked, L"locked"},
    {ElementFlag::kUnknown, L"unknown"}};

// --- Texts and numbers ---

std::wstring hexadecimal(std::uint64_t number, int digits)
{
    std::wstring text(static_cast<std::size_t>(digits), L'0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit, number >>= 4)
        *digit = L"0123456789abcdef"[number & 0xF];
    return text;
}

/// In double quotes; what is not printable ASCII as the numbers of its UTF-16 units, so that platforms do not differ.
std::wstring quoted(std::wstring_view text)
{
    std::wstring out = L"\"";
    kqx::forEachUtf16Unit(text.data(), text.size(), [&out](std::uint16_t unit) {
        if (unit == L'"' || unit == L'\\')
            out += L'\\';
        if (unit >= 0x20 && unit < 0x7F)
            out += static_cast<wchar_t>(unit);
        else
            out += L"\\u" + hexadecimal(unit, 4);
    });
    return out + L'"';
}

std::wstring quoted(const wchar_t* text)
{
    return text != nullptr ? quoted(std::wstring_view(text)) : L"none";
}

std::wstring setFlagNames(std::uint32_t flags, const auto& names)
{
    std::wstring out;
    for (const FlagName& flag : names)
    {
        if ((flags & flag.bit) != 0)
            out += std::wstring(out.empty() ? L" [" : L", ") + flag.name;
    }
    return out.empty() ? out : out + L']';
}

// --- Values ---

std::wstring exactText(int number)
{
    return std::to_wstring(number);
}

std::wstring exactText(bool value)
{
    return value ? L"true" : L"false";
}

/// A number as people read it, and its bits.
template <class Number, class Bits>
std::wstring exactFloatingPoint(Number number)
{
    std::wostringstream readable;
    readable.imbue(std::locale::classic());
    readable << number;
    return readable.str() + L"#" + hexadecimal(std::bit_cast<Bits>(number), sizeof(Bits) * 2);
}

std::wstring exactText(float number)
{
    return exactFloatingPoint<float, std::uint32_t>(number);
}

std::wstring exactText(double number)
{
    return exactFloatingPoint<double, std::uint64_t>(number);
}

std::wstring exactText(const kqx::String& text)
{
    return quoted(std::wstring_view(text));
}

std::wstring exactNumbers(const float* numbers, std::size_t count)
{
    std::wstring out = L"(";
    for (std::size_t i = 0; i < count; ++i)
        out += (i > 0 ? L" " : L"") + exactText(numbers[i]);
    return out + L")";
}

std::wstring exactText(const kqx::Colour& value)
{
    const float numbers[] = {value.r, value.g, value.b, value.a};
    return exactNumbers(numbers, 4);
}

std::wstring exactText(const kqx::Vector3& value)
{
    const float numbers[] = {value.x, value.y, value.z, value.w};
    return exactNumbers(numbers, 4);
}

std::wstring exactText(const kqx::Quat& value)
{
    const float numbers[] = {value.x, value.y, value.z, value.w};
    return exactNumbers(numbers, 4);
}

std::wstring exactText(const kqx::Matrix& value)
{
    return exactNumbers(&value.m[0][0], 16);
}

template <class T>
std::wstring exactText(const kqx::Array<T>& values)
{
    std::wstring out = std::to_wstring(values.size()) + L" {";
    for (std::size_t i = 0; i < values.size(); ++i)
        out += (i > 0 ? L", " : L"") + exactText(values[i]);
    return out + L"}";
}

std::wstring exactText(const kqx::VertexBuffer& buffer)
{
    std::wstring out = std::to_wstring(buffer.getStreamCount()) + L" streams {";
    for (unsigned int i = 0; i < buffer.getStreamCount(); ++i)
    {
        out += (i > 0 ? L", " : L"") + quoted(buffer.getStreamName(i)) + L" of " +
               std::to_wstring(buffer.getStreamComponents(i)) + L": " + exactText(buffer.getStream(i));
    }
    return out + L"}";
}

// --- Metadata ---

std::wstring pointerText(const void* pointer)
{
    const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(pointer));
    return pointer != nullptr ? hexadecimal(address, sizeof(void*) * 2) : L"none";
}

template <class Value>
std::wstring limitsText(const NumberLimits<Value>& limits)
{
    std::wstring out;
    if ((limits.getOptions() & NumberOption::kHasMinimum) != 0)
        out += L", minimum " + exactText(limits.getMin());
    if ((limits.getOptions() & NumberOption::kHasMaximum) != 0)
        out += L", maximum " + exactText(limits.getMax());
    return out;
}

std::wstring choicesText(const EnumAttributeMetaData& metaData)
{
    std::wstring out = dynamic_cast<const UnknownEnumAttributeMetaData*>(&metaData) != nullptr ? L", learned" : L"";
    out += (out.empty() ? L", choices {" : L" choices {");
    for (unsigned int i = 0; i < metaData.getNumChoices(); ++i)
        out += (i > 0 ? L", " : L"") + quoted(metaData.getChoice(i));
    return out + L"}";
}

std::wstring computeText(const ElementMetaData& metaData)
{
    std::wstring out;
    if (metaData.hasComputeSet())
        out += L", computed by set " + std::to_wstring(metaData.getComputeSet());
    if (metaData.hasOutputComputeSets())
    {
        out += L", read by " + std::to_wstring(metaData.getOutputComputeSetSize()) + L" sets from " +
               std::to_wstring(metaData.getOutputComputeSet());
    }
    return out;
}

std::wstring metaDataText(const ElementMetaData& metaData)
{
    std::wstring out = L"flags 0x" + hexadecimal(metaData.getFlags(), 8) + L", default " +
                       dumpValue(metaData.getDefaultValue()) + L", display name " + quoted(metaData.getDisplayName()) +
                       L", doc " + quoted(metaData.getDocString());
    if (const auto* limits = dynamic_cast<const IntAttributeMetaData*>(&metaData))
        out += limitsText(*limits);
    if (const auto* limits = dynamic_cast<const FloatAttributeMetaData*>(&metaData))
        out += limitsText(*limits);
    if (const auto* limits = dynamic_cast<const DoubleAttributeMetaData*>(&metaData))
        out += limitsText(*limits);
    if (const auto* choices = dynamic_cast<const EnumAttributeMetaData*>(&metaData))
        out += choicesText(*choices);
    if (const auto* unit = dynamic_cast<const UnitAttributeMetaData*>(&metaData))
        out += L", unit " + std::to_wstring(std::uint32_t{unit->getUnitType()});
    if (const auto* setter = dynamic_cast<const SetterAttributeMetaData*>(&metaData))
        out += L", setter " + pointerText(setter->getSetter());
    return out + L", connection setter " + pointerText(metaData.getConnectionSetter()) + computeText(metaData);
}

std::wstring typeText(AttributeTypeId typeId)
{
    const wchar_t* const name = ValueInfo::getTypeName(typeId);
    return name != nullptr ? name : L"type " + std::to_wstring(std::uint32_t{typeId});
}

// --- Paths ---

void appendName(std::wstring& path, wchar_t separator, std::wstring_view name)
{
    path += separator;
    for (const wchar_t character : name)
    {
        if (std::wstring_view(L"|.:[]\\").find(character) != std::wstring_view::npos)
            path += L'\\';
        path += character;
    }
}

// --- The tree ---

/// Writes one tree.
class TreeWriter
{
public:
    TreeWriter(const CoreManager& core, DumpDetail detail) : core_(core), detail_(detail) {}

    std::wstring write()
    {
        writeStatistics();
        if (core_.getRoot() != nullptr)
            writeNodes(*core_.getRoot());
        writeTypes();
        return std::move(out_);
    }

private:
    void writeStatistics()
    {
        const CoreManager::Statistics& counts = core_.getStatistics();
        line(0) += L"statistics: nodes " + std::to_wstring(counts.nodes) + L", unknown nodes " +
                   std::to_wstring(counts.unknownNodes) + L", legacy nodes " + std::to_wstring(counts.legacyNodes) +
                   L", elements " + std::to_wstring(counts.elements) + L", dynamic elements " +
                   std::to_wstring(counts.dynamicElements) + L", legacy elements " +
                   std::to_wstring(counts.legacyElements) + L", references " + std::to_wstring(counts.references);
        if (core_.isLockOutstanding())
            out_ += L", lock outstanding";
    }

    /// Pre-order. The way back up is kept here, so that a wrong parent link shows instead of leading the walk astray.
    void writeNodes(const Node& root)
    {
        std::vector<const Node*> way{&root};
        writeNode(root, nullptr, 0);
        const Node* next = root.getFirstChild();
        while (!way.empty())
        {
            if (next == nullptr)
            {
                next = way.size() > 1 ? way.back()->getNextSibling() : nullptr;
                way.pop_back();
                continue;
            }
            writeNode(*next, way.back(), way.size());
            way.push_back(next);
            next = next->getFirstChild();
        }
    }

    void writeNode(const Node& node, const Node* parent, std::size_t depth)
    {
        line(depth) += std::to_wstring(depth) + L" " + quoted(std::wstring_view(node.getName())) + L" type " +
                       std::to_wstring(node.getTypeId()) + L" " + quoted(std::wstring_view(node.getTypeName())) +
                       L" of " + quoted(std::wstring_view(node.getModule()->getId())) +
                       setFlagNames(node.getFlags(), kNodeFlags) + L", edges " + std::to_wstring(node.getEdgeCount());
        if (node.getAPI() != nullptr)
            out_ += L", API object";
        markLinks(node, parent);

        if (!node.isUnknown())
            noteType(*node.getNodeTemplate());
        for (unsigned int i = 0; i < node.getElementCount(); ++i)
            writeElement(node, *node.getElement(i), L"", i, depth + 1);
        for (unsigned int i = 0; i < node.getLegacyElementCount(); ++i)
            writeElement(node, *node.getLegacyElement(i), L"legacy ", i, depth + 1);
        mark(node.getElement(node.getElementCount()) != nullptr, L"element beyond the count");
        mark(node.getLegacyElement(node.getLegacyElementCount()) != nullptr, L"legacy element beyond the count");
    }

    void markLinks(const Node& node, const Node* parent)
    {
        const Node* const previous = node.getPreviousSibling();
        const Node* const next = node.getNextSibling();
        mark(node.getParent() != parent, L"parent");
        mark(next != nullptr && next->getPreviousSibling() != &node, L"next sibling");
        mark((node.getFirstChild() == nullptr) != (node.getLastChild() == nullptr), L"first and last child");
        if (parent == nullptr)
        {
            mark(previous != nullptr || next != nullptr, L"siblings of the root");
            return;
        }
        mark((previous == nullptr) != (parent->getFirstChild() == &node), L"first child");
        mark((next == nullptr) != (parent->getLastChild() == &node), L"last child");
        mark(parent->findChildByName(node.getName().c_str()) != &node, L"found by name");
        mark(parent->isChildNameValid(node.getName().c_str(), nullptr) != Status::kDuplicateChildName, L"name is free");
        mark(parent->isChildNameValid(node.getName().c_str(), &node) != Status::kSuccess, L"own name");
    }

    void writeElement(const Node& node, const Element& element, const wchar_t* kind, unsigned int index,
                      std::size_t depth)
    {
        line(depth) += kind + std::to_wstring(index) + L" " + typeText(element.getTypeId()) + L" " +
                       quoted(element.getName()) + setFlagNames(element.getFlags(), kElementFlags);
        const bool isOfRegisteredType = !node.isUnknown() && !element.isLegacy() && !element.isDynamic();
        if (!isOfRegisteredType)
            out_ += L" (" + metaDataText(*element.getMetaData()) + L")";
        if (element.isAttributeArray())
            writeArray(static_cast<const AttributeArray&>(element), depth);
        else
            writeAttribute(static_cast<const Attribute&>(element));
        markElement(node, element, index, isOfRegisteredType);
    }

    void markElement(const Node& node, const Element& element, unsigned int index, bool isOfRegisteredType)
    {
        mark(element.getIndex() != index, L"index");
        mark(element.getNode() != &node, L"node");
        mark(element.getParentArray() != nullptr, L"parent array");
        mark(isOfRegisteredType && element.getMetaData() != node.getNodeTemplate()->getElementMetaData(index),
             L"metadata");
        mark(element.isDynamic() && node.isDynamicElementNameUnique(element.getName()), L"name is free");
        mark(element.isLegacy() && node.isLegacyElementNameUnique(element.getName()), L"name is free");
        mark(!element.isLegacy() && node.findElementByName(element.getName()) != &element, L"found by name");
    }

    void writeAttribute(const Attribute& attribute)
    {
        out_ += L" = " + dumpValue(attribute.getValue());
        if (attribute.getReference() != nullptr)
        {
            out_ += L" -> " + quoted(std::wstring_view(pathOf(attribute.getReference())));
            if (attribute.referenceIsSingle())
                out_ += L" single";
        }
        writeReferencers(attribute);
        mark(attribute.referentIsSingle() !=
                 (attribute.getReferents() != nullptr && attribute.getReferents()->referenceIsSingle()),
             L"single referencer");
    }

    void writeReferencers(const Attribute& attribute)
    {
        std::vector<std::wstring> paths;
        for (const Attribute* from = attribute.getReferents(); from != nullptr; from = from->getSiblingReferent())
        {
            paths.push_back(pathOf(from));
            mark(from->getReference() != &attribute, L"referencer");
        }
        if (detail_ == DumpDetail::kContent)
            std::sort(paths.begin(), paths.end());
        for (const std::wstring& path : paths)
            out_ += L" <- " + quoted(std::wstring_view(path));
    }

    void writeArray(const AttributeArray& array, std::size_t depth)
    {
        out_ += L" of " + std::to_wstring(array.getSize());
        if (detail_ == DumpDetail::kEverything)
            out_ += L" (room for " + std::to_wstring(array.getCapacity()) + L")";
        out_ += L", reference ends " + std::to_wstring(array.getReferenceCount());
        mark(array.getCapacity() < array.getSize(), L"capacity");
        mark(array.getAttribute(array.getSize()) != nullptr, L"item beyond the size");
        for (unsigned int i = 0; i < array.getSize(); ++i)
        {
            const Attribute& item = *array.getAttribute(i);
            line(depth + 1) += L"[" + std::to_wstring(i) + L"]" + setFlagNames(item.getFlags(), kElementFlags);
            writeAttribute(item);
            mark(item.getIndex() != i, L"index");
            mark(item.getParentArray() != &array, L"parent array");
            mark(item.getNode() != array.getNode(), L"node");
            mark(item.getMetaData() != array.getMetaData(), L"metadata");
        }
    }

    void noteType(const NodeTemplate& nodeTemplate)
    {
        if (known_.insert(&nodeTemplate).second)
            types_.push_back(&nodeTemplate);
    }

    void writeTypes()
    {
        for (const NodeTemplate* const type : types_)
        {
            line(0) +=
                L"type " + std::to_wstring(type->getTypeId()) + L" " + quoted(std::wstring_view(type->getTypeName()));
            for (unsigned int i = 0; i < type->getElementCount(); ++i)
            {
                const ElementMetaData& metaData = *type->getElementMetaData(i);
                line(1) += std::to_wstring(i) + L" " + typeText(metaData.getTypeId()) + L" " +
                           quoted(metaData.getName()) + L": " + metaDataText(metaData);
            }
        }
    }

    /// Begins a line. The indentation ends where it would make the dump of a deep tree grow with the depth's square.
    std::wstring& line(std::size_t depth)
    {
        if (!out_.empty())
            out_ += L'\n';
        return out_.append(std::min<std::size_t>(depth, 16) * 2, L' ');
    }

    void mark(bool isWrong, const wchar_t* what)
    {
        if (isWrong)
            out_ += std::wstring(L" !") + what;
    }

    const CoreManager& core_;
    DumpDetail detail_;
    std::wstring out_;
    std::vector<const NodeTemplate*> types_; ///< in the order in which the tree shows them
    std::unordered_set<const NodeTemplate*> known_;
};

std::wstring lineAt(const std::wstring& text, std::size_t position)
{
    const std::size_t lineEnd = text.find(L'\n', position);
    const std::size_t previousEnd = position > 0 ? text.rfind(L'\n', position - 1) : std::wstring::npos;
    const std::size_t begin = previousEnd != std::wstring::npos ? previousEnd + 1 : 0;
    return text.substr(begin, lineEnd == std::wstring::npos ? lineEnd : lineEnd - begin);
}

} // namespace

std::wstring dumpTree(const CoreManager& core, DumpDetail detail)
{
    return TreeWriter(core, detail).write();
}

std::wstring dumpValue(const ConstValueHandle& value)
{
    if (value.isNull())
        return L"no value";
    switch (value.getTypeId())
    {
    case AttributeType::kInt:
    case AttributeType::kEnum: return exactText(value.getInt());
    case AttributeType::kBool: return exactText(value.getBool());
    case AttributeType::kColour: return exactText(value.getColour());
    case AttributeType::kFloat: return exactText(value.getFloat());
    case AttributeType::kDouble: return exactText(value.getDouble());
    case AttributeType::kString: return exactText(value.getString());
    case AttributeType::kVector3: return exactText(value.getVector3());
    case AttributeType::kMatrix: return exactText(value.getMatrix());
    case AttributeType::kQuat: return exactText(value.getQuat());
    case AttributeType::kVertexBuffer: return exactText(value.getVertexBuffer());
    case AttributeType::kIntArray: return exactText(value.getIntArray());
    case AttributeType::kBoolArray: return exactText(value.getBoolArray());
    case AttributeType::kColourArray: return exactText(value.getColourArray());
    case AttributeType::kFloatArray: return exactText(value.getFloatArray());
    case AttributeType::kDoubleArray: return exactText(value.getDoubleArray());
    case AttributeType::kStringArray: return exactText(value.getStringArray());
    case AttributeType::kVector3Array: return exactText(value.getVector3Array());
    case AttributeType::kMatrixArray: return exactText(value.getMatrixArray());
    case AttributeType::kQuatArray: return exactText(value.getQuatArray());
    case AttributeType::kNull:
    case AttributeType::kNoType: break;
    }
    return L"a value of " + typeText(value.getTypeId());
}

std::wstring pathOf(const Node* node)
{
    std::vector<const Node*> way;
    for (const Node* at = node; at != nullptr && at->getParent() != nullptr; at = at->getParent())
        way.push_back(at);
    std::wstring path;
    for (auto at = way.rbegin(); at != way.rend(); ++at)
        appendName(path, L'|', (*at)->getName());
    return path.empty() && node != nullptr ? L"|" : path;
}

std::wstring pathOf(const Attribute* attribute)
{
    if (attribute == nullptr)
        return {};
    const Node* const node = attribute->getNode();
    std::wstring path = node->getParent() != nullptr ? pathOf(node) : std::wstring();
    appendName(path, attribute->isAttributeArrayElement() ? L':' : L'.', attribute->getName());
    if (attribute->isAttributeArrayElement())
        path += L"[" + std::to_wstring(attribute->getIndex()) + L"]";
    return path;
}

::testing::AssertionResult isSameDump(const std::wstring& expected, const std::wstring& actual)
{
    if (expected == actual)
        return ::testing::AssertionSuccess();
    const auto [in, out] = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
    const auto difference = static_cast<std::size_t>(in - expected.begin());
    return ::testing::AssertionFailure() << "the trees differ\n  expected: " << lineAt(expected, difference)
                                         << "\n  actual:   " << lineAt(actual, difference);
}

} // namespace db2test
