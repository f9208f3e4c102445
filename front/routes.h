#pragma once

// Orthogonal edges of the hierarchy drawing: each edge leaves and enters at its
// port slots and runs on tracks of its own through the channels between rows
// and the gaps between boxes.

#include "geometry.h"

namespace netloom::front {

// The point of box b (layout units) on side at slot of count; a port that
// names a field of a record box is at that field instead, where the field
// reaches that side.
Point PortPoint(const DrawnNode& b, int side, int slot, int count, int port = kNoPort);

// The least scale (pixels per layout unit) at which every channel and gap has
// room for its tracks. The boxes of d are still in pixels.
double RoutingScale(const Request& request, const Result& result, const Drawing& d);

// Gives the listed edges orthogonal paths; d is in layout units. An edge end
// without a port side leaves by the middle of the side facing the other end.
void RouteEdges(const Request& request, const Result& result, Drawing& d,
                const std::vector<std::size_t>& edges);

// The layer spacing at which every row gap of result's drawing d (MakeDrawing
// at the default label width), laid out at layerSpacing, has the room its
// boxes and tracks need and no more: a layout at that spacing keeps the
// drawing's scale. The tool's "auto" spacing.
int FittingLayerSpacing(const Request& request, const Result& result, const Drawing& d,
                        int layerSpacing);

} // namespace netloom::front
