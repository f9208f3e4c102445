// Orthogonal routing on the rows of a layered drawing.
//
// Boxes sharing a y form a row; between two rows lies a channel, between two
// boxes of a row a gap (the outer gaps and channels are open). An edge leaves
// its port into a channel (up and down sides) or into the gap beside its box
// (left and right sides), runs horizontally on a track of the channel, crosses
// each row between its ends through a gap on a vertical track of its own, and
// enters its other port the same way. Tracks are given per channel so that no
// two edges share a segment: a vertical that drops from above at x must end
// above a vertical that rises from below at the same x, and where those
// constraints form a cycle one edge takes a jog to a second track.

#include "routes.h"

#include "limits.h"
#include "names.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>

namespace netloom::front {
namespace {

// Pixels.
constexpr double kTrack = 6.0;    // preferred distance between tracks
constexpr double kMargin = 10.0;  // from a box or row to its nearest track
constexpr double kDistinct = 3.0; // verticals closer than this count as one line
constexpr int kGapSearch = 6;     // gaps tried on each side of the ideal one

constexpr double kInf = std::numeric_limits<double>::infinity();

enum Kind { kUp, kDown, kFree }; // where the vertical at a track's end goes

struct Row {
    double y = 0.0;
    double top = 0.0, bottom = 0.0; // band of the row's boxes
    std::vector<std::size_t> boxes; // by x
};

struct Rows {
    std::vector<Row> rows;
    std::vector<int> rowOf, posOf; // per node
};

Rows BuildRows(const Drawing& d) {
    Rows r;
    const std::size_t n = d.nodes.size();
    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        const DrawnNode& p = d.nodes[a];
        const DrawnNode& q = d.nodes[b];
        return p.y != q.y ? p.y < q.y : p.x != q.x ? p.x < q.x : a < b;
    });
    r.rowOf.assign(n, 0);
    r.posOf.assign(n, 0);
    for (std::size_t i : order) {
        const DrawnNode& b = d.nodes[i];
        if (r.rows.empty() || r.rows.back().y != b.y) {
            r.rows.push_back({b.y, kInf, -kInf, {}});
        }
        Row& row = r.rows.back();
        row.top = std::min(row.top, b.y - b.h / 2);
        row.bottom = std::max(row.bottom, b.y + b.h / 2);
        r.rowOf[i] = static_cast<int>(r.rows.size() - 1);
        r.posOf[i] = static_cast<int>(row.boxes.size());
        row.boxes.push_back(i);
    }
    return r;
}

// One end of an edge: the side it leaves by and the point on that side.
struct End {
    std::size_t node = 0;
    int side = kSideDown;
    Point p;
};

// A vertical track in a gap. Group 0 holds the stubs of the box left of the
// gap, group 2 those of the box right of it, group 1 the rest; rank orders a
// group, nearest to its box first.
struct GapItem {
    std::size_t edge = 0;
    int group = 1;
    std::pair<int, double> rank;
    double x = 0.0;
    double want = std::numeric_limits<double>::quiet_NaN(); // preferred x, if any
};

// A horizontal run of an edge in a channel: from (x1, kind1) to (x2, kind2).
struct Piece {
    std::size_t edge = 0;
    double x1 = 0.0, x2 = 0.0;
    Kind kind1 = kFree, kind2 = kFree;
    int track = -1;
    double y = 0.0;
    int next = -1; // the second half of a piece split by a jog
    double Lo() const { return std::min(x1, x2); }
    double Hi() const { return std::max(x1, x2); }
};

struct EdgePlan {
    bool straight = false;                // p to q in one segment
    int direct = -1;                      // gap item of an edge inside one gap
    int sourceStub = -1, targetStub = -1; // gap items of left and right sides
    int sourceChannel = 0, targetChannel = 0;
    std::vector<int> crossings;                      // gap items, one per row crossed
    std::vector<std::pair<int, std::size_t>> pieces; // channel, piece
};

class Router {
public:
    Router(const Drawing& d, double unit) : m_d(d), m_unit(unit), m_rows(BuildRows(d)) {
        const std::size_t rows = m_rows.rows.size();
        m_gapBase.resize(rows + 1, 0);
        for (std::size_t r = 0; r < rows; ++r) {
            m_gapBase[r + 1] = m_gapBase[r] + m_rows.rows[r].boxes.size() + 1;
        }
        m_gaps.resize(m_gapBase[rows]);
        m_channels.resize(rows + 1);
    }

    void Plan(const std::vector<std::size_t>& edges, const std::vector<End>& sources,
              const std::vector<End>& targets);
    // Scale needed for the planned tracks; the boxes are at scale 1 / m_unit.
    double NeededScale() const;
    // Pixels one layer step needs for the placed tracks: the busiest channel
    // (layers along y) or gap (layers along x), over the steps it spans.
    double LayerStepNeed(bool alongY, double layerSpacing) const;
    // Places the tracks and writes the paths of the planned edges into d.
    void Draw(Drawing& d);

private:
    int GapId(int row, int g) const { return static_cast<int>(m_gapBase[row]) + g; }
    int AddGapItem(int row, int g, std::size_t edge, int group, std::pair<int, double> rank) {
        std::vector<GapItem>& items = m_gaps[GapId(row, g)];
        items.push_back({edge, group, rank, 0.0});
        m_items.emplace_back(GapId(row, g), items.size() - 1);
        return static_cast<int>(m_items.size() - 1);
    }
    GapItem& Item(int id) { return m_gaps[m_items[id].first][m_items[id].second]; }
    double GapLeft(int row, int g) const;
    double GapRight(int row, int g) const;
    int ChooseGap(int row, double ideal);
    bool HasRoom(int row, int g) const;
    int FreeGapAt(int row, double x) const;
    void PlanCrossings(std::size_t k);
    void RankDirectEdges(std::vector<int>& directGap, std::vector<double>& directRank);
    void PlaceGapTracks();
    bool PlaceAtWants(std::vector<GapItem>& items, const std::vector<std::size_t>& order, double lo,
                      double hi) const;
    void AssignTracks(std::vector<Piece>& pieces) const;
    bool OrderTracks(std::vector<Piece>& pieces) const;
    void PackTracks(std::vector<Piece>& pieces) const;
    static void SplitOnCycle(std::vector<Piece>& pieces,
                             const std::vector<std::vector<std::size_t>>& above, double distinct);
    void PlaceChannelTracks();

