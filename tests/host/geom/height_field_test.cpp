#include "host/geom/height_field.h"

#include <gtest/gtest.h>

#include "host/geom/mesh_adjacency.h"
#include "host/geom/mesh_tools.h"
#include "tests/host/geom/random_heights.h"

namespace {

constexpr float kHole = std::numeric_limits<float>::quiet_NaN();

// Fields of many shapes, more than one word and one block wide, with and without holes.
std::vector<HeightField> Fields() {
    std::vector<HeightField> fields;
    for (double holes : {0.0, 0.03, 0.4}) {
        fields.push_back(RandomHeights(2, 2, {1, 1}, holes, 1));
        fields.push_back(RandomHeights(9, 9, {8, 16}, holes, 2));
        fields.push_back(RandomHeights(65, 3, {10, 3}, holes, 3));
        fields.push_back(RandomHeights(3, 70, {0.5f, 900}, holes, 4));
        fields.push_back(RandomHeights(131, 40, {1000, 317}, holes, 5));
    }
    return fields;
}

}  // namespace

TEST(HeightField, LowestRowIsFirst) {
    HeightField field(3, 2, {10, 4}, std::vector<float>{0, 4, 8, 2, 0, 8});
    Mesh mesh = field.MakeMesh();
    EXPECT_EQ(Validate(mesh), "");
    EXPECT_EQ(mesh.verts[0], (Point3{-5, -2, 0}));
    EXPECT_EQ(mesh.verts[2], (Point3{5, -2, 8}));
    EXPECT_EQ(mesh.verts[3], (Point3{-5, 2, 2}));
    ASSERT_EQ(mesh.NumFaces(), 4u);
    EXPECT_EQ(mesh.faces[0].v, (Triple{0, 1, 4}));
    EXPECT_EQ(mesh.faces[1].v, (Triple{4, 3, 0}));
    EXPECT_EQ(mesh.Map(1)->verts[5], (Point3{1, 1, 0}));
    EXPECT_GT(mesh.FaceNormalUnscaled(0).z, 0);
}

TEST(HeightField, MissingCornersTakeTheirTrianglesAway) {
    // 3 x 3 samples without the one of column 2, row 0: of eight triangles only the lower one of
    // the cell beside it goes.
    HeightField field(3, 3, {2, 2}, std::vector<float>{0, 0, kHole, 0, 0, 0, 0, 0, INFINITY});
    EXPECT_TRUE(field.HasHoles());
    EXPECT_FALSE(field.Exists({1, 0, false}));
    EXPECT_TRUE(field.Exists({1, 0, true}));
    EXPECT_FALSE(field.Exists({1, 1, true}));  // infinite heights are holes as well
    EXPECT_EQ(field.NumFaces(), 5u);
    EXPECT_EQ(field.FaceNumber({1, 0, true}), 2u);
    Mesh mesh = field.MakeMesh();
    EXPECT_EQ(Validate(mesh), "");
    EXPECT_EQ(mesh.verts.size(), 7u);
    EXPECT_FALSE(FirstNonFiniteVertex(mesh));
}

TEST(HeightField, AllHolesIsEmpty) {
    HeightField field(3, 3, {2, 2}, std::vector<float>(9, kHole));
    EXPECT_EQ(field.NumFaces(), 0u);
    EXPECT_TRUE(field.Bounds().IsEmpty());
    EXPECT_TRUE(field.MakeMesh().verts.empty());
    EXPECT_TRUE(field.Outline().lines.empty());
}

TEST(HeightField, FacesAreThoseOfTheMesh) {
    for (const HeightField& field : Fields()) {
        Mesh mesh = field.MakeMesh();
        ASSERT_EQ(mesh.NumFaces(), field.NumFaces());
        for (size_t f = 0; f < mesh.NumFaces(); ++f) {
            HeightTriangle t = field.TriangleOf(f);
            ASSERT_TRUE(field.Exists(t));
            ASSERT_EQ(field.FaceNumber(t), f);
            std::array<Point3, 3> corners = field.Corners(t), uvs = field.MappingCorners(t);
            for (size_t k = 0; k < 3; ++k) {
                ASSERT_EQ(corners[k], mesh.verts[mesh.faces[f].v[k]]);
                ASSERT_EQ(uvs[k], mesh.Map(1)->verts[mesh.Map(1)->faces[f][k]]);
            }
        }
    }
}

TEST(HeightField, BoundsAreThoseOfTheMesh) {
    Matrix3 turned = Matrix3::RotationX(0.7f) * Matrix3::Translation({1, 2, 3});
    for (const HeightField& field : Fields()) {
        Mesh mesh = field.MakeMesh();
        EXPECT_EQ(field.Bounds(), mesh.BoundingBox());
        Box3 moved;
        Box2 mapping;
        for (const Point3& p : mesh.verts) moved += p * turned;
        for (const Point3& p : mesh.maps[1].verts) mapping += Point2{p.x, p.y};
        EXPECT_EQ(field.BoundsMoved(turned), moved);
        EXPECT_EQ(field.MappingBounds(), mapping);
    }
}

