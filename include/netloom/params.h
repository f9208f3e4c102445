#pragma once

#include <netloom/export.h>

// Process-wide layout parameters, written by every CNetworkGraph::Layout call.
extern NETLOOM_API double g_dLayoutDistance;    // start value 40.0
extern NETLOOM_API double g_dLayoutDistanceSqr; // start value 1600.0
extern NETLOOM_API double g_dColumnSpacing;     // start value 200.0
extern NETLOOM_API double g_dLayerSpacing;      // start value 200.0
