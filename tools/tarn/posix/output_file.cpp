#include "../output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace tarn_tool {
namespace {

// A link is followed: the file it names is replaced, and the link stays.
std::string link_target(const std::string &path) {
    struct stat st;
    char *real = lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode) ? realpath(path.c_str(), nullptr) : nullptr;
    const std::string target = real ? real : path;
    std::free(real);
    return target;
}

}  // namespace

bool replace_file(const std::string &from, const std::string &to) {
    // A file the user may not write is not replaced either. The data reaches the disk before the
    // name does; an existing file keeps its mode and group where the system lets it.
    struct stat old;
    const bool existed = stat(to.c_str(), &old) == 0;
    if (existed && access(to.c_str(), W_OK) != 0) return false;
    const int fd = open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd >= 0 && existed) {
        [[maybe_unused]] const int grouped = fchown(fd, uid_t(-1), old.st_gid);
        [[maybe_unused]] const int moded = fchmod(fd, old.st_mode & 07777);
    }
    const bool ok = fd >= 0 && fdatasync(fd) == 0;
    if (fd >= 0) close(fd);
    return ok && std::rename(from.c_str(), link_target(to).c_str()) == 0;
}

std::string temp_name_beside(const std::string &path) {
    struct stat st;
    if (stat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) return "";
    return link_target(path) + "." + std::to_string(getpid()) + ".tmp";
}

}  // namespace tarn_tool
