#include "host/io/mesh_import.h"

#include <fstream>
#include <thread>

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/base/input_limit.h"
#include "host/io/bitmap.h"
#include "host/io/import_helper.h"
#include "host/io/model_stream.h"
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

std::string HelperError(const std::string& script, HelperLimits limits = {},
                        ImportFailure* kind = nullptr) {
    TempFolder folder;
    limits.program = Script(folder, script);
    ImportedModel model;
    ModelFiles files("x.fbx", {}, &model);
    ImportError error;
    EXPECT_FALSE(ReadByHelper(limits, files, &error));
    if (kind) *kind = error.kind;
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
        EXPECT_EQ(StandardMtlOfFace(joined.material.get(), joined.mesh->faces[f].matID),
                  expected[f]);
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

// One triangle a format, one wide and two high; the library turns some formats, and not all
// upright.
TEST(ImportHelper, FormatsStandUpright) {
    const std::pair<const char*, const char*> kFiles[] = {
        {"a.ac",
         "AC3Db\nMATERIAL \"m\" rgb 1 1 1  amb 1 1 1  emis 0 0 0  spec 0 0 0  shi 0  trans 0\n"
         "OBJECT world\nkids 1\nOBJECT poly\nnumvert 3\n0 0 0\n1 0 0\n0 2 0\nnumsurf 1\n"
         "SURF 0x00\nmat 0\nrefs 3\n0 0 0\n1 0 0\n2 1 0\nkids 0\n"},
        {"a.dxf",
         "0\nSECTION\n2\nENTITIES\n0\n3DFACE\n8\n0\n10\n0\n20\n0\n30\n0\n11\n1\n21\n0\n31\n0\n"
         "12\n0\n22\n0\n32\n2\n13\n0\n23\n0\n33\n2\n0\nENDSEC\n0\nEOF\n"},
        {"a.off", kOff.c_str()}};
    TempFolder folder;
    for (const auto& [name, text] : kFiles) {
        std::string error;
        auto mesh = ImportMesh(folder.Write(name, text), "", &error);
        ASSERT_NE(mesh, nullptr) << error;
        Box3 box = mesh->BoundingBox();
        EXPECT_LE(Length(box.min), 1e-6f) << name;
        EXPECT_LE(Length(box.max - Point3{1, 0, 2}), 1e-6f) << name;
    }
}

namespace {

template <class... T>
std::string Packed(T... values) {
    std::string bytes;
    (bytes.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
    return bytes;
}
std::string Chunk(const std::string& name, const std::string& content) {
    return name + Packed(int32_t(content.size())) + content;
}

}  // namespace

TEST(ImportHelper, QuickModelsHaveZUp) {
    // A triangle one wide and two high: name of the format, version, counts of meshes, materials
    // and textures, then the mesh: vertices, faces and their materials, normals, coordinates, box.
    std::string triangle = Packed(1) + Packed(uint16_t(3)) + Packed(0, 1, 2) + Packed(0);
    std::string mesh = Packed(3) + Packed(0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 0.f, 2.f) + triangle +
                       Packed(1) + Packed(0.f, -1.f, 0.f) + Packed(0) + std::string(36, '\0');
    TempFolder folder;
    std::string file = "quick3Do" + Packed(int16_t(0)) + Packed(1, 0, 0) + "m" + mesh;
    ImportedModel model = ImportText(folder, "a.q3o", file);
    ASSERT_EQ(model.objects.size(), 1u);
    EXPECT_EQ(model.objects[0].mesh->BoundingBox().max, (Point3{1, 0, 2}));
}

TEST(ImportHelper, TexelsInTheModelAreATexture) {
    // A triangle in the first game's format of that ending: header, one skin of 2 x 2 texels that
    // count the game's palette, coordinates, the triangle, and one frame.
    std::string header = "IDPO" + Packed(6, 1.f, 1.f, 1.f, 0.f, 0.f, 0.f, 2.f, 0.f, 0.f, 0.f) +
                         Packed(1, 2, 2, 3, 1, 1, 0, 0, 1.f);
    std::string skin = Packed(0) + std::string("\x0F\xFB\x0F\xFB", 4);
    std::string coordinates = Packed(0, 0, 0, 0, 1, 0, 0, 0, 1);
    std::string frame = Packed(0) + std::string(8, '\0') + std::string("triangle", 16) +
                        std::string("\0\0\0\0\1\0\0\0\0\0\2\0", 12);
    TempFolder folder;
    ImportedModel model =
        ImportText(folder, "a.mdl", header + skin + coordinates + Packed(1, 0, 1, 2) + frame);
    ASSERT_EQ(model.materials.size(), 1u);
    ASSERT_EQ(model.materials[0].textures.size(), 1u) << model.warnings.size();
    EXPECT_EQ(model.materials[0].textures[0].file, "embedded");
    auto* map = dynamic_cast<BitmapTex*>(
        dynamic_cast<StandardMtl&>(*model.objects.at(0).material).diffuseMap.Get());
    ASSERT_NE(map, nullptr);
    EXPECT_TRUE(model.warnings.empty()) << model.warnings[0];
}

TEST(ImportHelper, NamesOfImagesAreThoseOfTheFormat) {
    TempFolder folder;
    std::string error;
    ASSERT_TRUE(
        WriteBitmap(folder.File("leaf.png"), Bitmap(1, 1, 1, std::vector<uint8_t>{7}), &error));
    std::string x3d =
        R"(<?xml version="1.0" encoding="UTF-8"?><X3D profile="Interchange" version="3.0"><Scene>
        <Shape><Appearance><Material diffuseColor="0 0 0"/>
        <ImageTexture url='"leaf.png" "https://example.org/leaf.png"'/></Appearance>
        <IndexedFaceSet coordIndex="0 1 2 -1"><Coordinate point="0 0 0 1 0 0 0 2 0"/>
        <TextureCoordinate point="0 0 1 0 0 1"/></IndexedFaceSet></Shape></Scene></X3D>)";
    ImportedModel model = ImportText(folder, "a.x3d", x3d);
    ASSERT_EQ(model.materials.size(), 1u);
    ASSERT_EQ(model.materials[0].textures.size(), 1u);
    EXPECT_TRUE(model.materials[0].textures[0].found);
    EXPECT_EQ(model.materials[0].textures[0].file, "leaf.png");
    ASSERT_EQ(model.warnings.size(), 1u);
    EXPECT_NE(model.warnings[0].find("under the colour black"), std::string::npos);
}

TEST(ImportHelper, FaultsOfAnimationsAreNoFaultsOfTheModel) {
    // A triangle in the B3D format whose animation ends before its last key.
    std::string vertices = Packed(0, 0, 0) + Packed(0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 2.f, 0.f);
    std::string mesh = Packed(-1) + Chunk("VRTS", vertices) + Chunk("TRIS", Packed(-1, 0, 1, 2));
    std::string node = std::string("n", 2) +
                       Packed(0.f, 0.f, 0.f, 1.f, 1.f, 1.f, 1.f, 0.f, 0.f, 0.f) +
                       Chunk("MESH", mesh) + Chunk("ANIM", Packed(0, 3, 25.f)) +
                       Chunk("KEYS", Packed(1, 9, 0.f, 0.f, 0.f));
    TempFolder folder;
    ImportedModel model =
        ImportText(folder, "a.b3d", Chunk("BB3D", Packed(1) + Chunk("NODE", node)));
    ASSERT_EQ(model.objects.size(), 1u);
    EXPECT_EQ(model.objects[0].mesh->NumFaces(), 1u);
    EXPECT_TRUE(model.warnings.empty());
    // The key stands at its time, whatever length the file states.
    ASSERT_EQ(model.animations.size(), 1u);
    EXPECT_NEAR(model.animations[0].seconds, 3 / 25.0, 1e-6);
    ASSERT_TRUE(model.poses);
    EXPECT_EQ(model.poses->Range(), (Interval{0, 9 * 4800 / 25}));
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
              "x.fbx: cannot read the model: its answer has more than 1000 bytes; a larger "
              "--input-limit helps");
}

