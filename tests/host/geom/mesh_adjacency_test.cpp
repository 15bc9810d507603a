#include "host/geom/mesh_adjacency.h"

#include <gtest/gtest.h>

#include "host/geom/primitives.h"

namespace {

Mesh FromFaces(size_t numVerts, std::vector<Triple> faces) {
    Mesh mesh;
    for (size_t v = 0; v < numVerts; ++v) mesh.verts.push_back({float(v), float(v * v), 0});
    for (const Triple& t : faces) mesh.faces.push_back({t});
    return mesh;
}

}  // namespace

TEST(MeshAdjacency, QuadHasFiveEdgesOneShared) {
    MeshAdjacency adjacency(FromFaces(4, {{0, 1, 2}, {2, 3, 0}}));
    ASSERT_EQ(adjacency.NumEdges(), 5u);
    uint32_t diagonal = adjacency.EdgeOfFace(0, 2);
    EXPECT_EQ(diagonal, adjacency.EdgeOfFace(1, 2));
    EXPECT_EQ(adjacency.GetEdge(diagonal).v0, 0u);
    EXPECT_EQ(adjacency.GetEdge(diagonal).v1, 2u);
    auto sides = adjacency.SidesOfEdge(diagonal);
    EXPECT_EQ(std::vector<uint32_t>(sides.begin(), sides.end()), (std::vector<uint32_t>{2, 5}));
}

TEST(MeshAdjacency, EulerCountOfClosedMeshes) {
    for (const Mesh& mesh : {MakeBox(1, 2, 3, 4), MakeSphere(1, 12), MakeCone(1, 2, 7)}) {
        MeshAdjacency adjacency(mesh);
        EXPECT_EQ(mesh.verts.size() + mesh.faces.size(), adjacency.NumEdges() + 2);
        for (size_t e = 0; e < adjacency.NumEdges(); ++e)
            ASSERT_EQ(adjacency.SidesOfEdge(e).size(), 2u);
    }
}

TEST(MeshAdjacency, EdgeOfThreeFacesKeepsThemAll) {
    MeshAdjacency adjacency(FromFaces(5, {{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}));
    EXPECT_EQ(adjacency.SidesOfEdge(adjacency.EdgeOfFace(2, 0)).size(), 3u);
}

TEST(MeshAdjacency, EmptyMeshHasNoEdges) { EXPECT_EQ(MeshAdjacency(Mesh{}).NumEdges(), 0u); }

TEST(BorderLoops, PlaneHasOneLoopInFaceDirection) {
    Mesh plane = MakePlane(2, 2, 2, 2);  // vertices 0..8, row by row
    auto loops = BorderLoops(plane);
    ASSERT_EQ(loops.size(), 1u);
    EXPECT_EQ(loops[0], (std::vector<uint32_t>{0, 1, 2, 5, 8, 7, 6, 3}));
}

TEST(BorderLoops, ClosedMeshHasNone) { EXPECT_TRUE(BorderLoops(MakeSphere(1)).empty()); }

TEST(BorderLoops, BowTieVertexSeparatesTwoLoops) {
    auto loops = BorderLoops(FromFaces(5, {{0, 1, 2}, {2, 3, 4}}));
    ASSERT_EQ(loops.size(), 2u);
    EXPECT_EQ(loops[0], (std::vector<uint32_t>{0, 1, 2}));
    EXPECT_EQ(loops[1], (std::vector<uint32_t>{2, 3, 4}));
}

TEST(BorderLoops, MixedWindingStillCloses) {
    auto loops = BorderLoops(FromFaces(4, {{0, 1, 2}, {0, 2, 3}}));
    auto turned = BorderLoops(FromFaces(4, {{0, 1, 2}, {0, 3, 2}}));
    ASSERT_EQ(loops.size(), 1u);
    EXPECT_EQ(loops, turned);
}

TEST(BorderLoops, EveryBorderSideIsVisitedOnceOnRandomSoup) {
    uint32_t state = 7;
    auto next = [&](uint32_t n) { return (state = state * 1664525u + 1013904223u) % 65521u % n; };
    std::vector<Triple> faces;
    for (int i = 0; i < 300; ++i) faces.push_back({next(40), next(40), next(40)});
    Mesh soup = FromFaces(40, faces);
    MeshAdjacency adjacency(soup);
    size_t border = 0, visited = 0;
    for (size_t e = 0; e < adjacency.NumEdges(); ++e) {
        size_t proper = 0;
        for (uint32_t side : adjacency.SidesOfEdge(e)) {
            const Triple& v = soup.faces[side / 3].v;
            proper += v[0] != v[1] && v[1] != v[2] && v[2] != v[0];
        }
        border += proper % 2;
    }
    for (const auto& loop : BorderLoops(soup)) visited += loop.size();
    EXPECT_EQ(visited, border);
    EXPECT_GT(border, 100u);
}

TEST(BorderOutline, SkipsLoopsOfTwoEdges) {
    // Two triangles glued along 1-2 and 2-0 (a pocket): only its mouth, 0-1 twice, would be left,
    // but those two sides are one edge and mate as well. A mouth of two edges needs two vertices
    // between.
    Mesh pocket = FromFaces(4, {{0, 1, 2}, {1, 3, 2}, {3, 0, 2}, {1, 0, 3}});
    EXPECT_TRUE(BorderLoops(pocket).empty());
    pocket.faces.pop_back();
    EXPECT_EQ(BorderOutline(pocket).lines.size(), 1u);

    // Four faces on one side: the first two mate, the last two mate, and their outer sides bound
    // two loops of four edges; nothing shorter than three edges may come out.
    Mesh fan = FromFaces(6, {{0, 1, 2}, {1, 0, 3}, {0, 1, 4}, {1, 0, 5}});
    PolyShape outline = BorderOutline(fan);
    ASSERT_EQ(outline.lines.size(), 2u);
    for (const PolyLine& line : outline.lines) EXPECT_EQ(line.points.size(), 4u);
    EXPECT_TRUE(BorderOutline(Mesh{}).lines.empty());
}

TEST(BorderOutline, RingHasAnOuterAndAnInnerLine) {
    Mesh plane = MakePlane(3, 3, 3, 3);
    std::vector<Face> faces;  // without the middle cell (faces 8 and 9)
    for (size_t f = 0; f < plane.faces.size(); ++f)
        if (f != 8 && f != 9) faces.push_back(plane.faces[f]);
    plane.faces = faces;
    PolyShape outline = BorderOutline(plane);
    ASSERT_EQ(outline.lines.size(), 2u);
    EXPECT_EQ(outline.lines[0].points.size(), 12u);
    EXPECT_EQ(outline.lines[1].points.size(), 4u);
    EXPECT_TRUE(outline.lines[1].closed);
}
