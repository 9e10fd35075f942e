#include "ImportTest.h"

namespace db2test {
namespace {

namespace scene = db2host::scene;
using db2import::ImportRemark;
using db2import::ImportReport;

/// Models as people write them, through the reader.
using ImportFormatsTest = ImportTest;

// --- Wavefront ---

constexpr char kObj[] = "mtllib house.mtl\n"
                        "o walls\n"
                        "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0.5 1.5 0\n"
                        "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nvt 0.5 0.5\n"
                        "vn 0 0 1\n"
                        "usemtl brick\n"
                        "f 1/1/1 2/2/1 3/3/1 4/4/1\n"
                        "usemtl tile\n"
                        "f 4/4/1 3/3/1 5/5/1\n";

constexpr char kMtl[] = "newmtl brick\n"
                        "Kd 0.5 0.25 0.125\nKs 0.1 0.2 0.3\nKe 0 0 0.5\nNs 32\nd 0.75\nNi 1.5\nillum 2\n"
                        "map_Kd -clamp on textures/brick.png\n"
                        "newmtl tile\nKd 1 0 0\n";

TEST_F(ImportFormatsTest, ObjKeepsFacesOfAnySizeAndAMeshForEachMaterial)
{
    folder.write("house.mtl", kMtl);
    const ImportReport report = importText("house.obj", kObj);
    EXPECT_EQ(report.format, L"Wavefront Object Importer");
    EXPECT_EQ(report.model->getName(), L"house");
    EXPECT_EQ(report.model->getTypeId(), scene::kFolder);
    EXPECT_EQ(report.counts.meshes, 2u);
    EXPECT_EQ(report.counts.faces, 2u);

    const Node* const quad = at(report, L"|Meshes|walls");
    EXPECT_EQ(valueOf(quad, scene::mesh::kFaceSizes).getIntArray(), (kqx::IntArray{4}));
    EXPECT_EQ(valueOf(quad, scene::mesh::kIndices).getIntArray(), (kqx::IntArray{0, 1, 2, 3}));
    EXPECT_EQ(streamOf(quad, scene::mesh::kVertices, L"position"),
              (kqx::FloatArray{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}));
    EXPECT_EQ(streamOf(quad, scene::mesh::kVertices, L"texcoord0"), (kqx::FloatArray{0, 0, 1, 0, 1, 1, 0, 1}));
    EXPECT_EQ(streamOf(quad, scene::mesh::kVertices, L"normal"), (kqx::FloatArray{0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1}));
    const Node* const triangle = quad->getNextSibling();
    EXPECT_TRUE(valueOf(triangle, scene::mesh::kFaceSizes).getIntArray().empty()) << "all are triangles";
    EXPECT_EQ(targetOf(quad, scene::mesh::kMaterial), at(report, L"|Materials|brick"));
    EXPECT_EQ(targetOf(triangle, scene::mesh::kMaterial), at(report, L"|Materials|tile"));
}

TEST_F(ImportFormatsTest, ObjMaterialsKeepWhatIsKnownAndWhatIsNot)
{
    folder.write("house.mtl", kMtl);
    const ImportReport report = importText("house.obj", kObj);
    const Node* const brick = at(report, L"|Materials|brick");
    namespace material = scene::material;
    EXPECT_EQ(choiceOf(brick, material::kShading), L"phong");
    EXPECT_EQ(valueOf(brick, material::kBaseColour).getColour(), kqx::Colour(0.5f, 0.25f, 0.125f, 1));
    EXPECT_EQ(valueOf(brick, material::kSpecularColour).getColour(), kqx::Colour(0.1f, 0.2f, 0.3f, 1));
    EXPECT_EQ(valueOf(brick, material::kEmissiveColour).getColour(), kqx::Colour(0, 0, 0.5f, 1));
    EXPECT_EQ(valueOf(brick, material::kShininess).getFloat(), 32);
    EXPECT_EQ(valueOf(brick, material::kOpacity).getFloat(), 0.75f);
    EXPECT_EQ(valueOf(brick, material::kIndexOfRefraction).getFloat(), 1.5f);
    EXPECT_EQ(valueOf(brick, L"$clr.ambient").asColour(), kqx::Colour(0, 0, 0, 1));

    const Node* const texture = brick->getFirstChild();
    ASSERT_NE(texture, nullptr);
    EXPECT_EQ(choiceOf(texture, scene::texture::kSlot), L"base colour");
    EXPECT_EQ(valueOf(texture, scene::texture::kFile).getString(), L"textures/brick.png");
    EXPECT_EQ(choiceOf(texture, scene::texture::kWrapU), L"clamp");
}

TEST_F(ImportFormatsTest, AnInstanceStandsBelowTheTransformAndShowsTheMesh)
{
    folder.write("house.mtl", kMtl);
    const ImportReport report = importText("house.obj", kObj);
    const Node* const instance = at(report, L"|house\\.obj|walls|walls");
    ASSERT_EQ(instance->getTypeId(), scene::kMeshInstance);
    EXPECT_EQ(targetOf(instance, scene::meshinstance::kMesh), at(report, L"|Meshes|walls"));
}

// --- Collada with a skin ---

/// Two joints, the second a unit above the first, and a triangle that they move; lights and cameras in degrees.
constexpr char kCollada[] = R"(<?xml version="1.0" encoding="utf-8"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><unit meter="1" name="meter"/><up_axis>Y_UP</up_axis></asset>
<library_cameras><camera id="eye" name="eye"><optics><technique_common><perspective>
 <xfov>90</xfov><aspect_ratio>2</aspect_ratio><znear>0.5</znear><zfar>50</zfar>
</perspective></technique_common></optics></camera></library_cameras>
<library_lights><light id="lamp"><technique_common><spot><color>1 0.5 0.25</color>
 <constant_attenuation>1</constant_attenuation><linear_attenuation>0</linear_attenuation>
 <quadratic_attenuation>0.5</quadratic_attenuation><falloff_angle>60</falloff_angle>
</spot></technique_common></light></library_lights>
<library_geometries><geometry id="flag"><mesh>
 <source id="p"><float_array id="pa" count="9">0 0 0 1 0 0 0 1 0</float_array><technique_common>
  <accessor source="#pa" count="3" stride="3"><param name="X" type="float"/><param name="Y" type="float"/>
  <param name="Z" type="float"/></accessor></technique_common></source>
 <vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
 <triangles count="1"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2</p></triangles>
</mesh></geometry></library_geometries>
<library_controllers><controller id="skin"><skin source="#flag">
 <bind_shape_matrix>1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1</bind_shape_matrix>
 <source id="j"><Name_array id="ja" count="2">low high</Name_array><technique_common>
  <accessor source="#ja" count="2" stride="1"><param name="JOINT" type="name"/></accessor></technique_common></source>
 <source id="b"><float_array id="ba" count="32">1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 1 0 0 0 0 1 0 -1 0 0 1 0 0 0 0 1
  </float_array><technique_common><accessor source="#ba" count="2" stride="16"><param name="TRANSFORM" type="float4x4"/>
  </accessor></technique_common></source>
 <source id="w"><float_array id="wa" count="3">1 0.25 0.75</float_array><technique_common>
  <accessor source="#wa" count="3" stride="1"><param name="WEIGHT" type="float"/></accessor></technique_common></source>
 <joints><input semantic="JOINT" source="#j"/><input semantic="INV_BIND_MATRIX" source="#b"/></joints>
 <vertex_weights count="3"><input semantic="JOINT" source="#j" offset="0"/>
  <input semantic="WEIGHT" source="#w" offset="1"/><vcount>1 1 2</vcount><v>0 0 0 0 0 1 1 2</v></vertex_weights>
</skin></controller></library_controllers>
<library_visual_scenes><visual_scene id="s">
 <node id="low" sid="low" name="low" type="JOINT"><translate>0 0 0</translate>
  <node id="high" sid="high" name="high" type="JOINT"><translate>0 1 0</translate></node></node>
 <node id="cloth" name="cloth"><instance_controller url="#skin"><skeleton>#low</skeleton></instance_controller></node>
 <node id="watcher" name="watcher"><instance_camera url="#eye"/></node>
 <node id="shine" name="shine"><instance_light url="#lamp"/></node>
</visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#s"/></scene>
</COLLADA>
)";

TEST_F(ImportFormatsTest, ColladaSkinsKeepJointsWeightsAndTheBindPose)
{
    const ImportReport report = importText("flag.dae", kCollada);
    ASSERT_EQ(report.counts.bones, 2u);
    const Node* const mesh = report.model->findChildByName(L"Meshes")->getFirstChild();
    const Node* const skeleton = mesh->getFirstChild();
    ASSERT_EQ(skeleton->getTypeId(), scene::kSkeleton);
    const Node* const low = skeleton->getFirstChild();
    const Node* const high = low->getNextSibling();

    EXPECT_EQ(low->getName(), L"low");
    EXPECT_EQ(targetOf(high, scene::bone::kJointWorld)->getName(), L"high");
    EXPECT_EQ(targetOf(high, scene::bone::kJointWorld)->getTypeId(), scene::kTransform);
    EXPECT_EQ(valueOf(low, scene::bone::kVertexIndices).getIntArray(), (kqx::IntArray{0, 1, 2}));
    EXPECT_EQ(valueOf(low, scene::bone::kWeights).getFloatArray(), (kqx::FloatArray{1, 1, 0.25f}));
    EXPECT_EQ(valueOf(high, scene::bone::kVertexIndices).getIntArray(), (kqx::IntArray{2}));
    EXPECT_EQ(valueOf(high, scene::bone::kInverseBind).getMatrix().m[3][1], -1)
        << "rows: the translation stands in row 3";
    EXPECT_TRUE(valueOf(high, scene::bone::kSkinning).getMatrix().compare(kqx::Matrix(), 1e-6f))
        << "in the bind pose a bone moves nothing";
}

TEST_F(ImportFormatsTest, ColladaCamerasAndLightsComeInRadiansAndMetres)
{
    const ImportReport report = importText("flag.dae", kCollada);
    constexpr float kPi = 3.14159265f;
    Node* camera = nullptr;
    Node* light = nullptr;
    for (NodeIterator nodes(report.model); nodes.next();)
    {
        camera = nodes.node()->getTypeId() == scene::kCamera ? nodes.node() : camera;
        light = nodes.node()->getTypeId() == scene::kLight ? nodes.node() : light;
    }
    ASSERT_TRUE(camera != nullptr && light != nullptr);
    EXPECT_NEAR(valueOf(camera, scene::camera::kFieldOfView).getFloat(), kPi / 2, 1e-6f);
    EXPECT_EQ(valueOf(camera, scene::camera::kAspectRatio).getFloat(), 2);
    EXPECT_EQ(valueOf(camera, scene::camera::kNearPlane).getFloat(), 0.5f);
    EXPECT_EQ(valueOf(camera, scene::camera::kFarPlane).getFloat(), 50);
    EXPECT_EQ(choiceOf(light, scene::light::kKind), L"spot");
    EXPECT_EQ(valueOf(light, scene::light::kColour).getColour(), kqx::Colour(1, 0.5f, 0.25f, 1));
    EXPECT_EQ(valueOf(light, scene::light::kQuadraticAttenuation).getFloat(), 0.5f);
    EXPECT_NEAR(valueOf(light, scene::light::kInnerCone).getFloat(), kPi / 3, 1e-6f);
}

// --- In the document ---

TEST_F(ImportFormatsTest, ImportsAreOneUnitOfWorkThatUndoTakesBack)
{
    const std::wstring before = dump();
    importText("flag.dae", kCollada);
    const std::wstring after = dump();
    EXPECT_EQ(session.undo().getUndoStackSize(), 1u);
    ASSERT_EQ(session.undo().undo(), Status::kSuccess);
    EXPECT_TRUE(isSameDump(before, dump()));
    ASSERT_EQ(session.undo().redo(), Status::kSuccess);
    EXPECT_TRUE(isSameDump(after, dump()));
}

TEST_F(ImportFormatsTest, AModelCanBeImportedTwiceAndEachIsWiredToItself)
{
    const ImportReport first = importText("flag.dae", kCollada);
    const ImportReport second = importText("flag.dae", kCollada);
    EXPECT_NE(first.model->getName(), second.model->getName());
    for (NodeIterator nodes(second.model); nodes.next();)
    {
        for (AttributeIterator attributes(nodes.node()); attributes.next();)
        {
            const Attribute* const target = attributes.attr()->getReference();
            EXPECT_TRUE(target == nullptr || target->getNode()->isDescendantOf(second.model))
                << attributes.attr()->getName();
        }
    }
}

TEST_F(ImportFormatsTest, AModelBelowATransformMovesWithIt)
{
    Node* const stage = scene::createTransform(session.data(), L"stage", nullptr);
    folder.write("house.obj", kObj);
    const ImportReport report =
        db2import::importModel(folder.file("house.obj"), session.data(), session.core(), *stage, options);
    ASSERT_TRUE(report.isImported());
    const Node* const root = report.model->getFirstChild();
    ASSERT_EQ(root->getTypeId(), scene::kTransform);
    EXPECT_EQ(targetOf(root, scene::transform::kParentWorld), stage);
}

TEST_F(ImportFormatsTest, FileNamesMayBeInAnyScript)
{
    const ImportReport report = importText("\u043c\u043e\u0434\u0435\u043b\u044c \u65b0.obj", kObj);
    EXPECT_EQ(report.model->getName(), L"\u043c\u043e\u0434\u0435\u043b\u044c \u65b0");
}

TEST_F(ImportFormatsTest, InThisProcessTheResultIsTheSame)
{
    folder.write("house.mtl", kMtl);
    folder.write("house.obj", kObj);
    const ImportReport apart = importText("flag.dae", kCollada);
    const ImportReport apartHouse = import(folder.file("house.obj"));
    const std::wstring expected = dump();
    ASSERT_TRUE(session.clear());

    options.inOwnProcess = false;
    const ImportReport here = importText("flag.dae", kCollada);
    const ImportReport house = import(folder.file("house.obj"));
    EXPECT_TRUE(isSameDump(expected, dump()));
    EXPECT_EQ(here.counts, apart.counts);
    EXPECT_EQ(here.format, apart.format);
    EXPECT_EQ(house.counts, apartHouse.counts);
    EXPECT_EQ(house.remarks.size(), apartHouse.remarks.size());
}

TEST_F(ImportFormatsTest, ExtensionsAreListedInOrder)
{
    const std::vector<std::string> extensions = db2import::importableExtensions();
    EXPECT_TRUE(std::is_sorted(extensions.begin(), extensions.end()));
    for (const char* const known : {"3ds", "dae", "fbx", "glb", "gltf", "obj", "ply", "stl"})
        EXPECT_TRUE(std::binary_search(extensions.begin(), extensions.end(), known)) << known;
}

} // namespace
} // namespace db2test
