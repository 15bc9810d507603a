#include "host/render/placed_source.h"

#include <algorithm>
#include <cmath>

#include "host/math/box.h"

namespace {

constexpr size_t kBlock = 16384;  // instances read from a source at a time

// Fills `packed`; false for a record that cannot be shown.
bool Pack(const InstanceRecord& record, PackedInstance* packed) {
    for (const Point3& row : record.transform.row)
        if (!IsFinite(row)) return false;
    float volume = std::fabs(record.transform.Determinant());
    if (!(volume > 1e-30f) || !std::isfinite(volume)) return false;
    Matrix3 linear = record.transform;
    linear.NoTrans();
    Matrix3 inverse = Inverse(linear);
    for (int i = 0; i < 9; ++i) packed->toPrototype[i] = inverse.row[i / 3][i % 3];
    packed->position = record.transform.GetTrans();
    packed->prototype = record.prototype;
    const float tint[4] = {record.tint.r, record.tint.g, record.tint.b, record.tintBlend};
    for (int i = 0; i < 4; ++i)
        packed->tint[i] = uint8_t(std::lround(std::clamp(tint[i], 0.f, 1.f) * 255));
    return true;
}

// Puts a zero between each two of the low 32 bits (Morton order).
uint64_t SpreadBits(uint64_t x) {
    x = (x | x << 16) & 0x0000ffff0000ffffull;
    x = (x | x << 8) & 0x00ff00ff00ff00ffull;
    x = (x | x << 4) & 0x0f0f0f0f0f0f0f0full;
    x = (x | x << 2) & 0x3333333333333333ull;
    return (x | x << 1) & 0x5555555555555555ull;
}

void ReadInstances(PlacedSource& placed) {
    const IInstanceSource& source = *placed.source;
    size_t count = source.NumInstances();
    placed.instances.reserve(count);
    std::vector<InstanceRecord> block;
    for (size_t first = 0; first < count; first += kBlock) {
        block.resize(std::min(kBlock, count - first));
        source.GetInstances(first, block);
        for (size_t i = 0; i < block.size(); ++i) {
            const InstanceRecord& record = block[i];
            PackedInstance packed;
            packed.number = uint32_t(first + i);
            if (record.prototype < placed.prototypes.size() &&
                placed.prototypes[record.prototype]->NumFaces() > 0 && Pack(record, &packed))
                placed.instances.push_back(packed);
        }
    }
}

// Rays and pictures pass many instances close together.
void SortBySpace(std::vector<PackedInstance>& instances) {
    Box3 bounds;
    for (const PackedInstance& instance : instances) bounds += instance.position;
    Point3 width = bounds.Width();
    float side = std::max({width.x, width.y, 1e-6f});
    std::vector<std::pair<uint64_t, uint32_t>> order(instances.size());
    for (size_t i = 0; i < order.size(); ++i) {
        Point3 p = (instances[i].position - bounds.min) / side;
        order[i] = {SpreadBits(uint32_t(p.x * 65535)) | SpreadBits(uint32_t(p.y * 65535)) << 1,
                    uint32_t(i)};
    }
    std::sort(order.begin(), order.end());
    std::vector<PackedInstance> sorted;
    sorted.reserve(instances.size());
    for (auto& [key, index] : order) sorted.push_back(instances[index]);
    instances = std::move(sorted);
}

// Whether some material colours each instance by itself.
bool TintsInstances(const PlacedSource& placed) {
    for (const auto& prototype : placed.prototypes)
        for (size_t f = 0; f < prototype->NumFaces(); ++f)
            if (prototype->Material(f).tintsInstances) return true;
    return false;
}

}  // namespace

PlacedSource ReadPlacedSource(const IInstanceSource& source, RenderMaterials& materials) {
    PlacedSource placed;
    placed.source = &source;
    for (size_t i = 0; i < source.NumPrototypes(); ++i)
        placed.prototypes.push_back(std::make_unique<RenderMesh>(source, i, materials));
    ReadInstances(placed);
    source.InstancesRead();
    if (TintsInstances(placed)) source.PrepareShading();
    SortBySpace(placed.instances);
    return placed;
}
