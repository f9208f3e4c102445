#include <netloom/netloom.h>

#include "force/force_oracle.h"
#include "layered/layered_workspace.h"
#include "support/generated_graphs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using Positions = std::map<int, std::pair<double, double>>;

Positions Read(const CNetworkGraph& g) {
    Positions p;
    for (const auto& entry : g.GetNodeMap()) {
        p[entry.first] = {entry.second->X(), entry.second->Y()};
    }
    return p;
}

// Three components: a random graph of 30 nodes, a triangle, a lone node; the
// last two start far out, so that a layout that skips them shows.
void Build(CNetworkGraph& g) {
    netloom_test::Fill(g, netloom_test::RandomSparse(30, 12, 7));
    for (int id = 31; id <= 34; ++id) {
        g.AddNode(id, 5000.0 + id, 7000.0 - id, false);
    }
    g.AddEdge(1001, 31, 32, 40, 0, 0, false);
    g.AddEdge(1002, 32, 33, 40, 0, 0, false);
    g.AddEdge(1003, 33, 31, 40, 0, 0, false);
}

// The records of one layout, steps run together: "0:ForceDirectedLayout*37".
struct Recorder {
    std::vector<netloom::LayoutProgress> records;
    std::string Steps() const {
        std::string text;
        for (std::size_t i = 0; i < records.size(); ++i) {
            const auto& r = records[i];
            if (i > 0 && records[i - 1].component == r.component &&
                std::string(records[i - 1].step) == r.step) {
                continue;
            }
            std::size_t run = 1;
            while (i + run < records.size() && records[i + run].component == r.component &&
                   std::string(records[i + run].step) == r.step) {
                ++run;
            }
            text += " " + std::to_string(r.component) + ":" + r.step;
            if (run > 1) {
                text += "*" + std::to_string(run);
            }
        }
        return text;
    }
};

std::string LayeredSteps(int component, bool hierarchy) {
    std::string text;
    for (const auto& step : CLayeredLayout::Steps()) {
        text += " " + std::to_string(component) + ":" + step.name;
    }
    text += " " + std::to_string(component) + ":CollectGridRecords";
    if (hierarchy) {
        text += " " + std::to_string(component) + ":AssignEdgePorts " + std::to_string(component) +
                ":BuildSortedEdges";
    }
    return text;
}

// Every layout type: the sequence of steps, the iteration count and energy of
// each force record, work that only grows and ends equal to its total, the
// per-component callback, and the same positions as without a monitor.
TEST(ProgressTest, EveryTypeReportsItsStepsAndChangesNothing) {
    for (const int type : {1, 2, 4, 8}) {
        CNetworkGraph plain;
        Build(plain);
        plain.Layout(40, type, 200);

        CNetworkGraph g;
        Build(g);
        Recorder rec;
        std::vector<int> finished;
        g.SetProgressMonitor([&rec](const netloom::LayoutProgress& p) {
            rec.records.push_back(p);
            return false;
        });
        g.SetProgressCallback([&finished](int done, int total) {
            EXPECT_EQ(total, 3);
            finished.push_back(done);
        });
        EXPECT_TRUE(g.Layout(40, type, 200));
        EXPECT_EQ(Read(g), Read(plain)) << type;
        EXPECT_EQ(finished, (std::vector<int>{1, 2, 3}));
        EXPECT_FALSE(g.WasLayoutStopped());

        std::string expected;
        if (type == 1) {
            int iterations[2] = {0, 0};
            for (const auto& r : rec.records) {
                if (r.iteration > 0) {
                    EXPECT_EQ(r.iteration, ++iterations[r.component]);
                    EXPECT_EQ(r.maxIterations, 1500);
                    EXPECT_EQ(r.threshold, r.component == 0 ? 15.0 : 1.0);
                }
            }
            const auto comp = g.GetConnectedGraphs().begin();
            EXPECT_EQ(rec.records[iterations[0]].energy, (*comp)->GetTotalEnergy());
            expected = " 0:RadiantLayout 0:ForceDirectedLayout*" + std::to_string(iterations[0]) +
                       " 1:RadiantLayout 1:ForceDirectedLayout*" + std::to_string(iterations[1]) +
                       " 2:ForceDirectedLayout";
        } else if (type == 4) {
            expected = " 0:RadiantLayout 1:RadiantLayout 2:RadiantLayout";
        } else {
            expected = LayeredSteps(0, type == 8) + LayeredSteps(1, type == 8) + " 2:LayeredLayout";
        }
        EXPECT_EQ(rec.Steps(), expected) << type;
        for (std::size_t i = 0; i < rec.records.size(); ++i) {
            EXPECT_EQ(rec.records[i].componentCount, 3);
            if (i > 0) {
                EXPECT_GT(rec.records[i].workDone, rec.records[i - 1].workDone);
                EXPECT_LE(rec.records[i].workTotal, rec.records[i - 1].workTotal);
            }
        }
        EXPECT_EQ(rec.records.back().workDone, rec.records.back().workTotal);
        // The estimate is settled by a component's last step.
        EXPECT_EQ(rec.records[rec.records.size() - 2].workTotal, rec.records.back().workTotal);
        EXPECT_EQ(g.GetLayoutWorkDone(), rec.records.back().workDone);
    }
}

