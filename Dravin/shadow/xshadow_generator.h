// The shadows of one light, with quads for billboards.
//
// Quads, blanking and the prevention of self-shadows serve directional lights; for others it hands
// on what the wrapped map says. A pixel of the owner buffer names the item whose quad was drawn
// there: the low 16 bits of the item's index + 1 above those of the node's id + 1, 0 for none.
// Update runs on one thread, and changes object meshes only while the wrapped map is drawn.
#pragma once

#include <unordered_map>
#include <vector>

#include "Dravin/dravin.h"
#include "Dravin/shadow/quad_drawer.h"
#include "Dravin/shadow/xshadow.h"

class TFaceBlanking;

class XShadowGen final : public ShadowGenerator {
public:
    // The type and the light outlive it.
    XShadowGen(XShadow& type, std::unique_ptr<ShadowGenerator> inner, const LightObject* light,
               const LightDesc& about)
        : m_inner(std::move(inner)), m_type(type), m_light(light), m_about(about) {}

    // 0 where the owner buffer could not be taken, which the user is told; the wrapped map stands.
    int Update(const Request& request) override;
    int UpdateViewDepParams(const Matrix3& worldToCamera) override;
    void FreeBuffer() override { m_inner->FreeBuffer(); }
    float Sample(const ShadeContext& sc, float x, float y, float z, float xSlope,
                 float ySlope) const override;
    float Sample(const ShadeContext&, const Point3&, Color*) const override { return 1; }
    float QuickSample(int x, int y, float z) const override {
        return m_inner->QuickSample(x, y, z);
    }
    float FiltSample(float x, float y, float z, float range) const override {
        return m_inner->FiltSample(x, y, z, range);
    }
    float LineSample(const Point3& from, const Point3& to) const override {
        return m_inner->LineSample(from, to);
    }
    int Size() const override { return m_inner->Size(); }
    float* Buffer() override { return m_inner->Buffer(); }

    // The code at a pixel of the map; 0 without an owner buffer.
    uint32_t OwnerAt(int x, int y) const;
    // For whole nodes of the picture.
    static uint32_t OwnerCode(size_t item, uint32_t nodeId) {
        return uint32_t(uint16_t(item + 1)) << 16 | uint16_t(nodeId + 1);
    }
    // How long the last update's parameters, those of a custom map included, stay as they are.
    const Interval& Validity() const { return m_validity; }

private:
    // A scatter object that casts shadows, and which of its items quads stand for.
    struct Caster {
        TDravin* object;
        RenderInstance instance;
        std::vector<bool> items;
    };
    struct QuadLight;
    void ReadParameters(TimeValue t);
    std::vector<Caster> DrawInner(const Request& request);
    bool TakeOwners(IShadowScene& scene);
    void DrawQuads(const Request& request, const std::vector<Caster>& casters);
    // False when the user stops it.
    bool DrawCaster(const Caster& caster, const Request& request, const QuadLight& light,
                    TQuadDrawer& drawer);

    std::unique_ptr<ShadowGenerator> m_inner;
    XShadow& m_type;
    const LightObject* m_light;
    LightDesc m_about;
    Matrix3 m_lightToWorld, m_lightToCamera;
    int m_image = kImageFromMaterial;
    bool m_isAbsolute = true, m_disablesCache = false, m_preventsSelfShadow = true;
    int m_size = 0;
    float m_bias = 0, m_range = 0;
    Interval m_validity;
    TimeValue m_lastTime = 0;
    std::vector<uint32_t> m_owners;
    std::unordered_map<const INode*, uint32_t> m_ids;
};
