#include "common/util/report_error.h"

#include "host/base/log.h"
#include "host/scene/host_context.h"

void ReportError(const std::string& text, const std::string& caption) {
    LogWarning(caption + ": " + text);
    if (HostContext* session = HostContext::Current()) session->UserInterface().ListenerPrint(text);
}
