#include <netloom/connected_graph.h>
#include <netloom/network_graph.h>
#include <netloom/params.h>

#include "pipeline/layout_methods.h"
#include "pipeline/progress_report.h"

namespace netloom {

const LayoutMethod* FindLayoutMethod(int layoutType) {
    static const LayoutMethod kMethods[] = {
        RadiantMethod(),
        ForceDirectedMethod(),
        LayeredMethod(CNetworkGraph::m_iTreeLayout),
        LayeredMethod(CNetworkGraph::m_iHierarchyLayout),
    };
    for (const LayoutMethod& method : kMethods) {
        if (method.type == layoutType) {
            return &method;
        }
    }
    return nullptr;
}

} // namespace netloom

namespace {

// The work units a component's layout is expected to take: its nodes and edges
// once per step of its method; one step for an unknown type.
std::int64_t EstimatedWork(const CConnectedGraph& comp, const netloom::LayoutMethod* method) {
    const std::int64_t size = netloom::ProgressReport::Units(comp);
    return method != nullptr ? size * method->expectedSteps : size;
}

} // namespace

bool CNetworkGraph::Layout(int nDistance, int nLayoutType, int nLayerSpacing) {
    BuildEdgeUniqueFlag();
    g_dLayoutDistance = static_cast<double>(nDistance);
    g_dColumnSpacing = static_cast<double>(nDistance);
    g_dLayerSpacing = static_cast<double>(nLayerSpacing);
    m_iLayoutType = nLayoutType;

    // Components live for one call: the graph may have been edited since the last one.
    DeleteConnectedGraphs();
    for (auto& entry : m_mapNodes) {
        entry.second->SetVisited(false);
    }
    DecomposeGraph();

    const netloom::LayoutMethod* method = netloom::FindLayoutMethod(nLayoutType);
    const int total = static_cast<int>(m_setConnectedGraphs.size());
    std::int64_t work = 0;
    for (const CConnectedGraph* comp : m_setConnectedGraphs) {
        work += EstimatedWork(*comp, method);
    }
    netloom::ProgressReport report(m_fnMonitor, total, work);
    int done = 0;
    for (CConnectedGraph* comp : m_setConnectedGraphs) {
        // A stop request ends the layout between components; the rest keep
        // their positions and are stacked below as usual.
        if (report.StopRequested()) {
            break;
        }
        report.BeginComponent(done, EstimatedWork(*comp, method));
        comp->m_pReport = &report;
        comp->LayoutComponent(nLayoutType);
        comp->m_pReport = nullptr;
        // Every component is reported at least once, so that a host can stop
        // between any two.
        if (!report.StepsInComponent()) {
            report.Rest(method != nullptr ? method->name : "LayoutComponent");
        }
        report.EndComponent();
        if (m_fnProgress) {
            m_fnProgress(++done, total);
        } else {
            ++done;
        }
    }
    m_bLayoutStopped = report.StopRequested();
    m_nLayoutWork = report.WorkDone();
    PostprocessLayout();
    return true;
}

// An edge is not unique when one of its ports is its node's own id, or when it
// shares a port id with the edge next to it in id order.
void CNetworkGraph::BuildEdgeUniqueFlag() {
    for (auto it = m_mapEdges.begin(); it != m_mapEdges.end(); ++it) {
        CEdge* e = it->second;
        if (e->GetSourceSubNodeID() == e->GetSourceNode()->GetID() ||
            e->GetDestSubNodeID() == e->GetDestNode()->GetID()) {
            e->SetUniqueFlag(false);
        }
        auto next = std::next(it);
        if (next == m_mapEdges.end()) {
            break;
        }
        CEdge* f = next->second;
        const int es = e->GetSourceSubNodeID();
        const int ed = e->GetDestSubNodeID();
        const int fs = f->GetSourceSubNodeID();
        const int fd = f->GetDestSubNodeID();
        if (fs == es || fs == ed || fd == es || fd == ed) {
            f->SetUniqueFlag(false);
            e->SetUniqueFlag(false);
        }
    }
}

bool CNetworkGraph::PreprocessLayout() {
    g_dLayoutDistanceSqr = g_dLayoutDistance * g_dLayoutDistance;
    return true;
}

bool CConnectedGraph::LayoutComponent(int nLayoutType) {
    m_iLayoutType = nLayoutType;
    PreprocessLayout();
    // Unknown types leave the nodes where they are.
    if (const netloom::LayoutMethod* method = netloom::FindLayoutMethod(nLayoutType)) {
        (this->*method->run)();
    }
    return true;
}

// Stacks the components: without the fixed-layout flag in one column at left
// 100, 200 apart; with it, components holding a fixed node stay and the others
// are stacked below them.
bool CNetworkGraph::PostprocessLayout() {
    const double gap = 200.0;
    if (!m_bFixedLayout) {
        double cursor = 0.0;
        for (CConnectedGraph* comp : m_setConnectedGraphs) {
            const CRect rect = comp->GetBoundRect();
            const double dx = 100.0 - rect.left;
            const double dy = cursor + gap - rect.top;
            comp->OffsetGraph(dx, dy);
            cursor = rect.bottom + dy;
        }
        return true;
    }

    double maxBottom = 0.0;
    double minLeft = 120.0;
    bool first = true;
    for (CConnectedGraph* comp : m_setConnectedGraphs) {
        if (!comp->ContainFixedNode()) {
            continue;
        }
        const CRect rect = comp->GetBoundRect();
        if (rect.bottom > maxBottom) {
            maxBottom = rect.bottom;
        }
        if (first) {
            minLeft = rect.left;
            first = false;
        } else if (rect.left < minLeft) {
            minLeft = rect.left;
        }
    }
    double cursor = maxBottom;
    for (CConnectedGraph* comp : m_setConnectedGraphs) {
        if (comp->ContainFixedNode()) {
            continue;
        }
        const CRect rect = comp->GetBoundRect();
        const double dx = minLeft - rect.left;
        const double dy = cursor + gap - rect.top;
        comp->OffsetGraph(dx, dy);
        cursor = rect.bottom + dy;
    }
    return true;
}
