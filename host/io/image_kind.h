// Kinds of image files, told by their first bytes.
//
// Naming the reader of the image library that fits keeps the library from trying all its readers on
// a file: some of them read text, movies or other files, and several search a damaged file from end
// to end.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// How many bytes of a file ImageKind wants to see.
inline constexpr size_t kImageKindBytes = 32;

// The image library's name for the kind of file that begins with `head` ("png", "jpeg", ...); empty
// for none that is read here. Targa files have no mark: `fileName` must end in .tga for them.
std::string ImageKind(std::string_view head, std::string_view fileName);

// The kinds for messages.
inline constexpr const char* kImageKinds =
    "PNG, JPEG, TIFF, OpenEXR, BMP, HDR, GIF, WebP, PSD, DDS, PNM, SGI, IFF, JPEG 2000 or Targa";
