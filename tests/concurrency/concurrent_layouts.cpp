// Layouts of different graphs on eight threads at once give the bits of the
// same layouts one after another. Built with ThreadSanitizer, which reports any
// data race; each job uses its own layout distance, so a value read from the
// wrong thread's parameters changes the bits.

#include <netloom/netloom.h>

#include "support/generated_graphs.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <tuple>
#include <vector>

namespace {

struct Job {
    netloom_test::EdgeList list;
    int type;
    int distance;
    int layerSpacing;
    int forceThreads; // for the concurrent run; the sequential run uses 1
};

// x, y, row and column of every node, in ascending id.
using Result = std::vector<std::tuple<double, double, int, int>>;

Result LayOut(const Job& job, int forceThreads) {
    CNetworkGraph graph;
    netloom_test::Fill(graph, job.list);
    graph.SetLayoutThreads(forceThreads);
    graph.Layout(job.distance, job.type, job.layerSpacing);
    Result result;
    for (const auto& entry : graph.GetNodeMap()) {
        int row = 0;
        int col = 0;
        graph.GetNodePhyPosition(entry.first, row, col);
        result.emplace_back(entry.second->X(), entry.second->Y(), row, col);
    }
    return result;
}

std::vector<Job> Jobs() {
    std::vector<Job> jobs;
    const int types[] = {CNetworkGraph::m_iForceDirectedLayout, CNetworkGraph::m_iTreeLayout,
                         CNetworkGraph::m_iRadiantLayout, CNetworkGraph::m_iHierarchyLayout};
    for (std::uint32_t i = 0; i < 64; ++i) {
        const int n = 20 + static_cast<int>(i * 7 % 90);
        for (const int type : types) {
            Job job{netloom_test::RandomSparse(n, n / 3, i), type,
                    25 + static_cast<int>(i % 5) * 10, 120 + static_cast<int>(i % 3) * 40, 1};
            if (i % 16 == 0) {
                job.list = i % 32 == 0 ? netloom_test::LayeredDag(8, 16, 30, i)
                                       : netloom_test::HubGroups(12);
            }
            if (type == CNetworkGraph::m_iForceDirectedLayout && i % 16 == 5) {
                // Large enough that the force layout shares its iterations
                // between threads of its own.
                job.list = netloom_test::RandomSparse(1100, 300, i);
                job.forceThreads = 2;
            }
            jobs.push_back(std::move(job));
        }
    }
    return jobs;
}

TEST(ConcurrentLayoutsTest, EightThreadsGiveTheSequentialBits) {
    const std::vector<Job> jobs = Jobs();
    std::vector<Result> sequential;
    for (const Job& job : jobs) {
        sequential.push_back(LayOut(job, 1));
    }
    std::vector<Result> concurrent(jobs.size());
    std::atomic<std::size_t> next{0};
    std::vector<std::thread> threads;
    std::atomic<int> freshThreadsWithStartValues{0};
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&]() {
            // Every thread starts with the start values, whatever others set.
            if (g_dLayoutDistance == 40.0 && g_dLayoutDistanceSqr == 1600.0 &&
                g_dColumnSpacing == 200.0 && g_dLayerSpacing == 200.0) {
                ++freshThreadsWithStartValues;
            }
            for (std::size_t j = next++; j < jobs.size(); j = next++) {
                concurrent[j] = LayOut(jobs[j], jobs[j].forceThreads);
                // Layout wrote this thread's parameters.
                EXPECT_EQ(g_dLayoutDistance, static_cast<double>(jobs[j].distance));
                EXPECT_EQ(g_dLayerSpacing, static_cast<double>(jobs[j].layerSpacing));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(freshThreadsWithStartValues, 8);
    for (std::size_t j = 0; j < jobs.size(); ++j) {
        EXPECT_EQ(concurrent[j], sequential[j]) << "job " << j << ", type " << jobs[j].type;
    }
}

} // namespace
