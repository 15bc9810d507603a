#include <cmath>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "host/io/height_source.h"
#include "tests/comma_locale.h"
#include "tests/temp_folder.h"

using testing::HasSubstr;

namespace {

constexpr const char* kHeader =
    "ncols 3\nnrows 2\nxllcorner 100\nyllcorner 200\ncellsize 10\nNODATA_value -9999\n";

class AscGrid : public testing::Test {
protected:
    // All values, top row first; empty, with the error set, when the grid is refused.
    std::vector<float> Read(const std::string& text) {
        OpenedHeights opened = OpenHeights(m_folder.Write("a.asc", text));
        m_error = opened.error, m_isLimit = opened.isLimit;
        std::vector<float> values;
        if (!opened.source) return values;
        m_scale = opened.source->Scale();
        m_columns = opened.source->Columns();
        auto take = [&](std::span<const float> row) {
            values.insert(values.end(), row.begin(), row.end());
        };
        bool ok = opened.source->ReadRows(0, opened.source->Rows(), IHeightSource::Values::kOwn,
                                          take, &m_error);
        return ok ? values : std::vector<float>{};
    }
    void ExpectRefused(const std::string& text, const std::string& place, const std::string& why) {
        EXPECT_TRUE(Read(text).empty()) << text;
        EXPECT_NE(m_error.find("a.asc:" + place + ": "), std::string::npos) << m_error;
        EXPECT_NE(m_error.find(why), std::string::npos) << m_error;
    }

    TempFolder m_folder;
    std::string m_error;
    GeoScale m_scale;
    int m_columns = 0;
    bool m_isLimit = false;
};

const std::vector<float> kSix{1, 2, 3, 4, 5.5f, -6};

}  // namespace

TEST_F(AscGrid, ValuesAndCells) {
    EXPECT_EQ(Read(std::string(kHeader) + "1 2 3\n4 5.5 -6\n"), kSix) << m_error;
    EXPECT_EQ(m_columns, 3);
    EXPECT_EQ(m_scale.cellX, 10);
    EXPECT_EQ(m_scale.cellY, 10);
    EXPECT_TRUE(m_scale.warnings.empty());
}

TEST_F(AscGrid, HeadersOfEveryForm) {
    for (const char* header :
         {"NCOLS 3\r\nNROWS 2\r\nXLLCENTER 100\r\nYLLCENTER 200\r\nCELLSIZE 10\r\n",
          "nrows 2\n  ncols   3\n\n\tdx 10\ndy 10\nxllcorner 0\nyllcorner 0\n",
          "cellsize 1e1\nncols 3.0\nnrows +2\nnodata -1e30\n",
          "\xEF\xBB\xBFncols 3\nnrows 2\ncellsize 10\nnodata_value nan\n"})
        EXPECT_EQ(Read(std::string(header) + "1 2 3 4\n5.5\n\n -6"), kSix) << m_error;
    EXPECT_EQ(Read("ncols 3\nnrows 2\ndx 4\ndy 5\n1 2 3 4 5.5 -6"), kSix);
    EXPECT_EQ(m_scale.cellX, 4);
    EXPECT_EQ(m_scale.cellY, 5);
}

TEST_F(AscGrid, MissingDataBecomesNaN) {
    std::vector<float> values = Read(std::string(kHeader) + "1 -9999 3\n-9999.0 nan inf\n");
    ASSERT_EQ(values.size(), 6u);
    for (size_t i : {1, 3, 4, 5}) EXPECT_TRUE(std::isnan(values[i])) << i;
    EXPECT_EQ(values[2], 3);
    // -9999 is missing too where the header names no value.
    values = Read("ncols 3\nnrows 2\ncellsize 1\n1 2 -9999 4 5 6");
    ASSERT_EQ(values.size(), 6u);
    EXPECT_TRUE(std::isnan(values[2]));
}

