#include "host/geom/primitives.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

#include "host/geom/mesh_tools.h"

namespace {

enum SmoothingBit : uint32_t { kSide = 1, kBottom = 2, kTop = 4 };

int Segments(int n, int least) { return std::clamp(n, least, kMaxSegments); }

// Builds a mesh and its channel 1 face by face; mesh and mapping vertices are indexed apart.
struct Builder {
    Mesh mesh;

    uint32_t AddVertex(const Point3& p) {
        mesh.verts.push_back(p);
        return uint32_t(mesh.verts.size() - 1);
    }
    uint32_t AddMapVertex(float u, float v) {
        MapChannel& map = mesh.MakeMap(1);
        map.verts.push_back({u, v, 0});
        return uint32_t(map.verts.size() - 1);
    }
    void AddFace(const Triple& v, const Triple& t, uint32_t smGroup, uint8_t flags) {
        mesh.faces.push_back({v, smGroup, 0, flags});
        mesh.MakeMap(1).faces.push_back(t);
    }
    // Corners in counter-clockwise order; the diagonal from the third to the first is hidden.
    void AddQuad(const std::array<uint32_t, 4>& v, const std::array<uint32_t, 4>& t,
                 uint32_t smGroup) {
        AddFace({v[0], v[1], v[2]}, {t[0], t[1], t[2]}, smGroup, Face::kEdge0 | Face::kEdge1);
        AddFace({v[2], v[3], v[0]}, {t[2], t[3], t[0]}, smGroup, Face::kEdge0 | Face::kEdge1);
    }
    // A grid of nu x nv quads over u, v in [0, 1]; place(i, j) gives the position of a grid point.
    void AddPatch(int nu, int nv, uint32_t smGroup, const std::function<Point3(int, int)>& place) {
        auto firstVertex = uint32_t(mesh.verts.size());
        auto firstMap = uint32_t(mesh.MakeMap(1).verts.size());
        for (int j = 0; j <= nv; ++j)
            for (int i = 0; i <= nu; ++i) {
                AddVertex(place(i, j));
                AddMapVertex(float(i) / float(nu), float(j) / float(nv));
            }
        auto row = uint32_t(nu) + 1;
        for (uint32_t j = 0; j < uint32_t(nv); ++j)
            for (uint32_t i = 0; i < uint32_t(nu); ++i) {
                uint32_t a = j * row + i;
                std::array<uint32_t, 4> v{a, a + 1, a + 1 + row, a + row}, t = v;
                for (int k = 0; k < 4; ++k) v[k] += firstVertex, t[k] += firstMap;
                AddQuad(v, t, smGroup);
            }
    }
    // A fan over the ring of vertices firstRing .. firstRing + n - 1 round `centre`.
    void AddDisc(uint32_t firstRing, int n, uint32_t centre, bool up, uint32_t smGroup) {
        uint32_t mapCentre = AddMapVertex(0.5f, 0.5f);
        float radius = Length(mesh.verts[firstRing] - mesh.verts[centre]);
        auto firstMap = uint32_t(mesh.MakeMap(1).verts.size());
        for (int i = 0; i < n; ++i) {
            Point3 p = radius > 0 ? mesh.verts[firstRing + i] / radius : Point3{};
            AddMapVertex(0.5f + 0.5f * p.x, 0.5f + 0.5f * p.y);
        }
        for (uint32_t i = 0; i < uint32_t(n); ++i) {
            uint32_t next = (i + 1) % uint32_t(n);
            uint32_t a = up ? i : next, b = up ? next : i;
            AddFace({firstRing + a, firstRing + b, centre}, {firstMap + a, firstMap + b, mapCentre},
                    smGroup, Face::kEdge0);
        }
    }
    // n vertices on a circle of the given radius at height z, counter-clockwise from +x.
    uint32_t AddRing(float radius, float z, int n) {
        auto first = uint32_t(mesh.verts.size());
        for (int i = 0; i < n; ++i) {
            double angle = 2 * std::numbers::pi * i / n;
            AddVertex({float(radius * std::cos(angle)), float(radius * std::sin(angle)), z});
        }
        return first;
    }
    // n + 1 mapping vertices of a ring: the seam has two.
    uint32_t AddMapRing(float v, int n) {
        auto first = uint32_t(mesh.MakeMap(1).verts.size());
        for (int i = 0; i <= n; ++i) AddMapVertex(float(i) / float(n), v);
        return first;
    }
    // Quads between two rings of n vertices; `lower` runs counter-clockwise seen from above.
    void AddBand(uint32_t lower, uint32_t upper, uint32_t mapLower, uint32_t mapUpper, int n) {
        for (uint32_t i = 0; i < uint32_t(n); ++i) {
            uint32_t next = (i + 1) % uint32_t(n);
            AddQuad({lower + i, lower + next, upper + next, upper + i},
                    {mapLower + i, mapLower + i + 1, mapUpper + i + 1, mapUpper + i}, kSide);
        }
    }
    // Triangles from a ring to a tip above it (up) or below it; each has a mapping vertex of the
    // tip.
    void AddCap(uint32_t ring, uint32_t mapRing, uint32_t tip, float tipV, int n, bool up) {
        for (uint32_t i = 0; i < uint32_t(n); ++i) {
            uint32_t next = (i + 1) % uint32_t(n);
            uint32_t t = AddMapVertex((float(i) + 0.5f) / float(n), tipV);
            if (up)
                AddFace({ring + i, ring + next, tip}, {mapRing + i, mapRing + i + 1, t}, kSide,
                        Face::kAllEdges);
            else
                AddFace({ring + next, ring + i, tip}, {mapRing + i + 1, mapRing + i, t}, kSide,
                        Face::kAllEdges);
        }
    }
};

}  // namespace

