#include "host/io/usd_writer.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include <gtest/gtest.h>

#include "host/base/file_input.h"
#include "host/geom/primitives.h"
#include "host/io/bitmap.h"
#include "host/scene/physical_material.h"
#include "tests/host/io/gltf/sample_scene.h"
#include "tests/host/io/usd/layer_reader.h"
#include "tests/temp_folder.h"

namespace {

// What a test fills.
class ListedSource : public IInstanceSource {
public:
    struct Prototype {
        std::string name;
        Mesh mesh;
        std::shared_ptr<Mtl> material = nullptr;
    };
    explicit ListedSource(std::string name = "wood") : name(std::move(name)) {}

    std::string SourceName() const override { return name; }
    size_t NumPrototypes() const override { return prototypes.size(); }
    std::string PrototypeName(size_t p) const override { return prototypes[p].name; }
    const Mesh* PrototypeMesh(size_t p) const override { return &prototypes[p].mesh; }
    Mtl* PrototypeMtl(size_t p) const override { return prototypes[p].material.get(); }
    size_t NumInstances() const override { return records.size(); }
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override {
        std::copy_n(records.begin() + std::ptrdiff_t(first), out.size(), out.begin());
    }
    void Add(const Matrix3& transform, uint32_t prototype = 0) {
        records.push_back({transform, prototype, int32_t(records.size() + 10), {}, 0});
    }

    std::string name;
    std::vector<Prototype> prototypes;
    std::vector<InstanceRecord> records;
};

Matrix3 At(const Point3& place) {
    Matrix3 m;
    m.SetTrans(place);
    return m;
}

struct Written {
    UsdLayer layer;
    std::string text;
    std::vector<std::string> warnings;

    const UsdPrim& At(const std::string& path) const {
        static const UsdPrim none;
        const UsdPrim* found = layer.At(path);
        EXPECT_TRUE(found) << path;
        return found ? *found : none;
    }
};

Written Write(const std::string& path, std::vector<const IInstanceSource*> sources,
              std::vector<PlacedMesh> meshes = {}, const UsdOptions& options = {}) {
    Written written;
    std::string error;
    EXPECT_TRUE(ExportUsd(path, sources, meshes, options, &written.warnings, &error)) << error;
    written.text = ReadWholeFile(path, 1u << 30, &error).value_or("");
    written.layer = ReadUsdLayer(written.text);
    EXPECT_EQ(written.layer.error, "");
    return written;
}

Written WriteOne(const ListedSource& source, const UsdOptions& options = {}) {
    TempFolder folder;
    return Write(folder.File("a.usda"), {&source}, {}, options);
}

void ExpectNear(const std::vector<double>& found, const std::vector<double>& expected) {
    ASSERT_EQ(found.size(), expected.size());
    for (size_t i = 0; i < found.size(); ++i) EXPECT_NEAR(found[i], expected[i], 1e-5) << i;
}

// A box on the ground of 2 x 4 x 6 with one instance as it is, one turned a quarter about z and
// twice as large, one mirrored.
ListedSource ThreeBoxes() {
    ListedSource source;
    source.prototypes = {{"box", MakeBox(2, 4, 6)}};
    source.Add(At({1, 2, 3}));
    Matrix3 turned = EulerDegreesToMatrix({0, 0, 90});
    turned.PreScale({2, 2, 2});
    turned.SetTrans({10, 0, 0});
    source.Add(turned);
    source.Add(Matrix3::Scaling({-1, 1, 1}) * At({0, 20, 0}));
    return source;
}

}  // namespace

TEST(UsdWriter, ThreeItemsByHand) {
    Written w = WriteOne(ThreeBoxes());
    const UsdPrim& wood = w.At("/World/wood");
    EXPECT_EQ(wood.type, "PointInstancer");
    EXPECT_EQ(wood.Numbers("ids"), (std::vector<double>{10, 11, 12}));
    EXPECT_EQ(wood.Numbers("primvars:id"), (std::vector<double>{10, 11, 12}));
    EXPECT_EQ(wood.Numbers("protoIndices"), (std::vector<double>{0, 0, 1}));
    ExpectNear(wood.Numbers("positions"), {1, 2, 3, 10, 0, 0, 0, 20, 0});
    ExpectNear(wood.Numbers("scales"), {1, 1, 1, 2, 2, 2, 1, 1, 1});
    // A quarter turn: the cosine and sine of 45 degrees, the real part first.
    double h = std::sqrt(0.5);
    ExpectNear(wood.Numbers("orientationsf"), {1, 0, 0, 0, h, 0, 0, h, 1, 0, 0, 0});
    ExpectNear(wood.Numbers("orientations"), {1, 0, 0, 0, 0.70711, 0, 0, 0.70711, 1, 0, 0, 0});
    // The first box reaches (0, 0, 3) to (2, 4, 9); the turned one, 8 x 4 x 12, (6, -2, 0) to
    // (14, 2, 12); the mirrored one (-1, 18, 0) to (1, 22, 6).
    ExpectNear(wood.Numbers("extent"), {-1, -2, 0, 14, 22, 12});
    EXPECT_TRUE(w.warnings.empty());
}

