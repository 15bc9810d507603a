// The shadow map of 100,000 billboards: blanking, the wrapped map, and a quad for each.
//
//   build/release/bench/dravin_shadow_bench
#include <benchmark/benchmark.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/build/mesh_source.h"
#include "Dravin/dravin.h"
#include "Dravin/shadow/xshadow_generator.h"
#include "host/geom/primitives.h"
#include "host/render/scanline/shadow_scene.h"
#include "host/scene/host_context.h"
#include "host/scene/texmaps.h"

namespace {

// Upright planes of 2 x 3 on a plain of 1,000 x 1,000.
struct Billboards {
    HostContext host;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();
    std::unique_ptr<IInstanceSource> source;
    std::unique_ptr<ScanScene> geometry;
    RenderScene render;

    explicit Billboards(size_t count) {
        Mesh plane = MakePlane(2, 3);
        for (Point3& p : plane.verts) p = {p.x, 0, p.y + 1.5f};
        auto card = INode::Create(
            "card", std::make_shared<TriObject>(std::make_shared<Mesh>(std::move(plane))));
        auto mtl = std::make_shared<StandardMtl>();
        mtl->opacityMap = std::make_shared<CheckerTex>();
        card->SetMtl(mtl);
        scene.AddNode(card);
        scene.AddNode("cards", object);
        TTreeSpecList rows(
            std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()));
        TSpecEntry entry;
        entry.kind = kGeomCustom;
        entry.customObject = card;
        rows.AppendRow(entry);
        object->Block(kDispParams).SetValue(dispParams::kRendermode, 0, 1);
        object->Block(kShadowParams).SetValue(shadowParams::kCustshadow, 0, true);
        object->Block(kEditionParams).SetValue(editionParams::kMode, 0, 1);
        std::vector<TStoredItem> items(count);
        for (size_t i = 0; i < count; ++i) {
            items[i].storedPosition = {float(i % 316) * 3.16f - 500, float(i / 316) * 3.16f - 500,
                                       0};
            items[i].seed = uint32_t(i + 1);
        }
        object->SetStoredItems(std::move(items));
        TBuildFlags flags;
        flags.render = flags.noCameraLimit = flags.noLimit = flags.unprotected = true;
        object->Build().BuildMesh(0, flags);
        source = std::make_unique<TDravinMeshSource>(*object, object->Build());
        render.sources = {source.get()};
        geometry = std::make_unique<ScanScene>(render);
    }
};

void ShadowOfBillboards(benchmark::State& state) {
    Billboards billboards(size_t(state.range(0)));
    if (billboards.object->Build().Items().Count() != size_t(state.range(0)))
        return state.SkipWithError("the items were not built");
    XShadow type;
    type.Block().SetValue(xshadowParams::kSize, 0, 1024);
    // From the south, 45 degrees high.
    Matrix3 light{{{1, 0, 0}, {0, 0.7071f, 0.7071f}, {0, -0.7071f, 0.7071f}, {}}};
    for (auto _ : state) {
        ScanShadowScene shadows(*billboards.geometry, 1, [] { return UINT64_MAX; });
        auto generator = type.CreateShadowGenerator(nullptr, {LightKind::kDirectional}, 0);
        benchmark::DoNotOptimize(generator->Update({0, &shadows, light, 1, 600, 0}));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ShadowOfBillboards)->Arg(100'000)->Unit(benchmark::kMillisecond);

}  // namespace
