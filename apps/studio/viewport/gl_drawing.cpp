#include "apps/studio/viewport/gl_drawing.h"

#include <algorithm>
#include <cmath>

#include "Dravin/viewport/view_paint.h"
#include "apps/studio/viewport/gl_drawing_job.h"
#include "apps/studio/viewport/gl_shaders.h"

namespace {

constexpr size_t kMaxTargets = 6;
constexpr float kEdgesCloser = 2e-4f, kLinesCloser = 1e-5f;

struct LineVertex {
    Point3 place;
    uint32_t color;
};

void MakeProjection(const TViewportCamera& camera, float m[16]) {
    std::fill(m, m + 16, 0.f);
    m[0] = 1 / camera.SlopeX(), m[5] = -1 / camera.SlopeY();
    if (camera.IsParallel()) {
        m[10] = -2 / camera.Extent(), m[14] = -1, m[15] = 1;
    } else {
        m[10] = -1, m[14] = -2 * camera.Nearest(), m[11] = -1;
    }
}

// Columns of the matrix that turns normals.
void MakeNormalMatrix(const Matrix3& m, float out[9]) {
    Point3 columns[3] = {CrossProd(m.row[1], m.row[2]), CrossProd(m.row[2], m.row[0]),
                         CrossProd(m.row[0], m.row[1])};
    for (int c = 0; c < 3; ++c)
        for (int r = 0; r < 3; ++r) out[c * 3 + r] = columns[c][r];
}

// The paints of an object mesh with one more, for the faces of selected items.
std::vector<uint16_t> WithSelection(const TViewNode& node, size_t numPaints) {
    std::vector<uint16_t> paints = node.facePaint;
    if (!node.scatter || !node.scatter->isEdited) return paints;
    const BitArray& selected = node.scatter->selectedFaces;
    if (paints.empty())
        for (const Face& face : node.mesh->faces) paints.push_back(face.matID);
    for (size_t f = 0; f < std::min<size_t>(paints.size(), selected.GetSize()); ++f) {
        paints[f] = uint16_t(paints[f] % numPaints);
        if (selected[f]) paints[f] = uint16_t(numPaints);
    }
    return paints;
}

}  // namespace

GlDrawing::GlDrawing() {
    m_mesh = MakeProgram(kMeshVertexShader, kMeshFragmentShader);
    m_line = MakeProgram(kLineVertexShader, kLineFragmentShader);
    m_dots = MakeProgram(kDotsVertexShader, kDotsFragmentShader);
    m_noLayout = MakeVertexArray();
    m_lineLayout = MakeVertexArray();
    glBindVertexArray(m_lineLayout);
    m_lineBuffer = MakeBuffer(GL_ARRAY_BUFFER, nullptr, 16, GL_STREAM_DRAW);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, sizeof(LineVertex), nullptr);
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 4, GL_UNSIGNED_BYTE, GL_TRUE, sizeof(LineVertex),
                          reinterpret_cast<const void*>(offsetof(LineVertex, color)));
    m_instances = MakeBuffer(GL_ARRAY_BUFFER, nullptr, 16, GL_STREAM_DRAW);
    m_splats = MakeTexture();
    const uint32_t zeros[16]{};
    m_none = MakeTable(GL_RGBA32UI, zeros, sizeof zeros);
    Warm();
}

GLint GlDrawing::Uniform(GLuint program, const char* name) {
    auto [found, isNew] = m_uniforms.try_emplace({program, name}, -1);
    if (isNew) found->second = glGetUniformLocation(program, name);
    return found->second;
}

