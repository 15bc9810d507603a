#include "host/io/npz_reader.h"

#include <gtest/gtest.h>

#include <cstring>

#include "host/base/atomic_file.h"
#include "host/io/npz_array.h"
#include "host/io/table_stream.h"
#include "host/io/zip_writer.h"
#include "tests/temp_folder.h"

namespace {

// Three rows of a point and a text.
class SmallTable : public ITableSource {
public:
    const std::vector<TableColumn>& Columns() const override { return m_columns; }
    size_t NumRows() const override { return 3; }
    void Read(size_t column, size_t first, size_t count, TableCells& cells) const override {
        for (size_t i = 0; i < count; ++i) {
            if (column == 0) cells.floats[2 * i] = float(first + i), cells.floats[2 * i + 1] = -1;
            if (column == 1) cells.texts[i] = std::string(first + i, 'x');
        }
    }

private:
    std::vector<TableColumn> m_columns{{"point", TableColumn::kFloat, {2}},
                                       {"name", TableColumn::kText, {}}};
};

std::string Archive() {
    TempFolder folder;
    std::string error;
    SmallTable table;
    auto stream = OpenNpzStream(folder.File("a.npz"), table.Columns(), false, {}, &error);
    stream->BeginTable("t");
    stream->EndTable({}, table, 1);
    stream->AddEntry("note.json", "{}");
    EXPECT_TRUE(stream->Commit(&error)) << error;
    return folder.Read("a.npz");
}

NpzEntry Entry(const std::string& bytes) { return {"e", bytes, 0}; }

}  // namespace

TEST(NpzReader, WhatWasWrittenIsRead) {
    std::string bytes = Archive(), error;
    auto entries = ReadNpzEntries(bytes, &error);
    ASSERT_TRUE(entries) << error;
    ASSERT_EQ(entries->size(), 3u);
    for (const NpzEntry& entry : *entries) EXPECT_EQ(CheckSum(entry.bytes), entry.checkSum);
    EXPECT_EQ(FindEntry(*entries, "note.json")->bytes, "{}");
    EXPECT_EQ(FindEntry(*entries, "none"), nullptr);

    auto point = ReadNpzArray(*FindEntry(*entries, "point.npy"), &error);
    ASSERT_TRUE(point) << error;
    EXPECT_EQ(point->rows, 3u);
    EXPECT_EQ(point->column.kind, TableColumn::kFloat);
    EXPECT_EQ(point->column.shape, std::vector<int>{2});
    float second[2];
    std::memcpy(second, point->cells.data() + 8, sizeof second);
    EXPECT_EQ(second[0], 1);
    auto name = ReadNpzArray(*FindEntry(*entries, "name.npy"), &error);
    ASSERT_TRUE(name) << error;
    EXPECT_EQ(name->width, 2u);
    EXPECT_EQ(name->cells.substr(16), std::string_view("x\0\0\0x\0\0\0", 8));
}

TEST(NpzReader, The64BitFormIsRead) {
    TempFolder folder;
    for (uint64_t limit : {uint64_t{50}, uint64_t{1}}) {
        AtomicFile out;
        std::string error;
        ASSERT_TRUE(out.Open(folder.File("a.npz"), &error));
        ZipWriter zip(out, limit);
        for (const char* text :
             {"short", "a text of more than fifty characters, so that it is large"}) {
            zip.Begin(text, strlen(text));
            zip.Write(text);
            zip.End();
        }
        zip.Finish();
        ASSERT_TRUE(out.Commit(&error)) << error;
        std::string bytes = folder.Read("a.npz");
        auto entries = ReadNpzEntries(bytes, &error);
        ASSERT_TRUE(entries) << error;
        ASSERT_EQ(entries->size(), 2u);
        for (const NpzEntry& entry : *entries) EXPECT_EQ(entry.bytes, entry.name);
    }
}

TEST(NpzReader, NamesStandOnce) {
    TempFolder folder;
    for (const char* last : {"d", "a"}) {
        AtomicFile out;
        std::string error;
        ASSERT_TRUE(out.Open(folder.File("a.npz"), &error));
        ZipWriter zip(out);
        for (const char* name : {"a", "b", "c", last}) {
            zip.Begin(name, 0);
            zip.End();
        }
        zip.Finish();
        ASSERT_TRUE(out.Commit(&error)) << error;
        std::string bytes = folder.Read("a.npz");
        EXPECT_EQ(ReadNpzEntries(bytes, &error).has_value(), *last == 'd');
        EXPECT_EQ(error.find("a name that stands twice") != error.npos, *last == 'a') << error;
    }
}

TEST(NpzReader, EveryPrefixIsRefused) {
    std::string whole = Archive();
    for (size_t n = 0; n < whole.size(); ++n) {
        std::string error;
        EXPECT_FALSE(ReadNpzEntries(std::string_view(whole).substr(0, n), &error)) << n;
        EXPECT_NE(error.find("byte "), error.npos);
    }
}

TEST(NpzReader, AnyDamageIsRefusedOrShowsInACheckSum) {
    std::string whole = Archive(), error;
    size_t numSilent = 0;
    for (size_t n = 0; n < whole.size(); ++n) {
        std::string bytes = whole;
        bytes[n] = char(bytes[n] ^ 0x41);
        auto entries = ReadNpzEntries(bytes, &error);
        bool isSeen = !entries;
        for (size_t i = 0; entries && i < entries->size(); ++i)
            isSeen |= CheckSum((*entries)[i].bytes) != (*entries)[i].checkSum;
        numSilent += !isSeen;
    }
    // Only dates, versions, flags and copies of numbers may change unseen: 22 bytes of each local
    // head and 18 of each entry of the list.
    EXPECT_LE(numSilent, 3u * (22 + 18));
}

TEST(NpzReader, ArraysOfOtherProgramsAreRefused) {
    TableColumn column{"", TableColumn::kFloat, {2}};
    std::string error, good = ArrayHeader(column, 1, 0) + "12345678";
    ASSERT_TRUE(ReadNpzArray(Entry(good), &error)) << error;
    auto changed = [&](const std::string& from, const std::string& to) {
        std::string bytes = good;
        bytes.replace(bytes.find(from), from.size(), to);
        return bytes;
    };
    for (const std::string& bad :
         {std::string(), good.substr(0, 20), changed("<f4", "<f8"), changed("<f4", ">f4"),
          changed("False", "True "), changed("(1, 2)", "(2, 2)"), changed("(1, 2)", "(1,-2)"),
          changed("<f4', ", "<U0', "), good + "x", changed("\x01", "\x02")})
        EXPECT_FALSE(ReadNpzArray(Entry(bad), &error)) << bad;
    EXPECT_NE(error.find("e: "), error.npos);
}

TEST(NpzReader, ClaimsBeyondAllBytesAreRefused) {
    std::string error;
    TableColumn text{"", TableColumn::kText, {}};
    for (auto [rows, width] : {std::pair{uint64_t{1} << 62, uint64_t{1}},
                               {1, uint64_t{1} << 62},
                               {uint64_t{1} << 61, uint64_t{1} << 22},
                               {UINT64_MAX, UINT64_MAX}})
        EXPECT_FALSE(ReadNpzArray(Entry(ArrayHeader(text, rows, width) + "1234"), &error));
}
