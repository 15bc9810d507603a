// The version of the host library, for whoever looks into it.
#include <cstdint>

#include "host/scene/plugin_loader.h"

extern "C" uint32_t dravin_host_version() { return kHostApiVersion; }
