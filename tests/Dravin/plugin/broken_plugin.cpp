// A module that is built for another version of the host, lacks a function, or (as a mere library)
// is for none; or one that crashes as soon as it is loaded.
#include <cstdint>
#include <cstdlib>

#if defined(OTHER_VERSION)
extern "C" {
const char* LibDescription() { return "Broken"; }
int LibNumberClasses() { return 0; }
const void* LibClassDesc(int) { return nullptr; }
uint32_t LibVersion() { return 0x3e802a01; }
int LibInitialize() { return 1; }
#ifndef WITHOUT_SHUTDOWN
int LibShutdown() { return 1; }
#endif
int CanAutoDefer() { return 0; }
int IsDebug() { return 0; }
int GetIDDesc() { return 0; }
}
#elif defined(CRASHING)
static const int kNever = (std::abort(), 0);
extern "C" int NothingOfAPlugin() { return kNever; }
#else
extern "C" int NothingOfAPlugin() { return 0; }
#endif
