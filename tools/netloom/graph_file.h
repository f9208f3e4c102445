#pragma once

// The tool's in-memory picture of a graph file: nodes and edges with the ids,
// ports, positions and labels the file gave, plus what is needed to write the
// same format back.

#include "front/record.h"

#include <nlohmann/json.hpp>
#include <pugixml.hpp>

#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

struct Agraph_s;
struct Agnode_s;

namespace netloom_cli {

// Key order of objects is kept, so a file written back reads like the original.
using Json = nlohmann::ordered_json;

enum class Format { Json, GraphMl, EdgeList, Dot, Svg, Png, Pdf, Html, Elk };

// A problem with an input file: the file, the line and column where known (0
// when not) and what is wrong. main prints it as one line and exits with 1.
class InputError : public std::runtime_error {
public:
    InputError(std::string file, int line, int column, const std::string& what)
        : std::runtime_error(what), m_file(std::move(file)), m_line(line), m_column(column) {}
    // "FILE:LINE:COLUMN: what", leaving out the parts that are not known.
    std::string Describe() const;

private:
    std::string m_file;
    int m_line;
    int m_column;
};

// JSON text of a value; bytes that are not UTF-8 (edge lists and GraphML may
// carry any encoding) are replaced instead of failing.
inline std::string DumpJson(const Json& value, int indent = -1) {
    return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

// Line and column (both from 1) of a byte offset into a text.
struct TextPosition {
    int line = 1;
    int column = 1;
};
TextPosition PositionAt(const std::string& text, std::size_t offset);

// The line starts of a text, found in one scan, so that the position of every
// element of a large file costs a binary search instead of a rescan.
class LineIndex {
public:
    explicit LineIndex(const std::string& text);
    TextPosition At(std::size_t offset) const;

private:
    std::vector<std::size_t> m_starts;
    std::size_t m_size;
};

// Element name without a namespace prefix ("y:Geometry" -> "Geometry").
std::string LocalName(const pugi::xml_node& node);

// Reads a whole file; throws InputError when it cannot be read.
std::string ReadWholeFile(const std::string& path);

// An id as the file wrote it: a JSON string or number. key is the text used to
// match ids (the string itself, or the number written as JSON).
struct FileId {
    Json value;
    std::string key;
};
FileId MakeId(const Json& value);

// Length of the UTF-8 sequence at text[i], or 0 when the bytes there are not
// valid UTF-8 (overlong forms and surrogates included).
std::size_t Utf8SequenceLength(const std::string& text, std::size_t i);

// Why an id cannot be used, or null when it can: ids must be UTF-8 text
// without control characters, so that every output format can carry them and
// two ids never become one when written.
const char* IdTextProblem(const std::string& text);
FileId MakeTextId(const std::string& text); // stays a string

struct FileNode {
    FileId id;
    std::string label; // empty: draw the id
    // A record node's fields (DOT shape=record): drawn as cells, its port
    // names at their fields; null for a plain box.
    std::shared_ptr<const netloom::front::RecordField> record;
    double x = 0.0;
    double y = 0.0;
    bool hasPosition = false;
    bool fixed = false;
    int line = 0;
    // Where the node sits in the source document, for writing the format back.
    std::size_t sourceIndex = 0;
};

struct FileEdge {
    std::optional<FileId> id;
    std::optional<FileId> key; // a multigraph's edge key: names an edge among its parallels
    std::size_t source = 0;    // index into FileGraph::nodes
    std::size_t target = 0;
    std::optional<int> length;
    std::optional<FileId> sourcePort;
    std::optional<FileId> targetPort;
    int line = 0;
    std::size_t sourceIndex = 0;
};

// What an ELK JSON file adds to the graph: the given box sizes, the ports
// (connected or not), how the edges pair up, and the layout options it sets.
struct ElkData {
    std::vector<double> widths, heights; // by node
    std::vector<std::size_t> parents;    // by node: its parent node, or kElkRoot
    struct Port {
        FileId id;
        std::size_t node = 0;
        double width = 0.0, height = 0.0;
        int side = -1;    // side code from the port's side option, -1 when not given
        std::string name; // the edges' name of the port when it is not the id
    };
    std::vector<Port> ports;                // in file order, node after node
    std::vector<std::size_t> edgeOf;        // by FileEdge: the ELK edge it came from
    std::vector<std::size_t> edgeContainer; // by ELK edge: the node that lists it, or kElkRoot
    // Layout options set by the file, where the tool has them.
    std::optional<int> type, direction, distance, layerSpacing;
};
constexpr std::size_t kElkRoot = ~std::size_t{0};

struct FileGraph {
    std::string path;
    Format format = Format::Json;
    std::vector<FileNode> nodes;
    std::vector<FileEdge> edges;

    // JSON input: the whole document and the key of its edge array.
    Json json;
    std::string jsonLinksKey = "links";
    // GraphML input: the document and its node and edge elements, in the order
    // of nodes and edges above.
    std::shared_ptr<pugi::xml_document> xml;
    std::vector<pugi::xml_node> xmlNodes;
    std::vector<pugi::xml_node> xmlEdges;
    // DOT input: the graph as Graphviz's library read it, and its nodes in the
    // order of nodes above.
    std::shared_ptr<Agraph_s> dot;
    std::vector<Agnode_s*> dotNodes;
    // ELK JSON input (the document is `json` above).
    std::shared_ptr<ElkData> elk;
    // Notes for the user about how the file was read.
    std::vector<std::string> warnings;
    // The input says its edges have a direction (DOT digraph, GraphML
    // edgedefault="directed", JSON "directed": true).
    bool directed = false;
    // The orientation of layered layouts the input asks for (DOT's rankdir,
    // 1 to 4 as --direction), or 0; bottomUp for BT.
    int direction = 0;
    bool bottomUp = false;

    // Looks a node up by id key; null when absent.
    const std::size_t* FindNode(const std::string& key) const;
    // Adds the last node of `nodes` to the index; false when its id is taken.
    bool IndexLastNode();
    void ReserveNodes(std::size_t count);

private:
    // Open addressing over a power-of-two table: a slot holds a node index and
    // its key's hash, so a lookup reads one slot and, on a hash match, one key.
    struct Slot {
        std::size_t index = kEmpty;
        std::size_t hash = 0;
    };
    static constexpr std::size_t kEmpty = ~std::size_t{0};
    void Rehash(std::size_t slots);
    std::vector<Slot> m_slots;
    std::size_t m_indexed = 0;
};

// Natural lengths must keep their square inside 32 bits.
constexpr int kMaxLength = 46340;

// Checks a length read from a file and rounds it to the library's integer.
int CheckedLength(double value, const std::string& file, int line, int column);

} // namespace netloom_cli
