// The parameters of one effect as fields, with buttons that add, rename, limit and delete them.
#pragma once

#include <string>
#include <vector>

#include <QWidget>

#include "Dravin/commands/effect_check.h"
#include "apps/studio/studio_session.h"

class QFormLayout;
class QVBoxLayout;

class EffectParameterPanel : public QWidget {
public:
    explicit EffectParameterPanel(StudioSession& session);

    void Show(Scene& scene, NodeHandle node, const std::string& effectId,
              const std::vector<TEffectVariable>& variables);
    // The field of a parameter, by its name; null: none.
    QWidget* FieldOf(const std::string& name) const;

private:
    struct Row {
        TEffectVariable variable;
        QWidget* field;
    };
    void Make(const std::vector<TEffectVariable>& variables);
    QWidget* MakeField(const TEffectVariable& variable);
    QWidget* MakeNumber(const TEffectVariable& variable);
    QWidget* MakeTarget(const TEffectVariable& variable);
    void Fill(Scene& scene, Row& row);
    void Call(const char* command, const std::string& parameter, TArguments arguments = {});
    void ShowMenu(const TEffectVariable& variable, const QPoint& global);

    StudioSession& m_session;
    NodeHandle m_node = 0;
    std::string m_effectId;
    QVBoxLayout* m_place;
    QWidget* m_rowsWidget = nullptr;
    std::vector<Row> m_rows;
};
