#include "Dravin/effects/effect_definition.h"
#include "Dravin/effects/effect_programs.h"
#include "Dravin/effects/item_attributes.h"
#include "Dravin/engine/geometry_choice.h"
#include "fuzz/fuzz_file.h"

namespace {

using tavuvm_expr::type_code;
using tavuvm_expr::value;

constexpr size_t kNumItems = 6;  // enough for a batch

// The names of effects and two parameters.
struct Names : TEffectNames {
    Names() {
        names.declare_variable("amount", type_code::real, 2.5f);
        names.declare_variable("number", type_code::integer, 3);
    }
};

std::vector<TSpecimen> OneSpecimen() {
    std::vector<TSpecimen> specimens(1);
    specimens[0].elements.resize(1);
    return specimens;
}

// Items that differ, after one way of running the programs on them.
struct ItemsRun {
    TItemLanes lanes{kNumItems, kGroupSource, false};
    std::unique_ptr<TCells> cells = std::make_unique<TCells>();
    std::vector<TEffectOutcome> outcomes = std::vector<TEffectOutcome>(kNumItems);
    TNuRandomLanes randoms;
    const TBuildInput& input;

    ItemsRun(const TBuildInput& in, const TSpecimen& specimen) : input(in) {
        lanes.count = kNumItems;
        randoms.Resize(kNumItems);
        for (size_t k = 0; k < kNumItems; ++k) {
            lanes.Reset(k, specimen);
            float x = float(k) - 2;
            lanes.position.Set(k, {x, x * 0.5f, 1 - x});
            lanes.face[k] = int32_t(k);
            lanes.faceNormal.Set(k, Normalize(Point3{x, 0, 1}));
            lanes.cell[k] = uint32_t(k);
            cells->hash[0][k] = uint32_t(k);
            randoms.Columns().Set(k, TNuRandom(uint32_t(k)));
        }
    }

    void Run(const TEffectPrograms& programs, const TGeometryChoice& geometry) {
        programs.MakeRunner(input, geometry)->Run({lanes, *cells, outcomes, randoms.Columns()});
    }

    // Items of which each is the only one left.
    void RunAlone(const TEffectPrograms& programs, const TGeometryChoice& geometry) {
        auto runner = programs.MakeRunner(input, geometry);
        std::vector<TLaneFate> fates(kNumItems);
        std::vector<Point3> vectors(kNumItems);
        for (size_t k = 0; k < kNumItems; ++k) {
            for (size_t i = 0; i < kNumItems; ++i) lanes.Drop(i, TLaneFate::kArea);
            lanes.fate[k] = TLaneFate::kAlive;
            runner->Run({lanes, *cells, outcomes, randoms.Columns()});
            fates[k] = lanes.fate[k];
            vectors[k] = lanes.from[k].effectVector;
        }
        for (size_t k = 0; k < kNumItems; ++k) {
            lanes.fate[k] = fates[k];
            lanes.from[k].effectVector = vectors[k];
        }
    }

    // What its generator gives next.
    uint32_t Draw(size_t k) { return randoms.Columns().Get(k).Step(); }

    value Read(size_t k, const TItemAttribute& attribute) const {
        return attribute.read({lanes, *cells, k, outcomes[k], input});
    }
};

void ExpectEqual(ItemsRun& a, ItemsRun& b, const std::string& source) {
    for (size_t k = 0; k < kNumItems; ++k) {
        const Point3 &va = a.lanes.from[k].effectVector, &vb = b.lanes.from[k].effectVector;
        bool equal = value(tavuvm_expr::vector3{va.x, va.y, va.z})
                         .identical(tavuvm_expr::vector3{vb.x, vb.y, vb.z});
        for (const TItemAttribute& attribute : ItemAttributes())
            equal = equal && a.Read(k, attribute).identical(b.Read(k, attribute));
        equal = equal && a.Draw(k) == b.Draw(k);
        if (!equal) fprintf(stderr, "item %zu differs:\n%s\n", k, source.c_str());
        Promise(equal);
    }
}

}  // namespace

// An effect leaves the same items behind whether they come as a batch, one by one, or through the
// plain machine.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Names names;
    static const TBuildInput input;
    static const std::vector<TSpecimen> specimens = OneSpecimen();
    static const TGeometryChoice geometry({}, specimens);

    std::string source(reinterpret_cast<const char*>(data), size);
    if (IsEffectDefinition(source)) {
        auto definition = ReadEffectDefinition(source, nullptr);
        source = definition ? definition->expression : "";
    }
    tavuvm_expr::compilation c = names.names.compile(source);
    if (!c.code) return 0;
    TEffectPrograms programs;
    programs.programs.emplace_back(c.code, names.names.initial_values(), names.itemSlot);
    ItemsRun batched(input, specimens[0]), alone(input, specimens[0]), plain(input, specimens[0]);
    batched.Run(programs, geometry);
    alone.RunAlone(programs, geometry);
    programs.plainOnly = true;
    plain.Run(programs, geometry);
    ExpectEqual(batched, plain, source);
    ExpectEqual(alone, plain, source);
    return 0;
}
