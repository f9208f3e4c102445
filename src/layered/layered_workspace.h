#pragma once

// Workspace of one tree or hierarchy layout: one layer node per node of the
// component, the virtual root (id 0, level -1) and the dummy nodes (negative
// ids) that the steps insert. Every step of the layering pipeline is a member of
// CLayeredLayout; ArrangeLayers runs them in the order of its step table.

#include <netloom/creation_order.h>
#include <netloom/node.h>

#include "graph/flat_hash_map.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <queue>
#include <set>
#include <utility>
#include <vector>

class CLayeredLayout;
class CNetworkGraph;
class CNode;

class CLayerNode;
using LayerNodeSet = netloom::CreationOrderSet<CLayerNode>;

namespace netloom::layered {

// The mark of one walk over the layer nodes. Each walk draws a fresh value from
// a counter that only grows, so a node is marked in this walk exactly when its
// mark field holds the value, a field above it was marked by a later walk, and
// no walk ever clears marks.
class PassMark {
public:
    explicit PassMark(std::int32_t value) : m_value(value) {}
    std::int32_t Value() const { return m_value; }
    bool Holds(std::int32_t field) const { return field == m_value; }
    // Marked by this walk or a later one.
    bool Reached(std::int32_t field) const { return field >= m_value; }
    void Set(std::int32_t& field) const { field = m_value; }
    // Marks the field; false when this walk had marked it already.
    bool Claim(std::int32_t& field) const {
        if (field == m_value) {
            return false;
        }
        field = m_value;
        return true;
    }

private:
    std::int32_t m_value;
};

} // namespace netloom::layered

// One node of the layered structure. Deleted by the workspace only.
class CLayerNode : public netloom::CreationOrdered {
public:
    CLayerNode(int id, int level) : m_iID(id), m_iLevel(level) {}
    CLayerNode(const CLayerNode&) = delete;
    CLayerNode& operator=(const CLayerNode&) = delete;

    void AddParent(CLayerNode* node) { m_vecParents.push_back(node); }
    void AddChild(CLayerNode* node) { m_vecChildren.push_back(node); }
    void AddSibling(CLayerNode* node) { m_setSiblings.insert(node); }

    std::int32_t m_iID;
    std::int32_t m_iLevel;
    std::int32_t m_iRow = -1;
    std::int32_t m_iCol = -1;
    std::int32_t m_iVisitStamp = 0;
    std::vector<CLayerNode*> m_vecParents;
    std::vector<CLayerNode*> m_vecChildren; // left-to-right order
    LayerNodeSet m_setSiblings;             // same-level neighbours
    std::int32_t m_iRowCapacity = 0x7fffffff;
    std::int32_t m_iPinMark = 0;
    // The component node, once the level walk has met it from an edge; saves
    // an id lookup per visit.
    CNode* m_pGraphNode = nullptr;

    // Scratch of single walks, apart from the visit stamps: the walk that last
    // reached the node, and the node's index in that walk's arrays (its
    // post-order position, ancestor-cone entry or child-list slot).
    std::int32_t m_iWalkMark = 0;
    std::int32_t m_iWalkIndex = 0;
    // A second walk mark, for a walk that runs while m_iWalkMark holds the
    // region it is confined to (PinPathChildren).
    std::int32_t m_iInnerWalkMark = 0;
    // Gathering passes: how many copies of the node a pass may queue, and how
    // many it has queued.
    std::int32_t m_iGatherCopies = 0;
    std::int32_t m_iGatherQueued = 0;
};

// Ordered by creation, as a node set of the common-ancestor search.
using LayerNodeList = std::vector<CLayerNode*>;

namespace netloom::layered {

// The ancestor cone of a common-ancestor search: entries are (node, step) pairs,
// step k holding the nodes k parent steps above some member of the group. Kept
// in the workspace so that the searches of one layout reuse the buffers.
struct AncestorCone {
    std::vector<CLayerNode*> nodes;         // by entry
    std::vector<std::uint32_t> stepStart;   // entries of step k: [stepStart[k], stepStart[k+1])
    std::vector<std::uint32_t> parentStart; // parents of entry e: parentIndex[parentStart[e]..]
    std::vector<std::uint32_t> parentIndex; // entry of each parent, in parent-list order
    std::vector<std::uint64_t> memberMasks; // by entry: the members below it
    std::vector<std::uint32_t> candidateEntries; // nodes above every member at the meeting step
    std::vector<std::uint64_t> candidateMasks;   // by entry: the candidates it reaches
    std::vector<char> alive;                     // by entry: reaches the meeting step
    std::vector<char> reached; // by entry: member of a set examined before the result
    // Scratch of one search: the distinct members in creation order, the
    // members present at a step, the candidates still allowed, and the entries
    // of the current and the next generation's set.
    std::vector<CLayerNode*> members;
    std::vector<std::uint64_t> present;
    std::vector<std::uint64_t> allowed;
    std::vector<std::uint32_t> current;
    std::vector<std::uint32_t> chosen;
};

} // namespace netloom::layered

