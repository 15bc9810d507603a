// Pictures of viewports by OpenGL 3.3: smooth faces with textures, instances of sources by level of
// detail, lines and grid; dots come from the splatter of Dravin/viewport and stand among them.
#pragma once

#include <functional>
#include <map>
#include <optional>

#include "Dravin/viewport/splat_buffer.h"
#include "Dravin/viewport/viewport_plan.h"
#include "apps/studio/viewport/gl_store.h"
#include "apps/studio/viewport/view_request.h"

// In the thread of its context.
class GlDrawing {
public:
    // Compiles the programs and draws with each, since drivers finish them at their first use.
    // Throws std::runtime_error.
    GlDrawing();

    // Asked between pieces: true gives the picture up.
    using IsStale = std::function<bool()>;
    // settings: those of the request, with its budgets; smoothing: samples a pixel. None when it
    // was given up. Throws std::runtime_error when the card cannot.
    std::optional<ViewPicture> Draw(const ViewRequest& request, const TViewportSettings& settings,
                                    int smoothing, const IsStale& isStale);
    const GlStore& Store() const { return m_store; }

private:
    struct Group;
    struct Job;

    void Warm();
    void Begin(const Job& job);
    void UseTransform(const Job& job, const Matrix3& toWorld);
    void UsePaint(const Job& job, const TViewPaint& paint);
    bool DrawNodes(const Job& job);
    void DrawNode(const Job& job, const TViewNode& node);
    bool DrawInstances(const Job& job, ViewPicture* picture);
    bool DrawGroups(const Job& job, const TViewNode& node, const std::vector<Group>& groups);
    void DrawParts(const Job& job, const GlMesh& mesh, size_t level,
                   const std::vector<TViewPaint>& paints, int instances);
    void DrawSplats(const Job& job, ViewPicture* picture);
    void DrawLines(const Job& job);
    void DrawBackground(const Job& job);
    GlTarget& Target(int width, int height, int samples);
    GLint Uniform(GLuint program, const char* name);

    GlProgram m_mesh, m_line, m_dots;
    std::map<std::pair<GLuint, std::string>, GLint> m_uniforms;
    GlStore m_store;
    GlVertexArray m_lineLayout, m_noLayout;
    GlBuffer m_lineBuffer, m_instances;
    GlTexture m_splats;
    GlTable m_none;  // where a program wants a table and there is none
    int m_splatWidth = 0, m_splatHeight = 0;
    std::vector<std::unique_ptr<GlTarget>> m_targets;
};
