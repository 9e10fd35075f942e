#include "RandomTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace db2test {
namespace {

constexpr const wchar_t* kChoices[] = {L"one", L"two", L"th\u00E9 third", L"\u20AC"};

AttributeTypeId randomType(Random& random)
{
    return static_cast<AttributeTypeId>(random.below(kAttributeTypeCount));
}

void addChoices(ElementMetaDataDef& definition)
{
    if (auto* const choices = dynamic_cast<EnumAttributeMetaDataDef*>(&definition))
        for (const wchar_t* const choice : kChoices)
            choices->addChoice(choice);
}

template <class Definition>
void addLimits(ElementMetaDataDef& definition, Random& random)
{
    auto* const limits = dynamic_cast<Definition*>(&definition);
    if (limits == nullptr)
        return;
    using Limit = decltype(limits->getMin());
    if (random.chance(1, 2))
        limits->setMin(static_cast<Limit>(static_cast<int>(random.below(100))) - 50);
    if (random.chance(1, 2))
        limits->setMax(static_cast<Limit>(static_cast<int>(random.below(100))) / 4);
}

} // namespace

void RandomTree::registerExtra(Scene& scene)
{
    auto* const module = new Module;
    module->setId(L"Extra");
    module->setDataVersion(3);
    ASSERT_EQ(registerModule(module), Status::kSuccess);
    auto* const gadget = new NodeTemplate(L"Gadget", kGadget, *module);
    for (const bool isArray : {false, true})
    {
        for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
        {
            const auto typeId = static_cast<AttributeTypeId>(type);
            const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(typeId));
            addChoices(*definition);
            definition->setArray(isArray);
            // Items of Enum arrays always have a value, because the conversion of unknown nodes takes one without for the
            // first choice that it learned.
            const bool isEnumArray = isArray && typeId == AttributeType::kEnum;
            if (type % 5 == 0 || isEnumArray)
                definition->setFlags(ElementMetaDataFlag::kAlwaysSave);
            const std::wstring name = std::wstring(isArray ? L"a-" : L"g-") + ValueInfo::getTypeName(typeId);
            ASSERT_EQ(gadget->addAttribute(*definition, name.c_str()), Status::kSuccess);
        }
    }
    ASSERT_EQ(scene.registry().registerNodeTemplate(gadget), Status::kSuccess);
}

void RandomTree::grow(std::size_t nodes, Node* parent)
{
    constexpr std::array<unsigned int, 4> kTypes = {Scene::kPlain, Scene::kAll, kGadget, kGadget};
    std::vector<Node*> made;
    for (std::size_t i = 0; i < nodes; ++i)
    {
        Node* const under = made.empty() || random_.chance(1, 4) ? parent : random_.pick(made);
        made.push_back(scene_.nodeOf(random_.pick(kTypes), name().c_str(), under));
        fill(*made.back());
    }
    addReferences(made);
}

void RandomTree::fill(Node& node)
{
    while (random_.chance(1, 3))
        addDynamicElement(node);
    for (unsigned int i = 0; i < node.getElementCount(); ++i)
    {
        Element& element = *node.getElement(i);
        if (!random_.chance(1, 3))
            continue;
        if (!element.isAttributeArray())
        {
            fill(static_cast<Attribute&>(element));
            continue;
        }
        auto& array = static_cast<AttributeArray&>(element);
        const auto size = static_cast<unsigned int>(random_.below(12));
        ASSERT_EQ(scene_.core().db_resizeAttributeArray(&array, size), Status::kSuccess);
        const std::size_t written = random_.below(5); // of four
        for (unsigned int item = 0; item < size; ++item)
            if (random_.chance(written, 4))
                fill(*array.getAttribute(item));
    }
}

void RandomTree::fill(Attribute& attribute)
{
    const AttributeTypeId type = attribute.getTypeId();
    if (type == AttributeType::kNull)
        return;
    ValueHandle handle;
    ASSERT_EQ(scene_.core().db_lockAttribute(&attribute, &handle), Status::kSuccess);
    if (type == AttributeType::kString && random_.chance(1, 3))
        handle.getString() = kqx::String(name().c_str());
    else if (type == AttributeType::kEnum && !(allowsStrayEnums_ && random_.chance(1, 8)))
        handle.getInt() = static_cast<int>(
            random_.below(static_cast<const EnumAttributeMetaData&>(*attribute.getMetaData()).getNumChoices()));
    else
        writeValue(handle, randomModelValue(type, random_));
    ASSERT_EQ(scene_.core().db_unlockAttribute(&attribute), Status::kSuccess);
}

