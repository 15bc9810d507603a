#include "Dravin/config/system_log.h"

#include <fmt/format.h>

#include "Dravin/config/version.h"
#include "host/base/text.h"

namespace {

constexpr size_t kMostCharacters = 2048;

}  // namespace

std::string SystemLogLine(const std::string& message, const std::string& object) {
    std::string owner = object.empty() ? "" : fmt::format("'{}' : ", object);
    return fmt::format("DRAVIN {} {}{}", ProductVersion(), owner,
                       CutText(message, kMostCharacters));
}

void SystemLog(LogKind kind, const std::string& message) {
    if (IsLogged(kind)) Log(kind, SystemLogLine(message));
}
