// Plain edge lists, one edge per line:
//
//   SOURCE TARGET [LENGTH] [id=ID] [length=N] [sourcePort=P] [targetPort=P]
//
// A line with one id declares a node (for nodes without edges), optionally
// with x=, y=, fixed= and label=. '#' starts a comment; ids with spaces are
// written in double quotes. A trailing {...} (networkx's edge data) is ignored.

#include "readers.h"

#include <algorithm>

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <set>
#include <string_view>

namespace netloom_cli {
namespace {

// Reads a quoted text whose opening quote is just before i, with backslash
// escapes, up to its closing quote; false when the line ends first.
bool ReadQuoted(const std::string& line, std::size_t& i, std::string& out) {
    while (i < line.size()) {
        if (line[i] == '\\' && i + 1 < line.size()) {
            out += line[i + 1];
            i += 2;
        } else if (line[i] == '"') {
            ++i;
            return true;
        } else {
            out += line[i++];
        }
    }
    return false;
}

struct Token {
    std::string text;
    int column = 0;
    bool quoted = false;
    bool quotedValue = false;               // key="value"
    std::size_t equals = std::string::npos; // position of '=' in an attribute
};

class EdgeListReader {
public:
    EdgeListReader(const std::string& path, const std::string& text) : m_path(path), m_text(text) {}

    FileGraph Read() {
        FileGraph graph;
        graph.path = m_path;
        graph.format = Format::EdgeList;
        // One edge per line, and in a tree about one new node per line.
        const auto lines =
            static_cast<std::size_t>(std::count(m_text.begin(), m_text.end(), '\n') + 1);
        graph.edges.reserve(lines);
        graph.ReserveNodes(lines + 1);
        std::size_t start = 0;
        int lineNumber = 0;
        while (start < m_text.size()) {
            std::size_t end = m_text.find('\n', start);
            if (end == std::string::npos) {
                end = m_text.size();
            }
            ++lineNumber;
            std::string_view view(m_text.data() + start, end - start);
            if (!view.empty() && view.back() == '\r') {
                view.remove_suffix(1);
            }
            if (!ReadPlainEdge(graph, view, lineNumber)) {
                ReadLine(graph, std::string(view), lineNumber);
            }
            start = end + 1;
        }
        return graph;
    }

private:
    [[noreturn]] void Fail(int line, int column, const std::string& what) const {
        throw InputError(m_path, line, column, what);
    }

    std::vector<Token> Split(const std::string& line, int lineNumber) const {
        std::vector<Token> tokens;
        std::size_t i = 0;
        while (i < line.size()) {
            if (line[i] == ' ' || line[i] == '\t') {
                ++i;
                continue;
            }
            if (line[i] == '#' || (line[i] == '%' && tokens.empty()) || line[i] == '{') {
                break;
            }
            Token token;
            token.column = static_cast<int>(i) + 1;
            if (line[i] == '"') {
                token.quoted = true;
                ++i;
                if (!ReadQuoted(line, i, token.text)) {
                    Fail(lineNumber, token.column, "unterminated quoted id");
                }
            } else {
                while (i < line.size() && line[i] != ' ' && line[i] != '\t') {
                    if (line[i] == '=' && token.equals == std::string::npos) {
                        token.equals = token.text.size();
                    }
                    if (line[i] == '"' && token.equals != std::string::npos &&
                        token.equals == token.text.size() - 1) {
                        // key="quoted value"
                        const int column = static_cast<int>(i) + 1;
                        ++i;
                        if (!ReadQuoted(line, i, token.text)) {
                            Fail(lineNumber, column, "unterminated quoted value");
                        }
                        token.quotedValue = true;
                        continue;
                    }
                    token.text += line[i++];
                }
            }
            tokens.push_back(std::move(token));
        }
        return tokens;
    }

    // Whether an unquoted id is an integer written as JSON writes it (no sign
    // of zero, no leading zeros, at most 18 digits): such ids become numbers,
    // and their text is already their key.
    static bool IsIntegerId(std::string_view text) {
        if (text.empty()) {
            return false;
        }
        const std::size_t digits = text[0] == '-' ? 1 : 0;
        bool integer = text.size() > digits && text.size() - digits <= 18;
        for (std::size_t k = digits; integer && k < text.size(); ++k) {
            integer = text[k] >= '0' && text[k] <= '9';
        }
        return integer && (text.size() == digits + 1 || text[digits] != '0') && text != "-0";
    }

    static FileId IntegerId(std::string key) {
        return FileId{Json(std::stoll(key)), std::move(key)};
    }

    // Unquoted integers become numbers, everything else stays text.
    static FileId TokenId(const Token& token, std::size_t from = 0) {
        std::string text = token.text.substr(from);
        const bool quoted = from == 0 ? token.quoted : token.quotedValue;
        if (!quoted && IsIntegerId(text)) {
            return IntegerId(std::move(text));
        }
        return MakeTextId(text);
    }

