#include "apps/studio/windows/render_history.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr size_t kMostPictures = 30;
constexpr size_t kMostBytes = size_t(1) << 29;
constexpr QSize kThumbnail{128, 72};

uchar Byte(float channel) { return uchar(std::lround(std::clamp(channel, 0.f, 1.f) * 255)); }

}  // namespace

QImage ImageOf(const Picture& picture) {
    QImage image(picture.width, picture.height, QImage::Format_RGB888);
    for (int y = 0; y < picture.height; ++y) {
        uchar* line = image.scanLine(y);
        for (int x = 0; x < picture.width; ++x) {
            Color shown =
                picture.Shown(picture.pixels[size_t(y) * size_t(picture.width) + size_t(x)]);
            line[3 * x] = Byte(shown.r), line[3 * x + 1] = Byte(shown.g);
            line[3 * x + 2] = Byte(shown.b);
        }
    }
    return image;
}

void RenderHistory::Add(RenderedPicture rendered) {
    Entry entry;
    entry.thumbnail =
        rendered.image.scaled(kThumbnail, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    entry.bytes =
        rendered.picture.pixels.size() * sizeof(Color) + size_t(rendered.image.sizeInBytes());
    entry.rendered = std::make_shared<const RenderedPicture>(std::move(rendered));
    ++m_numAdded;
    beginInsertRows({}, 0, 0);
    m_entries.push_front(std::move(entry));
    endInsertRows();
    auto bytes = [this] {
        size_t all = 0;
        for (const Entry& e : m_entries) all += e.bytes;
        return all;
    };
    while (m_entries.size() > kMostPictures || (m_entries.size() > 1 && bytes() > kMostBytes))
        Remove(int(m_entries.size()) - 1);
}

void RenderHistory::Remove(int row) {
    if (row < 0 || row >= rowCount()) return;
    beginRemoveRows({}, row, row);
    m_entries.erase(m_entries.begin() + row);
    endRemoveRows();
}

std::shared_ptr<const RenderedPicture> RenderHistory::At(int row) const {
    return row >= 0 && row < rowCount() ? m_entries[size_t(row)].rendered : nullptr;
}

int RenderHistory::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_entries.size());
}

QVariant RenderHistory::data(const QModelIndex& index, int role) const {
    const Entry& entry = m_entries[size_t(index.row())];
    if (role == Qt::DisplayRole) return entry.rendered->name;
    if (role == Qt::ToolTipRole) return entry.rendered->name + "\n" + entry.rendered->details;
    if (role == Qt::DecorationRole) return entry.thumbnail;
    return {};
}
