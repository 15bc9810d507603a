#include "apps/studio/windows/autosave.h"

#include <QPointer>

#include "apps/studio/studio_session.h"

namespace {

constexpr int kRetryMs = 250;
constexpr int kMaxTries = 120;  // then builds give way
constexpr int kPictureWidth = 320;

}  // namespace

Autosave::Autosave(StudioSession& session, std::string stateFolder, AutosaveRules rules,
                   std::function<QImage()> picture)
    : m_session(session),
      m_rules(rules),
      m_picture(std::move(picture)),
      m_store(std::move(stateFolder)) {
    if (!m_store.Error().empty())
        m_session.told.Send(MessageLevel::kWarning,
                            "Nothing will be recovered after a crash: " + m_store.Error());
    m_late.setSingleShot(true);
    m_late.setInterval(m_rules.milliseconds);
    m_retry.setSingleShot(true);
    m_retry.setInterval(kRetryMs);
    connect(&m_late, &QTimer::timeout, this, [this] { SaveSoon(); });
    connect(&m_retry, &QTimer::timeout, this, [this] { Save(); });
    m_connections.push_back(m_session.changed.Connect([this](Scene&) { Watch(); }));
    m_connections.push_back(m_session.sceneReplaced.Connect([this](Scene&) {
        Reset();
        m_store.Forget();
    }));
    m_seenState = m_session.State();
}

void Autosave::Reset() {
    m_seenState = m_session.State();
    m_numChanges = m_numUnsaved = 0;
    m_late.stop();
    m_retry.stop();
}

void Autosave::Watch() {
    if (!m_session.IsModified()) {
        Reset();
        if (!m_isSaving) m_store.Forget();
        return;
    }
    if (m_session.State() == m_seenState) return;
    m_seenState = m_session.State();
    ++m_numUnsaved;
    if (++m_numChanges >= m_rules.numChanges) return SaveSoon();
    if (!m_late.isActive()) m_late.start();
}

void Autosave::SaveSoon() {
    if (m_isSaving || m_retry.isActive()) return;
    m_numTries = 0;
    m_retry.start(0);  // whoever changes the scene is done then
}

void Autosave::Save() {
    m_retry.setInterval(kRetryMs);
    bool mayWait = m_session.IsBusy() || ++m_numTries < kMaxTries;
    bool isInHand = m_session.IsDragging() || m_session.HasGesture();  // a preview is no scene
    if (isInHand || (!m_session.IsFree() && mayWait)) return m_retry.start();
    std::string path = m_store.NextCopy(m_session.Path());
    m_isSaving = true;
    m_late.stop();
    m_session.SaveCopy(path, [self = QPointer<Autosave>(this), path,
                              changes = m_numChanges](const std::string& error) {
        if (self) self->Saved(path, changes, error);
    });
}

void Autosave::Saved(const std::string& path, int numChanges, const std::string& error) {
    m_isSaving = false;
    m_numChanges -= std::min(numChanges, m_numChanges);
    std::string trouble = error;
    if (!m_session.IsModified()) return m_store.Forget();  // saved, or replaced, meanwhile
    SceneCopy copy{path, QDateTime::currentDateTime(), m_numUnsaved};
    QImage picture = m_picture ? m_picture() : QImage();
    if (!picture.isNull()) picture = picture.scaledToWidth(kPictureWidth, Qt::SmoothTransformation);
    if (trouble.empty() && m_store.Note(m_session.Path(), copy, picture, &trouble)) {
        m_lastCopy = path;
        if (!m_recovered.empty()) m_store.Remove(std::exchange(m_recovered, {}));
    } else {
        m_session.told.Send(MessageLevel::kWarning,
                            "The scene could not be saved by itself: " + trouble);
    }
    if (m_numChanges > 0 || !trouble.empty()) m_late.start();
}

void Autosave::Recover(const LostSession& lost, const SceneCopy& copy) {
    m_session.OpenCopy(copy.path, lost.scene,
                       [self = QPointer<Autosave>(this), id = lost.id,
                        changes = copy.numChanges](const std::string& error) {
                           if (!self || !error.empty()) return;
                           self->m_recovered = id;
                           self->m_numUnsaved = changes;
                           self->SaveSoon();
                       });
}
