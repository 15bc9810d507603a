#include <bit>
#include <cstring>

#include "host/io/bitmap.h"
#include "tests/host/io/import_testing.h"

namespace {

const std::string kHeader =
    "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
    "property uchar red\nproperty uchar green\nproperty uchar blue\n"
    "element face 1\nproperty list uchar int vertex_indices\n"
    "element edge 1\nproperty int a\nproperty int b\nend_header\n";

const std::string kAscii = "ply\nformat ascii 1.0\ncomment a quad\n" + kHeader +
                           "0 0 0 255 0 0\n1 0 0 0 255 0\n1 1 0 0 0 255\n0 1 0 255 255 255\n"
                           "4 0 1 2 3\n0 1\n";

template <class T>
std::string Bytes(T value, bool big) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    if (big) std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

std::string Binary(bool big) {
    std::string text =
        std::string("ply\nformat binary_") + (big ? "big" : "little") + "_endian 1.0\n" + kHeader;
    float corners[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    for (int v = 0; v < 4; ++v) {
        text += Bytes(corners[v][0], big) + Bytes(corners[v][1], big) + Bytes(0.0f, big);
        for (int c = 0; c < 3; ++c) text += char(v == 3 || v == c ? 255 : 0);
    }
    text += char(4);
    for (int32_t i = 0; i < 4; ++i) text += Bytes(i, big);
    return text + Bytes(int32_t{0}, big) + Bytes(int32_t{1}, big);
}

}  // namespace

TEST(PlyReader, TextAndBothBinaryFormsAgree) {
    TempFolder folder;
    Mesh text = *ImportText(folder, "a.ply", kAscii).objects.at(0).mesh;
    EXPECT_EQ(text, *ImportText(folder, "b.ply", Binary(false)).objects.at(0).mesh);
    EXPECT_EQ(text, *ImportText(folder, "c.ply", Binary(true)).objects.at(0).mesh);
    EXPECT_EQ(text.NumFaces(), 2u);
    EXPECT_EQ(text.verts[2], (Point3{1, 1, 0}));
    EXPECT_EQ(text.Map(0)->verts[1], (Point3{0, 1, 0}));
}

TEST(PlyReader, SplitVerticesAreWelded) {
    TempFolder folder;
    std::string text =
        "ply\nformat ascii 1.0\nelement vertex 6\nproperty double x\nproperty double y\n"
        "property double z\nproperty float s\nproperty float t\n"
        "element face 2\nproperty list uchar uint vertex_index\nend_header\n"
        "0 0 0 0 0\n1 0 0 1 0\n0 1 0 0 1\n0 0 0 .5 .5\n0 1 0 .25 0\n-1 0 0 0 0\n3 0 1 2\n3 3 4 5\n";
    Mesh mesh = *ImportText(folder, "a.ply", text).objects.at(0).mesh;
    EXPECT_EQ(mesh.verts.size(), 4u);
    EXPECT_EQ(mesh.Map(1)->verts.size(), 6u);
    EXPECT_EQ(mesh.Map(1)->verts[mesh.Map(1)->faces[1][0]], (Point3{0.5f, 0.5f, 0}));
}

TEST(PlyReader, CornersMayCarryTextureCoordinates) {
    TempFolder folder;
    std::string text =
        "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
        "property float z\nelement face 2\nproperty list uchar int vertex_indices\n"
        "property list uchar float texcoord\nend_header\n"
        "0 0 0\n1 0 0\n0 1 0\n3 0 1 2 6 0 0 1 0 0 1\n3 2 1 0 0\n";
    Mesh mesh = *ImportText(folder, "a.ply", text).objects.at(0).mesh;
    ASSERT_NE(mesh.Map(1), nullptr);
    EXPECT_EQ(mesh.Map(1)->verts[mesh.Map(1)->faces[0][1]], (Point3{1, 0, 0}));
    EXPECT_EQ(Validate(mesh), "");
}

TEST(PlyReader, StripsAlternateTheirWinding) {
    TempFolder folder;
    std::string text =
        "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\n"
        "property float z\nelement tristrips 1\nproperty list int int vertex_indices\nend_header\n"
        "0 0 0\n1 0 0\n0 1 0\n1 1 0\n8 0 1 2 3 -1 0 1 2\n";
    Mesh mesh = *ImportText(folder, "a.ply", text).objects.at(0).mesh;
    ASSERT_EQ(mesh.NumFaces(), 3u);
    for (size_t f = 0; f < 3; ++f) EXPECT_GT(mesh.FaceNormalUnscaled(f).z, 0);
}

TEST(PlyReader, HugeClaimsAreRefusedBeforeAllocation) {
    std::string header =
        "ply\nformat binary_little_endian 1.0\nelement vertex 4000000000000\n"
        "property float x\nproperty float y\nproperty float z\nend_header\n";
    EXPECT_EQ(ErrorOfImport("a.ply", header + "123456789012"),
              "a.ply: element \"vertex\": 4000000000000 rows claimed, the file holds 1 at most");
    std::string list =
        "ply\nformat binary_little_endian 1.0\nelement face 1\n"
        "property list uint int vertex_indices\nend_header\n\xFF\xFF\xFF\x7F";
    EXPECT_EQ(ErrorOfImport("a.ply", list),
              "a.ply: element \"face\", row 0: the file ends or holds no number");
}

TEST(PlyReader, ErrorsNameTheirPlace) {
    auto replaced = [](const std::string& from, const std::string& to) {
        std::string text = kAscii;
        return text.replace(text.find(from), from.size(), to);
    };
    EXPECT_EQ(ErrorOfImport("a.ply", replaced("4 0 1 2 3", "4 0 1 2 7")),
              "a.ply: element \"face\", row 0: vertex index 7 of 4");
    EXPECT_EQ(ErrorOfImport("a.ply", replaced("4 0 1 2 3", "4 0 1 2 1e99")),
              "a.ply: element \"face\", row 0: vertex index 1e+99 of 4");
    EXPECT_EQ(ErrorOfImport("a.ply", replaced("1 1 0", "1 nan 0")),
              "a.ply: vertex 2: a coordinate is not a finite number");
    EXPECT_EQ(ErrorOfImport("a.ply", replaced("property float x", "property float q")),
              "a.ply: element \"vertex\" lacks x, y or z");
    EXPECT_EQ(ErrorOfImport("a.ply", replaced("float y", "quad y")),
              "a.ply: header line 6: bad property");
    EXPECT_EQ(ErrorOfImport("a.ply", replaced("ascii", "runes")),
              "a.ply: header line 2: unknown format");
    EXPECT_EQ(ErrorOfImport("a.ply", "solid"), "a.ply: not a PLY file");
    EXPECT_EQ(ErrorOfImport("a.ply", "ply\nformat ascii 1.0\n"), "a.ply: the header does not end");
}

TEST(PlyReader, RowsMayBeLongerThanTheHeaderSays) {
    TempFolder folder;
    std::string rows =
        "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
        "property float z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n"
        "0 0 0 255 0 0\n1 0 0 255 0 0\n0 1 0 255 0 0\n3 0 1 2 7\n";
    ImportedModel model = ImportText(folder, "a.ply", rows);
    EXPECT_EQ(model.objects.at(0).mesh->verts,
              (std::vector<Point3>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
    ASSERT_EQ(model.warnings.size(), 2u);
    EXPECT_NE(model.warnings[0].find("element \"vertex\": rows hold more numbers"),
              std::string::npos);
    // In a binary file nothing tells the rows apart.
    std::string longer = Binary(false) + std::string(100, '\1');
    EXPECT_NE(ErrorOfImport("b.ply", longer).find("the rows are longer than the header says"),
              std::string::npos);
}

TEST(PlyReader, ColoursAndTheTextureOfTheHeaderAreShown) {
    TempFolder folder;
    std::string error;
    ASSERT_TRUE(
        WriteBitmap(folder.File("skin.png"), Bitmap(1, 1, 1, std::vector<uint8_t>{7}), &error));
    std::string text =
        "ply\nformat ascii 1.0\ncomment TextureFile skin.png\nelement vertex 3\n"
        "property float x\nproperty float y\nproperty float z\nproperty uchar red\n"
        "property uchar green\nproperty uchar blue\nproperty uchar alpha\n"
        "element face 1\nproperty list uchar int vertex_indices\nend_header\n"
        "0 0 0 255 0 0 255\n1 0 0 0 51 0 255\n0 1 0 0 0 255 9\n3 0 1 2\n";
    ImportedModel model = ImportText(folder, "a.ply", text);
    auto* material = dynamic_cast<StandardMtl*>(model.objects.at(0).material.get());
    ASSERT_NE(material, nullptr);
    EXPECT_TRUE(material->vertexColors);
    EXPECT_TRUE(material->diffuseMap);
    const MapChannel* colors = model.objects[0].mesh->Map(0);
    ASSERT_NE(colors, nullptr);
    EXPECT_NEAR(colors->verts[colors->faces[0][1]].y, 0.2f, 1e-6f);
    ASSERT_EQ(model.warnings.size(), 1u);
    EXPECT_NE(model.warnings[0].find("alpha"), std::string::npos);
}

TEST(PlyReader, DamagedFilesNeverCrash) {
    ExpectRobust("a.ply", kAscii);
    ExpectRobust("a.ply", Binary(false));
    ExpectRobust("a.ply", Binary(true));
}
