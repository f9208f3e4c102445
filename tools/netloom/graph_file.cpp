#include "graph_file.h"

#include <algorithm>
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
    return LineIndex(text).At(offset);
}

LineIndex::LineIndex(const std::string& text) : m_starts{0}, m_size(text.size()) {
    for (std::size_t i = text.find('\n'); i != std::string::npos; i = text.find('\n', i + 1)) {
        m_starts.push_back(i + 1);
    }
}

TextPosition LineIndex::At(std::size_t offset) const {
    const std::size_t end = offset < m_size ? offset : m_size;
    const auto next = std::upper_bound(m_starts.begin(), m_starts.end(), end);
    TextPosition pos;
    pos.line = static_cast<int>(next - m_starts.begin());
    pos.column = static_cast<int>(end - *(next - 1)) + 1;
    return pos;
}

std::string LocalName(const pugi::xml_node& node) {
    const char* name = node.name();
    const char* colon = std::strrchr(name, ':');
    return colon != nullptr ? colon + 1 : name;
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

std::size_t Utf8SequenceLength(const std::string& text, std::size_t i) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    if (lead < 0x80) {
        return 1;
    }
    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        low = lead == 0xE0 ? 0xA0 : 0x80;
        high = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        low = lead == 0xF0 ? 0x90 : 0x80;
        high = lead == 0xF4 ? 0x8F : 0xBF;
    } else {
        return 0;
    }
    if (i + length > text.size()) {
        return 0;
    }
    for (std::size_t k = 1; k < length; ++k) {
        const unsigned char b = byte(i + k);
        if (b < (k == 1 ? low : 0x80) || b > (k == 1 ? high : 0xBF)) {
            return 0;
        }
    }
    return length;
}

const char* IdTextProblem(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c == 0x7F) {
            return "contains a control character";
        }
        const std::size_t length = Utf8SequenceLength(text, i);
        if (length == 0) {
            return "is not UTF-8 text";
        }
        i += length;
    }
    return nullptr;
}

FileId MakeTextId(const std::string& text) {
    return FileId{Json(text), text};
}

const std::size_t* FileGraph::FindNode(const std::string& key) const {
    if (m_slots.empty()) {
        return nullptr;
    }
    const std::size_t hash = std::hash<std::string>()(key);
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
        const Slot& slot = m_slots[i];
        if (slot.index == kEmpty) {
            return nullptr;
        }
        if (slot.hash == hash && nodes[slot.index].id.key == key) {
            return &slot.index;
        }
    }
}

bool FileGraph::IndexLastNode() {
    const std::string& key = nodes.back().id.key;
    if (FindNode(key) != nullptr) {
        return false;
    }
    if (2 * (m_indexed + 1) > m_slots.size()) {
        Rehash(std::max<std::size_t>(16, 2 * m_slots.size()));
    }
    const std::size_t hash = std::hash<std::string>()(key);
    const std::size_t mask = m_slots.size() - 1;
    std::size_t i = hash & mask;
    while (m_slots[i].index != kEmpty) {
        i = (i + 1) & mask;
    }
    m_slots[i] = Slot{nodes.size() - 1, hash};
    ++m_indexed;
    return true;
}

void FileGraph::ReserveNodes(std::size_t count) {
    nodes.reserve(count);
    std::size_t slots = 16;
    while (slots < 2 * count) {
        slots *= 2;
    }
    if (slots > m_slots.size()) {
        Rehash(slots);
    }
}

void FileGraph::Rehash(std::size_t slots) {
    std::vector<Slot> old(slots);
    old.swap(m_slots);
    const std::size_t mask = slots - 1;
    for (const Slot& slot : old) {
        if (slot.index != kEmpty) {
            std::size_t i = slot.hash & mask;
            while (m_slots[i].index != kEmpty) {
                i = (i + 1) & mask;
            }
            m_slots[i] = slot;
        }
    }
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
