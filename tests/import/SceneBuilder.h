#pragma once

#include <assimp/material.h>
#include <assimp/scene.h>

#include <string>
#include <vector>

namespace db2test {

/// Makes scenes as a reader hands them on, those included that no reader should. The scene owns what is added.
class SceneBuilder
{
public:
    SceneBuilder() { scene.mRootNode = new aiNode("root"); }

    aiNode& addNode(const std::string& name, aiNode* parent = nullptr)
    {
        auto* node = new aiNode(name);
        (parent != nullptr ? parent : scene.mRootNode)->addChildren(1, &node);
        return *node;
    }

    /// A mesh of one triangle, which the node shows.
    aiMesh& addMesh(const std::string& name, aiNode& node)
    {
        auto* const mesh = new aiMesh;
        mesh->mName = name;
        mesh->mNumVertices = 3;
        mesh->mVertices = new aiVector3D[3]{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
        mesh->mNumFaces = 1;
        mesh->mFaces = new aiFace[1];
        mesh->mFaces[0].mNumIndices = 3;
        mesh->mFaces[0].mIndices = new unsigned int[3]{0, 1, 2};
        append(scene.mMeshes, scene.mNumMeshes, mesh);
        delete[] node.mMeshes;
        node.mNumMeshes = 1;
        node.mMeshes = new unsigned int[1]{scene.mNumMeshes - 1};
        if (scene.mNumMaterials == 0)
            addMaterial("material");
        return *mesh;
    }

    aiMaterial& addMaterial(const std::string& name)
    {
        auto* const material = new aiMaterial;
        const aiString text(name);
        material->AddProperty(&text, AI_MATKEY_NAME);
        append(scene.mMaterials, scene.mNumMaterials, material);
        return *material;
    }

    aiCamera& addCamera(const std::string& name)
    {
        auto* const camera = new aiCamera;
        camera->mName = name;
        append(scene.mCameras, scene.mNumCameras, camera);
        return *camera;
    }

    aiLight& addLight(const std::string& name, aiLightSourceType type)
    {
        auto* const light = new aiLight;
        light->mName = name;
        light->mType = type;
        append(scene.mLights, scene.mNumLights, light);
        return *light;
    }

    /// A compressed image of these bytes.
    aiTexture& addImage(const std::string& file, const std::string& bytes)
    {
        auto* const texture = new aiTexture;
        texture->mFilename = file;
        texture->mWidth = static_cast<unsigned int>(bytes.size());
        texture->pcData = new aiTexel[(bytes.size() + sizeof(aiTexel) - 1) / sizeof(aiTexel)];
        bytes.copy(static_cast<char*>(static_cast<void*>(texture->pcData)), bytes.size());
        append(scene.mTextures, scene.mNumTextures, texture);
        return *texture;
    }

    aiAnimation& addAnimation(const std::string& name, double ticksPerSecond, double duration)
    {
        auto* const animation = new aiAnimation;
        animation->mName = name;
        animation->mTicksPerSecond = ticksPerSecond;
        animation->mDuration = duration;
        append(scene.mAnimations, scene.mNumAnimations, animation);
        return *animation;
    }

    template <class T>
    static void append(T**& list, unsigned int& count, T* thing)
    {
        std::vector<T*> longer(list, list + count);
        longer.push_back(thing);
        delete[] list;
        list = new T*[longer.size()];
        std::copy(longer.begin(), longer.end(), list);
        ++count;
    }

    aiScene scene;
};

} // namespace db2test
