// Writes the records of the grove to standard output: the scatter system linked into the program.
#include <cstdio>

#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/render/render_notices.h"
#include "host/scene/host_context.h"
#include "tests/Dravin/plugin/grove.h"

int main() {
    HostContext session;
    RegisterDravinClasses(session.classes);
    StartRenderIntegration();
    Grove grove;
    std::string records = grove.Records();
    return std::fwrite(records.data(), 1, records.size(), stdout) == records.size() ? 0 : 1;
}
