#include "Dravin/effects/effect_definition.h"
#include "fuzz/fuzz_file.h"
#include "tests/Dravin/effects/tavuvm_expr/compare_machines.h"

namespace {

using namespace tavuvm_expr;

constexpr size_t kNumItems = 6;

// The program that a definition holds, which survives being written and read again.
std::string ExpressionOf(std::string_view xml) {
    std::string error;
    auto definition = ReadEffectDefinition(xml, &error);
    Promise(definition.has_value() || !error.empty());
    if (!definition) return {};
    auto again = ReadEffectDefinition(WriteEffectDefinition(*definition), &error);
    Promise(again && again->expression == definition->expression &&
            again->parameters.size() == definition->parameters.size());
    return definition->expression;
}

// An error says where: one of two prefixes, a line number, the line itself and a caret.
void CheckError(const std::string& error) {
    Promise(error.starts_with("Parse error. ") || error.starts_with("Compile error. "));
    Promise(error.find(" at line ") != error.npos && error.ends_with("^\n"));
}

}  // namespace

// A text, or an effect definition that holds one, compiles or says where it does not; what compiles
// does the same in lanes as on the plain machine, and its output ends.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string source(reinterpret_cast<const char*>(data), size);
    if (IsEffectDefinition(source)) source = ExpressionOf(source);
    TestHost host;
    compilation c = host.names.compile(source);
    if (!c.code) {
        CheckError(c.error);
        return 0;
    }
    std::string difference = CompareMachines(host, c.code, kNumItems);
    if (!difference.empty()) fprintf(stderr, "%s\n%s\n", source.c_str(), difference.c_str());
    Promise(difference.empty());

    std::string output;
    vmachine machine(c.code);
    machine.set_output(&output);
    TNuRandom random(1);
    if (!machine.run(&random)) Promise(machine.error_cell() < c.code->code.size());
    return 0;
}
