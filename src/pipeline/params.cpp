#include <netloom/params.h>

#include "pipeline/layout_params.h"

thread_local double g_dLayoutDistance = 40.0;
thread_local double g_dLayoutDistanceSqr = 1600.0;
thread_local double g_dColumnSpacing = 200.0;
thread_local double g_dLayerSpacing = 200.0;

namespace netloom {

LayoutParams LayoutParams::Current() {
    return {g_dLayoutDistance, g_dLayoutDistanceSqr, g_dColumnSpacing, g_dLayerSpacing};
}

void LayoutParams::Apply() const {
    g_dLayoutDistance = distance;
    g_dLayoutDistanceSqr = distanceSqr;
    g_dColumnSpacing = columnSpacing;
    g_dLayerSpacing = layerSpacing;
}

} // namespace netloom