    const Drawing& m_d;
    double m_unit;
    Rows m_rows;
    std::vector<std::size_t> m_gapBase;
    std::vector<std::vector<GapItem>> m_gaps;
    std::vector<std::pair<int, std::size_t>> m_items; // gap, index
    std::vector<std::vector<Piece>> m_channels;
    std::vector<std::size_t> m_edges;
    std::vector<End> m_sources, m_targets;
    std::vector<EdgePlan> m_plans;
};

double Router::GapLeft(int row, int g) const {
    const Row& r = m_rows.rows[row];
    if (g == 0) {
        return -kInf;
    }
    const DrawnNode& b = m_d.nodes[r.boxes[g - 1]];
    return b.x + b.w / 2;
}

double Router::GapRight(int row, int g) const {
    const Row& r = m_rows.rows[row];
    if (g == static_cast<int>(r.boxes.size())) {
        return kInf;
    }
    const DrawnNode& b = m_d.nodes[r.boxes[g]];
    return b.x - b.w / 2;
}

// Whether gap g of row has room for one more track at the preferred spacing;
// the open outer gaps always have.
bool Router::HasRoom(int row, int g) const {
    if (g == 0 || g == static_cast<int>(m_rows.rows[row].boxes.size())) {
        return true;
    }
    const double width = (GapRight(row, g) - GapLeft(row, g)) / m_unit - 2 * kMargin;
    const double used = static_cast<double>(m_gaps[GapId(row, g)].size());
    return used * kTrack <= width;
}

// The gap of row in which a vertical at x keeps its margin from both boxes and
// that has room for it; -1 when there is none.
int Router::FreeGapAt(int row, double x) const {
    const auto& boxes = m_rows.rows[row].boxes;
    const double margin = kMargin * m_unit;
    const auto g = static_cast<int>(
        std::upper_bound(boxes.begin(), boxes.end(), x,
                         [&](double v, std::size_t b) { return v < m_d.nodes[b].x; }) -
        boxes.begin());
    const bool clear = x >= GapLeft(row, g) + margin && x <= GapRight(row, g) - margin;
    return clear && HasRoom(row, g) ? g : -1;
}

// The gap of row nearest to x = ideal that still has room for one more track at
// the preferred spacing; the open outer gaps always have.
int Router::ChooseGap(int row, double ideal) {
    const int count = static_cast<int>(m_rows.rows[row].boxes.size());
    int lo = 0, hi = count; // first gap whose right end lies beyond ideal
    while (lo < hi) {
        const int mid = (lo + hi) / 2;
        if (GapRight(row, mid) < ideal) {
            lo = mid + 1;
        } else {
            hi = mid;
        }
    }
    auto distance = [&](int g) {
        const double l = GapLeft(row, g), r = GapRight(row, g);
        return ideal < l ? l - ideal : ideal > r ? ideal - r : 0.0;
    };
    auto room = [&](int g) { return HasRoom(row, g); };
    int best = -1;
    for (int g = std::max(0, lo - kGapSearch); g <= std::min(count, lo + kGapSearch); ++g) {
        if (room(g) && (best < 0 || distance(g) < distance(best))) {
            best = g;
        }
    }
    if (best < 0) {
        best = distance(0) <= distance(count) ? 0 : count;
    }
    return best;
}

// Edges between facing sides of neighbours in a row stay inside their gap: a
// horizontal run from each port to a vertical track of the edge's own. Where
// one edge's run from the left box meets another's run into the right box at
// the same height, the first must turn before the second; edges whose
// constraints close a cycle go round through a channel instead (rank -1).
void Router::RankDirectEdges(std::vector<int>& directGap, std::vector<double>& directRank) {
    const std::vector<End>& sources = m_sources;
    const std::vector<End>& targets = m_targets;
    const std::size_t count = m_edges.size();
    const auto& rowOf = m_rows.rowOf;
    const auto& posOf = m_rows.posOf;
    directGap.assign(count, -1);
    std::map<int, std::vector<std::size_t>> byGap;
    for (std::size_t k = 0; k < count; ++k) {
        const End& s = sources[k];
        const End& t = targets[k];
        if (rowOf[s.node] != rowOf[t.node]) {
            continue;
        }
        const int ps = posOf[s.node], pt = posOf[t.node];
        if (s.side == kSideRight && t.side == kSideLeft && pt == ps + 1) {
            directGap[k] = pt;
        } else if (s.side == kSideLeft && t.side == kSideRight && pt + 1 == ps) {
            directGap[k] = ps;
        } else {
            continue;
        }
        if (s.p.y == t.p.y) {
            m_plans[k].straight = true;
        } else {
            byGap[GapId(rowOf[s.node], directGap[k])].push_back(k);
        }
    }
    directRank.assign(count, -1.0);
    const double distinct = kDistinct * m_unit;
    for (const auto& [gap, ks] : byGap) {
        auto leftY = [&](std::size_t k) {
            return sources[k].side == kSideRight ? sources[k].p.y : targets[k].p.y;
        };
        auto rightY = [&](std::size_t k) {
            return sources[k].side == kSideRight ? targets[k].p.y : sources[k].p.y;
        };
        std::vector<std::size_t> waiting(ks.size(), 0);
        for (std::size_t a = 0; a < ks.size(); ++a) {
            for (std::size_t b = 0; b < ks.size(); ++b) {
                if (a != b && std::fabs(leftY(ks[b]) - rightY(ks[a])) < distinct) {
                    ++waiting[a]; // b turns before a
                }
            }
        }
        double order = 0.0;
        for (bool progress = true; progress;) {
            progress = false;
            for (std::size_t a = 0; a < ks.size(); ++a) {
                if (waiting[a] != 0 || directRank[ks[a]] >= 0.0) {
                    continue;
                }
                directRank[ks[a]] = order;
                order += 1.0;
                progress = true;
                for (std::size_t b = 0; b < ks.size(); ++b) {
                    if (b != a && std::fabs(leftY(ks[a]) - rightY(ks[b])) < distinct) {
                        --waiting[b];
                    }
                }
            }
        }
    }
}

