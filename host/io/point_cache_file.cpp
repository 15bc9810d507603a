#include "host/io/point_cache_file.h"

#include <bit>
#include <cmath>
#include <cstring>

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/base/text.h"
#include "host/io/model_readers.h"

namespace {

constexpr std::string_view kPc2Mark{"POINTCACHE2\0", 12};
constexpr uint64_t kPc2Header = 32, kMddHeader = 8;

template <class T>
T Number(std::string_view bytes, uint64_t at, bool isBigEndian) {
    uint32_t bits;
    std::memcpy(&bits, bytes.data() + at, 4);
    if (isBigEndian != (std::endian::native == std::endian::big)) bits = __builtin_bswap32(bits);
    return std::bit_cast<T>(bits);
}

bool FitsTime(double ticks) {
    return ticks >= double(kTimeNegInfinity) && ticks <= double(kTimePosInfinity);
}

// Whether samples of so many points, and so many bytes before them, are in the file.
bool CheckLength(std::string_view bytes, int32_t numPoints, int32_t numSamples, uint64_t timeBytes,
                 PointCacheLayout* layout, ImportError* error) {
    if (numPoints < 1 || numSamples < 1)
        return FailImport(error, fmt::format("{} points in {} samples, expected 1 or more of both",
                                             numPoints, numSamples));
    layout->numPoints = uint64_t(numPoints), layout->numSamples = uint64_t(numSamples);
    // Both are below 2^31, so that only their product with the size of a point could be too large.
    uint64_t before = layout->timesAt + timeBytes * layout->numSamples;
    uint64_t left = bytes.size() > before ? bytes.size() - before : 0;
    if (left / layout->SampleBytes() < layout->numSamples)
        return FailImport(
            error, fmt::format("the file is cut: {} samples of {} points need {} bytes each, {} "
                               "of them are there; write the cache anew",
                               numSamples, numPoints, layout->SampleBytes(),
                               left / layout->SampleBytes()));
    layout->samplesAt = before;
    uint64_t beyond = left - layout->SampleBytes() * layout->numSamples;
    if (beyond > 0)
        layout->warning = fmt::format(
            "{} bytes stand behind the {} samples of {} points that the file names; they are left "
            "out",
            beyond, numSamples, numPoints);
    return true;
}

bool ReadPc2(std::string_view bytes, int ticksPerFrame, PointCacheLayout* layout,
             ImportError* error) {
    if (bytes.size() < kPc2Header)
        return FailImport(error, "the file is cut within its first 32 bytes");
    int version = Number<int32_t>(bytes, 12, false);
    if (version != 1)
        return FailImport(error, fmt::format("version {} of PC2, expected 1", version));
    float first = Number<float>(bytes, 20, false), step = Number<float>(bytes, 24, false);
    layout->timesAt = kPc2Header;
    if (!CheckLength(bytes, Number<int32_t>(bytes, 16, false), Number<int32_t>(bytes, 28, false), 0,
                     layout, error))
        return false;
    layout->firstTicks = double(first) * ticksPerFrame;
    layout->ticksToNext = double(step) * ticksPerFrame;
    bool isStill = layout->numSamples == 1;
    if (isStill) layout->ticksToNext = 0;
    // Closer ones could not be told apart at a late time.
    constexpr double kLeastTicks = 0.001;
    if (!isStill && !(layout->ticksToNext >= kLeastTicks))
        return FailImport(error, fmt::format("samples stand {} frames apart, expected a number "
                                             "above 0, a thousandth of a tick at least",
                                             FormatNumber(step)));
    if (!FitsTime(layout->firstTicks) || !FitsTime(layout->TimeOf(bytes, layout->numSamples - 1)))
        return FailImport(error, fmt::format("samples from frame {} on, {} frames apart, lie "
                                             "outside the time that a scene has",
                                             FormatNumber(first), FormatNumber(step)));
    return true;
}

bool ReadMdd(std::string_view bytes, PointCacheLayout* layout, ImportError* error) {
    if (bytes.size() < kMddHeader)
        return FailImport(error, "the file is cut within its first 8 bytes");
    layout->isMdd = true;
    layout->timesAt = kMddHeader;
    if (!CheckLength(bytes, Number<int32_t>(bytes, 4, true), Number<int32_t>(bytes, 0, true), 4,
                     layout, error))
        return false;
    double before = 0;
    for (uint64_t i = 0; i < layout->numSamples; ++i) {
        double ticks = layout->TimeOf(bytes, i);
        if (!FitsTime(ticks) || (i > 0 && !(ticks > before)))
            return FailImport(
                error,
                fmt::format(
                    "sample {}: its time is {} seconds{}; times must rise and be "
                    "within a scene's time",
                    i, FormatNumber(ticks / kTicksPerSecond),
                    i > 0 ? fmt::format(" after {}", FormatNumber(before / kTicksPerSecond)) : ""));
        before = ticks;
    }
    return true;
}

bool EndsIn(const std::string& path, std::string_view ending) {
    if (path.size() < ending.size()) return false;
    return std::equal(ending.begin(), ending.end(), path.end() - ptrdiff_t(ending.size()),
                      [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b + 32 : b); });
}

