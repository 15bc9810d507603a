#include "fuzz/fuzz_file.h"
#include "tests/Dravin/effects/tavuvm_expr/compare_machines.h"

namespace {

using namespace tavuvm_expr;

// Takes bytes off the front; zeros when there are none left.
class ByteReader {
public:
    explicit ByteReader(std::string_view bytes) : m_bytes(bytes) {}

    bool IsEmpty() const { return m_bytes.empty(); }
    uint8_t Byte() {
        if (m_bytes.empty()) return 0;
        uint8_t b = uint8_t(m_bytes[0]);
        m_bytes.remove_prefix(1);
        return b;
    }
    int32_t Integer() {
        uint32_t n = 0;
        for (int i = 0; i < 4; ++i) n = n << 8 | Byte();
        return int32_t(n);
    }
    float Real() { return std::bit_cast<float>(Integer()); }

    // Small integers, which most instructions and operands are, take one byte.
    value Cell() {
        uint8_t b = Byte();
        switch (b) {
            case 252:
                return vector3{Real(), Real(), Real()};
            case 253:
                return Real();
            case 254:
                return Integer();
            case 255:
                return float(Byte()) * 0.5f;
            default:
                return int32_t(b) - (b > 128 ? 252 : 0);
        }
    }

private:
    std::string_view m_bytes;
};

std::shared_ptr<compiled_program> Program(const TestHost& host, ByteReader& bytes) {
    auto p = std::make_shared<compiled_program>();
    p->initial = host.names.initial_values();
    p->is_constant = host.names.constant_flags();
    p->num_host_slots = p->initial.size();
    p->functions = &host.names.functions();
    for (int i = bytes.Byte() % 8; i > 0; --i) p->initial.push_back(bytes.Cell());
    p->is_constant.resize(p->initial.size());
    bool hasHeader = bytes.Byte() % 4 != 0;
    if (hasHeader) {
        p->code.push_back(int32_t(opcode::program_header));
        p->code.push_back(int32_t(p->initial.size()));
    }
    while (!bytes.IsEmpty()) p->code.push_back(bytes.Cell());
    return p;
}

}  // namespace

// Cells that no compiler made end with a result or an error inside the code, wherever a run starts;
// where they have a form in lanes, that form does the same.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader bytes({reinterpret_cast<const char*>(data), size});
    vmachine::run_frame frame{bytes.Byte(), bytes.Byte(), bytes.Byte()};
    TestHost host;
    auto program = Program(host, bytes);
    disassembled(*program);

    std::string output;
    vmachine machine(program);
    machine.set_output(&output);
    TNuRandom random(1);
    for (const vmachine::run_frame& f : {vmachine::run_frame{}, frame}) {
        machine.reset();
        if (!machine.run(f, &random, nullptr))
            Promise(machine.error_cell() < program->code.size());
        else
            Promise(machine.error() == run_error::none);
    }
    std::string difference = CompareMachines(host, program, 5);
    if (!difference.empty())
        fprintf(stderr, "%s\n%s\n", disassembled(*program).c_str(), difference.c_str());
    Promise(difference.empty());
    return 0;
}
