#include "graph_file.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

namespace netloom_cli {

std::string InputError::Describe() const {
    std::string out = m_file;
    if (m_line > 0) {
        out += ":" + std::to_string(m_line);
        if (m_column > 0) {
            out += ":" + std::to_string(m_column);
        }
    }
    return out + ": " + what();
}

TextPosition PositionAt(const std::string& text, std::size_t offset) {
    TextPosition pos;
    const std::size_t end = offset < text.size() ? offset : text.size();
    for (std::size_t i = 0; i < end; ++i) {
        if (text[i] == '\n') {
            ++pos.line;
            pos.column = 1;
        } else {
            ++pos.column;
        }
    }
    return pos;
}

std::string ReadWholeFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw InputError(path, 0, 0, std::string("cannot open: ") + std::strerror(errno));
    }
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) {
        throw InputError(path, 0, 0, "cannot read the file");
    }
    return text.str();
}

FileId MakeId(const Json& value) {
    FileId id;
    id.value = value;
    id.key = value.is_string() ? value.get<std::string>() : DumpJson(value);
    return id;
}

FileId MakeTextId(const std::string& text) {
    return FileId{Json(text), text};
}

const std::size_t* FileGraph::FindNode(const std::string& key) const {
    const auto it = nodeIndex.find(key);
    return it == nodeIndex.end() ? nullptr : &it->second;
}

int CheckedLength(double value, const std::string& file, int line, int column) {
    if (!std::isfinite(value) || value < 0.0 || value > kMaxLength) {
        std::ostringstream msg;
        msg << "edge length " << value << " is out of range (0 to " << kMaxLength << ")";
        throw InputError(file, line, column, msg.str());
    }
    return static_cast<int>(std::lround(value));
}

} // namespace netloom_cli
