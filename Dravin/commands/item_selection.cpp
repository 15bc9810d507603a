#include <algorithm>

#include <fmt/format.h>

#include "Dravin/commands/item_commands.h"
#include "Dravin/dravin.h"
#include "Dravin/engine/specimen.h"
#include "host/scene/host_context.h"

namespace {

// A value that all that is seen shares.
class TShared {
public:
    void See(int value) {
        m_differs |= m_value && *m_value != value;
        m_value = value;
    }
    std::optional<int> Get() const { return m_differs ? std::nullopt : m_value; }

private:
    std::optional<int> m_value;
    bool m_differs = false;
};

template <class Wanted>
TItemNumbers Differing(const std::vector<TStoredItem>& items, const Wanted& wanted) {
    TItemNumbers numbers;
    for (size_t i = 0; i < items.size(); ++i)
        if (items[i].selected != wanted(items[i])) numbers.push_back(uint32_t(i));
    return numbers;
}

}  // namespace

int TItemCommands::NumRows() const {
    return m_object.Block(kGeomParams).Count(geomParams::kNamelist);
}

void TItemCommands::Select(const std::vector<int>& hits, bool selected, bool all, bool invert) {
    if (!IsEditing()) return m_object.NotifyDependents();
    const std::vector<TStoredItem>& items = m_object.StoredItems();
    // Hits of one item are records of their own: two of them invert it twice.
    TItemNumbers toggled;
    std::vector<int> taken;
    for (int i : hits)
        if (i >= 0 && size_t(i) < items.size()) taken.push_back(i);
    if (!all && taken.size() > 1) taken.erase(taken.begin() + 1, taken.end());
    std::sort(taken.begin(), taken.end());
    for (size_t first = 0, end; first < taken.size(); first = end) {
        end = first;
        while (end < taken.size() && taken[end] == taken[first]) ++end;
        bool flips =
            invert ? (end - first) % 2 == 1 : items[size_t(taken[first])].selected != selected;
        if (flips) toggled.push_back(uint32_t(taken[first]));
    }
    ToggleItems(m_object, std::move(toggled));
}

void TItemCommands::Select(TGeneralSelection which) {
    if (!IsEditing()) return m_object.NotifyDependents();
    ToggleItems(m_object, Differing(m_object.StoredItems(), [&](const TStoredItem& item) {
                    return which == TGeneralSelection::kInvert ? !item.selected
                                                               : which == TGeneralSelection::kAll;
                }));
}

bool TItemCommands::SelectByType(std::optional<int> row) {
    if (!IsEditing()) return false;
    if (!row || *row < 0 || *row >= NumRows()) {
        HostContext::Current()->UserInterface().MessageBox(
            "Select a model from the list before using this option", "Error",
            MessageKind::kWarning);
        return false;
    }
    ReseedSharedStream();
    ToggleItems(m_object, Differing(m_object.StoredItems(), [&](const TStoredItem& item) {
                    return item.specimenIndex == *row;
                }));
    return true;
}

TItemNumbers TItemCommands::Selected() const {
    return IsEditing() ? Differing(m_object.StoredItems(), [](const TStoredItem&) { return false; })
                       : TItemNumbers();
}

std::string TItemCommands::CountText() const {
    return fmt::format("{} Items in Object", m_object.StoredItems().size());
}

std::string TItemCommands::SelectedText() const {
    return fmt::format("{} Items selected", Selected().size());
}

TItemControls TItemCommands::Controls() const {
    return {IsEditing(), !Selected().empty() && m_object.StoredItems().size() > 1};
}

TSelectionProperties TItemCommands::Properties() const {
    TSelectionProperties shown;
    TShared entry, element, userId;
    for (uint32_t i : Selected()) {
        const TStoredItem& item = m_object.StoredItems()[i];
        entry.See(item.specimenIndex);
        element.See(item.elementIndex);
        userId.See(item.userId);
        ++shown.count;
    }
    if (entry.Get() && NumRows() > 0)
        shown.entry = int(SpecimenRow(*entry.Get(), size_t(NumRows())));
    shown.element = element.Get();
    shown.userId = userId.Get();
    return shown;
}

bool TItemCommands::SetProperties(std::optional<int> entry, std::optional<int> element,
                                  std::optional<int> userId) {
    TItemNumbers selected = Selected();
    if (selected.empty() || (!entry && !element && !userId)) return false;
    TSelectionProperties now = Properties();
    auto shown = [](std::optional<int> changed, std::optional<int> was) {
        return changed ? std::max(*changed, 0) : was;
    };
    now.entry = shown(entry, now.entry);
    now.element = shown(element, now.element);
    now.userId = shown(userId, now.userId);
    ChangeItems(
        m_object, selected,
        [&](TStoredItem& item) {
            item.specimenIndex = now.entry.value_or(item.specimenIndex);
            item.elementIndex = now.element.value_or(item.elementIndex);
            item.userId = now.userId.value_or(item.userId);
        },
        TItemRecord::kOncePerHold);
    return true;
}
