#include "host/io/point_cache_file.h"

#include <filesystem>

#include <gmock/gmock.h>

#include "tests/host/io/point_cache_bytes.h"
#include "tests/temp_folder.h"

using testing::HasSubstr;

namespace {

struct Opened {
    std::shared_ptr<const IPointSamples> samples;
    ImportError error;
    std::string warning;

    std::vector<Point3> Points(size_t sample) const {
        std::vector<Point3> points;
        std::string reason;
        EXPECT_TRUE(samples->Read(sample, &points, &reason)) << reason;
        return points;
    }
};

Opened Open(const std::string& path, PointCacheOrigin origin = {}, PointCacheUse use = {}) {
    Opened opened;
    origin.file = path;
    opened.samples = OpenPointCache(origin, use, &opened.error, &opened.warning);
    EXPECT_EQ(!opened.samples, !opened.error.text.empty());
    return opened;
}

std::string ErrorOf(const std::string& bytes, const std::string& name = "a.pc2") {
    TempFolder folder;
    Opened opened = Open(folder.Write(name, bytes));
    EXPECT_EQ(opened.error.kind, ImportFailure::kMalformed);
    EXPECT_EQ(opened.error.text.find(folder.File(name)), 0u) << opened.error.text;
    return opened.error.text;
}

}  // namespace

