#include "Dravin/build/parameters.h"

#include <variant>

namespace {

using Member =
    std::variant<int TParameters::*, bool TParameters::*, float TParameters::*,
                 Color TParameters::*, std::string TParameters::*, Texmap * TParameters::*,
                 INode * TParameters::*, std::vector<INode*> TParameters::*>;

struct Row {
    DravinBlockId block;
    ParamID id;
    Member member;
};

const Row kRows[] = {
    {kGenParams, genParams::kSeed, &TParameters::seed},
    {kGenParams, genParams::kThreads, &TParameters::threads},
    {kGenParams, genParams::kAutothreads, &TParameters::autothreads},
    {kDistParams, distParams::kDistmap, &TParameters::distmap},
    {kDistParams, distParams::kMapname, &TParameters::mapname},
    {kDistParams, distParams::kDistmapchan, &TParameters::distmapchan},
    {kDistParams, distParams::kPixelsX, &TParameters::pixels_x},
    {kDistParams, distParams::kPixelsY, &TParameters::pixels_y},
    {kDistParams, distParams::kUnitsX, &TParameters::units_x},
    {kDistParams, distParams::kUnitsY, &TParameters::units_y},
    {kDistParams, distParams::kLockRatio, &TParameters::lock_ratio},
    {kDistParams, distParams::kCollision, &TParameters::collision},
    {kDistParams, distParams::kRadius, &TParameters::radius},
    {kDistParams, distParams::kCollheight, &TParameters::collheight},
    {kDistParams, distParams::kCollpreview, &TParameters::collpreview},
    {kDistParams, distParams::kOffsetX, &TParameters::offset_x},
    {kDistParams, distParams::kOffsetY, &TParameters::offset_y},
    {kDistParams, distParams::kDrotation, &TParameters::drotation},
    {kDistParams, distParams::kThreshold, &TParameters::threshold},
    {kDistParams, distParams::kMaxdensity, &TParameters::maxdensity},
    {kDistParams, distParams::kSdgizmo, &TParameters::sdgizmo},
    {kDistParams, distParams::kDivers, &TParameters::divers},
    {kDistParams, distParams::kDivtmap, &TParameters::divtmap},
    {kDistParams, distParams::kDivmapchan, &TParameters::divmapchan},
    {kDistParams, distParams::kDivmapnoise, &TParameters::divmapnoise},
    {kDistParams, distParams::kClusize, &TParameters::clusize},
    {kDistParams, distParams::kClurough, &TParameters::clurough},
    {kDistParams, distParams::kClunoise, &TParameters::clunoise},
    {kDistParams, distParams::kCluedge, &TParameters::cluedge},
    {kDistParams, distParams::kDistmode, &TParameters::distmode},
    {kSurfaceParams, surfaceParams::kSurflist, &TParameters::surflist},
    {kSurfaceParams, surfaceParams::kAltlimited, &TParameters::altlimited},
    {kSurfaceParams, surfaceParams::kAltmax, &TParameters::altmax},
    {kSurfaceParams, surfaceParams::kAltmin, &TParameters::altmin},
    {kSurfaceParams, surfaceParams::kSurfaltdens, &TParameters::surfaltdens},
    {kSurfaceParams, surfaceParams::kSurfaltscal, &TParameters::surfaltscal},
    {kSurfaceParams, surfaceParams::kSlopelimited, &TParameters::slopelimited},
    {kSurfaceParams, surfaceParams::kSlopemax, &TParameters::slopemax},
    {kSurfaceParams, surfaceParams::kSlopemin, &TParameters::slopemin},
    {kSurfaceParams, surfaceParams::kSurfslodens, &TParameters::surfslodens},
    {kSurfaceParams, surfaceParams::kSurfsloscal, &TParameters::surfsloscal},
    {kSurfaceParams, surfaceParams::kSurfanim, &TParameters::surfanim},
    {kSurfaceParams, surfaceParams::kLinkeditsurf, &TParameters::linkeditsurf},
    {kSurfaceParams, surfaceParams::kDirection, &TParameters::direction},
    {kSurfaceParams, surfaceParams::kScalelope, &TParameters::scalelope},
    {kSurfaceParams, surfaceParams::kSurfmode, &TParameters::surfmode},
    {kSurfaceParams, surfaceParams::kUvalign, &TParameters::uvalign},
    {kSurfaceParams, surfaceParams::kUvscalex, &TParameters::uvscalex},
    {kSurfaceParams, surfaceParams::kUvscaley, &TParameters::uvscaley},
    {kSurfaceParams, surfaceParams::kUvmultscalex, &TParameters::uvmultscalex},
    {kSurfaceParams, surfaceParams::kUvmultscaley, &TParameters::uvmultscaley},
    {kSurfaceParams, surfaceParams::kRandstacked, &TParameters::randstacked},
    {kAreaParams, areaParams::kSpdensact, &TParameters::spdensact},
    {kAreaParams, areaParams::kSpdensinc, &TParameters::spdensinc},
    {kAreaParams, areaParams::kSpdensexc, &TParameters::spdensexc},
    {kAreaParams, areaParams::kSpscalact, &TParameters::spscalact},
    {kAreaParams, areaParams::kSpscalz, &TParameters::spscalz},
    {kAreaParams, areaParams::kSpscalinc, &TParameters::spscalinc},
    {kAreaParams, areaParams::kSpscalexc, &TParameters::spscalexc},
    {kTransformParams, transformParams::kApplytranslation, &TParameters::applytranslation},
    {kTransformParams, transformParams::kTransxmin, &TParameters::transxmin},
    {kTransformParams, transformParams::kTransymin, &TParameters::transymin},
    {kTransformParams, transformParams::kTranszmin, &TParameters::transzmin},
    {kTransformParams, transformParams::kTransxmax, &TParameters::transxmax},
    {kTransformParams, transformParams::kTransymax, &TParameters::transymax},
    {kTransformParams, transformParams::kTranszmax, &TParameters::transzmax},
    {kTransformParams, transformParams::kTransmapx, &TParameters::transmapx},
    {kTransformParams, transformParams::kTransmapy, &TParameters::transmapy},
    {kTransformParams, transformParams::kTransmapz, &TParameters::transmapz},
    {kTransformParams, transformParams::kTransmap, &TParameters::transmap},
    {kTransformParams, transformParams::kTransmapchan, &TParameters::transmapchan},
    {kTransformParams, transformParams::kTranscolormap, &TParameters::transcolormap},
    {kTransformParams, transformParams::kTransprobmap, &TParameters::transprobmap},
    {kTransformParams, transformParams::kApplyrotation, &TParameters::applyrotation},
    {kTransformParams, transformParams::kXrotmin, &TParameters::xrotmin},
    {kTransformParams, transformParams::kXrotmax, &TParameters::xrotmax},
    {kTransformParams, transformParams::kYrotmin, &TParameters::yrotmin},
    {kTransformParams, transformParams::kYrotmax, &TParameters::yrotmax},
    {kTransformParams, transformParams::kZrotmin, &TParameters::zrotmin},
    {kTransformParams, transformParams::kZrotmax, &TParameters::zrotmax},
    {kTransformParams, transformParams::kRotmapx, &TParameters::rotmapx},
    {kTransformParams, transformParams::kRotmapy, &TParameters::rotmapy},
    {kTransformParams, transformParams::kRotmapz, &TParameters::rotmapz},
    {kTransformParams, transformParams::kUserotprobcurve, &TParameters::userotprobcurve},
    {kTransformParams, transformParams::kRotmap, &TParameters::rotmap},
    {kTransformParams, transformParams::kRotmapchan, &TParameters::rotmapchan},
    {kTransformParams, transformParams::kRotcolormap, &TParameters::rotcolormap},
    {kTransformParams, transformParams::kRotprobmap, &TParameters::rotprobmap},
    {kTransformParams, transformParams::kApplyscale, &TParameters::applyscale},
    {kTransformParams, transformParams::kScalexmax, &TParameters::scalexmax},
    {kTransformParams, transformParams::kScalexmin, &TParameters::scalexmin},
    {kTransformParams, transformParams::kScaleymax, &TParameters::scaleymax},
    {kTransformParams, transformParams::kScaleymin, &TParameters::scaleymin},
    {kTransformParams, transformParams::kScalezmax, &TParameters::scalezmax},
    {kTransformParams, transformParams::kScalezmin, &TParameters::scalezmin},
    {kTransformParams, transformParams::kScamapx, &TParameters::scamapx},
    {kTransformParams, transformParams::kScamapy, &TParameters::scamapy},
    {kTransformParams, transformParams::kScamapz, &TParameters::scamapz},
    {kTransformParams, transformParams::kUsescaprobcurve, &TParameters::usescaprobcurve},
    {kTransformParams, transformParams::kScamap, &TParameters::scamap},
    {kTransformParams, transformParams::kScamapchan, &TParameters::scamapchan},
    {kTransformParams, transformParams::kScacolormap, &TParameters::scacolormap},
    {kTransformParams, transformParams::kScaprobmap, &TParameters::scaprobmap},
    {kTransformParams, transformParams::kScalelock, &TParameters::scalelock},
    {kTransformParams, transformParams::kMirror, &TParameters::mirror},
    {kMatParams, matParams::kTintcolor1, &TParameters::tintcolor1},
    {kMatParams, matParams::kTintcolor2, &TParameters::tintcolor2},
    {kMatParams, matParams::kTintmin, &TParameters::tintmin},
    {kMatParams, matParams::kTintmax, &TParameters::tintmax},
    {kMatParams, matParams::kTintmode, &TParameters::tintmode},
    {kMatParams, matParams::kTintmap, &TParameters::tintmap},
    {kMatParams, matParams::kTintmapmode, &TParameters::tintmapmode},
    {kMatParams, matParams::kTintmapchan, &TParameters::tintmapchan},
    {kCamParams, camParams::kCamera, &TParameters::camera},
    {kCamParams, camParams::kLookat, &TParameters::lookat},
    {kCamParams, camParams::kUselookat, &TParameters::uselookat},
    {kCamParams, camParams::kCamlimit, &TParameters::camlimit},
    {kCamParams, camParams::kCamdensact, &TParameters::camdensact},
    {kCamParams, camParams::kCamscaact, &TParameters::camscaact},
    {kCamParams, camParams::kCamenvrange, &TParameters::camenvrange},
    {kCamParams, camParams::kCamwidth, &TParameters::camwidth},
    {kCamParams, camParams::kCamfar, &TParameters::camfar},
    {kCamParams, camParams::kCambho, &TParameters::cambho},
    {kCamParams, camParams::kCamdensear, &TParameters::camdensear},
    {kCamParams, camParams::kCamdensfar, &TParameters::camdensfar},
    {kCamParams, camParams::kCamlod, &TParameters::camlod},
    {kCamParams, camParams::kCamlodenvrange, &TParameters::camlodenvrange},
    {kCamParams, camParams::kCamlodlookat, &TParameters::camlodlookat},
    {kCamParams, camParams::kCamloddist, &TParameters::camloddist},
    {kShadowParams, shadowParams::kUsefakeshadows, &TParameters::usefakeshadows},
    {kShadowParams, shadowParams::kLight, &TParameters::light},
    {kShadowParams, shadowParams::kHshadow, &TParameters::hshadow},
    {kShadowParams, shadowParams::kVshadow, &TParameters::vshadow},
    {kShadowParams, shadowParams::kCustshadow, &TParameters::custshadow},
    {kAnimParams, animParams::kAnimation, &TParameters::animation},
    {kAnimParams, animParams::kAnimsoffset, &TParameters::animsoffset},
    {kAnimParams, animParams::kAnimsamples, &TParameters::animsamples},
    {kAnimParams, animParams::kAnimonlyrend, &TParameters::animonlyrend},
    {kAnimParams, animParams::kAnimap, &TParameters::animap},
    {kAnimParams, animParams::kAnimapchan, &TParameters::animapchan},
    {kAnimParams, animParams::kAnimstart, &TParameters::animstart},
    {kAnimParams, animParams::kAnimend, &TParameters::animend},
    {kDispParams, dispParams::kVmesh, &TParameters::vmesh},
    {kDispParams, dispParams::kVmaxitems, &TParameters::vmaxitems},
    {kDispParams, dispParams::kRmesh, &TParameters::rmesh},
    {kDispParams, dispParams::kRskip, &TParameters::rskip},
    {kDispParams, dispParams::kRmaxitems, &TParameters::rmaxitems},
    {kDispParams, dispParams::kDisabled, &TParameters::disabled},
    {kGeomParams, geomParams::kGlobsize, &TParameters::globsize},
    {kGeomParams, geomParams::kWidth, &TParameters::width},
    {kGeomParams, geomParams::kHeight, &TParameters::height},
    {kGeomParams, geomParams::kGlobscale, &TParameters::globscale},
    {kEditionParams, editionParams::kMode, &TParameters::mode},
};

// Reads one parameter into a member of its type.
struct Reader {
    const IParamBlock2& block;
    ParamID id;
    TimeValue t;
    Interval* valid;
    TParameters& out;

    void operator()(int TParameters::*m) const { out.*m = block.GetInt(id, t, 0, valid); }
    void operator()(bool TParameters::*m) const { out.*m = block.GetBool(id, t); }
    void operator()(float TParameters::*m) const { out.*m = block.GetFloat(id, t, 0, valid); }
    void operator()(Color TParameters::*m) const { out.*m = block.GetColor(id, t, 0, valid); }
    void operator()(std::string TParameters::*m) const { out.*m = block.GetString(id, t); }
    void operator()(Texmap* TParameters::*m) const { out.*m = block.GetTexmap(id, t); }
    void operator()(INode* TParameters::*m) const { out.*m = block.GetNode(id, t); }
    void operator()(std::vector<INode*> TParameters::*m) const {
        (out.*m).clear();
        for (int i = 0; i < block.Count(id); ++i) (out.*m).push_back(block.GetNode(id, t, i));
    }
};

}  // namespace

TParameters ReadParameters(const TDravin& object, TimeValue t, Interval* valid) {
    TParameters parameters;
    for (const Row& row : kRows)
        std::visit(Reader{object.Block(row.block), row.id, t, valid, parameters}, row.member);
    return parameters;
}
