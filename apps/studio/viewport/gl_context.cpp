#include "apps/studio/viewport/gl_context.h"

#include <cstdlib>
#include <sstream>
#include <string_view>
#include <vector>

#define EGL_NO_X11
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include "apps/studio/viewport/gl_api.h"

namespace {

template <class Function>
Function Load(const char* name) {
    return reinterpret_cast<Function>(eglGetProcAddress(name));
}

bool HasWord(const char* words, std::string_view word) {
    if (!words) return false;
    std::istringstream list{words};
    for (std::string each; list >> each;)
        if (each == word) return true;
    return false;
}

// Graphics cards first, then whatever Mesa offers without a window, then software devices.
std::vector<EGLDisplay> Displays() {
    auto display = Load<PFNEGLGETPLATFORMDISPLAYEXTPROC>("eglGetPlatformDisplayEXT");
    auto devices = Load<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT");
    auto deviceText = Load<PFNEGLQUERYDEVICESTRINGEXTPROC>("eglQueryDeviceStringEXT");
    std::vector<EGLDisplay> cards, software;
    if (!display) return {eglGetDisplay(EGL_DEFAULT_DISPLAY)};
    EGLDeviceEXT found[16];
    EGLint count = 0;
    if (devices && deviceText && devices(16, found, &count))
        for (EGLint i = 0; i < count; ++i) {
            bool isSoftware =
                HasWord(deviceText(found[i], EGL_EXTENSIONS), "EGL_MESA_device_software");
            (isSoftware ? software : cards)
                .push_back(display(EGL_PLATFORM_DEVICE_EXT, found[i], nullptr));
        }
    if (HasWord(eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), "EGL_MESA_platform_surfaceless"))
        cards.push_back(display(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr));
    cards.insert(cards.end(), software.begin(), software.end());
    return cards;
}

}  // namespace

std::unique_ptr<GlContext> GlContext::Make(std::string* why) {
    // For machines whose drivers fail, and for whoever wants to see how it is without.
    if (std::getenv("DRAVIN_NO_OPENGL")) {
        *why = "switched off by DRAVIN_NO_OPENGL";
        return nullptr;
    }
    for (EGLDisplay display : Displays()) {
        std::unique_ptr<GlContext> context(new GlContext);
        if (display != EGL_NO_DISPLAY && context->Open(display)) return context;
    }
    *why = "this machine offers no OpenGL 3.3";
    return nullptr;
}

bool GlContext::Open(void* display) {
    if (!eglInitialize(display, nullptr, nullptr) || !eglBindAPI(EGL_OPENGL_API)) return false;
    if (!HasWord(eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_surfaceless_context"))
        return false;
    const EGLint wanted[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_SURFACE_TYPE, EGL_DONT_CARE,
                             EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!eglChooseConfig(display, wanted, &config, 1, &count) || count == 0) return false;
    const EGLint version[] = {EGL_CONTEXT_MAJOR_VERSION,
                              3,
                              EGL_CONTEXT_MINOR_VERSION,
                              3,
                              EGL_CONTEXT_OPENGL_PROFILE_MASK,
                              EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                              EGL_NONE};
    EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, version);
    if (context == EGL_NO_CONTEXT) return false;
    m_display = display, m_context = context;
    if (!eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context)) return false;
    auto* name = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    m_name = name ? name : "OpenGL";
    for (const char* software : {"llvmpipe", "softpipe", "SWR", "swrast"})
        m_isSoftware |= m_name.find(software) != std::string::npos;
    return true;
}

GlContext::~GlContext() {
    if (!m_context) return;
    eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(m_display, m_context);
    eglReleaseThread();
}
