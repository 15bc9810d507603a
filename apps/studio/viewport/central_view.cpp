// Pictures of the snapshot, drawn by a thread of their own: fewer elements while the hand moves,
// complete when it rests. Middle mouse pans, with Alt it orbits; the wheel zooms.
#include "apps/studio/viewport/central_view.h"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include <QLocale>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>
#include <QWidget>

#include "Dravin/viewport/viewport_drawing.h"
#include "apps/studio/theme.h"

namespace {

constexpr uint64_t kMovingElements = 300'000;
constexpr int kRestMs = 250;

// Looks at `target` from `distance` away.
struct Orbit {
    Point3 target;
    float distance = 10, yaw = 0.8f, pitch = 0.5f;

    Matrix3 Transform() const {
        float cp = std::cos(pitch), sp = std::sin(pitch), cy = std::cos(yaw), sy = std::sin(yaw);
        Matrix3 m;
        m.row[2] = {cp * cy, cp * sy, sp};  // backward
        m.row[0] = {-sy, cy, 0};
        m.row[1] = CrossProd(m.row[2], m.row[0]);
        m.row[3] = target + m.row[2] * distance;
        return m;
    }
};

struct Wish {
    std::shared_ptr<const TViewportScene> scene;
    Orbit orbit;
    QSize size;
    bool isMoving = false;
};

class View : public QWidget, public ICentralView {
public:
    explicit View(QWidget* parent) : QWidget(parent), m_thread([this](auto stop) { Draw(stop); }) {
        setFocusPolicy(Qt::StrongFocus);
        setAccessibleName("View of the scene");
        setMinimumSize(240, 180);
        m_rest.setSingleShot(true);
        m_rest.setInterval(kRestMs);
        connect(&m_rest, &QTimer::timeout, this, [this] { Ask(false); });
    }
    ~View() override {
        m_thread.request_stop();
        m_wake.notify_all();
        m_thread.join();
    }
    QWidget* Widget() override { return this; }
    void ShowScene(std::shared_ptr<const TViewportScene> scene) override {
        bool isFirst = !m_scene || m_scene->Nodes().empty();
        m_scene = std::move(scene);
        if (isFirst && m_scene) FrameAll();
        Ask(false);
    }
    void FrameAll() override {
        if (!m_scene || m_scene->Bounds().IsEmpty()) return;
        const Box3& box = m_scene->Bounds();
        m_orbit.target = box.Center();
        m_orbit.distance = std::max(Length(box.Width()) * 0.75f, 0.01f);
        Ask(false);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), CurrentColors().view);
        painter.drawImage(rect(), m_picture);
        painter.setPen(ColorsOf(Theme::kDark).text);  // the picture's ground is dark
        painter.drawText(rect().adjusted(8, 8, -8, -8), Qt::AlignTop | Qt::AlignLeft, m_said);
    }
    void resizeEvent(QResizeEvent*) override { Ask(false); }
    void wheelEvent(QWheelEvent* event) override {
        m_orbit.distance *= std::pow(0.85f, float(event->angleDelta().y()) / 120);
        Ask(true);
    }
    void mousePressEvent(QMouseEvent* event) override { m_last = event->position(); }
    void mouseMoveEvent(QMouseEvent* event) override {
        if (!(event->buttons() & Qt::MiddleButton)) return;
        QPointF moved = event->position() - m_last;
        m_last = event->position();
        if (event->modifiers() & Qt::AltModifier) {
            m_orbit.yaw -= float(moved.x()) * 0.01f;
            m_orbit.pitch = std::clamp(m_orbit.pitch + float(moved.y()) * 0.01f, -1.5f, 1.5f);
        } else {
            Matrix3 m = m_orbit.Transform();
            float unit = m_orbit.distance / float(std::max(width(), 1));
            m_orbit.target = m_orbit.target + m.row[1] * (float(moved.y()) * unit) -
                             m.row[0] * (float(moved.x()) * unit);
        }
        Ask(true);
    }

private:
    void Ask(bool isMoving) {
        {
            std::lock_guard lock(m_mutex);
            m_wish = Wish{m_scene, m_orbit, size() * devicePixelRatioF(), isMoving};
        }
        m_wake.notify_all();
        if (isMoving) m_rest.start();
    }
    void Draw(std::stop_token stop) {
        while (!stop.stop_requested()) {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, stop, [this] { return m_wish.has_value(); });
            std::optional<Wish> wish = std::exchange(m_wish, {});
            lock.unlock();
            if (!wish || !wish->scene || wish->size.isEmpty()) continue;
            TViewportSettings settings;
            settings.isNavigating = wish->isMoving;
            settings.maxElements = wish->isMoving ? kMovingElements : 0;
            settings.threads = std::max(int(std::thread::hardware_concurrency()), 1);
            TViewportCamera camera(wish->orbit.Transform(), 50, wish->size.width(),
                                   wish->size.height(), wish->orbit.distance * 1e-4f);
            TViewportPicture drawn = DrawViewport(*wish->scene, camera, settings);
            QImage image(drawn.rgb.data(), drawn.width, drawn.height, drawn.width * 3,
                         QImage::Format_RGB888);
            Show(image.copy(), drawn.counts);
        }
    }
    void Show(QImage image, const TViewportCounts& counts) {
        QMetaObject::invokeMethod(
            this,
            [this, image, counts] {
                bool isThinned = counts.itemsDrawn < counts.itemsInView;
                QLocale locale(QLocale::English);
                QString drawn = locale.toString(qulonglong(counts.itemsDrawn));
                QString all = locale.toString(qulonglong(counts.itemsInView));
                m_said = isThinned ? drawn + " of " + all + " shown" : all + " items";
                m_picture = image;
                update();
            },
            Qt::QueuedConnection);
    }

    std::shared_ptr<const TViewportScene> m_scene;
    Orbit m_orbit;
    QPointF m_last;
    QImage m_picture;
    QString m_said;
    QTimer m_rest;
    std::mutex m_mutex;
    std::condition_variable_any m_wake;
    std::optional<Wish> m_wish;
    std::jthread m_thread;
};

}  // namespace

ICentralView* MakeCentralView(QWidget* parent) { return new View(parent); }
