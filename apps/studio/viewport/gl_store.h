// What of snapshots lies on the graphics card: meshes, images and the items of scatter objects.
// Each is uploaded when it is first drawn, kept while it is, and let go some pictures later.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "Dravin/viewport/viewport_scene.h"
#include "apps/studio/viewport/gl_parts.h"

struct GlMesh {
    GlVertexArray layout;
    GlBuffer vertices, elements;  // triangles, then edges
    size_t firstEdge = 0;         // of the elements
    std::vector<TViewMeshLevel> levels;
    std::shared_ptr<const void> kept;  // what it was made of, so that nothing else has its address
    uint64_t lastUsed = 0;
};

struct GlImage {
    GlTexture texture;
    std::shared_ptr<const TViewTexture> kept;
    uint64_t lastUsed = 0;
};

struct GlItems {
    GlTable items, hidden;
    int hiddenWords = 0;  // of an item
    size_t count = 0;     // that were taken: a card has its limit
    std::shared_ptr<const TViewItems> kept;
    uint64_t lastUsed = 0;
};

class GlStore {
public:
    GlStore();

    // A picture begins: what has not been drawn for a while goes.
    void BeginPicture();
    // The mesh of a source of items.
    const GlMesh& ShapeMesh(const std::shared_ptr<const TViewShape>& shape);
    // The mesh or the terrain of a node; facePaint as TViewMeshWish has it.
    const GlMesh& NodeMesh(const TViewNode& node, size_t numPaints,
                           const std::vector<uint16_t>& facePaint);
    const GlMesh& TerrainMesh(const TViewNode& node, size_t step);
    GLuint Image(const std::shared_ptr<const TViewTexture>& texture);
    const GlItems& Items(const std::shared_ptr<const TViewItems>& items);
    // How often something was uploaded since the beginning.
    uint64_t NumUploads() const { return m_numUploads; }

private:
    struct MeshKey {
        const void* mesh;
        size_t numPaints;
        uint64_t paints;
        auto operator<=>(const MeshKey&) const = default;
    };
    GlMesh Upload(const TViewMesh& mesh, std::shared_ptr<const void> kept);

    std::map<MeshKey, GlMesh> m_meshes;
    std::map<const TViewTexture*, GlImage> m_images;
    std::map<const TViewItems*, GlItems> m_items;
    uint64_t m_picture = 0, m_numUploads = 0;
    size_t m_mostItems = 0;
    int m_mostSide = 0;
};
