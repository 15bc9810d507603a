#include "host/io/bitmap.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/base/input_limit.h"
#include "host/io/image_kind.h"
#include "tests/temp_folder.h"

// The image library forgets an error text when the PNG library jumps out of its read callback. The
// whole call stack is needed to tell that leak from others. Only the address sanitizer calls these.
extern "C" const char* __lsan_default_suppressions() { return "leak:PngReadCallback\n"; }
extern "C" const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }

namespace {

Bitmap Ramp8(int channels) {
    std::vector<uint8_t> values;
    for (int i = 0; i < 5 * 3 * channels; ++i) values.push_back(uint8_t(i * 7));
    return {5, 3, channels, values};
}

void ExpectRoundTrip(const Bitmap& image, const std::string& name, bool fullFloat = false) {
    TempFolder folder;
    std::string error, path = folder.File(name);
    ASSERT_TRUE(WriteBitmap(path, image, &error, fullFloat)) << error;
    auto back = ReadBitmap(path, &error);
    ASSERT_NE(back, nullptr) << error;
    EXPECT_EQ(back->Channels(), image.Channels());
    EXPECT_TRUE(back->Values() == image.Values()) << name;
    EXPECT_EQ(folder.NumFiles(), 1u);
}

}  // namespace

TEST(BitmapFile, EightBitPngComesBackExactly) {
    for (int channels = 1; channels <= 4; ++channels) ExpectRoundTrip(Ramp8(channels), "a.png");
}

TEST(BitmapFile, SixteenBitPngComesBackExactly) {
    std::vector<uint16_t> values;
    for (int i = 0; i < 4 * 4 * 3; ++i) values.push_back(uint16_t(i * 1361));
    ExpectRoundTrip({4, 4, 3, values}, "a.png");
    ExpectRoundTrip({4, 4, 3, values}, "a.tif");
}

TEST(BitmapFile, FloatsKeepTheirRangeInExr) {
    std::vector<float> values{0.1f, -2.5f, 1e6f, 0, 1, 65504};
    ExpectRoundTrip({2, 1, 3, values}, "a.exr", true);
    std::vector<float> exactInHalf{0.5f, -2.5f, 1024, 0, 1, 65504};
    ExpectRoundTrip({2, 1, 3, exactInHalf}, "a.exr");
}

TEST(BitmapFile, TopRowIsFirst) {
    // Bottom row black, top row white.
    Bitmap image(1, 2, 1, std::vector<uint8_t>{255, 0});
    ExpectRoundTrip(image, "a.png");
    EXPECT_EQ(image.Pixel(0, 0).r, 0);
    EXPECT_EQ(image.Pixel(0, 1).r, 1);
}

TEST(BitmapFile, OtherFormatsAreRead) {
    // A plain-text grey map: 2 x 1, values 0 and 255.
    TempFolder folder;
    std::string error;
    auto image = ReadBitmap(folder.Write("a.pgm", "P2\n2 1\n255\n0 255\n"), &error);
    ASSERT_NE(image, nullptr) << error;
    EXPECT_EQ(image->Width(), 2);
    EXPECT_EQ(image->Pixel16(1, 0)[0], 65535);
}

TEST(BitmapFile, TheFirstBytesTellTheKindWhateverTheName) {
    TempFolder folder;
    std::string error;
    for (const char* ending : {"png", "jpg", "tif", "exr", "bmp", "hdr"}) {
        std::string file = folder.File(std::string("a.") + ending);
        ASSERT_TRUE(WriteBitmap(file, Ramp8(3), &error)) << error;
        std::string misnamed = folder.Write("b.txt", folder.Read(std::string("a.") + ending));
        EXPECT_NE(ReadBitmap(misnamed, &error), nullptr) << ending << ": " << error;
    }
    EXPECT_EQ(ReadBitmap(folder.Write("c.png", "no image"), &error), nullptr);
    EXPECT_NE(error.find("c.png: cannot read the image: not a file of a known kind"), error.npos)
        << error;
}

