// Object meshes as the program writes them.
#include <gmock/gmock.h>

#include "host/io/mesh_import.h"
#include "tests/run_program.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class MeshFile : public testing::Test {
protected:
    // 100 boxes of 12 faces on a ground, the scatter object itself one to the right.
    void WriteScene(int pixels, const std::string& params = "") {
        std::string size = std::to_string(pixels);
        m_folder.Write("s.json", R"({"dravin_scene": 1, "texmaps": {"white": {"type": "color"}},
            "materials": {"bark": {"type": "standard", "diffuse": [0.5, 0.25, 0]}},
            "nodes": [
            {"name": "ground", "type": "plane", "width": 10, "length": 10, "position": [0, 0, 7]},
            {"name": "box", "type": "box", "width": 0.5, "length": 0.5, "height": 2,
             "material": "bark"},
            {"name": "Wood", "type": "dravin", "position": [1, 0, 0],
             "geometry": [{"name": "box", "kind": "custom", "object": "box"}],
             "params": {"surflist": ["ground"], "distmap": "white", "units_x": 10, "units_y": 10,
                        "applyscale": 0, "pixels_x": )" +
                                     size + ", \"pixels_y\": " + size + params + "}}]}");
    }
    ProgramRun Build(std::vector<std::string> more) {
        more.insert(more.begin(), {DRAVIN_BINARY_DIR "/apps/dravin/dravin", "build", "s.json"});
        return RunProgram(more, m_folder.File("."));
    }
    Mesh Read(const std::string& file) {
        ImportOptions options;
        options.up = UpAxis::kZ;
        ImportedModel model;
        ImportError error;
        EXPECT_TRUE(ImportModel(m_folder.File(file), options, &model, &error)) << error.text;
        return model.objects.empty() ? Mesh() : *model.objects[0].mesh;
    }
    TempFolder m_folder;
};

}  // namespace

TEST_F(MeshFile, TellsOfNormalsThatItLosesOnTheWay) {
    m_folder.Write("tri.obj", "v 0 0 0\nv 1 0 0\nv 0 0 1\nvn 0 1 0\nf 1//1 2//1 3//1\n");
    m_folder.Write("s.json", R"({"dravin_scene": 1, "texmaps": {"white": {"type": "color"}},
        "nodes": [{"name": "ground", "type": "plane", "width": 10, "length": 10},
        {"name": "tri", "type": "mesh", "file": "tri.obj"},
        {"name": "Wood", "type": "dravin", "geometry": [{"name": "t", "object": "tri"}],
         "params": {"surflist": ["ground"], "distmap": "white"}}]})");
    ProgramRun run = Build({"-o", "a.obj", "-o", "a.ply"});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("a.ply: explicit normals are left out"));
    EXPECT_THAT(run.err, Not(HasSubstr("a.obj: explicit normals")));
    EXPECT_FALSE(Read("a.obj").normals.IsEmpty());
}

TEST_F(MeshFile, HoldsAllItemsInWorldSpace) {
    WriteScene(10);
    ProgramRun run = Build({"-o", "a.obj", "-o", "a.ply", "-o", "a.csv"});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("a.ply: materials and smoothing groups are left out"));
    for (const char* file : {"a.obj", "a.ply"}) {
        Mesh mesh = Read(file);
        EXPECT_EQ(mesh.NumFaces(), 1200u) << file;
        EXPECT_FLOAT_EQ(mesh.BoundingBox().min.z, 7) << file;
        EXPECT_FLOAT_EQ(mesh.BoundingBox().max.z, 9) << file;
        EXPECT_GE(mesh.BoundingBox().min.x, -5.25f) << file;
        EXPECT_LE(mesh.BoundingBox().max.x, 5.25f) << file;
    }
    EXPECT_THAT(m_folder.Read("a.mtl"), HasSubstr("newmtl bark\nKd 0.5 0.25 0\n"));
    EXPECT_TRUE(std::filesystem::exists(m_folder.File("a.csv")));
}

TEST_F(MeshFile, MoreFacesThanAllowedEndWithARemedy) {
    WriteScene(300, R"(, "maxfaces": 1)");
    ProgramRun run = Build({"-o", "a.obj", "-o", "a.json"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("status 8: Maximum number of faces exceeded"));
    EXPECT_THAT(run.err, HasSubstr("raise \"maxfaces\" (millions), or give --no-limit"));
    EXPECT_THAT(m_folder.Read("a.json"), HasSubstr("\"status\":8"));
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("a.obj")));
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("a.mtl")));
    run = Build({"--no-limit", "-o", "a.ply"});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_GT(Read("a.ply").NumFaces(), 1000000u);
}

TEST_F(MeshFile, NeverTakesThePlaceOfAnInput) {
    WriteScene(10);
    m_folder.Write("tree.obj", "mtllib tree.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl a\nf 1 2 3\n");
    m_folder.Write("tree.mtl", "newmtl a\nKd 1 0 0\n");
    m_folder.Write("s.json", R"({"dravin_scene": 1, "nodes": [
        {"name": "tree", "type": "mesh", "file": "tree.obj"}, {"name": "Wood", "type": "dravin"}]})");
    ProgramRun run = Build({"-o", "tree.obj"});
    EXPECT_EQ(run.code, 2) << run.err;
    EXPECT_EQ(m_folder.Read("tree.mtl"), "newmtl a\nKd 1 0 0\n");
}

TEST_F(MeshFile, AnEmptyMeshWarns) {
    WriteScene(10);
    m_folder.Write("s.json", R"({"dravin_scene": 1, "texmaps": {"white": {"type": "color"}},
        "nodes": [{"name": "ground", "type": "plane", "width": 10, "length": 10},
        {"name": "Wood", "type": "dravin",
         "params": {"surflist": ["ground"], "distmap": "white", "units_x": 10, "units_y": 10,
                    "pixels_x": 2, "pixels_y": 2},
         "geometry": [{"name": "nothing", "kind": "custom"}]}]})");
    ProgramRun run = Build({"-o", "a.ply"});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("Wood: no item shows a face; the mesh is empty"));
    EXPECT_THAT(m_folder.Read("a.ply"), HasSubstr("element face 0\n"));
}

TEST_F(MeshFile, ViewportPanelsTellOfTheMesh) {
    WriteScene(10);
    ProgramRun run = Build({"--viewport"});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("Mesh"));
    EXPECT_THAT(run.out, testing::Not(HasSubstr("  0.0 Mb")));
}
