#include "apps/studio/viewport/gl_parts.h"

#include <stdexcept>

namespace {

template <class Name>
Name Made(void (*generate)(GLsizei, GLuint*)) {
    GLuint name = 0;
    generate(1, &name);
    return Name(name);
}

GLuint Compile(GLenum kind, const std::string& source) {
    GLuint shader = glCreateShader(kind);
    const char* text = source.c_str();
    glShaderSource(shader, 1, &text, nullptr);
    glCompileShader(shader);
    GLint isGood = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &isGood);
    if (isGood) return shader;
    char log[2000] = "";
    glGetShaderInfoLog(shader, sizeof log, nullptr, log);
    glDeleteShader(shader);
    throw std::runtime_error(log);
}

GlRenderbuffer MakeStore(GLenum format, int width, int height, int samples) {
    auto store = Made<GlRenderbuffer>(glGenRenderbuffers);
    glBindRenderbuffer(GL_RENDERBUFFER, store);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples > 1 ? samples : 0, format, width,
                                     height);
    return store;
}

}  // namespace

GlVertexArray MakeVertexArray() { return Made<GlVertexArray>(glGenVertexArrays); }
GlTexture MakeTexture() { return Made<GlTexture>(glGenTextures); }

GlBuffer MakeBuffer(GLenum target, const void* data, size_t bytes, GLenum usage) {
    auto buffer = Made<GlBuffer>(glGenBuffers);
    glBindBuffer(target, buffer);
    glBufferData(target, GLsizeiptr(bytes), data, usage);
    return buffer;
}

GlTable MakeTable(GLenum format, const void* data, size_t bytes) {
    GlTable table{MakeBuffer(GL_TEXTURE_BUFFER, data, bytes), MakeTexture()};
    glBindTexture(GL_TEXTURE_BUFFER, table.texture);
    glTexBuffer(GL_TEXTURE_BUFFER, format, table.buffer);
    return table;
}

GlProgram MakeProgram(const std::string& vertex, const std::string& fragment) {
    GlProgram program(glCreateProgram());
    GLuint parts[] = {Compile(GL_VERTEX_SHADER, vertex), 0};
    parts[1] = Compile(GL_FRAGMENT_SHADER, fragment);
    for (GLuint part : parts) {
        glAttachShader(program, part);
        glDeleteShader(part);
    }
    glLinkProgram(program);
    GLint isGood = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &isGood);
    if (isGood) return program;
    char log[2000] = "";
    glGetProgramInfoLog(program, sizeof log, nullptr, log);
    throw std::runtime_error(log);
}

GlTarget::GlTarget(int width, int height, int samples)
    : m_width(width), m_height(height), m_samples(samples) {
    m_drawn = Made<GlFramebuffer>(glGenFramebuffers);
    m_color = MakeStore(GL_RGBA8, width, height, samples);
    m_depth = MakeStore(GL_DEPTH_COMPONENT32F, width, height, samples);
    glBindFramebuffer(GL_FRAMEBUFFER, m_drawn);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, m_color);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, m_depth);
    bool isGood = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    if (samples > 1) {
        m_resolved = Made<GlFramebuffer>(glGenFramebuffers);
        m_plain = MakeStore(GL_RGBA8, width, height, 1);
        glBindFramebuffer(GL_FRAMEBUFFER, m_resolved);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, m_plain);
    }
    if (!isGood) throw std::runtime_error("no picture of this size can be drawn into");
}

void GlTarget::Bind() const {
    glBindFramebuffer(GL_FRAMEBUFFER, m_drawn);
    glViewport(0, 0, m_width, m_height);
}

void GlTarget::Read(unsigned char* rgbx) const {
    glBindFramebuffer(GL_READ_FRAMEBUFFER, m_drawn);
    if (m_samples > 1) {
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, m_resolved);
        glBlitFramebuffer(0, 0, m_width, m_height, 0, 0, m_width, m_height, GL_COLOR_BUFFER_BIT,
                          GL_NEAREST);
        glBindFramebuffer(GL_READ_FRAMEBUFFER, m_resolved);
    }
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, m_width, m_height, GL_RGBA, GL_UNSIGNED_BYTE, rgbx);
}
