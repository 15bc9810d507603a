#include "Dravin/render/build_report.h"

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/render/object_registry.h"
#include "host/scene/host_context.h"

namespace {

constexpr const char* kCaption = "Tavu Software";
constexpr const char* kText =
    "Some Dravin objects were not built correctly in the last render.\n"
    "See \"View Stats\" (General rollout) to get additional information about the error:\n\n";
constexpr int kReservedGood = 9;  // of earlier versions, which it meant no failure to

bool IsGood(TBuildStatus status) {
    return status == TBuildStatus::kSuccess || int(status) == kReservedGood ||
           status == TBuildStatus::kDisabled;
}

}  // namespace

void TBuildReport::Check(const TDravin& object) {
    if (IsGood(object.Build().Status()) || m_count >= kMostNames) return;
    ++m_count;
    const INode* node = ShownBy(object);
    m_names += (node ? node->GetName() : std::string()) + "\n";
}

void TBuildReport::Show() const {
    HostContext* session = HostContext::Current();
    if (IsEmpty() || !session) return;
    session->UserInterface().MessageBox(kText + m_names, kCaption, MessageKind::kWarning);
}
