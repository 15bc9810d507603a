#include "Dravin/mesh/proxy_shapes.h"

#include <array>
#include <bit>
#include <initializer_list>

namespace {

constexpr uint8_t kTwoEdges = Face::kEdge0 | Face::kEdge1;  // the third is a quad's diagonal

void AddFaces(Mesh& mesh, std::initializer_list<Triple> faces, uint8_t flags,
              uint32_t smoothing = 0) {
    for (const Triple& v : faces) mesh.faces.push_back({v, smoothing, 0, flags});
}

Mesh MakePlaneShape() {
    constexpr int kLastChannel = 5;
    Mesh mesh;
    mesh.verts = {{-0.5f, 0, 0}, {-0.5f, 0, 1}, {0.5f, 0, 1}, {0.5f, 0, 0}};
    AddFaces(mesh, {{2, 1, 0}, {0, 3, 2}}, kTwoEdges);
    for (int c = 1; c <= kLastChannel; ++c) {
        MapChannel& map = mesh.MakeMap(c);
        map.verts = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
        map.faces = {{2, 3, 0}, {0, 1, 2}};
    }
    return mesh;
}

Mesh MakePyramidShape() {
    Mesh mesh;
    mesh.verts = {
        {0, 0, 1}, {-0.5f, -0.5f, 0}, {0.5f, -0.5f, 0}, {0.5f, 0.5f, 0}, {-0.5f, 0.5f, 0}};
    AddFaces(mesh, {{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 4, 1}}, Face::kAllEdges);
    return mesh;
}

// narrowing: of x and y.
Mesh MakeBoxShape(float narrowing) {
    Mesh mesh;
    for (int i = 0; i < 8; ++i)
        mesh.verts.push_back({(i & 1 ? 0.5f : -0.5f) * narrowing,
                              (i & 2 ? 0.5f : -0.5f) * narrowing, i & 4 ? 1.0f : 0.0f});
    AddFaces(mesh,
             {{0, 2, 3},
              {3, 1, 0},
              {4, 5, 7},
              {7, 6, 4},
              {0, 1, 5},
              {5, 4, 0},
              {1, 3, 7},
              {7, 5, 1},
              {3, 2, 6},
              {6, 7, 3},
              {2, 0, 4},
              {4, 6, 2}},
             kTwoEdges);
    return mesh;
}

// A crown of two pyramids, base to base, on a trunk of three sides.
Mesh MakePlantShape() {
    constexpr uint32_t kCrown = 3, kTrunk = 1;
    constexpr float kTop = 0.984691f, kMiddle = 0.734691f, kCrownBase = 0.484845f;
    Mesh mesh;
    mesh.verts = {
        {0, 0, kTop},       {0, 0.5f, kMiddle}, {-0.5f, 0, kMiddle},      {0, -0.5f, kMiddle},
        {0.5f, 0, kMiddle}, {0, 0, kCrownBase}, {-0.05f, -0.0288675f, 0}, {0.05f, -0.0288675f, 0},
        {0, 0.0577351f, 0}};
    AddFaces(
        mesh,
        {{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 4, 1}, {5, 2, 1}, {5, 3, 2}, {5, 4, 3}, {5, 1, 4}},
        Face::kAllEdges, kCrown);
    AddFaces(mesh, {{5, 6, 7}, {5, 7, 8}, {5, 8, 6}}, Face::kAllEdges, kTrunk);
    return mesh;
}

Mesh MakeArrowShape() {
    const float notch = std::bit_cast<float>(0xBEAD35A8u);  // about -0.3383
    Mesh mesh;
    mesh.verts = {
        {notch, 0, 0.1f}, {-0.5f, -0.25f, 0}, {0.5f, 0, 0}, {-0.5f, 0.25f, 0}, {notch, 0, 0}};
    AddFaces(mesh, {{0, 1, 2}, {0, 2, 3}, {3, 0, 4}, {0, 1, 4}}, Face::kAllEdges);
    return mesh;
}

}  // namespace

const Mesh& ProxyShapeMesh(int shape) {
    constexpr float kThin = 0.05f;
    static const std::array<Mesh, kNumProxyShapes> shapes{MakePlaneShape(), MakePyramidShape(),
                                                          MakeBoxShape(1),  MakeBoxShape(kThin),
                                                          MakePlantShape(), MakeArrowShape()};
    return shapes[size_t(shape >= 0 && shape < kNumProxyShapes ? shape : kProxyPlane)];
}
