#include "apps/studio/windows/tour.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>

#include "apps/studio/theme.h"
#include "apps/studio/windows/tool_window.h"

namespace {

constexpr int kGap = 12, kBubbleWidth = 340;

}  // namespace

Tour::Tour(std::vector<TourStep> steps, QWidget& window)
    : QWidget(&window), m_steps(std::move(steps)) {
    setObjectName("tour");
    setAccessibleName("Tour");
    setFocusPolicy(Qt::StrongFocus);
    m_bubble = new QWidget(this);
    m_bubble->setAutoFillBackground(true);
    m_title = new QLabel;
    m_title->setObjectName("tour_title");
    QFont bold = m_title->font();
    bold.setBold(true);
    m_title->setFont(bold);
    m_text = new QLabel;
    m_text->setWordWrap(true);
    m_place = new QLabel;
    m_back = new QPushButton("Back");
    m_next = new QPushButton("Next");
    auto* end = new QPushButton("End Tour");
    connect(m_back, &QPushButton::clicked, this, [this] { GoTo(m_step - 1); });
    connect(m_next, &QPushButton::clicked, this, [this] { Next(); });
    connect(end, &QPushButton::clicked, this, [this] { End(); });
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_place, 1);
    for (QPushButton* button : {end, m_back, m_next}) buttons->addWidget(button);
    auto* column = new QVBoxLayout(m_bubble);
    column->addWidget(m_title);
    column->addWidget(m_text);
    column->addLayout(buttons);
    m_bubble->setFixedWidth(kBubbleWidth);
    window.installEventFilter(this);
    GoTo(0);
    show();
    raise();
    setFocus();
}

void Tour::GoTo(size_t step) {
    if (step >= m_steps.size()) return;
    m_step = step;
    m_title->setText(m_steps[step].title);
    m_text->setText(m_steps[step].text);
    m_place->setText(QString("%1 of %2").arg(step + 1).arg(m_steps.size()));
    m_back->setEnabled(step > 0);
    m_next->setText(step + 1 < m_steps.size() ? "Next" : "Done");
    Lay();
}

void Tour::Next() {
    if (m_step + 1 < m_steps.size()) return GoTo(m_step + 1);
    End();
}

void Tour::End() {
    hide();
    deleteLater();
}

// In the window's coordinates; empty where the step has no part that is seen.
QRect Tour::PartRect() const {
    QWidget* part = m_steps[m_step].part ? m_steps[m_step].part() : nullptr;
    if (!part || !part->isVisible()) return {};
    QRect place(part->mapTo(parentWidget(), QPoint()), part->size());
    return place.adjusted(-4, -4, 4, 4) & parentWidget()->rect();
}

// Beside the part where there is room, else over it.
void Tour::Lay() {
    setGeometry(parentWidget()->rect());
    m_text->setFixedHeight(m_text->heightForWidth(kBubbleWidth - 24));
    m_bubble->adjustSize();
    QRect part = PartRect();
    QRect bubble(QPoint(), m_bubble->size());
    bubble.moveCenter(part.isEmpty() ? rect().center() : part.center());
    if (!part.isEmpty()) {
        if (part.right() + kGap + bubble.width() < width())
            bubble.moveLeft(part.right() + kGap);
        else if (part.left() - kGap - bubble.width() > 0)
            bubble.moveRight(part.left() - kGap);
        else if (part.bottom() + kGap + bubble.height() < height())
            bubble.moveTop(part.bottom() + kGap);
        else
            bubble.moveBottom(part.top() - kGap);
    }
    m_bubble->setGeometry(PlacedOnScreen(bubble, rect().adjusted(8, 8, -8, -8)));
    update();
}

bool Tour::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::Resize) Lay();
    return false;
}

void Tour::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath dimmed, part;
    dimmed.addRect(rect());
    QRect lit = PartRect();
    part.addRoundedRect(lit, 6, 6);
    painter.fillPath(dimmed - part, QColor(0, 0, 0, 140));
    if (lit.isEmpty()) return;
    painter.setPen(QPen(CurrentColors().accent, 2));
    painter.drawPath(part);
}

void Tour::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Escape:
            return End();
        case Qt::Key_Right:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            return Next();
        case Qt::Key_Left:
            if (m_step > 0) GoTo(m_step - 1);
            return;
        default:
            QWidget::keyPressEvent(event);
    }
}

void Tour::mousePressEvent(QMouseEvent*) { Next(); }
