// A picture, or two of them on the two sides of a line that a hand moves.
//
// The wheel zooms to the pointer, the middle button pans, a double click shows all of it again.
// Left and Right move the line.
#pragma once

#include <QImage>
#include <QWidget>

class PictureCompare : public QWidget {
public:
    explicit PictureCompare(QWidget* parent = nullptr);

    // b: null shows a alone. Zoom and place stay where the size does.
    void Show(const QImage& a, const QImage& b);
    // Where the line stands, 0 left to 1 right of the picture.
    double Split() const { return m_split; }
    void SetSplit(double split);
    bool IsComparing() const { return !m_a.isNull() && !m_b.isNull(); }
    void Fit();
    // The place of the picture in the widget.
    QRectF PictureRect() const;
    QSize sizeHint() const override { return {720, 420}; }

protected:
    void paintEvent(QPaintEvent*) override;
    void resizeEvent(QResizeEvent*) override;
    void mousePressEvent(QMouseEvent*) override;
    void mouseMoveEvent(QMouseEvent*) override;
    void mouseDoubleClickEvent(QMouseEvent*) override;
    void wheelEvent(QWheelEvent*) override;
    void keyPressEvent(QKeyEvent*) override;

private:
    void SplitAt(double x);

    QImage m_a, m_b;
    double m_split = 0.5, m_zoom = 1;
    QPointF m_center, m_last;  // the picture's pixel in the middle; of the pointer
    bool m_isFitted = true;
};
