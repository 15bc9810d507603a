#include "tests/Dravin/build/random_scene.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Dravin/build/dravin_build.h"
#include "Dravin/engine/build_input.h"
#include "Dravin/geometry/area_texts.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "host/geom/primitives.h"
#include "host/scene/texmaps.h"

namespace {

constexpr float kGround = 20;  // half-width of the ground that things stand on
constexpr float kFullTurn = 6.2831853f;

Point2 Flat(const Point3& p) { return {p.x, p.y}; }

std::shared_ptr<TriObject> Shown(Mesh mesh) {
    return std::make_shared<TriObject>(std::make_shared<Mesh>(std::move(mesh)));
}

// Corners of a line in the world, as seen from above.
std::vector<Point2> Corners(const std::vector<Point3>& points, const Matrix3& toWorld) {
    std::vector<Point2> corners;
    for (const Point3& p : points) corners.push_back(Flat(p * toWorld));
    return corners;
}

}  // namespace

uint32_t ByteChoices::Bits() {
    uint32_t bits = 0;
    for (int i = 0; i < 2 && !m_bytes.empty(); ++i) {
        bits = bits << 8 | m_bytes[0];
        m_bytes = m_bytes.subspan(1);
    }
    return bits * 0x9E3779B1u;  // spread over the word
}

RandomScene::RandomScene(Choices& choices, bool wild, bool disabledFirst)
    : m_choose(choices), m_wild(wild) {
    host.quiet = true;
    node = Add("scatter", object, Frame());
    scene.render.Edit([&](SceneRenderSettings& render) {
        render.width = 100 * m_choose.Int(1, 4);
        render.height = 100 * m_choose.Int(1, 3);
    });
    AddRows(*object);
    AddSurfaces();
    AddDistribution();
    if (disabledFirst) AddDisabledArea();
    if (m_choose.Chance(75)) AddAreas();
    AddTransforms();
    AddRules();
    if (m_choose.Chance(35)) AddCamera();
    if (m_wild) AddNonsense();
}

// --- draws
// ------------------------------------------------------------------------------------------

float RandomScene::Number(float low, float high) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    static const float nonsense[] = {0.0f,       -0.0f,         -1.0f,  1e30f, -1e30f,
                                     1e-30f,     1e9f,          1e6f,   -1e6f, kInfinity,
                                     -kInfinity, std::nanf(""), 3.4e38f};
    if (m_wild && m_choose.Chance(8))
        return nonsense[m_choose.Int(0, int(std::size(nonsense)) - 1)];
    return m_choose.Real(low, high);
}

int RandomScene::Count(int low, int high) {
    static const int nonsense[] = {0,
                                   -1,
                                   1000000,
                                   1000000000,
                                   std::numeric_limits<int>::min(),
                                   std::numeric_limits<int>::max()};
    if (m_wild && m_choose.Chance(8))
        return nonsense[m_choose.Int(0, int(std::size(nonsense)) - 1)];
    return m_choose.Int(low, high);
}

Point3 RandomScene::Place(float size, float height) {
    float x = Number(-size, size), y = Number(-size, size);
    return {x, y, Number(-height, height)};
}

// Moved and turned about z; tilted ones lean, too.
Matrix3 RandomScene::Frame(bool tilted) {
    Matrix3 frame = Matrix3::RotationZ(m_choose.Chance(50) ? Number(0, kFullTurn) : 0);
    if (tilted) frame = Matrix3::RotationX(Number(-0.7f, 0.7f)) * frame;
    return frame * Matrix3::Translation(m_choose.Chance(60) ? Place(8, 2) : Point3{});
}

// --- nodes
// ------------------------------------------------------------------------------------------

INode* RandomScene::Add(const std::string& name, std::shared_ptr<Object> shown,
                        const Matrix3& frame) {
    INode* added = scene.AddNode(name, std::move(shown));
    added->SetLocalTM(frame);
    return added;
}

INode* RandomScene::AddMesh(const std::string& name, Mesh mesh, const Matrix3& frame) {
    if (m_wild && m_choose.Chance(10)) mesh = Mesh{};
    return Add(name, Shown(std::move(mesh)), frame);
}

