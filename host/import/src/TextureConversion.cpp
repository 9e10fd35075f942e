#include "Conversion.h"

#include "PropertyValues.h"
#include "Text.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>

namespace db2import {
namespace {

namespace element = db2host::scene::texture;

/// The properties of one texture of a material.
using Group = std::vector<const aiMaterialProperty*>;
using Groups = std::map<std::pair<unsigned int, unsigned int>, Group>; ///< by type and index

struct Slot
{
    unsigned int type;
    const wchar_t* choice;
    bool isExact; ///< the choice says all that the type does
};

constexpr Slot kSlots[] = {{aiTextureType_BASE_COLOR, L"base colour", true},
                           {aiTextureType_DIFFUSE, L"base colour", false},
                           {aiTextureType_SPECULAR, L"specular", true},
                           {aiTextureType_AMBIENT, L"ambient", true},
                           {aiTextureType_EMISSIVE, L"emissive", true},
                           {aiTextureType_EMISSION_COLOR, L"emissive", false},
                           {aiTextureType_HEIGHT, L"height", true},
                           {aiTextureType_NORMALS, L"normal", true},
                           {aiTextureType_NORMAL_CAMERA, L"normal", false},
                           {aiTextureType_SHININESS, L"shininess", true},
                           {aiTextureType_OPACITY, L"opacity", true},
                           {aiTextureType_DISPLACEMENT, L"displacement", true},
                           {aiTextureType_LIGHTMAP, L"light map", true},
                           {aiTextureType_REFLECTION, L"reflection", true},
                           {aiTextureType_METALNESS, L"metallic", true},
                           {aiTextureType_DIFFUSE_ROUGHNESS, L"roughness", true},
                           {aiTextureType_AMBIENT_OCCLUSION, L"ambient occlusion", true},
                           {aiTextureType_SHEEN, L"sheen", true},
                           {aiTextureType_CLEARCOAT, L"clear coat", true},
                           {aiTextureType_TRANSMISSION, L"transmission", true}};

Slot slotOf(unsigned int type, bool isGltf2)
{
    if (isGltf2 && type == aiTextureType_UNKNOWN) // the only one that the format has beyond the table
        return {type, L"metallic and roughness", true};
    for (const Slot& slot : kSlots)
        if (slot.type == type)
            return slot;
    return {type, L"other", false};
}

const wchar_t* wrapOf(int mode)
{
    switch (mode)
    {
    case aiTextureMapMode_Wrap: return L"repeat";
    case aiTextureMapMode_Clamp: return L"clamp";
    case aiTextureMapMode_Mirror: return L"mirror";
    case aiTextureMapMode_Decal: return L"border";
    default: return nullptr;
    }
}

std::string typeNameOf(unsigned int type)
{
    return type <= AI_TEXTURE_TYPE_MAX ? aiTextureTypeToString(static_cast<aiTextureType>(type)) : std::to_string(type);
}

const aiMaterialProperty* find(const Group& group, std::string_view key)
{
    for (const aiMaterialProperty* const property : group)
        if (bytesOf(property->mKey) == key)
            return property;
    return nullptr;
}

bool haveSameProperties(const Group& a, const Group& b)
{
    return std::equal(
        a.begin(), a.end(), b.begin(), b.end(), [](const aiMaterialProperty* x, const aiMaterialProperty* y) {
            return bytesOf(x->mKey) == bytesOf(y->mKey) && x->mType == y->mType && bytesOf(*x) == bytesOf(*y);
        });
}

/// The index of the image that a texture's file means; the number of images when it is none of them.
unsigned int imageOf(const Conversion& conversion, const std::string& file)
{
    const auto count = static_cast<unsigned int>(conversion.images.size());
    if (file.starts_with('*')) // the number of an image
    {
        unsigned int number = 0;
        for (std::size_t i = 1; i < file.size(); ++i)
        {
            if (file[i] < '0' || file[i] > '9' || number > count)
                return count;
            number = number * 10 + static_cast<unsigned int>(file[i] - '0');
        }
        return file.size() > 1 ? std::min(number, count) : count;
    }
    const auto named = conversion.imagesByName.find(aiScene::GetShortFilename(file.c_str()));
    return named != conversion.imagesByName.end() ? named->second : count;
}

class TextureConversion
{
public:
    TextureConversion(Conversion& conversion, const Group& group, db2::Node& material)
        : conversion_(conversion), edit_(conversion.edit), group_(group), type_(group[0]->mSemantic),
          index_(group[0]->mIndex), node_(edit_.createNode(db2host::scene::kTexture, nameOf(), material))
    {
    }