void Router::Plan(const std::vector<std::size_t>& edges, const std::vector<End>& sources,
                  const std::vector<End>& targets) {
    m_edges = edges;
    m_sources = sources;
    m_targets = targets;
    m_plans.assign(edges.size(), EdgePlan{});
    const auto& rowOf = m_rows.rowOf;
    const auto& posOf = m_rows.posOf;
    std::vector<int> directGap;
    std::vector<double> directRank;
    RankDirectEdges(directGap, directRank);
    // Stubs of left and right sides next: their gaps are fixed.
    for (std::size_t k = 0; k < edges.size(); ++k) {
        const End& s = sources[k];
        const End& t = targets[k];
        EdgePlan& plan = m_plans[k];
        const int rs = rowOf[s.node], rt = rowOf[t.node];
        if (plan.straight) {
            continue;
        }
        if (directRank[k] >= 0.0) {
            plan.direct = AddGapItem(rs, directGap[k], k, 1, {0, directRank[k]});
            continue;
        }
        // Nearest to the box: the stubs that turn upwards from the top down,
        // then those that turn downwards from the bottom up. Then no stub
        // crosses another's vertical.
        auto stub = [&](const End& e, int row, bool down) {
            const bool right = e.side == kSideRight;
            const int g = posOf[e.node] + (right ? 1 : 0);
            return AddGapItem(row, g, k, right ? 0 : 2, {down ? 1 : 0, down ? -e.p.y : e.p.y});
        };
        const bool sDown =
            s.side == kSideDown || ((s.side == kSideLeft || s.side == kSideRight) && rt >= rs);
        const bool tDown =
            t.side == kSideDown || ((t.side == kSideLeft || t.side == kSideRight) && rs >= rt);
        if (s.side == kSideLeft || s.side == kSideRight) {
            plan.sourceStub = stub(s, rs, sDown);
        }
        if (t.side == kSideLeft || t.side == kSideRight) {
            plan.targetStub = stub(t, rt, tDown);
        }
        plan.sourceChannel = rs + (sDown ? 1 : 0);
        plan.targetChannel = rt + (tDown ? 1 : 0);
    }
    for (std::size_t k = 0; k < edges.size(); ++k) {
        if (!m_plans[k].straight && m_plans[k].direct < 0) {
            PlanCrossings(k);
        }
    }
}

// The rows between an edge's two channels, each crossed through a gap. Where
// a vertical at the x of one of the edge's ends passes every such row clear of
// the boxes, the edge crosses them all there, in one straight line; otherwise
// it keeps its last x while that passes clear, and else takes the gap with room
// nearest to the straight line between its ends.
void Router::PlanCrossings(std::size_t k) {
    EdgePlan& plan = m_plans[k];
    const End& s = m_sources[k];
    const End& t = m_targets[k];
    const int c1 = plan.sourceChannel, c2 = plan.targetChannel;
    const int step = c2 > c1 ? 1 : -1;
    auto rowOf = [&](int c) { return step > 0 ? c : c - 1; };
    auto passes = [&](double x) {
        for (int c = c1; c != c2; c += step) {
            if (FreeGapAt(rowOf(c), x) < 0) {
                return false;
            }
        }
        return true;
    };
    double through = kInf; // one x for every row
    if (plan.sourceStub < 0 && passes(s.p.x)) {
        through = s.p.x;
    } else if (plan.targetStub < 0 && passes(t.p.x)) {
        through = t.p.x;
    }
    double last = plan.sourceStub < 0 ? s.p.x : kInf;
    for (int c = c1; c != c2; c += step) {
        const int row = rowOf(c);
        double ideal = through;
        int g = through != kInf ? FreeGapAt(row, through) : -1;
        if (g < 0 && last != kInf) {
            g = FreeGapAt(row, last);
            ideal = last;
        }
        if (g < 0) {
            const double y = m_rows.rows[row].y;
            const double span = t.p.y - s.p.y;
            const double f = span != 0.0 ? (y - s.p.y) / span : 0.5;
            ideal = s.p.x + std::clamp(f, 0.0, 1.0) * (t.p.x - s.p.x);
            g = ChooseGap(row, ideal);
        }
        const int item = AddGapItem(row, g, k, 1, {1, ideal});
        Item(item).want = ideal;
        plan.crossings.push_back(item);
        last = ideal;
    }
}

double Router::NeededScale() const {
    double scale = 0.0;
    const auto& rows = m_rows.rows;
    for (std::size_t r = 0; r < rows.size(); ++r) {
        const Row& row = rows[r];
        for (std::size_t g = 1; g < row.boxes.size(); ++g) {
            const std::size_t items =
                m_gaps[GapId(static_cast<int>(r), static_cast<int>(g))].size();
            if (items == 0) {
                continue;
            }
            const DrawnNode& a = m_d.nodes[row.boxes[g - 1]];
            const DrawnNode& b = m_d.nodes[row.boxes[g]];
            const double needPx =
                (a.w + b.w) / 2 / m_unit + 2 * kMargin + static_cast<double>(items - 1) * kTrack;
            if (b.x > a.x) {
                scale = std::max(scale, needPx / (b.x - a.x));
            }
        }
    }
    for (std::size_t c = 1; c < rows.size(); ++c) {
        const std::vector<Piece>& pieces = m_channels[c];
        if (pieces.empty()) {
            continue;
        }
        int tracks = 0;
        for (const Piece& p : pieces) {
            tracks = std::max(tracks, p.track + 1);
        }
        const double needPx =
            (rows[c - 1].bottom - rows[c - 1].y + rows[c].y - rows[c].top) / m_unit + 2 * kMargin +
            (tracks - 1) * kTrack;
        scale = std::max(scale, needPx / (rows[c].y - rows[c - 1].y));
    }
    return scale;
}

