#pragma once

#include <stdexcept>
#include <string>

namespace netloom_cli {

class OutputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Writes content to a temporary file beside path and renames it over path, so
// that a failure never leaves a half-written file or harms an existing one.
void WriteFileAtomically(const std::string& path, const std::string& content);

} // namespace netloom_cli
