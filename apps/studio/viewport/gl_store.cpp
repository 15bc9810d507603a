#include "apps/studio/viewport/gl_store.h"

#include <algorithm>

namespace {

constexpr uint64_t kKeptPictures = 200;
constexpr int kLargestSide = 2048;

void SetAttribute(GLuint place, GLint size, GLenum kind, GLboolean scaled, size_t offset) {
    glEnableVertexAttribArray(place);
    glVertexAttribPointer(place, size, kind, scaled, sizeof(TViewVertex),
                          reinterpret_cast<const void*>(offset));
}

uint64_t NumberOf(const std::vector<uint16_t>& paints) {
    uint64_t number = paints.size();
    for (uint16_t paint : paints) number = (number ^ paint) * 0x100000001B3u;
    return number;
}

// Half the size. Colours count as much as they are opaque; opacity grows a little, or foliage would
// thin out with the distance.
TViewImage Halved(const TViewImage& from) {
    constexpr uint32_t kMoreOpaque = 115;  // percent
    TViewImage to{std::max(from.width / 2, 1), std::max(from.height / 2, 1), {}};
    to.rgba.resize(size_t(to.width) * size_t(to.height) * 4);
    for (int y = 0; y < to.height; ++y)
        for (int x = 0; x < to.width; ++x) {
            uint32_t sum[4]{}, plain[3]{};
            for (int s = 0; s < 4; ++s) {
                int fx = std::min(2 * x + (s & 1), from.width - 1);
                int fy = std::min(2 * y + (s >> 1), from.height - 1);
                const uint8_t* p = &from.rgba[(size_t(fy) * size_t(from.width) + size_t(fx)) * 4];
                for (int c = 0; c < 3; ++c) sum[c] += uint32_t(p[c]) * p[3], plain[c] += p[c];
                sum[3] += p[3];
            }
            uint8_t* out = &to.rgba[(size_t(y) * size_t(to.width) + size_t(x)) * 4];
            for (int c = 0; c < 3; ++c)
                out[c] = uint8_t(sum[3] > 0 ? sum[c] / sum[3] : plain[c] / 4);
            bool isWhole = sum[3] == 4 * 255 || sum[3] == 0;
            out[3] = uint8_t(isWhole ? sum[3] / 4 : std::min(sum[3] * kMoreOpaque / 400, 255u));
        }
    return to;
}

GLint WrapOf(BitmapTex::Wrap wrap) {
    if (wrap == BitmapTex::Wrap::kClamp) return GL_CLAMP_TO_EDGE;
    return wrap == BitmapTex::Wrap::kMirror ? GL_MIRRORED_REPEAT : GL_REPEAT;
}

template <class Map>
void DropUnused(Map& map, uint64_t picture) {
    std::erase_if(map, [&](const auto& e) { return e.second.lastUsed + kKeptPictures < picture; });
}

}  // namespace

GlStore::GlStore() {
    GLint texels = 0;
    glGetIntegerv(GL_MAX_TEXTURE_BUFFER_SIZE, &texels);
    m_mostItems = size_t(texels) / 4;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &m_mostSide);
}

void GlStore::BeginPicture() {
    ++m_picture;
    DropUnused(m_meshes, m_picture);
    DropUnused(m_images, m_picture);
    DropUnused(m_items, m_picture);
}

GlMesh GlStore::Upload(const TViewMesh& mesh, std::shared_ptr<const void> kept) {
    ++m_numUploads;
    GlMesh out;
    out.layout = MakeVertexArray();
    glBindVertexArray(out.layout);
    out.vertices = MakeBuffer(GL_ARRAY_BUFFER, mesh.vertices.data(),
                              mesh.vertices.size() * sizeof(TViewVertex));
    SetAttribute(0, 3, GL_FLOAT, GL_FALSE, offsetof(TViewVertex, position));
    SetAttribute(1, 4, GL_INT_2_10_10_10_REV, GL_TRUE, offsetof(TViewVertex, normal));
    SetAttribute(2, 2, GL_FLOAT, GL_FALSE, offsetof(TViewVertex, uv));
    SetAttribute(3, 4, GL_UNSIGNED_BYTE, GL_TRUE, offsetof(TViewVertex, color));
    glEnableVertexAttribArray(4);
    glVertexAttribIPointer(4, 1, GL_UNSIGNED_INT, sizeof(TViewVertex),
                           reinterpret_cast<const void*>(offsetof(TViewVertex, element)));
    std::vector<uint32_t> elements = mesh.indices;
    elements.insert(elements.end(), mesh.edges.begin(), mesh.edges.end());
    out.elements = MakeBuffer(GL_ELEMENT_ARRAY_BUFFER, elements.data(), elements.size() * 4);
    out.firstEdge = mesh.indices.size();
    out.levels = mesh.levels;
    out.kept = std::move(kept);
    return out;
}