// One small picture with a textured mesh, an item, dots and lines: with and without smoothing.
void GlDrawing::Warm() {
    auto scatter = std::make_shared<TViewScatter>();
    auto mesh = std::make_shared<Mesh>();
    mesh->verts = {{0, 0, 0}, {1, 0, 0}, {0, 1, 1}};
    mesh->faces = {Face{{0, 1, 2}}};
    TViewPrototype shown;
    shown.sample = std::make_shared<const TDravinMeshSample>(mesh, Matrix3(), Interval::Forever());
    shown.bounds = shown.sample->Size().bounds, shown.radius = 2;
    shown.palette = {0};
    shown.paints.resize(1);
    auto image = std::make_shared<const Bitmap>(1, 1, 4, std::vector<uint8_t>(4, 255));
    TViewTexture texture;
    texture.color.image = image;
    shown.paints[0].texture = std::make_shared<const TViewTexture>(texture);
    shown.shape = ShapeOf(shown.sample, {1});
    auto content = std::make_shared<TViewItems>();
    content->items.resize(1);
    content->cells = {{0, 1, shown.bounds, 1}};
    scatter->prototypes = {shown};
    scatter->content = std::move(content);
    scatter->palette = {{1, 1, 1}};
    TViewNode node;
    node.kind = TViewKind::kScatter, node.scatter = scatter, node.bounds = shown.bounds;
    TViewNode plain;
    plain.kind = TViewKind::kMesh, plain.mesh = mesh, plain.paints.resize(1);
    plain.bounds = mesh->BoundingBox();
    auto scene = std::make_shared<const TViewportScene>(std::vector<TViewNode>{node, plain});
    ViewRequest request;
    request.scene = std::move(scene);
    request.camera = TViewportCamera(Matrix3::Translation({0, 0, 5}), 60, 64, 64);
    request.shading = ViewportShading::kTextured, request.showsEdges = true;
    TViewportSettings settings = SettingsOf(request);
    for (int smoothing : {1, 4}) Draw(request, settings, smoothing, [] { return false; });
    request.shading = ViewportShading::kPoints;
    Draw(request, SettingsOf(request), 1, [] { return false; });
    m_targets.clear();
}

GlTarget& GlDrawing::Target(int width, int height, int samples) {
    for (size_t i = 0; i < m_targets.size(); ++i) {
        GlTarget& own = *m_targets[i];
        if (own.Width() != width || own.Height() != height || own.Samples() != samples) continue;
        std::rotate(m_targets.begin(), m_targets.begin() + long(i),
                    m_targets.begin() + long(i) + 1);
        return *m_targets[0];
    }
    m_targets.insert(m_targets.begin(), std::make_unique<GlTarget>(width, height, samples));
    if (m_targets.size() > kMaxTargets) m_targets.pop_back();
    return *m_targets[0];
}

std::optional<ViewPicture> GlDrawing::Draw(const ViewRequest& request,
                                           const TViewportSettings& settings, int smoothing,
                                           const IsStale& isStale) {
    const TViewportCamera& camera = request.camera;
    TPixelRect window{0, 0, camera.Width(), camera.Height()};
    TViewPlan plan = PlanViewport(*request.scene, camera, settings, window);
    Job job{request,
            settings,
            plan,
            isStale,
            settings.display == TViewDisplay::kWire,
            request.shading == ViewportShading::kTextured,
            {}};
    MakeProjection(camera, job.projection);
    ViewPicture picture;
    picture.width = camera.Width(), picture.height = camera.Height();
    picture.camera = camera, picture.scene = request.scene, picture.counts = plan.counts;
    m_store.BeginPicture();
    GlTarget& target = Target(camera.Width(), camera.Height(), smoothing);
    target.Bind();
    Begin(job);
    DrawSplats(job, &picture);
    if (isStale() || !DrawNodes(job) || !DrawInstances(job, &picture)) return std::nullopt;
    DrawLines(job);
    picture.rgbx.resize(size_t(picture.width) * size_t(picture.height) * 4);
    target.Read(picture.rgbx.data());
    if (GLenum error = glGetError(); error != GL_NO_ERROR)
        throw std::runtime_error("OpenGL failed with number " + std::to_string(error));
    bool isThin = plan.thinning.dots < 1 || plan.thinning.items < 1;
    picture.isWhole = !isThin && !settings.isNavigating;
    picture.isSimplified = plan.quality < 1;
    return picture;
}

void GlDrawing::Begin(const Job& job) {
    glDisable(GL_BLEND);
    glDisable(GL_CULL_FACE);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glDepthMask(GL_TRUE);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    DrawBackground(job);
    glUseProgram(m_mesh);
    glUniformMatrix4fv(Uniform(m_mesh, "projection"), 1, GL_FALSE, job.projection);
    Point3 light = Normalize(job.request.camera.Transform().VectorTransform({-0.35f, -0.45f, 1}));
    glUniform3f(Uniform(m_mesh, "light"), light.x, light.y, light.z);
    glUniform1i(Uniform(m_mesh, "isParallel"), job.request.camera.IsParallel());
    glUniform3f(Uniform(m_mesh, "selected"), kViewSelected.r, kViewSelected.g, kViewSelected.b);
    glUniform1i(Uniform(m_mesh, "image"), 0);
    glUniform1i(Uniform(m_mesh, "items"), 1);
    glUniform1i(Uniform(m_mesh, "hidden"), 2);
    for (int unit : {1, 2}) {
        glActiveTexture(GLenum(GL_TEXTURE0 + unit));
        glBindTexture(GL_TEXTURE_BUFFER, m_none.texture);
    }
    glActiveTexture(GL_TEXTURE0);
}

