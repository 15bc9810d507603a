#include "Dravin/tools/lister_commands.h"

#include <fmt/format.h>

#include "Dravin/dravin.h"
#include "host/params/undo_step.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/script/scene_scripts.h"
#include "host/script/script_system.h"

void TListerCommands::Refresh() {
    m_rows.clear();
    for (INode* node : m_scene.Nodes())
        if (auto* object = dynamic_cast<TDravin*>(node->GetObjectRef()))
            m_rows.push_back({node, ListerRow(*object)});
}

std::string TListerCommands::Cell(size_t row, size_t column) const {
    if (row >= m_rows.size() || column >= kNumListerColumns) return {};
    return m_rows[row].cells[column];
}

int TListerCommands::FindRow(const std::string& name) const {
    for (size_t i = 0; i < m_rows.size(); ++i)
        if (m_rows[i].node->GetName() == name) return int(i);
    return -1;
}

void TListerCommands::Select(const std::vector<size_t>& rows) {
    std::vector<INode*> nodes;
    for (size_t row : rows)
        if (row < m_rows.size()) nodes.push_back(m_rows[row].node);
    UndoStep step("Select");
    m_scene.Select(nodes);
}

bool TListerCommands::Hide(size_t row, bool hidden, std::string* error) {
    if (row >= m_rows.size()) {
        *error = fmt::format("the lister has no row {}; it has {}", row, m_rows.size());
        return false;
    }
    UndoStep step(hidden ? "Hide" : "Unhide");
    HostContext& session = *HostContext::Current();
    session.State<SceneScripts>();
    ScriptResult result = session.State<ScriptSystem>().Execute(fmt::format(
        "(maxOps.getnodebyhandle {}).isHidden = {}", m_rows[row].node->GetHandle(), hidden));
    if (result.IsError()) *error = result.error;
    return !result.IsError();
}
