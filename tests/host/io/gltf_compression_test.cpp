// Compressed glTF, and claims that are weighed before memory.
#include <cmath>

#include <gmock/gmock.h>
#include <meshoptimizer.h>

#include "host/base/input_limit.h"
#include "tests/host/io/gltf_builder.h"
#include "tests/host/io/import_testing.h"

using testing::HasSubstr;

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

namespace {

class GltfInputLimit : public testing::Test {
protected:
    void TearDown() override { SetInputLimit(kDefaultInputLimit); }

    ImportError Import(const std::string& text) {
        ImportError error;
        ImportModel(m_folder.Write("a.gltf", text), {}, &m_model, &error);
        return error;
    }

    TempFolder m_folder;
    ImportedModel m_model;
};

TEST_F(GltfInputLimit, RaisesTheElementsWithoutABuffer) {
    GltfBuilder file;
    int positions = file.Accessor(-1, 5126, (1 << 20) + 1, "VEC3");
    file.Floats(kTriangle, "VEC3");
    std::string text =
        file.File(OneMesh(fmt::format(R"("attributes":{{"POSITION":{}}})", positions)));
    EXPECT_THAT(Import(text).text, HasSubstr("; --input-limit 1025 allows it"));
    SetInputLimit(uint64_t{1025} << 20);
    EXPECT_EQ(Import(text).kind, ImportFailure::kNone);
}

TEST_F(GltfInputLimit, WeighsWhatIsUnpacked) {
    SetInputLimit(167);  // two faces of 12 bytes and four points of 36 take 168
    ImportError error = Import(DracoFile(DracoSquare()));
    EXPECT_EQ(error.kind, ImportFailure::kLimit);
    EXPECT_THAT(error.text, HasSubstr("packed mesh 0: with those before it, it would take 1 MiB"));
    SetInputLimit(168);
    EXPECT_EQ(Import(DracoFile(DracoSquare())).kind, ImportFailure::kNone);

    GltfBuilder file;
    int view = file.Bytes("abcdefgh", R"(,"extensions":{"EXT_meshopt_compression":{"buffer":0,
        "byteLength":8,"byteStride":12,"count":15,"mode":"ATTRIBUTES"}})");
    int positions = file.Accessor(view, 5126, 15, "VEC3");
    error = Import(file.File(OneMesh(fmt::format(R"("attributes":{{"POSITION":{}}})", positions))));
    EXPECT_EQ(error.kind, ImportFailure::kLimit);
    EXPECT_THAT(error.text, HasSubstr("--input-limit 1 allows it"));
}

TEST_F(GltfInputLimit, PackedImagesAreWeighedTogether) {
    // Two images of 64 bytes that share their bytes in the file.
    GltfBuilder file;
    int positions = file.Floats(kTriangle, "VEC3");
    int view = file.Bytes("P5\n8 8\n255\n" + std::string(64, 'x'));
    std::string primitives,
        image = fmt::format(R"({{"bufferView":{},"mimeType":"image/png"}})", view);
    for (int m = 0; m < 2; ++m)
        primitives += fmt::format(R"({}{{"attributes":{{"POSITION":{}}},"material":{}}})",
                                  m ? "," : "", positions, m);
    auto material = [](int m) {
        return fmt::format(R"({{"pbrMetallicRoughness":{{"baseColorTexture":{{"index":{}}}}}}})",
                           m);
    };
    std::string text = file.File(fmt::format(
        R"("nodes":[{{"mesh":0}}],"meshes":[{{"primitives":[{}]}}],"materials":[{},{}],
        "textures":[{{"source":0}},{{"source":1}}],"images":[{},{}])",
        primitives, material(0), material(1), image, image));
    SetInputLimit(128);
    EXPECT_EQ(Import(text).kind, ImportFailure::kNone);
    EXPECT_EQ(m_model.warnings.size(), 0u);
    SetInputLimit(127);
    EXPECT_EQ(Import(text).kind, ImportFailure::kNone);
    ASSERT_EQ(m_model.warnings.size(), 1u);
    EXPECT_THAT(m_model.warnings[0], HasSubstr("texture left out: image 1: cannot read the image"));
    EXPECT_THAT(m_model.warnings[0], HasSubstr("--input-limit 1 allows it"));
}

}  // namespace
