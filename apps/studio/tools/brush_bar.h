// Fields for the brush: its size, its strength, and what a pen's pressure changes.
#pragma once

#include <functional>

#include <QWidget>

#include "apps/studio/tools/brush_settings.h"

class NumberField;
class QComboBox;
class QHBoxLayout;

class BrushBar : public QWidget {
public:
    // brush: lives longer.
    explicit BrushBar(BrushSettings& brush);

    std::function<void()> onChanged;
    // After changes from elsewhere.
    void Show();

private:
    NumberField* AddField(QHBoxLayout& row, const char* name, const char* help,
                          std::function<double()> get, std::function<void(double)> set);
    void Changed();

    BrushSettings& m_brush;
    NumberField *m_size, *m_strength;
    QComboBox* m_pen;
    double m_from = 0;  // of the drag
};
