#include "fuzz/fuzz_file.h"
#include "host/base/input_limit.h"
#include "host/io/bitmap.h"

// Memory for pixels that a few bytes claim would take most of the time.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    SetInputLimit(1 << 20);
    return 0;
}

// An image from a file and the same bytes as a model file packs them.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    FuzzFile file(bytes);
    std::string error;
    std::shared_ptr<const Bitmap> image = ReadBitmap(file.Path(), &error);
    Promise(image ? !image->IsEmpty() : !error.empty());
    if (image) image->Pixel(image->Width() - 1, image->Height() - 1);

    error.clear();
    image = ReadBitmapFromMemory(bytes, "packed", &error);
    Promise(image ? !image->IsEmpty() : !error.empty());
    return 0;
}