TEST_F(AscGrid, DecimalPointsWhateverTheLocale) {
    CommaLocale locale;
    EXPECT_EQ(Read(std::string(kHeader) + "1 2 3\n4 5.5 -6\n"), kSix) << m_error;
    ExpectRefused(std::string(kHeader) + "1 2 3\n4 5,5 -6\n", "8", "a decimal point, found \"5,5");
}

TEST_F(AscGrid, MalformedFilesNameTheirLine) {
    ExpectRefused("ncols 3\nnrows 2\n1 2 3 4 5 6\n", "3", "no \"cellsize\"");
    ExpectRefused("ncols 3\ncellsize 2\n1 2 3\n", "3", "names no \"nrows\"");
    ExpectRefused("ncols 3\nnrows x\n", "2", "\"nrows\": expected a number");
    ExpectRefused("ncols 3\nnrows 2.5\ncellsize 1\n1 1", "4", "expected a whole number above 0");
    ExpectRefused("ncols 0\nnrows 2\ncellsize 1\n1 1", "4", "expected a whole number above 0");
    ExpectRefused("ncols 3\nncols 3\n", "2", "stands twice");
    ExpectRefused("ncols 3\nnrwos 2\n", "2", "did you mean \"nrows\"?");
    ExpectRefused("ncols 3 4\n", "1", "expected one number, found more");
    ExpectRefused("ncols 2\nnrows 1\ncellsize 0\n1 1", "4", "not above 0");
    ExpectRefused(std::string(kHeader) + "1 2 3\n4 5 x\n", "8", "found \"x\"");
    ExpectRefused(std::string(kHeader) + "1 2 3\n4 5\n", "8", "ends before 3 x 2 values");
    ExpectRefused(std::string(kHeader) + "1 2 3\n4 5 6\n7\n", "9", "more values than");
    ExpectRefused("", "1", "names no \"ncols\"");
}

TEST_F(AscGrid, ClaimsAreComparedWithTheFile) {
    ExpectRefused("ncols 30000\nnrows 30000\ncellsize 1\n1 2 3\n", "4",
                  "claims 30000 x 30000 values, the file has");
    EXPECT_FALSE(m_isLimit);
    ExpectRefused("ncols 70000\nnrows 3\ncellsize 1\n1 2 3\n", "4", "at most 65536");
    EXPECT_TRUE(m_isLimit);
}

TEST_F(AscGrid, ProjectionFilesTellTheUnit) {
    std::string grid = "ncols 3\nnrows 2\nxllcorner 8\nyllcorner 44\ncellsize 1\n1 2 3 4 5.5 -6\n";
    m_folder.Write("a.prj", "GEOGCS[\"WGS 84\",UNIT[\"Degree\",0.017453292519943295]]");
    Read(grid);
    EXPECT_NEAR(m_scale.cellX, 78847, 1);  // a degree of the parallel of 45 north
    ASSERT_EQ(m_scale.warnings.size(), 1u);
    m_folder.Write("a.prj",
                   "PROJCS[\"x\",GEOGCS[\"y\",UNIT[\"Degree\",0.01745]],"
                   "UNIT[\"Foot\",0.3048]]");
    Read(grid);
    EXPECT_DOUBLE_EQ(m_scale.cellX, 0.3048);
    std::filesystem::remove(m_folder.File("a.prj"));
    auto readCells = [&](double cell) {
        Read(
            fmt::format("ncols 3\nnrows 2\nxllcorner 8\nyllcorner 45\ncellsize {}\n"
                        "1 2 3 4 5.5 -6\n",
                        cell));
        return m_scale.warnings.size() == 1 ? m_scale.warnings[0] : "no warning";
    };
    // Three seconds of arc can be nothing else, half a unit can.
    EXPECT_THAT(readCells(0.0008333), HasSubstr("0.0008333 x 0.0008333 degrees, taken as 65.7"));
    EXPECT_NEAR(m_scale.cellX, 0.0008333 * 78847, 0.01);
    EXPECT_THAT(readCells(0.5), HasSubstr("may be in degrees"));
    EXPECT_EQ(m_scale.cellX, 0.5);
}
