// A scatter object in a picture of the host's own renderers: the seat between the published
// interface and what they draw.
//
// They use it as any other renderer does: tell that they read records of version 512 and instance
// templates too, begin, take the nodes, end. Items without a node stand in the object's own mesh,
// which is drawn as that of any node.
//
//     THostRender render(object);
//     if (render.Begin(time) == TBuildStatus::kSuccess) sources = render.TakeSources();
//     … draw, and drop the sources …
#pragma once

#include <memory>
#include <vector>

#include "Dravin/build/dravin_build.h"
#include "host/scene/instance_source.h"

class TDravin;

class THostRender {
public:
    // A session must be current: its production renderer draws the object.
    explicit THostRender(std::shared_ptr<TDravin> object) : m_object(std::move(object)) {}
    // Ends the render. What TakeSources gave must be gone.
    ~THostRender();
    THostRender(THostRender&& other) noexcept = default;
    THostRender& operator=(THostRender&&) = delete;

    // Builds the object for a picture at time t.
    TBuildStatus Begin(TimeValue t);
    // In the order in which they are drawn; none is empty unless it has a refusal.
    std::vector<std::unique_ptr<IInstanceSource>> TakeSources();

private:
    std::shared_ptr<TDravin> m_object;
    bool m_hasBegun = false;
};
