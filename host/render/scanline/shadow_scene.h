// A scanline picture as shadow types see it: they draw their maps from its pieces.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/render/scanline/scan_scene.h"
#include "host/scene/shadow_type.h"

class ScanShadowScene final : public IShadowScene {
public:
    // The scene outlives it. memory(): bytes that a buffer may take now. progress: hears the
    // share of a step that is done; false stops.
    ScanShadowScene(const ScanScene& scene, int threads, std::function<uint64_t()> memory,
                    RenderProgress progress = {});

    std::span<const RenderInstance> Instances() const override { return m_instances; }
    uint32_t IdOf(const INode* node) const override;
    void DrawDepth(const ShadowView& view, std::span<float> depths) const override;
    uint64_t MemoryLeft() const override { return m_memory(); }
    bool Progress(size_t done, size_t total) override;
    // Each problem is kept once.
    void Tell(const std::string& problem) override;

    const std::vector<std::string>& Problems() const { return m_problems; }
    // Whether progress has asked to stop.
    bool IsStopped() const { return m_isStopped; }

private:
    const ScanScene& m_scene;
    int m_threads;
    std::function<uint64_t()> m_memory;
    RenderProgress m_progress;
    bool m_isStopped = false;
    float m_share = 0;  // that was reported; maps that follow never go back
    std::vector<RenderInstance> m_instances;
    std::vector<std::string> m_problems;
};

// Whether a sample stops at a face of some opacity: by a hash of both, so that means over samples
// are exact and every picture is the same.
bool StopsAtOpacity(float opacity, size_t piece, uint32_t face, uint32_t sample);
