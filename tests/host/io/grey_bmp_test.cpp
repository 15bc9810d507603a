#include "host/io/grey_bmp.h"

#include <gtest/gtest.h>

#include "host/base/input_limit.h"
#include "host/io/bitmap.h"
#include "tests/temp_folder.h"

namespace {

void Put(std::string& bytes, size_t offset, uint32_t value) {
    for (size_t i = 0; i < 4; ++i) bytes[offset + i] = char(value >> (8 * i) & 255);
}

// 3 x 2 pixels: indices 1 2 3 in the bottom row and 4 5 6 above; entry i of the palette is grey 10
// i.
std::string SmallBmp() {
    std::string bytes(54 + 1024 + 8, '\0');
    bytes[0] = 'B', bytes[1] = 'M';
    Put(bytes, 2, uint32_t(bytes.size())), Put(bytes, 10, 54 + 1024);
    Put(bytes, 14, 40), Put(bytes, 18, 3), Put(bytes, 22, 2);
    bytes[26] = 1, bytes[28] = 8;
    Put(bytes, 46, 256);
    for (size_t i = 0; i < 256; ++i) Put(bytes, 54 + 4 * i, uint32_t(i * 10 % 256) * 0x010101);
    for (size_t i = 0; i < 3; ++i) bytes[1078 + i] = char(1 + i), bytes[1082 + i] = char(4 + i);
    return bytes;
}

}  // namespace

TEST(GreyBmp, RowsStandBottomUpInWholeWords) {
    auto image = ReadGreyBmp(SmallBmp(), 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->Width(), 3);
    EXPECT_TRUE(image->Values() == Bitmap::Data(std::vector<uint8_t>{40, 50, 60, 10, 20, 30}));
}

TEST(GreyBmp, TheModuleReadsTheSame) {
    std::string error;
    auto image = ReadBitmapFromMemory(SmallBmp(), "small.bmp", &error);  // always by the module
    ASSERT_NE(image, nullptr) << error;
    EXPECT_TRUE(image->Values() == ReadGreyBmp(SmallBmp(), 0)->Values());
}

TEST(GreyBmp, OtherKindsAreLeftToTheModule) {
    struct {
        size_t offset;
        char value;
        const char* what;
    } kChanges[] = {{0, 'X', "mark"},         {14, 64, "header"},   {22, -1, "height"},
                    {25, -128, "top down"},   {28, 24, "depth"},    {30, 1, "compression"},
                    {46, 7, "short palette"}, {58, 99, "a colour"}, {18, 5, "more than there is"}};
    for (const auto& change : kChanges) {
        std::string bytes = SmallBmp();
        bytes[change.offset] = change.value;
        EXPECT_EQ(ReadGreyBmp(bytes, 0), nullptr) << change.what;
    }
}

TEST(GreyBmp, EveryPrefixIsNone) {
    std::string whole = SmallBmp();
    for (size_t n = 0; n < whole.size(); ++n)
        EXPECT_EQ(ReadGreyBmp(std::string_view(whole).substr(0, n), 0), nullptr) << n;
}

TEST(GreyBmp, WhatItTakesIsWeighed) {
    SetInputLimit(6 * 11 - 1);  // six pixels, with ten bytes more for each
    EXPECT_EQ(ReadGreyBmp(SmallBmp(), 10), nullptr);
    EXPECT_NE(ReadGreyBmp(SmallBmp(), 9), nullptr);
    TempFolder folder;
    folder.Write("small.bmp", SmallBmp());
    ImageError error;
    EXPECT_EQ(ReadImage(folder.File("small.bmp"), 10, &error), nullptr);
    EXPECT_TRUE(error.isLimit) << error.text;
    SetInputLimit(kDefaultInputLimit);
}
