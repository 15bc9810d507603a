// A rendered picture: linear light, and its way into a file.
#pragma once

#include <string>
#include <vector>

#include "host/math/color.h"

struct Picture {
    int width = 0, height = 0;
    std::vector<Color> pixels;  // linear light, rows top down
    float exposure = 1;         // factor that brings a white card in this light to about 1
    bool isDisplay = false;     // pixels are display colours: shown as they are

    // Of a pixel: linear light with the exposure, and the display colour.
    Color Light(Color pixel) const;
    Color Shown(Color pixel) const;
};

// Display colour (sRGB, 0..1) of linear light: exposure, then a filmic curve with a soft shoulder
// (the rational form of Narkowicz 2015, with a lighter toe).
Color ToneMap(Color light, float exposure);

// Whether the ending names a format that WritePicture knows. False with a reason in `error` when
// none can be written, as the module for images (host/image/image_module.h) is missing.
bool IsPictureFormat(const std::string& path, std::string* error);

// Writes by ending: .exr and .hdr keep linear light times the exposure (EXR in half floats), all
// other formats that the module for images knows get 8 bits a channel, tone-mapped. The file
// appears complete or not at all. Returns what went wrong, or an empty text.
std::string WritePicture(const std::string& path, const Picture& picture);