TEST(ImportHelper, TooLittleMemoryIsALimitThatCanBeRaised) {
    HelperLimits limits;
    limits.memoryBytes = 12345;
    ImportFailure kind = ImportFailure::kNone;
    EXPECT_EQ(HelperError("exit 5", limits, &kind),
              "x.fbx: cannot read the model: it needs more than 12345 bytes of memory; a larger "
              "--input-limit helps");
    EXPECT_EQ(kind, ImportFailure::kLimit);
    // The helper hears the limit that is in force.
    SetInputLimit(uint64_t{8} << 30);
    EXPECT_NE(HelperError("test $3 = 8589934592 && exit 5", limits).find("8589934592"),
              std::string::npos);
    SetInputLimit(kDefaultInputLimit);
}

TEST(ImportHelper, TimeAndMemoryAreMeasuredByTheFile) {
    // The helper is told how much: here 10 seconds and two for 128 KiB, a gigabyte and 256 bytes
    // for each of them.
    TempFolder folder;
    std::string error;
    auto fail = [&](const HelperLimits& limits) {
        ImportedModel model;
        ModelFiles files(folder.Write("x.fbx", std::string(128 << 10, 'x')), {}, &model);
        ImportError failure;
        EXPECT_FALSE(ReadByHelper(limits, files, &failure));
        error = failure.text;
        return failure.kind;
    };
    HelperLimits limits;
    limits.program = Script(folder, "echo dravin-failed; printf '%s %s' \"$2\" \"$3\"");
    EXPECT_EQ(fail(limits), ImportFailure::kMalformed);
    EXPECT_EQ(error, folder.File("x.fbx") + ": cannot read the model: 12 1107296256");
    limits.seconds = 3, limits.memoryBytes = 1000;
    EXPECT_EQ(fail(limits), ImportFailure::kMalformed);
    EXPECT_EQ(error, folder.File("x.fbx") + ": cannot read the model: 3 1000");
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// The sanitizers' helper has no limit of its address space.
TEST(ImportHelper, AReaderOutOfMemorySaysSo) {
    // Thirty million vertices are claimed, 360 MB.
    TempFolder folder;
    ImportedModel model;
    ModelFiles files(folder.Write("a.off", "OFF\n30000000 1 0\n0 0 0\n3 0 1 2\n"), {}, &model);
    ImportError error;
    HelperLimits limits;
    limits.memoryBytes = 200 << 20;
    EXPECT_FALSE(ReadByHelper(limits, files, &error));
    EXPECT_EQ(error.kind, ImportFailure::kLimit) << error.text;
    EXPECT_NE(error.text.find("it needs more than 209715200 bytes of memory"), std::string::npos);
}
#endif

TEST(ImportHelper, ItsWholeGroupEndsWithIt) {
    // A child holds the pipe for ever; the answer counts all the same, and the child is ended.
    TempFolder folder;
    std::string script =
        fmt::format("sleep 600 & echo $! > {}; echo hello; exit 0", folder.File("child"));
    EXPECT_EQ(HelperError(script),
              "x.fbx: cannot read the model: the import helper's answer is damaged");
    pid_t child = pid_t(std::stoi(folder.Read("child")));
    ASSERT_GT(child, 1);
    // A killed process that init has not yet collected may be seen for a moment.
    auto isRunning = [&] {
        std::ifstream status(fmt::format("/proc/{}/stat", child));
        std::string text((std::istreambuf_iterator<char>(status)), {});
        size_t state = text.rfind(')');
        return state != text.npos && text.size() > state + 2 && text[state + 2] != 'Z';
    };
    for (int i = 0; i < 5000 && isRunning(); ++i) usleep(1000);
    EXPECT_FALSE(isRunning());
}

TEST(ImportHelper, EndlessAnswersAreCut) {
    EXPECT_EQ(HelperError("exec cat /dev/zero"),
              "x.fbx: cannot read the model: its answer has more than 268435456 bytes; a larger "
              "--input-limit helps");
}

TEST(ImportHelper, OpensNothingOutsideTheRoots) {
    TempFolder folder;
    std::filesystem::create_directories(folder.File("models"));
    // The format names a second file that holds the animation.
    folder.Write("secret.off", kOff);
    std::filesystem::create_symlink(folder.File("secret.off"), folder.File("models/link.off"));
    ImportedModel model;
    ImportError error;
    // The model itself may be a link: the user named it.
    EXPECT_TRUE(ImportModel(folder.File("models/link.off"), {}, &model, &error)) << error.text;
    EXPECT_EQ(model.format, "OFF");
}

TEST(ImportModel, AFileThatShrinksIsAnErrorOfItsOwn) {
    // A helper shortens the file while the reader looks at it; whichever comes first, nothing
    // crashes, and an import that saw the shorter file says so.
    TempFolder folder;
    std::string text;
    for (int i = 0; i < 300000; ++i) text += fmt::format("v {} 0 0\n", i);
    text += "f 1 2 3\n";
    for (int delayMs : {0, 1, 2, 4, 8, 16}) {
        std::string path = folder.Write("a.obj", text);
        std::thread cutter([&] {
            usleep(useconds_t(delayMs) * 1000);
            std::filesystem::resize_file(path, 5000);
        });
        ImportedModel model;
        ImportError error;
        bool ok = ImportModel(path, {}, &model, &error);
        cutter.join();
        if (ok) continue;
        bool isCut = error.text == path + ": the file became shorter while it was read";
        EXPECT_EQ(error.kind, isCut ? ImportFailure::kMissingInput : ImportFailure::kNone)
            << error.text;
    }
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
