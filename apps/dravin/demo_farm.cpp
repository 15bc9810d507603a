#include "apps/dravin/demo_farm.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <fmt/format.h>

#include "host/math/noise3.h"
#include "host/math/point.h"

namespace demo {

namespace {

constexpr float kRoadStart = -998, kRoadEnd = -690;  // y
constexpr float kRoadStep = 1;                       // between two rows of its mesh
constexpr int kRoadColumns = 9;
constexpr float kAboveLand = 0.035f;  // so that the land does not pierce the strip

constexpr float kFenceStart = -967, kFenceEnd = -868;  // y
constexpr float kFenceBeside = 2.9f;                   // of the track's middle
constexpr float kRailLength = 2.5f;                    // of the model

constexpr Point2 kCabin{-17, -889};
constexpr float kCabinTurn = 52;     // degrees; the door looks towards the track
constexpr float kCabinFloor = 0.4f;  // above the land at its middle: the ground slopes
constexpr int kStrokeCorners = 32;

// Direction of the track at y, a unit vector; y grows along it.
Point2 RoadDirection(float y) {
    float dx = RoadX(y + 0.5f) - RoadX(y - 0.5f), length = std::hypot(dx, 1.f);
    return {dx / length, 1 / length};
}

// A point `aside` to the right of the track's middle.
Point2 BesideRoad(float y, float aside) {
    Point2 d = RoadDirection(y);
    return {RoadX(y) + d.y * aside, y - d.x * aside};
}

std::string Points(const std::vector<Point3>& points) {
    std::string text;
    for (size_t i = 0; i < points.size(); ++i)
        text += fmt::format("{}{}[{:.2f}, {:.2f}, {:.2f}]", i ? "," : "",
                            i % 6 == 0 ? "\n             " : " ", points[i].x, points[i].y,
                            points[i].z);
    return text;
}

std::string Spline(const char* name, const std::vector<Point3>& points) {
    return fmt::format(
        "        {{\"name\": \"{}\", \"type\": \"spline\", \"lines\": [{{\"points\": [{}]}}]}},\n",
        name, Points(points));
}

std::vector<Point3> RoadLine(const Valley& valley) {
    std::vector<Point3> points;
    for (float y = kRoadStart; y <= kRoadEnd; y += 7)
        points.push_back({RoadX(y), y, valley.Height(RoadX(y), y)});
    return points;
}

// One point a post, a rail's length apart.
std::vector<Point3> FenceLine(const Valley& valley) {
    std::vector<Point3> points;
    auto at = [&](float y) {
        Point2 p = BesideRoad(y, kFenceBeside);
        return Point3{p.x, p.y, valley.Height(p.x, p.y)};
    };
    float y = kFenceStart;
    while (y < kFenceEnd) {
        points.push_back(at(y));
        // The step along y that leads a rail's length away: three rounds of a secant are plenty.
        float step = kRailLength;
        for (int i = 0; i < 3; ++i)
            step *= kRailLength / std::max(Length(at(y + step) - points.back()), 0.1f);
        y += step;
    }
    return points;
}

std::string Polygon(const Patch& patch) {
    std::string text;
    for (int i = 0; i < kStrokeCorners; ++i) {
        Point2 p = patch.Corner(i, kStrokeCorners);
        text += fmt::format("{}[{:.2f}, {:.2f}]", i ? ", " : "", p.x, p.y);
    }
    return text;
}

// Noise that repeats after the picture's height: the end of the tile fades into its start.
float RoadNoise(float x, float y, float size, int levels, uint32_t seed) {
    auto at = [&](float along) {
        return 2.2f * FractalNoise3({x / size, along / size, 0.4f}, levels, seed);
    };
    float fade = std::clamp(4 * y / kRoadTile - 3, 0.f, 1.f);
    return at(y) * (1 - fade) + at(y - kRoadTile) * fade;
}

}  // namespace

std::string RoadMesh(const Valley& valley) {
    std::string text = "# The track: a strip on the land, y up.\n", faces;
    int rows = 0;
    for (float y = kRoadStart; y <= kRoadEnd; y += kRoadStep, ++rows)
        for (int c = 0; c < kRoadColumns; ++c) {
            float across = float(c) / float(kRoadColumns - 1);
            Point2 p = BesideRoad(y, (across * 2 - 1) * kRoadHalfWidth);
            text += fmt::format("v {:.3f} {:.3f} {:.3f}\nvt {:.4f} {:.4f}\n", p.x,
                                valley.Height(p.x, p.y) + kAboveLand, -p.y, across,
                                (y - kRoadStart) / kRoadTile);
        }
    for (int r = 0; r + 1 < rows; ++r)
        for (int c = 0; c + 1 < kRoadColumns; ++c) {
            int a = 1 + r * kRoadColumns + c, b = a + kRoadColumns;
            faces += fmt::format("f {0}/{0} {1}/{1} {2}/{2} {3}/{3}\n", a, a + 1, b + 1, b);
        }
    return text + "s 1\n" + faces;
}

Color RoadColor(float x, float y) {
    float grain = RoadNoise(x, y, 0.3f, 3, 84), patch = RoadNoise(x, y, 2.4f, 2, 85);
    float rut = std::exp(-std::pow((std::fabs(x) - 0.72f) / 0.33f, 2.f));
    Color dirt{0.44f, 0.37f, 0.26f}, worn{0.62f, 0.55f, 0.42f}, grass{0.33f, 0.36f, 0.16f};
    float green = std::clamp((1.25f + 0.7f * patch + 0.5f * grain) * (1 - rut), 0.f, 1.f);
    Color color = dirt * (1 - rut) + worn * rut;
    color = color * (1 - green) + grass * green;
    return color * (1 + 0.22f * grain + 0.08f * patch);
}

float RoadOpacity(float x, float y) {
    float edge = 1.36f + 0.27f * RoadNoise(x, y, 0.9f, 3, 86);
    return std::clamp((edge - std::fabs(x)) / 0.1f, 0.f, 1.f);
}

std::string FarmNodes(const Valley& valley) {
    std::vector<Point3> fence = FenceLine(valley);
    std::string text =
        "\n        // The cart track: a mesh on the land, and its middle line, which clears the "
        "meadow.\n"
        "        {\"name\": \"track\", \"type\": \"mesh\", \"file\": \"models/track.obj\", "
        "\"material\": \"track\"},\n" +
        Spline("track line", RoadLine(valley)) +
        "        // A fence beside it: a post at every point, and rails to all but the last.\n" +
        Spline("fence", fence);
    fence.pop_back();
    text += Spline("fence rails", fence);
    text += fmt::format(
        "        {{\"name\": \"cabin\", \"type\": \"mesh\", \"file\": \"models/cabin.glb\", "
        "\"material\": \"cabin\",\n         \"position\": [{}, {}, {:.2f}], \"rotation\": [0, 0, "
        "{}]}},\n",
        kCabin.x, kCabin.y, valley.Height(kCabin.x, kCabin.y) + kCabinFloor, kCabinTurn);
    return text;
}

std::string FarmAreas() {
    return fmt::format(
        ",\n                {{\"name\": \"Track\", \"type\": \"spline\", \"node\": \"track line\", "
        "\"width\": 1.25, \"include\": false}},\n                {{\"name\": \"Cabin\", \"type\": "
        "\"object\", \"node\": \"cabin\", \"resolution\": 256, \"include\": false}},\n"
        "                {{\"name\": \"Clearing\", \"type\": \"paint\", \"include\": false,\n"
        "                 \"polygons\": [[{}]]}}",
        Polygon(kYard));
}

std::string ForestAreas() {
    return fmt::format(
        ",\n                {{\"name\": \"Pasture\", \"type\": \"paint\", \"include\": false,\n"
        "                 \"polygons\": [[{}]]}}",
        Polygon(kPasture));
}

std::string LawnAreas() {
    return fmt::format(
        "{{\"name\": \"Yard\", \"type\": \"paint\", \"include\": true,\n"
        "                 \"polygons\": [[{}]]}},\n                {{\"name\": \"Track\", "
        "\"type\": "
        "\"spline\", \"node\": \"track line\", \"width\": 1.1, \"include\": false}},\n"
        "                {{\"name\": \"Cabin\", \"type\": \"object\", \"node\": \"cabin\", "
        "\"resolution\": 256, \"include\": false}},\n"
        "                {{\"name\": \"Between the wheels\", \"type\": \"spline\", \"node\": "
        "\"track line\", "
        "\"width\": 0.3}}",
        Polygon(kYard));
}

}  // namespace demo
