#include "Dravin/render/pack_interface.h"

#include <fmt/format.h>

#include "Dravin/dravin.h"
#include "Dravin/render/engine_registry.h"
#include "Dravin/render/object_registry.h"
#include "Dravin/tools/lister.h"
#include "Dravin/tools/tool_commands.h"
#include "host/base/log.h"
#include "host/scene/host_context.h"
#include "host/scene/node.h"
#include "host/scene/renderers.h"

namespace {

IDravinPackInterface& Self(FPInterface& interface) {
    return static_cast<IDravinPackInterface&>(interface);
}

}  // namespace

TDravinPackInterface& TDravinPackInterface::Current() {
    return HostContext::Current()->State<TDravinPackInterface>();
}

void TDravinPackInterface::registerEngine() {
    TEngineRegistry::Current().Register(CurrentRendererId());
}

int32_t TDravinPackInterface::exportData(const std::string& filename,
                                         const std::string& fieldlist) {
    enum : int32_t { kDone = 0, kNoFile = 1, kFailed = 2 };
    if (filename.empty()) return kNoFile;
    Scene* scene = HostContext::Current()->CurrentScene();
    if (!scene) return kFailed;
    std::vector<std::string> unknown;
    TExportFields fields = TExportFields::Parse(fieldlist, &unknown);
    for (const std::string& key : unknown)
        LogWarning(fmt::format("exportData: there is no field \"{}\"", key));
    TDtools tools;
    return TToolCommands(*scene, tools).Export(fields, filename) ? kDone : kFailed;
}

void TDravinPackInterface::setEngineFeatures(uint32_t* features) {
    if (!features) return;
    TDravinEngine& engine = TEngineRegistry::Current().Register(CurrentRendererId());
    engine.version = features[0];
    engine.flag = features[1] == 1;
    features[2] = TEngineRegistry::kInterfaceLevel;
}

void TDravinPackInterface::openLister() {
    IUserInterface& user = HostContext::Current()->UserInterface();
    auto print = [&user](const std::string& name, std::span<const std::string> cells) {
        user.ListenerPrint(fmt::format("{}\t{}", name, fmt::join(cells, "\t")));
    };
    auto headers = ListerHeaders();
    print("Object", std::vector<std::string>(headers.begin(), headers.end()));
    for (const auto& object : TObjectRegistry::Current()->ShownObjects())
        print(ShownBy(*object)->GetName(), ListerRow(*object));
}

TRawRenderTable* TDravinPackInterface::getRenderDataRaw() {
    m_raw.Fill(TObjectRegistry::Current()->ShownObjects());
    return &m_raw.Table();
}

std::span<const FPFunction> IDravinPackInterface::Functions() const {
    using F = FPInterface;
    using A = FPArguments;
    using V = FPValues;
    using enum FPType;
    static const std::vector<FPFunction> table{
        {0,
         "registerEngine",
         kNone,
         {},
         {},
         [](F& i, A) -> V { return Self(i).registerEngine(), V{}; }},
        {1,
         "exportData",
         kInt,
         {{"filename", kString}, {"fieldlist", kString}},
         {},
         [](F& i, A a) -> V {
             return {Self(i).exportData(std::get<std::string>(a[0]), std::get<std::string>(a[1]))};
         }},
        {2,
         "setEngineFeatures",
         kNone,
         {{"features", kPointer}},
         {},
         [](F& i, A a) -> V {
             Self(i).setEngineFeatures(static_cast<uint32_t*>(std::get<FPPointer>(a[0]).address));
             return {};
         }},
        {3, "openLister", kNone, {}, {}, [](F& i, A) -> V { return Self(i).openLister(), V{}; }},
        {31,
         "getRenderDataRaw",
         kPointer,
         {},
         {},
         [](F& i, A) -> V { return {FPPointer{Self(i).getRenderDataRaw()}}; }},
        {32,
         "clearRenderDataRaw",
         kNone,
         {},
         {},
         [](F& i, A) -> V { return Self(i).clearRenderDataRaw(), V{}; }},
        {33, "version", kInt, {}, {}, [](F& i, A) -> V { return {Self(i).version()}; }},
    };
    return table;
}