// Corners around a centre at distances of their own: a concave outline that does not cross itself.
std::vector<Point3> RandomScene::Ring(const Point3& center, float radius) {
    std::vector<Point3> corners;
    int count = m_wild ? m_choose.Int(0, 12) : m_choose.Int(3, 16);
    for (int i = 0; i < count; ++i) {
        float r = Number(0.5f, 1) * radius, angle = kFullTurn * float(i) / float(count);
        corners.push_back(center + Point3{r * std::cos(angle), r * std::sin(angle), 0});
        if (m_wild && m_choose.Chance(10)) corners.push_back(corners.back());
    }
    return corners;
}

void RandomScene::AddRows(TDravin& dravin) {
    TTreeSpecList rows(
        std::static_pointer_cast<IParamBlock2>(dravin.Block(kGeomParams).shared_from_this()));
    int count = m_choose.Int(1, 3);
    for (int i = 0; i < count; ++i) {
        float side = Number(0.1f, 1.2f);
        TSpecEntry entry;
        entry.kind = kGeomCustom;
        entry.name = "row";
        entry.customObject = std::static_pointer_cast<INode>(
            AddMesh("item", MakeBox(side, side, Number(0.2f, 2)), {})->shared_from_this());
        if (m_wild && m_choose.Chance(5))
            entry.customObject = std::static_pointer_cast<INode>(node->shared_from_this());
        entry.probability = Number(1, 100);
        entry.scale = m_choose.Chance(80) ? 100 : Number(10, 300);
        entry.radius = Count(50, 150);
        entry.center = m_choose.Chance(80) ? 50 : Count(0, 100);
        rows.AppendRow(entry);
    }
}

void RandomScene::AddSurfaces() {
    int count = m_choose.Int(0, 2);
    for (int i = 0; i < count; ++i) {
        int cells = m_choose.Int(1, 8);
        float half = i == 0 ? kGround : Number(4, 12);
        Mesh mesh = MakePlane(2 * half, 2 * half, cells, cells);
        for (Point3& p : mesh.verts) p.z = Number(0, 3);
        if (m_wild && m_choose.Chance(20)) mesh.maps.clear();
        if (m_choose.Chance(15)) mesh = MakeSphere(half / 2, 12);
        INode* added =
            AddMesh("surface " + std::to_string(i), std::move(mesh), Frame(m_choose.Chance(25)));
        object->Block(kSurfaceParams).Append(surfaceParams::kSurflist, added->shared_from_this());
        surfaces.push_back({added->GetObjectRef()->GetRenderMesh(0), added->GetObjectTM(0)});
    }
}

// --- distribution
// -----------------------------------------------------------------------------------

void RandomScene::AddDistribution() {
    auto map = std::make_shared<NoiseTex>();
    map->size = Number(1, 10);
    bool noisy = m_choose.Chance(30);
    Set("distmap", noisy ? std::shared_ptr<Texmap>(map) : std::make_shared<ColorTex>());
    Set("distmapchan", m_choose.Chance(50) ? 0 : 1);
    Set("pixels_x", Count(10, 30));
    Set("pixels_y", Count(10, 30));
    Set("lock_ratio", m_choose.Chance(70));
    Set("units_x", Number(10, 40));
    Set("units_y", Number(10, 40));
    Set("offset_x", Number(-5, 5));
    Set("offset_y", Number(-5, 5));
    Set("drotation", m_choose.Chance(30) ? Number(0, 360) : 0.0f);
    Set("threshold", Count(0, 60));
    Set("seed", m_choose.Int(0, 99999));
    Set("randstacked", m_choose.Chance(30));
    int mode = m_choose.Chance(75) ? 0 : m_choose.Int(1, 3);
    object->Block(kDistParams).SetValue(distParams::kDistmode, 0, mode);
    Set("surfmode", !surfaces.empty() && m_choose.Chance(20));
    Set("divers", m_choose.Int(0, 2));
    Set("clusize", Number(1, 20));
    if (mode == 1) AddPath();
    if (mode == 2) AddReferences();
    if (mode == 3) AddParticles();
}

