// Graphviz's DOT parser keeps its scanner in global state: a broken input must
// not spoil the next read.

#include "readers.h"

#include "front/record.h"

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

// A record's fields written back: (a|b) side by side, {a|b} stacked, <p> a port.
std::string Fields(const netloom::front::RecordField& f) {
    if (f.fields.empty()) {
        return (f.portName.empty() ? "" : "<" + f.portName + ">") + f.text;
    }
    std::string out = f.vertical ? "{" : "(";
    for (std::size_t k = 0; k < f.fields.size(); ++k) {
        out += (k > 0 ? "|" : "") + Fields(f.fields[k]);
    }
    return out + (f.vertical ? "}" : ")");
}

TEST(ReadDot, RecordLabelsBecomeFields) {
    const std::pair<const char*, const char*> cases[] = {
        {"<f0> left|<f1> mid\\ dle| right ", "(<f0>left|<f1>mid dle|right)"},
        {"a|{b|{c|<p>d}|e}", "(a|{b|(c|<p>d)|e})"},
        {"x\\|y \\{z\\} \\<w\\>", "(x|y {z} <w>)"},
        {"line\\none|\\N", "(line\\none|\\N)"}, // label escapes left to the reader
        {"a||b", "(a||b)"},
        {"", "()"},
        {"a|{b", "(a|{b})"}, // an open brace closes at the end
        {"a}|b", "(a|b)"},   // a stray closing brace is dropped
    };
    for (const auto& [label, fields] : cases) {
        EXPECT_EQ(Fields(netloom::front::ParseRecord(label, false)), fields) << label;
    }
    EXPECT_EQ(Fields(netloom::front::ParseRecord("a|{b|c}", true)), "{a|(b|c)}");
    // Braces nest only so deep; deeper ones are ignored.
    const std::string deep = std::string(1000, '{') + "x" + std::string(1000, '}');
    std::string flat = Fields(netloom::front::ParseRecord(deep, false));
    EXPECT_EQ(flat.size(), 2 * netloom::front::kRecordDepth + 1) << flat;
}

} // namespace
