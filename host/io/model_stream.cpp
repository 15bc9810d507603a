#include "host/io/model_stream.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "host/geom/mesh_tools.h"

namespace {

constexpr std::string_view kModelMark = "dravin-model-3\n", kFailureMark = "dravin-failed\n";

// One description of every structure's fields serves writing and reading: an archive is called with
// each field in turn.
template <class A>
void Fields(A& a, StreamTexture& t) {
    a(t.file, t.bytes, t.wrap, t.tiling, t.offset);
}
template <class A>
void Fields(A& a, StreamMaterial& m) {
    a(m.name, m.diffuse, m.opacity, m.twoSided, m.diffuseMap, m.opacityMap);
}
template <class A>
void Fields(A& a, StreamObject& o) {
    a(o.name, o.node, o.mesh, o.materials, o.bones, o.morphs);
}
template <class A>
void Fields(A& a, StreamBone& b) {
    a(b.weights, b.node, b.offset);
}
template <class A>
void Fields(A& a, StreamMorph& m) {
    a(m.verts, m.keys, m.firstVertex);
}
template <class A>
void Fields(A& a, StreamAnimation& s) {
    a(s.name, s.seconds, s.isRead);
}
template <class A>
void Fields(A& a, StreamChannel& c) {
    a(c.positions, c.scales, c.rotations, c.node);
}
template <class A>
void Fields(A& a, MapChannel& c) {
    a(c.verts, c.faces);
}
template <class A>
void Fields(A& a, Mesh& m) {
    a(m.verts, m.faces, m.maps, m.normals);
}
template <class A>
void Fields(A& a, StreamModel& m) {
    a(m.leftOut, m.up, m.metresPerUnit, m.materials, m.meshes, m.nodes, m.objects, m.animations,
      m.channels);
}

template <class T>
constexpr bool kIsPlain = std::is_trivially_copyable_v<T>;

class Writer {
public:
    std::string bytes;

    template <class... T>
    void operator()(T&... fields) {
        (Value(fields), ...);
    }

private:
    void Raw(const void* data, size_t size) { bytes.append(static_cast<const char*>(data), size); }
    template <class T>
    void Value(T& value) {
        if constexpr (kIsPlain<T>)
            Raw(&value, sizeof value);
        else
            Fields(*this, value);
    }
    void Value(std::string& text) { List(text); }
    template <class T>
    void Value(std::vector<T>& list) {
        if constexpr (kIsPlain<T>) return List(list);
        uint64_t n = list.size();
        Raw(&n, sizeof n);
        for (T& element : list) Value(element);
    }
    template <class L>
    void List(L& list) {
        uint64_t n = list.size();
        Raw(&n, sizeof n);
        Raw(list.data(), n * sizeof(typename L::value_type));
    }
};

class Reader {
public:
    explicit Reader(std::string_view bytes) : m_rest(bytes) {}

    bool IsDone() const { return m_ok && m_rest.empty(); }

    template <class... T>
    void operator()(T&... fields) {
        (Value(fields), ...);
    }

private:
    void Raw(void* data, size_t size) {
        m_ok = m_ok && size <= m_rest.size();
        if (!m_ok || size == 0) return;
        std::memcpy(data, m_rest.data(), size);
        m_rest.remove_prefix(size);
    }
    // A length of elements that take at least elementBytes each.
    uint64_t Length(size_t elementBytes) {
        uint64_t n = 0;
        Raw(&n, sizeof n);
        m_ok = m_ok && n <= m_rest.size() / elementBytes;
        return m_ok ? n : 0;
    }
    template <class T>
    void Value(T& value) {
        if constexpr (kIsPlain<T>)
            Raw(&value, sizeof value);
        else
            Fields(*this, value);
    }
    void Value(std::string& text) { List(text); }
    template <class T>
    void Value(std::vector<T>& list) {
        if constexpr (kIsPlain<T>) return List(list);
        constexpr size_t kLeastBytes = 8;  // every structure begins with a length
        uint64_t n = Length(kLeastBytes);
        for (uint64_t i = 0; i < n && m_ok; ++i) Value(list.emplace_back());
    }
    template <class L>
    void List(L& list) {
        uint64_t n = Length(sizeof(typename L::value_type));
        list.resize(n);
        Raw(list.data(), n * sizeof(typename L::value_type));
    }

    std::string_view m_rest;
    bool m_ok = true;
};

template <class T>
bool DoTimesRise(const std::vector<StreamKey<T>>& keys) {
    for (size_t i = 1; i < keys.size(); ++i)
        if (keys[i - 1].time >= keys[i].time) return false;
    return true;
}

bool IsSound(const StreamChannel& channel, const StreamModel& model) {
    return channel.node < model.nodes.size() && DoTimesRise(channel.positions) &&
           DoTimesRise(channel.rotations) && DoTimesRise(channel.scales);
}

bool IsSound(const StreamBone& bone, size_t numVerts, const StreamModel& model) {
    return bone.node < model.nodes.size() &&
           std::all_of(bone.weights.begin(), bone.weights.end(),
                       [=](const StreamWeight& w) { return w.vertex < numVerts; });
}

bool IsSound(const StreamMorph& morph, size_t numVerts) {
    return morph.firstVertex <= numVerts && morph.verts.size() <= numVerts - morph.firstVertex &&
           DoTimesRise(morph.keys);
}

bool IsSound(const StreamObject& object, const StreamModel& model) {
    if (object.mesh >= model.meshes.size() || object.node >= model.nodes.size()) return false;
    for (uint32_t m : object.materials)
        if (m >= model.materials.size()) return false;
    if (object.bones.empty() && object.morphs.empty()) return true;
    // What is deformed is looked at before the model is checked as a whole.
    const Mesh& mesh = model.meshes[object.mesh];
    if (!Validate(mesh).empty()) return false;
    for (const StreamBone& bone : object.bones)
        if (!IsSound(bone, mesh.verts.size(), model)) return false;
    for (const StreamMorph& morph : object.morphs)
        if (!IsSound(morph, mesh.verts.size())) return false;
    return true;
}

bool AreReferencesInRange(const StreamModel& model) {
    if (model.up > uint32_t(UpAxis::kZ) || !(model.metresPerUnit >= 0)) return false;
    for (size_t n = 0; n < model.nodes.size(); ++n)
        if (uint32_t p = model.nodes[n].parent; p != StreamNode::kNoParent && p >= n) return false;
    for (const StreamObject& object : model.objects)
        if (!IsSound(object, model)) return false;
    for (const StreamChannel& channel : model.channels)
        if (!IsSound(channel, model)) return false;
    return true;
}

}  // namespace

std::string WriteModelStream(const StreamModel& model) {
    Writer writer;
    writer.bytes = kModelMark;
    Fields(writer, const_cast<StreamModel&>(model));  // a writer changes nothing
    return std::move(writer.bytes);
}

std::string WriteFailureStream(std::string_view reason) {
    return std::string(kFailureMark).append(reason);
}

std::optional<StreamModel> ReadModelStream(std::string_view bytes, std::string* error) {
    if (bytes.substr(0, kFailureMark.size()) == kFailureMark) {
        *error = bytes.substr(kFailureMark.size());
        return std::nullopt;
    }
    *error = "the import helper's answer is damaged";
    if (bytes.substr(0, kModelMark.size()) != kModelMark) return std::nullopt;
    Reader reader(bytes.substr(kModelMark.size()));
    StreamModel model;
    Fields(reader, model);
    if (!reader.IsDone() || !AreReferencesInRange(model)) return std::nullopt;
    error->clear();
    return model;
}
