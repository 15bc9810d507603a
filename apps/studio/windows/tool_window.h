// A window beside the main one: it remembers where it stood, and never opens where no screen is.
//
// Places are kept in the user's settings, below the product's key and the window's name, as Left,
// Top, Width and Height. Escape leaves it open. For the window's thread.
#pragma once

#include <QWidget>

class ToolWindow : public QWidget {
public:
    // name: of the settings; size: in logical pixels, of the first time.
    ToolWindow(const char* name, const QString& title, QSize size, QWidget* parent);

    // Shows it in front, with the focus.
    void Open();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void LoadPlace();
    void SavePlace();

    const char* m_name;
    QSize m_firstSize;
    bool m_isPlaced = false;
};

// The rectangle moved, and where it must be made smaller, so that it lies on the screen.
QRect PlacedOnScreen(QRect place, const QRect& screen);
