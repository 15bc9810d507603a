#include <cstring>

#include "host/io/bitmap.h"
#include "tests/host/io/gltf_builder.h"
#include "tests/host/io/import_testing.h"

namespace {

// A triangle (0,0,0) (1,0,0) (0,1,0) with texture coordinates equal to x and y, 60 + 6 bytes.
std::string TriangleBytes() {
    float numbers[15] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1};
    uint16_t indices[3] = {0, 1, 2};
    std::string bytes(reinterpret_cast<const char*>(numbers), sizeof numbers);
    return bytes + std::string(reinterpret_cast<const char*>(indices), sizeof indices);
}

const std::string kNodes =
    R"("nodes":[{"name":"a","mesh":0,"translation":[1,2,3],"scale":[2,2,2],"children":[1]},
    {"mesh":0,"rotation":[0,0,0.70710678,0.70710678]}],"scenes":[{"nodes":[0]}],"scene":0,)";
const std::string kMesh =
    R"("meshes":[{"name":"tri","primitives":[
    {"attributes":{"POSITION":0,"TEXCOORD_0":1},"indices":2,"material":0},
    {"attributes":{"POSITION":0},"indices":2,"material":1}]}],)";
const std::string kMaterials =
    R"("materials":[{"name":"leaf","pbrMetallicRoughness":{"baseColorFactor":[0,0.5,0,0.25],
    "baseColorTexture":{"index":0}},"alphaMode":"MASK","doubleSided":true},{}],
    "textures":[{"source":0,"sampler":0}],"samplers":[{"wrapS":33071,"wrapT":33071}],
    "images":[{"uri":"leaf%20a.png"}],)";
const std::string kAccessors =
    R"("accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"},
    {"bufferView":0,"byteOffset":36,"componentType":5126,"count":3,"type":"VEC2"},
    {"bufferView":0,"byteOffset":60,"componentType":5123,"count":3,"type":"SCALAR"}],
    "bufferViews":[{"buffer":0,"byteOffset":0,"byteLength":66}],)";

std::string Gltf(const std::string& accessors = kAccessors, const std::string& nodes = kNodes) {
    return R"({"asset":{"version":"2.0"},)" + nodes + kMesh + kMaterials + accessors +
           R"("buffers":[{"byteLength":66,"uri":"data:application/octet-stream;base64,)" +
           Base64(TriangleBytes()) + "\"}]}";
}

std::string Word(uint32_t w) { return {reinterpret_cast<const char*>(&w), 4}; }

std::string Glb() {
    std::string json = R"({"asset":{"version":"2.0"},)" + kNodes + kMesh + kMaterials + kAccessors +
                       R"("buffers":[{"byteLength":66}]})";
    json.resize((json.size() + 3) / 4 * 4, ' ');
    std::string data = TriangleBytes();
    data.resize(68);
    std::string chunks = Word(uint32_t(json.size())) + "JSON" + json + Word(uint32_t(data.size())) +
                         std::string("BIN\0", 4) + data;
    return "glTF" + Word(2) + Word(uint32_t(12 + chunks.size())) + chunks;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
}

}  // namespace

TEST(GltfReader, NodesBecomeObjectsWithZUp) {
    TempFolder folder;
    ImportedModel model = ImportText(folder, "a.gltf", Gltf());
    ASSERT_EQ(model.objects.size(), 2u);
    EXPECT_EQ(model.objects[0].name, "a");
    EXPECT_EQ(model.objects[1].name, "tri");
    EXPECT_EQ(model.objects[0].mesh, model.objects[1].mesh);
    const Mesh& mesh = *model.objects[0].mesh;
    EXPECT_EQ(mesh.verts, (std::vector<Point3>{{0, 0, 0}, {1, 0, 0}, {0, 0, 1}}));
    // (1, 2, 3) with y up is (1, -3, 2) with z up.
    EXPECT_EQ(model.objects[0].transform.GetTrans(), (Point3{1, -3, 2}));
    EXPECT_EQ(model.objects[0].transform.row[2], (Point3{0, 0, 2}));
    // A quarter turn about the file's z takes its x axis to its y axis, which is our z.
    Matrix3 expected{{{0, 0, 2}, {0, 2, 0}, {-2, 0, 0}, {1, -3, 2}}};
    EXPECT_TRUE(model.objects[1].transform.Equals(expected, 1e-5f));
}

