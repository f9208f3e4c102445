#include <netloom/params.h>

double g_dLayoutDistance = 40.0;
double g_dLayoutDistanceSqr = 1600.0;
double g_dColumnSpacing = 200.0;
double g_dLayerSpacing = 200.0;
