// Widgets side by side, on as many lines as they need.
#pragma once

#include <QLayout>
#include <QList>

class FlowLayout : public QLayout {
public:
    explicit FlowLayout(QWidget* parent) : QLayout(parent) {
        setContentsMargins(0, 0, 0, 0);
        setSpacing(4);
    }
    ~FlowLayout() override {
        while (QLayoutItem* item = takeAt(0)) delete item;
    }
    void addItem(QLayoutItem* item) override { m_items.append(item); }
    int count() const override { return int(m_items.size()); }
    QLayoutItem* itemAt(int i) const override { return m_items.value(i); }
    QLayoutItem* takeAt(int i) override {
        return i >= 0 && i < m_items.size() ? m_items.takeAt(i) : nullptr;
    }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override { return Place({0, 0, width, 0}, false); }
    QSize minimumSize() const override {
        QSize size;
        for (QLayoutItem* item : m_items) size = size.expandedTo(item->minimumSize());
        return size;
    }
    QSize sizeHint() const override { return minimumSize(); }
    void setGeometry(const QRect& rect) override {
        QLayout::setGeometry(rect);
        Place(rect, true);
    }

private:
    int Place(const QRect& rect, bool moves) const {
        int x = rect.x(), y = rect.y(), line = 0;
        for (QLayoutItem* item : m_items) {
            QSize size = item->sizeHint();
            if (x > rect.x() && x + size.width() > rect.x() + rect.width()) {
                x = rect.x();
                y += line + spacing();
                line = 0;
            }
            if (moves) item->setGeometry({QPoint(x, y), size});
            x += size.width() + spacing();
            line = std::max(line, size.height());
        }
        return y + line - rect.y();
    }
    QList<QLayoutItem*> m_items;
};
