#pragma once

#include <netloom/export.h>

#include <map>
#include <set>
#include <vector>

// Implemented by a host to steer the tree and hierarchy layouts.
class NETLOOM_API CLayoutStrategy {
public:
    CLayoutStrategy() = default;
    CLayoutStrategy(const CLayoutStrategy&) = default;
    CLayoutStrategy& operator=(const CLayoutStrategy&) = default;
    virtual ~CLayoutStrategy();

    // 2 splits the second level into two groups; anything else leaves it alone.
    virtual int GetArrangeMode() = 0;
    // Grid orientation, 1 to 4.
    virtual int GetDirection() = 0;
    // Fills levels (level key to node ids) for the given component nodes;
    // false declines.
    virtual bool GetLevels(std::set<int>& nodeIds, std::map<int, std::vector<int>>& levels) = 0;
};
