#include "fuzz/fuzz_file.h"
#include "host/io/heightfield.h"

// The first bytes choose what is asked of the file that the others make.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    HeightfieldOrigin request;
    request.heights = HeightfieldOrigin::Heights(data[0] % 4);
    request.high = 10;
    if (data[0] & 4) request.samplesX = data[1], request.samplesY = data[2];
    if (data[0] & 8) request.crop = {data[1] % 4, data[2] % 4, data[2], data[3]};
    FuzzFile file({reinterpret_cast<const char*>(data) + 4, size - 4});
    HeightFieldResult result = ReadHeightField(file.Path(), request, 0.5, 64 << 20);
    Promise(result.field ? result.error.empty() : !result.error.empty());
    if (!result.field || result.field->NumFaces() == 0) return 0;
    const HeightField& field = *result.field;
    HeightTriangle last = field.TriangleOf(field.NumFaces() - 1);
    Promise(field.FaceNumber(last) == field.NumFaces() - 1);
    Promise(!field.Bounds().IsEmpty());
    return 0;
}
