// A snapshot as the ray tracer takes it: nodes with copies of their materials, items as instances.
#pragma once

#include <memory>
#include <vector>

#include "Dravin/viewport/viewport_scene.h"
#include "host/render/picture_tracer.h"

// Owns or shares all that the tracer borrows. One thread.
class RenderJob {
public:
    // Takes the geometry in, which takes a while for large scenes.
    explicit RenderJob(std::shared_ptr<const TViewportScene> scene);
    ~RenderJob();

    const TViewportScene& Shown() const { return *m_scene; }
    PictureTracer& Tracer() { return *m_tracer; }
    // Of the snapshot, for the size of a view.
    RenderSettings Settings(int width, int height) const;

private:
    std::shared_ptr<const TViewportScene> m_scene;
    RenderScene m_description;
    std::vector<std::unique_ptr<IInstanceSource>> m_sources;
    std::unique_ptr<PictureTracer> m_tracer;
};