TEST(GltfReader, PrimitivesBecomeMaterialIds) {
    TempFolder folder;
    std::string error;
    Bitmap image(1, 1, 4, std::vector<uint8_t>{255, 0, 0, 51});
    ASSERT_TRUE(WriteBitmap(folder.File("leaf a.png"), image, &error)) << error;
    ImportedModel model = ImportText(folder, "a.gltf", Gltf());
    const Mesh& mesh = *model.objects[0].mesh;
    EXPECT_EQ(mesh.faces[1].matID, 1);
    EXPECT_EQ(mesh.verts.size(), 3u);                     // both primitives use the same places
    EXPECT_EQ(mesh.Map(1)->verts[0], (Point3{0, 1, 0}));  // v counts from the bottom

    const StandardMtl* leaf = StandardMtlOfFace(model.objects[0].material.get(), 0);
    EXPECT_TRUE(leaf->twoSided);
    EXPECT_EQ(leaf->opacity, 0.25f);
    ASSERT_TRUE(leaf->diffuseMap && leaf->opacityMap);
    ASSERT_TRUE(leaf->opacityMap->Update(0, &error)) << error;
    EXPECT_EQ(leaf->opacityMap->EvalColor({}), (AColor{1, 1, 1, 0.2f}));
    EXPECT_TRUE(model.warnings.empty());
}

TEST(GltfReader, BinaryFilesReadAlike) {
    TempFolder folder;
    ImportedModel text = ImportText(folder, "a.gltf", Gltf());
    ImportedModel binary = ImportText(folder, "b.glb", Glb());
    ASSERT_EQ(binary.objects.size(), 2u);
    EXPECT_EQ(*text.objects[0].mesh, *binary.objects[0].mesh);
    EXPECT_EQ(binary.warnings.size(), 1u);  // the texture that is missing
}

TEST(GltfReader, StripsFansAndPlainLists) {
    TempFolder folder;
    std::string quad =
        R"({"asset":{"version":"2.0"},"nodes":[{"mesh":0}],"scenes":[{"nodes":[0]}],
        "meshes":[{"primitives":[{"mode":5,"attributes":{"POSITION":0}},
        {"mode":6,"attributes":{"POSITION":1}},{"mode":1,"attributes":{"POSITION":0}}]}],
        "accessors":[{"bufferView":0,"componentType":5126,"count":4,"type":"VEC3"},
        {"bufferView":0,"byteOffset":48,"componentType":5126,"count":4,"type":"VEC3"}],
        "bufferViews":[{"buffer":0,"byteLength":96}],"buffers":[{"byteLength":96,"uri":
        "data:application/octet-stream;base64,)";
    float numbers[24] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    std::string bytes(reinterpret_cast<const char*>(numbers), sizeof numbers);
    ImportedModel model = ImportText(folder, "a.gltf", quad + Base64(bytes) + "\"}]}");
    const Mesh& mesh = *model.objects.at(0).mesh;
    ASSERT_EQ(mesh.NumFaces(), 4u);
    for (size_t f = 0; f < 4; ++f)
        EXPECT_EQ(mesh.FaceNormalUnscaled(f), (Point3{0, -1, 0}));  // z of the file is our -y
    EXPECT_EQ(model.warnings.size(), 1u);                           // lines are left out
}

TEST(GltfReader, SparseElementsReplace) {
    TempFolder folder;
    // The second vertex is replaced by the bytes of the third.
    std::string accessors = Replaced(
        kAccessors, R"("count":3,"type":"VEC3")",
        R"("count":3,"type":"VEC3","sparse":{"count":1,"indices":{"bufferView":0,"byteOffset":62,
        "componentType":5123},"values":{"bufferView":0,"byteOffset":24}})");
    ImportedModel model = ImportText(folder, "a.gltf", Gltf(accessors));
    EXPECT_EQ(model.objects[0].mesh->verts.size(), 2u);  // two are now in one place, and welded
}

