#include "apps/studio/viewport/gl_drawing.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "apps/studio/viewport/gl_context.h"
#include "tests/apps/studio/viewport/view_scenes.h"

namespace {

using Rgb = std::array<int, 3>;

// At depth 10 a unit covers 10 pixels; the middle is at (100, 50).
const TViewportCamera kCamera({}, 90, 200, 100, 0.1f);
const Color kRed{1, 0, 0}, kGreen{0, 1, 0};

class GlDrawings : public testing::Test {
protected:
    std::string why;
    std::unique_ptr<GlContext> context = GlContext::Make(&why);
    std::unique_ptr<GlDrawing> drawing;

    void SetUp() override {
        ASSERT_TRUE(context) << why;
        drawing = std::make_unique<GlDrawing>();
    }
    void TearDown() override { drawing.reset(); }

    ViewRequest Request(std::shared_ptr<const TViewportScene> scene,
                        ViewportShading shading = ViewportShading::kShaded) const {
        ViewRequest request;
        request.scene = std::move(scene), request.camera = kCamera, request.shading = shading;
        request.showsGrid = false;
        return request;
    }
    ViewPicture Draw(const ViewRequest& request, uint64_t maxFaces = 0) {
        TViewportSettings settings = SettingsOf(request);
        settings.maxFaces = maxFaces;
        return *drawing->Draw(request, settings, 1, [] { return false; });
    }
    static Rgb At(const ViewPicture& picture, int x, int y) {
        const uint8_t* p = &picture.rgbx[(size_t(y) * size_t(picture.width) + size_t(x)) * 4];
        return {p[0], p[1], p[2]};
    }
    // Pixels in which one of the colours stands out.
    static int Count(const ViewPicture& picture, size_t channel) {
        int count = 0;
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x) {
                Rgb c = At(picture, x, y);
                count += c[channel] > 2 * std::max(c[(channel + 1) % 3], c[(channel + 2) % 3]);
            }
        return count;
    }
};

TEST_F(GlDrawings, FacesCoverTheirPixels) {
    // 2 x 2 at depth 10: x from 90 to 109, y from 40 to 59.
    auto scene = SceneOf({MeshNode(SquareMesh(), kRed, Matrix3::Translation({0, 0, -10}))});
    ViewPicture picture = Draw(Request(scene));
    EXPECT_EQ(Count(picture, 0), 400);
    for (auto [x, y] : {std::pair{90, 40}, {109, 40}, {90, 59}, {109, 59}})
        EXPECT_GT(At(picture, x, y)[0], 100) << x << " " << y;
    for (auto [x, y] : {std::pair{89, 50}, {110, 50}, {100, 39}, {100, 60}})
        EXPECT_LT(At(picture, x, y)[0], 100) << x << " " << y;
    EXPECT_TRUE(picture.isWhole);
}

TEST_F(GlDrawings, TheTopRowComesFirstAndTheNearestWins) {
    // The upper left quarter is green: a square at depth 5, moved up and to the left by 1.
    auto scene = SceneOf({MeshNode(SquareMesh(), kGreen, Matrix3::Translation({-1, 1, -5})),
                          MeshNode(SquareMesh(), kRed, Matrix3::Translation({0, 0, -10}))});
    ViewPicture picture = Draw(Request(scene));
    EXPECT_GT(At(picture, 95, 45)[1], 100);
    EXPECT_GT(At(picture, 105, 55)[0], 100);
    EXPECT_EQ(Count(picture, 1), 1600 / 4 + 1600 * 3 / 4);  // x 60 to 99, y 10 to 49
    EXPECT_EQ(Count(picture, 0), 300);
}

TEST_F(GlDrawings, ParallelViewsKeepSizesAndOrder) {
    // 20 units over 200 pixels: 10 pixels a unit at any depth.
    ViewRequest request =
        Request(SceneOf({MeshNode(SquareMesh(), kGreen, Matrix3::Translation({-1, 1, -50})),
                         MeshNode(SquareMesh(), kRed, Matrix3::Translation({0, 0, -10}))}));
    request.camera = TViewportCamera::Parallel({}, 20, 200, 100, 100);
    ViewPicture picture = Draw(request);
    EXPECT_EQ(Count(picture, 0), 400);
    EXPECT_EQ(Count(picture, 1), 300);
    EXPECT_GT(At(picture, 81, 31)[1], 100);
}

