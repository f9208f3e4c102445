#pragma once

#include <netloom/export.h>

// Layout parameters, one set per thread: every thread starts with the start
// values, and CNetworkGraph::Layout writes the calling thread's. Layouts of
// different graphs may therefore run at the same time on different threads.
//
//   g_dLayoutDistance     start value 40.0
//   g_dLayoutDistanceSqr  start value 1600.0
//   g_dColumnSpacing      start value 200.0
//   g_dLayerSpacing       start value 200.0
//
// The functions return the calling thread's parameter; they are the way to
// the parameters for hosts that cannot reach thread_local data in the library.
extern "C" {
NETLOOM_API double* netloom_LayoutDistance();
NETLOOM_API double* netloom_LayoutDistanceSqr();
NETLOOM_API double* netloom_ColumnSpacing();
NETLOOM_API double* netloom_LayerSpacing();
}

#if defined(_WIN32) && !defined(NETLOOM_STATIC) && !defined(NETLOOM_BUILDING)
// A DLL cannot export thread_local data (MSVC refuses it, MinGW hosts do not
// link), so a host's g_dLayoutDistance reads and writes through the functions.
#define g_dLayoutDistance (*netloom_LayoutDistance())
#define g_dLayoutDistanceSqr (*netloom_LayoutDistanceSqr())
#define g_dColumnSpacing (*netloom_ColumnSpacing())
#define g_dLayerSpacing (*netloom_LayerSpacing())
#elif defined(_WIN32) && !defined(NETLOOM_STATIC)
// Inside the DLL: the variables themselves, not exported.
extern thread_local double g_dLayoutDistance;
extern thread_local double g_dLayoutDistanceSqr;
extern thread_local double g_dColumnSpacing;
extern thread_local double g_dLayerSpacing;
#else
extern NETLOOM_API thread_local double g_dLayoutDistance;
extern NETLOOM_API thread_local double g_dLayoutDistanceSqr;
extern NETLOOM_API thread_local double g_dColumnSpacing;
extern NETLOOM_API thread_local double g_dLayerSpacing;
#endif
