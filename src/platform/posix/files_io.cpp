// File handles over POSIX descriptors: a HANDLE is the descriptor's number as a pointer, "\" in
// paths is "/", and failures leave a Windows error number as the last error. Every call that has
// an entry in the fault table asks it first and then fails as the system call would.
#include "platform/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <unordered_map>

#include "platform/syscall.h"
#include "platform/last_error.h"

namespace plat {
namespace {

// Windows error numbers.
constexpr uint32_t kErrFileNotFound = 2, kErrPathNotFound = 3, kErrTooManyOpen = 4,
                   kErrAccessDenied = 5, kErrInvalidHandle = 6, kErrGenFailure = 31,
                   kErrSharingViolation = 32, kErrFileExists = 80, kErrInvalidParameter = 87,
                   kErrDiskFull = 112, kErrNegativeSeek = 131, kErrNameTooLong = 206;

uint32_t windows_error(int e) {
    switch (e) {
    case ENOENT: return kErrFileNotFound;
    case ENOTDIR: return kErrPathNotFound;
    case EACCES:
    case EPERM:
    case EISDIR: return kErrAccessDenied;
    case EMFILE:
    case ENFILE: return kErrTooManyOpen;
    case EEXIST: return kErrFileExists;
    case ENOSPC: return kErrDiskFull;
    case EBADF: return kErrInvalidHandle;
    case EINVAL: return kErrInvalidParameter;
    case ENAMETOOLONG: return kErrNameTooLong;
    default: return kErrGenFailure;
    }
}

void fail_with_errno() { set_last_error(windows_error(errno)); }

int fd_of(HANDLE h) { return int(reinterpret_cast<intptr_t>(h)); }
HANDLE handle_of(int fd) { return reinterpret_cast<HANDLE>(intptr_t(fd)); }
const HANDLE kInvalidHandle = handle_of(-1);

std::string posix_path(const char *path) {
    std::string s(path ? path : "");
    std::replace(s.begin(), s.end(), '\\', '/');
    return s;
}

int whence_of(int origin) {
    switch (origin) {
    case 0: return SEEK_SET;
    case 1: return SEEK_CUR;
    case 2: return SEEK_END;
    default: return -1;
    }
}

// Windows' file times count 100 ns since 1 January 1601; 369 years lie before 1970.
constexpr int64_t kEpochDelta = 11644473600LL;

uint64_t to_file_time(const struct timespec &t) {
    return uint64_t((int64_t(t.tv_sec) + kEpochDelta) * 10000000LL + t.tv_nsec / 100);
}

struct timespec to_timespec(uint64_t v) {
    struct timespec t;
    if (v == 0) {
        t.tv_sec = 0;
        t.tv_nsec = UTIME_OMIT;
        return t;
    }
    t.tv_sec = time_t(int64_t(v / 10000000u) - kEpochDelta);
    t.tv_nsec = long(v % 10000000u) * 100;
    return t;
}

// Whole reads and writes, as ReadFile and WriteFile do on a file; a signal does not cut them.
int64_t read_all(int fd, void *buffer, size_t count) {
    size_t done = 0;
    while (done < count) {
        const ssize_t n = ::read(fd, static_cast<char *>(buffer) + done, count - done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            fail_with_errno();
            return done ? int64_t(done) : -1;
        }
        if (n == 0) break;
        done += size_t(n);
    }
    return int64_t(done);
}

int64_t write_all(int fd, const void *buffer, size_t count) {
    size_t done = 0;
    while (done < count) {
        const ssize_t n = ::write(fd, static_cast<const char *>(buffer) + done, count - done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            fail_with_errno();
            return done ? int64_t(done) : -1;
        }
        done += size_t(n);
    }
    return int64_t(done);
}

int64_t seek_fd(int fd, int64_t offset, int origin) {
    const int whence = whence_of(origin);
    if (whence < 0) {
        set_last_error(kErrInvalidParameter);
        return -1;
    }
    const off_t at = ::lseek(fd, off_t(offset), whence);
    if (at >= 0) return int64_t(at);
    // A move in front of the start is the one EINVAL a valid origin can give.
    set_last_error(errno == EINVAL ? kErrNegativeSeek : windows_error(errno));
    return -1;
}

// Files opened with delete-on-close, by descriptor, with their absolute names. As on Windows the
// name stays while the file is open (a second creation of it opens and truncates the same
// file) and goes when file_close closes the descriptor. A descriptor closed otherwise - by an
// exec, since they are opened close-on-exec, or by the process ending - leaves its file behind.
struct DeleteOnClose {
    std::mutex lock;
    std::unordered_map<int, std::string> names;
};

// Never destroyed: descriptors may still be closed while the process shuts down.
DeleteOnClose &delete_on_close() {
    static DeleteOnClose *const files = new DeleteOnClose;
    return *files;
}

// Every open comes here: a descriptor number the system hands out again forgets what an earlier
// file of that number was to do.
void remember_delete_on_close(int fd, const std::string &name, bool remove) {
    DeleteOnClose &d = delete_on_close();
    const std::lock_guard<std::mutex> hold(d.lock);
    if (remove) d.names[fd] = name;
    else if (!d.names.empty()) d.names.erase(fd);
}

std::string take_delete_on_close(int fd) {
    DeleteOnClose &d = delete_on_close();
    const std::lock_guard<std::mutex> hold(d.lock);
    const auto it = d.names.find(fd);
    if (it == d.names.end()) return std::string();
    std::string name = std::move(it->second);
    d.names.erase(it);
    return name;
}

std::string absolute_path(const std::string &p) {
    if (!p.empty() && p[0] == '/') return p;
    char cwd[4096];
    if (!getcwd(cwd, sizeof cwd)) return p;
    return std::string(cwd) + "/" + p;
}

bool is_dot_entry(const char *name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

char fold(char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; }

// "*" any run of characters, "?" one character, letters compared without case.
bool matches(const char *pattern, const char *name) {
    const char *starP = nullptr, *starN = nullptr;
    while (*name) {
        if (*pattern == '*') {
            starP = ++pattern;
            starN = name;
        } else if (*pattern == '?' || (*pattern && fold(*pattern) == fold(*name))) {
            ++pattern;
            ++name;
        } else if (starP) {
            pattern = starP;
            name = ++starN;
        } else {
            return false;
        }
    }
    while (*pattern == '*') ++pattern;
    return *pattern == '\0';
}

uint32_t attributes_of(const struct stat &st) {
    if (S_ISDIR(st.st_mode)) return kAttrDirectory;
    if (!S_ISREG(st.st_mode)) return kAttrNormal;
    // A file written on Windows carries the archive mark; read-only means nobody may write.
    return kAttrArchive | ((st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) ? 0 : kAttrReadOnly);
}

bool same_file(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

// Share modes have no counterpart here; kShareNone is not enforced, since an advisory lock would
// only bind callers that lock as well. No random-access hint either: Linux would switch off
// read-ahead, from which the callers' 8 KiB block reads profit.
HANDLE file_open(const char *path, const FileOpen &how) {
    if (fail_now(kCallCreateFile)) return kInvalidHandle;
    const std::string p = posix_path(path);
    int flags = (how.write ? O_RDWR : O_RDONLY) | O_CLOEXEC;
    if (how.create == kCreateAlways) flags |= O_CREAT | O_TRUNC;
    if (how.create == kCreateNew) flags |= O_CREAT | O_EXCL | O_NOFOLLOW;
    int fd;
    do {
        fd = ::open(p.c_str(), flags, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        fail_with_errno();
        return kInvalidHandle;
    }
    struct stat st;
    if (fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
        // CreateFileA does not open a folder as a file.
        ::close(fd);
        set_last_error(kErrAccessDenied);
        return kInvalidHandle;
    }
    // Delete-on-close: the name is removed by file_close.
    remember_delete_on_close(fd, how.deleteOnClose ? absolute_path(p) : std::string(),
                             how.deleteOnClose);
    return handle_of(fd);
}

bool file_close(HANDLE h) {
    if (fail_now(kCallCloseHandle)) return false;
    const int fd = fd_of(h);
    const std::string doomed = take_delete_on_close(fd);
    if (!doomed.empty()) {
        // Only while the name still stands for this file: it may have been removed or replaced
        // since, and another file of that name is not this one's to delete.
        struct stat mine, named;
        if (fstat(fd, &mine) == 0 && ::stat(doomed.c_str(), &named) == 0 && same_file(mine, named))
            ::unlink(doomed.c_str());
    }
    // The descriptor is gone even when close reports EINTR: no retry.
    if (::close(fd) == 0 || errno == EINTR) return true;
    fail_with_errno();
    return false;
}

int64_t file_read(HANDLE h, void *buffer, uint32_t count) {
    if (fail_now(kCallReadFile)) return -1;
    return read_all(fd_of(h), buffer, count);
}

int64_t file_write(HANDLE h, const void *buffer, uint32_t count) {
    if (fail_now(kCallWriteFile)) return -1;
    return write_all(fd_of(h), buffer, count);
}

int64_t file_seek(HANDLE h, int64_t offset, int origin) {
    if (fail_now(kCallSetFilePointer)) return -1;
    return seek_fd(fd_of(h), offset, origin);
}

bool file_truncate(HANDLE h) {
    if (fail_now(kCallSetEndOfFile)) return false;
    const int fd = fd_of(h);
    const off_t at = ::lseek(fd, 0, SEEK_CUR);
    if (at < 0 || ::ftruncate(fd, at) != 0) {
        fail_with_errno();
        return false;
    }
    return true;
}

int64_t file_length(HANDLE h) {
    struct stat st;
    if (fstat(fd_of(h), &st) != 0) {
        fail_with_errno();
        return -1;
    }
    return int64_t(st.st_size);
}

int32_t old_read(int32_t file, void *buffer, uint32_t count) {
    if (fail_now(kCallReadFile)) return -1;
    return int32_t(read_all(file, buffer, count));
}

int32_t old_write(int32_t file, const void *buffer, uint32_t count) {
    if (fail_now(kCallWriteFile)) return -1;
    return int32_t(write_all(file, buffer, count));
}

int32_t old_seek(int32_t file, int32_t offset, int origin) {
    if (fail_now(kCallSetFilePointer)) return -1;
    return int32_t(seek_fd(file, offset, origin));
}

std::string temp_folder() {
    const char *t = std::getenv("TMPDIR");
    std::string dir = t && *t ? t : "/tmp";
    if (dir.back() != '/') dir += '/';
    return dir;
}

// The birth time where the file system keeps one, else the last write stands in for it.
bool file_times(HANDLE h, FileTimes *times) {
    struct stat st;
    if (fstat(fd_of(h), &st) != 0) {
        fail_with_errno();
        return false;
    }
    times->accessed = to_file_time(st.st_atim);
    times->written = to_file_time(st.st_mtim);
    times->created = times->written;
#ifdef STATX_BTIME
    struct statx sx;
    if (statx(fd_of(h), "", AT_EMPTY_PATH, STATX_BTIME, &sx) == 0 && (sx.stx_mask & STATX_BTIME)) {
        struct timespec born;
        born.tv_sec = time_t(sx.stx_btime.tv_sec);
        born.tv_nsec = long(sx.stx_btime.tv_nsec);
        times->created = to_file_time(born);
    }
#endif
    return true;
}

// The creation time cannot be set here and is ignored; a time of 0 leaves that time as it is.
bool set_file_times(HANDLE h, const FileTimes &times) {
    const struct timespec both[2] = {to_timespec(times.accessed), to_timespec(times.written)};
    if (futimens(fd_of(h), both) != 0) {
        fail_with_errno();
        return false;
    }
    return true;
}

uint32_t file_attributes(const char *path) {
    struct stat st;
    if (::stat(posix_path(path).c_str(), &st) != 0) {
        fail_with_errno();
        return 0xFFFFFFFFu;
    }
    return attributes_of(st);
}

// Only read-only has a meaning here: it takes away every write permission, and clearing it gives
// the owner's back. The other attributes are accepted and ignored.
bool set_file_attributes(const char *path, uint32_t attributes) {
    const std::string p = posix_path(path);
    struct stat st;
    if (::stat(p.c_str(), &st) != 0) {
        fail_with_errno();
        return false;
    }
    if (S_ISDIR(st.st_mode)) return true;
    mode_t mode = st.st_mode & 07777;
    if (attributes & kAttrReadOnly) mode &= mode_t(~(S_IWUSR | S_IWGRP | S_IWOTH));
    else if (!(mode & (S_IWUSR | S_IWGRP | S_IWOTH))) mode |= S_IWUSR;
    if (mode != (st.st_mode & 07777) && ::chmod(p.c_str(), mode) != 0) {
        fail_with_errno();
        return false;
    }
    return true;
}

// Names come sorted without case, as NTFS lists them; "." and ".." are left out.
std::vector<FoundFile> find_files(const char *pattern) {
    std::vector<FoundFile> found;
    const std::string p = posix_path(pattern);
    const size_t cut = p.rfind('/');
    const std::string dir = cut == std::string::npos ? "." : cut == 0 ? "/" : p.substr(0, cut);
    std::string mask = cut == std::string::npos ? p : p.substr(cut + 1);
    if (mask == "*.*") mask = "*";  // matches names without a dot too, as on Windows
    DIR *d = ::opendir(dir.c_str());
    if (!d) {
        set_last_error(errno == ENOENT ? kErrPathNotFound : windows_error(errno));
        return found;
    }
    while (const struct dirent *e = ::readdir(d)) {
        if (is_dot_entry(e->d_name) || !matches(mask.c_str(), e->d_name)) continue;
        struct stat st;
        const std::string full = dir + "/" + e->d_name;
        const bool known = ::stat(full.c_str(), &st) == 0 || ::lstat(full.c_str(), &st) == 0;
        found.push_back({e->d_name, known ? attributes_of(st) : kAttrNormal});
    }
    ::closedir(d);
    std::sort(found.begin(), found.end(), [](const FoundFile &a, const FoundFile &b) {
        return strcasecmp(a.name.c_str(), b.name.c_str()) < 0;
    });
    if (found.empty()) set_last_error(kErrFileNotFound);
    return found;
}

// A link is followed: the file it names is replaced, and the link stays; a link to nothing yet
// names the file to be made.
static std::string link_target(const std::string &path) {
    std::string target = path;
    char buffer[4096];
    for (int hops = 0; hops < 40; ++hops) {
        const ssize_t n = ::readlink(target.c_str(), buffer, sizeof buffer - 1);
        if (n <= 0) break;
        const std::string to(buffer, size_t(n));
        const size_t slash = target.rfind('/');
        target = to[0] == '/' || slash == std::string::npos ? to : target.substr(0, slash + 1) + to;
    }
    return target;
}

bool replace_file(const char *from, const char *to) {
    if (fail_now(kCallMoveFile)) return false;
    const std::string src = posix_path(from), dst = link_target(posix_path(to));
    struct stat target;
    const bool existed = ::stat(dst.c_str(), &target) == 0;
    if (existed && ((attributes_of(target) & kAttrReadOnly) || ::access(dst.c_str(), W_OK) != 0)) {
        set_last_error(kErrAccessDenied);
        return false;
    }
    // The data reaches the disk before the name does: after a power cut the file is the old
    // one or the new one, never an empty one. Mode and group go over where the system lets them.
    const int fd = ::open(src.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd >= 0 && existed) {
        [[maybe_unused]] const int grouped = fchown(fd, uid_t(-1), target.st_gid);
        [[maybe_unused]] const int moded = fchmod(fd, target.st_mode & 07777);
    }
    bool ok = fd >= 0 && fdatasync(fd) == 0;
    if (fd >= 0) ::close(fd);
    ok = ok && ::rename(src.c_str(), dst.c_str()) == 0;
    if (!ok) fail_with_errno();
    return ok;
}

std::string sibling_temp_name(const char *path) {
    static std::atomic<uint32_t> counter{0};
    const std::string target = link_target(posix_path(path));
    const size_t slash = target.rfind('/');
    char name[40];
    std::snprintf(name, sizeof name, "~tarn%x-%x.tmp", unsigned(getpid()), unsigned(++counter));
    return (slash == std::string::npos ? std::string() : target.substr(0, slash + 1)) + name;
}

bool replaceable_path(const char *path) {
    struct stat st;
    return ::stat(posix_path(path).c_str(), &st) != 0 || S_ISREG(st.st_mode);
}

// The bytes, the permissions and the access and write times go over; a copy that fails half-way
// is removed.
bool copy_file(const char *from, const char *to, bool failIfExists) {
    if (fail_now(kCallCopyFile)) return false;
    const std::string src = posix_path(from), dst = posix_path(to);
    const int in = ::open(src.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) {
        fail_with_errno();
        return false;
    }
    struct stat st, target;
    if (fstat(in, &st) != 0) {
        fail_with_errno();
        ::close(in);
        return false;
    }
    if (S_ISDIR(st.st_mode)) {
        ::close(in);
        set_last_error(kErrAccessDenied);
        return false;
    }
    // Copying a file onto itself would truncate it before it is read.
    if (::stat(dst.c_str(), &target) == 0 && same_file(st, target)) {
        ::close(in);
        set_last_error(kErrSharingViolation);
        return false;
    }
    const int exists = failIfExists ? O_EXCL : O_TRUNC;
    const int out =
        ::open(dst.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | exists, st.st_mode & 07777);
    if (out < 0) {
        fail_with_errno();
        ::close(in);
        return false;
    }
    static constexpr size_t kChunk = 64 * 1024;
    std::vector<char> buffer(kChunk);
    bool ok = true;
    for (;;) {
        const int64_t n = read_all(in, buffer.data(), kChunk);
        if (n <= 0) {
            ok = n == 0;
            break;
        }
        if (write_all(out, buffer.data(), size_t(n)) != n) {
            ok = false;
            break;
        }
    }
    const struct timespec times[2] = {st.st_atim, st.st_mtim};
    if (ok && (fchmod(out, st.st_mode & 07777) != 0 || futimens(out, times) != 0)) {
        fail_with_errno();
        ok = false;
    }
    if (::close(out) != 0 && ok) {
        fail_with_errno();
        ok = false;
    }
    ::close(in);
    if (!ok) ::unlink(dst.c_str());
    return ok;
}

}  // namespace plat
