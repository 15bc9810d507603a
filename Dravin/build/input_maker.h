// Turns the parameters of a scatter object and the scene around it into a build input.
#pragma once

#include <deque>
#include <memory>

#include "Dravin/build/dravin_build.h"
#include "Dravin/build/parameters.h"
#include "Dravin/build/texmap_sampler.h"
#include "Dravin/effects/effect_list.h"
#include "Dravin/effects/effect_programs.h"
#include "Dravin/engine/build_input.h"

// The ranges and colours of random tints.
void ReadTints(const TParameters& p, TTransformSettings& t);

// Makes one input.
class TInputMaker {
public:
    TInputMaker(TDravin& object, const TParameters& parameters, TimeValue time,
                const TBuildFlags& flags, const std::optional<ViewState>& view = {});

    // What the build works in: the object's world transform, and the scene's file.
    const Matrix3& ObjectTM() const { return m_objectTM; }
    Scene* GetScene() const { return m_scene; }

    // The input; `valid` is narrowed by everything that is read. rereadSurfaces: arrays of an
    // earlier time or state are made again.
    std::unique_ptr<TBuildInput> Make(const TSpecBuildList& specimens, TDensityMap density,
                                      bool rereadSurfaces, Interval* valid);

    // The distribution texture, ready for evaluation; null when there is none.
    const IMapSampler* DistMap() const { return m_distMap; }
    // Whether an effect does not compile; the others run all the same.
    bool EffectsFailed() const { return m_effectsFailed; }
    std::vector<TEffectError> TakeEffectErrors() { return std::move(m_effectErrors); }
    // Whether the object distributes by a texture or an image at all.
    int Threads() const;

private:
    const IMapSampler* Sampler(Texmap* map, const char* parameter);
    void SetGrid(TBuildInput& input) const;
    void ChooseMapSize(TBuildInput& input) const;
    void SetTransforms(TBuildInput& input);
    void SetMaps(TBuildInput& input);
    void SetGeometry(TBuildInput& input) const;
    void SetSurfaces(TBuildInput& input, bool reread, Interval* valid);
    int UvChannel() const;
    void SetUvSurface(INode* node, TSurfaceInput& surface) const;
    void SetSurfaceRules(TBuildInput& input);
    void SetAreas(TBuildInput& input, Interval* valid);
    void SetCamera(TBuildInput& input, Interval* valid);
    void SetLodView(TBuildInput& input) const;
    void SetLookAt(TBuildInput& input) const;
    void SetShadows(TBuildInput& input) const;
    void SetEffects(TBuildInput& input, Interval* valid);
    TCurveSampler CurveSampler(DravinSlot slot) const;
    const FalloffCurve* Curve(DravinSlot slot, int index = 0);

    TDravin& m_object;
    const TParameters& m_p;
    TimeValue m_time;
    TBuildFlags m_flags;
    std::optional<ViewState> m_view;
    Scene* m_scene = nullptr;
    Matrix3 m_objectTM, m_objectInverse;
    TInputParts m_parts;                 // go to the input
    std::vector<INode*> m_surfaceNodes;  // of the input's surfaces
    const IMapSampler* m_distMap = nullptr;
    bool m_effectsFailed = false;
    std::vector<TEffectError> m_effectErrors;
};