void RandomTree::addDynamicElement(Node& node)
{
    ElementSpec spec = plainElement(L"", randomType(random_), random_.chance(1, 4));
    spec.flags = random_.chance(1, 2) ? static_cast<unsigned int>(random_.below(64)) &
                                            (ElementMetaDataFlag::kAlwaysSave | ElementMetaDataFlag::kNotWatched |
                                             ElementMetaDataFlag::kNotUndoable)
                                      : 0;
    spec.docString = random_.chance(1, 2) ? name() : L"";
    if (spec.type != AttributeType::kEnum && spec.type != AttributeType::kNull && random_.chance(1, 2))
        spec.defaultValue = randomModelValue(spec.type, random_);
    const std::wstring elementName = name();
    const std::wstring displayName = name();
    const std::unique_ptr<ElementMetaDataDef> definition = makeDefinition(spec);
    if (random_.chance(1, 2))
        definition->setDisplayName(displayName.c_str());
    if (auto* const choices = dynamic_cast<EnumAttributeMetaDataDef*>(definition.get());
        choices != nullptr && choices->getNumChoices() == 0)
        addChoices(*definition);
    if (auto* const unit = dynamic_cast<UnitAttributeMetaDataDef*>(definition.get()))
        unit->setUnitType(static_cast<kqx::UnitType>(random_.below(6)));
    addLimits<IntAttributeMetaDataDef>(*definition, random_);
    addLimits<FloatAttributeMetaDataDef>(*definition, random_);
    addLimits<DoubleAttributeMetaDataDef>(*definition, random_);
    // A name that is taken is refused, which is as good.
    scene_.core().db_createDynamicElement(*definition, elementName.c_str(), &node, nullptr, nullptr);
}

void RandomTree::addReferences(const std::vector<Node*>& nodes)
{
    std::vector<Attribute*> attributes;
    for (Node* const node : nodes)
    {
        for (unsigned int i = 0; i < node->getElementCount(); ++i)
        {
            Element& element = *node->getElement(i);
            if (!element.isAttributeArray())
            {
                attributes.push_back(static_cast<Attribute*>(&element));
                continue;
            }
            const auto& array = static_cast<const AttributeArray&>(element);
            for (unsigned int item = 0; item < array.getSize(); ++item)
                attributes.push_back(array.getAttribute(item));
        }
    }
    if (attributes.empty())
        return;
    std::vector<Attribute*> referencers;
    for (std::size_t i = 0; i < nodes.size() * 2; ++i)
        referencers.push_back(random_.pick(attributes));
    // In the order of the document: by node in pre-order, then by place in the node.
    std::vector<const Node*> order;
    for (ConstNodeIterator walk(scene_.root()); walk.next();)
        order.push_back(walk.node());
    std::sort(referencers.begin(), referencers.end(), [&order](const Attribute* a, const Attribute* b) {
        const auto place = [&order](const Attribute* attribute) {
            const Element* const element = attribute->getParentArray() != nullptr
                                               ? static_cast<const Element*>(attribute->getParentArray())
                                               : attribute;
            const auto node = std::find(order.begin(), order.end(), attribute->getNode()) - order.begin();
            return std::array<std::size_t, 3>{static_cast<std::size_t>(node), element->getIndex(),
                                              attribute->getIndex()};
        };
        return place(a) < place(b);
    });
    for (Attribute* const referencer : referencers)
        scene_.core().db_createReference(random_.pick(attributes), referencer, random_.chance(1, 8));
}

/// Up to some characters of any kind: reserved in paths, beyond ASCII and U+FFFF, unpaired surrogates.
std::wstring RandomTree::name()
{
    static constexpr const wchar_t* kPieces[] = {L"a",      L"Z9",         L"|",      L".",   L":",   L"[",
                                                 L"]",      L"\\",         L" ",      L"\n",  L"\"",  L"\u00E9",
                                                 L"\u20AC", L"\U0001F600", L"\uFFFD", L"\x1", L"\x7F"};
    std::wstring text;
    for (std::size_t left = 1 + random_.below(6); left > 0; --left)
        text += random_.pick(kPieces);
    if (random_.chance(1, 10))
        text += static_cast<wchar_t>(0xD800 + random_.below(0x800));
    return text;
}

} // namespace db2test
