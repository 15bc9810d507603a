#include "host/io/bitmap.h"
#include "tests/host/io/import_testing.h"

namespace {

const std::string kQuads =
    "# two quads of two objects\n"
    "mtllib a.mtl\r\n"
    "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv +2.5e0 0 0\nv 2 1 0\n"
    "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nvn 0 0 1\n"
    "o left\nusemtl red\ns 1\nf 1/1/1 2/2/1 3/3/1 4/4/1\n"
    "o right\ns off\nusemtl blue\nf 2//1 5//1 6//1\nusemtl red\nf -5/2 -1/1 -4/4\n";

// With the numbers as they stand in the file.
ImportedModel ImportObj(const TempFolder& folder, const std::string& text) {
    ImportOptions options;
    options.up = UpAxis::kZ;
    return ImportText(folder, "a.obj", text, options);
}

}  // namespace

TEST(ObjReader, TheFilesYAxisIsUp) {
    TempFolder folder;
    std::string text = "v 1 2 3\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    EXPECT_EQ(ImportText(folder, "a.obj", text).objects[0].mesh->verts[0], (Point3{1, -3, 2}));
    EXPECT_EQ(ImportObj(folder, text).objects[0].mesh->verts[0], (Point3{1, 2, 3}));
}

TEST(ObjReader, ObjectsWithTheirOwnVertices) {
    TempFolder folder;
    ImportedModel model = ImportObj(folder, kQuads);
    ASSERT_EQ(model.objects.size(), 2u);
    const Mesh& left = *model.objects[0].mesh;
    EXPECT_EQ(model.objects[0].name, "left");
    EXPECT_EQ(left.verts.size(), 4u);
    ASSERT_EQ(left.NumFaces(), 2u);
    EXPECT_EQ(left.faces[0].smGroup, 1u);
    EXPECT_EQ(left.faces[0].flags, Face::kEdge0 | Face::kEdge1);
    EXPECT_EQ(left.Map(1)->verts[left.Map(1)->faces[0][1]], (Point3{1, 0, 0}));
    EXPECT_EQ(left.normals.verts, (std::vector<Point3>{{0, 0, 1}}));
}

TEST(ObjReader, MissingCoordinatesAndNormalsAreFilled) {
    TempFolder folder;
    ImportedModel model = ImportObj(folder, kQuads);
    const Mesh& right = *model.objects[1].mesh;
    ASSERT_EQ(Validate(right), "");
    ASSERT_NE(right.Map(1), nullptr);
    EXPECT_EQ(right.Map(1)->verts[right.Map(1)->faces[0][0]], (Point3{}));
    // Face 1 names no normals: its corners get the face's own.
    Point3 normal = right.normals.verts[right.normals.faces[1][0]];
    EXPECT_EQ(normal, Normalize(right.FaceNormalUnscaled(1)));
    EXPECT_EQ(right.faces[0].smGroup, 0u);
}

TEST(ObjReader, NegativeIndicesCountFromTheEnd) {
    TempFolder folder;
    ImportedModel model = ImportObj(folder, kQuads);
    const Mesh& right = *model.objects[1].mesh;
    EXPECT_EQ(right.verts[right.faces[1].v[0]], (Point3{1, 0, 0}));  // -5 of six is the second
    EXPECT_EQ(right.verts[right.faces[1].v[1]], (Point3{2, 1, 0}));
    EXPECT_EQ(right.verts[right.faces[0].v[1]].x, 2.5f);
}

TEST(ObjReader, MaterialsBecomeFaceIds) {
    TempFolder folder;
    std::string error;
    ASSERT_TRUE(
        WriteBitmap(folder.File("my leaf.png"), Bitmap(1, 1, 1, std::vector<uint8_t>{7}), &error));
    folder.Write("a.mtl",
                 "newmtl red\nKd 1 0 0\nd 0.25\n"
                 "map_Kd -s 2 3 -o 0.5 0 0 -clamp on C:\\art\\my leaf.png \n"
                 "newmtl blue\nKd 0 0 1\nTr 0.25\nmap_d none.png\n");
    ImportedModel model = ImportObj(folder, kQuads);
    auto* red = dynamic_cast<StandardMtl*>(model.objects[0].material.get());
    ASSERT_NE(red, nullptr);
    EXPECT_EQ(red->diffuse, (Color{1, 0, 0}));
    EXPECT_EQ(red->opacity, 0.25f);
    ASSERT_TRUE(red->diffuseMap);
    EXPECT_EQ(red->diffuseMap->tiling, (Point2{2, 3}));
    EXPECT_EQ(red->diffuseMap->offset, (Point2{0.5f, 0}));
    EXPECT_TRUE(red->diffuseMap->Update(0, &error)) << error;
    ASSERT_EQ(model.objects[1].material->NumSubMtls(), 2);
    EXPECT_EQ(StandardMtlOfFace(model.objects[1].material.get(), 0)->opacity, 0.75f);
    EXPECT_EQ(StandardMtlOfFace(model.objects[1].material.get(), 1), red);
    ASSERT_EQ(model.warnings.size(), 2u);
    EXPECT_NE(model.warnings[0].find("C:\\art\\my leaf.png is taken from"), std::string::npos);
    EXPECT_NE(model.warnings[1].find("none.png"), std::string::npos);
    ASSERT_EQ(model.materials.size(), 2u);
    EXPECT_TRUE(model.materials[0].textures.at(0).found);
    EXPECT_FALSE(model.materials[1].textures.at(0).found);
    EXPECT_EQ(model.materials[1].alpha, ImportedAlpha::kBlend);
}

