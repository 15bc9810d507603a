// Draws pieces of a scene into a sink (viewport_raster.h).
#pragma once

#include <algorithm>
#include <cmath>

#include "Dravin/viewport/cloud_rule.h"
#include "Dravin/viewport/view_instances.h"
#include "Dravin/viewport/view_paint.h"
#include "Dravin/viewport/viewport_plan.h"
#include "Dravin/viewport/viewport_raster.h"

// Which items count.
enum class TItemFilter { kAll, kSelected, kNotSelected };

struct TViewJob {
    // What was asked for, and the same in the pixels that are drawn.
    const TViewportCamera& camera;
    const TViewportCamera& enlarged;
    const TViewportSettings& settings;
    TViewThinning thinning;
    bool isHitTest = false;
    TItemFilter filter = TItemFilter::kAll;
    float quality = 1;         // of instances
    bool leavesFaces = false;  // of instances: somebody else draws them
};

inline uint32_t PackColor(Color c) {
    auto byte = [](float v) { return uint32_t(std::clamp(v, 0.f, 1.f) * 255 + 0.5f); };
    return byte(c.r) | byte(c.g) << 8 | byte(c.b) << 16;
}

// Of one piece, or of several one after the other; one thread. Raster: takes dots, lines and
// triangles of camera space as TViewRaster does.
template <class Sink, template <class> class Raster = TViewRaster>
class TViewDrawer {
public:
    TViewDrawer(const TViewJob& job, Sink& sink) : m_job(job), m_sink(sink) {}

    void Draw(const TViewPiece& piece) {
        m_node = piece.node;
        TViewportCamera logical = m_job.camera.Of(m_node->toWorld);
        TViewportCamera camera = m_job.enlarged.Of(m_node->toWorld);
        m_logical = &logical, m_camera = &camera;
        Raster<Sink> raster(camera, m_sink);
        m_raster = &raster;
        switch (piece.kind) {
            case TViewPiece::kDots:
                DrawItems(piece, [this](auto&... a) { DrawDots(a...); });
                break;
            case TViewPiece::kBoxes:
                DrawItems(piece, [this](auto&... a) { DrawBox(a...); });
                break;
            case TViewPiece::kItems:
                DrawInstances(piece);
                break;
            case TViewPiece::kFaces:
                DrawFaces(piece);
                break;
            case TViewPiece::kEdges:
                DrawEdges(piece.first, piece.last);
                break;
            case TViewPiece::kTerrain:
                DrawTerrain(piece);
                break;
            case TViewPiece::kMarks:
                DrawMarks();
                break;
        }
    }
    uint64_t Elements() const { return m_elements; }

private:
    // --- items

