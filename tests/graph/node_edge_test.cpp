#include <netloom/netloom.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

namespace {

TEST(NodeTest, RectangleTruncatesTowardZeroAndOnlyUpdatesOnRequest) {
    CNode node(1, 10.5, -3.5, false);
    EXPECT_EQ(node.m_rect, CRect(6, -7, 14, 0));

    node.SetPosition(100.0, 100.0);
    node.Move(0.5, -0.5);
    EXPECT_EQ(node.X(), 100.5);
    EXPECT_EQ(node.Y(), 99.5);
    EXPECT_EQ(node.m_rect, CRect(6, -7, 14, 0)) << "rectangle follows only UpdateRect";
    node.UpdateRect();
    EXPECT_EQ(node.m_rect, CRect(96, 95, 104, 103));

    // Out-of-range and NaN coordinates saturate or give 0 instead of overflowing.
    CNode far(2, 1e300, -1e300, false);
    EXPECT_EQ(far.m_rect.left, 2147483647);
    EXPECT_EQ(far.m_rect.top, -2147483647 - 1);
    CNode nan(3, std::nan(""), 0.0, false);
    EXPECT_EQ(nan.m_rect.left, 0);

    const _tagNode record = CNode(4, 0, 0, true).GetNodePos();
    EXPECT_EQ(record.nID, 0);
    EXPECT_EQ(record.nBaseRow, 0);
    EXPECT_EQ(record.nRow, 0);
    EXPECT_EQ(record.nCol, 0);
}

TEST(NodeTest, EdgeSetHoldsEachEdgeOnceInCreationOrder) {
    CNode a(1, 0, 0, false);
    CNode b(2, 0, 0, false);
    std::vector<std::unique_ptr<CEdge>> edges;
    for (int i = 0; i < 50; ++i) {
        edges.push_back(std::make_unique<CEdge>(i, &a, &b, 0, 0));
    }
    // Insert in reverse and twice: the set keeps creation order, once each.
    for (int i = 49; i >= 0; --i) {
        a.AddEdge(edges[i].get());
        a.AddEdge(edges[i].get());
    }
    ASSERT_EQ(a.GetEdges().size(), 50u);
    int expected = 0;
    for (CEdge* e : a.GetEdges()) {
        EXPECT_EQ(e->GetID(), expected++);
    }
    CEdge stranger(99, &a, &b, 0, 0);
    a.DeleteEdge(&stranger);
    EXPECT_EQ(a.GetEdges().size(), 50u);

    // A copied node is a new object: it sorts after everything created before it.
    CNode copy(a);
    EXPECT_GT(copy.GetSerial(), a.GetSerial());
    EXPECT_EQ(copy.GetEdges().size(), 50u);
}

TEST(EdgeTest, EqualityIgnoresDirectionButNotPorts) {
    CNode n1(1, 0, 0, false);
    CNode n2(2, 3, 4, false);
    const CEdge a(1, &n1, &n2, 10, 20);
    EXPECT_TRUE(a == CEdge(2, &n2, &n1, 20, 10));
    EXPECT_TRUE(a.IsEqual(CEdge(3, &n1, &n2, 10, 20)));
    EXPECT_FALSE(a == CEdge(4, &n2, &n1, 10, 20));
    EXPECT_FALSE(a == CEdge(5, &n1, &n2, 20, 10));
    EXPECT_FALSE(a == CEdge(6, &n1, &n1, 10, 20));
    EXPECT_FALSE(a == CEdge(7, &n2, &n1, 99, 10));
    EXPECT_FALSE(a == CEdge(8, &n1, &n2, 10, 99));
    EXPECT_EQ(a.GetDX(), 3.0);
    EXPECT_EQ(a.GetDY(), 4.0);
    EXPECT_EQ(a.GetLength(), 5.0);
}

TEST(RectTest, PointInsideIsHalfOpenAndOffsetMovesAllSides) {
    CRect r(0, 0, 10, 5);
    EXPECT_TRUE(PtInRect(r, 0, 0) && PtInRect(r, 9, 4));
    EXPECT_FALSE(PtInRect(r, 10, 4) || PtInRect(r, 9, 5) || PtInRect(r, -1, 0));
    OffsetRect(r, -3, 7);
    EXPECT_EQ(r, CRect(-3, 7, 7, 12));
}

} // namespace
