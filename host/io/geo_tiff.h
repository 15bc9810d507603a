// What a GeoTIFF says of its place on the earth: the size of its cells, the unit of its heights and
// the value that stands for no data. The pixels themselves are read as any image.
//
// Reads the first directory of a TIFF or BigTIFF in either byte order (Adobe 1992; OGC 19-008r4 for
// the keys; tag 42113 is GDAL's). Nothing here allocates more than the file's own bytes.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct GeoTiffTags {
    std::optional<std::array<double, 3>> pixelScale;       // tag 33550
    std::optional<std::array<double, 6>> tiepoint;         // 33922, the first one
    std::optional<std::array<double, 16>> transformation;  // 34264
    std::vector<uint16_t> keys;                            // 34735
    std::vector<double> doubles;                           // 34736
    std::optional<double> noData;                          // 42113
    bool statesValueScale = false;                         // 42112 holds a scale or an offset

    // Value of a key that stands in the directory itself.
    std::optional<uint16_t> Key(uint16_t id) const;
    // Value of a key that stands among the doubles.
    std::optional<double> DoubleKey(uint16_t id) const;
};

// Tags that are missing, damaged or of another type are left out; bytes that are no TIFF have none.
GeoTiffTags ReadGeoTiffTags(std::string_view bytes);

// How the samples of a file lie in the world.
struct GeoScale {
    double cellX = 0, cellY = 0;  // metres; 0: not stated
    double metresPerValue = 1;    // of pixel values that are lengths
    std::vector<std::string> warnings;

    bool StatesCells() const { return cellX > 0 && cellY > 0; }
};
GeoScale ScaleOf(const GeoTiffTags& tags, int width, int height);

// Lengths of a degree along a parallel and along a meridian, metres: arcs of the WGS 84 ellipsoid
// at that latitude.
struct DegreeLengths {
    double x, y;
};
DegreeLengths MetresPerDegree(double latitudeDegrees);

// Turns cells in degrees into metres at a latitude, and says so in a warning.
void ScaleDegrees(double degreesX, double degreesY, double latitudeDegrees, GeoScale* scale);
