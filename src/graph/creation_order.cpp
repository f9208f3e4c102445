#include <netloom/creation_order.h>

#include <atomic>

namespace netloom {

std::uint64_t NextCreationSerial() {
    static std::atomic<std::uint64_t> counter{0};
    return counter.fetch_add(1, std::memory_order_relaxed);
}

} // namespace netloom