class FileSamples : public IPointSamples {
public:
    bool Open(const PointCacheOrigin& origin, const PointCacheUse& use, ImportError* error,
              std::string* warning) {
        m_path = origin.file;
        MappedFile file;
        if (!file.Open(m_path, &error->text))
            return error->kind = ImportFailure::kMissingInput, false;
        auto layout =
            ReadPointCacheLayout(file.Bytes(), EndsIn(m_path, ".mdd"), use.ticksPerFrame, error);
        if (!layout) return error->text = fmt::format("{}: {}", m_path, error->text), false;
        m_layout = *layout;
        *warning = m_layout.warning;
        if (m_layout.isMdd) ReadTimes(file.Bytes());
        if (file.WasCut()) return FailImport(error, BecameShorter(), ImportFailure::kMissingInput);
        m_up = origin.up.value_or(m_layout.isMdd ? UpAxis::kY : UpAxis::kZ);
        m_factor = origin.inMetres ? float(1 / use.unitScale) : 1;
        return true;
    }

    size_t NumPoints() const override { return m_layout.numPoints; }
    size_t NumSamples() const override { return m_layout.numSamples; }
    double TimeOf(size_t sample) const override {
        return m_layout.isMdd ? double(m_seconds[sample]) * kTicksPerSecond
                              : m_layout.TimeOf({}, sample);
    }

    bool Read(size_t sample, std::vector<Point3>* points, std::string* error) const override {
        MappedFile file;
        if (!file.Open(m_path, error)) return false;
        uint64_t end = m_layout.samplesAt + (sample + 1) * m_layout.SampleBytes();
        if (file.Bytes().size() < end) return *error = BecameShorter(), false;
        if (!ReadPointCacheSample(file.Bytes(), m_layout, sample, points, error))
            return *error = fmt::format("{}: {}", m_path, *error), false;
        if (file.WasCut()) return *error = BecameShorter(), false;
        for (Point3& p : *points) {
            if (m_up == UpAxis::kY) p = {p.x, 0 - p.z, p.y};
            p *= m_factor;
        }
        return true;
    }

private:
    void ReadTimes(std::string_view bytes) {
        for (uint64_t i = 0; i < m_layout.numSamples; ++i)
            m_seconds.push_back(Number<float>(bytes, m_layout.timesAt + 4 * i, true));
    }
    std::string BecameShorter() const {
        return m_path + ": the file became shorter while it was read";
    }

    std::string m_path;
    PointCacheLayout m_layout;
    std::vector<float> m_seconds;  // of MDD; the file's length has vouched for their number
    UpAxis m_up = UpAxis::kZ;
    float m_factor = 1;
};

}  // namespace

double PointCacheLayout::TimeOf(std::string_view bytes, uint64_t sample) const {
    if (!isMdd) return firstTicks + ticksToNext * double(sample);
    return double(Number<float>(bytes, timesAt + 4 * sample, true)) * kTicksPerSecond;
}

std::optional<PointCacheLayout> ReadPointCacheLayout(std::string_view bytes, bool isMdd,
                                                     int ticksPerFrame, ImportError* error) {
    PointCacheLayout layout;
    bool isPc2 = bytes.substr(0, kPc2Mark.size()) == kPc2Mark;
    if (!isPc2 && !isMdd) {
        FailImport(error, "no point cache: PC2 begins with POINTCACHE2, MDD is named .mdd");
        return std::nullopt;
    }
    bool ok =
        isPc2 ? ReadPc2(bytes, ticksPerFrame, &layout, error) : ReadMdd(bytes, &layout, error);
    if (!ok) return std::nullopt;
    return layout;
}

bool ReadPointCacheSample(std::string_view bytes, const PointCacheLayout& layout, uint64_t sample,
                          std::vector<Point3>* points, std::string* error) {
    points->resize(layout.numPoints);
    uint64_t at = layout.samplesAt + sample * layout.SampleBytes();
    auto next = [&] { return Number<float>(bytes, std::exchange(at, at + 4), layout.isMdd); };
    for (size_t i = 0; i < points->size(); ++i) {
        Point3& p = (*points)[i];
        p.x = next(), p.y = next(), p.z = next();
        if (!IsFinite(p))
            return *error = fmt::format("sample {}, point {}: a coordinate is not a finite number",
                                        sample, i),
                   false;
    }
    return true;
}

std::shared_ptr<const IPointSamples> OpenPointCache(const PointCacheOrigin& origin,
                                                    const PointCacheUse& use, ImportError* error,
                                                    std::string* warning) {
    auto samples = std::make_shared<FileSamples>();
    return samples->Open(origin, use, error, warning) ? samples : nullptr;
}
