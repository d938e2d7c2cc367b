// The profile calls over our own INI files. Readers take no lock: a writer never changes a file
// in place but renames a complete new one over it. Writers serialise on a lock file beside the
// INI file, so that no two processes rewrite it from the same old text and lose a change.
#include "platform/profile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/system.h"
#include "platform/posix/profile_ini.h"
#include "platform/syscall.h"

namespace plat {
namespace {

// A bare file name lives in the settings home, where Windows would look in its own folder.
std::string ini_path(const char *file) {
    if (!file) return settings_home() + "/win.ini";
    std::string path(file);
    for (char &c : path)
        if (c == '\\') c = '/';
    if (path.find('/') == std::string::npos) return settings_home() + "/" + path;
    // Replacing a symbolic link would cut it; the file it names is the one to rewrite.
    struct stat st;
    if (lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) {
        if (char *real = realpath(path.c_str(), nullptr)) {
            path = real;
            std::free(real);
        }
    }
    return path;
}

class Fd {
public:
    explicit Fd(int fd) : fd_(fd) {}
    ~Fd() {
        if (fd_ >= 0) close(fd_);
    }
    Fd(const Fd &) = delete;
    Fd &operator=(const Fd &) = delete;
    int get() const { return fd_; }
    int release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }

private:
    int fd_;
};

// Reads the whole file. A missing file reads as empty and sets *exists to false; other
// failures return false.
bool read_all(const std::string &path, std::string *out, bool *exists, mode_t *mode) {
    out->clear();
    Fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (fd.get() < 0) {
        *exists = false;
        return errno == ENOENT || errno == ENOTDIR;
    }
    *exists = true;
    struct stat st;
    if (fstat(fd.get(), &st) != 0 || S_ISDIR(st.st_mode)) return false;
    if (mode) *mode = st.st_mode & 07777;
    if (st.st_size > 0) out->reserve(static_cast<size_t>(st.st_size));
    char chunk[65536];
    for (;;) {
        const ssize_t n = read(fd.get(), chunk, sizeof chunk);
        if (n == 0) return true;
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        out->append(chunk, static_cast<size_t>(n));
    }
}

bool write_all(int fd, const std::string &bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = sys(kCallWriteFile, ssize_t(-1),
                              [&] { return write(fd, bytes.data() + done, bytes.size() - done); });
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        done += static_cast<size_t>(n);
    }
    return true;
}

// The exclusive lock of writers of one INI file. flock belongs to the open file, so threads of
// one process exclude each other as well as processes do.
class WriterLock {
public:
    explicit WriterLock(const std::string &path)
        : fd_(open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
        if (fd_.get() < 0) return;
        while (flock(fd_.get(), LOCK_EX) != 0)
            if (errno != EINTR) return;
        locked_ = true;
    }
    ~WriterLock() {
        if (locked_) flock(fd_.get(), LOCK_UN);
    }
    bool locked() const { return locked_; }

private:
    Fd fd_;
    bool locked_ = false;
};

// Replaces the file by a complete new one. Only the lock holder gets here, so one fixed
// temporary name serves, and a writer killed half-way leaves no more than that one file.
bool replace_file(const std::string &path, const std::string &bytes, bool existed, mode_t mode) {
    const std::string temp = path + ".tmp";
    unlink(temp.c_str());
    Fd fd(sys(kCallCreateFile, -1,
              [&] { return open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666); }));
    if (fd.get() < 0) return false;
    bool ok = (!existed || fchmod(fd.get(), mode) == 0) && write_all(fd.get(), bytes);
    // The data reaches the disk before the name does: after a power cut the file is the old
    // one or the new one, never an empty one.
    ok = ok && fdatasync(fd.get()) == 0;
    ok = close(fd.release()) == 0 && ok;
    ok = ok && sys(kCallMoveFile, -1, [&] { return rename(temp.c_str(), path.c_str()); }) == 0;
    if (!ok) unlink(temp.c_str());
    return ok;
}

int copy_text(const std::string &text, char *out, int size) {
    const size_t n = text.size() < size_t(size) - 1 ? text.size() : size_t(size) - 1;
    std::memcpy(out, text.data(), n);
    out[n] = '\0';
    return int(n);
}

