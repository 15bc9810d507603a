// Draws viewports in a thread of their own, which all of them share.
//
// A view asks for a picture whenever something has changed; the newest wish wins, and a picture on
// its way that is wanted no more is given up. While the hand moves, pictures are thinned so far
// that they come many times a second: how far follows from how long the last ones took. A wish at
// rest brings the whole picture, after a thinned one where the scene is new. Rendered views are
// filled sample by sample. Without OpenGL the splatter of Dravin/viewport draws, and the pictures
// say so.
#pragma once

#include <functional>
#include <memory>

#include "apps/studio/viewport/view_request.h"

class ViewThread;

class ViewRenderer {
public:
    using OnPicture = std::function<void(std::shared_ptr<const ViewPicture>)>;

    // onPicture: called in the drawing thread, never after the end of this.
    explicit ViewRenderer(OnPicture onPicture, bool avoidsOpenGl = false);
    ~ViewRenderer();

    // Any thread. The request must hold a scene.
    void Ask(ViewRequest request);

private:
    std::shared_ptr<ViewThread> m_thread;
    uint64_t m_view;
};

// Rays a pixel that a rendered view ends with.
inline constexpr int kViewSamples = 64;
