// Graphviz's DOT parser keeps its scanner in global state: a broken input must
// not spoil the next read.

#include "readers.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace netloom_cli;

TEST(ReadDot, ABrokenInputDoesNotSpoilTheNextRead) {
    // A fuzzer's find: HTML strings nested deeper than a few closers undo.
    const std::string spoiler = std::string(NETLOOM_TEST_DATA_DIR) + "/dot/spoiler.gv";
    for (const std::string& broken : {ReadWholeFile(spoiler), std::string("graph { a [label=\"x"),
                                      std::string("graph { /* open")}) {
        EXPECT_THROW(ReadText("broken.gv", broken, Format::Dot), InputError);
        const FileGraph g = ReadText("next.gv", "graph { a -- b }", Format::Dot);
        EXPECT_EQ(g.nodes.size(), 2u) << broken.substr(0, 40);
    }
}

} // namespace
