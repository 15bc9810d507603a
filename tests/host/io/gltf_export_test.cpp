#include "host/io/gltf_export.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "host/geom/mesh_tools.h"
#include "host/geom/primitives.h"
#include "host/io/bitmap.h"
#include "host/io/gltf_mesh.h"
#include "host/io/instance_placement.h"
#include "host/io/mesh_import.h"
#include "host/scene/physical_material.h"
#include "tests/host/io/gltf/sample_scene.h"
#include "tests/temp_folder.h"

namespace {

// The world's corners tell two placed meshes of unequal sides apart.
void ExpectSamePlace(const ImportedObject& object, const Mesh& mesh, const Matrix3& transform) {
    Box3 found = TransformedMesh(*object.mesh, object.transform).BoundingBox();
    Box3 expected = TransformedMesh(mesh, transform).BoundingBox();
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(found.min[k], expected.min[k], 2e-5f);
        EXPECT_NEAR(found.max[k], expected.max[k], 2e-5f);
    }
}

}  // namespace

TEST(InstancePlacement, RecomposesTurnedScaledAndMirroredTransforms) {
    for (int i = 0; i < 200; ++i) {
        auto f = float(i);
        Matrix3 m = EulerDegreesToMatrix({f * 17, f * 31, f * 53});
        m.PreScale({i % 2 ? -2.0f : 2.0f, i % 3 ? 0.5f : -0.5f, i % 5 ? 1.5f : -1.5f});
        m.SetTrans({f, -f, 2 * f});
        InstancePlacement p = PlaceWithoutShear(m);
        EXPECT_TRUE(p.ToMatrix().Equals(m, 4e-6f)) << i;
        EXPECT_EQ(p.scale.x < 0, m.Determinant() < 0);
        EXPECT_GT(std::min(p.scale.y, p.scale.z), 0);
    }
}

TEST(InstancePlacement, VanishedAxesKeepTheRotationProper) {
    for (Point3 s : {Point3{0, 1, 1}, {1, 0, 1}, {1, 1, 0}, {0, 0, 1}, {0, 1, 0}, {1, 0, 0}, {}}) {
        Matrix3 m = EulerDegreesToMatrix({20, 40, 60});
        m.PreScale(s);
        InstancePlacement p = PlaceWithoutShear(m);
        Quat q = p.rotation;
        EXPECT_NEAR(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w, 1, 1e-6);
        EXPECT_TRUE(p.ToMatrix().Equals(m, 1e-6f));
    }
}

TEST(InstancePlacement, ShearIsSeen) {
    EXPECT_FALSE(HasShear(EulerDegreesToMatrix({20, 40, 60})));
    EXPECT_TRUE(HasShear({{{1, 0, 0}, {0.5f, 1, 0}, {0, 0, 1}, {}}}));
}

TEST(GltfMesh, CornersShareVerticesAndFlipV) {
    Mesh plane = MakePlane(1, 1);
    std::vector<GltfPrimitive> primitives = MakeGltfPrimitives(plane, nullptr);
    ASSERT_EQ(primitives.size(), 1u);
    EXPECT_EQ(primitives[0].positions.size(), 4u);
    EXPECT_EQ(primitives[0].indices.size(), 6u);
    EXPECT_EQ(primitives[0].uvs[0][0], (Point2{0, 1}));
    EXPECT_EQ(MakeGltfPrimitives(MakeBox(1, 1, 1), nullptr)[0].positions.size(), 24u);
}

TEST(GltfMesh, HiddenFacesAreLeftOut) {
    Mesh plane = MakePlane(1, 1);
    plane.faces[1].flags |= Face::kHidden;
    EXPECT_EQ(MakeGltfPrimitives(plane, nullptr)[0].indices.size(), 3u);
}

TEST(GltfMesh, BrokenFacesAreLeftOut) {
    Mesh plane = MakePlane(1, 1);
    plane.verts[0].x = NAN;  // used by both faces
    EXPECT_TRUE(MakeGltfPrimitives(plane, nullptr).empty());
    EXPECT_TRUE(MakeGltfPrimitives(Mesh(), nullptr).empty());
}

namespace {

// All of it sheared, but for the first instance, which stands nowhere.
class ShearedSource : public SampleSource {
public:
    using SampleSource::SampleSource;
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override {
        SampleSource::GetInstances(first, out);
        for (InstanceRecord& r : out) r.transform = {{{1, 0, 0}, {0.5f, 1, 0}, {0, 0, 1}, {}}};
        if (first == 0) out[0].transform.row[3].x = NAN;
    }
};

}  // namespace

