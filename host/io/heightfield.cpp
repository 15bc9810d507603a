#include "host/io/heightfield.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "host/base/input_limit.h"
#include "host/base/memory_size.h"
#include "host/base/thread_pool.h"
#include "host/io/height_source.h"

namespace {

constexpr float kDefaultSize = 100;
// Sizes between which the samples' places stay apart in single precision.
constexpr float kSmallestSize = 1e-6f, kLargestSize = 1e9f;

// The place of sample i of n among `count` samples of the file: end meets end.
struct Place {
    int first, second;
    float t;
};
Place PlaceOfSample(int i, int n, int count) {
    double position = double(i) * double(count - 1) / double(n - 1);
    int first = std::min(int(position), count - 1);
    return {first, std::min(first + 1, count - 1), float(position - first)};
}

// NaN where one of those that count is.
float Between(float low, float high, float t) { return t > 0 ? low + (high - low) * t : low; }

// The window of the file that is used, in its own rows from the top.
struct Window {
    int left = 0, right = 0, top = 0, bottom = 0;

    int Columns() const { return right - left; }
    int Rows() const { return bottom - top; }
};

// Puts the rows of a window, top row first, into samples that run from the lowest y.
class Resampler {
public:
    Resampler(const Window& window, int columns, int rows, float* heights)
        : m_window(window), m_columns(columns), m_rows(rows), m_heights(heights), m_next(rows - 1) {
        for (int i = 0; i < columns; ++i)
            m_places.push_back(PlaceOfSample(i, columns, window.Columns()));
        m_above.resize(size_t(columns));
        m_row.resize(size_t(columns));
    }

    // The next row of the file; it holds the columns beside the window too.
    void Take(std::span<const float> row) {
        const float* p = row.data() + m_window.left;
        for (int i = 0; i < m_columns; ++i) {
            const Place& u = m_places[size_t(i)];
            m_row[size_t(i)] = Between(p[u.first], p[u.second], u.t);
        }
        int below = m_window.Rows() - 1 - m_taken++;  // counted from the lowest y
        if (m_taken == 1) m_above = m_row;
        for (; m_next >= 0; --m_next) {
            Place v = PlaceOfSample(m_next, m_rows, m_window.Rows());
            if (v.first < below) break;
            float* out = m_heights + size_t(m_next) * size_t(m_columns);
            for (size_t i = 0; i < size_t(m_columns); ++i)
                out[i] = Between(m_row[i], m_above[i], v.t);
        }
        std::swap(m_row, m_above);
    }

private:
    Window m_window;
    int m_columns, m_rows;
    float* m_heights;
    int m_next;  // row of samples to be made
    int m_taken = 0;
    std::vector<Place> m_places;
    std::vector<float> m_row, m_above;
};

// A file's lowest and highest value.
struct ValueRange {
    float low = std::numeric_limits<float>::infinity(), high = -low;

    void Add(std::span<const float> row) {
        for (float value : row) {
            low = value < low ? value : low;
            high = value > high ? value : high;
        }
    }
};

class FieldReader {
public:
    FieldReader(const std::string& file, const HeightfieldOrigin& request, double metresPerUnit,
                uint64_t memory)
        : m_file(file), m_request(request), m_unit(metresPerUnit), m_memory(memory) {}

    HeightFieldResult Read() {
        OpenedHeights opened = OpenHeights(m_file);
        m_source = std::move(opened.source);
        if (!m_source) {
            Fail("", opened.error);
            m_result.isLimit = opened.isLimit;
        } else if (SetWindow() && SetSamples() && SetSize()) {
            try {
                ReadSamples();
            } catch (const std::bad_alloc&) {
                Fail("", m_file + ": out of memory");
                m_result.isLimit = true;
            }
        }
        return std::move(m_result);
    }

private:
    bool Fail(const char* key, const std::string& error) {
        m_result.error = error, m_result.key = key;
        return false;
    }
    bool FailLimit(const char* key, const std::string& error) {
        m_result.isLimit = true;
        return Fail(key, error);
    }
    void Warn(const std::string& text) {
        m_result.warnings.push_back(fmt::format("{}: {}", m_file, text));
    }

    bool SetWindow() {
        int columns = m_source->Columns(), rows = m_source->Rows();
        m_window = {0, columns, 0, rows};
        if (m_request.crop) {
            auto [x0, y0, x1, y1] = *m_request.crop;
            if (x0 < 0 || y0 < 0 || x1 > columns || y1 > rows)
                return Fail("crop",
                            fmt::format("the file has {} x {} samples only", columns, rows));
            if (x1 - x0 < 2 || y1 - y0 < 2)
                return Fail("crop",
                            "expected [x0, y0, x1, y1] with x1 and y1 at least 2 above x0 and y0");
            m_window = {x0, x1, rows - y1, rows - y0};
        }
        if (m_window.Columns() >= 2 && m_window.Rows() >= 2) return true;
        return Fail("", fmt::format("{}: {} x {} samples, a terrain needs 2 at least each way",
                                    m_file, columns, rows));
    }