    void run()
    {
        ++edit_.counts().textures;
        const Slot slot = slotOf(type_, conversion_.isGltf2);
        if (!edit_.choose(node_, element::kSlot, slot.choice) || !slot.isExact)
            edit_.addAttribute(node_, L"textureType", kqx::String(wideOf(typeNameOf(type_)).c_str()));
        if (index_ != 0)
            edit_.addAttribute(node_, L"textureIndex", static_cast<int>(index_));
        for (const aiMaterialProperty* const property : group_)
            if (!isTaken(*property))
                keepProperty(edit_, *property, std::string(bytesOf(property->mKey)), node_);
    }

private:
    std::wstring nameOf() const { return slotOf(type_, conversion_.isGltf2).choice; }

    bool isTaken(const aiMaterialProperty& property)
    {
        const std::string_view key = bytesOf(property.mKey);
        if (key == "$tex.file")
            return isFileTaken(property);
        if (key == "$tex.uvwsrc")
            return isSetTaken(property);
        if (key == "$tex.blend")
            return isStrengthTaken(property);
        if (key == "$tex.mapmodeu")
            return isWrapTaken(property, element::kWrapU);
        return key == "$tex.mapmodev" && isWrapTaken(property, element::kWrapV);
    }

    bool isFileTaken(const aiMaterialProperty& property)
    {
        const std::optional<std::string_view> file = textOf(property);
        if (!file)
            return false;
        edit_.set(node_, element::kFile, stringOf(edit_.text(*file, node_)));
        const unsigned int image = imageOf(conversion_, std::string(*file));
        if (image < conversion_.images.size() && conversion_.images[image] != nullptr)
            edit_.connect(*conversion_.images[image], db2host::scene::image::kSelf, node_, element::kImage);
        else if (file->starts_with('*'))
            edit_.notKept(node_, L"the image " + wideOf(*file) + L", which is not there");
        return true;
    }

    bool isSetTaken(const aiMaterialProperty& property)
    {
        const std::optional<int> set = intOf(property);
        if (set)
            edit_.set(node_, element::kTexcoordSet, *set);
        return set.has_value();
    }

    bool isStrengthTaken(const aiMaterialProperty& property)
    {
        const std::optional<float> strength = floatOf(property);
        if (strength)
            edit_.set(node_, element::kStrength, *strength);
        return strength.has_value();
    }

    bool isWrapTaken(const aiMaterialProperty& property, unsigned int element)
    {
        const std::optional<int> mode = intOf(property);
        const wchar_t* const wrap = mode ? wrapOf(*mode) : nullptr;
        return wrap != nullptr && edit_.choose(node_, element, wrap);
    }

