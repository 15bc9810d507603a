// What a source of a million triangles costs at its first use: its elements and its cloud of
// points, as one surface and as half a million loose leaves; and the automatic material of a
// thousand rows.
//
//   build/release/bench/dravin_geometry_bench
#include <benchmark/benchmark.h>

#include <fmt/format.h>

#include "Dravin/dravin_globals.h"
#include "Dravin/geometry/mesh_cloud.h"
#include "Dravin/materials/automatic_material.h"
#include "Dravin/params/dravin_params.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

Mesh Surface() { return MakePlane(100, 100, 708, 708); }  // 1,002,528 triangles

// Leaves of two triangles, in four materials, the faces of each apart in the list.
Mesh Leaves() {
    constexpr uint32_t kLeaves = 500'000;
    Mesh mesh;
    TNuRandom random(7);
    for (uint32_t i = 0; i < kLeaves; ++i) {
        Point3 p{random.Random() * 100, random.Random() * 100, random.Random() * 100};
        for (Point3 d : {Point3{0, 0, 0}, Point3{1, 0, 0.5f}, Point3{1, 1, 1}, Point3{0, 1, 0.5f}})
            mesh.verts.push_back(p + d);
    }
    for (uint32_t half : {0u, 1u})
        for (uint32_t i = 0; i < kLeaves; ++i) {
            uint32_t v = 4 * i;
            Triple corners = half ? Triple{v, v + 2, v + 3} : Triple{v, v + 1, v + 2};
            mesh.faces.push_back({corners, 1, uint16_t(i % 4), Face::kAllEdges});
        }
    return mesh;
}

const Mesh& Model(int64_t kind) {
    static const Mesh models[] = {Surface(), Leaves()};
    return models[kind];
}

void Elements(benchmark::State& state) {
    const Mesh& mesh = Model(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(AnalyseElements(mesh));
    state.counters["faces"] = double(mesh.NumFaces());
}
BENCHMARK(Elements)
    ->Arg(0)
    ->Arg(1)
    ->ArgName("leaves")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void Cloud(benchmark::State& state) {
    const Mesh& mesh = Model(state.range(0));
    TDravinMeshElements elements = AnalyseElements(mesh);
    int threads = int(state.range(1));
    for (auto _ : state) benchmark::DoNotOptimize(MakeMeshCloud(mesh, elements, threads));
}
BENCHMARK(Cloud)
    ->ArgsProduct({{0, 1}, {1, 2}})
    ->ArgNames({"leaves", "threads"})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// A thousand rows, each with a material of three that the next row shares one of.
void Automatic(benchmark::State& state) {
    constexpr int kRows = 1000;
    HostContext host;
    Scene scene;
    auto object = std::make_shared<DummyObject>();
    scene.AddNode("scatter", object);
    std::vector<std::shared_ptr<StandardMtl>> plain;
    for (int i = 0; i < 2 * kRows + 1; ++i) plain.push_back(std::make_shared<StandardMtl>());
    TDravinMeshCache meshes;
    TTemplates templates;
    TNuRandom generator(1);
    auto block = IParamBlock2::Create(DravinBlocks()[kGeomParams], nullptr);
    TTreeSpecList rows(block);
    for (int i = 0; i < kRows; ++i) {
        auto multi = std::make_shared<MultiMtl>();
        for (int k = 0; k < 3; ++k) multi->Append(plain[size_t(2 * i + k)]);
        TSpecEntry entry;
        entry.name = fmt::format("row {}", i);
        entry.kind = kGeomDisabled;
        entry.material = multi;
        rows.AppendRow(entry);
    }
    TSpecBuildList specimens;
    int counter = 0;
    Interval valid = Interval::Forever();
    (void)specimens.Build(rows, templates, meshes, generator, {}, &counter, &valid);
    for (auto _ : state) BuildAutomaticMaterial(*object, specimens, {});
    state.counters["slots"] = double(GetWorldNode(*object)->GetMtl()->NumSubMtls());
}
BENCHMARK(Automatic)->Unit(benchmark::kMicrosecond);

}  // namespace