TEST(UsdWriter, LayerSaysAxesAndLengths) {
    UsdOptions options;
    options.unitScale = 0.0254;
    Written w = WriteOne(ThreeBoxes(), options);
    EXPECT_EQ(w.layer.root.metadata.at("upAxis"), "Z");
    EXPECT_EQ(w.layer.root.metadata.at("defaultPrim"), "World");
    EXPECT_NE(w.text.find("metersPerUnit = 0.0254\n"), std::string::npos);
    EXPECT_EQ(w.At("/World").type, "Xform");
}

TEST(UsdWriter, PrototypesAreMeshes) {
    Written w = WriteOne(ThreeBoxes());
    const UsdPrim& box = w.At("/World/wood/Prototypes/box");
    EXPECT_EQ(box.type, "Mesh");
    EXPECT_EQ(box.Find("points")->count, 8u);
    EXPECT_EQ(box.Find("faceVertexCounts")->count, 12u);
    EXPECT_EQ(box.Find("normals")->metadata.at("interpolation"), "faceVarying");
    EXPECT_EQ(box.Find("primvars:st:indices")->count, 36u);
    EXPECT_EQ(box.Text("subdivisionScheme"), "none");
    ExpectNear(box.Numbers("extent"), {-1, -2, 0, 1, 2, 6});
    const UsdPrim& grey = w.At("/World/Materials/default_grey/Surface");
    // Half a display colour in linear light: ((0.5 + 0.055) / 1.055) ^ 2.4.
    ExpectNear(grey.Numbers("inputs:diffuseColor"), {0.214041, 0.214041, 0.214041});
}

// Every face of both boxes, seen from outside, runs counter-clockwise: the volume is positive.
TEST(UsdWriter, MirroredMeshesKeepTheirOutside) {
    Written w = WriteOne(ThreeBoxes());
    for (const char* name : {"box", "box_mirrored"}) {
        const UsdPrim& mesh = w.At(std::string("/World/wood/Prototypes/") + name);
        std::vector<double> p = mesh.Numbers("points"), v = mesh.Numbers("faceVertexIndices");
        double volume = 0;
        auto corner = [&](size_t i, size_t k) { return p[3 * size_t(v[i]) + k]; };
        for (size_t i = 0; i < v.size(); i += 3)
            for (size_t k = 0; k < 3; ++k)
                volume += corner(i, k) *
                          (corner(i + 1, (k + 1) % 3) * corner(i + 2, (k + 2) % 3) -
                           corner(i + 1, (k + 2) % 3) * corner(i + 2, (k + 1) % 3)) /
                          6;
        EXPECT_NEAR(volume, 48, 1e-3) << name;
    }
}

TEST(UsdWriter, SmoothMeshesHaveANormalAVertex) {
    ListedSource source;
    source.prototypes = {{"ball", MakeSphere(1, 8)}};
    source.Add({});
    Written w = WriteOne(source);
    const UsdAttribute* normals = w.At("/World/wood/Prototypes/ball").Find("normals");
    EXPECT_EQ(normals->metadata.at("interpolation"), "vertex");
    EXPECT_EQ(normals->count, source.prototypes[0].mesh.verts.size());
}

TEST(UsdWriter, TintsBecomeDisplayColours) {
    ListedSource source = ThreeBoxes();
    source.records[1].tint = {1, 0, 0.5f};
    source.records[1].tintBlend = 0.5f;
    Written w = WriteOne(source);
    const UsdPrim& wood = w.At("/World/wood");
    // White mixed half with the tint is (1, 0.5, 0.75); 0.75 in linear light is 0.522522.
    ExpectNear(wood.Numbers("primvars:displayColor"), {1, 1, 1, 1, 0.214041, 0.522522, 1, 1, 1});
    EXPECT_EQ(wood.Find("primvars:displayColor")->metadata.at("interpolation"), "vertex");
    ExpectNear(wood.Numbers("primvars:tint"), {0, 0, 0, 0, 1, 0, 0.5, 0.5, 0, 0, 0, 0});
    Written plain = WriteOne(ThreeBoxes());
    EXPECT_EQ(plain.At("/World/wood").Numbers("primvars:displayColor").size(), 3u);
    EXPECT_FALSE(plain.At("/World/wood").Find("primvars:tint"));
}