TEST(ImageKind, MarksOfAllKinds) {
    using std::string_view_literals::operator""sv;
    EXPECT_EQ(ImageKind("\x89PNG\r\n\x1A\n"sv, ""), "png");
    EXPECT_EQ(ImageKind("MM\0\x2A"sv, ""), "tiff");
    EXPECT_EQ(ImageKind("RIFF\1\2\3\4WEBPVP8 "sv, ""), "webp");
    EXPECT_EQ(ImageKind("\0\0\0\x0CjP  \r\n\x87\n"sv, ""), "jpeg2000");
    EXPECT_EQ(ImageKind("P6 1 1 255"sv, ""), "pnm");
    EXPECT_EQ(ImageKind("P7 1 1 255"sv, ""), "");
    EXPECT_EQ(ImageKind("\0\0\2"sv, "a.TGA"), "targa");
    EXPECT_EQ(ImageKind("\0\0\2"sv, "a.png"), "");
    EXPECT_EQ(ImageKind(""sv, "tga"), "");
}

TEST(BitmapFile, ReadersThatThrowAreErrors) {
    // A GIF whose first block is larger than its picture.
    TempFolder folder;
    std::string error, gif("GIF89a\0\xFF\xFF\xFF\0\0\0,\0\0\0\0\1\0\1\0\0\2\2D\1\0;", 29);
    EXPECT_EQ(ReadBitmap(folder.Write("a.gif", gif), &error), nullptr);
    EXPECT_NE(error.find("a.gif: cannot read the image: the file is damaged"), error.npos) << error;
}

TEST(BitmapFile, PackedImagesAreReadFromMemory) {
    TempFolder folder;
    std::string error;
    ASSERT_TRUE(WriteBitmap(folder.File("a.png"), Ramp8(3), &error));
    ASSERT_TRUE(WriteBitmap(folder.File("a.jpg"), Ramp8(3), &error));
    auto png = ReadBitmapFromMemory(folder.Read("a.png"), "packed", &error);
    ASSERT_NE(png, nullptr) << error;
    EXPECT_TRUE(png->Values() == Ramp8(3).Values());
    EXPECT_NE(ReadBitmapFromMemory(folder.Read("a.jpg"), "packed", &error), nullptr) << error;
    EXPECT_EQ(ReadBitmapFromMemory("garbage", "packed", &error), nullptr);
    EXPECT_EQ(error.rfind("packed: cannot read the image: ", 0), 0u) << error;
}

TEST(BitmapFile, ImplausibleSizesAreRefusedBeforeAllocation) {
    // A header that claims 60000 x 60000 pixels of 48 bits, followed by nothing.
    TempFolder folder;
    std::string error;
    EXPECT_EQ(ReadBitmap(folder.Write("a.ppm", "P6\n60000 60000\n255\nxx"), &error), nullptr);
    EXPECT_NE(error.find("a.ppm: cannot read the image: claims 60000 x 60000"), error.npos)
        << error;
    EXPECT_EQ(ReadBitmap(folder.Write("b.ppm", "P6\n70000 1\n255\nxx"), &error), nullptr);
    EXPECT_NE(error.find("at most 65536 a side"), error.npos) << error;
}

// The limit that a test sets goes with it.
struct LimitedInput {
    explicit LimitedInput(uint64_t bytes) { SetInputLimit(bytes); }
    ~LimitedInput() { SetInputLimit(kDefaultInputLimit); }
};