TEST(GltfExport, TellsOfInstancesThatItCannotHold) {
    TempFolder folder;
    ShearedSource source(folder.File(""), 40);
    const IInstanceSource* sources[] = {&source};
    GltfOptions options;
    std::vector<std::string> warnings;
    options.warnings = &warnings;
    std::string error;
    ASSERT_TRUE(ExportGltf(folder.File("a.glb"), sources, {}, options, &error)) << error;
    ASSERT_EQ(warnings.size(), 2u);
    EXPECT_NE(warnings[0].find("sheared"), std::string::npos);
    EXPECT_TRUE(warnings[0].ends_with(": 39"));
    EXPECT_TRUE(warnings[1].ends_with(": 1"));
}

// Reading the flat form back gives every instance its place in the world.
TEST(GltfExport, FlatFormImportsAsItWas) {
    TempFolder folder;
    SampleSource source(folder.File(""), 40);
    const IInstanceSource* sources[] = {&source};
    Mesh ground = MakePlane(4, 4);
    Matrix3 sheared{{{1, 0, 0}, {0.5f, 1, 0}, {0, 0, 1}, {1, 2, 3}}};
    PlacedMesh meshes[] = {{"ground", &ground, nullptr, sheared}};
    for (const char* name : {"a.gltf", "a.glb"}) {
        std::string error;
        ASSERT_TRUE(ExportGltf(folder.File(name), sources, meshes, {true, 1, false}, &error))
            << error;
        ImportedModel model;
        ASSERT_TRUE(ImportModel(folder.File(name), &model, &error)) << error;
        ASSERT_EQ(model.objects.size(), 31u);  // 30 of the 40 have faces, and the ground
        ExpectSamePlace(model.objects[0], ground, sheared);
        for (size_t i = 0, o = 1; i < 40; ++i) {
            InstanceRecord r = source.Instance(i);
            if (r.prototype == 2) continue;
            ExpectSamePlace(model.objects[o++], *source.PrototypeMesh(r.prototype), r.transform);
        }
    }
}

// Instanced items come back as objects that share a mesh, mirrored ones as a mirrored mesh.
TEST(GltfExport, InstancedFormImportsAsItWas) {
    TempFolder folder;
    SampleSource source(folder.File(""), 40);
    const IInstanceSource* sources[] = {&source};
    std::string error;
    ASSERT_TRUE(ExportGltf(folder.File("a.glb"), sources, {}, {}, &error)) << error;
    ImportedModel model;
    ASSERT_TRUE(ImportModel(folder.File("a.glb"), &model, &error)) << error;
    ASSERT_EQ(model.objects.size(), 30u);
    size_t found = 0;
    std::set<const Mesh*> meshes;
    for (size_t i = 0; i < 40; ++i) {
        InstanceRecord r = source.Instance(i);
        if (r.prototype == 2) continue;
        // Item i stands by its place, which no other item has.
        auto object = std::find_if(model.objects.begin(), model.objects.end(), [&](auto& o) {
            return Length(o.transform.GetTrans() - r.transform.GetTrans()) < 1e-5f;
        });
        ASSERT_NE(object, model.objects.end()) << i;
        ExpectSamePlace(*object, *source.PrototypeMesh(r.prototype), r.transform);
        EXPECT_GE(object->transform.Determinant(), 0);
        bool isMirrored = r.transform.Determinant() < 0;
        EXPECT_EQ(object->name.ends_with(" mirrored"), isMirrored);
        EXPECT_NEAR(object->color.r, 1 + (r.tint.r - 1) * r.tintBlend, 1e-6f);
        meshes.insert(object->mesh.get());
        ++found;
    }
    EXPECT_EQ(found, 30u);
    EXPECT_EQ(meshes.size(), 6u);  // three with faces, each as it is and mirrored
}

TEST(GltfExport, MirroredFacesLookOutwards) {
    TempFolder folder;
    Mesh box = MakeBox(1, 2, 3);
    Matrix3 mirror = Matrix3::Scaling({1, 1, -1});
    mirror.SetTrans({5, 0, 0});
    PlacedMesh meshes[] = {{"box", &box, nullptr, mirror}};
    std::string error;
    ASSERT_TRUE(ExportGltf(folder.File("a.glb"), {}, meshes, {}, &error)) << error;
    ImportedModel model;
    ASSERT_TRUE(ImportModel(folder.File("a.glb"), &model, &error)) << error;
    ExpectSamePlace(model.objects.at(0), box, mirror);
    Mesh placed = TransformedMesh(*model.objects[0].mesh, model.objects[0].transform);
    Point3 middle = placed.BoundingBox().Center();
    std::vector<Point3> normals = VertexNormals(placed);
    for (size_t f = 0; f < placed.NumFaces(); ++f) {
        Point3 outwards = placed.verts[placed.faces[f].v[0]] - middle;
        EXPECT_GT(DotProd(placed.FaceNormalUnscaled(f), outwards), 0);
        EXPECT_GT(DotProd(normals[3 * f], placed.FaceNormalUnscaled(f)), 0);
    }
}

