// The item: one scattered instance, the record that everything in the engine writes or reads.
//
// The distribution places an item and fills it step by step, collisions and camera rules discard
// it, mesh building and renderers read it. TDravinItem is the whole record, as plain fields in
// groups: fields that one phase uses together stand in one group, and an item list (item_list.h)
// stores only the groups that a build needs; the others read as their defaults. Renderers see an
// item through IDravinItem, the point display through TCloudItem.
//
// Positions and directions are in the space of the scatter object, angles in radians, times in
// ticks. A record is a plain value: copies are independent, nothing is shared.
#pragma once

#include <cstdint>
#include <memory>

#include "Dravin/engine/item_id.h"
#include "host/math/bit_array.h"
#include "host/math/box.h"
#include "host/math/color.h"
#include "host/math/matrix3.h"

// A set of bits that renderers read through four operations. Empty until a mask is set.
class TBitArray {
public:
    virtual ~TBitArray() = default;
    TBitArray() = default;
    explicit TBitArray(BitArray bits) : m_bits(std::make_shared<const BitArray>(std::move(bits))) {}

    virtual bool IsEmpty() const { return !m_bits; }
    virtual int32_t NumBits() const { return m_bits ? int32_t(m_bits->GetSize()) : 0; }
    // False when the set is empty or i is out of range.
    virtual bool Test(int32_t i) const { return i >= 0 && i < NumBits() && (*m_bits)[size_t(i)]; }

    void Clear() { m_bits.reset(); }

private:
    std::shared_ptr<const BitArray> m_bits;  // copies share the bits, which never change
};

// What renderers read of an item. The order of the operations is part of the interface.
class IDravinItem {
public:
    virtual int32_t SpecimenIndex() const = 0;
    virtual uint16_t ElementIndex() const = 0;
    virtual int32_t AnimationOffset() const = 0;
    virtual float Random1() const = 0;
    virtual float Random2() const = 0;
    virtual float Random3() const = 0;
    virtual float TintBlend() const = 0;
    virtual const Color* TintColor() const = 0;
    virtual const Point3* Position() const = 0;
    virtual const Point3* TintMapUvw() const = 0;
    virtual const Point3* MapCoordinates() const = 0;
    virtual bool HorizontalShadow() const = 0;
    virtual bool VerticalShadow() const = 0;
    // The shadow planes' first vertex and face in the object mesh: 0 and 1 of the vertical plane, 2
    // and 3 of the horizontal one.
    virtual int32_t ShadowWord0() const = 0;
    virtual int32_t ShadowWord1() const = 0;
    virtual int32_t ShadowWord2() const = 0;
    virtual int32_t ShadowWord3() const = 0;
    virtual bool IsDiscarded() const = 0;
    virtual float Width() const = 0;
    virtual float Depth() const = 0;
    virtual float Height() const = 0;
    virtual bool IsMirrored() const = 0;
    virtual int32_t CenterPercent() const = 0;
    virtual const Matrix3* Transform() const = 0;
    virtual const Point3* ParticleSpeed() const = 0;
    virtual bool IsMarked() const = 0;
    // Asks `provider` for the item's render data and hands its answer back.
    virtual void* RenderData(class IItemRenderDataProvider* provider) const = 0;
    virtual const TBitArray* ElementMask() const = 0;

protected:
    ~IDravinItem() = default;
};

// The object that answers IDravinItem::RenderData.
class IItemRenderDataProvider {
public:
    virtual ~IItemRenderDataProvider() = default;
    virtual void* RenderDataOf(const IDravinItem& item) = 0;
};

// A render instance as far as an item knows it.
class IItemRenderNode {
public:
    virtual ~IItemRenderNode() = default;
    virtual bool AllowsTint() const { return true; }
    virtual Color InstanceColor() const = 0;
    virtual void* Geometry() = 0;
    virtual void* Material() = 0;
};

// Where an item finds its render instance, and the object's tint range.
class IItemRenderNodes {
public:
    virtual ~IItemRenderNodes() = default;
    virtual IItemRenderNode* FindRenderNode(const IDravinItem& item) = 0;
    virtual float TintMin() const = 0;
    virtual float TintMax() const = 0;
};

