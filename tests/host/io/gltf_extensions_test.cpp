// What glTF files hold beyond plain meshes: compression, instances, morphs, skins, and materials.
#include <cmath>
#include <cstring>

#include <gmock/gmock.h>
#include <meshoptimizer.h>

#include "host/io/bitmap.h"
#include "host/math/display_color.h"
#include "tests/host/io/gltf_builder.h"
#include "tests/host/io/import_testing.h"

using testing::HasSubstr;

namespace {

// A triangle over (0,0,0) (1,0,0) (0,1,0) of the file: (0,0,0) (1,0,0) (0,0,1) here.
const std::vector<float> kTriangle = {0, 0, 0, 1, 0, 0, 0, 1, 0};

std::string OneMesh(const std::string& primitive, const std::string& more = "") {
    return R"("nodes":[{"name":"n","mesh":0}],"scenes":[{"nodes":[0]}],"meshes":[{"primitives":[{)" +
           primitive + "}]}]" + more;
}

std::vector<Point3> Vertices(const ImportedModel& model, size_t object = 0) {
    std::vector<Point3> points;
    for (const Point3& p : model.objects.at(object).mesh->verts)
        points.push_back(p * model.objects[object].transform);
    return points;
}

void ExpectNear(const std::vector<Point3>& a, const std::vector<Point3>& b, float tolerance) {
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i)
        EXPECT_LE(Length(a[i] - b[i]), tolerance)
            << i << ": " << a[i].x << " " << a[i].y << " " << a[i].z;
}

const StandardMtl& Material(const ImportedModel& model) {
    return dynamic_cast<const StandardMtl&>(*model.objects.at(0).material);
}

// A file of one textured triangle with this material; its image is 2 x 2, left half transparent.
ImportedModel ImportMaterial(const TempFolder& folder, const std::string& material,
                             const std::string& more = "") {
    std::string error;
    std::vector<uint8_t> pixels;
    for (int i = 0; i < 4; ++i)
        for (uint8_t v : {255, 128, 0, i % 2 ? 255 : 51}) pixels.push_back(v);
    EXPECT_TRUE(WriteBitmap(folder.File("t.png"), Bitmap(2, 2, 4, pixels), &error)) << error;
    GltfBuilder file;
    int positions = file.Floats(kTriangle, "VEC3"), uvs = file.Floats({0, 0, 1, 0, 0, 1}, "VEC2");
    return ImportText(
        folder, "a.gltf",
        file.File(OneMesh(fmt::format(R"("attributes":{{"POSITION":{},"TEXCOORD_0":{}}},
                                      "material":0)",
                                      positions, uvs),
                          R"(,"materials":[)" + material +
                              R"(],"textures":[{"source":0}],"images":[{"uri":"t.png"}])" + more)));
}

}  // namespace

TEST(GltfCompression, MeshoptViewsReadAsPlainOnes) {
    constexpr size_t kCount = 300;
    std::vector<float> plain;
    std::vector<uint16_t> indices;
    for (size_t i = 0; i < kCount; ++i) {
        for (float f : {float(i) * 0.25f, std::sin(float(i)), float(i % 7)}) plain.push_back(f);
        indices.push_back(uint16_t(i));
    }
    std::vector<unsigned char> packed(meshopt_encodeVertexBufferBound(kCount, 12));
    packed.resize(
        meshopt_encodeVertexBuffer(packed.data(), packed.size(), plain.data(), kCount, 12));
    std::vector<unsigned char> corners(meshopt_encodeIndexBufferBound(kCount, kCount));
    std::vector<unsigned> wide(indices.begin(), indices.end());
    corners.resize(meshopt_encodeIndexBuffer(corners.data(), corners.size(), wide.data(), kCount));

    auto view = [&](GltfBuilder& file, const std::vector<unsigned char>& bytes, size_t stride,
                    const char* mode) {
        return file.Bytes(
            std::string(bytes.begin(), bytes.end()),
            fmt::format(R"(,"extensions":{{"EXT_meshopt_compression":{{"buffer":0,"byteOffset":{},
                        "byteLength":{},"byteStride":{},"count":{},"mode":"{}"}}}})",
                        file.NumBytes(), bytes.size(), stride, kCount, mode));
    };
    GltfBuilder file;
    int positions = file.Accessor(view(file, packed, 12, "ATTRIBUTES"), 5126, kCount, "VEC3");
    int order = file.Accessor(view(file, corners, 2, "TRIANGLES"), 5123, kCount, "SCALAR");
    TempFolder folder;
    ImportedModel model =
        ImportText(folder, "a.gltf",
                   file.File(R"("extensionsRequired":["EXT_meshopt_compression"],)" +
                             OneMesh(fmt::format(R"("attributes":{{"POSITION":{}}},"indices":{})",
                                                 positions, order))));
    std::vector<Point3> expected;
    for (size_t i = 0; i < kCount; ++i)
        expected.push_back({plain[3 * i], 0 - plain[3 * i + 2], plain[3 * i + 1]});
    EXPECT_EQ(Vertices(model), expected);
    EXPECT_EQ(model.objects[0].mesh->NumFaces(), kCount / 3);
    ASSERT_EQ(model.extensions.size(), 1u);
    EXPECT_TRUE(model.extensions[0].isRead);
}