    template <class DrawItem>
    void DrawItems(const TViewPiece& piece, const DrawItem& draw) {
        const TViewScatter& scatter = *m_node->scatter;
        m_perPixel = DotsPerPixel(scatter.dotDensity, m_job.settings.isNavigating);
        m_worldSquare = Square(m_node->toWorld);
        m_clouds.clear();
        for (const TViewPrototype& prototype : scatter.prototypes)
            m_clouds.push_back(&prototype.sample->Cloud().points);
        for (size_t i = piece.first; i < piece.last; ++i) {
            const TViewItem& item = scatter.Items()[i];
            bool isSelected = item.flags & TViewItem::kSelected;
            if (m_job.filter == TItemFilter::kSelected && !isSelected) continue;
            if (m_job.filter == TItemFilter::kNotSelected && isSelected) continue;
            draw(item, scatter.prototypes[item.prototype]);
        }
    }
    void DrawDots(const TViewItem& item, const TViewPrototype& prototype) {
        const TViewScatter& scatter = *m_node->scatter;
        const std::vector<TMeshCloudPoint>& cloud = *m_clouds[item.prototype];
        int count = DotsOf(item, prototype);
        if (m_job.thinning.dots < 1) count = 1 + int(float(count - 1) * m_job.thinning.dots);
        count = std::min(count, int(cloud.size()));
        const TBitArray* hidden = item.flags & TViewItem::kPartial ? HiddenOf(item) : nullptr;
        int size = (scatter.largeDots ? 2 : 1) * m_job.settings.oversampling;
        TViewLook look{0, m_node->firstId + 1 + item.item};
        bool isInstance = m_job.settings.instances && !scatter.showsDots &&
                          m_job.settings.display == TViewDisplay::kAsSet &&
                          !prototype.paints.empty();
        for (int j = 0; j < count; ++j) {
            const TMeshCloudPoint& point = cloud[size_t(j)];
            if (hidden && hidden->Test(int32_t(point.element))) continue;
            look.color = PackColor(isInstance ? FarColor(item, prototype, point.matID)
                                              : DotColor(scatter, item, point));
            Point3 view = m_camera->ToView(point.position * item.toObject);
            m_elements += m_raster->Dot(view, size, look);
        }
    }
    // A dot that stands for faces has their colour, lit as most of them are.
    Color FarColor(const TViewItem& item, const TViewPrototype& prototype, uint16_t id) const {
        constexpr float kLit = 0.85f;
        const TViewPaint& paint = prototype.paints[id % prototype.paints.size()];
        return InstanceColor(*m_node->scatter, item, paint.meanColor) * kLit;
    }
    // 0: the item is hidden.
    int DotsOf(const TViewItem& item, const TViewPrototype& prototype) const {
        if (IsOneDot(item, prototype)) return 1;
        Box3 box = item.toObject.BoxTransform(prototype.bounds);
        TItemRectangle rectangle = ItemRectangle(*m_logical, box);
        return rectangle.isHidden ? 0 : NumDots(rectangle.area, m_perPixel, m_job.isHitTest);
    }
    static float Square(const Matrix3& m) {
        return LengthSquared(m.row[0]) + LengthSquared(m.row[1]) + LengthSquared(m.row[2]);
    }
    // Whether the item is surely too far away for a second dot: by a square around its box, which
    // is cheaper than the box. Out of view or not, its dot falls where it falls.
    bool IsOneDot(const TViewItem& item, const TViewPrototype& prototype) const {
        constexpr float kCorner = 1.7321f, kRounding = 3;
        float radius =
            kCorner * prototype.radius * std::sqrt(Square(item.toObject) * m_worldSquare);
        Point3 view = m_logical->ToView(item.toObject.row[3]);
        float depth = -view.z - radius;
        if (!(depth > m_logical->Nearest())) return false;
        // Beside the axis it looks longer than before the camera.
        float aside = std::max(std::abs(view.x), std::abs(view.y)) / -view.z;
        if (m_logical->IsParallel()) aside = 0;
        float side = 2 * radius * m_logical->PixelsAt(depth) * (1 + aside) + kRounding;
        return side * side * m_perPixel < 2;
    }
    const TBitArray* HiddenOf(const TViewItem& item) const {
        const auto& all = m_node->scatter->content->hiddenElements;
        size_t place = item.flags >> TViewItem::kHiddenShift;
        return place < all.size() ? &all[place].second : nullptr;
    }
    void DrawInstances(const TViewPiece& piece) {
        TInstanceChooser chooser(*m_logical, LargestScale(m_node->toWorld), m_job.quality);
        DrawItems(piece, [&](const TViewItem& item, const TViewPrototype& prototype) {
            int level = chooser.Level(item, prototype);
            if (level == TInstanceChooser::kDots) DrawDots(item, prototype);
            if (level >= 0 && !m_job.leavesFaces && MayLieInSink(item, prototype))
                DrawInstance(item, prototype, size_t(level));
        });
    }
    bool MayLieInSink(const TViewItem& item, const TViewPrototype& prototype) const {
        if (!m_job.isHitTest) return true;
        TItemRectangle r = ItemRectangle(*m_camera, item.toObject.BoxTransform(prototype.bounds));
        TPixelRect wanted = m_sink.Rect();
        return !r.isHidden && r.right >= wanted.left && r.left < wanted.right &&
               r.bottom >= wanted.top && r.top < wanted.bottom;
    }
    void DrawInstance(const TViewItem& item, const TViewPrototype& prototype, size_t level) {
        const TViewMesh& mesh = prototype.shape->Mesh();
        const TBitArray* hidden = item.flags & TViewItem::kPartial ? HiddenOf(item) : nullptr;
        bool isWire = m_job.settings.display == TViewDisplay::kWire;
        Matrix3 toView = item.toObject * m_camera->Transform();
        m_corners.clear();
        for (const TViewVertex& v : mesh.vertices) m_corners.push_back(v.position * toView);
        uint32_t id = m_node->firstId + 1 + item.item;
        auto isHidden = [&](uint32_t v) {
            return hidden && hidden->Test(int32_t(mesh.vertices[v].element));
        };
        for (const TViewMeshPart& part : mesh.levels[level].parts) {
            TViewPaint paint = prototype.paints[part.paint % prototype.paints.size()];
            paint.color = InstanceColor(*m_node->scatter, item, paint.color);
            if (isWire || (paint.isWire && !m_job.isHitTest)) continue;
            for (uint32_t i = part.first; i < part.first + part.count; i += 3) {
                const uint32_t* v = &mesh.indices[i];
                if (isHidden(v[0])) continue;
                Triangle(m_corners[v[0]], m_corners[v[1]], m_corners[v[2]], paint, id);
            }
        }
        for (const TViewMeshPart& part : mesh.levels[level].edges) {
            const TViewPaint& paint = prototype.paints[part.paint % prototype.paints.size()];
            if (!isWire && (!paint.isWire || m_job.isHitTest)) continue;
            TViewLook look{PackColor(InstanceColor(*m_node->scatter, item, paint.color)), id};
            for (uint32_t i = part.first; i < part.first + part.count; i += 2)
                if (!isHidden(mesh.edges[i]))
                    Line(m_corners[mesh.edges[i]], m_corners[mesh.edges[i + 1]], look);
        }
    }
    void DrawBox(const TViewItem& item, const TViewPrototype& prototype) {
        const TViewScatter& scatter = *m_node->scatter;
        TMeshCloudPoint lit;
        lit.shade = 1;
        TViewLook look{PackColor(DotColor(scatter, item, lit)), m_node->firstId + 1 + item.item};
        Matrix3 toView = item.toObject * m_camera->Transform();
        constexpr float kDot = 2;  // pixels of a box that is no more than a dot
        TInstanceChooser chooser(*m_logical, LargestScale(m_node->toWorld), 1);
        if (chooser.Pixels(item) < kDot) {
            m_elements += m_raster->Dot(toView.row[3], m_job.settings.oversampling, look);
            return;
        }
        DrawBoxEdges(prototype.bounds, toView, look);
    }
    void DrawBoxEdges(const Box3& box, const Matrix3& toView, const TViewLook& look) {
        for (int corner = 0; corner < 8; ++corner)
            for (int axis = 1; axis < 8; axis <<= 1)
                if (!(corner & axis)) Line(box[corner] * toView, box[corner | axis] * toView, look);
    }

