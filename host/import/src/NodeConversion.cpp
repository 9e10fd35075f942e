#include "Conversion.h"

#include "Decomposition.h"

namespace db2import {
namespace {

namespace transform = db2host::scene::transform;

/// Cameras and lights find their place in the tree by name.
using ByName = std::unordered_map<std::string, std::vector<unsigned int>>;

template <class Thing>
ByName indexByName(Thing* const* things, unsigned int count)
{
    ByName byName;
    for (unsigned int i = 0; things != nullptr && i < count; ++i)
        if (things[i] != nullptr)
            byName[std::string(bytesOf(things[i]->mName))].push_back(i);
    return byName;
}

/// Takes what waits for a name.
std::vector<unsigned int> take(ByName& byName, const std::string& name)
{
    const auto found = byName.find(name);
    if (found == byName.end())
        return {};
    std::vector<unsigned int> indices = std::move(found->second);
    byName.erase(found);
    return indices;
}

class NodeConversion
{
public:
    explicit NodeConversion(Conversion& conversion)
        : conversion_(conversion), edit_(conversion.edit),
          cameras_(indexByName(conversion.scene.mCameras, conversion.scene.mNumCameras)),
          lights_(indexByName(conversion.scene.mLights, conversion.scene.mNumLights))
    {
    }

    void run()
    {
        db2::Node* root = nullptr;
        std::vector<Step> pending; // not recursion: trees may be deep
        if (conversion_.scene.mRootNode != nullptr)
            pending.push_back({conversion_.scene.mRootNode, conversion_.model});
        while (!pending.empty())
        {
            const Step step = pending.back();
            pending.pop_back();
            db2::Node& made = convert(*step.node, *step.parent);
            if (root == nullptr)
                root = &made;
            pushChildren(*step.node, made, pending);
        }
        placeTheRest(root != nullptr ? *root : *conversion_.model);
    }

private:
    struct Step
    {
        const aiNode* node;
        db2::Node* parent;
    };

    void pushChildren(const aiNode& node, db2::Node& made, std::vector<Step>& pending)
    {
        for (unsigned int i = node.mChildren != nullptr ? node.mNumChildren : 0; i-- > 0;) // the first is taken first
        {
            if (node.mChildren[i] != nullptr)
                pending.push_back({node.mChildren[i], &made});
            else
                edit_.doubtful(made, L"a child that is not there");
        }
    }

    db2::Node& convert(const aiNode& node, db2::Node& parent)
    {
        const std::string name(bytesOf(node.mName));
        db2::Node& made = edit_.createNode(db2host::scene::kTransform, edit_.name(name, parent), parent);
        ++edit_.counts().transforms;
        if (parent.getTypeId() == db2host::scene::kTransform)
            edit_.connect(parent, transform::kWorld, made, transform::kParentWorld);
        enter(name, node, made);
        place(node, made);
        addInstances(node, made);
        addViews(name, node, made);
        if (node.mMetaData != nullptr)
            addMetadata(edit_, *node.mMetaData, made);
        return made;
    }

    void enter(const std::string& name, const aiNode& node, db2::Node& made)
    {
        const auto [at, isNew] = conversion_.transforms.try_emplace(name, NamedTransform{&made, &node});
        if (!isNew)
            at->second.isAmbiguous = true;
    }

    void place(const aiNode& node, db2::Node& made)
    {
        const Decomposition parts = decompose(node.mTransformation);
        edit_.set(made, transform::kTranslation, parts.translation);
        edit_.set(made, transform::kRotation, parts.rotation);
        edit_.set(made, transform::kScale, parts.scale);
        if (parts.isWhole)
            return;
        edit_.addAttribute(made, L"importedMatrix", matrixOf(node.mTransformation));
        edit_.changed(made, L"its matrix is no scale, rotation and translation; the Transform has what comes near, and "
                            L"\"importedMatrix\" the whole");
    }

    void addInstances(const aiNode& node, db2::Node& made)
    {
        for (unsigned int i = 0; node.mMeshes != nullptr && i < node.mNumMeshes; ++i)
        {
            const unsigned int index = node.mMeshes[i];
            const aiScene& scene = conversion_.scene;
            if (scene.mMeshes == nullptr || index >= scene.mNumMeshes || scene.mMeshes[index] == nullptr)
            {
                edit_.notKept(made, L"a mesh that is not there: number " + std::to_wstring(index));
                continue;
            }
            const std::wstring name = edit_.name(bytesOf(scene.mMeshes[index]->mName), made);
            db2::Node& instance = edit_.createNode(db2host::scene::kMeshInstance, name, made);
            conversion_.instances.push_back({&instance, index});
        }
    }

    void addViews(const std::string& name, const aiNode& node, db2::Node& made)
    {
        for (const unsigned int index : take(cameras_, name))
            addCamera(conversion_, *conversion_.scene.mCameras[index], node.mTransformation, made);
        for (const unsigned int index : take(lights_, name))
            addLight(conversion_, *conversion_.scene.mLights[index], node.mTransformation, made);
    }

    /// Cameras and lights whose name no node has, in the scene's order.
    void placeTheRest(db2::Node& root)
    {
        const aiScene& scene = conversion_.scene;
        for (unsigned int i = 0; !cameras_.empty() && i < scene.mNumCameras; ++i)
            if (scene.mCameras[i] != nullptr && cameras_.contains(std::string(bytesOf(scene.mCameras[i]->mName))))
                addLost(*scene.mCameras[i], root, addCamera, L"the camera \"");
        for (unsigned int i = 0; !lights_.empty() && i < scene.mNumLights; ++i)
            if (scene.mLights[i] != nullptr && lights_.contains(std::string(bytesOf(scene.mLights[i]->mName))))
                addLost(*scene.mLights[i], root, addLight, L"the light \"");
    }

    template <class Thing, class Add>
    void addLost(const Thing& thing, db2::Node& root, Add add, const wchar_t* what)
    {
        edit_.changed(root, what + edit_.text(bytesOf(thing.mName), root) + L"\" has no node and stands here");
        add(conversion_, thing, aiMatrix4x4(), root);
    }

    Conversion& conversion_;
    Editor& edit_;
    ByName cameras_; ///< those that have no place yet
    ByName lights_;
};

} // namespace

void convertNodes(Conversion& conversion)
{
    NodeConversion(conversion).run();
}

db2::Node* findTransform(Conversion& conversion, const aiString& name, const db2::Node& place)
{
    const auto found = conversion.transforms.find(std::string(bytesOf(name)));
    if (found == conversion.transforms.end())
    {
        conversion.edit.notKept(place, L"the connection to the node \"" + conversion.edit.text(bytesOf(name), place) +
                                           L"\", which is not there");
        return nullptr;
    }
    if (found->second.isAmbiguous)
        conversion.edit.doubtful(place, L"several nodes are called \"" + conversion.edit.text(bytesOf(name), place) +
                                            L"\"; connected to the first");
    return found->second.transform;
}

} // namespace db2import