TEST(GltfCompression, FallbackBuffersNeedNoBytes) {
    std::vector<unsigned char> packed(meshopt_encodeVertexBufferBound(3, 12));
    packed.resize(
        meshopt_encodeVertexBuffer(packed.data(), packed.size(), kTriangle.data(), 3, 12));
    std::string bytes(packed.begin(), packed.end());
    std::string text = fmt::format(
        R"({{"asset":{{"version":"2.0"}},{},
        "accessors":[{{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}}],
        "bufferViews":[{{"buffer":1,"byteLength":36,"extensions":{{"EXT_meshopt_compression":
        {{"buffer":0,"byteLength":{},"byteStride":12,"count":3,"mode":"ATTRIBUTES"}}}}}}],
        "buffers":[{{"byteLength":{},"uri":"data:application/octet-stream;base64,{}"}},
        {{"byteLength":36,"extensions":{{"EXT_meshopt_compression":{{"fallback":true}}}}}}]}})",
        OneMesh(R"("attributes":{"POSITION":0})"), bytes.size(), bytes.size(), Base64(bytes));
    TempFolder folder;
    EXPECT_EQ(Vertices(ImportText(folder, "a.gltf", text)),
              (std::vector<Point3>{{0, 0, 0}, {1, 0, 0}, {0, 0, 1}}));
}

TEST(GltfCompression, MeshoptClaimsAreWeighed) {
    auto error = [](const char* members) {
        GltfBuilder file;
        int view =
            file.Bytes("abcdefgh", std::string(R"(,"extensions":{"EXT_meshopt_compression":{)") +
                                       members + "}}");
        int positions = file.Accessor(view, 5126, 3, "VEC3");
        return ErrorOfImport(
            "a.gltf",
            file.File(OneMesh(fmt::format(R"("attributes":{{"POSITION":{}}})", positions))));
    };
    const char* kStart = "a.gltf: compressed buffer view 0: ";
    EXPECT_EQ(error(R"("buffer":0,"byteLength":8,"byteStride":12,"count":2000000000,
                    "mode":"ATTRIBUTES")"),
              std::string(kStart) + "2000000000 elements claimed, 8 bytes cannot hold them");
    EXPECT_EQ(error(R"("buffer":0,"byteLength":9,"byteStride":12,"count":3,"mode":"ATTRIBUTES")"),
              std::string(kStart) + "it does not fit its buffer");
    EXPECT_EQ(error(R"("buffer":0,"byteLength":8,"byteStride":10,"count":3,"mode":"ATTRIBUTES")"),
              std::string(kStart) + "byteStride 10");
    EXPECT_EQ(error(R"("buffer":0,"byteLength":8,"byteStride":2,"count":4,"mode":"TRIANGLES")"),
              std::string(kStart) + "4 corners");
    EXPECT_EQ(error(R"("buffer":0,"byteLength":8,"byteStride":12,"count":3,"mode":"ATTRIBUTES")"),
              std::string(kStart) + "it is damaged");
}

