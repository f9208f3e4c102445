#pragma once

#include <stdexcept>
#include <string>

namespace netloom_cli {

class OutputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A file written beside path under a temporary name and renamed over path by
// Commit, so that a failure never leaves a half-written file or harms an
// existing one: without Commit the temporary file is removed.
class AtomicFile {
public:
    explicit AtomicFile(const std::string& path);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    void Write(const std::string& content);
    void Commit();

private:
    [[noreturn]] void Fail(const std::string& what);

    std::string m_path;
    std::string m_temp;
    int m_fd = -1;
};

// Writes content through an AtomicFile.
void WriteFileAtomically(const std::string& path, const std::string& content);

} // namespace netloom_cli