    // --- faces

    Color Lit(Color color, const Point3& a, const Point3& b, const Point3& c) const {
        Point3 normal = CrossProd(b - a, c - a);
        float length = Length(normal);
        if (length > 0) normal = normal / length;
        if (DotProd(normal, a) > 0) normal = normal * -1.0f;  // both sides show
        Point3 light = Normalize(m_job.camera.Transform().VectorTransform({-0.35f, -0.45f, 1}));
        return color * (0.62f + 0.38f * DotProd(normal, light));
    }
    void Triangle(const Point3& a, const Point3& b, const Point3& c, const TViewPaint& paint,
                  uint32_t id) {
        TViewLook look{PackColor(Lit(paint.color, a, b, c)), id, paint.opacity};
        m_raster->Triangle(a, b, c, look);
        ++m_elements;
    }
    const TViewPaint& PaintOfFace(size_t f) const {
        const auto& paints = m_node->paints;
        size_t place =
            m_node->facePaint.empty() ? m_node->mesh->faces[f].matID : m_node->facePaint[f];
        return paints[place % paints.size()];
    }
    uint32_t IdOfFace(size_t f) const {
        bool isScatter = m_node->scatter && f < m_node->scatter->owners.size();
        return isScatter ? m_node->firstId + 1 + uint32_t(m_node->scatter->owners[f])
                         : m_node->firstId;
    }
    bool IsSelectedFace(size_t f) const {
        return m_node->scatter && f < m_node->scatter->selectedFaces.GetSize() &&
               m_node->scatter->selectedFaces[f];
    }
    bool IsWanted(size_t f) const {
        if (m_job.filter == TItemFilter::kAll || !m_node->scatter) return true;
        return IsSelectedFace(f) == (m_job.filter == TItemFilter::kSelected);
    }
    void DrawFaces(const TViewPiece& piece) {
        const Mesh& mesh = *m_node->mesh;
        bool showsSelection = m_node->scatter && m_node->scatter->isEdited;
        for (size_t f = piece.first; f < piece.last; ++f) {
            const Face& face = mesh.faces[f];
            if (face.flags & Face::kHidden || !IsWanted(f)) continue;
            TViewPaint paint = PaintOfFace(f);
            if (paint.isWire && !m_job.isHitTest) {
                DrawEdges(f, f + 1);
                continue;
            }
            if (showsSelection && IsSelectedFace(f)) paint.color = kViewSelected;
            Triangle(m_camera->ToView(mesh.verts[face.v[0]]),
                     m_camera->ToView(mesh.verts[face.v[1]]),
                     m_camera->ToView(mesh.verts[face.v[2]]), paint, IdOfFace(f));
        }
    }
    void DrawEdges(size_t first, size_t last) {
        const Mesh& mesh = *m_node->mesh;
        for (size_t f = first; f < last; ++f) {
            const Face& face = mesh.faces[f];
            if (face.flags & Face::kHidden || !IsWanted(f)) continue;
            TViewLook look{PackColor(PaintOfFace(f).color), IdOfFace(f)};
            for (size_t e = 0; e < 3; ++e)
                if (face.flags & (1u << e))
                    Line(m_camera->ToView(mesh.verts[face.v[e]]),
                         m_camera->ToView(mesh.verts[face.v[(e + 1) % 3]]), look);
        }
    }
    void DrawTerrain(const TViewPiece& piece) {
        const HeightField& field = *m_node->heights;
        size_t step = TerrainStep(field), columns = field.NumColumns(), rows = field.NumRows();
        auto corner = [&](size_t i, size_t j) {
            return m_camera->ToView(Point3{field.X(i), field.Y(j), field.Height(i, j)});
        };
        const TViewPaint& paint = m_node->paints[0];
        for (size_t band = piece.first; band < piece.last; ++band) {
            size_t j = band * step, below = std::min(j + step, rows - 1);
            for (size_t i = 0; i + 1 < columns; i += step) {
                size_t right = std::min(i + step, columns - 1);
                Point3 a = corner(i, j), b = corner(right, j);
                Point3 c = corner(right, below), d = corner(i, below);
                if (std::isnan(a.z + b.z + c.z + d.z)) continue;  // a hole
                Triangle(a, b, c, paint, m_node->firstId);
                Triangle(a, c, d, paint, m_node->firstId);
            }
        }
    }

