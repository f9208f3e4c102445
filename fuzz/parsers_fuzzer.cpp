// Feeds the command-line tool's input readers with the fuzzer's bytes. The
// first byte picks the format (JSON, GraphML, edge list). A reader either
// returns a graph or throws InputError with a message; anything else is a bug.

#include "graph_file.h"
#include "readers.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    try {
        switch (data[0] % 3) {
        case 0:
            netloom_cli::ReadJsonGraph("fuzz.json", text);
            break;
        case 1:
            netloom_cli::ReadGraphMl("fuzz.graphml", text);
            break;
        default:
            netloom_cli::ReadEdgeList("fuzz.edgelist", text);
            break;
        }
    } catch (const netloom_cli::InputError& e) {
        if (e.Describe().empty()) {
            std::abort();
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "parsers_fuzzer: unexpected exception: %s\n", e.what());
        std::abort();
    }
    return 0;
}
