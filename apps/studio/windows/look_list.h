// Materials or maps of a scene as a list: pictures, names, classes.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QAbstractListModel>

#include "Dravin/materials/scene_looks.h"

class LookPreviews;

class LookModel : public QAbstractListModel {
public:
    static constexpr int kSide = 40;  // of pictures, pixels

    LookModel(const LookPreviews& previews, QObject* parent)
        : QAbstractListModel(parent), m_previews(previews) {}

    // A row that is being drawn has no picture yet.
    std::function<void()> onPictureMissing;

    // Rows that stay the same keep their selection. ratio: physical pixels in a logical one.
    void Read(Scene& scene, LookKind kind, double ratio);
    void PictureCame();

    // Empty outside.
    QString PathAt(int row) const;
    std::shared_ptr<ReferenceTarget> TargetAt(int row) const;
    uint64_t PrintAt(int row) const { return m_rows.at(size_t(row)).print; }
    int PictureSide() const { return int(kSide * m_ratio); }
    // -1: not there.
    int RowOf(const ReferenceTarget* look) const;
    int RowOf(const QString& path) const;

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : int(m_rows.size());
    }
    QVariant data(const QModelIndex& index, int role) const override;

private:
    struct Row {
        QString path, detail;
        std::weak_ptr<ReferenceTarget> target;
        uint64_t print = 0;
    };
    const LookPreviews& m_previews;
    std::vector<Row> m_rows;
    double m_ratio = 1;
};
