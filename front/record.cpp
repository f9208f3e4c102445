#include "record.h"

#include <cstring>

namespace netloom::front {

namespace {

void Trim(std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) {
        text.clear();
        return;
    }
    text = text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

class RecordParser {
public:
    explicit RecordParser(const std::string& label) : m_label(label) {}

    // The fields up to the '}' that closes this group (or the end).
    RecordField Group(bool vertical, int depth) {
        RecordField group;
        group.vertical = vertical;
        RecordField field;
        bool inPort = false;
        int ignored = 0; // braces past the depth limit still open
        auto finish = [&] {
            Trim(field.text);
            Trim(field.portName);
            group.fields.push_back(std::move(field));
            field = RecordField();
            inPort = false;
        };
        while (m_at < m_label.size()) {
            const char c = m_label[m_at++];
            std::string& to = inPort ? field.portName : field.text;
            if (c == '\\' && m_at < m_label.size()) {
                const char next = m_label[m_at++];
                if (std::strchr("{}|<> ", next) == nullptr) {
                    to += '\\';
                }
                to += next;
            } else if (inPort && c == '>') {
                inPort = false;
            } else if (c == '<' && !inPort) {
                inPort = true;
            } else if (c == '|') {
                finish();
            } else if (c == '{') {
                if (depth + 1 >= kRecordDepth) {
                    ++ignored;
                    continue;
                }
                std::string name = field.portName;
                field = Group(!vertical, depth + 1);
                field.portName = std::move(name);
            } else if (c == '}') {
                if (ignored > 0) {
                    --ignored;
                } else if (depth > 0) {
                    break;
                }
            } else {
                to += c;
            }
        }
        finish();
        return group;
    }

private:
    const std::string& m_label;
    std::size_t m_at = 0;
};

void AppendText(const RecordField& field, std::string& out, bool& first) {
    if (field.fields.empty() && !field.text.empty()) {
        out += (first ? "" : " | ") + field.text;
        first = false;
    }
    for (const RecordField& child : field.fields) {
        AppendText(child, out, first);
    }
}

} // namespace

RecordField ParseRecord(const std::string& label, bool vertical) {
    return RecordParser(label).Group(vertical, 0);
}

std::string RecordText(const RecordField& record) {
    std::string out;
    bool first = true;
    AppendText(record, out, first);
    return out;
}

} // namespace netloom::front