double Router::LayerStepNeed(bool alongY, double layerSpacing) const {
    double need = 0.0;
    const auto& rows = m_rows.rows;
    if (alongY) {
        for (std::size_t c = 1; c < rows.size(); ++c) {
            int tracks = 0;
            for (const Piece& p : m_channels[c]) {
                tracks = std::max(tracks, p.track + 1);
            }
            const double px =
                (rows[c - 1].bottom - rows[c - 1].y + rows[c].y - rows[c].top) / m_unit +
                2 * kMargin + std::max(0, tracks - 1) * kTrack;
            need = std::max(need, px / std::max(1.0, (rows[c].y - rows[c - 1].y) / layerSpacing));
        }
        return need;
    }
    for (std::size_t r = 0; r < rows.size(); ++r) {
        const Row& row = rows[r];
        for (std::size_t g = 1; g < row.boxes.size(); ++g) {
            const std::size_t items =
                m_gaps[GapId(static_cast<int>(r), static_cast<int>(g))].size();
            const DrawnNode& a = m_d.nodes[row.boxes[g - 1]];
            const DrawnNode& b = m_d.nodes[row.boxes[g]];
            const double px = (a.w + b.w) / 2 / m_unit + 2 * kMargin +
                              static_cast<double>(std::max<std::size_t>(items, 1) - 1) * kTrack;
            need = std::max(need, px / std::max(1.0, (b.x - a.x) / layerSpacing));
        }
    }
    return need;
}

// Places the items of a gap, in the given order, each as near to its wanted x
// as the spacing allows, between lo and hi: stubs of the left box from lo,
// those of the right box from hi, edges without a wish in the middle. False,
// with nothing placed, when no item has a wish or they do not fit.
bool Router::PlaceAtWants(std::vector<GapItem>& items, const std::vector<std::size_t>& order,
                          double lo, double hi) const {
    const double spacing = kTrack * m_unit;
    const double n = static_cast<double>(items.size());
    const bool wish = std::any_of(items.begin(), items.end(),
                                  [](const GapItem& item) { return !std::isnan(item.want); });
    if (!wish || (n - 1) * spacing > hi - lo) {
        return false;
    }
    const double middle = lo == -kInf ? hi : hi == kInf ? lo : lo + (hi - lo) / 2;
    std::vector<double> x(order.size());
    for (std::size_t k = 0; k < order.size(); ++k) {
        const GapItem& item = items[order[k]];
        const double want = item.group == 0         ? lo
                            : item.group == 2       ? hi
                            : std::isnan(item.want) ? middle
                                                    : std::clamp(item.want, lo, hi);
        x[k] = k == 0 ? want : std::max(want, x[k - 1] + spacing);
    }
    for (std::size_t k = order.size(); k-- > 0;) {
        x[k] = std::min(x[k], k + 1 == order.size() ? hi : x[k + 1] - spacing);
        items[order[k]].x = x[k];
    }
    return true;
}

void Router::PlaceGapTracks() {
    const auto& rows = m_rows.rows;
    for (std::size_t r = 0; r < rows.size(); ++r) {
        const int count = static_cast<int>(rows[r].boxes.size());
        for (int g = 0; g <= count; ++g) {
            std::vector<GapItem>& items = m_gaps[GapId(static_cast<int>(r), g)];
            if (items.empty()) {
                continue;
            }
            std::vector<std::size_t> order(items.size());
            std::iota(order.begin(), order.end(), 0);
            std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
                const GapItem& p = items[a];
                const GapItem& q = items[b];
                if (p.group != q.group) {
                    return p.group < q.group;
                }
                return p.group == 2 ? p.rank > q.rank : p.rank < q.rank;
            });
            const double left = GapLeft(static_cast<int>(r), g);
            const double right = GapRight(static_cast<int>(r), g);
            const double margin = kMargin * m_unit;
            if (PlaceAtWants(items, order, left + margin, right - margin)) {
                continue;
            }
            const double n = static_cast<double>(items.size());
            double first = 0.0, spacing = kTrack * m_unit;
            if (g == 0) {
                first = right - margin - (n - 1) * spacing;
            } else if (g == count) {
                first = left + margin;
            } else {
                const double room = right - left - 2 * margin;
                if (n > 1) {
                    spacing = std::min(spacing, room / (n - 1));
                }
                first = (left + right) / 2 - spacing * (n - 1) / 2;
            }
            for (std::size_t k = 0; k < order.size(); ++k) {
                items[order[k]].x = first + spacing * static_cast<double>(k);
            }
        }
    }
}

// Which unplaced pieces of a channel must lie above which: a piece whose end
// drops from above at x lies above a piece whose end rises from below near x,
// or their verticals would share a stretch.
void Constraints(const std::vector<Piece>& pieces, double distinct,
                 std::vector<std::vector<std::size_t>>& above,
                 std::vector<std::vector<std::size_t>>& below) {
    struct EndAt {
        double x;
        std::size_t piece;
    };
    std::vector<EndAt> ups, downs;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (pieces[i].track >= 0) {
            continue;
        }
        for (const auto& [x, kind] : {std::make_pair(pieces[i].x1, pieces[i].kind1),
                                      std::make_pair(pieces[i].x2, pieces[i].kind2)}) {
            if (kind == kUp) {
                ups.push_back({x, i});
            } else if (kind == kDown) {
                downs.push_back({x, i});
            }
        }
    }
    auto byX = [](const EndAt& a, const EndAt& b) { return a.x < b.x; };
    std::sort(ups.begin(), ups.end(), byX);
    std::sort(downs.begin(), downs.end(), byX);
    above.assign(pieces.size(), {});
    below.assign(pieces.size(), {});
    std::size_t from = 0;
    for (const EndAt& dn : downs) {
        while (from < ups.size() && ups[from].x <= dn.x - distinct) {
            ++from;
        }
        for (std::size_t u = from; u < ups.size() && ups[u].x < dn.x + distinct; ++u) {
            if (ups[u].piece != dn.piece) {
                above[dn.piece].push_back(ups[u].piece);
                below[ups[u].piece].push_back(dn.piece);
            }
        }
    }
}