// A stop at each kind of point: the current component ends where it may, the
// later ones keep their start positions, every position is finite and the
// components are stacked, the quadrant tree is freed, and the graph says so.
TEST(ProgressTest, StopAtEachKindOfPoint) {
    struct Case {
        int type;
        const char* step; // the record that asks to stop
        int iteration;
        bool firstComplete; // component 0 has its full layout's positions
    };
    const Case cases[] = {
        {1, "RadiantLayout", 0, false},        {1, "ForceDirectedLayout", 5, false},
        {4, "RadiantLayout", 0, true},         {2, "ChooseLevels", 0, true},
        {8, "GatherNeighbourGroups", 0, true}, {8, "AssignEdgePorts", 0, true},
    };
    for (const Case& c : cases) {
        CNetworkGraph full;
        Build(full);
        full.Layout(40, c.type, 200);

        CNetworkGraph g;
        Build(g);
        int calls = 0;
        int callsAfterStop = 0;
        bool stopped = false;
        g.SetProgressMonitor([&](const netloom::LayoutProgress& p) {
            ++calls;
            callsAfterStop += stopped ? 1 : 0;
            stopped = stopped || (p.component == 0 && std::string(p.step) == c.step &&
                                  p.iteration == c.iteration);
            return stopped;
        });
        g.Layout(40, c.type, 200);
        EXPECT_TRUE(stopped && g.WasLayoutStopped()) << c.step;
        EXPECT_EQ(callsAfterStop, 0);
        EXPECT_LT(g.GetLayoutWorkDone(), full.GetLayoutWorkDone());

        const Positions got = Read(g);
        const Positions want = Read(full);
        for (const auto& [id, p] : got) {
            EXPECT_TRUE(std::isfinite(p.first) && std::isfinite(p.second)) << id;
            if (id <= 30 && c.firstComplete) {
                EXPECT_EQ(p, want.at(id)) << c.step << " node " << id;
            }
        }
        // The triangle kept its shape (a shift by the stacking only).
        const double dx = got.at(31).first - (5000.0 + 31);
        const double dy = got.at(31).second - (7000.0 - 31);
        for (int id = 32; id <= 33; ++id) {
            EXPECT_EQ(got.at(id).first - (5000.0 + id), dx) << id;
            EXPECT_EQ(got.at(id).second - (7000.0 - id), dy) << id;
        }
        double bottom = 0.0;
        for (const CConnectedGraph* comp : g.GetConnectedGraphs()) {
            const CRect r = comp->GetBoundRect();
            EXPECT_NEAR(r.left, 100, 1);
            EXPECT_GE(r.top, bottom + 199);
            bottom = r.bottom;
            EXPECT_EQ(comp->GetQuadTree().GetRoot(), nullptr);
        }

        // A new layout clears the stop.
        g.SetProgressMonitor(nullptr);
        g.Layout(40, c.type, 200);
        EXPECT_FALSE(g.WasLayoutStopped());
    }
}

// A force layout stopped after k iterations is the literal iteration run for
// k iterations, bit for bit (positions, velocities, energy).
TEST(ProgressTest, StoppedForceLayoutEqualsTheIterationCutShort) {
    for (std::uint32_t trial = 1; trial <= 4; ++trial) {
        for (const int k : {1, 6, 23}) {
            CNetworkGraph g;
            netloom_test::Fill(
                g, netloom_test::RandomSparse(40 + 30 * static_cast<int>(trial), 20, trial));
            CNetworkGraph literal(g);
            const Positions start = Read(g);
            g.SetProgressMonitor(
                [k](const netloom::LayoutProgress& p) { return p.iteration == k; });
            g.Layout(35, 1, 200);
            ASSERT_TRUE(g.WasLayoutStopped());

            literal.Layout(35, 3, 200); // components only
            for (const auto& [id, p] : start) {
                literal.GetNode(id)->SetPosition(p.first, p.second);
            }
            CConnectedGraph* comp = *literal.GetConnectedGraphs().begin();
            double energy = 0.0;
            EXPECT_EQ(force_oracle::ForceDirected(*comp, false, energy, k), k);
            const CRect r = comp->GetBoundRect(); // the stacking of a lone component
            comp->OffsetGraph(100.0 - r.left, 200.0 - r.top);

            EXPECT_EQ(Read(g), Read(literal)) << trial << " " << k;
            EXPECT_EQ((*g.GetConnectedGraphs().begin())->GetTotalEnergy(), energy);
            for (const auto& [id, node] : g.GetNodeMap()) {
                EXPECT_EQ(node->GetVx(), literal.GetNode(id)->GetVx());
                EXPECT_EQ(node->GetVy(), literal.GetNode(id)->GetVy());
            }
        }
    }
}

} // namespace
