// The form in which the import helper hands a model back: plain values in native byte order,
// written and read by the same build on the same machine. The reader trusts nothing: the helper may
// have been led astray by a hostile file, so every length is checked against the bytes present.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/io/mesh_import.h"

struct StreamTexture {
    std::string file;   // as the model names it, relative to it; or
    std::string bytes;  // an image packed in the model
    uint32_t wrap = 0;  // BitmapTex::Wrap
    Point2 tiling{1, 1}, offset;
};

struct StreamMaterial {
    std::string name;
    Color diffuse{0.8f, 0.8f, 0.8f};
    float opacity = 1;
    uint32_t twoSided = 0;
    std::vector<StreamTexture> diffuseMap, opacityMap;  // none or one each
};

struct StreamObject {
    std::string name;
    Matrix3 transform;
    uint32_t mesh = 0;
    std::vector<uint32_t> materials;  // by face id; indices of the model's materials
};

struct StreamModel {
    std::vector<std::string> leftOut;  // a kind each, as often as it was met
    uint32_t up = uint32_t(UpAxis::kZ);
    double metresPerUnit = 0;  // 0: the format states none
    std::vector<StreamMaterial> materials;
    std::vector<Mesh> meshes;  // in the file's own axes
    std::vector<StreamObject> objects;
};

std::string WriteModelStream(const StreamModel& model);
// The message of a reader that failed.
std::string WriteFailureStream(std::string_view reason);

// None with a reason in `error` for a failure's message or bytes that are no model.
std::optional<StreamModel> ReadModelStream(std::string_view bytes, std::string* error);
