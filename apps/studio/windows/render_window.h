// Renders the scene by its renderer, keeps what was rendered, and compares two pictures. The scene
// may be worked on, and be replaced, meanwhile.
//
// The picture that is selected in the list is A; B is the one that Compare With was pressed on. The
// settings are the scene's, and their changes undo steps.
#pragma once

#include "apps/studio/studio_session.h"
#include "apps/studio/windows/render_history.h"
#include "apps/studio/windows/tool_window.h"

class NumberField;
class PictureCompare;
class QComboBox;
class QLabel;
class QListView;
class QProgressBar;
class QPushButton;
class QTimer;

class RenderWindow : public ToolWindow {
public:
    explicit RenderWindow(StudioSession& session, QWidget* parent = nullptr);

    void Render();
    // Asks for a name first, where none is given.
    void SavePicture(const std::string& path = {});
    RenderHistory& History() { return *m_history; }
    PictureCompare& Shown() { return *m_compare; }
    void Select(int row);
    void CompareWithSelected();

private:
    QWidget* MakeSettings();
    QWidget* MakeList();
    NumberField* MakeField(const char* name, const char* help, int most);
    void Read(const Scene& scene);
    void ShowActivity();
    void ShowPicture();
    void Take(const RenderOutcome& outcome, const QString& scene, int samples);

    StudioSession& m_session;
    std::vector<Connection> m_connections;
    RenderHistory* m_history;
    std::shared_ptr<const RenderedPicture> m_other;  // B
    PictureCompare* m_compare;
    QListView* m_list;
    NumberField *m_width, *m_height, *m_samples;
    QComboBox *m_camera, *m_renderer;
    QLabel* m_details;
    QProgressBar* m_progress;
    QPushButton *m_render, *m_cancel, *m_save, *m_compareWith;
    QTimer* m_watch;
    SceneRenderSettings m_settings;
};
