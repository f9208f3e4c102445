#include "pack.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace netloom::front {
namespace {

struct Box {
    double left = std::numeric_limits<double>::infinity();
    double top = std::numeric_limits<double>::infinity();
    double right = -std::numeric_limits<double>::infinity();
    double bottom = -std::numeric_limits<double>::infinity();
    bool Empty() const { return left > right; }
};

} // namespace

void PackComponents(Result& result, double gap, const std::vector<bool>& keep) {
    const std::size_t n = result.x.size();
    std::vector<Box> boxes(static_cast<std::size_t>(std::max(result.componentCount, 0)));
    Box all;
    for (std::size_t i = 0; i < n; ++i) {
        if (result.component[i] < 0) {
            continue;
        }
        const std::size_t c = static_cast<std::size_t>(result.component[i]);
        if (c >= boxes.size()) {
            boxes.resize(c + 1);
        }
        if (c < keep.size() && keep[c]) {
            continue;
        }
        for (Box* box : {&boxes[c], &all}) {
            box->left = std::min(box->left, result.x[i]);
            box->top = std::min(box->top, result.y[i]);
            box->right = std::max(box->right, result.x[i]);
            box->bottom = std::max(box->bottom, result.y[i]);
        }
    }
    std::vector<std::size_t> order;
    double total = 0.0;
    double widest = 0.0;
    for (std::size_t c = 0; c < boxes.size(); ++c) {
        if (!boxes[c].Empty()) {
            order.push_back(c);
            const double width = boxes[c].right - boxes[c].left + gap;
            total += width * (boxes[c].bottom - boxes[c].top + gap);
            widest = std::max(widest, width);
        }
    }
    auto area = [&](std::size_t c) {
        return (boxes[c].right - boxes[c].left + gap) * (boxes[c].bottom - boxes[c].top + gap);
    };
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return area(a) > area(b); });

    // Shelves: each component at the next free place of its row, rows stacked
    // by their tallest member.
    const double target = std::max(widest, std::sqrt(total * 4.0 / 3.0));
    std::vector<double> dx(boxes.size(), 0.0);
    std::vector<double> dy(boxes.size(), 0.0);
    double x = 0.0;
    double y = 0.0;
    double rowHeight = 0.0;
    for (std::size_t c : order) {
        const double width = boxes[c].right - boxes[c].left + gap;
        if (x > 0.0 && x + width > target) {
            y += rowHeight;
            x = 0.0;
            rowHeight = 0.0;
        }
        dx[c] = all.left + x - boxes[c].left;
        dy[c] = all.top + y - boxes[c].top;
        x += width;
        rowHeight = std::max(rowHeight, boxes[c].bottom - boxes[c].top + gap);
    }
    for (std::size_t i = 0; i < n; ++i) {
        if (result.component[i] >= 0) {
            result.x[i] += dx[static_cast<std::size_t>(result.component[i])];
            result.y[i] += dy[static_cast<std::size_t>(result.component[i])];
        }
    }
}

} // namespace netloom::front