    // --- lines and icons

    void Line(const Point3& a, const Point3& b, const TViewLook& look) {
        m_raster->Line(a, b, look);
        ++m_elements;
    }
    void DrawMarks() {
        TViewLook look{PackColor(m_node->wire), m_node->firstId, 1, 1.0005f};
        if (m_node->isSelected) look.color = PackColor(kViewSelected);
        if (m_node->scatter) {
            if (!m_node->isSelected) look.color = PackColor(kViewMarks);
            DrawGizmos();
        }
        for (const PolyLine& line : m_node->lines.lines)
            for (size_t s = 0; s < line.NumSegments(); ++s)
                Line(m_camera->ToView(line.points[s]),
                     m_camera->ToView(line.points[(s + 1) % line.points.size()]), look);
        if (m_node->isSelected && !m_node->bounds.IsEmpty()) DrawBrackets(look);
        DrawIcon(look);
    }
    // Plus signs at the corners of the map's tiles.
    void DrawGizmos() {
        TViewLook look{PackColor(kViewMarks), m_node->firstId, 1, 1.0005f};
        for (const Point3& p : m_node->scatter->gizmoPoints) {
            Point3 view = m_camera->ToView(p);
            if (!(-view.z >= m_camera->Nearest())) continue;
            float arm = 3 / m_logical->PixelsAt(-view.z);
            Line(view - Point3{arm, 0, 0}, view + Point3{arm, 0, 0}, look);
            Line(view - Point3{0, arm, 0}, view + Point3{0, arm, 0}, look);
        }
    }
    // The corners of the box of what is selected.
    void DrawBrackets(const TViewLook& look) {
        const Box3& box = m_node->bounds;
        for (int corner = 0; corner < 8; ++corner)
            for (int axis = 1; axis < 8; axis <<= 1) {
                Point3 from = box[corner], to = box[corner ^ axis];
                Line(m_camera->ToView(from), m_camera->ToView(from + (to - from) * 0.15f), look);
            }
    }
    // Cameras, lights and helpers: as large as so many pixels, wherever they are.
    void DrawIcon(const TViewLook& look) {
        constexpr float kPixels = 14;
        Point3 at = m_camera->ToView({});
        if (!(-at.z >= m_camera->Nearest())) return;
        float size = kPixels / m_logical->PixelsAt(-at.z);
        Matrix3 turn = m_camera->Transform();
        for (int i = 0; i < 3; ++i) turn.row[i] = Normalize(turn.row[i]) * size;
        auto line = [&](const Point3& a, const Point3& b) { Line(a * turn, b * turn, look); };
        if (m_node->kind == TViewKind::kCamera) {
            float x = std::clamp(m_node->slopeX, 0.2f, 1.2f), y = x * 0.6f;
            Point3 far[4] = {{-x, -y, -1.5f}, {x, -y, -1.5f}, {x, y, -1.5f}, {-x, y, -1.5f}};
            for (int i = 0; i < 4; ++i) line({}, far[i]), line(far[i], far[(i + 1) % 4]);
            line({-0.4f * x, y, -1.5f}, {0, 1.6f * y, -1.5f});
            line({0.4f * x, y, -1.5f}, {0, 1.6f * y, -1.5f});
        } else if (m_node->kind == TViewKind::kLight) {
            for (int i = 0; i < 8; ++i) {
                float angle = float(i) * 0.785398f;
                Point3 ray{std::cos(angle) * size, std::sin(angle) * size, 0};
                Line(at + ray * 0.45f, at + ray, look);
                float next = angle + 0.785398f;
                Point3 rim{std::cos(next) * size, std::sin(next) * size, 0};
                Line(at + ray * 0.3f, at + rim * 0.3f, look);
            }
            line({}, {0, 0, -2.2f});
        } else if (m_node->kind == TViewKind::kDummy) {
            for (int axis = 0; axis < 3; ++axis) {
                Point3 arm;
                arm[axis] = 0.6f;
                line(arm * -1.0f, arm);
            }
        }
    }

    const TViewJob& m_job;
    Sink& m_sink;
    const TViewNode* m_node = nullptr;
    const TViewportCamera *m_logical = nullptr, *m_camera = nullptr;
    Raster<Sink>* m_raster = nullptr;
    uint64_t m_elements = 0;
    // Of the items that are drawn.
    float m_perPixel = 0, m_worldSquare = 1;
    std::vector<const std::vector<TMeshCloudPoint>*> m_clouds;  // by prototype
    std::vector<Point3> m_corners;                              // of the instance, camera space
};
