#include "layered/layered_workspace.h"

#include "graph/truncate.h"
#include "layered/column_limit.h"

#include <algorithm>
#include <cstdint>

// The three passes are depth-first walks. They run on explicit stacks of
// frames, each frame holding what a recursive call would keep on the call stack,
// so a path of a million nodes needs no deep recursion; the order of work is
// that of the recursive description.

bool CLayeredLayout::AssignGridPositions() {
    // Where each side starts: its first node, that node's row and the direction
    // in which the rows grow.
    struct Side {
        CLayerNode* node;
        int row;
        int dir;
    };
    std::vector<Side> sides;
    if (!m_pRoot->m_vecChildren.empty() && m_pRoot->m_vecChildren.front()->m_iID < 0) {
        // Two-sided: the first group node grows upward, the others downward.
        const int base = m_iMaxLevel;
        for (CLayerNode* group : m_pRoot->m_vecChildren) {
            const bool first = sides.empty();
            sides.push_back(Side{group, first ? base : base - 1, first ? -1 : 1});
        }
    } else {
        sides.push_back(Side{m_pRoot, -1, 1});
    }
    RowTable table;
    NewVisitStamp();
    for (const Side& side : sides) {
        side.node->m_iRow = side.row;
        AssignRowsAndCount(side.node, side.dir, table);
    }
    NewVisitStamp();
    for (const Side& side : sides) {
        ComputeRowCapacity(side.node, table);
    }
    NewVisitStamp();
    for (const Side& side : sides) {
        side.node->m_iRow = side.row;
        AssignColumns(side.node, side.dir, 0);
    }
    return true;
}

// Rows: parentless same-level neighbours share the row of the node they are
// reached from, children take the next row in direction dir. Counts the nodes
// of each row.
void CLayeredLayout::AssignRowsAndCount(CLayerNode* node, int dir, RowTable& table) {
    if (node == nullptr) {
        return;
    }
    struct Frame {
        CLayerNode* node;
        LayerNodeSet::const_iterator sibling;
        std::size_t child;
        bool inChildren;
    };
    const netloom::layered::PassMark stamp = CurrentVisitStamp();
    std::vector<Frame> stack;
    auto enter = [&](CLayerNode* v) {
        if (!v->m_setSiblings.empty()) {
            table[v->m_iRow];
        }
        stack.push_back(Frame{v, v->m_setSiblings.begin(), 0, false});
    };
    enter(node);
    while (!stack.empty()) {
        Frame& f = stack.back();
        CLayerNode* v = f.node;
        if (!f.inChildren) {
            CLayerNode* next = nullptr;
            while (f.sibling != v->m_setSiblings.end()) {
                CLayerNode* p = *f.sibling++;
                if (p != nullptr && !stamp.Holds(p->m_iVisitStamp) && p->m_vecParents.empty()) {
                    next = p;
                    break;
                }
            }
            if (next != nullptr) {
                stamp.Set(next->m_iVisitStamp);
                next->m_iRow = v->m_iRow;
                ++table[v->m_iRow].count;
                enter(next); // may move the stack: f is not used below
                continue;
            }
            f.inChildren = true;
            if (!v->m_vecChildren.empty()) {
                table[v->m_iRow + dir];
            }
        }
        CLayerNode* next = nullptr;
        while (f.child < v->m_vecChildren.size()) {
            CLayerNode* k = v->m_vecChildren[f.child++];
            if (!stamp.Holds(k->m_iVisitStamp)) {
                next = k;
                break;
            }
        }
        if (next == nullptr) {
            stack.pop_back();
            continue;
        }
        const int row = v->m_iRow + dir;
        stamp.Set(next->m_iVisitStamp);
        next->m_iRow = row;
        ++table[row].count;
        enter(next);
    }
}

