#pragma once

#include <netloom/export.h>

#include <cstdint>

// Integer rectangle: left and top inclusive, right and bottom exclusive.
class NETLOOM_API CRect {
public:
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;

    CRect() = default;
    CRect(int l, int t, int r, int b) : left(l), top(t), right(r), bottom(b) {}

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }

    bool PtInRect(int x, int y) const;
    void OffsetRect(int dx, int dy);

    bool operator==(const CRect& o) const {
        return left == o.left && top == o.top && right == o.right && bottom == o.bottom;
    }
    bool operator!=(const CRect& o) const { return !(*this == o); }
};

// True when left <= x < right and top <= y < bottom.
NETLOOM_API bool PtInRect(const CRect& rect, int x, int y);
// Moves the rectangle by (dx, dy).
NETLOOM_API void OffsetRect(CRect& rect, int dx, int dy);
