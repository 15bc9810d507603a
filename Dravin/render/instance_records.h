// The records in which a scatter object hands its items to renderers, byte for byte.
//
// A renderer says which version it reads (TDravinPackInterface::setEngineFeatures) and gets arrays
// of that one. Padding and reserved bytes are 0. Memory is little-endian.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Dravin/engine/item.h"

class INode;
class Mtl;

struct TDravinInstanceV1 {
    static constexpr uint32_t kVersion = 1;

    // Places the node's object: rows X, Y, Z and translation, relative to the scatter object
    // (getRenderNodes) or to the world (getScatterProxy).
    Matrix3 transform;
    uint32_t matrixFlags;
    uint32_t padding1;
    INode* node;    // to instance; null: the item is not shown through a node
    Mtl* material;  // null: none but what the node's object brings along
    uint32_t seed;
    Color tint;
    float tintBlend;
    uint32_t padding2;
};

struct TDravinInstanceV512 {
    static constexpr uint32_t kVersion = 512;

    Matrix3 transform;
    uint32_t matrixFlags;
    uint32_t padding1;
    INode* node;
    Mtl* material;
    uint32_t seed;
    Color tint;
    float tintBlend;
    uint32_t padding2;
    int32_t animationTime;  // ticks, of the node's geometry
    float randoms[3];       // the item's random 1, 2 and 3
    // The elements that are not drawn; null: all are. Lives until the object is built again.
    const TBitArray* elementMask;
    uint8_t reserved[24];
};

#define DRAVIN_AT(record, field, offset) static_assert(offsetof(record, field) == (offset))
#define DRAVIN_COMMON_FIELDS(record)    \
    DRAVIN_AT(record, transform, 0);    \
    DRAVIN_AT(record, matrixFlags, 48); \
    DRAVIN_AT(record, padding1, 52);    \
    DRAVIN_AT(record, node, 56);        \
    DRAVIN_AT(record, material, 64);    \
    DRAVIN_AT(record, seed, 72);        \
    DRAVIN_AT(record, tint, 76);        \
    DRAVIN_AT(record, tintBlend, 88);   \
    DRAVIN_AT(record, padding2, 92)

DRAVIN_COMMON_FIELDS(TDravinInstanceV1);
static_assert(sizeof(TDravinInstanceV1) == 96);
DRAVIN_COMMON_FIELDS(TDravinInstanceV512);
DRAVIN_AT(TDravinInstanceV512, animationTime, 96);
DRAVIN_AT(TDravinInstanceV512, randoms, 100);
DRAVIN_AT(TDravinInstanceV512, elementMask, 112);
DRAVIN_AT(TDravinInstanceV512, reserved, 120);
static_assert(sizeof(TDravinInstanceV512) == 144);
static_assert(sizeof(Matrix3) == 48 && sizeof(Color) == 12);

#undef DRAVIN_COMMON_FIELDS
#undef DRAVIN_AT

// What getRenderData answers: four words.
struct TDravinRenderData {
    uint32_t element = 0;   // of the mesh, that holds the face
    uint32_t random = 0;    // bits of the item's random 3
    uint32_t combined = 0;  // the item and the element in one number
    uint32_t visible = 1;   // 0: the item does not draw the element
};
static_assert(sizeof(TDravinRenderData) == 16);

// The bits of an item's random 3 and the number of an element in one: different elements of an item
// have different numbers, and element 0 has the item's own.
inline uint32_t CombinedRenderId(uint32_t random, uint32_t element) {
    return random ^ element * 0x9E3779B1u;
}
