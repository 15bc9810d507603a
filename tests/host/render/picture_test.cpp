#include "host/render/picture.h"

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "host/render/render_texture.h"

namespace {

Picture Ramp() {
    Picture picture{4, 2, std::vector<Color>(8), 2};
    for (size_t i = 0; i < 8; ++i) picture.pixels[i] = {float(i) / 8, float(i) / 16, 0.1f};
    return picture;
}

std::vector<float> ReadBack(const std::string& path) {
    auto in = OIIO::ImageInput::open(path);
    std::vector<float> values(size_t(in->spec().width) * size_t(in->spec().height) * 3);
    in->read_image(0, 0, 0, 3, OIIO::TypeDesc::FLOAT, values.data());
    return values;
}

std::string TempFile(const char* name) {
    return (std::filesystem::path(testing::TempDir()) / name).string();
}

}  // namespace

TEST(Picture, ExrKeepsLinearLightTimesTheExposure) {
    std::string path = TempFile("ramp.exr");
    ASSERT_EQ(WritePicture(path, Ramp()), "");
    std::vector<float> values = ReadBack(path);
    ASSERT_EQ(values.size(), 24u);
    EXPECT_NEAR(values[3 * 4], 1, 1e-3f);  // 4/8 times 2
    EXPECT_NEAR(values[3 * 4 + 1], 0.5f, 1e-3f);
    EXPECT_NEAR(values[2], 0.2f, 1e-3f);
}

TEST(Picture, PngHoldsToneMappedBytes) {
    std::string path = TempFile("ramp.png");
    Picture picture = Ramp();
    ASSERT_EQ(WritePicture(path, picture), "");
    std::vector<float> values = ReadBack(path);
    for (size_t i = 0; i < 8; ++i)
        EXPECT_NEAR(values[3 * i], ToneMap(picture.pixels[i], picture.exposure).r, 1.f / 255);
    EXPECT_FALSE(std::filesystem::exists(TempFile(".ramp.writing.png")));
}

TEST(Picture, UnknownEndingAndUnwritablePlaceAreErrors) {
    EXPECT_NE(WritePicture(TempFile("ramp.docx"), Ramp()).find("ending \".docx\""),
              std::string::npos);
    EXPECT_NE(WritePicture("/nowhere/at/all/ramp.png", Ramp()).find("cannot write"),
              std::string::npos);
}

TEST(Picture, ToneCurveRisesFromBlackToWhite) {
    EXPECT_NEAR(ToneMap({0, 0, 0}, 1).g, 0, 1e-4f);
    float previous = -1;
    for (float x = 0; x < 4; x += 0.1f) {
        float y = ToneMap({x, x, x}, 1).g;
        EXPECT_GT(y, previous);
        previous = y;
    }
    EXPECT_LE(ToneMap({1e6f, 1e6f, 1e6f}, 1).g, 1);
}

TEST(Picture, DisplayCurveInverts) {
    for (float x : {0.f, 0.002f, 0.04f, 0.5f, 1.f})
        EXPECT_NEAR(DisplayToLinear(LinearToDisplay(x)), x, 1e-6f);
}