// Where a piece goes in the top-to-bottom order that crosses least. Runs
// whose both ends rise go on top, the shortest (innermost) first, so that
// brackets nest; runs whose both ends drop go at the bottom, the shortest
// last. A run from above to below crosses another such run going the same
// way only if it lies on the wrong side of it: those going right are stacked
// from the rightmost start down, those going left from the leftmost start.
// A run going right and one going left cross once in either order when they
// overlap, so the two stacks interleave by their rank.
std::vector<double> OrderKeys(const std::vector<Piece>& pieces, std::vector<int>& cls) {
    const std::size_t n = pieces.size();
    std::vector<double> key(n, 0.0);
    cls.assign(n, 1);
    std::vector<std::size_t> right, left;
    for (std::size_t i = 0; i < n; ++i) {
        const Piece& p = pieces[i];
        const double length = p.Hi() - p.Lo();
        if (p.kind1 == kUp && p.kind2 == kUp) {
            cls[i] = 0;
            key[i] = length;
        } else if (p.kind1 == kDown && p.kind2 == kDown) {
            cls[i] = 2;
            key[i] = -length;
        } else {
            const bool upFirst = p.kind1 == kUp;
            const double u = upFirst ? p.x1 : p.x2, d = upFirst ? p.x2 : p.x1;
            key[i] = u;
            (u <= d ? right : left).push_back(i);
        }
    }
    auto rank = [&](std::vector<std::size_t>& family, bool descending) {
        std::stable_sort(family.begin(), family.end(), [&](std::size_t a, std::size_t b) {
            return descending ? key[a] > key[b] : key[a] < key[b];
        });
        for (std::size_t r = 0; r < family.size(); ++r) {
            key[family[r]] = (static_cast<double>(r) + 0.5) / static_cast<double>(family.size());
        }
    };
    rank(right, true);
    rank(left, false);
    return key;
}

// The highest track index among placed intervals of a compressed line, with
// raising a range to at least a value: a segment tree whose node tags hold the
// value raised over its whole range.
class TrackLine {
public:
    explicit TrackLine(std::size_t n)
        : m_n(std::max<std::size_t>(n, 1)), m_max(4 * m_n, -1), m_tag(4 * m_n, -1) {}
    int Max(std::size_t lo, std::size_t hi) const { return Max(1, 0, m_n - 1, lo, hi); }
    void Raise(std::size_t lo, std::size_t hi, int v) { Raise(1, 0, m_n - 1, lo, hi, v); }

private:
    int Max(std::size_t node, std::size_t l, std::size_t r, std::size_t lo, std::size_t hi) const {
        if (hi < l || r < lo) {
            return -1;
        }
        if (lo <= l && r <= hi) {
            return m_max[node];
        }
        const std::size_t m = (l + r) / 2;
        return std::max(
            {m_tag[node], Max(2 * node, l, m, lo, hi), Max(2 * node + 1, m + 1, r, lo, hi)});
    }
    void Raise(std::size_t node, std::size_t l, std::size_t r, std::size_t lo, std::size_t hi,
               int v) {
        if (hi < l || r < lo) {
            return;
        }
        m_max[node] = std::max(m_max[node], v);
        if (lo <= l && r <= hi) {
            m_tag[node] = std::max(m_tag[node], v);
            return;
        }
        const std::size_t m = (l + r) / 2;
        Raise(2 * node, l, m, lo, hi, v);
        Raise(2 * node + 1, m + 1, r, lo, hi, v);
    }
    std::size_t m_n;
    std::vector<int> m_max, m_tag;
};

} // namespace

// Tracks of one channel, numbered from the top, in the order of OrderKeys as
// far as the constraints allow; each piece goes one track below the lowest
// piece before it that it would touch, so pieces that keep apart share a
// track. False, with nothing placed, when the constraints close a cycle.
bool Router::OrderTracks(std::vector<Piece>& pieces) const {
    const double distinct = kDistinct * m_unit;
    const std::size_t n = pieces.size();
    std::vector<std::vector<std::size_t>> above, below;
    Constraints(pieces, distinct, above, below);
    std::vector<int> cls;
    const std::vector<double> key = OrderKeys(pieces, cls);
    auto later = [&](std::size_t a, std::size_t b) { // a after b in the heap
        if (cls[a] != cls[b]) {
            return cls[a] > cls[b];
        }
        return key[a] != key[b] ? key[a] > key[b] : a > b;
    };
    std::vector<std::size_t> waiting(n), heap, order;
    for (std::size_t i = 0; i < n; ++i) {
        waiting[i] = above[i].size();
        if (waiting[i] == 0) {
            heap.push_back(i);
        }
    }
    std::make_heap(heap.begin(), heap.end(), later);
    while (!heap.empty()) {
        std::pop_heap(heap.begin(), heap.end(), later);
        const std::size_t i = heap.back();
        heap.pop_back();
        order.push_back(i);
        for (std::size_t j : below[i]) {
            if (--waiting[j] == 0) {
                heap.push_back(j);
                std::push_heap(heap.begin(), heap.end(), later);
            }
        }
    }
    if (order.size() != n) {
        return false;
    }
    std::vector<double> xs;
    for (const Piece& p : pieces) {
        xs.push_back(p.Lo());
        xs.push_back(p.Hi() + distinct);
    }
    std::sort(xs.begin(), xs.end());
    xs.erase(std::unique(xs.begin(), xs.end()), xs.end());
    auto at = [&](double x) {
        return static_cast<std::size_t>(std::lower_bound(xs.begin(), xs.end(), x) - xs.begin());
    };
    TrackLine line(xs.size());
    for (std::size_t i : order) {
        const std::size_t lo = at(pieces[i].Lo()), hi = at(pieces[i].Hi() + distinct);
        pieces[i].track = line.Max(lo, hi) + 1;
        line.Raise(lo, hi, pieces[i].track);
    }
    return true;
}

