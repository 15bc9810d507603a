#include "Dravin/mesh/proxy_shapes.h"

#include <gtest/gtest.h>

#include "host/geom/mesh_tools.h"

namespace {

float SignedVolume(const Mesh& mesh) {
    float sum = 0;
    for (const Face& f : mesh.faces)
        sum += DotProd(mesh.verts[f.v[0]], CrossProd(mesh.verts[f.v[1]], mesh.verts[f.v[2]])) / 6;
    return sum;
}

}  // namespace

TEST(ProxyShapes, StandInTheUnitRange) {
    const size_t kVerts[] = {4, 5, 8, 8, 9, 5}, kFaces[] = {2, 4, 12, 12, 11, 4};
    for (int shape = 0; shape < kNumProxyShapes; ++shape) {
        const Mesh& mesh = ProxyShapeMesh(shape);
        EXPECT_EQ(Validate(mesh), "") << shape;
        EXPECT_EQ(mesh.verts.size(), kVerts[shape]) << shape;
        EXPECT_EQ(mesh.faces.size(), kFaces[shape]) << shape;
        EXPECT_EQ(mesh.BoundingBox().min.z, 0) << shape;
        EXPECT_LE(mesh.BoundingBox().max.z, 1) << shape;
        for (const Face& face : mesh.faces) EXPECT_EQ(face.matID, 0);
    }
}

TEST(ProxyShapes, AreMadeOnceAndBeyondTheSixIsThePlane) {
    EXPECT_EQ(&ProxyShapeMesh(3), &ProxyShapeMesh(3));
    EXPECT_EQ(&ProxyShapeMesh(6), &ProxyShapeMesh(kProxyPlane));
    EXPECT_EQ(&ProxyShapeMesh(-1), &ProxyShapeMesh(kProxyPlane));
}

TEST(ProxyShapes, PlaneIsMappedInFiveChannels) {
    const Mesh& plane = ProxyShapeMesh(kProxyPlane);
    for (int c = 1; c <= 5; ++c) {
        const MapChannel* map = plane.Map(c);
        ASSERT_TRUE(map) << c;
        for (size_t f = 0; f < 2; ++f)  // u and v run along x and z
            for (size_t k = 0; k < 3; ++k) {
                Point3 p = plane.verts[plane.faces[f].v[k]], uvw = map->verts[map->faces[f][k]];
                EXPECT_EQ(uvw, (Point3{p.x + 0.5f, p.z, 0}));
            }
    }
    EXPECT_FALSE(plane.Map(6));
    EXPECT_EQ(plane.faces[0].flags, Face::kEdge0 | Face::kEdge1);
}

// Prisms and pyramids: width * depth * height, a third of it for pyramids. The pyramid has no base,
// which lies at z = 0 and adds nothing.
TEST(ProxyShapes, FacesLookOutwards) {
    EXPECT_NEAR(SignedVolume(ProxyShapeMesh(kProxyBox)), 1, 1e-6);
    EXPECT_NEAR(SignedVolume(ProxyShapeMesh(kProxyThinBox)), 0.0025, 1e-8);
    EXPECT_NEAR(SignedVolume(ProxyShapeMesh(kProxyPyramid)), 1 / 3.0, 1e-6);
}

TEST(ProxyShapes, PlantHasACrownAndATrunk) {
    const Mesh& plant = ProxyShapeMesh(kProxyPlant);
    for (size_t f = 0; f < plant.faces.size(); ++f)
        EXPECT_EQ(plant.faces[f].smGroup, f < 8 ? 3u : 1u);
    for (size_t v = 6; v < 9; ++v)
        EXPECT_NEAR(Length(plant.verts[v]), 0.0577351, 1e-5);  // a circle about the origin
    EXPECT_FLOAT_EQ(plant.BoundingBox().max.z, 0.984691f);
}

TEST(ProxyShapes, ArrowPointsAlongX) {
    const Mesh& arrow = ProxyShapeMesh(kProxyArrow);
    EXPECT_NEAR(arrow.verts[0].x, -0.3383, 1e-4);
    EXPECT_EQ(arrow.verts[2], (Point3{0.5f, 0, 0}));
    EXPECT_EQ(arrow.faces[2].v, (Triple{3, 0, 4}));
}
