#include <algorithm>

#include <fmt/format.h>

#include "apps/dravin/commands.h"
#include "apps/dravin/session.h"
#include "host/base/text.h"

namespace {

const char* const kModes[] = {"Image", "Path", "Reference", "Particle Flow"};

std::vector<std::string> InfoRow(const SceneDravin& dravin) {
    const TDravin& object = *dravin.object;
    auto integer = [&](DravinBlockId block, ParamID id) { return object.Block(block).GetInt(id); };
    const IParamBlock2 &geometry = object.Block(kGeomParams), &areas = object.Block(kAreaParams);
    int mode = std::clamp(integer(kDistParams, distParams::kDistmode), 0, 3);
    return {dravin.node->GetName(),
            integer(kDispParams, dispParams::kDisabled) ? "off" : "on",
            integer(kEditionParams, editionParams::kMode) ? "Custom Edit" : kModes[mode],
            fmt::format("{}", geometry.Count(geomParams::kNamelist)),
            fmt::format("{}", areas.Count(areaParams::kArnamelist)),
            fmt::format("{}", object.Block(kSurfaceParams).Count(surfaceParams::kSurflist)),
            fmt::format("{}", integer(kGenParams, genParams::kSeed)),
            FormatGrouped(integer(kDispParams, dispParams::kVmaxitems)),
            FormatGrouped(integer(kDispParams, dispParams::kRmaxitems))};
}

}  // namespace

ExitCode RunInfo(const std::string& scene) {
    Session session;
    if (ExitCode code = session.Open(scene); code != kExitDone) return code;
    auto objects = session.FindObjects("");
    if (!objects) return kExitMalformed;

    std::vector<std::vector<std::string>> rows{{"Object", "State", "Mode", "Geometry", "Areas",
                                                "Surfaces", "Seed", "Max viewport", "Max render"}};
    for (const SceneDravin& dravin : *objects) rows.push_back(InfoRow(dravin));
    std::vector<size_t> widths(rows[0].size(), 0);
    for (const auto& row : rows)
        for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    for (size_t r = 0; r < rows.size(); ++r) {
        std::string line;
        for (size_t i = 0; i < widths.size(); ++i)
            line += i < 3 ? fmt::format("{:<{}}  ", rows[r][i], widths[i])
                          : fmt::format("{:>{}}  ", rows[r][i], widths[i]);
        PrintResult(r == 0 ? Bold(std::string(TrimRight(line))) : std::string(TrimRight(line)));
    }
    return kExitDone;
}
