#include "apps/studio/outliner.h"

#include <algorithm>
#include <map>

#include <QAbstractItemModel>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QIcon>
#include <QKeyEvent>
#include <QMenu>

#include "Dravin/dravin.h"
#include "apps/studio/command_form.h"
#include "apps/studio/studio_session.h"
#include "apps/studio/theme.h"
#include "host/scene/scene.h"

namespace {

struct Row {
    NodeHandle handle = 0;
    QString name;
    const char* icon = "node";
    bool isHidden = false;
    int parent = -1, place = 0;  // among the parent's children
    std::vector<int> children = {};
    friend bool operator==(const Row&, const Row&) = default;
};

const char* IconOf(const INode& node) {
    const Object* object = node.GetObjectRef();
    if (!object) return "node";
    if (dynamic_cast<const TDravin*>(object)) return "scatter";
    if (object->Passes(ClassTest::kCamera)) return "camera";
    if (object->Passes(ClassTest::kLight)) return "light";
    if (object->Passes(ClassTest::kShape)) return "spline";
    return object->Passes(ClassTest::kGeometry) ? "mesh" : "node";
}

std::vector<Row> RowsOf(const Scene& scene) {
    std::vector<Row> rows;
    std::map<const INode*, int> places;
    for (INode* node : scene.Nodes()) {
        places[node] = int(rows.size());
        rows.push_back({node->GetHandle(), QString::fromStdString(node->GetName()), IconOf(*node),
                        node->IsHidden(scene.GetTime())});
    }
    for (INode* node : scene.Nodes()) {
        auto parent = places.find(node->GetParentNode());
        int place = places[node];
        if (parent != places.end()) rows[size_t(place)].parent = parent->second;
    }
    return rows;
}

}  // namespace

// A copy of the scene's tree; no item object a row.
class NodeModel : public QAbstractItemModel {
public:
    using QAbstractItemModel::QAbstractItemModel;

    // Whether anything has changed.
    bool Take(std::vector<Row> rows) {
        std::vector<int> roots;
        for (size_t i = 0; i < rows.size(); ++i) {
            int parent = rows[i].parent;
            std::vector<int>& siblings = parent < 0 ? roots : rows[size_t(parent)].children;
            rows[i].place = int(siblings.size());
            siblings.push_back(int(i));
        }
        if (rows == m_rows) return false;
        beginResetModel();
        m_rows = std::move(rows);
        m_roots = std::move(roots);
        endResetModel();
        return true;
    }
    const Row& At(const QModelIndex& index) const { return m_rows[index.internalId()]; }
    QModelIndex Of(NodeHandle handle) const {
        for (size_t i = 0; i < m_rows.size(); ++i)
            if (m_rows[i].handle == handle) return createIndex(m_rows[i].place, 0, quintptr(i));
        return {};
    }

    QModelIndex index(int row, int column, const QModelIndex& parent) const override {
        const std::vector<int>& children = Children(parent);
        if (row < 0 || row >= int(children.size()) || column != 0) return {};
        return createIndex(row, 0, quintptr(children[size_t(row)]));
    }
    QModelIndex parent(const QModelIndex& index) const override {
        int parent = index.isValid() ? At(index).parent : -1;
        return parent < 0 ? QModelIndex()
                          : createIndex(m_rows[size_t(parent)].place, 0, quintptr(parent));
    }
    int rowCount(const QModelIndex& parent) const override { return int(Children(parent).size()); }
    int columnCount(const QModelIndex&) const override { return 1; }
    QVariant data(const QModelIndex& index, int role) const override {
        const Row& row = At(index);
        if (role == Qt::DisplayRole || role == Qt::EditRole) return row.name;
        if (role == Qt::ForegroundRole && row.isHidden) return CurrentColors().dimText;
        if (role == Qt::ToolTipRole && row.isHidden) return row.name + " (hidden)";
        return role == Qt::DecorationRole ? QVariant(Icon(row.icon)) : QVariant();
    }

private:
    const std::vector<int>& Children(const QModelIndex& parent) const {
        return parent.isValid() ? At(parent).children : m_roots;
    }
    static QIcon Icon(const char* name) {
        static std::map<std::pair<Theme, std::string>, QIcon> icons;
        QIcon& icon = icons[{CurrentTheme(), name}];
        if (icon.isNull()) icon = ThemeIcon(name);
        return icon;
    }
    std::vector<Row> m_rows;
    std::vector<int> m_roots;
};

Outliner::Outliner(StudioSession& session, QWidget* parent)
    : QTreeView(parent), m_session(session), m_model(new NodeModel(this)) {
    setModel(m_model);
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setSelectionMode(ExtendedSelection);
    setAccessibleName("Outliner");
    setObjectName("outliner");
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { Select(); });
}

void Outliner::Show(Scene& scene) {
    m_isShowing = true;
    if (m_model->Take(RowsOf(scene))) expandAll();
    QItemSelection selection;
    for (INode* node : scene.Selection()) {
        QModelIndex index = m_model->Of(node->GetHandle());
        selection.select(index, index);
    }
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    m_isShowing = false;
}

void Outliner::Select() {
    if (m_isShowing) return;
    TArguments arguments;
    ParamInput::Array names;
    for (const QModelIndex& index : selectionModel()->selectedIndexes())
        names.push_back(ParamInput(m_model->At(index).name.toStdString()));
    arguments["nodes"] = ParamInput(std::move(names));
    m_session.Do([this, arguments](Scene& scene) {
        TCommandResult result = m_session.Commands().Run("scene.select", scene, "", arguments);
        if (!result) m_session.told.Send(MessageLevel::kError, result.error);
    });
}

void Outliner::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F2) return RunWithForm(m_session, "node.rename", {}, this);
    if (event->key() == Qt::Key_Delete) return RunWithForm(m_session, "node.delete", {}, this);
    QTreeView::keyPressEvent(event);
}

void Outliner::contextMenuEvent(QContextMenuEvent* event) {
    QMenu menu;
    for (const char* command :
         {"node.rename", "node.hide", "node.clone", "node.transform", "node.delete"})
        menu.addAction(QString::fromStdString(m_session.Commands().Find(command)->label) + "...",
                       [this, command] { RunWithForm(m_session, command, {}, this); });
    menu.addSeparator();
    menu.addAction("Edit Material", [this] { EditMaterial(); });
    menu.exec(event->globalPos());
}

void Outliner::EditMaterial() {
    m_session.Look([this](Scene& scene) {
        std::vector<INode*> selected = scene.Selection();
        Mtl* material = selected.empty() ? nullptr : selected[0]->GetShownMtl();
        if (!material)
            return m_session.told.Send(MessageLevel::kNote, "The node shows no material");
        m_session.lookWished.Send(material->shared_from_this());
    });
}
