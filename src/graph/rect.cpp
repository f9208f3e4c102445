#include <netloom/rect.h>

bool CRect::PtInRect(int x, int y) const {
    return left <= x && x < right && top <= y && y < bottom;
}

void CRect::OffsetRect(int dx, int dy) {
    left += dx;
    right += dx;
    top += dy;
    bottom += dy;
}

bool PtInRect(const CRect& rect, int x, int y) {
    return rect.PtInRect(x, y);
}

void OffsetRect(CRect& rect, int dx, int dy) {
    rect.OffsetRect(dx, dy);
}
