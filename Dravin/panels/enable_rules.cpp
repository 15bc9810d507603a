// Which controls answer, as a table: parameters, and the condition of the object that they wait
// for. A parameter in several rows needs all of them; what stands in none always answers.
#include <algorithm>

#include "Dravin/dravin.h"
#include "Dravin/panels/rollouts.h"

namespace {

struct State {
    const TDravin& object;
    TimeValue t;

    template <class Id>
    int Int(Id id) const {
        return object.Block(DravinBlockOf(id)).GetInt(id, t);
    }
    bool Generates() const { return Int(editionParams::kMode) == 0; }
};

struct Rule {
    std::vector<TParamKey> params;
    bool (*holds)(const State&);
};

bool AreAreasOn(const State& s) {
    return s.Generates() && s.Int(distParams::kDistmode) == 0 &&
           s.Int(surfaceParams::kSurfmode) == 0;
}
bool IsUv(const State& s) { return s.Generates() && s.Int(surfaceParams::kSurfmode) == 1; }

std::vector<Rule> AreaAndCameraRules() {
    using namespace areaParams;
    using namespace camParams;
    return {{{genParams::kThreads}, [](auto& s) { return !s.Int(genParams::kAutothreads); }},
            {{geomParams::kWidth, geomParams::kHeight, geomParams::kGlobsize},
             [](auto& s) { return s.Generates(); }},
            {{kSpdensact, kSpdensinc, kSpdensexc, kSpscalact, kSpscalinc, kSpscalexc}, AreAreasOn},
            {{kCamdensear, kCamdensfar}, [](auto& s) { return !s.Int(kCamenvrange); }}};
}

std::vector<Rule> TransformAndSurfaceRules() {
    using namespace transformParams;
    using namespace surfaceParams;
    return {{{kScaleymax, kScaleymin, kScamapy}, [](auto& s) { return s.Int(kScalelock) == 0; }},
            {{kScalezmax, kScalezmin, kScamapz}, [](auto& s) { return s.Int(kScalelock) != 1; }},
            {{editionParams::kConsgeom}, [](auto& s) { return !s.Generates(); }},
            {{kAltlimited, kAltmax, kAltmin, kSlopelimited, kSlopemax, kSlopemin, kSurfaltdens,
              kSurfaltscal, kSurfslodens, kSurfsloscal},
             [](auto& s) { return s.Generates(); }},
            {{kDirection}, [](auto& s) { return !s.Int(kScalelope); }},
            {{kScalelope, kLinkeditsurf}, [](auto& s) { return s.Int(kSurfmode) == 0; }},
            {{kUvalign}, IsUv},
            {{kUvscalex, kUvscaley, kUvmultscalex, kUvmultscaley},
             [](auto& s) { return IsUv(s) && s.Int(kUvalign); }}};
}

std::vector<Rule> LookAndTimeRules() {
    using namespace matParams;
    using namespace animParams;
    using namespace shadowParams;
    return {{{kTintmap, kTintmapmode}, [](auto& s) { return s.Int(kTintmode) == 1; }},
            {{kTintmapchan},
             [](auto& s) {
                 const IParamBlock2& block = s.object.Block(kMatParams);
                 return s.Int(kTintmode) == 1 && block.ShareReference(kTintmap);
             }},
            {{kAnimsoffset, kAnimsamples},
             [](auto& s) { return s.Int(kAnimation) == 2 || s.Int(kAnimation) == 3; }},
            {{kAnimap, kAnimapchan}, [](auto& s) { return s.Int(kAnimation) >= 3; }},
            {{kAnimstart, kAnimend}, [](auto& s) { return s.Int(kAnimation) == 4; }},
            {{kHshadow, kLight, kHsplanes, kVshadow, kHsoffset, kHsscale, kCustshadow},
             [](auto& s) { return s.Int(kUsefakeshadows) != 0; }},
            {{distParams::kDistpfloweventslist},
             [](auto& s) { return !s.Int(distParams::kDistpflowallevents); }}};
}

const std::vector<Rule>& Rules() {
    static const std::vector<Rule> rules = [] {
        std::vector<Rule> all;
        for (auto make : {AreaAndCameraRules, TransformAndSurfaceRules, LookAndTimeRules})
            for (Rule& rule : make()) all.push_back(std::move(rule));
        return all;
    }();
    return rules;
}

}  // namespace

bool IsParamEnabled(const ReferenceTarget& thing, TParamKey key, TimeValue t) {
    if (key.Def().readOnly) return false;
    auto* object = dynamic_cast<const TDravin*>(&thing);
    if (!object) return true;
    State state{*object, t};
    return std::all_of(Rules().begin(), Rules().end(), [&](const Rule& rule) {
        bool isNamed = std::find(rule.params.begin(), rule.params.end(), key) != rule.params.end();
        return !isNamed || rule.holds(state);
    });
}

bool AreAreasEnabled(const TDravin& object, TimeValue t, std::string* why) {
    if (AreAreasOn({object, t})) return true;
    *why = "\nAreas are disabled\nwhen using UV Surfaces or Custom Edit mode";
    return false;
}

bool IsGroupShown(const ReferenceTarget& thing, const TPanelGroup& group, TimeValue t) {
    auto* object = dynamic_cast<const TDravin*>(&thing);
    return group.onlyInMode < 0 || !object ||
           object->Block(kDistParams).GetInt(distParams::kDistmode, t) == group.onlyInMode;
}
