#include <netloom/params.h>

#include "pipeline/layout_params.h"

#include <cfloat>

// Every double operation must round to double: x87's wider registers (32-bit
// x86 without SSE2 arithmetic) give other layouts than every other machine.
// clang-format off
#if !defined(FLT_EVAL_METHOD) || FLT_EVAL_METHOD != 0
#error "netloom needs double arithmetic without excess precision (FLT_EVAL_METHOD 0): on 32-bit x86 compile with -msse2 -mfpmath=sse (GCC, Clang) or /arch:SSE2 (MSVC)"
#endif
// clang-format on

thread_local double g_dLayoutDistance = 40.0;
thread_local double g_dLayoutDistanceSqr = 1600.0;
thread_local double g_dColumnSpacing = 200.0;
thread_local double g_dLayerSpacing = 200.0;

double* netloom_LayoutDistance() {
    return &g_dLayoutDistance;
}
double* netloom_LayoutDistanceSqr() {
    return &g_dLayoutDistanceSqr;
}
double* netloom_ColumnSpacing() {
    return &g_dColumnSpacing;
}
double* netloom_LayerSpacing() {
    return &g_dLayerSpacing;
}

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
