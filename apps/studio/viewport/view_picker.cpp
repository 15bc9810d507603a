#include "apps/studio/viewport/view_picker.h"

#include <algorithm>

std::vector<Point3> CornersOf(const TViewportScene& scene, uint32_t id) {
    TViewportScene::Found found = scene.Find(id);
    if (!found.node) return {};
    Box3 box = found.node->bounds;
    Matrix3 toWorld = found.node->toWorld;
    if (found.item != TViewportScene::kNoItem) {
        const std::vector<TViewItem>& items = found.node->scatter->Items();
        auto item = std::find_if(items.begin(), items.end(),
                                 [&](const TViewItem& i) { return i.item == found.item; });
        if (item == items.end()) return {};
        box = found.node->scatter->prototypes[item->prototype].bounds;
        toWorld = item->toObject * toWorld;
    }
    std::vector<Point3> corners;
    for (int i = 0; i < 8 && !box.IsEmpty(); ++i) corners.push_back(box[i] * toWorld);
    return corners;
}

PickAnswer AnswerPick(const PickWish& wish) {
    PickAnswer answer;
    answer.wish = wish;
    const ViewRequest& view = wish.view;
    TViewportSettings settings = SettingsOf(view);
    const TPixelRect& at = wish.region.rectangle;
    if (wish.kind == PickWish::kRegion && wish.onlySeen) {
        answer.seen =
            std::make_shared<const TSeenPicture>(DrawSeen(*view.scene, view.camera, settings));
        answer.ids = SeenInRegion(*answer.seen, wish.region);
        return answer;
    }
    if (wish.kind == PickWish::kRegion) {
        answer.ids = ItemsInRegion(*view.scene, view.camera, wish.region, settings.threads);
        return answer;
    }
    for (const TViewHit& hit : HitTest(*view.scene, view.camera, at.left, at.top, settings)) {
        answer.ids.push_back(hit.id);
        answer.depths.push_back(hit.depth);
    }
    if (wish.kind == PickWish::kHover && !answer.ids.empty())
        answer.corners = CornersOf(*view.scene, answer.ids[0]);
    return answer;
}

ViewPicker::ViewPicker(std::function<void(PickAnswer)> onAnswer)
    : m_onAnswer(std::move(onAnswer)), m_thread([this] { Run(); }) {}

ViewPicker::~ViewPicker() {
    {
        std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void ViewPicker::Ask(PickWish wish) {
    std::lock_guard lock(m_mutex);
    if (wish.kind == PickWish::kHover)
        m_hover = std::move(wish);
    else
        m_wishes.push_back(std::move(wish));
    m_wake.notify_all();
}

void ViewPicker::Run() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_isEnding || !m_wishes.empty() || m_hover; });
        if (m_isEnding) return;
        PickWish wish;
        if (!m_wishes.empty()) {
            wish = std::move(m_wishes.front());
            m_wishes.erase(m_wishes.begin());
        } else {
            wish = std::move(*m_hover);
            m_hover.reset();
        }
        lock.unlock();
        m_onAnswer(AnswerPick(wish));
        lock.lock();
    }
}
