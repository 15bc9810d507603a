#include "Dravin/mesh/mesh_layout.h"

#include <algorithm>

#include "host/base/thread_pool.h"

namespace {

const Point3 kCorners[] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};

// Channels of all shapes, colours (channel 0) counted; those of planes where there are any.
size_t NumChannels(const TMeshMeasure& measure) {
    size_t channels = measure.hasPlanes ? 2 : 0;
    for (const TMeshShape& shape : measure.shapes)
        for (size_t c = 1; shape.mapping && c < shape.mapping->maps.size(); ++c)
            if (shape.mapping->Map(int(c))) channels = std::max(channels, c + 1);
    return channels;
}

bool HasColors(const TMeshMeasure& measure) {
    return std::any_of(measure.shapes.begin(), measure.shapes.end(), [](const TMeshShape& shape) {
        return shape.mapping && shape.mapping->Map(0);
    });
}

const std::vector<Point3>* VertsOf(const TMeshShape& shape, size_t c) {
    const MapChannel* map = shape.mapping ? shape.mapping->Map(int(c)) : nullptr;
    return map ? &map->verts : nullptr;
}

// Puts the shapes' vertices of a channel behind each other; setOffset(shape, offset). A frame whose
// vertices are those of the shape before it (of the same source, as a rule) shares them.
template <class SetOffset>
void PlaceVerts(TMeshMeasure& measure, size_t c, std::vector<Point3>& verts,
                const SetOffset& setOffset) {
    const std::vector<Point3>* last = nullptr;
    uint32_t lastOffset = 0;
    for (TMeshShape& shape : measure.shapes) {
        const std::vector<Point3>* own = VertsOf(shape, c);
        if (!own) continue;
        bool isFurtherFrame = shape.isFurtherFrame;
        if (!(isFurtherFrame && last && *own == *last)) {
            if (!isFurtherFrame) last = own, lastOffset = uint32_t(verts.size());
            setOffset(shape, uint32_t(verts.size()));
            verts.insert(verts.end(), own->begin(), own->end());
        } else {
            setOffset(shape, lastOffset);
        }
    }
}

}  // namespace

uint64_t BytesOfLayout(const TMeshMeasure& measure) {
    uint64_t perFace = sizeof(Face) + sizeof(int32_t);
    size_t channels = NumChannels(measure);
    perFace += (std::max<size_t>(channels, 1) - 1 + HasColors(measure)) * sizeof(Triple);
    if (measure.numNormals > 0) perFace += sizeof(Triple);
    return (measure.numVerts + measure.numNormals) * sizeof(Point3) + measure.numFaces * perFace;
}

void LayOutMesh(TMeshMeasure& measure, int threads, Mesh& mesh, std::vector<int32_t>& owners) {
    size_t channels = NumChannels(measure);
    bool hasColors = HasColors(measure);
    mesh.maps.resize(std::max<size_t>(channels, hasColors));
    for (MapChannel& map : mesh.maps) map.verts.clear();
    for (TMeshShape& shape : measure.shapes) shape.mapOffset.assign(channels, 0);
    for (size_t c = 1; c < channels; ++c) {
        mesh.maps[c].verts.assign(std::begin(kCorners), std::end(kCorners));
        PlaceVerts(measure, c, mesh.maps[c].verts,
                   [c](TMeshShape& shape, uint32_t offset) { shape.mapOffset[c] = offset; });
    }
    if (hasColors)
        PlaceVerts(measure, 0, mesh.maps[0].verts,
                   [](TMeshShape& shape, uint32_t offset) { shape.colorOffset = offset; });
    // The large arrays, each in a thread of its own: the first touch of memory is what costs.
    constexpr size_t kFirstMap = 5;
    ParallelFor(kFirstMap + mesh.maps.size(), threads, [&](size_t i) {
        if (i == 0) mesh.verts.resize(measure.numVerts);
        if (i == 1) mesh.faces.resize(measure.numFaces);
        if (i == 2) owners.resize(measure.numFaces);
        if (i == 3) mesh.normals.verts.resize(measure.numNormals);
        if (i == 4) mesh.normals.faces.resize(measure.numNormals > 0 ? measure.numFaces : 0);
        if (i < kFirstMap) return;
        bool isUsed = i > kFirstMap || hasColors;
        mesh.maps[i - kFirstMap].faces.resize(isUsed ? measure.numFaces : 0);
    });
}
