#include <algorithm>

#include <fmt/format.h>

#include "Dravin/effects/effect_list.h"
#include "Dravin/tools/lister.h"
#include "apps/dravin/build_report.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/session.h"
#include "host/base/text.h"

namespace {

const char* const kModes[] = {"Image", "Path", "Reference", "Particle Flow"};

using Row = std::vector<std::string>;

// Columns as wide as their widest cell; the first row is the header.
void PrintTable(const std::vector<Row>& rows) {
    std::vector<size_t> widths(rows[0].size(), 0);
    for (const Row& row : rows)
        for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    for (size_t r = 0; r < rows.size(); ++r) {
        std::string line;
        for (size_t i = 0; i < widths.size(); ++i)
            line += fmt::format("{:<{}}  ", rows[r][i], widths[i]);
        line = std::string(TrimRight(line));
        PrintResult(r == 0 ? Bold(line) : line);
    }
}

Row ListerCells(const SceneDravin& dravin) {
    TListerRow cells = ListerRow(*dravin.object);
    Row row{dravin.node->GetName()};
    row.insert(row.end(), cells.begin(), cells.end());
    return row;
}

// What the lister leaves out.
Row OtherFacts(const SceneDravin& dravin) {
    const TDravin& object = *dravin.object;
    auto integer = [&](DravinBlockId block, ParamID id) { return object.Block(block).GetInt(id); };
    int mode = std::clamp(integer(kDistParams, distParams::kDistmode), 0, 3);
    return {dravin.node->GetName(),
            integer(kDispParams, dispParams::kDisabled) ? "off" : "on",
            kModes[mode],
            fmt::format("{}", integer(kGenParams, genParams::kSeed)),
            FormatGrouped(integer(kDispParams, dispParams::kVmaxitems)),
            FormatGrouped(integer(kDispParams, dispParams::kRmaxitems)),
            fmt::format("{}", int(object.Build().Status())),
            fmt::format("{} ms", object.Build().Statistics().buildMs)};
}

}  // namespace

ExitCode RunInfo(const InfoOptions& options) {
    Session session;
    if (ExitCode code = session.Open(options.scene); code != kExitDone) return code;
    auto objects = session.FindObjects("");
    if (!objects) return kExitMalformed;

    // As a viewport shows them, which is where the lister's numbers come from.
    TBuildFlags viewport;
    viewport.noMesh = true;
    Row header{"Object"};
    header.insert(header.end(), ListerHeaders().begin(), ListerHeaders().end());
    std::vector<Row> rows{header};
    std::vector<Row> facts{{"Object", "State", "Mode", "Seed", "Max viewport", "Max render",
                            "Status", "Viewport build"}};
    std::vector<std::string> errors;
    for (const SceneDravin& dravin : *objects) {
        BuildWithProgress(dravin, session.GetScene().GetTime(), viewport);
        rows.push_back(ListerCells(dravin));
        facts.push_back(OtherFacts(dravin));
        const TDravin& object = *dravin.object;
        for (const TEffectError& error :
             FindEffectErrors(object.Block(kEffectParams), object.CurveSet(kSlotEffectCurves),
                              session.GetScene().GetTime()))
            errors.push_back(EffectErrorText(dravin, error));
    }
    PrintTable(rows);
    if (options.verbose) {
        PrintResult("");
        PrintTable(facts);
    }
    for (const std::string& error : errors) PrintResult(error);
    return kExitDone;
}
