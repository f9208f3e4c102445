#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace netloom_cli {

AtomicFile::AtomicFile(const std::string& path) : m_path(path) {
    const std::size_t slash = path.find_last_of('/');
    const std::string dir = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string pattern =
        (slash == std::string::npos ? std::string() : dir) + "." + name + ".netloom-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    m_fd = mkstemp(buffer.data());
    if (m_fd < 0) {
        throw OutputError(path + ": cannot create a file in " + dir + ": " + std::strerror(errno));
    }
    m_temp = buffer.data();

    // An existing file keeps its permissions; a new one gets the usual 0666 less umask.
    struct stat existing {};
    mode_t mode = 0;
    if (stat(path.c_str(), &existing) == 0) {
        if (!S_ISREG(existing.st_mode)) {
            errno = EISDIR;
            Fail("not a regular file");
        }
        mode = existing.st_mode & 07777;
    } else {
        const mode_t mask = umask(0);
        umask(mask);
        mode = 0666 & ~mask;
    }
    if (fchmod(m_fd, mode) != 0) {
        Fail("cannot set permissions");
    }
}

AtomicFile::~AtomicFile() {
    if (m_fd >= 0) {
        close(m_fd);
        unlink(m_temp.c_str());
    }
}

void AtomicFile::Fail(const std::string& what) {
    const int error = errno;
    close(m_fd);
    m_fd = -1;
    unlink(m_temp.c_str());
    throw OutputError(m_path + ": " + what + ": " + std::strerror(error));
}

void AtomicFile::Write(const std::string& content) {
    std::size_t written = 0;
    while (written < content.size()) {
        const ssize_t n = write(m_fd, content.data() + written, content.size() - written);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            Fail("cannot write");
        }
        written += static_cast<std::size_t>(n);
    }
}

void AtomicFile::Commit() {
    if (fsync(m_fd) != 0 && errno != EINVAL) {
        Fail("cannot write");
    }
    const int fd = m_fd;
    m_fd = -1;
    if (close(fd) != 0) {
        const int error = errno;
        unlink(m_temp.c_str());
        throw OutputError(m_path + ": cannot write: " + std::strerror(error));
    }
    if (std::rename(m_temp.c_str(), m_path.c_str()) != 0) {
        const int error = errno;
        unlink(m_temp.c_str());
        throw OutputError(m_path + ": cannot replace the file: " + std::strerror(error));
    }
}

void WriteFileAtomically(const std::string& path, const std::string& content) {
    AtomicFile file(path);
    file.Write(content);
    file.Commit();
}

} // namespace netloom_cli