// Tracks of one channel in crossing order; when the constraints close a cycle,
// a constrained left-edge packing that splits a piece on the cycle at a free
// x into two pieces joined by a vertical jog.
void Router::AssignTracks(std::vector<Piece>& pieces) const {
    if (!OrderTracks(pieces)) {
        PackTracks(pieces);
    }
}

void Router::PackTracks(std::vector<Piece>& pieces) const {
    const double distinct = kDistinct * m_unit;
    while (true) {
        std::vector<std::vector<std::size_t>> above, below;
        Constraints(pieces, distinct, above, below);
        int track = 0;
        for (const Piece& p : pieces) {
            track = std::max(track, p.track + 1);
        }
        std::vector<std::size_t> waiting(pieces.size(), 0);
        std::size_t left = 0;
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            if (pieces[i].track < 0) {
                waiting[i] = above[i].size();
                ++left;
            }
        }
        std::vector<std::size_t> ready;
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            if (pieces[i].track < 0 && waiting[i] == 0) {
                ready.push_back(i);
            }
        }
        while (!ready.empty()) {
            std::sort(ready.begin(), ready.end(), [&](std::size_t a, std::size_t b) {
                return pieces[a].Lo() != pieces[b].Lo() ? pieces[a].Lo() < pieces[b].Lo() : a < b;
            });
            std::vector<std::size_t> next, placed;
            double reach = -kInf;
            for (std::size_t i : ready) {
                if (pieces[i].Lo() > reach + distinct) {
                    pieces[i].track = track;
                    reach = pieces[i].Hi();
                    placed.push_back(i);
                } else {
                    next.push_back(i);
                }
            }
            for (std::size_t i : placed) {
                --left;
                for (std::size_t j : below[i]) {
                    if (--waiting[j] == 0) {
                        next.push_back(j);
                    }
                }
            }
            ready = std::move(next);
            ++track;
        }
        if (left == 0) {
            return;
        }
        SplitOnCycle(pieces, above, distinct);
    }
}

// Walks up the constraints from a waiting piece until one repeats, and splits
// that piece at the free x nearest to its middle.
void Router::SplitOnCycle(std::vector<Piece>& pieces,
                          const std::vector<std::vector<std::size_t>>& above, double distinct) {
    std::size_t at = 0;
    while (pieces[at].track >= 0) {
        ++at;
    }
    std::vector<char> seen(pieces.size(), 0);
    while (!seen[at]) {
        seen[at] = 1;
        for (std::size_t j : above[at]) {
            if (pieces[j].track < 0) {
                at = j;
                break;
            }
        }
    }
    std::vector<double> xs;
    for (const Piece& p : pieces) {
        xs.push_back(p.x1);
        xs.push_back(p.x2);
    }
    std::sort(xs.begin(), xs.end());
    Piece& p = pieces[at];
    const double mid = (p.x1 + p.x2) / 2;
    double jog = xs.front() - 2 * distinct;
    auto consider = [&](double x) {
        if (std::fabs(x - mid) < std::fabs(jog - mid)) {
            jog = x;
        }
    };
    consider(xs.back() + 2 * distinct);
    for (std::size_t k = 1; k < xs.size(); ++k) {
        if (xs[k] - xs[k - 1] >= 2 * distinct) {
            consider(std::clamp(mid, xs[k - 1] + distinct, xs[k] - distinct));
        }
    }
    Piece second = p;
    p.x2 = jog;
    p.kind2 = kFree;
    p.next = static_cast<int>(pieces.size());
    second.x1 = jog;
    second.kind1 = kFree;
    pieces.push_back(second);
}

namespace {

void Router::PlaceChannelTracks() {
    const auto& rows = m_rows.rows;
    const double margin = kMargin * m_unit;
    for (std::size_t c = 0; c < m_channels.size(); ++c) {
        std::vector<Piece>& pieces = m_channels[c];
        int tracks = 0;
        for (const Piece& p : pieces) {
            tracks = std::max(tracks, p.track + 1);
        }
        if (tracks == 0) {
            continue;
        }
        const double n = tracks;
        double first = 0.0, spacing = kTrack * m_unit;
        if (c == 0) {
            first = rows.front().top - margin - (n - 1) * spacing;
        } else if (c == rows.size()) {
            first = rows.back().bottom + margin;
        } else {
            const double top = rows[c - 1].bottom, bottom = rows[c].top;
            if (n > 1) {
                spacing = std::min(spacing, (bottom - top - 2 * margin) / (n - 1));
            }
            first = (top + bottom) / 2 - spacing * (n - 1) / 2;
        }
        for (Piece& p : pieces) {
            p.y = first + spacing * p.track;
        }
    }
}

// Drops repeated points and the middle one of three on a line.
std::vector<Point> Simplify(const std::vector<Point>& points) {
    std::vector<Point> out;
    for (const Point& p : points) {
        if (!out.empty() && out.back().x == p.x && out.back().y == p.y) {
            continue;
        }
        if (out.size() >= 2) {
            const Point& a = out[out.size() - 2];
            const Point& b = out.back();
            if ((a.x == b.x && b.x == p.x) || (a.y == b.y && b.y == p.y)) {
                out.back() = p;
                continue;
            }
        }
        out.push_back(p);
    }
    return out;
}

} // namespace

Point PortPoint(const DrawnNode& b, int side, int slot, int count, int port) {
    const DrawnCell* cell = FieldOf(b, port);
    if (cell != nullptr && Touches(b, *cell, side)) {
        return FieldPoint(b, *cell, side);
    }
    count = std::max(count, slot + 1);
    const double t = static_cast<double>(slot + 1) / (count + 1);
    const double left = b.x - b.w / 2;
    const double top = b.y - b.h / 2;
    switch (side) {
    case kSideUp:
        return {left + t * b.w, top};
    case kSideDown:
        return {left + t * b.w, top + b.h};
    case kSideRight:
        return {left + b.w, top + t * b.h};
    default:
        return {left, top + t * b.h};
    }
}

