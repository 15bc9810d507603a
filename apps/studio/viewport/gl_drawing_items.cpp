// Items of scatter objects as instances of their sources, by level of detail.
#include <algorithm>

#include "Dravin/viewport/view_instances.h"
#include "apps/studio/viewport/gl_drawing_job.h"
#include "host/base/thread_pool.h"

namespace {

constexpr uint32_t kLevels = 8;  // more than any mesh has

}  // namespace

bool GlDrawing::DrawInstances(const Job& job, ViewPicture* picture) {
    for (const TViewNode& node : job.request.scene->Nodes()) {
        std::vector<const TViewPiece*> pieces;
        for (const TViewPiece& piece : job.plan.pieces)
            if (piece.node == &node && piece.kind == TViewPiece::kItems) pieces.push_back(&piece);
        if (pieces.empty()) continue;
        if (job.isStale()) return false;
        const TViewScatter& scatter = *node.scatter;
        const GlItems& items = m_store.Items(scatter.content);
        TViewportCamera camera = job.request.camera.Of(node.toWorld);
        TInstanceChooser chooser(camera, LargestScale(node.toWorld), job.plan.quality);
        // By piece: the group of each item that has faces, and its number.
        std::vector<std::vector<std::pair<uint32_t, uint32_t>>> found(pieces.size());
        ParallelFor(pieces.size(), job.settings.threads, [&](size_t p) {
            size_t last = std::min(pieces[p]->last, items.count);
            for (size_t i = pieces[p]->first; i < last; ++i) {
                const TViewItem& item = scatter.Items()[i];
                int level = chooser.Level(item, scatter.prototypes[item.prototype]);
                if (level >= 0)
                    found[p].emplace_back(item.prototype * kLevels + uint32_t(level), uint32_t(i));
            }
        });
        if (items.count < scatter.Items().size())
            picture->note = "the graphics card takes no more than " + std::to_string(items.count) +
                            " items of " + node.name;
        std::vector<size_t> next(scatter.prototypes.size() * kLevels + 1);
        for (const auto& some : found)
            for (auto [group, item] : some) ++next[group + 1];
        std::vector<Group> groups;
        for (uint32_t g = 0; g + 1 < next.size(); ++g) {
            if (next[g + 1] > 0) groups.push_back({g / kLevels, g % kLevels, next[g], next[g + 1]});
            next[g + 1] += next[g];
        }
        std::vector<uint32_t> numbers(next.back());
        for (const auto& some : found)
            for (auto [group, item] : some) numbers[next[group]++] = item;
        glBindBuffer(GL_ARRAY_BUFFER, m_instances);
        glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(numbers.size() * 4), numbers.data(),
                     GL_STREAM_DRAW);
        glActiveTexture(GL_TEXTURE1);
        glBindTexture(GL_TEXTURE_BUFFER, items.items.texture);
        glActiveTexture(GL_TEXTURE2);
        glBindTexture(GL_TEXTURE_BUFFER, items.hidden.texture);
        glActiveTexture(GL_TEXTURE0);
        glUniform1i(Uniform(m_mesh, "hiddenWords"), items.hiddenWords);
        if (!DrawGroups(job, node, groups)) return false;
    }
    return true;
}

bool GlDrawing::DrawGroups(const Job& job, const TViewNode& node,
                           const std::vector<Group>& groups) {
    constexpr size_t kMostFaces = 500'000;  // between two looks whether the picture is wanted
    const TViewScatter& scatter = *node.scatter;
    glUniform1i(Uniform(m_mesh, "isInstance"), 1);
    glUniform1i(Uniform(m_mesh, "isEdited"), scatter.isEdited);
    UseTransform(job, node.toWorld);
    for (const Group& group : groups) {
        const TViewPrototype& prototype = scatter.prototypes[group.prototype];
        const GlMesh& mesh = m_store.ShapeMesh(prototype.shape);
        size_t faces = std::max<size_t>(mesh.levels[group.level].numFaces, 1);
        size_t most = std::max<size_t>(kMostFaces / faces, 1);
        glBindVertexArray(mesh.layout);
        glBindBuffer(GL_ARRAY_BUFFER, m_instances);
        glEnableVertexAttribArray(5);
        glVertexAttribDivisor(5, 1);
        for (size_t done = 0; done < group.count; done += most) {
            if (job.isStale()) return false;
            glVertexAttribIPointer(5, 1, GL_UNSIGNED_INT, 4,
                                   reinterpret_cast<const void*>((group.first + done) * 4));
            DrawParts(job, mesh, group.level, prototype.paints,
                      int(std::min(most, group.count - done)));
        }
    }
    return true;
}
