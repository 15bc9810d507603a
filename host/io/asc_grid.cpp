// ESRI ASCII grids: a header of names and numbers, then the values, top row first.
//
// Names may have any case and stand in any order; `cellsize`, or `dx` and `dy`; the lower left
// corner by its cell's corner or its middle; -9999 stands for no data where nothing is named. A
// file beside it that ends in .prj tells whether cells are degrees and what unit lengths have.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/base/text.h"
#include "host/io/height_source.h"
#include "host/io/text_scanner.h"

namespace {

const std::vector<std::string> kKeys{"ncols",     "nrows",       "xllcorner", "xllcenter",
                                     "yllcorner", "yllcenter",   "cellsize",  "dx",
                                     "dy",        "nodata_value"};

std::string Lower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = char(std::tolower(uint8_t(c)));
    return lower;
}

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool StartsNumber(std::string_view word) {
    if (Lower(word) == "nan") return true;
    if (!word.empty() && (word[0] == '-' || word[0] == '+')) word.remove_prefix(1);
    return !word.empty() && (std::isdigit(uint8_t(word[0])) || word[0] == '.');
}

class AscGrid : public IHeightSource {
public:
    explicit AscGrid(std::string file) : m_file(std::move(file)), m_scanner({}) {}

    bool Open(std::string* error, bool* isLimit) {
        if (!m_map.Open(m_file, error)) return false;
        std::string_view text = m_map.Bytes();
        if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
        m_scanner = TextScanner(text);
        if (!ReadHeader() || !CheckHeader(isLimit)) {
            *error = m_error;
            return false;
        }
        ReadProjection();
        return true;
    }

    bool ReadRows(int first, int last, Values, const RowVisitor& visit,
                  std::string* error) override {
        std::vector<float> row(static_cast<size_t>(m_columns));
        bool isWhole = last == m_rows;
        for (int j = 0; j < last; ++j) {
            for (float& value : row)
                if (!ReadValue(&value)) break;
            if (!m_error.empty()) break;
            if (j >= first) visit(row);
        }
        if (m_error.empty() && isWhole && !m_scanner.WordAnywhere().empty())
            Fail(fmt::format("more values than the {} x {} of the header", m_columns, m_rows));
        *error = m_error;
        return m_error.empty();
    }

private:
    bool Fail(const std::string& what) {
        if (m_error.empty())
            m_error = fmt::format("{}:{}: {}", m_file, std::max(1u, m_scanner.Line()), what);
        return false;
    }

    // Names and numbers, until a line begins with a number.
    bool ReadHeader() {
        while (true) {
            if (m_scanner.AtLineEnd()) {
                if (!m_scanner.NextLine()) return true;
                continue;
            }
            TextScanner before = m_scanner;
            std::string_view word = m_scanner.Word();
            if (StartsNumber(word)) {
                m_scanner = before;
                return true;
            }
            if (!ReadKey(Lower(word), word)) return false;
        }
    }

    bool ReadKey(std::string key, std::string_view word) {
        if (key == "nodata") key = "nodata_value";
        auto known = std::find(kKeys.begin(), kKeys.end(), key);
        if (known == kKeys.end())
            return Fail(fmt::format("\"{}\" is no name of a grid's header{}", CutText(word, 40),
                                    DidYouMean(key, kKeys)));
        std::optional<double>& value = m_header[size_t(known - kKeys.begin())];
        if (value) return Fail(fmt::format("\"{}\" stands twice", key));
        std::string_view text = m_scanner.Word();
        value = ParseNumber(text.starts_with('+') ? text.substr(1) : text);
        bool mayBeNaN = key == "nodata_value" && Lower(text) == "nan";
        if (mayBeNaN) value = NAN;
        if (!value || (!mayBeNaN && !std::isfinite(*value)))
            return Fail(fmt::format("\"{}\": expected a number with a decimal point, found \"{}\"",
                                    key, CutText(text, 40)));
        if (!m_scanner.AtLineEnd())
            return Fail(fmt::format("\"{}\": expected one number, found more", key));
        return true;
    }

    std::optional<double> Header(const char* key) const {
        return m_header[size_t(std::find(kKeys.begin(), kKeys.end(), key) - kKeys.begin())];
    }

    bool ReadCount(const char* key, int* count, bool* isLimit) {
        std::optional<double> value = Header(key);
        if (!value) return Fail(fmt::format("the header names no \"{}\"", key));
        if (*value < 1 || *value != std::floor(*value))
            return Fail(
                fmt::format("\"{}\" is {:g}, expected a whole number above 0", key, *value));
        if (*value > kMaxSide) {
            *isLimit = true;
            return Fail(fmt::format(
                "\"{}\" is {:g}, at most {} are read; cut the grid, no option raises this", key,
                *value, kMaxSide));
        }
        *count = int(*value);
        return true;
    }

