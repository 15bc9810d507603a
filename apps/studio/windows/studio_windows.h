// The windows around the main one, and what watches over the scene: made when first opened, gone
// before the session is.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "apps/studio/windows/autosave.h"

class ActionKeys;
class ListerWindow;
class MaterialEditor;
class PackToolbar;
class QAction;
class QMainWindow;
class QuadView;
class RecoveryDialog;
class RenderWindow;
class SettingsWindow;
class StudioSession;
class ToolWindow;
class ToolsWindow;
class UndoWindow;

class StudioWindows {
public:
    // Calls its argument once nothing unsaved can be lost.
    using WhenSaved = std::function<void(std::function<void()>)>;

    StudioWindows(StudioSession& session, QuadView& view, QMainWindow& parent, WhenSaved whenSaved);
    ~StudioWindows();

    // Actions that every window has by their keys.
    void Share(std::vector<QAction*> actions) { m_shared = std::move(actions); }
    // All actions, once they have their default keys: they get those of the user.
    void TakeKeys(const std::map<std::string, QAction*>& actions);
    // What scripts ask to be made by hand: a command that creates it.
    std::function<void(const std::string& command)> onCreate;
    void OpenLister();
    MaterialEditor& OpenMaterials();
    void OpenUndoList();
    void OpenSettings();
    void OpenTools();
    RenderWindow& OpenRender();
    // What sessions that did not end well have left. With the skipped ones, or a word that there
    // is nothing; without them a window opens only when there is something new.
    void OfferRecovery(bool withSkipped);

    Autosave& Copies() { return *m_autosave; }
    PackToolbar& Pack() { return *m_pack; }

private:
    void Open(ToolWindow& window);

    StudioSession& m_session;
    QMainWindow& m_parent;
    WhenSaved m_whenSaved;
    std::vector<QAction*> m_shared;
    std::unique_ptr<Autosave> m_autosave;
    std::unique_ptr<ActionKeys> m_keys;
    std::unique_ptr<ListerWindow> m_lister;
    std::unique_ptr<MaterialEditor> m_materials;
    Connection m_lookWished;
    std::unique_ptr<UndoWindow> m_undoList;
    std::unique_ptr<RenderWindow> m_render;
    std::unique_ptr<SettingsWindow> m_settings;
    std::unique_ptr<ToolsWindow> m_tools;
    std::unique_ptr<PackToolbar> m_pack;
    std::unique_ptr<RecoveryDialog> m_recovery;
};
