// DOT (Graphviz) through Graphviz's own graph library: nodes, edges with their
// ports ("node:port", tailport, headport), pos (with pin or a trailing '!') as
// start positions and fixed flags, label (escapes such as \n and \N, record
// fields as cells, the text of HTML-like labels), len as the natural length, digraph as
// directed, rankdir (TB, LR, RL, BT) as the orientation of layered layouts; subgraphs and
// clusters are flattened, strict graphs keep one edge per pair as Graphviz does.

#include "readers.h"

#include "front/names.h"

#include <graphviz/cgraph.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>

// Drops what Graphviz's DOT scanner still holds of a text (the rest after the
// first graph, or after an error). Exported by the library, not declared in its
// public header.
extern "C" void aglexbad(void);

namespace netloom_cli {
namespace {

// Layout units are Graphviz points; len is in inches.
constexpr double kPointsPerInch = 72.0;

// Graphviz reports errors through a callback; the reader keeps the last one.
std::string& LastDotError() {
    static std::string message;
    return message;
}

int KeepDotError(char* message) {
    LastDotError() += message;
    return 0;
}

int IgnoreDotError(char*) {
    return 0;
}

// Graphviz's scanner keeps its state between reads: besides the rest of the
// text, a string, comment or HTML label left open stays open and swallows the
// start of the next text. Closes what is open until a probe reads cleanly.
void ResetScanner() {
    agseterrf(IgnoreDotError);
    // An HTML string may be nested deeply: each run of '>' closes up to 1024
    // levels (the '>' left over are mere syntax errors).
    const std::string closeHtml(1024, '>');
    for (const char* closer : {"", "\"", "*/", ">", closeHtml.c_str(), closeHtml.c_str(),
                               closeHtml.c_str(), closeHtml.c_str(), closeHtml.c_str(),
                               closeHtml.c_str(), closeHtml.c_str(), closeHtml.c_str()}) {
        if (*closer != '\0') {
            if (Agraph_t* g = agmemread(closer)) {
                agclose(g);
            }
            aglexbad();
        }
        agreseterrors();
        Agraph_t* probe = agmemread("graph{}");
        aglexbad();
        const bool clean = probe != nullptr && agerrors() == 0;
        if (probe != nullptr) {
            agclose(probe);
        }
        if (clean) {
            break;
        }
    }
    agreseterrors();
    agseterrf(KeepDotError);
}

// An attribute's value, or empty when the graph does not declare it.
std::string Attribute(void* object, const char* name) {
    const char* value = agget(object, const_cast<char*>(name));
    return value == nullptr ? std::string() : std::string(value);
}

// An attribute as a text id, or none when it is empty or not declared.
std::optional<FileId> TextAttribute(void* object, const char* name) {
    const std::string value = Attribute(object, name);
    return value.empty() ? std::nullopt : std::optional<FileId>(MakeTextId(value));
}

// The line Graphviz names in "syntax error in line 3 near ...", or 0.
int ErrorLine(const std::string& message) {
    const std::size_t at = message.find("line ");
    return at == std::string::npos ? 0 : std::atoi(message.c_str() + at + 5);
}

// A label's escapes as Graphviz reads them: \n, \l and \r end a line (a last
// line end adds no empty line), \N is the node's name, \G the graph's, \E, \T
// and \H (edge names) are empty on nodes, and any other escaped character
// stands for itself.
std::string Unescape(const std::string& text, const std::string& node, const std::string& graph) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const char c = text[++i];
        switch (c) {
        case 'n':
        case 'l':
        case 'r':
            if (i + 1 < text.size()) {
                out += '\n';
            }
            break;
        case 'N':
            out += node;
            break;
        case 'G':
            out += graph;
            break;
        case 'E':
        case 'T':
        case 'H':
            break;
        default:
            out += c;
        }
    }
    return out;
}

