#include "Dravin/panels/node_picks.h"

#include <algorithm>

#include <fmt/format.h>

#include "host/base/text.h"
#include "host/params/undo_step.h"
#include "host/scene/scene.h"

namespace {

INode* NodeAt(const ValueTable& table, TParamKey key, int i) {
    ParamValue value = table.Get(key.id, 0, i);
    return dynamic_cast<INode*>(std::get<std::shared_ptr<ReferenceTarget>>(value).get());
}

std::vector<INode*> NodesIn(const ValueTable& table, TParamKey key) {
    std::vector<INode*> nodes;
    for (int i = 0; i < table.Count(key.id); ++i)
        if (INode* node = NodeAt(table, key, i)) nodes.push_back(node);
    return nodes;
}

std::vector<INode*> NodesOfPanel(const TPanel& panel, TParamKey key) {
    if (panel.IsEmpty()) return {};
    return NodesIn(TPanel::TableOf(*panel.All()[0], key), key);
}

bool Contains(const std::vector<INode*>& nodes, const INode* node) {
    return std::find(nodes.begin(), nodes.end(), node) != nodes.end();
}

TPanelResult WrongKind(TParamKey key, const INode& node) {
    return {fmt::format("\"{}\" is not {}", node.GetName(), ClassTestName(key.Def().only)), {}};
}

// change(values of a thing), for all, as one step.
template <class Change>
TPanelResult ForAll(TPanel& panel, TParamKey key, const std::string& step, const Change& change) {
    UndoStep undo(step);
    for (ReferenceTarget* thing : panel.All()) {
        ValueTable table = TPanel::TableOf(*thing, key);
        change(table);
    }
    return {};
}

}  // namespace

TPickNames PickNamesOf(TParamKey key) {
    std::string one = "Object";
    if (key == TParamKey(surfaceParams::kSurflist)) one = "Surface";
    if (key == TParamKey(distParams::kDistpathnodes)) one = "Path";
    return {one, one + "s"};
}

std::string PickedText(const TPanel& panel, TParamKey key) {
    size_t count = NodesOfPanel(panel, key).size();
    TPickNames names = PickNamesOf(key);
    return fmt::format("{} {}", count, count == 1 ? names.one : names.many);
}

bool MayPick(const TPanel& panel, TParamKey key, const INode& node) {
    if (panel.IsEmpty() || panel.Holds(node)) return false;
    if (!TPanel::TableOf(*panel.All()[0], key).Accepts(key.id, &node)) return false;
    return !key.Def().list || !Contains(NodesOfPanel(panel, key), &node);
}

TPanelResult PickNode(TPanel& panel, TParamKey key, INode& node) {
    if (!key.Def().list) return panel.SetTarget(key, node.shared_from_this());
    for (ReferenceTarget* thing : panel.All())
        if (!TPanel::TableOf(*thing, key).Accepts(key.id, &node)) return WrongKind(key, node);
    return ForAll(panel, key, PickNamesOf(key).one + " Added", [&](ValueTable& table) {
        if (!Contains(NodesIn(table, key), &node)) table.Append(key.id, node.shared_from_this());
    });
}

TPanelResult RemovePicked(TPanel& panel, TParamKey key, const std::string& name) {
    return ForAll(panel, key, PickNamesOf(key).one + " Removed", [&](ValueTable& table) {
        for (int i = table.Count(key.id); i-- > 0;)
            if (INode* node = NodeAt(table, key, i); node && node->GetName() == name)
                table.Delete(key.id, i);
    });
}

TPanelResult ClearPicked(TPanel& panel, TParamKey key) {
    return ForAll(panel, key, PickNamesOf(key).many + " Cleared",
                  [&](ValueTable& table) { table.SetElements(key.id, {}); });
}

TPickQuestion PickQuestionOf(const TPanel& panel, TParamKey key) {
    TPickQuestion question;
    question.title = fmt::format("Select {} by Name", PickNamesOf(key).many);
    question.names = panel.Candidates(key);
    for (INode* node : NodesOfPanel(panel, key)) question.ticked.push_back(node->GetName());
    return question;
}

TPanelResult PickByName(TPanel& panel, TParamKey key, const std::vector<std::string>& names) {
    std::vector<ParamElement> elements;
    for (const std::string& name : names) {
        INode* node = panel.GetScene().FindNode(name);
        if (!node) return {fmt::format("the scene has no node \"{}\"", CutText(name, 60)), {}};
        for (ReferenceTarget* thing : panel.All())
            if (!TPanel::TableOf(*thing, key).Accepts(key.id, node)) return WrongKind(key, *node);
        elements.push_back({ParamValue(node->shared_from_this()), {}});
    }
    return ForAll(panel, key, PickNamesOf(key).one + " Added",
                  [&](ValueTable& table) { table.SetElements(key.id, elements); });
}
