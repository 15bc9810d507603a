#include "Dravin/geometry/mesh_cloud.h"

#include <algorithm>
#include <cmath>

#include "common/nurandom/nurandom.h"
#include "host/base/thread_pool.h"

namespace {

constexpr uint32_t kTableSeed = 123456;
constexpr size_t kGrain = 4096;

// Three numbers a point, the same for every mesh of the process; never changed once made.
const std::vector<float>& RandomNumbers() {
    static const std::vector<float> numbers = [] {
        TNuRandom generator(kTableSeed);
        std::vector<float> table(3 * TMeshCloud::kNumPoints);
        for (float& number : table) number = generator.Random();
        return table;
    }();
    return numbers;
}

struct FaceFrame {
    Point3 corner, edge1, edge2;
    float shade = 0;
};

FaceFrame FrameOf(const Mesh& mesh, size_t f) {
    const Triple& v = mesh.faces[f].v;
    FaceFrame frame{mesh.verts[v[0]], mesh.verts[v[1]] - mesh.verts[v[0]],
                    mesh.verts[v[2]] - mesh.verts[v[0]], 0};
    Point3 light = Normalize({1, 1, 4});
    frame.shade = std::max(0.0f, DotProd(Normalize(CrossProd(frame.edge1, frame.edge2)), light));
    return frame;
}

std::vector<float> FaceAreas(const Mesh& mesh, int threads) {
    std::vector<float> areas(mesh.NumFaces());
    ParallelRanges(areas.size(), kGrain, threads, [&](size_t first, size_t last) {
        for (size_t f = first; f < last; ++f) {
            float area = Length(mesh.FaceNormalUnscaled(f)) * 0.5f;
            areas[f] = std::isfinite(area) ? area : 0;
        }
    });
    return areas;
}

}  // namespace

TMeshCloud MakeMeshCloud(const Mesh& mesh, const TDravinMeshElements& elements, int threads,
                         const TMeshColorSource& colorSource) {
    TMeshCloud cloud;
    if (mesh.faces.empty()) return cloud;
    TNuRandomTable table(FaceAreas(mesh, threads));
    const std::vector<float>& random = RandomNumbers();
    cloud.points.resize(TMeshCloud::kNumPoints);
    ParallelRanges(cloud.points.size(), kGrain, threads, [&](size_t first, size_t last) {
        for (size_t k = first; k < last; ++k) {
            size_t f = table.Sample(random[3 * k]);
            float u = random[3 * k + 1], v = random[3 * k + 2];
            if (u + v > 1) u = 1 - u, v = 1 - v;
            FaceFrame frame = FrameOf(mesh, f);
            cloud.points[k] = {frame.corner + u * frame.edge1 + v * frame.edge2, frame.shade,
                               mesh.faces[f].matID, elements.elementOfFace[f],
                               colorSource ? colorSource(f) : 0};
        }
    });
    return cloud;
}
