#pragma once

#include <cstddef>
#include <functional>

namespace netloom::force {

// The number of threads a layout may use: `setting`, or one per hardware thread
// when that is 0 or below.
int LayoutThreads(int setting);

// Calls work(begin, end) for consecutive blocks of at most `block` items that
// cover [0, count), on up to `threads` threads (the caller's among them). The
// blocks are handed out in order but may run in any order and at the same time,
// so work must only write what belongs to its own items.
void ParallelBlocks(std::size_t count, std::size_t block, int threads,
                    const std::function<void(std::size_t, std::size_t)>& work);

} // namespace netloom::force
