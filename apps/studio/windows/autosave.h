// Copies of the scene that are saved by themselves, beside the window: after so many changes, or
// some time after the first that no copy has.
//
// A copy is never written over the scene, nor while a number is dragged; it waits a while for a
// build to end. Where the scene has nothing unsaved, there is nothing to recover. For the window's
// thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <QImage>
#include <QObject>
#include <QTimer>

#include "apps/studio/windows/recovery_store.h"
#include "host/base/signal.h"

class StudioSession;

struct AutosaveRules {
    int numChanges = 20;
    int milliseconds = 120'000;
};

class Autosave : public QObject {
public:
    // picture: of the view, for the record; may be null.
    Autosave(StudioSession& session, std::string stateFolder, AutosaveRules rules = {},
             std::function<QImage()> picture = {});

    const RecoveryStore& Store() const { return m_store; }
    // The copy of a lost session becomes the scene, with changes that are not saved; its record
    // goes when this session has a copy of its own.
    void Recover(const LostSession& lost, const SceneCopy& copy);
    // Written last; empty before the first.
    const std::string& LastCopy() const { return m_lastCopy; }

private:
    void Watch();
    void Reset();
    void SaveSoon();
    void Save();
    void Saved(const std::string& path, int numChanges, const std::string& error);

    StudioSession& m_session;
    AutosaveRules m_rules;
    std::function<QImage()> m_picture;
    RecoveryStore m_store;
    std::vector<Connection> m_connections;
    QTimer m_late, m_retry;
    uint64_t m_seenState = 0;
    int m_numChanges = 0;  // that no copy has
    int m_numUnsaved = 0;  // that the scene's file does not have
    int m_numTries = 0;
    bool m_isSaving = false;
    std::string m_lastCopy, m_recovered;
};
