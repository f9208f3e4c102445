#include "strategy.h"

namespace netloom_cli {

bool CommandLineStrategy::GetLevels(std::set<int>& nodeIds,
                                    std::map<int, std::vector<int>>& levels) {
    return m_completer.Complete(nodeIds, levels);
}

} // namespace netloom_cli