TEST(ObjReader, TransparencyHasTwoMeanings) {
    auto opacity = [](const std::string& library) {
        TempFolder folder;
        folder.Write("a.mtl", library);
        ImportedModel model =
            ImportObj(folder, "mtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl red\nf 1 2 3\n");
        return dynamic_cast<StandardMtl&>(*model.objects.at(0).material).opacity.Get();
    };
    EXPECT_EQ(opacity("newmtl red\nTr 0.25\n"), 0.75f);
    EXPECT_EQ(opacity("# Converted by Meshlab Group\nnewmtl red\nTr 0.25\n"), 0.25f);
    EXPECT_EQ(opacity("newmtl red\nTr 1\n"), 1);  // nobody writes what nobody sees
    EXPECT_EQ(opacity("newmtl red\nd 0.5\nTr 1\n"), 0.5f);
    EXPECT_EQ(opacity("newmtl red\nTr 0.5\nd 0\n"), 1);
}

TEST(ObjReader, WhatNobodyWouldSeeIsMendedWithAWarning) {
    TempFolder folder;
    std::string error;
    ASSERT_TRUE(
        WriteBitmap(folder.File("leaf.png"), Bitmap(1, 1, 1, std::vector<uint8_t>{7}), &error));
    folder.Write("a.mtl",
                 "newmtl red\nd 0\nnewmtl blue\nKd 0 0 0\nmap_Kd leaf.png\n"
                 "newmtl black\nKd 0 0 0\n");
    ImportedModel model = ImportObj(folder,
                                    "mtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl red\nf 1 2 3\n"
                                    "usemtl blue\nf 1 2 3\nusemtl black\nf 1 2 3\n");
    auto* materials = model.objects.at(0).material.get();
    EXPECT_EQ(StandardMtlOfFace(materials, 0)->opacity, 1);
    EXPECT_EQ(StandardMtlOfFace(materials, 1)->diffuse, (Color{1, 1, 1}));
    EXPECT_EQ(StandardMtlOfFace(materials, 2)->diffuse, (Color{0, 0, 0}));
    ASSERT_EQ(model.warnings.size(), 2u);
    EXPECT_NE(model.warnings[0].find("\"red\" has no opacity at all"), std::string::npos);
    EXPECT_NE(model.warnings[1].find("\"blue\" has a texture under the colour black"),
              std::string::npos);
    EXPECT_EQ(model.materials.at(0).alpha, ImportedAlpha::kOpaque);
}

TEST(ObjReader, WhatIsLeftOutWarns) {
    TempFolder folder;
    folder.Write("a.mtl", "newmtl red\nmap_Bump b.png\nmap_Ks s.png\n");
    ImportedModel model = ImportObj(folder,
                                    "mtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl red\n"
                                    "f 1 2 3\nl 1 2\nl 2 3\np 1\n");
    ASSERT_EQ(model.warnings.size(), 1u);
    EXPECT_NE(model.warnings[0].find("left out: 1 bump map, 2 lines, 1 map of other properties, "
                                     "1 point"),
              std::string::npos)
        << model.warnings[0];
}

TEST(ObjReader, MissingLibraryIsAWarning) {
    TempFolder folder;
    ImportedModel model = ImportObj(folder, kQuads);
    EXPECT_EQ(model.objects[0].material, nullptr);
    EXPECT_EQ(model.warnings.size(), 3u);  // the library and its two materials
}

