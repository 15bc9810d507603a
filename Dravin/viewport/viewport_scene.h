// What viewports show of a scene at one time: a snapshot that never changes, so that it may be
// drawn on other threads while the scene is being edited.
//
// Meshes, terrains and samples of sources are shared, not copied. Items of scatter objects are
// instances of their sources, sorted into cells of their place; inside a cell they stand in random
// order, so that any first part of it is a fair thinning. Colours are display colours. The scatter
// objects show their last build: whoever wants the time's own builds them before.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Dravin/engine/item.h"
#include "Dravin/geometry/mesh_sample.h"
#include "Dravin/viewport/view_shape.h"
#include "Dravin/viewport/view_texture.h"
#include "host/geom/height_field.h"
#include "host/geom/mesh.h"
#include "host/geom/poly_line.h"
#include "host/math/color.h"
#include "host/render/render_scene.h"
#include "host/scene/scene.h"

// What faces of one material show.
struct TViewPaint {
    Color color{0.6f, 0.6f, 0.6f};
    float opacity = 1;
    bool isWire = false;
    // Its maps; null: none. They show where the viewport shows textures, and everywhere with
    // showsMap.
    std::shared_ptr<const TViewTexture> texture;
    bool showsMap = false;
    bool usesVertexColors = false;
    Color meanColor{0.6f, 0.6f, 0.6f};  // with its maps
};

// A source of items at one of its frames.
struct TViewPrototype {
    std::shared_ptr<const TDravinMeshSample> sample;  // with a mesh that has faces
    std::vector<uint16_t> palette;  // by material id, wrapped around: place in the object's palette
    Color idColor;                  // of its row
    uint32_t row = 0, node = 0;     // that it is of, in the build
    // Of the faces of the unit mesh, by material id, wrapped around.
    std::vector<TViewPaint> paints;
    std::shared_ptr<Mtl> material;  // a copy of what it shows, nobody else's; null: default grey
    std::shared_ptr<const TViewShape> shape;  // of the same paints
    uint32_t numItems = 0;                    // that show it
    // Of the unit mesh.
    Box3 bounds;
    float radius = 0;  // about the origin of the unit mesh
};

struct TViewItem {
    Matrix3 toObject;        // from unit size
    uint32_t prototype = 0;  // of the scatter object
    uint32_t item = 0;       // place in the item list
    uint8_t tint[3]{};       // display colour in bytes
    uint8_t tintAmount = 0;  // 255: the tint alone
    // From bit kHiddenShift on, of partial items: their place among the hidden elements.
    enum Flags : uint32_t { kSelected = 1, kPartial = 2, kHiddenShift = 8 };
    uint32_t flags = 0;
};
static_assert(sizeof(TViewItem) == 64);  // graphics cards take it as it is

struct TViewCell {
    uint32_t first = 0, count = 0;  // of the items
    Box3 bounds;                    // of their boxes, object space
    float meanRadius = 0;           // of items
};

// The items of a build, kept from snapshot to snapshot while they stay the same.
struct TViewItems {
    std::vector<TViewItem> items;
    std::vector<TViewCell> cells;
    // Items without some of the elements of their mesh, by place in the item list.
    std::vector<std::pair<uint32_t, TBitArray>> hiddenElements;
    // Which build they are of, and what was marked among them.
    uint64_t buildNumber = 0, marks = 0;
};

// What a scatter object shows.
struct TViewScatter {
    std::vector<TViewPrototype> prototypes;
    std::shared_ptr<const TViewItems> content = std::make_shared<const TViewItems>();
    const std::vector<TViewItem>& Items() const { return content->items; }
    const std::vector<TViewCell>& Cells() const { return content->cells; }
    // Colours of dots: of what is selected, of each material, and the wire colour where there are
    // none.
    std::vector<Color> palette;
    bool showsDots = false;     // not its mesh
    bool showsProxies = false;  // its mesh holds proxy shapes, which its items do not say
    bool usesIdColor = false;   // dots have the colours of rows
    bool largeDots = true;
    bool isEdited = false;    // its items are, one by one: what is selected shows so
    float dotDensity = 0.5f;  // object's times global density
    float dotShade = 0.5f;    // how much dots darken away from the light, 0..1
    // By face of the object mesh: its item, and whether that is selected.
    std::vector<int32_t> owners;
    BitArray selectedFaces;
    std::vector<Point3> gizmoPoints;  // corners of the map's tiles, object space
};

enum class TViewKind { kNothing, kMesh, kTerrain, kScatter, kLines, kCamera, kLight, kDummy };

// A node that shows something.
struct TViewNode {
    std::string name;
    NodeHandle handle = 0;
    TViewKind kind = TViewKind::kNothing;
    bool isSelected = false;
    Color wire;
    Matrix3 toWorld;
    Box3 bounds;  // its own space

    std::shared_ptr<const Mesh> mesh;            // of meshes and scatter objects; may be null
    std::shared_ptr<const HeightField> heights;  // of terrains
    std::vector<TViewPaint> paints;              // by material id, wrapped around; or by facePaint
    std::vector<uint16_t> facePaint;             // by face, where ids do not say it
    std::shared_ptr<Mtl> material;  // a copy of its own, nobody else's; null: default grey
    std::shared_ptr<const TViewScatter> scatter;
    PolyShape lines;       // of splines, outlines, and the icon of a scatter object without items
    float slopeX = 0;      // of cameras: half the width of the view at depth 1
    uint32_t firstId = 0;  // id of the node; items have the ids after it
    uint32_t numIds = 1;
};

// Light and air of pictures, of the snapshot's time.
struct TViewLight {
    SunLight sun;
    SkyLight sky;
    Haze haze;
    std::vector<RenderLight> lights;
    float exposure = 0;  // stops
};

class TViewportScene {
public:
    static constexpr uint32_t kNoItem = 0xFFFFFFFFu, kNoId = 0;

    const std::vector<TViewNode>& Nodes() const { return m_nodes; }
    // World box of all that is shown; empty without anything.
    const Box3& Bounds() const { return m_bounds; }
    size_t NumItems() const { return m_numItems; }

    // What an id of a picture stands for. Null for kNoId and ids of no node.
    struct Found {
        const TViewNode* node = nullptr;
        uint32_t item = kNoItem;  // place in its item list; kNoItem: the node as a whole
    };
    Found Find(uint32_t id) const;

    const TViewLight& Light() const { return m_light; }
    TimeValue Time() const { return m_time; }

    // Nodes get their ids and the scene its bounds.
    explicit TViewportScene(std::vector<TViewNode> nodes, TViewLight light = {},
                            TimeValue time = 0);

private:
    std::vector<TViewNode> m_nodes;
    TViewLight m_light;
    TimeValue m_time;
    Box3 m_bounds;
    size_t m_numItems = 0;
};

// One thread, which owns the scene. threads: that help it. Materials are brought to the time;
// images that cannot be read are left out. before: the last snapshot of this scene, whose items
// stay where the builds are the same.
std::shared_ptr<const TViewportScene> MakeViewportScene(Scene& scene, TimeValue t, int threads,
                                                        const TViewportScene* before = nullptr);
