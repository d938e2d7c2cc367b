// File handles, times, attributes, searches and copies over the Win32 calls. Every call that has
// an entry in the fault table asks it first and then fails as the system call would.
#include "platform/files.h"

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/syscall.h"
#include "platform/last_error.h"

namespace plat {
namespace {

uint64_t from_filetime(const FILETIME &t) {
    return (uint64_t(t.dwHighDateTime) << 32) | t.dwLowDateTime;
}

FILETIME to_filetime(uint64_t v) {
    FILETIME t;
    t.dwLowDateTime = DWORD(v);
    t.dwHighDateTime = DWORD(v >> 32);
    return t;
}

bool is_dot_entry(const char *name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

}  // namespace

HANDLE file_open(const char *path, const FileOpen &how) {
    if (fail_now(kCallCreateFile)) return INVALID_HANDLE_VALUE;
    const DWORD access = GENERIC_READ | (how.write ? GENERIC_WRITE : 0);
    DWORD share = how.share == kShareReadWrite ? FILE_SHARE_READ | FILE_SHARE_WRITE : 0;
    // A file removed on close holds delete access, and while any handle of it lacks
    // FILE_SHARE_DELETE every further open of its name fails with a sharing violation. A shared
    // one therefore shares deletion as well, so that creating the same name again opens and
    // truncates it, as the cached file's temporary files are meant to.
    if (how.deleteOnClose && share) share |= FILE_SHARE_DELETE;
    const DWORD disposition = how.create == kCreateAlways ? CREATE_ALWAYS
                              : how.create == kCreateNew  ? CREATE_NEW
                                                          : OPEN_EXISTING;
    const DWORD flags = FILE_ATTRIBUTE_NORMAL | FILE_FLAG_RANDOM_ACCESS |
                        (how.deleteOnClose ? FILE_FLAG_DELETE_ON_CLOSE : 0);
    return CreateFileA(path, access, share, nullptr, disposition, flags, nullptr);
}

bool file_close(HANDLE h) {
    if (fail_now(kCallCloseHandle)) return false;
    return CloseHandle(h) != FALSE;
}

int64_t file_read(HANDLE h, void *buffer, uint32_t count) {
    if (fail_now(kCallReadFile)) return -1;
    DWORD got = 0;
    return ReadFile(h, buffer, count, &got, nullptr) ? int64_t(got) : -1;
}

int64_t file_write(HANDLE h, const void *buffer, uint32_t count) {
    if (fail_now(kCallWriteFile)) return -1;
    DWORD put = 0;
    return WriteFile(h, buffer, count, &put, nullptr) ? int64_t(put) : -1;
}

int64_t file_seek(HANDLE h, int64_t offset, int origin) {
    if (fail_now(kCallSetFilePointer)) return -1;
    LARGE_INTEGER move, now;
    move.QuadPart = offset;
    return SetFilePointerEx(h, move, &now, DWORD(origin)) ? int64_t(now.QuadPart) : -1;
}

bool file_truncate(HANDLE h) {
    if (fail_now(kCallSetEndOfFile)) return false;
    return SetEndOfFile(h) != FALSE;
}

int64_t file_length(HANDLE h) {
    LARGE_INTEGER size;
    return GetFileSizeEx(h, &size) ? int64_t(size.QuadPart) : -1;
}

// An HFILE is the handle's value in 32 bits, as the system hands it out.
int32_t old_read(int32_t file, void *buffer, uint32_t count) {
    if (fail_now(kCallReadFile)) return -1;
    return int32_t(_lread(HFILE(file), buffer, count));
}

int32_t old_write(int32_t file, const void *buffer, uint32_t count) {
    if (fail_now(kCallWriteFile)) return -1;
    return int32_t(_lwrite(HFILE(file), static_cast<const char *>(buffer), count));
}

int32_t old_seek(int32_t file, int32_t offset, int origin) {
    if (fail_now(kCallSetFilePointer)) return -1;
    return int32_t(_llseek(HFILE(file), LONG(offset), origin));
}

std::string temp_folder() {
    char dir[MAX_PATH + 1] = "";
    const DWORD n = GetTempPathA(sizeof dir, dir);
    if (n == 0 || n > MAX_PATH) return ".\\";
    return std::string(dir, n);
}

bool file_times(HANDLE h, FileTimes *times) {
    FILETIME c, a, w;
    if (!GetFileTime(h, &c, &a, &w)) return false;
    times->created = from_filetime(c);
    times->accessed = from_filetime(a);
    times->written = from_filetime(w);
    return true;
}

// A time of 0 leaves that time as it is.
bool set_file_times(HANDLE h, const FileTimes &times) {
    const FILETIME c = to_filetime(times.created), a = to_filetime(times.accessed),
                   w = to_filetime(times.written);
    return SetFileTime(h, times.created ? &c : nullptr, times.accessed ? &a : nullptr,
                       times.written ? &w : nullptr) != FALSE;
}

uint32_t file_attributes(const char *path) { return GetFileAttributesA(path); }

bool set_file_attributes(const char *path, uint32_t attributes) {
    return SetFileAttributesA(path, attributes) != FALSE;
}

// "." and ".." are left out, as every caller would skip them anyway.
std::vector<FoundFile> find_files(const char *pattern) {
    std::vector<FoundFile> found;
    WIN32_FIND_DATAA data;
    HANDLE search = FindFirstFileA(pattern, &data);
    if (search == INVALID_HANDLE_VALUE) return found;
    do {
        if (!is_dot_entry(data.cFileName)) found.push_back({data.cFileName, data.dwFileAttributes});
    } while (FindNextFileA(search, &data));
    const DWORD why = GetLastError();
    FindClose(search);
    SetLastError(found.empty() && why == ERROR_NO_MORE_FILES ? ERROR_FILE_NOT_FOUND : why);
    return found;
}

bool replace_file(const char *from, const char *to) {
    if (fail_now(kCallMoveFile)) return false;
    // A rename within one volume flushes nothing: the data is put on the disk first.
    HANDLE h = CreateFileA(from, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) return false;
    const bool flushed = FlushFileBuffers(h) != FALSE;
    CloseHandle(h);
    return flushed && MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
}

std::string sibling_temp_name(const char *path) {
    static std::atomic<uint32_t> counter{0};
    const std::string target = path;
    const size_t end = target.find_last_of("\\/:");
    char name[40];
    std::snprintf(name, sizeof name, "~tarn%lx-%x.tmp", GetCurrentProcessId(), unsigned(++counter));
    return (end == std::string::npos ? std::string() : target.substr(0, end + 1)) + name;
}

bool replaceable_path(const char *path) {
    // Devices and pipes by their own names are not opened to look: a pipe would take it for a client.
    if (std::strncmp(path, "\\\\.\\", 4) == 0) return false;
    HANDLE h = CreateFileA(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                           FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (h == INVALID_HANDLE_VALUE) return true;
    const DWORD type = GetFileType(h);
    CloseHandle(h);
    return type == FILE_TYPE_DISK;
}

bool copy_file(const char *from, const char *to, bool failIfExists) {
    if (fail_now(kCallCopyFile)) return false;
    return CopyFileA(from, to, failIfExists ? TRUE : FALSE) != FALSE;
}

}  // namespace plat