TEST_F(GlDrawings, DotsStandAmongFaces) {
    // The same rule as everywhere: 3 x 3 dots at depth 10, the middle one behind a square.
    TViewNode dots = ItemNode(MakeBox(1, 1, 1, 1), 3, 3, 0.01f, kGreen, true);
    dots.toWorld = Matrix3::Translation({0, 0, -10});
    auto all = Draw(Request(SceneOf({dots})));
    EXPECT_EQ(Count(all, 1), 9);
    TViewNode square = MeshNode(SquareMesh(), kRed, Matrix3::Translation({0, 0, -9}));
    EXPECT_EQ(Count(Draw(Request(SceneOf({dots, square}))), 1), 8);
    square.toWorld.row[3].z = -11;
    EXPECT_EQ(Count(Draw(Request(SceneOf({dots, square}))), 1), 9);
}

TEST_F(GlDrawings, ThePictureIsTheSplattersButForBorders) {
    auto ball = std::make_shared<Mesh>(MakeSphere(1, 8));
    for (Face& face : ball->faces) face.smGroup = 0;  // the splatter shades flat
    TViewNode items = ItemNode(*ball, 4, 3, 2, {0.3f, 0.6f, 0.3f});
    items.toWorld = Matrix3::Translation({0, 0, -20});
    ViewRequest request = Request(
        SceneOf({items, MeshNode(ball, {0.7f, 0.5f, 0.2f}, Matrix3::Translation({3, 1, -12}))}));
    ViewPicture picture = Draw(request);
    TViewportPicture other = DrawViewport(*request.scene, kCamera, SettingsOf(request));
    int different = 0;
    for (size_t i = 0; i < other.rgb.size() / 3; ++i)
        for (size_t c = 0; c < 3; ++c)
            if (std::abs(int(picture.rgbx[i * 4 + c]) - int(other.rgb[i * 3 + c])) > 8) {
                ++different;
                break;
            }
    // The borders alone: 16 balls of 10 pixels and one of 17.
    EXPECT_LT(different, 16 * 31 + 53);
    EXPECT_GT(Count(picture, 1), 0);
}

TEST_F(GlDrawings, TexturesLieUprightAndCutOut) {
    // Below red, above green; the right half is cut out.
    std::vector<uint8_t> bytes = {0, 255, 0, 255, 0, 255, 0, 0, 255, 0, 0, 255, 255, 0, 0, 0};
    auto image = std::make_shared<const Bitmap>(2, 2, 4, bytes);  // the top row first
    TViewTexture texture;
    texture.color.image = image, texture.color.isNearest = true;
    texture.mask.image = image, texture.mask.alphaOnly = true;
    texture.cutoff = 0.5f;
    TViewNode square = MeshNode(SquareMesh(), {0, 0, 1}, Matrix3::Translation({0, 0, -10}));
    square.paints[0].texture = std::make_shared<const TViewTexture>(texture);
    auto scene = SceneOf({square});
    ViewPicture picture = Draw(Request(scene, ViewportShading::kTextured));
    EXPECT_GT(At(picture, 92, 42)[1], 100);
    EXPECT_GT(At(picture, 92, 57)[0], 100);
    EXPECT_EQ(Count(picture, 0), 100);
    EXPECT_EQ(Count(picture, 1), 100);
    EXPECT_EQ(Count(picture, 2), 0);
    // Without textures, unless the material shows its maps in viewports.
    EXPECT_EQ(Count(Draw(Request(scene)), 2), 400);
    square.paints[0].showsMap = true;
    EXPECT_EQ(Count(Draw(Request(SceneOf({square}))), 2), 0);
}

