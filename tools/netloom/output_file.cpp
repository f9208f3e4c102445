#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace netloom_cli {

void WriteFileAtomically(const std::string& path, const std::string& content) {
    const std::size_t slash = path.find_last_of('/');
    const std::string dir = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string pattern =
        (slash == std::string::npos ? std::string() : dir) + "." + name + ".netloom-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    const int fd = mkstemp(buffer.data());
    if (fd < 0) {
        throw OutputError(path + ": cannot create a file in " + dir + ": " + std::strerror(errno));
    }
    const std::string temp(buffer.data());
    auto fail = [&](const std::string& what) {
        const int error = errno;
        close(fd);
        unlink(temp.c_str());
        throw OutputError(path + ": " + what + ": " + std::strerror(error));
    };

    // An existing file keeps its permissions; a new one gets the usual 0666 less umask.
    struct stat existing {};
    mode_t mode = 0;
    if (stat(path.c_str(), &existing) == 0) {
        if (!S_ISREG(existing.st_mode)) {
            errno = EISDIR;
            fail("not a regular file");
        }
        mode = existing.st_mode & 07777;
    } else {
        const mode_t mask = umask(0);
        umask(mask);
        mode = 0666 & ~mask;
    }
    if (fchmod(fd, mode) != 0) {
        fail("cannot set permissions");
    }
    std::size_t written = 0;
    while (written < content.size()) {
        const ssize_t n = write(fd, content.data() + written, content.size() - written);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            fail("cannot write");
        }
        written += static_cast<std::size_t>(n);
    }
    if (fsync(fd) != 0 && errno != EINVAL) {
        fail("cannot write");
    }
    if (close(fd) != 0) {
        const int error = errno;
        unlink(temp.c_str());
        throw OutputError(path + ": cannot write: " + std::strerror(error));
    }
    if (std::rename(temp.c_str(), path.c_str()) != 0) {
        const int error = errno;
        unlink(temp.c_str());
        throw OutputError(path + ": cannot replace the file: " + std::strerror(error));
    }
}

} // namespace netloom_cli
