// Which instance records each renderer reads: what renderers tell of themselves.
//
// A session has one registry. One thread.
#pragma once

#include <cstdint>
#include <vector>

#include "host/params/class_id.h"

struct TDravinEngine {
    uint32_t classA = 0, classB = 0;
    uint32_t version = 0;  // of instance records; 0 until the renderer sets it
    // 1: it instances the nodes of templates as it does those of custom objects, so that objects
    // make a mesh only of what no node shows.
    uint8_t flag = 0;
    uint8_t padding[3]{};
};
static_assert(sizeof(TDravinEngine) == 16);

class TEngineRegistry {
public:
    // The level of these interfaces, which renderers are told.
    static constexpr uint32_t kInterfaceLevel = 513;

    // Of the current session, which must exist.
    static TEngineRegistry& Current();

    // The renderer's entry; a new one, of version 0, where there is none. From then on meshes leave
    // to it what it shows as instances.
    TDravinEngine& Register(ClassId renderer);
    // Null when there is none.
    const TDravinEngine* Find(ClassId renderer) const;
    // What the session's production renderer told; without a session, and where it told nothing, an
    // engine of version 0.
    static TDravinEngine OfCurrentRenderer();
    const std::vector<TDravinEngine>& Engines() const { return m_engines; }

private:
    std::vector<TDravinEngine> m_engines;
};
