#include "Conversion.h"

#include "Text.h"

namespace db2import {
namespace {

/// The part of the whole that a step takes, for progress; meshes are most of it in most models.
struct Step
{
    void (*run)(Conversion&);
    float end;
};

constexpr Step kSteps[] = {{convertNodes, 0.2f},
                           {convertImages, 0.3f},
                           {convertMaterials, 0.4f},
                           {convertMeshes, 0.9f},
                           {convertAnimations, 1.0f}};

/// What belongs to the scene as a whole.
void addSceneProperties(Conversion& conversion)
{
    const aiScene& scene = conversion.scene;
    Editor& edit = conversion.edit;
    db2::Node& model = *conversion.model;
    if (scene.mName.length > 0)
        edit.addAttribute(model, L"sceneName", stringOf(edit.text(bytesOf(scene.mName), model)));
    if (scene.mMetaData != nullptr)
        addMetadata(edit, *scene.mMetaData, model);
    if ((scene.mFlags & AI_SCENE_FLAGS_TERRAIN) != 0)
        edit.addAttribute(model, L"isTerrain", true);
    if ((scene.mFlags & AI_SCENE_FLAGS_INCOMPLETE) != 0)
        edit.doubtful(model, L"the reader calls the scene incomplete");
    if (scene.mNumSkeletons > 0)
        edit.notKept(model, std::to_wstring(scene.mNumSkeletons) + L" skeletons that belong to no mesh");
}

} // namespace

db2::Node& convert(const aiScene& scene, const std::wstring& modelName, bool isGltf2, db2::Node& parent, Editor& edit,
                   const std::function<void(float)>& onProgress)
{
    Conversion conversion(edit, scene, isGltf2);
    conversion.model = &edit.createNode(db2host::scene::kFolder, modelName, parent);
    edit.setModel(*conversion.model);
    addSceneProperties(conversion);
    float begin = 0;
    for (const Step& step : kSteps)
    {
        conversion.onProgress = [&](float fraction) { onProgress(begin + fraction * (step.end - begin)); };
        step.run(conversion);
        begin = step.end;
        onProgress(begin);
    }
    return *conversion.model;
}

} // namespace db2import
