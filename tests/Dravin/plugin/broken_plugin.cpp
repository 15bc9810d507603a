// A module that is built for another version of the host, or (as a mere library) for none.
#include <cstdint>

#ifdef OTHER_VERSION
extern "C" {
const char* LibDescription() { return "Broken"; }
int LibNumberClasses() { return 0; }
const void* LibClassDesc(int) { return nullptr; }
uint32_t LibVersion() { return 0x3e802a01; }
int LibInitialize() { return 1; }
int LibShutdown() { return 1; }
int CanAutoDefer() { return 0; }
int IsDebug() { return 0; }
int GetIDDesc() { return 0; }
}
#else
extern "C" int NothingOfAPlugin() { return 0; }
#endif
