#pragma once

#include <netloom/rect.h>

#include "graph/truncate.h"

namespace netloom {

// The bounding box of points added one at a time, and the integer rectangle
// that reaches 10 units beyond it on every side. The start values lie far out,
// so a point only moves a bound toward it when it lies inside them.
class CPointBounds {
public:
    void Add(double x, double y) {
        if (x < m_dMinX) {
            m_dMinX = x;
        }
        if (y < m_dMinY) {
            m_dMinY = y;
        }
        if (x > m_dMaxX) {
            m_dMaxX = x;
        }
        if (y > m_dMaxY) {
            m_dMaxY = y;
        }
    }

    CRect Rect() const {
        return CRect(TruncToInt(m_dMinX - 10.0), TruncToInt(m_dMinY - 10.0),
                     TruncToInt(m_dMaxX + 10.0), TruncToInt(m_dMaxY + 10.0));
    }

private:
    double m_dMinX = 9999999999.0;
    double m_dMinY = 9999999999.0;
    double m_dMaxX = -9999999999.0;
    double m_dMaxY = -9999999999.0;
};

} // namespace netloom
