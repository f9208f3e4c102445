#include "layered/layered_workspace.h"

#include <netloom/layout_strategy.h>
#include <netloom/network_graph.h>

// One record per node of the component, turned to the strategy's orientation
// and filed under its vertical grid coordinate. nBaseRow keeps the grid row.
bool CLayeredLayout::CollectGridRecords(std::map<int, std::vector<_tagNode>>& rows) {
    int orientation = 1;
    if (m_pGraph != nullptr && m_pGraph->GetLayoutStrategy() != nullptr) {
        orientation = m_pGraph->GetLayoutStrategy()->GetDirection();
    }
    // Nodes in id order mostly stay in one row for a while: the row last filed
    // to is kept at hand.
    auto last = rows.end();
    for (const CLayerNode* node : GetLayerNodesById()) {
        if (node->m_iID <= 0) {
            continue; // the virtual root and the dummies
        }
        const int row = node->m_iRow;
        const int col = node->m_iCol;
        _tagNode record;
        record.nID = ToHostID(node->m_iID);
        record.nBaseRow = row;
        switch (orientation) {
        case 2: // transposed
            record.nRow = col;
            record.nCol = row;
            break;
        case 3: // mirrored left to right
            record.nRow = row;
            record.nCol = m_iMaxCol - col;
            break;
        case 4: // transposed and mirrored
            record.nRow = col;
            record.nCol = m_iMaxRow - row;
            break;
        default:
            record.nRow = row;
            record.nCol = col;
            break;
        }
        if (last == rows.end() || last->first != record.nRow) {
            last = rows.try_emplace(record.nRow).first;
        }
        last->second.push_back(record);
    }
    return true;
}