    bool CheckHeader(bool* isLimit) {
        if (!ReadCount("ncols", &m_columns, isLimit) || !ReadCount("nrows", &m_rows, isLimit))
            return false;
        m_scale.cellX = Header("dx").value_or(Header("cellsize").value_or(0));
        m_scale.cellY = Header("dy").value_or(Header("cellsize").value_or(0));
        if (!Header("cellsize") && !(Header("dx") && Header("dy")))
            return Fail("the header names no \"cellsize\" and no \"dx\" and \"dy\"");
        if (!m_scale.StatesCells()) return Fail("the cell size is not above 0");
        // A value takes a digit and a blank at least.
        uint64_t values = uint64_t(m_columns) * uint64_t(m_rows);
        if (values > m_map.Bytes().size() / 2 + 1)
            return Fail(fmt::format("the header claims {} x {} values, the file has {} bytes only",
                                    m_columns, m_rows, m_map.Bytes().size()));
        m_noData = float(Header("nodata_value").value_or(kUsualNoData));
        return true;
    }

    bool ReadValue(float* value) {
        while (m_scanner.AtLineEnd())
            if (!m_scanner.NextLine())
                return Fail(fmt::format("the file ends before {} x {} values", m_columns, m_rows));
        std::string_view rest = m_scanner.Rest();
        if (!m_scanner.Number(value) || !m_scanner.AtBlank())
            return Fail(fmt::format("expected a number with a decimal point, found \"{}\"",
                                    CutText(rest.substr(0, rest.find_first_of(" \t\r\n")), 20)));
        if (*value == m_noData || !std::isfinite(*value)) *value = NAN;
        return true;
    }

    // The coordinate system in the words of the file beside this one.
    void ReadProjection() {
        std::filesystem::path path(m_file);
        std::string text, error;
        for (const char* ending : {".prj", ".PRJ"}) {
            std::error_code none;
            if (!std::filesystem::is_regular_file(path.replace_extension(ending), none)) continue;
            text = ReadWholeFile(path.string(), 1 << 16, &error).value_or("");
            if (!error.empty()) m_scale.warnings.push_back(error + "; cells are taken as metres");
            break;
        }
        std::string lower = Lower(text);
        double x = Corner("xllcorner", "xllcenter"), y = Corner("yllcorner", "yllcenter");
        bool onGlobe = text.empty() && LiesOnGlobe(x, y);
        bool isGeographic =
            lower.starts_with("geog") ||
            (lower.starts_with("projection") && lower.find("geographic") != std::string::npos) ||
            (onGlobe && m_scale.cellX < kLargestDegrees);
        if (isGeographic) {
            double middle = y + m_rows * m_scale.cellY / 2;
            ScaleDegrees(m_scale.cellX, m_scale.cellY, middle, &m_scale);
        } else if (lower.starts_with("proj")) {
            double unit = LinearUnit(lower);
            m_scale.cellX *= unit, m_scale.cellY *= unit;
        } else if (onGlobe && m_scale.cellX < 1) {
            m_scale.warnings.push_back(fmt::format(
                "the cell size of {:g} may be in degrees, it is taken as metres; give \"size\", or "
                "put the grid's .prj file beside it",
                m_scale.cellX));
        }
    }

    double Corner(const char* corner, const char* center) const {
        return Header(corner).value_or(Header(center).value_or(0));
    }
    // Whether the corner and the extent would do as degrees.
    bool LiesOnGlobe(double x, double y) const {
        bool fits = std::abs(x) <= 180 && x + m_columns * m_scale.cellX <= 360.5 &&
                    std::abs(y) <= 90 && y + m_rows * m_scale.cellY <= 90.5;
        return fits && (x != 0 || y != 0);
    }
    // The last unit of a projected system is that of its lengths; 1 without one.
    static double LinearUnit(const std::string& projection) {
        size_t unit = projection.rfind("unit[");
        size_t comma = unit == std::string::npos ? unit : projection.find(',', unit);
        if (comma == std::string::npos) return 1;
        double metres = ParseLeadingNumber(std::string_view(projection).substr(comma + 1));
        return metres > 0 && std::isfinite(metres) ? metres : 1;
    }

    static constexpr int kMaxSide = 65536;
    static constexpr double kUsualNoData = -9999;
    // A grid on the globe with smaller cells and no word of its unit has degrees: nobody surveys
    // land in centimetres, and all common elevation models in degrees have smaller cells.
    static constexpr double kLargestDegrees = 0.01;

    std::string m_file, m_error;
    MappedFile m_map;
    TextScanner m_scanner;
    std::array<std::optional<double>, 10> m_header;  // by place in kKeys
    float m_noData = NAN;
};

}  // namespace

bool IsAscGrid(std::string_view head) {
    if (head.starts_with(kByteOrderMark)) head.remove_prefix(kByteOrderMark.size());
    head = Trim(head);
    std::string word = Lower(head.substr(0, head.find_first_of(" \t\r\n")));
    return std::find(kKeys.begin(), kKeys.end(), word) != kKeys.end();
}

OpenedHeights OpenAscGrid(const std::string& file) {
    OpenedHeights opened;
    auto grid = std::make_unique<AscGrid>(file);
    if (grid->Open(&opened.error, &opened.isLimit)) opened.source = std::move(grid);
    return opened;
}