// The text of an HTML-like label: tags dropped, <br/> and the end of a table
// row as line breaks, table cells apart by a blank, entities decoded, runs of
// white space as one blank.
std::string HtmlText(const std::string& html) {
    std::string out;
    auto blank = [&out] {
        if (!out.empty() && out.back() != ' ' && out.back() != '\n') {
            out += ' ';
        }
    };
    for (std::size_t i = 0; i < html.size(); ++i) {
        const char c = html[i];
        if (c == '<') {
            const std::size_t end = html.find('>', i);
            std::string tag = html.substr(i + 1, end == std::string::npos ? end : end - i - 1);
            for (char& t : tag) {
                t = static_cast<char>(std::tolower(static_cast<unsigned char>(t)));
            }
            if (tag.compare(0, 2, "br") == 0 || tag == "/tr") {
                while (!out.empty() && out.back() == ' ') {
                    out.pop_back();
                }
                if (!out.empty() && out.back() != '\n') {
                    out += '\n';
                }
            } else if (tag == "/td") {
                blank();
            }
            if (end == std::string::npos) {
                break;
            }
            i = end;
        } else if (c == '&') {
            static const std::pair<const char*, const char*> kEntities[] = {
                {"&amp;", "&"},   {"&lt;", "<"},   {"&gt;", ">"},
                {"&quot;", "\""}, {"&apos;", "'"}, {"&nbsp;", " "}};
            bool known = false;
            for (const auto& [name, text] : kEntities) {
                if (html.compare(i, std::strlen(name), name) == 0) {
                    out += text;
                    i += std::strlen(name) - 1;
                    known = true;
                    break;
                }
            }
            if (!known) {
                out += c;
            }
        } else if (std::isspace(static_cast<unsigned char>(c))) {
            blank();
        } else {
            out += c;
        }
    }
    while (!out.empty() && (out.back() == ' ' || out.back() == '\n')) {
        out.pop_back();
    }
    return out;
}

class DotReader {
public:
    DotReader(const std::string& path, const std::string& text) : m_path(path), m_text(text) {}

    FileGraph Read() {
        FileGraph graph;
        graph.path = m_path;
        graph.format = Format::Dot;
        LastDotError().clear();
        agreseterrors(); // the count runs on from earlier reads
        agseterr(AGERR);
        agseterrf(KeepDotError);
        agreadline(1);
        Agraph_t* g = agmemread(m_text.c_str());
        const int errors = agerrors();
        aglexbad();
        ResetScanner();
        if (g == nullptr || errors != 0) {
            if (g != nullptr) {
                agclose(g);
            }
            std::string message = LastDotError();
            while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) {
                message.pop_back();
            }
            if (message.compare(0, 7, "Error: ") == 0) {
                message.erase(0, 7);
            }
            throw InputError(m_path, ErrorLine(message), 0,
                             "malformed DOT: " + (message.empty() ? "no graph" : message));
        }
        graph.dot.reset(g, [](Agraph_t* d) {
            const std::lock_guard<std::recursive_mutex> lock(GraphvizLock());
            agclose(d);
        });
        graph.directed = agisdirected(g) != 0;
        // rankdir as the orientation: TB, LR, RL, or BT (TB upside down).
        const std::string rankdir = Attribute(g, "rankdir");
        if (rankdir.size() == 2) {
            netloom::front::DirectionByName(rankdir, graph.direction, graph.bottomUp);
        }
        m_direction = graph.direction;
        m_graphName = agnameof(g) != nullptr ? agnameof(g) : "";
        graph.ReserveNodes(static_cast<std::size_t>(agnnodes(g)));
        for (Agnode_t* n = agfstnode(g); n != nullptr; n = agnxtnode(g, n)) {
            // Node names are looked up in a dictionary: do it once per node.
            const std::size_t seq = static_cast<std::size_t>(AGSEQ(n));
            if (seq >= m_nodeBySeq.size()) {
                m_nodeBySeq.resize(2 * seq + 1);
            }
            m_nodeBySeq[seq] = graph.nodes.size();
            ReadNode(graph, n);
        }
        std::vector<Agedge_t*> edges;
        for (Agnode_t* n = agfstnode(g); n != nullptr; n = agnxtnode(g, n)) {
            for (Agedge_t* e = agfstout(g, n); e != nullptr; e = agnxtout(g, e)) {
                edges.push_back(e);
            }
        }
        // In the order the file gave them.
        std::sort(edges.begin(), edges.end(),
                  [](Agedge_t* a, Agedge_t* b) { return AGSEQ(a) < AGSEQ(b); });
        graph.edges.reserve(edges.size());
        std::unordered_map<std::string, std::size_t> edgeIds;
        for (Agedge_t* e : edges) {
            ReadEdge(graph, e, edgeIds);
        }
        return graph;
    }