// What the point display and the render-node code read. The order is part of the interface.
class TCloudItem {
public:
    virtual ~TCloudItem() = default;
    virtual bool IsValid() const = 0;
    // Writes p transformed by the item's full transform; the origin gives the item's position.
    virtual bool TransformPoint(const Point3& p, Point3* out) const = 0;
    virtual IItemRenderNode* AttachRenderNode(IItemRenderNodes& nodes) = 0;
    virtual const Box3* Bounds() const = 0;
    virtual bool IsSelected() const = 0;
    virtual bool IsFrozen() const = 0;  // always false
    // Copies tint colour and blend; false, and nothing copied, without the tint flag.
    virtual bool Tint(Color* color, float* blend) const = 0;
    virtual Color InstanceColor() const = 0;
    virtual void* InstanceGeometry() const = 0;
    virtual void* InstanceMaterial() const = 0;
    virtual bool IsElementVisible(int32_t element) const = 0;
};

inline constexpr float kNoDistance = 2147483648.0f;  // 2^31: no border was near

// --- the groups ---------------------------------------------------------------------------------

// Where the item stands, what it shows and how large it is. Always stored.
struct ItemPlace {
    Point3 position;
    Matrix3 transform;  // frame and rotations; translation zero
    Point3 scale{1, 1, 1};
    float width = 0, depth = 0, height = 0;
    float zOffset = 0;
    int32_t specimenIndex = 0;
    uint32_t seed = 0;
    int32_t sourceIndex = 0;
    int32_t centerPercent = 50;
    int16_t elementIndex = 0;
    uint8_t stateFlags = 0;  // 0, or 8 for an item whose geometry came from a cluster
    uint8_t discarded = 0;
    uint8_t editStatus = 0;
    uint8_t mirrored = 0;
    uint8_t selected = 0;
    uint8_t marked = 0;
    uint8_t partial = 0;
    uint8_t tintFlag = 0;
    uint8_t horizontalShadow = 0;
    uint8_t verticalShadow = 0;
};

// Radii of the item as a sphere. Always stored.
struct ItemExtents {
    float collisionRadius = 0;
    float outerRadius = 0;
    float boundaryRadius = 0;
    float collisionHeight = 0;
};

// What the item's colours are mixed with. Always stored.
struct ItemTint {
    Color tintColor;
    float tintBlend = 0;
};

// Where the item was first placed, before translation.
struct ItemBirth {
    Point3 storedPosition;
};

// The working normal: alignment and z offset.
struct ItemNormal {
    Point3 normal{0, 0, 1};
};

// Of the distribution map where the item was born.
struct ItemMapColor {
    AColor mapColor{0, 0, 0, 0};
};

// The item's own draws. Never stored: they follow from the seed (transforms.h) and are drawn again
// by whoever asks for them.
struct ItemRandoms {
    Point3 randomA, randomB;   // A.y is held against density falloffs, B.x picks the specimen
    Point3 randomTranslation;  // interpolation factors of the translation ranges
    Point3 randomScale{1, 1, 1};
    Point3 rotation;
    float random1 = 0, random2 = 0, random3 = 0, random4 = 0, random5 = 0;
    int32_t randomInteger = 0;  // [0, 32767]
    int32_t randomSample = 0;
};

// The grid cell of an item that a distribution map made.
struct ItemCell {
    uint32_t hash[4]{};     // column, tile column, row, tile row
    Point3 mapCoordinates;  // tile coordinates (u, v, 0)
};

// Where the item lies on a surface.
struct ItemSurface {
    Point3 surfaceNormal;
    Point2 weights;  // of the face's second and third corner
    int32_t surfaceFace = -1;
    int32_t surfaceIndex = -1;  // of the surface in the build's input

    // Weights of all three corners; zero on no face.
    Point3 Barycentric() const {
        return surfaceFace >= 0 ? Point3{1 - weights.x - weights.y, weights.x, weights.y}
                                : Point3{};
    }
};

// Draws that an effect program changed or whose ranges it replaced: not what the seed says.
struct ItemKept {
    Point3 keptRotation;
    Point3 keptRandomScale{1, 1, 1};
};

// Texture coordinates for the maps, in this order. Never stored: they follow from the place on the
// surface.
enum ItemMap { kDistMap, kTintMap, kTransMap, kRotMap, kScaMap, kAniMap, kDivMap, kNumItemMaps };
struct ItemUvws {
    Point3 mapUvws[kNumItemMaps];
};

// Factors that scale an item beyond its own random scale.
struct ItemFactors {
    Point3 sizeFactor{1, 1, 1};
    Point3 externalScale{1, 1, 1};
    Point3 falloffScale{1, 1, 1};
};

