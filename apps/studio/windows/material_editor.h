// The editor of materials and maps: all of the scene in a list with spheres, and the rollouts of
// the one that is selected there.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "Dravin/commands/command_table.h"
#include "Dravin/materials/scene_looks.h"
#include "apps/studio/windows/look_previews.h"
#include "apps/studio/windows/tool_window.h"
#include "host/base/signal.h"

class LookModel;
class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class QScrollArea;
class QSortFilterProxyModel;
class QTabBar;
class QToolButton;
class RolloutStack;
class StudioSession;

class MaterialEditor : public ToolWindow {
public:
    MaterialEditor(StudioSession& session, QWidget* parent);
    ~MaterialEditor() override;

    // Selects a material or map; one that the scene does not show selects nothing.
    void ShowLook(const std::weak_ptr<ReferenceTarget>& look);
    LookKind Kind() const;
    // Of what is shown; null for nothing.
    RolloutStack* Rollouts() const { return m_page; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* MakeList();
    QWidget* MakeSide();
    QPushButton* AddButton(const char* label, const char* command, std::function<void()> run);
    void Listen();
    void ReadSoon();
    void Read(Scene& scene);
    void ShowCurrent(Scene& scene);
    // It is what is shown from now on; what was before, Back leads to.
    void Remember(const std::weak_ptr<ReferenceTarget>& look);
    void WishPictures(Scene& scene);
    void Wish(Scene& scene, ReferenceTarget& look, LookPreviews::Key key);
    void WishWhenFree();
    void ShowPicture();
    RolloutStack* PageOf(ReferenceTarget& look);

    std::string Prefix() const { return Kind() == LookKind::kMaterial ? "material" : "map"; }
    std::string CurrentPath() const;
    // A command on what is selected, or without any argument; what it names is selected then.
    void Run(const std::string& command, TArguments arguments);
    void RunOnCurrent(const std::string& command, TArguments arguments = {});
    void ShowNewMenu();
    void AskName();

    StudioSession& m_session;
    LookPreviews m_previews;
    LookModel* m_model;
    QSortFilterProxyModel* m_filtered;
    QTabBar* m_kinds;
    QLineEdit* m_filter;
    QListView* m_list;
    QLabel *m_picture, *m_title, *m_users;
    QToolButton* m_back;
    QScrollArea* m_scroll;
    std::vector<QPushButton*> m_onCurrent, m_onMaterials;
    std::map<ClassId, RolloutStack*> m_pages;
    RolloutStack* m_page = nullptr;

    std::weak_ptr<ReferenceTarget> m_current;
    std::vector<std::weak_ptr<ReferenceTarget>> m_before;  // what was shown, the newest last
    QString m_wanted;  // path of what a command has made, until the list knows it
    LookPreviews::Key m_shownPicture;
    bool m_isReading = false, m_lacksPictures = false;
    std::vector<Connection> m_connections;
};
