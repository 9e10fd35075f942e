#include "Conversion.h"

#include "PropertyValues.h"
#include "Text.h"

#include <cstring>

namespace db2import {
namespace {

namespace element = db2host::scene::material;

/// A property that has an element of its own.
struct KnownProperty
{
    const char* key;
    unsigned int element;
};

constexpr KnownProperty kColours[] = {{"$clr.base", element::kBaseColour},
                                      {"$clr.diffuse", element::kBaseColour},
                                      {"$clr.specular", element::kSpecularColour},
                                      {"$clr.emissive", element::kEmissiveColour}};

constexpr KnownProperty kNumbers[] = {{"$mat.metallicFactor", element::kMetallic},
                                      {"$mat.roughnessFactor", element::kRoughness},
                                      {"$mat.shininess", element::kShininess},
                                      {"$mat.opacity", element::kOpacity},
                                      {"$mat.refracti", element::kIndexOfRefraction}};

template <std::size_t count>
const KnownProperty* find(const KnownProperty (&properties)[count], std::string_view key)
{
    for (const KnownProperty& property : properties)
        if (key == property.key)
            return &property;
    return nullptr;
}

struct Shading
{
    const wchar_t* choice;
    bool isExact; ///< else the choice is the one that comes nearest
};

Shading shadingOf(int model)
{
    switch (model)
    {
    case aiShadingMode_Unlit: return {L"unlit", true};
    case aiShadingMode_Gouraud: return {L"lambert", true};
    case aiShadingMode_Phong: return {L"phong", true};
    case aiShadingMode_PBR_BRDF: return {L"physically based", true};
    case aiShadingMode_Blinn:
    case aiShadingMode_Toon: return {L"phong", false};
    case aiShadingMode_CookTorrance:
    case aiShadingMode_Fresnel: return {L"physically based", false};
    default: return {L"lambert", false};
    }
}

bool isOfTexture(const aiMaterialProperty& property)
{
    return property.mSemantic != aiTextureType_NONE || bytesOf(property.mKey).starts_with("$tex.");
}

class MaterialConversion
{
public:
    MaterialConversion(Editor& edit, const aiMaterial& material, db2::Node& node)
        : edit_(edit), material_(material), node_(node)
    {
    }

    void run()
    {
        for (unsigned int i = 0; i < material_.mNumProperties; ++i)
            if (const aiMaterialProperty* const property = material_.mProperties[i])
                if (!isOfTexture(*property) && bytesOf(property->mKey) != "?mat.name" && !isTaken(*property))
                    keepProperty(edit_, *property, std::string(bytesOf(property->mKey)), node_);
    }

private:
    /// Gives the property's value to the element that is there for it. @return false when that cannot hold all of it.
    bool isTaken(const aiMaterialProperty& property)
    {
        const std::string_view key = bytesOf(property.mKey);
        if (property.mIndex != 0)
            return false;
        if (const KnownProperty* const known = find(kColours, key))
            return isColourTaken(property, known->element);
        if (const KnownProperty* const known = find(kNumbers, key))
            return isNumberTaken(property, known->element);
        if (key == "$mat.twosided")
            return isTwoSidedTaken(property);
        return key == "$mat.shadingm" && isShadingTaken(property);
    }

    bool isColourTaken(const aiMaterialProperty& property, unsigned int element)
    {
        const std::vector<float> c = floatsOf(property);
        if (c.size() != 3 && c.size() != 4)
            return false;
        const kqx::Colour colour(c[0], c[1], c[2], c.size() == 4 ? c[3] : 1.0f);
        if (bytesOf(property.mKey) == "$clr.diffuse")
            if (const aiMaterialProperty* const base = propertyOf("$clr.base"))
                return floatsOf(*base) == c; // the base colour has the place, and is often the same
        edit_.set(node_, element, colour);
        return true;
    }

    bool isNumberTaken(const aiMaterialProperty& property, unsigned int element)
    {
        const std::optional<float> number = floatOf(property);
        if (number)
            edit_.set(node_, element, *number);
        return number.has_value();
    }

    bool isTwoSidedTaken(const aiMaterialProperty& property)
    {
        const std::optional<int> isTwoSided = intOf(property);
        if (isTwoSided)
            edit_.set(node_, element::kIsTwoSided, *isTwoSided != 0);
        return isTwoSided == 0 || isTwoSided == 1;
    }

    bool isShadingTaken(const aiMaterialProperty& property)
    {
        const std::optional<int> model = intOf(property);
        if (!model)
            return false;
        const Shading shading = shadingOf(*model);
        return edit_.choose(node_, element::kShading, shading.choice) && shading.isExact;
    }

