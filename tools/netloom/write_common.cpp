#include "writers.h"

#include <charconv>
#include <cmath>

namespace netloom_cli {

std::string FormatNumber(double value) {
    if (!std::isfinite(value)) {
        return "0";
    }
    // The fewest of 15, 16 or 17 significant digits that read back as the
    // same double, in printf's %g form; to_chars and from_chars give exactly
    // printf's and strtod's results without their locale and buffer costs.
    char buffer[32];
    char* end = buffer;
    for (int precision = 15; precision <= 17; ++precision) {
        end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general,
                            precision)
                  .ptr;
        double back = 0.0;
        std::from_chars(buffer, end, back);
        if (back == value) {
            break;
        }
    }
    return std::string(buffer, end);
}

std::string XmlEscape(const std::string& text) {
    // XML 1.0 cannot carry most control characters, even as references, nor
    // bytes that are not UTF-8: both become U+FFFD. Tab and line breaks are
    // written as references so that attribute values keep them.
    static const char kReplacement[] = "\xEF\xBF\xBD";
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        const std::size_t length = Utf8SequenceLength(text, i);
        if (length == 0) {
            out += kReplacement;
            ++i;
            continue;
        }
        if (length > 1) {
            out.append(text, i, length);
            i += length;
            continue;
        }
        ++i;
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\t':
            out += "&#9;";
            break;
        case '\n':
            out += "&#10;";
            break;
        case '\r':
            out += "&#13;";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                out += kReplacement;
            } else {
                out += c;
            }
        }
    }
    return out;
}

} // namespace netloom_cli