// Distances to area borders.
struct ItemBorders {
    float includeDistance = kNoDistance, excludeDistance = kNoDistance;
    Point3 includeNearest, excludeNearest;
};

// Choices that only some settings make: animated samples, facing, billboard shadows.
struct ItemLooks {
    int32_t animationOffset = 0;
    Point2 lookAt;
    Point2 shadowDirection;
};

// What a source point (reference, path, particle) hands to its item, and stored items carry.
struct ItemSource {
    Matrix3 sourceTransform;
    int32_t userId = 0;
    int32_t geometryEntryId = -1;
    float pathPosition = 0;
    Point3 pathTangent;
    Point3 particleRotation;
    Point3 particleScale{1, 1, 1};
    Point3 particleSpeed;
    int32_t particleAge = 0;
    int32_t particleEventId = 0;
    Point3 effectVector;
};

class TDravinItem final : public IDravinItem,
                          public TCloudItem,
                          public ItemPlace,
                          public ItemExtents,
                          public ItemTint,
                          public ItemBirth,
                          public ItemNormal,
                          public ItemMapColor,
                          public ItemRandoms,
                          public ItemCell,
                          public ItemSurface,
                          public ItemUvws,
                          public ItemFactors,
                          public ItemBorders,
                          public ItemLooks,
                          public ItemSource,
                          public ItemKept {
public:
    // Written when items are laid out for output; in item lists they follow from the rest.
    float surfaceSlope = 0;
    Matrix3 fullTransform;
    Box3 bounds;
    TItemId id;
    TBitArray elementMask;
    int32_t shadowWords[4]{};

    // Back to the state of construction, except the path tangent and the render node.
    void Reset();

    int32_t SpecimenIndex() const override { return specimenIndex; }
    uint16_t ElementIndex() const override { return uint16_t(elementIndex); }
    int32_t AnimationOffset() const override { return animationOffset; }
    float Random1() const override { return random1; }
    float Random2() const override { return random2; }
    float Random3() const override { return random3; }
    float TintBlend() const override { return tintBlend; }
    const Color* TintColor() const override { return &tintColor; }
    const Point3* Position() const override { return &position; }
    const Point3* TintMapUvw() const override { return &mapUvws[kTintMap]; }
    const Point3* MapCoordinates() const override { return &mapCoordinates; }
    bool HorizontalShadow() const override { return horizontalShadow != 0; }
    bool VerticalShadow() const override { return verticalShadow != 0; }
    int32_t ShadowWord0() const override { return shadowWords[0]; }
    int32_t ShadowWord1() const override { return shadowWords[1]; }
    int32_t ShadowWord2() const override { return shadowWords[2]; }
    int32_t ShadowWord3() const override { return shadowWords[3]; }
    bool IsDiscarded() const override { return discarded != 0; }
    float Width() const override { return width; }
    float Depth() const override { return depth; }
    float Height() const override { return height; }
    bool IsMirrored() const override { return mirrored != 0; }
    int32_t CenterPercent() const override { return centerPercent; }
    const Matrix3* Transform() const override { return &transform; }
    const Point3* ParticleSpeed() const override { return &particleSpeed; }
    bool IsMarked() const override { return marked != 0; }
    void* RenderData(IItemRenderDataProvider* provider) const override {
        return provider ? provider->RenderDataOf(*this) : nullptr;
    }
    const TBitArray* ElementMask() const override { return &elementMask; }

    bool IsValid() const override { return discarded == 0; }
    bool TransformPoint(const Point3& p, Point3* out) const override {
        *out = p * fullTransform;
        return true;
    }
    IItemRenderNode* AttachRenderNode(IItemRenderNodes& nodes) override;
    const Box3* Bounds() const override { return &bounds; }
    bool IsSelected() const override { return selected == 1; }
    bool IsFrozen() const override { return false; }
    bool Tint(Color* color, float* blend) const override;
    Color InstanceColor() const override {
        return m_renderNode ? m_renderNode->InstanceColor() : Color{};
    }
    void* InstanceGeometry() const override {
        return m_renderNode ? m_renderNode->Geometry() : nullptr;
    }
    void* InstanceMaterial() const override {
        return m_renderNode ? m_renderNode->Material() : nullptr;
    }
    bool IsElementVisible(int32_t element) const override {
        return !partial || element >= elementMask.NumBits() || !elementMask.Test(element);
    }

private:
    IItemRenderNode* m_renderNode = nullptr;
};