namespace {

// Two triangles over the unit square of the file's x and y, with texture coordinates equal to them,
// as Draco's own encoder packs them.
std::string DracoSquare() {
    const char* kHex =
        "445241434f02020101000000040201020000011fff0111ff011102ff00000000000100090300000201030902"
        "0001000101010003030130011003002882980000000000ff3f00000000000000000000000000000000803f0e"
        "00000000000000000000803f0000803f000000000000803f0000803f00000000";
    std::string bytes;
    for (const char* h = kHex; *h; h += 2) bytes += char(std::stoi(std::string(h, 2), nullptr, 16));
    return bytes;
}

std::string DracoFile(const std::string& packed) {
    GltfBuilder file;
    int view = file.Bytes(packed);
    int positions = file.Accessor(-1, 5126, 4, "VEC3"), uvs = file.Accessor(-1, 5126, 4, "VEC2");
    int indices = file.Accessor(-1, 5125, 6, "SCALAR");
    return file.File(
        R"("extensionsUsed":["KHR_draco_mesh_compression"],
        "extensionsRequired":["KHR_draco_mesh_compression"],)" +
        OneMesh(fmt::format(R"("attributes":{{"POSITION":{},"TEXCOORD_0":{}}},"indices":{},
                            "extensions":{{"KHR_draco_mesh_compression":{{"bufferView":{},
                            "attributes":{{"POSITION":0,"TEXCOORD_0":1}}}}}})",
                            positions, uvs, indices, view)));
}

}  // namespace

TEST(GltfCompression, DracoPrimitivesReadAsPlainOnes) {
    TempFolder folder;
    ImportedModel model = ImportText(folder, "a.gltf", DracoFile(DracoSquare()));
    const Mesh& mesh = *model.objects.at(0).mesh;
    ASSERT_EQ(mesh.NumFaces(), 2u);
    ASSERT_EQ(mesh.verts.size(), 4u);
    float area = 0;
    for (size_t f = 0; f < 2; ++f) {
        Point3 normal = mesh.FaceNormalUnscaled(f);
        EXPECT_LT(normal.y, 0);  // z of the file is our -y
        area += Length(normal) / 2;
        // Coordinates and places agree at every corner: u is x, v is up.
        for (size_t k = 0; k < 3; ++k) {
            Point3 p = mesh.verts[mesh.faces[f].v[k]];
            Point3 t = mesh.Map(1)->verts[mesh.Map(1)->faces[f][k]];
            EXPECT_NEAR(t.x, p.x, 1e-3f);
            EXPECT_NEAR(1 - t.y, p.z, 1e-3f);
        }
    }
    EXPECT_NEAR(area, 1, 1e-3f);
}

TEST(GltfCompression, DracoClaimsAreWeighed) {
    // An edgebreaker head of version 2.2 that claims 2^28 - 1 vertices and faces.
    std::string head("DRACO\2\2\1\1\0\0", 11), many("\xFF\xFF\xFF\x7F", 4);
    EXPECT_THAT(ErrorOfImport("a.gltf", DracoFile(head + std::string(1, '\0') + many + many +
                                                  std::string(40, '\0'))),
                HasSubstr("268435455 faces and 268435455 points claimed"));
    EXPECT_THAT(ErrorOfImport("a.gltf", DracoFile(DracoSquare().substr(0, 40))),
                HasSubstr("packed mesh 0: it is damaged"));
    EXPECT_THAT(ErrorOfImport("a.gltf", DracoFile("rubbish")), HasSubstr("it is damaged"));
}

TEST(GltfCompression, DamagedFilesNeverCrash) {
    ExpectRobust("a.gltf", DracoFile(DracoSquare()), 11);
}

TEST(GltfInstances, BecomeObjectsThatShareAMesh) {
    GltfBuilder file;
    int positions = file.Floats(kTriangle, "VEC3");
    int places = file.Floats({0, 0, 5, 10, 0, 0}, "VEC3");
    // The second one is turned a quarter about the file's y axis, which is up.
    int turns = file.Floats({0, 0, 0, 1, 0, std::sqrt(0.5f), 0, std::sqrt(0.5f)}, "VEC4");
    int sizes = file.Floats({1, 1, 1, 2, 3, 1}, "VEC3");
    int colors = file.Floats({1, 1, 1, 0.5f, 0.25f, 1}, "VEC3");
    TempFolder folder;
    ImportedModel model =
        ImportText(folder, "a.gltf",
                   file.File(fmt::format(
                       R"("nodes":[{{"name":"n","mesh":0,"translation":[0,100,0],"extensions":
            {{"EXT_mesh_gpu_instancing":{{"attributes":{{"TRANSLATION":{},"ROTATION":{},"SCALE":{},
            "_COLOR_0":{}}}}}}}}}],"scenes":[{{"nodes":[0]}}],
            "meshes":[{{"primitives":[{{"attributes":{{"POSITION":{}}}}}]}}])",
                       places, turns, sizes, colors, positions)));
    ASSERT_EQ(model.objects.size(), 2u);
    EXPECT_EQ(model.objects[0].mesh, model.objects[1].mesh);
    EXPECT_EQ(model.objects[1].name, "n");
    // (0, 0, 5) with y up is (0, -5, 0); the node lifts all by 100.
    ExpectNear(Vertices(model, 0), {{0, -5, 100}, {1, -5, 100}, {0, -5, 101}}, 1e-5f);
    // The quarter turn takes the file's x to its -z, which is our y.
    ExpectNear(Vertices(model, 1), {{10, 0, 100}, {10, 2, 100}, {10, 0, 103}}, 1e-5f);
    EXPECT_EQ(model.objects[1].color, (Color{0.5f, 0.25f, 1}));
    // Joined, the colours become the vertices'.
    ImportError error;
    JoinedModel joined = JoinObjects(model, &error);
    ASSERT_NE(joined.mesh->Map(0), nullptr);
    const MapChannel& channel = *joined.mesh->Map(0);
    EXPECT_EQ(channel.verts[channel.faces[0][0]], (Point3{1, 1, 1}));
    EXPECT_EQ(channel.verts[channel.faces[1][0]], (Point3{0.5f, 0.25f, 1}));
}

