// The expression language over many items: the plain machine, the fast form, the compiler.
//
// Items are records in memory, as in a build: values are copied into variables or lanes before a
// run and back after it. One core. The random numbers come from one generator an item of a batch,
// seeded beforehand.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "Dravin/effects/tavuvm_expr/batch_machine.h"
#include "Dravin/effects/tavuvm_expr/expr_lang.h"
#include "Dravin/effects/tavuvm_expr/vmachine.h"

using namespace tavuvm_expr;

namespace {

struct Item {
    vector3 position, scale, rotation;
};

// Scale by distance with a clamp, an ease, a branch, a random number and three vector operations:
// the program that other languages were measured with.
const char* const kDistanceScale =
    "vector v = it.position - [500,250,0];\n"
    "real t = min(1.0, max(0.0, (length(v) - 50) * 0.004));\n"
    "real ease = t * t * (3 - 2 * t);\n"
    "real s = 0.4 + 0.9 * ease;\n"
    "real r = randomReal(0.0, 1.0);\n"
    "s = if(r < 0.2, s * 0.5, s);\n"
    "it.scale = it.scale * s;\n"
    "it.position.z = it.position.z - 0.1 * s * r;\n"
    "it.rotation.z = it.rotation.z + 360 * r;\n";

std::string ManyOperations(int count) {
    std::string text = "real r = it.position.x;\n";
    for (int i = 1; i < count; ++i)
        text += i % 3 == 0   ? "r = r * 1.01;\n"
                : i % 3 == 1 ? "r = r + it.position.y;\n"
                             : "r = r - 0.5;\n";
    return text + "it.scale.z = r;\n";
}

std::string Program(int which) {
    switch (which) {
        case 0:
            return "";
        case 1:
            return kDistanceScale;
        case 2:
            return ManyOperations(12);
        default:
            return ManyOperations(200);
    }
}
const char* const kNames[] = {"empty", "distance scale", "12 operations", "200 operations"};

struct Setup {
    function_library functions;
    std::unique_ptr<expr_lang> names;
    size_t first = 0;
    compilation compiled;
    std::vector<Item> items, results;
    std::vector<TNuRandom> randoms;

    explicit Setup(const std::string& source) {
        functions.add_builtins();
        names = std::make_unique<expr_lang>(functions);
        first = names->declare_structure("it", {{"position", type_code::vector, true},
                                                {"scale", type_code::vector, true},
                                                {"rotation", type_code::vector, true}});
        compiled = names->compile(source);
        if (!compiled.code) throw std::runtime_error(compiled.error);
        for (int i = 0; i < 1000000; ++i)
            items.push_back({{float(i % 1000), float(i / 1000) * 0.5f, float(i % 20)},
                             {1, 1.1f, 0.9f},
                             {0, 0, 30}});
        results = items;
        for (uint32_t i = 0; i < batch_machine::width; ++i) randoms.emplace_back(i);
    }
    vector3 Item::*Field(size_t slot) const {
        static constexpr vector3 Item::*fields[] = {&Item::position, &Item::scale, &Item::rotation};
        return fields[slot - first];
    }
};

void PlainMachine(benchmark::State& state) {
    Setup setup(Program(int(state.range(0))));
    vmachine machine(setup.compiled.code);
    for (auto _ : state) {
        for (size_t i = 0; i < setup.items.size(); ++i) {
            machine.reset();
            const Item& item = setup.items[i];
            Item& result = setup.results[i];
            for (size_t a = 0; a < 3; ++a)
                machine.set_slot(setup.first + a, item.*setup.Field(setup.first + a));
            machine.run(&setup.randoms[i % batch_machine::width]);
            for (size_t a = 0; a < 3; ++a)
                if (machine.is_modified(setup.first + a))
                    result.*setup.Field(setup.first + a) = machine.slot(setup.first + a).vector();
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations() * setup.items.size()));
    state.SetLabel(kNames[state.range(0)]);
}
BENCHMARK(PlainMachine)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);

void FastForm(benchmark::State& state) {
    Setup setup(Program(int(state.range(0))));
    std::vector<uint8_t> varying(setup.names->num_slots(), 0);
    for (size_t a = 0; a < 3; ++a) varying[setup.first + a] = 1;
    auto lanes = batch_program::make(*setup.compiled.code, varying);
    batch_machine machine(lanes, setup.functions);
    machine.bind(setup.names->initial_values());
    TNuRandomLanes randoms;
    randoms.Resize(batch_machine::width);
    for (size_t k = 0; k < batch_machine::width; ++k) randoms.Columns().Set(k, setup.randoms[k]);

    for (auto _ : state) {
        for (size_t i = 0; i < setup.items.size(); i += batch_machine::width) {
            size_t count = std::min(batch_machine::width, setup.items.size() - i);
            const Item* items = setup.items.data() + i;
            Item* results = setup.results.data() + i;
            for (const batch_program::binding& b : lanes->inputs) {
                auto field = setup.Field(b.slot);
                static constexpr float vector3::*parts[] = {&vector3::x, &vector3::y, &vector3::z};
                for (int p = 0; p < 3; ++p) {
                    if (b.value.part[p] == no_register) continue;
                    float* lane = machine.real_lane(b.value.part[p]);
                    for (size_t k = 0; k < count; ++k) lane[k] = (items[k].*field).*parts[p];
                }
            }
            machine.run(count, randoms.Columns(), nullptr);
            for (const batch_program::binding& b : lanes->outputs) {
                auto field = setup.Field(b.slot);
                lane_operand lanes[3];
                for (int p = 0; p < 3; ++p) lanes[p] = machine.view(b.value.part[p]);
                auto part = [&](int p, size_t k) {
                    return static_cast<const float*>(lanes[p].data)[k * lanes[p].stride];
                };
                for (size_t k = 0; k < count; ++k)
                    results[k].*field = {part(0, k), part(1, k), part(2, k)};
            }
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations() * setup.items.size()));
    state.SetLabel(kNames[state.range(0)]);
}
BENCHMARK(FastForm)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);

void Compile(benchmark::State& state) {
    Setup setup("");
    std::string source;
    for (int i = 0; i < 1000; ++i)
        source +=
            "it.position.z = it.position.z + length(it.scale * 0.5) * " + std::to_string(i) + ";\n";
    for (auto _ : state) benchmark::DoNotOptimize(setup.names->compile(source));
    state.SetLabel("1000 lines");
}
BENCHMARK(Compile)->Unit(benchmark::kMillisecond);

}  // namespace
