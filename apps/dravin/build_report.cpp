#include "apps/dravin/build_report.h"

#include <limits>

#include <fmt/format.h>

#include "host/base/text.h"

namespace {

// Statuses that count as a correct build.
bool IsGood(TBuildStatus status) {
    return status == TBuildStatus::kSuccess || status == TBuildStatus::kDisabled;
}

std::string StatusText(const SceneDravin& dravin) {
    TPanelMessage message = dravin.object->Build().Message();
    std::string text = message[0];
    if (!message[1].empty()) text += " " + message[1];
    return fmt::format("{}: status {}: {}", dravin.node->GetName(),
                       int(dravin.object->Build().Status()), text);
}

// Of a limit that a build without limits has met: what numbers can hold.
constexpr const char* kNoOption = "no option raises this";

std::string DensityRemedy(const TDravinBuild& build) {
    const IParamBlock2& block = build.GetObject().Block(kDistParams);
    bool isLimited =
        !build.Flags().unprotected && block.GetInt(distParams::kMaxdensity, build.Time()) > 0;
    const char* more =
        "raise \"maxdensity\" (millions of cells; 0 is no limit), or give --no-limit";
    return fmt::format("enlarge \"units_x\" and \"units_y\", {}",
                       isLimited
                           ? std::string("or ") + more
                           : fmt::format("as so many cells cannot be counted; {}", kNoOption));
}

std::string ItemsRemedy(const TDravinBuild& build) {
    if (build.Flags().noLimit)
        return fmt::format("more than {} items cannot be numbered; {}",
                           FormatGrouped(std::numeric_limits<int32_t>::max()), kNoOption);
    return fmt::format("raise \"{}\", or give --no-limit",
                       build.IsRender() ? "rmaxitems" : "vmaxitems");
}

// What to change, in the words of a scene description; empty where the status says it all.
std::string Remedy(const TDravinBuild& build) {
    switch (build.Status()) {
        case TBuildStatus::kNoIncludeAreas:
            return "name the ground in \"surflist\", or give \"areas\" a row that includes";
        case TBuildStatus::kNoDistributionMap:
            return "name an image in \"mapname\" or a texture map in \"distmap\"";
        case TBuildStatus::kDensityTooHigh:
            return DensityRemedy(build);
        case TBuildStatus::kTooManyItems:
            return ItemsRemedy(build);
        case TBuildStatus::kTooManyFaces:
            return "raise \"maxfaces\" (millions), or give --no-limit";
        case TBuildStatus::kEmptyGeometryList:
            return "give \"geometry\" a row with an object or a template";
        case TBuildStatus::kNoReferenceObject:
            return "name the objects to scatter at in \"reflist\"";
        case TBuildStatus::kNoItems:
        case TBuildStatus::kNoVisibleItems: {
            std::string noCells = NoCellsText(build.Statistics());
            return noCells.empty() ? MostRejectedText(build.Statistics()) : noCells;
        }
        default:
            return {};
    }
}

}  // namespace

std::string EffectErrorText(const SceneDravin& dravin, const TEffectError& error) {
    std::string place =
        error.line > 0 ? fmt::format(" at line {}, column {}", error.line, error.column) : "";
    return fmt::format("{}: effect \"{}\"{}: {}", dravin.node->GetName(), error.effectName, place,
                       error.message);
}

static bool TellOfEffects(const SceneDravin& dravin) {
    auto errors = dravin.object->Build().EffectErrors();
    for (const TEffectError& error : errors) PrintError(EffectErrorText(dravin, error));
    return !errors.empty();
}

ExitCode ReportBuild(const SceneDravin& dravin, bool keepGoing) {
    // The build itself has warned, with the line at fault and a caret.
    bool broken = !keepGoing && TellOfEffects(dravin);
    TBuildStatus status = dravin.object->Build().Status();
    if (status == TBuildStatus::kDisabled) PrintNote(StatusText(dravin));
    if (IsGood(status)) return broken ? kExitFailed : kExitDone;
    if (!dravin.object->Build().Failure().empty()) {  // it broke off
        PrintError(fmt::format("{}: {}", dravin.node->GetName(), dravin.object->Build().Failure()));
        return dravin.object->Build().RanOutOfMemory() ? kExitLimit : kExitFailed;
    }
    if (!dravin.object->Build().Refusal().empty()) {
        PrintError(fmt::format("{}: {}", dravin.node->GetName(), dravin.object->Build().Refusal()));
        return kExitLimit;
    }
    PrintError(StatusText(dravin));
    if (std::string remedy = Remedy(dravin.object->Build()); !remedy.empty()) PrintNote(remedy);
    return kExitFailed;
}

void PrintPanel(const SceneDravin& dravin) {
    PrintResult(Bold(dravin.node->GetName()));
    for (const TPanelLine& line : dravin.object->Build().Panel())
        if (!line.value.empty()) PrintResult(fmt::format("  {:<12} {}", line.label, line.value));
    for (const std::string& message : dravin.object->Build().PanelLines())
        if (!message.empty()) PrintResult(fmt::format("  {:<12} {}", "", message));
}

void PrintRejections(const SceneDravin& dravin) {
    const TRejections& rejected = dravin.object->Build().Statistics().rejected;
    PrintResult(fmt::format("{}: candidates dropped by", dravin.node->GetName()));
    for (const TRejectionRule& rule : RejectionRules())
        PrintResult(fmt::format("  {:<12} {}", rule.name, FormatGrouped(rejected.*rule.count)));
}
