// Files and folders. File calls go through the fault table (fault.h), so tests can make them fail.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "tarn_types.h"

namespace plat {

// ---- file handles: the system's own (HANDLE on Windows, a descriptor elsewhere) ----

enum FileShare { kShareNone = 0, kShareReadWrite = 1 };
// kCreateNew fails when the name is taken, also by a link, so nothing planted there is written.
enum FileCreate { kOpenExisting = 0, kCreateAlways = 1, kCreateNew = 2 };

struct FileOpen {
    bool write = false;  // read and write access, else read only
    FileCreate create = kOpenExisting;
    FileShare share = kShareReadWrite;
    bool deleteOnClose = false;  // the system removes the file when its handle is closed
};

// CreateFileA with a random-access hint and normal attributes; TARN_INVALID_HANDLE on failure.
HANDLE file_open(const char *path, const FileOpen &how);
bool file_close(HANDLE h);
// One ReadFile / WriteFile call: the bytes moved, or -1 when the call fails.
int64_t file_read(HANDLE h, void *buffer, uint32_t count);
int64_t file_write(HANDLE h, const void *buffer, uint32_t count);
// SetFilePointer: origin 0 start, 1 current, 2 end; the new position, or -1 on failure.
int64_t file_seek(HANDLE h, int64_t offset, int origin);
// SetEndOfFile at the current position.
bool file_truncate(HANDLE h);
// The file's length, or -1.
int64_t file_length(HANDLE h);

// Old-style handles (_lopen, _lread, _lwrite, _llseek): 32-bit numbers.
int32_t old_read(int32_t file, void *buffer, uint32_t count);
int32_t old_write(int32_t file, const void *buffer, uint32_t count);
int32_t old_seek(int32_t file, int32_t offset, int origin);

// ---- folders and names ----

// The temporary folder, ending with the separator (GetTempPathA).
std::string temp_folder();

struct FileTimes {
    uint64_t created = 0, accessed = 0, written = 0;  // the system's own units
};
bool file_times(HANDLE h, FileTimes *times);
bool set_file_times(HANDLE h, const FileTimes &times);

// Attributes as Windows numbers them.
constexpr uint32_t kAttrReadOnly = 0x01, kAttrHidden = 0x02, kAttrSystem = 0x04,
                   kAttrDirectory = 0x10, kAttrArchive = 0x20, kAttrNormal = 0x80,
                   kAttrTemporary = 0x100;
// INVALID_FILE_ATTRIBUTES (all bits) when the file does not exist.
uint32_t file_attributes(const char *path);
bool set_file_attributes(const char *path, uint32_t attributes);

struct FoundFile {
    std::string name;  // without folder
    uint32_t attributes;
};
// The entries that match a pattern with "*" and "?" in its last component (FindFirstFileA),
// without "." and "..".
std::vector<FoundFile> find_files(const char *pattern);
// CopyFileA: replaces an existing target unless failIfExists.
bool copy_file(const char *from, const char *to, bool failIfExists);

bool delete_file(const char *path);  // DeleteFileA
// Puts the complete file `from` in the place of `to` in one step, its data on the disk first: a
// reader finds the old file or the new one, never a part. A read-only `to`, or one the caller
// may not write, is refused (access denied). On POSIX a link `to` is followed and the file it
// names keeps its mode and, where allowed, its group.
bool replace_file(const char *from, const char *to);
// A short name for a new file in the folder of `path` (of the file a link names), unique in this
// process and among processes.
std::string sibling_temp_name(const char *path);
// True when nothing is at `path` yet or a regular file is; a device, a pipe or a console is no
// file to be replaced and is written directly.
bool replaceable_path(const char *path);
// Creates one folder; true also when it exists already.
bool create_directory(const char *path);
bool file_exists(const char *path);
// The separator of path components that the library writes on this system.
char path_separator();

}  // namespace plat
