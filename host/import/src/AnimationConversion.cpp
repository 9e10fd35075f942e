#include "Conversion.h"

#include <algorithm>

namespace db2import {
namespace {

/// What players assume where a file does not say it.
constexpr double kDefaultTicksPerSecond = 25;

const wchar_t* extrapolationOf(aiAnimBehaviour behaviour)
{
    switch (behaviour)
    {
    case aiAnimBehaviour_CONSTANT: return L"constant";
    case aiAnimBehaviour_LINEAR: return L"linear";
    case aiAnimBehaviour_REPEAT: return L"repeat";
    default: return L"default";
    }
}

template <class Key>
kqx::DoubleArray timesOf(const Key* keys, unsigned int count, double ticksPerSecond)
{
    kqx::DoubleArray times(count);
    for (unsigned int i = 0; i < count; ++i)
        times[i] = keys[i].mTime / ticksPerSecond;
    return times;
}

kqx::Vector3Array valuesOf(const aiVectorKey* keys, unsigned int count)
{
    kqx::Vector3Array values(count);
    for (unsigned int i = 0; i < count; ++i)
        values[i] = vectorOf(keys[i].mValue);
    return values;
}

kqx::QuatArray valuesOf(const aiQuatKey* keys, unsigned int count)
{
    kqx::QuatArray values(count);
    for (unsigned int i = 0; i < count; ++i)
        values[i] = quatOf(keys[i].mValue);
    return values;
}

class ClipConversion
{
public:
    ClipConversion(Conversion& conversion, const aiAnimation& animation, db2::Node& clip)
        : conversion_(conversion), edit_(conversion.edit), animation_(animation), clip_(clip)
    {
    }

    void run()
    {
        setTimes();
        for (unsigned int i = 0; animation_.mChannels != nullptr && i < animation_.mNumChannels; ++i)
            if (animation_.mChannels[i] != nullptr)
                addChannel(*animation_.mChannels[i]);
        for (unsigned int i = 0; animation_.mMorphMeshChannels != nullptr && i < animation_.mNumMorphMeshChannels; ++i)
            if (animation_.mMorphMeshChannels[i] != nullptr)
                addMorphChannels(*animation_.mMorphMeshChannels[i]);
        for (unsigned int i = 0; animation_.mMeshChannels != nullptr && i < animation_.mNumMeshChannels; ++i)
            if (animation_.mMeshChannels[i] != nullptr)
                edit_.notKept(clip_, L"the replacement of the mesh \"" +
                                         edit_.text(bytesOf(animation_.mMeshChannels[i]->mName), clip_) +
                                         L"\" by others over time");
    }

private:
    void setTimes()
    {
        ticksPerSecond_ = animation_.mTicksPerSecond;
        if (!(ticksPerSecond_ > 0)) // a NaN, too
        {
            ticksPerSecond_ = kDefaultTicksPerSecond;
            edit_.changed(clip_, L"the file does not say how long a tick is; taken as 1/25 of a second");
        }
        edit_.set(clip_, db2host::scene::animationclip::kDuration, animation_.mDuration / ticksPerSecond_);
        edit_.addAttribute(clip_, L"ticksPerSecond", animation_.mTicksPerSecond);
    }

    void addChannel(const aiNodeAnim& from)
    {
        namespace element = db2host::scene::channel;
        const std::wstring name = edit_.name(bytesOf(from.mNodeName), clip_);
        db2::Node& node = edit_.createNode(db2host::scene::kChannel, name, clip_);
        ++edit_.counts().channels;
        if (db2::Node* const target = findTransform(conversion_, from.mNodeName, node))
            edit_.connect(*target, db2host::scene::transform::kSelf, node, element::kTarget);
        setKeys(node, element::kTranslationTimes, element::kTranslations, from.mPositionKeys, from.mNumPositionKeys);
        setKeys(node, element::kRotationTimes, element::kRotations, from.mRotationKeys, from.mNumRotationKeys);
        setKeys(node, element::kScaleTimes, element::kScales, from.mScalingKeys, from.mNumScalingKeys);
        edit_.choose(node, element::kBefore, extrapolationOf(from.mPreState));
        edit_.choose(node, element::kAfter, extrapolationOf(from.mPostState));
    }

    template <class Key>
    void setKeys(db2::Node& node, unsigned int times, unsigned int values, const Key* keys, unsigned int count)
    {
        if (keys == nullptr)
            return;
        edit_.set(node, times, timesOf(keys, count, ticksPerSecond_));
        edit_.set(node, values, valuesOf(keys, count));
    }

