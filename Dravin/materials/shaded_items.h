// How materials find the item behind a hit.
//
// Sources of instances that show items offer this interface; on surfaces of anything else there is
// none, and the materials show what they show without items.
#pragma once

#include "Dravin/materials/tint.h"
#include "host/scene/shading.h"

class IShadedItems {
public:
    static constexpr uint32_t kInterface = 0x15a9d3e1;
    virtual ~IShadedItems() = default;

    // The item of a face of an instance's prototype, and the values of the mesh element that holds
    // it. Any thread.
    virtual TShadedItem ItemOf(uint32_t instance, uint32_t face) const = 0;
    virtual TElementRandoms ElementOf(uint32_t instance, uint32_t face) const = 0;
    // Where that item stands in the list of the build.
    virtual uint32_t ItemIndexOf(uint32_t instance, uint32_t face) const = 0;
    // The face in the whole mesh of the item's source, of which the instance may show a part.
    virtual uint32_t SampleFaceOf(uint32_t instance, uint32_t face) const { return face; }
    // Whether the face is one of the item's own, or of a shadow plane that counts.
    enum class Plane { kNone, kVertical, kHorizontal };
    virtual Plane PlaneOf(uint32_t instance, uint32_t face) const { return Plane::kNone; }
    // How the object tints, and how it blends tints in.
    virtual const TTintSettings& ObjectTint() const = 0;
    virtual int ObjectBlend() const = 0;

    // Those behind a hit; null on any other surface.
    static const IShadedItems* At(const ShadeContext& sc);
};