private:
    void ReadNode(FileGraph& graph, Agnode_t* n) {
        FileNode node;
        node.id = MakeTextId(agnameof(n));
        node.sourceIndex = graph.dotNodes.size();
        char* raw = agget(n, const_cast<char*>("label"));
        const std::string label = raw == nullptr ? std::string() : std::string(raw);
        const std::string shape = Attribute(n, "shape");
        if (raw != nullptr && aghtmlstr(raw)) {
            node.label = HtmlText(label);
        } else if ((shape == "record" || shape == "Mrecord") && !label.empty() && label != "\\N") {
            // Fields stack when the ranks run left to right, as Graphviz draws them.
            auto record = std::make_shared<netloom::front::RecordField>(
                netloom::front::ParseRecord(label, m_direction == 2 || m_direction == 4));
            netloom::front::ForEachLeaf(*record, [&](netloom::front::RecordField& field) {
                field.text = Unescape(field.text, node.id.key, m_graphName);
            });
            node.label = netloom::front::RecordText(*record);
            node.record = std::move(record);
        } else if (!label.empty() && label != "\\N") {
            node.label = Unescape(label, node.id.key, m_graphName);
        }
        // Graphviz's y grows upward, the layout's downward.
        const std::string pos = Attribute(n, "pos");
        if (!pos.empty()) {
            char* end = nullptr;
            const double x = std::strtod(pos.c_str(), &end);
            const bool comma = end != nullptr && *end == ',';
            const double y = comma ? std::strtod(end + 1, &end) : 0.0;
            if (!comma || !std::isfinite(x) || !std::isfinite(y)) {
                throw InputError(m_path, 0, 0,
                                 "node \"" + node.id.key + "\" pos \"" + pos + "\" is not \"x,y\"");
            }
            node.x = x;
            node.y = -y;
            node.hasPosition = true;
            node.fixed = std::strchr(end, '!') != nullptr;
        }
        const std::string pin = Attribute(n, "pin");
        if (pin == "true" || pin == "1" || pin == "yes") {
            node.fixed = true;
        }
        graph.dotNodes.push_back(n);
        AddFileNode(graph, std::move(node));
    }

    void ReadEdge(FileGraph& graph, Agedge_t* e,
                  std::unordered_map<std::string, std::size_t>& edgeIds) {
        FileEdge edge;
        edge.sourceIndex = graph.edges.size();
        edge.source = m_nodeBySeq[static_cast<std::size_t>(AGSEQ(agtail(e)))];
        edge.target = m_nodeBySeq[static_cast<std::size_t>(AGSEQ(aghead(e)))];
        const char* key = agnameof(e);
        if (key != nullptr && *key != '\0') {
            edge.key = MakeTextId(key);
        }
        edge.id = TextAttribute(e, "id");
        edge.sourcePort = TextAttribute(e, "tailport");
        edge.targetPort = TextAttribute(e, "headport");
        const std::string len = Attribute(e, "len");
        if (!len.empty()) {
            char* end = nullptr;
            const double value = std::strtod(len.c_str(), &end);
            if (end == len.c_str()) {
                throw InputError(m_path, 0, 0, "edge len \"" + len + "\" is not a number");
            }
            edge.length = CheckedLength(value * kPointsPerInch, m_path, 0, 0);
        }
        AddFileEdge(graph, std::move(edge), edgeIds);
    }

    const std::string& m_path;
    const std::string& m_text;
    std::vector<std::size_t> m_nodeBySeq; // node index by Graphviz's sequence number
    std::string m_graphName;
    int m_direction = 0;
};

} // namespace

std::recursive_mutex& GraphvizLock() {
    static std::recursive_mutex lock;
    return lock;
}

FileGraph ReadDot(const std::string& path, const std::string& text) {
    const std::lock_guard<std::recursive_mutex> lock(GraphvizLock());
    return DotReader(path, text).Read();
}

} // namespace netloom_cli
