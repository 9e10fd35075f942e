#pragma once

#include "Editor.h"

#include <db2host/Scene.h>

#include <assimp/scene.h>

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace db2import {

/// A shape that stands in the tree before its mesh does.
struct Instance
{
    db2::Node* node;
    unsigned int mesh; ///< a valid index of the scene's
};

/// The node that a name of the scene leads to: the first in pre-order, as the reader's own look-ups have it.
struct NamedTransform
{
    db2::Node* transform = nullptr;
    const aiNode* node = nullptr;
    bool isAmbiguous = false; ///< others have the name, too
};

/// What the steps of a conversion share. The scene is not trusted: whatever a broken file can make a reader do, short of
/// wrong pointers and lengths, is met.
struct Conversion
{
    Conversion(Editor& editor, const aiScene& from, bool isFromGltf2) : edit(editor), scene(from), isGltf2(isFromGltf2)
    {
    }

    Editor& edit;
    const aiScene& scene;
    bool isGltf2; ///< whose reader hands on half the angle of a spot's cones, and one texture without its type
    std::function<void(float)> onProgress;

    db2::Node* model = nullptr;
    std::unordered_map<std::string, NamedTransform> transforms; ///< by the names in the scene
    std::vector<Instance> instances;
    std::vector<db2::Node*> images;                             ///< by the scene's index; null where there was none
    std::unordered_map<std::string, unsigned int> imagesByName; ///< without folders; for textures that name a file
    std::vector<db2::Node*> materials;                          ///< by the scene's index, as the images
    std::vector<db2::Node*> meshes;                             ///< likewise
    std::unordered_map<std::string, std::vector<unsigned int>> meshesByName;
};

/// Makes nodes of a scene below @p parent.
/// @return the model's node. Throws as Editor.
db2::Node& convert(const aiScene& scene, const std::wstring& modelName, bool isGltf2, db2::Node& parent, Editor& edit,
                   const std::function<void(float)>& onProgress);

// --- The steps, in order ---

void convertNodes(Conversion& conversion); ///< with cameras and lights
void convertImages(Conversion& conversion);
void convertMaterials(Conversion& conversion);
void convertMeshes(Conversion& conversion); ///< with bones and morph targets; connects the instances
void convertAnimations(Conversion& conversion);

// --- Parts of the steps ---

void addCamera(Conversion& conversion, const aiCamera& camera, const aiMatrix4x4& nodeMatrix, db2::Node& transform);
void addLight(Conversion& conversion, const aiLight& light, const aiMatrix4x4& nodeMatrix, db2::Node& transform);
void addBones(Conversion& conversion, const aiMesh& mesh, db2::Node& meshNode);
void addMorphTargets(Conversion& conversion, const aiMesh& mesh, db2::Node& meshNode);
void addTextures(Conversion& conversion, const aiMaterial& material, db2::Node& materialNode);
void addMetadata(Editor& edit, const aiMetadata& metadata, db2::Node& node);

/// Keeps a property under a name, with the type that fits it.
void keepProperty(Editor& edit, const aiMaterialProperty& property, const std::string& name, db2::Node& node);

/// The Transform of a name; null, with a remark at @p place, when there is none. Also remarks on one of several.
db2::Node* findTransform(Conversion& conversion, const aiString& name, const db2::Node& place);

// --- Values ---

[[nodiscard]] inline std::string_view bytesOf(const aiString& text)
{
    return {text.data, text.length < sizeof(text.data) ? text.length : sizeof(text.data) - 1};
}

[[nodiscard]] inline kqx::Vector3 vectorOf(const aiVector3D& v)
{
    return {v.x, v.y, v.z};
}

[[nodiscard]] inline kqx::Quat quatOf(const aiQuaternion& q)
{
    return {q.x, q.y, q.z, q.w};
}

[[nodiscard]] inline kqx::Colour colourOf(const aiColor3D& c)
{
    return {c.r, c.g, c.b, 1.0f};
}

/// Of a matrix that acts on columns the one that acts on rows.
[[nodiscard]] inline kqx::Matrix matrixOf(const aiMatrix4x4& m)
{
    kqx::Matrix matrix;
    for (unsigned int row = 0; row < 4; ++row)
        for (unsigned int column = 0; column < 4; ++column)
            matrix.m[row][column] = m[column][row];
    return matrix;
}

} // namespace db2import
