// The object mesh beside a plain copy of as many bytes: boxes of 972 faces, by faces and threads.
// "of_memcpy" is the share of memcpy's speed on one thread over the bytes that were written.
//
//   build/release/bench/dravin_mesh_bench
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <memory>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/scene/texmaps.h"

namespace {

constexpr int kSegments = 9;  // 6 * 9 * 9 * 2 faces
constexpr int64_t kFacesPerItem = 972;

// Items in a square grid on a plane, with one box as their row.
class Wood {
public:
    explicit Wood(int64_t items) {
        int side = std::max(1, int(std::sqrt(double(items)) + 0.5));
        auto add = [this](const char* name, Mesh mesh) {
            auto node = INode::Create(
                name, std::make_shared<TriObject>(std::make_shared<Mesh>(std::move(mesh))));
            m_scene.AddNode(node);
            return node;
        };
        auto plane = add("ground", MakePlane(100, 100, 1));
        auto box = add("box", MakeBox(0.1f, 0.1f, 0.3f, kSegments));
        m_scene.AddNode("wood", object);
        auto set = [this](DravinBlockId block, ParamID id, auto value) {
            object->Block(block).SetValue(id, 0, value);
        };
        object->Block(kSurfaceParams)
            .Append(surfaceParams::kSurflist, std::static_pointer_cast<ReferenceTarget>(plane));
        set(kDistParams, distParams::kPixelsX, side);
        set(kDistParams, distParams::kPixelsY, side);
        set(kDistParams, distParams::kUnitsX, 100.f);
        set(kDistParams, distParams::kUnitsY, 100.f);
        set(kDistParams, distParams::kDistmap,
            std::shared_ptr<Texmap>(std::make_shared<ColorTex>()));
        TTreeSpecList rows(
            std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()));
        TSpecEntry entry;
        entry.kind = kGeomCustom;
        entry.customObject = box;
        rows.AppendRow(entry);
        TBuildFlags flags;
        flags.noMesh = flags.noLimit = flags.render = true;
        object->Build().BuildMesh(0, flags);
    }

    std::shared_ptr<TDravin> object = TDravin::Create();

private:
    HostContext m_host;
    Scene m_scene;
};

double SecondsToCopy(size_t bytes) {
    std::unique_ptr<char[]> from(new char[bytes]), to(new char[bytes]);
    std::memset(from.get(), 1, bytes);
    std::memset(to.get(), 2, bytes);
    double best = 1e9;
    for (int k = 0; k < 3; ++k) {
        auto start = std::chrono::steady_clock::now();
        std::memcpy(to.get(), from.get(), bytes);
        benchmark::DoNotOptimize(to.get());
        benchmark::ClobberMemory();
        best = std::min(
            best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
}

// keeps: the memory of the mesh before is used again, as in a viewport.
void Build(benchmark::State& state, bool keeps) {
    Wood wood(state.range(0) / kFacesPerItem);
    TDravinBuild& build = wood.object->Build();
    TObjectMeshSettings settings;
    settings.threads = int(state.range(1));
    settings.distributes = false;
    TObjectMesh mesh;
    double seconds = 0;
    size_t bytes = 0;
    for (auto _ : state) {
        if (!keeps) mesh.Clear();
        auto start = std::chrono::steady_clock::now();
        (void)mesh.Build(build.Items(), build.Specimens(), DravinGlobals().meshes, settings);
        seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        bytes = mesh.Statistics().bytesWanted;
    }
    seconds /= double(state.iterations());
    auto faces = double(mesh.GetMesh().NumFaces());
    mesh.Clear();
    state.counters["faces"] = faces;
    state.counters["faces/s"] = faces / seconds;
    state.counters["GB/s"] = double(bytes) / seconds / 1e9;
    state.counters["of_memcpy"] = SecondsToCopy(bytes) / seconds;
}

void FirstMesh(benchmark::State& state) { Build(state, false); }
void NextMesh(benchmark::State& state) { Build(state, true); }

}  // namespace

#define MESH_SIZES                                         \
    ArgsProduct({{10'000, 1'000'000, 20'000'000}, {1, 2}}) \
        ->Unit(benchmark::kMillisecond)                    \
        ->UseRealTime()                                    \
        ->MinTime(0.3)
BENCHMARK(FirstMesh)->MESH_SIZES;
BENCHMARK(NextMesh)->MESH_SIZES;
