#include "Dravin/config/version.h"

std::string ProductVersion() { return DRAVIN_VERSION; }