void GlDrawing::DrawBackground(const Job& job) {
    int height = job.request.camera.Height();
    auto packed = [&](int y) {
        Color c = ViewBackground(y, height) * 255;
        return uint32_t(c.r + 0.5f) | uint32_t(c.g + 0.5f) << 8 | uint32_t(c.b + 0.5f) << 16;
    };
    uint32_t top = packed(0), bottom = packed(height - 1);
    // Two triangles as pairs of corners; the top row is drawn at the bottom.
    auto corner = [&](float x, float y) { return LineVertex{{x, y, 1}, y < 0 ? top : bottom}; };
    LineVertex c[6] = {corner(-1, -1), corner(1, -1), corner(1, 1),
                       corner(-1, -1), corner(1, 1),  corner(-1, 1)};
    const float kNone[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    glUseProgram(m_line);
    glUniformMatrix4fv(Uniform(m_line, "projection"), 1, GL_FALSE, kNone);
    glUniform1f(Uniform(m_line, "closer"), 0);
    glBindVertexArray(m_lineLayout);
    glBindBuffer(GL_ARRAY_BUFFER, m_lineBuffer);
    glBufferData(GL_ARRAY_BUFFER, sizeof c, c, GL_STREAM_DRAW);
    glDepthMask(GL_FALSE);
    glDrawArrays(GL_TRIANGLES, 0, 6);
    glDepthMask(GL_TRUE);
}

void GlDrawing::UseTransform(const Job& job, const Matrix3& toWorld) {
    Matrix3 toView = toWorld * job.request.camera.Transform();
    float columns[12], normal[9];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 3; ++c) columns[r * 3 + c] = toView.row[r][c];
    MakeNormalMatrix(toView, normal);
    glUniformMatrix4x3fv(Uniform(m_mesh, "toView"), 1, GL_FALSE, columns);
    glUniformMatrix3fv(Uniform(m_mesh, "normalToView"), 1, GL_FALSE, normal);
}

void GlDrawing::UsePaint(const Job& job, const TViewPaint& paint) {
    bool isTextured = paint.texture && (job.isTextured || paint.showsMap);
    glUniform3f(Uniform(m_mesh, "paint"), paint.color.r, paint.color.g, paint.color.b);
    glUniform1f(Uniform(m_mesh, "opacity"), paint.opacity);
    glUniform1i(Uniform(m_mesh, "usesVertexColors"), paint.usesVertexColors);
    glUniform1i(Uniform(m_mesh, "isTextured"), isTextured);
    if (!isTextured) return;
    const TViewTexture& texture = *paint.texture;
    glBindTexture(GL_TEXTURE_2D, m_store.Image(paint.texture));
    const auto& place = PlacingMap(texture).place;
    float columns[6];
    for (int c = 0; c < 3; ++c)
        for (int r = 0; r < 2; ++r) columns[c * 2 + r] = place[r][c];
    glUniformMatrix3x2fv(Uniform(m_mesh, "mapPlace"), 1, GL_FALSE, columns);
    glUniform1i(Uniform(m_mesh, "hasColorMap"), texture.color.image != nullptr);
    glUniform1f(Uniform(m_mesh, "cutoff"), texture.mask.image ? texture.cutoff : 0);
}

// --- nodes

bool GlDrawing::DrawNodes(const Job& job) {
    glUniform1i(Uniform(m_mesh, "isInstance"), 0);
    const TViewNode* last = nullptr;
    for (const TViewPiece& piece : job.plan.pieces) {
        bool isFaces = piece.kind == TViewPiece::kFaces || piece.kind == TViewPiece::kEdges ||
                       piece.kind == TViewPiece::kTerrain;
        if (!isFaces || piece.node == last) continue;  // its other pieces are drawn already
        last = piece.node;
        if (job.isStale()) return false;
        DrawNode(job, *piece.node);
    }
    return true;
}

