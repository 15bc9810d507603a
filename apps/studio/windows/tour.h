// A walk through the window in a few steps: each shows one part of it in the light, the rest
// dimmed, with a few words beside. Keys: Right or Enter goes on, Left back, Escape ends it.
#pragma once

#include <functional>
#include <vector>

#include <QString>
#include <QWidget>

class QLabel;
class QPushButton;

struct TourStep {
    // Null, or a part that is hidden: the middle of the window.
    std::function<QWidget*()> part;
    QString title, text;
};

// A sheet over the window, which it follows in size. Deletes itself at the end.
class Tour : public QWidget {
public:
    Tour(std::vector<TourStep> steps, QWidget& window);

    void GoTo(size_t step);
    size_t Step() const { return m_step; }
    size_t NumSteps() const { return m_steps.size(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    QRect PartRect() const;
    void Lay();
    void Next();
    void End();

    std::vector<TourStep> m_steps;
    size_t m_step = 0;
    QWidget* m_bubble;
    QLabel *m_title, *m_text, *m_place;
    QPushButton *m_back, *m_next;
};
