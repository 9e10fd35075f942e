#include "Conversion.h"

#include <limits>

namespace db2import {
namespace {

namespace mesh = db2host::scene::mesh;

/// Appends a stream of the first components of vectors; none when there are no vectors.
template <class Vector>
void addStream(kqx::VertexBuffer& buffer, const std::wstring& name, const Vector* vectors, unsigned int vertices,
               unsigned int components)
{
    if (vectors == nullptr || vertices == 0)
        return;
    kqx::FloatArray& data = buffer.getStream(buffer.addStream(name.c_str(), components));
    data.resize(std::size_t{vertices} * components);
    float* to = data.data();
    for (unsigned int i = 0; i < vertices; ++i)
        for (unsigned int component = 0; component < components; ++component)
            *to++ = vectors[i][component];
}

/// The streams of a mesh or of a morph target, which have the same members.
template <class Streams, class Components>
kqx::VertexBuffer buffersOf(const Streams& from, Components texcoordComponents)
{
    kqx::VertexBuffer buffer;
    addStream(buffer, L"position", from.mVertices, from.mNumVertices, 3);
    addStream(buffer, L"normal", from.mNormals, from.mNumVertices, 3);
    addStream(buffer, L"tangent", from.mTangents, from.mNumVertices, 3);
    addStream(buffer, L"bitangent", from.mBitangents, from.mNumVertices, 3);
    for (unsigned int set = 0; set < AI_MAX_NUMBER_OF_TEXTURECOORDS; ++set)
        addStream(buffer, L"texcoord" + std::to_wstring(set), from.mTextureCoords[set], from.mNumVertices,
                  texcoordComponents(set));
    for (unsigned int set = 0; set < AI_MAX_NUMBER_OF_COLOR_SETS; ++set)
        addStream(buffer, L"colour" + std::to_wstring(set), from.mColors[set], from.mNumVertices, 4);
    return buffer;
}

/// How many components of a set of texture coordinates mean something.
unsigned int texcoordComponents(const aiMesh& mesh, unsigned int set)
{
    const unsigned int components = mesh.mNumUVComponents[set];
    return components == 1 || components == 2 ? components : 3;
}

class MeshConversion
{
public:
    MeshConversion(Conversion& conversion, const aiMesh& mesh, db2::Node& node)
        : conversion_(conversion), edit_(conversion.edit), mesh_(mesh), node_(node)
    {
    }

    void run()
    {
        edit_.counts().vertices += mesh_.mNumVertices;
        edit_.set(node_, mesh::kVertices,
                  buffersOf(mesh_, [this](unsigned int set) { return texcoordComponents(mesh_, set); }));
        addFaces();
        addMaterial();
        addRest();
        addMorphTargets(conversion_, mesh_, node_);
        addBones(conversion_, mesh_, node_);
    }

private:
    void addFaces()
    {
        const unsigned int count = mesh_.mFaces != nullptr ? mesh_.mNumFaces : 0;
        kqx::IntArray indices;
        kqx::IntArray sizes;
        indices.reserve(std::size_t{count} * 3);
        bool areTriangles = true;
        std::size_t outside = 0;
        for (unsigned int i = 0; i < count; ++i)
        {
            const aiFace& face = mesh_.mFaces[i];
            const unsigned int size = face.mIndices != nullptr ? face.mNumIndices : 0;
            areTriangles = areTriangles && size == 3;
            for (unsigned int corner = 0; corner < size; ++corner)
            {
                outside += face.mIndices[corner] >= mesh_.mNumVertices ? 1 : 0;
                indices.push_back(static_cast<int>(face.mIndices[corner]));
            }
        }
        if (!areTriangles)
        {
            sizes.reserve(count);
            for (unsigned int i = 0; i < count; ++i)
                sizes.push_back(mesh_.mFaces[i].mIndices != nullptr ? static_cast<int>(mesh_.mFaces[i].mNumIndices)
                                                                    : 0);
        }
        edit_.counts().faces += count;
        edit_.set(node_, mesh::kIndices, std::move(indices));
        edit_.set(node_, mesh::kFaceSizes, std::move(sizes));
        if (outside > 0)
            edit_.doubtful(node_, std::to_wstring(outside) + L" corners of faces at vertices that are not there");
    }

    void addMaterial()
    {
        const unsigned int index = mesh_.mMaterialIndex;
        if (index < conversion_.materials.size() && conversion_.materials[index] != nullptr)
            edit_.connect(*conversion_.materials[index], db2host::scene::material::kSelf, node_, mesh::kMaterial);
        else
            edit_.notKept(node_, L"a material that is not there: number " + std::to_wstring(index));
    }

    /// What the node type has no place for.
    void addRest()
    {
        for (unsigned int set = 0; set < AI_MAX_NUMBER_OF_TEXTURECOORDS; ++set)
            if (const aiString* const name = mesh_.GetTextureCoordsName(set); name != nullptr && name->length > 0)
                edit_.addAttribute(node_, L"texcoord" + std::to_wstring(set) + L"Name",
                                   kqx::String(edit_.text(bytesOf(*name), node_).c_str()));
        if (mesh_.mMethod != 0)
            edit_.addAttribute(node_, L"morphMethod", static_cast<int>(mesh_.mMethod));
        if (mesh_.mAABB.mMin != aiVector3D() || mesh_.mAABB.mMax != aiVector3D())
        {
            edit_.addAttribute(node_, L"boundsMin", vectorOf(mesh_.mAABB.mMin));
            edit_.addAttribute(node_, L"boundsMax", vectorOf(mesh_.mAABB.mMax));
        }
    }