void GlDrawing::DrawNode(const Job& job, const TViewNode& node) {
    std::vector<TViewPaint> paints = node.paints;
    if (paints.empty()) paints.resize(1);
    const GlMesh* mesh = nullptr;
    if (node.heights) {
        mesh = &m_store.TerrainMesh(node, TerrainStep(*node.heights));
    } else {
        std::vector<uint16_t> facePaint = WithSelection(node, paints.size());
        if (node.scatter && node.scatter->isEdited) {
            TViewPaint selected;
            selected.color = kViewSelected;
            paints.push_back(selected);
        }
        mesh = &m_store.NodeMesh(node, paints.size(), facePaint);
    }
    size_t level = 0;
    uint64_t most = job.settings.maxFaces / 2;
    while (most > 0 && level + 1 < mesh->levels.size() && mesh->levels[level].numFaces > most)
        ++level;
    UseTransform(job, node.toWorld);
    glBindVertexArray(mesh->layout);
    glDisableVertexAttribArray(5);
    glVertexAttribI4ui(5, 0, 0, 0, 0);
    DrawParts(job, *mesh, level, paints, 1);
}

// Faces, then edges where they show. The layout is bound.
void GlDrawing::DrawParts(const Job& job, const GlMesh& mesh, size_t level,
                          const std::vector<TViewPaint>& paints, int instances) {
    auto draw = [&](GLenum kind, const TViewMeshPart& part, size_t first) {
        glDrawElementsInstanced(kind, GLsizei(part.count), GL_UNSIGNED_INT,
                                reinterpret_cast<const void*>((first + part.first) * 4), instances);
    };
    glUniform1f(Uniform(m_mesh, "closer"), 0);
    glUniform1i(Uniform(m_mesh, "isUnlit"), 0);
    for (const TViewMeshPart& part : mesh.levels[level].parts) {
        const TViewPaint& paint = paints[part.paint % paints.size()];
        if (job.isWire || paint.isWire) continue;
        UsePaint(job, paint);
        draw(GL_TRIANGLES, part, 0);
    }
    glUniform1f(Uniform(m_mesh, "closer"), job.isWire ? 0 : kEdgesCloser);
    glUniform1i(Uniform(m_mesh, "isUnlit"), 1);
    for (const TViewMeshPart& part : mesh.levels[level].edges) {
        TViewPaint paint = paints[part.paint % paints.size()];
        if (!job.isWire && !paint.isWire && !job.request.showsEdges) continue;
        if (!job.isWire && !paint.isWire) paint.color = paint.color * 0.35f;
        paint.texture = nullptr;
        UsePaint(job, paint);
        draw(GL_LINES, part, mesh.firstEdge);
    }
}

// --- dots and lines

void GlDrawing::DrawSplats(const Job& job, ViewPicture* picture) {
    const TViewportCamera& camera = job.request.camera;
    bool hasDots = std::any_of(job.plan.pieces.begin(), job.plan.pieces.end(), [](const auto& p) {
        return p.kind == TViewPiece::kDots || p.kind == TViewPiece::kBoxes ||
               p.kind == TViewPiece::kItems;
    });
    if (!hasDots) return;
    TSplatBuffer buffer(camera.Width(), camera.Height());
    picture->counts.elements += DrawDots(job.plan, camera, job.settings, buffer);
    glBindTexture(GL_TEXTURE_2D, m_splats);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    if (m_splatWidth != camera.Width() || m_splatHeight != camera.Height()) {
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RG32UI, camera.Width(), camera.Height(), 0, GL_RG_INTEGER,
                     GL_UNSIGNED_INT, buffer.Data());
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        m_splatWidth = camera.Width(), m_splatHeight = camera.Height();
    } else {
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, camera.Width(), camera.Height(), GL_RG_INTEGER,
                        GL_UNSIGNED_INT, buffer.Data());
    }
    glUseProgram(m_dots);
    glUniform1i(Uniform(m_dots, "pixels"), 0);
    glUniform1f(Uniform(m_dots, "depthScale"), camera.IsParallel() ? 1 : camera.Nearest());
    glBindVertexArray(m_noLayout);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    glUseProgram(m_mesh);
}

void GlDrawing::DrawLines(const Job& job) {
    std::vector<TViewLine> lines = ViewLines(*job.request.scene, job.request.camera, job.settings);
    if (lines.empty()) return;
    std::vector<LineVertex> vertices;
    for (const TViewLine& line : lines) {
        vertices.push_back({line.a, line.color});
        vertices.push_back({line.b, line.color});
    }
    glUseProgram(m_line);
    glUniformMatrix4fv(Uniform(m_line, "projection"), 1, GL_FALSE, job.projection);
    glUniform1f(Uniform(m_line, "closer"), kLinesCloser);
    glBindVertexArray(m_lineLayout);
    glBindBuffer(GL_ARRAY_BUFFER, m_lineBuffer);
    glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(vertices.size() * sizeof(LineVertex)), vertices.data(),
                 GL_STREAM_DRAW);
    glDrawArrays(GL_LINES, 0, GLsizei(vertices.size()));
}
