// An OpenGL 3.3 core context without a window or a display, through EGL: on a graphics card where
// there is one, else on Mesa's software driver.
#pragma once

#include <memory>
#include <string>

class GlContext {
public:
    // Becomes current in this thread, which alone may use it, and destroys it. Threads of a
    // software driver inherit the niceness of this one. Null with a reason in `why` where there is
    // none.
    static std::unique_ptr<GlContext> Make(std::string* why);
    ~GlContext();
    GlContext(const GlContext&) = delete;
    GlContext& operator=(const GlContext&) = delete;

    // "llvmpipe (LLVM 15.0.6, 256 bits)" and the like.
    const std::string& Name() const { return m_name; }
    bool IsSoftware() const { return m_isSoftware; }

private:
    GlContext() = default;
    bool Open(void* display);

    void *m_display = nullptr, *m_context = nullptr;
    std::string m_name;
    bool m_isSoftware = false;
};
