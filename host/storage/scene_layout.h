// How a scene file is laid out, for its writer and its reader.
//
//     settings   unit scale, time, view, render settings, layers
//     entities   a chunk each, in the order in which they are numbered from 0
//     meshes     numbered too; of objects that came from no file
//     nodes      entity, handle and parent of each node, parents and elder children first
//     names      of maps and materials, and which entities they are
//     selection  entities
//
// An entity is a head (class, version, slots; of parameter blocks that an owner makes itself, the
// owner and its slot), fields, and references: those of its slots, then what its fields name.
#pragma once

#include "host/chunks/chunk_format.h"
#include "host/scene/scene.h"

inline constexpr ChunkFileKind kSceneFileKind{0x4E435344, "scene file", 1};  // "DSCN"

enum SceneChunk : uint32_t {
    kSettingsChunk = 1,
    kEntitiesChunk = 2,
    kMeshesChunk = 3,
    kNodesChunk = 4,
    kTexmapsChunk = 5,
    kMaterialsChunk = 6,
    kSelectionChunk = 7,
    kLayersChunk = 8,
};
enum EntitiesChunk : uint32_t { kEntityChunk = 1 };
enum EntityChunk : uint32_t { kHeadChunk = 1, kFieldsChunk = 2, kRefsChunk = 3 };
enum MeshesChunk : uint32_t { kMeshChunk = 1 };
enum LayersChunk : uint32_t { kLayerChunk = 1 };

// What no entity is.
inline constexpr uint32_t kNoEntity = 0xFFFFFFFF;

struct StoredNode {
    uint32_t entity, handle, parent;  // parent: an entity, kNoEntity at the top
};

// Chunks of entities that no class asked for, and of the file itself.
struct UnknownSceneParts {
    struct OfEntity {
        std::weak_ptr<ReferenceTarget> entity;
        std::vector<KeptChunk> fields;
    };
    std::vector<KeptChunk> chunks;
    std::unordered_map<const ReferenceTarget*, OfEntity> entities;
};

// Numbers and texts of the scene itself; the fields are FieldWriter or FieldReader.
template <class Fields, class Settings>
void VisitSettings(Fields& fields, Settings& s) {
    fields(1, s.unitScale);
    fields(2, s.ticksPerFrame);
    fields(3, s.range.start);
    fields(4, s.range.end);
    fields(5, s.time);
    fields(6, s.lastHandle);
    fields(10, s.render.width);
    fields(11, s.render.height);
    fields(12, s.render.renderer);
    fields(13, s.render.samples);
    fields(14, s.render.exposure);
    fields(15, s.render.skyTurbidity);
    fields(16, s.render.skyStrength);
    fields(17, s.render.skyClouds);
    fields(18, s.render.hazeVisibility);
    fields(19, s.render.hazeScaleHeight);
    fields(20, s.render.hazeBaseHeight);
    fields(30, s.hasView);
    fields(31, s.view.transform);
    fields(32, s.view.fovDegrees);
}

struct StoredSettings {
    double unitScale = 1;
    int32_t ticksPerFrame = 160;
    TimeRange range;
    int32_t time = 0;
    uint32_t lastHandle = 0;
    SceneRenderSettings render;
    bool hasView = false;
    ViewState view;
    std::shared_ptr<INode> renderCamera, viewCamera;
};