// Row capacities: a node whose children are all leaves (their parentless
// neighbours included) may hold its share of the column limit per row, in
// proportion to the part of the row its leaves make up. The fraction left over
// is carried along the row to the next such node.
void CLayeredLayout::ComputeRowCapacity(CLayerNode* node, RowTable& table) {
    struct Frame {
        CLayerNode* node;
        std::size_t child = 0;
        bool allLeaves = true;
        int leafCount = 0;
        int leafRow = 0;
        // Breadth-first walk over the neighbours of one leaf.
        bool inLeafWalk = false;
        std::vector<CLayerNode*> queue;
        std::size_t head = 0;
        CLayerNode* current = nullptr;
        LayerNodeSet::const_iterator sibling;
    };
    const netloom::layered::PassMark stamp = CurrentVisitStamp();
    std::vector<Frame> stack;
    auto enter = [&stack](CLayerNode* v) {
        if (v != nullptr && !v->m_vecChildren.empty()) {
            stack.emplace_back();
            stack.back().node = v;
        }
    };
    enter(node);
    while (!stack.empty()) {
        Frame& f = stack.back();
        CLayerNode* v = f.node;
        if (f.inLeafWalk) {
            CLayerNode* descend = nullptr;
            for (;;) {
                if (f.current == nullptr || f.sibling == f.current->m_setSiblings.end()) {
                    if (f.head == f.queue.size()) {
                        f.inLeafWalk = false;
                        break;
                    }
                    f.current = f.queue[f.head++];
                    f.sibling = f.current->m_setSiblings.begin();
                    continue;
                }
                CLayerNode* y = *f.sibling++;
                if (!y->m_vecParents.empty()) {
                    continue;
                }
                if (!y->m_vecChildren.empty()) {
                    f.allLeaves = false;
                    descend = y;
                    break;
                }
                if (stamp.Claim(y->m_iVisitStamp)) {
                    ++f.leafCount;
                    f.queue.push_back(y);
                }
            }
            if (descend != nullptr) {
                enter(descend);
                continue;
            }
        }
        CLayerNode* descend = nullptr;
        while (f.child < v->m_vecChildren.size()) {
            CLayerNode* k = v->m_vecChildren[f.child++];
            if (!stamp.Claim(k->m_iVisitStamp)) {
                continue;
            }
            if (!k->m_vecChildren.empty()) {
                f.allLeaves = false;
                descend = k;
                break;
            }
            ++f.leafCount;
            f.leafRow = k->m_iRow;
            f.inLeafWalk = true;
            f.queue.assign(1, k);
            f.head = 0;
            f.current = nullptr;
            break;
        }
        if (descend != nullptr) {
            enter(descend);
            continue;
        }
        if (f.inLeafWalk) {
            continue;
        }
        // All children seen.
        if (f.allLeaves && f.leafCount >= 1) {
            RowTally& e = table[f.leafRow];
            const double quota = static_cast<double>(f.leafCount) / static_cast<double>(e.count) *
                                 static_cast<double>(m_iMaxColCount);
            if (static_cast<double>(f.leafCount) <= quota) {
                v->m_iRowCapacity = netloom::TruncToInt(quota);
                e.carry = (quota - static_cast<double>(v->m_iRowCapacity)) + e.carry;
            } else {
                const double q = quota + e.carry;
                v->m_iRowCapacity = netloom::TruncToInt(q);
                e.carry = q - static_cast<double>(v->m_iRowCapacity);
            }
            if (v->m_iRowCapacity <= 0) {
                e.carry = e.carry - static_cast<double>(1 - v->m_iRowCapacity);
                v->m_iRowCapacity = 1;
            }
        }
        stack.pop_back();
    }
}

// Columns, left to right in child order: leaves take consecutive columns, a
// parent is centred over its children and moved right past occupied cells, its
// parentless neighbours go beside it. Returns the new first free column.
int CLayeredLayout::AssignColumns(CLayerNode* node, int dir, int next) {
    enum class Phase { Children, ParentNeighbours, LeafNeighbours };
    struct Frame {
        CLayerNode* node;
        int next;
        int start;
        Phase phase;
        std::size_t child;
        int leftFree;
        int rightFree;
        LayerNodeSet::const_iterator sibling;
        CLayerNode* pending; // neighbour whose placement is under way
    };
    const netloom::layered::PassMark stamp = CurrentVisitStamp();
    const int unit = m_iColUnit;
    if (node == nullptr || stamp.Holds(node->m_iVisitStamp)) {
        return next;
    }
    std::vector<Frame> stack;
    auto enter = [&stack](CLayerNode* v, int from) {
        stack.push_back(Frame{v, from, from, Phase::Children, 0, 0, 0, {}, nullptr});
    };
    enter(node, next);
    int result = next;
    bool returned = false; // result holds the value of the frame just popped
    while (!stack.empty()) {
        Frame& f = stack.back();
        CLayerNode* v = f.node;
        if (f.phase == Phase::Children) {
            if (returned) {
                f.next = result;
                returned = false;
            }
            CLayerNode* descend = nullptr;
            while (f.child < v->m_vecChildren.size()) {
                CLayerNode* k = v->m_vecChildren[f.child++];
                if (!stamp.Holds(k->m_iVisitStamp)) {
                    k->m_iRow = v->m_iRow + dir;
                    descend = k;
                    break;
                }
                if (k->m_iRow == v->m_iRow + dir && k->m_iCol >= f.next) {
                    f.next = k->m_iCol + unit;
                }
            }
            if (descend != nullptr) {
                enter(descend, f.next);
                continue;
            }
            if (!v->m_vecChildren.empty()) {
                f.next = WrapLeafRows(v, dir, f.start, f.next);
                stamp.Set(v->m_iVisitStamp);
                v->m_iCol = MidColumnOfChildren(v);
                if (v->m_iCol < f.start) {
                    v->m_iCol = f.start;
                }
                while (IsCellOccupied(v->m_iRow, v->m_iCol)) {
                    v->m_iCol += unit;
                }
                MarkCellOccupied(v->m_iRow, v->m_iCol);
                if (v->m_iCol >= f.next) {
                    f.next = v->m_iCol + unit;
                }
                f.leftFree = v->m_iCol - unit;
                f.rightFree = v->m_iCol + unit;
                f.phase = Phase::ParentNeighbours;
            } else {
                stamp.Set(v->m_iVisitStamp);
                v->m_iCol = f.next;
                f.next = f.next + unit;
                f.phase = Phase::LeafNeighbours;
            }
            f.sibling = v->m_setSiblings.begin();
        }
        if (returned) {
            // A neighbour's subtree is placed.
            f.next = result;
            returned = false;
            MarkCellOccupied(f.pending->m_iRow, f.pending->m_iCol);
            f.pending = nullptr;
        }
        CLayerNode* descend = nullptr;
        int from = 0;
        while (f.sibling != v->m_setSiblings.end()) {
            CLayerNode* p = *f.sibling++;
            if (!p->m_vecParents.empty() || stamp.Holds(p->m_iVisitStamp)) {
                continue;
            }
            p->m_iRow = v->m_iRow;
            if (f.phase == Phase::LeafNeighbours) {
                descend = p;
                from = f.next;
                break;
            }
            if (f.leftFree >= f.start && p->m_vecChildren.empty() && p->m_setSiblings.size() < 2) {
                p->m_iCol = f.leftFree;
                f.leftFree -= unit;
                stamp.Set(p->m_iVisitStamp);
            } else if (p->m_vecChildren.empty()) {
                p->m_iCol = f.rightFree;
                f.rightFree += unit;
                stamp.Set(p->m_iVisitStamp);
            } else {
                descend = p;
                from = std::max(f.next, f.rightFree);
                break;
            }
            MarkCellOccupied(p->m_iRow, p->m_iCol);
        }
        if (descend != nullptr) {
            f.pending = descend;
            enter(descend, from);
            continue;
        }
        result = f.next;
        returned = true;
        stack.pop_back();
    }
    return result;
}

