// Node-link JSON: {"nodes": [{"id": ..., "x": ..., "y": ..., "fixed": ...}],
//                  "links" (or "edges"): [{"source": ..., "target": ..., "id": ...,
//                  "length": ..., "sourcePort": ..., "targetPort": ...}]}

#include "readers.h"

#include <cmath>
#include <iterator>
#include <map>
#include <utility>

namespace netloom_cli {
namespace {

using json = Json;

// A character iterator that publishes how far the JSON parser has read, so the
// position pass below knows the line of every element it is told about.
class TrackingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    TrackingIterator(const char* p, const char** cursor) : m_p(p), m_cursor(cursor) {}
    reference operator*() const { return *m_p; }
    TrackingIterator& operator++() {
        ++m_p;
        *m_cursor = m_p;
        return *this;
    }
    TrackingIterator operator++(int) {
        TrackingIterator old = *this;
        ++*this;
        return old;
    }
    bool operator==(const TrackingIterator& o) const { return m_p == o.m_p; }
    bool operator!=(const TrackingIterator& o) const { return m_p != o.m_p; }

private:
    const char* m_p;
    const char** m_cursor;
};

// Ignores every value; subclasses watch the structure.
class StructurePass : public json::json_sax_t {
public:
    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }
};

// Byte offsets of the elements of the top-level "nodes", "links" and "edges"
// arrays: one number per element, so that large files cost little to track.
class ElementPass : public StructurePass {
public:
    explicit ElementPass(const char* const* cursor, const char* begin)
        : m_cursor(cursor), m_begin(begin) {}

    std::map<std::string, std::vector<std::size_t>> starts;

    bool start_object(std::size_t) override {
        if (m_depth == 2 && m_topKey != nullptr) {
            m_topKey->push_back(static_cast<std::size_t>(*m_cursor - m_begin));
        }
        ++m_depth;
        return true;
    }
    bool key(string_t& k) override {
        if (m_depth == 1) {
            const bool tracked = k == "nodes" || k == "links" || k == "edges";
            m_topKey = tracked ? &starts[k] : nullptr;
        }
        return true;
    }
    bool end_object() override {
        --m_depth;
        return true;
    }
    bool start_array(std::size_t) override {
        if (m_depth != 1) {
            m_topKey = nullptr; // an array of arrays, or nested deeper
        }
        ++m_depth;
        return true;
    }
    bool end_array() override {
        --m_depth;
        return true;
    }

private:
    const char* const* m_cursor;
    const char* m_begin;
    std::vector<std::size_t>* m_topKey = nullptr;
    int m_depth = 0;
};

// Finds where a key of one object starts, for an error message about its value.
class KeyPass : public StructurePass {
public:
    KeyPass(const char* const* cursor, std::string wanted)
        : m_cursor(cursor), m_wanted(std::move(wanted)) {}

    const char* found = nullptr;

    bool start_object(std::size_t) override { return ++m_depth > 0; }
    bool key(string_t& k) override {
        if (m_depth == 1 && k == m_wanted) {
            found = *m_cursor;
            return false;
        }
        return true;
    }
    bool end_object() override { return --m_depth > 0; }
    bool start_array(std::size_t) override { return ++m_depth > 0; }
    bool end_array() override { return --m_depth > 0; }

private:
    const char* const* m_cursor;
    std::string m_wanted;
    int m_depth = 0;
};

class JsonReader {
public:
    JsonReader(const std::string& path, const std::string& text)
        : m_path(path), m_text(text), m_lineIndex(text) {}

