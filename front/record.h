#pragma once

// Record labels: a box divided into fields. "<f0> left|<f1> mid|{a|b}" is three
// fields side by side, the last one a group of two stacked fields: each level
// of braces turns the direction. "<f0>" names the field's port, so that an edge
// naming port f0 of the node meets the box at that field.

#include <string>
#include <vector>

namespace netloom::front {

struct RecordField {
    std::string text;                // a leaf's text, possibly several lines
    std::string portName;            // "<name>" of the label, empty when none
    int port = -1;                   // the port's number in the request (kNoPort: none)
    bool vertical = false;           // a group: its fields stacked top to bottom
    std::vector<RecordField> fields; // a group's fields; empty for a leaf
};

// The fields of a record label; the outer fields are stacked when vertical.
// \{ \} \| \< \> and "\ " are text; other escapes are kept as written, for
// the caller's own label escapes. Blanks around a field's text are dropped.
// A brace without its partner is closed at the end or ignored; groups nest at
// most kRecordDepth levels (deeper braces are ignored).
RecordField ParseRecord(const std::string& label, bool vertical);
inline constexpr int kRecordDepth = 32;

// The texts of the leaves in order, joined by " | " (empty ones left out).
std::string RecordText(const RecordField& record);

// Calls f(field) on every leaf, in order.
template <class F> void ForEachLeaf(RecordField& field, F&& f) {
    if (field.fields.empty()) {
        f(field);
    }
    for (RecordField& child : field.fields) {
        ForEachLeaf(child, f);
    }
}

} // namespace netloom::front
