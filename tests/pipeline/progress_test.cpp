#include <netloom/netloom.h>

#include "force/force_oracle.h"
#include "layered/layered_workspace.h"
#include "support/generated_graphs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using netloom_test::Positions;
using netloom_test::Read;

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

// The steps a layout reports, each run of one step once ("0:ForceDirectedLayout").
std::string Expected(int type) {
    if (type == 1) {
        return " 0:RadiantLayout 0:ForceDirectedLayout 1:RadiantLayout 1:ForceDirectedLayout "
               "2:ForceDirectedLayout";
    }
    if (type == 4) {
        return " 0:RadiantLayout 1:RadiantLayout 2:RadiantLayout";
    }
    std::string text;
    for (const char* c : {" 0:", " 1:"}) {
        for (const auto& step : CLayeredLayout::Steps()) {
            text += c + std::string(step.name);
        }
        text += c + std::string("CollectGridRecords");
        text += type == 8 ? c + std::string("AssignEdgePorts") + c + "BuildSortedEdges" : "";
    }
    return text + " 2:LayeredLayout";
}

// Every layout type, run to its end (the same positions as without a monitor,
// work equal to its settled estimate) and stopped at each kind of point (no
// call after the request, a non-force component finished whole, the rest only
// stacked): the steps in order, finite positions, stacked components, no tree.
TEST(ProgressTest, EveryTypeReportsItsStepsAndStopsAtValidPoints) {
    struct Case {
        int type;
        const char* stopAt; // the step whose record asks to stop; null: none
        int iteration;
    };
    const Case cases[] = {
        {1, nullptr, 0},         {2, nullptr, 0},         {4, nullptr, 0},
        {8, nullptr, 0},         {1, "RadiantLayout", 0}, {1, "ForceDirectedLayout", 5},
        {4, "RadiantLayout", 0}, {2, "ChooseLevels", 0},  {8, "GatherNeighbourGroups", 0},
    };
    for (const Case& c : cases) {
        CNetworkGraph plain;
        Build(plain);
        plain.Layout(40, c.type, 200);

        CNetworkGraph g;
        Build(g);
        std::string steps;
        std::vector<netloom::LayoutProgress> records;
        bool stop = false;
        g.SetProgressMonitor([&](const netloom::LayoutProgress& p) {
            EXPECT_FALSE(stop) << "called after the stop request";
            const std::string name = std::to_string(p.component) + ":" + p.step;
            if (steps.size() < name.size() || steps.substr(steps.size() - name.size()) != name) {
                steps += " " + name;
            }
            if (p.iteration > 0) {
                EXPECT_EQ(p.iteration, records.back().iteration + 1);
                EXPECT_EQ(p.maxIterations, 1500);
                EXPECT_EQ(p.threshold, p.component == 0 ? 15.0 : 1.0);
            }
            EXPECT_EQ(p.componentCount, 3);
            EXPECT_TRUE(records.empty() || (p.workDone > records.back().workDone &&
                                            p.workTotal <= records.back().workTotal));
            records.push_back(p);
            stop = c.stopAt != nullptr && p.component == 0 && std::string(p.step) == c.stopAt &&
                   p.iteration == c.iteration;
            return stop;
        });
        EXPECT_TRUE(g.Layout(40, c.type, 200));
        EXPECT_EQ(Expected(c.type).rfind(steps, 0), 0u) << steps;
        double bottom = 0.0;
        for (const CConnectedGraph* comp : g.GetConnectedGraphs()) {
            const CRect r = comp->GetBoundRect();
            EXPECT_NEAR(r.left, 100, 1);
            EXPECT_GE(r.top, bottom + 199);
            bottom = r.bottom;
            EXPECT_EQ(comp->GetQuadTree().GetRoot(), nullptr);
        }
        const Positions got = Read(g), want = Read(plain);
        for (const auto& [id, p] : got) {
            EXPECT_TRUE(std::isfinite(p.first) && std::isfinite(p.second)) << id;
        }
        EXPECT_EQ(g.WasLayoutStopped(), c.stopAt != nullptr);
        if (c.stopAt == nullptr) {
            EXPECT_EQ(steps, Expected(c.type));
            EXPECT_EQ(got, want);
            EXPECT_EQ(records[records.size() - 2].workTotal, records.back().workTotal);
            EXPECT_EQ(records.back().workDone, records.back().workTotal);
            EXPECT_EQ(g.GetLayoutWorkDone(), records.back().workDone);
            continue;
        }
        EXPECT_LT(g.GetLayoutWorkDone(), plain.GetLayoutWorkDone());
        for (int id = 1; id <= 30 && c.type != 1; ++id) {
            EXPECT_EQ(got.at(id), want.at(id)) << c.stopAt << " node " << id;
        }
        for (int id = 32; id <= 33; ++id) { // the triangle: shifted only
            EXPECT_EQ(got.at(id).first - got.at(31).first, id - 31.0);
            EXPECT_EQ(got.at(id).second - got.at(31).second, 31.0 - id);
        }
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

            literal.Layout(35, 3, 200);         // components only
            for (const auto& [id, p] : start) { // its start, not the stacked one
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
