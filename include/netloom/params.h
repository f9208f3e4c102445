#pragma once

#include <netloom/export.h>

// Layout parameters, one set per thread: every thread starts with the start
// values, and CNetworkGraph::Layout writes the calling thread's. Layouts of
// different graphs may therefore run at the same time on different threads.
extern NETLOOM_API thread_local double g_dLayoutDistance;    // start value 40.0
extern NETLOOM_API thread_local double g_dLayoutDistanceSqr; // start value 1600.0
extern NETLOOM_API thread_local double g_dColumnSpacing;     // start value 200.0
extern NETLOOM_API thread_local double g_dLayerSpacing;      // start value 200.0