void RandomScene::AddPath() {
    auto shape = std::make_shared<ShapeObject>();
    int count = m_choose.Int(1, 3);
    for (int i = 0; i < count; ++i) {
        BezierSpline spline;
        spline.closed = m_choose.Chance(50);
        for (const Point3& p : Ring(Place(8, 1), 10)) {
            Point3 handle = m_choose.Chance(50) ? Place(2, 1) : Point3{};
            spline.knots.push_back({p, handle * -1.0f, handle});
        }
        shape->shape.Edit([&](BezierShape& s) { s.splines.push_back(std::move(spline)); });
    }
    INode* path = Add("path", shape, Frame());
    object->Block(kDistParams).Append(distParams::kDistpathnodes, path->shared_from_this());
    Set("distpathmode", m_choose.Chance(50));
    Set("distpathspacing", Number(0.2f, 3));
    Set("distpathoffset", m_choose.Chance(30) ? Number(-2, 2) : 0.0f);
    Set("distpathxfollow", m_choose.Chance(50));
    Set("distpathzfollow", m_choose.Chance(50));
    Set("distpathgeomid", m_choose.Chance(50));
}

void RandomScene::AddReferences() {
    int count = m_choose.Int(1, 12);
    for (int i = 0; i < count; ++i) {
        INode* added = AddMesh("reference", MakeSphere(Number(1, 4), 8),
                               Frame(true) * Matrix3::Translation(Place(10, 3)));
        object->Block(kDistParams).Append(distParams::kDistrefnodes, added->shared_from_this());
    }
    Set("distrefmode", m_choose.Chance(50));
}

void RandomScene::AddParticles() {
    auto system = std::make_shared<ParticleObject>();
    int count = m_choose.Int(0, 300);
    for (int i = 0; i < count; ++i) {
        Particle particle;
        particle.hasPosition = m_choose.Chance(90);
        particle.position = Place(18, 3);
        particle.rotationDegrees = Place(180, 180);
        particle.age = m_choose.Chance(90) ? m_choose.Int(0, 1000) : Particle::kMissing;
        system->particles.Edit([&](auto& particles) { particles.push_back(particle); });
    }
    INode* added = Add("particles", system, Frame());
    object->Block(kDistParams).Append(distParams::kDistpflownodes, added->shared_from_this());
}

// --- areas
// ------------------------------------------------------------------------------------------

void RandomScene::AddAreas() {
    int count = m_choose.Int(1, m_wild ? 3 : 5);
    for (int i = 0; i < count; ++i) {
        switch (m_choose.Int(0, 9)) {
            case 0:
            case 1:
                AddObjectArea();
                break;
            case 2:
                AddItemArea();
                break;
            case 3:
                AddSurfaceArea();
                break;
            case 4:
                AddSpline(kAreaPaint);
                break;
            default:
                AddSpline(kAreaSpline);
                break;
        }
    }
    if (m_choose.Chance(40)) AddFalloffs();
}

int RandomScene::AppendAreaRow(int type, bool exclude) {
    using namespace areaParams;
    IParamBlock2& block = object->Block(kAreaParams);
    for (ParamID id : {kArnamelist, kPfAractivelist, kArnodelist, kArtypelist, kArincexclist,
                       kArpaintlist, kArwidthlist, kArforceopenlist, kArresollist, kArobscalelist,
                       kArboundchecklist, kArslicelist, kArslicetoplist, kArflafdenslist,
                       kArflinvlist, kArshapelist, kArscalelist, kArthresholdlist, kArzoffset})
        block.Append(id);
    int row = block.Count(kArnamelist) - 1;
    Set("artypelist", type, row);
    Set("arincexclist", int(exclude), row);
    return row;
}

