#include "host/io/mesh_import.h"

#include <sys/stat.h>

#include "host/io/import_helper.h"
#include "tests/host/io/import_testing.h"

namespace {

const std::string kTwoObjects =
    "v 0 0 0\nv 1 0 0\nv 0 1 0\no Alpha\nf 1 2 3\no Beta\nf 3 2 1\nf 1 2 3\n";

const std::string kOff = "OFF\n3 1 0\n0 0 0\n1 0 0\n0 0 2\n3 0 1 2\n";

std::string Script(const TempFolder& folder, const std::string& body) {
    std::string path = folder.Write("helper.sh", "#!/bin/sh\n" + body + "\n");
    chmod(path.c_str(), 0755);
    return path;
}

std::string HelperError(const std::string& script, HelperLimits limits = {}) {
    TempFolder folder;
    limits.program = Script(folder, script);
    ImportedModel model;
    ModelFiles files("x.fbx", {}, &model);
    ImportError error;
    EXPECT_FALSE(ReadByHelper(limits, files, &error));
    return error.text;
}

}  // namespace

TEST(ImportMesh, OneObjectOrAllOfThem) {
    TempFolder folder;
    std::string error, path = folder.Write("a.OBJ", kTwoObjects);
    EXPECT_EQ(ImportMesh(path, "Beta", &error)->NumFaces(), 2u);
    EXPECT_EQ(ImportMesh(path, "", &error)->NumFaces(), 3u);
    EXPECT_EQ(error, "");
    EXPECT_EQ(ImportMesh(path, "Bta", &error), nullptr);
    EXPECT_EQ(error, path + ": no object \"Bta\", did you mean \"Beta\"?");
}

TEST(ImportMesh, EmptyModelIsAMeshAndAMessage) {
    TempFolder folder;
    std::string error, path = folder.Write("a.obj", "v 0 0 0\n");
    auto mesh = ImportMesh(path, "", &error);
    ASSERT_NE(mesh, nullptr);
    EXPECT_EQ(mesh->NumFaces(), 0u);
    EXPECT_EQ(error, path + ": the model has no faces");
}

TEST(ImportMesh, OnlyFilesAreOpened) {
    TempFolder folder;
    std::string error;
    for (const char* name : {"a.obj", "a.fbx"}) {
        ASSERT_EQ(mkfifo(folder.File(name).c_str(), 0600), 0);
        EXPECT_EQ(ImportMesh(folder.File(name), "", &error), nullptr);
        EXPECT_NE(error.find("is a pipe, expected a file"), error.npos) << error;
    }
    EXPECT_EQ(ImportMesh(folder.File("none.stl"), "", &error), nullptr);
    EXPECT_NE(error.find("No such file"), error.npos);
}

TEST(JoinObjects, MaterialsAreNumberedAnew) {
    auto red = std::make_shared<StandardMtl>(), blue = std::make_shared<StandardMtl>();
    auto multi = std::make_shared<MultiMtl>();
    multi->Append(blue);
    multi->Append(red);
    Mesh triangle;
    triangle.verts = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    triangle.faces = {{{0, 1, 2}, 0, 0}, {{2, 1, 0}, 0, 3}};
    auto mesh = std::make_shared<Mesh>(triangle);
    ImportedModel model;
    model.objects = {{"a", mesh, red, Matrix3::Translation({5, 0, 0}), {1, 1, 1}},
                     {"b", mesh, multi, {}, {1, 1, 1}}};
    ImportError error;
    JoinedModel joined = JoinObjects(model, &error);
    EXPECT_EQ(joined.mesh->verts[0], (Point3{5, 0, 0}));
    ASSERT_EQ(joined.material->NumSubMtls(), 2);
    // Face 2 has id 0, blue; face 3 has id 3, which is entry 3 mod 2: red.
    const StandardMtl* expected[] = {red.get(), red.get(), blue.get(), red.get()};
    for (size_t f = 0; f < 4; ++f)
        EXPECT_EQ(MtlOfFace(joined.material.get(), joined.mesh->faces[f].matID), expected[f]);
}

TEST(ImportHelper, ReadsOtherFormats) {
    TempFolder folder;
    ImportedModel model = ImportText(folder, "a.off", kOff);
    ASSERT_EQ(model.objects.size(), 1u);
    EXPECT_EQ(model.objects[0].mesh->verts, (std::vector<Point3>{{0, 0, 0}, {1, 0, 0}, {0, 0, 2}}));
}

TEST(ImportHelper, TurnsFormatsWithYUp) {
    TempFolder folder;
    std::string dae =
        R"(<?xml version="1.0"?><COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema"
        version="1.4.1"><asset><up_axis>Y_UP</up_axis></asset>
        <library_geometries><geometry id="g" name="g"><mesh><source id="p">
        <float_array id="pa" count="9">0 0 0 1 0 0 0 2 0</float_array><technique_common>
        <accessor source="#pa" count="3" stride="3"><param name="X" type="float"/>
        <param name="Y" type="float"/><param name="Z" type="float"/></accessor></technique_common>
        </source><vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
        <triangles count="1"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2</p>
        </triangles></mesh></geometry></library_geometries><library_visual_scenes>
        <visual_scene id="s"><node id="n" name="n"><translate>0 0 7</translate>
        <instance_geometry url="#g"/></node></visual_scene></library_visual_scenes>
        <scene><instance_visual_scene url="#s"/></scene></COLLADA>)";
    std::string error;
    auto mesh = ImportMesh(folder.Write("a.dae", dae), "", &error);
    ASSERT_NE(mesh, nullptr) << error;
    // (0, 2, 7) with y up is (0, -7, 2) with z up.
    Box3 box = mesh->BoundingBox();
    EXPECT_EQ(box.min, (Point3{0, -7, 0}));
    EXPECT_EQ(box.max, (Point3{1, -7, 2}));
}

TEST(ImportHelper, GarbageIsAnError) {
    std::string error = ErrorOfImport("a.fbx", std::string(5000, '\x7F'));
    EXPECT_EQ(error.rfind("a.fbx: cannot read the model: ", 0), 0u) << error;
    ExpectRobust("a.off", kOff, 16);
}

TEST(ImportHelper, CrashTimeoutAndNonsenseAreErrors) {
    EXPECT_EQ(HelperError("kill -SEGV $$"),
              "x.fbx: cannot read the model: the reader crashed (Segmentation fault)");
    EXPECT_EQ(HelperError("exit 3"),
              "x.fbx: cannot read the model: the reader failed with status 3");
    EXPECT_EQ(HelperError("echo hello"),
              "x.fbx: cannot read the model: the import helper's answer is damaged");
    HelperLimits limits;
    limits.seconds = 0;
    EXPECT_EQ(HelperError("exec sleep 60", limits),
              "x.fbx: cannot read the model: it took too long");
    limits = {};
    limits.answerBytes = 1000;
    EXPECT_EQ(HelperError("exec head -c 100000 /dev/zero", limits),
              "x.fbx: cannot read the model: its answer has more than 1000 bytes");
}

TEST(ImportHelper, MissingProgramIsAnError) {
    HelperLimits limits;
    limits.program = "/nonexistent/helper";
    ImportedModel model;
    ModelFiles files("x.fbx", {}, &model);
    ImportError error;
    EXPECT_FALSE(ReadByHelper(limits, files, &error));
    EXPECT_EQ(error.text, "x.fbx: cannot read the model: No such file or directory");
}
