// The settings of snapping, beside the views.
#pragma once

#include <functional>

#include <QDialog>

#include "apps/studio/tools/snap_settings.h"

class QFormLayout;

class SnapWindow : public QDialog {
public:
    // settings: lives longer. onChanged: after each change of it.
    SnapWindow(SnapSettings& settings, std::function<void()> onChanged, QWidget* parent);

private:
    void AddTick(QFormLayout& form, const char* name, const char* text, bool& value);
    void AddStep(QFormLayout& form, const char* name, const char* text, double& value,
                 double usual);
    void Changed();

    SnapSettings& m_settings;
    std::function<void()> m_onChanged;
};
