// Says what lies under the pointer or in a region, in a thread of its own: the newest wish wins.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

#include "Dravin/viewport/viewport_picking.h"
#include "apps/studio/viewport/view_request.h"

struct PickWish {
    enum Kind { kHover, kClick, kRegion };
    Kind kind = kHover;
    ViewRequest view;
    TPickRegion region;  // of a click: its pixel at left and top
    bool onlySeen = false;
    uint64_t number = 0;        // the caller's
    bool takesTouched = false;  // the caller's, of rectangles
};

struct PickAnswer {
    PickWish wish;
    // Of clicks nearest first; of regions rising: the items in it, or all that is seen there.
    std::vector<uint32_t> ids;
    std::shared_ptr<const TSeenPicture> seen;  // where only what is seen counts
    std::vector<float> depths;                 // of clicks
    // Of a hover: the corners of the box of what is nearest, world space; none without.
    std::vector<Point3> corners;
};

class ViewPicker {
public:
    // onAnswer: called in the picker's thread, never after the end of this.
    explicit ViewPicker(std::function<void(PickAnswer)> onAnswer);
    ~ViewPicker();

    // A hover gives way to any other wish; clicks and regions are all answered, in order.
    void Ask(PickWish wish);

private:
    void Run();

    std::function<void(PickAnswer)> m_onAnswer;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::vector<PickWish> m_wishes;
    std::optional<PickWish> m_hover;
    bool m_isEnding = false;
    std::thread m_thread;
};

PickAnswer AnswerPick(const PickWish& wish);

// The box of a node or an item, as eight corners in world space; none for what has no size.
std::vector<Point3> CornersOf(const TViewportScene& scene, uint32_t id);
