// Random scenes with one scatter object, and what is known of them from how they were made.
//
// Every decision is drawn from Choices: from a seed in the property test, from a fuzzer's bytes in
// the fuzz target. Tame scenes have sensible numbers and remember the exact regions of their areas,
// so that a judge can say where items may stand; wild ones also draw nonsense.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Dravin/dravin.h"
#include "common/nurandom/nurandom.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

class Choices {
public:
    virtual ~Choices() = default;
    virtual uint32_t Bits() = 0;

    // In [low, high].
    int Int(int low, int high) { return low + int(Bits() % uint32_t(high - low + 1)); }
    float Real(float low, float high) {
        return low + (high - low) * (float(Bits() & 0xFFFFFF) / 16777215.0f);
    }
    bool Chance(int percent) { return Int(0, 99) < percent; }
};

class SeedChoices : public Choices {
public:
    explicit SeedChoices(uint32_t seed) : m_random(seed) {}
    uint32_t Bits() override { return m_random.Step(); }

private:
    TNuRandom m_random;
};

// Zeros once the bytes are used up.
class ByteChoices : public Choices {
public:
    explicit ByteChoices(std::span<const uint8_t> bytes) : m_bytes(bytes) {}
    uint32_t Bits() override;

private:
    std::span<const uint8_t> m_bytes;
};

// A flat region in world space.
struct KnownRegion {
    enum Kind { kPolygon, kBand, kDisc } kind = kPolygon;
    std::vector<Point2> points;  // corners; of a disc its centre
    bool closed = true;          // of a band
    float size = 0;              // half-width or radius
    float blur = 1e-3f;          // how far its border may lie from where it should
};

// Regions that share a parity, with the place of their row in the list.
struct KnownGroup {
    int order = 0;
    bool exclude = false;
    int boundaryCheck = 0;
    bool onlySurface = false;  // items stand on `surface` only
    int surface = 0;
    std::vector<KnownRegion> regions;
};

struct KnownSurface {
    std::shared_ptr<const Mesh> mesh;
    Matrix3 toWorld;
};

struct KnownCamera {
    Matrix3 toWorld;
    float fovDegrees = 45, aspect = 1, far = 0, widenPercent = 0, apexBehind = 0;
};

class RandomScene {
public:
    // disabledFirst: the area list begins with a row that is switched off; all else stays the same.
    RandomScene(Choices& choices, bool wild, bool disabledFirst = false);

    HostContext host;
    Scene scene;
    std::shared_ptr<TDravin> object = TDravin::Create();
    INode* node = nullptr;  // of the object

    // Of tame scenes:
    std::vector<KnownGroup> groups;  // in list order; includes none: the surfaces are the ground
    std::vector<KnownSurface> surfaces;
    std::optional<KnownCamera> limit;  // items outside its view are left out

    // Adds an including row that is switched off at the end of the area list.
    void AddDisabledArea();

    template <class T>
    static void Set(TDravin& dravin, const char* name, const T& value, int row = 0) {
        TDravin::Param param = dravin.FindParam(name);
        param.block->SetValue(param.def->id, 0, value, row);
    }
    template <class T>
    void Set(const char* name, const T& value, int row = 0) {
        Set(*object, name, value, row);
    }

private:
    // Numbers, now and then nonsense in wild scenes.
    float Number(float low, float high);
    int Count(int low, int high);
    Point3 Place(float size, float height);
    Matrix3 Frame(bool tilted = false);

    INode* Add(const std::string& name, std::shared_ptr<Object> shown, const Matrix3& frame);
    INode* AddMesh(const std::string& name, Mesh mesh, const Matrix3& frame);
    std::vector<Point3> Ring(const Point3& center, float radius);
    void AddRows(TDravin& dravin);
    void AddSurfaces();
    void AddDistribution();
    void AddPath();
    void AddReferences();
    void AddParticles();
    void AddAreas();
    int AppendAreaRow(int type, bool exclude);
    int NewAreaRow(int type, bool exclude);
    void AddSpline(int type);
    void AddObjectArea();
    void AddItemArea();
    void AddSurfaceArea();
    void AddFalloffs();
    void AddTransforms();
    void AddRules();
    void AddCamera();
    void AddNonsense();

    Choices& m_choose;
    bool m_wild;
    std::vector<std::shared_ptr<TDravin>> m_others;
};
