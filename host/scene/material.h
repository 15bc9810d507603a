// Materials: what a face with a given material id looks like.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/scene/texmap.h"

class Mtl : public ReferenceTarget {
public:
    std::string name;

    // Sub-materials of a multi-material; 0 for a plain one.
    virtual int NumSubMtls() const { return 0; }
    virtual Mtl* GetSubMtl(int i) const { return nullptr; }

    std::string ClassName() const override { return "Mtl"; }
};

// Diffuse colour and opacity, each with an optional map. The map, multiplied by `mapFactor`,
// replaces the colour; the opacity map's luminance (times its alpha) multiplies the opacity. With a
// cutoff the material is opaque where its opacity reaches the cutoff, and shows nothing elsewhere.
// Colours are display colours; what multiplies does so in linear light.
class StandardMtl : public Mtl {
public:
    Color diffuse{0.8f, 0.8f, 0.8f};
    float opacity = 1;
    float opacityCutoff = 0;    // 0: none
    Color mapFactor{1, 1, 1};   // multiplies the diffuse map
    bool vertexColors = false;  // the mesh's channel 0, where it has one, multiplies the diffuse
    bool twoSided = false;
    float translucency = 0;  // 0..1: share of the diffuse light that passes to the other side
    float reflectivity = 0;  // 0..1: strength of a water-like mirror (more of it at flat angles)
    float ripple = 0;        // slope of small waves on the mirror, about 0.02 on a quiet lake
    Reference<Texmap> diffuseMap{this};
    Reference<Texmap> opacityMap{this};

    std::string ClassName() const override { return "Standard"; }
};

// A list of materials; a face with material id m shows entry m modulo the number of entries. An
// entry may be empty (it shows the host's default grey).
class MultiMtl : public Mtl {
public:
    std::vector<std::unique_ptr<Reference<Mtl>>> subs;

    int NumSubMtls() const override { return int(subs.size()); }
    Mtl* GetSubMtl(int i) const override { return subs[size_t(i)]->Get(); }
    void Append(std::shared_ptr<Mtl> sub) {
        subs.push_back(std::make_unique<Reference<Mtl>>(this));
        *subs.back() = std::move(sub);
    }
    std::string ClassName() const override { return "Multi"; }
};

// The most multi-materials that may stand inside each other.
inline constexpr int kMaxMtlNesting = 64;

// The plain material that a face with id `matID` shows under `mtl`, through nested multi-materials;
// null for the default grey.
const StandardMtl* MtlOfFace(const Mtl* mtl, int matID);