TEST(BitmapFile, WhatItTakesDecodedIsWeighed) {
    TempFolder folder;
    std::string error;
    // 1024 x 1024 pixels of 3 bytes: 3 MiB exactly, and one row more.
    Bitmap image(1024, 1024, 3, std::vector<uint8_t>(3 << 20)),
        larger(1024, 1025, 3, std::vector<uint8_t>((3 << 20) + 3072));
    ASSERT_TRUE(WriteBitmap(folder.File("a.png"), image, &error)) << error;
    ASSERT_TRUE(WriteBitmap(folder.File("b.png"), larger, &error)) << error;
    LimitedInput limit(3 << 20);
    EXPECT_NE(ReadBitmap(folder.File("a.png"), &error), nullptr) << error;
    EXPECT_EQ(ReadBitmap(folder.File("b.png"), &error), nullptr);
    EXPECT_NE(error.find("b.png: cannot read the image: 1024 x 1025 pixels of 3 channels: it would "
                         "take 4 MiB of memory, one input may take 3; --input-limit 4"),
              error.npos)
        << error;
    EXPECT_EQ(ReadBitmapFromMemory(folder.Read("b.png"), "packed", &error), nullptr);
    EXPECT_EQ(ReadBitmapFromMemory(folder.Read("a.png"), "packed", &error, 1), nullptr);
    ImageError weighed;
    EXPECT_EQ(ReadImage(folder.File("a.png"), 1, &weighed), nullptr);
    EXPECT_TRUE(weighed.isLimit);
}

TEST(BitmapFile, WithoutALimitSidesMayBeLonger) {
    TempFolder folder;
    std::string error, row = "P5\n70000 1\n255\n" + std::string(70000, 'x');
    EXPECT_EQ(ReadBitmap(folder.Write("a.pgm", row), &error), nullptr);
    EXPECT_NE(error.find("or give --no-limit"), error.npos) << error;
    LimitedInput limit(kNoInputLimit);
    ASSERT_NE(ReadBitmap(folder.File("a.pgm"), &error), nullptr) << error;
}

TEST(BitmapFile, EveryPrefixFailsOrReads) {
    TempFolder folder;
    std::string error;
    for (const char* name : {"a.png", "a.exr", "a.bmp", "a.jpg", "a.tif", "a.tga"}) {
        ASSERT_TRUE(WriteBitmap(folder.File(name), Ramp8(3), &error)) << error;
        std::string whole = folder.Read(name), cut = std::string("cut_") + name;
        for (size_t n = 0; n < whole.size(); n += 1 + whole.size() / 97) {
            error.clear();
            auto image = ReadBitmap(folder.Write(cut, whole.substr(0, n)), &error);
            EXPECT_EQ(image == nullptr, !error.empty());
        }
    }
}

TEST(BitmapFile, BadTargetsAndSourcesAreClearErrors) {
    TempFolder folder;
    std::string error;
    EXPECT_FALSE(WriteBitmap(folder.File("a.xyz"), Ramp8(3), &error));
    EXPECT_NE(error.find("a.xyz: cannot write the image: the ending"), error.npos) << error;
    EXPECT_FALSE(WriteBitmap(folder.File("no/a.png"), Ramp8(3), &error));
    EXPECT_FALSE(WriteBitmap(folder.File("a.png"), Bitmap(), &error));
    EXPECT_EQ(folder.NumFiles(), 0u);

    std::string fifo = folder.File("a.png");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(ReadBitmap(fifo, &error), nullptr);
    EXPECT_NE(error.find("is a pipe"), error.npos) << error;
    EXPECT_EQ(ReadBitmap(folder.File("none.png"), &error), nullptr);
    EXPECT_NE(error.find("No such file"), error.npos) << error;
}

TEST(BitmapFile, MapLoadsItsFileWhenUpdated) {
    TempFolder folder;
    std::string error;
    ASSERT_TRUE(WriteBitmap(folder.File("a.png"), Ramp8(3), &error));
    auto map = MakeBitmapTex(folder.File("a.png"));
    EXPECT_EQ(map->Image(), nullptr);
    ASSERT_TRUE(map->Update(0, &error)) << error;
    EXPECT_EQ(map->Image()->Width(), 5);
    EXPECT_EQ(map->ImageFile(), folder.File("a.png"));
}
