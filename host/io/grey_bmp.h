// The plainest images, read without the module for images: uncompressed BMP of 8 bits whose palette
// is grey. The shipped distribution maps are of this kind, so that a build which meets no other
// image starts at once.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "host/scene/bitmap.h"

// One channel of 8 bits, as ReadBitmap gives it. Null for everything else: other kinds, damaged
// files and images beyond a limit, which the module then reads or refuses with a reason.
// moreBytesPerPixel: as ReadImage takes them.
std::shared_ptr<const Bitmap> ReadGreyBmp(std::string_view bytes, size_t moreBytesPerPixel);
std::shared_ptr<const Bitmap> ReadGreyBmpFile(const std::string& file, size_t moreBytesPerPixel);
