// Images as heights: the first channel, or the luminance of coloured ones, read in strips straight
// into floats.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

#include "host/base/file_input.h"
#include "host/io/height_source.h"
#include "host/io/image_input.h"
#include "host/io/image_kind.h"
#include "host/math/color.h"

namespace {

constexpr int kStripRows = 32;

// An integer as its part of the whole range.
template <class T>
float ToUnit(T value) {
    using Limits = std::numeric_limits<T>;
    if constexpr (std::is_floating_point_v<T>) return value;
    if constexpr (std::is_unsigned_v<T> && sizeof(T) <= 2)
        return float(value) / float(Limits::max());  // as Bitmap does
    return float((double(value) - double(Limits::min())) /
                 (double(Limits::max()) - double(Limits::min())));
}

class HeightImage : public IHeightSource {
public:
    HeightImage(std::string file, OpenedImage image)
        : m_file(std::move(file)), m_image(std::move(image)) {
        const ImageHeader& header = m_image.Header();
        m_columns = header.width, m_rows = header.height;
        bool isColor = header.channels >= 3;
        m_channels = isColor ? 3 : 1;
        ReadTags();
        ReadBitDepth(header);
    }

    bool ReadRows(int first, int last, Values values, const RowVisitor& visit,
                  std::string* error) override {
        m_values = values;
        return CatchImageExceptions(m_file, error, [&] {
            ImageSample sample = m_image.Header().sample;
            auto read = [&]<class T>(T) { return Read<T>(sample, first, last, visit, error); };
            switch (sample) {
                case ImageSample::kUInt8:
                    return read(uint8_t{});
                case ImageSample::kInt8:
                    return read(int8_t{});
                case ImageSample::kUInt16:
                    return read(uint16_t{});
                case ImageSample::kInt16:
                    return read(int16_t{});
                case ImageSample::kUInt32:
                    return read(uint32_t{});
                case ImageSample::kInt32:
                    return read(int32_t{});
                default:
                    sample = ImageSample::kFloat;
                    return read(float{});
            }
        });
    }

private:
    void ReadTags() {
        MappedFile map;
        std::string ignored;
        if (!map.Open(m_file, &ignored)) return;
        GeoTiffTags tags = ReadGeoTiffTags(map.Bytes());
        m_scale = ScaleOf(tags, m_columns, m_rows);
        m_noData = tags.noData.value_or(std::numeric_limits<double>::quiet_NaN());
    }

    // The library widens odd depths to whole bytes; the file's own numbers need the way back.
    void ReadBitDepth(const ImageHeader& header) {
        int bits = header.bitsPerSample, held = int(header.sampleBytes) * 8;
        bool isFloat = header.sample >= ImageSample::kHalf;
        if (isFloat || bits <= 0 || bits >= held) return;
        m_narrow = (std::exp2(bits) - 1) / (std::exp2(held) - 1);
    }

    template <class T>
    bool Read(ImageSample sample, int first, int last, const RowVisitor& visit,
              std::string* error) {
        int tile = m_image.Header().tileHeight, strip = tile > 0 ? tile : kStripRows;
        size_t rowValues = size_t(m_columns) * size_t(m_channels);
        std::vector<T> values(rowValues * size_t(strip));
        std::vector<float> row(static_cast<size_t>(m_columns));
        for (int j = first / strip * strip; j < last; j += strip) {
            int end = std::min(j + strip, m_rows);
            std::string why;
            if (!m_image.ReadRows(j, end, m_channels, sample, values.data(), &why)) {
                *error = fmt::format("{}: cannot read the image: {}", m_file, why);
                return false;
            }
            for (int k = std::max(j, first); k < std::min(end, last); ++k) {
                Convert(values.data() + rowValues * size_t(k - j), row);
                visit(row);
            }
        }
        return true;
    }

    template <class T>
    void Convert(const T* p, std::span<float> row) const {
        for (float& value : row) {
            value = m_channels == 1 ? One(p[0]) : Luminance({One(p[0]), One(p[1]), One(p[2])});
            p += m_channels;
        }
    }

    template <class T>
    float One(T value) const {
        double own = double(value);
        if (m_narrow != 1) own = std::round(own * m_narrow);
        // The tag states a decimal number; a float sample holds the nearest float.
        bool isMissing = own == m_noData;
        if constexpr (std::is_floating_point_v<T>) isMissing = value == T(m_noData);
        if (isMissing || !std::isfinite(own)) return std::numeric_limits<float>::quiet_NaN();
        return m_values == Values::kUnit ? ToUnit(value) : float(own);
    }

    std::string m_file;
    OpenedImage m_image;
    int m_channels;
    Values m_values = Values::kUnit;
    double m_noData = std::numeric_limits<double>::quiet_NaN();
    double m_narrow = 1;
};

}  // namespace

OpenedHeights OpenHeightImage(const std::string& file) {
    OpenedHeights opened;
    opened.source =
        CatchImageExceptions(file, &opened.error, [&]() -> std::unique_ptr<IHeightSource> {
            OpenedImage image = OpenImage(file);
            if (image) return std::make_unique<HeightImage>(file, std::move(image));
            opened.error = image.error, opened.isLimit = image.isLimit;
            return nullptr;
        });
    return opened;
}

OpenedHeights OpenHeights(const std::string& file) {
    uint64_t size = 0;
    OpenedHeights failed;
    std::optional<std::string> head = ReadFileHead(file, kImageKindBytes, &size, &failed.error);
    if (!head) return failed;
    bool isText = ImageKind(*head, file).empty();
    std::string lower = file.size() < 4 ? "" : file.substr(file.size() - 4);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return isText && (lower == ".asc" || IsAscGrid(*head)) ? OpenAscGrid(file)
                                                           : OpenHeightImage(file);
}
