// Exact Euclidean distance of every pixel to the nearest covered one.
//
// Method: distances along the columns first, then for every row the lower envelope of one parabola
// a column (Felzenszwalb and Huttenlocher 2012; in whole numbers as Meijster, Roerdink and
// Hesselink 2000); linear in the number of pixels. Where distances are short, windows in vector
// lanes take the envelope's place (distance_windows.h). Squares are exact, so a distance is off by
// half a unit in its last place at most, or by one beyond 4096 pixels.
#pragma once

#include <cstdint>

#include "common/image/distance_windows.h"
#include "common/image/image.h"

namespace image {

inline constexpr float kFar = 1e20f;

// Distances in pixels, in an image with a border of one pixel more on every side. Pixels above 128
// are covered; `inverse` measures to the nearest pixel that is not, the border included. Without
// any pixel to measure to, distances are the root of kFar. Lines are spread over `threads`.
TImage<float> DistanceMap(const TImage<uint8_t>& footprint, bool inverse, int threads);

// Sets the pixels of a disc (midpoint circle) to 255; those outside the image are ignored.
void DrawDisc(TImage<uint8_t>& image, int centerX, int centerY, int radius);

// Sets the pixels whose centre, at whole coordinates, lies inside the triangle to 255.
struct PixelPoint {
    double x, y;
};
void DrawTriangle(TImage<uint8_t>& image, PixelPoint a, PixelPoint b, PixelPoint c);

}  // namespace image
