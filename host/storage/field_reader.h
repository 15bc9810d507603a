// Reads the fields of one stored entity, the other way round from FieldWriter: what is visited is
// noted first, and filled in the order in which the file holds it. Fields that the file lacks stay
// as they are; fields that nobody asks for are kept as they came.
#pragma once

#include <cmath>
#include <functional>
#include <map>

#include "host/chunks/chunk_reader.h"
#include "host/io/description_value.h"
#include "host/storage/field_writer.h"

class Scene;
class ISceneLoaders;
class WorkWatch;

// What the reading of one file knows: its entities, and what waits for them.
struct StoredEntities {
    Scene& scene;
    ISceneLoaders& loaders;
    std::string folder = {};     // of the file
    WorkWatch* watch = nullptr;  // null: nobody waits
    std::vector<std::string> warnings = {};
    std::string error = {};  // the first one; empty: none
    DescriptionErrorClass errorClass = DescriptionErrorClass::kNone;

    std::vector<std::shared_ptr<ReferenceTarget>> targets = {};  // in the file's order
    std::vector<std::vector<uint32_t>> refs = {};  // of each: places among the targets
    std::vector<std::shared_ptr<const Mesh>> meshes = {};
    // Run in the order of registration: when all entities exist, and when all are filled.
    std::vector<std::function<void()>> whenAllExist = {}, whenLoaded = {};

    // A reference of an entity; null for none, and for a place that is none.
    std::shared_ptr<ReferenceTarget> Ref(size_t entity, uint32_t ref) const;
    void Fail(const std::string& text, DescriptionErrorClass why);
    // The path of a file that the scene names; empty, and failed, without such a file.
    std::string FileOf(const std::string& name);
};

class FieldReader {
public:
    FieldReader(ChunkReader& in, StoredEntities& entities, size_t entity, uint32_t numSlots,
                uint16_t version)
        : m_in(in),
          m_entities(entities),
          m_entity(entity),
          m_numSlots(numSlots),
          m_version(version) {}

    static constexpr bool kReads = true;
    uint32_t NumSlots() const { return m_numSlots; }
    // Of the fields, as the class wrote it.
    uint16_t Version() const { return m_version; }
    StoredEntities& Entities() { return m_entities; }

    template <class T>
    void operator()(uint32_t id, T& field) {
        m_fields[id] = [this, &field] { Get(field); };
    }
    void Path(uint32_t id, std::string& path) {
        m_fields[id] = [this, &path] { path = m_entities.FileOf(m_in.ReadText()); };
    }
    // set(target) when all entities exist, with null for none and for one of another class.
    template <class T, class Set>
    void Target(uint32_t id, const std::shared_ptr<T>&, Set set) {
        m_fields[id] = [this, set] { ResolveLater<T>(m_in.Read<uint32_t>(), set); };
    }
    template <class Set>
    void SharedMesh(uint32_t id, const std::shared_ptr<const Mesh>&, Set set) {
        m_fields[id] = [this, set] {
            uint32_t index = m_in.Read<uint32_t>();
            m_entities.whenAllExist.push_back([&all = m_entities.meshes, index, set] {
                if (index < all.size()) set(all[index]);
            });
        };
    }
    template <class Write, class Read>
    void Own(uint32_t id, const Write&, Read read) {
        m_fields[id] = [this, read] { read(*this); };
    }
    void WhenLoaded(std::function<void()> action) {
        m_entities.whenLoaded.push_back(std::move(action));
    }

    // Reads the chunk of fields that is open. Returns those that nobody asked for.
    std::vector<KeptChunk> Run();

    ChunkReader& In() { return m_in; }
    template <class T, class Set>
    void ResolveLater(uint32_t ref, Set set) {
        m_entities.whenAllExist.push_back([&all = m_entities, entity = m_entity, ref, set] {
            set(std::dynamic_pointer_cast<T>(all.Ref(entity, ref)));
        });
    }

    // Into a plain value; numbers that are not finite, and enumerators that there are none of, make
    // the file malformed.
    template <ChunkNumber T>
    void Get(T& value) {
        value = m_in.Read<T>();
        if constexpr (std::is_floating_point_v<T>) CheckFinite(value);
    }
    void Get(std::string& text) { text = m_in.ReadText(); }
    template <PlainValue T>
    void Get(T& value) {
        m_in.ReadBytes(&value, sizeof value);
        const float* numbers = reinterpret_cast<const float*>(&value);
        for (size_t i = 0; i < sizeof value / sizeof(float); ++i) CheckFinite(numbers[i]);
    }
    template <class T>
    requires(PlainValue<T> || ChunkNumber<T>) void Get(std::vector<T>& list) {
        m_in.ReadArray(&list);
    }
    template <class T>
    requires std::is_enum_v<T>
    void Get(T& value) {
        int32_t number = m_in.Read<int32_t>();
        if (number < 0 || number >= NumEnumerators(T{}))
            m_in.Fail("a choice that there is none of");
        else
            value = T(number);
    }
    template <class T>
    void Get(std::optional<T>& value) {
        value.reset();
        if (m_in.Read<bool>()) Get(value.emplace());
    }
    template <class T>
    void Get(Animated<T>& content) {
        Get(content.value);
        Get(content.track);
    }
    template <class T>
    void Get(KeyTrack<T>& track) {
        uint32_t count = m_in.Read<uint32_t>();
        track = {};
        if (count == 0) return;
        Get(track.interpolation), Get(track.before), Get(track.after);
        for (uint32_t i = 0; i < count && !m_in.HasFailed(); ++i) {
            TrackKey<T> key;
            Get(key.time), Get(key.value), Get(key.in), Get(key.out);
            if (i > 0 && key.time <= track.keys.back().time)
                m_in.Fail("the times of keys do not rise");
            track.keys.push_back(std::move(key));
        }
    }
    template <class T>
    void Get(Property<T>& property) {
        T value{};
        Get(value);
        if (!m_in.HasFailed()) property = std::move(value);
    }
    template <class T>
    void Get(AnimatedProperty<T>& property) {
        Animated<T> content;
        Get(content);
        if (!m_in.HasFailed()) property.SetContent(std::move(content));
    }
    // A value without references to entities.
    void Get(ParamValue& value);
    // One that may be a reference, whose number then stands in `ref`.
    void Get(ParamValue& value, uint32_t* ref);
    void Get(ParamElement& element) { Get(element.value), Get(element.track); }
    void Get(BezierShape& shape);
    void Get(PolyShape& shape);

private:
    void CheckFinite(double value) {
        if (!std::isfinite(value)) m_in.Fail("a number that is not finite");
    }

    ChunkReader& m_in;
    StoredEntities& m_entities;
    size_t m_entity;
    uint32_t m_numSlots;
    uint16_t m_version;
    std::map<uint32_t, std::function<void()>> m_fields;
};

// How many enumerators, from 0 on, the enumerations of keys have; classes that store others declare
// theirs beside them.
constexpr int NumEnumerators(KeyInterpolation) { return 3; }
constexpr int NumEnumerators(KeysBeyond) { return 2; }
