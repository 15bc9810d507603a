#include "Dravin/effects/fresh_item.h"

#include <memory>

#include "Dravin/effects/item_attributes.h"

void SetFreshItem(tavuvm_expr::vmachine& machine, const TEffectNames& names) {
    TSpecimen specimen;
    specimen.elements.resize(1);
    TItemLanes lanes(1, kGroupSource, false);
    lanes.Reset(0, specimen);
    auto cells = std::make_unique<TCells>();
    TBuildInput input;
    TEffectOutcome outcome;
    auto attributes = ItemAttributes();
    for (size_t i = 0; i < attributes.size(); ++i)
        machine.set_slot(names.itemSlot + i,
                         attributes[i].read({lanes, *cells, 0, outcome, input}));
}
