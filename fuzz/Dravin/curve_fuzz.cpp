#include <cmath>

#include "Dravin/curves/curve_set.h"
#include "fuzz/fuzz_file.h"

namespace {

// Evaluation never leaves the table, whatever the points are.
void Evaluate(const TCurveSet& set) {
    for (int i = 0; i < set.GetNumCurves(); ++i) {
        FalloffCurve curve = set.Evaluator(i);
        for (float x : {-1.0f, 0.0f, 0.3f, 1.0f, 2.0f, NAN}) curve.Value(x);
    }
}

}  // namespace

// The same bytes as the XML form and as the binary form of a curve.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    TCurveSet fromXml;
    if (CurveSetFromXml(fromXml, bytes) && fromXml.GetNumCurves() < 100) {
        TCurveSet again;
        Promise(CurveSetFromXml(again, CurveSetToXml(&fromXml)));
        Promise(again.GetNumCurves() == fromXml.GetNumCurves());
        Evaluate(fromXml);
    }
    TCurveSet fromBinary;
    fromBinary.SetNumCurves(1);
    std::string error;
    size_t consumed = 0;
    if (LoadCurve(bytes, fromBinary, 0, &error, &consumed)) {
        Promise(consumed <= size && SaveCurve(fromBinary, 0) == bytes.substr(0, consumed));
        Evaluate(fromBinary);
    } else {
        Promise(!error.empty());
    }
    return 0;
}