int RandomScene::NewAreaRow(int type, bool exclude) {
    int row = AppendAreaRow(type, exclude);
    Set("arflafdenslist", Number(0, 150), row);
    Set("arflinvlist", m_choose.Chance(20), row);
    Set("arscalelist", m_choose.Chance(70) ? 100.0f : Number(80, 200), row);
    if (m_wild) {
        Set("arslicelist", m_choose.Chance(30), row);
        Set("arslicetoplist", Number(-2, 2), row);
        Set("arthresholdlist", Number(0, 200), row);
        Set("arzoffset", Number(-1, 1), row);
    }
    return row;
}

// Up to three outer curves with holes and islands, and open lines.
void RandomScene::AddSpline(int type) {
    bool exclude = m_choose.Chance(40), forceOpen = m_choose.Chance(10);
    int row = NewAreaRow(type, exclude), check = m_choose.Chance(75) ? 0 : m_choose.Int(1, 2);
    float width = Number(0.5f, 4);
    Set("arwidthlist", width, row);
    Set("arforceopenlist", forceOpen, row);
    Set("arboundchecklist", check, row);

    // Paint lies in the object's space, a spline in that of its node.
    PolyShape shape;
    Matrix3 frame = type == kAreaPaint ? node->GetObjectTM(0) : Frame();
    int outer = m_choose.Int(1, m_wild ? 2 : 3);
    for (int i = 0; i < outer; ++i) {
        // Several ones stand side by side, so that none nests in another.
        bool open = m_choose.Chance(20);
        Point3 center = outer == 1 ? Place(12, 1) : Point3{12 * float(i - 1), Number(-8, 8), 0};
        std::vector<Point3> ring = Ring(center, outer == 1 ? Number(3, 14) : Number(3, 5.9f));
        int depth = open ? 1 : m_choose.Int(1, 3);
        KnownGroup group{row, exclude, check, false, 0, {}};
        for (int k = 0; k < depth; ++k) {
            shape.lines.push_back({ring, !open});
            bool band = open || forceOpen;
            group.regions.push_back({band ? KnownRegion::kBand : KnownRegion::kPolygon,
                                     Corners(ring, frame), !open, width, 1e-3f});
            for (Point3& p : ring) p = center + (p - center) * 0.5f;
        }
        groups.push_back(group);
    }
    if (m_wild && m_choose.Chance(20)) shape.lines.push_back({{Place(5, 1)}, m_choose.Chance(50)});
    if (type == kAreaPaint) {
        auto paint = std::make_shared<TPaintShape>();
        paint->shape = shape;
        Set("arpaintlist", std::shared_ptr<ReferenceTarget>(paint), row);
        return;
    }
    auto spline = std::make_shared<ShapeObject>();
    BezierShape curves;
    for (const PolyLine& line : shape.lines) {
        BezierSpline& made = curves.splines.emplace_back();
        made.closed = line.closed;
        for (const Point3& p : line.points) made.knots.push_back({p});
    }
    spline->shape = std::move(curves);
    Set("arnodelist", Add("area", spline, frame)->shared_from_this(), row);
}

// A box's footprint is the rectangle of its sides.
void RandomScene::AddObjectArea() {
    bool exclude = m_choose.Chance(60);
    int row = NewAreaRow(kAreaObject, exclude), resolution = m_choose.Int(64, 256);
    if (m_wild && m_choose.Chance(20)) resolution = m_choose.Int(-1, 2);
    float width = Number(2, 16), length = Number(2, 16);
    Matrix3 frame = Frame();
    INode* box = AddMesh("box", MakeBox(width, length, 3), frame);
    Set("arnodelist", box->shared_from_this(), row);
    Set("arresollist", resolution, row);
    Set("arobscalelist", m_wild ? Number(10, 200) : 100.0f, row);
    float x = width / 2, y = length / 2;
    KnownRegion region{KnownRegion::kPolygon,
                       Corners({{-x, -y, 0}, {x, -y, 0}, {x, y, 0}, {-x, y, 0}}, frame), true, 0,
                       1e-3f};
    region.blur = 3 * (width + length + 3) / float(std::max(resolution, 1));
    groups.push_back({row, exclude, 0, false, 0, {region}});
}

