// What the tint map costs at a hit, by what it does there, on neighbours (a thousand items) and on
// a million items at random, where each hit waits for memory.
//
//   build/release/bench/dravin_materials_bench
#include <benchmark/benchmark.h>

#include <utility>
#include <vector>

#include "Dravin/materials/tint_map.h"
#include "host/base/huge_pages.h"
#include "host/scene/instance_source.h"

namespace {

constexpr uint32_t kNumItems = 1 << 20;

class Items : public IInstanceSource, public IShadedItems {
public:
    Items() {
        ResizeInHugePages(m_items, kNumItems);  // as sources of instances do
        TNuRandom random(7);
        for (TShadedItem& item : m_items) {
            item.random1 = random.Random(), item.random2 = random.Random();
            item.random3 = random.Random();
            item.tintColor = {random.Random(), random.Random(), random.Random()};
            item.tintBlend = 0.5f;
        }
        m_tint.SetRange(20, 80);
        m_tint.color1 = {0.9f, 0.1f, 0}, m_tint.color2 = {0.9f, 0.8f, 0.1f};
    }
    std::string SourceName() const override { return "items"; }
    size_t NumPrototypes() const override { return 0; }
    std::string PrototypeName(size_t) const override { return ""; }
    const Mesh* PrototypeMesh(size_t) const override { return nullptr; }
    Mtl* PrototypeMtl(size_t) const override { return nullptr; }
    size_t NumInstances() const override { return kNumItems; }
    void GetInstances(size_t, std::span<InstanceRecord>) const override {}
    const void* GetInterface(uint32_t) const override {
        return static_cast<const IShadedItems*>(this);
    }

    TShadedItem ItemOf(uint32_t i, uint32_t) const override { return m_items[i]; }
    uint32_t ItemIndexOf(uint32_t i, uint32_t) const override { return i; }
    TElementRandoms ElementOf(uint32_t i, uint32_t) const override {
        return {m_items[i].random2, m_items[i].random1};
    }
    const TTintSettings& ObjectTint() const override { return m_tint; }
    int ObjectBlend() const override { return kTintColor; }

private:
    std::vector<TShadedItem> m_items;
    TTintSettings m_tint;
};

// A hit on instance `instance`, and nothing else.
class Hit : public ShadeContext {
public:
    explicit Hit(const Items& items) : m_items(items) {}
    uint32_t instance = 0;

    TimeValue Time() const override { return 0; }
    RayKind Kind() const override { return RayKind::kCamera; }
    const INode* Node() const override { return nullptr; }
    const IInstanceSource* Source() const override { return &m_items; }
    uint32_t Instance() const override { return instance; }
    uint32_t FaceIndex() const override { return 0; }
    Point2 Weights() const override { return {}; }
    int MaterialId() const override { return 0; }
    Point3 ObjectPosition() const override { return {}; }
    Point3 WorldPosition() const override { return {}; }
    Point3 FaceNormal() const override { return {}; }
    Point3 Normal() const override { return {}; }
    bool Tangents(int, Point3*, Point3*) const override { return false; }
    Point3 Uvw(int) const override { return {}; }
    Color VertexColor() const override { return {}; }
    Color LinearColor(const Texmap&) const override { return {}; }
    Color Data(const Texmap&) const override { return {}; }
    float Mask(const Texmap&, float) const override { return 0; }

private:
    const Items& m_items;
};

enum Kind { kOwnTint, kEntries, kByElement };

void Tint(benchmark::State& state) {
    static const Items items;
    auto map = std::make_shared<DColor>();
    IParamBlock2& block = map->Block();
    if (state.range(0) != kOwnTint)
        for (int i = 0; i < DColor::kNumEntries; ++i)
            block.SetValue(tintMapParams::kMaponlist, 0, true, i);
    if (state.range(0) == kByElement) {
        block.SetValue(tintMapParams::kMapidmode, 0, 1);
        block.SetValue(tintMapParams::kTintvariation, 0, 0.5f);
    }
    std::string error;
    map->Update(0, &error);
    Hit hit(items);
    uint32_t next = 1;
    for (auto _ : state) {
        next = next * 1664525u + 1013904223u;
        hit.instance = (next >> 12) & uint32_t(state.range(1) - 1);
        benchmark::DoNotOptimize(map->Eval(hit));
    }
}
// The bound: one item's cache line after the other, each named by the one before, in one cycle
// through all of them.
struct alignas(64) Line {
    uint32_t next = 0;
};

void NextLine(benchmark::State& state) {
    std::vector<Line> lines;
    ResizeInHugePages(lines, size_t(state.range(0)));
    for (uint32_t i = 0; i < lines.size(); ++i) lines[i].next = i;
    TNuRandom random(7);
    for (uint32_t i = uint32_t(lines.size()) - 1; i > 0; --i)  // Sattolo 1986
        std::swap(lines[i].next, lines[uint32_t(random.Random() * float(i)) % i].next);
    uint32_t at = 0;
    for (auto _ : state) benchmark::DoNotOptimize(at = lines[at].next);
}
BENCHMARK(NextLine)->Arg(1024)->Arg(kNumItems);

BENCHMARK(Tint)->ArgsProduct({{kOwnTint, kEntries, kByElement}, {1024, kNumItems}});

}  // namespace