TEST(GltfReader, AccessorsMustFitTheirBuffers) {
    EXPECT_EQ(
        ErrorOfImport("a.gltf", Gltf(Replaced(kAccessors, "\"count\":3", "\"count\":999999999"))),
        "a.gltf: accessor 0: 999999999 elements do not fit its buffer");
    EXPECT_EQ(ErrorOfImport("a.gltf",
                            Gltf(Replaced(kAccessors, "\"byteOffset\":60", "\"byteOffset\":62"))),
              "a.gltf: accessor 2: 3 elements do not fit its buffer");
    EXPECT_EQ(ErrorOfImport("a.gltf",
                            Gltf(Replaced(kAccessors, "\"byteOffset\":60", "\"byteOffset\":12"))),
              "a.gltf: accessor 2: index 1: vertex 16256 of 3");
    EXPECT_EQ(ErrorOfImport("a.gltf", Replaced(Gltf(), "\"indices\":2", "\"indices\":7")),
              "a.gltf: primitive indices accessor out of bounds");
}

TEST(GltfReader, IndicesAreUnsigned) {
    for (const char* type : {"5120", "5122", "5126"}) {
        std::string accessors = Replaced(kAccessors, "\"componentType\":5123",
                                         std::string("\"componentType\":") + type);
        EXPECT_EQ(ErrorOfImport("a.gltf", Gltf(accessors)),
                  "a.gltf: accessor 2: indices are no unsigned whole numbers");
    }
    std::string sparse = Replaced(
        kAccessors, R"("count":3,"type":"VEC3")",
        R"("count":3,"type":"VEC3","sparse":{"count":1,"indices":{"bufferView":0,"byteOffset":65,
        "componentType":5120},"values":{"bufferView":0,"byteOffset":24}})");
    EXPECT_EQ(ErrorOfImport("a.gltf", Gltf(sparse)),
              "a.gltf: accessor 0: sparse elements do not fit their buffer");
}

TEST(GltfReader, RingsOfNodesEnd) {
    TempFolder folder;
    std::string ring = R"("nodes":[{"mesh":0,"children":[1]},{"mesh":0,"children":[0]}],
        "scenes":[{"nodes":[0]}],"scene":0,)";
    EXPECT_EQ(ImportText(folder, "a.gltf", Gltf(kAccessors, ring)).objects.size(), 2u);
}

TEST(GltfReader, DeepNestingAndUnknownExtensionsAreRefused) {
    std::string deep = R"({"asset":{"version":"2.0","extras":)" + std::string(100000, '[') +
                       std::string(100000, ']') + "}}";
    EXPECT_EQ(ErrorOfImport("a.gltf", deep),
              "a.gltf: 100002 levels of nesting, at most 64 are read");
    std::string draco =
        Replaced(Gltf(), "{\"asset\"", "{\"extensionsRequired\":[\"MPEG_media\"],\"asset\"");
    EXPECT_EQ(ErrorOfImport("a.gltf", draco),
              "a.gltf: requires the extension MPEG_media, which is not read");
    EXPECT_EQ(ErrorOfImport("a.gltf", "solid"), "a.gltf: not a glTF file");
}

TEST(GltfReader, MessagesStayShort) {
    // The library's message holds the text before the fault.
    std::string error = ErrorOfImport(
        "a.gltf", R"({"asset":{"version":"2.0"},"uri":")" + std::string(100000, 'x') + "\n\"}");
    EXPECT_LT(error.size(), 400u);
    EXPECT_GT(error.size(), 20u);
}

TEST(GltfReader, TheFirstVersionIsRefusedByName) {
    EXPECT_EQ(ErrorOfImport("a.gltf", R"({"asset":{"version":1},"meshes":{"mesh_1":{}}})"),
              "a.gltf: glTF 1, only version 2 is read");
    EXPECT_EQ(ErrorOfImport("a.gltf", R"({"asset":{"version":"1.0"},"meshes":{"m":{}}})"),
              "a.gltf: glTF 1.0, only version 2 is read");
}

TEST(GltfReader, DamagedFilesNeverCrash) {
    ExpectRobust("a.gltf", Gltf(), 5);
    ExpectRobust("a.glb", Glb(), 5);
}
