// The drawing of ScanScene, which its callers' samples are compiled into.
#pragma once

#include "host/render/sampler.h"
#include "host/render/scanline/scan_scene.h"

// Faces first, first + stride and so on, grown so that they cover as much as all would: they
// overlap at random, which takes a third more.
template <class Emit>
void ScanScene::DrawFaces(const ScanPiece& piece, const RenderMesh& mesh, uint32_t first,
                          uint32_t last, uint32_t stride, const ScanView& view,
                          const RasterWindow& window, const Emit& emit) const {
    const float grown = std::sqrt(float(stride) * 1.33f);
    bool isInstance = KindOf(piece) == kSource, isChangeable = IsChangeable(piece);
    Matrix3 toView = isInstance ? InstanceOf(piece).ToWorld() * view.worldToView : view.worldToView;
    const Point3* positions = mesh.Positions();
    RasterWindow local{0, 0, window.x1 - window.x0, window.y1 - window.y0};
    for (uint32_t f = first; f < last; f += stride) {
        if (isChangeable) {
            const Triple& now = mesh.Source().faces[mesh.SourceFace(f)].v;
            if (now[0] == now[1] && now[1] == now[2]) continue;
        }
        const Triple& t = mesh.Faces()[f];
        Point3 places[3] = {positions[t[0]], positions[t[1]], positions[t[2]]};
        if (stride > 1) {
            Point3 middle = (places[0] + places[1] + places[2]) / 3;
            for (Point3& p : places) p = middle + (p - middle) * grown;
        }
        RasterCorner corners[3];
        for (size_t c = 0; c < 3; ++c)
            corners[c] = view.Corner(places[c], toView, window.x0, window.y0);
        corners[1].u = corners[2].v = 1;
        RasterTriangle(corners, local, [&](int x, int y, float depth, float u, float v) {
            emit(x, y, depth, f, u, v);
        });
    }
}

template <class Emit>
void ScanScene::DrawBlock(const ScanPiece& piece, const ScanView& view, const RasterWindow& window,
                          const Emit& emit) const {
    const RenderHeights& heights = HeightsOf(piece);
    RasterWindow cells = BlockCells(heights, piece.first);
    RasterWindow local{0, 0, window.x1 - window.x0, window.y1 - window.y0};
    for (int row = cells.y0; row < cells.y1; ++row)
        for (int column = cells.x0; column < cells.x1; ++column)
            for (bool upper : {false, true}) {
                HeightTriangle triangle{uint32_t(column), uint32_t(row), upper};
                if (!heights.Field().Exists(triangle)) continue;
                std::array<Point3, 3> places = heights.Corners(triangle);
                RasterCorner corners[3];
                for (size_t c = 0; c < 3; ++c)
                    corners[c] = view.Corner(places[c], view.worldToView, window.x0, window.y0);
                corners[1].u = corners[2].v = 1;
                RasterTriangle(corners, local, [&](int x, int y, float depth, float u, float v) {
                    emit(x, y, depth, heights.Pack(triangle), u, v);
                });
            }
}

template <class Emit, class EmitMasked>
void ScanScene::DrawPiece(size_t number, const ScanView& view, const RasterWindow& window,
                          const Emit& emit, const EmitMasked& emitMasked) const {
    const ScanPiece& piece = m_pieces[number];
    if (KindOf(piece) == kTerrain) {
        if (HeightsOf(piece).Material().canCut)
            DrawBlock(piece, view, window, emitMasked);
        else
            DrawBlock(piece, view, window, emit);
        return;
    }
    const RenderMesh& mesh = MeshOf(piece);
    auto count = uint32_t(piece.count ? piece.count : mesh.NumFaces() - piece.first);
    uint32_t end = piece.first + count;
    uint32_t opaque = std::clamp(uint32_t(mesh.NumOpaque()), piece.first, end);
    uint32_t stride = piece.count ? 1 : StrideOf(piece, mesh, view), start = 0;
    if (stride > 1) start = HashMix(piece.instance) % stride;
    DrawFaces(piece, mesh, piece.first + start, opaque, stride, view, window, emit);
    DrawFaces(piece, mesh, opaque + start, end, stride, view, window, emitMasked);
}
