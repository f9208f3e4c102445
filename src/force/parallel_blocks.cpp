#include "force/parallel_blocks.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace netloom::force {

int LayoutThreads(int setting) {
    if (setting > 0) {
        return setting;
    }
    const unsigned hardware = std::thread::hardware_concurrency();
    return hardware == 0 ? 1 : static_cast<int>(hardware);
}

void ParallelBlocks(std::size_t count, std::size_t block, int threads,
                    const std::function<void(std::size_t, std::size_t)>& work) {
    const std::size_t blocks = (count + block - 1) / block;
    const std::size_t helpers =
        std::min<std::size_t>(blocks, static_cast<std::size_t>(std::max(threads, 1))) - 1;
    if (helpers == 0 || blocks == 0) {
        if (count > 0) {
            work(0, count);
        }
        return;
    }
    std::atomic<std::size_t> nextBlock{0};
    auto run = [&]() {
        for (std::size_t b = nextBlock.fetch_add(1); b < blocks; b = nextBlock.fetch_add(1)) {
            const std::size_t begin = b * block;
            work(begin, std::min(count, begin + block));
        }
    };
    std::vector<std::thread> pool;
    pool.reserve(helpers);
    for (std::size_t t = 0; t < helpers; ++t) {
        try {
            pool.emplace_back(run);
        } catch (const std::system_error&) {
            break; // no more threads: the ones running take every block
        }
    }
    run();
    for (std::thread& thread : pool) {
        thread.join();
    }
}

} // namespace netloom::force
