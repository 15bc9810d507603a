#include "Dravin/config/confirmation.h"

#include "host/scene/host_context.h"

bool IsConfirmed(const char* question) {
    HostContext* context = HostContext::Current();
    return context && context->UserInterface().Question(question, "Dravin Pack") == Answer::kYes;
}
