#include "host/io/table_stream.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "host/base/atomic_file.h"
#include "host/io/json_text.h"
#include "host/io/table_block.h"
#include "host/io/zip_writer.h"
#include "tests/temp_folder.h"

namespace {

// Row r has values that can be told from r alone.
class SampleTable : public ITableSource {
public:
    explicit SampleTable(size_t rows) : m_rows(rows) {
        m_columns = {{"id", TableColumn::kInt32, {}},        {"seed", TableColumn::kUInt32, {}},
                     {"position", TableColumn::kFloat, {3}}, {"flag", TableColumn::kBool, {}},
                     {"frame", TableColumn::kFloat, {2, 3}}, {"hash", TableColumn::kUInt32, {4}},
                     {"name", TableColumn::kText, {}}};
    }
    const std::vector<TableColumn>& Columns() const override { return m_columns; }
    size_t NumRows() const override { return m_rows; }
    void Read(size_t column, size_t first, size_t count, TableCells& cells) const override {
        size_t n = m_columns[column].NumComponents();
        for (size_t i = 0; i < count * n; ++i) {
            size_t row = first + i / n, k = i % n;
            switch (column) {
                case 0:
                    cells.ints[i] = -int32_t(row);
                    break;
                case 1:
                    cells.uints[i] = 4294967295u - uint32_t(row);
                    break;
                case 2:
                    cells.floats[i] = float(row) + 0.1f * float(k);
                    break;
                case 3:
                    cells.bools[i] = row % 2;
                    break;
                case 4:
                    cells.floats[i] = float(k) * 1e20f;
                    break;
                case 5:
                    cells.uints[i] = uint32_t(row * 4 + k);
                    break;
                default:
                    cells.texts[i] = row == 1 ? "a,\"\xC3\xA9\"" : "";
                    break;
            }
        }
    }

private:
    size_t m_rows;
    std::vector<TableColumn> m_columns;
};

struct NamedTable {
    std::string name;
    const ITableSource* source;
};

// How rows come to a stream: all at once, or in blocks of this many.
constexpr size_t kWhole = 0;

// Writes tables in the way that is asked for; ends them with the texts of an empty frame.
bool WriteTables(ITableStream& stream, std::span<const NamedTable> tables, int threads,
                 size_t blockRows, std::string* error) {
    for (const NamedTable& table : tables) {
        stream.BeginTable(table.name);
        if (blockRows == kWhole) {
            stream.EndTable({}, *table.source, threads);
            continue;
        }
        ForEachBlock(
            *table.source, blockRows, threads,
            [&](const ITableSource& block) { return stream.Format(block); },
            [&](std::unique_ptr<FormattedRows>& rows) { stream.Append(std::move(rows)); });
        stream.EndTable({});
    }
    return stream.Commit(error);
}

bool WriteTableCsv(const std::string& path, std::span<const NamedTable> tables, int threads,
                   std::string* error, size_t blockRows = kWhole) {
    auto stream = OpenCsvStream(path, tables[0].source->Columns(), error);
    return stream && WriteTables(*stream, tables, threads, blockRows, error);
}

bool WriteTableNpz(const std::string& path, std::span<const NamedTable> tables, std::string* error,
                   size_t blockRows = kWhole) {
    auto stream = OpenNpzStream(path, tables[0].source->Columns(), tables.size() > 1, {}, error);
    return stream && WriteTables(*stream, tables, 3, blockRows, error);
}

std::string Json(const ITableSource& source, int threads, size_t blockRows = kWhole) {
    TempFolder folder;
    std::string error;
    auto stream = OpenJsonStream(folder.File("a.json"), source.Columns(), &error);
    NamedTable table{"a", &source};
    EXPECT_TRUE(WriteTables(*stream, {&table, 1}, threads, blockRows, &error)) << error;
    EXPECT_EQ(folder.NumFiles(), 1u);
    return folder.Read("a.json");
}

// Runs a Python program with the given arguments; its exit status tells whether all was as
// expected.
bool PythonAccepts(const std::string& program, const std::string& argument) {
    TempFolder folder;
    std::string script = folder.Write("check.py", program);
    return std::system((std::string(DRAVIN_PYTHON) + " " + script + " " + argument).c_str()) == 0;
}

const char* kCheckArrays = R"(
import sys, numpy as np
f = np.load(sys.argv[1], allow_pickle=False)
n = int(sys.argv[2]); p = sys.argv[3] if len(sys.argv) > 3 else ''
r = np.arange(n)
assert f[p+'id'].dtype == np.int32 and (f[p+'id'] == -r).all()
assert f[p+'seed'].dtype == np.uint32 and (f[p+'seed'] == 4294967295 - r).all()
assert f[p+'position'].shape == (n, 3) and f[p+'position'].dtype == np.float32
assert np.allclose(f[p+'position'][:, 2], r + 0.2)
assert f[p+'flag'].dtype == bool and (f[p+'flag'] == r % 2).all()
assert f[p+'frame'].shape == (n, 2, 3) and (n == 0 or f[p+'frame'][-1, 1, 2] == np.float32(5e20))
assert (f[p+'hash'].reshape(-1) == np.arange(4 * n)).all()
assert f[p+'name'].shape == (n,) and (n < 2 or f[p+'name'][1] == 'a,"\u00e9"')
)";

}  // namespace

