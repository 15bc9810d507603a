#include "Dravin/build/object_log.h"

#include "Dravin/build/dravin_build.h"
#include "Dravin/config/system_log.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "host/scene/host_context.h"

TObjectLog::TObjectLog(const TDravin& object)
    : m_isForced(HostContext::Current() && DravinGlobals().options.forceLog),
      m_isRendering(object.updateState.isRendering || object.Build().IsRender()) {
    if (INode* node = GetWorldNode(object)) m_name = node->GetName();
}

void TObjectLog::operator()(LogKind kind, const std::string& message) const {
    if (m_isForced)
        LogAlways(kind, SystemLogLine(message, m_name));
    else if (m_isRendering && IsLogged(kind))
        Log(kind, SystemLogLine(message, m_name));
}