// Rows of the grid step: nodes per row and the fraction carried along the row.
struct RowTally {
    std::int32_t count = 0;
    double carry = 0.0;
};
using RowTable = std::map<int, RowTally>;

namespace netloom::layered {

// One step of the layering pipeline: its name and the member that runs it.
struct LayeredStep {
    const char* name;
    bool (CLayeredLayout::*run)();
};

// What a step hook tells the pipeline: go on, leave the step out (before it
// only), or end the pipeline there as a failing step would.
enum class HookAnswer { Go, SkipStep, Stop };

// Called before (after == false) and after each step that ArrangeLayers runs,
// so that a caller can inspect or prepare the workspace between steps, replace
// a step, or stop after any of them.
using StepHook =
    std::function<HookAnswer(CLayeredLayout& layout, const LayeredStep& step, bool after)>;

} // namespace netloom::layered

class CLayeredLayout {
public:
    CLayeredLayout(CNetworkGraph* graph, int colUnit);
    CLayeredLayout(const CLayeredLayout&) = delete;
    CLayeredLayout& operator=(const CLayeredLayout&) = delete;
    ~CLayeredLayout();

    // Shared operations.
    CLayerNode* GetOrCreateLayerNode(int id, int level);
    int NewDummyID() { return --m_iLastDummyID; }
    // Visit stamps: a pass takes a fresh one; a pass that hands further stamps
    // to its searches (stamp + 1, stamp + 2, ...) skips them afterwards, so that
    // every later pass starts above every stamp written.
    netloom::layered::PassMark NewVisitStamp() {
        return netloom::layered::PassMark(++m_iVisitStamp);
    }
    void SkipVisitStamps(int count) { m_iVisitStamp += count; }
    bool IsLayoutEdge(int edgeID) const;

    // The layering pipeline: the steps of Steps(), in order, until one fails.
    bool ArrangeLayers();
    static const std::vector<netloom::layered::LayeredStep>& Steps();
    // Steps of a whole layered layout in the progress report.
    static std::int64_t ReportedSteps(bool hierarchy);
    void SetStepHook(netloom::layered::StepHook hook) { m_stepHook = std::move(hook); }

    // Levels: the default ones, or those of the graph's layout strategy.
    bool ChooseLevels();

    // Layout edges and default levels.
    bool CollectLayoutEdges();
    bool AssignLevels();
    bool ChooseTreeRoot(std::queue<CLayerNode*>& roots);
    bool ChooseHierarchyRoots(std::queue<CLayerNode*>& roots);
    bool AssignLevelsBreadthFirst(std::queue<CLayerNode*>& queue);

    // Levels supplied by a layout strategy.
    bool ApplyStrategyLevels(std::map<int, std::vector<int>>& levels);
    bool LinkStrategyLevels();

    // Ordering steps.
    bool OrderChildrenCenterOut();
    static bool FewerChildrenFirst(const CLayerNode* a, const CLayerNode* b);
    bool AttachDetachedParts();
    bool GroupSiblingNeighbours();
    bool BalanceIsolatedLeaves();
    bool GatherSharedChildParents();
    bool GatherNeighbourGroups();
    CLayerNode* FindCommonAncestor(const LayerNodeList& group, int searchStamp);
    CLayerNode* PinPathChildren(CLayerNode* ancestor, int searchStamp, int mark);
    bool SplitByFirstReached(CLayerNode* start, LayerNodeList group, LayerNodeList& rest,
                             LayerNodeList& first);
    bool PushTowardSide(CLayerNode* stop, CLayerNode* parent, CLayerNode* node, bool towardEnd,
                        int mark);
    bool SplitIntoTwoGroups();

    // Grid rows and columns.
    bool AssignGridPositions();
    void AssignRowsAndCount(CLayerNode* node, int dir, RowTable& table);
    void ComputeRowCapacity(CLayerNode* node, RowTable& table);
    int AssignColumns(CLayerNode* node, int dir, int next);
    int WrapLeafRows(CLayerNode* node, int dir, int start, int end);
    int MidColumnOfChildren(const CLayerNode* node) const;
    static bool MoreParentsFirst(const CLayerNode* a, const CLayerNode* b);
    bool IsCellOccupied(int row, int col) const;
    void MarkCellOccupied(int row, int col);

    // The greatest row and column of all layer nodes.
    bool MeasureGridExtents();

    // Grid records, filed by their vertical grid coordinate.
    bool CollectGridRecords(std::map<int, std::vector<_tagNode>>& rows);

    // Host ids and workspace ids. The workspace keeps 0 for the virtual root
    // and negative ids for dummies, so host ids of 0 or below are mapped onto
    // positive ids in the same order; with positive ids the map is the identity.
    int ToLayoutID(int hostID) const;
    int ToHostID(int layoutID) const;
    // The component node of a layer node id, or null.
    CNode* FindGraphNode(int layoutID) const;

