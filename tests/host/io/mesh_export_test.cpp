#include "host/io/mesh_export.h"

#include <filesystem>

#include <gmock/gmock.h>

#include "host/geom/mesh_tools.h"
#include "host/geom/primitives.h"
#include "host/io/mesh_import.h"
#include "host/scene/texmaps.h"
#include "tests/temp_folder.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class MeshExport : public testing::Test {
protected:
    // A box whose sides show two materials, the second of them with maps.
    void SetUp() override {
        m_box = MakeBox(2, 1, 3, 2);
        for (size_t f = 0; f < m_box.faces.size(); ++f) {
            m_box.faces[f].matID = f % 2;
            m_box.faces[f].smGroup = f < 4 ? 4 : 0;
        }
        m_red.name = "dark red";
        m_red.diffuse = Color{0.5f, 0, 0};
        m_red.opacity = 0.25f;
        m_part.name = "box";
        m_part.mesh = &m_box;
        m_part.materials = {nullptr, &m_red};
        m_part.materialOf = [this](size_t f) { return uint32_t{m_box.faces[f].matID}; };
    }
    bool WriteAs(const std::string& file, int threads = 1) {
        MeshFileOptions options;
        options.threads = threads;
        auto write = file.ends_with(".obj") ? WriteObj : WritePly;
        m_warnings.clear();
        return write(m_folder.File(file), {&m_part, 1}, options, &m_warnings, &m_error);
    }
    ImportedModel Read(const std::string& file) {
        ImportOptions options;
        options.up = UpAxis::kZ;
        ImportedModel model;
        ImportError error;
        EXPECT_TRUE(ImportModel(m_folder.File(file), options, &model, &error)) << error.text;
        return model;
    }
    // Readers number vertices anew: corners are compared.
    void ExpectSame(const Mesh& read) {
        ASSERT_EQ(read.NumFaces(), m_box.NumFaces());
        ASSERT_TRUE(read.Map(1));
        for (size_t f = 0; f < read.NumFaces(); ++f)
            for (size_t k = 0; k < 3; ++k) {
                EXPECT_EQ(read.verts[read.faces[f].v[k]], m_box.verts[m_box.faces[f].v[k]]);
                Point3 uv = m_box.Map(1)->verts[m_box.Map(1)->faces[f][k]];
                Point3 back = read.Map(1)->verts[read.Map(1)->faces[f][k]];
                EXPECT_EQ(back.x, uv.x);
                EXPECT_EQ(back.y, uv.y);
            }
    }

    TempFolder m_folder;
    Mesh m_box;
    StandardMtl m_red;
    MeshFilePart m_part;
    std::vector<std::string> m_warnings;
    std::string m_error;
};

}  // namespace

TEST_F(MeshExport, ObjReadsBackAsItWas) {
    ASSERT_TRUE(WriteAs("a.obj")) << m_error;
    EXPECT_TRUE(m_warnings.empty());
    ImportedModel model = Read("a.obj");
    ASSERT_EQ(model.objects.size(), 1u);
    EXPECT_EQ(model.objects[0].name, "box");
    const Mesh& mesh = *model.objects[0].mesh;
    ExpectSame(mesh);
    auto* multi = dynamic_cast<MultiMtl*>(model.objects[0].material.get());
    ASSERT_TRUE(multi);
    for (size_t f = 0; f < mesh.NumFaces(); ++f) {
        EXPECT_EQ(mesh.faces[f].matID, f % 2);
        EXPECT_EQ(mesh.faces[f].smGroup, f < 4 ? 4u : 0u);
    }
    EXPECT_EQ(multi->GetSubMtl(0)->name.Get(), "default_grey");
    const StandardMtl* red = multi->GetSubMtl(1)->AsStandard(0);
    EXPECT_EQ(red->name.Get(), "dark_red");
    EXPECT_EQ(red->diffuse.Get(), m_red.diffuse.Get());
    EXPECT_EQ(red->opacity.Get(), 0.25f);
}

TEST_F(MeshExport, PlyReadsBackAsItWas) {
    ASSERT_TRUE(WriteAs("a.ply")) << m_error;
    EXPECT_THAT(m_warnings, ElementsAre("materials and smoothing groups are left out"));
    ImportedModel model = Read("a.ply");
    ASSERT_EQ(model.objects.size(), 1u);
    ExpectSame(*model.objects[0].mesh);
}

TEST_F(MeshExport, MapsAreNamedFromTheFolderOfTheFile) {
    auto map = std::make_shared<BitmapTex>(BitmapLoader{});
    map->SetFile(m_folder.File("maps/bark 1.png"));
    map->tiling = Point2{2, 3};
    m_red.diffuseMap = map;
    m_red.opacityMap = std::make_shared<CheckerTex>();
    ASSERT_TRUE(WriteAs("a.obj")) << m_error;
    EXPECT_THAT(m_folder.Read("a.mtl"), HasSubstr("map_Kd -s 2 3 1 maps/bark 1.png\n"));
    EXPECT_THAT(m_warnings, ElementsAre(HasSubstr("a map without an image file is left out")));
}

TEST_F(MeshExport, FilesAreTheSameForAnyNumberOfThreads) {
    m_box = MakeBox(2, 1, 3, 70);  // several pieces of rows
    for (const char* ending : {"obj", "ply"}) {
        std::string one = std::string("one.") + ending, many = std::string("many.") + ending;
        ASSERT_TRUE(WriteAs(one)) << m_error;
        ASSERT_TRUE(WriteAs(many, 5)) << m_error;
        std::string bytes = m_folder.Read(many);
        size_t name = bytes.find("many.mtl");
        if (name != bytes.npos) bytes.replace(name, 4, "one");
        EXPECT_TRUE(m_folder.Read(one) == bytes) << ending;
    }
}