TEST(GltfInstances, AttributesMustAgree) {
    GltfBuilder file;
    int positions = file.Floats(kTriangle, "VEC3"), places = file.Floats({0, 0, 5}, "VEC3");
    std::string text = file.File(fmt::format(
        R"("nodes":[{{"mesh":0,"extensions":{{"EXT_mesh_gpu_instancing":{{"attributes":
        {{"TRANSLATION":{},"SCALE":{}}}}}}}}}],"scenes":[{{"nodes":[0]}}],
        "meshes":[{{"primitives":[{{"attributes":{{"POSITION":{}}}}}]}}])",
        places, positions, positions));
    EXPECT_EQ(ErrorOfImport("a.gltf", text), "a.gltf: instances: 3 values of SCALE, 1 of others");
}

TEST(GltfInstances, MillionsAreNotJoinedToOneMesh) {
    auto mesh = std::make_shared<Mesh>();
    mesh->verts = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    mesh->faces.assign(1000, {{0, 1, 2}});
    ImportedModel model;
    model.objects.assign(200000, {"tree", mesh, nullptr, {}, {1, 1, 1}});
    ImportError error;
    EXPECT_EQ(JoinObjects(model, &error).mesh, nullptr);
    EXPECT_EQ(error.kind, ImportFailure::kLimit);
    EXPECT_EQ(error.text,
              "200000 objects have 200000000 faces together, at most 100000000 fit one mesh; name "
              "one of them by \"object\"");
}

TEST(GltfLimits, SharedAccessorsAreWeighed) {
    // Each primitive reads the same 3000 vertices: 6000 of them together 18 million.
    GltfBuilder file;
    int positions = file.Floats(std::vector<float>(9000), "VEC3");
    std::string primitive = fmt::format(R"({{"attributes":{{"POSITION":{}}}}})", positions), all;
    for (int i = 0; i < 6000; ++i) all += (i ? "," : "") + primitive;
    TempFolder folder;
    ImportedModel model;
    ImportError error;
    std::string path = folder.Write(
        "a.gltf", file.File(R"("nodes":[{"mesh":0}],"meshes":[{"primitives":[)" + all + "]}]"));
    EXPECT_FALSE(ImportModel(path, {}, &model, &error));
    EXPECT_EQ(error.kind, ImportFailure::kLimit);
    EXPECT_THAT(error.text, HasSubstr("the primitives have 18000000 vertices and corners, at most "
                                      "16777216 are read for 36000 bytes of data"));
}

TEST(GltfLimits, ElementsWithoutABufferAreWeighed) {
    GltfBuilder file;
    int positions = file.Accessor(-1, 5126, 1 << 26, "VEC3");
    file.Floats(kTriangle, "VEC3");
    TempFolder folder;
    ImportedModel model;
    ImportError error;
    std::string path = folder.Write(
        "a.gltf", file.File(OneMesh(fmt::format(R"("attributes":{{"POSITION":{}}})", positions))));
    EXPECT_FALSE(ImportModel(path, {}, &model, &error));
    EXPECT_EQ(error.kind, ImportFailure::kLimit);
    EXPECT_THAT(error.text, HasSubstr("accessor 0: 67108864 elements without a buffer, at most "
                                      "1048576 are read"));
}

