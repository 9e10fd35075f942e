#include "Scene.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace db2test {
namespace {

template <class Definition>
ElementMetaDataDef* make()
{
    return new Definition;
}

using MakeDefinition = ElementMetaDataDef* (*)();

/// By type id.
constexpr MakeDefinition kDefinitions[] = {
    make<IntAttributeMetaDataDef>,          make<BoolAttributeMetaDataDef>,
    make<ColourAttributeMetaDataDef>,       make<FloatAttributeMetaDataDef>,
    make<DoubleAttributeMetaDataDef>,       make<StringAttributeMetaDataDef>,
    make<EnumAttributeMetaDataDef>,         make<Vector3AttributeMetaDataDef>,
    make<MatrixAttributeMetaDataDef>,       make<QuatAttributeMetaDataDef>,
    make<NullAttributeMetaDataDef>,         make<VertexBufferAttributeMetaDataDef>,
    make<IntArrayAttributeMetaDataDef>,     make<BoolArrayAttributeMetaDataDef>,
    make<ColourArrayAttributeMetaDataDef>,  make<FloatArrayAttributeMetaDataDef>,
    make<DoubleArrayAttributeMetaDataDef>,  make<StringArrayAttributeMetaDataDef>,
    make<Vector3ArrayAttributeMetaDataDef>, make<MatrixArrayAttributeMetaDataDef>,
    make<QuatArrayAttributeMetaDataDef>};
static_assert(std::size(kDefinitions) == kAttributeTypeCount);

void addAllTypes(NodeTemplate& nodeTemplate)
{
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const auto typeId = static_cast<AttributeTypeId>(type);
        const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(typeId));
        if (typeId == AttributeType::kEnum)
            static_cast<EnumAttributeMetaDataDef&>(*definition).addChoice(L"only");
        EXPECT_EQ(nodeTemplate.addAttribute(*definition, ValueInfo::getTypeName(typeId)), Status::kSuccess);
    }
    for (const AttributeTypeId typeId : {AttributeType::kInt, AttributeType::kFloat, AttributeType::kString,
                                         AttributeType::kMatrix, AttributeType::kNull})
    {
        const std::unique_ptr<ElementMetaDataDef> definition(Scene::makeDefinition(typeId));
        definition->setArray(true);
        const std::wstring name = std::wstring(ValueInfo::getTypeName(typeId)) + L"Items";
        EXPECT_EQ(nodeTemplate.addAttribute(*definition, name.c_str()), Status::kSuccess);
    }
}

} // namespace

Scene::Scene(UnknownAPINodeFactory* unknownFactory, UnknownAPINodeFactory* legacyFactory)
{
    initLibrary(&log_, L"test 1.0");
    module_ = new Module;
    module_->setId(L"Test");
    module_->setDataVersion(1);
    EXPECT_EQ(registerModule(module_), Status::kSuccess);

    registry_ = new NodeRegistry;
    auto* const all = new NodeTemplate(L"All", kAll, *module_);
    addAllTypes(*all);
    EXPECT_EQ(registry_->registerNodeTemplate(new NodeTemplate(L"Root", kRoot, *module_)), Status::kSuccess);
    EXPECT_EQ(registry_->registerNodeTemplate(new NodeTemplate(L"Plain", kPlain, *module_)), Status::kSuccess);
    EXPECT_EQ(registry_->registerNodeTemplate(all), Status::kSuccess);
    core_ = new CoreManager(*registry_, kRoot, unknownFactory, legacyFactory, this);
}

Scene::~Scene()
{
    delete core_;
    delete registry_;
    termLibrary();
}

Node* Scene::nodeOf(unsigned int typeId, const wchar_t* name, Node* parent)
{
    Node* node = nullptr;
    EXPECT_EQ(core_->db_createNode(typeId, name, parent, nullptr, &node), Status::kSuccess);
    return node;
}

Node* Scene::unknownNode(const wchar_t* name, Node* parent, bool legacy)
{
    Node* node = nullptr;
    EXPECT_EQ(core_->db_createUnknownNode(L"Gone", *module_, name, parent, nullptr, legacy, &node), Status::kSuccess);
    return node;
}

Attribute* Scene::dynamicAttribute(const ElementMetaDataDef& definition, const wchar_t* name, Node* node)
{
    Element* element = nullptr;
    EXPECT_EQ(core_->db_createDynamicElement(definition, name, node, nullptr, &element), Status::kSuccess);
    return static_cast<Attribute*>(element);
}

void Scene::write(Attribute* attribute, float value)
{
    ValueHandle handle;
    ASSERT_EQ(core_->db_lockAttribute(attribute, &handle), Status::kSuccess);
    handle.getFloat() = value;
    EXPECT_EQ(core_->db_unlockAttribute(attribute), Status::kSuccess);
}

void Scene::write(Attribute* attribute, int value)
{
    ValueHandle handle;
    ASSERT_EQ(core_->db_lockAttribute(attribute, &handle), Status::kSuccess);
    handle.getInt() = value;
    EXPECT_EQ(core_->db_unlockAttribute(attribute), Status::kSuccess);
}

void Scene::write(Attribute* attribute, const wchar_t* value)
{
    ValueHandle handle;
    ASSERT_EQ(core_->db_lockAttribute(attribute, &handle), Status::kSuccess);
    handle.getString() = value;
    EXPECT_EQ(core_->db_unlockAttribute(attribute), Status::kSuccess);
}

ElementMetaDataDef* Scene::makeDefinition(AttributeTypeId typeId)
{
    return kDefinitions[typeId]();
}

} // namespace db2test
