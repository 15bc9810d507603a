// Image files: reading any of the common formats, writing through a temporary file.
//
// Reading looks at the file's kind and at its header first: a folder, a device, a size beyond
// kMaxImageSide or the input limit (host/base/input_limit.h), or a claim that the file's bytes
// cannot make good is refused before any pixel is allocated. 8 and 16-bit images stay as they are;
// half, float and wider integers become float. Palettes are resolved, colours are not multiplied by
// alpha. Thread safe.
#pragma once

#include <memory>
#include <string>

#include "host/scene/bitmap.h"
#include "host/scene/texmaps.h"

inline constexpr int kMaxImageSide = 65536;

struct ImageError {
    std::string text;
    bool isLimit = false;  // a limit refused the image, which may be sound
};

// The image in `file`; null with a reason in `error`. moreBytesPerPixel: what the caller will make
// of each pixel beside the image, which is weighed with it.
std::shared_ptr<const Bitmap> ReadImage(const std::string& file, size_t moreBytesPerPixel,
                                        ImageError* error);
std::shared_ptr<const Bitmap> ReadBitmap(const std::string& file, std::string* error);
// The image in these bytes, as a model file packs them; `name` stands in messages. bytesBefore:
// what the other images of the file take, which is weighed with it.
std::shared_ptr<const Bitmap> ReadBitmapFromMemory(std::string_view bytes, const std::string& name,
                                                   std::string* error, uint64_t bytesBefore = 0);

// Writes by ending: .png and .tif in 8 or 16 bits (floats are clamped and rounded to 16), .exr as
// half or, with `fullFloat`, as float, .jpg, .bmp and .tga in 8 bits. The file appears whole or not
// at all.
bool WriteBitmap(const std::string& file, const Bitmap& image, std::string* error,
                 bool fullFloat = false);

// A bitmap map that loads `file` by ReadBitmap when it is updated.
std::shared_ptr<BitmapTex> MakeBitmapTex(const std::string& file);