Mesh MakePlane(float width, float length, int widthSegments, int lengthSegments) {
    int nx = Segments(widthSegments, 1), ny = Segments(lengthSegments, 1);
    Builder b;
    b.AddPatch(nx, ny, kSide, [&](int i, int j) {
        return Point3{width * (float(i) / float(nx) - 0.5f), length * (float(j) / float(ny) - 0.5f),
                      0};
    });
    return std::move(b.mesh);
}

Mesh MakeBox(float width, float length, float height, int segments) {
    int n = Segments(segments, 1);
    auto x = [&](int i) { return width * (float(i) / float(n) - 0.5f); };
    auto y = [&](int i) { return length * (float(i) / float(n) - 0.5f); };
    auto z = [&](int i) { return height * (float(i) / float(n)); };
    Builder b;
    b.AddPatch(n, n, 1, [&](int i, int j) { return Point3{x(n - i), y(j), 0}; });      // bottom
    b.AddPatch(n, n, 2, [&](int i, int j) { return Point3{x(i), y(j), z(n)}; });       // top
    b.AddPatch(n, n, 4, [&](int i, int j) { return Point3{x(i), y(0), z(j)}; });       // front
    b.AddPatch(n, n, 8, [&](int i, int j) { return Point3{x(n), y(i), z(j)}; });       // right
    b.AddPatch(n, n, 16, [&](int i, int j) { return Point3{x(n - i), y(n), z(j)}; });  // back
    b.AddPatch(n, n, 32, [&](int i, int j) { return Point3{x(0), y(n - i), z(j)}; });  // left
    WeldVertices(b.mesh);
    return std::move(b.mesh);
}

Mesh MakeSphere(float radius, int segments) {
    int n = Segments(segments, 3), rings = std::max(2, n / 2);
    Builder b;
    uint32_t south = b.AddVertex({0, 0, -radius});
    uint32_t lower = 0, mapLower = 0;
    for (int j = 1; j < rings; ++j) {
        double angle = std::numbers::pi * j / rings;  // from the lower pole
        uint32_t ring =
            b.AddRing(float(radius * std::sin(angle)), float(-radius * std::cos(angle)), n);
        uint32_t mapRing = b.AddMapRing(float(j) / float(rings), n);
        if (j == 1)
            b.AddCap(ring, mapRing, south, 0, n, false);
        else
            b.AddBand(lower, ring, mapLower, mapRing, n);
        lower = ring, mapLower = mapRing;
    }
    b.AddCap(lower, mapLower, b.AddVertex({0, 0, radius}), 1, n, true);
    return std::move(b.mesh);
}

Mesh MakeCone(float radius, float height, int segments) {
    int n = Segments(segments, 3);
    Builder b;
    uint32_t ring = b.AddRing(radius, 0, n);
    uint32_t tip = b.AddVertex({0, 0, height}), centre = b.AddVertex({});
    b.AddCap(ring, b.AddMapRing(0, n), tip, 1, n, true);
    b.AddDisc(ring, n, centre, false, kBottom);
    return std::move(b.mesh);
}

Mesh MakeCylinder(float radius, float height, int segments) {
    int n = Segments(segments, 3);
    Builder b;
    uint32_t lower = b.AddRing(radius, 0, n), upper = b.AddRing(radius, height, n);
    uint32_t mapLower = b.AddMapRing(0, n);
    b.AddBand(lower, upper, mapLower, b.AddMapRing(1, n), n);
    b.AddDisc(lower, n, b.AddVertex({}), false, kBottom);
    b.AddDisc(upper, n, b.AddVertex({0, 0, height}), true, kTop);
    return std::move(b.mesh);
}
