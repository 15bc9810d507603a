// Writes the fields of one stored entity: each a chunk of its own, told by a number that never
// changes its meaning, so that older programs pass over newer fields.
//
// Other entities are named by their place in the entity's list of references (Refs), which the
// entity's record holds beside the fields. Files are named relative to the scene's folder.
#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "host/chunks/chunk_writer.h"
#include "host/geom/bezier_shape.h"
#include "host/geom/mesh.h"
#include "host/params/param_value.h"
#include "host/params/property.h"

// Structs of numbers without gaps, written as they lie in memory.
template <class T>
inline constexpr bool kIsPlainValue =
    std::is_same_v<T, Point2> || std::is_same_v<T, Point3> || std::is_same_v<T, Color> ||
    std::is_same_v<T, Quat> || std::is_same_v<T, Matrix3> || std::is_same_v<T, BezierKnot>;
template <class T>
concept PlainValue = kIsPlainValue<T>;

// What fields refer to instead of none.
inline constexpr uint32_t kNoStored = 0xFFFFFFFF;

// Meshes of a file, each once however many objects share it.
class MeshesToStore {
public:
    uint32_t IndexOf(const std::shared_ptr<const Mesh>& mesh);
    const std::vector<std::shared_ptr<const Mesh>>& All() const { return m_meshes; }

private:
    std::unordered_map<const Mesh*, uint32_t> m_index;
    std::vector<std::shared_ptr<const Mesh>> m_meshes;
};

class FieldWriter {
public:
    // slots: how many references the entity has in numbered slots, which come first in Refs.
    FieldWriter(ChunkWriter& out, MeshesToStore& meshes, const std::string& folder,
                std::vector<std::shared_ptr<ReferenceTarget>> slots)
        : m_out(out), m_meshes(meshes), m_folder(folder), m_refs(std::move(slots)) {
        m_numSlots = uint32_t(m_refs.size());
    }

    static constexpr bool kReads = false;
    uint32_t NumSlots() const { return m_numSlots; }
    const std::vector<std::shared_ptr<ReferenceTarget>>& Refs() const { return m_refs; }

    template <class T>
    void operator()(uint32_t id, const T& value) {
        m_out.BeginChunk(id);
        Put(value);
        m_out.EndChunk();
    }
    // A file's path.
    void Path(uint32_t id, const std::string& path);
    // Another entity that no slot holds. The setter is the reader's.
    template <class T, class Set>
    void Target(uint32_t id, const std::shared_ptr<T>& target, const Set&) {
        (*this)(id, AddRef(target));
    }
    template <class Set>
    void SharedMesh(uint32_t id, const std::shared_ptr<const Mesh>& mesh, const Set&) {
        (*this)(id, mesh ? m_meshes.IndexOf(mesh) : kNoStored);
    }
    // A field of a form of its own: write(out) inside its chunk; read is the reader's.
    template <class Write, class Read>
    void Own(uint32_t id, const Write& write, const Read&) {
        m_out.BeginChunk(id);
        write(*this);
        m_out.EndChunk();
    }
    // Runs when everything has been read.
    template <class Action>
    void WhenLoaded(const Action&) {}

    // Of the chunk that is open.
    ChunkWriter& Out() { return m_out; }
    template <ChunkNumber T>
    void Put(T value) {
        m_out.Write(value);
    }
    template <class T>
    requires std::is_enum_v<T>
    void Put(T value) { m_out.Write(int32_t(value)); }
    void Put(const std::string& text) { m_out.WriteText(text); }
    template <PlainValue T>
    void Put(const T& value) {
        m_out.WriteBytes({reinterpret_cast<const char*>(&value), sizeof value});
    }
    template <class T>
    requires(PlainValue<T> || ChunkNumber<T>) void Put(const std::vector<T>& list) {
        m_out.WriteArray(std::span<const T>(list));
    }
    template <class T>
    void Put(const std::optional<T>& value) {
        m_out.Write(value.has_value());
        if (value) Put(*value);
    }
    template <class T>
    void Put(const Animated<T>& content) {
        Put(content.value);
        Put(content.track);
    }
    template <class T>
    void Put(const KeyTrack<T>& track) {
        m_out.Write(uint32_t(track.keys.size()));
        if (track.keys.empty()) return;
        Put(track.interpolation), Put(track.before), Put(track.after);
        for (const TrackKey<T>& key : track.keys)
            Put(key.time), Put(key.value), Put(key.in), Put(key.out);
    }
    template <class T>
    void Put(const Property<T>& property) {
        Put(property.Get());
    }
    template <class T>
    void Put(const AnimatedProperty<T>& property) {
        Put(property.Content());
    }
    void Put(const ParamValue& value);
    void Put(const ParamElement& element) { Put(element.value), Put(element.track); }
    void Put(const BezierShape& shape);
    void Put(const PolyShape& shape);

private:
    uint32_t AddRef(const std::shared_ptr<ReferenceTarget>& target);

    ChunkWriter& m_out;
    MeshesToStore& m_meshes;
    const std::string& m_folder;
    std::vector<std::shared_ptr<ReferenceTarget>> m_refs;
    uint32_t m_numSlots;
};