    const aiMaterialProperty* propertyOf(std::string_view key) const
    {
        for (unsigned int i = 0; i < material_.mNumProperties; ++i)
            if (material_.mProperties[i] != nullptr && bytesOf(material_.mProperties[i]->mKey) == key)
                return material_.mProperties[i];
        return nullptr;
    }

    Editor& edit_;
    const aiMaterial& material_;
    db2::Node& node_;
};

std::string nameOf(const aiMaterial& material)
{
    for (unsigned int i = 0; i < material.mNumProperties; ++i)
        if (material.mProperties[i] != nullptr && bytesOf(material.mProperties[i]->mKey) == "?mat.name")
            return std::string(textOf(*material.mProperties[i]).value_or(""));
    return {};
}

/// A single number as such, three floats as a vector or, by the key, a colour, and more as an array.
DynamicValue valueOf(const std::vector<float>& numbers, std::string_view key)
{
    const bool isColour = key.starts_with("$clr.");
    if (numbers.size() == 1)
        return numbers[0];
    if (numbers.size() == 3 && isColour)
        return kqx::Colour(numbers[0], numbers[1], numbers[2], 1);
    if (numbers.size() == 4 && isColour)
        return kqx::Colour(numbers[0], numbers[1], numbers[2], numbers[3]);
    if (numbers.size() == 3)
        return kqx::Vector3(numbers[0], numbers[1], numbers[2]);
    return kqx::FloatArray(numbers.begin(), numbers.end());
}

DynamicValue bytesValueOf(std::string_view bytes)
{
    kqx::IntArray values;
    values.reserve(bytes.size());
    for (const char byte : bytes)
        values.push_back(static_cast<unsigned char>(byte));
    return values;
}

/// The bytes of a buffer, which are five floats where the key says so, and one is a bool.
DynamicValue bufferValueOf(const aiMaterialProperty& property)
{
    const std::string_view bytes = bytesOf(property);
    if (bytes.size() == 1 && static_cast<unsigned char>(bytes[0]) <= 1)
        return bytes[0] != 0;
    if (bytesOf(property.mKey) == "$tex.uvtrafo" && bytes.size() == sizeof(aiUVTransform))
    {
        kqx::FloatArray numbers(bytes.size() / sizeof(float));
        std::memcpy(numbers.data(), bytes.data(), bytes.size());
        return numbers;
    }
    return bytesValueOf(bytes);
}

} // namespace

void keepProperty(Editor& edit, const aiMaterialProperty& property, const std::string& name, db2::Node& node)
{
    const std::wstring attribute = edit.text(name, node);
    const std::vector<int> ints = intsOf(property);
    const std::vector<float> floats = floatsOf(property);
    const std::vector<double> doubles = doublesOf(property);
    const std::optional<std::string_view> text = textOf(property);
    if (text)
        edit.addAttribute(node, attribute, stringOf(edit.text(*text, node)));
    else if (!floats.empty())
        edit.addAttribute(node, attribute, valueOf(floats, name));
    else if (doubles.size() == 1)
        edit.addAttribute(node, attribute, doubles[0]);
    else if (!doubles.empty())
        edit.addAttribute(node, attribute, kqx::DoubleArray(doubles.begin(), doubles.end()));
    else if (ints.size() == 1 && bytesOf(property).size() == sizeof(int))
        edit.addAttribute(node, attribute, ints[0]);
    else if (ints.size() > 1)
        edit.addAttribute(node, attribute, kqx::IntArray(ints.begin(), ints.end()));
    else
        edit.addAttribute(node, attribute, bufferValueOf(property));
}

void convertMaterials(Conversion& conversion)
{
    const aiScene& scene = conversion.scene;
    const unsigned int count = scene.mMaterials != nullptr ? scene.mNumMaterials : 0;
    conversion.materials.assign(count, nullptr);
    db2::Node* folder = nullptr;
    for (unsigned int i = 0; i < count; ++i)
    {
        if (scene.mMaterials[i] == nullptr || scene.mMaterials[i]->mProperties == nullptr)
            continue;
        const aiMaterial& material = *scene.mMaterials[i];
        if (folder == nullptr)
            folder = &conversion.edit.createNode(db2host::scene::kFolder, L"Materials", *conversion.model);
        const std::wstring name = conversion.edit.name(nameOf(material), *folder);
        db2::Node& node = conversion.edit.createNode(db2host::scene::kMaterial, name, *folder);
        ++conversion.edit.counts().materials;
        conversion.materials[i] = &node;
        MaterialConversion(conversion.edit, material, node).run();
        addTextures(conversion, material, node);
    }
}

} // namespace db2import
