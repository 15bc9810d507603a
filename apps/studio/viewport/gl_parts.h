// Owners of OpenGL's objects. All live and die in the thread of their context.
#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include "apps/studio/viewport/gl_api.h"

// A name and how it is given back.
template <void (*Delete)(GLuint)>
class GlName {
public:
    GlName() = default;
    explicit GlName(GLuint name) : m_name(name) {}
    GlName(GlName&& other) noexcept : m_name(std::exchange(other.m_name, 0)) {}
    GlName& operator=(GlName&& other) noexcept {
        std::swap(m_name, other.m_name);
        return *this;
    }
    ~GlName() {
        if (m_name) Delete(m_name);
    }
    operator GLuint() const { return m_name; }

private:
    GLuint m_name = 0;
};

inline void DeleteGlBuffer(GLuint n) { glDeleteBuffers(1, &n); }
inline void DeleteGlTexture(GLuint n) { glDeleteTextures(1, &n); }
inline void DeleteGlVertexArray(GLuint n) { glDeleteVertexArrays(1, &n); }
inline void DeleteGlFramebuffer(GLuint n) { glDeleteFramebuffers(1, &n); }
inline void DeleteGlRenderbuffer(GLuint n) { glDeleteRenderbuffers(1, &n); }
inline void DeleteGlProgram(GLuint n) { glDeleteProgram(n); }

using GlBuffer = GlName<DeleteGlBuffer>;
using GlTexture = GlName<DeleteGlTexture>;
using GlVertexArray = GlName<DeleteGlVertexArray>;
using GlFramebuffer = GlName<DeleteGlFramebuffer>;
using GlRenderbuffer = GlName<DeleteGlRenderbuffer>;
using GlProgram = GlName<DeleteGlProgram>;

GlVertexArray MakeVertexArray();
GlTexture MakeTexture();
GlBuffer MakeBuffer(GLenum target, const void* data, size_t bytes, GLenum usage = GL_STATIC_DRAW);
// A buffer that shaders read by place, as four or one unsigned numbers of 32 bits.
struct GlTable {
    GlBuffer buffer;
    GlTexture texture;
};
GlTable MakeTable(GLenum format, const void* data, size_t bytes);

// Throws std::runtime_error with the compiler's text.
GlProgram MakeProgram(const std::string& vertex, const std::string& fragment);

// A picture to draw into, with depth; samples above 1 are resolved before it is read.
class GlTarget {
public:
    GlTarget(int width, int height, int samples);
    int Width() const { return m_width; }
    int Height() const { return m_height; }
    int Samples() const { return m_samples; }
    void Bind() const;
    // Rows as they were drawn, red, green, blue and one more byte a pixel.
    void Read(unsigned char* rgbx) const;

private:
    int m_width, m_height, m_samples;
    GlFramebuffer m_drawn, m_resolved;
    GlRenderbuffer m_color, m_depth, m_plain;
};