TEST(TableStream, JsonNestsCellsByShape) {
    EXPECT_EQ(Json(SampleTable(2), 1),
              "[\n{\"id\":0,\"seed\":4294967295,\"position\":[0,0.1,0.2],\"flag\":false,"
              "\"frame\":[[0,1e+20,2e+20],[3e+20,4e+20,5e+20]],\"hash\":[0,1,2,3],\"name\":\"\"},\n"
              "{\"id\":-1,\"seed\":4294967294,\"position\":[1,1.1,1.2],\"flag\":true,"
              "\"frame\":[[0,1e+20,2e+20],[3e+20,4e+20,5e+20]],\"hash\":[4,5,6,7],"
              "\"name\":\"a,\\\"\xC3\xA9\\\"\"}\n]");
    EXPECT_EQ(Json(SampleTable(0), 1), "[]");
}

TEST(TableStream, BytesDoNotDependOnThreads) {
    SampleTable table(200000);
    std::string one = Json(table, 1);
    EXPECT_TRUE(one == Json(table, 4));
    EXPECT_TRUE(one == Json(table, 1, 1 << 15));
    EXPECT_TRUE(one == Json(table, 4, 777));
    EXPECT_EQ(size_t(std::count(one.begin(), one.end(), '{')), 200000u);
}

TEST(TableStream, CsvFlattensVectors) {
    TempFolder folder;
    SampleTable first(1), second(2);
    NamedTable tables[] = {{"oak, old", &first}, {"elm", &second}};
    std::string error;
    ASSERT_TRUE(WriteTableCsv(folder.File("a.csv"), tables, 2, &error)) << error;
    EXPECT_EQ(folder.Read("a.csv"),
              "object,id,seed,position.x,position.y,position.z,flag,frame.0.x,frame.0.y,frame.0.z,"
              "frame.1.x,frame.1.y,frame.1.z,hash.0,hash.1,hash.2,hash.3,name\n"
              "\"oak, old\",0,4294967295,0,0.1,0.2,0,0,1e+20,2e+20,3e+20,4e+20,5e+20,0,1,2,3,\n"
              "elm,0,4294967295,0,0.1,0.2,0,0,1e+20,2e+20,3e+20,4e+20,5e+20,0,1,2,3,\n"
              "elm,-1,4294967294,1,1.1,1.2,1,0,1e+20,2e+20,3e+20,4e+20,5e+20,4,5,6,7,"
              "\"a,\"\"\xC3\xA9\"\"\"\n");
}

TEST(TableStream, NumPyLoadsTheArrays) {
    TempFolder folder;
    std::string error, path = folder.File("a.npz");
    for (size_t rows : {0u, 1u, 2u, 150000u}) {
        SampleTable table(rows);
        NamedTable tables[] = {{"oak", &table}};
        ASSERT_TRUE(WriteTableNpz(path, tables, &error)) << error;
        EXPECT_TRUE(PythonAccepts(kCheckArrays, path + " " + std::to_string(rows)));
    }
}

TEST(TableStream, BytesDoNotDependOnBlocks) {
    TempFolder folder;
    SampleTable first(70000), second(0), third(2);
    NamedTable tables[] = {{"oak", &first}, {"none", &second}, {"elm", &third}};
    std::string error;
    ASSERT_TRUE(WriteTableCsv(folder.File("whole.csv"), tables, 2, &error)) << error;
    ASSERT_TRUE(WriteTableNpz(folder.File("whole.npz"), tables, &error)) << error;
    for (size_t rows : {1999u, 100000u}) {
        ASSERT_TRUE(WriteTableCsv(folder.File("a.csv"), tables, 4, &error, rows)) << error;
        ASSERT_TRUE(WriteTableNpz(folder.File("a.npz"), tables, &error, rows)) << error;
        EXPECT_TRUE(folder.Read("a.csv") == folder.Read("whole.csv")) << rows;
        EXPECT_TRUE(folder.Read("a.npz") == folder.Read("whole.npz")) << rows;
    }
    EXPECT_EQ(folder.NumFiles(), 4u);
}