TEST(UsdWriter, NamesBecomeIdentifiersThatDiffer) {
    TempFolder folder;
    ListedSource first("wood \"1\"\n\t"), second("wood _1___"), third("7");
    first.prototypes = {
        {"a b", MakeBox(1, 1, 1)}, {"a_b", MakeBox(1, 1, 1)}, {"", MakeBox(1, 1, 1)}};
    for (uint32_t p = 0; p < 3; ++p) first.Add({}, p);
    second.prototypes = third.prototypes = {{"x", MakeBox(1, 1, 1)}};
    second.Add({}), third.Add({});
    Written w = Write(folder.File("a.usda"), {&first, &second, &third});
    EXPECT_EQ(w.At("/World/wood__1___").metadata.at("displayName"), "wood \"1\"\n\t");
    EXPECT_EQ(w.At("/World/wood__1____2").metadata.at("displayName"), "wood _1___");
    EXPECT_EQ(w.At("/World/_7").type, "PointInstancer");
    EXPECT_EQ(w.At("/World/wood__1___").Find("prototypes")->targets,
              (std::vector<std::string>{"/World/wood__1___/Prototypes/a_b",
                                        "/World/wood__1___/Prototypes/a_b_2",
                                        "/World/wood__1___/Prototypes/_"}));
}

TEST(UsdWriter, NothingToShowIsAnEmptyInstancer) {
    ListedSource source;
    source.prototypes = {{"none", Mesh()}};
    source.Add({});
    Written w = WriteOne(source);
    EXPECT_EQ(w.At("/World/wood").Find("protoIndices")->count, 0u);
    EXPECT_FALSE(w.layer.At("/World/Materials"));
    EXPECT_EQ(w.warnings, std::vector<std::string>{"wood: no instance shows a face"});
}

TEST(UsdWriter, TellsWhatItLeavesOut) {
    ListedSource source = ThreeBoxes();
    source.Add(At({NAN, 0, 0}));
    source.Add({}, 9);
    source.Add({{{1, 0, 0}, {0.5f, 1, 0}, {0, 0, 1}, {}}});
    Written w = WriteOne(source);
    EXPECT_EQ(w.At("/World/wood").Numbers("ids"), (std::vector<double>{10, 11, 12, 15}));
    ASSERT_EQ(w.warnings.size(), 2u);
    EXPECT_NE(w.warnings[0].find("sheared"), std::string::npos);
    EXPECT_TRUE(w.warnings[0].ends_with(": 1"));
    EXPECT_NE(w.warnings[1].find("no finite place"), std::string::npos);
    EXPECT_TRUE(w.warnings[1].ends_with(": 2"));
}

TEST(UsdWriter, HiddenAndBrokenFacesAreLeftOut) {
    ListedSource source;
    Mesh box = MakeBox(2, 4, 6);
    box.faces[0].flags |= Face::kHidden;
    box.faces.push_back({{0, 0, 1}, 0, 0});
    box.verts.push_back({INFINITY, 0, 0});
    box.faces.push_back({{0, 1, 8}, 0, 0});
    box.maps.clear();
    source.prototypes = {{"box", box}};
    source.Add({});
    Written w = WriteOne(source);
    EXPECT_EQ(w.At("/World/wood/Prototypes/box").Find("faceVertexCounts")->count, 11u);
    EXPECT_EQ(w.At("/World/wood/Prototypes/box").Find("points")->count, 8u);
}

TEST(UsdWriter, IdsThatShowDifferentMaterialsAreSubsets) {
    ListedSource source;
    auto leaf = std::make_shared<StandardMtl>(), bark = std::make_shared<StandardMtl>();
    leaf->name = "leaf", leaf->twoSided = true, bark->name = "bark";
    auto multi = std::make_shared<MultiMtl>();
    multi->Append(leaf), multi->Append(bark);
    Mesh box = MakeBox(1, 1, 1);
    for (size_t f = 0; f < box.NumFaces(); ++f) box.faces[f].matID = uint16_t(f < 4 ? 3 : 0);
    source.prototypes = {{"box", box, multi}};
    source.Add({});
    Written w = WriteOne(source);
    const UsdPrim& mesh = w.At("/World/wood/Prototypes/box");
    ASSERT_EQ(mesh.children.size(), 2u);
    EXPECT_EQ(mesh.children[1].name, "id_4");  // the entry of id 3 of two: the second
    EXPECT_EQ(mesh.children[1].Numbers("indices"), (std::vector<double>{0, 1, 2, 3}));
    EXPECT_EQ(mesh.children[1].Find("material:binding")->targets[0], "/World/Materials/bark");
    EXPECT_EQ(mesh.Numbers("doubleSided"), std::vector<double>{1});
    ASSERT_EQ(w.warnings.size(), 1u);
    EXPECT_NE(w.warnings[0].find("two-sided"), std::string::npos);
}