    Conversion& conversion_;
    Editor& edit_;
    const aiMesh& mesh_;
    db2::Node& node_;
};

void addBone(Conversion& conversion, const aiMesh& mesh, const aiBone& bone, db2::Node& skeleton)
{
    namespace element = db2host::scene::bone;
    Editor& edit = conversion.edit;
    db2::Node& node = edit.createNode(db2host::scene::kBone, edit.name(bytesOf(bone.mName), skeleton), skeleton);
    ++edit.counts().bones;
    if (db2::Node* const joint = findTransform(conversion, bone.mName, node))
        edit.connect(*joint, db2host::scene::transform::kWorld, node, element::kJointWorld);
    edit.set(node, element::kInverseBind, matrixOf(bone.mOffsetMatrix));

    const unsigned int count = bone.mWeights != nullptr ? bone.mNumWeights : 0;
    kqx::IntArray vertices(count);
    kqx::FloatArray weights(count);
    std::size_t outside = 0;
    for (unsigned int i = 0; i < count; ++i)
    {
        vertices[i] = static_cast<int>(bone.mWeights[i].mVertexId);
        weights[i] = bone.mWeights[i].mWeight;
        outside += bone.mWeights[i].mVertexId >= mesh.mNumVertices ? 1 : 0;
    }
    edit.set(node, element::kVertexIndices, std::move(vertices));
    edit.set(node, element::kWeights, std::move(weights));
    if (outside > 0)
        edit.doubtful(node, std::to_wstring(outside) + L" weights of vertices that are not there");
}

void connectInstances(Conversion& conversion)
{
    namespace scene = db2host::scene;
    for (const Instance& instance : conversion.instances)
        if (db2::Node* const meshNode = conversion.meshes[instance.mesh])
            conversion.edit.connect(*meshNode, mesh::kSelf, *instance.node, scene::meshinstance::kMesh);
}

} // namespace

void convertMeshes(Conversion& conversion)
{
    const aiScene& scene = conversion.scene;
    const unsigned int count = scene.mMeshes != nullptr ? scene.mNumMeshes : 0;
    conversion.meshes.assign(count, nullptr);
    db2::Node* folder = nullptr;
    for (unsigned int i = 0; i < count; ++i)
    {
        conversion.onProgress(static_cast<float>(i) / static_cast<float>(count));
        if (scene.mMeshes[i] == nullptr)
            continue;
        if (folder == nullptr)
            folder = &conversion.edit.createNode(db2host::scene::kFolder, L"Meshes", *conversion.model);
        const std::wstring name = conversion.edit.name(bytesOf(scene.mMeshes[i]->mName), *folder);
        db2::Node& node = conversion.edit.createNode(db2host::scene::kMesh, name, *folder);
        ++conversion.edit.counts().meshes;
        conversion.meshes[i] = &node;
        conversion.meshesByName[std::string(bytesOf(scene.mMeshes[i]->mName))].push_back(i);
        MeshConversion(conversion, *scene.mMeshes[i], node).run();
    }
    connectInstances(conversion);
}

void addMorphTargets(Conversion& conversion, const aiMesh& mesh, db2::Node& meshNode)
{
    namespace element = db2host::scene::morphtarget;
    Editor& edit = conversion.edit;
    for (unsigned int i = 0; mesh.mAnimMeshes != nullptr && i < mesh.mNumAnimMeshes; ++i)
    {
        if (mesh.mAnimMeshes[i] == nullptr)
        {
            edit.notKept(meshNode, L"a morph target that is not there: number " + std::to_wstring(i));
            continue;
        }
        const aiAnimMesh& target = *mesh.mAnimMeshes[i];
        const std::wstring name = edit.name(bytesOf(target.mName), meshNode);
        db2::Node& node = edit.createNode(db2host::scene::kMorphTarget, name, meshNode);
        ++edit.counts().morphTargets;
        edit.set(node, element::kVertices,
                 buffersOf(target, [&mesh](unsigned int set) { return texcoordComponents(mesh, set); }));
        edit.set(node, element::kWeight, target.mWeight);
        if (target.mNumVertices != mesh.mNumVertices)
            edit.doubtful(node, std::to_wstring(target.mNumVertices) + L" vertices, where the mesh has " +
                                    std::to_wstring(mesh.mNumVertices));
    }
}

void addBones(Conversion& conversion, const aiMesh& mesh, db2::Node& meshNode)
{
    if (mesh.mBones == nullptr || mesh.mNumBones == 0)
        return;
    db2::Node& skeleton = conversion.edit.createNode(db2host::scene::kSkeleton, L"Skeleton", meshNode);
    for (unsigned int i = 0; i < mesh.mNumBones; ++i)
    {
        if (mesh.mBones[i] != nullptr)
            addBone(conversion, mesh, *mesh.mBones[i], skeleton);
        else
            conversion.edit.notKept(skeleton, L"a bone that is not there: number " + std::to_wstring(i));
    }
}

} // namespace db2import