TEST(GltfMeshes, DefaultMorphWeightsAreApplied) {
    GltfBuilder file;
    int positions = file.Floats(kTriangle, "VEC3");
    int up = file.Floats({0, 0, 0, 0, 0, 0, 0, 4, 0}, "VEC3");
    int side = file.Floats({8, 0, 0, 0, 0, 0, 0, 0, 0}, "VEC3");
    std::string primitives = fmt::format(
        R"("primitives":[{{"attributes":{{"POSITION":{}}},"targets":[{{"POSITION":{}}},
        {{"POSITION":{}}}]}}])",
        positions, up, side);
    TempFolder folder;
    ImportedModel model =
        ImportText(folder, "a.gltf",
                   file.File(R"("nodes":[{"mesh":0},{"mesh":0,"weights":[0,0.25]}],
                  "meshes":[{"weights":[0.5,0],)" +
                             primitives + "}]"));
    ASSERT_EQ(model.objects.size(), 2u);
    // Half of 4 upwards; the second node's own weights stand in place of the mesh's.
    EXPECT_EQ(Vertices(model, 0), (std::vector<Point3>{{0, 0, 0}, {1, 0, 0}, {0, 0, 3}}));
    EXPECT_EQ(Vertices(model, 1), (std::vector<Point3>{{2, 0, 0}, {1, 0, 0}, {0, 0, 1}}));
}

TEST(GltfMeshes, SkinsBendAsTheNodesStand) {
    GltfBuilder file;
    int positions = file.Floats(kTriangle, "VEC3");
    int joints = file.Shorts({0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0}, "VEC4");
    int weights = file.Floats({1, 0, 0, 0, 0.5f, 0.5f, 0, 0, 1, 0, 0, 0}, "VEC4");
    // The second joint was bound one unit to the side of where its node stands, at (0, 10, 0).
    int binds = file.Floats({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0,  0, 0, 1,
                             1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -1, 0, 0, 1},
                            "MAT4");
    TempFolder folder;
    ImportedModel model = ImportText(
        folder, "a.gltf",
        file.File(fmt::format(
            R"("nodes":[{{"mesh":0,"skin":0,"translation":[77,0,0]}},{{"translation":[0,0,2]}},
            {{"translation":[0,10,0]}}],"scenes":[{{"nodes":[0,1,2]}}],
            "skins":[{{"joints":[1,2],"inverseBindMatrices":{}}}],
            "meshes":[{{"primitives":[{{"attributes":{{"POSITION":{},"JOINTS_0":{},
            "WEIGHTS_0":{}}}}}]}}])",
            binds, positions, joints, weights)));
    // In the file: (0,0,0) by joint 0: (0,0,2). (1,0,0): half (1,0,2), half (1-1,10,0): (0.5,5,1).
    // (0,1,0) by joint 1: (-1,11,0). The node of the mesh has no say.
    ExpectNear(Vertices(model), {{0, -2, 0}, {0.5f, -1, 5}, {-1, 0, 11}}, 1e-5f);
}

TEST(GltfMaterials, FactorsAreLinearAndMultiplyTheTexture) {
    TempFolder folder;
    ImportedModel model =
        ImportMaterial(folder, R"({"pbrMetallicRoughness":{"baseColorFactor":[1,0.5,0,1],
                "baseColorTexture":{"index":0}},"normalTexture":{"index":0}})");
    const StandardMtl& material = Material(model);
    ASSERT_TRUE(material.diffuseMap);
    EXPECT_EQ(material.mapFactor.r, 1);
    EXPECT_NEAR(material.mapFactor.g, 0.735357f, 1e-5f);  // 1.055 * 0.5^(1/2.4) - 0.055
    EXPECT_EQ(material.mapFactor.b, 0);
    EXPECT_FALSE(material.opacityMap);
    ASSERT_EQ(model.warnings.size(), 1u);
    EXPECT_THAT(model.warnings[0], HasSubstr("left out: 1 normal map"));
    ASSERT_EQ(model.materials.size(), 1u);
    EXPECT_EQ(model.materials[0].textures.at(0).file, "t.png");
}