TEST_F(GlDrawings, TintedSelectedAndPartialItems) {
    // Two triangles that share no edge: two elements, each half of the square.
    auto mesh = SquareMesh();
    mesh->verts.push_back(mesh->verts[0]), mesh->verts.push_back(mesh->verts[2]);
    mesh->faces[1].v = {4, 5, 3};
    TViewNode node = ItemNode(*mesh, 1, 1, 2, {1, 1, 1});
    node.toWorld = Matrix3::Translation({0, 0, -10});
    auto change = [&](const std::function<void(TViewItems&)>& what) {
        TViewNode changed = node;
        auto scatter = std::make_shared<TViewScatter>(*node.scatter);
        auto content = std::make_shared<TViewItems>(*scatter->content);
        what(*content);
        scatter->content = content, scatter->isEdited = true;
        scatter->palette[0] = {1, 1, 1};
        changed.scatter = scatter;
        return Draw(Request(SceneOf({changed})));
    };
    EXPECT_EQ(Count(change([](auto& c) { c.items[0].tint[1] = c.items[0].tintAmount = 255; }), 1),
              400);
    // Half of it, but for the pixels of the diagonal.
    EXPECT_NEAR(Count(change([](auto& c) {
                          c.items[0].tint[1] = c.items[0].tintAmount = 255;
                          c.items[0].flags = TViewItem::kPartial;
                          BitArray hidden(2);
                          hidden.Set(1);
                          c.hiddenElements.emplace_back(0u, TBitArray(hidden));
                      }),
                      1),
                200, 10);
    ViewPicture selected = change([](auto& c) {
        c.items[0].tint[1] = c.items[0].tintAmount = 255;
        c.items[0].flags = TViewItem::kSelected;
    });
    EXPECT_EQ(Count(selected, 1), 0);
    EXPECT_GT(At(selected, 100, 50)[0], 150);
}

TEST_F(GlDrawings, WireAndEdgesShowTheVisibleOnes) {
    // Half a pixel aside: the upper side runs through the middles of row 39.
    auto scene = SceneOf({MeshNode(SquareMesh(), kRed, Matrix3::Translation({0.05f, 0.05f, -10}))});
    ViewPicture wire = Draw(Request(scene, ViewportShading::kWire));
    EXPECT_LT(At(wire, 97, 45)[0], 100);
    EXPECT_NEAR(Count(wire, 0), 80, 4);  // four sides of 20 pixels; not the diagonal
    ViewRequest request = Request(scene);
    int shade = At(Draw(request), 97, 45)[0];
    request.showsEdges = true;
    ViewPicture both = Draw(request);
    EXPECT_EQ(At(both, 97, 45)[0], shade);
    int darker = 0;
    for (int x = 91; x < 110; ++x) darker += At(both, x, 39)[0] < shade / 2;
    EXPECT_GE(darker, 18);
}

TEST_F(GlDrawings, ABudgetOfFacesMakesSmallItemsDots) {
    TViewNode items = ItemNode(MakeSphere(1, 16), 40, 1, 0.8f, kGreen);
    items.toWorld = Matrix3::Translation({0, 0, -21});
    ViewRequest request = Request(SceneOf({items}));
    ViewPicture whole = Draw(request), thin = Draw(request, 5000);
    EXPECT_TRUE(whole.isWhole);
    EXPECT_FALSE(whole.isSimplified);
    EXPECT_TRUE(thin.isSimplified);
    EXPECT_EQ(thin.counts.itemsDrawn, 1600u);  // none is lost
    EXPECT_GT(Count(whole, 1), Count(thin, 1));
    EXPECT_GE(Count(thin, 1), 1600 / 2);
}

TEST_F(GlDrawings, ItemsStayOnTheCardWhileTheyAreTheSame) {
    TViewNode items = ItemNode(MakeBox(1, 1, 1, 1), 10, 1, 0.8f, kGreen);
    items.toWorld = Matrix3::Translation({0, 0, -12});
    Draw(Request(SceneOf({items})));
    uint64_t before = drawing->Store().NumUploads();
    items.isSelected = true;
    Draw(Request(SceneOf({items})));
    EXPECT_EQ(drawing->Store().NumUploads(), before);
    auto scatter = std::make_shared<TViewScatter>(*items.scatter);
    scatter->content = std::make_shared<TViewItems>(*scatter->content);
    items.scatter = scatter;
    Draw(Request(SceneOf({items})));
    EXPECT_EQ(drawing->Store().NumUploads(), before + 1);
}

TEST_F(GlDrawings, APictureThatNobodyWantsIsGivenUp) {
    auto scene = SceneOf({MeshNode(SquareMesh(), kRed, Matrix3::Translation({0, 0, -10}))});
    ViewRequest request = Request(scene);
    EXPECT_FALSE(drawing->Draw(request, SettingsOf(request), 1, [] { return true; }));
    EXPECT_EQ(Count(Draw(request), 0), 400);
}

}  // namespace
