#include "Dravin/render/scatter_proxies.h"

#include <fmt/format.h>

#include "Dravin/config/system_log.h"
#include "Dravin/dravin.h"
#include "Dravin/render/build_report.h"
#include "Dravin/render/object_registry.h"
#include "Dravin/render/record_maker.h"
#include "Dravin/render/render_state.h"
#include "host/scene/host_context.h"

TScatterProxies& TScatterProxies::Current() {
    return HostContext::Current()->State<TScatterProxies>();
}

void TScatterProxies::ReleaseRecords() {
    m_records = {};
    m_count = 0;
}

void TScatterProxies::Calculate(TimeValue t) {
    ReleaseRecords();
    m_objects.clear();
    std::vector<std::pair<std::shared_ptr<TDravin>, TRecordMaker>> made;
    size_t total = 0;
    for (const auto& object : TObjectRegistry::Current()->ShownObjects()) {
        if (object->Block(kDispParams).GetInt(dispParams::kRendermode, t) != kRenderAutomatic)
            continue;
        object->Build().ResetStatus();
        object->Render().BuildForRender(t);
        made.emplace_back(object, TRecordMaker(*object, object->Build(), TRecordsOf::kShownItems));
        m_objects.push_back(object);
        total += made.back().second.Count();
        SystemLog(LogKind::kDebug, fmt::format("CalculateScatterProxy ({} items)", total));
    }
    if (total == 0) return;
    m_records = HugeBuffer(total * sizeof(TDravinInstanceV1));
    TDravinInstanceV1* next = Data();
    for (const auto& [object, maker] : made) {
        SystemLog(LogKind::kDebug,
                  fmt::format("CalculateScatterProxy generating ScatterObjects ({} items)",
                              object->Build().Items().Count()));
        maker.Write(next, nullptr, &object->Build().ObjectTM());
        next += maker.Count();
    }
    m_count = total;
}

void TScatterProxies::Free() {
    TBuildReport report;
    for (const std::weak_ptr<TDravin>& held : std::exchange(m_objects, {})) {
        SystemLog(LogKind::kDebug,
                  fmt::format("freeScatterProxy clearing ({} total instances)", m_count));
        std::shared_ptr<TDravin> object = held.lock();
        if (!object) continue;
        report.Check(*object);
        TimeValue now = HostTimeOf(*object);
        object->Render().Finish(now);
        object->Build().BuildMesh(now, {});
    }
    ReleaseRecords();
    report.Show();
}

TDravinInstanceV1* TScatterProxies::Data() {
    return reinterpret_cast<TDravinInstanceV1*>(m_records.Data());
}

std::span<const TDravinInstanceV1> TScatterProxies::Records() const {
    return {reinterpret_cast<const TDravinInstanceV1*>(m_records.Data()), m_count};
}
