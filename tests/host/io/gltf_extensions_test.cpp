// What glTF files hold beyond plain meshes: instances, morphs, skins, and materials.
#include <cmath>

#include <gmock/gmock.h>

#include "host/io/bitmap.h"
#include "host/math/display_color.h"
#include "host/scene/physical_material.h"
#include "tests/host/io/gltf_builder.h"
#include "tests/host/io/import_testing.h"

using testing::HasSubstr;

namespace {

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
                "baseColorTexture":{"index":0}},"occlusionTexture":{"index":0}})");
    const StandardMtl& material = Material(model);
    ASSERT_TRUE(material.diffuseMap);
    EXPECT_EQ(material.mapFactor->r, 1);
    EXPECT_NEAR(material.mapFactor->g, 0.735357f, 1e-5f);  // 1.055 * 0.5^(1/2.4) - 0.055
    EXPECT_EQ(material.mapFactor->b, 0);
    EXPECT_FALSE(material.opacityMap);
    ASSERT_EQ(model.warnings.size(), 1u);
    EXPECT_THAT(model.warnings[0], HasSubstr("left out: 1 occlusion map"));
    ASSERT_EQ(model.materials.size(), 1u);
    EXPECT_EQ(model.materials[0].textures.at(0).file, "t.png");
}

TEST(GltfMaterials, MetalGlossNormalsAndGlowMakeAPhysicalMaterial) {
    TempFolder folder;
    ImportedModel model = ImportMaterial(folder, R"({"pbrMetallicRoughness":{
        "metallicFactor":0.25,"roughnessFactor":0.5,
        "metallicRoughnessTexture":{"index":0,"texCoord":1}},
        "normalTexture":{"index":0,"scale":2},"emissiveFactor":[1,0,0.5],
        "emissiveTexture":{"index":0},
        "extensions":{"KHR_materials_emissive_strength":{"emissiveStrength":4}}})");
    auto* material = dynamic_cast<const PhysicalMtl*>(&Material(model));
    ASSERT_TRUE(material);
    EXPECT_EQ(material->metallic, 0.25f);
    EXPECT_EQ(material->roughness, 0.5f);
    ASSERT_TRUE(material->metallicRoughnessMap && material->normalMap && material->emissionMap);
    EXPECT_EQ(material->metallicRoughnessMap->channel, 2);
    EXPECT_EQ(material->normalScale, 2);
    EXPECT_EQ(material->emission->r, 1);
    EXPECT_NEAR(material->emission->b, 0.735357f, 1e-5f);  // 1.055 * 0.5^(1/2.4) - 0.055
    EXPECT_EQ(material->emissionStrength, 4);
    std::vector<std::string> slots;
    for (const auto& texture : model.materials.at(0).textures) slots.push_back(texture.slot);
    EXPECT_THAT(slots, testing::ElementsAre("metallic_roughness", "normal", "emission"));
    EXPECT_TRUE(model.warnings.empty());
}

TEST(GltfMaterials, WhatSaysNothingOfMetalIsMatt) {
    for (const char* text :
         {R"({"pbrMetallicRoughness":{"baseColorFactor":[1,1,1,1]}})", R"({"name":"x"})",
          R"({"pbrMetallicRoughness":{"metallicFactor":0,"roughnessFactor":1}})"}) {
        TempFolder folder;
        ImportedModel model = ImportMaterial(folder, text);
        EXPECT_FALSE(dynamic_cast<const PhysicalMtl*>(&Material(model))) << text;
    }
    TempFolder folder;
    ImportedModel model =
        ImportMaterial(folder, R"({"pbrMetallicRoughness":{"roughnessFactor":0.3}})");
    auto* glossy = dynamic_cast<const PhysicalMtl*>(&Material(model));
    ASSERT_TRUE(glossy);
    EXPECT_EQ(glossy->metallic, 0);
    EXPECT_EQ(glossy->roughness, 0.3f);
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
