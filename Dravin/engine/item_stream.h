// Finished items on their way out of a build that keeps no list of them.
//
// A build hands the items of each piece to its consumer as soon as they are made, and uses their
// memory again. What the consumer makes of them (text, columns) is made on all threads at once and
// put in place in order.
#pragma once

#include <functional>

#include "Dravin/engine/item_list.h"

// Makes of the items of one piece what has to be done with them, and returns what puts it in its
// place. The consumer itself is called by several threads at once and may read the items until it
// returns; what it returned is called once, by one thread at a time, in the order of the items.
using TItemConsumer = std::function<std::function<void()>(const TDravinItemList& items)>;