    bool SetSamples() {
        bool given = m_request.samplesX > 0;
        m_columns = given ? m_request.samplesX : m_window.Columns();
        m_rows = given ? m_request.samplesY : m_window.Rows();
        const char* key = given ? "samples" : "file";
        constexpr const char* kRemedy = "give a smaller \"crop\" or fewer \"samples\"";
        constexpr const char* kNoOption = "no option raises this";
        if (std::min(m_columns, m_rows) < 2)
            return Fail(key, "expected two whole numbers, 2 or above");
        if (std::max(m_columns, m_rows) > kMaxHeightFieldSide)
            return FailLimit(
                key, fmt::format("{} x {} samples, at most {} are read each way: {}; {}", m_columns,
                                 m_rows, kMaxHeightFieldSide, kRemedy, kNoOption));
        uint64_t bytes = HeightField::BytesFor(uint64_t(m_columns), uint64_t(m_rows));
        uint64_t faces = 2 * uint64_t(m_columns - 1) * uint64_t(m_rows - 1);
        std::string what = fmt::format("{} x {} samples take about {:.2f} GB of memory", m_columns,
                                       m_rows, double(bytes) / 1e9);
        if (faces > HeightField::kMaxFaces)
            return FailLimit(
                key, fmt::format("{} and make {} triangles, at most {} are numbered: {}; {}", what,
                                 faces, HeightField::kMaxFaces, kRemedy, kNoOption));
        uint64_t sampleBytes = uint64_t(m_columns) * uint64_t(m_rows) * sizeof(float);
        if (std::string heavy = OverInputLimit(sampleBytes); !heavy.empty())
            return FailLimit(key, fmt::format("{} x {} samples: it {}, or {}", m_columns, m_rows,
                                              heavy, kRemedy));
        if (bytes > m_memory && InputLimit() != kNoInputLimit)
            return FailLimit(key, fmt::format("{}, {:.2f} GB are free: {}, or try with --no-limit",
                                              what, double(m_memory) / 1e9, kRemedy));
        return true;
    }

    bool SetSize() {
        const GeoScale& scale = m_source->Scale();
        m_size = {kDefaultSize, kDefaultSize};
        if (scale.StatesCells())
            m_size = {float(scale.cellX * m_window.Columns() / m_unit),
                      float(scale.cellY * m_window.Rows() / m_unit)};
        if (m_request.size) m_size = *m_request.size;
        for (float side : {m_size.x, m_size.y})
            if (!(side >= kSmallestSize && side <= kLargestSize))
                return Fail(m_request.size ? "size" : "file",
                            fmt::format("a size of {:g} x {:g}, expected {:g} to {:g}", m_size.x,
                                        m_size.y, kSmallestSize, kLargestSize));
        return true;
    }

    using Heights = HeightfieldOrigin::Heights;

    Heights Meaning() const {
        if (m_request.heights != Heights::kDefault) return m_request.heights;
        return m_source->Scale().StatesCells() ? Heights::kFile : Heights::kScaled;
    }

    void ReadSamples() {
        HugeBuffer memory(size_t(m_columns) * size_t(m_rows) * sizeof(float));
        std::span<float> heights(reinterpret_cast<float*>(memory.Data()),
                                 size_t(m_columns) * size_t(m_rows));
        Heights meaning = Meaning();
        // The range is that of the whole file, the window may be a part.
        bool all = meaning == Heights::kRange;
        auto values = meaning == Heights::kScaled ? IHeightSource::Values::kUnit
                                                  : IHeightSource::Values::kOwn;
        Resampler resampler(m_window, m_columns, m_rows, heights.data());
        ValueRange range;
        int row = all ? 0 : m_window.top;
        auto take = [&](std::span<const float> line) {
            if (all) range.Add(line);
            if (row >= m_window.top && row < m_window.bottom) resampler.Take(line);
            ++row;
        };
        std::string error;
        if (!m_source->ReadRows(row, all ? m_source->Rows() : m_window.bottom, values, take,
                                &error)) {
            Fail("", error);
            return;
        }
        Convert(heights, meaning, range);
        m_result.field = std::make_shared<const HeightField>(
            size_t(m_columns), size_t(m_rows), m_size, std::move(memory), NumProcessors());
        WarnOf(meaning);
    }

    // From what the file says to lengths of the scene.
    void Convert(std::span<float> heights, Heights meaning, const ValueRange& range) {
        double factor = m_source->Scale().metresPerValue / m_unit, shift = 0;
        if (meaning == Heights::kScaled) {
            for (float& h : heights) h *= m_request.height;
            return;
        }
        if (meaning == Heights::kRange) {
            double span = double(range.high) - range.low;
            bool isFlat = !(span > 0);
            if (isFlat && range.low <= range.high)
                Warn("all pixels are alike; the terrain is flat at the lower end of its range");
            factor = isFlat ? 0 : (double(m_request.high) - m_request.low) / span;
            shift = m_request.low - range.low * factor;
            if (isFlat) shift = m_request.low;
        }
        if (factor == 1 && shift == 0) return;
        for (float& h : heights) h = float(h * factor + shift);
    }

    void WarnOf(Heights meaning) {
        const GeoScale& scale = m_source->Scale();
        for (const std::string& text : scale.warnings) Warn(text);
        if (meaning == Heights::kFile && scale.metresPerValue != 1)
            Warn(fmt::format("the file's heights have a unit of {:.6g} m and are brought to metres",
                             scale.metresPerValue));
        if (m_result.field->NumFaces() == 0)
            Warn("no three neighbouring samples hold data: the terrain is empty");
    }

    const std::string& m_file;
    const HeightfieldOrigin& m_request;
    double m_unit;
    uint64_t m_memory;
    std::unique_ptr<IHeightSource> m_source;
    Window m_window;
    int m_columns = 0, m_rows = 0;
    Point2 m_size;
    HeightFieldResult m_result;
};

}  // namespace

HeightFieldResult ReadHeightField(const std::string& file, const HeightfieldOrigin& request,
                                  double metresPerUnit, uint64_t memory) {
    return FieldReader(file, request, metresPerUnit, memory).Read();
}

HeightFieldResult ReadHeightField(const std::string& file, const HeightfieldOrigin& request,
                                  double metresPerUnit) {
    return ReadHeightField(file, request, metresPerUnit, FreeMemory());
}
