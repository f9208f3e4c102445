#pragma once

// The geometry of a drawing, shared by every drawn output (SVG, PNG, PDF, the
// interactive page). All coordinates are layout units: a node's box is centred
// on the layout's position, and one uniform scale (pixels per unit) turns the
// drawing into pixels. Box sizes, tracks and fonts are chosen in pixels and
// stored divided by that scale.

#include "request.h"
#include "result.h"

#include <cstddef>
#include <string>
#include <vector>

namespace netloom::front {

// One field of a record node (layout units).
struct DrawnCell {
    double x = 0.0, y = 0.0; // centre
    double w = 0.0, h = 0.0;
    std::vector<std::string> lines; // its text's lines, each cut to the label width
    int port = kNoPort;             // the port number naming this field
};

struct DrawnNode {
    double x = 0.0, y = 0.0;        // centre: the layout's position
    double w = 0.0, h = 0.0;        // box size
    std::string label;              // as drawn: its lines joined by '\n'
    std::vector<std::string> lines; // the label's lines, each cut to the label width
    int fill = 0;                   // palette index (by component)
    std::vector<Point> ports;       // one point per entry of Result::ports
    // A record node's fields; the box's own lines are then empty and each
    // field's text is drawn in its cell.
    std::vector<DrawnCell> cells;
};

enum class PathKind {
    Polyline,  // points joined by straight segments
    Quadratic, // three points: start, control point, end (a bent parallel edge)
};

struct DrawnEdge {
    PathKind kind = PathKind::Polyline;
    std::vector<Point> points; // from the source's box to the target's
};

struct Drawing {
    // Pixels per layout unit of a static picture (SVG, PNG, PDF). It is the
    // scale at which the boxes and tracks got their sizes (text at its natural
    // size) unless the picture would then pass kMaxDrawingSide a side or
    // kMaxDrawingPixels in all: then the whole drawing is shown smaller.
    double scale = 1.0;
    double pixel = 1.0; // one pixel of the box and track sizes, in layout units
    // What a smaller picture still shows: labels while their text is at least
    // kReadableText pixels high; boxes become dots (dotRadius, layout units)
    // once they would be only a few pixels; edges stay at least a pixel wide
    // (PictureStroke).
    bool labels = true;
    bool dots = false;
    double dotRadius = 0.0;
    double lineHeight = 0.0; // distance between the lines of a label, layout units
    // The drawn area (layout units): every box and edge lies inside.
    double left = 0.0, top = 0.0, width = 0.0, height = 0.0;
    double fontSize = 0.0;        // layout units
    double strokeWidth = 0.0;     // edge line width, layout units
    double arrowSize = 0.0;       // arrowhead length, layout units; 0: undirected
    bool orthogonal = false;      // edges are routed on tracks (hierarchy)
    std::vector<DrawnNode> nodes; // by node index
    std::vector<DrawnEdge> edges; // by edge index
};

constexpr double kMaxDrawingSide = 16384.0;    // pixels
constexpr double kMaxDrawingPixels = 1e8;      // pixels in all
constexpr double kReadableText = 6.0;          // least label height drawn, pixels
constexpr std::size_t kDefaultLabelWidth = 48; // characters of a label line

// labelWidth: the most characters of a label line; longer lines end in an ellipsis.
// Where the line from the box centre towards p leaves the box; a p inside
// the box is its own answer unless stopAtP is false.
Point BorderToward(const DrawnNode& b, const Point& p, bool stopAtP = true);

// The field of b whose port has the number `port`, or null.
const DrawnCell* FieldOf(const DrawnNode& b, int port);

// Whether field c of box b reaches the box's side.
bool Touches(const DrawnNode& b, const DrawnCell& c, int side);

// Where an edge meets box b at field c on side: the middle of the cell's
// extent along that side, on the box's border.
Point FieldPoint(const DrawnNode& b, const DrawnCell& c, int side);

// The lines between a record's fields, as pairs of end points: each cell's
// right and bottom edges where they lie inside the box.
std::vector<Point> FieldDividers(const DrawnNode& b);

Drawing MakeDrawing(const Request& request, const Result& result,
                    std::size_t labelWidth = kDefaultLabelWidth);

// The smallest scale (pixels per layout unit, to a relative 1e-9) at which at
// most crowdedShare of the boxes (pixel sizes) at distinct positions overlap
// another, positions closer than eps counting as one; 1 when no two overlap.
// MakeDrawing's scale before routing.
double ClearingScale(const std::vector<DrawnNode>& nodes, double eps, double crowdedShare);

// How much of its natural size a static picture shows (scale over the scale
// of the box sizes): 1, or less for a picture that had to be made smaller.
inline double DrawingZoom(const Drawing& d) {
    return d.scale * d.pixel;
}

// The edge line width of a static picture, layout units: the natural width,
// but at least one pixel of the picture.
inline double PictureStroke(const Drawing& d) {
    return d.strokeWidth > 1.0 / d.scale ? d.strokeWidth : 1.0 / d.scale;
}

// Each edge's route as a polyline in layout units, from its source end to its
// target end: a bent parallel edge passes through its curve's midpoint.
std::vector<std::vector<Point>> EdgeRoutes(const Drawing& d);

// The palette of box fills, by DrawnNode::fill.
extern const char* const kDrawFills[8];

} // namespace netloom::front
