// The strip below the views: the frame that is shown, the keys of what is selected, and playback.
//
// A drag on the ruler moves through time. Playback keeps to the clock: where a frame takes longer
// to build than it lasts, frames are left out. Auto Key makes changes of animatable values keys at
// the frame that is shown. Time is no undo step; the range is.
#pragma once

#include <vector>

#include <QElapsedTimer>
#include <QWidget>

#include "apps/studio/studio_session.h"

class NumberField;
class QTimer;
class QToolButton;
class TimeRuler;

class Timeline : public QWidget {
public:
    explicit Timeline(StudioSession& session, QWidget* parent = nullptr);

    void Play(bool on);
    bool IsPlaying() const { return m_isPlaying; }
    void Step(int frames);  // clamped to the range
    void GoToKey(bool next);
    void GoToEnd(bool last);
    void SetAutoKey(bool on);
    TimeRuler& Ruler() { return *m_ruler; }

private:
    void Show(Scene& scene);
    void MakeButtons(class QHBoxLayout& row);
    QToolButton* AddButton(QHBoxLayout& row, const char* name, const char* icon, const char* help,
                           std::function<void()> run);
    NumberField* MakeFrameField(const char* name, const char* help, std::function<void(int)> set,
                                std::function<void(int)> preview);
    void Advance();
    void GoToFrame(int frame);
    void SetRange(int first, int last);
    int FirstFrame() const { return m_range.start / m_ticksPerFrame; }
    int LastFrame() const { return m_range.end / m_ticksPerFrame; }

    StudioSession& m_session;
    std::vector<Connection> m_connections;
    NumberField *m_frameField, *m_firstField, *m_lastField;
    TimeRuler* m_ruler;
    QToolButton *m_play, *m_autoKey;
    TimeRange m_range;
    TimeValue m_time = 0;
    int m_ticksPerFrame = 160;
    std::vector<TimeValue> m_keys;
    QTimer* m_clock;
    QElapsedTimer m_sinceStart;
    int m_startFrame = 0;
    bool m_isPlaying = false;
};