    FileGraph Read() {
        FileGraph graph;
        graph.path = m_path;
        graph.format = Format::Json;
        try {
            graph.json = json::parse(m_text);
        } catch (const json::parse_error& e) {
            const std::size_t offset = e.byte > 0 ? e.byte - 1 : 0;
            const TextPosition pos = m_lineIndex.At(offset);
            throw InputError(m_path, pos.line, pos.column, "malformed JSON: " + ParserMessage(e));
        } catch (const json::exception& e) {
            // For example a number too large for a double.
            throw InputError(m_path, 0, 0, std::string("malformed JSON: ") + e.what());
        }
        const char* cursor = m_text.data();
        ElementPass pass(&cursor, m_text.data());
        json::sax_parse(TrackingIterator(m_text.data(), &cursor),
                        TrackingIterator(m_text.data() + m_text.size(), &cursor), &pass);
        m_starts = std::move(pass.starts);

        const json& doc = graph.json;
        if (!doc.is_object()) {
            throw InputError(m_path, 1, 0, "expected an object with \"nodes\" and \"links\"");
        }
        const auto directed = doc.find("directed");
        graph.directed = directed != doc.end() && directed->is_boolean() && directed->get<bool>();
        const auto nodes = doc.find("nodes");
        if (nodes == doc.end() || !nodes->is_array()) {
            throw InputError(m_path, 1, 0, "expected a \"nodes\" array");
        }
        graph.ReserveNodes(nodes->size());
        for (std::size_t i = 0; i < nodes->size(); ++i) {
            ReadNode(graph, (*nodes)[i], i);
        }

        const bool hasLinks = doc.contains("links");
        const bool hasEdges = doc.contains("edges");
        if (hasLinks && hasEdges) {
            throw InputError(m_path, 1, 0, "both \"links\" and \"edges\" are present; keep one");
        }
        graph.jsonLinksKey = hasEdges ? "edges" : "links";
        if (hasLinks || hasEdges) {
            const json& links = doc[graph.jsonLinksKey];
            if (!links.is_array()) {
                throw InputError(m_path, 1, 0, "\"" + graph.jsonLinksKey + "\" is not an array");
            }
            std::unordered_map<std::string, std::size_t> edgeIds;
            graph.edges.reserve(links.size());
            for (std::size_t i = 0; i < links.size(); ++i) {
                ReadLink(graph, links[i], i, edgeIds);
            }
        }
        return graph;
    }

private:
    static std::string ParserMessage(const json::parse_error& e) {
        // nlohmann's text is "[json.exception.parse_error.101] parse error at line 3,
        // column 5: syntax error while parsing ..."; keep the part after the position.
        std::string msg = e.what();
        const auto colon = msg.find(": ", msg.find("parse error"));
        return colon == std::string::npos ? msg : msg.substr(colon + 2);
    }

    int LineOf(const std::string& array, std::size_t index, const char* key = nullptr) const {
        const auto it = m_starts.find(array);
        if (it == m_starts.end() || index >= it->second.size()) {
            return 0;
        }
        std::size_t offset = it->second[index];
        if (key != nullptr) {
            // Only for an error message: parse the element again to find the key.
            // The offset lies just past the element's opening brace.
            const std::size_t brace = m_text.rfind('{', offset);
            const char* cursor = m_text.data() + (brace == std::string::npos ? offset : brace);
            KeyPass pass(&cursor, key);
            json::sax_parse(TrackingIterator(cursor, &cursor),
                            TrackingIterator(m_text.data() + m_text.size(), &cursor), &pass,
                            nlohmann::detail::input_format_t::json, false);
            if (pass.found != nullptr) {
                offset = static_cast<std::size_t>(pass.found - m_text.data());
            }
        }
        return m_lineIndex.At(offset).line;
    }

    [[noreturn]] void Fail(const std::string& array, std::size_t index, const char* key,
                           const std::string& what) const {
        throw InputError(m_path, LineOf(array, index, key), 0, what);
    }

    FileId ReadId(const json& value, const std::string& array, std::size_t index, const char* key,
                  const std::string& what) const {
        // networkx writes tuple ids (a grid's (0, 0)) as arrays.
        if (value.is_string() || value.is_number_integer() || value.is_array()) {
            return MakeId(value);
        }
        if (value.is_number() && std::isfinite(value.get<double>())) {
            return MakeId(value);
        }
        Fail(array, index, key,
             what + " must be a string, a number or an array, not " + DumpJson(value));
    }

    double ReadNumber(const json& object, const char* key, const std::string& array,
                      std::size_t index, const std::string& what, double fallback) const {
        const auto it = object.find(key);
        if (it == object.end() || it->is_null()) {
            return fallback;
        }
        if (!it->is_number() || !std::isfinite(it->get<double>())) {
            Fail(array, index, key,
                 what + " \"" + key + "\" must be a number, not " + DumpJson(*it));
        }
        return it->get<double>();
    }

