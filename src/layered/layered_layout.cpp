#include <netloom/connected_graph.h>
#include <netloom/params.h>

#include "graph/truncate.h"
#include "layered/layered_workspace.h"
#include "pipeline/layout_methods.h"
#include "pipeline/progress_report.h"

// Tree and hierarchy layouts (types 2 and 8): levels, child order and grid cells
// from the workspace, then grid cells to coordinates. The hierarchy layout
// places one grid column per column spacing; the tree layout counts columns in
// layout units, so its unit is the column spacing itself (at least 1).
bool CConnectedGraph::LayeredLayout() {
    if (m_mapNodes.size() < 2) {
        return true;
    }
    int unit = 1;
    if (m_iLayoutType != m_iHierarchyLayout) {
        unit = netloom::TruncToInt(g_dColumnSpacing);
        if (unit < 1) {
            unit = 1;
        }
        // Columns advance by the unit per node: a huge spacing on a large
        // component would run them past the 32-bit range. The positions are
        // the spacing divided by the unit per column, so a smaller unit only
        // changes how midpoints round, where the exact unit could not work.
        const long long nodes = static_cast<long long>(m_mapNodes.size() + m_mapEdges.size()) + 2;
        const long long largest = 2147483647LL / (8 * nodes);
        if (unit > largest) {
            unit = static_cast<int>(largest < 1 ? 1 : largest);
        }
    }
    // Positions exist only once the grid is complete: a stop request during the
    // steps takes effect at the end of the component.
    const std::int64_t units = netloom::ProgressReport::Units(*this);
    auto report = [this, units](const char* step) {
        if (m_pReport != nullptr) {
            m_pReport->Step(step, units);
        }
    };
    {
        CLayeredLayout layout(this, unit);
        if (m_pReport != nullptr) {
            layout.SetStepHook(
                [&report](CLayeredLayout&, const netloom::layered::LayeredStep& step, bool after) {
                    if (after) {
                        report(step.name);
                    }
                    return netloom::layered::HookAnswer::Go;
                });
        }
        layout.ArrangeLayers();
        layout.CollectGridRecords(m_mapGridRows);
    }

    m_mapPlacedRows = m_mapGridRows;
    const double columnWidth = g_dColumnSpacing / static_cast<double>(unit);
    for (auto& row : m_mapPlacedRows) {
        for (_tagNode& record : row.second) {
            const double x = columnWidth * static_cast<double>(record.nCol);
            const double y = static_cast<double>(record.nRow) * g_dLayerSpacing;
            SetNodePosition(record.nID, x, y, record);
        }
    }
    report("CollectGridRecords");

    if (m_iLayoutType == m_iHierarchyLayout) {
        AssignEdgePorts();
        report("AssignEdgePorts");
        BuildSortedEdges();
        report("BuildSortedEdges");
    }
    return true;
}

// Steps a layered layout reports: the pipeline's, the grid records and, for
// the hierarchy layout, the two port steps.
std::int64_t CLayeredLayout::ReportedSteps(bool hierarchy) {
    return static_cast<std::int64_t>(Steps().size()) + 1 + (hierarchy ? 2 : 0);
}

netloom::LayoutMethod netloom::LayeredMethod(int layoutType) {
    return {layoutType, "LayeredLayout", &CConnectedGraph::LayeredLayout,
            CLayeredLayout::ReportedSteps(layoutType == CNetworkGraph::m_iHierarchyLayout)};
}

bool CConnectedGraph::GetDefaultLevels(std::map<int, std::vector<int>>& levels) const {
    // The workspace only reads the component.
    CLayeredLayout layout(const_cast<CConnectedGraph*>(this), 1);
    if (!layout.CollectLayoutEdges() || !layout.AssignLevels()) {
        return false;
    }
    for (const CLayerNode* node : layout.GetLayerNodesById()) {
        if (layout.FindGraphNode(node->m_iID) != nullptr) {
            levels[node->m_iLevel].push_back(layout.ToHostID(node->m_iID));
        }
    }
    return true;
}