TEST(UsdWriter, WhatMaterialsLoseIsTold) {
    ListedSource source;
    auto water = std::make_shared<StandardMtl>();
    water->ripple = 0.1f;
    water->reflectivity = 1;
    source.prototypes = {{"box", MakeBox(1, 1, 1), water}};
    source.Add({});
    Written w = WriteOne(source);
    ASSERT_EQ(w.warnings.size(), 2u);
    EXPECT_EQ(w.warnings[0], "material \"\": its mirror is left out");
    EXPECT_EQ(w.warnings[1], "material \"\": its ripples are left out");
}

TEST(UsdWriter, TextFollowsNoThreadCount) {
    TempFolder folder;
    SampleSource source(folder.File(""), 30000);
    Written one = Write(folder.File("1.usda"), {&source});
    UsdOptions options;
    options.threads = 3;
    Written three = Write(folder.File("1.usda"), {&source}, {}, options);
    EXPECT_TRUE(one.text == three.text);
    EXPECT_EQ(one.At("/World/meadow__1_").Find("protoIndices")->count, 22500u);  // 1 of 4 is empty
}

TEST(UsdWriter, WritesTextureNetworks) {
    TempFolder folder;
    SampleSource source(folder.File(""), 40);
    Written w = Write(folder.File("a.usda"), {&source});
    const std::string root = "/World/Materials/";
    const UsdPrim& leaf = w.At(root + "leaf/DiffuseTexture");
    EXPECT_EQ(leaf.Text("inputs:file"), "./leaf a.png");
    EXPECT_TRUE(leaf.Find("outputs:rgb") && leaf.Find("outputs:a"));  // one image for both
    EXPECT_EQ(leaf.Text("inputs:sourceColorSpace"), "sRGB");
    EXPECT_EQ(w.At(root + "leaf/Surface").Numbers("inputs:opacityThreshold"),
              std::vector<double>{0.25});
    const UsdPrim& placing = w.At(root + "bark/DiffuseTexturePlacing");
    EXPECT_EQ(placing.Numbers("inputs:scale"), (std::vector<double>{2, 3}));
    EXPECT_EQ(placing.Numbers("inputs:rotation"), std::vector<double>{30});
    EXPECT_EQ(placing.Numbers("inputs:translation"), (std::vector<double>{0.25, 0.5}));
    EXPECT_EQ(w.At(root + "bark/DiffuseTexture").Text("inputs:wrapS"), "mirror");
    // A factor of (1, 0.5, 0.25) in linear light.
    ExpectNear(w.At(root + "bark/DiffuseTexture").Numbers("inputs:scale"),
               {1, 0.214041, 0.050876, 1});
    EXPECT_EQ(w.At(root + "stone___/OpacityTexture").Text("inputs:file"), "./mask.png");
    EXPECT_TRUE(w.At(root + "stone___/OpacityTexture").Find("outputs:r"));
}

// A map that is no image is written as one beside the layer.
TEST(UsdWriter, BakesMapsWithoutAFile) {
    TempFolder folder;
    SampleSource source(folder.File(""), 40);
    Written w = Write(folder.File("a.usda"), {&source});
    std::string file = w.At("/World/Materials/checker/DiffuseTexture").Text("inputs:file");
    EXPECT_EQ(file, "./a_0_checker.png");
    EXPECT_TRUE(std::filesystem::exists(folder.File(file)));
    auto noise = std::find_if(w.warnings.begin(), w.warnings.end(), [](const std::string& text) {
        return text.find("noise") != std::string::npos;
    });
    EXPECT_NE(noise, w.warnings.end());
}