// Another scatter object's items, as discs; it always excludes. Objects may name each other in a
// ring when scenes are wild.
void RandomScene::AddItemArea() {
    constexpr int kResolution = 256;
    int row = NewAreaRow(kAreaDravin, m_choose.Chance(50));
    auto other = TDravin::Create();
    INode* place = Add("other", other, Frame());
    m_others.push_back(other);
    AddRows(*other);
    Set(*other, "distmap", std::shared_ptr<Texmap>(std::make_shared<ColorTex>()));
    Set(*other, "pixels_x", 10);
    Set(*other, "units_x", Number(30, 60));
    INode* ground = AddMesh("other ground", MakePlane(20, 20), Frame());
    other->Block(kSurfaceParams).Append(surfaceParams::kSurflist, ground->shared_from_this());
    Set("arnodelist", place->shared_from_this(), row);
    Set("arresollist", m_wild ? m_choose.Int(0, 300) : kResolution, row);
    Set("arobscalelist", 100.0f, row);
    Set("arshapelist", m_wild ? m_choose.Int(0, 1) : 0, row);
    if (m_wild) {
        INode* self = m_choose.Chance(20) ? node : place;
        Set("arnodelist", self->shared_from_this(), row);
        if (m_choose.Chance(30)) {
            IParamBlock2& block = other->Block(kAreaParams);
            for (ParamID id : {areaParams::kArnamelist, areaParams::kPfAractivelist,
                               areaParams::kArtypelist, areaParams::kArnodelist})
                block.Append(id);
            Set(*other, "artypelist", int(kAreaDravin));
            Set(*other, "arnodelist", node->shared_from_this());
        }
        return;
    }
    TBuildFlags flags;
    flags.noMesh = true;
    other->Build().BuildMesh(0, flags);
    const TDravinItemList& items = other->Build().Items();
    float blur = 3 * 40.0f / kResolution;  // the items' sphere is no wider than that
    for (size_t i = 0; i < items.Count(); ++i) {
        KnownRegion disc{KnownRegion::kDisc, {}, true, items.Item(i).boundaryRadius, blur};
        disc.points = {Flat(items.Position(i) * place->GetObjectTM(0))};
        groups.push_back({row, true, 0, false, 0, {disc}});
    }
}

// Every surface is an area of its own, on which its items stay.
void RandomScene::AddSurfaceArea() {
    int row = NewAreaRow(kAreaSurface, m_choose.Chance(20));
    for (size_t s = 0; s < surfaces.size(); ++s) {
        // Surfaces include whatever the row says. The outline is known on the surface itself:
        // whatever stands on it is inside.
        KnownGroup group{row, false, 0, true, int(s), {}};
        const Mesh& mesh = *surfaces[s].mesh;
        Box3 box;
        for (const Point3& p : mesh.verts) box += p;
        KnownRegion region{KnownRegion::kPolygon, {}, true, 0, 1e-3f};
        region.points = Corners({{box.min.x, box.min.y, 0},
                                 {box.max.x, box.min.y, 0},
                                 {box.max.x, box.max.y, 0},
                                 {box.min.x, box.max.y, 0}},
                                surfaces[s].toWorld);
        // A leaning surface's outline is not that of its box.
        bool leans = std::abs(surfaces[s].toWorld.row[2].z - 1) > 1e-6f;
        if (leans) region.blur = 1e9f;
        group.regions = {region};
        groups.push_back(group);
    }
}

void RandomScene::AddFalloffs() {
    Set("spdensact", m_choose.Chance(70));
    Set("spscalact", m_choose.Chance(70));
    Set("spdensinc", Number(0, 6));
    Set("spdensexc", Number(0, 6));
    Set("spscalinc", Number(0, 6));
    Set("spscalexc", Number(0, 6));
    Set("spscalz", m_choose.Chance(50));
}

void RandomScene::AddDisabledArea() {
    int row = AppendAreaRow(kAreaSpline, false);
    auto shape = std::make_shared<ShapeObject>();
    shape->shape = BezierShape{{{{{{-9, -9, 0}}, {{9, -9, 0}}, {{0, 9, 0}}}, true}}};
    Set("arnodelist", Add("disabled", shape, {})->shared_from_this(), row);
    Set("pf_aractivelist", false, row);
}

