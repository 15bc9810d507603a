// Buffer views of EXT_meshopt_compression.

#include <fmt/format.h>
#include <meshoptimizer.h>
#include <tiny_gltf.h>

#include "host/base/input_limit.h"
#include "host/io/gltf_file.h"

namespace {

// What the codec can make of one byte at most: two bits stand for 16 equal ones.
constexpr uint64_t kMostBytesOfOne = 64, kSlackBytes = 1 << 16;

struct PackedView {
    uint64_t buffer = 0, offset = 0, length = 0, stride = 0, count = 0;
    std::string mode, filter = "NONE";

    uint64_t UnpackedBytes() const { return count * stride; }
};

uint64_t Number(const tinygltf::Value& object, const char* key) {
    const tinygltf::Value& value = object.Get(key);
    double number = value.IsNumber() ? value.GetNumberAsDouble() : 0;
    return number >= 0 && number <= 4294967295.0 ? uint64_t(number) : ~uint64_t{0} >> 16;
}

PackedView ReadPacked(const tinygltf::Value& object) {
    PackedView view{Number(object, "buffer"),
                    Number(object, "byteOffset"),
                    Number(object, "byteLength"),
                    Number(object, "byteStride"),
                    Number(object, "count"),
                    "",
                    "NONE"};
    if (object.Get("mode").IsString()) view.mode = object.Get("mode").Get<std::string>();
    if (object.Get("filter").IsString()) view.filter = object.Get("filter").Get<std::string>();
    return view;
}

// Why the view cannot be unpacked; empty when it can be tried. The codec asserts all this.
std::string Problem(const PackedView& v, const tinygltf::Model& model) {
    if (v.buffer >= model.buffers.size()) return fmt::format("buffer {}", v.buffer);
    uint64_t bytes = model.buffers[v.buffer].data.size();
    if (v.offset > bytes || v.length > bytes - v.offset) return "it does not fit its buffer";
    bool isIndices = v.mode == "TRIANGLES" || v.mode == "INDICES";
    if (!isIndices && v.mode != "ATTRIBUTES") return fmt::format("mode \"{}\"", v.mode);
    bool fits = isIndices ? v.stride == 2 || v.stride == 4
                          : v.stride > 0 && v.stride <= 256 && v.stride % 4 == 0;
    bool fitsFilter = v.filter == "NONE" ||
                      (v.filter == "OCTAHEDRAL" && (v.stride == 4 || v.stride == 8)) ||
                      (v.filter == "QUATERNION" && v.stride == 8) || v.filter == "EXPONENTIAL";
    if (!fits || !fitsFilter) return fmt::format("byteStride {}", v.stride);
    if (isIndices && v.filter != "NONE") return fmt::format("filter {}", v.filter);
    if (v.mode == "TRIANGLES" && v.count % 3 != 0) return fmt::format("{} corners", v.count);
    if (v.count > (kMostBytesOfOne * v.length + kSlackBytes) / v.stride)
        return fmt::format("{} elements claimed, {} bytes cannot hold them", v.count, v.length);
    return {};
}

bool Unpack(const PackedView& v, const unsigned char* packed, std::vector<unsigned char>& out) {
    out.resize(v.UnpackedBytes());
    if (v.count == 0) return true;
    if (v.mode == "TRIANGLES")
        return meshopt_decodeIndexBuffer(out.data(), v.count, v.stride, packed, v.length) == 0;
    if (v.mode == "INDICES")
        return meshopt_decodeIndexSequence(out.data(), v.count, v.stride, packed, v.length) == 0;
    if (meshopt_decodeVertexBuffer(out.data(), v.count, v.stride, packed, v.length) != 0)
        return false;
    if (v.filter == "OCTAHEDRAL") meshopt_decodeFilterOct(out.data(), v.count, v.stride);
    if (v.filter == "QUATERNION") meshopt_decodeFilterQuat(out.data(), v.count, v.stride);
    if (v.filter == "EXPONENTIAL") meshopt_decodeFilterExp(out.data(), v.count, v.stride);
    return true;
}

}  // namespace

bool UnpackMeshoptViews(ModelFiles& files, tinygltf::Model* model, ImportError* error) {
    uint64_t total = 0;
    for (size_t i = 0; i < model->bufferViews.size(); ++i) {
        tinygltf::BufferView& view = model->bufferViews[i];
        auto found = view.extensions.find("EXT_meshopt_compression");
        if (found == view.extensions.end() || !found->second.IsObject()) continue;
        PackedView packed = ReadPacked(found->second);
        std::string problem = Problem(packed, *model);
        auto fail = [&](const std::string& what, ImportFailure kind = ImportFailure::kMalformed) {
            return FailImport(
                error, fmt::format("{}: compressed buffer view {}: {}", files.Path(), i, what),
                kind);
        };
        if (!problem.empty()) return fail(problem);
        total += packed.UnpackedBytes();
        if (std::string heavy = OverInputLimit(total); !heavy.empty())
            return fail("with those before it, it " + heavy, ImportFailure::kLimit);
        tinygltf::Buffer plain;
        const unsigned char* bytes = model->buffers[packed.buffer].data.data() + packed.offset;
        if (!Unpack(packed, bytes, plain.data)) return fail("it is damaged");
        view.byteOffset = 0;
        view.byteLength = plain.data.size();
        if (packed.mode == "ATTRIBUTES") view.byteStride = packed.stride;
        view.buffer = int(model->buffers.size());
        model->buffers.push_back(std::move(plain));
    }
    return true;
}