namespace {

// The ends of the given edges; an end without a side faces the other end.
void EdgeEnds(const Request& request, const Result& result, const Drawing& d,
              const std::vector<std::size_t>& edges, std::vector<End>& sources,
              std::vector<End>& targets) {
    for (std::size_t j : edges) {
        const std::size_t source = request.sources[j];
        const std::size_t target = request.targets[j];
        auto end = [&](std::size_t node, const PortPlace& place, std::size_t other,
                       const std::vector<int>& names) {
            End out;
            out.node = node;
            const int name = j < names.size() ? names[j] : kNoPort;
            if (place.side >= 0) {
                out.side = place.side;
                out.p = PortPoint(d.nodes[node], place.side, place.slot,
                                  result.sideCounts[node][place.side], name);
            } else {
                const DrawnNode& a = d.nodes[node];
                const DrawnNode& b = d.nodes[other];
                out.side = b.y > a.y   ? kSideDown
                           : b.y < a.y ? kSideUp
                           : b.x < a.x ? kSideLeft
                                       : kSideRight;
                out.p = PortPoint(a, out.side, 0, 1, name);
            }
            return out;
        };
        sources.push_back(end(source, result.sourcePlace[j], target, request.sourcePorts));
        targets.push_back(end(target, result.targetPlace[j], source, request.targetPorts));
    }
}

// Whether to route a layered drawing mirrored on its diagonal: when its
// layers run along x (left-to-right and right-to-left grids) and it has so
// many rows that every edge would climb through hundreds of one-node rows.
// Mirrored, the layers are the rows; the ports the layout put on the boxes'
// up and down sides then face the gaps, which costs a few bends per edge, so
// small drawings stay in their own frame, where they route better.
bool RouteMirrored(const Result& result) {
    constexpr std::size_t kManyRows = 256;
    std::vector<double> xs = result.x, ys = result.y;
    for (auto* v : {&xs, &ys}) {
        std::sort(v->begin(), v->end());
        v->erase(std::unique(v->begin(), v->end()), v->end());
    }
    return ys.size() > kManyRows && 4 * xs.size() < ys.size();
}

// The side a port is on once x and y are swapped: up and left trade places,
// and so do down and right.
int TransposedSide(int side) {
    switch (side) {
    case kSideUp:
        return kSideLeft;
    case kSideLeft:
        return kSideUp;
    case kSideDown:
        return kSideRight;
    case kSideRight:
        return kSideDown;
    default:
        return side;
    }
}

// A result and a drawing mirrored on the diagonal (x and y swapped), so that
// layers running along x become rows the router knows: it works on rows that
// share a y. Mirroring twice gives the original back exactly.
Result Transposed(const Result& r) {
    Result t = r;
    std::swap(t.x, t.y);
    for (std::size_t i = 0; i < t.sideCounts.size(); ++i) {
        for (int side = 0; side < kSideCount; ++side) {
            t.sideCounts[i][static_cast<std::size_t>(TransposedSide(side))] =
                r.sideCounts[i][static_cast<std::size_t>(side)];
        }
        for (NodePort& port : t.ports[i]) {
            port.side = TransposedSide(port.side);
        }
    }
    for (auto* places : {&t.sourcePlace, &t.targetPlace}) {
        for (PortPlace& place : *places) {
            place.side = TransposedSide(place.side);
        }
    }
    return t;
}

Point Transposed(const Point& p) {
    return {p.y, p.x};
}

// What the router reads of a drawing: its boxes' places and sizes, mirrored
// on the diagonal or not, and the places of their record fields (where ports
// meet them); labels and paths are left out, and the edges are there, empty,
// for the router to draw into. A cheap copy at any size.
Drawing RouterBoxes(const Drawing& d, bool transpose) {
    Drawing t;
    t.scale = d.scale;
    t.pixel = d.pixel;
    t.orthogonal = d.orthogonal;
    t.nodes.resize(d.nodes.size());
    for (std::size_t i = 0; i < d.nodes.size(); ++i) {
        const DrawnNode& a = d.nodes[i];
        DrawnNode& b = t.nodes[i];
        b.x = transpose ? a.y : a.x;
        b.y = transpose ? a.x : a.y;
        b.w = transpose ? a.h : a.w;
        b.h = transpose ? a.w : a.h;
        for (const DrawnCell& c : a.cells) {
            if (c.port != kNoPort) {
                DrawnCell& f = b.cells.emplace_back();
                f.x = transpose ? c.y : c.x;
                f.y = transpose ? c.x : c.y;
                f.w = transpose ? c.h : c.w;
                f.h = transpose ? c.w : c.h;
                f.port = c.port;
            }
        }
    }
    t.edges.resize(d.edges.size());
    return t;
}

// The edges the hierarchy drawing routes: all but self-loops without sides.
std::vector<std::size_t> RoutedEdges(const Request& request, const Result& result) {
    std::vector<std::size_t> edges;
    for (std::size_t j = 0; j < request.EdgeCount(); ++j) {
        if (request.sources[j] != request.targets[j] || result.sourcePlace[j].side >= 0) {
            edges.push_back(j);
        }
    }
    return edges;
}

// Routes the listed edges of d between their ends and draws them into d,
// then hands the router to `read` for what its plan found (a scale, a layer
// step); returns what `read` returns.
template <class Read>
auto RouteInto(const Request& request, const Result& result, Drawing& d, double unit,
               const std::vector<std::size_t>& edges, Read read) {
    std::vector<End> sources, targets;
    EdgeEnds(request, result, d, edges, sources, targets);
    Router router(d, unit);
    router.Plan(edges, sources, targets);
    router.Draw(d);
    return read(router);
}

} // namespace

