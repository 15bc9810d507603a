// Indexed triangle mesh: the form in which every geometry object shows itself.
//
// Vertices are in the object's own space. Faces are counter-clockwise seen from outside; each has a
// material id, smoothing bits and visible-edge flags. Mapping lives in channels with vertices and
// faces of their own (face k of a channel belongs to face k of the mesh); channel 0 holds vertex
// colours as red, green, blue. Plain data: the invariants (indices in range, channel face counts
// equal to the mesh's or zero) are the writer's duty; Validate (mesh_tools.h) checks them.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "host/math/box.h"
#include "host/math/matrix3.h"

using Triple = std::array<uint32_t, 3>;

struct Face {
    enum Flags : uint8_t { kEdge0 = 1, kEdge1 = 2, kEdge2 = 4, kAllEdges = 7, kHidden = 8 };

    Triple v{};
    uint32_t smGroup =
        0;               // faces that share a bit are shaded smoothly across their common vertices
    uint16_t matID = 0;  // 0-based
    uint8_t flags = kAllEdges;

    friend bool operator==(const Face&, const Face&) = default;
};

struct MapChannel {
    std::vector<Point3> verts;  // (u, v, w)
    std::vector<Triple> faces;  // empty, or one a face of the mesh

    bool IsEmpty() const { return faces.empty(); }
    friend bool operator==(const MapChannel&, const MapChannel&) = default;
};

struct Mesh {
    std::vector<Point3> verts;
    std::vector<Face> faces;
    std::vector<MapChannel> maps;  // by channel number; may be shorter than the highest channel
    MapChannel normals;            // explicit normals; empty: they follow from the smoothing bits

    size_t NumFaces() const { return faces.size(); }
    // Channel c, or null when the mesh has no mapping there.
    const MapChannel* Map(int c) const {
        return c >= 0 && size_t(c) < maps.size() && !maps[c].IsEmpty() ? &maps[c] : nullptr;
    }
    // Channel c, created empty when missing.
    MapChannel& MakeMap(int c) {
        if (size_t(c) >= maps.size()) maps.resize(c + 1);
        return maps[c];
    }
    Box3 BoundingBox() const {
        Box3 box;
        for (const Point3& p : verts) box += p;
        return box;
    }
    // Memory of vertices, faces, channels and normals.
    size_t BytesHeld() const {
        auto channel = [](const MapChannel& c) {
            return c.verts.capacity() * sizeof(Point3) + c.faces.capacity() * sizeof(Triple);
        };
        size_t bytes = verts.capacity() * sizeof(Point3) + faces.capacity() * sizeof(Face);
        for (const MapChannel& map : maps) bytes += channel(map);
        return bytes + channel(normals);
    }
    // Twice the area times the unit normal of face f.
    Point3 FaceNormalUnscaled(size_t f) const {
        const Triple& t = faces[f].v;
        return CrossProd(verts[t[1]] - verts[t[0]], verts[t[2]] - verts[t[0]]);
    }
    friend bool operator==(const Mesh&, const Mesh&) = default;
};
