// The module for images: host/image/image_module.h on OpenImageIO. Nothing else calls the library.
#include <algorithm>

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include "host/image/image_module.h"

struct ImageFile {
    std::unique_ptr<OIIO::Filesystem::IOMemReader> bytes;  // outlives its reader
    std::unique_ptr<OIIO::ImageInput> input;
    ImageHeader header;
};

namespace {

OIIO::TypeDesc ToType(ImageSample sample) {
    switch (sample) {
        case ImageSample::kUInt8:
            return OIIO::TypeDesc::UINT8;
        case ImageSample::kInt8:
            return OIIO::TypeDesc::INT8;
        case ImageSample::kUInt16:
            return OIIO::TypeDesc::UINT16;
        case ImageSample::kInt16:
            return OIIO::TypeDesc::INT16;
        case ImageSample::kUInt32:
            return OIIO::TypeDesc::UINT32;
        case ImageSample::kInt32:
            return OIIO::TypeDesc::INT32;
        case ImageSample::kHalf:
            return OIIO::TypeDesc::HALF;
        default:
            return OIIO::TypeDesc::FLOAT;
    }
}

ImageSample ToSample(OIIO::TypeDesc type) {
    for (int i = 0; i < int(ImageSample::kOther); ++i)
        if (ToType(ImageSample(i)).basetype == type.basetype) return ImageSample(i);
    return ImageSample::kOther;
}

ImageHeader ToHeader(const OIIO::ImageSpec& spec) {
    ImageHeader header;
    header.width = spec.width, header.height = spec.height, header.depth = spec.depth;
    header.channels = spec.nchannels, header.alphaChannel = spec.alpha_channel;
    header.tileHeight = spec.tile_width > 0 ? std::max(1, spec.tile_height) : 0;
    header.sample = ToSample(spec.format);
    header.sampleBytes = spec.format.basesize(), header.pixelBytes = spec.pixel_bytes();
    header.bitsPerSample = spec.get_int_attribute("oiio:BitsPerSample", 0);
    return header;
}

std::string FirstLine(const std::string& text) {
    std::string line = text.substr(0, text.find('\n'));
    return line.empty() ? "the file is damaged or of an unknown kind" : line;
}

// A reader for this kind; the library keeps the message of a failure until it is asked for.
std::unique_ptr<OIIO::ImageInput> ReaderFor(const char* kind, std::string* error) {
    auto input = OIIO::ImageInput::create(kind);
    std::string message = OIIO::geterror();
    if (!input) *error = FirstLine(message);
    return input;
}

// Opens the file's reader; colours are not multiplied by alpha.
ImageFile* Opened(std::unique_ptr<ImageFile> file, const char* path, std::string* error) {
    OIIO::ImageSpec config, spec;
    config.attribute("oiio:UnassociatedAlpha", 1);
    OIIO::Filesystem::IOProxy* proxy = file->bytes.get();
    if (proxy) config.attribute("oiio:ioproxy", OIIO::TypeDesc::PTR, &proxy);
    if ((proxy && !file->input->supports("ioproxy")) || !file->input->open(path, spec, config)) {
        *error = FirstLine(file->input->geterror());
        return nullptr;
    }
    file->header = ToHeader(file->input->spec());
    return file.release();
}

ImageFile* Open(const char* kind, const char* path, std::string* error) {
    auto file = std::make_unique<ImageFile>();
    file->input = ReaderFor(kind, error);
    return file->input ? Opened(std::move(file), path, error) : nullptr;
}

ImageFile* OpenBytes(const char* kind, const void* bytes, size_t size, std::string* error) {
    auto file = std::make_unique<ImageFile>();
    file->bytes = std::make_unique<OIIO::Filesystem::IOMemReader>(const_cast<void*>(bytes), size);
    file->input = ReaderFor(kind, error);
    return file->input ? Opened(std::move(file), "memory", error) : nullptr;
}

void Close(ImageFile* file) { delete file; }

const ImageHeader& Header(const ImageFile* file) { return file->header; }

bool Read(ImageFile* file, int channels, ImageSample as, void* values, std::string* error) {
    bool ok = file->input->read_image(0, 0, 0, channels, ToType(as), values);
    if (!ok) *error = FirstLine(file->input->geterror());
    return ok;
}

bool ReadRows(ImageFile* file, int first, int end, int channels, ImageSample as, void* values,
              std::string* error) {
    OIIO::ImageInput& input = *file->input;
    const OIIO::ImageSpec& spec = input.spec();
    int x = spec.x, y = spec.y;
    bool ok =
        file->header.tileHeight > 0
            ? input.read_tiles(0, 0, x, x + spec.width, y + first, y + end, 0, 1, 0, channels,
                               ToType(as), values)
            : input.read_scanlines(0, 0, y + first, y + end, 0, 0, channels, ToType(as), values);
    if (!ok) *error = FirstLine(input.geterror());
    return ok;
}

std::string FormatOf(const char* path) {
    auto output = OIIO::ImageOutput::create(path);
    OIIO::geterror();  // the library keeps the message until it is asked for
    return output ? output->format_name() : "";
}

OIIO::ImageSpec SpecOf(const ImageToWrite& image) {
    OIIO::ImageSpec spec(image.width, image.height, image.channels, ToType(image.stored));
    if (image.channels == 1) spec.channelnames = {"Y"};
    if (image.channels == 2) spec.channelnames = {"Y", "A"};
    if (image.hasAlpha) spec.alpha_channel = image.channels - 1;
    if (image.hasAlpha) spec.attribute("oiio:UnassociatedAlpha", 1);
    if (image.colorSpace) spec.attribute("oiio:ColorSpace", image.colorSpace);
    if (image.quality > 0) spec.attribute("CompressionQuality", image.quality);
    return spec;
}

bool Write(const char* format, const char* path, const ImageToWrite& image, std::string* error) {
    auto output = OIIO::ImageOutput::create(format);
    if (!output) return *error = FirstLine(OIIO::geterror()), false;
    bool ok = output->open(path, SpecOf(image)) &&
              output->write_image(ToType(image.sample), image.values);
    ok = output->close() && ok;
    if (!ok) *error = FirstLine(output->geterror());
    return ok;
}

constexpr ImageModule kModule{
    ImageModule::kVersion, Open, OpenBytes, Close, Header, Read, ReadRows, FormatOf, Write};

}  // namespace

extern "C" const ImageModule* DravinImageModule() {
    // One reader thread an image: the caller decides what runs in parallel.
    OIIO::attribute("threads", 1);
    return &kModule;
}
