// The renderers of a session, and which of them makes its pictures.
//
// Objects that show themselves differently to different renderers ask for the current production
// renderer by its class id. A session has one list: HostContext::State<Renderers>(). One thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/params/class_id.h"

// The renderers of this program.
inline constexpr ClassId kRayTracerId{0x3d1c0201, 0x52a7};
inline constexpr ClassId kScanlineRendererId{0x3d1c0202, 0x52a7};

struct RendererInfo {
    ClassId id;
    std::string name;
    // Shows custom objects of scatter objects as instances by itself, which then leave them out of
    // their meshes.
    bool takesInstances = false;
};

// How the pictures being made were asked for.
struct RenderWish {
    int threads = 0;       // 0: as objects say themselves
    bool noLimit = false;  // whatever limits protect the machine
    // Builds of an earlier picture count where nothing that they show has changed.
    bool keepsBuilds = false;
};

class Renderers {
public:
    // The renderers of this program are there from the beginning; the ray tracer is the current
    // one.
    Renderers();

    // False, and nothing done, when there is no id or it is taken.
    bool Register(RendererInfo renderer);
    // False when there is no such renderer. The current one's place is taken by the first.
    bool Unregister(ClassId id);

    // Null when there is none.
    const RendererInfo* Find(ClassId id) const;
    const RendererInfo* Find(std::string_view name) const;
    const std::vector<RendererInfo>& All() const { return m_renderers; }

    // The current production renderer.
    const RendererInfo& Current() const;
    // False, and nothing done, when there is no such renderer.
    bool SetCurrent(ClassId id);
    // A renderer tells that it takes instances. Nothing without such a renderer.
    void SetTakesInstances(ClassId id);

    RenderWish wish;

private:
    std::vector<RendererInfo> m_renderers;
    ClassId m_current = kRayTracerId;
};

// Of the current session; the ray tracer's without one.
ClassId CurrentRendererId();
bool CurrentRendererTakesInstances();