TEST(TableStream, DroppedRowsLeaveTheFrame) {
    TempFolder folder;
    SampleTable table(3);
    std::string error;
    auto stream = OpenJsonStream(folder.File("a.json"), table.Columns(), &error);
    stream->BeginTable("oak");
    stream->Append(stream->Format(table));
    stream->DropRows();
    stream->EndTable({"{\"status\":3,\"items\":", "}"});
    ASSERT_TRUE(stream->Commit(&error)) << error;
    EXPECT_EQ(folder.Read("a.json"), "{\"status\":3,\"items\":[]}");
}

TEST(TableStream, ReadersSeeNothingOfAnUnfinishedStream) {
    TempFolder folder;
    SampleTable table(300000);
    std::string error;
    {
        auto json = OpenJsonStream(folder.File("a.json"), table.Columns(), &error);
        auto npz = OpenNpzStream(folder.File("a.npz"), table.Columns(), false, {}, &error);
        for (ITableStream* stream : {json.get(), static_cast<ITableStream*>(npz.get())}) {
            stream->BeginTable("oak");
            stream->Append(stream->Format(table));
        }
        // What waits has no name: two temporary files of the outputs are all there is.
        EXPECT_EQ(folder.NumFiles(), 2u);
    }
    EXPECT_EQ(folder.NumFiles(), 0u);
}

TEST(TableStream, SeveralTablesArePrefixed) {
    TempFolder folder;
    SampleTable first(3), second(5);
    NamedTable tables[] = {{"oak", &first}, {"elm", &second}};
    std::string error, path = folder.File("a.npz");
    ASSERT_TRUE(WriteTableNpz(path, tables, &error)) << error;
    EXPECT_TRUE(PythonAccepts(kCheckArrays, path + " 3 oak/"));
    EXPECT_TRUE(PythonAccepts(kCheckArrays, path + " 5 elm/"));
    EXPECT_FALSE(PythonAccepts(kCheckArrays, path + " 4 elm/ 2>/dev/null"));
}

TEST(TableStream, FailuresLeaveNothingBehind) {
    TempFolder folder;
    SampleTable table(3);
    NamedTable tables[] = {{"oak", &table}};
    std::string error;
    for (size_t blockRows : {kWhole, size_t{2}}) {
        EXPECT_FALSE(WriteTableCsv("/dev/full", tables, 1, &error, blockRows));
        EXPECT_EQ(error, "/dev/full: cannot write the file: No space left on device");
    }
    auto json = OpenJsonStream("/dev/full", table.Columns(), &error);
    EXPECT_FALSE(WriteTables(*json, tables, 1, 2, &error));
    EXPECT_EQ(error, "/dev/full: cannot write the file: No space left on device");
    EXPECT_FALSE(WriteTableNpz(folder.File("none/a.npz"), tables, &error));
    EXPECT_EQ(folder.NumFiles(), 0u);
}

TEST(ZipWriter, LargeFormIsReadByOthers) {
    const char* check = R"(
import sys, zipfile
z = zipfile.ZipFile(sys.argv[1])
assert z.testzip() is None
assert z.namelist() == ['small', 'l\u00e4rge']
assert z.read('small') == b'abc' and z.read('l\u00e4rge') == b'x' * 100
)";
    TempFolder folder;
    for (uint64_t limit : {uint64_t{0xFFFFFFFF}, uint64_t{50}, uint64_t{1}}) {
        AtomicFile out;
        std::string error;
        ASSERT_TRUE(out.Open(folder.File("a.zip"), &error));
        ZipWriter zip(out, limit);
        zip.Begin("small", 3);
        zip.Write("abc");
        zip.End();
        zip.Begin("l\xC3\xA4rge", 100);
        zip.Write(std::string(40, 'x'));
        zip.Write(std::string(60, 'x'));
        zip.End();
        zip.Finish();
        ASSERT_TRUE(out.Commit(&error));
        EXPECT_TRUE(PythonAccepts(check, folder.File("a.zip"))) << limit;
    }
}

TEST(JsonText, StringsAreEscapedAndMendedToUtf8) {
    std::string text;
    AppendJsonString(text,
                     std::string("a\"\\\n\x01\x7F \xE2\x82\xAC\xFF\xC0\xAF\xED\xA0\x80 \0", 18));
    EXPECT_EQ(text,
              "\"a\\\"\\\\\\n\\u0001\x7F \xE2\x82\xAC\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"
              "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD \\u0000\"");
}

TEST(JsonText, NumbersThatAreNotFiniteBecomeNull) {
    std::string text;
    AppendJsonNumber(text, INFINITY);
    AppendJsonNumber(text, NAN);
    AppendJsonNumber(text, 0.1f);
    EXPECT_EQ(text, "nullnull0.1");
}