// --- rules
// ------------------------------------------------------------------------------------------

void RandomScene::AddTransforms() {
    Set("applytranslation", m_choose.Chance(40));
    Set("applyrotation", m_choose.Chance(50));
    Set("applyscale", m_choose.Chance(60));
    Set("mirror", m_choose.Chance(30));
    Set("scalelock", m_choose.Int(0, 2));
    Set("transxmin", Count(-80, 0));
    Set("transxmax", Count(0, 80));
    Set("scalexmin", Count(20, 100));
    Set("scalexmax", Count(100, 250));
    Set("zrotmin", Count(-180, 0));
    Set("zrotmax", Count(0, 360));
}

void RandomScene::AddRules() {
    Set("direction", m_choose.Int(-100, 100));
    Set("altlimited", m_choose.Chance(25));
    Set("altmin", Number(-2, 1));
    Set("altmax", Number(1, 4));
    Set("slopelimited", m_choose.Chance(25));
    Set("slopemin", Number(0, 15));
    Set("slopemax", Number(10, 60));
    Set("surfaltdens", m_choose.Chance(15));
    Set("surfslodens", m_choose.Chance(15));
    Set("surfaltscal", m_choose.Chance(15));
    Set("collision", m_choose.Chance(35));
    Set("collpreview", true);
    Set("radius", Count(40, 250));
    Set("collheight", Count(0, 100));
}

// Above the ground, looking down at a slant.
void RandomScene::AddCamera() {
    auto camera = std::make_shared<CameraObject>();
    camera->fovDegrees = Number(20, 110);
    if (m_wild && m_choose.Chance(10)) camera->fovDegrees = m_choose.Chance(50) ? 0 : 180;
    Matrix3 frame = Matrix3::RotationX(Number(0, 1)) * Matrix3::RotationZ(Number(0, kFullTurn)) *
                    Matrix3::Translation(Place(10, 0) + Point3{0, 0, Number(5, 40)});
    Set("camera", Add("camera", camera, frame)->shared_from_this());
    bool limits = m_choose.Chance(60);
    KnownCamera known{frame, camera->fovDegrees.At(0), 1, Number(10, 80), 0, 0};
    known.widenPercent = float(m_choose.Int(0, 30));
    known.apexBehind = Number(0, 3);
    known.aspect = float(scene.render->width) / float(scene.render->height);
    Set("camlimit", limits);
    Set("camfar", known.far);
    Set("camwidth", int(known.widenPercent));
    Set("cambho", known.apexBehind);
    Set("camdensact", m_choose.Chance(25));
    Set("camscaact", m_choose.Chance(25));
    Set("camdensear", Number(0, 10));
    Set("camdensfar", Number(10, 60));
    if (limits) limit = known;
}

// Any number or switch of the object, but for what bounds the work that a build may do.
void RandomScene::AddNonsense() {
    static const char* const kBounds[] = {"maxdensity",  "vmaxitems", "rmaxitems",  "threads",
                                          "autothreads", "mode",      "arresollist"};
    auto isBound = [](const ParamDef& def) {
        return std::any_of(std::begin(kBounds), std::end(kBounds),
                           [&](const char* name) { return def.name == name; });
    };
    Set("maxdensity", 1);
    Set("vmaxitems", 2000);
    Set("rmaxitems", 20000);
    int count = m_choose.Int(0, 12);
    for (int i = 0; i < count; ++i) {
        auto block = DravinBlockId(m_choose.Int(0, kNumDravinBlocks - 1));
        const ParamBlockDesc2& desc = object->Block(block).GetDesc();
        const ParamDef& def = desc.params[size_t(m_choose.Int(0, int(desc.params.size()) - 1))];
        float number = Number(-100, 100);
        int whole = Count(-2, 40);
        if (isBound(def)) continue;
        if (std::holds_alternative<float>(def.defaultValue))
            object->Block(block).SetValue(def.id, 0, number);
        if (std::holds_alternative<int32_t>(def.defaultValue))
            object->Block(block).SetValue(def.id, 0, whole);
    }
}