void Router::Draw(Drawing& d) {
    PlaceGapTracks();
    // Pieces per channel, in the order the edge runs.
    for (auto& pieces : m_channels) {
        pieces.clear();
    }
    for (std::size_t k = 0; k < m_edges.size(); ++k) {
        EdgePlan& plan = m_plans[k];
        plan.pieces.clear();
        if (plan.straight || plan.direct >= 0) {
            continue;
        }
        const End& s = m_sources[k];
        const End& t = m_targets[k];
        // The channel c met from row r: from above when r is c - 1.
        auto kindOf = [](int channel, int row) { return row == channel - 1 ? kUp : kDown; };
        double x = plan.sourceStub >= 0 ? Item(plan.sourceStub).x : s.p.x;
        Kind kind = kindOf(plan.sourceChannel, m_rows.rowOf[s.node]);
        int c = plan.sourceChannel;
        const int step = plan.targetChannel > c ? 1 : -1;
        for (int item : plan.crossings) {
            const double gx = Item(item).x;
            const int row = step > 0 ? c : c - 1;
            m_channels[c].push_back({k, x, gx, kind, kindOf(c, row)});
            plan.pieces.emplace_back(c, m_channels[c].size() - 1);
            c += step;
            x = gx;
            kind = kindOf(c, row);
        }
        const double tx = plan.targetStub >= 0 ? Item(plan.targetStub).x : t.p.x;
        m_channels[c].push_back({k, x, tx, kind, kindOf(c, m_rows.rowOf[t.node])});
        plan.pieces.emplace_back(c, m_channels[c].size() - 1);
    }
    for (std::size_t c = 0; c < m_channels.size(); ++c) {
        AssignTracks(m_channels[c]);
    }
    PlaceChannelTracks();
    for (std::size_t k = 0; k < m_edges.size(); ++k) {
        const EdgePlan& plan = m_plans[k];
        const End& s = m_sources[k];
        const End& t = m_targets[k];
        std::vector<Point> points{s.p};
        if (plan.direct >= 0) {
            const double gx = Item(plan.direct).x;
            points.push_back({gx, s.p.y});
            points.push_back({gx, t.p.y});
        } else if (!plan.straight) {
            if (plan.sourceStub >= 0) {
                points.push_back({Item(plan.sourceStub).x, s.p.y});
            }
            for (const auto& [c, first] : plan.pieces) {
                for (int i = static_cast<int>(first); i >= 0; i = m_channels[c][i].next) {
                    const Piece& p = m_channels[c][i];
                    points.push_back({p.x1, p.y});
                    points.push_back({p.x2, p.y});
                }
            }
            if (plan.targetStub >= 0) {
                points.push_back({Item(plan.targetStub).x, t.p.y});
            }
        }
        points.push_back(t.p);
        d.edges[m_edges[k]].kind = PathKind::Polyline;
        d.edges[m_edges[k]].points = Simplify(points);
    }
}

double RoutingScale(const Request& request, const Result& result, const Drawing& d) {
    if (RouteMirrored(result)) {
        return RoutingScale(request, Transposed(result), RouterBoxes(d, true));
    }
    // Plan at the boxes' own clearing scale, in layout units.
    Drawing atScale = RouterBoxes(d, false);
    const double unit = 1.0 / d.scale;
    for (DrawnNode& b : atScale.nodes) {
        b.w *= unit;
        b.h *= unit;
    }
    return RouteInto(request, result, atScale, unit, RoutedEdges(request, result),
                     [](const Router& router) { return router.NeededScale(); });
}

int FittingLayerSpacing(const Request& request, const Result& result, const Drawing& d,
                        int layerSpacing) {
    // Layers lie along y when the nodes of each grid row of a component share a y.
    std::map<std::pair<int, int>, double> yOfRow, xOfRow;
    bool alongY = true, alongX = true;
    for (std::size_t i = 0; i < result.x.size(); ++i) {
        const std::pair<int, int> row{result.component[i], result.row[i]};
        alongY = alongY && yOfRow.emplace(row, result.y[i]).first->second == result.y[i];
        alongX = alongX && xOfRow.emplace(row, result.x[i]).first->second == result.x[i];
    }
    if (!alongY && !alongX) {
        return layerSpacing;
    }
    const double unit = d.pixel; // layout units per pixel at the drawing's own scale
    // At least the largest box across the layers plus room for the edges' slopes.
    double need = 0.0;
    for (const DrawnNode& b : d.nodes) {
        need = std::max(need, (alongY ? b.h : b.w) / unit + 4 * kMargin);
    }
    if (d.orthogonal) {
        // Routed as RouteEdges routes it, mirrored or not.
        const bool mirror = RouteMirrored(result);
        const Result mirrored = mirror ? Transposed(result) : Result();
        const Result& r = mirror ? mirrored : result;
        Drawing routed = RouterBoxes(d, mirror);
        const bool rowsAlongY = alongY != mirror;
        need = std::max(need, RouteInto(request, r, routed, unit, RoutedEdges(request, r),
                                        [&](const Router& router) {
                                            return router.LayerStepNeed(rowsAlongY, layerSpacing);
                                        }));
    }
    const double spacing = std::ceil(need * unit);
    return static_cast<int>(std::clamp(spacing, static_cast<double>(kLayerSpacingLimit.low),
                                       static_cast<double>(kLayerSpacingLimit.high)));
}

void RouteEdges(const Request& request, const Result& result, Drawing& d,
                const std::vector<std::size_t>& edges) {
    if (RouteMirrored(result)) {
        Drawing t = RouterBoxes(d, true);
        RouteEdges(request, Transposed(result), t, edges);
        for (std::size_t j : edges) {
            d.edges[j].kind = t.edges[j].kind;
            d.edges[j].points.clear();
            for (const Point& p : t.edges[j].points) {
                d.edges[j].points.push_back(Transposed(p));
            }
        }
        return;
    }
    RouteInto(request, result, d, 1.0 / d.scale, edges, [](const Router&) { return 0; });
}

} // namespace netloom::front