TEST(PointCacheFile, Pc2CountsFramesAndHasZUp) {
    TempFolder folder;
    std::string path =
        folder.Write("a.pc2", Pc2Bytes(2, 3, 0.5f, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    Opened a = Open(path, {}, {200, 1});
    ASSERT_TRUE(a.samples) << a.error.text;
    EXPECT_EQ(a.samples->NumPoints(), 2u);
    EXPECT_EQ(a.samples->NumSamples(), 2u);
    EXPECT_EQ(a.samples->TimeOf(0), 600);
    EXPECT_EQ(a.samples->TimeOf(1), 700);
    EXPECT_EQ(a.Points(1), (std::vector<Point3>{{7, 8, 9}, {10, 11, 12}}));
    EXPECT_EQ(a.warning, "");
    Opened turned = Open(path, {{}, UpAxis::kY, true}, {200, 0.5});
    EXPECT_EQ(turned.Points(0), (std::vector<Point3>{{2, -6, 4}, {8, -12, 10}}));
}

TEST(PointCacheFile, MddCountsSecondsAndHasYUp) {
    TempFolder folder;
    Opened a = Open(folder.Write("A.MDD", MddBytes(1, {0.5f, 2}, {1, 2, 3, 4, 5, 6})));
    ASSERT_TRUE(a.samples) << a.error.text;
    EXPECT_EQ(a.samples->TimeOf(0), 2400);
    EXPECT_EQ(a.samples->TimeOf(1), 9600);
    EXPECT_EQ(a.Points(1), (std::vector<Point3>{{4, -6, 5}}));
    Opened upright = Open(folder.File("A.MDD"), {{}, UpAxis::kZ, false});
    EXPECT_EQ(upright.Points(1), (std::vector<Point3>{{4, 5, 6}}));
}

TEST(PointCacheFile, LyingCountsAreErrors) {
    EXPECT_THAT(ErrorOf(Pc2Bytes(2, 0, 1, 3, std::vector<float>(17))),
                HasSubstr("the file is cut: 3 samples of 2 points need 24 bytes each, 2 of them"));
    EXPECT_THAT(ErrorOf(Pc2Bytes(0x7fffffff, 0, 1, 0x7fffffff, {1, 2, 3})), HasSubstr("is cut"));
    EXPECT_THAT(ErrorOf(Pc2Bytes(-1, 0, 1, 1, {1, 2, 3})), HasSubstr("-1 points in 1 samples"));
    EXPECT_THAT(ErrorOf(Pc2Bytes(1, 0, 1, 0, {})), HasSubstr("1 points in 0 samples"));
    EXPECT_THAT(ErrorOf(MddBytes(2, {0, 1}, {1, 2, 3}), "a.mdd"), HasSubstr("is cut"));
    std::string times = MddBytes(1, {0, 1}, {});
    EXPECT_THAT(ErrorOf(times.substr(0, 10), "a.mdd"), HasSubstr("is cut"));
}

TEST(PointCacheFile, WhatIsNoCacheIsRefused) {
    EXPECT_THAT(ErrorOf("hello"), HasSubstr("PC2 begins with POINTCACHE2, MDD is named .mdd"));
    EXPECT_THAT(ErrorOf("", "a.mdd"), HasSubstr("within its first 8 bytes"));
    EXPECT_THAT(ErrorOf(Pc2Bytes(1, 0, 1, 1, {}).substr(0, 20)), HasSubstr("first 32 bytes"));
    EXPECT_THAT(ErrorOf(Pc2Bytes(1, 0, 1, 1, {1, 2, 3}, 2)), HasSubstr("version 2 of PC2"));
    EXPECT_EQ(Open("/nowhere/a.pc2").error.kind, ImportFailure::kMissingInput);
}

TEST(PointCacheFile, TimesRiseAndFitTheScene) {
    std::vector<float> two(6);
    EXPECT_THAT(ErrorOf(MddBytes(1, {1, 1}, two), "a.mdd"),
                HasSubstr("sample 1: its time is 1 seconds after 1; times must rise"));
    EXPECT_THAT(ErrorOf(MddBytes(1, {1, NAN}, two), "a.mdd"), HasSubstr("sample 1"));
    EXPECT_THAT(ErrorOf(MddBytes(1, {-1e9f, 1}, two), "a.mdd"), HasSubstr("sample 0"));
    EXPECT_THAT(ErrorOf(Pc2Bytes(1, 0, 0, 2, two)), HasSubstr("0 frames apart"));
    EXPECT_THAT(ErrorOf(Pc2Bytes(1, 1e6f, 1e-30f, 2, two)), HasSubstr("a thousandth of a tick"));
    EXPECT_THAT(ErrorOf(Pc2Bytes(1, 0, NAN, 2, two)), HasSubstr("above 0"));
    EXPECT_THAT(ErrorOf(Pc2Bytes(1, 0, 1e9f, 2, two)), HasSubstr("outside the time"));
    EXPECT_THAT(ErrorOf(Pc2Bytes(1, INFINITY, 1, 2, two)), HasSubstr("outside the time"));
    // Of one sample it does not matter.
    TempFolder folder;
    EXPECT_TRUE(Open(folder.Write("a.pc2", Pc2Bytes(1, 0, 0, 1, {1, 2, 3}))).samples);
}

TEST(PointCacheFile, BytesBehindTheSamplesAreTold) {
    TempFolder folder;
    Opened a = Open(folder.Write("a.pc2", Pc2Bytes(1, 0, 1, 1, {1, 2, 3, 4})));
    ASSERT_TRUE(a.samples);
    EXPECT_EQ(a.warning,
              "4 bytes stand behind the 1 samples of 1 points that the file names; they are left "
              "out");
}

TEST(PointCacheFile, DamageMetWhileReadingHasAPlace) {
    TempFolder folder;
    std::string path = folder.Write("a.pc2", Pc2Bytes(1, 0, 1, 3, {1, 2, 3, 1, NAN, 3, 4, 5, 6}));
    Opened a = Open(path);
    std::vector<Point3> points;
    std::string error;
    EXPECT_FALSE(a.samples->Read(1, &points, &error));
    EXPECT_EQ(error, path + ": sample 1, point 0: a coordinate is not a finite number");
    std::filesystem::resize_file(path, 60);
    EXPECT_FALSE(a.samples->Read(2, &points, &error));
    EXPECT_THAT(error, HasSubstr("became shorter"));
    EXPECT_TRUE(a.samples->Read(0, &points, &error));
    std::filesystem::remove(path);
    EXPECT_FALSE(a.samples->Read(0, &points, &error));
}

// Every prefix and every changed byte gives samples that can all be read, or a reason.
TEST(PointCacheFile, DamageNeverCrashes) {
    auto check = [](const std::string& bytes, bool isMdd) {
        ImportError failure;
        auto layout = ReadPointCacheLayout(bytes, isMdd, 160, &failure);
        ASSERT_EQ(!layout, !failure.text.empty());
        for (uint64_t s = 0; layout && s < layout->numSamples; ++s) {
            std::vector<Point3> points;
            std::string error;
            ASSERT_EQ(ReadPointCacheSample(bytes, *layout, s, &points, &error), error.empty());
        }
    };
    for (bool isMdd : {false, true}) {
        std::string bytes = isMdd ? MddBytes(1, {0, 1}, std::vector<float>(6))
                                  : Pc2Bytes(1, 0, 1, 2, std::vector<float>(6));
        for (size_t n = 0; n < bytes.size(); ++n) check(bytes.substr(0, n), isMdd);
        for (size_t i = 0; i < bytes.size(); ++i)
            for (char c : {'\0', '\x01', '\x7F', '\xFF'}) {
                std::string damaged = bytes;
                damaged[i] = c;
                check(damaged, isMdd);
            }
    }
}