    Conversion& conversion_;
    Editor& edit_;
    const Group& group_;
    unsigned int type_;
    unsigned int index_;
    db2::Node& node_;
};

Groups groupsOf(const aiMaterial& material)
{
    Groups groups;
    for (unsigned int i = 0; i < material.mNumProperties; ++i)
    {
        const aiMaterialProperty* const property = material.mProperties[i];
        if (property != nullptr &&
            (property->mSemantic != aiTextureType_NONE || bytesOf(property->mKey).starts_with("$tex.")))
            groups[{property->mSemantic, property->mIndex}].push_back(property);
    }
    return groups;
}

/// Some readers give the base colour's texture twice, the second time under the older name.
bool isRepeated(const Groups& groups, unsigned int type, unsigned int index)
{
    if (type != aiTextureType_DIFFUSE)
        return false;
    const auto base = groups.find({aiTextureType_BASE_COLOR, index});
    return base != groups.end() && haveSameProperties(groups.at({type, index}), base->second);
}

/// Four bytes an item.
kqx::IntArray packed(const unsigned char* bytes, std::size_t count)
{
    kqx::IntArray items((count + 3) / 4);
    for (std::size_t i = 0; i < count; ++i)
    {
        const auto item = static_cast<std::uint32_t>(items[i / 4]);
        items[i / 4] = static_cast<int>(item | std::uint32_t{bytes[i]} << (8 * (i % 4)));
    }
    return items;
}

void addImage(Conversion& conversion, const aiTexture& texture, db2::Node& node)
{
    namespace image = db2host::scene::image;
    Editor& edit = conversion.edit;
    const bool isCompressed = texture.mHeight == 0;
    const std::uint64_t byteCount =
        isCompressed ? texture.mWidth : std::uint64_t{texture.mWidth} * texture.mHeight * sizeof(aiTexel);
    const std::size_t hintLength = strnlen(texture.achFormatHint, sizeof texture.achFormatHint);
    const std::wstring hint = edit.text({texture.achFormatHint, hintLength}, node);
    edit.set(node, image::kFormat, isCompressed ? stringOf(hint) : kqx::String(L"bgra8888"));
    if (!isCompressed && !hint.empty() && hint != L"bgra8888")
        edit.addAttribute(node, L"formatHint", stringOf(hint)); // what the file had, before it was unpacked
    if (texture.pcData == nullptr || byteCount > std::numeric_limits<int>::max())
    {
        edit.notKept(node, L"its " + std::to_wstring(byteCount) + L" bytes");
        return;
    }
    if (!isCompressed)
    {
        edit.set(node, image::kWidth, static_cast<int>(texture.mWidth));
        edit.set(node, image::kHeight, static_cast<int>(texture.mHeight));
    }
    edit.set(node, image::kByteCount, static_cast<int>(byteCount));
    edit.set(node, image::kBytes,
             packed(static_cast<const unsigned char*>(static_cast<const void*>(texture.pcData)),
                    static_cast<std::size_t>(byteCount)));
}

} // namespace

void addTextures(Conversion& conversion, const aiMaterial& material, db2::Node& materialNode)
{
    const Groups groups = groupsOf(material);
    for (const auto& [place, group] : groups)
    {
        if (isRepeated(groups, place.first, place.second))
            continue;
        if (find(group, "$tex.file") != nullptr)
        {
            TextureConversion(conversion, group, materialNode).run();
            continue;
        }
        for (const aiMaterialProperty* const property : group) // about a texture that is not there
            keepProperty(conversion.edit, *property,
                         std::string(bytesOf(property->mKey)) + " " + typeNameOf(place.first) + " " +
                             std::to_string(place.second),
                         materialNode);
    }
}

void convertImages(Conversion& conversion)
{
    const aiScene& scene = conversion.scene;
    const unsigned int count = scene.mTextures != nullptr ? scene.mNumTextures : 0;
    conversion.images.assign(count, nullptr);
    db2::Node* folder = nullptr;
    for (unsigned int i = 0; i < count; ++i)
    {
        if (scene.mTextures[i] == nullptr)
            continue;
        if (folder == nullptr)
            folder = &conversion.edit.createNode(db2host::scene::kFolder, L"Images", *conversion.model);
        const std::wstring name = conversion.edit.name(bytesOf(scene.mTextures[i]->mFilename), *folder);
        db2::Node& node = conversion.edit.createNode(db2host::scene::kImage, name, *folder);
        ++conversion.edit.counts().images;
        conversion.images[i] = &node;
        if (scene.mTextures[i]->mFilename.length > 0)
            conversion.imagesByName.try_emplace(aiScene::GetShortFilename(scene.mTextures[i]->mFilename.C_Str()), i);
        addImage(conversion, *scene.mTextures[i], node);
    }
}

} // namespace db2import
