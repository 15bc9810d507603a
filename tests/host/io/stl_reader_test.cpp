#include <cstring>

#include "tests/host/io/import_testing.h"

namespace {

const std::string kText =
    "solid left\n facet normal 0 0 1\n  outer loop\n   vertex 0 0 0\n   vertex 1 0 0\n"
    "   vertex 0 1 0\n  endloop\n endfacet\n facet normal 0 0 1\n  outer loop\n   vertex 1 0 0\n"
    "   vertex 1 1 0\n   vertex 0 1 0\n  endloop\n endfacet\nendsolid left\n"
    "solid right\nfacet normal 0 0 1\nouter loop\nvertex 2 0 0\nvertex 3 0 0\nvertex 2 1 0\n"
    "endloop\nendfacet\nendsolid\n";

std::string Binary(std::initializer_list<std::array<float, 9>> triangles, const char* title = "") {
    std::string bytes = title;
    bytes.resize(80);
    auto n = uint32_t(triangles.size());
    bytes.append(reinterpret_cast<const char*>(&n), 4);
    for (const auto& t : triangles) {
        bytes.append(12, '\0');
        bytes.append(reinterpret_cast<const char*>(t.data()), 36);
        bytes.append(2, '\0');
    }
    return bytes;
}

const std::string kBinary =
    Binary({{0, 0, 0, 1, 0, 0, 0, 1, 0}, {1, 0, 0, 1, 1, 0, 0, 1, 0}}, "solid but binary");

}  // namespace

TEST(StlReader, TextAndBinaryAgreeAndAreWelded) {
    TempFolder folder;
    ImportedModel text = ImportText(folder, "a.stl", kText);
    ImportedModel binary = ImportText(folder, "b.stl", kBinary);
    ASSERT_EQ(text.objects.size(), 2u);
    ASSERT_EQ(binary.objects.size(), 1u);
    EXPECT_EQ(*text.objects[0].mesh, *binary.objects[0].mesh);
    EXPECT_EQ(text.objects[0].mesh->verts.size(), 4u);
    EXPECT_EQ(text.objects[1].name, "right");
}

TEST(StlReader, ErrorsNameTheirPlace) {
    std::string bad = kText;
    bad.replace(bad.find("vertex 1 1 0"), 12, "vertex 1 inf");
    EXPECT_EQ(ErrorOfImport("a.stl", bad), "a.stl:12: expected three numbers");
    EXPECT_EQ(ErrorOfImport("a.stl", "solid\nfacet\nvertex 0 0 0\nendfacet\n"),
              "a.stl:4: a facet of fewer than three vertices");
    EXPECT_EQ(ErrorOfImport("a.stl", "solid\nfacet\nvertex 0 0 0\n"),
              "a.stl:3: the file ends within a facet");
    EXPECT_EQ(ErrorOfImport("a.stl", Binary({{0, 0, 0, 1, 0, 0, 0, NAN, 0}})),
              "a.stl: triangle 0: a coordinate is not a finite number");
}

TEST(StlReader, FacetsCannotReachAcrossOthers) {
    std::string corner = "vertex 0 0 0\n";
    EXPECT_EQ(ErrorOfImport("a.stl", "solid a\n" + corner + "solid b\n" + corner + corner),
              "a.stl:3: a facet of fewer than three vertices");
    EXPECT_EQ(ErrorOfImport("a.stl", "solid a\nfacet\n" + corner + "facet\n" + corner + corner),
              "a.stl:4: a facet of fewer than three vertices");
}

TEST(StlReader, ClaimedCountMustFitTheFile) {
    std::string bytes = kBinary;
    bytes[80] = '\xFF', bytes[81] = '\xFF', bytes[82] = '\xFF', bytes[83] = '\xFF';
    bytes[0] = 'x';
    EXPECT_EQ(ErrorOfImport("a.stl", bytes),
              "a.stl: not an STL file: 184 bytes are no whole number of triangles");
}

TEST(StlReader, EmptyFilesHaveNoObjects) {
    TempFolder folder;
    EXPECT_TRUE(ImportText(folder, "a.stl", Binary({})).objects.empty());
    EXPECT_TRUE(ImportText(folder, "b.stl", "solid nothing\nendsolid\n").objects.empty());
}

TEST(StlReader, DamagedFilesNeverCrash) {
    ExpectRobust("a.stl", kText);
    ExpectRobust("a.stl", kBinary);
}