TEST_F(MeshExport, HiddenFacesAndTheirVerticesAreLeftOut) {
    m_box = MakeBox(1, 1, 1, 1);
    AppendMesh(m_box, TransformedMesh(m_box, Matrix3::Translation({5, 0, 0})));
    for (size_t f = 0; f < 12; ++f) m_box.faces[f].flags |= Face::kHidden;
    for (const char* file : {"a.obj", "a.ply"}) {
        ASSERT_TRUE(WriteAs(file)) << m_error;
        const ImportedModel model = Read(file);
        const Mesh& mesh = *model.objects[0].mesh;
        EXPECT_EQ(mesh.NumFaces(), 12u);
        EXPECT_EQ(mesh.BoundingBox().min.x, 4.5f);
        EXPECT_EQ(mesh.BoundingBox().max.x, 5.5f);
    }
    std::string text = m_folder.Read("a.obj");
    size_t verts = 0;
    for (size_t at = 0; (at = text.find("\nv ", at)) != text.npos; ++at) ++verts;
    EXPECT_EQ(verts, 8u);
}

// A turned-out box of volume 6 would have -6.
TEST_F(MeshExport, MirroringPlacesTurnFacesRound) {
    m_part.toWorld = Matrix3::Scaling({-1, 1, 1});
    for (const char* file : {"a.obj", "a.ply"}) {
        ASSERT_TRUE(WriteAs(file)) << m_error;
        const ImportedModel model = Read(file);
        const Mesh& mesh = *model.objects[0].mesh;
        float volume = 0;
        for (const Face& f : mesh.faces)
            volume +=
                DotProd(mesh.verts[f.v[0]], CrossProd(mesh.verts[f.v[1]], mesh.verts[f.v[2]])) / 6;
        EXPECT_NEAR(volume, 6, 1e-4) << file;
    }
}

TEST_F(MeshExport, TellsWhatIsLeftOut) {
    m_box.MakeMap(0).verts = {{1, 0, 0}};
    m_box.maps[0].faces.assign(m_box.NumFaces(), {0, 0, 0});
    MapChannel further = m_box.maps[0];
    m_box.MakeMap(3) = further;
    ASSERT_TRUE(WriteAs("a.obj")) << m_error;
    EXPECT_THAT(m_warnings, ElementsAre("vertex colours are left out",
                                        "mapping channels beyond the first are left out"));
}

TEST_F(MeshExport, NothingIsLeftWhereTheFolderIsMissing) {
    EXPECT_FALSE(WriteAs("none/a.obj"));
    EXPECT_THAT(m_error, HasSubstr("none"));
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("none")));
}

TEST_F(MeshExport, ObjHasExplicitNormalsAndPlyTellsOfThem) {
    for (uint32_t f = 0; f < m_box.faces.size(); ++f) {
        m_box.normals.faces.push_back({f, f, f});
        m_box.normals.verts.push_back(Normalize(Point3{float(f), 1, 2}));
    }
    m_part.toWorld = Matrix3::Scaling({1, 2, 1});
    ASSERT_TRUE(WriteAs("n.obj")) << m_error;
    EXPECT_THAT(m_warnings, testing::Not(testing::Contains(HasSubstr("normals"))));
    const Mesh read = *Read("n.obj").objects.at(0).mesh;
    ASSERT_FALSE(read.normals.IsEmpty());
    for (uint32_t f = 0; f < read.NumFaces(); ++f) {
        // Twice as long along y: normals lean away from y.
        Point3 expected = Normalize(Point3{float(f), 0.5f, 2});
        for (uint32_t n : read.normals.faces[f])
            EXPECT_LT(Length(read.normals.verts[n] - expected), 1e-5f) << f;
    }
    ASSERT_TRUE(WriteAs("n.ply"));
    EXPECT_THAT(m_warnings, testing::Contains("explicit normals are left out"));
}

TEST_F(MeshExport, ObjHasNormalsWithoutMapping) {
    m_box.maps.clear();
    m_box.normals.verts = {{0, 0, 1}};
    m_box.normals.faces.assign(m_box.faces.size(), {0, 0, 0});
    ASSERT_TRUE(WriteAs("n.obj")) << m_error;
    const Mesh read = *Read("n.obj").objects.at(0).mesh;
    ASSERT_FALSE(read.normals.IsEmpty());
    EXPECT_EQ(read.normals.verts[read.normals.faces[5][1]], (Point3{0, 0, 1}));
}

TEST_F(MeshExport, EndsWithoutAFileWhenItIsCancelled) {
    for (const char* file : {"a.obj", "a.ply"}) {
        MeshFileOptions options;
        int told = 0;
        options.progress = [&told](float) { return ++told < 2; };
        auto write = std::string(file).ends_with(".obj") ? WriteObj : WritePly;
        EXPECT_FALSE(write(m_folder.File(file), {&m_part, 1}, options, &m_warnings, &m_error));
        EXPECT_EQ(m_error, m_folder.File(file) + ": cancelled");
        EXPECT_EQ(told, 2) << "nothing is written after that";
        EXPECT_FALSE(std::filesystem::exists(m_folder.File(file)));
    }
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("a.mtl")));
}