TEST(GltfExport, ColorsStandOnlyWhereSomethingIsTinted) {
    struct Plain : SampleSource {
        using SampleSource::SampleSource;
        void GetInstances(size_t first, std::span<InstanceRecord> out) const override {
            SampleSource::GetInstances(first, out);
            for (InstanceRecord& r : out) r.tintBlend = 0;
        }
    };
    TempFolder folder;
    Plain source(folder.File(""), 40);
    const IInstanceSource* sources[] = {&source};
    std::string error;
    ASSERT_TRUE(ExportGltf(folder.File("a.gltf"), sources, {}, {}, &error)) << error;
    std::string text = folder.Read("a.gltf");
    EXPECT_EQ(text.find("_COLOR_0"), text.npos);
    EXPECT_EQ(text.find("_TINT"), text.npos);
    EXPECT_NE(text.find("_ID"), text.npos);
}

TEST(GltfExport, MaterialsComeBack) {
    TempFolder folder;
    SampleSource source(folder.File(""), 1);
    const IInstanceSource* sources[] = {&source};
    std::string error;
    ASSERT_TRUE(ExportGltf(folder.File("a.glb"), sources, {}, {true, 1, false}, &error)) << error;
    ImportedModel model;
    ASSERT_TRUE(ImportModel(folder.File("a.glb"), &model, &error)) << error;
    auto* multi = model.objects.at(0).material.get();
    ASSERT_EQ(multi->NumSubMtls(), 6);
    auto* leaf = static_cast<StandardMtl*>(multi->GetSubMtl(0));
    ASSERT_TRUE(leaf->diffuseMap && leaf->opacityMap);
    TexPoint left{{0.1f, 0.1f, 0}, {}}, right{{0.7f, 0.1f, 0}, {}};
    EXPECT_EQ(leaf->opacityMap->EvalColor(left).a, 1);
    EXPECT_EQ(leaf->opacityMap->EvalColor(right).a, 0);
    auto* bark = static_cast<StandardMtl*>(multi->GetSubMtl(1));
    EXPECT_EQ(bark->diffuseMap->tiling, (Point2{2, 3}));
    EXPECT_NEAR(bark->diffuseMap->offset->x, 0.25f, 1e-6f);
    EXPECT_NEAR(bark->diffuseMap->offset->y, 0.5f, 1e-6f);
    EXPECT_NEAR(bark->diffuseMap->RotationDegrees(), 30, 1e-4f);
    EXPECT_NEAR(bark->mapFactor->g, 0.5f, 1e-6f);
    EXPECT_EQ(leaf->opacityCutoff, 0.25f);
    auto* checker = static_cast<StandardMtl*>(multi->GetSubMtl(4));
    EXPECT_EQ(checker->diffuseMap->EvalColor(left).r, 0);
    EXPECT_EQ(checker->diffuseMap->EvalColor(right).r, 1);
    EXPECT_EQ(static_cast<StandardMtl*>(multi->GetSubMtl(5))->opacity, 0.5f);
}

namespace {

// One instance of a plane.
class PlaneSource : public IInstanceSource {
public:
    explicit PlaneSource(std::shared_ptr<Mtl> mtl) : m_mtl(std::move(mtl)) {}
    std::string SourceName() const override { return "plane"; }
    size_t NumPrototypes() const override { return 1; }
    std::string PrototypeName(size_t) const override { return "plane"; }
    const Mesh* PrototypeMesh(size_t) const override { return &m_plane; }
    Mtl* PrototypeMtl(size_t) const override { return m_mtl.get(); }
    size_t NumInstances() const override { return 1; }
    void GetInstances(size_t, std::span<InstanceRecord> out) const override { out[0] = {}; }

private:
    Mesh m_plane = MakePlane(2, 2);
    std::shared_ptr<Mtl> m_mtl;
};

}  // namespace

