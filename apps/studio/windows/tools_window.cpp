#include "apps/studio/windows/tools_window.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "apps/studio/command_form.h"
#include "apps/studio/studio_session.h"

namespace {

struct Tool {
    const char* group;
    const char* label;
    const char* command;
};
constexpr Tool kTools[] = {
    {"Instances", "Turn Items into Nodes", "tools.instantiate"},
    {"", "Delete Those Nodes", "tools.delete_instances"},
    {"", "Enable Geometry Again", "tools.enable_geometry"},
    {"Data", "Export Items...", "tools.export"},
};

}  // namespace

ToolsWindow::ToolsWindow(StudioSession& session, QWidget* parent)
    : ToolWindow("Tools", "Dravin Tools", {300, 240}, parent) {
    auto* column = new QVBoxLayout(this);
    auto* about = new QLabel("Work on the selected scatter objects.");
    about->setWordWrap(true);
    column->addWidget(about);
    for (const Tool& tool : kTools) {
        if (*tool.group) {
            auto* title = new QLabel(tool.group);
            title->setObjectName("group");
            column->addWidget(title);
        }
        auto* push = new QPushButton(tool.label);
        push->setObjectName(tool.command);
        push->setToolTip(QString::fromStdString(session.Commands().Find(tool.command)->meaning) +
                         "\nIn scripts: " + tool.command);
        connect(push, &QPushButton::clicked, this, [this, &session, command = tool.command] {
            RunWithForm(session, command, {}, this);
        });
        column->addWidget(push);
    }
    column->addStretch(1);
}
