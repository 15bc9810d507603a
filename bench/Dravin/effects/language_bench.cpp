// The expression language over many items: the plain machine, the fast form on single items and on
// batches, the compiler.
//
// Reading items and writing them is part of the figures: records for machines that take one at a
// time, columns for batches. There are as many items as fit into the processor's cache, where a
// build has them too. One core. The random numbers come from one generator an item of a
// batch, seeded beforehand.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Dravin/effects/tavuvm_expr/batch_machine.h"
#include "Dravin/effects/tavuvm_expr/expr_lang.h"
#include "Dravin/effects/tavuvm_expr/single_machine.h"
#include "Dravin/effects/tavuvm_expr/vmachine.h"

using namespace tavuvm_expr;

namespace {

constexpr size_t kNumItems = 4096;

struct Item {
    vector3 position, scale, rotation;
};
constexpr float vector3::*kParts[] = {&vector3::x, &vector3::y, &vector3::z};

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
        for (size_t i = 0; i < kNumItems; ++i)
            items.push_back({{float(i * 17 % 1000), float(i * 29 % 500), float(i % 20)},
                             {1, 1.1f, 0.9f},
                             {0, 0, 30}});
        results = items;
        for (uint32_t i = 0; i < batch_machine::width; ++i) randoms.emplace_back(i);
    }
    std::vector<uint8_t> Varying() const {
        std::vector<uint8_t> varying(names->num_slots(), 0);
        for (size_t a = 0; a < 3; ++a) varying[first + a] = 1;
        return varying;
    }
    void Report(benchmark::State& state) const {
        state.SetItemsProcessed(int64_t(state.iterations() * items.size()));
        state.counters["time/item"] =
            benchmark::Counter(double(state.iterations()) * double(items.size()),
                               benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
        state.SetLabel(kNames[state.range(0)]);
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
    setup.Report(state);
}
BENCHMARK(PlainMachine)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);

// One by one: values are copied into the registers and back.
void SingleItems(benchmark::State& state) {
    Setup setup(Program(int(state.range(0))));
    auto lanes = batch_program::make(*setup.compiled.code, setup.Varying());
    single_machine machine(lanes, setup.functions);
    machine.bind(setup.names->initial_values());
    struct Move {
        float* number;
        vector3 Item::*field;
        float vector3::*part;
    };
    auto moves = [&](const std::vector<batch_program::binding>& bindings) {
        std::vector<Move> list;
        for (const batch_program::binding& b : bindings)
            for (int p = 0; p < 3; ++p)
                if (b.value.part[p] != no_register)
                    list.push_back(
                        {machine.real_lane(b.value.part[p]), setup.Field(b.slot), kParts[p]});
        return list;
    };
    const std::vector<Move> inputs = moves(lanes->inputs), outputs = moves(lanes->outputs);
    for (auto _ : state) {
        for (size_t i = 0; i < setup.items.size(); ++i) {
            for (const Move& m : inputs) *m.number = setup.items[i].*m.field.*m.part;
            machine.run(&setup.randoms[i % batch_machine::width], nullptr);
            for (const Move& m : outputs) setup.results[i].*m.field.*m.part = *m.number;
        }
        benchmark::ClobberMemory();
    }
    setup.Report(state);
}
BENCHMARK(SingleItems)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);

// Items as columns, which is how a build has them: read where they stand, written back as columns.
void FastForm(benchmark::State& state) {
    Setup setup(Program(int(state.range(0))));
    auto lanes = batch_program::make(*setup.compiled.code, setup.Varying());
    batch_machine machine(lanes, setup.functions);
    machine.bind(setup.names->initial_values());
    TNuRandomLanes randoms;
    randoms.Resize(batch_machine::width);
    for (size_t k = 0; k < batch_machine::width; ++k) randoms.Columns().Set(k, setup.randoms[k]);
    std::vector<float> columns[3][3], results[3][3];
    for (size_t a = 0; a < 3; ++a)
        for (int p = 0; p < 3; ++p) {
            for (const Item& item : setup.items)
                columns[a][p].push_back(item.*setup.Field(setup.first + a).*kParts[p]);
            results[a][p] = columns[a][p];
        }

    for (auto _ : state) {
        for (size_t i = 0; i < setup.items.size(); i += batch_machine::width) {
            size_t count = std::min(batch_machine::width, setup.items.size() - i);
            for (const batch_program::binding& b : lanes->inputs)
                for (int p = 0; p < 3; ++p)
                    if (b.value.part[p] != no_register)
                        machine.bind_lane(b.value.part[p], &columns[b.slot - setup.first][p][i]);
            machine.run(count, randoms.Columns(), nullptr);
            for (const batch_program::binding& b : lanes->outputs)
                for (int p = 0; p < 3; ++p) {
                    lane_operand from = machine.view(b.value.part[p]);
                    const float* lane = static_cast<const float*>(from.data);
                    float* to = &results[b.slot - setup.first][p][i];
                    if (from.stride == 0)
                        std::fill_n(to, count, *lane);
                    else
                        std::copy_n(lane, count, to);
                }
        }
        benchmark::ClobberMemory();
    }
    setup.Report(state);
}
BENCHMARK(FastForm)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);

void Compile(benchmark::State& state) {
    Setup setup("");
    std::string source;
    for (int i = 0; i < 1000; ++i)
        source +=
            "it.position.z = it.position.z + length(it.scale * 0.5) * " + std::to_string(i) + ";\n";
    for (auto _ : state) benchmark::DoNotOptimize(setup.names->compile(source));
    state.SetLabel("1000 lines");
}
BENCHMARK(Compile)->Unit(benchmark::kMicrosecond);

}  // namespace