// Names NUL-separated with an empty name at the end. A list that does not fit is cut to size-2
// characters and closed with two NULs; the result is then size-2. As on Windows, a list that
// fills the buffer exactly counts as cut: its result is size-2, not its length.
int copy_list(const std::vector<std::string> &names, char *out, int size) {
    std::string all;
    for (const std::string &name : names) {
        all += name;
        all += '\0';
    }
    if (all.empty() || size == 1) {
        out[0] = '\0';
        return 0;
    }
    if (all.size() + 1 < size_t(size)) {
        std::memcpy(out, all.data(), all.size());
        out[all.size()] = '\0';
        return int(all.size());
    }
    std::memcpy(out, all.data(), size_t(size) - 2);
    out[size - 2] = '\0';
    out[size - 1] = '\0';
    return size - 2;
}

// The quotes come off before the value is cut to the buffer.
int copy_unquoted(const std::string &text, char *out, int size) {
    if (text.size() >= 2 && (text[0] == '"' || text[0] == '\'') && text.back() == text[0])
        return copy_text(text.substr(1, text.size() - 2), out, size);
    return copy_text(text, out, size);
}

// The number at the start of a value: an optional sign, then decimal digits, or hexadecimal,
// octal or binary digits after "0x", "0o" or "0b"; it wraps around at 32 bits.
int32_t leading_number(const char *s) {
    while (*s && static_cast<unsigned char>(*s) <= ' ') ++s;
    bool negative = false;
    if (*s == '+' || *s == '-') negative = *s++ == '-';
    unsigned base = 10;
    if (s[0] == '0' && (s[1] == 'x' || s[1] == 'o' || s[1] == 'b')) {
        base = s[1] == 'x' ? 16 : s[1] == 'o' ? 8 : 2;
        s += 2;
    }
    uint32_t value = 0;
    for (;; ++s) {
        const unsigned char c = static_cast<unsigned char>(*s);
        unsigned digit;
        if (c >= '0' && c <= '9') digit = c - '0';
        else if (c >= 'a' && c <= 'z') digit = c - 'a' + 10;
        else if (c >= 'A' && c <= 'Z') digit = c - 'A' + 10;
        else break;
        if (digit >= base) break;
        value = value * base + digit;
    }
    return static_cast<int32_t>(negative ? 0u - value : value);
}

}  // namespace

int private_profile_string(const char *section, const char *key, const char *def, char *out,
                           int size, const char *file) {
    if (!out || size <= 0) return 0;
    std::string bytes;
    bool exists = false;
    read_all(ini_path(file), &bytes, &exists, nullptr);
    const ini::Text text(bytes);

    if (!section) return copy_list(text.section_names(), out, size);
    if (!key) {
        const std::vector<std::string> names = text.key_names(section);
        // An empty or missing section gives the default as it is, blanks and quotes included.
        if (names.empty()) return copy_text(def ? def : "", out, size);
        return copy_list(names, out, size);
    }
    std::string value;
    if (!text.value(section, key, &value)) {
        value = def ? def : "";
        while (!value.empty() && value.back() == ' ') value.pop_back();
    }
    return copy_unquoted(value, out, size);
}

bool write_private_profile_string(const char *section, const char *key, const char *value,
                                  const char *file) {
    if (!section) return false;
    const std::string path = ini_path(file);
    const WriterLock lock(path);
    if (!lock.locked()) return false;

    std::string bytes;
    bool exists = false;
    mode_t mode = 0;
    if (!read_all(path, &bytes, &exists, &mode)) return false;
    ini::Text text(bytes);
    const bool changed = !key     ? text.erase_section(section)
                         : !value ? text.erase_key(section, key)
                                  : text.set(section, key, value);
    // Deleting what is not there, or writing the value that is there, leaves the file alone.
    if (!changed) return true;
    return replace_file(path, text.bytes(), exists, mode);
}

int32_t private_profile_int(const char *section, const char *key, int32_t def, const char *file) {
    // Windows reads the number through a 30-character buffer, so longer values are cut there.
    char text[30];
    if (private_profile_string(section, key, "", text, sizeof text, file) == 0 || !text[0])
        return def;
    return leading_number(text);
}

}  // namespace plat