// Wraps the leaves of a node (with their parentless neighbours) that exceed its
// row capacity into further rows, each filled from its right end.
int CLayeredLayout::WrapLeafRows(CLayerNode* node, int dir, int start, int end) {
    const int childRow = node->m_iRow + dir;
    auto inRange = [&](const CLayerNode* x) {
        return start <= x->m_iCol && x->m_iCol < end && x->m_iRow == childRow;
    };
    LayerNodeSet leaves;
    std::vector<CLayerNode*> queue;
    for (CLayerNode* k : node->m_vecChildren) {
        if (!k->m_vecChildren.empty()) {
            return end;
        }
        if (!inRange(k) || leaves.count(k) != 0) {
            continue;
        }
        leaves.insert(k);
        queue.assign(1, k);
        for (std::size_t head = 0; head < queue.size(); ++head) {
            for (CLayerNode* y : queue[head]->m_setSiblings) {
                if (!y->m_vecParents.empty()) {
                    continue;
                }
                if (!y->m_vecChildren.empty()) {
                    return end;
                }
                if (!inRange(y) || leaves.count(y) != 0) {
                    continue;
                }
                leaves.insert(y);
                queue.push_back(y);
            }
        }
    }
    if (static_cast<long long>(leaves.size()) <= node->m_iRowCapacity) {
        return end;
    }
    std::vector<CLayerNode*> sorted(leaves.begin(), leaves.end());
    std::stable_sort(sorted.begin(), sorted.end(), MoreParentsFirst);
    const int cap = node->m_iRowCapacity;
    const int unit = m_iColUnit;
    int row = node->m_iRow;
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        const int slot = static_cast<int>(i % static_cast<std::size_t>(cap));
        if (slot == 0) {
            row += dir;
        }
        sorted[i]->m_iRow = row;
        sorted[i]->m_iCol = (cap - 1 - slot) * unit + start;
    }
    return sorted.front()->m_iCol + unit;
}

int CLayeredLayout::MidColumnOfChildren(const CLayerNode* node) const {
    int lowest = kNoColumnLimit;
    int highest = 0;
    for (const CLayerNode* child : node->m_vecChildren) {
        if (child->m_iCol > highest) {
            highest = child->m_iCol;
        }
        if (child->m_iCol < lowest) {
            lowest = child->m_iCol;
        }
    }
    const std::int64_t sum = static_cast<std::int64_t>(lowest) + highest;
    return netloom::TruncToInt(static_cast<double>(sum) / 2.0);
}

bool CLayeredLayout::MoreParentsFirst(const CLayerNode* a, const CLayerNode* b) {
    return a->m_vecParents.size() > b->m_vecParents.size();
}

namespace {
// One key per (row, column) pair.
std::uint64_t CellKey(int row, int col) {
    return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(row)) << 32) |
           static_cast<std::uint32_t>(col);
}
} // namespace

bool CLayeredLayout::IsCellOccupied(int row, int col) const {
    return m_setOccupiedCells.Find(CellKey(row, col)) != nullptr;
}

void CLayeredLayout::MarkCellOccupied(int row, int col) {
    m_setOccupiedCells.FindOrInsert(CellKey(row, col), 1);
}
