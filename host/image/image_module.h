// Image files of every usual format, behind a module that is loaded when the first image is met.
//
// The image library draws in some 260 shared libraries, which take a fifth of a second to load; a
// program that meets no image does without. So the only code that calls the library stands in a
// module of ours (codecs.cpp, dravin_images.so), and the program knows the functions below. They
// exchange plain numbers and bytes; what files may claim, where outputs go and what messages say is
// the callers' affair (host/io/bitmap.h).
//
// Texts of errors are one line without the file's name. Functions that read or write may throw what
// the library throws on damaged files (std::exception). Different files may be used by different
// threads at once.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

// Kinds of samples; kOther is read as kFloat.
enum class ImageSample { kUInt8, kInt8, kUInt16, kInt16, kUInt32, kInt32, kHalf, kFloat, kOther };

// What an image file says of itself. Nothing is checked.
struct ImageHeader {
    int width = 0, height = 0, depth = 0, channels = 0;
    int alphaChannel = -1;  // -1: none
    int tileHeight = 0;     // 0: the image is stored in rows
    ImageSample sample = ImageSample::kOther;
    size_t sampleBytes = 0, pixelBytes = 0;  // of a sample, and of all channels of a pixel
    int bitsPerSample = 0;                   // as the file states it; 0: it does not
};

// An image to write: width x height pixels of interleaved channels, top row first.
struct ImageToWrite {
    int width = 0, height = 0, channels = 0;
    ImageSample sample = ImageSample::kUInt8;  // of `values`
    ImageSample stored = ImageSample::kUInt8;  // in the file
    const void* values = nullptr;
    bool hasAlpha = false;             // the last channel; colours are not multiplied by it
    const char* colorSpace = nullptr;  // "sRGB", "Linear"; null: not stated
    int quality = 0;                   // of lossy formats, 1 to 100; 0: the format's own
};

// An image that is open for reading; of the module.
struct ImageFile;

struct ImageModule {
    // Counts changes of this header: a module of another version is refused.
    static constexpr int kVersion = 1;
    int version;

    // Opens a file of this kind (an ImageKind of host/io/image_kind.h), or the bytes of one, which
    // must stay until the image is closed. Null with a reason in `error`.
    ImageFile* (*open)(const char* kind, const char* path, std::string* error);
    ImageFile* (*openBytes)(const char* kind, const void* bytes, size_t size, std::string* error);
    void (*close)(ImageFile* file);
    const ImageHeader& (*header)(const ImageFile* file);
    // The first `channels` channels of all pixels, or of the rows first .. end - 1, as samples of
    // another kind; integers stand for parts of their range. Where the image is stored in tiles,
    // `first` must be a multiple of their height, and `end` too unless it is the image's. False
    // with a reason in `error`.
    bool (*read)(ImageFile* file, int channels, ImageSample as, void* values, std::string* error);
    bool (*readRows)(ImageFile* file, int first, int end, int channels, ImageSample as,
                     void* values, std::string* error);

    // Name of the format that files of this ending have ("png", "openexr", ...); empty for none.
    std::string (*formatOf)(const char* path);
    // Writes an image in that format to another path. False with a reason in `error`.
    bool (*write)(const char* format, const char* path, const ImageToWrite& image,
                  std::string* error);
};

// The module's one exported function, by name.
inline constexpr const char* kImageModuleEntry = "DravinImageModule";
using ImageModuleEntry = const ImageModule* (*)();

// The module: the file that the environment variable DRAVIN_IMAGES names, else beside the program
// or below ../lib/dravin, else where the build put it. Loaded by the first call and kept. Null with
// a reason and a remedy in `error`, the same for every call. Thread safe.
const ImageModule* LoadImageModule(std::string* error);

struct ImageCloser {
    const ImageModule* module;
    void operator()(ImageFile* file) const { module->close(file); }
};
using ImageFilePtr = std::unique_ptr<ImageFile, ImageCloser>;
