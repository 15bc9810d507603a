// The nodes of the scene as a tree; what is selected there is selected in the scene.
#pragma once

#include <QTreeView>

class QStandardItemModel;
class Scene;
class StudioSession;

class Outliner : public QTreeView {
public:
    explicit Outliner(StudioSession& session, QWidget* parent = nullptr);
    void Show(Scene& scene);
    QString SelectedNames() const;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void Select();
    void EditMaterial();
    StudioSession& m_session;
    class NodeModel* m_model;
    bool m_isShowing = false;
};
