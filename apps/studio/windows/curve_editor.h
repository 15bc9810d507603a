// The curve editor: one falloff curve, or the curve of an effect's parameter, with presets, typed
// numbers, and how many items of the last build stand where on it. The scene follows while the hand
// drags; a drag is one undo step.
#pragma once

#include <functional>
#include <optional>

#include <QWidget>

#include "Dravin/commands/curve_session.h"
#include "apps/studio/studio_session.h"

class CurveView;
class NumberField;
class QComboBox;
class QLabel;

class CurveEditor : public QWidget {
public:
    CurveEditor(StudioSession& session, QWidget* parent);

    // The curve as the scene has it.
    void Show(const INode& node, const TCurvePlace& place);
    CurveView& View() { return *m_view; }
    QComboBox& Presets() { return *m_presets; }
    NumberField& XField() { return *m_x; }
    NumberField& YField() { return *m_y; }

    // Called when the user closes the window.
    std::function<void()> onClose;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    NumberField* MakeField(bool isY);
    std::string Enter(bool isY, const std::string& text);
    void ShowSelected();
    std::optional<TCurvePlace> Place() const;
    void Preview(const std::vector<CurvePoint>& points);
    void PutBack();
    void Store(const std::vector<CurvePoint>& points);
    void ShowUse();

    StudioSession& m_session;
    CurveView* m_view;
    QComboBox* m_presets;
    NumberField *m_x = nullptr, *m_y = nullptr;
    QLabel *m_hint, *m_useHint;
    std::weak_ptr<TDravin> m_object;  // of another scene, once it is replaced
    std::string m_name;
    std::vector<CurvePoint> m_stored, m_wish;
    float m_yMax = 100;
    bool m_previewWaits = false, m_isPreviewed = false;
    Connection m_built;
};
