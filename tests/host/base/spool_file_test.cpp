#include "host/base/spool_file.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include "host/base/atomic_file.h"
#include "tests/temp_folder.h"

namespace {

// Bytes that differ everywhere a mistake of a block would show.
std::string Bytes(size_t count) {
    std::string bytes(count, '\0');
    for (size_t i = 0; i < count; ++i) bytes[i] = char(i * 31 + i / 257);
    return bytes;
}

}  // namespace

TEST(SpoolFile, BytesComeOverInOrderAndMayFollowOthers) {
    TempFolder folder;
    std::string error, large = Bytes(20000001);  // more than one piece
    AtomicFile out;
    ASSERT_TRUE(out.Open(folder.File("a"), &error)) << error;
    SpoolFile spool;
    spool.Open(folder.File("a"));
    EXPECT_EQ(folder.NumFiles(), 1u);  // the output's own
    for (const std::string& bytes : {std::string("small"), large}) {
        spool.Write("<");
        spool.Write(bytes);
        EXPECT_EQ(spool.Size(), bytes.size() + 1);
        out.Write("head");
        spool.MoveTo(out);
        EXPECT_EQ(spool.Size(), 0u);
    }
    EXPECT_EQ(out.Size(), 2 * 5 + 5 + large.size());
    ASSERT_TRUE(out.Commit(&error)) << error;
    EXPECT_TRUE(folder.Read("a") == "head<smallhead<" + large);
}

TEST(SpoolFile, DrainedBytesAreAllThere) {
    TempFolder folder;
    SpoolFile spool;
    spool.Open(folder.File("a"));
    std::string bytes = Bytes(1000003), seen;
    spool.Write(bytes);
    spool.Drain([&](std::string_view piece) { seen += piece; });
    EXPECT_TRUE(seen == bytes);
    spool.Write("gone");
    spool.Clear();
    spool.Write("kept");
    seen.clear();
    spool.Drain([&](std::string_view piece) { seen += piece; });
    EXPECT_EQ(seen, "kept");
}

TEST(SpoolFile, DevicesWaitInTheFolderForTemporaryFiles) {
    for (const char* output : {"-", "/dev/null"}) {
        SpoolFile spool;
        spool.Open(output);
        spool.Write("x");
        EXPECT_EQ(spool.Error(), 0) << output;
        AtomicFile out;
        std::string error;
        ASSERT_TRUE(out.Open("/dev/null", &error));
        spool.MoveTo(out);  // which the kernel does not copy to
        EXPECT_TRUE(out.Commit(&error)) << error;
    }
}

TEST(SpoolFile, AFullDiskIsAFailureOfTheOutput) {
    TempFolder folder;
    std::string error;
    AtomicFile out;
    ASSERT_TRUE(out.Open(folder.File("a"), &error));
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit small{1 << 20, before.rlim_max};
    signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    SpoolFile spool;
    spool.Open(folder.File("a"));
    spool.Write(Bytes(3 << 20));
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(spool.Error(), EFBIG);
    spool.MoveTo(out);
    EXPECT_FALSE(out.Commit(&error));
    EXPECT_NE(error.find("File too large"), error.npos) << error;
    EXPECT_EQ(folder.NumFiles(), 0u);
}

TEST(SpoolFile, AFolderThatIsNotThereIsAFailure) {
    SpoolFile spool;
    spool.Open("/nowhere/at/all/a");
    spool.Write("x");
    EXPECT_NE(spool.Error(), 0);
}
