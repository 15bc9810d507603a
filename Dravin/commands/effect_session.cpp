#include "Dravin/commands/effect_session.h"

#include <map>

#include <fmt/format.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/commands/command_table.h"
#include "Dravin/dravin.h"
#include "host/base/text.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

using namespace effectParams;

namespace {

struct EffectSessions {
    struct Entry {
        std::weak_ptr<TDravin> object;
        std::unique_ptr<TEffectCommands> commands;
    };
    std::map<const TDravin*, Entry> entries;
};

std::vector<std::string> Texts(const IParamBlock2& block, ParamID id) {
    std::vector<std::string> texts;
    for (int i = 0; i < block.Count(id); ++i) texts.push_back(block.GetString(id, 0, i));
    return texts;
}

}  // namespace

TEffectCommands& EffectCommandsOf(TDravin& object) {
    auto& entries = HostContext::Current()->State<EffectSessions>().entries;
    std::erase_if(entries, [](const auto& entry) { return entry.second.object.expired(); });
    EffectSessions::Entry& entry = entries[&object];
    if (!entry.commands) {
        auto shared = std::static_pointer_cast<TDravin>(object.shared_from_this());
        entry.object = shared;
        auto mark = [weak = entry.object] {
            if (auto marked = weak.lock()) marked->Invalidate(TRemake::kItems);
        };
        entry.commands = std::make_unique<TEffectCommands>(
            std::static_pointer_cast<IParamBlock2>(object.Block(kEffectParams).shared_from_this()),
            mark);
    }
    return *entry.commands;
}

void MarkAllEffects(const Scene& scene) {
    for (INode* node : scene.Nodes())
        if (auto* object = dynamic_cast<TDravin*>(node->GetObjectRef()))
            object->Invalidate(TRemake::kItems);
}

TArgumentInfo EffectArgument() {
    return {"effect", TArgumentKind::kValue,
            "number from 0, name or id (default: the only or selected one)"};
}

int EffectOfCall(const TCommandCall& call, TCommandResult* result) {
    TEffectCommands& effects = EffectCommandsOf(*call.object);
    int count = effects.Count();
    ParamInput input = call.Value("effect");
    if (auto* text = std::get_if<std::string>(&input.value)) {
        int row = effects.Find(*text);
        if (row < 0)
            result->error = fmt::format(
                "the object has no effect \"{}\"{}", CutText(*text, 60),
                DidYouMean(*text, Texts(call.object->Block(kEffectParams), kEfnamelist)));
        return row;
    }
    if (auto* number = std::get_if<int64_t>(&input.value)) {
        if (*number >= 0 && *number < count) return int(*number);
        result->error = fmt::format("the object has no effect {}; it has {}", *number, count);
        return -1;
    }
    if (call.Has("effect")) {
        result->error = "\"effect\" takes a number from 0, a name or an id";
        return -1;
    }
    std::vector<int> selected = effects.Rows().GetSelection();
    if (count == 1) return 0;
    if (selected.size() == 1) return selected[0];
    result->error = count == 0 ? "the object has no effects"
                               : "the object has several effects; name one as \"effect\"";
    return -1;
}

int EffectParameterOfCall(const TCommandCall& call, int effect, TCommandResult* result) {
    TEffectCommands& effects = EffectCommandsOf(*call.object);
    std::string wanted = call.Text("parameter"), id = effects.IdOf(effect);
    std::vector<int> rows = effects.Parameters().RowsOf(id);
    int row = effects.Parameters().Find(wanted);
    if (std::find(rows.begin(), rows.end(), row) == rows.end())
        row = effects.Parameters().FindName(id, wanted);
    if (row >= 0) return row;
    std::vector<std::string> names;
    for (int r : rows)
        names.push_back(call.object->Block(kEffectParams).GetString(kEfpaname, 0, r));
    result->error = fmt::format("the effect has no parameter \"{}\"{}", CutText(wanted, 60),
                                DidYouMean(wanted, names));
    return -1;
}