const GlMesh& GlStore::ShapeMesh(const std::shared_ptr<const TViewShape>& shape) {
    GlMesh& mesh = m_meshes[{shape.get(), 0, 0}];
    if (!mesh.kept) mesh = Upload(shape->Mesh(), shape);
    mesh.lastUsed = m_picture;
    return mesh;
}

const GlMesh& GlStore::NodeMesh(const TViewNode& node, size_t numPaints,
                                const std::vector<uint16_t>& facePaint) {
    GlMesh& mesh = m_meshes[{node.mesh.get(), numPaints, NumberOf(facePaint)}];
    if (!mesh.kept) {
        TViewMeshWish wish;
        wish.numPaints = numPaints, wish.facePaint = facePaint;
        std::vector<int> channels(numPaints, 1);
        for (size_t p = 0; p < std::min(numPaints, node.paints.size()); ++p)
            if (node.paints[p].texture) channels[p] = node.paints[p].texture->channel;
        wish.channels = channels;
        mesh = Upload(MakeViewMesh(*node.mesh, wish), node.mesh);
    }
    mesh.lastUsed = m_picture;
    return mesh;
}

const GlMesh& GlStore::TerrainMesh(const TViewNode& node, size_t step) {
    GlMesh& mesh = m_meshes[{node.heights.get(), step, 0}];
    if (!mesh.kept) mesh = Upload(MakeTerrainMesh(*node.heights, step), node.heights);
    mesh.lastUsed = m_picture;
    return mesh;
}

GLuint GlStore::Image(const std::shared_ptr<const TViewTexture>& texture) {
    // Snapshots make new ones of what has not changed.
    for (auto& [key, known] : m_images)
        if (key == texture.get() || *known.kept == *texture) {
            known.lastUsed = m_picture;
            return known.texture;
        }
    ++m_numUploads;
    GlImage& image = m_images[texture.get()];
    image.kept = texture, image.lastUsed = m_picture, image.texture = MakeTexture();
    glBindTexture(GL_TEXTURE_2D, image.texture);
    TViewImage level = MakeViewImage(*texture, std::min(m_mostSide, kLargestSide));
    for (int number = 0;; ++number) {
        glTexImage2D(GL_TEXTURE_2D, number, GL_RGBA8, level.width, level.height, 0, GL_RGBA,
                     GL_UNSIGNED_BYTE, level.rgba.data());
        if (level.width == 1 && level.height == 1) break;
        level = Halved(level);
    }
    const TViewMap& map = PlacingMap(*texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, WrapOf(map.wrap));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, WrapOf(map.wrap));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, map.isNearest ? GL_NEAREST : GL_LINEAR);
    return image.texture;
}

const GlItems& GlStore::Items(const std::shared_ptr<const TViewItems>& items) {
    GlItems& own = m_items[items.get()];
    own.lastUsed = m_picture;
    if (own.kept) return own;
    ++m_numUploads;
    own.kept = items;
    own.count = std::min(items->items.size(), m_mostItems);
    own.items = MakeTable(GL_RGBA32UI, items->items.data(), own.count * sizeof(TViewItem));
    int words = 1;
    for (const auto& [item, mask] : items->hiddenElements)
        words = std::max(words, (mask.NumBits() + 31) / 32);
    std::vector<uint32_t> bits(std::max<size_t>(items->hiddenElements.size(), 1) * size_t(words));
    for (size_t i = 0; i < items->hiddenElements.size(); ++i) {
        const TBitArray& mask = items->hiddenElements[i].second;
        for (int32_t e = 0; e < mask.NumBits(); ++e)
            if (mask.Test(e)) bits[i * size_t(words) + size_t(e / 32)] |= 1u << (e % 32);
    }
    own.hidden = MakeTable(GL_R32UI, bits.data(), bits.size() * 4);
    own.hiddenWords = words;
    return own;
}
