// Gestures of tools: what they preview stands apart from the undo list until they end.
#include "apps/dravin/session.h"
#include "apps/studio/studio_session.h"
#include "host/params/undo_step.h"
#include "host/scene/scene.h"

bool StudioSession::BeginGesture(const std::string& stepName) {
    if (GestureWaits() || Refuse(stepName)) return false;
    m_toolGesture = std::make_shared<ToolGesture>();
    m_toolGesture->stepName = stepName;
    return true;
}

void StudioSession::Preview(std::function<void(Scene&)> change) {
    if (!m_toolGesture) return;
    m_toolGesture->wish = std::move(change);
    if (IsBusy() || std::exchange(m_toolGesture->waits, true)) return;
    Do([gesture = m_toolGesture](Scene& scene) {
        gesture->waits = false;
        Hold::RestoreAll(gesture->previewed);
        gesture->previewed = Hold::RecordApart([&] { gesture->wish(scene); });
    });
}

// In its turn, whatever job runs: previews must not stay. Another scene that has come meanwhile
// knows nothing of them.
void StudioSession::EndGesture(std::function<void(Scene&)> change) {
    std::shared_ptr<ToolGesture> gesture = std::exchange(m_toolGesture, nullptr);
    if (!gesture) return;
    auto end = [this, gesture, change = std::move(change),
                session = m_session.get()](Scene& scene) {
        if (session != m_session.get()) return;
        Hold::RestoreAll(gesture->previewed);
        if (!change) return;
        UndoStep step(gesture->stepName);
        change(scene);
    };
    m_waiting.push_back({std::move(end), true});
    Pump();
}