TEST(GltfExport, PhysicalMaterialsComeBack) {
    TempFolder folder;
    std::string error;
    auto image = [&](const char* name, std::vector<uint8_t> pixel) {
        std::string file = folder.File(name);
        EXPECT_TRUE(WriteBitmap(file, Bitmap(1, 1, 3, std::move(pixel)), &error)) << error;
        return MakeBitmapTex(file);
    };
    auto mtl = std::make_shared<PhysicalMtl>();
    mtl->diffuse = {1, 0.5f, 0.25f};
    mtl->metallic = 0.5f, mtl->roughness = 0.25f, mtl->normalScale = 2;
    mtl->metallicRoughnessMap = image("data.png", {0, 51, 255});
    mtl->normalMap = image("normal.png", {128, 255, 128});
    mtl->normalMap->tiling = {4, 4};
    mtl->emission = {1, 0, 0.5f}, mtl->emissionStrength = 3;
    mtl->emissionMap = image("glow.png", {255, 0, 0});
    PlaneSource source(mtl);
    const IInstanceSource* sources[] = {&source};
    for (const char* name : {"a.glb", "a.gltf"}) {
        ASSERT_TRUE(ExportGltf(folder.File(name), sources, {}, {true, 1, false}, &error)) << error;
        ImportedModel model;
        ASSERT_TRUE(ImportModel(folder.File(name), &model, &error)) << error;
        auto* back = dynamic_cast<PhysicalMtl*>(model.objects.at(0).material.get());
        ASSERT_TRUE(back) << name;
        EXPECT_NEAR(back->diffuse->g, 0.5f, 1e-5f);
        EXPECT_EQ(back->metallic, 0.5f);
        EXPECT_EQ(back->roughness, 0.25f);
        EXPECT_EQ(back->normalScale, 2);
        EXPECT_EQ(back->normalMap->tiling, (Point2{4, 4}));
        EXPECT_NEAR(back->emission->b, 0.5f, 1e-5f);
        EXPECT_EQ(back->emissionStrength, 3);
        for (Texmap* map :
             {back->metallicRoughnessMap.Get(), back->normalMap.Get(), back->emissionMap.Get()})
            ASSERT_TRUE(map && map->Update(0, &error)) << name << error;
        TexPoint p{{0.5f, 0.5f, 0}, {}};
        EXPECT_NEAR(back->metallicRoughnessMap->EvalColor(p).g, 0.2f, 1e-5f);
        EXPECT_EQ(back->normalMap->EvalColor(p).g, 1);
        EXPECT_EQ(back->emissionMap->EvalColor(p).g, 0);
    }
}

TEST(GltfExport, TellsHowFarItIsAndEndsOnDemand) {
    TempFolder folder, textures;
    SampleSource source(textures.File(""), 200000);
    const IInstanceSource* sources[] = {&source};
    std::string error;
    std::vector<float> heard;
    GltfOptions options;
    options.progress = [&](float share) { return heard.push_back(share), true; };
    ASSERT_TRUE(ExportGltf(folder.File("a.glb"), sources, {}, options, &error)) << error;
    EXPECT_GE(heard.size(), 4u);
    EXPECT_TRUE(std::is_sorted(heard.begin(), heard.end()));
    EXPECT_GT(heard.back(), 0.5f);
    EXPECT_LT(heard.back(), 1);
    for (size_t last = 0; last < heard.size(); ++last) {
        size_t calls = 0;
        options.progress = [&](float) { return calls++ < last; };
        EXPECT_FALSE(ExportGltf(folder.File("b.gltf"), sources, {}, options, &error));
        EXPECT_EQ(error, folder.File("b.gltf") + ": cannot export: cancelled");
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.File("")), {}), 1);
}

TEST(GltfExport, FailuresLeaveNothingBehind) {
    TempFolder folder, textures;
    SampleSource source(textures.File(""), 5);
    const IInstanceSource* sources[] = {&source};
    std::string error;
    EXPECT_FALSE(ExportGltf(folder.File("no/a.gltf"), sources, {}, {}, &error));
    EXPECT_NE(error.find("cannot write the file: No such file"), error.npos) << error;
    std::filesystem::remove(textures.File("bark.jpg"));
    EXPECT_FALSE(ExportGltf(folder.File("a.gltf"), sources, {}, {}, &error));
    EXPECT_NE(error.find("bark.jpg: cannot open the file"), error.npos) << error;
    EXPECT_EQ(folder.NumFiles(), 0u);
}

namespace {

// When its instances are read to be written (they were counted before), a folder takes the place of
// the file.
struct SabotagingSource : SampleSource {
    std::string target;
    mutable int numReads = 0;

    SabotagingSource(const std::string& folder, std::string file)
        : SampleSource(folder, 5), target(std::move(file)) {}
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override {
        if (++numReads == 2) {
            std::filesystem::remove(target);
            std::filesystem::create_directory(target);
        }
        SampleSource::GetInstances(first, out);
    }
};

}  // namespace

TEST(GltfExport, DataAndImagesNeverStandBesideAnotherScene) {
    TempFolder folder, textures;
    folder.Write("a.gltf", "old scene");
    folder.Write("a.bin", "old data");
    SabotagingSource source(textures.File(""), folder.File("a.gltf"));
    const IInstanceSource* sources[] = {&source};
    std::string error;
    EXPECT_FALSE(ExportGltf(folder.File("a.gltf"), sources, {}, {}, &error));
    EXPECT_EQ(folder.Read("a.bin"), "old data");
    EXPECT_EQ(folder.NumFiles(), 2u);  // no image, no temporary
}