TEST(GltfMaterials, MasksHaveACutoff) {
    TempFolder folder;
    const char* kTextured = R"("pbrMetallicRoughness":{"baseColorTexture":{"index":0}})";
    ImportedModel model = ImportMaterial(
        folder, std::string(R"({"alphaMode":"MASK","alphaCutoff":0.1,)") + kTextured + "}");
    EXPECT_FLOAT_EQ(Material(model).opacityCutoff, 0.1f);
    EXPECT_TRUE(Material(model).opacityMap);
    EXPECT_EQ(model.materials[0].alpha, ImportedAlpha::kMask);
    model = ImportMaterial(folder, std::string(R"({"alphaMode":"MASK",)") + kTextured + "}");
    EXPECT_EQ(Material(model).opacityCutoff, 0.5f);
    model = ImportMaterial(folder, std::string(R"({"alphaMode":"BLEND",)") + kTextured + "}");
    EXPECT_EQ(Material(model).opacityCutoff, 0);
    EXPECT_TRUE(Material(model).opacityMap);
}

TEST(GltfMaterials, TexturesAreTurned) {
    TempFolder folder;
    // Counted from the top, a quarter turn counter-clockwise takes (u, v) to (v, -u).
    ImportedModel model = ImportMaterial(
        folder, R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0,"extensions":
                {"KHR_texture_transform":{"rotation":1.5707963267948966,"offset":[0.125,0.25],
                "scale":[2,4]}}}}})");
    const Texmap& map = *Material(model).diffuseMap.Get();
    for (auto [u, v] : {std::pair{0.f, 0.f}, {1.f, 0.f}, {0.25f, 0.75f}}) {
        float top = 1 - v;  // as the file counts
        Point3 placed = map.Place({u, v, 0});
        EXPECT_NEAR(placed.x, 4 * top + 0.125f, 1e-5f);
        EXPECT_NEAR(1 - placed.y, -2 * u + 0.25f, 1e-5f);
    }
}

TEST(GltfMaterials, SpecularGlossinessIsRead) {
    TempFolder folder;
    ImportedModel model = ImportMaterial(
        folder, R"({"extensions":{"KHR_materials_pbrSpecularGlossiness":{"diffuseFactor":
                [0,1,0,1],"diffuseTexture":{"index":0}}}})");
    EXPECT_TRUE(Material(model).diffuseMap);
    EXPECT_EQ(Material(model).mapFactor, (Color{0, 1, 0}));
}

TEST(GltfMaterials, UnreadableTexturesSaySo) {
    TempFolder folder;
    folder.Write("t.ktx2", std::string("\xABKTX 20\xBB\r\n\x1A\n", 12) + std::string(100, '\0'));
    GltfBuilder file;
    int positions = file.Floats(kTriangle, "VEC3");
    ImportedModel model = ImportText(
        folder, "a.gltf",
        file.File(R"("extensionsUsed":["KHR_texture_basisu"],
                  "extensionsRequired":["KHR_texture_basisu"],)" +
                  OneMesh(fmt::format(R"("attributes":{{"POSITION":{}}},"material":0)", positions),
                          R"(,"materials":[{"pbrMetallicRoughness":{"baseColorTexture":
                          {"index":0}}}],"textures":[{"extensions":{"KHR_texture_basisu":
                          {"source":0}}}],"images":[{"uri":"t.ktx2"}])")));
    EXPECT_FALSE(Material(model).diffuseMap);
    ASSERT_EQ(model.warnings.size(), 2u);
    EXPECT_THAT(model.warnings[0], HasSubstr("extensions that are not read: KHR_texture_basisu"));
    EXPECT_THAT(model.warnings[1], HasSubstr("t.ktx2 is a KTX texture, which is not read"));
    ASSERT_EQ(model.extensions.size(), 1u);
    EXPECT_FALSE(model.extensions[0].isRead);
}

TEST(GltfMaterials, VertexColorsBecomeDisplayColors) {
    GltfBuilder file;
    int positions = file.Floats(kTriangle, "VEC3");
    int colors = file.Floats({1, 0, 0, 0, 0.5f, 0, 0, 0, 1}, "VEC3");
    TempFolder folder;
    ImportedModel model =
        ImportText(folder, "a.gltf",
                   file.File(OneMesh(fmt::format(R"("attributes":{{"POSITION":{},"COLOR_0":{}}})",
                                                 positions, colors))));
    const MapChannel& channel = *model.objects.at(0).mesh->Map(0);
    EXPECT_NEAR(channel.verts[channel.faces[0][1]].y, 0.735357f, 1e-5f);
    EXPECT_TRUE(Material(model).vertexColors);
}