    /// A channel for each mesh that it weighs the targets of: it names a node, which may show several, or a mesh.
    void addMorphChannels(const aiMeshMorphAnim& from)
    {
        const std::vector<unsigned int> meshes = meshesOf(from.mName);
        for (const unsigned int mesh : meshes)
            addMorphChannel(from, mesh);
        if (meshes.empty())
        {
            db2::Node& node = addMorphChannel(from, static_cast<unsigned int>(conversion_.meshes.size()));
            edit_.notKept(node, L"the connection to its mesh, which is not there");
        }
    }

    std::vector<unsigned int> meshesOf(const aiString& name) const
    {
        std::vector<unsigned int> meshes;
        const auto found = conversion_.transforms.find(std::string(bytesOf(name)));
        if (found != conversion_.transforms.end())
        {
            const aiNode& node = *found->second.node;
            for (unsigned int i = 0; node.mMeshes != nullptr && i < node.mNumMeshes; ++i)
                if (hasMesh(node.mMeshes[i]))
                    meshes.push_back(node.mMeshes[i]);
        }
        const auto named = conversion_.meshesByName.find(std::string(bytesOf(name)));
        if (meshes.empty() && named != conversion_.meshesByName.end())
            meshes = named->second;
        return meshes;
    }

    [[nodiscard]] bool hasMesh(unsigned int index) const
    {
        return index < conversion_.meshes.size() && conversion_.meshes[index] != nullptr;
    }

    db2::Node& addMorphChannel(const aiMeshMorphAnim& from, unsigned int mesh)
    {
        namespace element = db2host::scene::morphchannel;
        const std::wstring name = edit_.name(bytesOf(from.mName), clip_);
        db2::Node& node = edit_.createNode(db2host::scene::kMorphChannel, name, clip_);
        ++edit_.counts().channels;
        unsigned int targets = 0;
        if (hasMesh(mesh))
        {
            edit_.connect(*conversion_.meshes[mesh], db2host::scene::mesh::kSelf, node, element::kTarget);
            targets = conversion_.scene.mMeshes[mesh]->mNumAnimMeshes;
        }
        const unsigned int count = from.mKeys != nullptr ? from.mNumKeys : 0;
        edit_.set(node, element::kTimes, timesOf(from.mKeys, count, ticksPerSecond_));
        setWeights(from.mKeys, count, targets, node);
        return node;
    }

    /// Each key says the weights of the targets that it names; the others have none then.
    void setWeights(const aiMeshMorphKey* keys, unsigned int count, unsigned int targets, db2::Node& node)
    {
        namespace element = db2host::scene::morphchannel;
        if (targets == 0) // a mesh that is not there: as many as the keys have weights
            for (unsigned int i = 0; i < count; ++i)
                targets = std::max(targets, keys[i].mNumValuesAndWeights);
        kqx::DoubleArray weights(std::size_t{count} * targets);
        std::size_t without = 0;
        for (unsigned int i = 0; i < count; ++i)
        {
            const aiMeshMorphKey& key = keys[i];
            const bool isThere = key.mValues != nullptr && key.mWeights != nullptr;
            for (unsigned int j = 0; isThere && j < key.mNumValuesAndWeights; ++j)
            {
                if (key.mValues[j] < targets)
                    weights[std::size_t{i} * targets + key.mValues[j]] = key.mWeights[j];
                else
                    ++without;
            }
        }
        edit_.set(node, element::kWeights, std::move(weights));
        edit_.set(node, element::kTargetCount, static_cast<int>(targets));
        if (without > 0)
            edit_.notKept(node, std::to_wstring(without) + L" weights of morph targets that are not there");
    }

    Conversion& conversion_;
    Editor& edit_;
    const aiAnimation& animation_;
    db2::Node& clip_;
    double ticksPerSecond_ = kDefaultTicksPerSecond;
};

} // namespace

void convertAnimations(Conversion& conversion)
{
    const aiScene& scene = conversion.scene;
    const unsigned int count = scene.mAnimations != nullptr ? scene.mNumAnimations : 0;
    db2::Node* folder = nullptr;
    for (unsigned int i = 0; i < count; ++i)
    {
        conversion.onProgress(static_cast<float>(i) / static_cast<float>(count));
        if (scene.mAnimations[i] == nullptr)
            continue;
        if (folder == nullptr)
            folder = &conversion.edit.createNode(db2host::scene::kFolder, L"Animations", *conversion.model);
        const std::wstring name = conversion.edit.name(bytesOf(scene.mAnimations[i]->mName), *folder);
        db2::Node& clip = conversion.edit.createNode(db2host::scene::kAnimationClip, name, *folder);
        ++conversion.edit.counts().animationClips;
        ClipConversion(conversion, *scene.mAnimations[i], clip).run();
    }
}

} // namespace db2import