// The angles of the mean are good to 1e-5, and so is the rounding of steep sides. Mesh vertices of
// 1000 units are 6e-5 apart, which turns a face 0.3 units long by 2e-4.
TEST(HeightField, NormalsAreThoseOfTheMesh) {
    for (const HeightField& field : Fields()) {
        Mesh mesh = field.MakeMesh();
        std::vector<Point3> normals = VertexNormals(mesh);
        float tolerance = field.Size().x > 100 || field.Size().y > 100 ? 5e-4f : 1e-4f;
        for (size_t f = 0; f < mesh.NumFaces(); ++f) {
            std::array<Point3, 3> corners = field.CornerNormals(field.TriangleOf(f));
            for (size_t k = 0; k < 3; ++k)
                ASSERT_NEAR(Length(corners[k] - normals[3 * f + k]), 0, tolerance);
        }
    }
}

TEST(HeightField, OutlinesAreThoseOfTheMesh) {
    for (const HeightField& field : Fields())
        EXPECT_EQ(field.Outline(), BorderOutline(field.MakeMesh()));
}

TEST(HeightField, RangesHoldTheirBlocks) {
    for (const HeightField& field : Fields()) {
        EXPECT_LE(field.BytesHeld(), HeightField::BytesFor(field.NumColumns(), field.NumRows()) +
                                         100 * (field.NumColumns() + field.NumRows()));
        for (size_t level = 0; level < field.NumLevels(); ++level) {
            int bits = int(level) + HeightField::kBlockBits;
            for (size_t j = 0; j < field.NumRows(); ++j)
                for (size_t i = 0; i < field.NumColumns(); ++i) {
                    if (std::isnan(field.Height(i, j))) continue;
                    // A sample belongs to the cells on both its sides.
                    for (size_t column : {i, i - (i > 0)})
                        for (size_t row : {j, j - (j > 0)}) {
                            if (column + 1 == field.NumColumns() || row + 1 == field.NumRows())
                                continue;
                            HeightField::Range r =
                                field.BlockRange(level, column >> bits, row >> bits);
                            ASSERT_LE(r.low, field.Height(i, j));
                            ASSERT_GE(r.high, field.Height(i, j));
                        }
                }
        }
        HeightField::Range all = field.BlockRange(field.NumLevels() - 1, 0, 0);
        EXPECT_TRUE(field.NumFaces() == 0 || all.low <= field.Bounds().min.z);
    }
}

TEST(HeightField, CellsHoldTheirLowerBorders) {
    HeightField field = RandomHeights(7, 5, {1, 3}, 0, 9);
    HeightTriangle cell;
    for (uint32_t i = 0; i < 6; ++i) {
        ASSERT_TRUE(field.CellAt(field.X(i), field.Y(2), &cell));
        EXPECT_EQ(cell.column, i);
        EXPECT_EQ(cell.row, 2u);
        ASSERT_TRUE(field.CellAtMapping(std::nextafter(field.U(i + 1), 0.0f), 0, &cell));
        EXPECT_EQ(cell.column, i);
    }
    EXPECT_FALSE(field.CellAt(field.X(6), 0, &cell));
    EXPECT_FALSE(field.CellAt(0, std::nextafter(field.Y(0), -9.0f), &cell));
    EXPECT_FALSE(field.CellAt(kHole, 0, &cell));
}

TEST(HeightField, ThreadsDoNotMatter) {
    std::vector<float> heights;
    for (int i = 0; i < 500 * 300; ++i) heights.push_back(i % 977 ? float(i % 31) : kHole);
    HugeBuffer copy(heights.size() * sizeof(float));
    std::copy(heights.begin(), heights.end(), reinterpret_cast<float*>(copy.Data()));
    HeightField one(500, 300, {1, 1}, heights), four(500, 300, {1, 1}, std::move(copy), 4);
    EXPECT_EQ(one.MakeMesh(), four.MakeMesh());
    EXPECT_EQ(one.Bounds(), four.Bounds());
}

TEST(HeightField, MeshTellsItsMemory) {
    HeightField field = RandomHeights(20, 30, {1, 1}, 0, 2);
    Mesh mesh = field.MakeMesh();
    uint64_t bytes = mesh.verts.size() * 2 * sizeof(Point3) +
                     mesh.faces.size() * (sizeof(Face) + sizeof(Triple));
    EXPECT_EQ(field.BytesOfMesh(), bytes);
}