TEST(ObjReader, GroupsDivideFilesWithoutObjects) {
    TempFolder folder;
    std::string points = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    ImportedModel model =
        ImportObj(folder, points + "g a\nf 1 2 3\ng b\nf 3 2 1\ng a\nf 2 3 1\ng empty\n");
    ASSERT_EQ(model.objects.size(), 2u);
    EXPECT_EQ(model.objects[0].mesh->NumFaces(), 2u);
    EXPECT_EQ(model.objects[1].name, "b");
}

TEST(ObjReader, VertexColoursAndContinuedLines) {
    TempFolder folder;
    ImportedModel model =
        ImportObj(folder, "v 0 0 0 1 0 0\nv 1 0 0 0 1 0\nv 0 1 \\\r\n 0 0 0 1\nf 1 \\\n 2 3\n");
    const Mesh& mesh = *model.objects[0].mesh;
    ASSERT_NE(mesh.Map(0), nullptr);
    EXPECT_EQ(mesh.Map(0)->verts[mesh.Map(0)->faces[0][2]], (Point3{0, 0, 1}));
    EXPECT_EQ(mesh.verts[mesh.faces[0].v[2]], (Point3{0, 1, 0}));
    auto* material = dynamic_cast<StandardMtl*>(model.objects[0].material.get());
    ASSERT_NE(material, nullptr);
    EXPECT_TRUE(material->vertexColors);
    EXPECT_EQ(material->diffuse, (Color{1, 1, 1}));
}

TEST(ObjReader, SeparateCopiesOfAPositionStaySeparate) {
    // The format shares vertices by index, so two of one place are the author's wish.
    TempFolder folder;
    ImportedModel model = ImportObj(
        folder, "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 0\nv 1 0 0\nv 0 -1 0\nf 1 2 3\nf 4 6 5\n");
    EXPECT_EQ(model.objects[0].mesh->verts.size(), 6u);
}

TEST(ObjReader, ErrorsNameTheLine) {
    std::string points = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    EXPECT_EQ(ErrorOfImport("a.obj", points + "f 1 2 9\n"), "a.obj:4: vertex index 9 of 3");
    EXPECT_EQ(ErrorOfImport("a.obj", points + "f 1 2 -4\n"), "a.obj:4: vertex index -4 of 3");
    EXPECT_EQ(ErrorOfImport("a.obj", points + "f 0 1 2\n"), "a.obj:4: vertex index 0 of 3");
    EXPECT_EQ(ErrorOfImport("a.obj", points + "f 1/1 2/1 3/1\n"),
              "a.obj:4: texture coordinate index 1 of 0");
    EXPECT_EQ(ErrorOfImport("a.obj", points + "f 1 2\n"),
              "a.obj:4: a face of 2 corners, expected 3 or more");
    EXPECT_EQ(ErrorOfImport("a.obj", points + "f 1 2 3x\n"),
              "a.obj:4: a face corner is malformed, expected v, v/t, v//n or v/t/n");
    EXPECT_EQ(ErrorOfImport("a.obj", "v 0 nan 0\n"),
              "a.obj:1: a coordinate is not a finite number");
    EXPECT_EQ(ErrorOfImport("a.obj", "v 1e99 0 0\n"),
              "a.obj:1: a coordinate is not a finite number");
    EXPECT_EQ(ErrorOfImport("a.obj", "v 0,5 0 0\n"), "a.obj:1: 1 numbers, expected 3");
    EXPECT_EQ(ErrorOfImport("a.obj", points + "f 99999999999999999999 1 2\n"),
              "a.obj:4: expected a vertex index");
}

TEST(ObjReader, TinyNumbersAreZero) {
    TempFolder folder;
    auto model = ImportObj(folder, "v 1e-99 -1e-400 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    EXPECT_EQ(model.objects[0].mesh->verts[0], (Point3{}));
}

TEST(ObjReader, OtherFilesFailFast) {
    EXPECT_EQ(ErrorOfImport("a.obj", ""), "a.obj:0: no OBJ statement found");
    // A sparse file of 2 GiB: reading it all would take seconds and exhaust the machine's memory.
    TempFolder folder;
    std::string path = folder.Write("big.obj", std::string(1000, '\n')), error;
    std::filesystem::resize_file(path, uint64_t{2} << 30);
    ImportedModel model;
    EXPECT_FALSE(ImportModel(path, &model, &error));
    EXPECT_NE(error.find("not an OBJ file"), error.npos) << error;
    EXPECT_EQ(ErrorOfImport("b.obj", std::string(70000, '\n') + "rubbish\n"),
              "b.obj:70001: no OBJ statement found");
}

TEST(ObjReader, DamagedFilesNeverCrash) { ExpectRobust("a.obj", kQuads); }
