// The pictures that were rendered, newest first, as the model of a list.
//
// The oldest go when there are more than thirty, or when they take more memory than half a
// gibibyte.
#pragma once

#include <deque>
#include <memory>

#include <QAbstractListModel>
#include <QImage>

#include "host/render/picture.h"

struct RenderedPicture {
    Picture picture;
    QImage image;     // as it is shown
    QString name;     // "3  oak.json"
    QString details;  // size, samples, time
};

// 8 bits a channel, display colours.
QImage ImageOf(const Picture& picture);

class RenderHistory : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    void Add(RenderedPicture rendered);
    void Remove(int row);
    int NextNumber() const { return m_numAdded + 1; }
    // Shared, so that a picture that is shown outlives its row. Null outside.
    std::shared_ptr<const RenderedPicture> At(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    struct Entry {
        std::shared_ptr<const RenderedPicture> rendered;
        QImage thumbnail;
        size_t bytes;
    };
    std::deque<Entry> m_entries;
    int m_numAdded = 0;
};
