// Materials: what a face with a given material id looks like.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/params/reference_list.h"
#include "host/scene/texmap.h"

class StandardMtl;

// What viewports show of a material: plain colours, its diffuse map, or as much as they can.
enum class ViewportMaps { kNone, kDiffuse, kMaterial };

// A material is asked by renderers, hit by hit: brought to a time with Update, it answers Opacity
// and Shade on any number of threads.
class Mtl : public ReferenceTarget {
public:
    Property<std::string> name{this};

    // Sub-materials; 0 for a plain one.
    virtual int NumSubMtls() const { return 0; }
    virtual Mtl* GetSubMtl(int i) const { return nullptr; }
    // The sub-material that faces with an id show instead of this one (multi-materials), which may
    // be null; `this` for all others.
    virtual Mtl* MtlOfId(int matID) { return this; }

    // Prepares the material and the maps that it asks, its sub-materials left aside, for time t.
    // What could not be prepared (images that cannot be read) is told in `problems`.
    virtual void Update(TimeValue t, std::vector<std::string>* problems) {}
    // What it will ask a context for, its sub-materials left aside. Needs Update.
    virtual void TellNeeds(ShadeNeeds* needs) const {}
    // 0..1: how much of the light a place stops. Needs Update.
    virtual float Opacity(const ShadeContext& sc) const { return 1; }
    // What a place looks like. `look` holds the surface's normal and else its defaults. Needs
    // Update.
    virtual void Shade(const ShadeContext& sc, SurfaceLook* look) const {}
    // The standard material that stands for it on faces of an id where only such are understood
    // (model files); null: the host's default grey.
    virtual const StandardMtl* AsStandard(int matID) const { return nullptr; }

    ClassInfo Class() const override { return {{}, SuperClass::kMaterial, "Mtl"}; }
};

// Diffuse colour and opacity, each with an optional map. The map, multiplied by `mapFactor`,
// replaces the colour; the opacity map's luminance (times its alpha) multiplies the opacity. With a
// cutoff the material is opaque where its opacity reaches the cutoff, and shows nothing elsewhere.
// Colours are display colours; what multiplies does so in linear light.
class StandardMtl : public Mtl {
public:
    Property<Color> diffuse{this, {0.8f, 0.8f, 0.8f}};
    Property<float> opacity{this, 1.0f};
    Property<float> opacityCutoff{this, 0.0f};   // 0: none
    Property<Color> mapFactor{this, {1, 1, 1}};  // multiplies the diffuse map
    // The mesh's channel 0, where it has one, multiplies the diffuse.
    Property<bool> vertexColors{this, false};
    Property<bool> twoSided{this, false};
    // 0..1: share of the diffuse light that passes to the other side.
    Property<float> translucency{this, 0.0f};
    // 0..1: strength of a water-like mirror (more of it at flat angles).
    Property<float> reflectivity{this, 0.0f};
    // What viewports show of it; pictures do not look at these.
    Property<bool> wireframe{this, false};
    Property<ViewportMaps> viewportMaps{this, ViewportMaps::kNone};
    // Slope of small waves on the mirror, about 0.02 on a quiet lake.
    Property<float> ripple{this, 0.0f};
    RefProperty<Texmap> diffuseMap{this};
    RefProperty<Texmap> opacityMap{this};

    void Update(TimeValue t, std::vector<std::string>* problems) override;
    void TellNeeds(ShadeNeeds* needs) const override;
    float Opacity(const ShadeContext& sc) const override;
    void Shade(const ShadeContext& sc, SurfaceLook* look) const override;
    const StandardMtl* AsStandard(int) const override { return this; }

    static constexpr ClassInfo kClass{{0x3d1c0020, 0x52a7}, SuperClass::kMaterial, "Standard"};
    ClassInfo Class() const override { return kClass; }
    // The diffuse map, the opacity map.
    int NumRefs() const override { return 2; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> map) override;
    int NumSubs() const override { return 2; }
    ReferenceTarget* SubAnim(int i) const override { return GetReference(i).get(); }
    std::string SubAnimName(int i) const override;
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

protected:
    static void UpdateMap(Texmap* map, TimeValue t, std::vector<std::string>* problems);
    // What all standard materials have, into a copy.
    void CopyInto(const std::shared_ptr<StandardMtl>& copy, CloneMap& map) const;
    // Colour of the diffuse at a place, vertex colours included.
    Color DiffuseAt(const ShadeContext& sc) const;

private:
    // Worked out by Update: linear light, and the opacity that is left where a map with a cutoff
    // decides.
    struct {
        Color diffuse, mapFactor;
        float opacity = 1, cutoff = 0;
    } m_ready;
};

// A list of materials; a face with material id m shows entry m modulo the number of entries. An
// entry may be empty (it shows the host's default grey).
class MultiMtl : public Mtl {
public:
    int NumSubMtls() const override { return m_subs.Count(); }
    Mtl* GetSubMtl(int i) const override { return m_subs.Get(i); }
    std::shared_ptr<Mtl> ShareSubMtl(int i) const { return m_subs.Share(i); }
    Mtl* MtlOfId(int matID) override {
        return NumSubMtls() == 0 ? nullptr : GetSubMtl(matID % NumSubMtls());
    }
    // Through the material of the face's id.
    float Opacity(const ShadeContext& sc) const override;
    void Shade(const ShadeContext& sc, SurfaceLook* look) const override;

    // All three tell, and can be undone.
    void Append(std::shared_ptr<Mtl> sub) { m_subs.Append(std::move(sub)); }
    // New entries are empty; entries that are too many go from the end.
    void SetNumSubMtls(int count) { m_subs.SetCount(count); }
    // The entry must exist.
    void SetSubMtl(int i, std::shared_ptr<Mtl> sub) { m_subs.Set(i, std::move(sub)); }

    static constexpr ClassInfo kClass{{0x3d1c0021, 0x52a7}, SuperClass::kMaterial, "Multi"};
    ClassInfo Class() const override { return kClass; }
    int NumRefs() const override { return NumSubMtls(); }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> mtl) override;
    void SetNumRefs(int count) override { m_subs.MakeSlots(count); }
    int NumSubs() const override { return NumSubMtls(); }
    ReferenceTarget* SubAnim(int i) const override { return GetReference(i).get(); }
    std::string SubAnimName(int i) const override;
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    ReferenceList<Mtl> m_subs{this};
};

// The most materials with sub-materials that may stand inside each other.
inline constexpr int kMaxMtlNesting = 64;

// A material and all below it, each once.
std::vector<Mtl*> WithSubMtls(Mtl& mtl);

// The material that a face with id `matID` shows under `mtl`, through nested multi-materials; null
// for the default grey.
Mtl* MtlOfFace(Mtl* mtl, int matID);
const Mtl* MtlOfFace(const Mtl* mtl, int matID);
// The standard material that stands for it; null for the default grey.
const StandardMtl* StandardMtlOfFace(const Mtl* mtl, int matID);