    // Read access for tests.
    CLayerNode* GetRoot() const { return m_pRoot; }
    CLayerNode* FindLayerNode(int id) const;
    // Every layer node in ascending id (dummies, the virtual root, then the
    // component's nodes).
    std::vector<CLayerNode*> GetLayerNodesById() const;
    int GetMaxLevel() const { return m_iMaxLevel; }
    int GetMaxRow() const { return m_iMaxRow; }
    int GetMaxCol() const { return m_iMaxCol; }
    int GetMaxColCount() const { return m_iMaxColCount; }
    int GetVisitStamp() const { return m_iVisitStamp; }

private:
    // A new layer node under an id that has none yet.
    CLayerNode* CreateLayerNode(int id, int level);
    // Builds the id map from the component's ids and the extra ids.
    void BuildIDMap(const std::set<int>& extraIDs);
    // Links parent over child (both directions).
    static void LinkParentChild(CLayerNode* parent, CLayerNode* child) {
        parent->AddChild(child);
        child->AddParent(parent);
    }
    // The stamp of the pass under way, for the parts of a pass.
    netloom::layered::PassMark CurrentVisitStamp() const {
        return netloom::layered::PassMark(m_iVisitStamp);
    }
    // A fresh mark for the scratch fields (m_iWalkMark, m_iInnerWalkMark).
    netloom::layered::PassMark NewWalkMark() {
        return netloom::layered::PassMark(++m_iWalkCounter);
    }
    // The frame of both gathering passes; work(N, S, extra) returns whether N's
    // children are queued from this visit, and mayStop(N, meetSurely) whether
    // it can return false.
    template <class Work, class MayStop> void RunGatheringPass(Work work, MayStop mayStop);
    // Moves one node in one parent's list; true when the push goes on upward.
    bool PushInParent(CLayerNode* stop, CLayerNode* parent, CLayerNode* node, bool towardEnd,
                      int mark);
    // The two halves of FindCommonAncestor.
    int BuildAncestorCone(const LayerNodeList& group, netloom::layered::AncestorCone& cone);
    CLayerNode* GreedyFirstSingleton(int meet, netloom::layered::AncestorCone& cone);

    std::int32_t m_iMaxLevel = 0;
    std::int32_t m_iMaxRow = 0;
    std::int32_t m_iMaxCol = 0;
    std::int32_t m_iVisitStamp = 0;
    std::int32_t m_iLastDummyID = 0;
    CLayerNode* m_pRoot = nullptr;
    CNetworkGraph* m_pGraph;
    // Storage of the layer nodes: a deque keeps them in place as it grows and
    // allocates them in blocks instead of one by one.
    std::deque<CLayerNode> m_layerNodeStore;
    // Every layer node, in creation order. Steps that depend on the
    // ascending id order take GetLayerNodesById(), the others walk this array,
    // which is cheaper than an ordered map for millions of nodes.
    std::vector<CLayerNode*> m_mapLayerNodes;
    // Ascending edge ids: an ordered set kept as a sorted array, filled in
    // ascending order and then only searched.
    std::vector<int> m_setLayoutEdges;
    // The same set as one flag per id from m_iLayoutEdgeBase on, when the ids
    // are dense enough; empty otherwise.
    std::vector<char> m_vecLayoutEdgeFlags;
    std::int32_t m_iLayoutEdgeBase = 0;
    // Occupied grid cells by (row, column) key; only ever asked for membership.
    netloom::detail::FlatHashMap<char> m_setOccupiedCells;
    std::int32_t m_iMaxColCount;
    std::int32_t m_iColUnit;

    std::int32_t m_iWalkCounter = 0;
    // Layer nodes by id without walking the ordered map: ids from 1 below the
    // array's size by position (sized at construction when the component's ids
    // lie close together), all others in the flat table.
    std::vector<CLayerNode*> m_vecLayerNodeById;
    netloom::detail::FlatHashMap<CLayerNode*> m_mapLayerNodeIndex;
    // Sorted host ids when they are remapped; empty for the identity.
    std::vector<int> m_vecHostIDs;
    netloom::layered::AncestorCone m_ancestorCone;
    // Scratch of SplitByFirstReached: the upward walk's stack and the downward
    // walk's queue.
    std::vector<CLayerNode*> m_vecSplitClimb;
    std::vector<CLayerNode*> m_vecSplitQueue;
    // Scratch of PushTowardSide: (moved node, next parent index) frames.
    std::vector<std::pair<CLayerNode*, std::size_t>> m_vecPushStack;
    netloom::layered::StepHook m_stepHook;
};

namespace netloom {
namespace layered {

// Undirected graph on nodes 0..n-1 in compressed form: the neighbours of v are
// to[start[v]] .. to[start[v + 1] - 1].
struct Adjacency {
    std::vector<int> start{0};
    std::vector<int> to;
    int Size() const { return static_cast<int>(start.size()) - 1; }
};

// Index of the node with the smallest eccentricity (the lowest index among
// equals) and that eccentricity; -1 when the graph has no node. The graph must
// be connected. Exact, but prunes most breadth-first searches with eccentricity
// bounds (three searches on a tree).
int MinEccentricityNode(const Adjacency& graph, int& eccentricity);

} // namespace layered
} // namespace netloom