    // A line of two integer ids and nothing else, the bulk of a large file,
    // read without splitting it into tokens; false for any other line, which
    // then takes the general path.
    bool ReadPlainEdge(FileGraph& graph, std::string_view line, int lineNumber) {
        auto blank = [&](std::size_t k) { return line[k] == ' ' || line[k] == '\t'; };
        std::string_view ids[2];
        std::size_t i = 0;
        for (std::string_view& id : ids) {
            while (i < line.size() && blank(i)) {
                ++i;
            }
            const std::size_t from = i;
            while (i < line.size() && !blank(i)) {
                ++i;
            }
            id = line.substr(from, i - from);
            if (!IsIntegerId(id)) {
                return false;
            }
        }
        while (i < line.size() && blank(i)) {
            ++i;
        }
        if (i != line.size()) {
            return false;
        }
        FileEdge edge;
        edge.line = lineNumber;
        edge.sourceIndex = graph.edges.size();
        edge.source = IntegerNode(graph, ids[0], lineNumber);
        edge.target = IntegerNode(graph, ids[1], lineNumber);
        AddFileEdge(graph, std::move(edge), m_edgeIds);
        return true;
    }

    std::size_t IntegerNode(FileGraph& graph, std::string_view text, int line) {
        std::string key(text);
        if (const std::size_t* index = graph.FindNode(key)) {
            return *index;
        }
        return NewNode(graph, IntegerId(std::move(key)), line);
    }

    std::size_t NewNode(FileGraph& graph, FileId id, int line) {
        FileNode node;
        node.id = std::move(id);
        node.line = line;
        node.sourceIndex = graph.nodes.size();
        return AddFileNode(graph, std::move(node));
    }

    double Number(const std::string& text, int line, int column, const std::string& what) const {
        errno = 0;
        char* end = nullptr;
        const double value = std::strtod(text.c_str(), &end);
        if (text.empty() || *end != '\0' || errno == ERANGE || value != value) {
            Fail(line, column, what + " \"" + text + "\" is not a number");
        }
        return value;
    }

    std::size_t NodeFor(FileGraph& graph, const Token& token, int line) {
        const FileId id = TokenId(token);
        if (const std::size_t* index = graph.FindNode(id.key)) {
            return *index;
        }
        return NewNode(graph, id, line);
    }

    void ReadLine(FileGraph& graph, const std::string& line, int lineNumber) {
        const std::vector<Token> tokens = Split(line, lineNumber);
        std::vector<const Token*> plain;
        std::vector<const Token*> attributes;
        for (const Token& token : tokens) {
            (token.equals != std::string::npos && !token.quoted ? attributes : plain)
                .push_back(&token);
        }
        if (plain.empty()) {
            if (!attributes.empty()) {
                Fail(lineNumber, attributes[0]->column, "attributes without a node or edge");
            }
            return;
        }
        if (plain.size() == 1) {
            ReadNodeLine(graph, *plain[0], attributes, lineNumber);
            return;
        }
        if (plain.size() > 3) {
            Fail(lineNumber, plain[3]->column, "unexpected \"" + plain[3]->text + "\"");
        }
        FileEdge edge;
        edge.line = lineNumber;
        edge.sourceIndex = graph.edges.size();
        edge.source = NodeFor(graph, *plain[0], lineNumber);
        edge.target = NodeFor(graph, *plain[1], lineNumber);
        if (plain.size() == 3) {
            edge.length = Length(plain[2]->text, lineNumber, plain[2]->column);
        }
        for (const Token* attr : attributes) {
            const std::string key = attr->text.substr(0, attr->equals);
            const std::string value = attr->text.substr(attr->equals + 1);
            if (key == "id") {
                edge.id = TokenId(*attr, attr->equals + 1);
            } else if (key == "length") {
                edge.length = Length(value, lineNumber, attr->column);
            } else if (key == "sourcePort") {
                edge.sourcePort = TokenId(*attr, attr->equals + 1);
            } else if (key == "targetPort") {
                edge.targetPort = TokenId(*attr, attr->equals + 1);
            } else {
                Fail(lineNumber, attr->column, "unknown edge attribute \"" + key + "\"");
            }
        }
        AddFileEdge(graph, std::move(edge), m_edgeIds);
    }

    int Length(const std::string& text, int line, int column) const {
        return CheckedLength(Number(text, line, column, "length"), m_path, line, column);
    }

    void ReadNodeLine(FileGraph& graph, const Token& idToken,
                      const std::vector<const Token*>& attributes, int lineNumber) {
        const FileId id = TokenId(idToken);
        if (m_declared.count(id.key) != 0) {
            Fail(lineNumber, idToken.column, "duplicate node id " + DumpJson(id.value));
        }
        m_declared.insert(id.key);
        const std::size_t index = NodeFor(graph, idToken, lineNumber);
        FileNode& node = graph.nodes[index];
        for (const Token* attr : attributes) {
            const std::string key = attr->text.substr(0, attr->equals);
            const std::string value = attr->text.substr(attr->equals + 1);
            if (key == "x") {
                node.x = Number(value, lineNumber, attr->column, "x");
                node.hasPosition = true;
            } else if (key == "y") {
                node.y = Number(value, lineNumber, attr->column, "y");
                node.hasPosition = true;
            } else if (key == "fixed") {
                node.fixed = value == "1" || value == "true" || value == "yes";
            } else if (key == "label") {
                node.label = value;
            } else {
                Fail(lineNumber, attr->column, "unknown node attribute \"" + key + "\"");
            }
        }
    }

    const std::string& m_path;
    const std::string& m_text;
    std::unordered_map<std::string, std::size_t> m_edgeIds;
    std::set<std::string> m_declared;
};

} // namespace

FileGraph ReadEdgeList(const std::string& path, const std::string& text) {
    return EdgeListReader(path, text).Read();
}

} // namespace netloom_cli