TEST(UsdWriter, PhysicalMaterials) {
    TempFolder folder;
    SampleSource images(folder.File(""), 0);  // writes them
    auto physical = std::make_shared<PhysicalMtl>();
    physical->name = "copper", physical->metallic = 0.75f, physical->roughness = 0.25f;
    physical->emission = {1, 0, 0}, physical->emissionStrength = 3.0f;
    physical->normalMap = MakeBitmapTex(folder.File("bark.jpg"));
    physical->normalScale = 0.5f;
    ListedSource source;
    source.prototypes = {{"box", MakeBox(1, 1, 1), physical}};
    source.Add({});
    Written w = Write(folder.File("a.usda"), {&source});
    const UsdPrim& surface = w.At("/World/Materials/copper/Surface");
    EXPECT_EQ(surface.Numbers("inputs:metallic"), std::vector<double>{0.75});
    EXPECT_EQ(surface.Numbers("inputs:roughness"), std::vector<double>{0.25});
    EXPECT_EQ(surface.Numbers("inputs:emissiveColor"), (std::vector<double>{3, 0, 0}));
    const UsdPrim& normal = w.At("/World/Materials/copper/NormalTexture");
    // Pixels 0..1 become slopes of -0.5..0.5 and heights of -1..1.
    EXPECT_EQ(normal.Numbers("inputs:scale"), (std::vector<double>{1, 1, 2, 1}));
    EXPECT_EQ(normal.Numbers("inputs:bias"), (std::vector<double>{-0.5, -0.5, -1, 0}));
    EXPECT_EQ(normal.Text("inputs:sourceColorSpace"), "raw");
}

TEST(UsdWriter, MetalAndRoughnessComeFromOneImage) {
    TempFolder folder;
    SampleSource images(folder.File(""), 0);
    auto physical = std::make_shared<PhysicalMtl>();
    physical->metallic = 0.75f, physical->roughness = 0.25f;
    physical->metallicRoughnessMap = MakeBitmapTex(folder.File("bark.jpg"));
    ListedSource source;
    source.prototypes = {{"box", MakeBox(1, 1, 1), physical}};
    source.Add({});
    Written w = Write(folder.File("a.usda"), {&source});
    const UsdPrim& texture = w.At("/World/Materials/material/RoughnessTexture");
    EXPECT_EQ(texture.Numbers("inputs:scale"), (std::vector<double>{1, 0.25, 0.75, 1}));
    EXPECT_EQ(w.At("/World/Materials/material/Surface").Find("inputs:metallic")->targets[0],
              "/World/Materials/material/RoughnessTexture.outputs:b");
}

TEST(UsdWriter, VertexColoursAreRead) {
    auto material = std::make_shared<StandardMtl>();
    material->vertexColors = true;
    ListedSource source;
    Mesh box = MakeBox(1, 1, 1);
    box.MakeMap(0).verts = {{0.5f, 0, 1}};
    box.MakeMap(0).faces.assign(box.NumFaces(), {0, 0, 0});
    source.prototypes = {{"box", box, material}};
    source.Add({});
    Written w = WriteOne(source);
    ExpectNear(w.At("/World/wood/Prototypes/box").Numbers("primvars:vertexColor"),
               {0.214041, 0, 1});
    EXPECT_EQ(w.At("/World/Materials/material/VertexColor").Text("inputs:varname"), "vertexColor");
    EXPECT_EQ(w.warnings.size(), 1u);  // its own colour, which is not white, is not multiplied
}

TEST(UsdWriter, PlacedMeshesMayShear) {
    TempFolder folder;
    Mesh ground = MakePlane(4, 4);
    Matrix3 sheared{{{1, 0, 0}, {0.5f, 1, 0}, {0, 0, 1}, {1, 2, 3}}};
    Written w = Write(folder.File("a.usda"), {}, {{"ground", &ground, nullptr, sheared}});
    EXPECT_EQ(w.At("/World/ground").Numbers("xformOp:transform"),
              (std::vector<double>{1, 0, 0, 0, 0.5, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1}));
    EXPECT_TRUE(w.warnings.empty());
}

TEST(UsdWriter, CancellingLeavesNothing) {
    TempFolder folder;
    SampleSource source(folder.File(""), 30000);
    const IInstanceSource* sources[] = {&source};
    UsdOptions options;
    options.progress = [](float share) { return share < 0.5f; };
    std::vector<std::string> warnings;
    std::string error;
    EXPECT_FALSE(ExportUsd(folder.File("a.usda"), sources, {}, options, &warnings, &error));
    EXPECT_TRUE(error.ends_with("cancelled"));
    EXPECT_FALSE(std::filesystem::exists(folder.File("a.usda")));
    EXPECT_FALSE(std::filesystem::exists(folder.File("a_0_checker.png")));
}

TEST(UsdWriter, NamesWhatItCannotWrite) {
    ListedSource source = ThreeBoxes();
    const IInstanceSource* sources[] = {&source};
    std::vector<std::string> warnings;
    std::string error;
    EXPECT_FALSE(ExportUsd("/nowhere/a.usda", sources, {}, {}, &warnings, &error));
    EXPECT_NE(error.find("/nowhere/a.usda"), std::string::npos);
}
