#include "apps/studio/windows/look_list.h"

#include <algorithm>

#include <QPixmap>

#include "apps/studio/theme.h"
#include "apps/studio/windows/look_previews.h"

void LookModel::Read(Scene& scene, LookKind kind, double ratio) {
    m_ratio = ratio;
    std::vector<Row> rows;
    for (const SceneLook& look : LooksOf(scene, kind)) {
        QString detail = QString::fromStdString(look.target->ClassName());
        if (!look.isNamed) detail += ", of a model";
        rows.push_back({QString::fromStdString(look.path), detail, look.target,
                        LookPrint(*look.target, scene.GetTime())});
    }
    bool isSame = std::equal(rows.begin(), rows.end(), m_rows.begin(), m_rows.end(),
                             [](const Row& a, const Row& b) {
                                 return a.path == b.path && a.target.lock() == b.target.lock();
                             });
    if (!isSame) beginResetModel();
    m_rows = std::move(rows);
    if (!isSame) return endResetModel();
    PictureCame();
}

void LookModel::PictureCame() {
    if (!m_rows.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1));
}

QString LookModel::PathAt(int row) const {
    return row >= 0 && row < rowCount() ? m_rows[size_t(row)].path : QString();
}

std::shared_ptr<ReferenceTarget> LookModel::TargetAt(int row) const {
    return row >= 0 && row < rowCount() ? m_rows[size_t(row)].target.lock() : nullptr;
}

int LookModel::RowOf(const ReferenceTarget* look) const {
    for (int row = 0; look && row < rowCount(); ++row)
        if (m_rows[size_t(row)].target.lock().get() == look) return row;
    return -1;
}

int LookModel::RowOf(const QString& path) const {
    for (int row = 0; row < rowCount(); ++row)
        if (m_rows[size_t(row)].path == path) return row;
    return -1;
}

QVariant LookModel::data(const QModelIndex& index, int role) const {
    const Row& row = m_rows[size_t(index.row())];
    if (role == Qt::DisplayRole) return row.path;
    if (role == Qt::ToolTipRole) return row.path + "\n" + row.detail;
    if (role != Qt::DecorationRole) return {};
    const QImage* image = m_previews.Find({row.print, PictureSide()});
    if (!image && onPictureMissing) onPictureMissing();
    QPixmap pixmap(PictureSide(), PictureSide());
    pixmap.fill(CurrentColors().field);
    if (image) pixmap = QPixmap::fromImage(*image);
    pixmap.setDevicePixelRatio(m_ratio);
    return pixmap;
}
