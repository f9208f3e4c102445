// Child order steps of the layered layouts: centre-out order and the sibling
// refinements, on hand-built layer structures.

#include "layered/layered_workspace.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

// A workspace without a graph whose virtual root has one parent node P (id
// 1000) with the given children (ids 1, 2, ...), each given its own number of
// children (ids from 2000 on).
struct Fixture {
    CLayeredLayout ws{nullptr, 1};
    CLayerNode* parent = nullptr;
    std::vector<CLayerNode*> kids;
    int nextID = 2000;

    explicit Fixture(const std::vector<int>& grandchildren) {
        parent = Link(ws.GetRoot(), 1000);
        for (std::size_t i = 0; i < grandchildren.size(); ++i) {
            CLayerNode* kid = Link(parent, static_cast<int>(i) + 1);
            kids.push_back(kid);
            for (int g = 0; g < grandchildren[i]; ++g) {
                Link(kid, nextID++);
            }
        }
    }
    CLayerNode* Link(CLayerNode* p, int id) {
        CLayerNode* c = ws.GetOrCreateLayerNode(id, p->m_iLevel + 1);
        p->AddChild(c);
        c->AddParent(p);
        return c;
    }
    void Neighbours(int a, int b) {
        kids[static_cast<std::size_t>(a - 1)]->AddSibling(kids[static_cast<std::size_t>(b - 1)]);
        kids[static_cast<std::size_t>(b - 1)]->AddSibling(kids[static_cast<std::size_t>(a - 1)]);
    }
    std::vector<int> Order() const {
        std::vector<int> ids;
        for (const CLayerNode* n : parent->m_vecChildren) {
            ids.push_back(n->m_iID);
        }
        return ids;
    }
};

// The straightforward scan of GroupSiblingNeighbours on one list.
void GroupByScan(std::vector<CLayerNode*>& list) {
    for (std::size_t i = 0; i < list.size(); ++i) {
        std::size_t k = 1;
        for (std::size_t j = i + 1; j < list.size(); ++j) {
            if (list[i]->m_setSiblings.count(list[j]) != 0) {
                std::swap(list[j], list[i + k]);
                ++k;
            }
        }
    }
}

} // namespace

TEST(LayeredOrder, CentreOut) {
    // A..E with 3, 0, 5, 1, 2 children become B, E, C, A, D.
    Fixture f({3, 0, 5, 1, 2});
    f.ws.OrderChildrenCenterOut();
    EXPECT_EQ(f.Order(), (std::vector<int>{2, 5, 3, 1, 4}));

    Fixture three({2, 0, 1});
    three.ws.OrderChildrenCenterOut();
    EXPECT_EQ(three.Order(), (std::vector<int>{2, 1, 3}));

    Fixture two({1, 0});
    two.ws.OrderChildrenCenterOut();
    EXPECT_EQ(two.Order(), (std::vector<int>{1, 2}));

    // Equal counts keep their order, at every length.
    Fixture equal(std::vector<int>(50, 0));
    equal.ws.OrderChildrenCenterOut();
    const std::vector<int> order = equal.Order();
    for (int i = 0; i < 25; ++i) {
        EXPECT_EQ(order[static_cast<std::size_t>(i)], 2 * i + 1);
        EXPECT_EQ(order[static_cast<std::size_t>(49 - i)], 2 * i + 2);
    }
}

TEST(LayeredOrder, GroupSiblingNeighbours) {
    Fixture f({1, 1, 1, 1}); // a, b, x, d
    f.Neighbours(1, 3);
    f.ws.GroupSiblingNeighbours();
    EXPECT_EQ(f.Order(), (std::vector<int>{1, 3, 2, 4}));

    Fixture none({0, 1, 0, 2});
    none.ws.GroupSiblingNeighbours();
    EXPECT_EQ(none.Order(), (std::vector<int>{1, 2, 3, 4}));

    // Long lists take the indexed way: compare it with the scan on random
    // neighbour relations (self-loops and neighbours outside the list too).
    for (std::uint32_t trial = 1; trial <= 30; ++trial) {
        std::mt19937 rng(trial);
        const int n = 20 + static_cast<int>(trial * 13 % 200);
        Fixture big(std::vector<int>(static_cast<std::size_t>(n), 0));
        CLayerNode* outsider = big.ws.GetOrCreateLayerNode(5000, 2);
        std::uniform_int_distribution<int> pick(1, n);
        const int links = static_cast<int>(trial % 4) * n / 2 + 1;
        for (int i = 0; i < links; ++i) {
            big.Neighbours(pick(rng), pick(rng));
            big.kids[static_cast<std::size_t>(pick(rng) - 1)]->AddSibling(outsider);
        }
        std::vector<CLayerNode*> expected = big.parent->m_vecChildren;
        GroupByScan(expected);
        big.ws.GroupSiblingNeighbours();
        ASSERT_EQ(big.parent->m_vecChildren, expected) << "trial " << trial;
    }
}

TEST(LayeredOrder, BalanceIsolatedLeaves) {
    // Letters: L is an isolated leaf, M has a child.
    auto run = [](const std::string& pattern) {
        std::vector<int> counts;
        for (char c : pattern) {
            counts.push_back(c == 'L' ? 0 : 1);
        }
        Fixture f(counts);
        f.ws.BalanceIsolatedLeaves();
        return f.Order();
    };
    EXPECT_EQ(run("LLLM"), (std::vector<int>{1, 2, 4, 3}));
    EXPECT_EQ(run("MLLLL"), (std::vector<int>{2, 3, 1, 4, 5}));
    EXPECT_EQ(run("MLM"), (std::vector<int>{1, 3, 2}));
    EXPECT_EQ(run("LLLLMMM"), (std::vector<int>{1, 2, 6, 7, 5, 3, 4}));
    EXPECT_EQ(run("MLLLM"), (std::vector<int>{3, 5, 1, 4, 2}));
    EXPECT_EQ(run("LLLL"), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(run("MMM"), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(run("L"), (std::vector<int>{1}));

    // A leaf with a same-level neighbour is not isolated.
    Fixture f({0, 1, 0});
    f.Neighbours(1, 3);
    f.ws.BalanceIsolatedLeaves();
    EXPECT_EQ(f.Order(), (std::vector<int>{1, 2, 3}));
}
