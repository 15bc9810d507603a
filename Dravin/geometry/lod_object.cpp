#include "Dravin/geometry/lod_object.h"

#include "host/params/clone_map.h"
#include "host/scene/host_context.h"

namespace {

ParamBlockDesc2 MakeBlock() {
#define PARAM(symbol, id, name, type, ...) ParamDef(id, name, ParamType::k##type) __VA_ARGS__,
    std::vector<ParamDef> defs{
#include "Dravin/geometry/lod_params.inc"
    };
#undef PARAM
    return {0, "params", "LOD", 0, true, std::move(defs)};
}

std::vector<PBColumn> LevelColumns() {
    std::vector<PBColumn> columns;
    for (const ParamDef& def : LodBlock().params)
        if (def.list) columns.push_back({def.id, {}});
    columns[0].rowDefault = std::string("New LOD");
    return columns;
}

}  // namespace

const ParamBlockDesc2& LodBlock() {
    static const ParamBlockDesc2 block = MakeBlock();
    return block;
}

TDLod::TDLod()
    : m_levels((m_block = IParamBlock2::Create(LodBlock(), this)).Share(), LevelColumns()) {}

TDLod::TDLod(std::shared_ptr<IParamBlock2> block)
    : m_levels((m_block = std::move(block)).Share(), LevelColumns()) {}

std::shared_ptr<ReferenceTarget> TDLod::Clone(CloneMap& map) const {
    std::shared_ptr<IParamBlock2> block = m_block->CloneFor(nullptr, map);
    auto copy = std::shared_ptr<TDLod>(new TDLod(block));
    map.Add(*m_block.Get(), block);
    return copy;
}

TLodLevel TDLod::ReadLevel(int i) const {
    using namespace lodParams;
    IParamBlock2& block = Block();
    // Lists of unequal length read as their declared default beyond their end.
    auto value = [&](ParamID id) -> ParamValue {
        return i < block.Count(id) ? block.GetValue(id, 0, i) : LodBlock().Find(id)->defaultValue;
    };
    auto target = [&](ParamID id) { return std::get<std::shared_ptr<ReferenceTarget>>(value(id)); };
    TLodLevel level;
    level.entry.name = std::get<std::string>(value(kNamelist));
    level.entry.kind = std::get<int32_t>(value(kGeomlist));
    level.entry.customObject = std::dynamic_pointer_cast<INode>(target(kCobjlist));
    level.entry.material = std::dynamic_pointer_cast<Mtl>(target(kMatlist));
    level.entry.templateId = std::get<int32_t>(value(kTempidlist));
    level.entry.templateName = std::get<std::string>(value(kTempnamelist));
    level.entry.width = std::get<float>(value(kWidthlist));
    level.entry.height = std::get<float>(value(kHeightlist));
    level.entry.scale = std::get<float>(value(kScalelist));
    level.entry.zOffset = std::get<float>(value(kZoffsetlist));
    level.entry.center = std::get<int32_t>(value(kCenterlist));
    level.entry.specId = std::get<int32_t>(value(kSpecidlist));
    level.distance = std::get<float>(value(kDistlist));
    level.screenSize = std::get<float>(value(kScreensizelist));
    return level;
}

void TDLod::SetTemplate(int i, const TSpecEntry& entry) {
    HoldSuspender noUndo(CurrentHold());
    m_levels.EnsureRows(i + 1);
    Block().SetValue(lodParams::kTempidlist, 0, entry.templateId, i);
    Block().SetValue(lodParams::kTempnamelist, 0, entry.templateName, i);
}

void TDLod::NewLevel() { m_levels.Insert(NumLevels()); }

bool TDLod::NormaliseThresholds(LodMode mode, bool forced) {
    HostContext* context = HostContext::Current();
    if (!forced) {
        const char* question = mode == kLodDistance
                                   ? "All Distance values will be normalized. Are you sure ?"
                                   : "All Size values will be normalized. Are you sure ?";
        if (!context || context->UserInterface().Question(question, "Dravin Pack") != Answer::kYes)
            return false;
    }
    int n = NumLevels();
    m_levels.EnsureRows(n);
    if (context) context->Undo().Begin();
    for (int i = 0; i < n; ++i) {
        float part = n == 1 ? 1 : float(i) / float(n - 1);
        float rest = n == 1 ? 1 : float(n - 1 - i) / float(n - 1);
        if (forced || mode == kLodDistance)
            Block().SetValue(lodParams::kDistlist, 0, 100 * part, i);
        if (forced || mode == kLodScreenSize)
            Block().SetValue(lodParams::kScreensizelist, 0, 25 * rest, i);
    }
    if (context) context->Undo().Accept("Normalize");
    return true;
}
