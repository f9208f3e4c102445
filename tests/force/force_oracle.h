#pragma once

// Straightforward versions of the quadrant tree and the force-directed
// iteration: cells made with new, recursive insertion and descent, pair
// strengths looked up in the parent graph at every leaf, forces through the
// CNode operations. The library's pooled tree and flat working copy must agree
// with these to the last bit.

#include <netloom/netloom.h>

#include <memory>

namespace force_oracle {

inline int Trunc(double v) {
    return static_cast<int>(v); // the tests keep positions well inside the int range
}

struct Cell {
    std::unique_ptr<Cell> children[4];
    int count = 0;
    double cx = 0.0;
    double cy = 0.0;
    CRect rect;
    CNode* node = nullptr;
};

class Tree {
public:
    explicit Tree(CConnectedGraph& graph) : m_graph(graph) {
        const auto& nodes = graph.GetNodeMap();
        CRect r = graph.GetBoundRect();
        auto it = nodes.begin();
        m_root = MakeLeaf(it->second);
        if (r.Width() > r.Height()) {
            r.bottom += r.Width() - r.Height();
        } else {
            r.right += r.Height() - r.Width();
        }
        m_root->rect = r;
        for (++it; it != nodes.end(); ++it) {
            Insert(it->second, m_root.get());
        }
        Prune(m_root.get());
        Center(m_root.get());
    }

    const Cell* Root() const { return m_root.get(); }

    void Sum(CNode* node, const Cell* cell, double& fx, double& fy) const {
        if (cell == nullptr) {
            return;
        }
        double tx = 0.0;
        double ty = 0.0;
        if (cell->count == 1) {
            double k = g_dLayoutDistanceSqr;
            if (cell->node != nullptr) {
                k = m_graph.FindEdgeSqrLenInParent(node->GetID(), cell->node->GetID());
            }
            node->Coulumb_repulsion(cell->cx, cell->cy, tx, ty, k);
            fx += tx;
            fy += ty;
            return;
        }
        const double d2 = (cell->cx - node->X()) * (cell->cx - node->X()) +
                          (cell->cy - node->Y()) * (cell->cy - node->Y());
        const int s = (cell->rect.Width() + cell->rect.Height()) / 2;
        const double s2 = static_cast<double>(s) * s;
        if (d2 > s2) {
            node->Coulumb_repulsion(cell->cx, cell->cy, tx, ty, g_dLayoutDistanceSqr);
            tx *= cell->count;
            ty *= cell->count;
            fx += tx;
            fy += ty;
        } else if (cell->rect.Width() >= 2) {
            for (const auto& child : cell->children) {
                Sum(node, child.get(), fx, fy);
            }
        }
    }

private:
    static std::unique_ptr<Cell> MakeLeaf(CNode* node) {
        auto cell = std::make_unique<Cell>();
        cell->node = node;
        cell->cx = node->X();
        cell->cy = node->Y();
        cell->count = 1;
        return cell;
    }

    static Cell* FindChild(int x, int y, Cell* cell) {
        for (auto& child : cell->children) {
            if (child && child->rect.PtInRect(x, y)) {
                return child.get();
            }
        }
        return cell->children[0].get();
    }

    static void Split(Cell* cell) {
        const CRect& r = cell->rect;
        const int mx = r.left + r.Width() / 2;
        const int my = r.top + r.Height() / 2;
        const CRect q[4] = {CRect(r.left, r.top, mx, my), CRect(mx, r.top, r.right, my),
                            CRect(mx, my, r.right, r.bottom), CRect(r.left, my, mx, r.bottom)};
        for (int i = 0; i < 4; ++i) {
            cell->children[i] = std::make_unique<Cell>();
            cell->children[i]->rect = q[i];
        }
    }

    static void Insert(CNode* node, Cell* cell) {
        const int x = Trunc(node->X());
        const int y = Trunc(node->Y());
        if (cell->count >= 2) {
            cell->count += 1;
            if (cell->rect.Width() >= 2) {
                Insert(node, FindChild(x, y, cell));
            }
        } else if (cell->count == 1) {
            if (cell->rect.Width() >= 2) {
                Split(cell);
                cell->count += 1;
                Cell* held = FindChild(Trunc(cell->cx), Trunc(cell->cy), cell);
                held->cx = cell->cx;
                held->cy = cell->cy;
                held->count = 1;
                held->node = cell->node;
                cell->node = nullptr;
                Insert(node, FindChild(x, y, cell));
            } else {
                cell->count += 1;
            }
        } else {
            cell->node = node;
            cell->cx = node->X();
            cell->cy = node->Y();
            cell->count = 1;
        }
    }

    static void Prune(Cell* cell) {
        for (auto& child : cell->children) {
            if (!child) {
                continue;
            }
            if (child->count == 0) {
                child.reset();
            } else {
                Prune(child.get());
            }
        }
    }

    static void Center(Cell* cell) {
        if (cell->count <= 1) {
            return;
        }
        if (cell->rect.Width() < 2) {
            cell->cx = cell->rect.left + 1;
            cell->cy = cell->rect.top + 1;
            return;
        }
        cell->cx = 0.0;
        cell->cy = 0.0;
        for (auto& child : cell->children) {
            if (child) {
                Center(child.get());
                cell->cx += child->count * child->cx;
                cell->cy += child->count * child->cy;
            }
        }
        cell->cx /= cell->count;
        cell->cy /= cell->count;
    }

    CConnectedGraph& m_graph;
    std::unique_ptr<Cell> m_root;
};

// The iteration as written, on the node objects, for at most maxIterations.
// Returns the iteration count.
inline int ForceDirected(CConnectedGraph& graph, bool fixedLayout, double& energyOut,
                         int maxIterations = 1500) {
    const auto& nodes = graph.GetNodeMap();
    if (nodes.size() <= 1) {
        return 0;
    }
    if (!fixedLayout) {
        graph.RadiantLayout();
    }
    double step = 0.5;
    double best = 99999999999.0;
    int stall = 0;
    int iterations = 0;
    for (int it = 0; it < maxIterations; ++it) {
        ++iterations;
        double energy = 0.0;
        Tree tree(graph);
        for (const auto& entry : nodes) {
            CNode* node = entry.second;
            if (node->IsFixed()) {
                continue;
            }
            double fx = 0.0;
            double fy = 0.0;
            double tx = 0.0;
            double ty = 0.0;
            tree.Sum(node, tree.Root(), tx, ty);
            fx += tx;
            fy += ty;
            node->Hook_attractions(tx, ty);
            fx += tx;
            fy += ty;
            node->Accelerate(step, 0.6, fx, fy);
        }
        for (const auto& entry : nodes) {
            CNode* node = entry.second;
            if (node->IsFixed()) {
                continue;
            }
            node->Move(step);
            energy += node->GetEnergy();
        }
        energyOut = energy;
        if (energy < static_cast<int>(nodes.size()) / 2) {
            break;
        }
        if (energy < best) {
            best = energy;
            stall = 0;
        } else {
            stall += 1;
        }
        if (stall >= 10) {
            step = step / 2.0;
            stall = 0;
        }
    }
    return iterations;
}

} // namespace force_oracle
