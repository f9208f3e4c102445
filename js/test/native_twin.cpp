// The WebAssembly entry points built natively: reads one layout request from
// stdin as js/test/exactness.test.mjs writes it, and writes every result array
// to stdout, so that the test compares the module's bits with these. With
// NETLOOM_TWIN_TIME set it also writes the layout call's milliseconds to
// stderr, for the benchmark (js/bench/bench.mjs).

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

extern "C" {
void nl_set_labels(int n, const char* text, const int* ends);
int nl_layout(int n, const double* xy, const unsigned char* fixed, int m, const int* ends,
              const int* lengths, const int* ports, int type, int distance, int layerSpacing,
              int maxCols, bool fixedLayout, int levelsMode, int levelCount, const int* levels,
              int direction, int arrangeMode, bool progress);
const void* nl_result(int what, int* length);
}

namespace {

template <class T> std::vector<T> Read(std::size_t count) {
    std::vector<T> values(count);
    if (count > 0 && std::fread(values.data(), sizeof(T), count, stdin) != count) {
        std::fprintf(stderr, "native_twin: the request ends early\n");
        values.clear();
    }
    return values;
}

template <class T> const T* Optional(const std::vector<T>& values) {
    return values.empty() ? nullptr : values.data();
}

} // namespace

int main() {
    // n, m, type, distance, layerSpacing, maxCols, fixedLayout, levelsMode,
    // levelCount, direction, arrangeMode, then which optional arrays follow,
    // then the bytes of the labels' text (their n ends follow the levels).
    const std::vector<int> h = Read<int>(15);
    if (h.empty()) {
        return 1;
    }
    const auto n = static_cast<std::size_t>(h[0]);
    const auto m = static_cast<std::size_t>(h[1]);
    const std::vector<double> xy = Read<double>(h[11] ? 2 * n : 0);
    const std::vector<unsigned char> fixed = Read<unsigned char>(h[12] ? n : 0);
    const std::vector<int> ends = Read<int>(2 * m);
    const std::vector<int> lengths = Read<int>(h[13] ? m : 0);
    const std::vector<int> ports = Read<int>(2 * m);
    const std::vector<int> levels = Read<int>(2 * static_cast<std::size_t>(h[8]));
    const std::vector<int> labelEnds = Read<int>(n);
    const std::vector<char> labelText = Read<char>(static_cast<std::size_t>(h[14]));
    nl_set_labels(h[0], labelText.data(), labelEnds.data());
    const auto start = std::chrono::steady_clock::now();
    nl_layout(h[0], Optional(xy), Optional(fixed), h[1], ends.data(), Optional(lengths),
              ports.data(), h[2], h[3], h[4], h[5], h[6] != 0, h[7], h[8], Optional(levels), h[9],
              h[10], false);
    if (std::getenv("NETLOOM_TWIN_TIME") != nullptr) {
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - start;
        std::fprintf(stderr, "%.3f\n", took.count());
    }
    for (int what = 0; what < 7; ++what) {
        int length = 0;
        const void* values = nl_result(what, &length);
        std::fwrite(&length, sizeof length, 1, stdout);
        if (length > 0) {
            const bool doubles = what == 0 || what == 6;
            std::fwrite(values, doubles ? sizeof(double) : sizeof(int), length, stdout);
        }
    }
    int placed = 0;
    nl_result(7, &placed);
    std::fwrite(&placed, sizeof placed, 1, stdout);
    return 0;
}