    void ReadNode(FileGraph& graph, const json& element, std::size_t i) {
        const std::string where = "node " + std::to_string(i + 1);
        if (!element.is_object()) {
            Fail("nodes", i, nullptr, where + " is not an object");
        }
        const auto id = element.find("id");
        if (id == element.end()) {
            Fail("nodes", i, nullptr, where + " has no \"id\"");
        }
        FileNode node;
        node.id = ReadId(*id, "nodes", i, "id", where + " id");
        node.line = LineOf("nodes", i);
        node.sourceIndex = i;
        const std::string named = "node " + node.id.key;
        const bool hasX = element.contains("x") && !element["x"].is_null();
        const bool hasY = element.contains("y") && !element["y"].is_null();
        node.x = ReadNumber(element, "x", "nodes", i, named, 0.0);
        node.y = ReadNumber(element, "y", "nodes", i, named, 0.0);
        node.hasPosition = hasX || hasY;
        // d3 pins a node with fx and fy.
        const bool hasFx = element.contains("fx") && !element["fx"].is_null();
        const bool hasFy = element.contains("fy") && !element["fy"].is_null();
        if (hasFx || hasFy) {
            node.x = ReadNumber(element, "fx", "nodes", i, named, node.x);
            node.y = ReadNumber(element, "fy", "nodes", i, named, node.y);
            node.hasPosition = true;
            node.fixed = true;
        }
        const auto fixed = element.find("fixed");
        if (fixed != element.end() && !fixed->is_null()) {
            if (fixed->is_boolean()) {
                node.fixed = fixed->get<bool>();
            } else if (fixed->is_number()) {
                node.fixed = fixed->get<double>() != 0.0;
            } else {
                Fail("nodes", i, "fixed",
                     named + " \"fixed\" must be true or false, not " + DumpJson(*fixed));
            }
        }
        for (const char* key : {"label", "name"}) {
            const auto label = element.find(key);
            if (label != element.end() && !label->is_null()) {
                node.label = label->is_string() ? label->get<std::string>() : DumpJson(*label);
                break;
            }
        }
        try {
            AddFileNode(graph, std::move(node));
        } catch (const InputError& e) {
            Fail("nodes", i, "id", e.what());
        }
    }

    void ReadLink(FileGraph& graph, const json& element, std::size_t i,
                  std::unordered_map<std::string, std::size_t>& edgeIds) {
        const std::string& array = graph.jsonLinksKey;
        const std::string where = "link " + std::to_string(i + 1);
        if (!element.is_object()) {
            Fail(array, i, nullptr, where + " is not an object");
        }
        FileEdge edge;
        edge.line = LineOf(array, i);
        edge.sourceIndex = i;
        const char* ends[2] = {"source", "target"};
        for (int end = 0; end < 2; ++end) {
            const auto it = element.find(ends[end]);
            if (it == element.end()) {
                Fail(array, i, nullptr, where + " has no \"" + ends[end] + "\"");
            }
            // d3 replaces the ids with the node objects once it has run.
            const json& ref = it->is_object() && it->contains("id") ? (*it)["id"] : *it;
            const FileId nodeId = ReadId(ref, array, i, ends[end], where + " " + ends[end]);
            const std::size_t* index = graph.FindNode(nodeId.key);
            if (index == nullptr) {
                Fail(array, i, ends[end],
                     where + " " + ends[end] + " " + DumpJson(ref) + " is not a node");
            }
            (end == 0 ? edge.source : edge.target) = *index;
        }
        const auto id = element.find("id");
        if (id != element.end() && !id->is_null()) {
            edge.id = ReadId(*id, array, i, "id", where + " id");
        }
        const auto length = element.find("length");
        if (length != element.end() && !length->is_null()) {
            const double value = ReadNumber(element, "length", array, i, where, 0.0);
            try {
                edge.length = CheckedLength(value, m_path, 0, 0);
            } catch (const InputError& e) {
                Fail(array, i, "length", where + ": " + e.what());
            }
        }
        // The names d3, networkx users and Graphviz give the ports, first found.
        const char* ports[2][3] = {{"sourcePort", "source_port", "tailport"},
                                   {"targetPort", "target_port", "headport"}};
        for (int end = 0; end < 2; ++end) {
            for (const char* key : ports[end]) {
                const auto it = element.find(key);
                if (it != element.end() && !it->is_null()) {
                    (end == 0 ? edge.sourcePort : edge.targetPort) =
                        ReadId(*it, array, i, key, where + " " + key);
                    break;
                }
            }
        }
        try {
            AddFileEdge(graph, std::move(edge), edgeIds);
        } catch (const InputError& e) {
            Fail(array, i, "id", e.what());
        }
    }

    const std::string& m_path;
    const std::string& m_text;
    LineIndex m_lineIndex;
    std::map<std::string, std::vector<std::size_t>> m_starts;
};

} // namespace

FileGraph ReadJsonGraph(const std::string& path, const std::string& text) {
    return JsonReader(path, text).Read();
}

} // namespace netloom_cli
