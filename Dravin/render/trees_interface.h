// The published interface of one scatter object, "trees": its items for scripts and renderers.
//
// Renderers call the operations below; scripts call functions by number or name, those and the
// editing of single items (Dravin/build/edited_items.h). Numbers are fixed for good. One thread,
// but for getRenderData and getRenderID, which any thread may ask while a render goes on.
#pragma once

#include "Dravin/render/instance_records.h"
#include "host/math/interval.h"
#include "host/scene/function_publishing.h"

class ShadeContext;
class TDravin;
class TRenderState;

// A hit as a renderer hands it over.
class IDravinHit {
public:
    // Contexts of this class are shaded by the host, and tell the item by themselves.
    static constexpr ClassId kShadingAdapter{0x777f469e, 0x4b0675f2};

    virtual ClassId ContextClass() const = 0;
    // Of the object's render mesh.
    virtual int32_t FaceNumber() const = 0;
    // Of a shading adapter; null for all others.
    virtual const ShadeContext* Shading() const { return nullptr; }

protected:
    ~IDravinHit() = default;
};

class ITreesInterface : public FPInterface {
public:
    static constexpr InterfaceId kId{0x6afe7c5e, 0x15813e00};

    // The item behind a hit: the bits of its random 3, and the number that it and the element that
    // was hit have together. False when there is none, or no hit.
    virtual bool getRenderID(const IDravinHit* hit, int32_t* item, int32_t* element) = 0;
    // The custom object that item n shows; null for other items, and where there is none. Builds
    // when there are no items yet.
    virtual INode* getRenderNode(int32_t n) = 0;
    // Records of the version that the current renderer reads, valid until the next call, until
    // clearRenderNodes or IDravinRenderEnd. Null and 0 without IDravinRenderBegin.
    virtual void* getRenderNodes(int32_t* count) = 0;
    virtual void clearRenderNodes() = 0;
    // Builds the object at time t with render settings.
    virtual void IDravinRenderBegin(TimeValue t) = 0;
    virtual void IDravinRenderEnd(TimeValue t) = 0;
    // data: of a face of the mesh that the item of a record shows. False without records, after
    // another build, and where there is no such record.
    virtual bool getRenderData(TDravinRenderData* data, int32_t record, int32_t face) = 0;
    // Items that are selected, in custom edit mode; else none.
    virtual std::vector<int32_t> getSelected() = 0;

    InterfaceId Id() const override { return kId; }
    const char* Name() const override { return "trees"; }
    FPKind Kind() const override { return FPKind::kMixin; }
    std::span<const FPFunction> Functions() const override;
};

class TTreesInterface final : public ITreesInterface {
public:
    explicit TTreesInterface(TDravin& object) : m_object(object) {}
    TDravin& GetObject() { return m_object; }

    bool getRenderID(const IDravinHit* hit, int32_t* item, int32_t* element) override;
    INode* getRenderNode(int32_t n) override;
    void* getRenderNodes(int32_t* count) override;
    void clearRenderNodes() override;
    void IDravinRenderBegin(TimeValue t) override;
    void IDravinRenderEnd(TimeValue t) override;
    bool getRenderData(TDravinRenderData* data, int32_t record, int32_t face) override;
    std::vector<int32_t> getSelected() override;

    // The number in the list of the item of a record; -1 where there is none.
    int64_t ItemOfRecord(size_t record) const;

private:
    TDravin& m_object;
};

// Of an object: null for anything else.
ITreesInterface* TreesOf(ReferenceTarget& target);
