#pragma once

// --pack: the laid-out components placed in rows instead of the library's one
// column, for a page near 4:3.

#include "result.h"

#include <vector>

namespace netloom::front {

// Translates whole components of result (x, y by component): largest first, by
// the area of their node box grown by gap / 2 on every side, ties by component
// index, left to right, and a new row when the next would pass
// max(widest, sqrt(total area * 4 / 3)). Grown boxes touch, so components are
// gap apart. The first keeps its top-left corner at the top-left of all packed
// components. Components with keep[index] set stay where they are.
void PackComponents(Result& result, double gap, const std::vector<bool>& keep);

} // namespace netloom::front
