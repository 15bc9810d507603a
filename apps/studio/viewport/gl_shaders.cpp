#include "apps/studio/viewport/gl_shaders.h"

const char* const kMeshVertexShader = R"(#version 330 core
layout(location = 0) in vec3 place;
layout(location = 1) in vec4 normal;
layout(location = 2) in vec2 uv;
layout(location = 3) in vec4 color;
layout(location = 4) in uint element;
layout(location = 5) in uint item;
uniform mat4x3 toView;
uniform mat3 normalToView;
uniform mat4 projection;
uniform bool isInstance, isEdited, usesVertexColors;
uniform float closer;
uniform usamplerBuffer items, hidden;
uniform int hiddenWords;
uniform vec3 paint, selected;
uniform mat3x2 mapPlace;
out vec3 viewPlace, viewNormal;
out vec2 mapUv;
flat out vec4 tint;
out vec3 vertexColor;
flat out vec3 plain;

void main() {
    vec3 p = place, n = normal.xyz;
    tint = vec4(0);
    plain = paint;
    bool isGone = false;
    if (isInstance) {
        int first = int(item) * 4;
        uvec4 a = texelFetch(items, first), b = texelFetch(items, first + 1);
        uvec4 c = texelFetch(items, first + 2), d = texelFetch(items, first + 3);
        vec3 x = uintBitsToFloat(a.xyz), y = uintBitsToFloat(uvec3(a.w, b.xy));
        vec3 z = uintBitsToFloat(uvec3(b.zw, c.x)), o = uintBitsToFloat(c.yzw);
        p = x * place.x + y * place.y + z * place.z + o;
        n = cross(y, z) * n.x + cross(z, x) * n.y + cross(x, y) * n.z;
        tint = vec4(uvec4(d.z, d.z >> 8u, d.z >> 16u, d.z >> 24u) & 255u) / 255.0;
        if (isEdited && (d.w & 1u) != 0u) {
            plain = selected;
            tint.a = -1.0;
        }
        if ((d.w & 2u) != 0u) {
            int word = int(d.w >> 8u) * hiddenWords + int(element >> 5u);
            isGone = (texelFetch(hidden, word).x >> (element & 31u) & 1u) != 0u;
        }
    }
    viewPlace = toView * vec4(p, 1);
    viewNormal = normalToView * n;
    mapUv = mapPlace * vec3(uv, 1);
    vertexColor = usesVertexColors ? color.rgb : vec3(1);
    gl_Position = projection * vec4(viewPlace, 1);
    gl_Position.z -= closer * gl_Position.w;
    if (isGone) gl_Position = vec4(2, 2, 2, 1);
}
)";

const char* const kMeshFragmentShader = R"(#version 330 core
in vec3 viewPlace, viewNormal;
in vec2 mapUv;
flat in vec4 tint;
in vec3 vertexColor;
flat in vec3 plain;
uniform vec3 light;
uniform bool isTextured, hasColorMap, isParallel, isUnlit;
uniform float opacity, cutoff;
uniform sampler2D image;
out vec4 result;

// Whether the fixed pattern of an opacity covers the pixel.
bool covers(float value) {
    const int order[16] = int[16](0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5);
    ivec2 at = ivec2(gl_FragCoord.xy) & 3;
    return value * 16.0 > float(order[at.y * 4 + at.x]);
}

void main() {
    vec3 color = plain;
    float alpha = opacity;
    if (isTextured) {
        vec4 texel = texture(image, mapUv);
        if (tint.a >= 0.0 && hasColorMap) color = texel.rgb;
        if (cutoff > 0.0) {
            if (texel.a < cutoff) discard;
        } else {
            alpha *= texel.a;
        }
    }
    if (alpha < 1.0 && !covers(alpha)) discard;
    color *= vertexColor;
    if (tint.a > 0.0) color = tint.rgb * color * tint.a + color * (1.0 - tint.a);
    float lit = 1.0;
    if (!isUnlit) {
        float size = length(viewNormal);
        vec3 n = size > 0.0 ? viewNormal / size : vec3(0, 0, 1);
        vec3 towards = isParallel ? vec3(0, 0, -1) : viewPlace;
        if (dot(n, towards) > 0.0) n = -n;
        lit = 0.62 + 0.38 * dot(n, light);
    }
    result = vec4(color * lit, 1);
}
)";

const char* const kLineVertexShader = R"(#version 330 core
layout(location = 0) in vec3 place;
layout(location = 1) in vec4 color;
uniform mat4 projection;
uniform float closer;
out vec4 shown;

void main() {
    gl_Position = projection * vec4(place, 1);
    gl_Position.z -= closer * gl_Position.w;
    shown = color;
}
)";

const char* const kLineFragmentShader = R"(#version 330 core
in vec4 shown;
out vec4 result;

void main() { result = vec4(shown.rgb, 1); }
)";

const char* const kDotsVertexShader = R"(#version 330 core
void main() {
    vec2 corner = vec2(gl_VertexID & 1, gl_VertexID >> 1) * 4.0 - 1.0;
    gl_Position = vec4(corner, 0, 1);
}
)";

const char* const kDotsFragmentShader = R"(#version 330 core
uniform usampler2D pixels;
uniform float depthScale;
out vec4 result;

void main() {
    uvec2 pixel = texelFetch(pixels, ivec2(gl_FragCoord.xy), 0).xy;
    if (pixel == uvec2(0xFFFFFFFFu)) discard;
    gl_FragDepth = clamp(1.0 - uintBitsToFloat(~pixel.y) * depthScale, 0.0, 1.0);
    result = vec4(vec3(uvec3(pixel.x, pixel.x >> 8u, pixel.x >> 16u) & 255u) / 255.0, 1);
}
)";
